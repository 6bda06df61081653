// ConfData.Inf cut off at every byte, and written by someone hostile: a
// measuring point that loads such a file must come back with a result, read
// no entry that the full file does not hold in the same place, lose no entry
// that lies wholly inside the file, and never size an allocation by a count
// or length that the file cannot hold. Every allocation of this test program
// is watched (TNAllocationWatch), and anything above 1 GiB is refused
// outright, so a reader that trusted a count fails fast instead of taking the
// machine down.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "tarnovelle/measuring/CTarnovelleMeasuringPoint.h"
#include "tarnovelle/measuring/CTarnovelleParameterSet.h"
#include "tarnovelle/support/CTNFakeClock.h"
#include "tarnovelle/support/CTNMessageBox.h"
#include "tarnovelle/support/TNGuid.h"
#include "tarnovelle/values/STarnovelleTimeStampInMsec.h"
#include "tests/support/allocation/TNAllocationWatch.h"
#include "tests/support/TNTestDir.h"

namespace {

constexpr GUID kGuid = {0x0C0FDA7A, 0xBEEF, 0x4CAF, {0x91, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08}};
const SChannelID kVoltage(0x03010021u);
const SChannelID kCurrent(0x21024242u);
constexpr char kHead[] = "<CTarnovelleMeasuringPoint Version=\"2\"/>";
constexpr size_t kHeadSize = sizeof(kHead) - 1;

// What a load may allocate besides what the file explains: a path (at most
// PATH_MAX long), the nodes of the maps it fills.
constexpr size_t kBookkeeping = 4096;

CTNUTCTimeStamp TS(uint32_t seconds) { return STarnovelleTimeStampInMsec(seconds, 0).GetUTCTimeStamp(); }

class Point : public CTarnovelleMeasuringPoint {
public:
    using CTarnovelleMeasuringPoint::ChannelMaps;
    using CTarnovelleMeasuringPoint::IsEqual;
};

// ---- raw file building, independent of the writer under test

void PutU32(std::string& out, uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8) out.push_back(static_cast<char>((value >> shift) & 0xFF));
}
void PutI32(std::string& out, int32_t value) { PutU32(out, static_cast<uint32_t>(value)); }
void PutText(std::string& out, const std::string& text) {
    PutI32(out, static_cast<int32_t>(text.size()));
    out += text;
}

uint32_t GetU32(const std::string& bytes, size_t at) {
    uint32_t value = 0;
    for (int i = 0; i < 4; ++i) value |= static_cast<uint32_t>(static_cast<unsigned char>(bytes[at + i])) << (8 * i);
    return value;
}

// Where each entry of a well-formed file of the current version ends.
std::vector<size_t> EntryEnds(const std::string& bytes) {
    std::vector<size_t> ends;
    size_t at = kHeadSize;
    const uint32_t entries = GetU32(bytes, at);
    at += 4;
    for (uint32_t e = 0; e < entries; ++e) {
        at += 4;  // time
        const uint32_t channels = GetU32(bytes, at);
        at += 4;
        for (uint32_t c = 0; c < channels; ++c) {
            at += 4;  // identifier
            const uint32_t values = GetU32(bytes, at);
            at += 4;
            for (uint32_t v = 0; v < 2 * values; ++v) at += 4 + GetU32(bytes, at);
        }
        ends.push_back(at);
    }
    return ends;
}

std::string FilePathIn(const std::string& root) { return root + "/" + GuidToString(kGuid) + "/ConfData.Inf"; }

void WriteConfData(const std::string& root, const std::string& bytes) {
    std::filesystem::create_directories(root + "/" + GuidToString(kGuid));
    std::FILE* file = std::fopen(FilePathIn(root).c_str(), "wb");
    ASSERT_NE(file, nullptr);
    if (!bytes.empty()) {
        ASSERT_EQ(std::fwrite(bytes.data(), 1, bytes.size(), file), bytes.size());
    }
    std::fclose(file);
}

std::string ReadAll(const std::string& path) { return TNTestDir::ReadFile(path); }

void Insert(Point& point, uint32_t seconds, const std::function<void(CTarnovelleParameterSet&)>& fill) {
    CTarnovelleParameterSet set = CTarnovelleParameterSet::CreateParameterSet();
    fill(set);
    point.InsertParameterSet(set, TS(seconds));
}

