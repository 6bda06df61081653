// Sample blocks against a real channel in a temporary directory: saving every
// format, reading whole blocks, index ranges and time ranges back.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "tarnovelle/storage/CTarnovelleChannel.h"
#include "tarnovelle/storage/CTarnovelleSample.h"
#include "tarnovelle/support/CFileException.h"
#include "tarnovelle/support/CTNFakeClock.h"
#include "tests/support/TNTestDir.h"

namespace {

constexpr EFormatId kNoFormat = CTarnovelleChannel::kNoFormat;
const GUID kPoint = {0x0A1B2C3D, 0x1111, 0x2222, {1, 2, 3, 4, 5, 6, 7, 8}};
const SChannelID kMeanChannel(CT_VOLTAGE, PH_L1, MVT_MEAN);
const SChannelID kEventChannel(CT_VOLTAGE, PH_L1, MVT_MEAN_EVENT);
const SChannelID kBinaryChannel(CT_VOLTAGE, PH_L1, MVT_BINARY);

// Seconds from 2000-01-01 00:00:00 on; below 60, as the calendar folds beyond.
CTNUTCTimeStamp At(uint32_t second, uint32_t millisecond = 0) {
    return CTNUTCTimeStamp::CreateUTCTimeStamp(2000, 1, 1, 0, 0, second, millisecond);
}

std::vector<float> Ramp(uint32_t count, float base = 0.0f) {
    std::vector<float> values(count);
    for (uint32_t i = 0; i < count; ++i)
        values[i] = base + static_cast<float>(i);
    return values;
}

// A channel of one measuring point in a fresh part-archive folder.
class SampleChannelTest : public ::testing::Test {
protected:
    // Makes the channel's files and leaves the write cycle open.
    void Create(const SChannelID& id) {
        m_id = id;
        m_writer = std::make_unique<CTarnovelleChannel>();
        ASSERT_EQ(m_writer->Create(m_dir.Path(), kPoint, id, "test", 1, 0, 0, 0), TNE_OK);
    }
    void CloseWriter() { ASSERT_EQ(m_writer->Close(), TNE_OK); }
    // A second object that finds the channel on disk, as a reader does.
    CTarnovelleChannel& Reader() {
        m_reader = std::make_unique<CTarnovelleChannel>();
        EXPECT_EQ(m_reader->Init(m_dir.Path(), kPoint, m_id, "test", 1, 0, 0, 0), TNE_OK);
        return *m_reader;
    }
    void SaveFloats(uint32_t startSecond, uint32_t count, float base = 0.0f) {
        const std::vector<float> values = Ramp(count, base);
        CTarnovelleSample sample(At(startSecond), At(startSecond + count), count, values.data());
        ASSERT_EQ(sample.Save(*m_writer), TNE_OK);
    }
    void SaveEvents(const std::vector<uint32_t>& seconds) {
        std::vector<SEvent> events;
        for (uint32_t s : seconds)
            events.emplace_back(At(s), static_cast<float>(s), static_cast<float>(s) * 10.0f);
        CTarnovelleSample sample(At(seconds.front()), At(seconds.back()), static_cast<uint32_t>(events.size()),
                                 events.data());
        ASSERT_EQ(sample.Save(*m_writer), TNE_OK);
    }
    std::string SamPath() const {
        char name[16];
        std::snprintf(name, sizeof(name), "%08x", m_id.GetDWORD());
        return m_writer->GetMeasuringPointPath() + "/" + name + ".Sam";
    }
    std::string DatPath() const { return SamPath().substr(0, SamPath().size() - 4) + ".Dat"; }

    TNTestDir m_dir;
    SChannelID m_id;
    std::unique_ptr<CTarnovelleChannel> m_writer;
    std::unique_ptr<CTarnovelleChannel> m_reader;
};

std::vector<float> FloatsOf(const CTarnovelleSample& sample) {
    const float* values = sample.GetFLOATArray();
    return values ? std::vector<float>(values, values + sample.GetNrOfValues()) : std::vector<float>();
}

std::vector<uint32_t> EventSecondsOf(const CTarnovelleSample& sample) {
    std::vector<uint32_t> seconds;
    for (uint32_t i = 0; i < sample.GetNrOfValues(); ++i)
        seconds.push_back(sample.GetEvent(i).GetTime() - At(0).GetSecondsSince1970());
    return seconds;
}

}  // namespace

// ---------------------------------------------------------------- whole blocks

TEST_F(SampleChannelTest, FloatBlockRoundTripsWhole) {
    Create(kMeanChannel);
    SaveFloats(0, 10, 100.0f);
    CloseWriter();
    CTarnovelleSample sample;
    ASSERT_EQ(sample.Init(Reader(), 0), TNE_OK);
    EXPECT_EQ(sample.GetFormatID(), FORMAT_FLOAT);
    EXPECT_EQ(sample.GetStartTime(), At(0));
    EXPECT_EQ(sample.GetEndTime(), At(10));
    EXPECT_EQ(FloatsOf(sample), Ramp(10, 100.0f));
    EXPECT_EQ(sample.GetSizeInBytes(), 10 * 4 + 25);
}

