// Channel files written by someone else, half-way or with hostile counts: a
// block header never sizes an allocation beyond the data file it points into.
// Every allocation of this test program is watched (TNAllocationWatch), and
// anything above 1 GiB is refused outright, so a reader that trusted a count
// fails fast instead of taking the machine down.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "tarnovelle/storage/CTarnovelleChannel.h"
#include "tarnovelle/storage/CTarnovelleSample.h"
#include "tarnovelle/storage/SDataFileHeader.h"
#include "tarnovelle/storage/SSampleHeader.h"
#include "tarnovelle/storage/SSampleHeaderEvent.h"
#include "tarnovelle/storage/SSampleHeaderMeanValues.h"
#include "tarnovelle/storage/SSamplesFileHeader.h"
#include "tarnovelle/support/TNGuid.h"
#include "tarnovelle/values/STarnovelleTimeStampInMsec.h"
#include "tests/support/allocation/TNAllocationWatch.h"
#include "tests/support/TNTestDir.h"

namespace {

constexpr GUID kGuid = {0x11223344, 0x5566, 0x7788, {1, 2, 3, 4, 5, 6, 7, 8}};
const SChannelID kMessages(static_cast<ECharacteristicType>(0x30), static_cast<EPhase>(0), MVT_BINARY);
const SChannelID kMeans(static_cast<ECharacteristicType>(0x21), static_cast<EPhase>(1), MVT_MEAN);

template <typename T>
void Put(std::string& bytes, const T& record) {
    bytes.append(reinterpret_cast<const char*>(&record), sizeof(record));
}

std::string FileHeader(const SChannelID& id) {
    SSamplesFileHeader header;
    header.MeasuringPointGUID = kGuid;
    header.ChannelID = id;
    header.FormatVersion = 1;
    std::string bytes;
    Put(bytes, header);
    return bytes;
}

std::string EventBlock(EFormatId format, uint32_t position, uint32_t count) {
    std::string bytes;
    Put(bytes, SSampleHeader{static_cast<uint8_t>(format), position, count});
    Put(bytes, SSampleHeaderEvent{STarnovelleTimeStampInMsec(1000, 0), STarnovelleTimeStampInMsec(2000, 0)});
    return bytes;
}

std::string MeanBlock(EFormatId format, uint32_t position, uint32_t count) {
    std::string bytes;
    Put(bytes, SSampleHeader{static_cast<uint8_t>(format), position, count});
    Put(bytes, SSampleHeaderMeanValues{1000, 1000 + count, 0.0f, 1.0f});
    return bytes;
}

// A data file of `size` bytes: the 20-byte header, then counting bytes.
std::string DataFile(const SChannelID& id, size_t size) {
    SDataFileHeader header;
    header.MeasuringPointGUID = kGuid;
    header.ChannelID = id;
    std::string bytes;
    Put(bytes, header);
    for (size_t i = bytes.size(); i < size; ++i) bytes.push_back(static_cast<char>(i));
    bytes.resize(size);
    return bytes;
}

// Writes the pair and returns the samples file's path.
std::string WritePair(const TNTestDir& dir, const SChannelID& id, const std::string& sam, const std::string& dat) {
    char name[16];
    std::snprintf(name, sizeof(name), "%08lx", static_cast<unsigned long>(id.GetDWORD()));
    std::filesystem::create_directories(dir / GuidToString(kGuid));
    const std::string base = GuidToString(kGuid) + "/" + name;
    dir.WriteFile(base + ".Dat", dat);
    return dir.WriteFile(base + ".Sam", sam);
}

CTNUTCTimeStamp TS(uint32_t seconds) { return STarnovelleTimeStampInMsec(seconds, 0).GetUTCTimeStamp(); }

class ChannelDamageTest : public ::testing::Test {
protected:
    void SetUp() override { TNAllocationWatch::Reset(); }
    // Nothing was asked for that a file of these sizes could not explain.
    void ExpectNoAllocationAbove(size_t bytes) const { EXPECT_LE(TNAllocationWatch::Largest(), bytes); }
    TNTestDir m_dir;
};

TEST_F(ChannelDamageTest, AMessageBlockClaimingSixteenMillionRecordsOverA4KiBDataFileIsTruncated) {
    // 80-byte header, one 21-byte block header and a lone byte of a header
    // that was never finished: 102 bytes.
    const std::string sam = FileHeader(kMessages) + EventBlock(FORMAT_MESSAGE, 20, 0x00FFFFFF) + std::string(1, '\x06');
    ASSERT_EQ(sam.size(), 102u);
    const std::string path = WritePair(m_dir, kMessages, sam, DataFile(kMessages, 4096));

    CTarnovelleChannel channel;
    ASSERT_EQ(channel.Init(path), TNE_OK);
    ASSERT_EQ(channel.GetBlockCount(), 1);
    ASSERT_EQ(channel.GetNrOfValues(0), 0x00FFFFFFu);

    SBinary_Text* texts = nullptr;
    uint32_t count = 99;
    EXPECT_EQ(channel.GetArray(0, texts, count), TNE_FILE_TRUNCATED);
    EXPECT_EQ(texts, nullptr);
    EXPECT_EQ(count, 0u);
    // The other forms don't fit a message block and read nothing either.
    SEvent* events = nullptr;
    float* floats = nullptr;
    unsigned short* digits = nullptr;
    EXPECT_EQ(channel.GetArray(0, events, count), TNE_FAILED);
    EXPECT_EQ(channel.GetArray(0, floats, count), TNE_FAILED);
    EXPECT_EQ(channel.GetArray(0, digits, count), TNE_FAILED);

    CTarnovelleSample whole;
    EXPECT_EQ(whole.Init(channel, 0), TNE_FILE_TRUNCATED);
    EXPECT_EQ(whole.GetNrOfValues(), 0u);
    EXPECT_EQ(whole.GetSBinaryArrayText(), nullptr);
    CTarnovelleSample byIndex;
    EXPECT_EQ(byIndex.Init(channel, 0, 0, 5), TNE_FILE_TRUNCATED);
    EXPECT_EQ(byIndex.GetNrOfValues(), 0u);
    CTarnovelleSample byTime;
    EXPECT_EQ(byTime.Init(channel, 0, TS(1000), TS(3000), true), TNE_FILE_TRUNCATED);
    EXPECT_EQ(byTime.GetNrOfValues(), 0u);
    ExpectNoAllocationAbove(64 * 1024);
}

TEST_F(ChannelDamageTest, ABlockWhoseExtentOverflows32BitsIsTruncated) {
    // Position and byte count each fit 32 bits; their sum does not.
    const std::string sam = FileHeader(kMeans) + MeanBlock(FORMAT_FLOAT, 0xFFFFFF00u, 0x100) +
                            MeanBlock(FORMAT_FLOAT, 20, 0x40000001u) + MeanBlock(FORMAT_DIGIT, 0xFFFFFFF0u, 0x10);
    const std::string path = WritePair(m_dir, kMeans, sam, DataFile(kMeans, 4096));
    CTarnovelleChannel channel;
    ASSERT_EQ(channel.Init(path), TNE_OK);
    ASSERT_EQ(channel.GetBlockCount(), 3);
    for (int32_t block = 0; block < 3; ++block) {
        float* floats = nullptr;
        uint32_t count = 0;
        EXPECT_EQ(channel.GetArray(block, floats, count), TNE_FILE_TRUNCATED) << block;
        EXPECT_EQ(floats, nullptr);
        unsigned short* digits = nullptr;
        EXPECT_EQ(channel.GetArray(block, digits, count), TNE_FILE_TRUNCATED) << block;
        CTarnovelleSample sample;
        EXPECT_EQ(sample.Init(channel, block, TS(1000), TS(1100), false), TNE_FILE_TRUNCATED) << block;
    }
    ExpectNoAllocationAbove(64 * 1024);
}

TEST_F(ChannelDamageTest, ABlockEndingExactlyAtTheEndOfTheDataFileIsReadAsBefore) {
    // Three floats at 20 end at byte 32, the file's last.
    const std::string sam = FileHeader(kMeans) + MeanBlock(FORMAT_FLOAT, 20, 3);
    std::string dat = DataFile(kMeans, 20);
    for (float v : {1.5f, -2.0f, 8.25f}) Put(dat, v);
    const std::string path = WritePair(m_dir, kMeans, sam, dat);
    CTarnovelleChannel channel;
    ASSERT_EQ(channel.Init(path), TNE_OK);
    float* floats = nullptr;
    uint32_t count = 0;
    ASSERT_EQ(channel.GetArray(0, floats, count), TNE_OK);
    ASSERT_EQ(count, 3u);
    EXPECT_EQ(floats[0], 1.5f);
    EXPECT_EQ(floats[1], -2.0f);
    EXPECT_EQ(floats[2], 8.25f);
    delete[] floats;
    CTarnovelleSample sample;
    ASSERT_EQ(sample.Init(channel, 0), TNE_OK);
    EXPECT_EQ(sample.GetNrOfValues(), 3u);
}

TEST_F(ChannelDamageTest, ABlockEndingOneByteBeyondTheDataFileIsTruncated) {
    const std::string sam = FileHeader(kMeans) + MeanBlock(FORMAT_FLOAT, 20, 3);
    std::string dat = DataFile(kMeans, 20);
    for (float v : {1.5f, -2.0f, 8.25f}) Put(dat, v);
    dat.pop_back();
    const std::string path = WritePair(m_dir, kMeans, sam, dat);
    CTarnovelleChannel channel;
    ASSERT_EQ(channel.Init(path), TNE_OK);
    float* floats = nullptr;
    uint32_t count = 0;
    EXPECT_EQ(channel.GetArray(0, floats, count), TNE_FILE_TRUNCATED);
    EXPECT_EQ(floats, nullptr);
    CTarnovelleSample sample;
    EXPECT_EQ(sample.Init(channel, 0), TNE_FILE_TRUNCATED);
    EXPECT_EQ(sample.GetNrOfValues(), 0u);
}

TEST_F(ChannelDamageTest, AnEmptyBlockAtTheVeryEndOfTheDataFileIsNoDamage) {
    const std::string sam = FileHeader(kMessages) + EventBlock(FORMAT_EVENT, 20, 0);
    const std::string path = WritePair(m_dir, kMessages, sam, DataFile(kMessages, 20));
    CTarnovelleChannel channel;
    ASSERT_EQ(channel.Init(path), TNE_OK);
    SEvent* events = nullptr;
    uint32_t count = 5;
    ASSERT_EQ(channel.GetArray(0, events, count), TNE_OK);
    EXPECT_EQ(count, 0u);
    delete[] events;
}

}  // namespace
