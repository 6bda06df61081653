#include "tarnovelle/support/CTNFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "tests/support/TNChildProcess.h"
#include "tests/support/TNTestDir.h"

namespace {

constexpr uint32_t kReadDenyWrite = CTNFile::modeRead | CTNFile::shareDenyWrite;
constexpr uint32_t kWriteExclusive = CTNFile::modeWrite | CTNFile::shareExclusive;
constexpr uint32_t kReadWriteExclusive = CTNFile::modeReadWrite | CTNFile::shareExclusive;

bool CanOpen(const std::string& path, uint32_t flags) {
    CTNFile f;
    return f.Open(path.c_str(), flags);
}

}  // namespace

TEST(CTNFile, WriteThenReadBack) {
    TNTestDir dir;
    const std::string path = dir / "a.bin";
    CTNFile f;
    ASSERT_TRUE(f.Open(path.c_str(), CTNFile::modeCreate | kReadWriteExclusive));
    f.Write("hello world", 11);
    EXPECT_EQ(f.GetLength(), 11u);
    EXPECT_EQ(f.Seek(6, CTNFile::begin), 6);
    char buf[16] = {};
    EXPECT_EQ(f.Read(buf, sizeof(buf)), 5u);
    EXPECT_STREQ(buf, "world");
    EXPECT_EQ(f.GetPosition(), 11u);
    f.Close();
    EXPECT_FALSE(f.IsOpen());
    EXPECT_EQ(TNTestDir::ReadFile(path), "hello world");
}

TEST(CTNFile, ReadPastTheEndReturnsZero) {
    TNTestDir dir;
    const std::string path = dir.WriteFile("a.bin", "abc");
    CTNFile f;
    ASSERT_TRUE(f.Open(path.c_str(), kReadDenyWrite));
    f.SeekToEnd();
    char c;
    EXPECT_EQ(f.Read(&c, 1), 0u);
}

TEST(CTNFile, MissingFileFailsWithCauseAndErrno) {
    TNTestDir dir;
    CFileException e;
    CTNFile f;
    EXPECT_FALSE(f.Open((dir / "none").c_str(), kReadDenyWrite, &e));
    EXPECT_EQ(e.m_cause, CFileException::fileNotFound);
    EXPECT_EQ(e.m_lOsError, ENOENT);
    EXPECT_EQ(e.m_strFileName, dir / "none");
    char msg[501];
    EXPECT_TRUE(e.GetErrorMessage(msg, sizeof(msg)));
    EXPECT_NE(std::string(msg).find(dir / "none"), std::string::npos);
}

TEST(CTNFile, DirectoryCannotBeOpenedAsAFile) {
    TNTestDir dir;
    CTNFile f;
    EXPECT_FALSE(f.Open(dir.Path().c_str(), kReadDenyWrite));
}

TEST(CTNFile, CreateWithoutNoTruncateEmptiesTheFileButNoTruncateKeepsIt) {
    TNTestDir dir;
    const std::string path = dir.WriteFile("a.bin", "content");
    {
        CTNFile f;
        ASSERT_TRUE(f.Open(path.c_str(), CTNFile::modeCreate | CTNFile::modeNoTruncate | kWriteExclusive));
        EXPECT_EQ(f.GetLength(), 7u);
    }
    {
        CTNFile f;
        ASSERT_TRUE(f.Open(path.c_str(), CTNFile::modeCreate | kWriteExclusive));
        EXPECT_EQ(f.GetLength(), 0u);
    }
}

TEST(CTNFile, TwoObjectsOfOneProcessKeepEachOtherOutAsTheShareModesSay) {
    TNTestDir dir;
    const std::string path = dir.WriteFile("a.bin", "x");
    {
        CTNFile writer;
        ASSERT_TRUE(writer.Open(path.c_str(), kWriteExclusive));
        EXPECT_FALSE(CanOpen(path, kWriteExclusive));
        EXPECT_FALSE(CanOpen(path, kReadDenyWrite));
        EXPECT_FALSE(CanOpen(path, kReadWriteExclusive));
    }
    {
        CTNFile reader;
        ASSERT_TRUE(reader.Open(path.c_str(), kReadDenyWrite));
        EXPECT_TRUE(CanOpen(path, kReadDenyWrite));  // readers share
        EXPECT_FALSE(CanOpen(path, kWriteExclusive));
        CFileException e;
        CTNFile f;
        EXPECT_FALSE(f.Open(path.c_str(), kReadWriteExclusive, &e));
        EXPECT_EQ(e.m_cause, CFileException::sharingViolation);
    }
    EXPECT_TRUE(CanOpen(path, kWriteExclusive));  // closing released the locks
}

