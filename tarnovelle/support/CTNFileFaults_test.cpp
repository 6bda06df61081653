// The fault seam of the file service: every operation can be made to fail
// with a chosen error, and a test can act between an open and its lock.
#include "tarnovelle/support/CTNFileFaults.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "tarnovelle/support/CTNFile.h"
#include "tarnovelle/support/TNLastError.h"
#include "tests/support/TNTestDir.h"

namespace {

// Fails one operation with one error, as often as asked, and counts calls.
class FailOne : public CTNFileFaults {
public:
    FailOne(EOperation operation, int error, int times = 1 << 30)
        : m_operation(operation), m_error(error), m_times(times) {}
    int Before(EOperation operation, const std::string& path) override {
        m_seen.push_back(operation);
        m_paths.push_back(path);
        if (operation != m_operation || m_times == 0) return 0;
        --m_times;
        return m_error;
    }
    std::vector<EOperation> m_seen;
    std::vector<std::string> m_paths;

private:
    EOperation m_operation;
    int m_error;
    int m_times;
};

// Runs an action between the open of a file and its lock, once.
class BetweenOpenAndLock : public CTNFileFaults {
public:
    explicit BetweenOpenAndLock(std::function<void()> action) : m_action(std::move(action)) {}
    int Before(EOperation operation, const std::string&) override {
        if (operation == opLock && m_action) {
            auto action = std::move(m_action);
            m_action = nullptr;
            action();
        }
        return 0;
    }

private:
    std::function<void()> m_action;
};

constexpr uint32_t kRead = CTNFile::modeRead | CTNFile::shareDenyWrite;
constexpr uint32_t kReadWrite = CTNFile::modeReadWrite | CTNFile::shareExclusive;

}  // namespace

TEST(CTNFileFaults, AnInjectedOpenFailureIsReportedLikeOneOfTheSystem) {
    TNTestDir dir;
    const std::string path = dir.WriteFile("a", "abc");
    FailOne faults(CTNFileFaults::opOpen, EIO, 1);
    CTNScopedFileFaults scope(&faults);
    CTNFile file;
    CFileException error(CFileException::none, -1);
    EXPECT_FALSE(file.Open(path.c_str(), kRead, &error));
    EXPECT_EQ(error.m_lOsError, EIO);
    EXPECT_EQ(error.m_strFileName, path);
    EXPECT_EQ(TNGetLastError(), static_cast<uint32_t>(EIO));
    // Only the first open was told to fail.
    EXPECT_TRUE(file.Open(path.c_str(), kRead));
    ASSERT_FALSE(faults.m_paths.empty());
    EXPECT_EQ(faults.m_paths.front(), path);
}

TEST(CTNFileFaults, EveryOperationOfAnOpenFileCanBeMadeToFail) {
    TNTestDir dir;
    const std::string path = dir.WriteFile("a", "abcdef");
    const std::vector<std::pair<CTNFileFaults::EOperation, std::function<void(CTNFile&)>>> cases = {
        {CTNFileFaults::opRead, [](CTNFile& f) { char b[4]; f.Read(b, 4); }},
        {CTNFileFaults::opWrite, [](CTNFile& f) { f.Write("x", 1); }},
        {CTNFileFaults::opSeek, [](CTNFile& f) { f.Seek(0, CTNFile::end); }},
        {CTNFileFaults::opLength, [](CTNFile& f) { f.GetLength(); }},
        {CTNFileFaults::opLength, [](CTNFile& f) { f.SetLength(2); }},
        {CTNFileFaults::opFlush, [](CTNFile& f) { f.Flush(); }},
        {CTNFileFaults::opStatus, [](CTNFile& f) { STNFileStatus s; f.GetStatus(s); }},
        {CTNFileFaults::opClose, [](CTNFile& f) { f.Close(); }},
    };
    for (const auto& [operation, action] : cases) {
        CTNFile file;
        ASSERT_TRUE(file.Open(path.c_str(), kReadWrite));
        FailOne faults(operation, ENOSPC);
        CTNScopedFileFaults scope(&faults);
        try {
            action(file);
            ADD_FAILURE() << "operation " << operation << " did not fail";
        } catch (const CFileException& e) {
            EXPECT_EQ(e.m_lOsError, ENOSPC) << operation;
        }
    }
    // Nothing was changed by the refused operations.
    EXPECT_EQ(TNTestDir::ReadFile(path), "abcdef");
}

TEST(CTNFileFaults, AnInjectedCloseFailureStillReleasesTheFile) {
    TNTestDir dir;
    const std::string path = dir.WriteFile("a", "abc");
    CTNFile file;
    ASSERT_TRUE(file.Open(path.c_str(), kReadWrite));
    {
        FailOne faults(CTNFileFaults::opClose, EIO);
        CTNScopedFileFaults scope(&faults);
        EXPECT_THROW(file.Close(), CFileException);
    }
    EXPECT_FALSE(file.IsOpen());
    CTNFile other;
    EXPECT_TRUE(other.Open(path.c_str(), kReadWrite));
}

TEST(CTNFileFaults, RemoveRenameAndStatusOfAPathCanBeMadeToFail) {
    TNTestDir dir;
    const std::string path = dir.WriteFile("a", "abc");
    {
        FailOne faults(CTNFileFaults::opRemove, EROFS);
        CTNScopedFileFaults scope(&faults);
        EXPECT_EQ(CTNFile::TryRemove(path.c_str()), EROFS);
    }
    {
        FailOne faults(CTNFileFaults::opRename, EXDEV);
        CTNScopedFileFaults scope(&faults);
        EXPECT_EQ(CTNFile::TryRename(path.c_str(), (dir / "b").c_str()), EXDEV);
    }
    {
        FailOne faults(CTNFileFaults::opStatus, EACCES);
        CTNScopedFileFaults scope(&faults);
        STNFileStatus status;
        EXPECT_THROW(CTNFile::GetStatus(path.c_str(), status), CFileException);
    }
    EXPECT_TRUE(TNTestDir::Exists(path));
    EXPECT_EQ(CTNFile::TryRemove(path.c_str()), 0);
}

TEST(CTNFileFaults, ScopedFaultsRestoreTheOnesBefore) {
    FailOne outer(CTNFileFaults::opOpen, EIO);
    CTNScopedFileFaults outerScope(&outer);
    {
        FailOne inner(CTNFileFaults::opOpen, ENOENT);
        CTNScopedFileFaults innerScope(&inner);
    }
    EXPECT_EQ(TNSetFileFaults(&outer), &outer);
}

// The open's last step: after the lock is held the path must still name the
// locked file. A file replaced between open and lock is not taken for it.
TEST(CTNFileFaults, AFileReplacedBetweenOpenAndLockIsNotTakenForTheOneAtThePath) {
    TNTestDir dir;
    const std::string path = dir.WriteFile("x.Lock", "old");
    const std::string replacement = dir.WriteFile("new", "new");
    BetweenOpenAndLock faults([&] { ASSERT_EQ(std::rename(replacement.c_str(), path.c_str()), 0); });
    CTNScopedFileFaults scope(&faults);
    CTNFile file;
    CFileException error(CFileException::none, -1);
    EXPECT_FALSE(file.Open(path.c_str(), kRead, &error));
    EXPECT_EQ(error.m_cause, CFileException::sharingViolation);
    // The next open finds the file that is there now.
    ASSERT_TRUE(file.Open(path.c_str(), kRead));
    char bytes[3];
    ASSERT_EQ(file.Read(bytes, 3), 3u);
    EXPECT_EQ(std::string(bytes, 3), "new");
}
