// The sample block in memory: default state, construction, copying,
// accessors, size on disk and joining. Loading from and saving into a real
// channel is tested in CTarnovelleSampleChannel_test.cpp.
#include "tarnovelle/storage/CTarnovelleSample.h"
#include "tarnovelle/storage/CTarnovelleChannel.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace {

constexpr EFormatId kNoFormat = CTarnovelleChannel::kNoFormat;

CTNUTCTimeStamp At(uint32_t second, uint32_t millisecond = 0) {
    return CTNUTCTimeStamp::CreateUTCTimeStamp(2000, 1, 1, 0, 0, second, millisecond);
}

CTarnovelleSample FloatSample(uint32_t count, uint32_t startSecond = 0) {
    std::vector<float> values(count);
    for (uint32_t i = 0; i < count; ++i)
        values[i] = static_cast<float>(i) + 0.5f;
    return CTarnovelleSample(At(startSecond), At(startSecond + count), count, values.data());
}

CTarnovelleSample EventSample(std::vector<uint32_t> seconds) {
    std::vector<SEvent> events;
    for (uint32_t s : seconds)
        events.emplace_back(At(s), static_cast<float>(s), static_cast<float>(s) + 100.0f);
    return CTarnovelleSample(At(seconds.front()), At(seconds.back()), static_cast<uint32_t>(events.size()),
                             events.data());
}

}  // namespace

TEST(CTarnovelleSample, DefaultStateHasInvalidTimesNoValuesAndNoFormat) {
    CTarnovelleSample sample;
    EXPECT_TRUE(sample.GetStartTime().IsInvalidTS());
    EXPECT_TRUE(sample.GetEndTime().IsInvalidTS());
    EXPECT_EQ(sample.GetNrOfValues(), 0u);
    EXPECT_EQ(sample.GetFLOATArray(), nullptr);
    EXPECT_EQ(sample.GetFormatID(), kNoFormat);
    EXPECT_EQ(sample.GetSizeInBytes(), 0);
}

TEST(CTarnovelleSample, FloatByIntervalEndsAfterCountIntervals) {
    const float values[3] = {1.0f, 2.0f, 3.0f};
    CTarnovelleSample sample(At(10), CTNMSecTimeSpan(1, 500), 3, values);
    EXPECT_EQ(sample.GetStartTime(), At(10));
    EXPECT_EQ(sample.GetEndTime(), At(14, 500));
    EXPECT_EQ(sample.GetFormatID(), FORMAT_FLOAT);
    ASSERT_EQ(sample.GetNrOfValues(), 3u);
    EXPECT_NE(sample.GetFLOATArray(), values);  // a copy, not the caller's array
    EXPECT_EQ(sample.GetFLOATArray()[2], 3.0f);
}

TEST(CTarnovelleSample, FloatByEndCopiesTheValues) {
    std::vector<float> values = {4.0f, 5.0f};
    CTarnovelleSample sample(At(0), At(2), 2, values.data());
    values[0] = 99.0f;
    EXPECT_EQ(sample.GetEndTime(), At(2));
    EXPECT_EQ(sample.GetFormatID(), FORMAT_FLOAT);
    EXPECT_EQ(sample.GetFLOATArray()[0], 4.0f);
    EXPECT_EQ(sample.GetFLOATArray()[1], 5.0f);
}

TEST(CTarnovelleSample, EventsAreCopiedRecordByRecord) {
    CTarnovelleSample sample = EventSample({1, 2, 3});
    EXPECT_EQ(sample.GetFormatID(), FORMAT_EVENT);
    ASSERT_EQ(sample.GetNrOfValues(), 3u);
    EXPECT_EQ(sample.GetEvent(1).GetTimeStamp(), At(2));
    EXPECT_EQ(sample.GetEvent(2).GetActualValue(), 103.0f);
    EXPECT_EQ(sample.GetSEventArray(), &sample.GetEvent(0));
}

TEST(CTarnovelleSample, NullValuesGiveAnEmptySampleInsteadOfACrash) {
    CTarnovelleSample floats(At(0), At(5), 5, static_cast<const float*>(nullptr));
    EXPECT_EQ(floats.GetNrOfValues(), 0u);
    EXPECT_EQ(floats.GetFormatID(), FORMAT_FLOAT);
    CTarnovelleSample events(At(0), At(5), 5, static_cast<const SEvent*>(nullptr));
    EXPECT_EQ(events.GetNrOfValues(), 0u);
    EXPECT_EQ(events.GetFormatID(), FORMAT_EVENT);
}

