#include "tarnovelle/interfaces/ITNVLManager.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <sstream>
#include <typeinfo>

#include "tarnovelle/interfaces/ITNVLReader.h"
#include "tarnovelle/interfaces/ITNVLWriter.h"
#include "tests/support/TNLogCapture.h"
#include "tarnovelle/support/CTNFakeClock.h"
#include "tarnovelle/support/CTNFileFaults.h"
#include "tarnovelle/support/CTNMessageBox.h"
#include "tarnovelle/support/TNGuid.h"
#include "tarnovelle/values/STarnovelleTimeStampInMsec.h"
#include "tests/support/TNTestDir.h"

namespace {

size_t EntriesIn(const std::string& dir) {
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(dir),
                                             std::filesystem::directory_iterator()));
}

}  // namespace

TEST(InstanceFrame, NullHandleGives278FromEveryFunctionAndLeavesOutputsAlone) {
    TNLogCapture log;
    EXPECT_EQ(ITNVLMInitInstance(nullptr, "/tmp/x"), TNE_NO_OBJECT);
    EXPECT_EQ(ITNVLMSetArchiveFilePath(nullptr, "/tmp/x"), TNE_NO_OBJECT);
    EXPECT_EQ(ITNVLMSetArchiveName(nullptr, "n"), TNE_NO_OBJECT);
    EXPECT_EQ(ITNVLMSetRoundTripArchive(nullptr, 1), TNE_NO_OBJECT);
    EXPECT_EQ(ITNVLMDestroyInstance(nullptr), TNE_NO_OBJECT);
    EXPECT_EQ(ITNVLRInitInstance(nullptr, "/tmp/x"), TNE_NO_OBJECT);
    EXPECT_EQ(ITNVLRDestroyInstance(nullptr), TNE_NO_OBJECT);
    EXPECT_EQ(ITNVLWInitInstance(nullptr, "/tmp/x"), TNE_NO_OBJECT);
    EXPECT_EQ(ITNVLWDestroyInstance(nullptr), TNE_NO_OBJECT);
    std::string path = "untouched";
    EXPECT_EQ(ITNVLRGetArchiveFilePath(nullptr, path), TNE_NO_OBJECT);
    EXPECT_EQ(path, "untouched");
    EXPECT_TRUE(log.All().empty());
}

TEST(InstanceFrame, AllThreeFamiliesCreateTheSameObject) {
    CTarnovelleArchive* m = ITNVLMCreateInstance();
    CTarnovelleArchive* r = ITNVLRCreateInstance();
    CTarnovelleArchive* w = ITNVLWCreateInstance();
    ASSERT_TRUE(m && r && w);
    EXPECT_EQ(typeid(*m), typeid(CTarnovelleArchive));
    EXPECT_EQ(typeid(*r), typeid(CTarnovelleArchive));
    EXPECT_EQ(typeid(*w), typeid(CTarnovelleArchive));
    EXPECT_EQ(ITNVLMDestroyInstance(m), TNE_OK);
    EXPECT_EQ(ITNVLRDestroyInstance(r), TNE_OK);
    EXPECT_EQ(ITNVLWDestroyInstance(w), TNE_OK);
}

TEST(InstanceFrame, InitOnAPathWithoutAFileStartsANewArchiveAndWritesNothing) {
    TNTestDir dir;
    CTarnovelleArchive* h = ITNVLMCreateInstance();
    EXPECT_EQ(ITNVLMInitInstance(h, (dir / "abc.txt").c_str()), TNE_OK);
    EXPECT_EQ(h->GetArchiveFileName(), dir / "abc.TNArch");
    EXPECT_EQ(h->GetLockFileName(), dir / "abc.Lock");
    EXPECT_EQ(h->GetName(), "abc");
    std::string path;
    EXPECT_EQ(ITNVLRGetArchiveFilePath(h, path), TNE_OK);
    EXPECT_EQ(path, dir / "abc.TNArch");
    EXPECT_EQ(EntriesIn(dir.Path()), 0u);
    ITNVLMDestroyInstance(h);
    EXPECT_EQ(EntriesIn(dir.Path()), 0u);  // destroying never saves
}

TEST(InstanceFrame, ATarnovelleExceptionUnderInitInstanceGives6AndALogEntry) {
    TNTestDir dir;
    TNLogCapture log;
    CTarnovelleArchive* h = ITNVLMCreateInstance();
    // A name longer than the file system allows makes the status query fail.
    const std::string file = dir / (std::string(300, 'p') + ".TNArch");
    EXPECT_EQ(ITNVLMInitInstance(h, file.c_str()), TNE_FAILED);
    const auto entries = log.Entries("CTarnovelleException");
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0], "Exception: file = '" + file + "'\naction = GetStatus failed");
    EXPECT_EQ(entries[1], "CTarnovelleException in 'ITNVLMInitInstance' = ''");
    ITNVLMDestroyInstance(h);
}

