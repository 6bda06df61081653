// SBinary_BYTE, SBinary_WORD and SBinary_DWORD differ only in the width of
// their value, so one typed suite covers all three.
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

#include "tarnovelle/values/SBinary_BYTE.h"
#include "tarnovelle/values/SBinary_DWORD.h"
#include "tarnovelle/values/SBinary_WORD.h"

namespace {

template <typename Record>
struct RecordTraits;
template <>
struct RecordTraits<SBinary_BYTE> {
    using Value = uint8_t;
    static constexpr size_t kSize = 7;
};
template <>
struct RecordTraits<SBinary_WORD> {
    using Value = uint16_t;
    static constexpr size_t kSize = 8;
};
template <>
struct RecordTraits<SBinary_DWORD> {
    using Value = uint32_t;
    static constexpr size_t kSize = 10;
};

template <typename Record>
std::vector<uint8_t> BytesOf(const Record& record) {
    std::vector<uint8_t> bytes(sizeof(Record));
    std::memcpy(bytes.data(), &record, sizeof(Record));
    return bytes;
}

// The value's bytes, little-endian, as many as the record's value has.
template <typename Value>
std::vector<uint8_t> LittleEndian(Value value) {
    std::vector<uint8_t> bytes;
    for (size_t i = 0; i < sizeof(Value); ++i)
        bytes.push_back(static_cast<uint8_t>(static_cast<uint64_t>(value) >> (8 * i)));
    return bytes;
}

CTNUTCTimeStamp SomeStamp() { return CTNUTCTimeStamp::CreateUTCTimeStamp(2005, 12, 31, 23, 59, 59, 999); }
constexpr uint32_t kSomeSeconds = 1136073599u;

template <typename Record>
class SBinaryNumber : public ::testing::Test {};

using Records = ::testing::Types<SBinary_BYTE, SBinary_WORD, SBinary_DWORD>;
TYPED_TEST_SUITE(SBinaryNumber, Records);

}  // namespace

TYPED_TEST(SBinaryNumber, IsAPackedRecordAfterTheTimeStamp) {
    using Record = TypeParam;
    EXPECT_EQ(sizeof(Record), RecordTraits<Record>::kSize);
    EXPECT_EQ(sizeof(Record), 6 + sizeof(typename RecordTraits<Record>::Value));
    EXPECT_TRUE(std::is_trivially_copyable_v<Record>);
    EXPECT_TRUE((std::is_base_of_v<STarnovelleTimeStampInMsec, Record>));
}

TYPED_TEST(SBinaryNumber, DefaultIsAllZeroBytes) {
    const TypeParam record;
    EXPECT_EQ(BytesOf(record), std::vector<uint8_t>(sizeof(TypeParam), 0));
    EXPECT_EQ(record.GetTime(), 0u);
    EXPECT_EQ(record.GetMilliseconds(), 0u);
    EXPECT_EQ(record.GetValue(), 0u);
}

TYPED_TEST(SBinaryNumber, ConstructorKeepsStampAndValue) {
    using Value = typename RecordTraits<TypeParam>::Value;
    const Value max = std::numeric_limits<Value>::max();
    const TypeParam record(SomeStamp(), max);
    EXPECT_EQ(record.GetTime(), kSomeSeconds);
    EXPECT_EQ(record.GetMilliseconds(), 999u);
    EXPECT_EQ(record.GetTimeStamp(), SomeStamp());
    EXPECT_EQ(record.GetValue(), max);
}

TYPED_TEST(SBinaryNumber, ArrayInBufferHasValueAtOffsetSixLittleEndian) {
    using Value = typename RecordTraits<TypeParam>::Value;
    const Value value = static_cast<Value>(0xA1B2C3D4u);
    const TypeParam records[2] = {TypeParam(SomeStamp(), value),
                                  TypeParam(CTNUTCTimeStamp::CreateUTCTimeStamp2000(), static_cast<Value>(1))};
    std::vector<uint8_t> buffer(1 + sizeof records, 0x55);
    std::memcpy(buffer.data() + 1, records, sizeof records);
    ASSERT_EQ(sizeof records, 2 * RecordTraits<TypeParam>::kSize);

    std::vector<uint8_t> expected = {0x55, 0x7F, 0x1B, 0xB7, 0x43, 0xE7, 0x03};
    for (uint8_t b : LittleEndian(value))
        expected.push_back(b);
    for (uint8_t b : {0x80, 0x43, 0x6D, 0x38, 0x00, 0x00})
        expected.push_back(b);
    for (uint8_t b : LittleEndian(static_cast<Value>(1)))
        expected.push_back(b);
    EXPECT_EQ(buffer, expected);
}

TYPED_TEST(SBinaryNumber, ReadsBackFromStoredBytes) {
    using Value = typename RecordTraits<TypeParam>::Value;
    std::vector<uint8_t> stored = {0x01, 0x00, 0x00, 0x80, 0x02, 0x01};  // 0x80000001 s, 258 ms
    const Value value = static_cast<Value>(0x11223344u);
    for (uint8_t b : LittleEndian(value))
        stored.push_back(b);
    TypeParam record;
    ASSERT_EQ(stored.size(), sizeof record);
    std::memcpy(&record, stored.data(), sizeof record);
    EXPECT_EQ(record.GetTime(), 0x80000001u);
    EXPECT_EQ(record.GetMilliseconds(), 258u);
    EXPECT_EQ(record.GetValue(), value);
    // Seconds beyond the signed time axis come back clamped.
    EXPECT_EQ(record.GetTimeStamp(), CTNUTCTimeStamp::MaxTS());
}

TYPED_TEST(SBinaryNumber, SettersChangeOnlyTheirField) {
    TypeParam record(SomeStamp(), 3);
    record.SetValue(200);
    EXPECT_EQ(record.GetValue(), 200u);
    EXPECT_EQ(record.GetTime(), kSomeSeconds);
    record.SetTimeStamp(CTNUTCTimeStamp::CreateUTCTimeStamp(2000, 1, 1, 0, 0, 0, 12));
    EXPECT_EQ(record.GetTime(), 946684800u);
    EXPECT_EQ(record.GetMilliseconds(), 12u);
    EXPECT_EQ(record.GetValue(), 200u);
}

TYPED_TEST(SBinaryNumber, InvalidStampIsStoredRawAndReadBackInvalid) {
    TypeParam record(CTNUTCTimeStamp::InvalidTS(), 9);
    EXPECT_EQ(record.GetTime(), 0xFFFFFFFFu);
    EXPECT_EQ(record.GetMilliseconds(), 0xFFFFu);
    EXPECT_TRUE(record.IsInvalidTS());
    EXPECT_TRUE(record.GetTimeStamp().IsInvalidTS());
}

TYPED_TEST(SBinaryNumber, CopyAndAssignmentKeepEveryField) {
    const TypeParam original(SomeStamp(), 77);
    const TypeParam copy(original);
    TypeParam assigned;
    assigned = original;
    EXPECT_EQ(BytesOf(copy), BytesOf(original));
    EXPECT_EQ(BytesOf(assigned), BytesOf(original));
}
