// The measuring point's parameter history and its file ConfData.Inf in all
// three versions, with real files in real directories.
#include "tarnovelle/measuring/CTarnovelleMeasuringPoint.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "tarnovelle/storage/CTarnovelleChannel.h"
#include "tarnovelle/support/CTNFakeClock.h"
#include "tarnovelle/support/CTNFileFaults.h"
#include "tarnovelle/support/CTNMessageBox.h"
#include "tarnovelle/support/TNGuid.h"
#include "tarnovelle/values/STarnovelleTimeStampInMsec.h"
#include "tests/support/TNTestDir.h"

namespace {

constexpr GUID kGuid = {0x0A0B0C0D, 0x1122, 0x3344, {0x55, 0x66, 0x77, 0x88, 0x99, 0xAA, 0xBB, 0xCC}};
const SChannelID kVoltage(static_cast<ECharacteristicType>(0x21), static_cast<EPhase>(1), MVT_MEAN);

// Opens the protected operations to the tests.
class TestPoint : public CTarnovelleMeasuringPoint {
public:
    using CTarnovelleMeasuringPoint::ChannelMaps;
    using CTarnovelleMeasuringPoint::CreateParameterPath;
    using CTarnovelleMeasuringPoint::FileStatus;
    using CTarnovelleMeasuringPoint::FindChannelMap;
    using CTarnovelleMeasuringPoint::GetArrayOfParameterNames;
    using CTarnovelleMeasuringPoint::GetTimeZoneInfo;
    using CTarnovelleMeasuringPoint::IsEqual;
    using CTarnovelleMeasuringPoint::Load;
    using CTarnovelleMeasuringPoint::ParseParameterPath;
    using CTarnovelleMeasuringPoint::TimeStamps;
};

CTNUTCTimeStamp At(uint32_t seconds, uint16_t milliseconds = 0) {
    return STarnovelleTimeStampInMsec(seconds, milliseconds).GetUTCTimeStamp();
}

std::string Directory(const TNTestDir& dir) { return dir.Path() + "/" + GuidToString(kGuid); }
std::string ConfData(const TNTestDir& dir) { return Directory(dir) + "/ConfData.Inf"; }

void WriteConfData(const TNTestDir& dir, const std::string& bytes) {
    std::filesystem::create_directories(Directory(dir));
    dir.WriteFile(GuidToString(kGuid) + "/ConfData.Inf", bytes);
}

// Enters one string value at `seconds`.
void Insert(CTarnovelleMeasuringPoint& point, uint32_t seconds, const std::string& name, const std::string& value,
            const SChannelID& channel = SChannelID(0u)) {
    CTarnovelleParameterSet set = CTarnovelleParameterSet::CreateParameterSet();
    ASSERT_EQ(set.SetParameter(channel, name, value), TNE_OK);
    point.InsertParameterSet(set, At(seconds));
}

std::string StringAt(CTarnovelleMeasuringPoint& point, uint32_t seconds, const std::string& name,
                     const SChannelID& channel = SChannelID(0u)) {
    CTarnovelleParameterSet set = point.GetParameterSet(At(seconds));
    std::string value = "<none>";
    if (!set.IsValid() || set.GetParameter(channel, name, value) != TNE_OK) return "<none>";
    return value;
}

// The values an entry stores, as "channel:name=wrapped" lines in name order.
std::vector<std::string> EntryValues(const ChannelMap* map) {
    std::vector<std::string> lines;
    if (!map) return lines;
    for (const auto& [channel, values] : *map) {
        if (!values) continue;
        for (const auto& [name, wrapped] : *values)
            lines.push_back(std::to_string(channel) + ":" + name + "=" + wrapped);
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

// ---- an independent builder of the binary version's bytes

void U32(std::string& out, uint32_t v) {
    for (int shift = 0; shift < 32; shift += 8) out.push_back(static_cast<char>((v >> shift) & 0xFF));
}
void Text(std::string& out, const std::string& text) {
    U32(out, static_cast<uint32_t>(text.size()));
    out += text;
}
struct SValue {
    std::string name, wrapped;
};
struct SChannel {
    uint32_t id;
    std::vector<SValue> values;
};
struct SEntry {
    uint32_t time;
    std::vector<SChannel> channels;
};
std::string Version2(const std::vector<SEntry>& entries, bool withEnd = true) {
    std::string out = "<CTarnovelleMeasuringPoint Version=\"2\"/>";
    U32(out, static_cast<uint32_t>(entries.size()));
    for (const SEntry& e : entries) {
        U32(out, e.time);
        U32(out, static_cast<uint32_t>(e.channels.size()));
        for (const SChannel& c : e.channels) {
            U32(out, c.id);
            U32(out, static_cast<uint32_t>(c.values.size()));
            for (const SValue& v : c.values) {
                Text(out, v.name);
                Text(out, v.wrapped);
            }
        }
    }
    if (withEnd) out += "END_OF_FILE";
    return out;
}

class MeasuringPointTest : public ::testing::Test {
protected:
    void SetUp() override { CTNMessageBox::RerouteMessageBoxToLogArray(&m_messages); }
    void TearDown() override { CTNMessageBox::RerouteMessageBoxToLogArray(nullptr); }
    TNTestDir m_dir;
    std::vector<std::string> m_messages;
    // No open in these tests waits for real.
    CTNFakeClock m_clock{1700000000000ull};
    CTNScopedClock m_scope{&m_clock};
};

// ---------------------------------------------------------------- set-up

TEST_F(MeasuringPointTest, InitWithoutAFileMakesTheDirectoryAndStartsEmpty) {
    TestPoint point;
    EXPECT_EQ(point.Init(kGuid, m_dir.Path()), TNE_OK);
    EXPECT_TRUE(std::filesystem::is_directory(Directory(m_dir)));
    EXPECT_EQ(point.GetFilePath(), ConfData(m_dir));
    EXPECT_EQ(point.GetRootPath(), m_dir.Path());
    EXPECT_EQ(point.GetGUID(), kGuid);
    EXPECT_TRUE(point.GetTimeStampArray().empty());
    EXPECT_EQ(point.FileStatus.m_mtime, 0);
    EXPECT_FALSE(TNTestDir::Exists(ConfData(m_dir)));
}

TEST_F(MeasuringPointTest, LoadGivesNotParsedAfterEveryRead) {
    WriteConfData(m_dir, Version2({{100, {{0, {{"A", "<DWORD>1</DWORD>"}}}}}}));
    TestPoint point;
    EXPECT_EQ(point.Init(kGuid, m_dir.Path()), TNE_FILE_NOT_PARSED);
    EXPECT_EQ(point.GetTimeStampArray(), (std::vector<uint32_t>{100}));
    EXPECT_NE(point.FileStatus.m_mtime, 0);
}

// ---------------------------------------------------------------- the history

TEST_F(MeasuringPointTest, ASetHoldsFromItsTimeUpToTheNextEntry) {
    TestPoint point;
    point.Init(kGuid, m_dir.Path());
    Insert(point, 100, "Name", "first");
    Insert(point, 200, "Name", "second");
    EXPECT_FALSE(point.GetParameterSet(At(99)).IsValid());
    for (uint32_t t : {100u, 199u}) {
        CTarnovelleParameterSet set = point.GetParameterSet(At(t, 500));
        ASSERT_TRUE(set.IsValid()) << t;
        EXPECT_EQ(set.GetTimeOfValidity(), At(100)) << t;
        EXPECT_EQ(StringAt(point, t, "Name"), "first");
    }
    for (uint32_t t : {200u, 5000u}) {
        CTarnovelleParameterSet set = point.GetParameterSet(At(t));
        ASSERT_TRUE(set.IsValid());
        EXPECT_EQ(set.GetTimeOfValidity(), At(200));
        EXPECT_EQ(StringAt(point, t, "Name"), "second");
    }
}

TEST_F(MeasuringPointTest, TwoInsertsInOneSecondMergeAndTheLaterWins) {
    TestPoint point;
    point.Init(kGuid, m_dir.Path());
    Insert(point, 100, "Name", "first");
    CTarnovelleParameterSet set = CTarnovelleParameterSet::CreateParameterSet();
    set.SetParameter("Name", std::string("later"));
    set.SetParameter("Other", std::string("x"));
    point.InsertParameterSet(set, At(100, 750));
    EXPECT_EQ(point.GetTimeStampArray(), (std::vector<uint32_t>{100}));
    EXPECT_EQ(StringAt(point, 100, "Name"), "later");
    EXPECT_EQ(StringAt(point, 100, "Other"), "x");
    EXPECT_EQ(set.GetTimeOfValidity(), At(100, 750));
}

TEST_F(MeasuringPointTest, OnlyWhatChangedIsStoredAndAValueThatGoesBackMakesANewEntry) {
    TestPoint point;
    point.Init(kGuid, m_dir.Path());
    CTarnovelleParameterSet set = CTarnovelleParameterSet::CreateParameterSet();
    set.SetParameter("A", std::string("1"));
    set.SetParameter("B", std::string("1"));
    point.InsertParameterSet(set, At(100));
    Insert(point, 200, "A", "2");
    Insert(point, 300, "A", "1");
    ASSERT_EQ(point.GetTimeStampArray(), (std::vector<uint32_t>{100, 200, 300}));
    EXPECT_EQ(EntryValues(point.ChannelMaps[1]), (std::vector<std::string>{"0:A=<STRING>2</STRING>"}));
    EXPECT_EQ(EntryValues(point.ChannelMaps[2]), (std::vector<std::string>{"0:A=<STRING>1</STRING>"}));
    // B was never repeated, and is found through the walk back.
    EXPECT_EQ(StringAt(point, 300, "B"), "1");
}

TEST_F(MeasuringPointTest, AnInsertThatChangesNothingAddsAnEmptyEntryUnseenByLookups) {
    TestPoint point;
    point.Init(kGuid, m_dir.Path());
    Insert(point, 100, "Name", "same");
    Insert(point, 200, "Name", "same");
    ASSERT_EQ(point.GetTimeStampArray(), (std::vector<uint32_t>{100, 200}));
    ASSERT_NE(point.ChannelMaps[1], nullptr);
    EXPECT_TRUE(point.ChannelMaps[1]->IsEmpty());
    EXPECT_EQ(StringAt(point, 250, "Name"), "same");
    EXPECT_EQ(point.GetParameterSet(At(250)).GetTimeOfValidity(), At(200));
}

TEST_F(MeasuringPointTest, ANameOnlyInTheFirstEntryIsFoundFromTheLast) {
    TestPoint point;
    point.Init(kGuid, m_dir.Path());
    Insert(point, 100, "Old", "kept");
    for (uint32_t t = 200; t <= 600; t += 100) Insert(point, t, "Counter", std::to_string(t));
    ASSERT_EQ(point.GetTimeStampArray().size(), 6u);
    EXPECT_EQ(StringAt(point, 700, "Old"), "kept");
    EXPECT_EQ(StringAt(point, 700, "Counter"), "600");
}

TEST_F(MeasuringPointTest, AnInsertBeforeTheHistoryGoesInFrontAndLeavesLaterEntriesAlone) {
    TestPoint point;
    point.Init(kGuid, m_dir.Path());
    Insert(point, 200, "A", "x");
    Insert(point, 100, "A", "x");
    ASSERT_EQ(point.GetTimeStampArray(), (std::vector<uint32_t>{100, 200}));
    EXPECT_EQ(EntryValues(point.ChannelMaps[1]), (std::vector<std::string>{"0:A=<STRING>x</STRING>"}));
}

TEST_F(MeasuringPointTest, ASetWithoutAMapChangesNothing) {
    TestPoint point;
    point.Init(kGuid, m_dir.Path());
    CTarnovelleParameterSet invalid = CTarnovelleParameterSet::GetInvalidHandle();
    point.InsertParameterSet(invalid, At(100));
    EXPECT_TRUE(point.GetTimeStampArray().empty());
}

TEST_F(MeasuringPointTest, ViewsOfTheHistoryCanBeEnteredAgain) {
    // A set that only looks at another history's entry still enters a map
    // of this history's own.
    TestPoint source;
    source.Init(kGuid, m_dir.Path());
    Insert(source, 100, "A", "x");
    TNTestDir other;
    TestPoint point;
    point.Init(kGuid, other.Path());
    CTarnovelleParameterSet view = source.GetParameterSet(At(100));
    point.InsertParameterSet(view, At(50));
    source.Clear();
    EXPECT_EQ(StringAt(point, 60, "A"), "x");
}

TEST_F(MeasuringPointTest, TheCompleteSetMergesEveryEntryNewestWinning) {
    TestPoint point;
    point.Init(kGuid, m_dir.Path());
    EXPECT_FALSE(point.GetCompleteParameterSet().IsValid());
    Insert(point, 100, "A", "1");
    Insert(point, 200, "B", "2");
    Insert(point, 300, "A", "3", kVoltage);
    Insert(point, 400, "A", "4");
    CTarnovelleParameterSet complete = point.GetCompleteParameterSet();
    ASSERT_TRUE(complete.IsValid());
    EXPECT_EQ(complete.GetTimeOfValidity(), At(400));
    EXPECT_EQ(EntryValues(complete.GetChannelMap()),
              (std::vector<std::string>{"0:A=<STRING>4</STRING>", "0:B=<STRING>2</STRING>",
                                        std::to_string(kVoltage.GetDWORD()) + ":A=<STRING>3</STRING>"}));
    // An owning copy: the history may go, the set stays.
    point.Clear();
    std::string value;
    EXPECT_EQ(complete.GetParameter("B", value), TNE_OK);
    EXPECT_EQ(value, "2");
}

TEST_F(MeasuringPointTest, FindChannelMapFindsOrMakesByExactTime) {
    TestPoint point;
    point.Init(kGuid, m_dir.Path());
    EXPECT_EQ(point.FindChannelMap(100, 0), nullptr);
    Insert(point, 100, "A", "1");
    EXPECT_EQ(point.FindChannelMap(150, 0), point.ChannelMaps[0]);
    EXPECT_EQ(point.GetChannelMap(99), nullptr);
    ChannelMap* made = point.FindChannelMap(50, 1);
    ASSERT_NE(made, nullptr);
    EXPECT_TRUE(made->IsEmpty());
    EXPECT_EQ(point.GetTimeStampArray(), (std::vector<uint32_t>{50, 100}));
    EXPECT_EQ(point.FindChannelMap(100, 1), point.ChannelMaps[1]);
    EXPECT_EQ(point.GetTimeStampArray().size(), 2u);
}

TEST_F(MeasuringPointTest, IsEqualComparesChannelsNamesAndTextsCaseCounting) {
    ChannelMap a, b;
    EXPECT_NE(TestPoint::IsEqual(a, b), 0);
    a.SetAt(0, new ChannelMap::StringMap{{"X", "<STRING>a</STRING>"}});
    b.SetAt(0, new ChannelMap::StringMap{{"X", "<STRING>A</STRING>"}});
    EXPECT_EQ(TestPoint::IsEqual(a, b), 0);
    b.SetAt(0, new ChannelMap::StringMap{{"X", "<STRING>a</STRING>"}});
    EXPECT_NE(TestPoint::IsEqual(a, b), 0);
    b.SetAt(5, nullptr);
    a.SetAt(5, new ChannelMap::StringMap);
    EXPECT_EQ(TestPoint::IsEqual(a, b), 0);  // null on one side only
    a.SetAt(5, nullptr);
    EXPECT_NE(TestPoint::IsEqual(a, b), 0);
    a.SetAt(6, nullptr);
    EXPECT_EQ(TestPoint::IsEqual(a, b), 0);  // another channel count
}

TEST_F(MeasuringPointTest, CopyingTheLastSetMakesAnEntryWithoutTheValues) {
    TestPoint source;
    TNTestDir other;
    source.Init(kGuid, other.Path());
    TestPoint point;
    point.Init(kGuid, m_dir.Path());
    point.CopyLastSetOfParameterFrom(source);
    EXPECT_TRUE(point.GetTimeStampArray().empty());
    Insert(source, 100, "A", "1");
    Insert(source, 300, "B", "2");
    point.CopyLastSetOfParameterFrom(source);
    ASSERT_EQ(point.GetTimeStampArray(), (std::vector<uint32_t>{300}));
    EXPECT_TRUE(EntryValues(point.ChannelMaps[0]).empty());
}

TEST_F(MeasuringPointTest, ParameterNamesComeOnceInTheOrderFirstMet) {
    TestPoint point;
    point.Init(kGuid, m_dir.Path());
    Insert(point, 100, "Zeta", "1");
    Insert(point, 200, "Alpha", "1", kVoltage);
    Insert(point, 300, "Zeta", "2");
    std::vector<std::string> names;
    point.GetArrayOfParameterNames(names);
    EXPECT_EQ(names, (std::vector<std::string>{"Zeta", "Alpha"}));
}

TEST_F(MeasuringPointTest, TheTimeZoneIsTheMachinesOnlyWhereNoneIsStored) {
    TestPoint point;
    point.Init(kGuid, m_dir.Path());
    CTNTimeZoneInformation zone("posix/UTC");
    point.GetTimeZoneInfo(At(100), zone);
    EXPECT_EQ(zone.GetName(), CTNTimeZoneInformation().GetName());
    Insert(point, 100, "TimeZoneName", "Europe/Berlin");
    CTNTimeZoneInformation given("posix/UTC");
    point.GetTimeZoneInfo(At(150), given);
    EXPECT_EQ(given.GetName(), "posix/UTC");
}

TEST_F(MeasuringPointTest, LocalTimeIsTheMachinesWhateverTheParametersSay) {
    TestPoint point;
    point.Init(kGuid, m_dir.Path());
    Insert(point, 100, "TimeZoneName", "Asia/Tokyo");
    const CTNLocalTimeStamp local = point.GetLocalDateTime(At(1000000));
    const CTNLocalTimeStamp expected = At(1000000).ToLocalTime(CTNTimeZoneInformation("localtime"));
    EXPECT_EQ(local.Format("%Y-%m-%d %H:%M:%S"), expected.Format("%Y-%m-%d %H:%M:%S"));
}

// ---------------------------------------------------------------- channels

TEST_F(MeasuringPointTest, TheLastTimeOfTheChannelsRaisesAndAChannelWithoutBlocksLowersNothing) {
    {
        CTarnovelleChannel withData;
        ASSERT_EQ(withData.Create(m_dir.Path(), kGuid, kVoltage, "", 0, 0, 0, 0), TNE_OK);
        ASSERT_EQ(withData.WriteBeginSampleFloat(At(1000), At(1010), 1), TNE_OK);
        const float v = 1.0f;
        ASSERT_EQ(withData.WriteSampleData(&v, 1), TNE_OK);
        ASSERT_EQ(withData.Close(), TNE_OK);
        CTarnovelleChannel empty;
        const SChannelID other(static_cast<ECharacteristicType>(0x22), static_cast<EPhase>(1), MVT_MEAN);
        ASSERT_EQ(empty.Create(m_dir.Path(), kGuid, other, "", 0, 0, 0, 0), TNE_OK);
        ASSERT_EQ(empty.Close(), TNE_OK);
    }
    // A file of another name is no channel.
    m_dir.WriteFile(GuidToString(kGuid) + "/notes.sam", "x");
    TestPoint point;
    point.Init(kGuid, m_dir.Path());
    CTNUTCTimeStamp time = At(500);
    point.GetLastTimeStampFromChannels(time);
    EXPECT_EQ(time, At(1010));
    CTNUTCTimeStamp later = At(5000);
    point.GetLastTimeStampFromChannels(later);
    EXPECT_EQ(later, At(5000));
}

// ---------------------------------------------------------------- the current version

TEST_F(MeasuringPointTest, SaveWritesTheBinaryLayoutByteForByte) {
    TestPoint point;
    point.Init(kGuid, m_dir.Path());
    Insert(point, 100, "Name", "Feeder 1");
    CTarnovelleParameterSet set = CTarnovelleParameterSet::CreateParameterSet();
    set.SetParameter(kVoltage, "Unit", std::string("V"));
    point.InsertParameterSet(set, At(200));
    ASSERT_EQ(point.Save(), TNE_OK);
    const std::string expected = Version2({{100, {{0, {{"Name", "<STRING>Feeder 1</STRING>"}}}}},
                                           {200, {{kVoltage.GetDWORD(), {{"Unit", "<STRING>V</STRING>"}}}}}});
    EXPECT_EQ(TNTestDir::ReadFile(ConfData(m_dir)), expected);
    EXPECT_NE(point.FileStatus.m_mtime, 0);
}

TEST_F(MeasuringPointTest, AnEntryWithoutAMapIsWrittenWithAChannelCountOfZero) {
    TestPoint point;
    point.Init(kGuid, m_dir.Path());
    Insert(point, 100, "A", "1");
    point.TimeStamps.push_back(200);
    point.ChannelMaps.push_back(nullptr);
    ASSERT_EQ(point.Save(), TNE_OK);
    EXPECT_EQ(TNTestDir::ReadFile(ConfData(m_dir)), Version2({{100, {{0, {{"A", "<STRING>1</STRING>"}}}}}, {200, {}}}));
}

TEST_F(MeasuringPointTest, AFileIsReadIntoTheHistoryAsItStands) {
    // Entries are taken in the file's order, with every value as stored.
    WriteConfData(m_dir, Version2({{100, {{0, {{"A", "<DWORD>1</DWORD>"}, {"B", "<STRING>b</STRING>"}}},
                                          {kVoltage.GetDWORD(), {{"Unit", "<STRING>V</STRING>"}}}}},
                                   {200, {{0, {{"A", "<DWORD>1</DWORD>"}}}}}}));
    TestPoint point;
    point.Init(kGuid, m_dir.Path());
    ASSERT_EQ(point.GetTimeStampArray(), (std::vector<uint32_t>{100, 200}));
    EXPECT_EQ(EntryValues(point.ChannelMaps[0]),
              (std::vector<std::string>{"0:A=<DWORD>1</DWORD>", "0:B=<STRING>b</STRING>",
                                        std::to_string(kVoltage.GetDWORD()) + ":Unit=<STRING>V</STRING>"}));
    EXPECT_EQ(EntryValues(point.ChannelMaps[1]), (std::vector<std::string>{"0:A=<DWORD>1</DWORD>"}));
    uint32_t a = 0;
    CTarnovelleParameterSet set = point.GetParameterSet(At(250));
    ASSERT_EQ(set.GetParameter("A", a), TNE_OK);
    EXPECT_EQ(a, 1u);
}

TEST_F(MeasuringPointTest, AnEntryWithAChannelCountOfZeroIsLostOnReadingAndSaving) {
    WriteConfData(m_dir, Version2({{100, {{0, {{"A", "<DWORD>1</DWORD>"}}}}},
                                   {150, {}},
                                   {200, {{0, {{"A", "<DWORD>2</DWORD>"}}}}}}));
    TestPoint point;
    point.Init(kGuid, m_dir.Path());
    EXPECT_EQ(point.GetTimeStampArray(), (std::vector<uint32_t>{100, 200}));
    ASSERT_EQ(point.Save(), TNE_OK);
    // Shorter than before: the old file's last bytes stay behind the new end.
    const std::string expected =
        Version2({{100, {{0, {{"A", "<DWORD>1</DWORD>"}}}}}, {200, {{0, {{"A", "<DWORD>2</DWORD>"}}}}}});
    EXPECT_EQ(TNTestDir::ReadFile(ConfData(m_dir)).substr(0, expected.size()), expected);
    TestPoint again;
    again.Init(kGuid, m_dir.Path());
    EXPECT_EQ(again.GetTimeStampArray(), (std::vector<uint32_t>{100, 200}));
}

TEST_F(MeasuringPointTest, AChannelWithAValueCountOfZeroIsSkipped) {
    WriteConfData(m_dir, Version2({{100, {{7, {}}, {0, {{"A", "<DWORD>1</DWORD>"}}}}}}));
    TestPoint point;
    point.Init(kGuid, m_dir.Path());
    ASSERT_EQ(point.GetTimeStampArray().size(), 1u);
    EXPECT_EQ(point.ChannelMaps[0]->GetCount(), 1u);
    EXPECT_EQ(point.ChannelMaps[0]->Lookup(7), nullptr);
}

TEST_F(MeasuringPointTest, EqualLastEntriesShrinkTheFileByOneEntryPerSave) {
    const SEntry a{100, {{0, {{"A", "<DWORD>1</DWORD>"}}}}};
    const SEntry same1{200, {{0, {{"A", "<DWORD>2</DWORD>"}}}}};
    const SEntry same2{300, {{0, {{"A", "<DWORD>2</DWORD>"}}}}};
    const SEntry same3{400, {{0, {{"A", "<DWORD>2</DWORD>"}}}}};
    WriteConfData(m_dir, Version2({a, same1, same2, same3}));
    TestPoint point;
    point.Init(kGuid, m_dir.Path());
    ASSERT_EQ(point.GetTimeStampArray().size(), 4u);
    ASSERT_EQ(point.Save(), TNE_OK);
    EXPECT_EQ(point.GetTimeStampArray(), (std::vector<uint32_t>{100, 200, 300}));
    const std::string afterOne = Version2({a, same1, same2});
    EXPECT_EQ(TNTestDir::ReadFile(ConfData(m_dir)).substr(0, afterOne.size()), afterOne);
    ASSERT_EQ(point.Save(), TNE_OK);
    EXPECT_EQ(point.GetTimeStampArray(), (std::vector<uint32_t>{100, 200}));
    ASSERT_EQ(point.Save(), TNE_OK);
    EXPECT_EQ(point.GetTimeStampArray(), (std::vector<uint32_t>{100, 200}));
    const std::string last = Version2({a, same1});
    EXPECT_EQ(TNTestDir::ReadFile(ConfData(m_dir)).substr(0, last.size()), last);
}

TEST_F(MeasuringPointTest, AnEmptyLastEntryGoesOnlyAfterAnotherEmptyOne) {
    TestPoint point;
    point.Init(kGuid, m_dir.Path());
    Insert(point, 100, "A", "1");
    Insert(point, 200, "A", "1");  // an empty entry
    ASSERT_EQ(point.Save(), TNE_OK);
    EXPECT_EQ(point.GetTimeStampArray(), (std::vector<uint32_t>{100, 200}));
    Insert(point, 300, "A", "1");  // a second empty one
    ASSERT_EQ(point.Save(), TNE_OK);
    EXPECT_EQ(point.GetTimeStampArray(), (std::vector<uint32_t>{100, 200}));
}

TEST_F(MeasuringPointTest, AShorterRewriteLeavesStaleBytesThatNoReaderSees) {
    TestPoint point;
    point.Init(kGuid, m_dir.Path());
    for (uint32_t t = 100; t <= 500; t += 100) Insert(point, t, "Counter", std::to_string(t));
    ASSERT_EQ(point.Save(), TNE_OK);
    const std::string longer = TNTestDir::ReadFile(ConfData(m_dir));

    TNTestDir other;
    TestPoint shorter;
    shorter.Init(kGuid, other.Path());
    Insert(shorter, 100, "Counter", "only");
    // Written over the longer file: same folder, same file.
    std::filesystem::copy_file(ConfData(m_dir), ConfData(other), std::filesystem::copy_options::overwrite_existing);
    ASSERT_EQ(shorter.Save(), TNE_OK);
    const std::string written = Version2({{100, {{0, {{"Counter", "<STRING>only</STRING>"}}}}}});
    const std::string bytes = TNTestDir::ReadFile(ConfData(other));
    ASSERT_EQ(bytes.size(), longer.size());
    EXPECT_EQ(bytes.substr(0, written.size()), written);
    EXPECT_EQ(bytes.substr(written.size()), longer.substr(written.size()));

    TestPoint reader;
    reader.Init(kGuid, other.Path());
    EXPECT_EQ(reader.GetTimeStampArray(), (std::vector<uint32_t>{100}));
    EXPECT_EQ(StringAt(reader, 600, "Counter"), "only");
}

TEST_F(MeasuringPointTest, AVersionByteOtherThanTheThreeLeavesTheHistoryEmpty) {
    WriteConfData(m_dir, std::string("<CTarnovelleMeasuringPoint Version=\"3\"/>") + Version2({{1, {{0, {{"A", "x"}}}}}}).substr(40));
    TestPoint point;
    EXPECT_EQ(point.Init(kGuid, m_dir.Path()), TNE_FILE_NOT_PARSED);
    EXPECT_TRUE(point.GetTimeStampArray().empty());
}

TEST_F(MeasuringPointTest, AFileWithAnotherHeadIsNotParsed) {
    WriteConfData(m_dir, "<SomethingElse Version=\"2\"/>");
    TestPoint point;
    EXPECT_EQ(point.Init(kGuid, m_dir.Path()), TNE_FILE_NOT_PARSED);
    EXPECT_TRUE(point.GetTimeStampArray().empty());
}

TEST_F(MeasuringPointTest, ALoadOfAnUnchangedFileReadsNothing) {
    WriteConfData(m_dir, Version2({{100, {{0, {{"A", "<DWORD>1</DWORD>"}}}}}}));
    TestPoint point;
    point.Init(kGuid, m_dir.Path());
    EXPECT_EQ(point.Load(), TNE_OK);
    EXPECT_EQ(point.GetTimeStampArray().size(), 1u);
}

TEST_F(MeasuringPointTest, SaveThatCannotOpenTheFileGivesNotWritten) {
    class FailOpens : public CTNFileFaults {
    public:
        int Before(EOperation operation, const std::string&) override { return operation == opOpen ? EACCES : 0; }
    } faults;
    TestPoint point;
    point.Init(kGuid, m_dir.Path());
    Insert(point, 100, "A", "1");
    CTNScopedFileFaults scope(&faults);
    EXPECT_EQ(point.Save(), TNE_FILE_NOT_WRITTEN);
}

TEST_F(MeasuringPointTest, AFailedWriteOfTheSavePassesTheFileLayersExceptionOn) {
    class FailWrites : public CTNFileFaults {
    public:
        int Before(EOperation operation, const std::string&) override { return operation == opWrite ? ENOSPC : 0; }
    } faults;
    TestPoint point;
    point.Init(kGuid, m_dir.Path());
    Insert(point, 100, "A", "1");
    CTNScopedFileFaults scope(&faults);
    EXPECT_ANY_THROW(point.Save());
}

TEST_F(MeasuringPointTest, LoadThatCannotOpenTheFileGivesNotOpened) {
    WriteConfData(m_dir, Version2({{100, {{0, {{"A", "<DWORD>1</DWORD>"}}}}}}));
    class FailOpens : public CTNFileFaults {
    public:
        int Before(EOperation operation, const std::string&) override { return operation == opOpen ? EACCES : 0; }
    } faults;
    CTNScopedFileFaults scope(&faults);
    TestPoint point;
    EXPECT_EQ(point.Init(kGuid, m_dir.Path()), TNE_FILE_NOT_OPENED);
    EXPECT_TRUE(point.GetTimeStampArray().empty());
}

// ---------------------------------------------------------------- Refresh

TEST_F(MeasuringPointTest, RefreshFollowsTheFilesModificationTime) {
    TestPoint writer;
    writer.Init(kGuid, m_dir.Path());
    Insert(writer, 100, "A", "1");
    ASSERT_EQ(writer.Save(), TNE_OK);
    TestPoint reader;
    reader.Init(kGuid, m_dir.Path());
    ASSERT_EQ(reader.GetTimeStampArray().size(), 1u);
    EXPECT_EQ(reader.Refresh(), TNE_OK);  // nothing changed
    Insert(writer, 200, "A", "2");
    ASSERT_EQ(writer.Save(), TNE_OK);
    EXPECT_EQ(reader.Refresh(), TNE_OK);
    EXPECT_EQ(reader.GetTimeStampArray(), (std::vector<uint32_t>{100, 200}));
    EXPECT_EQ(StringAt(reader, 300, "A"), "2");
}

TEST_F(MeasuringPointTest, RefreshOfAGoneFileGivesFileGone) {
    TestPoint point;
    point.Init(kGuid, m_dir.Path());
    EXPECT_EQ(point.Refresh(), TNE_FILE_GONE);
}

// ---------------------------------------------------------------- the XML version

std::string Version1(const std::string& body) {
    return "<CTarnovelleMeasuringPoint Version=\"1\">" + body + "</CTarnovelleMeasuringPoint>";
}

TEST_F(MeasuringPointTest, AnXmlFileIsReadThroughInsertsSoRepeatedValuesVanish) {
    WriteConfData(m_dir, Version1("<TimeStamp StartTime=\"100\">"
                                  "<Parameter ParameterId=\"Name\"><STRING>Feeder</STRING></Parameter>"
                                  "<Channel ChannelID=\"" + std::to_string(kVoltage.GetDWORD()) + "\">"
                                  "<Parameter ParameterId=\"Unit\"><STRING>V</STRING></Parameter>"
                                  "<Parameter ParameterId=\"Limit\"><DWORD>5</DWORD><DWORD>6</DWORD></Parameter>"
                                  "</Channel><Other/></TimeStamp>"
                                  "<TimeStamp StartTime=\"200\">"
                                  "<Parameter ParameterId=\"Name\"><STRING>Feeder</STRING></Parameter>"
                                  "<Parameter ParameterId=\"Count\"><DWORD>3</DWORD></Parameter>"
                                  "</TimeStamp>"
                                  "<TimeStamp StartTime=\"\"><Parameter ParameterId=\"X\"><DWORD>1</DWORD></Parameter></TimeStamp>"));
    TestPoint point;
    point.Init(kGuid, m_dir.Path());
    ASSERT_EQ(point.GetTimeStampArray(), (std::vector<uint32_t>{100, 200}));
    const std::string v = std::to_string(kVoltage.GetDWORD());
    EXPECT_EQ(EntryValues(point.ChannelMaps[0]),
              (std::vector<std::string>{"0:Name=<STRING>Feeder</STRING>", v + ":Limit=<DWORD>6</DWORD>",
                                        v + ":Unit=<STRING>V</STRING>"}));
    EXPECT_EQ(EntryValues(point.ChannelMaps[1]), (std::vector<std::string>{"0:Count=<DWORD>3</DWORD>"}));
}

TEST_F(MeasuringPointTest, AnXmlFileWithTimeStampsOutOfOrderIsReadSorted) {
    WriteConfData(m_dir, Version1("<TimeStamp StartTime=\"300\"><Parameter ParameterId=\"A\"><DWORD>3</DWORD></Parameter></TimeStamp>"
                                  "<TimeStamp StartTime=\"100\"><Parameter ParameterId=\"A\"><DWORD>1</DWORD></Parameter></TimeStamp>"
                                  "<TimeStamp StartTime=\"200\"><Parameter ParameterId=\"A\"><DWORD>2</DWORD></Parameter></TimeStamp>"));
    TestPoint point;
    point.Init(kGuid, m_dir.Path());
    EXPECT_EQ(point.GetTimeStampArray(), (std::vector<uint32_t>{100, 200, 300}));
    uint32_t a = 0;
    ASSERT_EQ(point.GetParameterSet(At(250)).GetParameter("A", a), TNE_OK);
    EXPECT_EQ(a, 2u);
}

TEST_F(MeasuringPointTest, AnXmlFileThatDoesNotParseLeavesTheHistoryEmpty) {
    WriteConfData(m_dir, "<CTarnovelleMeasuringPoint Version=\"1\"><TimeStamp StartTime=\"1\">");
    TestPoint point;
    EXPECT_EQ(point.Init(kGuid, m_dir.Path()), TNE_FILE_NOT_PARSED);
    EXPECT_TRUE(point.GetTimeStampArray().empty());
    EXPECT_FALSE(m_messages.empty());  // the parse error was shown
}

// ---------------------------------------------------------------- the text version

std::string Version0(const std::vector<std::string>& lines, long count = -1) {
    std::string text = "<CTarnovelleMeasuringPoint Version=\"0\">\n";
    text += "Count=" + std::to_string(count < 0 ? static_cast<long>(lines.size()) : count) + "\n";
    for (const std::string& line : lines) text += line + "\n";
    return text;
}

TEST_F(MeasuringPointTest, KeysOfTheTextVersionHaveFixedPlaces) {
    EXPECT_EQ(TestPoint::CreateParameterPath(0x0012abcdu, SChannelID(0x03010021u), 2),
              "TIME0012abcd_CHANNEL03010021_PARAMETER2");
    uint32_t time = 0;
    SChannelID channel;
    std::string name;
    ASSERT_EQ(TestPoint::ParseParameterPath("TIME0012abcd_CHANNEL03010021_PARAMETER1", time, channel, name), TNE_OK);
    EXPECT_EQ(time, 0x0012abcdu);
    EXPECT_EQ(channel.GetDWORD(), 0x03010021u);
    EXPECT_EQ(name, "IntervalTimeInMSec");
    for (const auto& [number, expected] : std::vector<std::pair<int, std::string>>{
             {0, "???"}, {2, "NominalValue"}, {3, "Unit"}, {7, ""}}) {
        ASSERT_EQ(TestPoint::ParseParameterPath(TestPoint::CreateParameterPath(1, SChannelID(0u), number), time,
                                                channel, name),
                  TNE_OK);
        EXPECT_EQ(name, expected) << number;
    }
    EXPECT_EQ(TestPoint::ParseParameterPath("TIME0012abcd-CHANNEL03010021_PARAMETER1", time, channel, name),
              TNE_NO_OBJECT);
    EXPECT_EQ(TestPoint::ParseParameterPath("TIME", time, channel, name), TNE_NO_OBJECT);
}

TEST_F(MeasuringPointTest, ATextFileKeepsEveryValueAtItsOwnTime) {
    const std::string v = TestPoint::CreateParameterPath(100, kVoltage, 3);
    WriteConfData(m_dir, Version0({TestPoint::CreateParameterPath(100, kVoltage, 3) + "=<STRING>V</STRING>",
                                   TestPoint::CreateParameterPath(200, kVoltage, 3) + "=<STRING>V</STRING>",
                                   TestPoint::CreateParameterPath(200, kVoltage, 2) + "=<DOUBLE>230.000000</DOUBLE>",
                                   "ignored line without a key part=", "=no key"}));
    TestPoint point;
    point.Init(kGuid, m_dir.Path());
    ASSERT_EQ(point.GetTimeStampArray(), (std::vector<uint32_t>{100, 200}));
    const std::string c = std::to_string(kVoltage.GetDWORD());
    EXPECT_EQ(EntryValues(point.ChannelMaps[0]), (std::vector<std::string>{c + ":Unit=<STRING>V</STRING>"}));
    EXPECT_EQ(EntryValues(point.ChannelMaps[1]),
              (std::vector<std::string>{c + ":NominalValue=<DOUBLE>230.000000</DOUBLE>", c + ":Unit=<STRING>V</STRING>"}));
}

TEST_F(MeasuringPointTest, ATextKeyWithParameterNumberSevenStoresUnderTheEmptyName) {
    WriteConfData(m_dir, Version0({TestPoint::CreateParameterPath(100, SChannelID(0u), 7) + "=<DWORD>9</DWORD>"}));
    TestPoint point;
    point.Init(kGuid, m_dir.Path());
    ASSERT_EQ(point.GetTimeStampArray().size(), 1u);
    EXPECT_EQ(EntryValues(point.ChannelMaps[0]), (std::vector<std::string>{"0:=<DWORD>9</DWORD>"}));
}

TEST_F(MeasuringPointTest, ATextLineLongerThanTheLineBufferIsCutAndItsRestIsTheNextLine) {
    // 254 bytes make one read: the key, "=", and a value that runs on. The
    // rest of the line is read as the next line, a key of its own.
    const std::string key = TestPoint::CreateParameterPath(100, SChannelID(0u), 3);
    const std::string head = key + "=<STRING>";
    const std::string filler(254 - head.size(), 'x');
    const std::string rest = TestPoint::CreateParameterPath(200, SChannelID(0u), 2) + "=<DWORD>4</DWORD>";
    WriteConfData(m_dir, Version0({head + filler + rest}, 2));
    TestPoint point;
    point.Init(kGuid, m_dir.Path());
    ASSERT_EQ(point.GetTimeStampArray(), (std::vector<uint32_t>{100, 200}));
    // The cut value has no closing tag and so no line break to lose.
    EXPECT_EQ(EntryValues(point.ChannelMaps[0]), (std::vector<std::string>{"0:Unit=<STRING>" + filler}));
    EXPECT_EQ(EntryValues(point.ChannelMaps[1]), (std::vector<std::string>{"0:NominalValue=<DWORD>4</DWORD>"}));
}

TEST_F(MeasuringPointTest, ATextLineWithoutSeparatorRefusesTheWholeFile) {
    WriteConfData(m_dir, Version0({TestPoint::CreateParameterPath(100, SChannelID(0u), 3) + "=<STRING>V</STRING>",
                                   "no separator here"}));
    TestPoint point;
    point.Init(kGuid, m_dir.Path());
    EXPECT_TRUE(point.GetTimeStampArray().empty());
}

TEST_F(MeasuringPointTest, ATextFileWithoutItsCountLineIsRefused) {
    WriteConfData(m_dir, "<CTarnovelleMeasuringPoint Version=\"0\">\nTIME=1\n");
    TestPoint point;
    point.Init(kGuid, m_dir.Path());
    EXPECT_TRUE(point.GetTimeStampArray().empty());
}

TEST_F(MeasuringPointTest, ATextFileWithWindowsLineBreaksReadsTheSame) {
    std::string text = Version0({TestPoint::CreateParameterPath(100, SChannelID(0u), 3) + "=<STRING>V</STRING>"});
    std::string crlf;
    for (char c : text) {
        if (c == '\n') crlf += '\r';
        crlf += c;
    }
    WriteConfData(m_dir, crlf);
    TestPoint point;
    point.Init(kGuid, m_dir.Path());
    ASSERT_EQ(point.GetTimeStampArray().size(), 1u);
    EXPECT_EQ(EntryValues(point.ChannelMaps[0]), (std::vector<std::string>{"0:Unit=<STRING>V</STRING>"}));
}

TEST_F(MeasuringPointTest, AnOlderFileIsWrittenInTheCurrentVersionAtTheNextSave) {
    WriteConfData(m_dir, Version0({TestPoint::CreateParameterPath(100, SChannelID(0u), 3) + "=<STRING>V</STRING>"}));
    TestPoint point;
    point.Init(kGuid, m_dir.Path());
    ASSERT_EQ(point.Save(), TNE_OK);
    const std::string expected = Version2({{100, {{0, {{"Unit", "<STRING>V</STRING>"}}}}}});
    EXPECT_EQ(TNTestDir::ReadFile(ConfData(m_dir)).substr(0, expected.size()), expected);
}

}  // namespace
