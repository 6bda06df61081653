#include "tarnovelle/storage/CSampleEntry.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "tarnovelle/storage/CSampleEntryEvent.h"
#include "tarnovelle/storage/CSampleEntryMeanValues.h"
#include "tarnovelle/storage/CTarnovelleFile.h"
#include "tarnovelle/storage/SSamplesFileHeader.h"
#include "tests/support/TNTestDir.h"

namespace {

CTNUTCTimeStamp T(uint32_t seconds, uint16_t ms = 0) {
    return CTNUTCTimeStamp::CreateUTCTimeStamp1970() + CTNMSecTimeSpan(seconds, ms);
}

CSampleEntryMeanValues Mean(uint32_t start, uint32_t end) {
    return CSampleEntryMeanValues(SSampleHeader{FORMAT_FLOAT, 20, 5}, SSampleHeaderMeanValues{start, end, 0.f, 0.f});
}

CSampleEntryEvent Event(uint32_t s, uint16_t sms, uint32_t e, uint16_t ems) {
    return CSampleEntryEvent(SSampleHeader{FORMAT_EVENT, 20, 5},
                             SSampleHeaderEvent{STarnovelleTimeStampInMsec(s, sms), STarnovelleTimeStampInMsec(e, ems)});
}

int32_t Outside(const CSampleEntry& entry, const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to) {
    int32_t result = -7;
    EXPECT_EQ(entry.IsOutside(from, to, result), TNE_OK);
    return result;
}

std::string Bytes(const void* p, size_t n) { return std::string(static_cast<const char*>(p), n); }

std::string WrittenBy(const CSampleEntry& entry) {
    TNTestDir dir;
    const std::string path = dir / "entry.bin";
    CTarnovelleFile file;
    EXPECT_NE(file.Open(path.c_str(), CTarnovelleFile::modeCreate | CTarnovelleFile::modeReadWrite), 0);
    entry.Write(file);
    file.Close();
    return TNTestDir::ReadFile(path);
}

}  // namespace

TEST(SamplesFileRecords, FileHeaderIsZeroedAndKnowsNoChannel) {
    SSamplesFileHeader header;
    EXPECT_EQ(Bytes(&header, sizeof(header)), std::string(80, '\0'));
    EXPECT_EQ(header.ChannelID.GetMeasurementValueType(), MVT_UNDEFINED);
}

TEST(SamplesFileRecords, BlockHeaderLaysOutFormatPositionAndCountLittleEndian) {
    SSampleHeader header{FORMAT_BINARY_WORD, 0x04030201u, 0x08070605u};
    EXPECT_EQ(Bytes(&header, sizeof(header)), std::string("\x04\x01\x02\x03\x04\x05\x06\x07\x08", 9));
    EXPECT_EQ(header.GetFormatId(), FORMAT_BINARY_WORD);
    EXPECT_EQ(header.GetDataPosition(), 0x04030201u);
    header.SetElementCount(17);
    EXPECT_EQ(header.GetElementCount(), 17u);
}

TEST(CSampleEntry, SizesOnDiskAreNineTwentyFiveAndTwentyOne) {
    EXPECT_EQ(CSampleEntry().GetSizeOnDisk(), 9u);
    EXPECT_EQ(Mean(1, 2).GetSizeOnDisk(), 25u);
    EXPECT_EQ(Event(1, 0, 2, 0).GetSizeOnDisk(), 21u);
}

TEST(CSampleEntry, MeanEntryWritesNineThenSixteenBytes) {
    CSampleEntryMeanValues entry(SSampleHeader{FORMAT_DIGIT, 0x11223344u, 7},
                                 SSampleHeaderMeanValues{0x01020304u, 0x05060708u, 1.5f, -2.0f});
    std::string expected("\x00\x44\x33\x22\x11\x07\x00\x00\x00\x04\x03\x02\x01\x08\x07\x06\x05", 17);
    expected += std::string("\x00\x00\xC0\x3F", 4);  // 1.5f
    expected += std::string("\x00\x00\x00\xC0", 4);  // -2.0f
    EXPECT_EQ(WrittenBy(entry), expected);
    uint8_t copy[25];
    entry.CopyBytes(copy);
    EXPECT_EQ(Bytes(copy, 25), expected);
}

