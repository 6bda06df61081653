#include "tarnovelle/storage/CTarnovelleFile.h"

#include <gtest/gtest.h>

#include <chrono>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tarnovelle/support/TNApplicationLog.h"
#include <functional>
#include "tarnovelle/support/CTNFakeClock.h"
#include "tarnovelle/support/CTNFileFaults.h"
#include "tarnovelle/support/CTarnovelleException.h"
#include "tarnovelle/support/TNLastError.h"
#include "tests/support/TNChildProcess.h"
#include "tests/support/TNLogCapture.h"
#include "tests/support/TNTestDir.h"
#include "tests/support/TNRecordingClock.h"

namespace {

class CTarnovelleFileTest : public ::testing::Test {
protected:
    std::vector<std::string> Entries(const std::string& category) const { return m_log.Entries(category); }
    TNLogCapture m_log;
};


std::string ThrownText(const std::function<void()>& f) {
    try {
        f();
    } catch (const CTarnovelleException& e) {
        return e.GetMessage();
    }
    return "<nothing thrown>";
}

std::vector<uint32_t> Range(uint32_t from, uint32_t to) {
    std::vector<uint32_t> v;
    for (uint32_t i = from; i <= to; ++i) v.push_back(i);
    return v;
}

}  // namespace

TEST_F(CTarnovelleFileTest, FileHeldByAnotherProcessForAboutTwoSecondsOpensOnTheFifthTry) {
    TNTestDir dir;
    const std::string path = dir.WriteFile("held.Dat", "data");
    TNChildProcess holder([&](TNChildProcess& self) {
        CTNFile f;
        if (!f.Open(path.c_str(), CTNFile::modeWrite | CTNFile::shareExclusive)) return 1;
        self.SignalParent();
        // Between the fourth try (about 1.5 s after the first) and the fifth
        // (about 2.0 s).
        std::this_thread::sleep_for(std::chrono::milliseconds(1750));
        return 0;
    });
    ASSERT_TRUE(holder.WaitForChild());
    TNRecordingClock clock;
    CTNScopedClock scope(&clock);
    CTarnovelleFile file;
    ASSERT_NE(file.Open(path.c_str(), CTarnovelleFile::modeWrite), 0);
    EXPECT_EQ(clock.sleeps, (std::vector<uint32_t>{500, 501, 502, 503}));
    EXPECT_EQ(Entries("Open failed").size(), 4u);
    EXPECT_EQ(holder.Join(), 0);
}

TEST_F(CTarnovelleFileTest, MissingDirectoryTakesAllTwoHundredFortyTries) {
    TNTestDir dir;
    CTNFakeClock clock(0);
    CTNScopedClock scope(&clock);
    CTarnovelleFile file;
    EXPECT_EQ(file.Open((dir / "no/such/dir/x.Sam").c_str(), CTarnovelleFile::modeRead), 0);
    EXPECT_EQ(clock.GetSleeps(), Range(500, 739));
    EXPECT_EQ(clock.NowMilliseconds(), 148680u);
    const auto failed = Entries("Open failed");
    ASSERT_EQ(failed.size(), 241u);
    EXPECT_EQ(failed.back(), "TimeOut");
    const auto reports = Entries("CTarnovelleException");
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0].rfind("CFileException in 'Open TimeOut' = '", 0), 0u) << reports[0];
}

TEST_F(CTarnovelleFileTest, ReadOpensLogReadLinesAndWriteOpensLogWriteLines) {
    TNTestDir dir;
    CTNFakeClock clock(0);
    CTNScopedClock scope(&clock);
    CTarnovelleFile reader;
    EXPECT_EQ(reader.Open((dir / "none/a").c_str(), 0), 0);
    auto failed = Entries("Open failed");
    ASSERT_GE(failed.size(), 2u);
    EXPECT_EQ(failed[0].rfind("Read  = '", 0), 0u) << failed[0];
    EXPECT_EQ(failed[0].back(), '\'');

    m_log.Clear();
    CTarnovelleFile writer;
    EXPECT_EQ(writer.Open((dir / "none/b").c_str(), 0x3001), 0);
    failed = Entries("Open failed");
    ASSERT_GE(failed.size(), 2u);
    EXPECT_EQ(failed[0].rfind("Write = '", 0), 0u) << failed[0];
    EXPECT_NE(failed[0].find(dir / "none/b"), std::string::npos);
}

TEST_F(CTarnovelleFileTest, AfterTheTimeOutWithNoRecordedErrorTheCallerReads110) {
    TNTestDir dir;
    const std::string path = dir.WriteFile("held.Sam", "x");
    CTarnovelleFile holder;
    ASSERT_NE(holder.Open(path.c_str(), CTarnovelleFile::modeReadWrite), 0);
    CTNFakeClock clock(0);
    CTNScopedClock scope(&clock);
    TNSetLastError(2);  // left over from some earlier failure
    CTarnovelleFile second;
    EXPECT_EQ(second.Open(path.c_str(), CTarnovelleFile::modeRead), 0);
    EXPECT_EQ(TNGetLastError(), 110u);
    EXPECT_EQ(clock.GetSleeps().size(), 240u);
}

