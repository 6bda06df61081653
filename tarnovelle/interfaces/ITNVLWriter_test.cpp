// The writer family and its working thread: the lock that starts and stops
// the thread, the add functions and their back-pressure, the stop on the
// first failed item, and a recording thread under load whose every value is
// read back in order.
#include "tarnovelle/interfaces/ITNVLWriter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <cerrno>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "tarnovelle/interfaces/CTarnovelleWorkingThread.h"
#include "tarnovelle/interfaces/ITNVLManager.h"
#include "tarnovelle/storage/CTarnovelleChannel.h"
#include "tarnovelle/support/CTNFakeClock.h"
#include "tarnovelle/support/CTNFileFaults.h"
#include "tarnovelle/support/CTNNotifyQueue.h"
#include "tarnovelle/support/TNGuid.h"
#include "tarnovelle/values/STarnovelleTimeStampInMsec.h"
#include "tests/support/TNLogCapture.h"
#include "tests/support/TNTestDir.h"

namespace {

constexpr GUID kPoint = {0x3E1A7E00, 0x1, 0x2, {3, 4, 5, 6, 7, 8, 9, 10}};
const SChannelID kMean(static_cast<ECharacteristicType>(0x21), static_cast<EPhase>(1), MVT_MEAN);
const SChannelID kTexts(static_cast<ECharacteristicType>(0x8001), PH_NONE, MVT_BINARY);
constexpr uint32_t kNotify = 0x8123;

CTNUTCTimeStamp At(uint32_t seconds) { return STarnovelleTimeStampInMsec(seconds, 0).GetUTCTimeStamp(); }

CTarnovelleSample* Floats(uint32_t start, uint32_t count, float first = 0.0f) {
    std::vector<float> values(count);
    for (uint32_t i = 0; i < count; ++i) values[i] = first + static_cast<float>(i);
    return new CTarnovelleSample(At(start), At(start + count), count, values.data());
}

class WriterTest : public ::testing::Test {
protected:
    void SetUp() override {
        CTarnovelleWorkingThread::ResetPendingMessageCount();
        m_archive = ITNVLWCreateInstance();
        ASSERT_EQ(ITNVLWInitInstance(m_archive, (m_dir / "Plant.TNArch").c_str()), TNE_OK);
        CTarnovelleArchiveFolder* folder = nullptr;
        ITNVLMAddArchive(m_archive, (m_dir / "TNArch01").c_str(), TNARCHIVE_MODE_REMAINING, 1, &folder);
        m_folder = folder->GetPath();
        // A saved project: the folder checks read it.
        ITNVLMSerialize_1(m_archive, 1, nullptr);
    }
    void TearDown() override {
        ITNVLWSetArchiveLock(m_archive, 0, nullptr, 0);
        ITNVLWDestroyInstance(m_archive);
        CTarnovelleWorkingThread::ResetPendingMessageCount();
    }
    // Every float of the point's mean channel, in block order.
    std::vector<float> StoredFloats() const {
        std::vector<float> all;
        CTarnovelleChannel channel;
        if (channel.Init(m_folder, kPoint, kMean, "", 0, 0, 0, 0) != TNE_OK) return all;
        for (int32_t block = 0; block < channel.GetBlockCount(); ++block) {
            float* values = nullptr;
            uint32_t count = 0;
            if (channel.GetArray(block, values, count) == TNE_OK) all.insert(all.end(), values, values + count);
            delete[] values;
        }
        return all;
    }
    TNTestDir m_dir;
    CTNFakeClock m_clock{1700000000000ull};
    CTNScopedClock m_scope{&m_clock};
    CTarnovelleArchive* m_archive = nullptr;
    std::string m_folder;
    CTNNotifyQueue m_sink;
};

TEST_F(WriterTest, TwoLocksInARowGive506AndTheFirstStands) {
    ASSERT_EQ(ITNVLWSetArchiveLock(m_archive, 1, &m_sink, kNotify), TNE_OK);
    EXPECT_EQ(ITNVLWSetArchiveLock(m_archive, 1, &m_sink, kNotify), TNE_THREAD_RUNNING);
    int32_t locked = 0;
    ASSERT_EQ(ITNVLWIsArchiveLocked(m_archive, locked), TNE_OK);
    EXPECT_EQ(locked, 1);
    EXPECT_TRUE(CTarnovelleWorkingThread::IsRunning());
    EXPECT_EQ(ITNVLWSetArchiveLock(m_archive, 0, nullptr, 0), TNE_OK);
    ASSERT_EQ(ITNVLWIsArchiveLocked(m_archive, locked), TNE_OK);
    EXPECT_EQ(locked, 0);
    EXPECT_FALSE(CTarnovelleWorkingThread::IsRunning());
}

TEST_F(WriterTest, AReleaseWithoutALockGives504) {
    EXPECT_EQ(ITNVLWSetArchiveLock(m_archive, 0, nullptr, 0), TNE_ARCHIVE_NOT_LOCKED);
    EXPECT_EQ(ITNVLWSetArchiveLock(nullptr, 0, nullptr, 0), TNE_NO_OBJECT);
}

TEST_F(WriterTest, ALockThatFailsLeavesTheThreadUpUntilARelease) {
    // Another process holds the lock file.
    CTarnovelleFile holder;
    ASSERT_NE(holder.Open((m_dir / "Plant.Lock").c_str(), CTarnovelleFile::modeCreate | CTarnovelleFile::modeWrite), 0);
    EXPECT_EQ(ITNVLWSetArchiveLock(m_archive, 1, &m_sink, kNotify), TNE_ARCHIVE_LOCK_FAILED);
    EXPECT_TRUE(CTarnovelleWorkingThread::IsRunning());
    EXPECT_EQ(ITNVLWSetArchiveLock(m_archive, 1, &m_sink, kNotify), TNE_THREAD_RUNNING);
    EXPECT_EQ(ITNVLWSetArchiveLock(m_archive, 0, nullptr, 0), TNE_ARCHIVE_NOT_LOCKED);
    EXPECT_FALSE(CTarnovelleWorkingThread::IsRunning());
    holder.Close();
}

TEST_F(WriterTest, AddSampleTakesTheSamplesOverAndEmptiesTheCallersArray) {
    CTarnovelleSampleArray samples;
    EXPECT_EQ(ITNVLWAddSample(m_archive, kPoint, kMean, samples), TNE_NO_OBJECT);
    ASSERT_EQ(ITNVLWSetArchiveLock(m_archive, 1, &m_sink, kNotify), TNE_OK);
    samples.Add(Floats(1000, 5, 10.0f));
    samples.Add(Floats(1005, 5, 15.0f));
    ASSERT_EQ(ITNVLWAddSample(m_archive, kPoint, kMean, samples), TNE_OK);
    EXPECT_EQ(samples.GetSize(), 0);
    CTarnovelleParameterSet invalid = CTarnovelleParameterSet::GetInvalidHandle();
    EXPECT_EQ(ITNVLWSetParameterSet(m_archive, kPoint, At(1), invalid), TNE_NO_OBJECT);
    // The release drains the queue before it returns.
    ASSERT_EQ(ITNVLWSetArchiveLock(m_archive, 0, nullptr, 0), TNE_OK);
    const std::vector<float> stored = StoredFloats();
    ASSERT_EQ(stored.size(), 10u);
    for (size_t i = 0; i < stored.size(); ++i) EXPECT_EQ(stored[i], 10.0f + static_cast<float>(i));
    EXPECT_EQ(CTarnovelleWorkingThread::GetPendingMessageCount(), 0);
}

TEST_F(WriterTest, MessagesAndParameterSetsReachTheActiveFolder) {
    ASSERT_EQ(ITNVLWSetArchiveLock(m_archive, 1, &m_sink, kNotify), TNE_OK);
    ASSERT_EQ(ITNVLWAddMessageBinaryText(m_archive, kPoint, kTexts, SBinary_Text(At(5), "on")), TNE_OK);
    ASSERT_EQ(ITNVLWAddMessageBinaryByte(m_archive, kPoint, SChannelID(0x01008002u), SBinary_BYTE(At(6), 7)), TNE_OK);
    CTarnovelleParameterSet set = CTarnovelleParameterSet::CreateParameterSet();
    set.SetParameter("MeasuringPointName", std::string("Feeder"));
    ASSERT_EQ(ITNVLWSetParameterSet(m_archive, kPoint, At(50), set), TNE_OK);
    ASSERT_EQ(ITNVLWSetArchiveLock(m_archive, 0, nullptr, 0), TNE_OK);
    CTarnovelleChannel texts;
    ASSERT_EQ(texts.Init(m_folder, kPoint, kTexts, "", 0, 0, 0, 0), TNE_OK);
    EXPECT_EQ(texts.GetBlockCount(), 1);
    CTarnovelleMeasuringPoint point;
    point.Init(kPoint, m_folder);
    std::string name;
    ASSERT_EQ(point.GetParameterSet(At(60)).GetParameter("MeasuringPointName", name), TNE_OK);
    EXPECT_EQ(name, "Feeder");
}

TEST_F(WriterTest, The101stPendingItemMakesItsCallerSleep50Milliseconds) {
    // No thread runs: every item is lost and its count stays raised for good.
    const size_t sleepsBefore = m_clock.GetSleeps().size();
    for (int i = 0; i < 100; ++i)
        ASSERT_EQ(ITNVLWAddMessageBinaryByte(m_archive, kPoint, kTexts, SBinary_BYTE(At(1), 1)), TNE_OK);
    EXPECT_EQ(CTarnovelleWorkingThread::GetPendingMessageCount(), 100);
    EXPECT_EQ(m_clock.GetSleeps().size(), sleepsBefore);
    ASSERT_EQ(ITNVLWAddMessageBinaryByte(m_archive, kPoint, kTexts, SBinary_BYTE(At(1), 1)), TNE_OK);
    EXPECT_EQ(CTarnovelleWorkingThread::GetPendingMessageCount(), 101);
    ASSERT_EQ(m_clock.GetSleeps().size(), sleepsBefore + 1);
    EXPECT_EQ(m_clock.GetSleeps().back(), 50u);
    ASSERT_EQ(ITNVLWAddMessageBinaryByte(m_archive, kPoint, kTexts, SBinary_BYTE(At(1), 1)), TNE_OK);
    EXPECT_EQ(m_clock.GetSleeps().back(), 100u);
    EXPECT_FALSE(std::filesystem::exists(m_folder + "/" + GuidToString(kPoint)));
}

TEST_F(WriterTest, TheFirstFailedItemStopsTheArchivingUntilTheLockIsTakenAgain) {
    TNLogCapture log;
    ASSERT_EQ(ITNVLWSetArchiveLock(m_archive, 1, &m_sink, kNotify), TNE_OK);
    class FailDataWrites : public CTNFileFaults {
    public:
        int Before(EOperation operation, const std::string& path) override {
            return operation == opWrite && path.find("03010021.Dat") != std::string::npos ? ENOSPC : 0;
        }
    } faults;
    {
        CTNScopedFileFaults scope(&faults);
        CTarnovelleSampleArray samples;
        samples.Add(Floats(1000, 5));
        ASSERT_EQ(ITNVLWAddSample(m_archive, kPoint, kMean, samples), TNE_OK);
        CTNNotifyQueue::SNotification posted{};
        ASSERT_TRUE(m_sink.Wait(posted, 20000));
        EXPECT_EQ(posted.message, kNotify);
        EXPECT_EQ(posted.wParam, static_cast<uint32_t>(TNE_EXCEPTION));
        EXPECT_EQ(posted.lParam, static_cast<int32_t>(TNMSG_ARCHIVING_STOPPED));
    }
    // Later items are taken, and dropped.
    CTarnovelleSampleArray later;
    later.Add(Floats(2000, 5));
    ASSERT_EQ(ITNVLWAddSample(m_archive, kPoint, kMean, later), TNE_OK);
    ASSERT_EQ(ITNVLWSetArchiveLock(m_archive, 0, nullptr, 0), TNE_OK);
    EXPECT_TRUE(StoredFloats().empty());
    const auto entries = log.Entries("CTarnovelleException");
    EXPECT_NE(std::find(entries.begin(), entries.end(), "Error in EEXECUTEMESSAGE_SAMPLE: 00000106"), entries.end());
    // A new lock resumes.
    ASSERT_EQ(ITNVLWSetArchiveLock(m_archive, 1, &m_sink, kNotify), TNE_OK);
    CTarnovelleSampleArray resumed;
    resumed.Add(Floats(3000, 5));
    ASSERT_EQ(ITNVLWAddSample(m_archive, kPoint, kMean, resumed), TNE_OK);
    ASSERT_EQ(ITNVLWSetArchiveLock(m_archive, 0, nullptr, 0), TNE_OK);
    EXPECT_EQ(StoredFloats().size(), 5u);
}

TEST_F(WriterTest, ARecordingThreadUnderLoadLosesNothingAndKeepsTheOrder) {
    ASSERT_EQ(ITNVLWSetArchiveLock(m_archive, 1, &m_sink, kNotify), TNE_OK);
    constexpr uint32_t kValues = 1000000;
    std::thread recorder([&] {
        uint32_t sent = 0;
        uint32_t size = 1;
        while (sent < kValues) {
            const uint32_t count = std::min(kValues - sent, size);
            CTarnovelleSampleArray samples;
            samples.Add(Floats(100000 + sent, count, static_cast<float>(sent)));
            ITNVLWAddSample(m_archive, kPoint, kMean, samples);
            sent += count;
            size = size % 5000 + 37;  // blocks of varying size
        }
    });
    recorder.join();
    ASSERT_EQ(ITNVLWSetArchiveLock(m_archive, 0, nullptr, 0), TNE_OK);
    const std::vector<float> stored = StoredFloats();
    ASSERT_EQ(stored.size(), kValues);
    for (uint32_t i = 0; i < kValues; ++i) {
        if (stored[i] != static_cast<float>(i)) {
            ADD_FAILURE() << "value " << i << " is " << stored[i];
            break;
        }
    }
    CTNNotifyQueue::SNotification posted{};
    EXPECT_FALSE(m_sink.Poll(posted));  // nothing went wrong
}

TEST_F(WriterTest, AReleaseWhileAnotherThreadStillPostsEndsCleanly) {
    ASSERT_EQ(ITNVLWSetArchiveLock(m_archive, 1, &m_sink, kNotify), TNE_OK);
    std::atomic<bool> stop{false};
    std::atomic<uint32_t> posted{0};
    std::thread recorder([&] {
        uint32_t second = 100000;
        while (!stop.load()) {
            CTarnovelleSampleArray samples;
            samples.Add(Floats(second, 10));
            if (ITNVLWAddSample(m_archive, kPoint, kMean, samples) == TNE_OK) ++posted;
            second += 10;
        }
    });
    while (posted.load() < 50) std::this_thread::yield();
    EXPECT_EQ(ITNVLWSetArchiveLock(m_archive, 0, nullptr, 0), TNE_OK);
    stop = true;
    recorder.join();
    // What arrived before the release is stored; what came after had no thread.
    const size_t stored = StoredFloats().size();
    EXPECT_GE(stored, 500u);
    EXPECT_LE(stored, static_cast<size_t>(posted.load()) * 10);
}

}  // namespace