TEST(CTNFile, DenyNoneTakesNoLock) {
    TNTestDir dir;
    const std::string path = dir.WriteFile("a.bin", "x");
    CTNFile loose;
    ASSERT_TRUE(loose.Open(path.c_str(), CTNFile::modeRead | CTNFile::shareDenyNone));
    EXPECT_TRUE(CanOpen(path, kWriteExclusive));
}

TEST(CTNFile, TruncatingCreateNeverTruncatesAFileSomeoneHolds) {
    TNTestDir dir;
    const std::string path = dir.WriteFile("a.bin", "precious");
    CTNFile reader;
    ASSERT_TRUE(reader.Open(path.c_str(), kReadDenyWrite));
    EXPECT_FALSE(CanOpen(path, CTNFile::modeCreate | kWriteExclusive));
    EXPECT_EQ(TNTestDir::ReadFile(path), "precious");
}

TEST(CTNFile, TwoProcessesKeepEachOtherOutAsTheShareModesSay) {
    TNTestDir dir;
    const std::string path = dir.WriteFile("a.bin", "x");
    TNChildProcess child([&](TNChildProcess& self) {
        CTNFile f;
        if (!f.Open(path.c_str(), kReadDenyWrite)) return 1;
        self.SignalParent();
        self.WaitForParent();
        return 0;
    });
    ASSERT_TRUE(child.WaitForChild());
    EXPECT_TRUE(CanOpen(path, kReadDenyWrite));
    EXPECT_FALSE(CanOpen(path, kWriteExclusive));
    child.SignalChild();
    EXPECT_EQ(child.Join(), 0);
    EXPECT_TRUE(CanOpen(path, kWriteExclusive));

    CTNFile writer;
    ASSERT_TRUE(writer.Open(path.c_str(), kWriteExclusive));
    TNChildProcess probe([&](TNChildProcess&) {
        return (CanOpen(path, kReadDenyWrite) ? 1 : 0) + (CanOpen(path, kWriteExclusive) ? 2 : 0);
    });
    EXPECT_EQ(probe.Join(), 0);
}

TEST(CTNFile, AFileHeldByALiveProcessCannotBeDeletedButOneLeftByAKilledProcessCan) {
    TNTestDir dir;
    const std::string path = dir.WriteFile("held.Lock", "");
    TNChildProcess holder([&](TNChildProcess& self) {
        CTNFile f;
        if (!f.Open(path.c_str(), kWriteExclusive)) return 1;
        self.SignalParent();
        self.WaitForParent();
        return 0;
    });
    ASSERT_TRUE(holder.WaitForChild());
    EXPECT_EQ(CTNFile::TryRemove(path.c_str()), EBUSY);
    EXPECT_TRUE(TNTestDir::Exists(path));
    holder.Kill();
    EXPECT_EQ(CTNFile::TryRemove(path.c_str()), 0);
    EXPECT_FALSE(TNTestDir::Exists(path));
}

TEST(CTNFile, AFileThisProcessHoldsCannotBeDeletedOrRenamed) {
    TNTestDir dir;
    const std::string path = dir.WriteFile("a.bin", "x");
    CTNFile reader;
    ASSERT_TRUE(reader.Open(path.c_str(), kReadDenyWrite));
    EXPECT_EQ(CTNFile::TryRemove(path.c_str()), EBUSY);
    EXPECT_EQ(CTNFile::TryRename(path.c_str(), (dir / "b.bin").c_str()), EBUSY);
    EXPECT_THROW(CTNFile::Remove(path.c_str()), CFileException);
    reader.Close();
    EXPECT_NO_THROW(CTNFile::Remove(path.c_str()));
}