TEST_F(CTarnovelleFileTest, ARecordedErrorIsKeptAfterTheTimeOut) {
    TNTestDir dir;
    CTNFakeClock clock(0);
    CTNScopedClock scope(&clock);
    TNSetLastError(0);
    CTarnovelleFile file;
    CFileException error;
    EXPECT_EQ(file.Open((dir / "none/x").c_str(), 0, &error), 0);
    EXPECT_EQ(TNGetLastError(), static_cast<uint32_t>(ENOENT));
    EXPECT_EQ(error.m_lOsError, ENOENT);  // the caller's record was used
}

TEST_F(CTarnovelleFileTest, ReadPastTheEndReturnsZeroAndThrowsNothing) {
    TNTestDir dir;
    const std::string path = dir.WriteFile("a.Dat", "abc");
    CTarnovelleFile file;
    ASSERT_NE(file.Open(path.c_str(), 0), 0);
    EXPECT_EQ(file.Seek(3, 0), 3);
    char buf[8];
    EXPECT_EQ(file.Read(buf, 8), 0u);
    EXPECT_EQ(file.ReadHuge(buf, 8), 0u);
    file.Close();
}

TEST_F(CTarnovelleFileTest, SeekOnANeverOpenedObjectThrowsWithTheEmptyPath) {
    CTarnovelleFile file;
    EXPECT_EQ(ThrownText([&] { file.Seek(0, 0); }), "Exception: file = ''\naction = invalid handle in Seek");
    const auto logged = Entries("CTarnovelleException");
    ASSERT_EQ(logged.size(), 1u);
    EXPECT_EQ(logged[0], "Exception: file = ''\naction = invalid handle in Seek");
}

TEST_F(CTarnovelleFileTest, GuardTextsOfAClosedObject) {
    TNTestDir dir;
    const std::string path = dir.WriteFile("a.Dat", "abc");
    CTarnovelleFile file;
    ASSERT_NE(file.Open(path.c_str(), 0), 0);
    file.Close();
    const std::string prefix = "Exception: file = '" + path + "'\naction = ";
    char buf[4] = {};
    STNFileStatus st;
    EXPECT_EQ(ThrownText([&] { file.GetLength(); }), prefix + "invalid handle in GetLenght");
    EXPECT_EQ(ThrownText([&] { file.GetStatus(st); }), prefix + "invalid handle in GetStatus");
    EXPECT_EQ(ThrownText([&] { file.SeekToEnd(); }), prefix + "invalid handle in SeekToEnd");
    EXPECT_EQ(ThrownText([&] { file.GetPosition(); }), prefix + "invalid handle in GetPosition");
    EXPECT_EQ(ThrownText([&] { file.ReadHuge(buf, 1); }), prefix + "invalid handle in ReadHuge");
    EXPECT_EQ(ThrownText([&] { file.WriteHuge(buf, 1); }), prefix + "invalid handle in WriteHuge");
    EXPECT_EQ(ThrownText([&] { file.Read(buf, 1); }), prefix + "invalid handle in Read");
    EXPECT_EQ(ThrownText([&] { file.Write(buf, 1); }), prefix + "invalid handle in Write");
    EXPECT_EQ(ThrownText([&] { file.Close(); }), "<nothing thrown>");
}

TEST_F(CTarnovelleFileTest, FailedOperationsThrowTheirSecondText) {
    TNTestDir dir;
    const std::string path = dir.WriteFile("a.Dat", "abc");
    CTarnovelleFile file;
    ASSERT_NE(file.Open(path.c_str(), 0), 0);
    const std::string prefix = "Exception: file = '" + path + "'\naction = ";
    char c = 'x';
    EXPECT_EQ(ThrownText([&] { file.Seek(-10, 0); }), prefix + "Seek failed");
    EXPECT_EQ(ThrownText([&] { file.Write(&c, 1); }), prefix + "Write failed");  // opened for reading
    EXPECT_EQ(ThrownText([&] { file.WriteHuge(&c, 1); }), prefix + "WriteHuge failed");
    // The object stays usable after a failed operation.
    EXPECT_EQ(file.GetLength(), 3u);
    EXPECT_EQ(file.Read(&c, 1), 1u);
    EXPECT_EQ(c, 'a');
}

