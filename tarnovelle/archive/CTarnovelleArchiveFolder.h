// One part-archive of an archive: a directory (normally "TNArch%02d") that
// holds measuring-point directories, named by their GUIDs. The folder knows
// where it lies (GetPath: a stored path beginning with "." is relative to the
// project file's directory, worked out at every call), how it fills (mode 0:
// until RemainingMegaBytes of the drive are left; mode 1: until the folder
// holds MaximalMegaBytes), whether it is full or empty, and how its data is
// wiped (Clear, RemoveMeasuringPoint). It never holds data open itself.
//
// Lock files keep a reader and a deleter of several processes apart. A lock
// is a file its holder keeps open exclusively; its existence is the signal,
// and the open handle is what tells a live holder from a dead one, since only
// a file nobody holds can be deleted:
//   - "<folder>/Delete.Lock": somebody wipes; no new reader may enter. Held
//     for the whole of Clear and RemoveMeasuringPoint.
//   - "<folder>/<ReadLockId text>.Read": this folder object reads. Every
//     object has its own GUID; the plain copy shares its source's.
// Every wait polls every 500 ms through the clock service and gives up after
// 300 s with a CTarnovelleException whose file is the folder's path and
// whose action names the wait ("CreateReadLock timeout", "CreateDeleteLock
// timeout", "Clear timeout1", "Clear timeout2", "RemoveMeasuringPoint
// timeout"). A waiter deletes lock files whose newest time stamp is more than
// 300 s old (in unsigned 32-bit seconds, so a file stamped ahead of the clock
// is old at once), which succeeds only for a dead holder's file, and logs
// "KillOldLockFiles suceeded for '%s'" or "KillOldLockFiles failed for '%s'".
//
// Wiping deletes the "*.inf", "*.sam" and "*.dat" files of measuring-point
// directories and the directories themselves when nothing else is left in
// them; the folder's own directory, its lock files and foreign files stay.
// A failed delete raises "Clear remove files failed" or "RemoveMeasuringPoint
// remove files failed"; what was wiped before stays wiped, and the delete
// lock is released on every way out.
//
// No lock in memory; one thread at a time.
#pragma once

#include <cstdint>
#include <string>

#include "tarnovelle/support/GUID.h"
#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/values/CTNUTCTimeStamp.h"
#include "tarnovelle/values/ETarnovelleErrors.h"
#include "tarnovelle/values/TNARCHIVE_MODE.h"

class CTarnovelleArchive;
class CTarnovelleFile;
class EV_XMLDOMNode;
using CEV_XMLDOMNode = EV_XMLDOMNode;

// A held lock file; null when nothing is to be released.
using TNLockHandle = CTarnovelleFile*;

class TNVL_EXPORT CTarnovelleArchiveFolder {
public:
    // A new folder with the defaults: inactive, mode 0, 100 MB to remain,
    // 40 MB at most, a new read-lock GUID.
    CTarnovelleArchiveFolder(CTarnovelleArchive* archive, const std::string& path, int32_t number);
    // The defaults, then what an "Archive" element of a project file says.
    CTarnovelleArchiveFolder(CTarnovelleArchive* archive, CEV_XMLDOMNode& element);
    // Every field of `other` but the archive, which is `archive`, and the
    // read-lock GUID, which is new: the folder of a working copy.
    CTarnovelleArchiveFolder(const CTarnovelleArchiveFolder& other, CTarnovelleArchive* archive);
    // A plain copy shares the read-lock GUID, and so the read-lock file.
    CTarnovelleArchiveFolder(const CTarnovelleArchiveFolder& other);
    CTarnovelleArchiveFolder& operator=(const CTarnovelleArchiveFolder& other);
    ~CTarnovelleArchiveFolder();

    int32_t GetNumber() const { return Number; }
    bool IsActive() const { return Active; }
    void SetActive(bool active) { Active = active; }
    CTarnovelleArchive* GetArchive() const { return Archive; }
    TNARCHIVE_MODE GetArchiveMode() const { return ArchiveMode; }
    uint32_t GetRemainingMegaBytes() const { return RemainingMegaBytes; }
    uint32_t GetMaximalMegaBytes() const { return MaximalMegaBytes; }
    const GUID& GetReadLockId() const { return ReadLockId; }
    // The path as stored, perhaps relative.
    const std::string& GetStoredPath() const { return Path; }

