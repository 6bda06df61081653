#include "tarnovelle/support/TNPath.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>

#include "tarnovelle/support/CTNFile.h"
#include "tests/support/TNTestDir.h"

namespace {

void MakeDir(const std::string& path) { ASSERT_EQ(::mkdir(path.c_str(), 0777), 0) << path; }

void MakeReadOnly(const std::string& path) {
    struct stat st {};
    ASSERT_EQ(::stat(path.c_str(), &st), 0);
    ASSERT_EQ(::chmod(path.c_str(), st.st_mode & 0555), 0);
}

mode_t ModeOf(const std::string& path) {
    struct stat st {};
    EXPECT_EQ(::stat(path.c_str(), &st), 0);
    return st.st_mode & 07777;
}

std::vector<std::string> Sorted(std::vector<std::string> v) {
    std::sort(v.begin(), v.end());
    return v;
}

// A child process that opens `path` through the file service and keeps it
// open until it is killed.
class CHolder {
public:
    CHolder(const std::string& path, uint32_t flags) {
        int fds[2];
        EXPECT_EQ(::pipe(fds), 0);
        m_pid = ::fork();
        if (m_pid == 0) {
            ::close(fds[0]);
            CTNFile file;
            const char ok = file.Open(path.c_str(), flags) ? '1' : '0';
            (void)!::write(fds[1], &ok, 1);
            for (;;) ::pause();
        }
        ::close(fds[1]);
        char ok = 0;
        EXPECT_EQ(::read(fds[0], &ok, 1), 1);
        ::close(fds[0]);
        m_opened = ok == '1';
    }
    ~CHolder() { Kill(); }
    bool Opened() const { return m_opened; }
    void Kill() {
        if (m_pid <= 0) return;
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
        m_pid = -1;
    }

private:
    pid_t m_pid = -1;
    bool m_opened = false;
};

// "????????-????-????-????-????????????", spelt so that no "??-" trigraph appears.
std::string GuidMask() {
    const std::string q4(4, '?');
    return q4 + q4 + "-" + q4 + "-" + q4 + "-" + q4 + "-" + q4 + q4 + q4;
}

constexpr uint32_t kHoldExclusive = CTNFile::modeWrite | CTNFile::shareExclusive;
constexpr uint32_t kHoldReading = CTNFile::modeRead | CTNFile::shareDenyWrite;

}  // namespace

// ---- masks ----

TEST(FileMask, MatchesIgnoringCase) {
    EXPECT_TRUE(TNMatchFileMask("Channel.Sam", "*.sam"));
    EXPECT_TRUE(TNMatchFileMask("CHANNEL.SAM", "*.Sam"));
    EXPECT_TRUE(TNMatchFileMask("delete.lock", "Delete.Lock"));
    EXPECT_FALSE(TNMatchFileMask("Channel.Dat", "*.Sam"));
    EXPECT_FALSE(TNMatchFileMask("Channel.Sam.old", "*.Sam"));
}

TEST(FileMask, QuestionMarkIsExactlyOneCharacter) {
    EXPECT_TRUE(TNMatchFileMask("abc", "a?c"));
    EXPECT_FALSE(TNMatchFileMask("ac", "a?c"));
    EXPECT_FALSE(TNMatchFileMask("abbc", "a?c"));
    const std::string guidMask = GuidMask();
    EXPECT_TRUE(TNMatchFileMask("ABCDEF01-BCDE-cdef-DEF0-1A2B3C4D5E6F", guidMask));
    EXPECT_FALSE(TNMatchFileMask("ABCDEF01-BCDE-cdef-DEF0-1A2B3C4D5E6", guidMask));
    EXPECT_FALSE(TNMatchFileMask("ABCDEF01-BCDE-cdef-DEF0-1A2B3C4D5E6F0", guidMask));
}

TEST(FileMask, StarDotStarMatchesNamesWithAndWithoutDot) {
    EXPECT_TRUE(TNMatchFileMask("noextension", "*.*"));
    EXPECT_TRUE(TNMatchFileMask("a.b.c", "*.*"));
    EXPECT_TRUE(TNMatchFileMask("anything", "*"));
}

