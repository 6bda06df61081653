// One measuring point and one channel across all folders of a real archive:
// the connectors' lists, their ranges and the read path.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "tarnovelle/archive/CTarnovelleArchive.h"
#include "tarnovelle/measuring/CTarnovelleChannelConnector.h"
#include "tarnovelle/measuring/CTarnovelleMeasuringPointConnector.h"
#include "tarnovelle/storage/CTarnovelleChannel.h"
#include "tarnovelle/storage/CTarnovelleSample.h"
#include "tarnovelle/support/CTNFakeClock.h"
#include "tarnovelle/support/TNGuid.h"
#include "tarnovelle/values/STarnovelleTimeStampInMsec.h"
#include "tests/support/TNTestDir.h"

namespace {

constexpr GUID kPoint = {0x01020304, 0x0506, 0x0708, {9, 10, 11, 12, 13, 14, 15, 16}};
const SChannelID kMean(static_cast<ECharacteristicType>(0x21), static_cast<EPhase>(1), MVT_MEAN);
const SChannelID kBinary(static_cast<ECharacteristicType>(0x30), static_cast<EPhase>(0), MVT_BINARY);
const SChannelID kSecondMean(static_cast<ECharacteristicType>(0x22), static_cast<EPhase>(1), MVT_MEAN);

CTNUTCTimeStamp At(uint32_t seconds, uint16_t ms = 0) { return STarnovelleTimeStampInMsec(seconds, ms).GetUTCTimeStamp(); }

// One float block per value run: `count` values one second apart from `start`.
void WriteMeans(const std::string& folder, const SChannelID& id, uint32_t start, uint32_t count, float base = 0.0f) {
    CTarnovelleChannel channel;
    ASSERT_EQ(channel.Init(folder, kPoint, id, "", 0, 0, 0, 0), TNE_OK);
    ASSERT_EQ(channel.Open(), TNE_OK);
    std::vector<float> values(count);
    for (uint32_t i = 0; i < count; ++i) values[i] = base + static_cast<float>(i);
    ASSERT_EQ(channel.WriteBeginSampleFloat(At(start), At(start + count), count), TNE_OK);
    ASSERT_EQ(channel.WriteSampleData(values.data(), count), TNE_OK);
    ASSERT_EQ(channel.Close(), TNE_OK);
}

// Records one second apart from `start`, in a block that reaches to `end`
// (0: the last record). A block that starts before the last one's end is a
// block of its own; otherwise the writer extends the last one.
void WriteBinary(const std::string& folder, uint32_t start, const std::vector<uint8_t>& values, uint32_t end = 0) {
    CTarnovelleChannel channel;
    ASSERT_EQ(channel.Init(folder, kPoint, kBinary, "", 0, 0, 0, 0), TNE_OK);
    ASSERT_EQ(channel.Open(), TNE_OK);
    std::vector<SBinary_BYTE> records;
    for (size_t i = 0; i < values.size(); ++i) records.emplace_back(At(start + static_cast<uint32_t>(i)), values[i]);
    const uint32_t last = start + static_cast<uint32_t>(values.size()) - 1;
    ASSERT_EQ(channel.WriteBeginSampleBinary(FORMAT_BINARY_BYTE, At(start), At(end ? end : last)), TNE_OK);
    ASSERT_EQ(channel.WriteSampleData(records.data(), static_cast<uint32_t>(records.size())), TNE_OK);
    ASSERT_EQ(channel.Close(), TNE_OK);
}

// Start and end of each sample, as seconds.
std::vector<std::pair<uint32_t, uint32_t>> Spans(const CTarnovelleSampleArray& samples) {
    std::vector<std::pair<uint32_t, uint32_t>> spans;
    for (const CTarnovelleSample* s : samples)
        spans.emplace_back(s->GetStartTime().GetSecondsSince1970(), s->GetEndTime().GetSecondsSince1970());
    return spans;
}

class ConnectorTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_archive.SetArchiveFileName((m_dir / "Plant.TNArch").c_str());
        m_f1 = m_archive.AddArchive(m_dir / "TNArch01", TNARCHIVE_MODE_REMAINING, 1);
        ASSERT_NE(m_f1, nullptr);
    }
    CTarnovelleArchiveFolder* AddFolder(const std::string& name) {
        return m_archive.AddArchive(m_dir / name, TNARCHIVE_MODE_REMAINING, 1);
    }
    CTarnovelleMeasuringPointConnector& Connector() {
        m_archive.InsertMeasuringPoints(kPoint);
        return *m_archive.GetMeasuringPointConnector(kPoint);
    }
    void SetFirstEntry(const std::string& folder, uint32_t seconds, const std::string& name = "") {
        CTarnovelleMeasuringPoint* point = m_archive.CreateMeasuringPoint(kPoint, folder);
        CTarnovelleParameterSet set = CTarnovelleParameterSet::CreateParameterSet();
        set.SetParameter("MeasuringPointName", name.empty() ? std::string("Feeder") : name);
        point->InsertParameterSet(set, At(seconds));
        ASSERT_EQ(point->Save(), TNE_OK);
    }
    TNTestDir m_dir;
    CTNFakeClock m_clock{1700000000000ull};
    CTNScopedClock m_scope{&m_clock};
    CTarnovelleArchive m_archive;
    CTarnovelleArchiveFolder* m_f1 = nullptr;
};