TEST(InstanceFrame, AnExistingProjectIsOpenedWithItsFoldersAndMeasuringPoints) {
    TNTestDir dir;
    {
        CTarnovelleArchive writer;
        writer.Init(dir / "p.TNArch");
        writer.Save();
    }
    const GUID point = {0x12345678, 0x9ABC, 0xDEF0, {1, 2, 3, 4, 5, 6, 7, 8}};
    std::filesystem::create_directories(dir / ("TNArch01/" + GuidToString(point)));
    CTarnovelleArchive* h = ITNVLMCreateInstance();
    EXPECT_EQ(ITNVLMInitInstance(h, (dir / "p.TNArch").c_str()), TNE_OK);
    ASSERT_EQ(h->GetArchiveFolders().size(), 2u);
    EXPECT_EQ(h->GetArchiveFolders()[1]->GetPath(), dir / "TNArch01");
    // The point, and the archive's own status point.
    ASSERT_EQ(h->GetArrayOfMeasuringPointConnectors().size(), 2u);
    EXPECT_NE(h->GetMeasuringPointConnector(point), nullptr);
    EXPECT_NE(h->GetMeasuringPointConnector(GUID{}), nullptr);
    ITNVLMDestroyInstance(h);
}

TEST(InstanceFrame, AProjectFileThatDoesNotParseGivesNotParsed) {
    TNTestDir dir;
    dir.WriteFile("p.TNArch", "<CTarnovelleArchive Version=\"1\"><Archive");
    std::vector<std::string> messages;
    CTNMessageBox::RerouteMessageBoxToLogArray(&messages);
    CTarnovelleArchive* h = ITNVLMCreateInstance();
    EXPECT_EQ(ITNVLMInitInstance(h, (dir / "p.TNArch").c_str()), TNE_FILE_NOT_PARSED);
    ITNVLMDestroyInstance(h);
    CTNMessageBox::RerouteMessageBoxToLogArray(nullptr);
    EXPECT_FALSE(messages.empty());
}

TEST(InstanceFrame, SetArchiveFilePathKeepsTheExtensionAndTheName) {
    CTarnovelleArchive* h = ITNVLMCreateInstance();
    ASSERT_EQ(ITNVLMSetArchiveName(h, "Plant A"), TNE_OK);
    EXPECT_EQ(ITNVLMSetArchiveFilePath(h, "/data/arch/p.xml"), TNE_OK);
    EXPECT_EQ(h->GetArchiveFileName(), "/data/arch/p.xml");
    EXPECT_EQ(h->GetLockFileName(), "/data/arch/p.Lock");
    EXPECT_EQ(h->GetName(), "Plant A");
    ITNVLMDestroyInstance(h);
}

TEST(InstanceFrame, RoundTripFlagTakesAnyNonZeroValue) {
    CTarnovelleArchive* h = ITNVLMCreateInstance();
    EXPECT_EQ(ITNVLMSetRoundTripArchive(h, 2), TNE_OK);
    EXPECT_TRUE(h->IsRoundTripArchive());
    EXPECT_EQ(ITNVLMSetRoundTripArchive(h, 0), TNE_OK);
    EXPECT_FALSE(h->IsRoundTripArchive());
    ITNVLMDestroyInstance(h);
}

TEST(InstanceFrame, NullTextArgumentsReadAsEmpty) {
    CTarnovelleArchive* h = ITNVLMCreateInstance();
    EXPECT_EQ(ITNVLMSetArchiveName(h, nullptr), TNE_OK);
    EXPECT_EQ(h->GetName(), "");
    EXPECT_EQ(ITNVLMSetArchiveFilePath(h, nullptr), TNE_OK);
    EXPECT_EQ(h->GetArchiveFileName(), "");
    ITNVLMDestroyInstance(h);
}

// ---------------------------------------------------------------- the rest of the family

namespace {
const GUID kManaged = {0x3A3A3A3A, 0x1, 0x2, {3, 4, 5, 6, 7, 8, 9, 10}};
const SChannelID kManagedMean(static_cast<ECharacteristicType>(0x21), static_cast<EPhase>(1), MVT_MEAN);
CTNUTCTimeStamp Second(uint32_t s) { return STarnovelleTimeStampInMsec(s, 0).GetUTCTimeStamp(); }
}  // namespace

