// A failure of the file service: the cause, the operating system's error
// number and the file's name. CTarnovelleFile turns the failures of an open
// file into a CTarnovelleException; an open that gave up is different: its
// callers (the channel's data and samples files, reads of a block) throw this
// exception for the thread's last-error value through
// CTarnovelleFile::ThrowOpenFailure: the data file's Open and Create, the
// samples file's Init(path), and the reads and updates of a block. (The
// samples file's Open and Create throw a CTarnovelleException; its Refresh
// gives up silently.) The lock-aware Remove throws this type too. So callers
// above the storage layer see both types.
#pragma once

#include <string>

#include "tarnovelle/support/CException.h"

class TNVL_EXPORT CFileException : public CException {
public:
    enum ECause {
        none = 0,
        genericException = 1,
        fileNotFound = 2,
        badPath = 3,
        tooManyOpenFiles = 4,
        accessDenied = 5,
        invalidFile = 6,
        removeCurrentDir = 7,
        directoryFull = 8,
        badSeek = 9,
        hardIO = 10,
        sharingViolation = 11,
        lockViolation = 12,
        diskFull = 13,
        endOfFile = 14,
    };

    CFileException(int cause = none, long osError = -1, const std::string& fileName = std::string());

    bool GetErrorMessage(char* buffer, unsigned max) const override;
    const char* GetRuntimeClassName() const override;

    // Fills cause, error number and file name from an errno value.
    void SetFromErrno(int err, const std::string& fileName);
    static int CauseFromErrno(int err);

    int m_cause;
    long m_lOsError;
    std::string m_strFileName;
};