TEST_F(SampleChannelTest, SavedFloatsLieInTheDataFileBehindItsHeader) {
    Create(kMeanChannel);
    SaveFloats(0, 3, 1.0f);
    CloseWriter();
    const std::string bytes = TNTestDir::ReadFile(DatPath());
    ASSERT_EQ(bytes.size(), 20u + 12u);
    const float expected[3] = {1.0f, 2.0f, 3.0f};
    EXPECT_EQ(std::memcmp(bytes.data() + 20, expected, sizeof(expected)), 0);
}

TEST_F(SampleChannelTest, EventBlockRoundTripsWithMilliseconds) {
    Create(kEventChannel);
    std::vector<SEvent> events = {SEvent(At(1, 250), 1.0f, 2.0f), SEvent(At(2, 750), 2.0f, 3.0f)};
    CTarnovelleSample saved(At(1, 250), At(2, 750), 2, events.data());
    ASSERT_EQ(saved.Save(*m_writer), TNE_OK);
    CloseWriter();
    CTarnovelleSample sample;
    ASSERT_EQ(sample.Init(Reader(), 0), TNE_OK);
    EXPECT_EQ(sample.GetFormatID(), FORMAT_EVENT);
    EXPECT_EQ(sample.GetStartTime(), At(1, 250));
    EXPECT_EQ(sample.GetEndTime(), At(2, 750));
    ASSERT_EQ(sample.GetNrOfValues(), 2u);
    EXPECT_EQ(std::memcmp(sample.GetSEventArray(), events.data(), 2 * sizeof(SEvent)), 0);
}

namespace {

// Writes one block of records of `format` directly, reads it back through a
// sample, saves that sample into a second channel and reads it once more.
template <typename T>
void RoundTripRecords(const std::string& root, EFormatId format, const std::vector<T>& records,
                      int32_t expectedSize) {
    const SChannelID first(CT_VOLTAGE, PH_L1, MVT_BINARY);
    const SChannelID second(CT_VOLTAGE, PH_L2, MVT_BINARY);
    const CTNUTCTimeStamp start = records.front().GetTimeStamp();
    const CTNUTCTimeStamp end = records.back().GetTimeStamp();
    {
        CTarnovelleChannel channel;
        ASSERT_EQ(channel.Create(root, kPoint, first, "a", 1, 0, 0, 0), TNE_OK);
        ASSERT_EQ(channel.WriteBeginSampleBinary(format, start, end), TNE_OK);
        ASSERT_EQ(channel.WriteSampleData(records.data(), static_cast<uint32_t>(records.size())), TNE_OK);
        ASSERT_EQ(channel.Close(), TNE_OK);
    }
    CTarnovelleSample loaded;
    {
        CTarnovelleChannel channel;
        ASSERT_EQ(channel.Init(root, kPoint, first, "a", 1, 0, 0, 0), TNE_OK);
        ASSERT_EQ(loaded.Init(channel, 0), TNE_OK);
    }
    EXPECT_EQ(loaded.GetFormatID(), format);
    EXPECT_EQ(loaded.GetSizeInBytes(), expectedSize);
    std::vector<T> out(records.size());
    ASSERT_EQ(loaded.GetArray(out.data(), static_cast<uint32_t>(out.size())), TNE_OK);
    EXPECT_EQ(std::memcmp(out.data(), records.data(), records.size() * sizeof(T)), 0);
    // A copy and an assigned sample hold the values too, in arrays of their own.
    const CTarnovelleSample copied(loaded);
    CTarnovelleSample assigned;
    assigned = loaded;
    for (const CTarnovelleSample* other : {&copied, static_cast<const CTarnovelleSample*>(&assigned)}) {
        EXPECT_EQ(other->GetFormatID(), format);
        EXPECT_EQ(other->GetStartTime(), loaded.GetStartTime());
        EXPECT_EQ(other->GetEndTime(), loaded.GetEndTime());
        std::vector<T> again(records.size());
        ASSERT_EQ(other->GetArray(again.data(), static_cast<uint32_t>(again.size())), TNE_OK);
        EXPECT_EQ(std::memcmp(again.data(), records.data(), records.size() * sizeof(T)), 0);
        EXPECT_NE(static_cast<const void*>(other->GetFLOATArray()), static_cast<const void*>(loaded.GetFLOATArray()));
    }
    {
        CTarnovelleChannel channel;
        ASSERT_EQ(channel.Create(root, kPoint, second, "b", 1, 0, 0, 0), TNE_OK);
        ASSERT_EQ(loaded.Save(channel), TNE_OK);
        ASSERT_EQ(channel.Close(), TNE_OK);
    }
    CTarnovelleChannel channel;
    ASSERT_EQ(channel.Init(root, kPoint, second, "b", 1, 0, 0, 0), TNE_OK);
    ASSERT_EQ(channel.GetBlockCount(), 1);
    EXPECT_EQ(channel.GetFormatId(0), format);
    CTarnovelleSample again;
    ASSERT_EQ(again.Init(channel, 0), TNE_OK);
    EXPECT_EQ(again.GetStartTime(), start);
    EXPECT_EQ(again.GetEndTime(), end);
    ASSERT_EQ(again.GetArray(out.data(), static_cast<uint32_t>(out.size())), TNE_OK);
    EXPECT_EQ(std::memcmp(out.data(), records.data(), records.size() * sizeof(T)), 0);
}

}  // namespace