TEST(ManagerFamily, FoldersComeBackNullWithoutAFailureResult) {
    CTNFakeClock clock(1700000000000ull);
    CTNScopedClock scope(&clock);
    TNTestDir dir;
    dir.WriteFile("file", "x");
    CTarnovelleArchive* h = ITNVLMCreateInstance();
    ASSERT_EQ(ITNVLMSetArchiveFilePath(h, (dir / "p.TNArch").c_str()), TNE_OK);
    CTarnovelleArchiveFolder* folder = reinterpret_cast<CTarnovelleArchiveFolder*>(h);
    EXPECT_EQ(ITNVLMGetActiveFolder(h, &folder), TNE_OK);
    EXPECT_EQ(folder, nullptr);
    EXPECT_EQ(ITNVLMAddArchive(h, (dir / "file/below").c_str(), TNARCHIVE_MODE_REMAINING, 1, &folder), TNE_OK);
    EXPECT_EQ(folder, nullptr);
    ASSERT_EQ(ITNVLMAddArchive(h, (dir / "TNArch01").c_str(), TNARCHIVE_MODE_MAXIMAL, 5, &folder), TNE_OK);
    ASSERT_NE(folder, nullptr);
    CTarnovelleArchiveFolder* active = nullptr;
    EXPECT_EQ(ITNVLMGetActiveFolder(h, &active), TNE_OK);
    EXPECT_EQ(active, folder);
    EXPECT_EQ(ITNVLMGetArrayOfArchiveFolders(h), (std::vector<CTarnovelleArchiveFolder*>{folder}));
    CTarnovelleArchiveFolder* none = nullptr;
    EXPECT_EQ(ITNVLMAddArchive(nullptr, "x", TNARCHIVE_MODE_REMAINING, 1, &none), TNE_NO_OBJECT);
    ITNVLMDestroyInstance(h);
}

TEST(ManagerFamily, StoringAtANewGuidMakesItsDirectoryAndTheCallerKeepsTheSamples) {
    // No open may wait in real time here.
    CTNFakeClock clock(1700000000000ull);
    CTNScopedClock clockScope(&clock);
    TNTestDir dir;
    CTarnovelleArchive* h = ITNVLMCreateInstance();
    ITNVLMSetArchiveFilePath(h, (dir / "p.TNArch").c_str());
    CTarnovelleArchiveFolder* folder = nullptr;
    ITNVLMAddArchive(h, (dir / "TNArch01").c_str(), TNARCHIVE_MODE_REMAINING, 1, &folder);
    CTarnovelleSampleArray samples;
    std::vector<float> values = {1.0f, 2.0f};
    samples.Add(new CTarnovelleSample(Second(100), Second(102), 2, values.data()));
    ASSERT_EQ(ITNVLMAddSample(h, kManaged, kManagedMean, samples), TNE_OK);
    ASSERT_EQ(samples.GetSize(), 1);
    EXPECT_EQ(samples[0]->GetNrOfValues(), 2u);
    EXPECT_TRUE(std::filesystem::exists(dir / ("TNArch01/" + GuidToString(kManaged) + "/03010021.Sam")));
    ASSERT_EQ(ITNVLMAddMessageBinaryText(h, kManaged, SChannelID(0x01008001u), SBinary_Text(Second(5), "x")), TNE_OK);
    ASSERT_EQ(ITNVLMAddMessageBinaryByte(h, kManaged, SChannelID(0x01008002u), SBinary_BYTE(Second(5), 1)), TNE_OK);
    ASSERT_EQ(ITNVLMSetMeasuringPointName(h, kManaged, "Feeder"), TNE_OK);
    SProgramInfo info;
    info.SetName("Recorder");
    ASSERT_EQ(ITNVLMSetParameterProgramInfo(h, kManaged, info), TNE_OK);
    CTarnovelleParameterSet set = CTarnovelleParameterSet::CreateParameterSet();
    set.SetParameter("Note", std::string("x"));
    ASSERT_EQ(ITNVLMSetParameterSet(h, kManaged, Second(50), set), TNE_OK);
    EXPECT_TRUE(std::filesystem::exists(dir / ("TNArch01/" + GuidToString(kManaged) + "/ConfData.Inf")));
    EXPECT_EQ(ITNVLMRemoveMeasuringPoint(h, kManaged), TNE_OK);
    EXPECT_FALSE(std::filesystem::exists(dir / ("TNArch01/" + GuidToString(kManaged))));
    ITNVLMDestroyInstance(h);
}