TEST(FileMask, StarBacktracks) {
    EXPECT_TRUE(TNMatchFileMask("aXbYbZc", "a*b*c"));
    EXPECT_TRUE(TNMatchFileMask("Archive.TNArch", "*.tnarch"));
    EXPECT_FALSE(TNMatchFileMask("aXbYbZ", "a*b*c"));
    EXPECT_TRUE(TNMatchFileMask("", "*"));
    EXPECT_FALSE(TNMatchFileMask("x", ""));
}

// ---- existence and size ----

TEST(PathExists, WorksOnFilesAndDirectories) {
    TNTestDir dir;
    const std::string file = dir.WriteFile("f.txt", "x");
    EXPECT_TRUE(PathExists(file));
    EXPECT_TRUE(PathExists(dir.Path()));
    EXPECT_FALSE(PathExists(dir / "missing"));
    EXPECT_FALSE(PathExists(dir / "missing/deeper"));
}

TEST(FileMaskExists, FindsMixedCaseNames) {
    TNTestDir dir;
    dir.WriteFile("ABC.Read", "");
    EXPECT_TRUE(FileMaskExists(dir.Path(), "*.read"));
    EXPECT_TRUE(FileMaskExists(dir.Path(), "abc.READ"));
    EXPECT_FALSE(FileMaskExists(dir.Path(), "*.Lock"));
    EXPECT_FALSE(FileMaskExists(dir / "missing", "*.*"));
}

TEST(FileMaskExists, EmptyDirectoryHasNoEntries) {
    TNTestDir dir;
    EXPECT_FALSE(FileMaskExists(dir.Path(), "*.*"));
    EXPECT_FALSE(FileMaskExists(dir.Path(), "*"));
}

TEST(GetPathFileSize, IsTheSizeOrZero) {
    TNTestDir dir;
    const std::string file = dir.WriteFile("f.bin", std::string(123, 'x'));
    EXPECT_EQ(GetPathFileSize(file), 123u);
    EXPECT_EQ(GetPathFileSize(dir / "missing"), 0u);
    EXPECT_EQ(GetPathFileSize(dir.Path()), 0u);
}

// ---- creating paths ----

TEST(CreatePathRecursive, PathEndingInSeparatorIsMadeWhole) {
    TNTestDir dir;
    EXPECT_EQ(CreatePathRecursive(dir / "a/b/c/"), 1);
    EXPECT_TRUE(PathExists(dir / "a/b/c"));
}

TEST(CreatePathRecursive, LastPartWithoutSeparatorIsNotMade) {
    TNTestDir dir;
    EXPECT_EQ(CreatePathRecursive(dir / "a/b/file.txt"), 1);
    EXPECT_TRUE(PathExists(dir / "a/b"));
    EXPECT_FALSE(PathExists(dir / "a/b/file.txt"));
}

TEST(CreatePathRecursive, ExistingLevelsAreNoError) {
    TNTestDir dir;
    MakeDir(dir / "a");
    EXPECT_EQ(CreatePathRecursive(dir / "a/b/"), 1);
    EXPECT_EQ(CreatePathRecursive(dir / "a/b/"), 1);
    EXPECT_TRUE(PathExists(dir / "a/b"));
}

TEST(CreatePathRecursive, ImpossiblePathStillGivesOne) {
    TNTestDir dir;
    const std::string file = dir.WriteFile("plain", "x");
    EXPECT_EQ(CreatePathRecursive(file + "/sub/"), 1);
    EXPECT_FALSE(PathExists(file + "/sub"));
}

TEST(CreatePathRecursive, RootOfNetworkPathIsNotMade) {
    const std::string server = "/tnvl-no-such-server-" + std::to_string(::getpid());
    EXPECT_EQ(CreatePathRecursive("/" + server + "/share/dir/"), 1);
    const bool made = PathExists(server);
    if (made) ::system(("rm -rf '" + server + "'").c_str());
    EXPECT_FALSE(made);
}

