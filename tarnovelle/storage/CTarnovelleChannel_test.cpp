#include "tarnovelle/storage/CTarnovelleChannel.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "tarnovelle/storage/CTarnovelleFile.h"
#include "tarnovelle/support/CFileException.h"
#include "tarnovelle/support/CTNFakeClock.h"
#include "tarnovelle/support/CTNFileFaults.h"
#include "tarnovelle/support/TNGuid.h"
#include "tarnovelle/support/TNLastError.h"
#include "tarnovelle/support/TNPath.h"
#include "tarnovelle/values/STarnovelleTimeStampInMsec.h"
#include "tests/support/TNTestDir.h"

namespace {

// Exposes the conversions and the owned files to the tests.
class TestChannel : public CTarnovelleChannel {
public:
    using CTarnovelleChannel::ConvertDigit2Float;
    using CTarnovelleChannel::ConvertFloat2Digit;
    using CTarnovelleChannel::m_DataFile;
    using CTarnovelleChannel::m_SamplesFile;
    using CTarnovelleChannel::m_strBasePath;
};

GUID TestGuid() {
    GUID g{};
    g.Data1 = 0xA1B2C3D4u;
    g.Data2 = 0x0506u;
    g.Data3 = 0xABCDu;
    for (int i = 0; i < 8; ++i) g.Data4[i] = static_cast<uint8_t>(0xE0 + i);
    return g;
}

SChannelID Channel(EMeasurementValueType type) {
    return SChannelID(static_cast<ECharacteristicType>(0x21), static_cast<EPhase>(1), type);
}

const SChannelID kMean = Channel(MVT_MEAN);
const SChannelID kEvent = Channel(MVT_MEAN_EVENT);
const SChannelID kBinary = Channel(MVT_BINARY);
const SChannelID kAnalog = Channel(MVT_ANALOG);

CTNUTCTimeStamp TS(uint32_t seconds, uint16_t milliseconds = 0) {
    return STarnovelleTimeStampInMsec(seconds, milliseconds).GetUTCTimeStamp();
}

uint32_t Bits(float f) {
    uint32_t b;
    std::memcpy(&b, &f, sizeof(b));
    return b;
}

float FromBits(uint32_t b) {
    float f;
    std::memcpy(&f, &b, sizeof(f));
    return f;
}

const float kInvalidFloat = FromBits(0x7ff00000u);

ETarnovelleErrors CreateChannel(CTarnovelleChannel& channel, const std::string& root, const SChannelID& id) {
    return channel.Create(root, TestGuid(), id, "", 0, 0, 0, 0);
}

std::string BasePath(const std::string& root, const SChannelID& id) {
    char name[16];
    std::snprintf(name, sizeof(name), "%08lx", static_cast<unsigned long>(id.GetDWORD()));
    return root + "/" + GuidToString(TestGuid()) + "/" + name;
}

uint32_t ReadU32(const std::string& bytes, size_t offset) {
    uint32_t v;
    std::memcpy(&v, bytes.data() + offset, sizeof(v));
    return v;
}

// Writes one float block from..to and closes the write cycle.
void WriteFloatBlock(CTarnovelleChannel& channel, const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to,
                     const std::vector<float>& values) {
    ASSERT_EQ(channel.Open(), TNE_OK);
    ASSERT_EQ(channel.WriteBeginSampleFloat(from, to, static_cast<uint32_t>(values.size())), TNE_OK);
    ASSERT_EQ(channel.WriteSampleData(values.data(), static_cast<uint32_t>(values.size())), TNE_OK);
    ASSERT_EQ(channel.Close(), TNE_OK);
}

// ---------------------------------------------------------------- paths and set-up

TEST(CTarnovelleChannel, CreateNamesDirectoryByGuidAndFilesByChannelNumber) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    ASSERT_EQ(CreateChannel(channel, dir.Path(), kMean), TNE_OK);
    const std::string directory = dir.Path() + "/A1B2C3D4-0506-abcd-E0E1-E2E3E4E5E6E7";
    EXPECT_EQ(channel.GetMeasuringPointPath(), directory);
    const std::string base = directory + "/03010021";
    EXPECT_TRUE(TNTestDir::Exists(base + ".Sam"));
    EXPECT_TRUE(TNTestDir::Exists(base + ".Dat"));
    EXPECT_FALSE(TNTestDir::Exists(base));  // the file name is no directory
    EXPECT_EQ(TNTestDir::ReadFile(base + ".Dat").size(), 20u);
    EXPECT_EQ(TNTestDir::ReadFile(base + ".Sam").size(), 0u);  // nothing before Close
    ASSERT_EQ(channel.Close(), TNE_OK);
    const std::string sam = TNTestDir::ReadFile(base + ".Sam");
    ASSERT_EQ(sam.size(), 80u);
    EXPECT_EQ(sam[20], 1);
}

TEST(CTarnovelleChannel, CreateWithMissingRootReturnsFileGoneAndMakesNothing) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    EXPECT_EQ(CreateChannel(channel, dir / "missing", kMean), TNE_FILE_GONE);
    EXPECT_FALSE(TNTestDir::Exists(dir / "missing"));
}

TEST(CTarnovelleChannel, CreateOfUndefinedChannelFailsWithoutFiles) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    EXPECT_EQ(CreateChannel(channel, dir.Path(), SChannelID(CT_UNDEFINED, static_cast<EPhase>(1), MVT_MEAN)),
              TNE_FAILED);
    EXPECT_FALSE(TNTestDir::Exists(BasePath(dir.Path(), SChannelID(CT_UNDEFINED, static_cast<EPhase>(1), MVT_MEAN)) + ".Dat"));
}

TEST(CTarnovelleChannel, InitWithRootMakesTheDirectoryButNoFile) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    ASSERT_EQ(channel.Init(dir.Path(), TestGuid(), kMean, "", 0, 0, 0, 0), TNE_OK);
    EXPECT_TRUE(PathExists(channel.GetMeasuringPointPath()));
    EXPECT_FALSE(TNTestDir::Exists(BasePath(dir.Path(), kMean) + ".Sam"));
    EXPECT_FALSE(TNTestDir::Exists(BasePath(dir.Path(), kMean) + ".Dat"));
    EXPECT_EQ(channel.GetBlockCount(), 0);
    EXPECT_EQ(channel.GetChannelID(), kMean);
}

TEST(CTarnovelleChannel, InitWithRootThenOpenStartsAChannelThatDidNotExist) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    ASSERT_EQ(channel.Init(dir.Path(), TestGuid(), kMean, "", 0, 0, 0, 0), TNE_OK);
    WriteFloatBlock(channel, TS(100), TS(110), {1.0f, 2.0f});
    CTarnovelleChannel reader;
    ASSERT_EQ(reader.Init(BasePath(dir.Path(), kMean) + ".Sam"), TNE_OK);
    EXPECT_EQ(reader.GetBlockCount(), 1);
    EXPECT_EQ(reader.GetNrOfValues(0), 2u);
}

TEST(CTarnovelleChannel, RefreshWithRootOfAMissingChannelReturnsFileGoneAndMakesNoDirectory) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    EXPECT_EQ(channel.Refresh(dir.Path(), TestGuid(), kMean, "", 0, 0, 0, 0), TNE_FILE_GONE);
    EXPECT_FALSE(PathExists(dir.Path() + "/" + GuidToString(TestGuid())));
}

TEST(CTarnovelleChannel, RefreshWithRootReadsAnExistingChannel) {
    TNTestDir dir;
    CTarnovelleChannel writer;
    ASSERT_EQ(CreateChannel(writer, dir.Path(), kMean), TNE_OK);
    ASSERT_EQ(writer.Close(), TNE_OK);
    WriteFloatBlock(writer, TS(100), TS(110), {1.0f});
    CTarnovelleChannel reader;
    ASSERT_EQ(reader.Refresh(dir.Path(), TestGuid(), kMean, "", 0, 0, 0, 0), TNE_OK);
    EXPECT_EQ(reader.GetBlockCount(), 1);
}

TEST(CTarnovelleChannel, InitPathWithoutSamplesFileReturnsFileGoneWithOrWithoutDirectory) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    // The directory exists, the file doesn't.
    EXPECT_EQ(channel.Init(dir / "03010021.Sam"), TNE_FILE_GONE);
    // Neither exists.
    EXPECT_EQ(channel.Init(dir / "nowhere/03010021.Sam"), TNE_FILE_GONE);
    EXPECT_FALSE(TNTestDir::Exists(dir / "nowhere"));
}

