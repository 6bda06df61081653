// Storing through the archive and the folder check: samples, messages and
// parameter sets reach the active folder, full folders are found, later ones
// wiped, the ring wraps round, and every decision is read back from the
// status channel. Small disks are played by the size limit of mode 1.
#include "tarnovelle/archive/CTarnovelleArchive.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <filesystem>
#include <string>
#include <vector>

#include "tarnovelle/storage/CTarnovelleChannel.h"
#include "tarnovelle/storage/CTarnovelleFile.h"
#include "tarnovelle/support/CTNFakeClock.h"
#include "tarnovelle/support/CTNFileFaults.h"
#include "tarnovelle/support/TNGuid.h"
#include "tarnovelle/values/CTNMessageFormatter.h"
#include "tarnovelle/values/CTarnovelleTextManager.h"
#include "tarnovelle/values/SetTarnovelleLanguage.h"
#include "tarnovelle/values/STarnovelleTimeStampInMsec.h"
#include "tests/support/TNTestDir.h"

namespace {

constexpr GUID kPoint = {0x5EED0001, 0x0002, 0x0003, {4, 5, 6, 7, 8, 9, 10, 11}};
const SChannelID kMean(static_cast<ECharacteristicType>(0x21), static_cast<EPhase>(1), MVT_MEAN);
const SChannelID kEvents(static_cast<ECharacteristicType>(0x21), static_cast<EPhase>(1), MVT_MEAN_EVENT);
const SChannelID kStatus(CT_MESSAGE, PH_NONE, MVT_BINARY);

CTNUTCTimeStamp At(uint32_t seconds) { return STarnovelleTimeStampInMsec(seconds, 0).GetUTCTimeStamp(); }

std::string Line(uint16_t id, int32_t number = 0) {
    return CTNMessageFormatter::Format(CTarnovelleTextManager::LoadString(id), {number});
}

// The status lines stored in a folder, oldest first.
std::vector<std::string> StatusLines(const std::string& folder) {
    std::vector<std::string> lines;
    CTarnovelleChannel channel;
    if (!std::filesystem::exists(folder + "/" + GuidToString(GUID{}))) return lines;
    if (channel.Init(folder, GUID{}, kStatus, "", 0, 0, 0, 0) != TNE_OK) return lines;
    for (int32_t block = 0; block < channel.GetBlockCount(); ++block) {
        SBinary_Text* texts = nullptr;
        uint32_t count = 0;
        if (channel.GetArray(block, texts, count) != TNE_OK) continue;
        for (uint32_t i = 0; i < count; ++i) lines.push_back(texts[i].GetValue());
        delete[] texts;
    }
    return lines;
}

// Status lines other than the new-folder lines of setting up.
std::vector<std::string> Decisions(const std::string& folder) {
    std::vector<std::string> lines = StatusLines(folder);
    lines.erase(std::remove_if(lines.begin(), lines.end(),
                               [](const std::string& l) { return l.find("erzeugt") != std::string::npos; }),
                lines.end());
    return lines;
}

CTarnovelleSample* Floats(uint32_t start, uint32_t count) {
    std::vector<float> values(count, 1.0f);
    return new CTarnovelleSample(At(start), At(start + count), count, values.data());
}

class StoringTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_archive.SetArchiveFileName((m_dir / "Plant.TNArch").c_str());
        SetTarnovelleLanguage("de");
    }
    // A folder that takes `megaBytes` at most, for disks that fill in seconds.
    CTarnovelleArchiveFolder* Folder(const std::string& name, uint32_t megaBytes = 1000) {
        return m_archive.AddArchive(m_dir / name, TNARCHIVE_MODE_MAXIMAL, megaBytes);
    }
    // Stores about `megaBytes` of floats into the point's mean channel of the active folder.
    void Fill(double megaBytes, uint32_t start = 100000) {
        CTarnovelleSampleArray samples;
        samples.Add(Floats(start, static_cast<uint32_t>(megaBytes * 1024 * 1024 / 4)));
        ASSERT_EQ(m_archive.SaveSamples(kPoint, kMean, samples), TNE_OK);
    }
    TNTestDir m_dir;
    CTNFakeClock m_clock{1700000000000ull};
    CTNScopedClock m_scope{&m_clock};
    CTarnovelleArchive m_archive;
};

// ---------------------------------------------------------------- storing