// ---------------------------------------------------------------- the measuring-point connector

TEST_F(ConnectorTest, APointWithoutChannelsLeavesTheRangeAlone) {
    std::filesystem::create_directories(m_f1->GetPath() + "/" + GuidToString(kPoint));
    CTNUTCTimeStamp from = At(5);
    CTNUTCTimeStamp to = CTNUTCTimeStamp::InvalidTS();
    EXPECT_EQ(Connector().GetTimeRange(from, to), TNE_OK);
    EXPECT_EQ(from, At(5));
    EXPECT_TRUE(to.IsInvalidTS());
}

TEST_F(ConnectorTest, APointWhoseChannelsHoldNoDataHasNoRange) {
    CTarnovelleChannel channel;
    ASSERT_EQ(channel.Create(m_f1->GetPath(), kPoint, kMean, "", 0, 0, 0, 0), TNE_OK);
    ASSERT_EQ(channel.Close(), TNE_OK);
    CTNUTCTimeStamp from = CTNUTCTimeStamp::InvalidTS();
    CTNUTCTimeStamp to = CTNUTCTimeStamp::InvalidTS();
    EXPECT_EQ(Connector().GetTimeRange(from, to), TNE_NO_OBJECT);
}

TEST_F(ConnectorTest, TheWholePointsRangeStartsWithItsFirstConfigurationTheChannelsDoesNot) {
    WriteMeans(m_f1->GetPath(), kMean, 36000, 600);  // 10:00 to 10:10
    SetFirstEntry(m_f1->GetPath(), 36300);           // 10:05
    CTarnovelleMeasuringPointConnector& connector = Connector();
    CTNUTCTimeStamp from = CTNUTCTimeStamp::InvalidTS();
    CTNUTCTimeStamp to = CTNUTCTimeStamp::InvalidTS();
    ASSERT_EQ(connector.GetTimeRange(from, to), TNE_OK);
    EXPECT_EQ(from, At(36300));
    EXPECT_EQ(to, At(36600));
    CTNUTCTimeStamp channelFrom = CTNUTCTimeStamp::InvalidTS();
    CTNUTCTimeStamp channelTo = CTNUTCTimeStamp::InvalidTS();
    ASSERT_EQ(connector.GetTimeRange(kMean, channelFrom, channelTo), TNE_OK);
    EXPECT_EQ(channelFrom, At(36000));
    EXPECT_EQ(channelTo, At(36600));
    CTNUTCTimeStamp a = CTNUTCTimeStamp::InvalidTS();
    CTNUTCTimeStamp b = CTNUTCTimeStamp::InvalidTS();
    EXPECT_EQ(connector.GetTimeRange(kBinary, a, b), TNE_FAILED);
}

TEST_F(ConnectorTest, TheNameIsTheStoredOneOrTheGuidsText) {
    WriteMeans(m_f1->GetPath(), kMean, 1000, 10);
    EXPECT_EQ(Connector().GetName(), GuidToString(kPoint));
    SetFirstEntry(m_f1->GetPath(), 100, "Main feeder");
    m_archive.ClearMeasuringPointArray();
    EXPECT_EQ(Connector().GetName(), "Main feeder");
}

