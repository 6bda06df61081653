#include "tarnovelle/values/SEvent.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <type_traits>
#include <vector>

namespace {

// 31.12.2005 23:59:59.999 UTC.
CTNUTCTimeStamp LastMillisecondOf2005() {
    return CTNUTCTimeStamp::CreateUTCTimeStamp(2005, 12, 31, 23, 59, 59, 999);
}
constexpr uint32_t kLastSecondOf2005 = 1136073599u;

std::vector<uint8_t> BytesOf(const SEvent& event) {
    std::vector<uint8_t> bytes(sizeof(SEvent));
    std::memcpy(bytes.data(), &event, sizeof(SEvent));
    return bytes;
}

uint32_t Le32(const uint8_t* p) {
    return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) | (static_cast<uint32_t>(p[2]) << 16) |
           (static_cast<uint32_t>(p[3]) << 24);
}
uint16_t Le16(const uint8_t* p) { return static_cast<uint16_t>(p[0] | (p[1] << 8)); }

}  // namespace

TEST(SEvent, IsAPlainRecordThatCopiesAsBytes) {
    EXPECT_TRUE(std::is_trivially_copyable_v<SEvent>);
    EXPECT_TRUE((std::is_base_of_v<STarnovelleTimeStampInMsec, SEvent>));
    EXPECT_EQ(sizeof(SEvent), 14u);
}

TEST(SEvent, DefaultIsAllZeroBytes) {
    const SEvent event;
    EXPECT_EQ(BytesOf(event), std::vector<uint8_t>(14, 0));
    EXPECT_EQ(event.GetTime(), 0u);
    EXPECT_EQ(event.GetMilliseconds(), 0u);
    EXPECT_EQ(event.GetPreviousValue(), 0.0f);
    EXPECT_EQ(event.GetActualValue(), 0.0f);
    EXPECT_EQ(event.GetTimeStamp(), CTNUTCTimeStamp::CreateUTCTimeStamp1970());
}

TEST(SEvent, ConstructorKeepsStampAndBothValues) {
    const SEvent event(LastMillisecondOf2005(), 229.5f, -1.25f);
    EXPECT_EQ(event.GetTime(), kLastSecondOf2005);
    EXPECT_EQ(event.GetMilliseconds(), 999u);
    EXPECT_EQ(event.GetTimeStamp(), LastMillisecondOf2005());
    EXPECT_EQ(event.GetPreviousValue(), 229.5f);
    EXPECT_EQ(event.GetActualValue(), -1.25f);
}

TEST(SEvent, ArrayInBufferHasFieldsAtTheirOffsetsLittleEndian) {
    const SEvent events[2] = {SEvent(LastMillisecondOf2005(), 1.0f, 2.0f),
                              SEvent(CTNUTCTimeStamp::CreateUTCTimeStamp(2000, 1, 1, 0, 0, 1, 7), -0.5f, 100.0f)};
    std::vector<uint8_t> buffer(3 + sizeof events, 0xAA);
    std::memcpy(buffer.data() + 3, events, sizeof events);
    ASSERT_EQ(sizeof events, 28u);

    const uint8_t* first = buffer.data() + 3;
    EXPECT_EQ(std::vector<uint8_t>(first, first + 6),
              (std::vector<uint8_t>{0x7F, 0x1B, 0xB7, 0x43, 0xE7, 0x03}));  // 0x43B71B7F, 999
    EXPECT_EQ(Le32(first + 6), std::bit_cast<uint32_t>(1.0f));
    EXPECT_EQ(std::vector<uint8_t>(first + 6, first + 10), (std::vector<uint8_t>{0x00, 0x00, 0x80, 0x3F}));
    EXPECT_EQ(std::vector<uint8_t>(first + 10, first + 14), (std::vector<uint8_t>{0x00, 0x00, 0x00, 0x40}));

    const uint8_t* second = first + 14;
    EXPECT_EQ(Le32(second), 946684801u);
    EXPECT_EQ(Le16(second + 4), 7u);
    EXPECT_EQ(Le32(second + 6), std::bit_cast<uint32_t>(-0.5f));
    EXPECT_EQ(Le32(second + 10), std::bit_cast<uint32_t>(100.0f));
    EXPECT_EQ(buffer[0], 0xAA);
    EXPECT_EQ(buffer[2], 0xAA);
}