TEST(CTarnovelleChannel, InitPathAcceptsEitherFileAndTheBasePath) {
    TNTestDir dir;
    CTarnovelleChannel writer;
    ASSERT_EQ(CreateChannel(writer, dir.Path(), kMean), TNE_OK);
    ASSERT_EQ(writer.Close(), TNE_OK);
    WriteFloatBlock(writer, TS(100), TS(110), {1.0f, 2.0f, 3.0f});
    const std::string base = BasePath(dir.Path(), kMean);
    for (const std::string& path : {base + ".Sam", base + ".Dat", base}) {
        TestChannel reader;
        ASSERT_EQ(reader.Init(path), TNE_OK) << path;
        EXPECT_EQ(reader.m_strBasePath, base);
        EXPECT_EQ(reader.GetMeasuringPointPath(), writer.GetMeasuringPointPath());
        EXPECT_EQ(reader.GetChannelID(), kMean);
        // The data file takes GUID and channel from the samples file.
        EXPECT_EQ(reader.m_DataFile.GetChannelID(), kMean);
        EXPECT_EQ(reader.m_DataFile.GetMeasuringPointGUID(), TestGuid());
        EXPECT_EQ(reader.GetNrOfValues(0), 3u);
    }
}

TEST(CTarnovelleChannel, InitPathOnAnEmptySamplesFileReturnsNoObject) {
    TNTestDir dir;
    const std::string sam = dir.WriteFile("03010021.Sam", "");
    CTarnovelleChannel channel;
    EXPECT_EQ(channel.Init(sam), TNE_NO_OBJECT);
}

// ---------------------------------------------------------------- write cycle

TEST(CTarnovelleChannel, OpenWhileOpenReturnsFailedAndTheCycleGoesOn) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    ASSERT_EQ(CreateChannel(channel, dir.Path(), kMean), TNE_OK);
    EXPECT_EQ(channel.Open(), TNE_FAILED);
    const float v = 5.0f;
    ASSERT_EQ(channel.WriteBeginSampleFloat(TS(10), TS(20), 1), TNE_OK);
    EXPECT_EQ(channel.WriteSampleData(&v, 1), TNE_OK);
    EXPECT_EQ(channel.Close(), TNE_OK);
}

TEST(CTarnovelleChannel, CloseWithoutWriteCycleReturnsFailed) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    ASSERT_EQ(channel.Init(dir.Path(), TestGuid(), kMean, "", 0, 0, 0, 0), TNE_OK);
    EXPECT_EQ(channel.Close(), TNE_FAILED);
}

TEST(CTarnovelleChannel, CloseWithAFailingDataFileStillWritesTheSampleHeaders) {
    TNTestDir dir;
    TestChannel channel;
    ASSERT_EQ(CreateChannel(channel, dir.Path(), kMean), TNE_OK);
    const float values[3] = {1.0f, 2.0f, 3.0f};
    ASSERT_EQ(channel.WriteBeginSampleFloat(TS(100), TS(130), 3), TNE_OK);
    ASSERT_EQ(channel.WriteSampleData(values, 3), TNE_OK);
    // The data file is no longer held, so its Close fails.
    ASSERT_EQ(channel.m_DataFile.Close(), TNE_OK);
    EXPECT_EQ(channel.Close(), TNE_FAILED);  // the data file's result wins
    const std::string sam = TNTestDir::ReadFile(BasePath(dir.Path(), kMean) + ".Sam");
    ASSERT_EQ(sam.size(), 80u + 25u);
    EXPECT_EQ(static_cast<uint8_t>(sam[80]), FORMAT_FLOAT);
    EXPECT_EQ(ReadU32(sam, 81), 20u);
    EXPECT_EQ(ReadU32(sam, 85), 3u);
    CTarnovelleChannel reader;
    ASSERT_EQ(reader.Init(BasePath(dir.Path(), kMean) + ".Sam"), TNE_OK);
    EXPECT_EQ(reader.GetNrOfValues(0), 3u);
}

TEST(CTarnovelleChannel, WriteSampleDataCountsValuesOnlyAfterAGoodWrite) {
    TNTestDir dir;
    TestChannel channel;
    ASSERT_EQ(CreateChannel(channel, dir.Path(), kMean), TNE_OK);
    const float values[2] = {1.0f, 2.0f};
    ASSERT_EQ(channel.WriteBeginSampleFloat(TS(100), TS(120), 2), TNE_OK);
    ASSERT_EQ(channel.WriteSampleData(values, 2), TNE_OK);
    EXPECT_EQ(channel.GetNrOfValues(0), 2u);
    ASSERT_EQ(channel.m_DataFile.Close(), TNE_OK);
    EXPECT_EQ(channel.WriteSampleData(values, 2), TNE_FAILED);
    EXPECT_EQ(channel.GetNrOfValues(0), 2u);
    EXPECT_EQ(channel.Close(), TNE_FAILED);
}

TEST(CTarnovelleChannel, WriteSampleDataOutsideAWriteCycleFailsAndCountsNothing) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    ASSERT_EQ(channel.Init(dir.Path(), TestGuid(), kEvent, "", 0, 0, 0, 0), TNE_OK);
    ASSERT_EQ(channel.WriteBeginSampleEvent(TS(100), TS(100)), TNE_OK);
    const SEvent event(TS(100), 1.0f, 2.0f);
    EXPECT_EQ(channel.WriteSampleData(&event, 1), TNE_FAILED);
    EXPECT_EQ(channel.GetBlockCount(), 1);
    EXPECT_EQ(channel.GetNrOfValues(0), 0u);
}

TEST(CTarnovelleChannel, WriteCycleLeavesExactBytesInBothFiles) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    ASSERT_EQ(CreateChannel(channel, dir.Path(), kMean), TNE_OK);
    const unsigned short digits[2] = {0x1234, 0xFFFE};
    ASSERT_EQ(channel.WriteBeginSampleDigit(TS(1000, 999), TS(1060), 0.25f, 2.0f, 2), TNE_OK);
    ASSERT_EQ(channel.WriteSampleData(digits, 2), TNE_OK);
    ASSERT_EQ(channel.Close(), TNE_OK);
    const std::string base = BasePath(dir.Path(), kMean);
    const std::string dat = TNTestDir::ReadFile(base + ".Dat");
    ASSERT_EQ(dat.size(), 24u);
    EXPECT_EQ(ReadU32(dat, 0), TestGuid().Data1);
    EXPECT_EQ(ReadU32(dat, 16), kMean.GetDWORD());
    EXPECT_EQ(dat.substr(20), std::string("\x34\x12\xFE\xFF", 4));
    const std::string sam = TNTestDir::ReadFile(base + ".Sam");
    ASSERT_EQ(sam.size(), 105u);
    EXPECT_EQ(ReadU32(sam, 16), kMean.GetDWORD());
    EXPECT_EQ(sam[20], 1);
    EXPECT_EQ(sam[80], FORMAT_DIGIT);
    EXPECT_EQ(ReadU32(sam, 81), 20u);
    EXPECT_EQ(ReadU32(sam, 85), 2u);
    EXPECT_EQ(ReadU32(sam, 89), 1000u);
    EXPECT_EQ(ReadU32(sam, 93), 1060u);
    EXPECT_EQ(ReadU32(sam, 97), Bits(0.25f));
    EXPECT_EQ(ReadU32(sam, 101), Bits(2.0f));
}

TEST(CTarnovelleChannel, OpenThatCannotGetTheDataFileLeavesTheSamplesFileFree) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    ASSERT_EQ(CreateChannel(channel, dir.Path(), kMean), TNE_OK);
    ASSERT_EQ(channel.Close(), TNE_OK);
    const std::string base = BasePath(dir.Path(), kMean);
    CTarnovelleFile holder;
    ASSERT_TRUE(holder.Open((base + ".Dat").c_str(), CTarnovelleFile::modeWrite));
    CTNFakeClock clock;
    {
        CTNScopedClock scoped(&clock);
        EXPECT_THROW(channel.Open(), CFileException);
        EXPECT_EQ(clock.GetSleeps().size(), 240u);
        clock.ClearSleeps();
        // The samples file was never taken.
        CTarnovelleFile sam;
        EXPECT_TRUE(sam.Open((base + ".Sam").c_str(), CTarnovelleFile::modeReadWrite));
        EXPECT_TRUE(clock.GetSleeps().empty());
        sam.Close();
    }
    holder.Close();
}