TEST_F(ConnectorTest, TheActiveChannelOfAnUnknownChannelIsMadeInTheActiveFolder) {
    CTarnovelleArchiveFolder* f2 = AddFolder("TNArch02");
    m_f1->SetActive(false);
    f2->SetActive(true);
    CTarnovelleMeasuringPointConnector& connector = Connector();
    CTarnovelleChannel* channel = connector.GetActiveChannel(kSecondMean);
    ASSERT_NE(channel, nullptr);
    EXPECT_EQ(channel->GetMeasuringPointPath(), f2->GetPath() + "/" + GuidToString(kPoint));
    // Its files come with its first write cycle, in the active folder.
    ASSERT_EQ(channel->Open(), TNE_OK);
    ASSERT_EQ(channel->Close(), TNE_OK);
    const std::string base = f2->GetPath() + "/" + GuidToString(kPoint) + "/03010022";
    EXPECT_TRUE(std::filesystem::exists(base + ".Sam"));
    EXPECT_TRUE(std::filesystem::exists(base + ".Dat"));
    EXPECT_FALSE(std::filesystem::exists(m_f1->GetPath() + "/" + GuidToString(kPoint) + "/03010022.Sam"));
    EXPECT_EQ(connector.GetActiveChannel(kSecondMean), channel);
    EXPECT_EQ(connector.Find(kSecondMean), connector.GetChannelConnector(kSecondMean));
}

TEST_F(ConnectorTest, SamplesOfAnUnknownChannelAreNothingAndSuccess) {
    WriteMeans(m_f1->GetPath(), kMean, 1000, 10);
    CTarnovelleSampleArray samples;
    EXPECT_EQ(Connector().GetSamplesForTimeRange(kBinary, At(0), At(5000), samples), TNE_OK);
    EXPECT_TRUE(samples.IsEmpty());
}

TEST_F(ConnectorTest, ChannelsOfEveryFolderAreFoundAndListedOnce) {
    CTarnovelleArchiveFolder* f2 = AddFolder("TNArch02");
    WriteMeans(m_f1->GetPath(), kMean, 1000, 10);
    WriteMeans(f2->GetPath(), kMean, 2000, 10);
    WriteBinary(f2->GetPath(), 2000, {1, 0});
    std::vector<SChannelID> ids;
    ASSERT_EQ(Connector().GetArrayChannelsIDs(ids), TNE_OK);
    ASSERT_EQ(ids.size(), 2u);
    EXPECT_EQ(Connector().GetChannelConnector(kMean)->GetChannels().size(), 2u);
    EXPECT_EQ(Connector().GetMeasuringPoints().size(), 2u);
}

TEST_F(ConnectorTest, AReadAcrossFoldersFollowsTheirOrderAndCutsOverlaps) {
    CTarnovelleArchiveFolder* f2 = AddFolder("TNArch02");
    CTarnovelleArchiveFolder* f3 = AddFolder("TNArch03");
    WriteMeans(m_f1->GetPath(), kMean, 1000, 100);  // 1000..1100
    WriteMeans(f2->GetPath(), kMean, 1050, 100);    // 1050..1150, half over the first
    WriteMeans(f3->GetPath(), kMean, 1150, 100);    // 1150..1250
    CTarnovelleChannelConnector* channel = Connector().GetChannelConnector(kMean);
    ASSERT_NE(channel, nullptr);
    CTarnovelleSampleArray cut;
    ASSERT_EQ(channel->GetSamplesForTimeRange(At(1000), At(1250), cut, false), TNE_OK);
    EXPECT_EQ(Spans(cut), (std::vector<std::pair<uint32_t, uint32_t>>{{1000, 1100}, {1100, 1150}, {1150, 1250}}));
    CTarnovelleSampleArray kept;
    ASSERT_EQ(Connector().GetSamplesForTimeRange(kMean, At(1000), At(1250), kept), TNE_OK);
    EXPECT_EQ(Spans(kept), (std::vector<std::pair<uint32_t, uint32_t>>{{1000, 1100}, {1050, 1150}, {1150, 1250}}));
}