TEST(SampleChannelRoundTrip, BinaryBytesRoundTrip) {
    TNTestDir dir;
    RoundTripRecords<SBinary_BYTE>(dir.Path(), FORMAT_BINARY_BYTE,
                                   {SBinary_BYTE(At(1), 0x01), SBinary_BYTE(At(2, 5), 0xFE)}, 2 * 7 + 21);
}

TEST(SampleChannelRoundTrip, BinaryWordsRoundTrip) {
    TNTestDir dir;
    RoundTripRecords<SBinary_WORD>(dir.Path(), FORMAT_BINARY_WORD,
                                   {SBinary_WORD(At(1), 0x1234), SBinary_WORD(At(3), 0xFFFF)}, 2 * 8 + 21);
}

TEST(SampleChannelRoundTrip, BinaryDoubleWordsRoundTrip) {
    TNTestDir dir;
    RoundTripRecords<SBinary_DWORD>(dir.Path(), FORMAT_BINARY_DWORD,
                                    {SBinary_DWORD(At(1), 0x12345678u), SBinary_DWORD(At(9, 999), 7u)}, 2 * 10 + 21);
}

TEST(SampleChannelRoundTrip, TextsRoundTripAndOneTextTakes277Bytes) {
    TNTestDir dir;
    RoundTripRecords<SBinary_Text>(dir.Path(), FORMAT_MESSAGE, {SBinary_Text(At(4), "Archiv gestartet")}, 277);
}

TEST(SampleChannelRoundTrip, EventsRoundTrip) {
    TNTestDir dir;
    RoundTripRecords<SEvent>(dir.Path(), FORMAT_EVENT, {SEvent(At(1), 1.0f, 2.0f), SEvent(At(2), 2.0f, -3.0f)},
                             2 * 14 + 21);
}

TEST_F(SampleChannelTest, DigitBlockIsLoadedAsFloats) {
    Create(kMeanChannel);
    const unsigned short digits[3] = {3, 0xFFFF, 0x8000};
    ASSERT_EQ(m_writer->WriteBeginSampleDigit(At(0), At(3), 1.0f, 2.0f, 3), TNE_OK);
    ASSERT_EQ(m_writer->WriteSampleData(digits, 3), TNE_OK);
    CloseWriter();
    CTarnovelleSample sample;
    ASSERT_EQ(sample.Init(Reader(), 0), TNE_OK);
    EXPECT_EQ(sample.GetFormatID(), FORMAT_FLOAT);
    ASSERT_EQ(sample.GetNrOfValues(), 3u);
    EXPECT_EQ(sample.GetFLOATArray()[0], 7.0f);   // 3 * 2 + 1
    EXPECT_EQ(sample.GetFLOATArray()[1], -1.0f);  // -1 * 2 + 1
    uint32_t bits = 0;
    std::memcpy(&bits, &sample.GetFLOATArray()[2], 4);
    EXPECT_EQ(bits, 0x7ff00000u);
    EXPECT_EQ(sample.GetSizeInBytes(), 3 * 4 + 25);
}

TEST_F(SampleChannelTest, DigitBlockCroppedByIndexesOrTimeIsLoadedAsFloats) {
    Create(kMeanChannel);
    const unsigned short digits[4] = {1, 2, 3, 4};
    ASSERT_EQ(m_writer->WriteBeginSampleDigit(At(0), At(4), 0.0f, 1.0f, 4), TNE_OK);
    ASSERT_EQ(m_writer->WriteSampleData(digits, 4), TNE_OK);
    CloseWriter();
    CTarnovelleChannel& channel = Reader();
    CTarnovelleSample byIndex;
    ASSERT_EQ(byIndex.Init(channel, 0, 1, 3), TNE_OK);
    EXPECT_EQ(byIndex.GetFormatID(), FORMAT_FLOAT);
    EXPECT_EQ(FloatsOf(byIndex), (std::vector<float>{2.0f, 3.0f}));
    EXPECT_EQ(byIndex.GetStartTime(), At(1));
    EXPECT_EQ(byIndex.GetEndTime(), At(3));
    CTarnovelleSample byTime;
    ASSERT_EQ(byTime.Init(channel, 0, At(2), At(4), false), TNE_OK);
    EXPECT_EQ(byTime.GetFormatID(), FORMAT_FLOAT);
    EXPECT_EQ(FloatsOf(byTime), (std::vector<float>{3.0f, 4.0f}));
}

