// The root object of the library and the object behind every instance handle.
// It stands for one project file (*.TNArch), the archive folders listed in it
// and the measuring points found in those folders. Construction gives an empty
// archive; Init on a path whose file does not exist gives a new archive with
// nothing written. The destructor never saves. An archive is used by one
// thread at a time.
//
// The project file is an XML document: a root "CTarnovelleArchive" with
// "Version" ("1" written, "0" read too; any other version is read as an
// archive without folders), "Name" and "RoundTripArchive" ("true"/"false",
// read case-blind), and one "Archive" element per folder. Other processes'
// changes are followed by the file's status (creation time, modification
// time, size): UpdateArchiveFolders parses only a file whose status changed,
// and takes the new status before parsing, so a damaged file gives
// TNE_FILE_NOT_PARSED once and is not parsed again until it changes. The file
// is held open for reading while it is parsed, so a writer can't replace it
// halfway. Re-reading while refreshing keeps every folder object alive: a
// folder gone from the file stays, and a folder read again is assigned into
// its old object. Save writes the file in place, formatted, and reads its
// status back, so its own save is not seen as a change.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tarnovelle/archive/CTarnovelleArchiveFolder.h"
#include "tarnovelle/measuring/CTNConnectorOwner.h"
#include "tarnovelle/storage/CTarnovelleSample.h"
#include "tarnovelle/storage/CTarnovelleSampleArray.h"
#include "tarnovelle/support/CArchive.h"
#include "tarnovelle/support/EV_XMLDOMDocument.h"
#include "tarnovelle/support/EV_XMLDOMNode.h"
#include "tarnovelle/measuring/CTarnovelleMeasuringPoint.h"
#include "tarnovelle/measuring/CTarnovelleMeasuringPointConnector.h"
#include "tarnovelle/storage/CTarnovelleFile.h"
#include "tarnovelle/support/CTNNotifySink.h"
#include "tarnovelle/support/STNFileStatus.h"
#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/values/CTNTimeZoneInformation.h"
#include "tarnovelle/values/ETarnovelleErrors.h"
#include "tarnovelle/values/ETarnovelleMessages.h"
#include "tarnovelle/values/SBinary_BYTE.h"
#include "tarnovelle/values/SBinary_Text.h"
#include "tarnovelle/values/SProgramInfo.h"
#include "tarnovelle/values/TNARCHIVE_MODE.h"

class TNVL_EXPORT CTarnovelleArchive : public CTNConnectorOwner {
public:
    CTarnovelleArchive();
    ~CTarnovelleArchive() override;
    // A copy by CopyContents: folders deep, no measuring points.
    CTarnovelleArchive(const CTarnovelleArchive& other);
    CTarnovelleArchive& operator=(const CTarnovelleArchive&) = delete;

    // ---- the project file

    // Flags, paths, name, notification and file status of `other`, and deep
    // copies of its folders (holes kept) owned by this archive; measuring
    // points and connectors are not copied.
    void CopyContents(const CTarnovelleArchive& other);
    // Not storing: `file` becomes the project path and is opened (Init).
    // Storing: Save, `file` unused.
    void Serialize(int32_t storing, const char* file);
    // The stream holds only the project path.
    void Serialize(CArchive& archive);
    // Writes the project file (nothing without a path): relative folder
    // paths on the first save, a default folder "TNArch01" when there is
    // none. Failures are not reported; the modified flag is cleared.
    void Save();
    void SaveAs(const std::string& file);
    // Drops everything, sets the modified flag, leaves ring mode and saves
    // under the current path; `name` is not used.
    void Reset(const std::string& name);
    // Deletes the folders, connectors and measuring points in memory.
    void Clear();
    // Follows other processes' changes under read locks on all folders;
    // without the locks nothing happens.
    void Refresh();
    // Re-reads the project file if its status changed. TNE_FILE_NOT_OPENED
    // when it can't be opened twice, TNE_FILE_NOT_PARSED when it doesn't
    // parse (the folders in memory stay).
    ETarnovelleErrors UpdateArchiveFolders();
    // The folders of a root element; always TNE_OK.
    ETarnovelleErrors ReadArchives(CEV_XMLDOMNode& root);
    void SaveArchives(CEV_XMLDOMDocument& document, CEV_XMLDOMNode& root);
    // A connector for every GUID-named directory of every folder.
    void InsertAllMeasuringPoints();

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

