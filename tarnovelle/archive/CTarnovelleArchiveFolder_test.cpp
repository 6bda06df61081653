// The archive folder: its element in the project file, its path, its room,
// emptiness and fullness, wiping, and the archive's folder list. Lock files
// between processes are tested in tests/LockFileProcesses_test.cpp.
#include "tarnovelle/archive/CTarnovelleArchiveFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "tarnovelle/archive/CTarnovelleArchive.h"
#include "tarnovelle/archive/CTarnovelleArchiveFolderVisitor.h"
#include "tarnovelle/storage/CTarnovelleFile.h"
#include "tarnovelle/support/CTNFakeClock.h"
#include "tarnovelle/support/CTNFileFaults.h"
#include "tarnovelle/support/CTarnovelleException.h"
#include "tarnovelle/support/EV_XMLDOMDocument.h"
#include "tarnovelle/support/EV_XMLDOMNode.h"
#include "tarnovelle/support/TNDrive.h"
#include "tarnovelle/support/TNGuid.h"
#include "tarnovelle/support/TNModuleSettings.h"
#include "tarnovelle/values/CTarnovelleTextManager.h"
#include "tests/support/TNTestDir.h"

namespace {

constexpr GUID kPoint = {0x11111111, 0x2222, 0x3333, {0x44, 0x44, 0x55, 0x55, 0x55, 0x55, 0x55, 0x55}};
constexpr GUID kOther = {0xAAAAAAAA, 0xBBBB, 0xCCCC, {0xDD, 0xDD, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}};

class TestFolder : public CTarnovelleArchiveFolder {
public:
    using CTarnovelleArchiveFolder::CTarnovelleArchiveFolder;
    using CTarnovelleArchiveFolder::CreateDeleteLock;
    using CTarnovelleArchiveFolder::HasDeleteLock;
    using CTarnovelleArchiveFolder::RemoveDeleteLock;
};

// A measuring-point directory with the given files.
std::string MakePoint(const std::string& folder, const GUID& guid, const std::vector<std::string>& files) {
    const std::string directory = folder + "/" + GuidToString(guid);
    std::filesystem::create_directories(directory);
    for (const std::string& file : files) {
        std::filesystem::path path = std::filesystem::path(directory) / file;
        std::filesystem::create_directories(path.parent_path());
        FILE* f = std::fopen(path.c_str(), "wb");
        std::fputs("data", f);
        std::fclose(f);
    }
    return directory;
}

// An "Archive" element with the given attributes, in a document of its own.
struct SElement {
    EV_XMLDOMDocument document;
    EV_XMLDOMNode element;
    explicit SElement(const std::vector<std::pair<std::string, std::string>>& attributes) {
        document.New();
        element.Create(document, "Archive", "", nullptr);
        for (const auto& [name, value] : attributes) element.SetAttribute(name, value);
    }
    std::string Attribute(const std::string& name) {
        std::string value = "<missing>";
        element.GetAttribute(name, value);
        return value;
    }
};

class ArchiveFolderTest : public ::testing::Test {
protected:
    TNTestDir m_dir;
    // No wait in these tests runs in real time.
    CTNFakeClock m_clock{1700000000000ull};
    CTNScopedClock m_scope{&m_clock};
};

// ---------------------------------------------------------------- construction and element

TEST_F(ArchiveFolderTest, ANewFolderHasTheDefaults) {
    CTarnovelleArchiveFolder folder(nullptr, "/data/TNArch01", 1);
    EXPECT_EQ(folder.GetNumber(), 1);
    EXPECT_FALSE(folder.IsActive());
    EXPECT_EQ(folder.GetArchiveMode(), TNARCHIVE_MODE_REMAINING);
    EXPECT_EQ(folder.GetRemainingMegaBytes(), 100u);
    EXPECT_EQ(folder.GetMaximalMegaBytes(), 40u);
    EXPECT_NE(folder.GetReadLockId(), GUID{});
}

TEST_F(ArchiveFolderTest, APlainCopySharesTheReadLockIdAndAWorkingCopyGetsItsOwn) {
    CTarnovelleArchive archive;
    CTarnovelleArchive other;
    CTarnovelleArchiveFolder folder(&archive, "/data/TNArch01", 1);
    folder.SetActive(true);
    folder.SetMode(TNARCHIVE_MODE_MAXIMAL, 77);
    const CTarnovelleArchiveFolder plain(folder);
    EXPECT_EQ(plain.GetReadLockId(), folder.GetReadLockId());
    CTarnovelleArchiveFolder assigned(nullptr, "", 9);
    assigned = folder;
    EXPECT_EQ(assigned.GetReadLockId(), folder.GetReadLockId());
    EXPECT_EQ(assigned.GetNumber(), 1);
    const CTarnovelleArchiveFolder working(folder, &other);
    EXPECT_NE(working.GetReadLockId(), folder.GetReadLockId());
    EXPECT_EQ(working.GetArchive(), &other);
    EXPECT_TRUE(working.IsActive());
    EXPECT_EQ(working.GetMaximalMegaBytes(), 77u);
    EXPECT_EQ(working.GetStoredPath(), "/data/TNArch01");
}

TEST_F(ArchiveFolderTest, SetModeChangesOnlyTheLimitOfItsMode) {
    CTarnovelleArchiveFolder folder(nullptr, "/x", 1);
    folder.SetMode(TNARCHIVE_MODE_MAXIMAL, 500);
    EXPECT_EQ(folder.GetArchiveMode(), TNARCHIVE_MODE_MAXIMAL);
    EXPECT_EQ(folder.GetMaximalMegaBytes(), 500u);
    EXPECT_EQ(folder.GetRemainingMegaBytes(), 100u);
    folder.SetMode(TNARCHIVE_MODE_REMAINING, 7);
    EXPECT_EQ(folder.GetRemainingMegaBytes(), 7u);
    EXPECT_EQ(folder.GetMaximalMegaBytes(), 500u);
    folder.SetMode(static_cast<TNARCHIVE_MODE>(2), 9);
    EXPECT_EQ(folder.GetArchiveMode(), TNARCHIVE_MODE_REMAINING);
    EXPECT_EQ(folder.GetRemainingMegaBytes(), 7u);
    EXPECT_EQ(folder.GetMaximalMegaBytes(), 500u);
}

TEST_F(ArchiveFolderTest, SaveWritesEveryAttributeInOrder) {
    CTarnovelleArchiveFolder folder(nullptr, "./TNArch03", 3);
    folder.SetActive(true);
    folder.SetMode(TNARCHIVE_MODE_MAXIMAL, 250);
    SElement e({});
    folder.Save(e.element);
    std::vector<std::string> names;
    int32_t count = 0;
    ASSERT_EQ(e.element.GetAttributeCount(count), 0);
    for (int32_t i = 0; i < count; ++i) {
        std::string name;
        e.element.GetAttributeName(i, name);
        names.push_back(name);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"Version", "Path", "Number", "Active", "ArchiveModeText",
                                               "ArchiveMode", "RemainingMegaBytes", "MaximalMegaBytes"}));
    EXPECT_EQ(e.Attribute("Version"), "2");
    EXPECT_EQ(e.Attribute("Path"), "./TNArch03");
    EXPECT_EQ(e.Attribute("Number"), "3");
    EXPECT_EQ(e.Attribute("Active"), "TRUE");
    EXPECT_EQ(e.Attribute("ArchiveModeText"), CTarnovelleTextManager::GetText(TNARCHIVE_MODE_MAXIMAL) + " 250");
    EXPECT_EQ(e.Attribute("ArchiveMode"), "1");
    EXPECT_EQ(e.Attribute("RemainingMegaBytes"), "100");
    EXPECT_EQ(e.Attribute("MaximalMegaBytes"), "250");
}