TEST_F(ConnectorTest, ALaterFolderThatStartsAfterToEndsTheRead) {
    CTarnovelleArchiveFolder* f2 = AddFolder("TNArch02");
    WriteMeans(m_f1->GetPath(), kMean, 5000, 100);  // after `to`
    WriteMeans(f2->GetPath(), kMean, 1000, 100);    // the data asked for, behind it
    CTarnovelleSampleArray samples;
    ASSERT_EQ(Connector().GetChannelConnector(kMean)->GetSamplesForTimeRange(At(1000), At(1100), samples, false),
              TNE_OK);
    EXPECT_TRUE(samples.IsEmpty());
}

TEST_F(ConnectorTest, AMeanBlockStartingExactlyAtToIsLeftOutABinaryOneIsRead) {
    WriteMeans(m_f1->GetPath(), kMean, 1000, 10);
    WriteMeans(m_f1->GetPath(), kMean, 2000, 10);  // a second block, starting at `to`
    WriteBinary(m_f1->GetPath(), 1000, {1, 0, 1}, 3000);
    WriteBinary(m_f1->GetPath(), 2000, {0, 1});
    CTarnovelleMeasuringPointConnector& connector = Connector();
    CTarnovelleSampleArray means;
    connector.GetChannelConnector(kMean)->GetSamplesForTimeRange(At(1000), At(2000), means, false);
    EXPECT_EQ(Spans(means), (std::vector<std::pair<uint32_t, uint32_t>>{{1000, 1010}}));
    CTarnovelleSampleArray binary;
    connector.GetChannelConnector(kBinary)->GetSamplesForTimeRange(At(1000), At(2000), binary, false);
    ASSERT_EQ(binary.GetSize(), 2);
    EXPECT_EQ(binary[1]->GetStartTime(), At(2000));
}

TEST_F(ConnectorTest, FromEqualToABlocksEndStillCountsThatBlock) {
    WriteBinary(m_f1->GetPath(), 1000, {1, 0, 1});  // ends at 1002
    WriteBinary(m_f1->GetPath(), 500, {0}, 3000);    // before that end: a block of its own
    CTarnovelleSampleArray samples;
    Connector().GetChannelConnector(kBinary)->GetSamplesForTimeRange(At(1002), At(5000), samples, false);
    ASSERT_EQ(samples.GetSize(), 1);
    EXPECT_EQ(samples[0]->GetStartTime(), At(1002));
    EXPECT_EQ(samples[0]->GetEndTime(), At(1002));
}

TEST_F(ConnectorTest, AChannelWithoutBlocksIsPassedOver) {
    CTarnovelleArchiveFolder* f2 = AddFolder("TNArch02");
    CTarnovelleChannel empty;
    ASSERT_EQ(empty.Create(m_f1->GetPath(), kPoint, kMean, "", 0, 0, 0, 0), TNE_OK);
    ASSERT_EQ(empty.Close(), TNE_OK);
    WriteMeans(f2->GetPath(), kMean, 1000, 10);
    CTarnovelleSampleArray samples;
    Connector().GetChannelConnector(kMean)->GetSamplesForTimeRange(At(900), At(1100), samples, false);
    EXPECT_EQ(Spans(samples), (std::vector<std::pair<uint32_t, uint32_t>>{{1000, 1010}}));
}

TEST_F(ConnectorTest, AChannelConnectorWithoutChannelsHasNoRange) {
    CTarnovelleChannelConnector connector(Connector());
    CTNUTCTimeStamp from = At(1);
    CTNUTCTimeStamp to = At(2);
    EXPECT_EQ(connector.GetTimeRange(from, to), TNE_NO_OBJECT);
    EXPECT_EQ(from, At(1));
    EXPECT_EQ(to, At(2));
}

TEST_F(ConnectorTest, AFolderPathThatPrefixesAnothersFindsThatOnesChannelToo) {
    CTarnovelleArchiveFolder* longer = AddFolder("TNArch010");
    WriteMeans(longer->GetPath(), kMean, 1000, 10);
    // Only folders that hold the channel's files have a channel here.
    CTarnovelleChannelConnector connector(Connector());
    ASSERT_EQ(connector.Refresh(kPoint, kMean, m_archive.GetFolderPaths()), TNE_OK);
    ASSERT_EQ(connector.GetChannels().size(), 1u);
    CTarnovelleChannel* found = connector.GetChannel(m_f1->GetPath());
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->GetMeasuringPointPath(), longer->GetPath() + "/" + GuidToString(kPoint));
}

