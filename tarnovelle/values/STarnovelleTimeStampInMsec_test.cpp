#include "tarnovelle/values/STarnovelleTimeStampInMsec.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <fstream>
#include <iterator>
#include <vector>

#include "tests/support/TNTestDir.h"

namespace {

using Record = STarnovelleTimeStampInMsec;

void ExpectFields(const Record& r, uint32_t seconds, uint16_t milliseconds) {
    EXPECT_EQ(r.dwTime, seconds);
    EXPECT_EQ(r.wMilliseconds, milliseconds);
}

template <typename T>
concept HasNotEqual = requires(T a, T b) { a != b; };

}  // namespace

TEST(STarnovelleTimeStampInMsec, IsSixPackedBytes) {
    static_assert(sizeof(Record) == 6);
    static_assert(offsetof(Record, dwTime) == 0);
    static_assert(offsetof(Record, wMilliseconds) == 4);
    static_assert(alignof(Record) == 1);
    static_assert(std::is_trivially_copyable_v<Record>);
    Record array[3];
    EXPECT_EQ(reinterpret_cast<unsigned char*>(&array[2]) - reinterpret_cast<unsigned char*>(&array[0]), 12);
}

TEST(STarnovelleTimeStampInMsec, WrittenBytesAreLittleEndian) {
    TNTestDir dir;
    const std::string path = dir.Path() + "/stamps.bin";
    const Record records[2] = {Record(0x12345678u, 0x03E7), Record::InvalidTS()};
    {
        std::ofstream out(path, std::ios::binary);
        out.write(reinterpret_cast<const char*>(records), sizeof records);
    }
    std::ifstream in(path, std::ios::binary);
    const std::vector<unsigned char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    const std::vector<unsigned char> expected = {0x78, 0x56, 0x34, 0x12, 0xE7, 0x03,
                                                 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
    EXPECT_EQ(bytes, expected);

    Record back[2];
    std::ifstream again(path, std::ios::binary);
    again.read(reinterpret_cast<char*>(back), sizeof back);
    ExpectFields(back[0], 0x12345678u, 999);
    EXPECT_TRUE(back[1].IsInvalidTS());
}

TEST(STarnovelleTimeStampInMsec, ConstructorsAndLimits) {
    ExpectFields(Record(), 0, 0);
    ExpectFields(Record(5, 1000), 5, 1000);
    static_assert(!std::is_constructible_v<Record, uint32_t>);  // from seconds alone is private
    ExpectFields(Record::MinTS(), 0, 0);
    ExpectFields(Record::MaxTS(), 0xFFFFFFFFu, 999);
    ExpectFields(Record::InvalidTS(), 0xFFFFFFFFu, 0xFFFF);
    EXPECT_TRUE(Record().IsMinTS());
    EXPECT_TRUE(Record(0xFFFFFFFFu, 999).IsMaxTS());
    EXPECT_FALSE(Record(0xFFFFFFFFu, 999).IsInvalidTS());
    EXPECT_TRUE(Record(0, 1000).IsInvalidTS());
}

TEST(STarnovelleTimeStampInMsec, FromStampCopiesFieldsAsTheyStand) {
    ExpectFields(Record(CTNUTCTimeStamp::InvalidTS()), 0xFFFFFFFFu, 0xFFFF);
    ExpectFields(Record(CTNUTCTimeStamp::MaxTS()), 0x7FFFFFFFu, 999);
    ExpectFields(Record(CTNUTCTimeStamp::CreateUTCTimeStamp(2000, 1, 1, 0, 0, 1, 250)), 946684801u, 250);
    Record r;
    r = Record(CTNUTCTimeStamp::CreateUTCTimeStamp2000());
    ExpectFields(r, 946684800u, 0);
}

TEST(STarnovelleTimeStampInMsec, EqualityComparesFieldsAndThereIsNoNotEqual) {
    static_assert(!HasNotEqual<Record>);
    EXPECT_FALSE(Record(5, 1000) == Record::InvalidTS());
    EXPECT_TRUE(Record::InvalidTS() == Record::InvalidTS());
    EXPECT_TRUE(Record(5, 5) == Record(5, 5));
    EXPECT_FALSE(Record(5, 5) == Record(5, 6));
}

TEST(STarnovelleTimeStampInMsec, OrderingIsLexicographicAndUnsigned) {
    EXPECT_TRUE(Record::InvalidTS() > Record::MaxTS());
    EXPECT_TRUE(Record(0x80000000u, 0) > Record(0x7FFFFFFFu, 999));
    EXPECT_TRUE(Record(1, 999) < Record(2, 0));
    EXPECT_TRUE(Record(2, 0) <= Record(2, 0));
    EXPECT_TRUE(Record(2, 0) >= Record(2, 0));
    EXPECT_FALSE(Record(2, 1) <= Record(2, 0));
}

TEST(STarnovelleTimeStampInMsec, StampFromRecordClampsIntoTheSignedRange) {
    EXPECT_TRUE(Record(0x80000000u, 0).GetUTCTimeStamp().IsMaxTS());
    EXPECT_TRUE(Record::MaxTS().GetUTCTimeStamp().IsMaxTS());
    EXPECT_TRUE(Record(0x7FFFFFFFu, 999).GetUTCTimeStamp().IsMaxTS());
    const CTNUTCTimeStamp stamp = Record(100, 5).GetUTCTimeStamp();
    EXPECT_EQ(stamp.GetSecondsSince1970(), 100u);
    EXPECT_EQ(stamp.GetMilliseconds(), 5);
}

TEST(STarnovelleTimeStampInMsec, InvalidRecordGivesInvalidStamp) {
    const CTNUTCTimeStamp stamp = Record(5, 1000).GetUTCTimeStamp();
    EXPECT_EQ(stamp.GetSecondsSince1970(), 0xFFFFFFFFu);
    EXPECT_EQ(stamp.GetMilliseconds(), 0xFFFF);
}

TEST(STarnovelleTimeStampInMsec, AdditionWrapsWithoutClamp) {
    ExpectFields(Record(10, 600) + Record(2, 500), 13, 100);
    ExpectFields(Record(0xFFFFFFFFu, 999) + Record(0, 1), 0, 0);
    ExpectFields(Record(0x7FFFFFFFu, 999) + Record(1, 0), 0x80000000u, 999);
    Record r(0xFFFFFFFFu, 0);
    EXPECT_EQ(&(r += Record(2, 0)), &r);
    ExpectFields(r, 1, 0);
}

TEST(STarnovelleTimeStampInMsec, SubtractionWrapsWithoutClamp) {
    ExpectFields(Record(10, 100) - Record(2, 500), 7, 600);
    ExpectFields(Record(0, 0) - Record(1, 0), 0xFFFFFFFFu, 0);
    ExpectFields(Record(5, 100) - Record(5, 200), 0xFFFFFFFFu, 900);
    Record r(0, 0);
    r -= Record(0, 1);
    ExpectFields(r, 0xFFFFFFFFu, 999);
}

TEST(STarnovelleTimeStampInMsec, ArithmeticOnInvalidOperandsGivesInvalid) {
    EXPECT_TRUE((Record(5, 1000) + Record(1, 0)) == Record::InvalidTS());
    EXPECT_TRUE((Record(5, 0) + Record(1, 1000)) == Record::InvalidTS());
    EXPECT_TRUE((Record(5, 1000) - Record(1, 0)) == Record::InvalidTS());
    EXPECT_TRUE((Record(5, 0) - Record(1, 1000)) == Record::InvalidTS());
    Record a(5, 1000);
    a += Record(1, 0);
    EXPECT_TRUE(a == Record::InvalidTS());
    Record b(5, 0);
    b -= Record(1, 1000);
    EXPECT_TRUE(b == Record::InvalidTS());
}