TEST_F(StoringTest, AnArrayWithANullEntryStoresTheOthers) {
    CTarnovelleArchiveFolder* folder = Folder("TNArch01");
    CTarnovelleSampleArray samples;
    samples.Add(Floats(1000, 10));
    samples.Add(nullptr);
    samples.Add(Floats(2000, 10));
    ASSERT_EQ(m_archive.SaveSamples(kPoint, kMean, samples), TNE_OK);
    CTarnovelleChannel channel;
    ASSERT_EQ(channel.Init(folder->GetPath(), kPoint, kMean, "", 0, 0, 0, 0), TNE_OK);
    EXPECT_EQ(channel.GetBlockCount(), 2);
    EXPECT_EQ(m_archive.GetBytesSinceCheck(), 2 * (10 * 4 + 25));
}

TEST_F(StoringTest, TheCheckRunsOnlyBeyond262144Bytes) {
    Folder("TNArch01");
    // 65,521 floats and one event: 262,109 + 35 = 262,144 bytes exactly.
    ASSERT_EQ(m_archive.SaveSamples(kPoint, kMean, *std::unique_ptr<CTarnovelleSample>(Floats(1000, 65521))), TNE_OK);
    const SEvent event(At(5), 1.0f, 2.0f);
    CTarnovelleSample one(At(5), At(5), 1, &event);
    ASSERT_EQ(m_archive.SaveSamples(kPoint, kEvents, one), TNE_OK);
    ASSERT_EQ(m_archive.GetBytesSinceCheck(), 262144);
    // At exactly the interval no check runs: the count grows on.
    ASSERT_EQ(m_archive.SaveSamples(kPoint, kEvents, one), TNE_OK);
    EXPECT_EQ(m_archive.GetBytesSinceCheck(), 262144 + 35);
    // Beyond it the check runs first, and the count starts again.
    ASSERT_EQ(m_archive.SaveSamples(kPoint, kEvents, one), TNE_OK);
    EXPECT_EQ(m_archive.GetBytesSinceCheck(), 35);
}

TEST_F(StoringTest, AfterASwitchInsideAnArrayTheRestGoesToTheNewFolder) {
    CTarnovelleArchiveFolder* first = Folder("TNArch01", 1);
    CTarnovelleArchiveFolder* second = Folder("TNArch02");
    CTarnovelleSampleArray samples;
    samples.Add(Floats(1000, 300000));  // 1.2 MB: the first folder is full behind it
    samples.Add(Floats(400000, 10));
    ASSERT_EQ(m_archive.SaveSamples(kPoint, kMean, samples), TNE_OK);
    EXPECT_FALSE(first->IsActive());
    EXPECT_TRUE(second->IsActive());
    CTarnovelleChannel old;
    ASSERT_EQ(old.Init(first->GetPath(), kPoint, kMean, "", 0, 0, 0, 0), TNE_OK);
    EXPECT_EQ(old.GetBlockCount(), 1);
    CTarnovelleChannel moved;
    ASSERT_EQ(moved.Init(second->GetPath(), kPoint, kMean, "", 0, 0, 0, 0), TNE_OK);
    ASSERT_EQ(moved.GetBlockCount(), 1);
    EXPECT_EQ(moved.GetStartTime(0), At(400000));
    EXPECT_EQ(Decisions(first->GetPath()), (std::vector<std::string>{Line(64, 1), Line(65, 2)}));
}

TEST_F(StoringTest, StoringIntoANewGuidMakesItsConnectorAndDirectory) {
    CTarnovelleArchiveFolder* folder = Folder("TNArch01");
    ASSERT_EQ(m_archive.GetMeasuringPointConnector(kPoint), nullptr);
    ASSERT_EQ(m_archive.SaveSamples(kPoint, kMean, *std::unique_ptr<CTarnovelleSample>(Floats(1000, 3))), TNE_OK);
    EXPECT_NE(m_archive.GetMeasuringPointConnector(kPoint), nullptr);
    EXPECT_TRUE(std::filesystem::exists(folder->GetPath() + "/" + GuidToString(kPoint) + "/03010021.Sam"));
}

TEST_F(StoringTest, WithoutAFolderNothingCanBeStored) {
    EXPECT_EQ(m_archive.SaveSamples(kPoint, kMean, *std::unique_ptr<CTarnovelleSample>(Floats(1000, 3))), TNE_FAILED);
    EXPECT_EQ(m_archive.SaveMessage(kPoint, kStatus, SBinary_Text(At(1), "x")), TNE_FAILED);
    EXPECT_EQ(m_archive.GetArchiveMessageChannel(), nullptr);
    EXPECT_EQ(m_archive.CheckArchiveActivation(), TNE_NO_ACTIVE_FOLDER);
    EXPECT_TRUE(std::filesystem::is_empty(m_dir.Path()));
}