TEST_F(ConnectorTest, AWipedFolderTakesItsObjectsOutOfTheConnectors) {
    CTarnovelleArchiveFolder* f2 = AddFolder("TNArch02");
    WriteMeans(m_f1->GetPath(), kMean, 1000, 10);
    WriteMeans(f2->GetPath(), kMean, 2000, 10);
    SetFirstEntry(f2->GetPath(), 100);
    CTarnovelleMeasuringPointConnector& connector = Connector();
    ASSERT_EQ(connector.GetChannelConnector(kMean)->GetChannels().size(), 2u);
    ASSERT_EQ(connector.GetMeasuringPoints().size(), 2u);
    f2->SetActive(false);
    m_f1->SetActive(true);
    ASSERT_TRUE(f2->Clear());
    EXPECT_EQ(connector.GetChannelConnector(kMean)->GetChannels().size(), 1u);
    ASSERT_EQ(connector.GetMeasuringPoints().size(), 1u);
    EXPECT_EQ(connector.GetMeasuringPoints()[0]->GetRootPath(), m_f1->GetPath());
    CTarnovelleSampleArray samples;
    connector.GetSamplesForTimeRange(kMean, At(0), At(5000), samples);
    EXPECT_EQ(Spans(samples), (std::vector<std::pair<uint32_t, uint32_t>>{{1000, 1010}}));
}

TEST_F(ConnectorTest, RefreshFindsWhatAnotherWriterAddedMeanwhile) {
    CTarnovelleMeasuringPointConnector& connector = Connector();
    WriteMeans(m_f1->GetPath(), kMean, 1000, 10);
    EXPECT_EQ(connector.GetChannelConnectors().size(), 1u);
    CTarnovelleArchiveFolder* f2 = AddFolder("TNArch02");
    WriteMeans(f2->GetPath(), kMean, 2000, 10);
    WriteBinary(f2->GetPath(), 2000, {1});
    SetFirstEntry(f2->GetPath(), 50);
    EXPECT_EQ(connector.Refresh(), TNE_OK);
    std::vector<SChannelID> ids;
    connector.GetArrayChannelsIDs(ids);
    EXPECT_EQ(ids.size(), 2u);
    CTarnovelleSampleArray samples;
    connector.GetSamplesForTimeRange(kMean, At(0), At(5000), samples);
    EXPECT_EQ(Spans(samples), (std::vector<std::pair<uint32_t, uint32_t>>{{1000, 1010}, {2000, 2010}}));
}

TEST_F(ConnectorTest, TheParameterSetComesFromTheFolderFoundLast) {
    CTarnovelleArchiveFolder* f2 = AddFolder("TNArch02");
    SetFirstEntry(m_f1->GetPath(), 100, "first");
    SetFirstEntry(f2->GetPath(), 200, "second");
    m_archive.ClearMeasuringPointArray();
    CTarnovelleMeasuringPointConnector& connector = Connector();
    std::string name;
    ASSERT_EQ(connector.GetParameterSet(At(300)).GetParameter("MeasuringPointName", name), TNE_OK);
    EXPECT_EQ(name, "second");
    ASSERT_EQ(connector.GetParameterSet(At(150)).GetParameter("MeasuringPointName", name), TNE_OK);
    EXPECT_EQ(name, "first");
    EXPECT_FALSE(connector.GetParameterSet(At(50)).IsValid());
    CTarnovelleParameterSet complete = connector.GetCompleteParameterSet(m_f1->GetPath());
    ASSERT_TRUE(complete.IsValid());
    EXPECT_FALSE(connector.GetCompleteParameterSet(m_dir / "nowhere").IsValid());
}

}  // namespace