    // ---- the folder list: indexed by folder number from 1, holes null

    // Makes the directory `path` and its parents and adds a folder for it
    // under the next number, with `mode` and `size`; a folder whose path is
    // `path` already is returned as it is. Null when the directory can't be
    // made. Makes sure a folder is active; saves nothing.
    CTarnovelleArchiveFolder* AddArchive(const std::string& path, TNARCHIVE_MODE mode, uint32_t size);
    // The first active folder; without one, the first folder is made active.
    // Null without folders.
    CTarnovelleArchiveFolder* GetActiveArchiveFolder();
    // The array's size, at least 1.
    uint32_t GetNextArchiveFolderNumber() const;
    // The folders oldest first: in number order, or in ring mode from the
    // one after the active folder round to the active one (empty without an
    // active folder). Rebuilt at every call.
    const std::vector<CTarnovelleArchiveFolder*>& GetArrayOfArchiveFolders();
    // Deletes an empty, inactive folder object and leaves its slot null; its
    // directory stays. False for any other folder or one not in the list.
    int32_t RemoveArchiveFolder(CTarnovelleArchiveFolder* folder);
    // The folder array itself, holes included.
    const std::vector<CTarnovelleArchiveFolder*>& GetArchiveFolders() const { return m_arrArchiveFolders; }

    // ---- read locks over all folders, in array order

    // One read lock per folder, its handle at the folder's index (null for a
    // hole). TNE_ARCHIVE_LOCK_FAILED when a lock file can't be opened: the
    // locks taken before stay held and are the caller's to give back. A
    // time-out releases them all and passes the exception on.
    ETarnovelleErrors CreateReadLock(std::vector<TNLockHandle>& handles) override;
    // Releases every handle; failures are collected and raised at the end.
    void RemoveReadLock(std::vector<TNLockHandle>& handles) override;

    // ---- measuring points and their connectors: one connector per GUID
    // across all folders, one measuring point per GUID and folder, both owned

    // Adds a connector for `guid` unless one exists.
    void InsertMeasuringPoints(const GUID& guid);
    // Adds a connector for `guid` without looking.
    void AddMeasuringPoints(const GUID& guid);
    // The point of `guid` in the folder `path`, through its connector (made if missing).
    CTarnovelleMeasuringPoint* GetMeasuringPoint(const GUID& guid, const std::string& path) override;
    CTarnovelleMeasuringPointConnector* GetMeasuringPointConnector(const GUID& guid);
    const std::vector<CTarnovelleMeasuringPointConnector*>& GetArrayOfMeasuringPointConnectors() const {
        return m_arrConnectors;
    }
    // Deletes one owned point; a point not owned here is left alone.
    void DeleteMeasuringPoint(CTarnovelleMeasuringPoint* point) override;
    // Deletes every connector, then every point.
    void ClearMeasuringPointArray();
    // The point of `guid` in `path` (both compared exactly), made and
    // initialised (which loads its file) if missing.
    CTarnovelleMeasuringPoint* CreateMeasuringPoint(const GUID& guid, const std::string& path) override;
    uint32_t GetMeasuringPointConnectorCount() const { return static_cast<uint32_t>(m_arrConnectors.size()); }
    // Lets every connector drop what it holds of the folder at `path`, which
    // is about to be wiped.
    void RemoveArchiveFolderObjects(const std::string& path);

    // ---- storing into the active folder

