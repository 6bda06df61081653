#include "tarnovelle/storage/CTarnovelleFile.h"

#include <cstdio>
#include <vector>

#include "tarnovelle/support/ReportException.h"
#include "tarnovelle/support/TNApplicationLog.h"
#include "tarnovelle/support/CTNClock.h"
#include "tarnovelle/support/CTarnovelleException.h"
#include "tarnovelle/support/TNLastError.h"

namespace {

// The platform's code for a failed open, left for callers when the file
// service recorded nothing of its own.
constexpr uint32_t kOpenFailedLastError = 110;
constexpr uint32_t kFirstRetrySleep = 500;
constexpr uint32_t kRetrySleepLimit = 740;

std::string Format(const char* pattern, const char* a, const char* b = nullptr) {
    const int n = b ? std::snprintf(nullptr, 0, pattern, a, b) : std::snprintf(nullptr, 0, pattern, a);
    std::vector<char> text(static_cast<size_t>(n > 0 ? n : 0) + 1);
    if (b) std::snprintf(text.data(), text.size(), pattern, a, b);
    else std::snprintf(text.data(), text.size(), pattern, a);
    return std::string(text.data(), static_cast<size_t>(n > 0 ? n : 0));
}

}  // namespace

void TarnovelleLogMessage(const std::string& category, const std::string& text) {
    TNApplicationLogError(category, text);
}

void TarnovelleThrowException(const std::string& file, const std::string& action) {
    const std::string text = Format("Exception: file = '%s'\naction = %s", file.c_str(), action.c_str());
    TarnovelleLogMessage("CTarnovelleException", text);
    throw CTarnovelleException(text);
}

CTarnovelleFile::~CTarnovelleFile() = default;  // the file service closes what is open

uint32_t CTarnovelleFile::GetHandle() const { return m_File.GetHandle(); }

std::string CTarnovelleFile::GetFilePath() const { return m_File.GetFilePath(); }

void CTarnovelleFile::ThrowException(const char* action) const { TarnovelleThrowException(GetFilePath(), action); }

void CTarnovelleFile::ThrowOpenFailure(const std::string& path) {
    if (TNGetLastError() == 0) TNSetLastError(kOpenFailedLastError);
    const int error = static_cast<int>(TNGetLastError());
    throw CFileException(CFileException::CauseFromErrno(error), error, path);
}

bool CTarnovelleFile::HasValidHandle() const {
    const uint32_t h = m_File.GetHandle();
    return h != 0 && h != hFileNull;
}

void CTarnovelleFile::CheckHandle(const char* badHandleText) const {
    if (!HasValidHandle()) ThrowException(badHandleText);
}

int CTarnovelleFile::Open(const char* path, uint32_t flags, CFileException* error) {
    CFileException local(CFileException::none, -1);
    CFileException* record = error ? error : &local;

    switch (flags & 3u) {
        case 0: flags |= shareDenyWrite; break;
        case 1:
        case 2: flags |= shareExclusive; break;
        default: break;
    }

    CTNClock* clock = TNGetClock();
    for (uint32_t wait = kFirstRetrySleep; wait < kRetrySleepLimit; ++wait) {
        try {
            if (m_File.Open(path, flags, record)) return 1;
            char message[501] = {};
            record->GetErrorMessage(message, sizeof(message));
            const char* pattern = (flags & 3u) == 0 ? "Read  = '%s'" : "Write = '%s'";
            TarnovelleLogMessage("Open failed", Format(pattern, message));
            clock->Sleep(wait);
        } catch (...) {
            ThrowException("Open failed");
        }
    }
    ReportException("Open TimeOut", record);
    TarnovelleLogMessage("Open failed", "TimeOut");
    if (TNGetLastError() == 0) TNSetLastError(kOpenFailedLastError);
    return 0;
}

void CTarnovelleFile::Close() {
    try {
        m_File.Close();
    } catch (...) {
        ThrowException("Close failed");
    }
}

uint32_t CTarnovelleFile::GetLength() {
    CheckHandle("invalid handle in GetLenght");
    try {
        return static_cast<uint32_t>(m_File.GetLength());
    } catch (...) {
        ThrowException("GetLenght failed");
    }
}

int CTarnovelleFile::GetStatus(STNFileStatus& status) {
    CheckHandle("invalid handle in GetStatus");
    try {
        return m_File.GetStatus(status) ? 1 : 0;
    } catch (...) {
        ThrowException("GetStatus failed");
    }
}

int CTarnovelleFile::GetStatus(const char* path, STNFileStatus& status) {
    try {
        return CTNFile::GetStatus(path, status) ? 1 : 0;
    } catch (...) {
        TarnovelleThrowException(path ? path : "", "GetStatus failed");
    }
}

void CTarnovelleFile::Remove(const char* path) { CTNFile::Remove(path); }

int32_t CTarnovelleFile::Seek(int32_t offset, uint32_t origin) {
    CheckHandle("invalid handle in Seek");
    try {
        return static_cast<int32_t>(m_File.Seek(offset, static_cast<int>(origin)));
    } catch (...) {
        ThrowException("Seek failed");
    }
}

uint32_t CTarnovelleFile::SeekToEnd() {
    CheckHandle("invalid handle in SeekToEnd");
    try {
        return static_cast<uint32_t>(m_File.SeekToEnd());
    } catch (...) {
        ThrowException("SeekToEnd failed");
    }
}

uint32_t CTarnovelleFile::GetPosition() {
    CheckHandle("invalid handle in GetPosition");
    try {
        return static_cast<uint32_t>(m_File.GetPosition());
    } catch (...) {
        ThrowException("GetPosition failed");
    }
}

uint32_t CTarnovelleFile::ReadHuge(void* buffer, uint32_t count) {
    CheckHandle("invalid handle in ReadHuge");
    try {
        return m_File.Read(buffer, count);
    } catch (...) {
        ThrowException("ReadHuge failed");
    }
}

void CTarnovelleFile::WriteHuge(const void* buffer, uint32_t count) {
    CheckHandle("invalid handle in WriteHuge");
    try {
        m_File.Write(buffer, count);
    } catch (...) {
        ThrowException("WriteHuge failed");
    }
}

uint32_t CTarnovelleFile::Read(void* buffer, uint32_t count) {
    CheckHandle("invalid handle in Read");
    try {
        return m_File.Read(buffer, count);
    } catch (...) {
        ThrowException("Read failed");
    }
}

uint32_t CTarnovelleFile::ReadAt(uint32_t position, void* buffer, uint32_t count) {
    CheckHandle("invalid handle in ReadHuge");
    try {
        return m_File.ReadAt(position, buffer, count);
    } catch (...) {
        ThrowException("ReadHuge failed");
    }
}

void CTarnovelleFile::Write(const void* buffer, uint32_t count) {
    CheckHandle("invalid handle in Write");
    try {
        m_File.Write(buffer, count);
    } catch (...) {
        ThrowException("Write failed");
    }
}