namespace {

// The read of one channel connector as its steps stand, block by block from
// the first, for comparing with the connector's own walk.
std::vector<std::pair<uint32_t, uint32_t>> PlainScan(CTarnovelleChannelConnector& connector, const CTNUTCTimeStamp& from,
                                                     const CTNUTCTimeStamp& to, bool keepOverlaps) {
    std::vector<std::pair<uint32_t, uint32_t>> spans;
    CTNUTCTimeStamp cursor = from;
    bool first = true;
    for (CTarnovelleChannel* channel : connector.GetChannels()) {
        CTNUTCTimeStamp start = CTNUTCTimeStamp::InvalidTS();
        CTNUTCTimeStamp end = CTNUTCTimeStamp::InvalidTS();
        if (channel->GetTimeRange(start, end) != TNE_OK || end.IsInvalidTS() || end < from) continue;
        if (start.IsInvalidTS() || start > to) break;
        for (int32_t block = 0; block < channel->GetBlockCount(); ++block) {
            if (channel->GetEndTime(block).IsInvalidTS() || channel->GetEndTime(block) < cursor) continue;
            if (!(channel->GetStartTime(block) < to)) break;
            CTarnovelleSample sample;
            if (sample.Init(*channel, block, cursor, to, first) != TNE_OK || sample.GetNrOfValues() == 0) continue;
            first = false;
            if (!keepOverlaps) cursor = sample.GetEndTime();
            spans.emplace_back(sample.GetStartTime().GetSecondsSince1970(), sample.GetEndTime().GetSecondsSince1970());
        }
    }
    return spans;
}

}  // namespace

TEST_F(ConnectorTest, AChannelOfTenThousandBlocksReadsAsThePlainScanDoes) {
    {
        CTarnovelleChannel channel;
        ASSERT_EQ(channel.Init(m_f1->GetPath(), kPoint, kMean, "", 0, 0, 0, 0), TNE_OK);
        ASSERT_EQ(channel.Open(), TNE_OK);
        const float values[3] = {1.0f, 2.0f, 3.0f};
        // Three values a block, a second of gap between blocks, so none joins the last.
        for (uint32_t block = 0; block < 10000; ++block) {
            const uint32_t start = 100000 + block * 4;
            ASSERT_EQ(channel.WriteBeginSampleFloat(At(start), At(start + 3), 3), TNE_OK);
            ASSERT_EQ(channel.WriteSampleData(values, 3), TNE_OK);
        }
        ASSERT_EQ(channel.Close(), TNE_OK);
    }
    CTarnovelleChannelConnector* connector = Connector().GetChannelConnector(kMean);
    ASSERT_NE(connector, nullptr);
    ASSERT_EQ(connector->GetChannels().front()->GetBlockCount(), 10000);
    for (const auto& [from, to] : std::vector<std::pair<uint32_t, uint32_t>>{
             {100000, 100040}, {120001, 120010}, {139990, 140100}, {99000, 100002}, {100002, 100003}}) {
        for (bool keep : {false, true}) {
            CTarnovelleSampleArray samples;
            connector->GetSamplesForTimeRange(At(from), At(to), samples, keep);
            EXPECT_EQ(Spans(samples), PlainScan(*connector, At(from), At(to), keep)) << from << ".." << to;
            EXPECT_FALSE(samples.IsEmpty()) << from;
        }
    }
}

TEST_F(ConnectorTest, BlocksWhoseEndsDoNotAscendAreWalkedFromTheFirst) {
    {
        CTarnovelleChannel channel;
        ASSERT_EQ(channel.Init(m_f1->GetPath(), kPoint, kMean, "", 0, 0, 0, 0), TNE_OK);
        ASSERT_EQ(channel.Open(), TNE_OK);
        const std::vector<float> values(100, 1.0f);
        // A long block, then a short one that starts later but ends earlier.
        ASSERT_EQ(channel.WriteBeginSampleFloat(At(1000), At(1100), 100), TNE_OK);
        ASSERT_EQ(channel.WriteSampleData(values.data(), 100), TNE_OK);
        ASSERT_EQ(channel.WriteBeginSampleFloat(At(1010), At(1020), 10), TNE_OK);
        ASSERT_EQ(channel.WriteSampleData(values.data(), 10), TNE_OK);
        ASSERT_EQ(channel.WriteBeginSampleFloat(At(1200), At(1210), 10), TNE_OK);
        ASSERT_EQ(channel.WriteSampleData(values.data(), 10), TNE_OK);
        ASSERT_EQ(channel.Close(), TNE_OK);
    }
    CTarnovelleChannelConnector* connector = Connector().GetChannelConnector(kMean);
    ASSERT_EQ(connector->GetChannels().front()->FindFirstBlockEndingFrom(At(1050)), -1);
    CTarnovelleSampleArray samples;
    connector->GetSamplesForTimeRange(At(1015), At(1205), samples, true);
    EXPECT_EQ(Spans(samples), PlainScan(*connector, At(1015), At(1205), true));
    EXPECT_EQ(samples.GetSize(), 3);
}