TEST_F(ArchiveFolderTest, AnElementOfVersionTwoIsReadWhole) {
    SElement e({{"Version", "2"}, {"Path", ".\\TNArch02"}, {"Number", "2"}, {"Active", "true"},
                {"ArchiveMode", "1"}, {"RemainingMegaBytes", "55"}, {"MaximalMegaBytes", "66"}});
    CTarnovelleArchiveFolder folder(nullptr, e.element);
    EXPECT_EQ(folder.GetStoredPath(), "./TNArch02");  // either separator is read
    EXPECT_EQ(folder.GetNumber(), 2);
    EXPECT_TRUE(folder.IsActive());
    EXPECT_EQ(folder.GetArchiveMode(), TNARCHIVE_MODE_MAXIMAL);
    EXPECT_EQ(folder.GetRemainingMegaBytes(), 55u);
    EXPECT_EQ(folder.GetMaximalMegaBytes(), 66u);
}

TEST_F(ArchiveFolderTest, AnElementOfVersionOneKeepsTheDefaultSize) {
    SElement e({{"Version", "1.0"}, {"Path", "/a"}, {"ArchiveMode", "1"}, {"RemainingMegaBytes", "55"},
                {"MaximalMegaBytes", "66"}, {"Active", "yes"}});
    CTarnovelleArchiveFolder folder(nullptr, e.element);
    EXPECT_EQ(folder.GetArchiveMode(), TNARCHIVE_MODE_MAXIMAL);
    EXPECT_EQ(folder.GetRemainingMegaBytes(), 55u);
    EXPECT_EQ(folder.GetMaximalMegaBytes(), 40u);
    EXPECT_FALSE(folder.IsActive());  // only "TRUE", in any case, is true
}

