// The reader family: channels, ranges and samples of an archive, as deep
// copies the caller frees, under read locks, and following a writer in
// another process.
#include "tarnovelle/interfaces/ITNVLReader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

#include "tarnovelle/interfaces/ITNVLManager.h"
#include "tarnovelle/interfaces/ITNVLWriter.h"
#include "tarnovelle/support/CTNFakeClock.h"
#include "tarnovelle/support/CTNFileFaults.h"
#include "tarnovelle/support/CTNNotifyQueue.h"
#include "tarnovelle/values/STarnovelleTimeStampInMsec.h"
#include "tests/support/TNChildProcess.h"
#include "tests/support/TNTestDir.h"

namespace {

constexpr GUID kPoint = {0x5EAD0001, 0x1, 0x2, {3, 4, 5, 6, 7, 8, 9, 10}};
constexpr GUID kUnknown = {0x5EAD0002, 0x1, 0x2, {3, 4, 5, 6, 7, 8, 9, 10}};
const SChannelID kMean(static_cast<ECharacteristicType>(0x21), static_cast<EPhase>(1), MVT_MEAN);
const SChannelID kOther(static_cast<ECharacteristicType>(0x22), static_cast<EPhase>(1), MVT_MEAN);

CTNUTCTimeStamp At(uint32_t seconds) { return STarnovelleTimeStampInMsec(seconds, 0).GetUTCTimeStamp(); }

class ReaderTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_writer = ITNVLMCreateInstance();
        ITNVLMInitInstance(m_writer, Project().c_str());
        CTarnovelleArchiveFolder* folder = nullptr;
        ITNVLMAddArchive(m_writer, (m_dir / "TNArch01").c_str(), TNARCHIVE_MODE_REMAINING, 1, &folder);
        ITNVLMSerialize_1(m_writer, 1, nullptr);
        m_reader = ITNVLRCreateInstance();
    }
    void TearDown() override {
        ITNVLRDestroyInstance(m_reader);
        ITNVLMDestroyInstance(m_writer);
    }
    std::string Project() const { return m_dir / "Plant.TNArch"; }
    void Store(const SChannelID& channel, uint32_t start, const std::vector<float>& values) {
        CTarnovelleSampleArray samples;
        samples.Add(new CTarnovelleSample(At(start), At(start + static_cast<uint32_t>(values.size())),
                                          static_cast<uint32_t>(values.size()), values.data()));
        ASSERT_EQ(ITNVLMAddSample(m_writer, kPoint, channel, samples), TNE_OK);
    }
    TNTestDir m_dir;
    CTNFakeClock m_clock{1700000000000ull};
    CTNScopedClock m_scope{&m_clock};
    CTarnovelleArchive* m_writer = nullptr;
    CTarnovelleArchive* m_reader = nullptr;
};

TEST_F(ReaderTest, ChannelsRangesAndSamplesComeOutAsCopiesTheCallerFrees) {
    Store(kMean, 1000, {1.0f, 2.0f, 3.0f});
    Store(kOther, 2000, {4.0f});
    ASSERT_EQ(ITNVLRInitInstance(m_reader, Project().c_str()), TNE_OK);
    SChannelID* ids = nullptr;
    uint32_t count = 0;
    ASSERT_EQ(ITNVLRGetChannelIDs(m_reader, kPoint, ids, count), TNE_OK);
    ASSERT_EQ(count, 2u);
    std::vector<uint32_t> numbers = {ids[0].GetDWORD(), ids[1].GetDWORD()};
    std::sort(numbers.begin(), numbers.end());
    EXPECT_EQ(numbers, (std::vector<uint32_t>{kMean.GetDWORD(), kOther.GetDWORD()}));
    delete[] ids;
    CTNUTCTimeStamp from = CTNUTCTimeStamp::InvalidTS();
    CTNUTCTimeStamp to = CTNUTCTimeStamp::InvalidTS();
    ASSERT_EQ(ITNVLRGetChannelTimeRange(m_reader, kPoint, kMean, from, to), TNE_OK);
    EXPECT_EQ(from, At(1000));
    EXPECT_EQ(to, At(1003));
    int32_t empty = -1;
    ASSERT_EQ(ITNVLRIsMeasuringPointEmpty(m_reader, kPoint, At(1500), At(1600), empty), TNE_OK);
    EXPECT_EQ(empty, 1);
    CTarnovelleSample* samples = nullptr;
    ASSERT_EQ(ITNVLRGetSamples(m_reader, kPoint, kMean, At(0), At(5000), samples, count), TNE_OK);
    ASSERT_EQ(count, 1u);
    // A deep copy: the archive may go, the values stay.
    ITNVLRDestroyInstance(m_reader);
    m_reader = ITNVLRCreateInstance();
    std::vector<float> values(3);
    ASSERT_EQ(samples[0].GetArray(values.data(), 3), TNE_OK);
    EXPECT_EQ(values, (std::vector<float>{1.0f, 2.0f, 3.0f}));
    delete[] samples;
}

