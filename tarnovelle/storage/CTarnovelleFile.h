// Checked file access: every file of a channel, a measuring point and the
// project goes through this class. It adds three things to the file service:
//   - Open tries 240 times, whatever made it fail: a lock held by another
//     process or by another object of this one, but just as well a missing
//     file or folder or denied access. It sleeps 500, 501, ... 739 ms through
//     the clock service after each failure, logs an "Open failed" entry for
//     each, and after about two and a half minutes gives up with a zero
//     result, never throwing;
//   - every other operation checks the handle first;
//   - every failure of an open file, and of the static GetStatus, comes out
//     as one exception type, CTarnovelleException, whose text names the file
//     and the failing action, and which is logged under "CTarnovelleException"
//     when it is raised. Remove and ThrowOpenFailure throw the file service's
//     CFileException instead.
// Positions, lengths and counts are 32 bits wide.
#pragma once

#include <cstdint>
#include <string>

#include "tarnovelle/support/CFileException.h"
#include "tarnovelle/support/CTNFile.h"
#include "tarnovelle/support/STNFileStatus.h"
#include "tarnovelle/support/TNExport.h"

class TNVL_EXPORT CTarnovelleFile {
public:
    // Open flags as callers pass them; Open adds the share bits.
    enum EOpenFlags : uint32_t {
        modeRead = 0x0000,
        modeWrite = 0x0001,
        modeReadWrite = 0x0002,
        shareExclusive = 0x0010,
        shareDenyWrite = 0x0020,
        modeCreate = 0x1000,
        modeNoTruncate = 0x2000,
    };
    static constexpr uint32_t hFileNull = CTNFile::hFileNull;

    CTarnovelleFile() = default;
    virtual ~CTarnovelleFile();  // closes a file still open, without checks or log

    virtual uint32_t GetHandle() const;  // unchecked; 0 and all ones mean closed
    virtual uint32_t GetLength();
    // The size when Open took its lock, asked of nobody: while this object
    // holds the file no writer of the library changes it. 64 bits, so that a
    // claim of a block can be compared with it without wrapping.
    uint64_t GetLengthAtOpen() const { return m_File.GetLengthAtOpen(); }
    int64_t GetModifiedAtOpen() const { return m_File.GetModifiedAtOpen(); }
    virtual int GetStatus(STNFileStatus& status);
    // Nonzero when open; zero after the time-out, with the thread's last-error
    // value set (110 where nothing else was recorded).
    virtual int Open(const char* path, uint32_t flags, CFileException* error = nullptr);
    virtual void Close();
    virtual int32_t Seek(int32_t offset, uint32_t origin);
    virtual uint32_t SeekToEnd();
    virtual uint32_t GetPosition();
    virtual uint32_t ReadHuge(void* buffer, uint32_t count);
    virtual void WriteHuge(const void* buffer, uint32_t count);
    virtual uint32_t Read(void* buffer, uint32_t count);
    // Reads `count` bytes at `position` in one call, leaving the position alone.
    virtual uint32_t ReadAt(uint32_t position, void* buffer, uint32_t count);
    virtual void Write(const void* buffer, uint32_t count);
    virtual std::string GetFilePath() const;

    // Needs no open file: nonzero if the path exists, zero if not; a failure
    // of the file service throws.
    static int GetStatus(const char* path, STNFileStatus& status);
    // The file service's plain (lock-aware) delete; failure throws CFileException.
    static void Remove(const char* path);

    [[noreturn]] void ThrowException(const char* action) const;

    // What a caller throws when Open gave up: the file service's exception
    // for the thread's last-error value, which becomes 110 (a failed open)
    // where nothing was recorded.
    [[noreturn]] static void ThrowOpenFailure(const std::string& path);

    CTarnovelleFile(const CTarnovelleFile&) = delete;
    CTarnovelleFile& operator=(const CTarnovelleFile&) = delete;

private:
    bool HasValidHandle() const;
    void CheckHandle(const char* badHandleText) const;

    CTNFile m_File;
};

// Logs "Exception: file = '<file>'\naction = <action>" and throws a
// CTarnovelleException with that text.
[[noreturn]] TNVL_EXPORT void TarnovelleThrowException(const std::string& file, const std::string& action);
// One error-log entry, if the application object exists.
TNVL_EXPORT void TarnovelleLogMessage(const std::string& category, const std::string& text);