TEST_F(SampleChannelTest, SavingADigitMarkedSampleWritesNothing) {
    Create(kMeanChannel);
    const unsigned short digits[2] = {1, 2};
    ASSERT_EQ(m_writer->WriteBeginSampleDigit(At(0), At(2), 0.0f, 1.0f, 2), TNE_OK);
    ASSERT_EQ(m_writer->WriteSampleData(digits, 2), TNE_OK);
    // An empty index range keeps the format as on disk: the digit mark.
    CTarnovelleSample digitMarked;
    ASSERT_EQ(digitMarked.Init(*m_writer, 0, 1, 1), TNE_OK);
    ASSERT_EQ(digitMarked.GetFormatID(), FORMAT_DIGIT);
    EXPECT_EQ(digitMarked.GetSizeInBytes(), 0);
    const uint32_t before = m_writer->GetNrOfValues(0);
    EXPECT_EQ(digitMarked.Save(*m_writer), TNE_OK);
    EXPECT_EQ(m_writer->GetBlockCount(), 1);
    EXPECT_EQ(m_writer->GetNrOfValues(0), before);
}

TEST_F(SampleChannelTest, WholeEmptyBlockEndsAtItsStartWhateverTheHeaderSays) {
    Create(kMeanChannel);
    ASSERT_EQ(m_writer->WriteBeginSampleFloat(At(5), At(60), 0), TNE_OK);
    CloseWriter();
    CTarnovelleChannel& channel = Reader();
    ASSERT_EQ(channel.GetEndTime(0), At(60));
    CTarnovelleSample sample;
    ASSERT_EQ(sample.Init(channel, 0), TNE_OK);
    EXPECT_EQ(sample.GetNrOfValues(), 0u);
    EXPECT_EQ(sample.GetFLOATArray(), nullptr);
    EXPECT_EQ(sample.GetStartTime(), At(5));
    EXPECT_EQ(sample.GetEndTime(), At(5));
    EXPECT_EQ(sample.GetFormatID(), FORMAT_FLOAT);
}

TEST_F(SampleChannelTest, LoadingABlockIndexBehindTheLastGivesNoFormatAndFailsTheArrayRead) {
    Create(kMeanChannel);
    SaveFloats(0, 2);
    CloseWriter();
    CTarnovelleChannel& channel = Reader();
    CTarnovelleSample sample;
    // The block "behind the last" has no values and no times.
    EXPECT_EQ(sample.Init(channel, 1), TNE_OK);
    EXPECT_EQ(sample.GetFormatID(), kNoFormat);
    EXPECT_TRUE(sample.GetStartTime().IsInvalidTS());
    EXPECT_EQ(sample.Init(channel, 1, 0, 2), TNE_OK);
    EXPECT_EQ(sample.GetNrOfValues(), 0u);
    EXPECT_EQ(sample.Init(channel, 1, At(0), At(2), true), TNE_OK);
    EXPECT_EQ(sample.GetNrOfValues(), 0u);
}

TEST_F(SampleChannelTest, ALoadReplacesTheEarlierContents) {
    Create(kEventChannel);
    SaveEvents({1, 2, 3});
    CloseWriter();
    CTarnovelleSample sample = CTarnovelleSample(At(0), At(100), 100, Ramp(100).data());
    ASSERT_EQ(sample.Init(Reader(), 0), TNE_OK);
    EXPECT_EQ(sample.GetFormatID(), FORMAT_EVENT);
    EXPECT_EQ(EventSecondsOf(sample), (std::vector<uint32_t>{1, 2, 3}));
}

// ---------------------------------------------------------------- index ranges

TEST_F(SampleChannelTest, IndexRangeWithFirstEqualToLastKeepsTheValuesASampleHeldBefore) {
    Create(kMeanChannel);
    SaveFloats(10, 5);
    CloseWriter();
    const std::vector<float> seven = Ramp(7);
    CTarnovelleSample sample(At(0), At(7), 7, seven.data());
    ASSERT_EQ(sample.Init(Reader(), 0, 2, 2), TNE_OK);
    EXPECT_EQ(sample.GetNrOfValues(), 7u);
    std::vector<float> out(7);
    ASSERT_EQ(sample.GetArray(out.data(), 7), TNE_OK);
    EXPECT_EQ(out, seven);
    EXPECT_EQ(sample.GetStartTime(), At(10));
    EXPECT_EQ(sample.GetEndTime(), At(10));
}

TEST_F(SampleChannelTest, IndexRangeWithFirstEqualToLastGivesNoValuesAndTheBlockStart) {
    Create(kMeanChannel);
    SaveFloats(10, 5);
    CloseWriter();
    CTarnovelleSample sample;
    ASSERT_EQ(sample.Init(Reader(), 0, 2, 2), TNE_OK);
    EXPECT_EQ(sample.GetNrOfValues(), 0u);
    EXPECT_EQ(sample.GetFLOATArray(), nullptr);
    EXPECT_EQ(sample.GetStartTime(), At(10));
    EXPECT_EQ(sample.GetEndTime(), At(10));
    EXPECT_EQ(sample.GetFormatID(), FORMAT_FLOAT);
}