TEST(ManagerFamily, AFailingDiskUnderAddSampleGives262AndNoReportOfTheFrame) {
    // No open may wait in real time here.
    CTNFakeClock clock(1700000000000ull);
    CTNScopedClock clockScope(&clock);
    TNTestDir dir;
    TNLogCapture log;
    CTarnovelleArchive* h = ITNVLMCreateInstance();
    ITNVLMSetArchiveFilePath(h, (dir / "p.TNArch").c_str());
    CTarnovelleArchiveFolder* folder = nullptr;
    ITNVLMAddArchive(h, (dir / "TNArch01").c_str(), TNARCHIVE_MODE_REMAINING, 1, &folder);
    class FailWrites : public CTNFileFaults {
    public:
        int Before(EOperation operation, const std::string& path) override {
            return operation == opWrite && path.find(".Dat") != std::string::npos ? ENOSPC : 0;
        }
    } faults;
    CTarnovelleSampleArray samples;
    std::vector<float> values = {1.0f};
    samples.Add(new CTarnovelleSample(Second(100), Second(101), 1, values.data()));
    {
        CTNScopedFileFaults scope(&faults);
        EXPECT_EQ(ITNVLMAddSample(h, kManaged, kManagedMean, samples), TNE_EXCEPTION);
    }
    for (const std::string& entry : log.Entries("CTarnovelleException"))
        EXPECT_EQ(entry.find("ITNVLMAddSample"), std::string::npos) << entry;
    ITNVLMDestroyInstance(h);
}

TEST(ManagerFamily, AFailedConfigurationCheckGives600) {
    // No open may wait in real time here.
    CTNFakeClock clock(1700000000000ull);
    CTNScopedClock clockScope(&clock);
    TNTestDir dir;
    std::vector<std::string> shown;
    CTNMessageBox::RerouteMessageBoxToLogArray(&shown);
    CTarnovelleArchive* h = ITNVLMCreateInstance();
    ITNVLMSetArchiveFilePath(h, (dir / "p.TNArch").c_str());
    EXPECT_EQ(ITNVLMCheckConfiguration(h), TNE_CONFIGURATION_INVALID);
    CTarnovelleArchiveFolder* folder = nullptr;
    ITNVLMAddArchive(h, (dir / "TNArch01").c_str(), TNARCHIVE_MODE_REMAINING, 1, &folder);
    // The check reads the project file; a project never saved would make it
    // wait out every open's retries.
    ASSERT_EQ(ITNVLMSerialize_1(h, 1, nullptr), TNE_OK);
    EXPECT_EQ(ITNVLMCheckConfiguration(h), TNE_OK);
    CTNMessageBox::RerouteMessageBoxToLogArray(nullptr);
    EXPECT_EQ(shown.size(), 1u);
    ITNVLMDestroyInstance(h);
}

TEST(ManagerFamily, SerialisingStoresThePathAndOpensIt) {
    // No open may wait in real time here.
    CTNFakeClock clock(1700000000000ull);
    CTNScopedClock clockScope(&clock);
    TNTestDir dir;
    CTarnovelleArchive* h = ITNVLMCreateInstance();
    ITNVLMSetArchiveFilePath(h, (dir / "p.TNArch").c_str());
    std::stringstream stream;
    CArchive out(stream, CArchive::store);
    ASSERT_EQ(ITNVLMSerialize_0(h, out), TNE_OK);
    EXPECT_TRUE(std::filesystem::exists(dir / "p.TNArch"));
    CTarnovelleArchive* loaded = ITNVLMCreateInstance();
    CArchive in(stream, CArchive::load);
    ASSERT_EQ(ITNVLMSerialize_0(loaded, in), TNE_OK);
    EXPECT_EQ(loaded->GetFilePath(), dir / "p.TNArch");
    EXPECT_EQ(loaded->GetArchiveFolders().size(), 2u);
    CTarnovelleArchive* other = ITNVLMCreateInstance();
    ASSERT_EQ(ITNVLMSerialize_1(other, 0, (dir / "p.TNArch").c_str()), TNE_OK);
    EXPECT_EQ(other->GetArchiveFolders().size(), 2u);
    ASSERT_EQ(ITNVLMSerialize_1(other, 1, "ignored"), TNE_OK);
    EXPECT_FALSE(std::filesystem::exists("ignored"));
    EXPECT_EQ(ITNVLMSerialize_1(nullptr, 0, "x"), TNE_NO_OBJECT);
    ITNVLMDestroyInstance(h);
    ITNVLMDestroyInstance(loaded);
    ITNVLMDestroyInstance(other);
}