TEST(CTarnovelleChannel, OpenThatCannotGetTheSamplesFileLetsTheDataFileGo) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    ASSERT_EQ(CreateChannel(channel, dir.Path(), kMean), TNE_OK);
    ASSERT_EQ(channel.Close(), TNE_OK);
    const std::string base = BasePath(dir.Path(), kMean);
    CTarnovelleFile holder;
    ASSERT_TRUE(holder.Open((base + ".Sam").c_str(), CTarnovelleFile::modeRead));
    CTNFakeClock clock;
    {
        CTNScopedClock scoped(&clock);
        EXPECT_ANY_THROW(channel.Open());
        clock.ClearSleeps();
        CTarnovelleFile dat;
        EXPECT_TRUE(dat.Open((base + ".Dat").c_str(), CTarnovelleFile::modeWrite));
        EXPECT_TRUE(clock.GetSleeps().empty());
        dat.Close();
    }
    holder.Close();
    // Nothing is held: a new cycle works.
    WriteFloatBlock(channel, TS(1), TS(2), {1.0f});
}

// ---------------------------------------------------------------- block questions

TEST(CTarnovelleChannel, BlockQuestionsAtTheBlockCountGiveTheNoBlockAnswers) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    ASSERT_EQ(CreateChannel(channel, dir.Path(), kMean), TNE_OK);
    ASSERT_EQ(channel.Close(), TNE_OK);
    WriteFloatBlock(channel, TS(100), TS(110), {1.0f, 2.0f});
    ASSERT_EQ(channel.GetBlockCount(), 1);
    EXPECT_EQ(static_cast<int>(channel.GetFormatId(1)), 7);
    EXPECT_EQ(static_cast<int>(channel.GetFormatId(0)), FORMAT_FLOAT);
    EXPECT_EQ(channel.GetNrOfValues(1), 0u);
    EXPECT_EQ(channel.GetDataPosition(1), 0u);
    EXPECT_TRUE(channel.GetStartTime(1).IsInvalidTS());
    EXPECT_TRUE(channel.GetEndTime(1).IsInvalidTS());
    EXPECT_EQ(channel.GetValueFactor(1), 0.0f);
    EXPECT_EQ(channel.GetValueOffset(1), 0.0f);
    float* values = nullptr;
    uint32_t count = 99;
    EXPECT_EQ(channel.GetArray(1, values, count), TNE_FAILED);
    EXPECT_EQ(values, nullptr);
    SEvent* events = nullptr;
    EXPECT_EQ(channel.GetArray(1, events, count), TNE_FAILED);
    const float update[2] = {0, 0};
    EXPECT_EQ(channel.UpdateArray(1, update), TNE_FAILED);
}

TEST(CTarnovelleChannel, MeanChannelTimesAreWholeSeconds) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    ASSERT_EQ(CreateChannel(channel, dir.Path(), kMean), TNE_OK);
    ASSERT_EQ(channel.WriteBeginSampleFloat(TS(1000, 500), TS(1010, 250), 1), TNE_OK);
    EXPECT_EQ(channel.GetStartTime(0), TS(1000));
    EXPECT_EQ(channel.GetEndTime(0), TS(1010));
    ASSERT_EQ(channel.Close(), TNE_OK);
}

TEST(CTarnovelleChannel, EventChannelTimesKeepMilliseconds) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    ASSERT_EQ(CreateChannel(channel, dir.Path(), kEvent), TNE_OK);
    ASSERT_EQ(channel.WriteBeginSampleEvent(TS(1000, 500), TS(1010, 250)), TNE_OK);
    ASSERT_EQ(channel.Close(), TNE_OK);
    CTarnovelleChannel reader;
    ASSERT_EQ(reader.Init(BasePath(dir.Path(), kEvent) + ".Sam"), TNE_OK);
    EXPECT_EQ(reader.GetStartTime(0), TS(1000, 500));
    EXPECT_EQ(reader.GetEndTime(0), TS(1010, 250));
}

TEST(CTarnovelleChannel, AChannelOfAnotherValueTypeTakesNoBlockAndHasNoTimes) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    ASSERT_EQ(CreateChannel(channel, dir.Path(), kAnalog), TNE_OK);
    EXPECT_EQ(channel.WriteBeginSampleFloat(TS(1000), TS(1010), 1), TNE_FAILED);
    EXPECT_EQ(channel.WriteBeginSampleBinary(FORMAT_BINARY_BYTE, TS(1000), TS(1010)), TNE_FAILED);
    EXPECT_EQ(channel.GetBlockCount(), 0);
    EXPECT_TRUE(channel.GetStartTime(0).IsInvalidTS());
    EXPECT_TRUE(channel.GetEndTime(0).IsInvalidTS());
    ASSERT_EQ(channel.Close(), TNE_OK);
}

// Every form of block that doesn't fit the value type is refused before
// anything changes, and the channel stays readable.
TEST(CTarnovelleChannel, ABlockWhoseFormDoesNotFitTheValueTypeIsRefused) {
    TNTestDir dir;
    CTarnovelleChannel mean;
    ASSERT_EQ(CreateChannel(mean, dir.Path(), kMean), TNE_OK);
    EXPECT_EQ(mean.WriteBeginSampleEvent(TS(10), TS(20)), TNE_FAILED);
    for (EFormatId f : {FORMAT_BINARY_BYTE, FORMAT_BINARY_WORD, FORMAT_BINARY_DWORD, FORMAT_MESSAGE, FORMAT_FLOAT,
                        FORMAT_DIGIT, static_cast<EFormatId>(7)})
        EXPECT_EQ(mean.WriteBeginSampleBinary(f, TS(10), TS(20)), TNE_FAILED) << f;
    EXPECT_EQ(mean.GetBlockCount(), 0);
    ASSERT_EQ(mean.WriteBeginSampleFloat(TS(10), TS(20), 1), TNE_OK);
    const float v = 2.5f;
    ASSERT_EQ(mean.WriteSampleData(&v, 1), TNE_OK);
    ASSERT_EQ(mean.Close(), TNE_OK);

    CTarnovelleChannel event;
    ASSERT_EQ(CreateChannel(event, dir.Path(), kEvent), TNE_OK);
    EXPECT_EQ(event.WriteBeginSampleFloat(TS(10), TS(20), 1), TNE_FAILED);
    EXPECT_EQ(event.WriteBeginSampleDigit(TS(10), TS(20), 0.0f, 1.0f, 1), TNE_FAILED);
    EXPECT_EQ(event.GetBlockCount(), 0);
    ASSERT_EQ(event.WriteBeginSampleBinary(FORMAT_MESSAGE, TS(10), TS(20)), TNE_OK);
    ASSERT_EQ(event.Close(), TNE_OK);

    CTarnovelleChannel reread;
    ASSERT_EQ(reread.Init(BasePath(dir.Path(), kMean) + ".Sam"), TNE_OK);
    ASSERT_EQ(reread.GetBlockCount(), 1);
    float* values = nullptr;
    uint32_t count = 0;
    ASSERT_EQ(reread.GetArray(0, values, count), TNE_OK);
    ASSERT_EQ(count, 1u);
    EXPECT_EQ(values[0], 2.5f);
    delete[] values;
    CTarnovelleChannel rereadEvent;
    ASSERT_EQ(rereadEvent.Init(BasePath(dir.Path(), kEvent) + ".Sam"), TNE_OK);
    EXPECT_EQ(rereadEvent.GetBlockCount(), 1);
}

TEST(CTarnovelleChannel, OffsetAndFactorOnlyForDigitBlocksOfMeanTypeChannels) {
    for (EMeasurementValueType type : {MVT_MEAN, MVT_MINIMUM, MVT_MAXIMUM, MVT_INTERVAL}) {
        CTarnovelleChannel channel;
        TNTestDir dir;
        ASSERT_EQ(channel.Init(dir.Path(), TestGuid(), Channel(type), "", 0, 0, 0, 0), TNE_OK);
        ASSERT_EQ(channel.WriteBeginSampleDigit(TS(10), TS(20), 1.5f, 0.125f, 0), TNE_OK);
        ASSERT_EQ(channel.WriteBeginSampleFloat(TS(30), TS(40), 0), TNE_OK);
        EXPECT_EQ(channel.GetValueOffset(0), 1.5f) << type;
        EXPECT_EQ(channel.GetValueFactor(0), 0.125f) << type;
        EXPECT_EQ(channel.GetValueOffset(1), 0.0f) << type;
        EXPECT_EQ(channel.GetValueFactor(1), 0.0f) << type;
    }
}