TEST_F(ArchiveFolderTest, AnElementWithoutVersionKeepsEveryDefaultOfTheMode) {
    SElement e({{"Path", "/a"}, {"Number", "4"}, {"ArchiveMode", "1"}, {"RemainingMegaBytes", "55"},
                {"MaximalMegaBytes", "66"}});
    CTarnovelleArchiveFolder folder(nullptr, e.element);
    EXPECT_EQ(folder.GetNumber(), 4);
    EXPECT_EQ(folder.GetArchiveMode(), TNARCHIVE_MODE_REMAINING);
    EXPECT_EQ(folder.GetRemainingMegaBytes(), 100u);
    EXPECT_EQ(folder.GetMaximalMegaBytes(), 40u);
}

TEST_F(ArchiveFolderTest, ASavedElementReadsBackTheSame) {
    CTarnovelleArchiveFolder folder(nullptr, "/data/TNArch07", 7);
    folder.SetMode(TNARCHIVE_MODE_MAXIMAL, 123);
    folder.SetMode(TNARCHIVE_MODE_REMAINING, 45);
    SElement e({});
    folder.Save(e.element);
    CTarnovelleArchiveFolder read(nullptr, e.element);
    EXPECT_EQ(read.GetStoredPath(), "/data/TNArch07");
    EXPECT_EQ(read.GetNumber(), 7);
    EXPECT_FALSE(read.IsActive());
    EXPECT_EQ(read.GetArchiveMode(), TNARCHIVE_MODE_REMAINING);
    EXPECT_EQ(read.GetRemainingMegaBytes(), 45u);
    EXPECT_EQ(read.GetMaximalMegaBytes(), 123u);
}

// ---------------------------------------------------------------- paths

TEST_F(ArchiveFolderTest, RelativePathsFollowTheProjectFile) {
    CTarnovelleArchive archive;
    archive.SetArchiveFileName("/projects/plant/Plant.TNArch");
    EXPECT_EQ(CTarnovelleArchiveFolder(&archive, ".", 1).GetPath(), "/projects/plant");
    EXPECT_EQ(CTarnovelleArchiveFolder(&archive, "./TNArch01", 1).GetPath(), "/projects/plant/TNArch01");
    EXPECT_EQ(CTarnovelleArchiveFolder(&archive, "", 1).GetPath(), "");
    EXPECT_EQ(CTarnovelleArchiveFolder(&archive, "/abs/TNArch01", 1).GetPath(), "/abs/TNArch01");
    // Worked out at every call: a moved project takes its folders along.
    CTarnovelleArchiveFolder folder(&archive, "./TNArch01", 1);
    archive.SetArchiveFileName("/moved/Plant.TNArch");
    EXPECT_EQ(folder.GetPath(), "/moved/TNArch01");
}

TEST_F(ArchiveFolderTest, MakingRelativeIsAPlainPrefixTest) {
    CTarnovelleArchiveFolder inside(nullptr, "/DATA/TNArch01", 1);
    inside.TryToMakeRelative("/DATA/Plant.TNArch");
    EXPECT_EQ(inside.GetStoredPath(), "./TNArch01");
    CTarnovelleArchiveFolder beside(nullptr, "/DATA2/X", 1);
    beside.TryToMakeRelative("/DATA/Plant.TNArch");
    EXPECT_EQ(beside.GetStoredPath(), ".2/X");
    CTarnovelleArchiveFolder elsewhere(nullptr, "/other/X", 1);
    elsewhere.TryToMakeRelative("/DATA/Plant.TNArch");
    EXPECT_EQ(elsewhere.GetStoredPath(), "/other/X");
    // Another case names another directory here.
    CTarnovelleArchiveFolder upper(nullptr, "/data/MixedCase/X", 1);
    upper.TryToMakeRelative("/DATA/Plant.TNArch");
    EXPECT_EQ(upper.GetStoredPath(), "/data/MixedCase/X");
    CTarnovelleArchiveFolder kept(nullptr, "/data/MixedCase/X", 1);
    kept.TryToMakeRelative("/data/Plant.TNArch");
    EXPECT_EQ(kept.GetStoredPath(), "./MixedCase/X");
}

// ---------------------------------------------------------------- room

TEST_F(ArchiveFolderTest, FreeSpaceIsTheDrivesSpaceForThisProcess) {
    CTarnovelleArchiveFolder folder(nullptr, m_dir.Path(), 1);
    const uint64_t expected = GetDiskFreeSpace(m_dir.Path());
    ASSERT_GT(expected, 0u);
    // The drive is shared with the rest of the machine: allow some drift.
    const uint64_t measured = folder.GetFreeDiskSpace();
    EXPECT_LT(measured > expected ? measured - expected : expected - measured, 64ull << 20);
    EXPECT_EQ(CTarnovelleArchiveFolder(nullptr, m_dir / "does/not/exist", 1).GetFreeDiskSpace(), 0u);
}

