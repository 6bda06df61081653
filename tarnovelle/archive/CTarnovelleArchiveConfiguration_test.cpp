// The configuration check, told to the user through a rerouted CTNMessageBox,
// and the export of a time range into an archive of its own, read back.
#include "tarnovelle/archive/CTarnovelleArchive.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tarnovelle/storage/CTarnovelleChannel.h"
#include "tarnovelle/support/CTNFakeClock.h"
#include "tarnovelle/support/CTNFileFaults.h"
#include "tarnovelle/support/CTNMessageBox.h"
#include "tarnovelle/support/TNGuid.h"
#include "tarnovelle/values/CTNMessageFormatter.h"
#include "tarnovelle/values/CTarnovelleTextManager.h"
#include "tarnovelle/values/STarnovelleTimeStampInMsec.h"
#include "tarnovelle/values/SetTarnovelleLanguage.h"
#include "tests/support/TNTestDir.h"

namespace {

constexpr GUID kPoint = {0xC0F16001, 0x0002, 0x0003, {4, 5, 6, 7, 8, 9, 10, 11}};
const SChannelID kMean(static_cast<ECharacteristicType>(0x21), static_cast<EPhase>(1), MVT_MEAN);
const SChannelID kDigits(static_cast<ECharacteristicType>(0x22), static_cast<EPhase>(1), MVT_MEAN);
const SChannelID kEvents(static_cast<ECharacteristicType>(0x23), static_cast<EPhase>(1), MVT_MEAN_EVENT);
const SChannelID kBytes(static_cast<ECharacteristicType>(0x24), PH_NONE, MVT_BINARY);
const SChannelID kWords(static_cast<ECharacteristicType>(0x25), PH_NONE, MVT_BINARY);
const SChannelID kDoubleWords(static_cast<ECharacteristicType>(0x26), PH_NONE, MVT_BINARY);
const SChannelID kTexts(static_cast<ECharacteristicType>(0x27), PH_NONE, MVT_BINARY);

CTNUTCTimeStamp At(uint32_t seconds) { return STarnovelleTimeStampInMsec(seconds, 0).GetUTCTimeStamp(); }

std::string Text(uint16_t id) { return CTarnovelleTextManager::LoadString(id); }

class ConfigurationTest : public ::testing::Test {
protected:
    void SetUp() override {
        SetTarnovelleLanguage("de");
        CTNMessageBox::RerouteMessageBoxToLogArray(&m_shown);
        m_archive.SetArchiveFileName((m_dir / "Plant.TNArch").c_str());
    }
    void TearDown() override { CTNMessageBox::RerouteMessageBoxToLogArray(nullptr); }
    std::vector<std::string> m_shown;
    TNTestDir m_dir;
    CTNFakeClock m_clock{1700000000000ull};
    CTNScopedClock m_scope{&m_clock};
    CTarnovelleArchive m_archive;
};

// Every file below `root`, for "nothing was left behind".
std::vector<std::string> FilesNamed(const std::string& root, const std::string& name) {
    std::vector<std::string> found;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root))
        if (entry.path().filename() == name) found.push_back(entry.path());
    return found;
}

// ---------------------------------------------------------------- the check

TEST_F(ConfigurationTest, AnArchiveWithoutFoldersFailsWithText73AndTouchesNoDisk) {
    EXPECT_EQ(m_archive.CheckConfiguration(), 0);
    EXPECT_EQ(m_shown, (std::vector<std::string>{Text(73)}));
    EXPECT_TRUE(std::filesystem::is_empty(m_dir.Path()));
}

TEST_F(ConfigurationTest, AWorkingArchivePassesAndLeavesNoProbeFileBehind) {
    m_archive.AddArchive(m_dir / "TNArch01", TNARCHIVE_MODE_REMAINING, 1);
    m_archive.AddArchive(m_dir / "TNArch02", TNARCHIVE_MODE_MAXIMAL, 10);
    EXPECT_EQ(m_archive.CheckConfiguration(), 1);
    EXPECT_TRUE(m_shown.empty());
    EXPECT_TRUE(FilesNamed(m_dir.Path(), "CheckConfiguration.AccessTest").empty());
}