TEST_F(StoringTest, MessagesAreBlocksOfOneRecordAtTheirOwnTime) {
    CTarnovelleArchiveFolder* folder = Folder("TNArch01");
    const SChannelID texts(static_cast<ECharacteristicType>(0x8001), PH_NONE, MVT_BINARY);
    ASSERT_EQ(m_archive.SaveMessage(kPoint, texts, SBinary_Text(At(10), "first")), TNE_OK);
    ASSERT_EQ(m_archive.SaveMessage(kPoint, texts, SBinary_Text(At(5), "earlier")), TNE_OK);
    CTarnovelleChannel channel;
    ASSERT_EQ(channel.Init(folder->GetPath(), kPoint, texts, "", 0, 0, 0, 0), TNE_OK);
    ASSERT_EQ(channel.GetBlockCount(), 2);
    EXPECT_EQ(channel.GetStartTime(1), At(5));
    EXPECT_EQ(m_archive.GetBytesSinceCheck(), 0);  // messages don't count
}

TEST_F(StoringTest, ParametersGoToTheActiveFoldersMeasuringPoint) {
    CTarnovelleArchiveFolder* folder = Folder("TNArch01");
    ASSERT_EQ(m_archive.SetMeasuringPointName(kPoint, "Feeder"), TNE_OK);
    ASSERT_EQ(m_archive.SetParameter(kPoint, CTNTimeZoneInformation("Europe/Berlin")), TNE_OK);
    SProgramInfo info;
    info.SetName("Recorder");
    info.SetVersionMajor(3);
    ASSERT_EQ(m_archive.SetParameter(kPoint, info), TNE_OK);
    CTarnovelleMeasuringPoint point;
    point.Init(kPoint, folder->GetPath());
    CTarnovelleParameterSet set = point.GetParameterSet(CTNUTCTimeStamp::GetCurrentUTCTime());
    std::string text;
    uint32_t number = 0;
    ASSERT_EQ(set.GetParameter("MeasuringPointName", text), TNE_OK);
    EXPECT_EQ(text, "Feeder");
    ASSERT_EQ(set.GetParameter("TimeZoneName", text), TNE_OK);
    EXPECT_EQ(text, "Europe/Berlin");
    ASSERT_EQ(set.GetParameter("AppName", text), TNE_OK);
    EXPECT_EQ(text, "Recorder");
    ASSERT_EQ(set.GetParameter("AppVersionMajor", number), TNE_OK);
    EXPECT_EQ(number, 3u);
}

TEST_F(StoringTest, RemovingAMeasuringPointWipesItEverywhere) {
    CTarnovelleArchiveFolder* first = Folder("TNArch01");
    CTarnovelleArchiveFolder* second = Folder("TNArch02");
    ASSERT_EQ(m_archive.SaveSamples(kPoint, kMean, *std::unique_ptr<CTarnovelleSample>(Floats(1000, 3))), TNE_OK);
    first->SetActive(false);
    second->SetActive(true);
    ASSERT_EQ(m_archive.SaveSamples(kPoint, kMean, *std::unique_ptr<CTarnovelleSample>(Floats(2000, 3))), TNE_OK);
    EXPECT_EQ(m_archive.RemoveMeasuringPoint(kPoint), TNE_OK);
    EXPECT_EQ(m_archive.GetMeasuringPointConnector(kPoint), nullptr);
    EXPECT_FALSE(std::filesystem::exists(first->GetPath() + "/" + GuidToString(kPoint)));
    EXPECT_FALSE(std::filesystem::exists(second->GetPath() + "/" + GuidToString(kPoint)));
}

// ---------------------------------------------------------------- notification and write lock

class RecordingSink : public CTNNotifySink {
public:
    bool Post(uint32_t message, uint32_t wParam, int32_t lParam) override {
        posts.push_back({message, wParam, lParam});
        return true;
    }
    struct SPost {
        uint32_t message, wParam;
        int32_t lParam;
    };
    std::vector<SPost> posts;
};

TEST_F(StoringTest, APostWithoutAWindowSetsTheStopFlagAllTheSame) {
    EXPECT_EQ(m_archive.PostMessageA(TNE_ARCHIVE_FULL, TNMSG_ARCHIVING_STOPPED), TNE_NO_OBJECT);
    EXPECT_TRUE(m_archive.WasStopArchivingCalled());
}

