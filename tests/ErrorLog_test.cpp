// Failures of the boundary functions and of checked file access reach the
// module's real .Log file.
#include <gtest/gtest.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <string>

#include "tarnovelle/archive/CTarnovelleArchive.h"
#include "tarnovelle/interfaces/CTarnovelleModule.h"
#include "tarnovelle/interfaces/ITNVLManager.h"
#include "tarnovelle/storage/CTarnovelleFile.h"
#include "tarnovelle/support/CTNFakeClock.h"
#include "tarnovelle/support/CTNProfile.h"
#include "tarnovelle/support/CTarnovelleException.h"
#include "tarnovelle/support/TNApplicationLog.h"
#include "tests/support/TNTestDir.h"
#include "tests/support/TNLogKeys.h"

namespace {

// The fake clock that also lets go of a held file at a chosen sleep, standing
// in for another holder that closes after some two seconds.
class ReleasingClock : public CTNFakeClock {
public:
    ReleasingClock(uint64_t start, std::unique_ptr<CTarnovelleFile>& holder, size_t releaseAtSleep)
        : CTNFakeClock(start), m_holder(holder), m_releaseAtSleep(releaseAtSleep) {}
    void Sleep(uint32_t milliseconds) override {
        CTNFakeClock::Sleep(milliseconds);
        if (GetSleeps().size() == m_releaseAtSleep) m_holder.reset();
    }

private:
    std::unique_ptr<CTarnovelleFile>& m_holder;
    size_t m_releaseAtSleep;
};

class ErrorLogTest : public ::testing::Test {
protected:
    void SetUp() override { SetTarnovelleProfilePath(Ini().c_str()); }
    void TearDown() override { SetTarnovelleProfilePath(nullptr); }
    std::string Ini() const { return dir / "tarnovelle.ini"; }
    std::string Log() const { return dir / "tarnovelle.Log"; }
    std::string Entry(const std::string& category, uint64_t milliseconds) const {
        return CTNProfile(Log()).GetProfileString(TNLogSection(category), TNLogKeyAt(milliseconds), "<none>");
    }

    TNTestDir dir;
};

constexpr uint64_t kNow = 1700000000000ull;

}  // namespace

TEST_F(ErrorLogTest, AFailedInitInstanceGives6AndItsReportIsTheEntryOfThatSecond) {
    CTNFakeClock clock(kNow);
    CTNScopedClock scope(&clock);
    CTarnovelleArchive* h = ITNVLMCreateInstance();
    const std::string file = dir / (std::string(300, 'p') + ".TNArch");
    EXPECT_EQ(ITNVLMInitInstance(h, file.c_str()), TNE_FAILED);
    // The exception's own entry and the frame's report fall in one second; the
    // report, written later, is what stays.
    EXPECT_EQ(Entry("CTarnovelleException", kNow), "CTarnovelleException in 'ITNVLMInitInstance' = ''");
    ITNVLMDestroyInstance(h);
}

TEST_F(ErrorLogTest, TheRaisedExceptionIsLoggedWithFileAndAction) {
    CTNFakeClock clock(kNow);
    CTNScopedClock scope(&clock);
    CTarnovelleFile never;
    EXPECT_THROW(never.Seek(0, 0), CTarnovelleException);
    // The text holds a line break, which the profile file keeps as it stands.
    EXPECT_EQ(TNTestDir::ReadFile(Log()), "[" + TNLogSection("CTarnovelleException") + "]\n" + TNLogKeyAt(kNow) +
                                              "=Exception: file = ''\naction = invalid handle in Seek\n");
}

TEST_F(ErrorLogTest, WithTheLogSwitchedOffAFailedInitInstanceStillGives6AndNoLogFileAppears) {
    CTarnovelleModule::GetModule().WriteProfileInt("ErrorLog", "CTarnovelleException", 0);
    CTarnovelleArchive* h = ITNVLMCreateInstance();
    const std::string file = dir / (std::string(300, 'p') + ".TNArch");
    EXPECT_EQ(ITNVLMInitInstance(h, file.c_str()), TNE_FAILED);
    EXPECT_FALSE(TNTestDir::Exists(Log()));
    ITNVLMDestroyInstance(h);
}