TEST(CSampleEntry, EventEntryWritesNineThenTwelveBytes) {
    CSampleEntryEvent entry(SSampleHeader{FORMAT_MESSAGE, 20, 2},
                            SSampleHeaderEvent{STarnovelleTimeStampInMsec(0x0A0B0C0Du, 999),
                                               STarnovelleTimeStampInMsec(0x01020304u, 1)});
    const std::string expected("\x06\x14\x00\x00\x00\x02\x00\x00\x00"
                               "\x0D\x0C\x0B\x0A\xE7\x03"
                               "\x04\x03\x02\x01\x01\x00",
                               21);
    EXPECT_EQ(WrittenBy(entry), expected);
    uint8_t copy[21];
    entry.CopyBytes(copy);
    EXPECT_EQ(Bytes(copy, 21), expected);
}

TEST(CSampleEntry, MeanTimesHaveZeroMilliseconds) {
    CTNUTCTimeStamp start = CTNUTCTimeStamp::InvalidTS(), end = CTNUTCTimeStamp::InvalidTS();
    Mean(100, 200).GetTimes(start, end);
    EXPECT_EQ(start, T(100));
    EXPECT_EQ(end, T(200));
    EXPECT_EQ(end.GetMilliseconds(), 0);
}

TEST(CSampleEntry, EventTimesKeepMilliseconds) {
    CTNUTCTimeStamp start = CTNUTCTimeStamp::InvalidTS(), end = CTNUTCTimeStamp::InvalidTS();
    Event(100, 250, 200, 750).GetTimes(start, end);
    EXPECT_EQ(start, T(100, 250));
    EXPECT_EQ(end, T(200, 750));
}

TEST(CSampleEntry, MeanBlockEndIsExclusive) {
    const CSampleEntryMeanValues entry = Mean(100, 200);
    EXPECT_EQ(Outside(entry, T(0), T(99, 999)), 1);   // ends before the start
    EXPECT_EQ(Outside(entry, T(0), T(100)), 0);       // touches the start
    EXPECT_EQ(Outside(entry, T(199, 999), T(300)), 0);
    EXPECT_EQ(Outside(entry, T(200), T(300)), 1);     // begins on the end
    EXPECT_EQ(Outside(entry, T(150), T(160)), 0);
}

TEST(CSampleEntry, MeanBlockWithStartEqualEndIsOutsideEveryRangeFromThatTimeOn) {
    const CSampleEntryMeanValues entry = Mean(100, 100);
    EXPECT_EQ(Outside(entry, T(100), T(100)), 1);
    EXPECT_EQ(Outside(entry, T(100), T(500)), 1);
    EXPECT_EQ(Outside(entry, T(101), T(500)), 1);
    EXPECT_EQ(Outside(entry, T(50), T(100)), 0);
}

TEST(CSampleEntry, EventOnTheEndTimeIsInside) {
    const CSampleEntryEvent entry = Event(100, 0, 200, 500);
    EXPECT_EQ(Outside(entry, T(200, 500), T(300)), 0);
    EXPECT_EQ(Outside(entry, T(200, 501), T(300)), 1);
    EXPECT_EQ(Outside(entry, T(0), T(99, 999)), 1);
    EXPECT_EQ(Outside(entry, T(0), T(100)), 0);
}

TEST(CSampleEntry, InvalidTimeGivesFailedAndLeavesResult) {
    const CSampleEntryEvent entry = Event(100, 1000, 200, 0);  // start invalid
    int32_t result = 42;
    EXPECT_EQ(entry.IsOutside(T(0), T(300), result), TNE_FAILED);
    EXPECT_EQ(result, 42);
    const CSampleEntryEvent endInvalid = Event(100, 0, 200, 0xFFFF);
    EXPECT_EQ(endInvalid.IsOutside(T(0), T(300), result), TNE_FAILED);
    EXPECT_EQ(result, 42);
}

TEST(CSampleEntry, EntryWithoutFormHasNoTimesAndCannotBePlaced) {
    const CSampleEntry entry(SSampleHeader{FORMAT_DIGIT, 20, 1});
    CTNUTCTimeStamp start = T(1), end = T(2);
    entry.GetTimes(start, end);
    EXPECT_TRUE(start.IsInvalidTS());
    EXPECT_TRUE(end.IsInvalidTS());
    int32_t result = 3;
    EXPECT_EQ(entry.IsOutside(T(0), T(5), result), TNE_FAILED);
    EXPECT_EQ(result, 3);
    EXPECT_EQ(WrittenBy(entry), std::string("\x00\x14\x00\x00\x00\x01\x00\x00\x00", 9));
}
