// The single application object of the library, one per process. It is built
// when the library is loaded and starts at once (InitInstance): it selects the
// language, reads its settings from the ini file and primes the error log's
// switch. From then on it is the application object whose LogError receives
// what ReportException and TarnovelleLogMessage hand on.
//
// Settings live in the ini file, by default
// ${XDG_CONFIG_HOME:-$HOME/.config}/tarnovelle/tarnovelle.ini:
//   [ArchiveConfiguration] MininumArchiveSize          (MB, default 10)
//   [ArchiveConfiguration] MininumArchiveSizePerDevice (MB, default 5)
//   [ErrorLog]             CTarnovelleException        (1 on, 0 off)
// The misspelt "Mininum" belongs to the file format. A value below zero counts
// as absent and is replaced by its default, in memory and in the file, at the
// next start.
//
// The error log is a second profile file beside the ini file, with the
// extension ".Log": one entry per call, section "<8 hex digits of the process
// id>_<category>", key the local time "%m/%d/%Y_%H:%M:%S", value the text. Two
// entries of one process and category in the same second share a key, and the
// later one replaces the earlier. Each category is switched in the ini file's
// [ErrorLog] section; a category seen for the first time is entered there as
// 0, so it starts switched off.
//
// SetTarnovelleProfilePath points the module at another ini file and runs the
// start-up again on it; it is meant for start-up, before other threads use
// the library.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>

#include "tarnovelle/support/TNExport.h"

class TNVL_EXPORT CTarnovelleModule {
public:
    CTarnovelleModule(const CTarnovelleModule&) = delete;
    CTarnovelleModule& operator=(const CTarnovelleModule&) = delete;

    // The module object of this process; it exists as soon as the library is
    // loaded.
    static CTarnovelleModule& GetModule();

    // Start-up: language, the two size settings (repaired when below zero),
    // the error log's switch primed. Always succeeds here.
    bool InitInstance();

    // Writes one entry to the error log, if `category` is switched on.
    // Nothing of a failed write reaches the caller.
    void LogError(const std::string& category, const std::string& text);

    int32_t GetMininumArchiveSize() const { return m_nMininumArchiveSize; }
    int32_t GetMininumArchiveSizePerDevice() const { return m_nMininumArchiveSizePerDevice; }

    // The application object's profile calls on its ini file.
    int32_t GetProfileInt(const std::string& section, const std::string& key, int32_t defaultValue) const;
    bool WriteProfileInt(const std::string& section, const std::string& key, int32_t value) const;
    std::string GetProfileString(const std::string& section, const std::string& key,
                                 const std::string& defaultValue) const;
    bool WriteProfileString(const std::string& section, const std::string& key, const std::string& value) const;

    std::string GetProfilePath() const;
    // The ini file's path with the extension ".Log".
    std::string GetLogFilePath() const;

    // Switches to another ini file and starts again on it.
    void SetProfilePath(const std::string& iniPath);

    // Least archive size in megabytes. Atomic: the working thread reads
    // them while another thread may switch the ini file.
    std::atomic<int32_t> m_nMininumArchiveSize{10};
    // Least archive size per device in megabytes.
    std::atomic<int32_t> m_nMininumArchiveSizePerDevice{5};

private:
    CTarnovelleModule();
    ~CTarnovelleModule();

    mutable std::mutex m_pathMutex;  // guards m_profilePath only
    std::string m_profilePath;
};

// Points the module at another ini file (and its .Log file beside it) and
// runs the module's start-up on it. A null or empty path goes back to the
// default path.
TNVL_EXPORT void SetTarnovelleProfilePath(const char* iniPath);