TEST_F(StoringTest, TheWriteLockIsTheLockFileHeldOpen) {
    Folder("TNArch01");
    m_archive.Save();
    RecordingSink sink;
    ASSERT_EQ(m_archive.LockForWriting(&sink, 0x8001, 0), TNE_OK);
    EXPECT_TRUE(m_archive.IsLockedForWriting());
    EXPECT_TRUE(std::filesystem::exists(m_dir / "Plant.Lock"));
    // A second instance can't have it, and a second call here gives 503 at once.
    CTarnovelleArchive other;
    other.Init(m_dir / "Plant.TNArch");
    CTNFakeClock otherClock(1700000000000ull);
    EXPECT_EQ(other.LockForWriting(nullptr, 0, 0), TNE_ARCHIVE_LOCK_FAILED);
    EXPECT_EQ(m_archive.LockForWriting(&sink, 0x8001, 0), TNE_ARCHIVE_LOCK_FAILED);
    ASSERT_EQ(m_archive.PostMessageA(TNE_ARCHIVE_FULL, TNMSG_NONE), TNE_OK);
    ASSERT_EQ(sink.posts.size(), 1u);
    EXPECT_EQ(sink.posts[0].message, 0x8001u);
    EXPECT_EQ(sink.posts[0].wParam, static_cast<uint32_t>(TNE_ARCHIVE_FULL));
    EXPECT_EQ(m_archive.RemoveLockForWriting(), TNE_OK);
    EXPECT_TRUE(std::filesystem::exists(m_dir / "Plant.Lock"));  // only the open handle was the lock
    EXPECT_EQ(other.LockForWriting(nullptr, 0, 0), TNE_OK);
    EXPECT_EQ(other.RemoveLockForWriting(), TNE_OK);
}

TEST_F(StoringTest, RemovingAWriteLockThatIsNotHeldForgetsTheWindowAllTheSame) {
    EXPECT_EQ(m_archive.RemoveLockForWriting(), TNE_ARCHIVE_NOT_LOCKED);
    EXPECT_EQ(m_archive.PostMessageA(TNE_OK, TNMSG_NONE), TNE_NO_OBJECT);
}

// ---------------------------------------------------------------- the folder check

TEST_F(StoringTest, OneFullFolderInPlainModeGivesFullWithLines64And66) {
    CTarnovelleArchiveFolder* folder = Folder("TNArch01", 1);
    Fill(1.2);
    EXPECT_EQ(m_archive.CheckArchiveActivation(), TNE_ARCHIVE_FULL);
    EXPECT_EQ(Decisions(folder->GetPath()), (std::vector<std::string>{Line(64, 1), Line(66)}));
    EXPECT_TRUE(folder->IsActive());
}

TEST_F(StoringTest, OneFullFolderInRingModeIsWipedAndTakenAgain) {
    CTarnovelleArchiveFolder* folder = Folder("TNArch01", 1);
    m_archive.SetRoundTripArchive(true);
    Fill(1.2);
    EXPECT_EQ(m_archive.CheckArchiveActivation(), TNE_FOLDER_SWITCHED);
    EXPECT_TRUE(folder->IsActive());
    EXPECT_FALSE(std::filesystem::exists(folder->GetPath() + "/" + GuidToString(kPoint)));
    // Line 64 went with the wiped status point; what follows it stays.
    EXPECT_EQ(Decisions(folder->GetPath()), (std::vector<std::string>{Line(71, 1), Line(65, 1)}));
}

TEST_F(StoringTest, AnEmptyCandidateAfterTheActiveFolderIsTakenWithoutWiping) {
    CTarnovelleArchiveFolder* first = Folder("TNArch01", 1);
    CTarnovelleArchiveFolder* second = Folder("TNArch02");
    Fill(1.2);
    EXPECT_EQ(m_archive.CheckArchiveActivation(), TNE_FOLDER_SWITCHED);
    EXPECT_TRUE(second->IsActive());
    EXPECT_EQ(Decisions(first->GetPath()), (std::vector<std::string>{Line(64, 1), Line(65, 2)}));
}

