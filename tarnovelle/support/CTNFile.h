// The file service: one open file over a POSIX descriptor, with the share
// modes of the archive's original platform built from open-file-description
// locks (fcntl F_OFD_SETLK, whole file, never blocking). Such locks conflict
// between two open files of one process exactly as between two processes:
//   - share "deny write" takes a shared read lock,
//   - share "exclusive", "deny read" and no share bits (the compatibility
//     mode) take an exclusive write lock,
//   - "deny none" takes no lock.
// A lock needs a descriptor of the matching access, so read access with an
// exclusive lock, or write access with a shared one, opens the file for
// reading and writing and fails on a file without write permission. Open on
// an object that holds a file closes that file first, without a word.
// A lock conflict is a failed open (cause sharingViolation). After the lock is
// held, the path must still name the same inode, otherwise the open fails too,
// so that a lock file deleted and re-created in the meantime is not mistaken
// for the one that was locked. "Create" without "no truncate" truncates only
// after the lock is held.
//
// Open reports failure by its result and the error record; every other
// operation throws CFileException. Remove and Rename emulate the rule that a
// file someone holds open cannot be deleted or renamed: they first take an
// exclusive lock on the file and fail if they cannot. Two exceptions: a file
// this process may not write is renamed under a shared lock (so a file others
// only read can still be moved), and a symbolic link is deleted without one.
// Remove refuses directories and read-only files; Rename never replaces an
// existing target.
#pragma once

#include <cstdint>
#include <string>

#include "tarnovelle/support/CFileException.h"
#include "tarnovelle/support/STNFileStatus.h"
#include "tarnovelle/support/TNExport.h"

class TNVL_EXPORT CTNFile {
public:
    enum EOpenFlags : uint32_t {
        modeRead = 0x0000,
        modeWrite = 0x0001,
        modeReadWrite = 0x0002,
        shareCompat = 0x0000,
        shareExclusive = 0x0010,
        shareDenyWrite = 0x0020,
        shareDenyRead = 0x0030,
        shareDenyNone = 0x0040,
        modeNoInherit = 0x0080,
        modeCreate = 0x1000,
        modeNoTruncate = 0x2000,
    };
    enum ESeekPosition { begin = 0, current = 1, end = 2 };

    // The handle of a closed file: all ones.
    static constexpr uint32_t hFileNull = 0xFFFFFFFFu;

    CTNFile() = default;
    ~CTNFile();  // closes a file that is still open, ignoring errors
    CTNFile(const CTNFile&) = delete;
    CTNFile& operator=(const CTNFile&) = delete;

    // Opens `path`; on failure returns false and fills `error` (if given) with
    // cause, errno and path. Never throws.
    bool Open(const char* path, uint32_t flags, CFileException* error = nullptr);
    void Close();  // throws CFileException when the close fails; closing a closed file does nothing
    void Abort();  // closes, ignoring every error

    uint32_t Read(void* buffer, uint32_t count);  // bytes read; short only at the end
    // Reads at `offset` without moving the file position: one call where a
    // seek and a read would be two. Bytes read; short only at the end.
    uint32_t ReadAt(uint64_t offset, void* buffer, uint32_t count);
    void Write(const void* buffer, uint32_t count);
    int64_t Seek(int64_t offset, int origin);      // the new position
    uint64_t SeekToEnd();
    uint64_t GetPosition() const;
    uint64_t GetLength() const;
    void SetLength(uint64_t length);
    void Flush();
    bool GetStatus(STNFileStatus& status) const;
    static bool GetStatus(const char* path, STNFileStatus& status);  // false if the path does not exist

    // The file's size when the open took its lock; no call to the system.
    // Under a share lock that keeps writers out it is the size still.
    uint64_t GetLengthAtOpen() const { return m_nLengthAtOpen; }
    // Its last modification when the open took its lock, in nanoseconds since
    // 1970, as STNFileStatus::m_mtime gives it.
    int64_t GetModifiedAtOpen() const { return m_nModifiedAtOpen; }

    uint32_t GetHandle() const { return m_hFile; }
    bool IsOpen() const { return m_hFile != hFileNull; }
    const std::string& GetFilePath() const { return m_strFileName; }  // of the last Open, also a failed one

    // Lock-aware delete and rename; throw CFileException on failure.
    static void Remove(const char* path);
    static void Rename(const char* from, const char* to);
    // The same without exceptions: 0 on success, else the errno value
    // (EBUSY: someone holds the file open; EACCES: the file is read-only).
    static int TryRemove(const char* path);
    static int TryRename(const char* from, const char* to);

private:
    [[noreturn]] void ThrowErrno(int err) const;

    uint32_t m_hFile = hFileNull;
    uint32_t m_nOpenFlags = 0;
    uint64_t m_nLengthAtOpen = 0;
    int64_t m_nModifiedAtOpen = 0;
    std::string m_strFileName;
};
