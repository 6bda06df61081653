#include "tarnovelle/interfaces/CTarnovelleModule.h"
#include "tarnovelle/support/TNModuleSettings.h"

#include <gtest/gtest.h>
#include <time.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "tarnovelle/support/CTNMessageBox.h"
#include "tarnovelle/support/ReportException.h"
#include "tarnovelle/support/TNApplicationLog.h"
#include "tarnovelle/interfaces/internal/TNFrame.h"
#include "tarnovelle/support/CTNFakeClock.h"
#include "tarnovelle/support/CTNProfile.h"
#include "tarnovelle/support/CTarnovelleException.h"
#include "tarnovelle/values/CTarnovelleHelp.h"
#include "tarnovelle/values/CTarnovelleTextManager.h"
#include "tests/support/TNTestDir.h"
#include "tests/support/TNLogKeys.h"

namespace {

// An exception with a text of its own, as a file-service failure has.
class CTextException : public CException {
public:
    explicit CTextException(std::string text) : m_text(std::move(text)) {}
    bool GetErrorMessage(char* buffer, unsigned max) const override { return CopyMessage(m_text.c_str(), buffer, max); }
    const char* GetRuntimeClassName() const override { return "CTextException"; }

private:
    std::string m_text;
};

struct Target {};

constexpr uint64_t kNow = 1700000000000ull;

// Each test runs on an ini file of its own and goes back to the default after.
class ModuleTest : public ::testing::Test {
protected:
    void SetUp() override { Use(dir.WriteFile("tarnovelle.ini", "")); }
    void TearDown() override { SetTarnovelleProfilePath(nullptr); }

    void Use(const std::string& ini) { SetTarnovelleProfilePath(ini.c_str()); }
    std::string Ini() const { return dir / "tarnovelle.ini"; }
    std::string Log() const { return dir / "tarnovelle.Log"; }

    TNTestDir dir;
    CTNFakeClock clock{kNow};
    CTNScopedClock scoped{&clock};
};

}  // namespace

TEST(CTarnovelleModuleAtLoad, TheModuleExistsAndStartedOnTheDefaultIniFile) {
    EXPECT_TRUE(TNHasApplicationObject());
    const char* xdg = std::getenv("XDG_CONFIG_HOME");
    ASSERT_NE(xdg, nullptr);
    const std::string ini = std::string(xdg) + "/tarnovelle/tarnovelle.ini";
    EXPECT_EQ(CTarnovelleModule::GetModule().GetProfilePath(), ini);
    CTNProfile profile(ini);
    EXPECT_EQ(profile.GetProfileInt("ArchiveConfiguration", "MininumArchiveSize", -1), 10);
    EXPECT_EQ(profile.GetProfileInt("ArchiveConfiguration", "MininumArchiveSizePerDevice", -1), 5);
    EXPECT_EQ(profile.GetProfileInt("ErrorLog", "CTarnovelleException", -1), 1);
}

TEST(CTarnovelleModuleAtLoad, TheStartUpChoseTheLanguageAndItsHelpFile) {
    EXPECT_EQ(CTarnovelleTextManager::GetLanguageModule(), &STNStringTable::English());
    EXPECT_EQ(CTarnovelleTextManager::GetText(CT_VOLTAGE), "Voltage");
    const std::string help = CTarnovelleHelp::GetHelpFilePath();
    ASSERT_GE(help.size(), 8u);
    EXPECT_EQ(help.substr(help.size() - 8), "_en.html");
}

TEST_F(ModuleTest, StartUpWritesTheDefaultsIntoAnEmptyIniFile) {
    EXPECT_EQ(TNTestDir::ReadFile(Ini()),
              "[ArchiveConfiguration]\nMininumArchiveSize=10\nMininumArchiveSizePerDevice=5\n"
              "[ErrorLog]\nCTarnovelleException=1\n");
    EXPECT_EQ(CTarnovelleModule::GetModule().GetMininumArchiveSize(), 10);
    EXPECT_EQ(CTarnovelleModule::GetModule().GetMininumArchiveSizePerDevice(), 5);
}