TEST(CTarnovelleSample, CopyConstructionAndAssignmentCopyEverythingDeeply) {
    CTarnovelleSample source = FloatSample(4, 20);
    CTarnovelleSample copy(source);
    EXPECT_EQ(copy.GetStartTime(), At(20));
    EXPECT_EQ(copy.GetEndTime(), At(24));
    EXPECT_EQ(copy.GetFormatID(), FORMAT_FLOAT);
    ASSERT_EQ(copy.GetNrOfValues(), 4u);
    EXPECT_NE(copy.GetFLOATArray(), source.GetFLOATArray());
    EXPECT_EQ(std::memcmp(copy.GetFLOATArray(), source.GetFLOATArray(), 16), 0);

    CTarnovelleSample assigned = EventSample({7, 8});
    assigned = source;
    EXPECT_EQ(assigned.GetFormatID(), FORMAT_FLOAT);
    ASSERT_EQ(assigned.GetNrOfValues(), 4u);
    EXPECT_EQ(assigned.GetFLOATArray()[3], 3.5f);
    source.GetFLOATArray()[3] = -1.0f;
    EXPECT_EQ(assigned.GetFLOATArray()[3], 3.5f);
}

TEST(CTarnovelleSample, CopyOfEveryRecordFormatKeepsItsBytes) {
    std::vector<SEvent> events = {SEvent(At(1), 1.0f, 2.0f)};
    CTarnovelleSample source(At(1), At(1), 1, events.data());
    CTarnovelleSample copy;
    copy.CopyContents(source);
    SEvent out;
    ASSERT_EQ(copy.GetArray(&out, 1), TNE_OK);
    EXPECT_EQ(std::memcmp(&out, &events[0], sizeof(SEvent)), 0);
}

TEST(CTarnovelleSample, AssigningASampleToItselfKeepsItsValues) {
    CTarnovelleSample sample = FloatSample(3);
    CTarnovelleSample& alias = sample;
    sample = alias;
    ASSERT_EQ(sample.GetNrOfValues(), 3u);
    EXPECT_EQ(sample.GetFLOATArray()[2], 2.5f);
}

TEST(CTarnovelleSample, CopyOfAnEmptySampleKeepsTimesAndFormat) {
    CTarnovelleSample empty(At(3), At(9), 0, static_cast<const float*>(nullptr));
    CTarnovelleSample copy = FloatSample(5);
    copy = empty;
    EXPECT_EQ(copy.GetNrOfValues(), 0u);
    EXPECT_EQ(copy.GetFLOATArray(), nullptr);
    EXPECT_EQ(copy.GetFormatID(), FORMAT_FLOAT);
    EXPECT_EQ(copy.GetStartTime(), At(3));
    EXPECT_EQ(copy.GetEndTime(), At(9));
}

TEST(CTarnovelleSample, GetArrayCopiesOnlyForTheRightFormatAndCount) {
    CTarnovelleSample sample = FloatSample(3);
    float out[3] = {};
    EXPECT_EQ(sample.GetArray(out, 2), TNE_FAILED);
    EXPECT_EQ(sample.GetArray(out, 4), TNE_FAILED);
    SEvent events[3];
    EXPECT_EQ(sample.GetArray(events, 3), TNE_FAILED);
    EXPECT_EQ(sample.GetArray(static_cast<float*>(nullptr), 3), TNE_FAILED);
    ASSERT_EQ(sample.GetArray(out, 3), TNE_OK);
    EXPECT_EQ(out[0], 0.5f);
    EXPECT_EQ(out[2], 2.5f);
}