TEST_F(ArchiveFolderTest, RemainingSpaceInModeZeroIsTheFreeSpaceBeyondTheLimit) {
    CTarnovelleArchiveFolder folder(nullptr, m_dir.Path(), 1);
    const uint32_t freeMegaBytes = static_cast<uint32_t>(GetDiskFreeSpace(m_dir.Path()) / 1024 / 1024);
    ASSERT_GT(freeMegaBytes, 20u);
    folder.SetMode(TNARCHIVE_MODE_REMAINING, freeMegaBytes - 10);
    const uint32_t remaining = folder.GetRemainingDiskSpaceInMB();
    EXPECT_GE(remaining, 5u);
    EXPECT_LE(remaining, 15u);
    folder.SetMode(TNARCHIVE_MODE_REMAINING, freeMegaBytes + 1000);
    EXPECT_EQ(folder.GetRemainingDiskSpaceInMB(), 0u);
}

TEST_F(ArchiveFolderTest, UsedResourcesCountBlocksOf4096AndOneMoreForAnExactMultiple) {
    const std::string point = MakePoint(m_dir.Path(), kPoint, {});
    m_dir.WriteFile(GuidToString(kPoint) + "/ConfData.Inf", "");
    m_dir.WriteFile(GuidToString(kPoint) + "/03010021.Sam", std::string(4096, 'x'));
    m_dir.WriteFile(GuidToString(kPoint) + "/03010021.Dat", std::string(4097, 'x'));
    m_dir.WriteFile(GuidToString(kPoint) + "/notes.txt", std::string(100000, 'x'));
    m_dir.WriteFile("loose.Dat", std::string(100000, 'x'));
    std::filesystem::create_directories(m_dir / "not-a-guid");
    m_dir.WriteFile("not-a-guid/x.Dat", "x");
    CTarnovelleArchiveFolder folder(nullptr, m_dir.Path(), 1);
    uint32_t directories = 0, files = 0;
    uint64_t bytes = 0;
    CTarnovelleArchiveFolderVisitor::CalculateUsedResources(folder, directories, files, bytes);
    EXPECT_EQ(directories, 1u);
    EXPECT_EQ(files, 3u);
    EXPECT_EQ(bytes, 4096u + 2 * 4096u + 2 * 4096u);
}

TEST_F(ArchiveFolderTest, RemainingSpaceInModeOneIsTheRoomBeforeTheSizeLimit) {
    MakePoint(m_dir.Path(), kPoint, {});
    m_dir.WriteFile(GuidToString(kPoint) + "/03010021.Dat", std::string(3 * 1024 * 1024, 'x'));
    CTarnovelleArchiveFolder folder(nullptr, m_dir.Path(), 1);
    folder.SetMode(TNARCHIVE_MODE_MAXIMAL, 10);
    EXPECT_EQ(folder.GetRemainingDiskSpaceInMB(), 7u);
    folder.SetMode(TNARCHIVE_MODE_MAXIMAL, 2);
    EXPECT_EQ(folder.GetRemainingDiskSpaceInMB(), 0u);
    folder.SetMode(TNARCHIVE_MODE_MAXIMAL, 3);
    EXPECT_EQ(folder.GetRemainingDiskSpaceInMB(), 0u);  // 3 MB and one block: 3 used, 0 left
}

TEST_F(ArchiveFolderTest, AFolderWithoutGuidShapedDirectoriesIsEmptyWhateverElseLiesInIt) {
    CTarnovelleArchiveFolder folder(nullptr, m_dir.Path(), 1);
    EXPECT_TRUE(folder.IsEmpty());
    m_dir.WriteFile("x.sam", "x");
    std::filesystem::create_directories(m_dir / "SomeDirectory");
    m_dir.WriteFile("SomeDirectory/y.Sam", "y");
    EXPECT_TRUE(folder.IsEmpty());
    MakePoint(m_dir.Path(), kPoint, {"03010021.Dat", "readme.txt"});
    EXPECT_TRUE(folder.IsEmpty());  // values without their headers are no data
    MakePoint(m_dir.Path(), kOther, {"ConfData.Inf"});
    EXPECT_FALSE(folder.IsEmpty());
}

TEST_F(ArchiveFolderTest, ASamplesFileOfAnyCaseMakesTheFolderNotEmpty) {
    MakePoint(m_dir.Path(), kPoint, {"03010021.SAM"});
    EXPECT_FALSE(CTarnovelleArchiveFolder(nullptr, m_dir.Path(), 1).IsEmpty());
}

TEST_F(ArchiveFolderTest, AnInactiveFolderIsFullExactlyWhenItHoldsData) {
    CTarnovelleArchiveFolder folder(nullptr, m_dir.Path(), 1);
    folder.SetMode(TNARCHIVE_MODE_REMAINING, 0xFFFFFFFFu);  // no room at all
    EXPECT_FALSE(folder.IsFull());
    MakePoint(m_dir.Path(), kPoint, {"03010021.Sam"});
    folder.SetMode(TNARCHIVE_MODE_REMAINING, 0);  // all the room there is
    EXPECT_TRUE(folder.IsFull());
}