TEST_F(ModuleTest, ANegativeMinimumArchiveSizeIsRepairedAtStartUp) {
    dir.WriteFile("other.ini",
                  "[ArchiveConfiguration]\nMininumArchiveSize=-3\nMininumArchiveSizePerDevice=-1\n"
                  "[ErrorLog]\nCTarnovelleException=-2\n");
    Use(dir / "other.ini");
    CTarnovelleModule& module = CTarnovelleModule::GetModule();
    EXPECT_EQ(module.m_nMininumArchiveSize, 10);
    EXPECT_EQ(module.m_nMininumArchiveSizePerDevice, 5);
    EXPECT_EQ(TNTestDir::ReadFile(dir / "other.ini"),
              "[ArchiveConfiguration]\nMininumArchiveSize=10\nMininumArchiveSizePerDevice=5\n"
              "[ErrorLog]\nCTarnovelleException=1\n");
}

TEST_F(ModuleTest, StoredSettingsAreKeptAsTheyStand) {
    dir.WriteFile("other.ini",
                  "[archiveconfiguration]\nmininumarchivesize=250\nMininumArchiveSizePerDevice=0\n"
                  "[ErrorLog]\nCTarnovelleException=0\n");
    Use(dir / "other.ini");
    EXPECT_EQ(CTarnovelleModule::GetModule().GetMininumArchiveSize(), 250);
    EXPECT_EQ(CTarnovelleModule::GetModule().GetMininumArchiveSizePerDevice(), 0);
    EXPECT_EQ(CTNProfile(dir / "other.ini").GetProfileInt("ErrorLog", "CTarnovelleException", -1), 0);
}

TEST_F(ModuleTest, LogErrorWritesOneEntryBesideTheIniFile) {
    CTarnovelleModule::GetModule().LogError("CTarnovelleException", "something broke");
    EXPECT_EQ(TNTestDir::ReadFile(Log()),
              "[" + TNLogSection("CTarnovelleException") + "]\n" + TNLogKeyAt(kNow) + "=something broke\n");
}

TEST_F(ModuleTest, EntriesOfDifferentSecondsAreKept) {
    CTarnovelleModule& module = CTarnovelleModule::GetModule();
    module.LogError("CTarnovelleException", "first");
    clock.Advance(1000);
    module.LogError("CTarnovelleException", "second");
    CTNProfile log(Log());
    EXPECT_EQ(log.GetProfileString(TNLogSection("CTarnovelleException"), TNLogKeyAt(kNow), ""), "first");
    EXPECT_EQ(log.GetProfileString(TNLogSection("CTarnovelleException"), TNLogKeyAt(kNow + 1000), ""), "second");
}

TEST_F(ModuleTest, TwoFailuresWithinOneSecondLeaveOneEntryWithTheLaterText) {
    CTextException first("first failure");
    CTextException second("second failure");
    ReportException("OperationOne", &first);
    clock.Advance(999);
    ReportException("OperationTwo", &second);
    EXPECT_EQ(TNTestDir::ReadFile(Log()), "[" + TNLogSection("CTarnovelleException") + "]\n" + TNLogKeyAt(kNow) +
                                              "=CTextException in 'OperationTwo' = 'second failure'\n");
}

TEST_F(ModuleTest, ACategorySeenFirstIsEnteredSwitchedOffAndWritesNothing) {
    CTarnovelleModule::GetModule().LogError("Open failed", "Read  = 'x'");
    EXPECT_EQ(CTNProfile(Ini()).GetProfileInt("ErrorLog", "Open failed", -1), 0);
    EXPECT_FALSE(TNTestDir::Exists(Log()));
}

TEST_F(ModuleTest, ASwitchedOffCategoryStillGivesTheResultButNoLogFile) {
    CTarnovelleModule::GetModule().WriteProfileInt("ErrorLog", "CTarnovelleException", 0);
    Target t;
    EXPECT_EQ(TNFrameCall("ITNVLMInitInstance", &t, []() -> ETarnovelleErrors { throw CTextException("x"); }),
              TNE_FAILED);
    EXPECT_FALSE(TNTestDir::Exists(Log()));
}

TEST_F(ModuleTest, AnyValueButZeroSwitchesACategoryOn) {
    CTarnovelleModule::GetModule().WriteProfileInt("ErrorLog", "Custom", 7);
    CTarnovelleModule::GetModule().LogError("Custom", "on");
    EXPECT_EQ(CTNProfile(Log()).GetProfileString(TNLogSection("Custom"), TNLogKeyAt(kNow), ""), "on");
}

TEST_F(ModuleTest, AReportedExceptionIsCutTo500CharactersInTheLog) {
    Target t;
    const std::string text(600, 'z');
    EXPECT_EQ(TNFrameCall("ITNVLMInitInstance", &t, [&]() -> ETarnovelleErrors { throw CTextException(text); }),
              TNE_FAILED);
    EXPECT_EQ(CTNProfile(Log()).GetProfileString(TNLogSection("CTarnovelleException"), TNLogKeyAt(kNow), ""),
              "CTextException in 'ITNVLMInitInstance' = '" + std::string(500, 'z') + "'");
}

