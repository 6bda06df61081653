#include "tarnovelle/archive/CTarnovelleArchive.h"

#include <gtest/gtest.h>

#include "tests/support/TNTestDir.h"

TEST(CTarnovelleArchive, StartsEmpty) {
    CTarnovelleArchive a;
    EXPECT_EQ(a.GetArchiveFileName(), "");
    EXPECT_EQ(a.GetLockFileName(), "");
    EXPECT_EQ(a.GetName(), "");
    EXPECT_FALSE(a.IsRoundTripArchive());
    EXPECT_EQ(a.IsModified(), 0);
    EXPECT_FALSE(a.WasStopArchivingCalled());
}

TEST(CTarnovelleArchive, InitForcesTheProjectExtensionAndTakesTheStemAsName) {
    TNTestDir dir;
    CTarnovelleArchive a;
    EXPECT_EQ(a.Init(dir / "abc.txt"), TNE_OK);
    EXPECT_EQ(a.GetFilePath(), dir / "abc.TNArch");
    EXPECT_EQ(a.GetLockFileName(), dir / "abc.Lock");
    EXPECT_EQ(a.GetName(), "abc");
}

TEST(CTarnovelleArchive, InitAcceptsAPathWithoutExtension) {
    TNTestDir dir;
    CTarnovelleArchive a;
    EXPECT_EQ(a.Init(dir / "plant"), TNE_OK);
    EXPECT_EQ(a.GetFilePath(), dir / "plant.TNArch");
    EXPECT_EQ(a.GetName(), "plant");
}

TEST(CTarnovelleArchive, ADotInADirectoryNameIsNoExtension) {
    TNTestDir dir;
    CTarnovelleArchive a;
    EXPECT_EQ(a.Init(dir / "v1.2/plant"), TNE_OK);
    EXPECT_EQ(a.GetFilePath(), dir / "v1.2/plant.TNArch");
    EXPECT_EQ(a.GetLockFileName(), dir / "v1.2/plant.Lock");
}

TEST(CTarnovelleArchive, InitOnAPathWithoutAFileWritesNothing) {
    TNTestDir dir;
    CTarnovelleArchive a;
    EXPECT_EQ(a.Init(dir / "abc.TNArch"), TNE_OK);
    EXPECT_FALSE(TNTestDir::Exists(dir / "abc.TNArch"));
    EXPECT_FALSE(TNTestDir::Exists(dir / "abc.Lock"));
}

TEST(CTarnovelleArchive, SetArchiveFileNameKeepsTheGivenExtension) {
    CTarnovelleArchive a;
    a.SetName("keep");
    a.SetArchiveFileName("/a/b/c.dat");
    EXPECT_EQ(a.GetArchiveFileName(), "/a/b/c.dat");
    EXPECT_EQ(a.GetLockFileName(), "/a/b/c.Lock");
    EXPECT_EQ(a.GetName(), "keep");
}

TEST(CTarnovelleArchive, ModifiedFlagHoldsWhatIsSet) {
    CTarnovelleArchive a;
    a.SetModifiedFlag(5);
    EXPECT_EQ(a.IsModified(), 5);
    a.SetModifiedFlag(0);
    EXPECT_EQ(a.IsModified(), 0);
}