TEST_F(ArchiveFolderTest, AnActiveFolderWithoutConnectorsIsFullOnlyAtItsLimit) {
    CTarnovelleArchive archive;
    CTarnovelleArchiveFolder folder(&archive, m_dir.Path(), 1);
    folder.SetActive(true);
    MakePoint(m_dir.Path(), kPoint, {"03010021.Sam"});
    ASSERT_EQ(archive.GetMeasuringPointConnectorCount(), 0u);
    folder.SetMode(TNARCHIVE_MODE_REMAINING, 1);
    EXPECT_FALSE(folder.IsFull());
    const uint32_t freeMegaBytes = static_cast<uint32_t>(GetDiskFreeSpace(m_dir.Path()) / 1024 / 1024);
    folder.SetMode(TNARCHIVE_MODE_REMAINING, freeMegaBytes + 100);
    EXPECT_TRUE(folder.IsFull());
    folder.SetMode(TNARCHIVE_MODE_MAXIMAL, 1000);
    EXPECT_FALSE(folder.IsFull());
    folder.SetMode(TNARCHIVE_MODE_MAXIMAL, 0);
    EXPECT_TRUE(folder.IsFull());
}

TEST_F(ArchiveFolderTest, AnActiveFolderOfAnotherModeIsNeverFull) {
    SElement e({{"Version", "2"}, {"Path", m_dir.Path()}, {"Active", "TRUE"}, {"ArchiveMode", "5"}});
    CTarnovelleArchiveFolder folder(nullptr, e.element);
    ASSERT_TRUE(folder.IsActive());
    EXPECT_FALSE(folder.IsFull());
    EXPECT_EQ(folder.GetRemainingDiskSpaceInMB(), 0u);
    SElement saved({});
    folder.Save(saved.element);
    EXPECT_EQ(saved.Attribute("ArchiveModeText"), "");
}

TEST_F(ArchiveFolderTest, AnActiveModeZeroFolderWithTheLimitEqualToTheFreeSpaceIsFull) {
    CTarnovelleArchiveFolder folder(nullptr, m_dir.Path(), 1);
    folder.SetActive(true);
    // The free space moves while other programs write: retry until a
    // measurement holds still across the calls.
    for (int attempt = 0; attempt < 20; ++attempt) {
        const uint32_t freeMegaBytes = static_cast<uint32_t>(GetDiskFreeSpace(m_dir.Path()) / 1024 / 1024);
        folder.SetMode(TNARCHIVE_MODE_REMAINING, freeMegaBytes);
        const uint32_t remaining = folder.GetRemainingDiskSpaceInMB();
        const bool full = folder.IsFull();
        if (static_cast<uint32_t>(GetDiskFreeSpace(m_dir.Path()) / 1024 / 1024) != freeMegaBytes) continue;
        EXPECT_EQ(remaining, 0u);
        EXPECT_TRUE(full);
        return;
    }
    GTEST_SKIP() << "the free space of the drive did not hold still";
}

// ---------------------------------------------------------------- wiping

TEST_F(ArchiveFolderTest, ClearWipesMeasuringPointsAndLeavesEverythingElse) {
    const std::string a = MakePoint(m_dir.Path(), kPoint, {"ConfData.Inf", "03010021.Sam", "03010021.Dat"});
    const std::string b = MakePoint(m_dir.Path(), kOther, {"03010021.Sam", "03010021.Dat", "foreign.txt"});
    m_dir.WriteFile("Project.TNArch", "<x/>");
    std::filesystem::create_directories(m_dir / "SomethingElse");
    m_dir.WriteFile("SomethingElse/03010021.Sam", "kept");
    CTarnovelleArchive archive;
    CTarnovelleArchiveFolder folder(&archive, m_dir.Path(), 1);
    ASSERT_FALSE(folder.IsEmpty());
    EXPECT_TRUE(folder.Clear());
    EXPECT_FALSE(std::filesystem::exists(a));
    ASSERT_TRUE(std::filesystem::exists(b));  // a foreign file keeps its directory, under its name
    EXPECT_TRUE(std::filesystem::exists(b + "/foreign.txt"));
    EXPECT_FALSE(std::filesystem::exists(b + "/03010021.Sam"));
    EXPECT_FALSE(std::filesystem::exists(b + "/03010021.Dat"));
    EXPECT_TRUE(std::filesystem::exists(m_dir / "Project.TNArch"));
    EXPECT_TRUE(std::filesystem::exists(m_dir / "SomethingElse/03010021.Sam"));
    EXPECT_FALSE(std::filesystem::exists(m_dir / "Delete.Lock"));
    EXPECT_TRUE(folder.IsEmpty());
}

