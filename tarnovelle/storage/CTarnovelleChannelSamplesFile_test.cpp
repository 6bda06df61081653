#include "tarnovelle/storage/CTarnovelleChannelSamplesFile.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "tarnovelle/storage/CSampleEntryEvent.h"
#include "tarnovelle/storage/CSampleEntryMeanValues.h"
#include "tarnovelle/storage/CTarnovelleFile.h"
#include "tarnovelle/support/CFileException.h"
#include "tarnovelle/support/CTNFakeClock.h"
#include "tarnovelle/support/CTarnovelleException.h"
#include "tarnovelle/support/TNLastError.h"
#include "tests/support/TNChildProcess.h"
#include "tests/support/TNLogCapture.h"
#include "tests/support/TNTestDir.h"
#include "tests/support/TNRecordingClock.h"

namespace {

// Opens the protected state for inspection.
class TestSamplesFile : public CTarnovelleChannelSamplesFile {
public:
    using CTarnovelleChannelSamplesFile::Clear;
    using CTarnovelleChannelSamplesFile::m_Header;
    using CTarnovelleChannelSamplesFile::m_nFirstDirty;
    using CTarnovelleChannelSamplesFile::m_nSelected;
    using CTarnovelleChannelSamplesFile::m_pFile;
    using CTarnovelleChannelSamplesFile::m_Positions;
    using CTarnovelleChannelSamplesFile::m_Samples;
    using CTarnovelleChannelSamplesFile::m_strBasePath;
    using CTarnovelleChannelSamplesFile::Read;