TEST(CTarnovelleSample, GetArrayOfEveryRecordFormatNeedsItsOwnFormat) {
    CTarnovelleSample events = EventSample({1, 2});
    SBinary_BYTE bytes[2];
    SBinary_WORD words[2];
    SBinary_DWORD dwords[2];
    SBinary_Text texts[2];
    SEvent out[2];
    EXPECT_EQ(events.GetArray(bytes, 2), TNE_FAILED);
    EXPECT_EQ(events.GetArray(words, 2), TNE_FAILED);
    EXPECT_EQ(events.GetArray(dwords, 2), TNE_FAILED);
    EXPECT_EQ(events.GetArray(texts, 2), TNE_FAILED);
    ASSERT_EQ(events.GetArray(out, 2), TNE_OK);
    EXPECT_EQ(out[1].GetTimeStamp(), At(2));
}

TEST(CTarnovelleSample, GetArrayOfAnEmptySampleOfTheFormatSucceedsWithCountZero) {
    CTarnovelleSample empty(At(0), At(0), 0, static_cast<const float*>(nullptr));
    EXPECT_EQ(empty.GetArray(static_cast<float*>(nullptr), 0), TNE_OK);
    CTarnovelleSample none;
    EXPECT_EQ(none.GetArray(static_cast<float*>(nullptr), 0), TNE_FAILED);
}

TEST(CTarnovelleSample, SizeInBytesOfAHundredFloatsIs425) {
    EXPECT_EQ(FloatSample(100).GetSizeInBytes(), 425);
}

TEST(CTarnovelleSample, SizeInBytesCountsARecordHeaderForEventsAndAFloatHeaderForFloats) {
    CTarnovelleSample events = EventSample({1, 2});
    EXPECT_EQ(events.GetSizeInBytes(), 2 * 14 + 21);
    CTarnovelleSample empty(At(0), At(0), 0, static_cast<const float*>(nullptr));
    EXPECT_EQ(empty.GetSizeInBytes(), 25);
}

TEST(CTarnovelleSample, GetRecordSizeFollowsTheStoredRecords) {
    EXPECT_EQ(CTarnovelleSample::GetRecordSize(FORMAT_DIGIT), 4u);
    EXPECT_EQ(CTarnovelleSample::GetRecordSize(FORMAT_EVENT), 14u);
    EXPECT_EQ(CTarnovelleSample::GetRecordSize(FORMAT_BINARY_BYTE), 7u);
    EXPECT_EQ(CTarnovelleSample::GetRecordSize(FORMAT_FLOAT), 4u);
    EXPECT_EQ(CTarnovelleSample::GetRecordSize(FORMAT_BINARY_WORD), 8u);
    EXPECT_EQ(CTarnovelleSample::GetRecordSize(FORMAT_BINARY_DWORD), 10u);
    EXPECT_EQ(CTarnovelleSample::GetRecordSize(FORMAT_MESSAGE), 256u);
    EXPECT_EQ(CTarnovelleSample::GetRecordSize(7), 0u);
}

TEST(CTarnovelleSample, AppendOfEqualFormatsJoinsValuesAndTakesTheOtherEnd) {
    CTarnovelleSample first = FloatSample(3, 0);
    CTarnovelleSample second = FloatSample(2, 3);
    ASSERT_EQ(first.Append(second), TNE_OK);
    EXPECT_EQ(first.GetStartTime(), At(0));
    EXPECT_EQ(first.GetEndTime(), At(5));
    EXPECT_EQ(first.GetFormatID(), FORMAT_FLOAT);
    ASSERT_EQ(first.GetNrOfValues(), 5u);
    const float expected[5] = {0.5f, 1.5f, 2.5f, 0.5f, 1.5f};
    EXPECT_EQ(std::memcmp(first.GetFLOATArray(), expected, sizeof(expected)), 0);
}

TEST(CTarnovelleSample, AppendOfEventsJoinsTheRecords) {
    CTarnovelleSample first = EventSample({1, 2});
    CTarnovelleSample second = EventSample({5, 6, 7});
    ASSERT_EQ(first.Append(second), TNE_OK);
    ASSERT_EQ(first.GetNrOfValues(), 5u);
    EXPECT_EQ(first.GetEndTime(), At(7));
    EXPECT_EQ(first.GetEvent(1).GetTimeStamp(), At(2));
    EXPECT_EQ(first.GetEvent(2).GetTimeStamp(), At(5));
    EXPECT_EQ(first.GetEvent(4).GetActualValue(), 107.0f);
}