TEST(CTarnovelleChannel, ValueFactorOfADigitBlockInAnEventTypeChannelIsZero) {
    // No writer makes such a block any more; a file from elsewhere still may
    // hold one: an event block whose format byte says digits.
    TNTestDir dir;
    {
        CTarnovelleChannel writer;
        ASSERT_EQ(CreateChannel(writer, dir.Path(), kEvent), TNE_OK);
        ASSERT_EQ(writer.WriteBeginSampleEvent(TS(10), TS(20)), TNE_OK);
        ASSERT_EQ(writer.Close(), TNE_OK);
    }
    const std::string sam = BasePath(dir.Path(), kEvent) + ".Sam";
    std::string bytes = TNTestDir::ReadFile(sam);
    ASSERT_EQ(bytes.size(), 80u + 21u);
    bytes[80] = static_cast<char>(FORMAT_DIGIT);
    dir.WriteFile(sam.substr(dir.Path().size() + 1), bytes);
    CTarnovelleChannel channel;
    ASSERT_EQ(channel.Init(sam), TNE_OK);
    ASSERT_EQ(channel.GetFormatId(0), FORMAT_DIGIT);
    EXPECT_EQ(channel.GetValueFactor(0), 0.0f);
    EXPECT_EQ(channel.GetValueOffset(0), 0.0f);
}

TEST(CTarnovelleChannel, DataPositionsFollowTheBlocksBeforeThem) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    ASSERT_EQ(CreateChannel(channel, dir.Path(), kMean), TNE_OK);
    ASSERT_EQ(channel.Close(), TNE_OK);
    WriteFloatBlock(channel, TS(100), TS(110), {1.0f, 2.0f, 3.0f});
    WriteFloatBlock(channel, TS(200), TS(210), {4.0f});
    EXPECT_EQ(channel.GetDataPosition(0), 20u);
    EXPECT_EQ(channel.GetDataPosition(1), 32u);
    float* values = nullptr;
    uint32_t count = 0;
    ASSERT_EQ(channel.GetArray(1, values, count), TNE_OK);
    ASSERT_EQ(count, 1u);
    EXPECT_EQ(values[0], 4.0f);
    delete[] values;
}

// ---------------------------------------------------------------- round trips

TEST(CTarnovelleChannel, FloatBlockRoundTripsThroughAFreshChannel) {
    TNTestDir dir;
    CTarnovelleChannel writer;
    ASSERT_EQ(CreateChannel(writer, dir.Path(), kMean), TNE_OK);
    const std::vector<float> in = {1.5f, -2.25f, kInvalidFloat, 1e30f, 0.0f};
    ASSERT_EQ(writer.WriteBeginSampleFloat(TS(100), TS(150), 5), TNE_OK);
    ASSERT_EQ(writer.WriteSampleData(in.data(), 5), TNE_OK);
    ASSERT_EQ(writer.Close(), TNE_OK);

    CTarnovelleChannel reader;
    ASSERT_EQ(reader.Init(BasePath(dir.Path(), kMean) + ".Sam"), TNE_OK);
    float* out = nullptr;
    uint32_t count = 0;
    ASSERT_EQ(reader.GetArray(0, out, count), TNE_OK);
    ASSERT_EQ(count, 5u);
    for (uint32_t i = 0; i < count; ++i) EXPECT_EQ(Bits(out[i]), Bits(in[i])) << i;
    delete[] out;
}

TEST(CTarnovelleChannel, DigitBlockRoundTripsBothWaysWithFactorAndOffset) {
    TNTestDir dir;
    CTarnovelleChannel writer;
    ASSERT_EQ(CreateChannel(writer, dir.Path(), kMean), TNE_OK);
    const std::vector<unsigned short> in = {0, 1, 0xFFFF, 32767, 0x8001, 0x8000};
    ASSERT_EQ(writer.WriteBeginSampleDigit(TS(100), TS(160), 10.0f, 0.5f, 6), TNE_OK);
    ASSERT_EQ(writer.WriteSampleData(in.data(), 6), TNE_OK);
    ASSERT_EQ(writer.Close(), TNE_OK);

    CTarnovelleChannel reader;
    ASSERT_EQ(reader.Init(BasePath(dir.Path(), kMean) + ".Dat"), TNE_OK);
    unsigned short* digits = nullptr;
    uint32_t count = 0;
    ASSERT_EQ(reader.GetArray(0, digits, count), TNE_OK);
    ASSERT_EQ(count, 6u);
    for (uint32_t i = 0; i < count; ++i) EXPECT_EQ(digits[i], in[i]) << i;
    delete[] digits;

    float* floats = nullptr;
    ASSERT_EQ(reader.GetArray(0, floats, count), TNE_OK);
    ASSERT_EQ(count, 6u);
    EXPECT_EQ(floats[0], 10.0f);
    EXPECT_EQ(floats[1], 10.5f);
    EXPECT_EQ(floats[2], 9.5f);
    EXPECT_EQ(floats[3], 32767 * 0.5f + 10.0f);
    EXPECT_EQ(floats[4], -32767 * 0.5f + 10.0f);
    EXPECT_EQ(Bits(floats[5]), 0x7ff00000u);
    delete[] floats;
}

TEST(CTarnovelleChannel, EventBlockRoundTripsAndRefusesOtherForms) {
    TNTestDir dir;
    CTarnovelleChannel writer;
    ASSERT_EQ(CreateChannel(writer, dir.Path(), kEvent), TNE_OK);
    const SEvent in[2] = {SEvent(TS(100, 1), 1.0f, 2.0f), SEvent(TS(101, 999), 2.0f, -3.5f)};
    ASSERT_EQ(writer.WriteBeginSampleEvent(TS(100, 1), TS(101, 999)), TNE_OK);
    ASSERT_EQ(writer.WriteSampleData(in, 2), TNE_OK);
    ASSERT_EQ(writer.Close(), TNE_OK);

    CTarnovelleChannel reader;
    ASSERT_EQ(reader.Init(BasePath(dir.Path(), kEvent) + ".Sam"), TNE_OK);
    SEvent* out = nullptr;
    uint32_t count = 0;
    ASSERT_EQ(reader.GetArray(0, out, count), TNE_OK);
    ASSERT_EQ(count, 2u);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(std::memcmp(&out[i], &in[i], sizeof(SEvent)), 0) << i;
    }
    delete[] out;

    float* floats = nullptr;
    EXPECT_EQ(reader.GetArray(0, floats, count), TNE_FAILED);
    unsigned short* digits = nullptr;
    EXPECT_EQ(reader.GetArray(0, digits, count), TNE_FAILED);
    SBinary_BYTE* bytes = nullptr;
    EXPECT_EQ(reader.GetArray(0, bytes, count), TNE_FAILED);
    SBinary_Text* texts = nullptr;
    EXPECT_EQ(reader.GetArray(0, texts, count), TNE_FAILED);
    EXPECT_EQ(reader.UpdateArray(0, static_cast<const float*>(nullptr)), TNE_FAILED);
    const SBinary_DWORD dwords[2];
    EXPECT_EQ(reader.UpdateArray(0, dwords), TNE_FAILED);
}

