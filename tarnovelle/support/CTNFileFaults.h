// The seam through which tests make the file service fail on purpose: every
// operation of CTNFile but GetPosition (a position is only ever asked of a
// file that was just read or written) can be told to fail with a chosen
// errno value, and a
// test can act between the steps of an open (say, replace the file after it
// was opened and before it is locked). Installed for the whole process and
// not owned; with none installed (the default) each operation pays one atomic
// load. Before may be called from any thread that uses the file service.
#pragma once

#include <string>

#include "tarnovelle/support/TNExport.h"

class TNVL_EXPORT CTNFileFaults {
public:
    enum EOperation {
        opOpen,       // before the file is opened
        opLock,       // the file is open, its share lock not yet taken
        opRead,
        opWrite,
        opSeek,
        opLength,     // GetLength and SetLength
        opFlush,
        opClose,      // the descriptor is closed anyway; the close reports the error
        opStatus,     // status of an open file or of a path
        opRemove,
        opRename,
    };

    virtual ~CTNFileFaults();
    // Called before `operation` on `path`. Zero lets it go on; an errno value
    // makes it fail as if the operating system had answered with it.
    virtual int Before(EOperation operation, const std::string& path) = 0;
};

// Installs `faults`; null removes them. Returns the one installed before.
TNVL_EXPORT CTNFileFaults* TNSetFileFaults(CTNFileFaults* faults);

// The errno value the installed faults give `operation` on `path`; 0 without
// faults. For the file service itself.
int TNFileFault(CTNFileFaults::EOperation operation, const char* path);

// Installs faults for one scope and restores the ones before at its end.
class CTNScopedFileFaults {
public:
    explicit CTNScopedFileFaults(CTNFileFaults* faults) : m_previous(TNSetFileFaults(faults)) {}
    ~CTNScopedFileFaults() { TNSetFileFaults(m_previous); }
    CTNScopedFileFaults(const CTNScopedFileFaults&) = delete;
    CTNScopedFileFaults& operator=(const CTNScopedFileFaults&) = delete;

private:
    CTNFileFaults* m_previous;
};
