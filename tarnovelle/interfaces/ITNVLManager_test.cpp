#include "tarnovelle/interfaces/ITNVLManager.h"

#include <gtest/gtest.h>

#include <filesystem>

#include <filesystem>
#include <typeinfo>

#include "tarnovelle/interfaces/ITNVLReader.h"
#include "tarnovelle/interfaces/ITNVLWriter.h"
#include "tests/support/TNLogCapture.h"
#include "tarnovelle/support/CTNMessageBox.h"
#include "tarnovelle/support/TNGuid.h"
#include "tests/support/TNTestDir.h"

namespace {

size_t EntriesIn(const std::string& dir) {
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(dir),
                                             std::filesystem::directory_iterator()));
}

}  // namespace

TEST(InstanceFrame, NullHandleGives278FromEveryFunctionAndLeavesOutputsAlone) {
    TNLogCapture log;
    EXPECT_EQ(ITNVLMInitInstance(nullptr, "/tmp/x"), TNE_NO_OBJECT);
    EXPECT_EQ(ITNVLMSetArchiveFilePath(nullptr, "/tmp/x"), TNE_NO_OBJECT);
    EXPECT_EQ(ITNVLMSetArchiveName(nullptr, "n"), TNE_NO_OBJECT);
    EXPECT_EQ(ITNVLMSetRoundTripArchive(nullptr, 1), TNE_NO_OBJECT);
    EXPECT_EQ(ITNVLMDestroyInstance(nullptr), TNE_NO_OBJECT);
    EXPECT_EQ(ITNVLRInitInstance(nullptr, "/tmp/x"), TNE_NO_OBJECT);
    EXPECT_EQ(ITNVLRDestroyInstance(nullptr), TNE_NO_OBJECT);
    EXPECT_EQ(ITNVLWInitInstance(nullptr, "/tmp/x"), TNE_NO_OBJECT);
    EXPECT_EQ(ITNVLWDestroyInstance(nullptr), TNE_NO_OBJECT);
    std::string path = "untouched";
    EXPECT_EQ(ITNVLRGetArchiveFilePath(nullptr, path), TNE_NO_OBJECT);
    EXPECT_EQ(path, "untouched");
    EXPECT_TRUE(log.All().empty());
}

TEST(InstanceFrame, AllThreeFamiliesCreateTheSameObject) {
    CTarnovelleArchive* m = ITNVLMCreateInstance();
    CTarnovelleArchive* r = ITNVLRCreateInstance();
    CTarnovelleArchive* w = ITNVLWCreateInstance();
    ASSERT_TRUE(m && r && w);
    EXPECT_EQ(typeid(*m), typeid(CTarnovelleArchive));
    EXPECT_EQ(typeid(*r), typeid(CTarnovelleArchive));
    EXPECT_EQ(typeid(*w), typeid(CTarnovelleArchive));
    EXPECT_EQ(ITNVLMDestroyInstance(m), TNE_OK);
    EXPECT_EQ(ITNVLRDestroyInstance(r), TNE_OK);
    EXPECT_EQ(ITNVLWDestroyInstance(w), TNE_OK);
}

TEST(InstanceFrame, InitOnAPathWithoutAFileStartsANewArchiveAndWritesNothing) {
    TNTestDir dir;
    CTarnovelleArchive* h = ITNVLMCreateInstance();
    EXPECT_EQ(ITNVLMInitInstance(h, (dir / "abc.txt").c_str()), TNE_OK);
    EXPECT_EQ(h->GetArchiveFileName(), dir / "abc.TNArch");
    EXPECT_EQ(h->GetLockFileName(), dir / "abc.Lock");
    EXPECT_EQ(h->GetName(), "abc");
    std::string path;
    EXPECT_EQ(ITNVLRGetArchiveFilePath(h, path), TNE_OK);
    EXPECT_EQ(path, dir / "abc.TNArch");
    EXPECT_EQ(EntriesIn(dir.Path()), 0u);
    ITNVLMDestroyInstance(h);
    EXPECT_EQ(EntriesIn(dir.Path()), 0u);  // destroying never saves
}