// A history of four entries over three channels, saved by the library.
std::string SaveFullFile(const std::string& root) {
    Point point;
    point.Init(kGuid, root);
    Insert(point, 100, [](CTarnovelleParameterSet& s) {
        s.SetParameter("MeasuringPointName", std::string("Hall 3"));
        s.SetParameter("AppName", std::string("recorder"));
        s.SetParameter("AppVersionMajor", 2u);
        s.SetParameter(kVoltage, "Unit", std::string("V"));
        s.SetParameter(kVoltage, "NominalValue", 230.0);
        s.SetParameter(kVoltage, "IntervalTimeInMSec", 1000u);
    });
    Insert(point, 200, [](CTarnovelleParameterSet& s) {
        s.SetParameter("MeasuringPointName", std::string("Hall 4"));
        s.SetParameter(kCurrent, "Unit", std::string("A"));
        s.SetParameter(kCurrent, "NominalValue", 16.0);
    });
    Insert(point, 300, [](CTarnovelleParameterSet& s) {
        s.SetParameter("TimeZoneName", std::string("Europe/Berlin"));
        s.SetParameter(kVoltage, "NominalValue", 231.5);
        s.SetParameter(kCurrent, "IntervalTimeInMSec", 60000u);
    });
    Insert(point, 400, [](CTarnovelleParameterSet& s) {
        s.SetParameter("Comment", std::string(300, 'c'));
        s.SetParameter(kCurrent, "Unit", std::string("mA"));
    });
    EXPECT_EQ(point.Save(), TNE_OK);
    return ReadAll(FilePathIn(root));
}

class ConfDataPrefixesTest : public ::testing::Test {
protected:
    void SetUp() override {
        CTNMessageBox::RerouteMessageBoxToLogArray(&m_messages);
        TNAllocationWatch::Reset();
    }
    void TearDown() override { CTNMessageBox::RerouteMessageBoxToLogArray(nullptr); }

    // A fresh measuring point loads the file at `root`; the time it took is
    // checked, and the largest single allocation is left for the caller.
    ETarnovelleErrors Load(Point& point, const std::string& root, size_t& largest) {
        TNAllocationWatch::Reset();
        const auto start = std::chrono::steady_clock::now();
        const ETarnovelleErrors result = point.Init(kGuid, root);
        largest = TNAllocationWatch::Largest();
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
        return result;
    }

    // An open that can't get its file would otherwise wait minutes.
    CTNFakeClock m_clock{0};
    CTNScopedClock m_scoped{&m_clock};
    std::vector<std::string> m_messages;
    TNTestDir m_dir;
};

TEST_F(ConfDataPrefixesTest, EveryPrefixOfASavedFileLoadsAPrefixOfItsHistory) {
    const std::string fullRoot = m_dir / "full";
    const std::string full = SaveFullFile(fullRoot);
    ASSERT_GT(full.size(), kHeadSize + 4);
    ASSERT_EQ(full.compare(0, kHeadSize, kHead), 0);
    ASSERT_EQ(full.compare(full.size() - 11, 11, "END_OF_FILE"), 0);
    const std::vector<size_t> ends = EntryEnds(full);
    ASSERT_EQ(ends.size(), 4u);
    ASSERT_EQ(ends.back() + 11, full.size());

    Point reference;
    reference.Init(kGuid, fullRoot);
    ASSERT_EQ(reference.GetTimeStampArray(), (std::vector<uint32_t>{100, 200, 300, 400}));
    {
        CTarnovelleParameterSet last = reference.GetParameterSet(TS(400));
        std::string text;
        ASSERT_EQ(last.GetParameter("MeasuringPointName", text), TNE_OK);
        EXPECT_EQ(text, "Hall 4");
        double nominal = 0;
        ASSERT_EQ(last.GetParameter(kVoltage, "NominalValue", nominal), TNE_OK);
        EXPECT_EQ(nominal, 231.5);
        ASSERT_EQ(last.GetParameter(kCurrent, "Unit", text), TNE_OK);
        EXPECT_EQ(text, "mA");
    }

    const std::string cutRoot = m_dir / "cut";
    for (size_t length = 0; length <= full.size(); ++length) {
        SCOPED_TRACE("prefix of " + std::to_string(length) + " of " + std::to_string(full.size()) + " bytes");
        WriteConfData(cutRoot, full.substr(0, length));
        Point point;
        size_t largest = 0;
        EXPECT_EQ(Load(point, cutRoot, largest), TNE_FILE_NOT_PARSED);
        EXPECT_LE(largest, length + kBookkeeping);

        const std::vector<uint32_t>& times = point.GetTimeStampArray();
        size_t complete = 0;
        while (complete < ends.size() && ends[complete] <= length) ++complete;
        // No entry that lies wholly inside the prefix is lost, none is made up,
        // and at most the one the cut runs through is read in part.
        ASSERT_GE(times.size(), complete);
        ASSERT_LE(times.size(), std::min(complete + 1, ends.size()));
        for (size_t i = 0; i < times.size(); ++i) EXPECT_EQ(times[i], reference.GetTimeStampArray()[i]);
        for (size_t i = 0; i < complete; ++i) {
            ASSERT_NE(point.ChannelMaps[i], nullptr);
            EXPECT_TRUE(Point::IsEqual(*point.ChannelMaps[i], *reference.ChannelMaps[i])) << "entry " << i;
        }
    }
}