TEST(CreatePathRecursive, NetworkPathIsMadeBelowItsShare) {
    // "//" + an existing directory as server and share: the levels behind the
    // share are made, and only those.
    TNTestDir dir;
    MakeDir(dir / "share");
    const std::string share = "/" + dir.Path() + "/share";  // "//tmp/tnvl-test-x/share"
    ASSERT_EQ(share.rfind("//", 0), 0u);
    // The root is "//tmp/<test dir>", so "share" is the first level made.
    EXPECT_EQ(CreatePathRecursive(share + "/x/"), 1);
    EXPECT_TRUE(PathExists(dir / "share/x"));
}

// ---- deleting trees ----

TEST(DeleteDirectory, RemovesAWholeTree) {
    TNTestDir dir;
    CreatePathRecursive(dir / "t/a/b/");
    dir.WriteFile("t/a/b/f1", "1");
    dir.WriteFile("t/a/f2", "2");
    dir.WriteFile("t/f3", "3");
    ASSERT_EQ(::symlink((dir / "t/a").c_str(), (dir / "t/link").c_str()), 0);
    EXPECT_TRUE(DeleteDirectory(dir / "t"));
    EXPECT_FALSE(PathExists(dir / "t"));
}

TEST(DeleteDirectory, DoesNotFollowSymbolicLinks) {
    TNTestDir dir;
    MakeDir(dir / "outside");
    dir.WriteFile("outside/keep", "k");
    MakeDir(dir / "t");
    ASSERT_EQ(::symlink((dir / "outside").c_str(), (dir / "t/link").c_str()), 0);
    EXPECT_TRUE(DeleteDirectory(dir / "t"));
    EXPECT_TRUE(PathExists(dir / "outside/keep"));
}

TEST(DeleteDirectory, ReadOnlyFileStaysWithTheDirectoriesOnItsWay) {
    TNTestDir dir;
    CreatePathRecursive(dir / "t/a/b/");
    CreatePathRecursive(dir / "t/c/");
    const std::string ro = dir.WriteFile("t/a/b/ro.txt", "r");
    dir.WriteFile("t/a/b/other.txt", "o");
    dir.WriteFile("t/a/x.txt", "x");
    dir.WriteFile("t/c/y.txt", "y");
    dir.WriteFile("t/z.txt", "z");
    MakeReadOnly(ro);
    EXPECT_FALSE(DeleteDirectory(dir / "t"));
    EXPECT_TRUE(PathExists(ro));
    EXPECT_TRUE(PathExists(dir / "t/a/b"));
    EXPECT_FALSE(PathExists(dir / "t/a/b/other.txt"));
    EXPECT_FALSE(PathExists(dir / "t/a/x.txt"));
    EXPECT_FALSE(PathExists(dir / "t/c"));
    EXPECT_FALSE(PathExists(dir / "t/z.txt"));
}

TEST(DeleteDirectory, ReadOnlyDirectoryIsLeftAlone) {
    TNTestDir dir;
    CreatePathRecursive(dir / "t/ro/");
    dir.WriteFile("t/ro/inside", "i");
    dir.WriteFile("t/other", "o");
    MakeReadOnly(dir / "t/ro");
    EXPECT_FALSE(DeleteDirectory(dir / "t"));
    EXPECT_TRUE(PathExists(dir / "t/ro/inside"));
    EXPECT_FALSE(PathExists(dir / "t/other"));
}

TEST(DeleteDirectory, FileHeldOpenByAnotherProcessStays) {
    TNTestDir dir;
    CreatePathRecursive(dir / "t/a/");
    const std::string held = dir.WriteFile("t/a/held.Dat", "h");
    dir.WriteFile("t/free.Dat", "f");
    CHolder holder(held, kHoldExclusive);
    ASSERT_TRUE(holder.Opened());
    EXPECT_FALSE(DeleteDirectory(dir / "t"));
    EXPECT_TRUE(PathExists(held));
    EXPECT_FALSE(PathExists(dir / "t/free.Dat"));
    holder.Kill();
    EXPECT_TRUE(DeleteDirectory(dir / "t"));
    EXPECT_FALSE(PathExists(dir / "t"));
}

