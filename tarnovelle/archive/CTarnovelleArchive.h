// The root object of the library and the object behind every instance handle.
// It stands for one project file (*.TNArch), the archive folders listed in it
// and the measuring points found in those folders. Construction gives an empty
// archive; Init on a path whose file does not exist gives a new archive with
// nothing written. The destructor never saves. An archive is used by one
// thread at a time.
#pragma once

#include <cstdint>
#include <string>

#include "tarnovelle/storage/CTarnovelleFile.h"
#include "tarnovelle/support/CTNNotifySink.h"
#include "tarnovelle/support/STNFileStatus.h"
#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/values/ETarnovelleErrors.h"

class TNVL_EXPORT CTarnovelleArchive {
public:
    CTarnovelleArchive();
    virtual ~CTarnovelleArchive();
    CTarnovelleArchive(const CTarnovelleArchive&) = delete;
    CTarnovelleArchive& operator=(const CTarnovelleArchive&) = delete;

    // Opens a project: the extension of `file` is forced to ".TNArch", the
    // lock path gets ".Lock", the name is the file's stem.
    ETarnovelleErrors Init(const std::string& file);

    // Sets both paths without any file work and without touching the name;
    // the extension is kept as given.
    void SetArchiveFileName(const char* file);
    const std::string& GetFilePath() const { return m_strArchiveFileName; }
    const std::string& GetArchiveFileName() const { return m_strArchiveFileName; }
    const std::string& GetLockFileName() const { return m_strLockFileName; }

    const std::string& GetName() const { return m_strName; }
    void SetName(const std::string& name) { m_strName = name; }

    // Ring mode; takes effect at the next save of the project file.
    void SetRoundTripArchive(bool roundTrip) { m_bRoundTripArchive = roundTrip; }
    bool IsRoundTripArchive() const { return m_bRoundTripArchive; }

    int32_t IsModified() const { return m_bModified; }
    void SetModifiedFlag(int32_t modified) { m_bModified = modified; }

    bool WasStopArchivingCalled() const { return m_bStopArchiving; }

private:
    // Reads the folder list of the project file. Reading existing project
    // files arrives with the project-file support; until then an existing
    // file is reported as not parsed rather than silently ignored.
    ETarnovelleErrors UpdateArchiveFolders();
    // Scans the folders for measuring points (arrives with the folders).
    void InsertAllMeasuringPoints();

    bool m_bStopArchiving = false;
    int32_t m_nBytesSinceCheck = 0;
    bool m_bRefreshing = false;
    std::string m_strLockFileName;
    CTarnovelleFile m_LockFile;
    std::string m_strArchiveFileName;
    STNFileStatus m_FileStatus;
    std::string m_strName;
    bool m_bRoundTripArchive = false;
    int32_t m_bModified = 0;
    CTNNotifySink* m_hNotifyWnd = nullptr;
    uint32_t m_nNotifyMessage = 0;
    // The measuring points, the folder array (indexed by folder number from 1,
    // holes null), the ordered folder view and the measuring-point connectors
    // join here with the folder and measuring-point classes.
};