TEST_F(SampleChannelTest, IndexRangeOfFloatsTakesItsTimesFromTheBlockInterval) {
    Create(kMeanChannel);
    SaveFloats(0, 10, 50.0f);  // 0 s .. 10 s, one value a second
    CloseWriter();
    CTarnovelleChannel& channel = Reader();
    for (uint32_t first = 0; first < 10; ++first) {
        for (uint32_t last = first + 1; last <= 10; ++last) {
            CTarnovelleSample sample;
            ASSERT_EQ(sample.Init(channel, 0, first, last), TNE_OK) << first << ".." << last;
            const std::vector<float> all = Ramp(10, 50.0f);
            EXPECT_EQ(FloatsOf(sample), std::vector<float>(all.begin() + first, all.begin() + last));
            EXPECT_EQ(sample.GetStartTime(), At(first));
            EXPECT_EQ(sample.GetEndTime(), At(last));
        }
    }
}

TEST_F(SampleChannelTest, IndexRangeBeyondTheValuesKeepsTheGivenLastForTheEndTime) {
    Create(kMeanChannel);
    SaveFloats(0, 4);
    CloseWriter();
    CTarnovelleSample sample;
    ASSERT_EQ(sample.Init(Reader(), 0, 0, 9), TNE_OK);
    EXPECT_EQ(sample.GetNrOfValues(), 4u);
    EXPECT_EQ(sample.GetEndTime(), At(9));
}

TEST_F(SampleChannelTest, IndexRangeStartingBehindTheValuesFailsWithoutReadingPastThem) {
    Create(kMeanChannel);
    SaveFloats(0, 4);
    CloseWriter();
    CTarnovelleSample sample;
    EXPECT_EQ(sample.Init(Reader(), 0, 6, 9), TNE_FAILED);
    EXPECT_EQ(sample.GetNrOfValues(), 0u);
    EXPECT_EQ(sample.GetFLOATArray(), nullptr);
}

TEST_F(SampleChannelTest, IndexRangeOfRecordsTakesTheTimesOfItsFirstAndLastRecord) {
    Create(kEventChannel);
    SaveEvents({1, 4, 6, 8});
    CloseWriter();
    CTarnovelleSample sample;
    ASSERT_EQ(sample.Init(Reader(), 0, 1, 3), TNE_OK);
    EXPECT_EQ(EventSecondsOf(sample), (std::vector<uint32_t>{4, 6}));
    EXPECT_EQ(sample.GetStartTime(), At(4));
    EXPECT_EQ(sample.GetEndTime(), At(6));
}

// ---------------------------------------------------------------- time ranges, floats

class TenValueBlockTest : public SampleChannelTest {
protected:
    void SetUp() override {
        Create(kMeanChannel);
        SaveFloats(0, 10);  // values 0..9, value i from i s to i+1 s
        CloseWriter();
    }
};

TEST_F(TenValueBlockTest, FromInsideAValueLeavesThatValueOutWithoutIncludePrevious) {
    CTarnovelleSample sample;
    ASSERT_EQ(sample.Init(Reader(), 0, At(2, 500), At(7, 500), false), TNE_OK);
    EXPECT_EQ(sample.GetStartTime(), At(3));
    EXPECT_EQ(sample.GetEndTime(), At(8));
    EXPECT_EQ(FloatsOf(sample), (std::vector<float>{3, 4, 5, 6, 7}));
}

TEST_F(TenValueBlockTest, FromInsideAValueKeepsThatValueWithIncludePrevious) {
    CTarnovelleSample sample;
    ASSERT_EQ(sample.Init(Reader(), 0, At(2, 500), At(7, 500), true), TNE_OK);
    EXPECT_EQ(sample.GetStartTime(), At(2));
    EXPECT_EQ(sample.GetEndTime(), At(8));
    EXPECT_EQ(FloatsOf(sample), (std::vector<float>{2, 3, 4, 5, 6, 7}));
}

TEST_F(TenValueBlockTest, FromOnAValueBoundaryIsTheSameWithAndWithoutIncludePrevious) {
    for (bool includePrevious : {false, true}) {
        CTarnovelleSample sample;
        ASSERT_EQ(sample.Init(Reader(), 0, At(3), At(7, 500), includePrevious), TNE_OK);
        EXPECT_EQ(sample.GetStartTime(), At(3));
        EXPECT_EQ(FloatsOf(sample), (std::vector<float>{3, 4, 5, 6, 7}));
    }
}

TEST_F(TenValueBlockTest, FromEqualToToGivesAnEmptySample) {
    for (bool includePrevious : {false, true}) {
        CTarnovelleSample sample;
        ASSERT_EQ(sample.Init(Reader(), 0, At(4), At(4), includePrevious), TNE_OK);
        EXPECT_EQ(sample.GetNrOfValues(), 0u);
        EXPECT_EQ(sample.GetFLOATArray(), nullptr);
        EXPECT_EQ(sample.GetFormatID(), FORMAT_FLOAT);
        EXPECT_TRUE(sample.GetStartTime().IsInvalidTS());
    }
}