TEST(DeleteDirectoryContents, MissingDirectoryGivesTrue) {
    TNTestDir dir;
    EXPECT_TRUE(DeleteDirectoryContents(dir / "missing"));
}

TEST(DeleteDirectoryContents, KeepsTheDirectoryItself) {
    TNTestDir dir;
    CreatePathRecursive(dir / "t/sub/");
    dir.WriteFile("t/f", "f");
    EXPECT_TRUE(DeleteDirectoryContents(dir / "t"));
    EXPECT_TRUE(PathExists(dir / "t"));
    EXPECT_FALSE(PathExists(dir / "t/sub"));
    EXPECT_FALSE(PathExists(dir / "t/f"));
}

TEST(DeleteDirectory, MissingDirectoryGivesFalse) {
    TNTestDir dir;
    EXPECT_FALSE(DeleteDirectory(dir / "missing"));
}

TEST(DeleteSubdirectories, TopLevelFilesStay) {
    TNTestDir dir;
    CreatePathRecursive(dir / "t/s1/deep/");
    CreatePathRecursive(dir / "t/s2/");
    dir.WriteFile("t/s1/deep/f", "f");
    dir.WriteFile("t/top.TNArch", "p");
    EXPECT_TRUE(DeleteSubdirectories(dir / "t"));
    EXPECT_TRUE(PathExists(dir / "t/top.TNArch"));
    EXPECT_FALSE(PathExists(dir / "t/s1"));
    EXPECT_FALSE(PathExists(dir / "t/s2"));
}

TEST(DeleteSubdirectories, ReadOnlySubdirectoryStaysAndGivesFalse) {
    TNTestDir dir;
    CreatePathRecursive(dir / "t/ro/");
    CreatePathRecursive(dir / "t/rw/");
    MakeReadOnly(dir / "t/ro");
    EXPECT_FALSE(DeleteSubdirectories(dir / "t"));
    EXPECT_TRUE(PathExists(dir / "t/ro"));
    EXPECT_FALSE(PathExists(dir / "t/rw"));
}

// ---- listing ----

TEST(ListFiles, ListsMatchingFilesWithNamesAsOnDisk) {
    TNTestDir dir;
    dir.WriteFile("A.Sam", "");
    dir.WriteFile("b.SAM", "");
    dir.WriteFile("c.Dat", "");
    MakeDir(dir / "d.sam");
    std::vector<std::string> list{"kept"};
    EXPECT_EQ(ListFiles(dir.Path(), list, "*.sam", false), 0);
    EXPECT_EQ(Sorted(list), Sorted({"kept", dir / "A.Sam", dir / "b.SAM"}));
}

TEST(ListFiles, RecursiveDescendsOnlyIntoMatchingSubdirectories) {
    TNTestDir dir;
    CreatePathRecursive(dir / "in.sam/");
    CreatePathRecursive(dir / "other/");
    dir.WriteFile("top.sam", "");
    dir.WriteFile("in.sam/inner.Sam", "");
    dir.WriteFile("in.sam/inner.dat", "");
    dir.WriteFile("other/hidden.sam", "");
    std::vector<std::string> list;
    EXPECT_EQ(ListFiles(dir.Path(), list, "*.sam", true), 0);
    EXPECT_EQ(Sorted(list), Sorted({dir / "top.sam", dir / "in.sam/inner.Sam"}));
}

TEST(ListFiles, RecursiveWithStarDotStarSeesEverything) {
    TNTestDir dir;
    CreatePathRecursive(dir / "a/b/");
    dir.WriteFile("a/b/f", "");
    dir.WriteFile("g.x", "");
    std::vector<std::string> list;
    EXPECT_EQ(ListFiles(dir.Path(), list, "*.*", true), 0);
    EXPECT_EQ(Sorted(list), Sorted({dir / "a/b/f", dir / "g.x"}));
}

TEST(ListFiles, MissingDirectoryGivesMinusOne) {
    TNTestDir dir;
    std::vector<std::string> list;
    EXPECT_EQ(ListFiles(dir / "missing", list, "*.*", false), -1);
    EXPECT_TRUE(list.empty());
}

