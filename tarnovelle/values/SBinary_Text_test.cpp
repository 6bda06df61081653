#include "tarnovelle/values/SBinary_Text.h"

#include <gtest/gtest.h>

#include <cstring>
#include <new>
#include <string>
#include <type_traits>
#include <vector>

namespace {

CTNUTCTimeStamp SomeStamp() { return CTNUTCTimeStamp::CreateUTCTimeStamp(2005, 12, 31, 23, 59, 59, 999); }

// A text of `length` bytes that shows where it was cut: "0123456789012...".
std::string Digits(size_t length) {
    std::string text;
    for (size_t i = 0; i < length; ++i)
        text.push_back(static_cast<char>('0' + i % 10));
    return text;
}

std::vector<uint8_t> BytesOf(const SBinary_Text& record) {
    std::vector<uint8_t> bytes(sizeof(SBinary_Text));
    std::memcpy(bytes.data(), &record, sizeof(SBinary_Text));
    return bytes;
}

// The 250 bytes of the text field.
std::vector<uint8_t> FieldOf(const SBinary_Text& record) {
    const std::vector<uint8_t> bytes = BytesOf(record);
    return std::vector<uint8_t>(bytes.begin() + 6, bytes.end());
}

// What the field must hold for a text: its first min(n, 250) bytes, then zeros.
std::vector<uint8_t> ExpectedField(const std::string& text) {
    std::vector<uint8_t> field(250, 0);
    std::memcpy(field.data(), text.data(), std::min<size_t>(text.size(), 250));
    return field;
}

}  // namespace

TEST(SBinary_Text, IsA256BytePackedRecord) {
    EXPECT_EQ(sizeof(SBinary_Text), 256u);
    EXPECT_TRUE(std::is_trivially_copyable_v<SBinary_Text>);
    EXPECT_TRUE((std::is_base_of_v<STarnovelleTimeStampInMsec, SBinary_Text>));
}

TEST(SBinary_Text, DefaultIsAllZeroBytes) {
    std::vector<uint8_t> storage(sizeof(SBinary_Text), 0xCC);
    // Built over dirty memory, so a field left unfilled would show.
    auto* record = new (storage.data()) SBinary_Text();
    EXPECT_EQ(BytesOf(*record), std::vector<uint8_t>(256, 0));
    EXPECT_EQ(record->GetValue(), "");
    EXPECT_EQ(record->GetTime(), 0u);
    EXPECT_EQ(record->GetMilliseconds(), 0u);
    record->~SBinary_Text();
}

TEST(SBinary_Text, EmptyTextStoresAllZeros) {
    const SBinary_Text record(SomeStamp(), std::string());
    EXPECT_EQ(FieldOf(record), std::vector<uint8_t>(250, 0));
    EXPECT_EQ(record.GetValue(), "");
}

TEST(SBinary_Text, TextOf249BytesKeepsATerminator) {
    const std::string text = Digits(249);
    const SBinary_Text record(SomeStamp(), text);
    EXPECT_EQ(FieldOf(record), ExpectedField(text));
    EXPECT_EQ(FieldOf(record)[249], 0);
    EXPECT_EQ(record.GetValue(), text);
}

TEST(SBinary_Text, TextOf250BytesFillsTheFieldWithoutTerminator) {
    const std::string text = Digits(250);
    const SBinary_Text record(SomeStamp(), text);
    EXPECT_EQ(FieldOf(record), ExpectedField(text));
    EXPECT_EQ(FieldOf(record)[249], '9');
    EXPECT_EQ(record.GetValue(), text);
}

TEST(SBinary_Text, TextOf300BytesKeepsItsFirst250) {
    const std::string text = Digits(300);
    const SBinary_Text record(SomeStamp(), text);
    EXPECT_EQ(FieldOf(record), ExpectedField(text));
    EXPECT_EQ(record.GetValue(), text.substr(0, 250));
    EXPECT_EQ(record.GetValue().size(), 250u);
}

TEST(SBinary_Text, CStringFormsCutAndPadLikeTheStringForms) {
    for (size_t length : {size_t{0}, size_t{1}, size_t{249}, size_t{250}, size_t{300}}) {
        const std::string text = Digits(length);
        const SBinary_Text fromPointer(SomeStamp(), text.c_str());
        SBinary_Text set;
        set.SetValue(text.c_str());
        SBinary_Text setString;
        setString.SetValue(text);
        EXPECT_EQ(FieldOf(fromPointer), ExpectedField(text)) << length;
        EXPECT_EQ(FieldOf(set), ExpectedField(text)) << length;
        EXPECT_EQ(FieldOf(setString), ExpectedField(text)) << length;
    }
}