    size_t Count() const { return m_Samples.size(); }
    const CSampleEntryMeanValues& MeanAt(size_t i) const {
        return dynamic_cast<const CSampleEntryMeanValues&>(*m_Samples.at(i));
    }
    const CSampleEntryEvent& EventAt(size_t i) const { return dynamic_cast<const CSampleEntryEvent&>(*m_Samples.at(i)); }
};

constexpr uint32_t kMeanChannel = 0x03010001;   // voltage, L1-N, mean
constexpr uint32_t kEventChannel = 0x06010001;  // voltage, L1-N, mean event
constexpr uint32_t kBase = 946684800;           // 1 January 2000, seconds

const GUID kGuid = {0x11223344, 0x5566, 0x7788, {0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF, 0x01}};
const GUID kOtherGuid = {0x11223344, 0x5566, 0x7788, {0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF, 0x02}};

// A copy of a packed field: assertions take their arguments by reference,
// which a packed field can't give.
template <class TValue>
TValue V(TValue value) {
    return value;
}

CTNUTCTimeStamp T(uint32_t seconds, uint16_t ms = 0) {
    return CTNUTCTimeStamp::CreateUTCTimeStamp2000() + CTNMSecTimeSpan(seconds, ms);
}

std::string U8(uint8_t v) { return std::string(1, static_cast<char>(v)); }
std::string U16(uint16_t v) { return U8(v & 0xFF) + U8(v >> 8); }
std::string U32(uint32_t v) { return U16(v & 0xFFFF) + U16(v >> 16); }
std::string F32(float f) {
    uint32_t bits;
    std::memcpy(&bits, &f, 4);
    return U32(bits);
}

std::string FileHeader(const GUID& guid, uint32_t channel, uint8_t version, const std::string& name = "",
                       uint32_t major = 0, uint32_t minor = 0, uint32_t build = 0, uint32_t revision = 0) {
    std::string bytes = U32(guid.Data1) + U16(guid.Data2) + U16(guid.Data3);
    bytes.append(reinterpret_cast<const char*>(guid.Data4), 8);
    bytes += U32(channel) + U8(version);
    std::string field = name.substr(0, 40);
    field.resize(40, '\0');
    bytes += field + std::string(3, '\0');
    bytes += U32(major) + U32(minor) + U32(build) + U32(revision);
    return bytes;
}

std::string MeanBlock(uint8_t format, uint32_t position, uint32_t count, uint32_t start, uint32_t end,
                      float offset = 0.f, float factor = 0.f) {
    return U8(format) + U32(position) + U32(count) + U32(start) + U32(end) + F32(offset) + F32(factor);
}

std::string EventBlock(uint8_t format, uint32_t position, uint32_t count, uint32_t start, uint16_t startMs,
                       uint32_t end, uint16_t endMs) {
    return U8(format) + U32(position) + U32(count) + U32(start) + U16(startMs) + U32(end) + U16(endMs);
}

// Overwrites bytes of a file in place, without any lock: what a careless
// program or a disk could do behind the object's back.
void Patch(const std::string& path, uint32_t offset, const std::string& bytes) {
    std::fstream f(path, std::ios::in | std::ios::out | std::ios::binary);
    f.seekp(offset);
    f.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

class SamplesFileTest : public ::testing::Test {
protected:
    std::string Base(uint32_t channel = kMeanChannel) const {
        char name[16];
        std::snprintf(name, sizeof(name), "%08x", channel);
        return m_dir / name;
    }
    std::string Sam(uint32_t channel = kMeanChannel) const { return Base(channel) + ".Sam"; }
    std::string Disk(uint32_t channel = kMeanChannel) const { return TNTestDir::ReadFile(Sam(channel)); }

    ETarnovelleErrors CreateFile(TestSamplesFile& f, uint32_t channel = kMeanChannel) {
        return f.Create(Base(channel).c_str(), kGuid, SChannelID(channel), "", 0, 0, 0, 0);
    }
    // A mean run: select, then count as the data file's write would.
    void AddMean(TestSamplesFile& f, EFormatId format, uint32_t from, uint32_t to, uint32_t count, float offset = 0.f,
                 float factor = 0.f) {
        ASSERT_EQ(f.SelectLastOrCreateNewFloatDigitSample(format, T(from), T(to), offset, factor), TNE_OK);
        ASSERT_EQ(f.IncreaseSampleDataCount(count), TNE_OK);
    }
    void AddEvent(TestSamplesFile& f, EFormatId format, const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to,
                  uint32_t count) {
        ASSERT_EQ(f.SelectLastOrCreateNewEventBinarySample(format, from, to), TNE_OK);
        ASSERT_EQ(f.IncreaseSampleDataCount(count), TNE_OK);
    }

    TNLogCapture m_log;  // keeps the retry loop's entries out of the real log
    TNTestDir m_dir;
};


}  // namespace

// ---- write cycles and the bytes they leave ----

TEST_F(SamplesFileTest, OneMeanBlockLeavesHeaderAndTwentyFiveBytesWithVersionOne) {
    TestSamplesFile f;
    ASSERT_EQ(CreateFile(f), TNE_OK);
    AddMean(f, FORMAT_FLOAT, 0, 60, 60);
    ASSERT_EQ(f.Close(), TNE_OK);
    const std::string disk = Disk();
    ASSERT_EQ(disk.size(), 80u + 25u);
    EXPECT_EQ(disk[20], 1);
    EXPECT_EQ(disk, FileHeader(kGuid, kMeanChannel, 1) + MeanBlock(FORMAT_FLOAT, 20, 60, kBase, kBase + 60));
    EXPECT_EQ(f.m_pFile, nullptr);
    EXPECT_EQ(f.m_Positions, (std::vector<uint32_t>{80, 105}));
    EXPECT_EQ(f.m_nFirstDirty, 1);
}

TEST_F(SamplesFileTest, OneEventBlockLeavesHeaderAndTwentyOneBytesWithVersionOne) {
    TestSamplesFile f;
    ASSERT_EQ(CreateFile(f, kEventChannel), TNE_OK);
    AddEvent(f, FORMAT_EVENT, T(0, 250), T(5, 750), 3);
    ASSERT_EQ(f.Close(), TNE_OK);
    const std::string disk = Disk(kEventChannel);
    ASSERT_EQ(disk.size(), 80u + 21u);
    EXPECT_EQ(disk[20], 1);
    EXPECT_EQ(disk, FileHeader(kGuid, kEventChannel, 1) + EventBlock(FORMAT_EVENT, 20, 3, kBase, 250, kBase + 5, 750));
}

TEST_F(SamplesFileTest, HeaderCarriesNameAndVersionNumbersAndBoundsTheName) {
    TestSamplesFile f;
    ASSERT_EQ(f.Create(Base().c_str(), kGuid, SChannelID(kMeanChannel), "Recorder", 1, 2, 3, 4), TNE_OK);
    ASSERT_EQ(f.Close(), TNE_OK);
    EXPECT_EQ(Disk(), FileHeader(kGuid, kMeanChannel, 1, "Recorder", 1, 2, 3, 4));

    const std::string longName(45, 'x');
    TestSamplesFile g;
    ASSERT_EQ(g.Create(Base().c_str(), kGuid, SChannelID(kMeanChannel), longName.c_str(), 0, 0, 0, 0), TNE_OK);
    ASSERT_EQ(g.Close(), TNE_OK);
    const std::string disk = Disk();
    EXPECT_EQ(disk.substr(21, 40), std::string(40, 'x'));  // no terminator in the field
    EXPECT_EQ(disk.substr(61, 3), std::string(3, '\0'));
}

TEST_F(SamplesFileTest, CreateLeavesAnEmptyFileHeldUntilClose) {
    TestSamplesFile f;
    ASSERT_EQ(CreateFile(f), TNE_OK);
    EXPECT_NE(f.m_pFile, nullptr);
    EXPECT_TRUE(TNTestDir::Exists(Sam()));
    EXPECT_EQ(Disk().size(), 0u);
    AddMean(f, FORMAT_FLOAT, 0, 10, 10);
    EXPECT_EQ(Disk().size(), 0u);  // nothing reaches the file before Close
    ASSERT_EQ(f.Close(), TNE_OK);
}

TEST_F(SamplesFileTest, ExtensionRewritesTheLastHeaderOnly) {
    {
        TestSamplesFile f;
        ASSERT_EQ(CreateFile(f), TNE_OK);
        AddMean(f, FORMAT_FLOAT, 0, 60, 60);
        AddMean(f, FORMAT_FLOAT, 100, 160, 60);
        ASSERT_EQ(f.Close(), TNE_OK);
    }
    TestSamplesFile f;
    ASSERT_EQ(f.Init(Base().c_str()), TNE_OK);
    ASSERT_EQ(f.Open(), TNE_OK);
    // A mark in the first header proves it isn't written again.
    Patch(Sam(), 80 + 5, U32(0xDEADBEEF));
    AddMean(f, FORMAT_FLOAT, 160, 220, 60);
    EXPECT_EQ(f.Count(), 2u);
    EXPECT_EQ(f.m_nFirstDirty, 1);
    ASSERT_EQ(f.Close(), TNE_OK);
    EXPECT_EQ(Disk(), FileHeader(kGuid, kMeanChannel, 1) + MeanBlock(FORMAT_FLOAT, 20, 0xDEADBEEF, kBase, kBase + 60) +
                          MeanBlock(FORMAT_FLOAT, 260, 120, kBase + 100, kBase + 220));
}

TEST_F(SamplesFileTest, MeanWriteOneSecondAfterTheEndStartsNewBlockBehindTheValues) {
    TestSamplesFile f;
    ASSERT_EQ(CreateFile(f), TNE_OK);
    AddMean(f, FORMAT_DIGIT, 0, 60, 60, 1.f, 0.5f);
    AddMean(f, FORMAT_DIGIT, 61, 120, 59, 1.f, 0.5f);
    ASSERT_EQ(f.Close(), TNE_OK);
    EXPECT_EQ(Disk(), FileHeader(kGuid, kMeanChannel, 1) +
                          MeanBlock(FORMAT_DIGIT, 20, 60, kBase, kBase + 60, 1.f, 0.5f) +
                          MeanBlock(FORMAT_DIGIT, 20 + 60 * 2, 59, kBase + 61, kBase + 120, 1.f, 0.5f));
}

TEST_F(SamplesFileTest, MeanWriteOnTheEndWithSameOffsetAndFactorExtends) {
    TestSamplesFile f;
    ASSERT_EQ(CreateFile(f), TNE_OK);
    AddMean(f, FORMAT_DIGIT, 0, 60, 60, 1.f, 0.5f);
    AddMean(f, FORMAT_DIGIT, 60, 90, 30, 1.f, 0.5f);
    ASSERT_EQ(f.Count(), 1u);
    EXPECT_EQ(f.m_nSelected, 0);
    ASSERT_EQ(f.Close(), TNE_OK);
    EXPECT_EQ(Disk(), FileHeader(kGuid, kMeanChannel, 1) + MeanBlock(FORMAT_DIGIT, 20, 90, kBase, kBase + 90, 1.f, 0.5f));
}

TEST_F(SamplesFileTest, AnotherFactorOrOffsetStartsNewBlockBehindTheLastBlocksValues) {
    TestSamplesFile f;
    ASSERT_EQ(CreateFile(f), TNE_OK);
    AddMean(f, FORMAT_DIGIT, 0, 10, 10, 0.f, 0.1f);
    AddMean(f, FORMAT_DIGIT, 10, 20, 10, 0.f, 0.2f);  // another factor
    AddMean(f, FORMAT_DIGIT, 20, 30, 10, 5.f, 0.2f);  // another offset
    ASSERT_EQ(f.Close(), TNE_OK);
    EXPECT_EQ(Disk(), FileHeader(kGuid, kMeanChannel, 1) +
                          MeanBlock(FORMAT_DIGIT, 20, 10, kBase, kBase + 10, 0.f, 0.1f) +
                          MeanBlock(FORMAT_DIGIT, 40, 10, kBase + 10, kBase + 20, 0.f, 0.2f) +
                          MeanBlock(FORMAT_DIGIT, 60, 10, kBase + 20, kBase + 30, 5.f, 0.2f));
}

TEST_F(SamplesFileTest, MeanExtensionNeedsEveryCondition) {
    TestSamplesFile f;
    ASSERT_EQ(CreateFile(f), TNE_OK);
    // No block yet: a new one.
    AddMean(f, FORMAT_FLOAT, 0, 10, 10);
    ASSERT_EQ(f.Count(), 1u);
    // Another format.
    AddMean(f, FORMAT_DIGIT, 10, 20, 10);
    ASSERT_EQ(f.Count(), 2u);
    EXPECT_EQ(f.MeanAt(1).m_Header.GetDataPosition(), 20u + 10 * 4);
    // From equal to to: a block of its own, even on the end.
    AddMean(f, FORMAT_DIGIT, 20, 20, 1);
    ASSERT_EQ(f.Count(), 3u);
    EXPECT_EQ(f.MeanAt(2).m_Header.GetDataPosition(), 60u + 10 * 2);
    // A block whose start equals its end can't grow.
    AddMean(f, FORMAT_DIGIT, 20, 30, 10);
    ASSERT_EQ(f.Count(), 4u);
    // Milliseconds of from don't count against the end's seconds.
    ASSERT_EQ(f.SelectLastOrCreateNewFloatDigitSample(FORMAT_DIGIT, T(30, 500), T(40), 0.f, 0.f), TNE_OK);
    ASSERT_EQ(f.Count(), 4u);
    EXPECT_EQ(V(f.MeanAt(3).m_MeanValues.EndTime), kBase + 40);
    // From and to differing only in milliseconds still extend.
    ASSERT_EQ(f.SelectLastOrCreateNewFloatDigitSample(FORMAT_DIGIT, T(40), T(40, 1), 0.f, 0.f), TNE_OK);
    EXPECT_EQ(f.Count(), 4u);
    ASSERT_EQ(f.Close(), TNE_OK);
}

TEST_F(SamplesFileTest, MeanTimesDropMilliseconds) {
    TestSamplesFile f;
    ASSERT_EQ(CreateFile(f), TNE_OK);
    ASSERT_EQ(f.SelectLastOrCreateNewFloatDigitSample(FORMAT_FLOAT, T(1, 999), T(2, 500), 0.f, 0.f), TNE_OK);
    EXPECT_EQ(V(f.MeanAt(0).m_MeanValues.StartTime), kBase + 1);
    EXPECT_EQ(V(f.MeanAt(0).m_MeanValues.EndTime), kBase + 2);
    ASSERT_EQ(f.Close(), TNE_OK);
}

TEST_F(SamplesFileTest, OlderMeanBlockGoesInFrontAndHeadersAreRewrittenFromThere) {
    {
        TestSamplesFile f;
        ASSERT_EQ(CreateFile(f), TNE_OK);
        AddMean(f, FORMAT_FLOAT, 100, 160, 60);
        AddMean(f, FORMAT_FLOAT, 300, 360, 60);
        AddMean(f, FORMAT_FLOAT, 500, 560, 60);
        ASSERT_EQ(f.Close(), TNE_OK);
    }
    TestSamplesFile f;
    ASSERT_EQ(f.Init(Base().c_str()), TNE_OK);
    ASSERT_EQ(f.Open(), TNE_OK);
    Patch(Sam(), 80 + 5, U32(0xDEADBEEF));  // the first header must stay untouched
    AddMean(f, FORMAT_FLOAT, 200, 260, 60);
    EXPECT_EQ(f.m_nSelected, 1);
    EXPECT_EQ(f.m_nFirstDirty, 1);
    ASSERT_EQ(f.Close(), TNE_OK);
    // The array is sorted by start time; the data file holds the late block's
    // values behind all others.
    EXPECT_EQ(Disk(), FileHeader(kGuid, kMeanChannel, 1) +
                          MeanBlock(FORMAT_FLOAT, 20, 0xDEADBEEF, kBase + 100, kBase + 160) +
                          MeanBlock(FORMAT_FLOAT, 740, 60, kBase + 200, kBase + 260) +
                          MeanBlock(FORMAT_FLOAT, 260, 60, kBase + 300, kBase + 360) +
                          MeanBlock(FORMAT_FLOAT, 500, 60, kBase + 500, kBase + 560));
    EXPECT_EQ(f.m_Positions, (std::vector<uint32_t>{80, 105, 130, 155, 180}));
}

TEST_F(SamplesFileTest, StartTimesRiseWithTheIndexAfterLateBlocks) {
    TestSamplesFile f;
    ASSERT_EQ(CreateFile(f), TNE_OK);
    AddMean(f, FORMAT_FLOAT, 500, 510, 10);
    AddMean(f, FORMAT_FLOAT, 100, 110, 10);
    AddMean(f, FORMAT_FLOAT, 300, 310, 10);
    AddMean(f, FORMAT_FLOAT, 0, 10, 10);
    ASSERT_EQ(f.Count(), 4u);
    EXPECT_EQ(V(f.MeanAt(0).m_MeanValues.StartTime), kBase + 0);
    EXPECT_EQ(V(f.MeanAt(1).m_MeanValues.StartTime), kBase + 100);
    EXPECT_EQ(V(f.MeanAt(2).m_MeanValues.StartTime), kBase + 300);
    EXPECT_EQ(V(f.MeanAt(3).m_MeanValues.StartTime), kBase + 500);
    EXPECT_EQ(f.m_nSelected, 0);
    EXPECT_EQ(f.m_nFirstDirty, 0);
    ASSERT_EQ(f.Close(), TNE_OK);
}

TEST_F(SamplesFileTest, EqualStartTimesStayInOrderOfArrival) {
    TestSamplesFile f;
    ASSERT_EQ(CreateFile(f), TNE_OK);
    AddMean(f, FORMAT_FLOAT, 100, 160, 1);
    AddMean(f, FORMAT_FLOAT, 300, 360, 2);
    AddMean(f, FORMAT_DIGIT, 100, 160, 3);           // same start as the first
    AddMean(f, FORMAT_DIGIT, 100, 160, 4, 0.f, 2.f); // and once more
    ASSERT_EQ(f.Count(), 4u);
    EXPECT_EQ(f.MeanAt(0).m_Header.GetElementCount(), 1u);
    EXPECT_EQ(f.MeanAt(1).m_Header.GetElementCount(), 3u);
    EXPECT_EQ(f.MeanAt(2).m_Header.GetElementCount(), 4u);
    EXPECT_EQ(f.MeanAt(3).m_Header.GetElementCount(), 2u);
    ASSERT_EQ(f.Close(), TNE_OK);
}

TEST_F(SamplesFileTest, AfterReopenTheSelectedBlockIsTheLastOfTheArrayNotTheLastWritten) {
    {
        TestSamplesFile f;
        ASSERT_EQ(CreateFile(f), TNE_OK);
        AddMean(f, FORMAT_FLOAT, 100, 110, 10);  // values at 20
        AddMean(f, FORMAT_FLOAT, 300, 310, 10);  // values at 60
        AddMean(f, FORMAT_FLOAT, 200, 210, 10);  // late: values at 100, array index 1
        ASSERT_EQ(f.Close(), TNE_OK);
    }
    TestSamplesFile f;
    ASSERT_EQ(f.Init(Base().c_str()), TNE_OK);
    ASSERT_EQ(f.Open(), TNE_OK);
    EXPECT_EQ(f.m_nSelected, 2);
    EXPECT_EQ(V(f.MeanAt(2).m_MeanValues.StartTime), kBase + 300);
    AddMean(f, FORMAT_FLOAT, 400, 410, 10);
    ASSERT_EQ(f.Count(), 4u);
    // Behind the values of the block that starts at 300 (60 + 10 * 4), not
    // behind those written last (100 + 10 * 4): the data file's tail is overwritten.
    EXPECT_EQ(f.MeanAt(3).m_Header.GetDataPosition(), 100u);
    ASSERT_EQ(f.Close(), TNE_OK);
}

// ---- events ----

TEST_F(SamplesFileTest, EventWriteBeforeTheLastEndAlwaysAppendsANewBlock) {
    TestSamplesFile f;
    ASSERT_EQ(CreateFile(f, kEventChannel), TNE_OK);
    AddEvent(f, FORMAT_EVENT, T(10), T(20), 2);
    AddEvent(f, FORMAT_EVENT, T(15), T(16), 1);
    AddEvent(f, FORMAT_EVENT, T(5), T(6), 1);
    ASSERT_EQ(f.Count(), 3u);
    EXPECT_EQ(f.m_nSelected, 2);
    EXPECT_EQ(V(f.EventAt(1).m_Event.StartTime.dwTime), kBase + 15);
    EXPECT_EQ(V(f.EventAt(2).m_Event.StartTime.dwTime), kBase + 5);  // out of time order
    ASSERT_EQ(f.Close(), TNE_OK);
    EXPECT_EQ(Disk(kEventChannel), FileHeader(kGuid, kEventChannel, 1) +
                                       EventBlock(FORMAT_EVENT, 20, 2, kBase + 10, 0, kBase + 20, 0) +
                                       EventBlock(FORMAT_EVENT, 48, 1, kBase + 15, 0, kBase + 16, 0) +
                                       EventBlock(FORMAT_EVENT, 62, 1, kBase + 5, 0, kBase + 6, 0));
}

TEST_F(SamplesFileTest, EventExtensionComparesMilliseconds) {
    TestSamplesFile f;
    ASSERT_EQ(CreateFile(f, kEventChannel), TNE_OK);
    AddEvent(f, FORMAT_EVENT, T(10), T(20, 500), 2);
    AddEvent(f, FORMAT_EVENT, T(20, 499), T(21), 1);  // a millisecond early: new block
    ASSERT_EQ(f.Count(), 2u);
    AddEvent(f, FORMAT_EVENT, T(21), T(22, 1), 1);  // on the end: extends
    ASSERT_EQ(f.Count(), 2u);
    AddEvent(f, FORMAT_EVENT, T(30), T(30), 1);  // later, even with from equal to: extends
    ASSERT_EQ(f.Count(), 2u);
    EXPECT_EQ(f.EventAt(1).m_Header.GetElementCount(), 3u);
    EXPECT_EQ(V(f.EventAt(1).m_Event.EndTime.dwTime), kBase + 30);
    AddEvent(f, FORMAT_BINARY_BYTE, T(40), T(41), 1);  // another format: new block
    ASSERT_EQ(f.Count(), 3u);
    ASSERT_EQ(f.Close(), TNE_OK);
    EXPECT_EQ(Disk(kEventChannel), FileHeader(kGuid, kEventChannel, 1) +
                                       EventBlock(FORMAT_EVENT, 20, 2, kBase + 10, 0, kBase + 20, 500) +
                                       EventBlock(FORMAT_EVENT, 48, 3, kBase + 20, 499, kBase + 30, 0) +
                                       EventBlock(FORMAT_BINARY_BYTE, 90, 1, kBase + 40, 0, kBase + 41, 0));
}

TEST_F(SamplesFileTest, EventDataPositionFollowsTheLastBlocksElementSize) {
    TestSamplesFile f;
    ASSERT_EQ(CreateFile(f, kEventChannel), TNE_OK);
    // Each block starts before the last one's end, so each is new.
    const EFormatId formats[] = {FORMAT_EVENT, FORMAT_BINARY_BYTE, FORMAT_BINARY_WORD, FORMAT_BINARY_DWORD,
                                 FORMAT_MESSAGE, FORMAT_FLOAT, FORMAT_EVENT};
    for (uint32_t i = 0; i < 7; ++i) AddEvent(f, formats[i], T(100 - i), T(200), 3);
    ASSERT_EQ(f.Count(), 7u);
    const uint32_t expected[] = {20, 20 + 3 * 14, 62 + 3 * 7, 83 + 3 * 8, 107 + 3 * 10, 137 + 3 * 256,
                                 20 /* behind a float block: start over */};
    for (uint32_t i = 0; i < 7; ++i) EXPECT_EQ(f.EventAt(i).m_Header.GetDataPosition(), expected[i]) << i;
    ASSERT_EQ(f.Close(), TNE_OK);
}

TEST_F(SamplesFileTest, MeanDataPositionStartsOverBehindAFormatOfAnotherFamily) {
    TestSamplesFile f;
    ASSERT_EQ(CreateFile(f), TNE_OK);
    AddMean(f, FORMAT_EVENT, 0, 10, 5);
    AddMean(f, FORMAT_FLOAT, 20, 30, 5);
    EXPECT_EQ(f.MeanAt(1).m_Header.GetDataPosition(), 20u);
    ASSERT_EQ(f.Close(), TNE_OK);
}

// ---- counts ----

TEST_F(SamplesFileTest, IncreaseSampleDataCountAddsToTheSelectedBlock) {
    TestSamplesFile f;
    ASSERT_EQ(CreateFile(f), TNE_OK);
    EXPECT_EQ(f.IncreaseSampleDataCount(5), TNE_FAILED);  // nothing selected: refused, no crash
    AddMean(f, FORMAT_FLOAT, 100, 110, 10);
    AddMean(f, FORMAT_FLOAT, 0, 10, 7);  // selected is now index 0
    EXPECT_EQ(f.IncreaseSampleDataCount(3), TNE_OK);
    EXPECT_EQ(f.MeanAt(0).m_Header.GetElementCount(), 10u);
    EXPECT_EQ(f.MeanAt(1).m_Header.GetElementCount(), 10u);
    ASSERT_EQ(f.Close(), TNE_OK);
}

// ---- reading ----

TEST_F(SamplesFileTest, TrailingPartialHeaderIsAcceptedAndOverwrittenByTheNextClose) {
    m_dir.WriteFile("03010001.Sam", FileHeader(kGuid, kMeanChannel, 1) +
                                        MeanBlock(FORMAT_FLOAT, 20, 10, kBase, kBase + 10) + "\x01\x02\x03\x04\x05");
    TestSamplesFile f;
    ASSERT_EQ(f.Init(Base().c_str()), TNE_OK);
    EXPECT_EQ(f.Count(), 1u);
    EXPECT_EQ(f.m_Positions, (std::vector<uint32_t>{80, 105}));
    EXPECT_EQ(f.m_nFirstDirty, 1);
    EXPECT_EQ(f.m_nSelected, 0);
    ASSERT_EQ(f.Open(), TNE_OK);
    AddMean(f, FORMAT_FLOAT, 20, 30, 10);
    ASSERT_EQ(f.Close(), TNE_OK);
    EXPECT_EQ(Disk(), FileHeader(kGuid, kMeanChannel, 1) + MeanBlock(FORMAT_FLOAT, 20, 10, kBase, kBase + 10) +
                          MeanBlock(FORMAT_FLOAT, 60, 10, kBase + 20, kBase + 30));
}

TEST_F(SamplesFileTest, CloseNeverTruncates) {
    const std::string tail("\x01\x02\x03\x04\x05", 5);
    m_dir.WriteFile("03010001.Sam",
                    FileHeader(kGuid, kMeanChannel, 0) + MeanBlock(FORMAT_FLOAT, 20, 10, kBase, kBase + 10) + tail);
    TestSamplesFile f;
    ASSERT_EQ(f.Init(Base().c_str()), TNE_OK);
    ASSERT_EQ(f.Open(), TNE_OK);
    ASSERT_EQ(f.Close(), TNE_OK);
    EXPECT_EQ(Disk(), FileHeader(kGuid, kMeanChannel, 1) + MeanBlock(FORMAT_FLOAT, 20, 10, kBase, kBase + 10) + tail);
}

TEST_F(SamplesFileTest, FileEndingInsideTheMeanFormIsTruncatedAndKeepsWhatWasRead) {
    m_dir.WriteFile("03010001.Sam", FileHeader(kGuid, kMeanChannel, 1) +
                                        MeanBlock(FORMAT_FLOAT, 20, 10, kBase, kBase + 10) +
                                        MeanBlock(FORMAT_FLOAT, 60, 10, kBase + 10, kBase + 20).substr(0, 20));
    TestSamplesFile f;
    EXPECT_EQ(f.Init(Base().c_str()), TNE_FILE_TRUNCATED);
    EXPECT_EQ(f.Count(), 1u);
    EXPECT_EQ(f.m_nFirstDirty, 0);
    EXPECT_EQ(f.m_nSelected, -1);
    EXPECT_EQ(f.m_Positions, (std::vector<uint32_t>{80}));  // no end entry
}

TEST_F(SamplesFileTest, FileEndingInsideTheEventFormIsTruncated) {
    m_dir.WriteFile("06010001.Sam", FileHeader(kGuid, kEventChannel, 1) +
                                        EventBlock(FORMAT_EVENT, 20, 1, kBase, 0, kBase, 0) +
                                        EventBlock(FORMAT_EVENT, 34, 1, kBase, 0, kBase, 0).substr(0, 9));
    TestSamplesFile f;
    EXPECT_EQ(f.Init(Base(kEventChannel).c_str()), TNE_FILE_TRUNCATED);
    EXPECT_EQ(f.Count(), 1u);
    EXPECT_EQ(f.m_nSelected, -1);
    EXPECT_EQ(f.m_Positions, (std::vector<uint32_t>{80}));
}

TEST_F(SamplesFileTest, TruncatedFileHandedBackByOpenStaysHeldAndIsRewrittenWhole) {
    m_dir.WriteFile("03010001.Sam", FileHeader(kGuid, kMeanChannel, 1) +
                                        MeanBlock(FORMAT_FLOAT, 20, 10, kBase, kBase + 10) +
                                        MeanBlock(FORMAT_FLOAT, 60, 10, kBase + 10, kBase + 20).substr(0, 12));
    TestSamplesFile f;
    f.m_strBasePath = Base();
    EXPECT_EQ(f.Open(), TNE_FILE_TRUNCATED);
    ASSERT_NE(f.m_pFile, nullptr);  // the caller still closes
    ASSERT_EQ(f.Close(), TNE_OK);
    EXPECT_EQ(Disk(), FileHeader(kGuid, kMeanChannel, 1) + MeanBlock(FORMAT_FLOAT, 20, 10, kBase, kBase + 10) +
                          MeanBlock(FORMAT_FLOAT, 60, 10, kBase + 10, kBase + 20).substr(0, 12));
}

TEST_F(SamplesFileTest, FormatVersionAboveOneIsNotParsed) {
    m_dir.WriteFile("03010001.Sam",
                    FileHeader(kGuid, kMeanChannel, 2) + MeanBlock(FORMAT_FLOAT, 20, 10, kBase, kBase + 10));
    TestSamplesFile f;
    EXPECT_EQ(f.Init(Base().c_str()), TNE_FILE_NOT_PARSED);
    EXPECT_EQ(f.Count(), 0u);
}

TEST_F(SamplesFileTest, EmptyFileIsNoObjectUnlessTheChannelIsKnown) {
    m_dir.WriteFile("03010001.Sam", "");
    TestSamplesFile f;
    EXPECT_EQ(f.Init(Base().c_str()), TNE_NO_OBJECT);
    // With the header set first, as Create does, an empty file is fine.
    TestSamplesFile g;
    ASSERT_EQ(CreateFile(g), TNE_OK);
    ASSERT_EQ(g.Close(), TNE_OK);
    TestSamplesFile h;
    h.m_Header.ChannelID = SChannelID(kMeanChannel);
    m_dir.WriteFile("03010001.Sam", "");
    CTarnovelleFile file;
    ASSERT_NE(file.Open(Sam().c_str(), CTarnovelleFile::modeRead), 0);
    EXPECT_EQ(h.Read(file), TNE_OK);
    EXPECT_EQ(h.m_Positions, std::vector<uint32_t>{});
    file.Close();
}

TEST_F(SamplesFileTest, ShortFileFillsPartOfTheHeaderAndHasNoBlocks) {
    m_dir.WriteFile("03010001.Sam", FileHeader(kGuid, kMeanChannel, 1).substr(0, 30));
    TestSamplesFile f;
    EXPECT_EQ(f.Init(Base().c_str()), TNE_OK);
    EXPECT_EQ(f.GetMeasuringPointGUID(), kGuid);
    EXPECT_EQ(f.GetChannelID().GetDWORD(), kMeanChannel);
    EXPECT_EQ(f.Count(), 0u);
    EXPECT_EQ(f.m_Positions, (std::vector<uint32_t>{30}));
    EXPECT_EQ(f.m_nSelected, -1);
}

TEST_F(SamplesFileTest, ReadStartsFromTheBeginningWhereverTheFileStands) {
    m_dir.WriteFile("03010001.Sam",
                    FileHeader(kGuid, kMeanChannel, 1) + MeanBlock(FORMAT_FLOAT, 20, 10, kBase, kBase + 10));
    CTarnovelleFile file;
    ASSERT_NE(file.Open(Sam().c_str(), CTarnovelleFile::modeRead), 0);
    file.Seek(50, 0);
    TestSamplesFile f;
    EXPECT_EQ(f.Read(file), TNE_OK);
    EXPECT_EQ(f.Count(), 1u);
    file.Close();
}

// Hand-made files of every value type: the header form comes from the
// channel identifier in the file, not from the block's format.
struct ValueTypeCase {
    uint8_t valueType;
    uint32_t blockSize;  // 25, 21, or 9 for no form
};

class SamplesFileValueTypeTest : public SamplesFileTest, public ::testing::WithParamInterface<ValueTypeCase> {};

TEST_P(SamplesFileValueTypeTest, ReadsHandMadeFile) {
    const ValueTypeCase c = GetParam();
    const uint32_t channel = (uint32_t(c.valueType) << 24) | 0x00020003;
    std::string bytes = FileHeader(kGuid, channel, 1);
    for (uint32_t i = 0; i < 3; ++i) {
        if (c.blockSize == 25) bytes += MeanBlock(FORMAT_DIGIT, 20 + i * 20, 10, kBase + i * 100, kBase + i * 100 + 10, 1.f, 2.f);
        else if (c.blockSize == 21) bytes += EventBlock(FORMAT_BINARY_WORD, 20 + i * 80, 10, kBase + i, 7, kBase + i, 8);
        else bytes += U8(FORMAT_FLOAT) + U32(20 + i * 40) + U32(10);
    }
    char name[16];
    std::snprintf(name, sizeof(name), "%08x.Sam", channel);
    m_dir.WriteFile(name, bytes);
    TestSamplesFile f;
    ASSERT_EQ(f.Init(Base(channel).c_str()), TNE_OK);
    EXPECT_EQ(f.GetMeasurementValueType(), static_cast<EMeasurementValueType>(c.valueType));
    EXPECT_EQ(f.GetMeasuringPointGUID(), kGuid);
    if (c.blockSize == 9) {
        EXPECT_EQ(f.Count(), 0u);
        EXPECT_EQ(f.m_Positions, (std::vector<uint32_t>{80 + 27}));
        EXPECT_EQ(f.m_nSelected, -1);
        return;
    }
    ASSERT_EQ(f.Count(), 3u);
    EXPECT_EQ(f.m_Positions, (std::vector<uint32_t>{80, 80 + c.blockSize, 80 + 2 * c.blockSize, 80 + 3 * c.blockSize}));
    EXPECT_EQ(f.m_nSelected, 2);
    EXPECT_EQ(f.m_nFirstDirty, 3);
    for (uint32_t i = 0; i < 3; ++i) {
        EXPECT_EQ(f.m_Samples[i]->GetSizeOnDisk(), c.blockSize);
        EXPECT_EQ(f.m_Samples[i]->m_Header.GetElementCount(), 10u);
        if (c.blockSize == 25) {
            EXPECT_EQ(f.MeanAt(i).m_Header.GetFormatId(), FORMAT_DIGIT);
            EXPECT_EQ(f.MeanAt(i).m_Header.GetDataPosition(), 20 + i * 20);
            EXPECT_EQ(V(f.MeanAt(i).m_MeanValues.StartTime), kBase + i * 100);
            EXPECT_EQ(V(f.MeanAt(i).m_MeanValues.EndTime), kBase + i * 100 + 10);
            EXPECT_EQ(V(f.MeanAt(i).m_MeanValues.ValueOffset), 1.f);
            EXPECT_EQ(V(f.MeanAt(i).m_MeanValues.ValueFactor), 2.f);
        } else {
            EXPECT_EQ(f.EventAt(i).m_Header.GetFormatId(), FORMAT_BINARY_WORD);
            EXPECT_EQ(f.EventAt(i).m_Header.GetDataPosition(), 20 + i * 80);
            EXPECT_EQ(V(f.EventAt(i).m_Event.StartTime.dwTime), kBase + i);
            EXPECT_EQ(V(f.EventAt(i).m_Event.StartTime.wMilliseconds), 7);
            EXPECT_EQ(V(f.EventAt(i).m_Event.EndTime.wMilliseconds), 8);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(AllValueTypes, SamplesFileValueTypeTest,
                         ::testing::Values(ValueTypeCase{0, 9}, ValueTypeCase{1, 21}, ValueTypeCase{2, 9},
                                           ValueTypeCase{3, 25}, ValueTypeCase{4, 25}, ValueTypeCase{5, 25},
                                           ValueTypeCase{6, 21}, ValueTypeCase{7, 25}, ValueTypeCase{8, 21},
                                           ValueTypeCase{9, 9}, ValueTypeCase{200, 9}));

// ---- Init, Create, Open, Close, Refresh ----

TEST_F(SamplesFileTest, BasePathDropsAnExtensionOnlyBehindTheLastSeparator) {
    const GUID g = kGuid;
    const SChannelID c(kMeanChannel);
    TestSamplesFile f;
    ASSERT_EQ(f.Init((m_dir / "03010001.xyz").c_str(), g, c, "", 0, 0, 0, 0), TNE_OK);
    EXPECT_EQ(f.m_strBasePath, m_dir / "03010001");
    ASSERT_EQ(f.Init((m_dir / "a.b/03010001").c_str(), g, c, "", 0, 0, 0, 0), TNE_OK);
    EXPECT_EQ(f.m_strBasePath, m_dir / "a.b/03010001");
    ASSERT_EQ(f.Init(".hidden", g, c, "", 0, 0, 0, 0), TNE_OK);
    EXPECT_EQ(f.m_strBasePath, ".hidden");
    ASSERT_EQ(f.Init("name.ext", g, c, "", 0, 0, 0, 0), TNE_OK);
    EXPECT_EQ(f.m_strBasePath, "name");
    ASSERT_EQ(f.Init((m_dir / "x.y.Sam").c_str(), g, c, "", 0, 0, 0, 0), TNE_OK);
    EXPECT_EQ(f.m_strBasePath, m_dir / "x.y");
    // The file goes under the base path with the extension spelt ".Sam".
    TestSamplesFile w;
    ASSERT_EQ(w.Create((m_dir / "03010001.xyz").c_str(), g, c, "", 0, 0, 0, 0), TNE_OK);
    ASSERT_EQ(w.Close(), TNE_OK);
    EXPECT_TRUE(TNTestDir::Exists(m_dir / "03010001.Sam"));
}

TEST_F(SamplesFileTest, InitWithExpectationsPreparesTheHeaderWithoutMakingAFile) {
    TestSamplesFile f;
    ASSERT_EQ(f.Init(Base().c_str(), kGuid, SChannelID(kMeanChannel), "Prog", 1, 2, 3, 4), TNE_OK);
    EXPECT_FALSE(TNTestDir::Exists(Sam()));
    EXPECT_EQ(f.GetMeasuringPointGUID(), kGuid);
    EXPECT_EQ(f.GetChannelID().GetDWORD(), kMeanChannel);
    EXPECT_EQ(f.GetMeasurementValueType(), MVT_MEAN);
    EXPECT_EQ(f.m_Header.VersionRevision, 4u);
    EXPECT_EQ(f.m_Header.FormatVersion, 0);
    // A write cycle then makes the file.
    ASSERT_EQ(f.Open(), TNE_OK);
    AddMean(f, FORMAT_FLOAT, 0, 10, 10);
    ASSERT_EQ(f.Close(), TNE_OK);
    EXPECT_EQ(Disk(), FileHeader(kGuid, kMeanChannel, 1, "Prog", 1, 2, 3, 4) +
                          MeanBlock(FORMAT_FLOAT, 20, 10, kBase, kBase + 10));
}

TEST_F(SamplesFileTest, InitWithExpectationsComparesGuidAndChannel) {
    m_dir.WriteFile("03010001.Sam",
                    FileHeader(kGuid, kMeanChannel, 1) + MeanBlock(FORMAT_FLOAT, 20, 10, kBase, kBase + 10));
    TestSamplesFile same;
    EXPECT_EQ(same.Init(Base().c_str(), kGuid, SChannelID(kMeanChannel), "", 0, 0, 0, 0), TNE_OK);
    EXPECT_EQ(same.Count(), 1u);
    TestSamplesFile otherGuid;
    EXPECT_EQ(otherGuid.Init(Base().c_str(), kOtherGuid, SChannelID(kMeanChannel), "", 0, 0, 0, 0), TNE_NO_OBJECT);
    TestSamplesFile otherChannel;
    EXPECT_EQ(otherChannel.Init(Base().c_str(), kGuid, SChannelID(0x04010001), "", 0, 0, 0, 0), TNE_NO_OBJECT);
    // A read failure comes first.
    m_dir.WriteFile("03010001.Sam", FileHeader(kGuid, kMeanChannel, 7));
    TestSamplesFile tooNew;
    EXPECT_EQ(tooNew.Init(Base().c_str(), kGuid, SChannelID(kMeanChannel), "", 0, 0, 0, 0), TNE_FILE_NOT_PARSED);
}

TEST_F(SamplesFileTest, InitOfAMissingFileThrowsTheFileExceptionOfTheLastError) {
    CTNFakeClock clock(0);
    CTNScopedClock scope(&clock);
    TestSamplesFile f;
    try {
        f.Init(Base().c_str());
        FAIL() << "nothing thrown";
    } catch (const CFileException& e) {
        EXPECT_EQ(e.m_lOsError, ENOENT);
        EXPECT_EQ(e.m_cause, CFileException::fileNotFound);
        EXPECT_EQ(e.m_strFileName, Sam());
    }
    EXPECT_EQ(clock.GetSleeps().size(), 240u);  // the whole retry loop ran first
}

TEST_F(SamplesFileTest, InitThatTimesOutWithoutAnErrorThrowsForCode110) {
    // Held exclusively by another open file: a lock conflict records no error
    // of its own, so the time-out's 110 is what the exception carries.
    m_dir.WriteFile("03010001.Sam", FileHeader(kGuid, kMeanChannel, 1));
    CTNFakeClock clock(0);
    CTNScopedClock scope(&clock);
    TestSamplesFile writer;
    writer.m_strBasePath = Base();
    ASSERT_EQ(writer.Open(), TNE_OK);
    TNSetLastError(0);
    TestSamplesFile reader;
    try {
        reader.Init(Base().c_str());
        FAIL() << "nothing thrown";
    } catch (const CFileException& e) {
        EXPECT_EQ(e.m_lOsError, 110);
    }
    ASSERT_EQ(writer.Close(), TNE_OK);
}

TEST_F(SamplesFileTest, OpenWhileOpenAndCloseWhileClosedFail) {
    TestSamplesFile f;
    EXPECT_EQ(f.Close(), TNE_FAILED);
    ASSERT_EQ(CreateFile(f), TNE_OK);
    EXPECT_EQ(f.Open(), TNE_FAILED);
    ASSERT_EQ(f.Close(), TNE_OK);
    EXPECT_EQ(f.Close(), TNE_FAILED);
}

TEST_F(SamplesFileTest, OpenThatCannotOpenThrowsTarnovelleException) {
    CTNFakeClock clock(0);
    CTNScopedClock scope(&clock);
    TestSamplesFile f;
    const std::string base = m_dir / "missing/03010001";
    ASSERT_EQ(f.Init(base.c_str(), kGuid, SChannelID(kMeanChannel), "", 0, 0, 0, 0), TNE_OK);
    try {
        f.Open();
        FAIL() << "nothing thrown";
    } catch (const CTarnovelleException& e) {
        EXPECT_EQ(e.GetMessage(), "Exception: file = '" + base + ".Sam'\naction = CTarnovelleChannelSamplesFile::Open");
    }
    EXPECT_EQ(f.m_pFile, nullptr);
    const std::vector<std::string> thrown = m_log.Entries("CTarnovelleException");
    ASSERT_FALSE(thrown.empty());
    EXPECT_EQ(thrown.back(), "Exception: file = '" + base + ".Sam'\naction = CTarnovelleChannelSamplesFile::Open");
}

TEST_F(SamplesFileTest, CreateReplacesAnExistingFile) {
    m_dir.WriteFile("03010001.Sam",
                    FileHeader(kOtherGuid, kMeanChannel, 1) + MeanBlock(FORMAT_FLOAT, 20, 10, kBase, kBase + 10));
    TestSamplesFile f;
    ASSERT_EQ(f.Init(Base().c_str()), TNE_OK);
    ASSERT_EQ(f.Count(), 1u);
    ASSERT_EQ(CreateFile(f), TNE_OK);
    EXPECT_EQ(f.Count(), 0u);
    EXPECT_EQ(Disk().size(), 0u);
    ASSERT_EQ(f.Close(), TNE_OK);
    EXPECT_EQ(Disk(), FileHeader(kGuid, kMeanChannel, 1));
}

TEST_F(SamplesFileTest, CreateRemovesThePathAsGivenPlusSam) {
    // The existence test looks at "<base>.Sam" but the removal at the given
    // path with ".Sam" added: with an extension in the path that is another
    // name, and the failed removal comes out as the file service's exception.
    const std::string original = FileHeader(kGuid, kMeanChannel, 1);
    m_dir.WriteFile("03010001.Sam", original);
    TestSamplesFile f;
    EXPECT_THROW(f.Create(Sam().c_str(), kGuid, SChannelID(kMeanChannel), "", 0, 0, 0, 0), CFileException);
    EXPECT_EQ(f.m_pFile, nullptr);
    EXPECT_EQ(Disk(), original);
}

TEST_F(SamplesFileTest, CreateWhileHeldByAnotherWriterCannotRemove) {
    m_dir.WriteFile("03010001.Sam", FileHeader(kGuid, kMeanChannel, 1));
    TestSamplesFile writer;
    writer.m_strBasePath = Base();
    ASSERT_EQ(writer.Open(), TNE_OK);
    TestSamplesFile f;
    EXPECT_THROW(CreateFile(f), CFileException);
    ASSERT_EQ(writer.Close(), TNE_OK);
}

TEST_F(SamplesFileTest, FailedWriteInCloseLetsTheFileGoAndKeepsTheList) {
    // The samples file is a link to a device that refuses every write.
    ASSERT_EQ(0, std::system(("ln -s /dev/full '" + Sam() + "'").c_str()));
    TestSamplesFile f;
    f.m_strBasePath = Base();
    f.m_Header.ChannelID = SChannelID(kMeanChannel);
    ASSERT_EQ(f.Open(), TNE_OK);
    AddMean(f, FORMAT_FLOAT, 0, 10, 10);
    try {
        f.Close();
        FAIL() << "nothing thrown";
    } catch (const CTarnovelleException& e) {
        EXPECT_NE(e.GetMessage().find("action = Write failed"), std::string::npos) << e.GetMessage();
    }
    EXPECT_EQ(f.m_pFile, nullptr);
    ASSERT_EQ(f.Count(), 1u);
    EXPECT_EQ(f.MeanAt(0).m_Header.GetElementCount(), 10u);
    EXPECT_EQ(f.m_nFirstDirty, 0);
    EXPECT_EQ(f.Close(), TNE_FAILED);
}

TEST_F(SamplesFileTest, RefreshReadsTheFileAgain) {
    TestSamplesFile writer;
    ASSERT_EQ(CreateFile(writer), TNE_OK);
    AddMean(writer, FORMAT_FLOAT, 0, 10, 10);
    ASSERT_EQ(writer.Close(), TNE_OK);
    TestSamplesFile reader;
    ASSERT_EQ(reader.Init(Base().c_str()), TNE_OK);
    ASSERT_EQ(reader.Count(), 1u);
    ASSERT_EQ(writer.Open(), TNE_OK);
    AddMean(writer, FORMAT_FLOAT, 20, 30, 10);
    ASSERT_EQ(writer.Close(), TNE_OK);
    EXPECT_EQ(reader.Count(), 1u);  // a snapshot until refreshed
    reader.Refresh();
    EXPECT_EQ(reader.Count(), 2u);
    EXPECT_EQ(reader.m_pFile, nullptr);
}

TEST_F(SamplesFileTest, RefreshOfAFileThatCannotBeOpenedChangesNothing) {
    m_dir.WriteFile("03010001.Sam",
                    FileHeader(kGuid, kMeanChannel, 1) + MeanBlock(FORMAT_FLOAT, 20, 10, kBase, kBase + 10));
    TestSamplesFile f;
    ASSERT_EQ(f.Init(Base().c_str()), TNE_OK);
    std::remove(Sam().c_str());
    CTNFakeClock clock(0);
    CTNScopedClock scope(&clock);
    f.Refresh();
    EXPECT_EQ(f.Count(), 1u);
    EXPECT_EQ(f.m_Positions, (std::vector<uint32_t>{80, 105}));
}

TEST_F(SamplesFileTest, DestructorLetsAHeldFileGoWithoutWriting) {
    {
        TestSamplesFile f;
        ASSERT_EQ(CreateFile(f), TNE_OK);
        AddMean(f, FORMAT_FLOAT, 0, 10, 10);
    }
    EXPECT_EQ(Disk().size(), 0u);
    TestSamplesFile again;  // and nobody waits for it any more
    again.m_strBasePath = Base();
    again.m_Header.ChannelID = SChannelID(kMeanChannel);
    CTNFakeClock clock(0);
    CTNScopedClock scope(&clock);
    EXPECT_EQ(again.Open(), TNE_OK);
    EXPECT_TRUE(clock.GetSleeps().empty());
    ASSERT_EQ(again.Close(), TNE_OK);
}

// ---- between processes ----

TEST_F(SamplesFileTest, WriteCycleKilledBeforeCloseAfterCreateLeavesAnEmptyFile) {
    TNChildProcess child([&](TNChildProcess& self) {
        TestSamplesFile f;
        if (CreateFile(f) != TNE_OK) return 1;
        if (f.SelectLastOrCreateNewFloatDigitSample(FORMAT_FLOAT, T(0), T(10), 0.f, 0.f) != TNE_OK) return 2;
        f.IncreaseSampleDataCount(10);
        self.SignalParent();
        self.WaitForParent();
        return 0;
    });
    ASSERT_TRUE(child.WaitForChild());
    child.Kill();
    EXPECT_TRUE(TNTestDir::Exists(Sam()));
    EXPECT_EQ(Disk(), "");
}

TEST_F(SamplesFileTest, WriteCycleKilledBeforeCloseLeavesTheFileAsItWas) {
    {
        TestSamplesFile f;
        ASSERT_EQ(CreateFile(f), TNE_OK);
        AddMean(f, FORMAT_FLOAT, 0, 10, 10);
        ASSERT_EQ(f.Close(), TNE_OK);
    }
    const std::string before = Disk();
    TNChildProcess child([&](TNChildProcess& self) {
        TestSamplesFile f;
        if (f.Init(Base().c_str()) != TNE_OK || f.Open() != TNE_OK) return 1;
        f.SelectLastOrCreateNewFloatDigitSample(FORMAT_FLOAT, T(10), T(20), 0.f, 0.f);  // extends
        f.IncreaseSampleDataCount(10);
        f.SelectLastOrCreateNewFloatDigitSample(FORMAT_FLOAT, T(50), T(60), 0.f, 0.f);  // new block
        f.IncreaseSampleDataCount(10);
        self.SignalParent();
        self.WaitForParent();
        return 0;
    });
    ASSERT_TRUE(child.WaitForChild());
    child.Kill();
    EXPECT_EQ(Disk(), before);
    TestSamplesFile f;
    ASSERT_EQ(f.Init(Base().c_str()), TNE_OK);
    EXPECT_EQ(f.Count(), 1u);
}

TEST_F(SamplesFileTest, ReaderInitDuringAnotherProcesssWriteCycleWaitsAndSeesTheNewState) {
    {
        TestSamplesFile f;
        ASSERT_EQ(CreateFile(f), TNE_OK);
        AddMean(f, FORMAT_FLOAT, 0, 10, 10);
        ASSERT_EQ(f.Close(), TNE_OK);
    }
    TNChildProcess writer([&](TNChildProcess& self) {
        TestSamplesFile f;
        if (f.Init(Base().c_str()) != TNE_OK || f.Open() != TNE_OK) return 1;
        self.SignalParent();
        std::this_thread::sleep_for(std::chrono::milliseconds(700));
        f.SelectLastOrCreateNewFloatDigitSample(FORMAT_FLOAT, T(50), T(60), 0.f, 0.f);
        f.IncreaseSampleDataCount(10);
        return f.Close() == TNE_OK ? 0 : 2;
    });
    ASSERT_TRUE(writer.WaitForChild());
    TNRecordingClock clock;
    CTNScopedClock scope(&clock);
    TestSamplesFile reader;
    ASSERT_EQ(reader.Init(Base().c_str()), TNE_OK);
    EXPECT_FALSE(clock.sleeps.empty());  // it had to wait
    EXPECT_EQ(reader.Count(), 2u);
    EXPECT_EQ(writer.Join(), 0);
}

TEST_F(SamplesFileTest, SecondWriterWaitsForTheFirstWriteCycle) {
    {
        TestSamplesFile f;
        ASSERT_EQ(CreateFile(f), TNE_OK);
        ASSERT_EQ(f.Close(), TNE_OK);
    }
    TNChildProcess first([&](TNChildProcess& self) {
        TestSamplesFile f;
        f.Init(Base().c_str());
        if (f.Open() != TNE_OK) return 1;
        self.SignalParent();
        std::this_thread::sleep_for(std::chrono::milliseconds(700));
        f.SelectLastOrCreateNewFloatDigitSample(FORMAT_FLOAT, T(0), T(10), 0.f, 0.f);
        f.IncreaseSampleDataCount(10);
        return f.Close() == TNE_OK ? 0 : 2;
    });
    ASSERT_TRUE(first.WaitForChild());
    TNRecordingClock clock;
    CTNScopedClock scope(&clock);
    TestSamplesFile second;
    second.m_strBasePath = Base();
    ASSERT_EQ(second.Open(), TNE_OK);
    EXPECT_FALSE(clock.sleeps.empty());
    EXPECT_EQ(second.Count(), 1u);  // reads what the first one wrote
    AddMean(second, FORMAT_FLOAT, 10, 20, 10);
    ASSERT_EQ(second.Close(), TNE_OK);
    EXPECT_EQ(first.Join(), 0);
    EXPECT_EQ(Disk(), FileHeader(kGuid, kMeanChannel, 1) + MeanBlock(FORMAT_FLOAT, 20, 20, kBase, kBase + 20));
}
