// Read locks and delete locks of archive folders between real processes.
//
// A lock is a file its holder keeps open exclusively. A reader waits while a
// folder's "Delete.Lock" exists; a wiper, once it holds "Delete.Lock", waits
// until no "*.Read" file is left. Waiters poll every 500 ms, give up after
// 300 s, and at every poll delete lock files whose newest time stamp is more
// than 300 s old: that works only for a file nobody holds any more, so a dead
// holder's lock dies while a live holder's stays.
//
// The long waits run on the fake clock of the waiting process; a lock file's
// time stamps are real, so each test measures them and puts the fake clock
// where it wants it relative to them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <dirent.h>
#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "tarnovelle/archive/CTarnovelleArchive.h"
#include "tarnovelle/archive/CTarnovelleArchiveFolder.h"
#include "tarnovelle/storage/CTarnovelleFile.h"
#include "tarnovelle/support/CTNClock.h"
#include "tarnovelle/support/CTNFakeClock.h"
#include "tarnovelle/support/CTNFileFaults.h"
#include "tarnovelle/support/CTarnovelleException.h"
#include "tests/support/TNChildProcess.h"
#include "tests/support/TNLogCapture.h"
#include "tests/support/TNTestDir.h"

using ::testing::HasSubstr;

namespace {

constexpr uint32_t kLockFlags = CTarnovelleFile::modeCreate | CTarnovelleFile::modeWrite;

// Measuring points as a folder holds them, named by their GUID texts.
const char* const kPointA = "5A17C0DE-1234-4321-8011-223344556677";
const char* const kPointB = "0000BEEF-0001-4abc-8000-000000000001";
const char* const kPointC = "0000BEEF-0002-4abc-8000-000000000002";

uint64_t RealNowMs() {
    return static_cast<uint64_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
            .count());
}

bool Exists(const std::string& path) { return TNTestDir::Exists(path); }

void MakeDir(const std::string& path) { ASSERT_EQ(::mkdir(path.c_str(), 0755), 0) << path; }

void Write(const std::string& path, const std::string& bytes = "data") {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << bytes;
    ASSERT_TRUE(out.good()) << path;
}