TEST(CTarnovelleChannel, BinaryAndMessageBlocksRoundTripEachInItsOwnForm) {
    TNTestDir dir;
    CTarnovelleChannel writer;
    ASSERT_EQ(CreateChannel(writer, dir.Path(), kBinary), TNE_OK);
    const SBinary_BYTE b[3] = {SBinary_BYTE(TS(10), 1), SBinary_BYTE(TS(11), 0), SBinary_BYTE(TS(12), 255)};
    const SBinary_WORD w[2] = {SBinary_WORD(TS(20), 0x1234), SBinary_WORD(TS(21), 0xFFFF)};
    const SBinary_DWORD d[2] = {SBinary_DWORD(TS(30), 0xDEADBEEFu), SBinary_DWORD(TS(31), 7)};
    const SBinary_Text t[2] = {SBinary_Text(TS(40), "first"), SBinary_Text(TS(41), std::string(300, 'x'))};
    ASSERT_EQ(writer.WriteBeginSampleBinary(FORMAT_BINARY_BYTE, TS(10), TS(12)), TNE_OK);
    ASSERT_EQ(writer.WriteSampleData(b, 3), TNE_OK);
    ASSERT_EQ(writer.WriteBeginSampleBinary(FORMAT_BINARY_WORD, TS(20), TS(21)), TNE_OK);
    ASSERT_EQ(writer.WriteSampleData(w, 2), TNE_OK);
    ASSERT_EQ(writer.WriteBeginSampleBinary(FORMAT_BINARY_DWORD, TS(30), TS(31)), TNE_OK);
    ASSERT_EQ(writer.WriteSampleData(d, 2), TNE_OK);
    ASSERT_EQ(writer.WriteBeginSampleBinary(FORMAT_MESSAGE, TS(40), TS(41)), TNE_OK);
    ASSERT_EQ(writer.WriteSampleData(t, 2), TNE_OK);
    ASSERT_EQ(writer.Close(), TNE_OK);
    EXPECT_EQ(TNTestDir::ReadFile(BasePath(dir.Path(), kBinary) + ".Dat").size(), 20u + 21 + 16 + 20 + 512);

    CTarnovelleChannel reader;
    ASSERT_EQ(reader.Init(BasePath(dir.Path(), kBinary) + ".Sam"), TNE_OK);
    ASSERT_EQ(reader.GetBlockCount(), 4);
    uint32_t count = 0;
    SBinary_BYTE* ob = nullptr;
    ASSERT_EQ(reader.GetArray(0, ob, count), TNE_OK);
    ASSERT_EQ(count, 3u);
    EXPECT_EQ(std::memcmp(ob, b, sizeof(b)), 0);
    delete[] ob;
    SBinary_WORD* ow = nullptr;
    ASSERT_EQ(reader.GetArray(1, ow, count), TNE_OK);
    ASSERT_EQ(count, 2u);
    EXPECT_EQ(std::memcmp(ow, w, sizeof(w)), 0);
    delete[] ow;
    SBinary_DWORD* od = nullptr;
    ASSERT_EQ(reader.GetArray(2, od, count), TNE_OK);
    ASSERT_EQ(count, 2u);
    EXPECT_EQ(std::memcmp(od, d, sizeof(d)), 0);
    delete[] od;
    SBinary_Text* ot = nullptr;
    ASSERT_EQ(reader.GetArray(3, ot, count), TNE_OK);
    ASSERT_EQ(count, 2u);
    EXPECT_EQ(ot[0].GetValue(), "first");
    EXPECT_EQ(ot[1].GetValue(), std::string(250, 'x'));
    delete[] ot;

    // Each form only for its own format.
    EXPECT_EQ(reader.GetArray(1, ob, count), TNE_FAILED);
    EXPECT_EQ(reader.GetArray(0, ow, count), TNE_FAILED);
    EXPECT_EQ(reader.GetArray(3, od, count), TNE_FAILED);
    EXPECT_EQ(reader.GetArray(2, ot, count), TNE_FAILED);
    EXPECT_EQ(reader.UpdateArray(0, w), TNE_FAILED);
}

TEST(CTarnovelleChannel, ABlockReachingBeyondAShortDataFileIsTruncatedAndGivesNoValues) {
    TNTestDir dir;
    CTarnovelleChannel writer;
    ASSERT_EQ(CreateChannel(writer, dir.Path(), kBinary), TNE_OK);
    const SBinary_DWORD d[2] = {SBinary_DWORD(TS(30), 5), SBinary_DWORD(TS(31), 7)};
    ASSERT_EQ(writer.WriteBeginSampleBinary(FORMAT_BINARY_DWORD, TS(30), TS(31)), TNE_OK);
    ASSERT_EQ(writer.WriteSampleData(d, 2), TNE_OK);
    ASSERT_EQ(writer.Close(), TNE_OK);
    // Cut the second record off.
    const std::string base = BasePath(dir.Path(), kBinary);
    const std::string dat = TNTestDir::ReadFile(base + ".Dat");
    {
        FILE* f = std::fopen((base + ".Dat").c_str(), "wb");
        ASSERT_NE(f, nullptr);
        std::fwrite(dat.data(), 1, 30, f);
        std::fclose(f);
    }
    SBinary_DWORD stale[1];
    SBinary_DWORD* out = stale;  // must not be left as it was
    uint32_t count = 7;
    EXPECT_EQ(writer.GetArray(0, out, count), TNE_FILE_TRUNCATED);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(count, 0u);
    // Rewriting it in place would extend the file: refused, the file stays.
    EXPECT_EQ(writer.UpdateArray(0, d), TNE_FILE_TRUNCATED);
    EXPECT_EQ(TNTestDir::ReadFile(base + ".Dat").size(), 30u);
}

// ---------------------------------------------------------------- conversions

TEST(CTarnovelleChannel, InvalidDigitBecomesTheInvalidFloatWhateverFactorAndOffset) {
    TestChannel channel;
    const unsigned short digit = 0x8000;
    for (float factor : {0.0f, 1.0f, -3.5f, 1e10f}) {
        for (float offset : {0.0f, 7.0f, -1e-3f}) {
            float out = 0.0f;
            EXPECT_EQ(channel.ConvertDigit2Float(&digit, 1, factor, offset, &out), TNE_OK);
            EXPECT_EQ(Bits(out), 0x7ff00000u) << factor << " " << offset;
        }
    }
}

TEST(CTarnovelleChannel, DigitFFFFWithFactor2AndOffset1GivesMinusOne) {
    TestChannel channel;
    const unsigned short digit = 0xFFFF;
    float out = 0.0f;
    ASSERT_EQ(channel.ConvertDigit2Float(&digit, 1, 2.0f, 1.0f, &out), TNE_OK);
    EXPECT_EQ(out, -1.0f);
}

TEST(CTarnovelleChannel, DigitToFloatCoversTheFullSignedRangeAndRoundsOnceFromDouble) {
    TestChannel channel;
    const unsigned short digits[4] = {0x7FFF, 0x8001, 3, 0};
    float out[4];
    ASSERT_EQ(channel.ConvertDigit2Float(digits, 4, 0.1f, 0.2f, out), TNE_OK);
    EXPECT_EQ(out[0], static_cast<float>(32767.0 * static_cast<double>(0.1f) + static_cast<double>(0.2f)));
    EXPECT_EQ(out[1], static_cast<float>(-32767.0 * static_cast<double>(0.1f) + static_cast<double>(0.2f)));
    EXPECT_EQ(out[2], static_cast<float>(3.0 * static_cast<double>(0.1f) + static_cast<double>(0.2f)));
    EXPECT_EQ(out[3], 0.2f);
}

TEST(CTarnovelleChannel, FloatToDigitSubtractsTheQuotientOfOffsetAndFactor) {
    TestChannel channel;
    unsigned short out = 0;
    const float ten = 10.0f;
    ASSERT_EQ(channel.ConvertFloat2Digit(&ten, 1, 2.0f, 4.0f, &out), TNE_OK);
    EXPECT_EQ(out, 8);  // 10 - 4 / 2
    ASSERT_EQ(channel.ConvertFloat2Digit(&ten, 1, 0.5f, 4.0f, &out), TNE_OK);
    EXPECT_EQ(out, 2);  // 10 - 4 / 0.5; the value itself is not divided
    const float minusOneAndHalf = -1.5f;
    ASSERT_EQ(channel.ConvertFloat2Digit(&minusOneAndHalf, 1, 1.0f, 0.0f, &out), TNE_OK);
    EXPECT_EQ(out, 0xFFFF);  // truncated toward zero to -1
}

TEST(CTarnovelleChannel, FloatToDigitStoresZeroForNaNInfinityAndBeyond64Bits) {
    TestChannel channel;
    const float in[6] = {kInvalidFloat, std::numeric_limits<float>::quiet_NaN(),
                         std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity(), 1e30f,
                         -1e30f};
    unsigned short out[6] = {1, 1, 1, 1, 1, 1};
    ASSERT_EQ(channel.ConvertFloat2Digit(in, 6, 1.0f, 0.0f, out), TNE_OK);
    for (int i = 0; i < 6; ++i) EXPECT_EQ(out[i], 0) << i;
}

TEST(CTarnovelleChannel, FloatToDigitWithFactorAndOffsetZeroStoresZeroForAll) {
    TestChannel channel;
    const float in[4] = {1.0f, -7.0f, 32767.0f, 0.0f};
    unsigned short out[4] = {9, 9, 9, 9};
    ASSERT_EQ(channel.ConvertFloat2Digit(in, 4, 0.0f, 0.0f, out), TNE_OK);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(out[i], 0) << i;
}