    // Stores the samples of `samples` (null entries passed over) into the
    // channel of the active folder, running the folder check once more than
    // 0x40000 bytes were stored since the last one; a folder is never left
    // in the middle of a block. TNE_FAILED without a channel.
    ETarnovelleErrors SaveSamples(const GUID& guid, const SChannelID& channel, CTarnovelleSampleArray& samples) override;
    // One sample; the check, when due, comes before the channel is looked up.
    ETarnovelleErrors SaveSamples(const GUID& guid, const SChannelID& channel, const CTarnovelleSample& sample);
    // One record as a block of its own, at its own time; no check, no count.
    ETarnovelleErrors SaveMessage(const GUID& guid, const SChannelID& channel, const SBinary_BYTE& message);
    ETarnovelleErrors SaveMessage(const GUID& guid, const SChannelID& channel, const SBinary_Text& message);
    // Enters `set` at `time` into the measuring point of the active folder and saves its file.
    ETarnovelleErrors SaveParameterSet(const GUID& guid, const CTNUTCTimeStamp& time,
                                       CTarnovelleParameterSet& set) override;
    ETarnovelleErrors SetParameter(const GUID& guid, const CTNTimeZoneInformation& zone);
    ETarnovelleErrors SetParameter(const GUID& guid, const SProgramInfo& info);
    ETarnovelleErrors SetMeasuringPointName(const GUID& guid, const char* name);
    // Drops the measuring point from memory and wipes its directory in every
    // folder; the first folder that fails ends it with its result.
    ETarnovelleErrors RemoveMeasuringPoint(GUID guid);
    // The channel in the active folder, made on disk; null without an active
    // folder or a connector for `guid`.
    CTarnovelleChannel* CreateChannel(const GUID& guid, const SChannelID& channel);
    CTarnovelleMeasuringPoint* GetActiveMeasuringPoint(const GUID& guid);
    // An unknown GUID gets its connector (and so its directory) here.
    CTarnovelleChannel* GetActiveChannel(const GUID& guid, const SChannelID& channel);
    // The status channel: zero GUID, message channel 0x01008000, one text a
    // block; its measuring point is named "Archivstatus". Null without folders.
    CTarnovelleChannel* GetArchiveMessageChannel();
    // Posts (status, message) to the lock owner's sink; TNMSG_ARCHIVING_STOPPED
    // sets the stop flag first, whatever comes of the post. TNE_NO_OBJECT
    // without a sink, TNE_FAILED when the post fails.
    ETarnovelleErrors PostMessageA(ETarnovelleErrors status, ETarnovelleMessages message);
    // Takes the project's write lock (its ".Lock" file, held open) after a
    // refresh and a folder check; TNE_ARCHIVE_LOCK_FAILED when held already
    // or by another process.
    ETarnovelleErrors LockForWriting(CTNNotifySink* window, uint32_t message, uint32_t unused);
    // Forgets the sink first; TNE_ARCHIVE_NOT_LOCKED when not locked.
    ETarnovelleErrors RemoveLockForWriting();
    bool IsLockedForWriting() const;

    // ---- the configuration check and export

    // Whether the archive can work: folders, an active one, every folder
    // writable, room after a folder check (which may wipe and switch), and
    // disk space for each folder's limit. Each failure is shown through
    // CTNMessageBox (texts 73, 75, 74, 95, or the access check's 76), and so
    // is an exception; false then.
    int32_t CheckConfiguration();
    // Makes and deletes "CheckConfiguration.AccessTest" in every folder; text
    // 76 and false for the first folder where it can't be made.
    int32_t CheckArchiveFolderAccess();
    // Copies from..to of `connectors` (their parameter sets stamped inside the
    // range, and all samples of the range) into the project "<directory>/<its
    // last part's stem>", named "<name>-Export <from> - <to>", with one folder
    // "." of mode 0 and 3 MB. The first measuring point that fails ends it with
    // its result; nothing within a channel fails it.
    ETarnovelleErrors Export(const std::string& directory, const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to,
                             const std::vector<CTarnovelleMeasuringPointConnector*>& connectors);