namespace {
uint64_t RealNowMs() {
    return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                     std::chrono::system_clock::now().time_since_epoch())
                                     .count());
}
}  // namespace

// A refresh reads again only the samples files that changed since they were
// read; an unchanged one keeps its object, and the list is as a full
// re-reading would make it.
TEST(ConnectorRefresh, AnUnchangedSamplesFileIsNotReadAgain) {
    TNTestDir dir;
    // The files' stamps lie well behind this clock: the reads vouch for them.
    CTNFakeClock clock(RealNowMs() + 10000);
    CTNScopedClock scope(&clock);
    CTarnovelleArchive archive;
    archive.SetArchiveFileName((dir / "Plant.TNArch").c_str());
    CTarnovelleArchiveFolder* f1 = archive.AddArchive(dir / "TNArch01", TNARCHIVE_MODE_REMAINING, 1);
    CTarnovelleArchiveFolder* f2 = archive.AddArchive(dir / "TNArch02", TNARCHIVE_MODE_REMAINING, 1);
    WriteMeans(f1->GetPath(), kMean, 1000, 10);
    WriteMeans(f2->GetPath(), kMean, 2000, 10);
    archive.InsertMeasuringPoints(kPoint);
    CTarnovelleMeasuringPointConnector& point = *archive.GetMeasuringPointConnector(kPoint);
    CTarnovelleChannelConnector* connector = point.GetChannelConnector(kMean);
    ASSERT_NE(connector, nullptr);
    // The first fill makes a channel for every folder; the refresh keeps only
    // those with files, the unchanged ones as they are.
    connector->Refresh(archive.GetFolderPaths());
    const std::vector<CTarnovelleChannel*> before = connector->GetChannels();
    ASSERT_EQ(before.size(), 2u);
    EXPECT_TRUE(before[0]->IsUnchangedSinceRead());
    connector->Refresh(archive.GetFolderPaths());
    EXPECT_EQ(connector->GetChannels(), before);
    // Another writer adds to the second folder's channel: that one is read again.
    WriteMeans(f2->GetPath(), kMean, 3000, 10);
    EXPECT_FALSE(before[1]->IsUnchangedSinceRead());
    connector->Refresh(archive.GetFolderPaths());
    const std::vector<CTarnovelleChannel*> after = connector->GetChannels();
    ASSERT_EQ(after.size(), 2u);
    EXPECT_EQ(after[0], before[0]);
    EXPECT_EQ(after[1]->GetBlockCount(), 2);
    CTarnovelleSampleArray samples;
    connector->GetSamplesForTimeRange(At(0), At(5000), samples, true);
    EXPECT_EQ(Spans(samples), (std::vector<std::pair<uint32_t, uint32_t>>{{1000, 1010}, {2000, 2010}, {3000, 3010}}));
}

TEST(ConnectorRefresh, AFreshlyWrittenFileIsReadAgainWhateverItsStamp) {
    TNTestDir dir;
    CTarnovelleArchive archive;
    archive.SetArchiveFileName((dir / "Plant.TNArch").c_str());
    CTarnovelleArchiveFolder* f1 = archive.AddArchive(dir / "TNArch01", TNARCHIVE_MODE_REMAINING, 1);
    WriteMeans(f1->GetPath(), kMean, 1000, 10);
    CTarnovelleChannel channel;
    ASSERT_EQ(channel.Init(f1->GetPath(), kPoint, kMean, "", 0, 0, 0, 0), TNE_OK);
    // Read within two seconds of its last change, by the real clock.
    EXPECT_FALSE(channel.IsUnchangedSinceRead());
}