// The head and one complete entry at 100 naming the point "ok".
std::string HeadAndGoodEntry(int32_t entries) {
    std::string bytes(kHead, kHeadSize);
    PutI32(bytes, entries);
    PutU32(bytes, 100);
    PutI32(bytes, 1);
    PutU32(bytes, 0);
    PutI32(bytes, 1);
    PutText(bytes, "Name");
    PutText(bytes, "<STRING>ok</STRING>");
    return bytes;
}

std::string NameAt(Point& point, uint32_t seconds) {
    CTarnovelleParameterSet set = point.GetParameterSet(TS(seconds));
    std::string name = "<none>";
    if (set.IsValid()) set.GetParameter("Name", name);
    return name;
}

TEST_F(ConfDataPrefixesTest, AnEntryCountOfTwoBillionWithNothingBehindItGivesAnEmptyHistory) {
    std::string bytes(kHead, kHeadSize);
    PutI32(bytes, 0x7FFFFFFF);
    WriteConfData(m_dir.Path(), bytes);
    Point point;
    size_t largest = 0;
    EXPECT_EQ(Load(point, m_dir.Path(), largest), TNE_FILE_NOT_PARSED);
    EXPECT_LE(largest, bytes.size() + kBookkeeping);
    EXPECT_TRUE(point.GetTimeStampArray().empty());
}

TEST_F(ConfDataPrefixesTest, ANameLengthOfTwoBillionEndsTheReadingAndKeepsTheEntriesBefore) {
    std::string bytes = HeadAndGoodEntry(2);
    PutU32(bytes, 200);
    PutI32(bytes, 1);
    PutU32(bytes, 0);
    PutI32(bytes, 1);
    PutI32(bytes, 0x7FFFFFFF);
    bytes += "Name<STRING>lost</STRING>END_OF_FILE";
    WriteConfData(m_dir.Path(), bytes);
    Point point;
    size_t largest = 0;
    EXPECT_EQ(Load(point, m_dir.Path(), largest), TNE_FILE_NOT_PARSED);
    EXPECT_LE(largest, bytes.size() + kBookkeeping);
    EXPECT_EQ(point.GetTimeStampArray(), std::vector<uint32_t>{100});
    EXPECT_EQ(NameAt(point, 300), "ok");
}

TEST_F(ConfDataPrefixesTest, ANegativeLengthEndsTheReadingAndKeepsTheEntriesBefore) {
    for (const bool inName : {true, false}) {
        SCOPED_TRACE(inName ? "name length" : "value length");
        std::string bytes = HeadAndGoodEntry(2);
        PutU32(bytes, 200);
        PutI32(bytes, 1);
        PutU32(bytes, 0);
        PutI32(bytes, 1);
        if (inName) {
            PutI32(bytes, -1);
        } else {
            PutText(bytes, "Name");
            PutI32(bytes, -8);
        }
        bytes += "<STRING>lost</STRING>END_OF_FILE";
        WriteConfData(m_dir.Path(), bytes);
        Point point;
        size_t largest = 0;
        EXPECT_EQ(Load(point, m_dir.Path(), largest), TNE_FILE_NOT_PARSED);
        EXPECT_LE(largest, bytes.size() + kBookkeeping);
        EXPECT_EQ(point.GetTimeStampArray(), std::vector<uint32_t>{100});
        EXPECT_EQ(NameAt(point, 300), "ok");
    }
}