TEST(CTarnovelleChannel, FloatToDigitWrapsResultsBeyond16Bits) {
    TestChannel channel;
    const float in[4] = {70000.0f, -70000.0f, 32768.0f, 4294967296.0f + 65536.0f * 3.0f};
    unsigned short out[4];
    ASSERT_EQ(channel.ConvertFloat2Digit(in, 4, 1.0f, 0.0f, out), TNE_OK);
    EXPECT_EQ(out[0], 70000 - 65536);
    EXPECT_EQ(out[1], 0xEE90);
    EXPECT_EQ(out[2], 0x8000);  // the invalid mark, reached only by the wrap
    EXPECT_EQ(out[3], 0);
}

TEST(CTarnovelleChannel, DigitsReadFromAFloatBlockAreZeros) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    ASSERT_EQ(CreateChannel(channel, dir.Path(), kMean), TNE_OK);
    ASSERT_EQ(channel.Close(), TNE_OK);
    WriteFloatBlock(channel, TS(100), TS(140), {1.5f, -3.0f, 100.0f, kInvalidFloat});
    unsigned short* digits = nullptr;
    uint32_t count = 0;
    ASSERT_EQ(channel.GetArray(0, digits, count), TNE_OK);
    ASSERT_EQ(count, 4u);
    for (uint32_t i = 0; i < count; ++i) EXPECT_EQ(digits[i], 0) << i;
    delete[] digits;
}

TEST(CTarnovelleChannel, EmptyDigitBlockReadAsFloatsGivesNoArray) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    ASSERT_EQ(CreateChannel(channel, dir.Path(), kMean), TNE_OK);
    ASSERT_EQ(channel.WriteBeginSampleDigit(TS(100), TS(110), 1.0f, 1.0f, 0), TNE_OK);
    ASSERT_EQ(channel.Close(), TNE_OK);
    float* floats = reinterpret_cast<float*>(&channel);  // must be overwritten
    uint32_t count = 5;
    ASSERT_EQ(channel.GetArray(0, floats, count), TNE_OK);
    EXPECT_EQ(floats, nullptr);
    EXPECT_EQ(count, 0u);
}

// ---------------------------------------------------------------- UpdateArray

TEST(CTarnovelleChannel, UpdateArrayKeepsPositionAndCountAndTheOtherBlocks) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    ASSERT_EQ(CreateChannel(channel, dir.Path(), kMean), TNE_OK);
    ASSERT_EQ(channel.Close(), TNE_OK);
    WriteFloatBlock(channel, TS(100), TS(130), {1.0f, 2.0f, 3.0f});
    WriteFloatBlock(channel, TS(200), TS(220), {4.0f, 5.0f});
    const std::string base = BasePath(dir.Path(), kMean);
    const std::string samBefore = TNTestDir::ReadFile(base + ".Sam");
    const size_t datSize = TNTestDir::ReadFile(base + ".Dat").size();

    const float update[3] = {-1.0f, -2.0f, -3.0f};
    ASSERT_EQ(channel.UpdateArray(0, update), TNE_OK);
    EXPECT_EQ(channel.GetDataPosition(0), 20u);
    EXPECT_EQ(channel.GetNrOfValues(0), 3u);
    EXPECT_EQ(TNTestDir::ReadFile(base + ".Sam"), samBefore);
    EXPECT_EQ(TNTestDir::ReadFile(base + ".Dat").size(), datSize);

    CTarnovelleChannel reader;
    ASSERT_EQ(reader.Init(base + ".Sam"), TNE_OK);
    float* values = nullptr;
    uint32_t count = 0;
    ASSERT_EQ(reader.GetArray(0, values, count), TNE_OK);
    ASSERT_EQ(count, 3u);
    EXPECT_EQ(values[0], -1.0f);
    EXPECT_EQ(values[2], -3.0f);
    delete[] values;
    ASSERT_EQ(reader.GetArray(1, values, count), TNE_OK);
    ASSERT_EQ(count, 2u);
    EXPECT_EQ(values[0], 4.0f);
    EXPECT_EQ(values[1], 5.0f);
    delete[] values;
}

TEST(CTarnovelleChannel, UpdateArrayWithFloatsOnADigitBlockConvertsByTheBlocksFactorAndOffset) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    ASSERT_EQ(CreateChannel(channel, dir.Path(), kMean), TNE_OK);
    const unsigned short digits[2] = {1, 2};
    ASSERT_EQ(channel.WriteBeginSampleDigit(TS(100), TS(120), 4.0f, 2.0f, 2), TNE_OK);
    ASSERT_EQ(channel.WriteSampleData(digits, 2), TNE_OK);
    ASSERT_EQ(channel.Close(), TNE_OK);

    const float update[2] = {10.0f, 20.0f};
    ASSERT_EQ(channel.UpdateArray(0, update), TNE_OK);
    unsigned short* out = nullptr;
    uint32_t count = 0;
    ASSERT_EQ(channel.GetArray(0, out, count), TNE_OK);
    ASSERT_EQ(count, 2u);
    EXPECT_EQ(out[0], 8);   // 10 - 4 / 2
    EXPECT_EQ(out[1], 18);  // 20 - 4 / 2
    delete[] out;
    float* floats = nullptr;
    ASSERT_EQ(channel.GetArray(0, floats, count), TNE_OK);
    EXPECT_EQ(floats[0], 20.0f);  // 8 * 2 + 4
    EXPECT_EQ(floats[1], 40.0f);
    delete[] floats;
}

TEST(CTarnovelleChannel, UpdateArrayWithDigitsOnAFloatBlockGivesZerosAndKeepsInvalidMarks) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    ASSERT_EQ(CreateChannel(channel, dir.Path(), kMean), TNE_OK);
    ASSERT_EQ(channel.Close(), TNE_OK);
    WriteFloatBlock(channel, TS(100), TS(130), {1.0f, 2.0f, 3.0f});
    const unsigned short update[3] = {5, 0x8000, 0xFFFF};
    ASSERT_EQ(channel.UpdateArray(0, update), TNE_OK);
    float* values = nullptr;
    uint32_t count = 0;
    ASSERT_EQ(channel.GetArray(0, values, count), TNE_OK);
    ASSERT_EQ(count, 3u);
    EXPECT_EQ(Bits(values[0]), 0u);
    EXPECT_EQ(Bits(values[1]), 0x7ff00000u);
    EXPECT_EQ(Bits(values[2]), 0u);
    delete[] values;
}

TEST(CTarnovelleChannel, UpdateArrayOfRecordsOverwritesInPlace) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    ASSERT_EQ(CreateChannel(channel, dir.Path(), kBinary), TNE_OK);
    const SBinary_WORD w[2] = {SBinary_WORD(TS(20), 1), SBinary_WORD(TS(21), 2)};
    const SBinary_Text t[1] = {SBinary_Text(TS(40), "old")};
    ASSERT_EQ(channel.WriteBeginSampleBinary(FORMAT_BINARY_WORD, TS(20), TS(21)), TNE_OK);
    ASSERT_EQ(channel.WriteSampleData(w, 2), TNE_OK);
    ASSERT_EQ(channel.WriteBeginSampleBinary(FORMAT_MESSAGE, TS(40), TS(40)), TNE_OK);
    ASSERT_EQ(channel.WriteSampleData(t, 1), TNE_OK);
    ASSERT_EQ(channel.Close(), TNE_OK);

    const SBinary_WORD w2[2] = {SBinary_WORD(TS(20), 7), SBinary_WORD(TS(21), 8)};
    ASSERT_EQ(channel.UpdateArray(0, w2), TNE_OK);
    SBinary_WORD* ow = nullptr;
    uint32_t count = 0;
    ASSERT_EQ(channel.GetArray(0, ow, count), TNE_OK);
    EXPECT_EQ(int{ow[0].m_Value}, 7);
    EXPECT_EQ(int{ow[1].m_Value}, 8);
    delete[] ow;
    SBinary_Text* ot = nullptr;
    ASSERT_EQ(channel.GetArray(1, ot, count), TNE_OK);
    EXPECT_EQ(ot[0].GetValue(), "old");
    delete[] ot;
}

// ---------------------------------------------------------------- ranges

TEST(CTarnovelleChannel, TimeRangeOfAChannelWithoutBlocksIsNoObjectAndChangesNothing) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    ASSERT_EQ(channel.Init(dir.Path(), TestGuid(), kMean, "", 0, 0, 0, 0), TNE_OK);
    CTNUTCTimeStamp from = TS(5), to = TS(6);
    EXPECT_EQ(channel.GetTimeRange(from, to), TNE_NO_OBJECT);
    EXPECT_EQ(from, TS(5));
    EXPECT_EQ(to, TS(6));
}

