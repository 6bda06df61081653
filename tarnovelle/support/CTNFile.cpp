#include "tarnovelle/support/CTNFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "tarnovelle/support/CTNFileFaults.h"
#include "tarnovelle/support/TNLastError.h"

namespace {

// Which lock a share mode asks for: F_RDLCK, F_WRLCK, or -1 for none.
int LockTypeFor(uint32_t flags) {
    switch (flags & 0x70u) {
        case CTNFile::shareDenyWrite: return F_RDLCK;
        case CTNFile::shareDenyNone: return -1;
        default: return F_WRLCK;  // exclusive, deny read, and the compatibility mode
    }
}

bool TryLock(int fd, int type) {
    struct flock fl {};
    fl.l_type = static_cast<short>(type);
    fl.l_whence = SEEK_SET;
    fl.l_start = 0;
    fl.l_len = 0;
    return fcntl(fd, F_OFD_SETLK, &fl) == 0;
}

// `opened`, if given, receives the status of the open file.
bool SameInode(int fd, const char* path, struct stat* opened = nullptr) {
    struct stat byFd {}, byPath {};
    if (fstat(fd, &byFd) != 0 || stat(path, &byPath) != 0) return false;
    if (opened) *opened = byFd;
    return byFd.st_dev == byPath.st_dev && byFd.st_ino == byPath.st_ino;
}

bool IsDirectory(int fd) {
    struct stat st {};
    return fstat(fd, &st) == 0 && S_ISDIR(st.st_mode);
}

// Descriptor 0 would read as "no file" to callers that treat 0 as a closed
// handle; move such a descriptor up and keep slot 0 occupied. Slot 0 must not
// keep the file itself: a duplicate shares the open file description, and so
// its lock, which would then outlive Close. /dev/null takes the slot instead.
int AvoidDescriptorZero(int fd) {
    if (fd != 0) return fd;
    const int moved = fcntl(fd, F_DUPFD_CLOEXEC, 3);
    if (moved < 0) return fd;
    const int null = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    if (null >= 0) {
        dup2(null, 0);  // also drops slot 0's reference to the file
        close(null);
    } else {
        close(0);
    }
    return moved;
}

int64_t ToNanoseconds(const struct statx_timestamp& t) {
    return static_cast<int64_t>(t.tv_sec) * 1000000000LL + t.tv_nsec;
}

bool FillStatus(int dirfd, const char* path, int atFlags, const char* fullName, STNFileStatus& status) {
    struct statx sx {};
    if (statx(dirfd, path, atFlags, STATX_BASIC_STATS | STATX_BTIME, &sx) != 0) return false;
    status.m_ctime = (sx.stx_mask & STATX_BTIME) ? ToNanoseconds(sx.stx_btime) : ToNanoseconds(sx.stx_ctime);
    status.m_mtime = ToNanoseconds(sx.stx_mtime);
    status.m_atime = ToNanoseconds(sx.stx_atime);
    status.m_size = sx.stx_size;
    status.m_attribute = STNFileStatus::normal;
    if ((sx.stx_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0) status.m_attribute |= STNFileStatus::readOnly;
    if (S_ISDIR(sx.stx_mode)) status.m_attribute |= STNFileStatus::directory;
    std::strncpy(status.m_szFullName, fullName, sizeof(status.m_szFullName) - 1);
    status.m_szFullName[sizeof(status.m_szFullName) - 1] = '\0';
    return true;
}

std::string FullPathOf(const char* path) {
    char resolved[PATH_MAX];
    if (realpath(path, resolved)) return resolved;
    if (path[0] == '/') return path;
    char cwd[PATH_MAX];
    if (!getcwd(cwd, sizeof(cwd))) return path;
    return std::string(cwd) + "/" + path;
}

// Records a failed open as the thread's last-error value, like every failed
// open of the platform. A share conflict is no error of the operating system
// (the lock is our own emulation): it records 0, "nothing more precise", so
// that a caller that waited in vain reads the code of a failed open, and never
// a value left over from an earlier, unrelated failure.
void Fail(CFileException* error, int cause, int err, const char* path) {
    TNSetLastError(cause == CFileException::sharingViolation ? 0u : static_cast<uint32_t>(err));
    if (error) {
        error->m_cause = cause;
        error->m_lOsError = err;
        error->m_strFileName = path ? path : "";
    }
}

// Opens `path` and takes an exclusive lock on it, as the delete and rename of
// a file need: nobody else may hold the file open through the file service.
// Returns the descriptor, or -1 with errno set.
int LockForRemoval(const char* path, bool allowReadOnlyFallback) {
    int fd = open(path, O_RDWR | O_CLOEXEC | O_NOFOLLOW);
    int lockType = F_WRLCK;
    if (fd < 0 && errno == EACCES && allowReadOnlyFallback) {
        // A file we may not write can still be renamed; a read lock at least
        // keeps out every writer.
        fd = open(path, O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
        lockType = F_RDLCK;
    }
    if (fd < 0) return -1;
    if (!TryLock(fd, lockType) || !SameInode(fd, path)) {
        close(fd);
        errno = EBUSY;
        return -1;
    }
    return fd;
}

}  // namespace

CTNFile::~CTNFile() { Abort(); }

bool CTNFile::Open(const char* path, uint32_t flags, CFileException* error) {
    if (IsOpen()) Abort();
    // The path is the one of this open also when it fails, so a later
    // failure of the object names the file that was asked for.
    m_strFileName = path ? path : "";
    if (!path || !*path) {
        Fail(error, CFileException::badPath, ENOENT, path);
        return false;
    }
    const uint32_t access = flags & 3u;
    if (access == 3u) {
        Fail(error, CFileException::genericException, EINVAL, path);
        return false;
    }
    if (const int injected = TNFileFault(CTNFileFaults::opOpen, path)) {
        Fail(error, CFileException::CauseFromErrno(injected), injected, path);
        return false;
    }
    const int lockType = LockTypeFor(flags);
    int oflags = O_CLOEXEC;
    // A lock needs a descriptor with the matching access: a read lock a
    // readable one, a write lock a writable one.
    if (access == modeRead) oflags |= (lockType == F_WRLCK) ? O_RDWR : O_RDONLY;
    else if (access == modeWrite) oflags |= (lockType == F_RDLCK) ? O_RDWR : O_WRONLY;
    else oflags |= O_RDWR;
    if (flags & modeCreate) oflags |= O_CREAT;

    int fd = ::open(path, oflags, 0666);
    if (fd < 0) {
        const int err = errno;
        Fail(error, CFileException::CauseFromErrno(err), err, path);
        return false;
    }
    fd = AvoidDescriptorZero(fd);
    // A directory is refused; it is told apart by the status the inode check
    // below asks for anyway, or, where the lock fails, by a status of its own.
    if (const int injected = TNFileFault(CTNFileFaults::opLock, path)) {
        close(fd);
        Fail(error, CFileException::CauseFromErrno(injected), injected, path);
        return false;
    }
    if (lockType >= 0 && !TryLock(fd, lockType)) {
        const int err = errno;
        const bool directory = IsDirectory(fd);
        close(fd);
        if (directory) Fail(error, CFileException::accessDenied, EISDIR, path);
        else Fail(error, CFileException::sharingViolation, err == EACCES ? EAGAIN : err, path);
        return false;
    }
    struct stat opened {};
    if (!SameInode(fd, path, &opened)) {
        close(fd);
        Fail(error, CFileException::sharingViolation, ESTALE, path);
        return false;
    }
    if (S_ISDIR(opened.st_mode)) {
        close(fd);
        Fail(error, CFileException::accessDenied, EISDIR, path);
        return false;
    }
    uint64_t length = static_cast<uint64_t>(opened.st_size);
    m_nModifiedAtOpen = static_cast<int64_t>(opened.st_mtim.tv_sec) * 1000000000LL + opened.st_mtim.tv_nsec;
    if ((flags & modeCreate) && !(flags & modeNoTruncate) && ftruncate(fd, 0) != 0) {
        const int err = errno;
        close(fd);
        Fail(error, CFileException::CauseFromErrno(err), err, path);
        return false;
    }
    if ((flags & modeCreate) && !(flags & modeNoTruncate)) length = 0;
    m_hFile = static_cast<uint32_t>(fd);
    m_nOpenFlags = flags;
    m_nLengthAtOpen = length;
    return true;
}

void CTNFile::Close() {
    if (!IsOpen()) return;
    const int fd = static_cast<int>(m_hFile);
    m_hFile = hFileNull;
    const int injected = TNFileFault(CTNFileFaults::opClose, m_strFileName.c_str());
    // Closing the descriptor also releases its lock.
    if (::close(fd) != 0) ThrowErrno(errno);
    if (injected) ThrowErrno(injected);
}

void CTNFile::Abort() {
    if (!IsOpen()) return;
    ::close(static_cast<int>(m_hFile));
    m_hFile = hFileNull;
}

void CTNFile::ThrowErrno(int err) const {
    TNSetLastError(static_cast<uint32_t>(err));
    throw CFileException(CFileException::CauseFromErrno(err), err, m_strFileName);
}

uint32_t CTNFile::Read(void* buffer, uint32_t count) {
    if (!IsOpen()) ThrowErrno(EBADF);
    if (const int injected = TNFileFault(CTNFileFaults::opRead, m_strFileName.c_str())) ThrowErrno(injected);
    auto* p = static_cast<char*>(buffer);
    uint32_t done = 0;
    while (done < count) {
        const ssize_t n = ::read(static_cast<int>(m_hFile), p + done, count - done);
        if (n < 0) {
            if (errno == EINTR) continue;
            ThrowErrno(errno);
        }
        if (n == 0) break;
        done += static_cast<uint32_t>(n);
    }
    return done;
}

uint32_t CTNFile::ReadAt(uint64_t offset, void* buffer, uint32_t count) {
    if (!IsOpen()) ThrowErrno(EBADF);
    if (const int injected = TNFileFault(CTNFileFaults::opRead, m_strFileName.c_str())) ThrowErrno(injected);
    auto* p = static_cast<char*>(buffer);
    uint32_t done = 0;
    while (done < count) {
        const ssize_t n = ::pread(static_cast<int>(m_hFile), p + done, count - done, static_cast<off_t>(offset + done));
        if (n < 0) {
            if (errno == EINTR) continue;
            ThrowErrno(errno);
        }
        if (n == 0) break;
        done += static_cast<uint32_t>(n);
    }
    return done;
}

void CTNFile::Write(const void* buffer, uint32_t count) {
    if (!IsOpen()) ThrowErrno(EBADF);
    if (const int injected = TNFileFault(CTNFileFaults::opWrite, m_strFileName.c_str())) ThrowErrno(injected);
    const auto* p = static_cast<const char*>(buffer);
    uint32_t done = 0;
    while (done < count) {
        const ssize_t n = ::write(static_cast<int>(m_hFile), p + done, count - done);
        if (n < 0) {
            if (errno == EINTR) continue;
            ThrowErrno(errno);
        }
        if (n == 0) ThrowErrno(ENOSPC);
        done += static_cast<uint32_t>(n);
    }
}

int64_t CTNFile::Seek(int64_t offset, int origin) {
    if (!IsOpen()) ThrowErrno(EBADF);
    const int whence = origin == begin ? SEEK_SET : origin == current ? SEEK_CUR : origin == end ? SEEK_END : -1;
    if (whence < 0) ThrowErrno(EINVAL);
    if (const int injected = TNFileFault(CTNFileFaults::opSeek, m_strFileName.c_str())) ThrowErrno(injected);
    const off_t pos = ::lseek(static_cast<int>(m_hFile), static_cast<off_t>(offset), whence);
    if (pos < 0) ThrowErrno(errno);
    return pos;
}

uint64_t CTNFile::SeekToEnd() { return static_cast<uint64_t>(Seek(0, end)); }

uint64_t CTNFile::GetPosition() const {
    if (!IsOpen()) ThrowErrno(EBADF);
    const off_t pos = ::lseek(static_cast<int>(m_hFile), 0, SEEK_CUR);
    if (pos < 0) ThrowErrno(errno);
    return static_cast<uint64_t>(pos);
}

uint64_t CTNFile::GetLength() const {
    struct stat st {};
    if (!IsOpen()) ThrowErrno(EBADF);
    if (const int injected = TNFileFault(CTNFileFaults::opLength, m_strFileName.c_str())) ThrowErrno(injected);
    if (fstat(static_cast<int>(m_hFile), &st) != 0) ThrowErrno(errno);
    return static_cast<uint64_t>(st.st_size);
}

void CTNFile::SetLength(uint64_t length) {
    if (!IsOpen()) ThrowErrno(EBADF);
    if (const int injected = TNFileFault(CTNFileFaults::opLength, m_strFileName.c_str())) ThrowErrno(injected);
    if (ftruncate(static_cast<int>(m_hFile), static_cast<off_t>(length)) != 0) ThrowErrno(errno);
}

void CTNFile::Flush() {
    if (!IsOpen()) return;
    if (const int injected = TNFileFault(CTNFileFaults::opFlush, m_strFileName.c_str())) ThrowErrno(injected);
    if (fdatasync(static_cast<int>(m_hFile)) != 0 && errno != EINVAL) ThrowErrno(errno);
}

bool CTNFile::GetStatus(STNFileStatus& status) const {
    if (!IsOpen()) return false;
    if (const int injected = TNFileFault(CTNFileFaults::opStatus, m_strFileName.c_str())) ThrowErrno(injected);
    const std::string full = FullPathOf(m_strFileName.c_str());
    return FillStatus(static_cast<int>(m_hFile), "", AT_EMPTY_PATH, full.c_str(), status);
}

bool CTNFile::GetStatus(const char* path, STNFileStatus& status) {
    if (!path || !*path) return false;
    if (const int injected = TNFileFault(CTNFileFaults::opStatus, path)) {
        TNSetLastError(static_cast<uint32_t>(injected));
        throw CFileException(CFileException::CauseFromErrno(injected), injected, path);
    }
    const std::string full = FullPathOf(path);
    if (FillStatus(AT_FDCWD, path, 0, full.c_str(), status)) return true;
    const int err = errno;
    if (err == ENOENT || err == ENOTDIR) return false;
    TNSetLastError(static_cast<uint32_t>(err));
    throw CFileException(CFileException::CauseFromErrno(err), err, path);
}

int CTNFile::TryRemove(const char* path) {
    struct stat st {};
    if (!path) return ENOENT;
    if (const int injected = TNFileFault(CTNFileFaults::opRemove, path)) return injected;
    if (lstat(path, &st) != 0) return errno;
    if (S_ISDIR(st.st_mode)) return EISDIR;
    // A read-only file is not deleted, as on the archive's original platform,
    // also when the process could (running as root).
    if ((st.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0) return EACCES;
    if (S_ISLNK(st.st_mode)) return ::unlink(path) == 0 ? 0 : errno;
    const int fd = LockForRemoval(path, false);
    if (fd < 0) return errno;
    const int result = ::unlink(path) == 0 ? 0 : errno;
    close(fd);
    return result;
}

int CTNFile::TryRename(const char* from, const char* to) {
    struct stat st {};
    if (!from || !to) return ENOENT;
    if (const int injected = TNFileFault(CTNFileFaults::opRename, from)) return injected;
    if (lstat(from, &st) != 0) return errno;
    int fd = -1;
    if (S_ISREG(st.st_mode)) {
        fd = LockForRemoval(from, true);
        if (fd < 0) return errno;
    }
    // The target must not exist yet: a move never replaces a file.
    int result = renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0 ? 0 : errno;
    if (result == EINVAL || result == ENOSYS) {
        struct stat target {};
        result = lstat(to, &target) == 0 ? EEXIST : (::rename(from, to) == 0 ? 0 : errno);
    }
    if (fd >= 0) close(fd);
    return result;
}

void CTNFile::Remove(const char* path) {
    const int err = TryRemove(path);
    if (err != 0) {
        TNSetLastError(static_cast<uint32_t>(err));
        throw CFileException(err == EBUSY ? CFileException::sharingViolation : CFileException::CauseFromErrno(err),
                             err, path ? path : "");
    }
}

void CTNFile::Rename(const char* from, const char* to) {
    const int err = TryRename(from, to);
    if (err != 0) {
        TNSetLastError(static_cast<uint32_t>(err));
        throw CFileException(err == EBUSY ? CFileException::sharingViolation : CFileException::CauseFromErrno(err),
                             err, from ? from : "");
    }
}