TEST(ListFiles, EmptyDirectoryGivesZero) {
    TNTestDir dir;
    std::vector<std::string> list;
    EXPECT_EQ(ListFiles(dir.Path(), list, "*.*", true), 0);
    EXPECT_TRUE(list.empty());
}

TEST(ListDirectories, ListsOnlyMatchingDirectoriesWithoutDescending) {
    TNTestDir dir;
    CreatePathRecursive(dir / "ABCDEF01-BCDE-cdef-DEF0-1A2B3C4D5E6F/12345678-1234-1234-1234-123456789012/");
    CreatePathRecursive(dir / "NotAGuid/");
    dir.WriteFile("00000000-0000-0000-0000-000000000000", "a file");
    std::vector<std::string> list;
    EXPECT_EQ(ListDirectories(dir.Path(), list, GuidMask()), 0);
    EXPECT_EQ(list, std::vector<std::string>{dir / "ABCDEF01-BCDE-cdef-DEF0-1A2B3C4D5E6F"});
    EXPECT_EQ(ListDirectories(dir / "missing", list, "*.*"), -1);
}

// ---- moving ----

TEST(MovePath, OntoExistingTargetGivesMinusOneAndMovesNothing) {
    TNTestDir dir;
    const std::string from = dir.WriteFile("from", "source");
    const std::string to = dir.WriteFile("to", "target");
    EXPECT_EQ(MovePath(from, to), -1);
    EXPECT_EQ(TNTestDir::ReadFile(from), "source");
    EXPECT_EQ(TNTestDir::ReadFile(to), "target");
}

TEST(MovePath, MissingSourceGivesMinusOne) {
    TNTestDir dir;
    EXPECT_EQ(MovePath(dir / "missing", dir / "to"), -1);
    EXPECT_FALSE(PathExists(dir / "to"));
}

TEST(MovePath, MakesTheTargetsDirectoriesAndMovesAFile) {
    TNTestDir dir;
    const std::string from = dir.WriteFile("from", "data");
    EXPECT_EQ(MovePath(from, dir / "new/deeper/to"), 0);
    EXPECT_FALSE(PathExists(from));
    EXPECT_EQ(TNTestDir::ReadFile(dir / "new/deeper/to"), "data");
}

TEST(MovePath, MovesADirectoryTree) {
    TNTestDir dir;
    CreatePathRecursive(dir / "src/sub/");
    dir.WriteFile("src/sub/f", "f");
    EXPECT_EQ(MovePath(dir / "src", dir / "moved/dst"), 0);
    EXPECT_FALSE(PathExists(dir / "src"));
    EXPECT_EQ(TNTestDir::ReadFile(dir / "moved/dst/sub/f"), "f");
}

TEST(MovePath, FileHeldOpenByAnotherProcessIsNotMoved) {
    TNTestDir dir;
    const std::string from = dir.WriteFile("held", "h");
    CHolder holder(from, kHoldReading);
    ASSERT_TRUE(holder.Opened());
    EXPECT_EQ(MovePath(from, dir / "to"), -1);
    EXPECT_TRUE(PathExists(from));
    EXPECT_FALSE(PathExists(dir / "to"));
}

// ---- deleting files ----

TEST(DeleteFilePath, MissingPathGivesZero) {
    TNTestDir dir;
    EXPECT_EQ(DeleteFilePath(dir / "missing"), 0);
    EXPECT_EQ(DeleteFilePath(dir / "missing/deeper"), 0);
}

TEST(DeleteFilePath, DeletesAFile) {
    TNTestDir dir;
    const std::string file = dir.WriteFile("f", "x");
    EXPECT_EQ(DeleteFilePath(file), 0);
    EXPECT_FALSE(PathExists(file));
}

TEST(DeleteFilePath, ReadOnlyFileOrDirectoryGivesMinusOne) {
    TNTestDir dir;
    const std::string file = dir.WriteFile("f", "x");
    MakeReadOnly(file);
    EXPECT_EQ(DeleteFilePath(file), -1);
    EXPECT_TRUE(PathExists(file));
    MakeDir(dir / "d");
    EXPECT_EQ(DeleteFilePath(dir / "d"), -1);
    EXPECT_TRUE(PathExists(dir / "d"));
}