TEST(CTarnovelleChannel, TimeRangeReplacesInvalidStamps) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    ASSERT_EQ(channel.Init(dir.Path(), TestGuid(), kMean, "", 0, 0, 0, 0), TNE_OK);
    ASSERT_EQ(channel.WriteBeginSampleFloat(TS(100), TS(110), 0), TNE_OK);
    ASSERT_EQ(channel.WriteBeginSampleFloat(TS(200), TS(210), 0), TNE_OK);
    CTNUTCTimeStamp from = CTNUTCTimeStamp::InvalidTS(), to = CTNUTCTimeStamp::InvalidTS();
    ASSERT_EQ(channel.GetTimeRange(from, to), TNE_OK);
    EXPECT_EQ(from, TS(100));
    EXPECT_EQ(to, TS(210));
}

TEST(CTarnovelleChannel, TimeRangeOnlyWidens) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    ASSERT_EQ(channel.Init(dir.Path(), TestGuid(), kMean, "", 0, 0, 0, 0), TNE_OK);
    ASSERT_EQ(channel.WriteBeginSampleFloat(TS(100), TS(110), 0), TNE_OK);
    // From already earlier than the first block, to already later than the last.
    CTNUTCTimeStamp from = TS(50), to = TS(500);
    ASSERT_EQ(channel.GetTimeRange(from, to), TNE_OK);
    EXPECT_EQ(from, TS(50));
    EXPECT_EQ(to, TS(500));
    // From later, to earlier: both widened.
    from = TS(105);
    to = TS(106);
    ASSERT_EQ(channel.GetTimeRange(from, to), TNE_OK);
    EXPECT_EQ(from, TS(100));
    EXPECT_EQ(to, TS(110));
}

TEST(CTarnovelleChannel, TimeRangeOfEventsEndsWithTheLastArrivedBlock) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    ASSERT_EQ(channel.Init(dir.Path(), TestGuid(), kEvent, "", 0, 0, 0, 0), TNE_OK);
    ASSERT_EQ(channel.WriteBeginSampleEvent(TS(100), TS(200)), TNE_OK);
    ASSERT_EQ(channel.WriteBeginSampleEvent(TS(50), TS(60)), TNE_OK);  // late: appended
    ASSERT_EQ(channel.GetBlockCount(), 2);
    CTNUTCTimeStamp from = CTNUTCTimeStamp::InvalidTS(), to = CTNUTCTimeStamp::InvalidTS();
    ASSERT_EQ(channel.GetTimeRange(from, to), TNE_OK);
    EXPECT_EQ(from, TS(100));
    EXPECT_EQ(to, TS(60));
}

TEST(CTarnovelleChannel, IsEmptyWithoutBlocksGivesOne) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    ASSERT_EQ(channel.Init(dir.Path(), TestGuid(), kMean, "", 0, 0, 0, 0), TNE_OK);
    int32_t result = 0;
    EXPECT_EQ(channel.IsEmpty(TS(0), TS(1000), result), TNE_OK);
    EXPECT_EQ(result, 1);
}

TEST(CTarnovelleChannel, IsEmptyAsksEveryBlock) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    ASSERT_EQ(channel.Init(dir.Path(), TestGuid(), kMean, "", 0, 0, 0, 0), TNE_OK);
    ASSERT_EQ(channel.WriteBeginSampleFloat(TS(100), TS(110), 0), TNE_OK);
    ASSERT_EQ(channel.WriteBeginSampleFloat(TS(200), TS(210), 0), TNE_OK);
    int32_t result = 7;
    EXPECT_EQ(channel.IsEmpty(TS(205), TS(300), result), TNE_OK);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(channel.IsEmpty(TS(120), TS(190), result), TNE_OK);
    EXPECT_EQ(result, 1);
    // The end of a mean block is exclusive.
    EXPECT_EQ(channel.IsEmpty(TS(210), TS(300), result), TNE_OK);
    EXPECT_EQ(result, 1);
}

TEST(CTarnovelleChannel, IsEmptyPassesOnTheFailureOfABlockWithInvalidTimes) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    ASSERT_EQ(channel.Init(dir.Path(), TestGuid(), kEvent, "", 0, 0, 0, 0), TNE_OK);
    ASSERT_EQ(channel.WriteBeginSampleEvent(CTNUTCTimeStamp::InvalidTS(), TS(10)), TNE_OK);
    int32_t result = 7;
    EXPECT_EQ(channel.IsEmpty(TS(0), TS(100), result), TNE_FAILED);
    EXPECT_EQ(result, 7);
}

// ---------------------------------------------------------------- sharing

TEST(CTarnovelleChannel, ReadingDuringItsOwnWriteCycleTimesOutWithTheFileServiceException) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    ASSERT_EQ(CreateChannel(channel, dir.Path(), kMean), TNE_OK);
    const float v[2] = {1.0f, 2.0f};
    ASSERT_EQ(channel.WriteBeginSampleFloat(TS(100), TS(120), 2), TNE_OK);
    ASSERT_EQ(channel.WriteSampleData(v, 2), TNE_OK);
    CTNFakeClock clock;
    {
        CTNScopedClock scoped(&clock);
        TNSetLastError(0);
        float* values = nullptr;
        uint32_t count = 0;
        EXPECT_THROW(channel.GetArray(0, values, count), CFileException);
        EXPECT_EQ(values, nullptr);
        EXPECT_EQ(clock.GetSleeps().size(), 240u);
        EXPECT_NE(TNGetLastError(), 0u);
    }
    ASSERT_EQ(channel.Close(), TNE_OK);
    float* values = nullptr;
    uint32_t count = 0;
    ASSERT_EQ(channel.GetArray(0, values, count), TNE_OK);
    EXPECT_EQ(count, 2u);
    delete[] values;
}

TEST(CTarnovelleChannel, ReadersShareTheDataFileButAnUpdateWaitsForThem) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    ASSERT_EQ(CreateChannel(channel, dir.Path(), kMean), TNE_OK);
    ASSERT_EQ(channel.Close(), TNE_OK);
    WriteFloatBlock(channel, TS(100), TS(120), {1.0f, 2.0f});
    CTarnovelleFile otherReader;
    ASSERT_TRUE(otherReader.Open((BasePath(dir.Path(), kMean) + ".Dat").c_str(), CTarnovelleFile::modeRead));
    CTNFakeClock clock;
    {
        CTNScopedClock scoped(&clock);
        float* values = nullptr;
        uint32_t count = 0;
        ASSERT_EQ(channel.GetArray(0, values, count), TNE_OK);
        delete[] values;
        EXPECT_TRUE(clock.GetSleeps().empty());
        const float update[2] = {3.0f, 4.0f};
        EXPECT_THROW(channel.UpdateArray(0, update), CFileException);
        EXPECT_EQ(clock.GetSleeps().size(), 240u);
    }
    otherReader.Close();
}

TEST(CTarnovelleChannel, MissingDataFileAtReadTimeFailsAfterTheRetries) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    ASSERT_EQ(CreateChannel(channel, dir.Path(), kMean), TNE_OK);
    ASSERT_EQ(channel.Close(), TNE_OK);
    WriteFloatBlock(channel, TS(100), TS(120), {1.0f});
    ASSERT_EQ(DeleteFilePath(BasePath(dir.Path(), kMean) + ".Dat"), 0);
    CTNFakeClock clock;
    CTNScopedClock scoped(&clock);
    float* values = nullptr;
    uint32_t count = 0;
    EXPECT_THROW(channel.GetArray(0, values, count), CFileException);
    EXPECT_EQ(clock.GetSleeps().size(), 240u);
    const float update[1] = {2.0f};
    EXPECT_THROW(channel.UpdateArray(0, update), CFileException);
    EXPECT_FALSE(TNTestDir::Exists(BasePath(dir.Path(), kMean) + ".Dat"));  // nothing created
}

TEST(CTarnovelleChannel, RefreshPicksUpBlocksAnotherObjectWrote) {
    TNTestDir dir;
    CTarnovelleChannel writer;
    ASSERT_EQ(CreateChannel(writer, dir.Path(), kMean), TNE_OK);
    ASSERT_EQ(writer.Close(), TNE_OK);
    CTarnovelleChannel reader;
    ASSERT_EQ(reader.Init(BasePath(dir.Path(), kMean) + ".Sam"), TNE_OK);
    EXPECT_EQ(reader.GetBlockCount(), 0);
    WriteFloatBlock(writer, TS(100), TS(120), {1.0f});
    EXPECT_EQ(reader.GetBlockCount(), 0);  // a snapshot
    reader.Refresh();
    EXPECT_EQ(reader.GetBlockCount(), 1);
}

}  // namespace