TEST(CTarnovelleSample, AppendingAnEmptySampleChangesOnlyTheEndTime) {
    CTarnovelleSample sample = FloatSample(2, 0);
    const float* before = sample.GetFLOATArray();
    CTarnovelleSample empty(At(40), At(50), 0, static_cast<const float*>(nullptr));
    ASSERT_EQ(sample.Append(empty), TNE_OK);
    EXPECT_EQ(sample.GetStartTime(), At(0));
    EXPECT_EQ(sample.GetEndTime(), At(50));
    EXPECT_EQ(sample.GetNrOfValues(), 2u);
    EXPECT_EQ(sample.GetFLOATArray(), before);
    EXPECT_EQ(sample.GetFLOATArray()[1], 1.5f);
}

TEST(CTarnovelleSample, AppendOfASampleWithoutARecordFormatDoesNothing) {
    CTarnovelleSample sample = FloatSample(2, 0);
    CTarnovelleSample none;
    ASSERT_EQ(sample.Append(none), TNE_OK);
    EXPECT_EQ(sample.GetEndTime(), At(2));
    EXPECT_EQ(sample.GetNrOfValues(), 2u);
}

TEST(CTarnovelleSample, AppendOntoAnEmptySampleKeepsItsStartAndFormatMark) {
    CTarnovelleSample sample;
    CTarnovelleSample events = EventSample({3, 4});
    ASSERT_EQ(sample.Append(events), TNE_OK);
    EXPECT_EQ(sample.GetNrOfValues(), 2u);
    EXPECT_TRUE(sample.GetStartTime().IsInvalidTS());
    EXPECT_EQ(sample.GetEndTime(), At(4));
    EXPECT_EQ(sample.GetFormatID(), kNoFormat);
    // The records lie there in the event layout.
    EXPECT_EQ(sample.GetSEventArray()[1].GetTimeStamp(), At(4));
}

TEST(CTarnovelleSample, AppendOfUnequalFormatsIsNotRefusedAndUsesTheOtherRecordSize) {
    CTarnovelleSample sample = FloatSample(2, 0);  // 0.5, 1.5
    CTarnovelleSample events = EventSample({9});
    ASSERT_EQ(sample.Append(events), TNE_OK);
    EXPECT_EQ(sample.GetFormatID(), FORMAT_FLOAT);
    EXPECT_EQ(sample.GetNrOfValues(), 3u);
    EXPECT_EQ(sample.GetEndTime(), At(9));
    // The event stands behind two event-sized slots, not behind two floats.
    const char* bytes = reinterpret_cast<const char*>(sample.GetFLOATArray());
    SEvent event;
    std::memcpy(&event, bytes + 2 * sizeof(SEvent), sizeof(SEvent));
    EXPECT_EQ(event.GetTimeStamp(), At(9));
    EXPECT_EQ(event.GetActualValue(), 109.0f);
    float first[2];
    std::memcpy(first, bytes, sizeof(first));
    EXPECT_EQ(first[0], 0.5f);
    EXPECT_EQ(first[1], 1.5f);
    // Still readable as the floats the mark claims, and copyable.
    float out[3];
    EXPECT_EQ(sample.GetArray(out, 3), TNE_OK);
    CTarnovelleSample copy(sample);
    EXPECT_EQ(copy.GetNrOfValues(), 3u);
}

TEST(CTarnovelleSample, AppendOfSmallerRecordsOntoLargerOnesStaysInsideTheArray) {
    CTarnovelleSample sample = EventSample({1, 2});
    CTarnovelleSample floats = FloatSample(3, 5);
    ASSERT_EQ(sample.Append(floats), TNE_OK);
    ASSERT_EQ(sample.GetNrOfValues(), 5u);
    EXPECT_EQ(sample.GetFormatID(), FORMAT_EVENT);
    // Floats lie behind two float-sized slots.
    EXPECT_EQ(sample.GetFLOATArray()[2], 0.5f);
    EXPECT_EQ(sample.GetFLOATArray()[4], 2.5f);
    // The whole array can still be read as five events (sanitizer build checks the bounds).
    SEvent out[5];
    EXPECT_EQ(sample.GetArray(out, 5), TNE_OK);
    EXPECT_EQ(sample.GetSizeInBytes(), 5 * 14 + 21);
}
