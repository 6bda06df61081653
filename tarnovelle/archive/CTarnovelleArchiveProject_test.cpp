// The project file: saving, opening, following another process's changes,
// and damaged files, with real files and a real second process.
#include "tarnovelle/archive/CTarnovelleArchive.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tarnovelle/storage/CTarnovelleChannel.h"
#include "tarnovelle/support/CTNFakeClock.h"
#include "tarnovelle/support/CTNMessageBox.h"
#include "tarnovelle/support/TNGuid.h"
#include "tarnovelle/values/STarnovelleTimeStampInMsec.h"
#include "tests/support/TNChildProcess.h"
#include "tests/support/TNTestDir.h"

namespace {

constexpr GUID kPoint = {0x0BADCAFE, 0x0001, 0x0002, {3, 4, 5, 6, 7, 8, 9, 10}};

std::vector<std::string> StoredPaths(const CTarnovelleArchive& archive) {
    std::vector<std::string> paths;
    for (const CTarnovelleArchiveFolder* folder : archive.GetArchiveFolders())
        paths.push_back(folder ? folder->GetStoredPath() : "<none>");
    return paths;
}

class ProjectTest : public ::testing::Test {
protected:
    void SetUp() override { CTNMessageBox::RerouteMessageBoxToLogArray(&m_messages); }
    void TearDown() override { CTNMessageBox::RerouteMessageBoxToLogArray(nullptr); }
    std::string Project() const { return m_dir / "Plant.TNArch"; }
    // Writes the project file anew, so that its status changes.
    void WriteProject(const std::string& text) const {
        std::filesystem::remove(Project());
        m_dir.WriteFile("Plant.TNArch", text);
    }
    TNTestDir m_dir;
    std::vector<std::string> m_messages;
    CTNFakeClock m_clock{1700000000000ull};
    CTNScopedClock m_scope{&m_clock};
};

TEST_F(ProjectTest, ANewProjectSavedWithoutFoldersGetsTNArch01) {
    CTarnovelleArchive archive;
    ASSERT_EQ(archive.Init(Project()), TNE_OK);
    archive.SetModifiedFlag(1);
    archive.Save();
    EXPECT_EQ(archive.IsModified(), 0);
    EXPECT_TRUE(std::filesystem::is_directory(m_dir / "TNArch01"));
    EXPECT_EQ(StoredPaths(archive), (std::vector<std::string>{"<none>", "./TNArch01"}));
    CTarnovelleArchive read;
    ASSERT_EQ(read.Init(Project()), TNE_OK);
    ASSERT_EQ(StoredPaths(read), (std::vector<std::string>{"<none>", "./TNArch01"}));
    const CTarnovelleArchiveFolder* folder = read.GetArchiveFolders()[1];
    EXPECT_EQ(folder->GetNumber(), 1);
    EXPECT_TRUE(folder->IsActive());
    EXPECT_EQ(folder->GetArchiveMode(), TNARCHIVE_MODE_REMAINING);
    EXPECT_EQ(folder->GetRemainingMegaBytes(), 100u);
    EXPECT_EQ(folder->GetPath(), m_dir / "TNArch01");
}

TEST_F(ProjectTest, TheSavedFileHasTheFormItsReadersExpect) {
    CTarnovelleArchive archive;
    archive.Init(Project());
    archive.SetName("Plant A");
    archive.SetRoundTripArchive(true);
    archive.Save();
    const std::string text = TNTestDir::ReadFile(Project());
    EXPECT_NE(text.find("<CTarnovelleArchive Version=\"1\" Name=\"Plant A\" RoundTripArchive=\"true\">"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find("\n    <Archive Version=\"2\" Path=\"./TNArch01\" Number=\"1\" Active=\"TRUE\""),
              std::string::npos)
        << text;
}

TEST_F(ProjectTest, AProjectWrittenHereReadsBackTheSame) {
    CTarnovelleArchive archive;
    archive.Init(Project());
    archive.SetName("Ring");
    archive.SetRoundTripArchive(true);
    archive.AddArchive(m_dir / "TNArch01", TNARCHIVE_MODE_REMAINING, 250);
    archive.AddArchive(m_dir / "TNArch02", TNARCHIVE_MODE_MAXIMAL, 40);
    archive.AddArchive("/elsewhere/TNArch03", TNARCHIVE_MODE_MAXIMAL, 77);
    archive.GetArchiveFolders()[1]->SetActive(false);
    archive.GetArchiveFolders()[2]->SetActive(true);
    archive.Save();
    CTarnovelleArchive read;
    ASSERT_EQ(read.Init(Project()), TNE_OK);
    EXPECT_EQ(read.GetName(), "Ring");
    EXPECT_TRUE(read.IsRoundTripArchive());
    EXPECT_EQ(StoredPaths(read), (std::vector<std::string>{"<none>", "./TNArch01", "./TNArch02", "/elsewhere/TNArch03"}));
    for (size_t i = 1; i < 4; ++i) {
        const CTarnovelleArchiveFolder* a = archive.GetArchiveFolders()[i];
        const CTarnovelleArchiveFolder* b = read.GetArchiveFolders()[i];
        EXPECT_EQ(b->GetNumber(), a->GetNumber());
        EXPECT_EQ(b->IsActive(), a->IsActive());
        EXPECT_EQ(b->GetArchiveMode(), a->GetArchiveMode());
        EXPECT_EQ(b->GetRemainingMegaBytes(), a->GetRemainingMegaBytes());
        EXPECT_EQ(b->GetMaximalMegaBytes(), a->GetMaximalMegaBytes());
    }
}

TEST_F(ProjectTest, AFileOfTheOriginalPlatformOpensHere) {
    WriteProject("<?xml version=\"1.0\"?>\r\n<CTarnovelleArchive Version=\"1\" Name=\"Alt\" RoundTripArchive=\"TRUE\">\r\n"
                 "<Archive Version=\"2\" Path=\".\\TNArch01\" Number=\"1\" Active=\"TRUE\" ArchiveModeText=\"x\" "
                 "ArchiveMode=\"1\" RemainingMegaBytes=\"100\" MaximalMegaBytes=\"500\"/>\r\n"
                 "<Archive Version=\"1.0\" Path=\".\\Sub\\TNArch02\" Number=\"2\" Active=\"FALSE\" ArchiveMode=\"0\" "
                 "RemainingMegaBytes=\"30\" MaximalMegaBytes=\"500\"/>\r\n"
                 "<Foreign Path=\"x\"/>\r\n</CTarnovelleArchive>\r\n");
    CTarnovelleArchive archive;
    ASSERT_EQ(archive.Init(Project()), TNE_OK);
    EXPECT_EQ(archive.GetName(), "Alt");
    EXPECT_TRUE(archive.IsRoundTripArchive());
    ASSERT_EQ(StoredPaths(archive), (std::vector<std::string>{"<none>", "./TNArch01", "./Sub/TNArch02"}));
    EXPECT_EQ(archive.GetArchiveFolders()[2]->GetPath(), m_dir / "Sub/TNArch02");
    EXPECT_EQ(archive.GetArchiveFolders()[1]->GetMaximalMegaBytes(), 500u);
    EXPECT_EQ(archive.GetArchiveFolders()[2]->GetMaximalMegaBytes(), 40u);  // version 1.0 keeps the default
    EXPECT_EQ(archive.GetArchiveFolders()[2]->GetRemainingMegaBytes(), 30u);
    // Written back in this platform's form, "true" in lower case.
    archive.Save();
    EXPECT_NE(TNTestDir::ReadFile(Project()).find("RoundTripArchive=\"true\""), std::string::npos);
}

TEST_F(ProjectTest, AVersionZeroRootKeepsTheRingFlagAndItsFoldersKeepTheirDefaults) {
    WriteProject("<CTarnovelleArchive Version=\"0\" Name=\"Old\" RoundTripArchive=\"true\">"
                 "<Archive Path=\"/a\" Number=\"1\" ArchiveMode=\"1\"/></CTarnovelleArchive>");
    CTarnovelleArchive archive;
    archive.SetRoundTripArchive(false);
    ASSERT_EQ(archive.Init(Project()), TNE_OK);
    EXPECT_FALSE(archive.IsRoundTripArchive());
    ASSERT_EQ(StoredPaths(archive), (std::vector<std::string>{"<none>", "/a"}));
    EXPECT_EQ(archive.GetArchiveFolders()[1]->GetArchiveMode(), TNARCHIVE_MODE_REMAINING);
    EXPECT_TRUE(archive.GetArchiveFolders()[1]->IsActive());  // someone always is
}

TEST_F(ProjectTest, ARootOfAnUnknownVersionGivesAnArchiveWithoutFolders) {
    WriteProject("<CTarnovelleArchive Version=\"2\" Name=\"Future\"><Archive Path=\"/a\" Number=\"1\"/></CTarnovelleArchive>");
    CTarnovelleArchive archive;
    ASSERT_EQ(archive.Init(Project()), TNE_OK);
    EXPECT_EQ(archive.GetName(), "Future");
    EXPECT_TRUE(archive.GetArchiveFolders().empty());
}

TEST_F(ProjectTest, AFileWithoutTheRootGivesAnArchiveWithoutFolders) {
    WriteProject("<Archive Path=\"/a\" Number=\"1\"/>");
    CTarnovelleArchive archive;
    ASSERT_EQ(archive.Init(Project()), TNE_OK);
    EXPECT_TRUE(archive.GetArchiveFolders().empty());
}

TEST_F(ProjectTest, AnUnchangedFileIsNotParsedAgain) {
    CTarnovelleArchive writer;
    writer.Init(Project());
    writer.SetName("Saved");
    writer.Save();
    CTarnovelleArchive archive;
    ASSERT_EQ(archive.Init(Project()), TNE_OK);
    archive.SetName("Changed in memory");
    EXPECT_EQ(archive.UpdateArchiveFolders(), TNE_OK);
    EXPECT_EQ(archive.GetName(), "Changed in memory");
    // The own save is not seen as a change either.
    writer.SetName("Again");
    writer.Save();
    writer.SetName("Changed in memory too");
    EXPECT_EQ(writer.UpdateArchiveFolders(), TNE_OK);
    EXPECT_EQ(writer.GetName(), "Changed in memory too");
    // Another's save is.
    EXPECT_EQ(archive.UpdateArchiveFolders(), TNE_OK);
    EXPECT_EQ(archive.GetName(), "Again");
}

TEST_F(ProjectTest, ADamagedFileGivesNotParsedOnceAndIsNotParsedAgainUntilItChanges) {
    CTarnovelleArchive writer;
    writer.Init(Project());
    writer.AddArchive(m_dir / "TNArch01", TNARCHIVE_MODE_REMAINING, 1);
    writer.Save();
    CTarnovelleArchive archive;
    ASSERT_EQ(archive.Init(Project()), TNE_OK);
    ASSERT_EQ(archive.GetArchiveFolders().size(), 2u);
    const std::string whole = TNTestDir::ReadFile(Project());
    WriteProject(whole.substr(0, whole.size() / 2));
    EXPECT_EQ(archive.UpdateArchiveFolders(), TNE_FILE_NOT_PARSED);
    EXPECT_EQ(archive.GetArchiveFolders().size(), 2u);  // the folders stay
    EXPECT_FALSE(m_messages.empty());
    m_messages.clear();
    EXPECT_EQ(archive.UpdateArchiveFolders(), TNE_OK);
    EXPECT_TRUE(m_messages.empty());
    WriteProject(whole);
    EXPECT_EQ(archive.UpdateArchiveFolders(), TNE_OK);
    EXPECT_EQ(StoredPaths(archive), (std::vector<std::string>{"<none>", "./TNArch01"}));
}

TEST_F(ProjectTest, EveryPrefixOfAProjectFileOpensWithoutHarm) {
    CTarnovelleArchive writer;
    writer.Init(Project());
    writer.SetName("Prefixes");
    writer.AddArchive(m_dir / "TNArch01", TNARCHIVE_MODE_REMAINING, 1);
    writer.AddArchive(m_dir / "TNArch02", TNARCHIVE_MODE_MAXIMAL, 2);
    writer.Save();
    const std::string whole = TNTestDir::ReadFile(Project());
    for (size_t length = 0; length <= whole.size(); ++length) {
        WriteProject(whole.substr(0, length));
        CTarnovelleArchive archive;
        const ETarnovelleErrors result = archive.Init(Project());
        EXPECT_TRUE(result == TNE_OK || result == TNE_FILE_NOT_PARSED) << length;
        EXPECT_LE(archive.GetArchiveFolders().size(), 3u) << length;
    }
    m_messages.clear();
}

TEST_F(ProjectTest, RefreshKeepsEveryFolderObjectAndFollowsTheFile) {
    CTarnovelleArchive other;
    other.Init(Project());
    other.AddArchive(m_dir / "TNArch01", TNARCHIVE_MODE_REMAINING, 1);
    other.AddArchive(m_dir / "TNArch02", TNARCHIVE_MODE_REMAINING, 1);
    other.Save();
    CTarnovelleArchive archive;
    ASSERT_EQ(archive.Init(Project()), TNE_OK);
    CTarnovelleArchiveFolder* first = archive.GetArchiveFolders()[1];
    CTarnovelleArchiveFolder* second = archive.GetArchiveFolders()[2];
    // The other removes the second folder, switches to the first, makes a third.
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    CTarnovelleArchive changer;
    changer.Init(Project());
    ASSERT_TRUE(changer.GetArchiveFolders()[1]->IsActive());
    ASSERT_EQ(changer.RemoveArchiveFolder(changer.GetArchiveFolders()[2]), 1);
    CTarnovelleArchiveFolder* third = changer.AddArchive(m_dir / "TNArch03", TNARCHIVE_MODE_MAXIMAL, 9);
    ASSERT_NE(third, nullptr);
    changer.GetArchiveFolders()[1]->SetActive(false);
    third->SetActive(true);
    changer.Save();
    archive.Refresh();
    ASSERT_EQ(archive.GetArchiveFolders().size(), 4u);
    EXPECT_EQ(archive.GetArchiveFolders()[1], first);
    EXPECT_EQ(archive.GetArchiveFolders()[2], second);  // gone from the file, kept here
    EXPECT_FALSE(first->IsActive());
    ASSERT_NE(archive.GetArchiveFolders()[3], nullptr);
    EXPECT_TRUE(archive.GetArchiveFolders()[3]->IsActive());
    EXPECT_EQ(archive.GetArchiveFolders()[3]->GetMaximalMegaBytes(), 9u);
}

TEST_F(ProjectTest, AnotherProcessAddsAFolderAndSwitchesTheActiveOneAndRefreshFollows) {
    CTarnovelleArchive archive;
    archive.Init(Project());
    archive.AddArchive(m_dir / "TNArch01", TNARCHIVE_MODE_REMAINING, 1);
    archive.Save();
    const std::string project = Project();
    const std::string second = m_dir / "TNArch02";
    TNChildProcess child([&](TNChildProcess&) {
        CTNScopedClock realClock(nullptr);
        CTarnovelleArchive theirs;
        if (theirs.Init(project) != TNE_OK) return 1;
        CTarnovelleArchiveFolder* added = theirs.AddArchive(second, TNARCHIVE_MODE_REMAINING, 1);
        if (!added) return 2;
        theirs.GetArchiveFolders()[1]->SetActive(false);
        added->SetActive(true);
        // Points of measurement appear in the new folder too.
        CTarnovelleChannel channel;
        if (channel.Create(second, kPoint, SChannelID(0x03010021u), "", 0, 0, 0, 0) != TNE_OK) return 3;
        channel.Close();
        theirs.Save();
        return 0;
    });
    ASSERT_EQ(child.Join(), 0);
    archive.Refresh();
    ASSERT_EQ(archive.GetArchiveFolders().size(), 3u);
    EXPECT_FALSE(archive.GetArchiveFolders()[1]->IsActive());
    EXPECT_TRUE(archive.GetArchiveFolders()[2]->IsActive());
    EXPECT_EQ(archive.GetActiveArchiveFolder()->GetPath(), second);
    EXPECT_NE(archive.GetMeasuringPointConnector(kPoint), nullptr);
}

TEST_F(ProjectTest, OpeningFindsTheMeasuringPointsInTheFoldersDirectories) {
    CTarnovelleArchive writer;
    writer.Init(Project());
    writer.AddArchive(m_dir / "TNArch01", TNARCHIVE_MODE_REMAINING, 1);
    writer.Save();
    std::filesystem::create_directories(m_dir / ("TNArch01/" + GuidToString(kPoint)));
    std::filesystem::create_directories(m_dir / "TNArch01/ZZZZZZZZ-ZZZZ-ZZZZ-ZZZZ-ZZZZZZZZZZZZ");
    std::filesystem::create_directories(m_dir / "TNArch01/not-a-point");
    CTarnovelleArchive archive;
    ASSERT_EQ(archive.Init(Project()), TNE_OK);
    // The point, and the archive's own status point that the first save made.
    std::vector<GUID> found;
    for (const CTarnovelleMeasuringPointConnector* c : archive.GetArrayOfMeasuringPointConnectors())
        found.push_back(c->GetGUID());
    EXPECT_EQ(found.size(), 2u);
    EXPECT_NE(std::find(found.begin(), found.end(), kPoint), found.end());
    EXPECT_NE(std::find(found.begin(), found.end(), GUID{}), found.end());
}

TEST_F(ProjectTest, ResetLeavesOneDefaultFolderAndNoRing) {
    CTarnovelleArchive archive;
    archive.Init(Project());
    archive.SetRoundTripArchive(true);
    archive.AddArchive(m_dir / "A", TNARCHIVE_MODE_REMAINING, 1);
    archive.AddArchive(m_dir / "B", TNARCHIVE_MODE_REMAINING, 1);
    archive.Save();
    archive.Reset("ignored");
    EXPECT_FALSE(archive.IsRoundTripArchive());
    EXPECT_EQ(archive.IsModified(), 0);
    CTarnovelleArchive read;
    read.Init(Project());
    EXPECT_EQ(StoredPaths(read), (std::vector<std::string>{"<none>", "./TNArch01"}));
    EXPECT_FALSE(read.IsRoundTripArchive());
}

TEST_F(ProjectTest, ACopyHasItsOwnFoldersAndNoMeasuringPoints) {
    CTarnovelleArchive archive;
    archive.Init(Project());
    archive.SetName("Original");
    archive.AddArchive(m_dir / "TNArch01", TNARCHIVE_MODE_MAXIMAL, 12);
    archive.InsertMeasuringPoints(kPoint);
    const CTarnovelleArchive copy(archive);
    EXPECT_EQ(copy.GetName(), "Original");
    EXPECT_EQ(copy.GetFilePath(), archive.GetFilePath());
    ASSERT_EQ(copy.GetArchiveFolders().size(), 2u);
    EXPECT_EQ(copy.GetArchiveFolders()[0], nullptr);
    EXPECT_NE(copy.GetArchiveFolders()[1], archive.GetArchiveFolders()[1]);
    EXPECT_EQ(copy.GetArchiveFolders()[1]->GetArchive(), &copy);
    EXPECT_EQ(copy.GetArchiveFolders()[1]->GetMaximalMegaBytes(), 12u);
    EXPECT_NE(copy.GetArchiveFolders()[1]->GetReadLockId(), archive.GetArchiveFolders()[1]->GetReadLockId());
    EXPECT_TRUE(copy.GetArrayOfMeasuringPointConnectors().empty());
}

TEST_F(ProjectTest, TheStreamHoldsOnlyThePath) {
    CTarnovelleArchive archive;
    archive.Init(Project());
    archive.AddArchive(m_dir / "TNArch01", TNARCHIVE_MODE_REMAINING, 1);
    std::stringstream stream;
    {
        CArchive out(stream, CArchive::store);
        archive.Serialize(out);
    }
    EXPECT_TRUE(std::filesystem::exists(Project()));
    EXPECT_EQ(stream.str(), std::string(1, static_cast<char>(Project().size())) + Project());
    CTarnovelleArchive loaded;
    CArchive in(stream, CArchive::load);
    loaded.Serialize(in);
    EXPECT_EQ(loaded.GetFilePath(), Project());
    EXPECT_EQ(StoredPaths(loaded), (std::vector<std::string>{"<none>", "./TNArch01"}));
    // A text whose count promises more than the stream holds reads as nothing.
    std::stringstream shortStream(std::string("\xFF\xFF\xFF\xFF\xFF\x00\x01", 7) + "abc");
    CArchive shortIn(shortStream, CArchive::load);
    std::string text = "x";
    shortIn >> text;
    EXPECT_TRUE(text.empty());
    EXPECT_FALSE(shortIn.Good());
}

}  // namespace