// ---------------------------------------------------------------- block index bounds

TEST(CTarnovelleChannel, AnIndexEqualToTheBlockCountNamesNoBlock) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    ASSERT_EQ(CreateChannel(channel, dir.Path(), kMean), TNE_OK);
    ASSERT_EQ(channel.Close(), TNE_OK);
    WriteFloatBlock(channel, TS(100), TS(110), {1.0f});
    WriteFloatBlock(channel, TS(200), TS(210), {2.0f});
    WriteFloatBlock(channel, TS(300), TS(310), {3.0f});
    ASSERT_EQ(channel.GetBlockCount(), 3);
    EXPECT_EQ(channel.GetFormatId(3), CTarnovelleChannel::kNoFormat);
    EXPECT_EQ(channel.GetNrOfValues(3), 0u);
    EXPECT_EQ(channel.GetDataPosition(3), 0u);
    EXPECT_TRUE(channel.GetStartTime(3).IsInvalidTS());
    EXPECT_TRUE(channel.GetEndTime(3).IsInvalidTS());
    EXPECT_EQ(channel.GetValueOffset(3), 0.0f);
    EXPECT_EQ(channel.GetValueFactor(3), 0.0f);
    float* values = nullptr;
    uint32_t count = 0;
    EXPECT_EQ(channel.GetArray(3, values, count), TNE_FAILED);
    const float one = 1.0f;
    EXPECT_EQ(channel.UpdateArray(3, &one), TNE_FAILED);
}

// ---------------------------------------------------------------- failed creation

namespace {
// Fails every open of one path.
class FailOpensOf : public CTNFileFaults {
public:
    explicit FailOpensOf(std::string path) : m_path(std::move(path)) {}
    int Before(EOperation operation, const std::string& path) override {
        return operation == opOpen && path == m_path ? EIO : 0;
    }

private:
    std::string m_path;
};

// True when `path` can be held exclusively at once, without a single retry.
bool FreeToWrite(const std::string& path) {
    CTNFakeClock clock(0);
    CTNScopedClock scope(&clock);
    CTarnovelleFile file;
    const bool opened = file.Open(path.c_str(), CTarnovelleFile::modeWrite) != 0;
    if (opened) file.Close();
    return opened && clock.GetSleeps().empty();
}
}  // namespace

TEST(CTarnovelleChannel, ACreateWhoseSamplesFileCannotBeOpenedLetsTheDataFileGo) {
    TNTestDir dir;
    const std::string base = BasePath(dir.Path(), kMean);
    FailOpensOf faults(base + ".Sam");
    CTNScopedFileFaults scope(&faults);
    CTNFakeClock clock(0);
    CTNScopedClock clockScope(&clock);
    CTarnovelleChannel channel;
    EXPECT_ANY_THROW(CreateChannel(channel, dir.Path(), kMean));
    ASSERT_TRUE(TNTestDir::Exists(base + ".Dat"));
    EXPECT_TRUE(FreeToWrite(base + ".Dat"));
}

TEST(CTarnovelleChannel, ACreateWhoseSamplesFileRefusesTheChannelLetsTheDataFileGo) {
    // A channel of no value type: the new samples file knows nothing of it.
    TNTestDir dir;
    const SChannelID unknown(static_cast<ECharacteristicType>(0x21), static_cast<EPhase>(1), MVT_UNDEFINED);
    CTarnovelleChannel channel;
    EXPECT_EQ(CreateChannel(channel, dir.Path(), unknown), TNE_NO_OBJECT);
    const std::string base = BasePath(dir.Path(), unknown);
    ASSERT_TRUE(TNTestDir::Exists(base + ".Dat"));
    EXPECT_TRUE(FreeToWrite(base + ".Dat"));
}

TEST(CTarnovelleChannel, ValuesWithoutASelectedBlockOrOfAnotherTypeAreRefusedUnwritten) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    ASSERT_EQ(CreateChannel(channel, dir.Path(), kMean), TNE_OK);
    const std::string dat = BasePath(dir.Path(), kMean) + ".Dat";
    const float floats[2] = {1.0f, 2.0f};
    const unsigned short digits[2] = {1, 2};
    EXPECT_EQ(channel.WriteSampleData(floats, 2), TNE_FAILED);
    ASSERT_EQ(channel.WriteBeginSampleFloat(TS(10), TS(12), 2), TNE_OK);
    EXPECT_EQ(channel.WriteSampleData(digits, 2), TNE_FAILED);
    EXPECT_EQ(TNTestDir::ReadFile(dat).size(), 20u);
    ASSERT_EQ(channel.WriteSampleData(floats, 2), TNE_OK);
    ASSERT_EQ(channel.Close(), TNE_OK);
    EXPECT_EQ(TNTestDir::ReadFile(dat).size(), 28u);
    EXPECT_EQ(channel.GetNrOfValues(0), 2u);
}

// ---------------------------------------------------------------- parts of a block

TEST(CTarnovelleChannel, APartOfABlockIsReadAsTheSameValuesTheWholeReadGives) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    ASSERT_EQ(CreateChannel(channel, dir.Path(), kMean), TNE_OK);
    ASSERT_EQ(channel.Close(), TNE_OK);
    std::vector<float> ramp(100);
    for (size_t i = 0; i < ramp.size(); ++i) ramp[i] = static_cast<float>(i) * 0.5f;
    WriteFloatBlock(channel, TS(1000), TS(1100), ramp);
    float* part = nullptr;
    uint32_t count = 0;
    ASSERT_EQ(channel.GetArray(0, 10, 5, part, count), TNE_OK);
    ASSERT_EQ(count, 5u);
    EXPECT_EQ(std::vector<float>(part, part + count), std::vector<float>(ramp.begin() + 10, ramp.begin() + 15));
    delete[] part;
    // Asked for beyond the block: clipped to what is there.
    ASSERT_EQ(channel.GetArray(0, 95, 50, part, count), TNE_OK);
    EXPECT_EQ(std::vector<float>(part, part + count), std::vector<float>(ramp.begin() + 95, ramp.end()));
    delete[] part;
    ASSERT_EQ(channel.GetArray(0, 100, 5, part, count), TNE_OK);
    EXPECT_EQ(count, 0u);
    delete[] part;
}

TEST(CTarnovelleChannel, APartOfADigitBlockIsConvertedLikeTheWhole) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    ASSERT_EQ(CreateChannel(channel, dir.Path(), kMean), TNE_OK);
    const unsigned short digits[4] = {1, 2, 0x8000, 4};
    ASSERT_EQ(channel.WriteBeginSampleDigit(TS(10), TS(14), 100.0f, 0.5f, 4), TNE_OK);
    ASSERT_EQ(channel.WriteSampleData(digits, 4), TNE_OK);
    ASSERT_EQ(channel.Close(), TNE_OK);
    float* whole = nullptr;
    uint32_t wholeCount = 0;
    ASSERT_EQ(channel.GetArray(0, whole, wholeCount), TNE_OK);
    float* part = nullptr;
    uint32_t count = 0;
    ASSERT_EQ(channel.GetArray(0, 1, 3, part, count), TNE_OK);
    ASSERT_EQ(count, 3u);
    EXPECT_EQ(std::memcmp(part, whole + 1, 3 * sizeof(float)), 0);
    EXPECT_EQ(part[0], 101.0f);
    EXPECT_EQ(Bits(part[1]), 0x7ff00000u);
    delete[] whole;
    delete[] part;
}

TEST(CTarnovelleChannel, APartOfABlockThatReachesBeyondItsFileIsDamageLikeTheWhole) {
    TNTestDir dir;
    CTarnovelleChannel channel;
    ASSERT_EQ(CreateChannel(channel, dir.Path(), kMean), TNE_OK);
    ASSERT_EQ(channel.Close(), TNE_OK);
    WriteFloatBlock(channel, TS(1000), TS(1004), {1.0f, 2.0f, 3.0f, 4.0f});
    const std::string dat = BasePath(dir.Path(), kMean) + ".Dat";
    std::filesystem::resize_file(dat, 20 + 3 * 4);
    float* part = nullptr;
    uint32_t count = 0;
    EXPECT_EQ(channel.GetArray(0, 0, 1, part, count), TNE_FILE_TRUNCATED);
    EXPECT_EQ(part, nullptr);
}