TEST_F(TenValueBlockTest, FromAfterToGivesAnEmptySample) {
    CTarnovelleSample sample;
    ASSERT_EQ(sample.Init(Reader(), 0, At(6), At(4), false), TNE_OK);
    EXPECT_EQ(sample.GetNrOfValues(), 0u);
}

TEST_F(TenValueBlockTest, ARangeCoveringTheBlockGivesItWhole) {
    CTarnovelleSample sample;
    ASSERT_EQ(sample.Init(Reader(), 0, CTNUTCTimeStamp::MinTS(), CTNUTCTimeStamp::MaxTS(), false), TNE_OK);
    EXPECT_EQ(FloatsOf(sample), Ramp(10));
    EXPECT_EQ(sample.GetStartTime(), At(0));
    EXPECT_EQ(sample.GetEndTime(), At(10));
}

TEST_F(TenValueBlockTest, AValueThatToCutsInTwoStaysIn) {
    CTarnovelleSample sample;
    ASSERT_EQ(sample.Init(Reader(), 0, At(0), At(2, 1), false), TNE_OK);
    EXPECT_EQ(FloatsOf(sample), (std::vector<float>{0, 1, 2}));
    EXPECT_EQ(sample.GetEndTime(), At(3));
}

TEST_F(TenValueBlockTest, ARangeInsideOneValueGivesThatValueOnlyWithIncludePrevious) {
    CTarnovelleSample without;
    ASSERT_EQ(without.Init(Reader(), 0, At(4, 200), At(4, 800), false), TNE_OK);
    EXPECT_EQ(without.GetNrOfValues(), 0u);
    EXPECT_EQ(without.GetStartTime(), At(0));  // first 5 is not below last 5: the block start
    CTarnovelleSample with;
    ASSERT_EQ(with.Init(Reader(), 0, At(4, 200), At(4, 800), true), TNE_OK);
    EXPECT_EQ(FloatsOf(with), (std::vector<float>{4}));
    EXPECT_EQ(with.GetStartTime(), At(4));
    EXPECT_EQ(with.GetEndTime(), At(5));
}

// Cropping expects a block that meets the range: with `to` before the block
// the count of intervals behind `to` exceeds the block's count, the last
// index wraps round, and the whole block comes back with a clamped end.
TEST_F(SampleChannelTest, ARangeWhollyBeforeAFloatBlockGivesTheWholeBlock) {
    Create(kMeanChannel);
    SaveFloats(20, 4);
    CloseWriter();
    CTarnovelleSample sample;
    ASSERT_EQ(sample.Init(Reader(), 0, At(1), At(5), false), TNE_OK);
    EXPECT_EQ(FloatsOf(sample), Ramp(4));
    EXPECT_EQ(sample.GetStartTime(), At(20));
    EXPECT_EQ(sample.GetEndTime(), CTNUTCTimeStamp::MaxTS());
}

// Three blocks with gaps between them, cropped at every value boundary.
TEST_F(SampleChannelTest, CroppingAtEveryBlockBoundary) {
    Create(kMeanChannel);
    const uint32_t starts[3] = {0, 20, 40};
    for (int b = 0; b < 3; ++b)
        SaveFloats(starts[b], 10, 100.0f * static_cast<float>(b));
    CloseWriter();
    CTarnovelleChannel& channel = Reader();
    ASSERT_EQ(channel.GetBlockCount(), 3);
    for (int b = 0; b < 3; ++b) {
        const std::vector<float> all = Ramp(10, 100.0f * static_cast<float>(b));
        for (uint32_t k = 0; k <= 10; ++k) {
            for (bool includePrevious : {false, true}) {
                // Cut at the front: values k..9 remain.
                CTarnovelleSample front;
                ASSERT_EQ(front.Init(channel, b, At(starts[b] + k), At(starts[b] + 10), includePrevious), TNE_OK);
                EXPECT_EQ(FloatsOf(front), std::vector<float>(all.begin() + k, all.end())) << b << " " << k;
                if (k < 10) {
                    EXPECT_EQ(front.GetStartTime(), At(starts[b] + k));
                    EXPECT_EQ(front.GetEndTime(), At(starts[b] + 10));
                }
                // Cut at the back: values 0..k-1 remain.
                CTarnovelleSample back;
                ASSERT_EQ(back.Init(channel, b, At(starts[b]), At(starts[b] + k), includePrevious), TNE_OK);
                EXPECT_EQ(FloatsOf(back), std::vector<float>(all.begin(), all.begin() + k)) << b << " " << k;
                if (k > 0) {
                    EXPECT_EQ(back.GetStartTime(), At(starts[b]));
                    EXPECT_EQ(back.GetEndTime(), At(starts[b] + k));
                }
            }
        }
        // A range from the gap before to the gap behind takes the block whole.
        CTarnovelleSample whole;
        ASSERT_EQ(whole.Init(channel, b, At(starts[b] - (b ? 5 : 0)), At(starts[b] + 15), false), TNE_OK);
        EXPECT_EQ(FloatsOf(whole), all);
    }
}