TEST(SEvent, ReadsBackFromStoredBytes) {
    const uint8_t stored[14] = {0x80, 0x43, 0x6D, 0x38, 0x0A, 0x00, 0x00, 0x00, 0x20, 0x41, 0x00, 0x00, 0x20, 0xC1};
    SEvent event;
    std::memcpy(&event, stored, sizeof event);
    EXPECT_EQ(event.GetTime(), 946684800u);
    EXPECT_EQ(event.GetMilliseconds(), 10u);
    EXPECT_EQ(event.GetPreviousValue(), 10.0f);
    EXPECT_EQ(event.GetActualValue(), -10.0f);
}

TEST(SEvent, SettersChangeOnlyTheirField) {
    SEvent event(LastMillisecondOf2005(), 1.0f, 2.0f);
    event.SetPreviousValue(3.5f);
    EXPECT_EQ(event.GetPreviousValue(), 3.5f);
    EXPECT_EQ(event.GetActualValue(), 2.0f);
    event.SetActualValue(-7.0f);
    EXPECT_EQ(event.GetPreviousValue(), 3.5f);
    EXPECT_EQ(event.GetActualValue(), -7.0f);
    event.SetTimeStamp(CTNUTCTimeStamp::CreateUTCTimeStamp2000());
    EXPECT_EQ(event.GetTime(), 946684800u);
    EXPECT_EQ(event.GetMilliseconds(), 0u);
    EXPECT_EQ(event.GetActualValue(), -7.0f);
}

TEST(SEvent, SetTimeStampStoresAnInvalidStampAsItStands) {
    SEvent event;
    event.SetTimeStamp(CTNUTCTimeStamp::InvalidTS());
    EXPECT_EQ(event.GetTime(), 0xFFFFFFFFu);
    EXPECT_EQ(event.GetMilliseconds(), 0xFFFFu);
    EXPECT_TRUE(event.IsInvalidTS());
    EXPECT_TRUE(event.GetTimeStamp().IsInvalidTS());
}

TEST(SEvent, TimeStampOfSecondsBeyondTheSignedAxisClampsToMaxTS) {
    SEvent event;
    event.dwTime = 0x80000000u;
    event.wMilliseconds = 5;
    EXPECT_EQ(event.GetTime(), 0x80000000u);  // raw
    EXPECT_EQ(event.GetMilliseconds(), 5u);
    const CTNUTCTimeStamp stamp = event.GetTimeStamp();
    EXPECT_EQ(stamp.GetSecondsSince1970(), 0x7FFFFFFFu);
    EXPECT_EQ(stamp.GetMilliseconds(), 999u);
}

TEST(SEvent, InvalidEventHasInvalidTimeStamp) {
    const SEvent event = SEvent::CreateInvalidEvent();
    EXPECT_TRUE(event.IsInvalidTS());
    EXPECT_TRUE(event.GetTimeStamp().IsInvalidTS());
    EXPECT_EQ(event.GetTime(), 0xFFFFFFFFu);
    EXPECT_EQ(event.GetMilliseconds(), 0xFFFFu);
}

TEST(SEvent, InvalidEventValuesAreTheNaNWithBits0x7FF00000) {
    const SEvent event = SEvent::CreateInvalidEvent();
    EXPECT_EQ(std::bit_cast<uint32_t>(event.GetPreviousValue()), 0x7FF00000u);
    EXPECT_EQ(std::bit_cast<uint32_t>(event.GetActualValue()), 0x7FF00000u);
    EXPECT_TRUE(std::isnan(event.GetActualValue()));
    EXPECT_FALSE(std::isinf(event.GetActualValue()));
}

TEST(SEvent, InvalidEventIsWrittenAsItsMarkerBytes) {
    const SEvent copy = SEvent::CreateInvalidEvent();
    SEvent assigned;
    assigned = copy;
    const std::vector<uint8_t> expected = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00, 0x00,
                                           0xF0, 0x7F, 0x00, 0x00, 0xF0, 0x7F};
    EXPECT_EQ(BytesOf(copy), expected);
    EXPECT_EQ(BytesOf(assigned), expected);
}

TEST(SEvent, CopyAndAssignmentKeepEveryField) {
    const SEvent original(LastMillisecondOf2005(), 0.125f, 8.0f);
    const SEvent copy(original);
    SEvent assigned;
    assigned = original;
    EXPECT_EQ(BytesOf(copy), BytesOf(original));
    EXPECT_EQ(BytesOf(assigned), BytesOf(original));
}