TEST(DeleteFilePath, FileHeldOpenByLiveProcessStaysOneLeftByKilledProcessGoes) {
    TNTestDir dir;
    const std::string file = dir.WriteFile("x.Lock", "");
    CHolder holder(file, kHoldExclusive);
    ASSERT_TRUE(holder.Opened());
    EXPECT_EQ(DeleteFilePath(file), -1);
    EXPECT_TRUE(PathExists(file));
    holder.Kill();
    EXPECT_EQ(DeleteFilePath(file), 0);
    EXPECT_FALSE(PathExists(file));
}

TEST(DeleteFiles, KeepsGoingAfterOneFailure) {
    TNTestDir dir;
    const std::string ro = dir.WriteFile("a.tmp", "a");
    dir.WriteFile("B.TMP", "b");
    dir.WriteFile("c.Tmp", "c");
    dir.WriteFile("d.keep", "d");
    MakeDir(dir / "e.tmp");
    MakeReadOnly(ro);
    EXPECT_EQ(DeleteFiles(dir.Path(), "*.TMP"), -1);
    EXPECT_TRUE(PathExists(ro));
    EXPECT_FALSE(PathExists(dir / "B.TMP"));
    EXPECT_FALSE(PathExists(dir / "c.Tmp"));
    EXPECT_TRUE(PathExists(dir / "d.keep"));
    EXPECT_TRUE(PathExists(dir / "e.tmp"));
}

TEST(DeleteFiles, HeldFileFailsTheOthersGo) {
    TNTestDir dir;
    const std::string held = dir.WriteFile("1.Read", "");
    dir.WriteFile("2.Read", "");
    CHolder holder(held, kHoldReading);
    ASSERT_TRUE(holder.Opened());
    EXPECT_EQ(DeleteFiles(dir.Path(), "*.read"), -1);
    EXPECT_TRUE(PathExists(held));
    EXPECT_FALSE(PathExists(dir / "2.Read"));
}

TEST(DeleteFiles, AllDeletedGivesZero) {
    TNTestDir dir;
    dir.WriteFile("1.Read", "");
    dir.WriteFile("2.read", "");
    EXPECT_EQ(DeleteFiles(dir.Path(), "*.Read"), 0);
    EXPECT_FALSE(FileMaskExists(dir.Path(), "*.*"));
    EXPECT_EQ(DeleteFiles(dir / "missing", "*.Read"), 0);
}

// ---- read-only ----

TEST(SetFileReadOnly, ClearsEveryWriteBitAndGivesTheOwnersBack) {
    TNTestDir dir;
    const std::string file = dir.WriteFile("f", "x");
    ASSERT_EQ(::chmod(file.c_str(), 0666), 0);
    EXPECT_TRUE(SetFileReadOnly(true, file));
    EXPECT_EQ(ModeOf(file), 0444u);
    EXPECT_EQ(DeleteFilePath(file), -1);  // read-only also for root
    EXPECT_TRUE(SetFileReadOnly(false, file));
    EXPECT_EQ(ModeOf(file), 0644u);
    EXPECT_EQ(DeleteFilePath(file), 0);
}

TEST(SetFileReadOnly, MissingPathGivesTrue) {
    TNTestDir dir;
    EXPECT_TRUE(SetFileReadOnly(true, dir / "missing"));
    EXPECT_FALSE(PathExists(dir / "missing"));
}

TEST(SetFileReadOnly, WorksOnDirectories) {
    TNTestDir dir;
    MakeDir(dir / "d");
    EXPECT_TRUE(SetFileReadOnly(true, dir / "d"));
    EXPECT_EQ(ModeOf(dir / "d") & 0222u, 0u);
    EXPECT_FALSE(DeleteDirectory(dir / "d"));
    EXPECT_TRUE(SetFileReadOnly(false, dir / "d"));
    EXPECT_TRUE(DeleteDirectory(dir / "d"));
}