TEST_F(ErrorLogTest, ARetriedOpenLeavesOpenFailedEntriesWhenSwitchedOn) {
    CTarnovelleModule::GetModule().WriteProfileInt("ErrorLog", "Open failed", 1);
    const std::string path = dir.WriteFile("held.Dat", "data");
    auto holder = std::make_unique<CTarnovelleFile>();
    ASSERT_NE(holder->Open(path.c_str(), CTarnovelleFile::modeWrite), 0);

    // Tries at .900, 1.400, 1.901 and 2.403 s of a whole second: four failed
    // tries, but the second and third share their second and so their key.
    const uint64_t start = kNow + 900;
    ReleasingClock clock(start, holder, 4);
    CTNScopedClock scope(&clock);
    CTarnovelleFile file;
    ASSERT_NE(file.Open(path.c_str(), CTarnovelleFile::modeWrite), 0);
    EXPECT_EQ(clock.GetSleeps(), (std::vector<uint32_t>{500, 501, 502, 503}));

    const uint64_t tries[] = {start, start + 500, start + 1001, start + 1503};
    for (uint64_t at : tries) {
        const std::string text = Entry("Open failed", at);
        EXPECT_EQ(text.rfind("Write = '", 0), 0u) << text;
    }
    EXPECT_NE(TNLogKeyAt(tries[0]), TNLogKeyAt(tries[1]));
    EXPECT_EQ(TNLogKeyAt(tries[1]), TNLogKeyAt(tries[2]));
    EXPECT_NE(TNLogKeyAt(tries[2]), TNLogKeyAt(tries[3]));
    const std::string log = TNTestDir::ReadFile(Log());
    size_t lines = 0;
    for (size_t pos = log.find("\nWrite"); pos != std::string::npos; pos = log.find("\nWrite", pos + 1)) ++lines;
    size_t equalsSigns = 0;
    for (size_t pos = log.find("=Write = '"); pos != std::string::npos; pos = log.find("=Write = '", pos + 1))
        ++equalsSigns;
    EXPECT_EQ(equalsSigns, 3u);
    EXPECT_EQ(lines, 0u);
}

TEST_F(ErrorLogTest, AReadOpenThatTimesOutEndsWithTimeOutAndAReport) {
    CTarnovelleModule::GetModule().WriteProfileInt("ErrorLog", "Open failed", 1);
    CTNFakeClock clock(kNow);
    CTNScopedClock scope(&clock);
    CTarnovelleFile file;
    EXPECT_EQ(file.Open((dir / "no/such/dir/x.Sam").c_str(), CTarnovelleFile::modeRead), 0);
    const uint64_t end = kNow + 148680;
    EXPECT_EQ(Entry("Open failed", end), "TimeOut");
    const std::string first = Entry("Open failed", kNow);
    EXPECT_EQ(first.rfind("Read  = '", 0), 0u) << first;
    const std::string report = Entry("CTarnovelleException", end);
    EXPECT_EQ(report.rfind("CFileException in 'Open TimeOut' = '", 0), 0u) << report;
}

TEST_F(ErrorLogTest, OpenFailedEntriesAreOffUntilSwitchedOn) {
    CTNFakeClock clock(kNow);
    CTNScopedClock scope(&clock);
    CTarnovelleFile file;
    EXPECT_EQ(file.Open((dir / "no/such/dir/x.Sam").c_str(), CTarnovelleFile::modeRead), 0);
    EXPECT_EQ(CTNProfile(Ini()).GetProfileInt("ErrorLog", "Open failed", -1), 0);
    EXPECT_EQ(Entry("Open failed", kNow + 148680), "<none>");
    EXPECT_NE(Entry("CTarnovelleException", kNow + 148680), "<none>");
}

TEST(CheckedFileLogTest, WithoutAnApplicationObjectNothingIsLogged) {
    TNTestDir dir;
    SetTarnovelleProfilePath((dir / "tarnovelle.ini").c_str());
    // The module registered its LogError at load; without it no entry is written.
    const TNLogErrorFunction moduleLog = TNSetApplicationLog(nullptr);
    CTarnovelleFile file;
    EXPECT_THROW(file.GetLength(), CTarnovelleException);
    EXPECT_FALSE(TNTestDir::Exists(dir / "tarnovelle.Log"));
    // With the module's log in place, the same failure reaches the file.
    TNSetApplicationLog(moduleLog);
    EXPECT_THROW(file.GetLength(), CTarnovelleException);
    EXPECT_TRUE(TNTestDir::Exists(dir / "tarnovelle.Log"));
    SetTarnovelleProfilePath(nullptr);
}