TEST_F(ConfDataPrefixesTest, NegativeChannelAndValueCountsSkipTheirEntryOrChannelWithoutABody) {
    std::string bytes(kHead, kHeadSize);
    PutI32(bytes, 3);
    // An entry with a negative channel count: nothing of it is read.
    PutU32(bytes, 100);
    PutI32(bytes, -7);
    // An entry whose first channel has a negative value count, which is
    // skipped the same way, and whose second is whole.
    PutU32(bytes, 200);
    PutI32(bytes, 2);
    PutU32(bytes, kVoltage.GetDWORD());
    PutI32(bytes, -3);
    PutU32(bytes, 0);
    PutI32(bytes, 1);
    PutText(bytes, "Name");
    PutText(bytes, "<STRING>second</STRING>");
    // An entry with no channels at all.
    PutU32(bytes, 300);
    PutI32(bytes, 0);
    bytes += "END_OF_FILE";
    WriteConfData(m_dir.Path(), bytes);
    Point point;
    size_t largest = 0;
    EXPECT_EQ(Load(point, m_dir.Path(), largest), TNE_FILE_NOT_PARSED);
    EXPECT_LE(largest, bytes.size() + kBookkeeping);
    ASSERT_EQ(point.GetTimeStampArray(), std::vector<uint32_t>{200});
    ASSERT_NE(point.ChannelMaps[0], nullptr);
    EXPECT_EQ(point.ChannelMaps[0]->GetCount(), 1u);
    EXPECT_EQ(point.ChannelMaps[0]->Lookup(kVoltage.GetDWORD()), nullptr);
    EXPECT_EQ(NameAt(point, 1000), "second");
    EXPECT_EQ(NameAt(point, 150), "<none>");
}

TEST_F(ConfDataPrefixesTest, AnOldTextFileCountingTwoBillionLinesReadsTheTwoItHas) {
    const std::string text =
        "<CTarnovelleMeasuringPoint Version=\"0\">\n"
        "Count=2000000000\n"
        "TIME00000064_CHANNEL00000000_PARAMETER3=<STRING>V</STRING>\n"
        "TIME000000c8_CHANNEL03010021_PARAMETER1=<DWORD>1000</DWORD>\n";
    WriteConfData(m_dir.Path(), text);
    Point point;
    size_t largest = 0;
    EXPECT_EQ(Load(point, m_dir.Path(), largest), TNE_FILE_NOT_PARSED);
    EXPECT_LE(largest, text.size() + kBookkeeping);
    ASSERT_EQ(point.GetTimeStampArray(), (std::vector<uint32_t>{100, 200}));
    CTarnovelleParameterSet set = point.GetParameterSet(TS(200));
    std::string unit;
    EXPECT_EQ(set.GetParameter("Unit", unit), TNE_OK);
    EXPECT_EQ(unit, "V");
    uint32_t interval = 0;
    EXPECT_EQ(set.GetParameter(kVoltage, "IntervalTimeInMSec", interval), TNE_OK);
    EXPECT_EQ(interval, 1000u);
}

TEST_F(ConfDataPrefixesTest, AnXmlFileThatDoesNotParseGivesAnEmptyHistoryAndAReport) {
    const std::string text =
        "<CTarnovelleMeasuringPoint Version=\"1\">\n"
        "  <TimeStamp StartTime=\"100\">\n"
        "    <Parameter ParameterId=\"Name\"><STRING>x</STRING></Parameter>\n"
        "  </Stamp>\n";
    WriteConfData(m_dir.Path(), text);
    Point point;
    size_t largest = 0;
    EXPECT_EQ(Load(point, m_dir.Path(), largest), TNE_FILE_NOT_PARSED);
    EXPECT_LE(largest, text.size() + kBookkeeping);
    EXPECT_TRUE(point.GetTimeStampArray().empty());
    ASSERT_FALSE(m_messages.empty());
    EXPECT_NE(m_messages.back().find("ConfData.Inf"), std::string::npos) << m_messages.back();
    // Nothing waited: the file was open to read the whole time.
    EXPECT_TRUE(m_clock.GetSleeps().empty());
}

}  // namespace