TEST_F(ConnectorTest, RefreshDropsAsManyPointsFromTheFrontAsFailedAndFindsThemAgain) {
    CTarnovelleArchiveFolder* f2 = AddFolder("TNArch02");
    SetFirstEntry(m_f1->GetPath(), 100, "one");
    SetFirstEntry(f2->GetPath(), 200, "two");
    m_archive.ClearMeasuringPointArray();
    CTarnovelleMeasuringPointConnector& connector = Connector();
    const std::vector<CTarnovelleMeasuringPoint*> before = connector.GetMeasuringPoints();
    ASSERT_EQ(before.size(), 2u);
    ASSERT_EQ(before[1]->GetRootPath(), f2->GetPath());
    // The second point's file goes: its refresh fails, and the first point
    // is the one dropped.
    std::filesystem::remove(f2->GetPath() + "/" + GuidToString(kPoint) + "/ConfData.Inf");
    EXPECT_EQ(connector.Refresh(), TNE_OK);
    const std::vector<CTarnovelleMeasuringPoint*> after = connector.GetMeasuringPoints();
    ASSERT_EQ(after.size(), 2u);
    EXPECT_EQ(after[0], before[1]);
    EXPECT_EQ(after[1]->GetRootPath(), m_f1->GetPath());
    std::string name;
    ASSERT_EQ(after[1]->GetParameterSet(At(150)).GetParameter("MeasuringPointName", name), TNE_OK);
    EXPECT_EQ(name, "one");
}

TEST_F(ConnectorTest, IsEmptyAsksEveryChannelAndFailsForAnUnknownOne) {
    WriteMeans(m_f1->GetPath(), kMean, 1000, 10);
    WriteBinary(m_f1->GetPath(), 5000, {1});
    CTarnovelleMeasuringPointConnector& connector = Connector();
    int32_t empty = -1;
    ASSERT_EQ(connector.IsEmpty(At(1005), At(1006), empty), TNE_OK);
    EXPECT_EQ(empty, 0);
    ASSERT_EQ(connector.IsEmpty(At(2000), At(3000), empty), TNE_OK);
    EXPECT_EQ(empty, 1);
    ASSERT_EQ(connector.IsEmpty(kBinary, At(1005), At(1006), empty), TNE_OK);
    EXPECT_EQ(empty, 1);
    EXPECT_EQ(connector.IsEmpty(kSecondMean, At(0), At(1), empty), TNE_FAILED);
}

TEST_F(ConnectorTest, LocalTimeIsTheMachinesAndInvalidWithoutAPoint) {
    CTarnovelleMeasuringPointConnector& connector = Connector();
    EXPECT_TRUE(connector.GetLocalDateTime(At(1000)).IsInvalidTS());
    SetFirstEntry(m_f1->GetPath(), 100);
    m_archive.ClearMeasuringPointArray();
    const CTNLocalTimeStamp local = Connector().GetLocalDateTime(At(1000000));
    const CTNLocalTimeStamp expected = At(1000000).ToLocalTime(CTNTimeZoneInformation("localtime"));
    EXPECT_EQ(local.Format("%Y-%m-%d %H:%M:%S"), expected.Format("%Y-%m-%d %H:%M:%S"));
}

TEST_F(ConnectorTest, TheArchiveKeepsOnePointPerGuidAndFolder) {
    CTarnovelleMeasuringPoint* made = m_archive.CreateMeasuringPoint(kPoint, m_f1->GetPath());
    EXPECT_EQ(m_archive.CreateMeasuringPoint(kPoint, m_f1->GetPath()), made);
    EXPECT_EQ(m_archive.GetMeasuringPoint(kPoint, m_f1->GetPath()), made);
    // Its connector, and the status point's that the new folder's line made.
    ASSERT_EQ(m_archive.GetArrayOfMeasuringPointConnectors().size(), 2u);
    m_archive.InsertMeasuringPoints(kPoint);
    EXPECT_EQ(m_archive.GetArrayOfMeasuringPointConnectors().size(), 2u);
    EXPECT_EQ(Connector().GetActiveMeasuringPoint(), made);
    m_archive.ClearMeasuringPointArray();
    EXPECT_TRUE(m_archive.GetArrayOfMeasuringPointConnectors().empty());
}