// ---------------------------------------------------------------- time ranges, records

class EventsAtOneTwoThreeTest : public SampleChannelTest {
protected:
    void SetUp() override {
        Create(kEventChannel);
        SaveEvents({1, 2, 3});
        CloseWriter();
    }
};

TEST_F(EventsAtOneTwoThreeTest, RangeFromTwoToTwoGivesTheRecordAtTwo) {
    CTarnovelleSample sample;
    ASSERT_EQ(sample.Init(Reader(), 0, At(2), At(2), false), TNE_OK);
    EXPECT_EQ(EventSecondsOf(sample), (std::vector<uint32_t>{2}));
    EXPECT_EQ(sample.GetStartTime(), At(2));
    EXPECT_EQ(sample.GetEndTime(), At(2));
}

TEST_F(EventsAtOneTwoThreeTest, RangeFromTwoToTwoWithIncludePreviousAddsTheRecordAtOne) {
    CTarnovelleSample sample;
    ASSERT_EQ(sample.Init(Reader(), 0, At(2), At(2), true), TNE_OK);
    EXPECT_EQ(EventSecondsOf(sample), (std::vector<uint32_t>{1, 2}));
    EXPECT_EQ(sample.GetStartTime(), At(1));
    EXPECT_EQ(sample.GetEndTime(), At(2));
}

TEST_F(EventsAtOneTwoThreeTest, FromEqualToToBetweenRecordsGivesTheNextRecord) {
    CTarnovelleSample sample;
    ASSERT_EQ(sample.Init(Reader(), 0, At(1, 500), At(1, 500), false), TNE_OK);
    EXPECT_EQ(EventSecondsOf(sample), (std::vector<uint32_t>{2}));
}

TEST_F(EventsAtOneTwoThreeTest, AllRecordsBeforeFromGiveNoValues) {
    for (bool includePrevious : {false, true}) {
        CTarnovelleSample sample;
        ASSERT_EQ(sample.Init(Reader(), 0, At(4), At(9), includePrevious), TNE_OK);
        EXPECT_EQ(sample.GetNrOfValues(), 0u);
        EXPECT_EQ(sample.GetSEventArray(), nullptr);
        EXPECT_EQ(sample.GetStartTime(), At(1));
        EXPECT_EQ(sample.GetEndTime(), At(1));
    }
}

TEST_F(EventsAtOneTwoThreeTest, IncludePreviousAtTheFirstRecordAddsNothing) {
    CTarnovelleSample sample;
    ASSERT_EQ(sample.Init(Reader(), 0, At(0), At(2), true), TNE_OK);
    EXPECT_EQ(EventSecondsOf(sample), (std::vector<uint32_t>{1, 2}));
}

TEST_F(SampleChannelTest, TheFirstRecordAtOrBehindFromIsTakenEvenBehindTo) {
    Create(kEventChannel);
    SaveEvents({1, 5, 9});
    CloseWriter();
    CTarnovelleSample sample;
    ASSERT_EQ(sample.Init(Reader(), 0, At(2), At(3), false), TNE_OK);
    EXPECT_EQ(EventSecondsOf(sample), (std::vector<uint32_t>{5}));
}

TEST_F(SampleChannelTest, IncludePreviousBringsNoEarlierRecordForBinaryFormats) {
    m_id = kBinaryChannel;
    {
        CTarnovelleChannel channel;
        ASSERT_EQ(channel.Create(m_dir.Path(), kPoint, m_id, "test", 1, 0, 0, 0), TNE_OK);
        const SBinary_WORD words[3] = {SBinary_WORD(At(1), 1), SBinary_WORD(At(2), 2), SBinary_WORD(At(3), 3)};
        ASSERT_EQ(channel.WriteBeginSampleBinary(FORMAT_BINARY_WORD, At(1), At(3)), TNE_OK);
        ASSERT_EQ(channel.WriteSampleData(words, 3), TNE_OK);
        ASSERT_EQ(channel.Close(), TNE_OK);
    }
    CTarnovelleSample sample;
    ASSERT_EQ(sample.Init(Reader(), 0, At(2), At(3), true), TNE_OK);
    ASSERT_EQ(sample.GetNrOfValues(), 2u);
    EXPECT_EQ(sample.GetSBinaryArrayWord()[0].GetValue(), 2);
    EXPECT_EQ(sample.GetSBinaryArrayWord()[1].GetValue(), 3);
}

// ---------------------------------------------------------------- failing loads