TEST_F(StoringTest, ACandidateThatCantBeWipedIsPassedOverWithLine70) {
    CTarnovelleArchiveFolder* first = Folder("TNArch01", 1);
    CTarnovelleArchiveFolder* second = Folder("TNArch02");
    CTarnovelleArchiveFolder* third = Folder("TNArch03");
    // Old data in the second folder, whose delete lock can't be made.
    first->SetActive(false);
    second->SetActive(true);
    Fill(0.01, 1000);
    second->SetActive(false);
    first->SetActive(true);
    Fill(1.2);
    class FailDeleteLocks : public CTNFileFaults {
    public:
        explicit FailDeleteLocks(std::string path) : m_path(std::move(path)) {}
        int Before(EOperation operation, const std::string& path) override {
            return operation == opOpen && path == m_path ? EACCES : 0;
        }

    private:
        std::string m_path;
    } faults(second->GetPath() + "/Delete.Lock");
    CTNScopedFileFaults scope(&faults);
    EXPECT_EQ(m_archive.CheckArchiveActivation(), TNE_FOLDER_SWITCHED);
    EXPECT_TRUE(third->IsActive());
    EXPECT_FALSE(second->IsEmpty());
    EXPECT_EQ(Decisions(first->GetPath()), (std::vector<std::string>{Line(64, 1), Line(70, 2), Line(65, 3)}));
}

TEST_F(StoringTest, ThreeFoldersInARingWrapRoundOntoTheOldest) {
    CTarnovelleArchiveFolder* f1 = Folder("TNArch01", 1);
    CTarnovelleArchiveFolder* f2 = Folder("TNArch02", 1);
    CTarnovelleArchiveFolder* f3 = Folder("TNArch03", 1);
    m_archive.SetRoundTripArchive(true);
    // Oldest data in folder 1, then 2, then 3, which is active and full.
    for (CTarnovelleArchiveFolder* folder : {f1, f2, f3}) {
        for (CTarnovelleArchiveFolder* f : {f1, f2, f3}) f->SetActive(f == folder);
        Fill(0.3, 1000 + static_cast<uint32_t>(folder->GetNumber()) * 1000000);
    }
    Fill(1.0, 9000000);
    const CTNUTCTimeStamp configured = At(50);
    CTarnovelleParameterSet set = CTarnovelleParameterSet::CreateParameterSet();
    set.SetParameter("MeasuringPointName", std::string("Feeder"));
    ASSERT_EQ(m_archive.SaveParameterSet(kPoint, configured, set), TNE_OK);
    ASSERT_TRUE(f3->IsFull());
    EXPECT_EQ(m_archive.CheckArchiveActivation(), TNE_FOLDER_SWITCHED);
    // 64 with 3; the forward scan finds nothing; slot 0 is null; folder 1 is
    // wiped (71 with 1) and taken (65 with 1), all written into folder 3.
    EXPECT_EQ(Decisions(f3->GetPath()), (std::vector<std::string>{Line(64, 3), Line(71, 1), Line(65, 1)}));
    EXPECT_TRUE(f1->IsActive());
    EXPECT_FALSE(f3->IsActive());
    EXPECT_FALSE(std::filesystem::exists(f1->GetPath() + "/" + GuidToString(kPoint) + "/03010021.Sam"));
    EXPECT_TRUE(std::filesystem::exists(f2->GetPath() + "/" + GuidToString(kPoint) + "/03010021.Sam"));
    // The parameters went along, with their original time.
    CTarnovelleMeasuringPoint carried;
    carried.Init(kPoint, f1->GetPath());
    CTarnovelleParameterSet there = carried.GetParameterSet(At(60));
    ASSERT_TRUE(there.IsValid());
    EXPECT_EQ(there.GetTimeOfValidity(), configured);
    std::string name;
    ASSERT_EQ(there.GetParameter("MeasuringPointName", name), TNE_OK);
    EXPECT_EQ(name, "Feeder");
    // The switch was saved in the project.
    CTarnovelleArchive read;
    ASSERT_EQ(read.Init(m_dir / "Plant.TNArch"), TNE_OK);
    ASSERT_EQ(read.GetArchiveFolders().size(), 4u);
    EXPECT_TRUE(read.GetArchiveFolders()[1]->IsActive());
    EXPECT_FALSE(read.GetArchiveFolders()[3]->IsActive());
}

TEST_F(StoringTest, AProjectWithAllFoldersInactiveActivatesTheFirstAndChecks) {
    CTarnovelleArchiveFolder* first = Folder("TNArch01");
    CTarnovelleArchiveFolder* second = Folder("TNArch02");
    first->SetActive(false);
    second->SetActive(false);
    EXPECT_EQ(m_archive.CheckArchiveActivation(), TNE_OK);
    EXPECT_TRUE(first->IsActive());
}

}  // namespace