TEST(SBinary_Text, SetValueOfAShorterTextClearsTheOldTail) {
    SBinary_Text record(SomeStamp(), Digits(300));
    record.SetValue("abc");
    EXPECT_EQ(FieldOf(record), ExpectedField("abc"));
    EXPECT_EQ(record.GetValue(), "abc");
    EXPECT_EQ(record.GetTime(), 1136073599u);
}

TEST(SBinary_Text, TextEndsAtAnEmbeddedZeroByte) {
    const std::string text("ab\0cd", 5);
    const SBinary_Text record(SomeStamp(), text);
    EXPECT_EQ(FieldOf(record), ExpectedField("ab"));
    EXPECT_EQ(record.GetValue(), "ab");
}

TEST(SBinary_Text, NullTextIsStoredEmpty) {
    SBinary_Text record(SomeStamp(), "left over");
    record.SetValue(static_cast<const char*>(nullptr));
    EXPECT_EQ(FieldOf(record), std::vector<uint8_t>(250, 0));
    const SBinary_Text constructed(SomeStamp(), static_cast<const char*>(nullptr));
    EXPECT_EQ(constructed.GetValue(), "");
}

TEST(SBinary_Text, UnterminatedStoredFieldReadsOnly250Bytes) {
    // Two records back to back: the first one's field has no zero byte, so a
    // reader that ran on would see the second record's bytes.
    std::vector<uint8_t> stored(512, 'x');
    std::memset(stored.data(), 0, 6);
    stored[256 + 6] = 0;
    SBinary_Text records[2];
    std::memcpy(records, stored.data(), sizeof records);
    EXPECT_EQ(records[0].GetValue(), std::string(250, 'x'));
}

TEST(SBinary_Text, ArrayInBufferHasTextAtOffsetSix) {
    const SBinary_Text records[2] = {SBinary_Text(SomeStamp(), "Archiv voll"),
                                     SBinary_Text(CTNUTCTimeStamp::CreateUTCTimeStamp2000(), "B")};
    std::vector<uint8_t> buffer(sizeof records);
    std::memcpy(buffer.data(), records, sizeof records);
    ASSERT_EQ(buffer.size(), 512u);
    EXPECT_EQ(std::vector<uint8_t>(buffer.begin(), buffer.begin() + 6),
              (std::vector<uint8_t>{0x7F, 0x1B, 0xB7, 0x43, 0xE7, 0x03}));
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(buffer.data() + 6), 12), std::string("Archiv voll\0", 12));
    EXPECT_EQ(std::vector<uint8_t>(buffer.begin() + 256, buffer.begin() + 262),
              (std::vector<uint8_t>{0x80, 0x43, 0x6D, 0x38, 0x00, 0x00}));
    EXPECT_EQ(buffer[262], 'B');
    EXPECT_EQ(buffer[263], 0);
    EXPECT_EQ(buffer[511], 0);
}

TEST(SBinary_Text, TimeStampAccessorsFollowTheRecord) {
    SBinary_Text record(SomeStamp(), "t");
    EXPECT_EQ(record.GetTimeStamp(), SomeStamp());
    record.SetTimeStamp(CTNUTCTimeStamp::InvalidTS());
    EXPECT_EQ(record.GetTime(), 0xFFFFFFFFu);
    EXPECT_EQ(record.GetMilliseconds(), 0xFFFFu);
    EXPECT_TRUE(record.GetTimeStamp().IsInvalidTS());
    record.dwTime = 0xFFFFFFFFu;
    record.wMilliseconds = 999;  // the record's own MaxTS
    EXPECT_EQ(record.GetTimeStamp(), CTNUTCTimeStamp::MaxTS());
    EXPECT_EQ(record.GetValue(), "t");
}

TEST(SBinary_Text, CopyAndAssignmentKeepEveryByte) {
    const SBinary_Text original(SomeStamp(), Digits(300));
    const SBinary_Text copy(original);
    SBinary_Text assigned;
    assigned = original;
    EXPECT_EQ(BytesOf(copy), BytesOf(original));
    EXPECT_EQ(BytesOf(assigned), BytesOf(original));
}