// A load whose value file can't be opened passes the file service's exception
// on, and the sample holds no values afterwards, in every loading form.
TEST_F(SampleChannelTest, ALoadThatThrowsLeavesNoValuesInEveryForm) {
    Create(kEventChannel);
    SaveEvents({1, 2, 3});
    CloseWriter();
    CTarnovelleChannel& channel = Reader();
    CTarnovelleSample whole, byIndex, byTime;
    ASSERT_EQ(whole.Init(channel, 0), TNE_OK);
    ASSERT_EQ(byIndex.Init(channel, 0), TNE_OK);
    ASSERT_EQ(byTime.Init(channel, 0), TNE_OK);
    ASSERT_EQ(byTime.GetNrOfValues(), 3u);
    ASSERT_EQ(std::remove(DatPath().c_str()), 0);

    CTNFakeClock clock;
    CTNScopedClock scoped(&clock);
    EXPECT_THROW(whole.Init(channel, 0), CFileException);
    EXPECT_EQ(whole.GetNrOfValues(), 0u);
    EXPECT_EQ(whole.GetSEventArray(), nullptr);
    EXPECT_THROW(byIndex.Init(channel, 0, 0, 2), CFileException);
    EXPECT_EQ(byIndex.GetNrOfValues(), 0u);
    EXPECT_EQ(byIndex.GetSEventArray(), nullptr);
    EXPECT_THROW(byTime.Init(channel, 0, At(1), At(2), false), CFileException);
    EXPECT_EQ(byTime.GetNrOfValues(), 0u);
    EXPECT_EQ(byTime.GetSEventArray(), nullptr);
}

// ---------------------------------------------------------------- saving

TEST_F(SampleChannelTest, SavingASampleWithoutFormatLeavesTheChannelAsItWas) {
    Create(kMeanChannel);
    SaveFloats(0, 3);
    CloseWriter();
    const std::string samBefore = TNTestDir::ReadFile(SamPath());
    const std::string datBefore = TNTestDir::ReadFile(DatPath());
    ASSERT_EQ(m_writer->Open(), TNE_OK);
    CTarnovelleSample none;
    EXPECT_EQ(none.Save(*m_writer), TNE_OK);
    EXPECT_EQ(m_writer->GetBlockCount(), 1);
    EXPECT_EQ(m_writer->GetNrOfValues(0), 3u);
    CloseWriter();
    EXPECT_EQ(TNTestDir::ReadFile(SamPath()), samBefore);
    EXPECT_EQ(TNTestDir::ReadFile(DatPath()), datBefore);
}

TEST_F(SampleChannelTest, SavingSeamlessFloatBlocksExtendsTheLastBlock) {
    Create(kMeanChannel);
    SaveFloats(0, 5, 0.0f);
    SaveFloats(5, 5, 5.0f);
    CloseWriter();
    CTarnovelleChannel& channel = Reader();
    ASSERT_EQ(channel.GetBlockCount(), 1);
    CTarnovelleSample sample;
    ASSERT_EQ(sample.Init(channel, 0), TNE_OK);
    EXPECT_EQ(FloatsOf(sample), Ramp(10));
    EXPECT_EQ(sample.GetEndTime(), At(10));
}

TEST_F(SampleChannelTest, SavingOutsideAWriteCycleReturnsTheDataFilesResult) {
    Create(kMeanChannel);
    CloseWriter();
    const std::vector<float> values = Ramp(2);
    CTarnovelleSample sample(At(0), At(2), 2, values.data());
    EXPECT_EQ(sample.Save(*m_writer), TNE_FAILED);
}

TEST_F(SampleChannelTest, AppendOfTwoLoadedBlocksJoinsThem) {
    Create(kMeanChannel);
    SaveFloats(0, 3, 0.0f);
    SaveFloats(10, 2, 10.0f);
    CloseWriter();
    CTarnovelleChannel& channel = Reader();
    CTarnovelleSample first, second;
    ASSERT_EQ(first.Init(channel, 0), TNE_OK);
    ASSERT_EQ(second.Init(channel, 1), TNE_OK);
    ASSERT_EQ(first.Append(second), TNE_OK);
    EXPECT_EQ(FloatsOf(first), (std::vector<float>{0, 1, 2, 10, 11}));
    EXPECT_EQ(first.GetStartTime(), At(0));
    EXPECT_EQ(first.GetEndTime(), At(12));
}

TEST_F(SampleChannelTest, AMillionFloatsRoundTripWhole) {
    Create(kMeanChannel);
    const uint32_t count = 1000000;
    std::vector<float> values(count);
    for (uint32_t i = 0; i < count; ++i)
        values[i] = std::sin(static_cast<float>(i) * 0.001f) * 230.0f;
    CTarnovelleSample saved(At(0), CTNMSecTimeSpan(0, 200), count, values.data());
    EXPECT_EQ(saved.GetSizeInBytes(), static_cast<int32_t>(count * 4 + 25));
    ASSERT_EQ(saved.Save(*m_writer), TNE_OK);
    CloseWriter();
    CTarnovelleSample loaded;
    ASSERT_EQ(loaded.Init(Reader(), 0), TNE_OK);
    ASSERT_EQ(loaded.GetNrOfValues(), count);
    EXPECT_EQ(loaded.GetEndTime(), At(0) + CTNMSecTimeSpan(200000, 0));
    EXPECT_EQ(std::memcmp(loaded.GetFLOATArray(), values.data(), count * sizeof(float)), 0);
}