TEST_F(ArchiveFolderTest, ClearThatCannotDeleteAFileRaisesAndReleasesItsLock) {
    MakePoint(m_dir.Path(), kPoint, {"03010021.Sam"});
    // A reader of an older version holds the samples file open.
    CTarnovelleFile holder;
    ASSERT_NE(holder.Open((m_dir / (GuidToString(kPoint) + "/03010021.Sam")).c_str(), CTarnovelleFile::modeRead), 0);
    CTarnovelleArchiveFolder folder(nullptr, m_dir.Path(), 1);
    try {
        folder.Clear();
        ADD_FAILURE() << "nothing raised";
    } catch (const CTarnovelleException& e) {
        EXPECT_EQ(e.GetMessage(), "Exception: file = '" + m_dir.Path() + "'\naction = Clear remove files failed");
    }
    EXPECT_FALSE(std::filesystem::exists(m_dir / "Delete.Lock"));
    holder.Close();
    // The next wipe finishes the work.
    EXPECT_TRUE(folder.Clear());
    EXPECT_TRUE(folder.IsEmpty());
}

TEST_F(ArchiveFolderTest, RemoveMeasuringPointWipesOneAndRenamesADirectoryWithForeignFiles) {
    const std::string a = MakePoint(m_dir.Path(), kPoint, {"ConfData.Inf", "03010021.Sam", "03010021.Dat", "x.txt"});
    const std::string b = MakePoint(m_dir.Path(), kOther, {"03010021.Sam"});
    CTarnovelleArchiveFolder folder(nullptr, m_dir.Path(), 1);
    EXPECT_EQ(folder.RemoveMeasuringPoint(kPoint), TNE_OK);
    EXPECT_FALSE(std::filesystem::exists(a));
    EXPECT_TRUE(std::filesystem::exists(a + "_DELETED/x.txt"));
    EXPECT_TRUE(std::filesystem::exists(b + "/03010021.Sam"));
    EXPECT_EQ(folder.RemoveMeasuringPoint(kOther), TNE_OK);
    EXPECT_FALSE(std::filesystem::exists(b));
    EXPECT_FALSE(std::filesystem::exists(b + "_DELETED"));
    EXPECT_TRUE(folder.IsEmpty());
}

TEST_F(ArchiveFolderTest, RemovingAMeasuringPointThatIsNotThereEndsWithOk) {
    CTarnovelleArchiveFolder folder(nullptr, m_dir.Path(), 1);
    EXPECT_EQ(folder.RemoveMeasuringPoint(kPoint), TNE_OK);
    EXPECT_FALSE(std::filesystem::exists(m_dir / GuidToString(kPoint)));
    EXPECT_FALSE(std::filesystem::exists(m_dir / (GuidToString(kPoint) + "_DELETED")));
    EXPECT_FALSE(std::filesystem::exists(m_dir / "Delete.Lock"));
}

TEST_F(ArchiveFolderTest, RemoveMeasuringPointThatCannotMakeTheDeleteLockFails) {
    // The folder's own directory is missing: the lock file can't be opened.
    CTarnovelleArchiveFolder folder(nullptr, m_dir / "missing", 1);
    EXPECT_EQ(folder.RemoveMeasuringPoint(kPoint), TNE_ARCHIVE_LOCK_FAILED);
    EXPECT_FALSE(folder.Clear());
}

TEST_F(ArchiveFolderTest, ADeleteLockWaitsForReadersAndGivesUpAfter300Seconds) {
    TestFolder reader(nullptr, m_dir.Path(), 1);
    TNLockHandle read = nullptr;
    ASSERT_TRUE(reader.CreateReadLock(read));
    TestFolder deleter(nullptr, m_dir.Path(), 1);
    TNLockHandle lock = nullptr;
    try {
        deleter.CreateDeleteLock(lock);
        ADD_FAILURE() << "nothing raised";
    } catch (const CTarnovelleException& e) {
        EXPECT_EQ(e.GetMessage(), "Exception: file = '" + m_dir.Path() + "'\naction = CreateDeleteLock timeout");
    }
    EXPECT_EQ(lock, nullptr);
    EXPECT_FALSE(deleter.HasDeleteLock());
    const std::vector<uint32_t> sleeps = m_clock.GetSleeps();
    ASSERT_FALSE(sleeps.empty());
    EXPECT_EQ(sleeps.front(), 500u);
    EXPECT_GE(sleeps.size(), 600u);
    EXPECT_LE(sleeps.size(), 603u);
    reader.RemoveReadLock(read);
}