    // Mode 0 sets the limit of free space, mode 1 the folder's size; the
    // other mode's limit keeps its value. Any other mode changes nothing.
    void SetMode(TNARCHIVE_MODE mode, uint32_t value);

    // Writes the attributes of the folder's "Archive" element, version 2.
    void Save(CEV_XMLDOMNode& element);

    // The absolute path. A stored "." is the project file's directory, a
    // stored "./X" that directory's X; an empty path stays empty.
    std::string GetPath() const;
    // Makes the stored path relative when it begins with the project file's
    // directory, or with that directory's network form. The test is a plain
    // string prefix, case counting: "/data" makes "/data2/x" into ".2/x".
    void TryToMakeRelative(const std::string& projectFile);

    // The bytes this process may still use on the folder's drive; 0 when the
    // drive can't be asked.
    uint64_t GetFreeDiskSpace() const;
    // Mode 0: free MB beyond RemainingMegaBytes; mode 1: MB the folder may
    // still grow (walks the whole tree); 0 when the limit is reached and for
    // any other mode.
    uint32_t GetRemainingDiskSpaceInMB() const;
    // An inactive folder is full when it holds data. An active one is full
    // when the drive's free MB are no more than the reserve (half the count
    // of measuring-point connectors times the module's
    // "MininumArchiveSizePerDevice", 0 without a module), or when the mode's
    // limit is reached.
    bool IsFull() const;
    // True unless some GUID-shaped directory holds a "*.sam" or "*.inf" file.
    bool IsEmpty() const;

    // Wipes every measuring point of the folder; waits out another process's
    // wipe instead (true). False when the delete lock can't be made.
    bool Clear();
    // Wipes one measuring point; a directory that keeps foreign files is
    // renamed "<GUID text>_DELETED". TNE_ARCHIVE_LOCK_FAILED when the delete
    // lock can't be made.
    ETarnovelleErrors RemoveMeasuringPoint(const GUID& guid);

    // ---- read locks

    // Waits while a delete lock exists, then holds this object's read-lock
    // file in `handle`. An object that already has its file gives true and a
    // null handle. False when the file can't be opened.
    bool CreateReadLock(TNLockHandle& handle);
    // True when any "*.Read" file lies in the folder.
    bool HasReadLock() const;
    // True when this object's own read-lock file exists.
    bool IsReadLock() const;
    // Closes and deletes the file of a non-null handle; always true.
    bool RemoveReadLock(TNLockHandle& handle);

protected:
    // Holds "Delete.Lock" in `handle`, then waits until no "*.Read" file is
    // left. False when another holds it already or it can't be opened.
    bool CreateDeleteLock(TNLockHandle& handle);
    bool HasDeleteLock() const;
    // Closes and deletes the delete lock; `handle` must not be null.
    bool RemoveDeleteLock(TNLockHandle& handle);
    std::string GetReadLockFileName() const;
    std::string GetDeleteLockFileName() const;
    // Deletes the lock file `path` when its newest time stamp is older than
    // 300 s, and logs the attempt.
    void KillOldLockFiles(const std::string& path);
    void KillOldDeleteLockFiles();
    void KillOldReadLockFiles();

    int32_t Number;
    std::string Path;
    bool Active;
    CTarnovelleArchive* Archive;
    TNARCHIVE_MODE ArchiveMode;
    uint32_t RemainingMegaBytes;
    uint32_t MaximalMegaBytes;
    GUID ReadLockId;

private:
    // Clear's wait for another process's wipe; true once it is over.
    bool WaitForOthersWipe(const CTNUTCTimeStamp& start, const char* timeoutText);
    // Deletes the three kinds of file of one measuring-point directory;
    // false at the first kind that fails.
    static bool DeleteMeasuringPointFiles(const std::string& directory);
    static bool HoldsNothing(const std::string& directory);
};