TEST_F(CTarnovelleFileTest, WriteReadSeekAndStatusOfAnOpenFile) {
    TNTestDir dir;
    const std::string path = dir / "w.Sam";
    CTarnovelleFile file;
    ASSERT_NE(file.Open(path.c_str(), 0x3002), 0);
    EXPECT_NE(file.GetHandle(), 0u);
    EXPECT_NE(file.GetHandle(), CTarnovelleFile::hFileNull);
    file.Write("0123456789", 10);
    file.WriteHuge("ab", 2);
    EXPECT_EQ(file.GetLength(), 12u);
    EXPECT_EQ(file.GetPosition(), 12u);
    EXPECT_EQ(file.Seek(2, 0), 2);
    char buf[3] = {};
    EXPECT_EQ(file.ReadHuge(buf, 2), 2u);
    EXPECT_EQ(std::string(buf), "23");
    EXPECT_EQ(file.SeekToEnd(), 12u);
    STNFileStatus st;
    EXPECT_NE(file.GetStatus(st), 0);
    EXPECT_EQ(st.m_size, 12u);
    EXPECT_EQ(file.GetFilePath(), path);
    file.Close();
    EXPECT_EQ(file.GetHandle(), CTarnovelleFile::hFileNull);
    // A closed object can be opened again.
    ASSERT_NE(file.Open(path.c_str(), 0), 0);
    EXPECT_EQ(file.GetLength(), 12u);
}

TEST_F(CTarnovelleFileTest, OpenAddsTheShareBitsByAccess) {
    TNTestDir dir;
    const std::string path = dir.WriteFile("s.Dat", "x");
    CTarnovelleFile reader1, reader2;
    ASSERT_NE(reader1.Open(path.c_str(), CTarnovelleFile::modeRead), 0);
    ASSERT_NE(reader2.Open(path.c_str(), CTarnovelleFile::modeRead), 0);  // deny write lets readers share
    CTNFile writer;
    EXPECT_FALSE(writer.Open(path.c_str(), CTNFile::modeWrite | CTNFile::shareExclusive));
    reader1.Close();
    reader2.Close();
    CTarnovelleFile exclusive;
    ASSERT_NE(exclusive.Open(path.c_str(), CTarnovelleFile::modeWrite), 0);
    CTNFile other;
    EXPECT_FALSE(other.Open(path.c_str(), CTNFile::modeRead | CTNFile::shareDenyWrite));
}

TEST_F(CTarnovelleFileTest, StaticStatusNeedsNoOpenFile) {
    TNTestDir dir;
    STNFileStatus st;
    EXPECT_EQ(CTarnovelleFile::GetStatus((dir / "none").c_str(), st), 0);
    const std::string path = dir.WriteFile("x", "12");
    EXPECT_NE(CTarnovelleFile::GetStatus(path.c_str(), st), 0);
    EXPECT_EQ(st.m_size, 2u);
    const std::string tooLong = dir / std::string(300, 'n');
    EXPECT_EQ(ThrownText([&] { CTarnovelleFile::GetStatus(tooLong.c_str(), st); }),
              "Exception: file = '" + tooLong + "'\naction = GetStatus failed");
}

TEST_F(CTarnovelleFileTest, AfterAFailedOpenThePathIsTheOneGivenToThatOpen) {
    TNTestDir dir;
    const std::string first = dir.WriteFile("first.Dat", "abc");
    const std::string second = dir / "none/second.Dat";
    CTarnovelleFile file;
    ASSERT_NE(file.Open(first.c_str(), 0), 0);
    file.Close();
    CTNFakeClock clock(0);
    CTNScopedClock scope(&clock);
    EXPECT_EQ(file.Open(second.c_str(), 0), 0);
    EXPECT_EQ(file.GetFilePath(), second);
    EXPECT_EQ(ThrownText([&] { file.Seek(0, 0); }),
              "Exception: file = '" + second + "'\naction = invalid handle in Seek");
}

namespace {
// Renames a prepared file over the one being opened, after the open and
// before its lock: the inode the open holds is no longer the path's.
class ReplaceBeforeLock : public CTNFileFaults {
public:
    ReplaceBeforeLock(std::string from, std::string to) : m_from(std::move(from)), m_to(std::move(to)) {}
    int Before(EOperation operation, const std::string&) override {
        if (operation == opLock && !m_done) {
            m_done = true;
            std::rename(m_from.c_str(), m_to.c_str());
        }
        return 0;
    }

private:
    std::string m_from;
    std::string m_to;
    bool m_done = false;
};
}  // namespace

TEST_F(CTarnovelleFileTest, AnOpenWhoseFileWasReplacedBeforeTheLockTriesAgainAndReadsTheNewFile) {
    TNTestDir dir;
    const std::string path = dir.WriteFile("x.Sam", "old");
    ReplaceBeforeLock faults(dir.WriteFile("replacement", "new"), path);
    CTNScopedFileFaults scope(&faults);
    CTNFakeClock clock(0);
    CTNScopedClock clockScope(&clock);
    CTarnovelleFile file;
    ASSERT_NE(file.Open(path.c_str(), CTarnovelleFile::modeRead), 0);
    EXPECT_EQ(clock.GetSleeps(), (std::vector<uint32_t>{500}));
    char bytes[3];
    ASSERT_EQ(file.Read(bytes, 3), 3u);
    EXPECT_EQ(std::string(bytes, 3), "new");
    file.Close();
}