TEST(InstanceFrame, ATarnovelleExceptionUnderInitInstanceGives6AndALogEntry) {
    TNTestDir dir;
    TNLogCapture log;
    CTarnovelleArchive* h = ITNVLMCreateInstance();
    // A name longer than the file system allows makes the status query fail.
    const std::string file = dir / (std::string(300, 'p') + ".TNArch");
    EXPECT_EQ(ITNVLMInitInstance(h, file.c_str()), TNE_FAILED);
    const auto entries = log.Entries("CTarnovelleException");
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0], "Exception: file = '" + file + "'\naction = GetStatus failed");
    EXPECT_EQ(entries[1], "CTarnovelleException in 'ITNVLMInitInstance' = ''");
    ITNVLMDestroyInstance(h);
}

TEST(InstanceFrame, AnExistingProjectIsOpenedWithItsFoldersAndMeasuringPoints) {
    TNTestDir dir;
    {
        CTarnovelleArchive writer;
        writer.Init(dir / "p.TNArch");
        writer.Save();
    }
    const GUID point = {0x12345678, 0x9ABC, 0xDEF0, {1, 2, 3, 4, 5, 6, 7, 8}};
    std::filesystem::create_directories(dir / ("TNArch01/" + GuidToString(point)));
    CTarnovelleArchive* h = ITNVLMCreateInstance();
    EXPECT_EQ(ITNVLMInitInstance(h, (dir / "p.TNArch").c_str()), TNE_OK);
    ASSERT_EQ(h->GetArchiveFolders().size(), 2u);
    EXPECT_EQ(h->GetArchiveFolders()[1]->GetPath(), dir / "TNArch01");
    // The point, and the archive's own status point.
    ASSERT_EQ(h->GetArrayOfMeasuringPointConnectors().size(), 2u);
    EXPECT_NE(h->GetMeasuringPointConnector(point), nullptr);
    EXPECT_NE(h->GetMeasuringPointConnector(GUID{}), nullptr);
    ITNVLMDestroyInstance(h);
}

TEST(InstanceFrame, AProjectFileThatDoesNotParseGivesNotParsed) {
    TNTestDir dir;
    dir.WriteFile("p.TNArch", "<CTarnovelleArchive Version=\"1\"><Archive");
    std::vector<std::string> messages;
    CTNMessageBox::RerouteMessageBoxToLogArray(&messages);
    CTarnovelleArchive* h = ITNVLMCreateInstance();
    EXPECT_EQ(ITNVLMInitInstance(h, (dir / "p.TNArch").c_str()), TNE_FILE_NOT_PARSED);
    ITNVLMDestroyInstance(h);
    CTNMessageBox::RerouteMessageBoxToLogArray(nullptr);
    EXPECT_FALSE(messages.empty());
}

TEST(InstanceFrame, SetArchiveFilePathKeepsTheExtensionAndTheName) {
    CTarnovelleArchive* h = ITNVLMCreateInstance();
    ASSERT_EQ(ITNVLMSetArchiveName(h, "Plant A"), TNE_OK);
    EXPECT_EQ(ITNVLMSetArchiveFilePath(h, "/data/arch/p.xml"), TNE_OK);
    EXPECT_EQ(h->GetArchiveFileName(), "/data/arch/p.xml");
    EXPECT_EQ(h->GetLockFileName(), "/data/arch/p.Lock");
    EXPECT_EQ(h->GetName(), "Plant A");
    ITNVLMDestroyInstance(h);
}

TEST(InstanceFrame, RoundTripFlagTakesAnyNonZeroValue) {
    CTarnovelleArchive* h = ITNVLMCreateInstance();
    EXPECT_EQ(ITNVLMSetRoundTripArchive(h, 2), TNE_OK);
    EXPECT_TRUE(h->IsRoundTripArchive());
    EXPECT_EQ(ITNVLMSetRoundTripArchive(h, 0), TNE_OK);
    EXPECT_FALSE(h->IsRoundTripArchive());
    ITNVLMDestroyInstance(h);
}

TEST(InstanceFrame, NullTextArgumentsReadAsEmpty) {
    CTarnovelleArchive* h = ITNVLMCreateInstance();
    EXPECT_EQ(ITNVLMSetArchiveName(h, nullptr), TNE_OK);
    EXPECT_EQ(h->GetName(), "");
    EXPECT_EQ(ITNVLMSetArchiveFilePath(h, nullptr), TNE_OK);
    EXPECT_EQ(h->GetArchiveFileName(), "");
    ITNVLMDestroyInstance(h);
}