    // ---- folder activation

    // Whether the active folder is full and, if so, which folder comes next:
    // later folders are wiped and taken in either mode, ring mode wraps round
    // from the first slot. TNE_OK (room), TNE_FOLDER_SWITCHED,
    // TNE_ARCHIVE_FULL, TNE_NO_ACTIVE_FOLDER. Every decision leaves a line in
    // the status channel.
    ETarnovelleErrors CheckArchiveActivation();
    // Makes `to` the active folder, saves the project and carries every
    // measuring point's complete parameters over with their original times.
    ETarnovelleErrors SwitchArchiveActivation(CTarnovelleArchiveFolder* from, CTarnovelleArchiveFolder* to);
    int32_t GetBytesSinceCheck() const { return m_nBytesSinceCheck; }

    // ---- reading one measuring point

    // TNE_FAILED for a GUID without a connector.
    ETarnovelleErrors GetArrayChannelsIDs(const GUID& guid, std::vector<SChannelID>& ids);
    // TNE_NO_OBJECT for a GUID without a connector, here and in the next three.
    ETarnovelleErrors GetTimeRange(const GUID& guid, CTNUTCTimeStamp& from, CTNUTCTimeStamp& to);
    ETarnovelleErrors GetTimeRange(const GUID& guid, const SChannelID& channel, CTNUTCTimeStamp& from,
                                   CTNUTCTimeStamp& to);
    ETarnovelleErrors IsEmpty(const GUID& guid, const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to,
                              int32_t& empty);
    ETarnovelleErrors IsEmpty(const GUID& guid, const SChannelID& channel, const CTNUTCTimeStamp& from,
                              const CTNUTCTimeStamp& to, int32_t& empty);
    // The samples of from..to, under read locks on all folders (the only
    // query that takes them). TNE_FAILED for an unknown GUID,
    // TNE_ARCHIVE_LOCK_FAILED when the locks can't be had.
    ETarnovelleErrors GetSamplesForTimeRange(const GUID& guid, const SChannelID& channel, const CTNUTCTimeStamp& from,
                                             const CTNUTCTimeStamp& to, CTarnovelleSampleArray& samples);

    // The connectors' view of the folders.
    TNFolderPaths GetFolderPaths() override;
    bool GetActiveFolderPath(std::string& path) override;

private:
    // Writes one status line of text `id` into `channel` (null: none), stamped `now`.
    void WriteStatusLine(CTarnovelleChannel* channel, const CTNUTCTimeStamp& now, uint16_t id, int32_t number);
    void WriteStatusText(CTarnovelleChannel* channel, const CTNUTCTimeStamp& now, const std::string& text);
    // The line of a new folder, into the status channel if there is one.
    void WriteNewFolderLine(int32_t number, const std::string& path);
    // The candidate step of the folder check on slot `k`; true when it switched.
    bool TryCandidate(size_t k, CTarnovelleArchiveFolder* active, CTarnovelleChannel*& channel,
                      const CTNUTCTimeStamp& now);
    // Runs the folder check when more than the interval was stored, posts a
    // failure, and zeroes the count.
    void CheckWhenDue();
    // Puts `folder` at its number's slot; an object standing there is kept
    // alive (others may point at it) among the retired ones.
    void PlaceFolder(CTarnovelleArchiveFolder* folder);

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
    std::vector<CTarnovelleMeasuringPoint*> m_arrMeasuringPoints;
    // Owned; slot 0 stays null, numbers begin at 1.
    std::vector<CTarnovelleArchiveFolder*> m_arrArchiveFolders;
    std::vector<CTarnovelleArchiveFolder*> m_arrOrderedFolders;
    std::vector<CTarnovelleMeasuringPointConnector*> m_arrConnectors;
    // Folder objects a re-read put out of the array, which pointers held
    // elsewhere may still name; deleted with the archive.
    std::vector<CTarnovelleArchiveFolder*> m_arrRetiredFolders;
};