TEST_F(ArchiveFolderTest, ClearWaitsOutAnotherWipeAndCountsThatAsDone) {
    TestFolder other(nullptr, m_dir.Path(), 1);
    TNLockHandle lock = nullptr;
    ASSERT_TRUE(other.CreateDeleteLock(lock));
    MakePoint(m_dir.Path(), kPoint, {"03010021.Sam"});
    CTarnovelleArchiveFolder folder(nullptr, m_dir.Path(), 1);
    try {
        folder.Clear();
        ADD_FAILURE() << "nothing raised";
    } catch (const CTarnovelleException& e) {
        EXPECT_EQ(e.GetMessage(), "Exception: file = '" + m_dir.Path() + "'\naction = Clear timeout1");
    }
    EXPECT_TRUE(other.HasDeleteLock());  // the other's lock stays
    EXPECT_FALSE(folder.IsEmpty());      // and nothing was wiped by this one
    try {
        folder.RemoveMeasuringPoint(kPoint);
        ADD_FAILURE() << "nothing raised";
    } catch (const CTarnovelleException& e) {
        EXPECT_EQ(e.GetMessage(), "Exception: file = '" + m_dir.Path() + "'\naction = RemoveMeasuringPoint timeout");
    }
    other.RemoveDeleteLock(lock);
    EXPECT_EQ(lock, nullptr);
    EXPECT_FALSE(other.HasDeleteLock());
}

TEST_F(ArchiveFolderTest, AReadLockWaitsForADeleterAndGivesUpAfter300Seconds) {
    TestFolder deleter(nullptr, m_dir.Path(), 1);
    TNLockHandle lock = nullptr;
    ASSERT_TRUE(deleter.CreateDeleteLock(lock));
    CTarnovelleArchiveFolder reader(nullptr, m_dir.Path(), 1);
    TNLockHandle read = nullptr;
    EXPECT_THROW(reader.CreateReadLock(read), CTarnovelleException);
    EXPECT_FALSE(reader.IsReadLock());
    deleter.RemoveDeleteLock(lock);
    EXPECT_TRUE(reader.CreateReadLock(read));
    EXPECT_NE(read, nullptr);
    EXPECT_TRUE(reader.HasReadLock());
    reader.RemoveReadLock(read);
    EXPECT_FALSE(reader.HasReadLock());
}

TEST_F(ArchiveFolderTest, ASecondReadLockOfOneObjectGivesANullHandleThatReleasesNothing) {
    CTarnovelleArchiveFolder folder(nullptr, m_dir.Path(), 1);
    TNLockHandle first = nullptr;
    TNLockHandle second = reinterpret_cast<TNLockHandle>(&first);
    ASSERT_TRUE(folder.CreateReadLock(first));
    ASSERT_NE(first, nullptr);
    EXPECT_TRUE(folder.CreateReadLock(second));
    EXPECT_EQ(second, nullptr);
    EXPECT_TRUE(folder.RemoveReadLock(second));
    EXPECT_TRUE(folder.IsReadLock());
    EXPECT_TRUE(TNTestDir::Exists(m_dir / (GuidToString(folder.GetReadLockId()) + ".Read")));
    folder.RemoveReadLock(first);
    EXPECT_FALSE(folder.IsReadLock());
}

// ---------------------------------------------------------------- the archive's folder list

TEST_F(ArchiveFolderTest, FoldersAreNumberedFromOneAndAPathInUseGivesTheOldFolder) {
    CTarnovelleArchive archive;
    EXPECT_EQ(archive.GetNextArchiveFolderNumber(), 1u);
    EXPECT_EQ(archive.GetActiveArchiveFolder(), nullptr);
    CTarnovelleArchiveFolder* first = archive.AddArchive(m_dir / "TNArch01", TNARCHIVE_MODE_MAXIMAL, 50);
    ASSERT_NE(first, nullptr);
    EXPECT_TRUE(std::filesystem::is_directory(m_dir / "TNArch01"));
    EXPECT_EQ(first->GetNumber(), 1);
    EXPECT_TRUE(first->IsActive());
    EXPECT_EQ(archive.GetNextArchiveFolderNumber(), 2u);
    CTarnovelleArchiveFolder* second = archive.AddArchive(m_dir / "TNArch02", TNARCHIVE_MODE_REMAINING, 10);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(second->GetNumber(), 2);
    EXPECT_FALSE(second->IsActive());
    EXPECT_EQ(archive.GetActiveArchiveFolder(), first);
    CTarnovelleArchiveFolder* again = archive.AddArchive(m_dir / "TNArch01", TNARCHIVE_MODE_REMAINING, 999);
    EXPECT_EQ(again, first);
    EXPECT_EQ(first->GetArchiveMode(), TNARCHIVE_MODE_MAXIMAL);
    EXPECT_EQ(first->GetMaximalMegaBytes(), 50u);
    ASSERT_EQ(archive.GetArchiveFolders().size(), 3u);
    EXPECT_EQ(archive.GetArchiveFolders()[0], nullptr);
}