TEST_F(ReaderTest, ARangeWithoutDataGivesANullArrayAndCountZero) {
    Store(kMean, 1000, {1.0f});
    ASSERT_EQ(ITNVLRInitInstance(m_reader, Project().c_str()), TNE_OK);
    CTarnovelleSample* samples = reinterpret_cast<CTarnovelleSample*>(this);
    uint32_t count = 7;
    ASSERT_EQ(ITNVLRGetSamples(m_reader, kPoint, kMean, At(5000), At(6000), samples, count), TNE_OK);
    EXPECT_EQ(samples, nullptr);
    EXPECT_EQ(count, 0u);
}

TEST_F(ReaderTest, AnUnknownGuidGives6OrNoObjectAsEachFunctionSays) {
    Store(kMean, 1000, {1.0f});
    ASSERT_EQ(ITNVLRInitInstance(m_reader, Project().c_str()), TNE_OK);
    CTarnovelleSample* samples = nullptr;
    SChannelID* ids = nullptr;
    uint32_t count = 9;
    EXPECT_EQ(ITNVLRGetSamples(m_reader, kUnknown, kMean, At(0), At(1), samples, count), TNE_FAILED);
    EXPECT_EQ(ITNVLRGetChannelIDs(m_reader, kUnknown, ids, count), TNE_FAILED);
    EXPECT_EQ(count, 9u);
    CTNUTCTimeStamp from = CTNUTCTimeStamp::InvalidTS();
    CTNUTCTimeStamp to = CTNUTCTimeStamp::InvalidTS();
    EXPECT_EQ(ITNVLRGetMeasuringPointTimeRange(m_reader, kUnknown, from, to), TNE_NO_OBJECT);
    EXPECT_EQ(ITNVLRGetChannelTimeRange(m_reader, kUnknown, kMean, from, to), TNE_NO_OBJECT);
    int32_t empty = 0;
    EXPECT_EQ(ITNVLRIsMeasuringPointEmpty(m_reader, kUnknown, from, to, empty), TNE_NO_OBJECT);
    EXPECT_EQ(ITNVLRGetSamples(nullptr, kPoint, kMean, At(0), At(1), samples, count), TNE_NO_OBJECT);
}

TEST_F(ReaderTest, AReadThatCantGetItsReadLocksGives503) {
    Store(kMean, 1000, {1.0f});
    ASSERT_EQ(ITNVLRInitInstance(m_reader, Project().c_str()), TNE_OK);
    class FailReadLocks : public CTNFileFaults {
    public:
        int Before(EOperation operation, const std::string& path) override {
            return operation == opOpen && path.size() > 5 && path.compare(path.size() - 5, 5, ".Read") == 0 ? EACCES : 0;
        }
    } faults;
    CTNScopedFileFaults scope(&faults);
    CTarnovelleSample* samples = nullptr;
    uint32_t count = 3;
    EXPECT_EQ(ITNVLRGetSamples(m_reader, kPoint, kMean, At(0), At(5000), samples, count), TNE_ARCHIVE_LOCK_FAILED);
    EXPECT_EQ(count, 3u);
}

TEST_F(ReaderTest, RefreshFollowsAWriterInAnotherProcessThatSwitchedFolders) {
    ASSERT_EQ(ITNVLRInitInstance(m_reader, Project().c_str()), TNE_OK);
    std::string active;
    ASSERT_EQ(ITNVLRGetActiveFolderPath(m_reader, active), TNE_OK);
    EXPECT_EQ(active, m_dir / "TNArch01");
    const std::string project = Project();
    const std::string second = m_dir / "TNArch02";
    TNChildProcess writer([&](TNChildProcess&) {
        CTarnovelleArchive* theirs = ITNVLWCreateInstance();
        if (ITNVLWInitInstance(theirs, project.c_str()) != TNE_OK) return 1;
        CTarnovelleArchiveFolder* added = nullptr;
        ITNVLMAddArchive(theirs, second.c_str(), TNARCHIVE_MODE_REMAINING, 1, &added);
        if (!added) return 2;
        CTNNotifyQueue sink;
        if (ITNVLWSetArchiveLock(theirs, 1, &sink, 0x8000) != TNE_OK) return 3;
        CTarnovelleArchiveFolder* first = nullptr;
        ITNVLMGetActiveFolder(theirs, &first);
        ITNVLMSwitchArchiveActivation(theirs, first, added);
        CTarnovelleSampleArray samples;
        std::vector<float> values = {7.0f, 8.0f};
        samples.Add(new CTarnovelleSample(At(3000), At(3002), 2, values.data()));
        ITNVLWAddSample(theirs, kPoint, kMean, samples);
        ITNVLWSetArchiveLock(theirs, 0, nullptr, 0);
        ITNVLWDestroyInstance(theirs);
        return 0;
    });
    ASSERT_EQ(writer.Join(), 0);
    ASSERT_EQ(ITNVLRRefresh(m_reader), TNE_OK);
    ASSERT_EQ(ITNVLRGetActiveFolderPath(m_reader, active), TNE_OK);
    EXPECT_EQ(active, second);
    CTarnovelleSample* samples = nullptr;
    uint32_t count = 0;
    ASSERT_EQ(ITNVLRGetSamples(m_reader, kPoint, kMean, At(0), At(5000), samples, count), TNE_OK);
    ASSERT_EQ(count, 1u);
    EXPECT_EQ(samples[0].GetNrOfValues(), 2u);
    EXPECT_EQ(samples[0].GetStartTime(), At(3000));
    delete[] samples;
}

}  // namespace