// The names in `directory`, sorted; "." and ".." left out.
std::vector<std::string> Names(const std::string& directory) {
    std::vector<std::string> names;
    if (DIR* d = ::opendir(directory.c_str())) {
        while (dirent* e = ::readdir(d)) {
            const std::string name = e->d_name;
            if (name != "." && name != "..") names.push_back(name);
        }
        ::closedir(d);
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::string> ReadLockNames(const std::string& folder) {
    std::vector<std::string> out;
    for (const std::string& name : Names(folder)) {
        if (name.size() > 5 && name.compare(name.size() - 5, 5, ".Read") == 0) out.push_back(name);
    }
    return out;
}

// The text of a GUID as it names read-lock files: upper-case hexadecimal but
// for the third group, no braces.
std::string GuidText(const GUID& g) {
    char text[40];
    std::snprintf(text, sizeof(text), "%08X-%04X-%04x-%02X%02X-%02X%02X%02X%02X%02X%02X", g.Data1, g.Data2, g.Data3,
                  g.Data4[0], g.Data4[1], g.Data4[2], g.Data4[3], g.Data4[4], g.Data4[5], g.Data4[6], g.Data4[7]);
    return text;
}

// The newest of a file's time stamps in whole seconds, as the operating
// system reports them; 0 when there is no file. (A birth time is never later
// than the change time, so it can't be the newest.)
uint32_t NewestStampSeconds(const std::string& path) {
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0) return 0;
    return static_cast<uint32_t>(std::max({st.st_atim.tv_sec, st.st_mtim.tv_sec, st.st_ctim.tv_sec}));
}

// Sets the access and modification times of `path` to whole seconds.
void Stamp(const std::string& path, uint32_t accessSeconds, uint32_t modificationSeconds) {
    const timespec times[2] = {{static_cast<time_t>(accessSeconds), 0}, {static_cast<time_t>(modificationSeconds), 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0) << path;
}
void Stamp(const std::string& path, uint32_t seconds) { Stamp(path, seconds, seconds); }

// True when some open file holds a share lock on `path`: an exclusive lock
// of our own can't be had.
bool IsHeldOpen(const std::string& path) {
    const int fd = ::open(path.c_str(), O_RDWR);
    if (fd < 0) return false;
    struct flock fl {};
    fl.l_type = F_WRLCK;
    fl.l_whence = SEEK_SET;
    const bool held = ::fcntl(fd, F_OFD_SETLK, &fl) != 0;
    ::close(fd);
    return held;
}

// Waits up to `timeoutMs` of real time for `path` to appear.
bool WaitForPath(const std::string& path, int timeoutMs = 10000) {
    for (int waited = 0; waited < timeoutMs; waited += 10) {
        if (Exists(path)) return true;
        ::usleep(10000);
    }
    return Exists(path);
}

// A folder with three measuring points, one of them holding a foreign file,
// a directory that has no GUID's shape and a file of the folder itself.
void MakeMeasuringPoints(const std::string& folder) {
    MakeDir(folder + "/" + kPointA);
    Write(folder + "/" + kPointA + "/ConfData.Inf");
    Write(folder + "/" + kPointA + "/1.Sam");
    Write(folder + "/" + kPointA + "/1.Dat");
    Write(folder + "/" + kPointA + "/2.Sam");
    Write(folder + "/" + kPointA + "/2.Dat");
    MakeDir(folder + "/" + kPointB);
    Write(folder + "/" + kPointB + "/ConfData.Inf");
    Write(folder + "/" + kPointB + "/1.Sam");
    Write(folder + "/" + kPointB + "/1.Dat");
    Write(folder + "/" + kPointB + "/Notes.txt");
    // The masks ignore case, as the original file system did.
    MakeDir(folder + "/" + kPointC);
    Write(folder + "/" + kPointC + "/confdata.INF");
    Write(folder + "/" + kPointC + "/3.SAM");
    Write(folder + "/" + kPointC + "/3.dat");
    MakeDir(folder + "/Scratch");
    Write(folder + "/Scratch/1.Sam");
    Write(folder + "/Folder.txt");
}

// What a wipe of that folder leaves: the foreign file, the directory that is
// no measuring point, the folder's own file; no measuring-point data.
void ExpectWiped(const std::string& folder) {
    EXPECT_FALSE(Exists(folder + "/" + kPointA));
    EXPECT_EQ(Names(folder + "/" + kPointB), std::vector<std::string>{"Notes.txt"});
    EXPECT_FALSE(Exists(folder + "/" + kPointC));
    EXPECT_EQ(Names(folder + "/Scratch"), std::vector<std::string>{"1.Sam"});
    EXPECT_TRUE(Exists(folder + "/Folder.txt"));
    EXPECT_FALSE(Exists(folder + "/Delete.Lock"));
}

void ExpectUntouched(const std::string& folder) {
    EXPECT_EQ(Names(folder + "/" + kPointA).size(), 5u);
    EXPECT_EQ(Names(folder + "/" + kPointB).size(), 4u);
    EXPECT_EQ(Names(folder + "/" + kPointC).size(), 3u);
}

// The fake clock, noting at every poll (a sleep) the fake time before the
// sleep and how many "KillOldLockFiles" entries the log holds by then.
class PollRecorder : public CTNFakeClock {
public:
    struct Poll {
        uint64_t atMs;
        size_t killEntries;
    };
    PollRecorder(uint64_t startMs, const TNLogCapture& log) : CTNFakeClock(startMs), m_log(log) {}
    void Sleep(uint32_t milliseconds) override {
        m_polls.push_back({NowMilliseconds(), m_log.Entries("KillOldLockFiles").size()});
        CTNFakeClock::Sleep(milliseconds);
    }
    const std::vector<Poll>& Polls() const { return m_polls; }

private:
    const TNLogCapture& m_log;
    std::vector<Poll> m_polls;
};

// Age of a file stamped at `newestSeconds` by a clock reading `nowMs`, in
// whole seconds and unsigned 32-bit arithmetic.
uint32_t AgeAt(uint64_t nowMs, uint32_t newestSeconds) { return static_cast<uint32_t>(nowMs / 1000) - newestSeconds; }

// Gives a test the protected kill of stale lock files.
class KillingFolder : public CTarnovelleArchiveFolder {
public:
    explicit KillingFolder(const std::string& path) : CTarnovelleArchiveFolder(nullptr, path, 1) {}
    void Kill(const std::string& path) { KillOldLockFiles(path); }
};

// Holds "<folder>/Delete.Lock" in a child process as a wiper would, until the
// parent signals (or kills the child).
int HoldDeleteLock(TNChildProcess& self, const std::string& folder) {
    TNSetClock(nullptr);
    CTarnovelleFile file;
    if (!file.Open((folder + "/Delete.Lock").c_str(), kLockFlags)) return 1;
    self.SignalParent();
    if (!self.WaitForParent()) return 2;
    file.Close();
    return 0;
}

// ---------------------------------------------------------------- reader against wiper

TEST(LockFileProcesses, AWipeWaitsForAReaderAndShutsNewReadersOutMeanwhile) {
    TNTestDir dir;
    const std::string folder = dir / "TNArch01";
    MakeDir(folder);
    MakeMeasuringPoints(folder);

    TNChildProcess reader([&](TNChildProcess& self) {
        TNSetClock(nullptr);
        CTarnovelleArchiveFolder mine(nullptr, folder, 1);
        TNLockHandle handle = nullptr;
        if (!mine.CreateReadLock(handle) || !handle) return 1;
        self.SignalParent();
        if (!self.WaitForParent()) return 2;
        mine.RemoveReadLock(handle);
        return handle == nullptr ? 0 : 3;
    });
    ASSERT_TRUE(reader.WaitForChild(10000));
    ASSERT_EQ(ReadLockNames(folder).size(), 1u);

    TNChildProcess wiper([&](TNChildProcess& self) {
        TNSetClock(nullptr);
        CTarnovelleArchive archive;
        CTarnovelleArchiveFolder* mine = archive.AddArchive(folder, TNARCHIVE_MODE_REMAINING, 100);
        if (!mine) return 1;
        const bool cleared = mine->Clear();
        self.SignalParent();
        return cleared ? 0 : 3;
    });
    ASSERT_TRUE(WaitForPath(folder + "/Delete.Lock")) << "the wiper never took its delete lock";
    // More than two of its polls: it is still waiting for the reader.
    EXPECT_FALSE(wiper.WaitForChild(1200));
    EXPECT_TRUE(Exists(folder + "/Delete.Lock"));
    EXPECT_TRUE(IsHeldOpen(folder + "/Delete.Lock"));
    ExpectUntouched(folder);

    // A third reader finds the delete lock and can't get in: with its own
    // clock it waits the full 300 s and gives up. The live wiper's lock file
    // is older than 300 s by that clock, but can't be deleted.
    {
        TNLogCapture log;
        CTNFakeClock clock(RealNowMs());
        CTNScopedClock scoped(&clock);
        const uint64_t start = clock.NowMilliseconds();
        CTarnovelleArchiveFolder third(nullptr, folder, 1);
        TNLockHandle handle = nullptr;
        std::string message;
        try {
            third.CreateReadLock(handle);
            ADD_FAILURE() << "the third reader got in past the delete lock";
        } catch (const CTarnovelleException& e) {
            message = e.GetMessage();
        }
        EXPECT_THAT(message, HasSubstr("action = CreateReadLock timeout"));
        EXPECT_THAT(message, HasSubstr("file = '" + folder + "'"));
        EXPECT_EQ(handle, nullptr);
        EXPECT_FALSE(third.IsReadLock());
        EXPECT_GT(clock.NowMilliseconds() - start, 300000u);
        EXPECT_LE(clock.NowMilliseconds() - start, 301000u);
        const std::vector<std::string> kills = log.Entries("KillOldLockFiles");
        EXPECT_FALSE(kills.empty());
        for (const std::string& text : kills)
            EXPECT_EQ(text, "KillOldLockFiles failed for '" + folder + "/Delete.Lock'");
    }
    EXPECT_EQ(ReadLockNames(folder).size(), 1u);  // still only the first reader's
    EXPECT_FALSE(wiper.WaitForChild(0));
    ExpectUntouched(folder);

    // The reader leaves; the wiper goes on at its next poll.
    reader.SignalChild();
    EXPECT_EQ(reader.Join(), 0);
    ASSERT_TRUE(wiper.WaitForChild(10000)) << "the wipe did not go on once the reader had left";
    EXPECT_EQ(wiper.Join(), 0);
    ExpectWiped(folder);
    EXPECT_TRUE(ReadLockNames(folder).empty());

    // With the delete lock gone a new reader gets in without a single poll.
    CTNFakeClock clock(RealNowMs());
    CTNScopedClock scoped(&clock);
    CTarnovelleArchiveFolder late(nullptr, folder, 1);
    TNLockHandle handle = nullptr;
    EXPECT_TRUE(late.CreateReadLock(handle));
    EXPECT_NE(handle, nullptr);
    EXPECT_TRUE(clock.GetSleeps().empty());
    late.RemoveReadLock(handle);
}

TEST(LockFileProcesses, AWipeGivesUpAfter300SecondsWhileALiveReaderStaysAndReleasesItsDeleteLock) {
    TNTestDir dir;
    const std::string folder = dir / "TNArch01";
    MakeDir(folder);
    MakeMeasuringPoints(folder);
    TNChildProcess reader([&](TNChildProcess& self) {
        TNSetClock(nullptr);
        CTarnovelleArchiveFolder mine(nullptr, folder, 1);
        TNLockHandle handle = nullptr;
        if (!mine.CreateReadLock(handle) || !handle) return 1;
        self.SignalParent();
        if (!self.WaitForParent()) return 2;
        // Still in: its file survived the wiper's attempts.
        const bool stillLocked = mine.IsReadLock();
        mine.RemoveReadLock(handle);
        return stillLocked ? 0 : 3;
    });
    ASSERT_TRUE(reader.WaitForChild(10000));
    const std::vector<std::string> names = ReadLockNames(folder);
    ASSERT_EQ(names.size(), 1u);
    const std::string readLock = folder + "/" + names[0];

    TNLogCapture log;
    CTNFakeClock clock(RealNowMs());
    CTNScopedClock scoped(&clock);
    CTarnovelleArchive archive;
    CTarnovelleArchiveFolder* wiper = archive.AddArchive(folder, TNARCHIVE_MODE_REMAINING, 100);
    ASSERT_NE(wiper, nullptr);
    const uint64_t start = clock.NowMilliseconds();
    std::string message;
    try {
        wiper->Clear();
        ADD_FAILURE() << "the wipe went on under a live reader";
    } catch (const CTarnovelleException& e) {
        message = e.GetMessage();
    }
    EXPECT_EQ(message, "Exception: file = '" + folder + "'\naction = CreateDeleteLock timeout");
    EXPECT_GT(clock.NowMilliseconds() - start, 300000u);
    EXPECT_LE(clock.NowMilliseconds() - start, 301000u);
    // The wiper took its delete lock away; the data and the reader stay.
    EXPECT_FALSE(Exists(folder + "/Delete.Lock"));
    ExpectUntouched(folder);
    EXPECT_TRUE(IsHeldOpen(readLock));
    for (const std::string& text : log.Entries("KillOldLockFiles"))
        EXPECT_EQ(text, "KillOldLockFiles failed for '" + readLock + "'");
    reader.SignalChild();
    EXPECT_EQ(reader.Join(), 0);
}

TEST(LockFileProcesses, AReaderGivesUpAfter300SecondsWhileALiveWiperHoldsTheDeleteLock) {
    TNTestDir dir;
    const std::string folder = dir / "TNArch01";
    MakeDir(folder);
    const std::string lock = folder + "/Delete.Lock";

    TNChildProcess wiper([&](TNChildProcess& self) { return HoldDeleteLock(self, folder); });
    ASSERT_TRUE(wiper.WaitForChild(10000));
    ASSERT_TRUE(IsHeldOpen(lock));
    const uint32_t newest = NewestStampSeconds(lock);
    ASSERT_NE(newest, 0u);

    TNLogCapture log;
    // A few seconds after the file was made, so that its age passes 300 s a
    // few polls before the wait's own 300 s are up.
    PollRecorder clock((static_cast<uint64_t>(newest) + 5) * 1000, log);
    CTNScopedClock scoped(&clock);
    const uint64_t start = clock.NowMilliseconds();
    CTarnovelleArchiveFolder reader(nullptr, folder, 1);
    TNLockHandle handle = nullptr;
    std::string message;
    try {
        reader.CreateReadLock(handle);
        ADD_FAILURE() << "the reader got in past a live delete lock";
    } catch (const CTarnovelleException& e) {
        message = e.GetMessage();
    }
    EXPECT_EQ(message, "Exception: file = '" + folder + "'\naction = CreateReadLock timeout");
    EXPECT_EQ(handle, nullptr);
    EXPECT_TRUE(ReadLockNames(folder).empty());
    EXPECT_GT(clock.NowMilliseconds() - start, 300000u);
    EXPECT_LE(clock.NowMilliseconds() - start, 301000u);

    // One failed kill at each poll once the file is older than 300 s by the
    // waiter's clock, none before.
    const std::vector<PollRecorder::Poll>& polls = clock.Polls();
    ASSERT_FALSE(polls.empty());
    size_t expected = 0;
    for (const PollRecorder::Poll& poll : polls) {
        if (AgeAt(poll.atMs, newest) > 300) ++expected;
        EXPECT_EQ(poll.killEntries, expected) << "poll at +" << (poll.atMs - start) << " ms";
    }
    EXPECT_EQ(expected, 10u);  // the polls at +296.0 s to +300.5 s
    const std::vector<std::string> kills = log.Entries("KillOldLockFiles");
    EXPECT_EQ(kills.size(), expected);
    for (const std::string& text : kills) EXPECT_EQ(text, "KillOldLockFiles failed for '" + lock + "'");

    // The delete lock stays, still held by the wiper.
    EXPECT_TRUE(IsHeldOpen(lock));
    wiper.SignalChild();
    EXPECT_EQ(wiper.Join(), 0);
}

TEST(LockFileProcesses, AKilledWipersDeleteLockIsDeletedByTheFirstWaiterPastItsAgeWhoThenGetsIn) {
    TNTestDir dir;
    const std::string folder = dir / "TNArch01";
    MakeDir(folder);
    const std::string lock = folder + "/Delete.Lock";
    {
        TNChildProcess wiper([&](TNChildProcess& self) { return HoldDeleteLock(self, folder); });
        ASSERT_TRUE(wiper.WaitForChild(10000));
        ASSERT_TRUE(IsHeldOpen(lock));
        wiper.Kill();
    }
    ASSERT_TRUE(Exists(lock)) << "a killed holder leaves its file behind";
    ASSERT_FALSE(IsHeldOpen(lock));
    const uint32_t newest = NewestStampSeconds(lock);
    ASSERT_NE(newest, 0u);

    TNLogCapture log;
    PollRecorder clock((static_cast<uint64_t>(newest) + 10) * 1000 + 250, log);
    CTNScopedClock scoped(&clock);
    const uint64_t start = clock.NowMilliseconds();
    CTarnovelleArchiveFolder reader(nullptr, folder, 1);
    TNLockHandle handle = nullptr;
    ASSERT_TRUE(reader.CreateReadLock(handle));
    EXPECT_NE(handle, nullptr);
    EXPECT_TRUE(reader.IsReadLock());
    EXPECT_EQ(ReadLockNames(folder), std::vector<std::string>{GuidText(reader.GetReadLockId()) + ".Read"});
    EXPECT_FALSE(Exists(lock));

    // No kill while the file was 300 s old or less; the first poll past that
    // deleted it, and the next look found the way free.
    const std::vector<PollRecorder::Poll>& polls = clock.Polls();
    ASSERT_FALSE(polls.empty());
    for (size_t i = 0; i + 1 < polls.size(); ++i) {
        EXPECT_LE(AgeAt(polls[i].atMs, newest), 300u) << "poll at +" << (polls[i].atMs - start) << " ms";
        EXPECT_EQ(polls[i].killEntries, 0u);
    }
    EXPECT_GT(AgeAt(polls.back().atMs, newest), 300u);
    EXPECT_EQ(polls.back().killEntries, 1u);
    // Started 10.25 s after the stamp: the age passes 300 s at +290.75 s, so
    // the poll at +291.0 s (the 583rd) deletes the file.
    EXPECT_EQ(polls.size(), 583u);
    EXPECT_EQ(log.Entries("KillOldLockFiles"), std::vector<std::string>{"KillOldLockFiles suceeded for '" + lock + "'"});

    reader.RemoveReadLock(handle);
    EXPECT_EQ(handle, nullptr);
    EXPECT_TRUE(ReadLockNames(folder).empty());
}

TEST(LockFileProcesses, AKilledReadersReadLockIsDeletedByAWipeThatThenWipes) {
    TNTestDir dir;
    const std::string folder = dir / "TNArch01";
    MakeDir(folder);
    MakeMeasuringPoints(folder);
    {
        TNChildProcess reader([&](TNChildProcess& self) {
            TNSetClock(nullptr);
            CTarnovelleArchiveFolder mine(nullptr, folder, 1);
            TNLockHandle handle = nullptr;
            if (!mine.CreateReadLock(handle) || !handle) return 1;
            self.SignalParent();
            self.WaitForParent();
            return 0;
        });
        ASSERT_TRUE(reader.WaitForChild(10000));
        reader.Kill();
    }
    const std::vector<std::string> left = ReadLockNames(folder);
    ASSERT_EQ(left.size(), 1u) << "a killed reader leaves its file behind";
    const std::string readLock = folder + "/" + left[0];
    ASSERT_FALSE(IsHeldOpen(readLock));
    const uint32_t newest = NewestStampSeconds(readLock);
    ASSERT_NE(newest, 0u);

    TNLogCapture log;
    PollRecorder clock((static_cast<uint64_t>(newest) + 10) * 1000 + 250, log);
    CTNScopedClock scoped(&clock);
    CTarnovelleArchive archive;
    CTarnovelleArchiveFolder* wiper = archive.AddArchive(folder, TNARCHIVE_MODE_REMAINING, 100);
    ASSERT_NE(wiper, nullptr);
    EXPECT_TRUE(wiper->Clear());

    EXPECT_FALSE(Exists(readLock));
    ExpectWiped(folder);
    EXPECT_EQ(log.Entries("KillOldLockFiles"),
              std::vector<std::string>{"KillOldLockFiles suceeded for '" + readLock + "'"});
    const std::vector<PollRecorder::Poll>& polls = clock.Polls();
    ASSERT_FALSE(polls.empty());
    for (size_t i = 0; i + 1 < polls.size(); ++i) {
        EXPECT_LE(AgeAt(polls[i].atMs, newest), 300u);
        EXPECT_EQ(polls[i].killEntries, 0u);
    }
    EXPECT_GT(AgeAt(polls.back().atMs, newest), 300u);
    EXPECT_EQ(polls.back().killEntries, 1u);
    EXPECT_EQ(polls.size(), 583u);
}

// Lets another process take "Delete.Lock" just as this process is about to
// open it: the race of two wipers that both found the folder free.
class LoseTheRaceForTheDeleteLock : public CTNFileFaults {
public:
    LoseTheRaceForTheDeleteLock(std::string lock, TNChildProcess& other) : m_lock(std::move(lock)), m_other(other) {}
    int Before(EOperation operation, const std::string& path) override {
        if (operation == opOpen && path == m_lock && !m_done) {
            m_done = true;
            m_other.SignalChild();
            m_taken = m_other.WaitForChild(10000);
        }
        return 0;
    }
    bool Taken() const { return m_taken; }

private:
    std::string m_lock;
    TNChildProcess& m_other;
    bool m_done = false;
    bool m_taken = false;
};

TEST(LockFileProcesses, AClearThatLosesTheRaceForTheDeleteLockGivesUp300SecondsAfterItBegan) {
    TNTestDir dir;
    const std::string folder = dir / "TNArch01";
    MakeDir(folder);
    MakeMeasuringPoints(folder);
    const std::string lock = folder + "/Delete.Lock";
    TNChildProcess other([&](TNChildProcess& self) {
        if (!self.WaitForParent()) return 1;
        return HoldDeleteLock(self, folder);
    });

    TNLogCapture log;
    CTNFakeClock clock(RealNowMs());
    CTNScopedClock scoped(&clock);
    LoseTheRaceForTheDeleteLock race(lock, other);
    CTNScopedFileFaults installed(&race);
    CTarnovelleArchiveFolder wiper(nullptr, folder, 1);
    const uint64_t start = clock.NowMilliseconds();
    std::string message;
    try {
        wiper.Clear();
        ADD_FAILURE() << "Clear got past the other wiper's live delete lock";
    } catch (const CTarnovelleException& e) {
        message = e.GetMessage();
    }
    ASSERT_TRUE(race.Taken());
    EXPECT_EQ(message, "Exception: file = '" + folder + "'\naction = Clear timeout2");
    // The open's tries took about 149 s of the 300; the wait for the other
    // wiper counts from the start of Clear, not from the end of those tries.
    EXPECT_GT(clock.NowMilliseconds() - start, 300000u);
    EXPECT_LE(clock.NowMilliseconds() - start, 301500u);
    ExpectUntouched(folder);
    EXPECT_TRUE(IsHeldOpen(lock));
    other.SignalChild();
    EXPECT_EQ(other.Join(), 0);
}

// ---------------------------------------------------------------- the age of a lock file

TEST(LockFileProcesses, ALockFileExactly300SecondsOldIsNotOldAnd301SecondsIs) {
    TNTestDir dir;
    const std::string folder = dir / "TNArch01";
    MakeDir(folder);
    const std::string path = folder + "/Delete.Lock";
    // Stamped ahead of real time, so that the newest stamp is the one set
    // here and not the change time the stamping itself sets. Each of the
    // access and the modification time in turn is the newest.
    const uint32_t stamp = static_cast<uint32_t>(RealNowMs() / 1000) + 1000;
    const uint32_t older = stamp - 100000;

    TNLogCapture log;
    CTNFakeClock clock;
    CTNScopedClock scoped(&clock);
    KillingFolder killer(folder);
    for (const bool accessIsNewest : {true, false}) {
        SCOPED_TRACE(accessIsNewest ? "access time newest" : "modification time newest");
        log.Clear();
        Write(path, "");
        Stamp(path, accessIsNewest ? stamp : older, accessIsNewest ? older : stamp);
        ASSERT_EQ(NewestStampSeconds(path), stamp);

        clock.SetNow((static_cast<uint64_t>(stamp) + 300) * 1000);
        killer.Kill(path);
        EXPECT_TRUE(Exists(path));
        clock.SetNow((static_cast<uint64_t>(stamp) + 300) * 1000 + 999);  // still 300 whole seconds
        killer.Kill(path);
        EXPECT_TRUE(Exists(path));
        EXPECT_TRUE(log.Entries("KillOldLockFiles").empty());

        clock.SetNow((static_cast<uint64_t>(stamp) + 301) * 1000);
        killer.Kill(path);
        EXPECT_FALSE(Exists(path));
        EXPECT_EQ(log.Entries("KillOldLockFiles"),
                  std::vector<std::string>{"KillOldLockFiles suceeded for '" + path + "'"});
    }

    // No file, nothing to do and nothing to log.
    log.Clear();
    killer.Kill(path);
    EXPECT_TRUE(log.Entries("KillOldLockFiles").empty());
}

TEST(LockFileProcesses, ALockFileStampedAheadOfTheLocalClockIsOldAtOnce) {
    TNTestDir dir;
    const std::string folder = dir / "TNArch01";
    MakeDir(folder);
    const std::string path = folder + "/0000BEEF-0003-4abc-8000-000000000003.Read";
    const uint32_t stamp = static_cast<uint32_t>(RealNowMs() / 1000) + 1000;

    TNLogCapture log;
    CTNFakeClock clock;
    CTNScopedClock scoped(&clock);
    KillingFolder killer(folder);
    for (const uint64_t aheadSeconds : {1ull, 86400ull}) {
        Write(path, "");
        Stamp(path, stamp);
        ASSERT_EQ(NewestStampSeconds(path), stamp);
        clock.SetNow((stamp - aheadSeconds) * 1000);
        log.Clear();
        killer.Kill(path);
        EXPECT_FALSE(Exists(path)) << aheadSeconds << " s ahead";
        EXPECT_EQ(log.Entries("KillOldLockFiles"),
                  std::vector<std::string>{"KillOldLockFiles suceeded for '" + path + "'"});
    }

    // A live holder's file ahead of the clock is old too, but stays.
    log.Clear();
    CTarnovelleFile held;
    ASSERT_TRUE(held.Open(path.c_str(), kLockFlags));
    Stamp(path, stamp);
    clock.SetNow((static_cast<uint64_t>(stamp) - 1) * 1000);
    killer.Kill(path);
    EXPECT_TRUE(Exists(path));
    EXPECT_EQ(log.Entries("KillOldLockFiles"), std::vector<std::string>{"KillOldLockFiles failed for '" + path + "'"});
    held.Close();
}

TEST(LockFileProcesses, AReaderDeletesAnUnheldDeleteLockStampedAheadAtItsFirstPoll) {
    TNTestDir dir;
    const std::string folder = dir / "TNArch01";
    MakeDir(folder);
    const std::string lock = folder + "/Delete.Lock";
    Write(lock, "");
    const uint64_t now = RealNowMs();
    const uint32_t stamp = static_cast<uint32_t>(now / 1000) + 1000;
    Stamp(lock, stamp);

    TNLogCapture log;
    CTNFakeClock clock(now);
    CTNScopedClock scoped(&clock);
    CTarnovelleArchiveFolder reader(nullptr, folder, 1);
    TNLockHandle handle = nullptr;
    ASSERT_TRUE(reader.CreateReadLock(handle));
    EXPECT_NE(handle, nullptr);
    EXPECT_EQ(clock.GetSleeps(), std::vector<uint32_t>{500});
    EXPECT_FALSE(Exists(lock));
    EXPECT_EQ(log.Entries("KillOldLockFiles"), std::vector<std::string>{"KillOldLockFiles suceeded for '" + lock + "'"});
    reader.RemoveReadLock(handle);
}

// ---------------------------------------------------------------- the archive's read locks

// Fails every open of a read-lock file below one folder, as an unreachable
// share would.
class FailReadLockOpens : public CTNFileFaults {
public:
    explicit FailReadLockOpens(std::string folder) : m_prefix(std::move(folder) + "/") {}
    int Before(EOperation operation, const std::string& path) override {
        if (operation != opOpen || path.compare(0, m_prefix.size(), m_prefix) != 0) return 0;
        if (path.size() < 5 || path.compare(path.size() - 5, 5, ".Read") != 0) return 0;
        ++m_failed;
        return EACCES;
    }
    int Failed() const { return m_failed; }

private:
    std::string m_prefix;
    std::atomic<int> m_failed{0};
};

TEST(LockFileProcesses, TheArchiveLocksEveryFolderInOrderAndLeavesHolesNull) {
    TNTestDir dir;
    CTNFakeClock clock;  // nothing waits here; should something, it fails fast
    CTNScopedClock scoped(&clock);
    CTarnovelleArchive archive;
    CTarnovelleArchiveFolder* first = archive.AddArchive(dir / "TNArch01", TNARCHIVE_MODE_REMAINING, 100);
    CTarnovelleArchiveFolder* second = archive.AddArchive(dir / "TNArch02", TNARCHIVE_MODE_REMAINING, 100);
    CTarnovelleArchiveFolder* third = archive.AddArchive(dir / "TNArch03", TNARCHIVE_MODE_REMAINING, 100);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    ASSERT_NE(third, nullptr);
    ASSERT_EQ(first->GetNumber(), 1);
    ASSERT_EQ(third->GetNumber(), 3);
    // A second hole beside slot 0: an empty, inactive folder taken out.
    ASSERT_TRUE(archive.RemoveArchiveFolder(second));
    ASSERT_EQ(archive.GetArchiveFolders().size(), 4u);

    std::vector<TNLockHandle> handles(7, nullptr);  // sized anew to the folder array
    ASSERT_EQ(archive.CreateReadLock(handles), TNE_OK);
    EXPECT_TRUE(clock.GetSleeps().empty());
    ASSERT_EQ(handles.size(), 4u);
    EXPECT_EQ(handles[0], nullptr);
    EXPECT_NE(handles[1], nullptr);
    EXPECT_EQ(handles[2], nullptr);
    EXPECT_NE(handles[3], nullptr);
    EXPECT_EQ(ReadLockNames(dir / "TNArch01"), std::vector<std::string>{GuidText(first->GetReadLockId()) + ".Read"});
    EXPECT_TRUE(ReadLockNames(dir / "TNArch02").empty());
    EXPECT_EQ(ReadLockNames(dir / "TNArch03"), std::vector<std::string>{GuidText(third->GetReadLockId()) + ".Read"});
    EXPECT_TRUE(IsHeldOpen(dir / "TNArch01/" + GuidText(first->GetReadLockId()) + ".Read"));

    archive.RemoveReadLock(handles);
    EXPECT_TRUE(handles.empty());
    EXPECT_TRUE(ReadLockNames(dir / "TNArch01").empty());
    EXPECT_TRUE(ReadLockNames(dir / "TNArch03").empty());
}

TEST(LockFileProcesses, AFolderWhoseReadLockCantBeOpenedFailsTheArchivesLockAndKeepsTheEarlierOnes) {
    TNTestDir dir;
    CTarnovelleArchive archive;
    CTarnovelleArchiveFolder* first = archive.AddArchive(dir / "TNArch01", TNARCHIVE_MODE_REMAINING, 100);
    CTarnovelleArchiveFolder* second = archive.AddArchive(dir / "TNArch02", TNARCHIVE_MODE_REMAINING, 100);
    CTarnovelleArchiveFolder* third = archive.AddArchive(dir / "TNArch03", TNARCHIVE_MODE_REMAINING, 100);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    ASSERT_NE(third, nullptr);
    const std::string firstLock = dir / "TNArch01/" + GuidText(first->GetReadLockId()) + ".Read";

    std::vector<TNLockHandle> handles;
    {
        TNLogCapture log;  // the open's retries are logged
        CTNFakeClock clock;  // the open's 240 tries run at once
        CTNScopedClock scoped(&clock);
        FailReadLockOpens faults(dir / "TNArch02");
        CTNScopedFileFaults installed(&faults);
        EXPECT_EQ(archive.CreateReadLock(handles), TNE_ARCHIVE_LOCK_FAILED);
        EXPECT_GT(faults.Failed(), 0);
    }
    ASSERT_EQ(handles.size(), 4u);
    EXPECT_EQ(handles[0], nullptr);
    EXPECT_NE(handles[1], nullptr);
    EXPECT_EQ(handles[2], nullptr);
    EXPECT_EQ(handles[3], nullptr);
    // The first folder's lock is still held; the later folders have none.
    EXPECT_TRUE(first->IsReadLock());
    EXPECT_TRUE(IsHeldOpen(firstLock));
    EXPECT_TRUE(ReadLockNames(dir / "TNArch02").empty());
    EXPECT_TRUE(ReadLockNames(dir / "TNArch03").empty());

    // The caller gives back what was taken.
    archive.RemoveReadLock(handles);
    EXPECT_TRUE(handles.empty());
    EXPECT_FALSE(Exists(firstLock));

    // Once the folder can be reached again, all three are locked.
    ASSERT_EQ(archive.CreateReadLock(handles), TNE_OK);
    ASSERT_EQ(handles.size(), 4u);
    EXPECT_NE(handles[1], nullptr);
    EXPECT_NE(handles[2], nullptr);
    EXPECT_NE(handles[3], nullptr);
    archive.RemoveReadLock(handles);
}

TEST(LockFileProcesses, AnArchivesLockThatTimesOutOnOneFolderGivesBackTheLocksItTook) {
    TNTestDir dir;
    CTarnovelleArchive archive;
    CTarnovelleArchiveFolder* first = archive.AddArchive(dir / "TNArch01", TNARCHIVE_MODE_REMAINING, 100);
    CTarnovelleArchiveFolder* second = archive.AddArchive(dir / "TNArch02", TNARCHIVE_MODE_REMAINING, 100);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    // A live wiper in the second folder. Open files of one process conflict
    // as those of two do, so this process can hold it.
    CTarnovelleFile wiper;
    ASSERT_TRUE(wiper.Open((dir / "TNArch02/Delete.Lock").c_str(), kLockFlags));

    TNLogCapture log;
    CTNFakeClock clock(RealNowMs());
    CTNScopedClock scoped(&clock);
    std::vector<TNLockHandle> handles;
    std::string message;
    try {
        archive.CreateReadLock(handles);
        ADD_FAILURE() << "the archive got past a live delete lock";
    } catch (const CTarnovelleException& e) {
        message = e.GetMessage();
    }
    EXPECT_EQ(message, "Exception: file = '" + dir / "TNArch02" + "'\naction = CreateReadLock timeout");
    EXPECT_TRUE(handles.empty());
    EXPECT_FALSE(first->IsReadLock());
    EXPECT_TRUE(ReadLockNames(dir / "TNArch01").empty());
    EXPECT_TRUE(Exists(dir / "TNArch02/Delete.Lock"));
    wiper.Close();
}

// ---------------------------------------------------------------- one object, copies

TEST(LockFileProcesses, ASecondReadLockOfOneObjectIsANullHandleWhoseRemoveKeepsTheFile) {
    TNTestDir dir;
    const std::string folder = dir / "TNArch01";
    MakeDir(folder);
    CTNFakeClock clock;  // nothing waits here; should something, it fails fast
    CTNScopedClock scoped(&clock);
    CTarnovelleArchiveFolder reader(nullptr, folder, 1);
    const std::string file = folder + "/" + GuidText(reader.GetReadLockId()) + ".Read";
    EXPECT_FALSE(reader.IsReadLock());
    EXPECT_FALSE(reader.HasReadLock());

    TNLockHandle outer = nullptr;
    ASSERT_TRUE(reader.CreateReadLock(outer));
    ASSERT_NE(outer, nullptr);
    EXPECT_TRUE(Exists(file));
    EXPECT_TRUE(reader.IsReadLock());
    EXPECT_TRUE(reader.HasReadLock());

    TNLockHandle inner = reinterpret_cast<TNLockHandle>(&inner);  // set to null by the call
    EXPECT_TRUE(reader.CreateReadLock(inner));
    EXPECT_EQ(inner, nullptr);
    if (inner) inner = nullptr;  // never hand a stranger's pointer to the remove
    EXPECT_TRUE(reader.RemoveReadLock(inner));
    EXPECT_TRUE(Exists(file));
    EXPECT_TRUE(IsHeldOpen(file));
    EXPECT_TRUE(reader.IsReadLock());

    EXPECT_TRUE(reader.RemoveReadLock(outer));
    EXPECT_EQ(outer, nullptr);
    EXPECT_FALSE(Exists(file));
    EXPECT_FALSE(reader.IsReadLock());
    EXPECT_FALSE(reader.HasReadLock());
    EXPECT_TRUE(clock.GetSleeps().empty());
}

TEST(LockFileProcesses, APlainCopySharesTheReadLockFileAndAWorkingCopysFolderDoesNot) {
    TNTestDir dir;
    const std::string folder = dir / "TNArch01";
    MakeDir(folder);
    CTNFakeClock clock;  // nothing waits here; should something, it fails fast
    CTNScopedClock scoped(&clock);
    CTarnovelleArchive archive;
    CTarnovelleArchive working;
    CTarnovelleArchiveFolder source(&archive, folder, 1);
    TNLockHandle handle = nullptr;
    ASSERT_TRUE(source.CreateReadLock(handle));
    ASSERT_NE(handle, nullptr);
    const std::string file = folder + "/" + GuidText(source.GetReadLockId()) + ".Read";
    ASSERT_TRUE(Exists(file));

    CTarnovelleArchiveFolder copy(source);
    EXPECT_EQ(GuidText(copy.GetReadLockId()), GuidText(source.GetReadLockId()));
    EXPECT_TRUE(copy.IsReadLock());
    TNLockHandle copyHandle = reinterpret_cast<TNLockHandle>(&copyHandle);
    EXPECT_TRUE(copy.CreateReadLock(copyHandle));
    EXPECT_EQ(copyHandle, nullptr);  // the source's file serves it
    if (copyHandle) copyHandle = nullptr;

    CTarnovelleArchiveFolder assigned(nullptr, dir / "Elsewhere", 7);
    assigned = source;
    EXPECT_TRUE(assigned.IsReadLock());

    CTarnovelleArchiveFolder workingFolder(source, &working);
    EXPECT_NE(GuidText(workingFolder.GetReadLockId()), GuidText(source.GetReadLockId()));
    EXPECT_EQ(workingFolder.GetArchive(), &working);
    EXPECT_FALSE(workingFolder.IsReadLock());
    TNLockHandle workingHandle = nullptr;
    ASSERT_TRUE(workingFolder.CreateReadLock(workingHandle));
    EXPECT_NE(workingHandle, nullptr);
    EXPECT_EQ(ReadLockNames(folder).size(), 2u);

    source.RemoveReadLock(handle);
    EXPECT_FALSE(copy.IsReadLock());
    EXPECT_TRUE(workingFolder.IsReadLock());
    workingFolder.RemoveReadLock(workingHandle);
    EXPECT_TRUE(ReadLockNames(folder).empty());
}

// ---------------------------------------------------------------- another file system

// A small tmpfs mounted for one test, unmounted at its end.
class SmallFileSystem {
public:
    explicit SmallFileSystem(std::string path) : m_path(std::move(path)) {
        if (::geteuid() != 0) {
            m_why = "needs root to mount a tmpfs";
            return;
        }
        if (::mkdir(m_path.c_str(), 0755) != 0) {
            m_why = "can't make the mount point";
            return;
        }
        if (::mount("tmpfs", m_path.c_str(), "tmpfs", 0, "size=8m") != 0) {
            m_why = std::string("mount of a tmpfs failed: ") + std::strerror(errno);
            return;
        }
        m_mounted = true;
    }
    ~SmallFileSystem() {
        if (m_mounted) ::umount2(m_path.c_str(), MNT_DETACH);
    }
    SmallFileSystem(const SmallFileSystem&) = delete;
    SmallFileSystem& operator=(const SmallFileSystem&) = delete;

    bool Mounted() const { return m_mounted; }
    const std::string& Why() const { return m_why; }

private:
    std::string m_path;
    bool m_mounted = false;
    std::string m_why;
};

uint64_t AvailableBytes(const std::string& path) {
    struct statvfs vfs {};
    if (::statvfs(path.c_str(), &vfs) != 0) return ~0ull;
    return static_cast<uint64_t>(vfs.f_bavail) * vfs.f_frsize;
}

TEST(LockFileProcesses, AFolderOnASmallFileSystemSeesThatFileSystemsFreeSpace) {
    TNTestDir dir;
    const std::string mountPoint = dir / "small";
    SmallFileSystem small(mountPoint);
    if (!small.Mounted()) GTEST_SKIP() << "no file system of its own for the folder: " << small.Why();

    struct stat outer {}, inner {};
    ASSERT_EQ(::stat(dir.Path().c_str(), &outer), 0);
    ASSERT_EQ(::stat(mountPoint.c_str(), &inner), 0);
    ASSERT_NE(outer.st_dev, inner.st_dev);

    CTarnovelleArchive archive;
    CTarnovelleArchiveFolder* folder = archive.AddArchive(mountPoint + "/TNArch01", TNARCHIVE_MODE_REMAINING, 100);
    ASSERT_NE(folder, nullptr);
    ASSERT_TRUE(folder->IsActive());
    ASSERT_EQ(folder->GetRemainingMegaBytes(), 100u);

    const uint64_t available = AvailableBytes(mountPoint + "/TNArch01");
    EXPECT_EQ(folder->GetFreeDiskSpace(), available);
    EXPECT_GE(available, 7ull * 1024 * 1024);
    EXPECT_LE(available, 8ull * 1024 * 1024);
    EXPECT_LT(folder->GetFreeDiskSpace(), AvailableBytes(dir.Path()));

    // 8 MB free, 100 MB to remain: full, though the folder holds nothing
    // but the archive's own status lines.
    EXPECT_EQ(folder->GetRemainingDiskSpaceInMB(), 0u);
    EXPECT_TRUE(folder->IsFull());
    // With 1 MB to remain there is room.
    folder->SetMode(TNARCHIVE_MODE_REMAINING, 1);
    EXPECT_EQ(folder->GetRemainingDiskSpaceInMB(), available / 1024 / 1024 - 1);
    EXPECT_FALSE(folder->IsFull());

    // A folder that may grow to 40 MB is full too once its drive has no
    // whole MB left.
    folder->SetMode(TNARCHIVE_MODE_MAXIMAL, 40);
    EXPECT_FALSE(folder->IsFull());
    {
        std::ofstream filler(mountPoint + "/filler", std::ios::binary);
        const std::string block(64 * 1024, 'x');
        for (int i = 0; i < 256 && filler.good(); ++i) filler.write(block.data(), static_cast<std::streamsize>(block.size()));
    }
    ASSERT_LT(AvailableBytes(mountPoint), 1024u * 1024u);
    EXPECT_LT(folder->GetFreeDiskSpace(), 1024u * 1024u);
    EXPECT_EQ(folder->GetRemainingDiskSpaceInMB(), 40u);
    EXPECT_TRUE(folder->IsFull());
}

}  // namespace