TEST_F(ModuleTest, TheTypedClauseLogsNothing) {
    Target t;
    EXPECT_EQ(TNFrameCallTyped("ITNVLMAddSample", &t, TNE_EXCEPTION,
                               []() -> ETarnovelleErrors { throw CTarnovelleException("disk gone"); }),
              TNE_EXCEPTION);
    EXPECT_FALSE(TNTestDir::Exists(Log()));
}

TEST_F(ModuleTest, SwitchingTheIniFileMovesTheLogFileAlong) {
    TNTestDir other;
    Use(other / "deep/er/settings.ini");
    EXPECT_TRUE(TNTestDir::Exists(other / "deep/er/settings.ini"));
    EXPECT_EQ(CTarnovelleModule::GetModule().GetLogFilePath(), other / "deep/er/settings.Log");
    CTarnovelleModule::GetModule().LogError("CTarnovelleException", "moved");
    EXPECT_TRUE(TNTestDir::Exists(other / "deep/er/settings.Log"));
    EXPECT_FALSE(TNTestDir::Exists(Log()));
}

TEST_F(ModuleTest, AnUnwritableLogIsNoFailureOfTheCaller) {
    dir.WriteFile("tarnovelle.Log", "");
    ASSERT_EQ(::chmod(Log().c_str(), 0), 0);
    Target t;
    EXPECT_EQ(TNFrameCall("F", &t, []() -> ETarnovelleErrors { throw CTextException("x"); }), TNE_FAILED);
    CTarnovelleModule::GetModule().LogError("CTarnovelleException", "y");
}

// The message box reroute is the module's way to collect texts instead of
// stopping for a dialog.
TEST(CTNMessageBoxReroute, NestedReroutesGiveTheTextsToTheInnermost) {
    std::vector<std::string> outer, inner;
    EXPECT_FALSE(CTNMessageBox::IsRerouteMessageBoxToLogArray());
    CTNMessageBox::RerouteMessageBoxToLogArray(&outer);
    EXPECT_EQ(CTNMessageBox::Show(std::string("one")), 1);
    CTNMessageBox::RerouteMessageBoxToLogArray(&inner);
    EXPECT_EQ(CTNMessageBox::Show(std::string("two")), 1);
    CTextException e(std::string(300, 'e'));
    CTNMessageBox::Show(e);
    CTNMessageBox::RerouteMessageBoxToLogArray(nullptr);
    EXPECT_TRUE(CTNMessageBox::IsRerouteMessageBoxToLogArray());
    CTNMessageBox::Show(std::string("three"));
    CTNMessageBox::RerouteMessageBoxToLogArray(nullptr);
    EXPECT_FALSE(CTNMessageBox::IsRerouteMessageBoxToLogArray());
    EXPECT_EQ(outer, (std::vector<std::string>{"one", "three"}));
    EXPECT_EQ(inner, (std::vector<std::string>{"two", std::string(255, 'e')}));
}

TEST(CTNMessageBoxReroute, WithoutRerouteOrPresenterTheAnswerIsOk) {
    const CTNMessageBox::Presenter previous = CTNMessageBox::SetPresenter(nullptr);
    EXPECT_EQ(CTNMessageBox::Show(std::string("to standard error")), 1);
    CTNMessageBox::SetPresenter(previous);
}

TEST(CTarnovelleModuleSettings, TheSizeSettingsReachTheLowerLayersThroughTheirDoor) {
    CTarnovelleModule& module = CTarnovelleModule::GetModule();
    int32_t value = -1;
    ASSERT_TRUE(TNGetModuleSetting("MininumArchiveSizePerDevice", value));
    EXPECT_EQ(value, module.m_nMininumArchiveSizePerDevice.load());
    ASSERT_TRUE(TNGetModuleSetting("MininumArchiveSize", value));
    EXPECT_EQ(value, module.m_nMininumArchiveSize.load());
    value = 12345;
    EXPECT_FALSE(TNGetModuleSetting("NoSuchKey", value));
    EXPECT_EQ(value, 12345);
    // Without the module's reader the settings are absent.
    const TNModuleSettingFunction reader = TNSetModuleSettings(nullptr);
    EXPECT_FALSE(TNGetModuleSetting("MininumArchiveSize", value));
    TNSetModuleSettings(reader);
}