TEST(CTNFile, AReadOnlyFileIsNotDeletedEvenByRoot) {
    TNTestDir dir;
    const std::string path = dir.WriteFile("ro.bin", "x");
    ASSERT_EQ(chmod(path.c_str(), 0444), 0);
    EXPECT_EQ(CTNFile::TryRemove(path.c_str()), EACCES);
    EXPECT_TRUE(TNTestDir::Exists(path));
}

TEST(CTNFile, RenameNeverReplacesAnExistingFile) {
    TNTestDir dir;
    const std::string a = dir.WriteFile("a.bin", "a");
    const std::string b = dir.WriteFile("b.bin", "b");
    EXPECT_EQ(CTNFile::TryRename(a.c_str(), b.c_str()), EEXIST);
    EXPECT_EQ(TNTestDir::ReadFile(b), "b");
    EXPECT_EQ(CTNFile::TryRename(a.c_str(), (dir / "c.bin").c_str()), 0);
    EXPECT_EQ(TNTestDir::ReadFile(dir / "c.bin"), "a");
}

TEST(CTNFile, StatusOfAPathTellsSizeAttributesAndFullName) {
    TNTestDir dir;
    const std::string path = dir.WriteFile("s.bin", "12345");
    STNFileStatus st;
    ASSERT_TRUE(CTNFile::GetStatus(path.c_str(), st));
    EXPECT_TRUE(st.IsKnown());
    EXPECT_EQ(st.m_size, 5u);
    EXPECT_EQ(st.m_attribute & STNFileStatus::readOnly, 0u);
    EXPECT_EQ(std::string(st.m_szFullName), path);
    EXPECT_GT(st.m_mtime, 0);
    chmod(path.c_str(), 0444);
    ASSERT_TRUE(CTNFile::GetStatus(path.c_str(), st));
    EXPECT_NE(st.m_attribute & STNFileStatus::readOnly, 0u);
    ASSERT_TRUE(CTNFile::GetStatus(dir.Path().c_str(), st));
    EXPECT_NE(st.m_attribute & STNFileStatus::directory, 0u);
}

TEST(CTNFile, StatusOfAMissingPathIsFalseAndOfAnImpossibleOneThrows) {
    TNTestDir dir;
    STNFileStatus st;
    EXPECT_FALSE(CTNFile::GetStatus((dir / "missing").c_str(), st));
    EXPECT_FALSE(st.IsKnown());
    const std::string tooLong = dir / std::string(300, 'n');
    EXPECT_THROW(CTNFile::GetStatus(tooLong.c_str(), st), CFileException);
}

TEST(CTNFile, OperationsOnAClosedFileThrow) {
    CTNFile f;
    char c;
    EXPECT_THROW(f.Read(&c, 1), CFileException);
    EXPECT_THROW(f.Write(&c, 1), CFileException);
    EXPECT_THROW(f.Seek(0, CTNFile::begin), CFileException);
    EXPECT_NO_THROW(f.Close());
    EXPECT_EQ(f.GetHandle(), CTNFile::hFileNull);
}

// A process whose standard input is closed gets descriptor 0 from its first
// open. Closing that file must still release its lock, so others may open and
// delete it afterwards.
TEST(CTNFile, ClosingAFileOpenedOnDescriptorZeroReleasesItsLock) {
    TNTestDir dir;
    const std::string path = dir.WriteFile("first.Lock", "x");
    TNChildProcess child([&](TNChildProcess&) {
        close(0);
        {
            CTNFile first;
            if (!first.Open(path.c_str(), kWriteExclusive)) return 1;
            if (first.GetHandle() == 0) return 2;
            first.Close();
        }
        if (!CanOpen(path, kWriteExclusive)) return 3;
        if (CTNFile::TryRemove(path.c_str()) != 0) return 4;
        return 0;
    });
    EXPECT_EQ(child.Join(), 0);
    EXPECT_FALSE(TNTestDir::Exists(path));
}