TEST_F(ArchiveFolderTest, AddingAFolderWhoseDirectoryCannotBeMadeGivesNull) {
    m_dir.WriteFile("file", "x");
    CTarnovelleArchive archive;
    EXPECT_EQ(archive.AddArchive(m_dir / "file/below", TNARCHIVE_MODE_REMAINING, 1), nullptr);
    EXPECT_EQ(archive.GetNextArchiveFolderNumber(), 1u);
}

TEST_F(ArchiveFolderTest, TheOrderedListRunsByNumberOrRoundTheRing) {
    CTarnovelleArchive archive;
    CTarnovelleArchiveFolder* f1 = archive.AddArchive(m_dir / "1", TNARCHIVE_MODE_REMAINING, 1);
    CTarnovelleArchiveFolder* f2 = archive.AddArchive(m_dir / "2", TNARCHIVE_MODE_REMAINING, 1);
    CTarnovelleArchiveFolder* f3 = archive.AddArchive(m_dir / "3", TNARCHIVE_MODE_REMAINING, 1);
    f1->SetActive(false);
    f2->SetActive(true);
    EXPECT_EQ(archive.GetArrayOfArchiveFolders(), (std::vector<CTarnovelleArchiveFolder*>{f1, f2, f3}));
    archive.SetRoundTripArchive(true);
    EXPECT_EQ(archive.GetArrayOfArchiveFolders(), (std::vector<CTarnovelleArchiveFolder*>{f3, f1, f2}));
    f2->SetActive(false);
    EXPECT_TRUE(archive.GetArrayOfArchiveFolders().empty());
}

TEST_F(ArchiveFolderTest, OnlyAnEmptyInactiveFolderCanBeRemoved) {
    CTarnovelleArchive archive;
    CTarnovelleArchiveFolder* f1 = archive.AddArchive(m_dir / "1", TNARCHIVE_MODE_REMAINING, 1);
    CTarnovelleArchiveFolder* f2 = archive.AddArchive(m_dir / "2", TNARCHIVE_MODE_REMAINING, 1);
    CTarnovelleArchiveFolder* f3 = archive.AddArchive(m_dir / "3", TNARCHIVE_MODE_REMAINING, 1);
    MakePoint(m_dir / "2", kPoint, {"03010021.Sam"});
    EXPECT_EQ(archive.RemoveArchiveFolder(f1), 0);  // active
    EXPECT_EQ(archive.RemoveArchiveFolder(f2), 0);  // holds data
    CTarnovelleArchiveFolder stranger(&archive, m_dir / "4", 4);
    EXPECT_EQ(archive.RemoveArchiveFolder(&stranger), 0);
    EXPECT_EQ(archive.RemoveArchiveFolder(f3), 1);
    EXPECT_EQ(archive.GetArchiveFolders()[3], nullptr);
    EXPECT_TRUE(std::filesystem::is_directory(m_dir / "3"));
    EXPECT_EQ(archive.GetArrayOfArchiveFolders(), (std::vector<CTarnovelleArchiveFolder*>{f1, f2}));
    EXPECT_EQ(archive.GetNextArchiveFolderNumber(), 4u);  // numbers are never given again
}

}  // namespace

namespace {
int32_t g_perDevice = 0;
bool PerDeviceSetting(const std::string& key, int32_t& value) {
    if (key != "MininumArchiveSizePerDevice") return false;
    value = g_perDevice;
    return true;
}
}  // namespace

TEST_F(ArchiveFolderTest, TheReserveGrowsWithTheMeasuringPointsAndTheSettingPerDevice) {
    CTarnovelleArchive archive;
    CTarnovelleArchiveFolder folder(&archive, m_dir.Path(), 1);
    folder.SetActive(true);
    folder.SetMode(TNARCHIVE_MODE_REMAINING, 0);
    const uint64_t freeMegaBytes = GetDiskFreeSpace(m_dir.Path()) / 1024 / 1024;
    ASSERT_GT(freeMegaBytes, 100u);
    ASSERT_LT(freeMegaBytes, 1000000000u);
    const TNModuleSettingFunction module = TNSetModuleSettings(&PerDeviceSetting);
    // The reserve is half the points times the setting, in megabytes: with
    // 1.5 times the free space per point, one point leaves room, two don't.
    g_perDevice = static_cast<int32_t>(freeMegaBytes * 3 / 2);
    EXPECT_FALSE(folder.IsFull());  // no measuring point yet: no reserve
    archive.InsertMeasuringPoints(kPoint);
    EXPECT_FALSE(folder.IsFull());
    archive.InsertMeasuringPoints(kOther);
    EXPECT_TRUE(folder.IsFull());
    g_perDevice = 1;
    EXPECT_FALSE(folder.IsFull());
    // Without the module's settings there is no reserve at all.
    TNSetModuleSettings(nullptr);
    g_perDevice = static_cast<int32_t>(freeMegaBytes * 3 / 2);
    EXPECT_FALSE(folder.IsFull());
    TNSetModuleSettings(module);
}