TEST_F(ConfigurationTest, AFolderThatCantBeWrittenFailsWithText76) {
    m_archive.AddArchive(m_dir / "TNArch01", TNARCHIVE_MODE_REMAINING, 1);
    CTarnovelleArchiveFolder* second = m_archive.AddArchive(m_dir / "TNArch02", TNARCHIVE_MODE_REMAINING, 1);
    class FailProbe : public CTNFileFaults {
    public:
        explicit FailProbe(std::string path) : m_path(std::move(path)) {}
        int Before(EOperation operation, const std::string& path) override {
            return operation == opOpen && path == m_path ? EACCES : 0;
        }

    private:
        std::string m_path;
    } faults(second->GetPath() + "/CheckConfiguration.AccessTest");
    CTNScopedFileFaults scope(&faults);
    EXPECT_EQ(m_archive.CheckConfiguration(), 0);
    ASSERT_EQ(m_shown.size(), 1u);
    EXPECT_EQ(m_shown[0], CTNMessageFormatter::Format(Text(76), {2, second->GetPath()}));
    EXPECT_TRUE(FilesNamed(m_dir.Path(), "CheckConfiguration.AccessTest").empty());
}

TEST_F(ConfigurationTest, AReadOnlyFolderFailsTheAccessCheckAndKeepsNoProbe) {
    if (geteuid() == 0) GTEST_SKIP() << "root may write into a read-only folder";
    CTarnovelleArchiveFolder* folder = m_archive.AddArchive(m_dir / "TNArch01", TNARCHIVE_MODE_REMAINING, 1);
    std::filesystem::permissions(folder->GetPath(), std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
    EXPECT_EQ(m_archive.CheckArchiveFolderAccess(), 0);
    std::filesystem::permissions(folder->GetPath(), std::filesystem::perms::owner_all);
    EXPECT_TRUE(FilesNamed(m_dir.Path(), "CheckConfiguration.AccessTest").empty());
}

TEST_F(ConfigurationTest, AFullPlainArchiveFailsWithText74) {
    m_archive.AddArchive(m_dir / "TNArch01", TNARCHIVE_MODE_MAXIMAL, 0);
    EXPECT_EQ(m_archive.CheckConfiguration(), 0);
    EXPECT_EQ(m_shown, (std::vector<std::string>{Text(74)}));
}

TEST_F(ConfigurationTest, AFullRingArchiveWipesTheNextFolderAndPasses) {
    CTarnovelleArchiveFolder* first = m_archive.AddArchive(m_dir / "TNArch01", TNARCHIVE_MODE_MAXIMAL, 1);
    CTarnovelleArchiveFolder* second = m_archive.AddArchive(m_dir / "TNArch02", TNARCHIVE_MODE_MAXIMAL, 100);
    m_archive.SetRoundTripArchive(true);
    // Old data in the second folder, the first full.
    first->SetActive(false);
    second->SetActive(true);
    std::vector<float> values(1000, 1.0f);
    CTarnovelleSample old(At(100), At(1100), 1000, values.data());
    ASSERT_EQ(m_archive.SaveSamples(kPoint, kMean, old), TNE_OK);
    second->SetActive(false);
    first->SetActive(true);
    std::vector<float> many(300000, 2.0f);
    CTarnovelleSample full(At(5000), At(305000), 300000, many.data());
    ASSERT_EQ(m_archive.SaveSamples(kPoint, kMean, full), TNE_OK);
    ASSERT_TRUE(first->IsFull());
    EXPECT_EQ(m_archive.CheckConfiguration(), 1);
    EXPECT_TRUE(m_shown.empty());
    EXPECT_TRUE(second->IsActive());
    EXPECT_FALSE(std::filesystem::exists(second->GetPath() + "/" + GuidToString(kPoint) + "/03010021.Sam"));
}

TEST_F(ConfigurationTest, AFolderLimitBeyondTheDiskFailsWithText95) {
    m_archive.AddArchive(m_dir / "TNArch01", TNARCHIVE_MODE_REMAINING, 1);
    m_archive.AddArchive(m_dir / "TNArch02", TNARCHIVE_MODE_MAXIMAL, 2000000000u);
    EXPECT_EQ(m_archive.CheckConfiguration(), 0);
    EXPECT_EQ(m_shown, (std::vector<std::string>{CTNMessageFormatter::Format(Text(95), {2})}));
}

TEST_F(ConfigurationTest, AnExceptionInTheCheckIsShownAndFails) {
    CTarnovelleArchiveFolder* folder = m_archive.AddArchive(m_dir / "TNArch01", TNARCHIVE_MODE_MAXIMAL, 0);
    m_archive.SetRoundTripArchive(true);
    // The full folder is wiped by the check; a held data file makes that fail.
    ASSERT_EQ(m_archive.SaveSamples(kPoint, kMean, CTarnovelleSample(At(1), At(2), 1, std::vector<float>{1.0f}.data())), TNE_OK);
    CTarnovelleFile holder;
    ASSERT_NE(holder.Open((folder->GetPath() + "/" + GuidToString(kPoint) + "/03010021.Dat").c_str(), CTarnovelleFile::modeRead), 0);
    EXPECT_EQ(m_archive.CheckConfiguration(), 0);
    ASSERT_EQ(m_shown.size(), 1u);
    holder.Close();
}

// ---------------------------------------------------------------- export

// Writes one block of every kind into the point's channels of the active folder.
void WriteEveryFormat(CTarnovelleArchive& archive, const std::string& folder, uint32_t start) {
    std::vector<float> floats = {1.5f, 2.5f, 3.5f, 4.5f};
    ASSERT_EQ(archive.SaveSamples(kPoint, kMean, CTarnovelleSample(At(start), At(start + 4), 4, floats.data())), TNE_OK);
    CTarnovelleChannel digits;
    ASSERT_EQ(digits.Init(folder, kPoint, kDigits, "", 0, 0, 0, 0), TNE_OK);
    ASSERT_EQ(digits.Open(), TNE_OK);
    const unsigned short d[3] = {10, 20, 30};
    ASSERT_EQ(digits.WriteBeginSampleDigit(At(start), At(start + 3), 0.5f, 0.25f, 3), TNE_OK);
    ASSERT_EQ(digits.WriteSampleData(d, 3), TNE_OK);
    ASSERT_EQ(digits.Close(), TNE_OK);
    const SEvent events[2] = {SEvent(At(start + 1), 1.0f, 2.0f), SEvent(At(start + 2), 3.0f, 4.0f)};
    ASSERT_EQ(archive.SaveSamples(kPoint, kEvents, CTarnovelleSample(At(start + 1), At(start + 2), 2, events)), TNE_OK);
    ASSERT_EQ(archive.SaveMessage(kPoint, kBytes, SBinary_BYTE(At(start + 1), 0x5A)), TNE_OK);
    ASSERT_EQ(archive.SaveMessage(kPoint, kTexts, SBinary_Text(At(start + 2), "Schalter aus")), TNE_OK);
    CTarnovelleChannel words;
    ASSERT_EQ(words.Init(folder, kPoint, kWords, "", 0, 0, 0, 0), TNE_OK);
    ASSERT_EQ(words.Open(), TNE_OK);
    const SBinary_WORD w(At(start + 1), 0xBEEF);
    ASSERT_EQ(words.WriteBeginSampleBinary(FORMAT_BINARY_WORD, At(start + 1), At(start + 1)), TNE_OK);
    ASSERT_EQ(words.WriteSampleData(&w, 1), TNE_OK);
    ASSERT_EQ(words.Close(), TNE_OK);
    CTarnovelleChannel doubleWords;
    ASSERT_EQ(doubleWords.Init(folder, kPoint, kDoubleWords, "", 0, 0, 0, 0), TNE_OK);
    ASSERT_EQ(doubleWords.Open(), TNE_OK);
    const SBinary_DWORD dw(At(start + 3), 0xDEADBEEFu);
    ASSERT_EQ(doubleWords.WriteBeginSampleBinary(FORMAT_BINARY_DWORD, At(start + 3), At(start + 3)), TNE_OK);
    ASSERT_EQ(doubleWords.WriteSampleData(&dw, 1), TNE_OK);
    ASSERT_EQ(doubleWords.Close(), TNE_OK);
}

// The bytes of every value of `channel` in from..to, for comparing archives.
std::string ValueBytes(CTarnovelleArchive& archive, const SChannelID& channel, const CTNUTCTimeStamp& from,
                       const CTNUTCTimeStamp& to) {
    archive.InsertMeasuringPoints(kPoint);
    CTarnovelleSampleArray samples;
    archive.GetMeasuringPointConnector(kPoint)->GetSamplesForTimeRange(channel, from, to, samples);
    std::string bytes;
    for (const CTarnovelleSample* s : samples) {
        const size_t size = CTarnovelleSample::GetRecordSize(s->GetFormatID());
        bytes.append(reinterpret_cast<const char*>(s->GetFLOATArray()), size * s->GetNrOfValues());
        bytes += "|" + std::to_string(s->GetStartTime().GetSecondsSince1970()) + "|";
    }
    return bytes;
}

TEST_F(ConfigurationTest, AnExportReadsBackValueForValueInEveryFormat) {
    CTarnovelleArchiveFolder* folder = m_archive.AddArchive(m_dir / "TNArch01", TNARCHIVE_MODE_REMAINING, 1);
    m_archive.SetName("Plant");
    CTarnovelleParameterSet set = CTarnovelleParameterSet::CreateParameterSet();
    set.SetParameter("MeasuringPointName", std::string("Feeder"));
    ASSERT_EQ(m_archive.SaveParameterSet(kPoint, At(500), set), TNE_OK);
    WriteEveryFormat(m_archive, folder->GetPath(), 1000);
    // Channels written past the archive are found by a refresh, as another
    // process's would be.
    m_archive.Refresh();
    const std::string out = m_dir / "Out/Week7";
    ASSERT_EQ(m_archive.Export(out, At(400), At(2000), {m_archive.GetMeasuringPointConnector(kPoint)}), TNE_OK);
    CTarnovelleArchive exported;
    ASSERT_EQ(exported.Init(out + "/Week7.TNArch"), TNE_OK);
    EXPECT_EQ(exported.GetName().rfind("Plant-Export ", 0), 0u);
    ASSERT_EQ(exported.GetArchiveFolders().size(), 2u);
    EXPECT_EQ(exported.GetArchiveFolders()[1]->GetStoredPath(), ".");
    EXPECT_EQ(exported.GetArchiveFolders()[1]->GetRemainingMegaBytes(), 3u);
    for (const SChannelID& channel : {kMean, kDigits, kEvents, kBytes, kWords, kDoubleWords, kTexts}) {
        const std::string original = ValueBytes(m_archive, channel, At(400), At(2000));
        EXPECT_FALSE(original.empty()) << channel.GetDWORD();
        EXPECT_EQ(ValueBytes(exported, channel, At(400), At(2000)), original) << channel.GetDWORD();
    }
    exported.InsertMeasuringPoints(kPoint);
    std::string name;
    ASSERT_EQ(exported.GetMeasuringPointConnector(kPoint)->GetParameterSet(At(600)).GetParameter("MeasuringPointName", name), TNE_OK);
    EXPECT_EQ(name, "Feeder");
}

TEST_F(ConfigurationTest, AnExportOfAnEmptyRangeStillMakesItsProjectAndFolder) {
    m_archive.AddArchive(m_dir / "TNArch01", TNARCHIVE_MODE_REMAINING, 1);
    m_archive.SetName("Plant");
    m_archive.InsertMeasuringPoints(kPoint);
    const std::string out = m_dir / "Empty";
    ASSERT_EQ(m_archive.Export(out, At(1), At(2), {m_archive.GetMeasuringPointConnector(kPoint), nullptr}), TNE_OK);
    CTarnovelleArchive exported;
    ASSERT_EQ(exported.Init(out + "/Empty.TNArch"), TNE_OK);
    EXPECT_EQ(exported.GetArchiveFolders().size(), 2u);
    EXPECT_NE(exported.GetName().find("Plant-Export"), std::string::npos);
}

TEST_F(ConfigurationTest, AnExportAcrossARingWrapTakesBothFolders) {
    CTarnovelleArchiveFolder* first = m_archive.AddArchive(m_dir / "TNArch01", TNARCHIVE_MODE_REMAINING, 1);
    CTarnovelleArchiveFolder* second = m_archive.AddArchive(m_dir / "TNArch02", TNARCHIVE_MODE_REMAINING, 1);
    m_archive.SetRoundTripArchive(true);
    std::vector<float> values(10, 1.0f);
    first->SetActive(false);
    second->SetActive(true);
    ASSERT_EQ(m_archive.SaveSamples(kPoint, kMean, CTarnovelleSample(At(1000), At(1010), 10, values.data())), TNE_OK);
    second->SetActive(false);
    first->SetActive(true);
    ASSERT_EQ(m_archive.SaveSamples(kPoint, kMean, CTarnovelleSample(At(2000), At(2010), 10, values.data())), TNE_OK);
    m_archive.InsertMeasuringPoints(kPoint);
    const std::string out = m_dir / "Ring";
    ASSERT_EQ(m_archive.Export(out, At(0), At(3000), {m_archive.GetMeasuringPointConnector(kPoint)}), TNE_OK);
    CTarnovelleArchive exported;
    ASSERT_EQ(exported.Init(out + "/Ring.TNArch"), TNE_OK);
    exported.InsertMeasuringPoints(kPoint);
    CTarnovelleSampleArray samples;
    exported.GetMeasuringPointConnector(kPoint)->GetSamplesForTimeRange(kMean, At(0), At(3000), samples);
    uint32_t count = 0;
    for (const CTarnovelleSample* s : samples) count += s->GetNrOfValues();
    EXPECT_EQ(count, 20u);
}

}  // namespace
