#include "tarnovelle/archive/CTarnovelleArchiveFolder.h"
#include "tarnovelle/support/TNText.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

#include "tarnovelle/archive/CTarnovelleArchive.h"
#include "tarnovelle/archive/CTarnovelleArchiveFolderVisitor.h"
#include "tarnovelle/storage/CTarnovelleFile.h"
#include "tarnovelle/support/CException.h"
#include "tarnovelle/support/CTNClock.h"
#include "tarnovelle/support/EV_XMLDOMNode.h"
#include "tarnovelle/support/STNFileStatus.h"
#include "tarnovelle/support/TNDrive.h"
#include "tarnovelle/support/TNGuid.h"
#include "tarnovelle/support/TNModuleSettings.h"
#include "tarnovelle/support/TNPath.h"
#include "tarnovelle/values/CTNMSecTimeSpan.h"
#include "tarnovelle/values/CTNUTCTimeStamp.h"
#include "tarnovelle/values/CTarnovelleTextManager.h"

namespace {

constexpr uint32_t kDefaultRemainingMegaBytes = 100;
constexpr uint32_t kDefaultMaximalMegaBytes = 40;
constexpr uint32_t kPollMilliseconds = 500;
// How long a wait lasts at most, and the age from which a lock file is stale.
constexpr uint32_t kLimitSeconds = 300;
// Create and write; the checked open adds exclusive sharing.
constexpr uint32_t kLockOpenFlags = CTarnovelleFile::modeCreate | CTarnovelleFile::modeWrite;

GUID NewReadLockId() { return CreateGuid(); }

// Seconds since `start`, whole and unsigned 32-bit, as every wait counts them.
uint32_t SecondsSince(const CTNUTCTimeStamp& start) {
    CTNMSecTimeSpan span;
    CTNUTCTimeStamp::CalculateTimeSpan(start, CTNUTCTimeStamp::GetCurrentUTCTime(), span);
    return span.GetDWTime();
}

bool ReadInt(const EV_XMLDOMNode& element, const char* name, int& value) {
    std::string text;
    if (element.GetAttribute(name, text) != 0) return false;
    return std::sscanf(text.c_str(), "%d", &value) == 1;
}

// Closes a lock file and deletes it; neither failure matters to the caller,
// who gives the lock up either way.
void Release(TNLockHandle& handle) {
    const std::string path = handle->GetFilePath();
    try {
        handle->Close();
    } catch (...) {
    }
    DeleteFilePath(path);
    delete handle;
    handle = nullptr;
}

TNLockHandle OpenLockFile(const std::string& path) {
    auto file = std::make_unique<CTarnovelleFile>();
    if (!file->Open(path.c_str(), kLockOpenFlags)) return nullptr;
    return file.release();
}

}  // namespace

// ---------------------------------------------------------------- construction

CTarnovelleArchiveFolder::CTarnovelleArchiveFolder(CTarnovelleArchive* archive, const std::string& path,
                                                   int32_t number)
    : Number(number),
      Path(path),
      Active(false),
      Archive(archive),
      ArchiveMode(TNARCHIVE_MODE_REMAINING),
      RemainingMegaBytes(kDefaultRemainingMegaBytes),
      MaximalMegaBytes(kDefaultMaximalMegaBytes),
      ReadLockId(NewReadLockId()) {}

CTarnovelleArchiveFolder::CTarnovelleArchiveFolder(CTarnovelleArchive* archive, CEV_XMLDOMNode& element)
    : CTarnovelleArchiveFolder(archive, std::string(), 0) {
    std::string text;
    double version = 0.0;
    if (element.GetAttribute("Version", text) == 0) std::sscanf(text.c_str(), "%lf", &version);
    if (element.GetAttribute("Path", text) == 0) {
        // Stored paths may come from either platform: both separators are read.
        std::replace(text.begin(), text.end(), '\\', '/');
        Path = text;
    }
    int value = 0;
    if (ReadInt(element, "Number", value)) Number = value;
    if (element.GetAttribute("Active", text) == 0) Active = TNToUpper(text) == "TRUE";
    if (version >= 1.0) {
        if (ReadInt(element, "ArchiveMode", value)) ArchiveMode = static_cast<TNARCHIVE_MODE>(value);
        if (ReadInt(element, "RemainingMegaBytes", value)) RemainingMegaBytes = static_cast<uint32_t>(value);
    }
    if (version >= 2.0 && ReadInt(element, "MaximalMegaBytes", value)) MaximalMegaBytes = static_cast<uint32_t>(value);
}

CTarnovelleArchiveFolder::CTarnovelleArchiveFolder(const CTarnovelleArchiveFolder& other, CTarnovelleArchive* archive)
    : CTarnovelleArchiveFolder(other) {
    Archive = archive;
    ReadLockId = NewReadLockId();
}

CTarnovelleArchiveFolder::CTarnovelleArchiveFolder(const CTarnovelleArchiveFolder& other) = default;

CTarnovelleArchiveFolder& CTarnovelleArchiveFolder::operator=(const CTarnovelleArchiveFolder& other) = default;

CTarnovelleArchiveFolder::~CTarnovelleArchiveFolder() = default;

void CTarnovelleArchiveFolder::SetMode(TNARCHIVE_MODE mode, uint32_t value) {
    if (mode == TNARCHIVE_MODE_REMAINING) {
        ArchiveMode = mode;
        RemainingMegaBytes = value;
    } else if (mode == TNARCHIVE_MODE_MAXIMAL) {
        ArchiveMode = mode;
        MaximalMegaBytes = value;
    }
}

void CTarnovelleArchiveFolder::Save(CEV_XMLDOMNode& element) {
    element.SetAttribute("Version", std::string("2"));
    element.SetAttribute("Path", Path);
    element.SetAttribute("Number", Number);
    element.SetAttribute("Active", std::string(Active ? "TRUE" : "FALSE"));
    std::string modeText;
    if (ArchiveMode == TNARCHIVE_MODE_REMAINING || ArchiveMode == TNARCHIVE_MODE_MAXIMAL) {
        const uint32_t limit = ArchiveMode == TNARCHIVE_MODE_REMAINING ? RemainingMegaBytes : MaximalMegaBytes;
        modeText = CTarnovelleTextManager::GetText(ArchiveMode) + " " + std::to_string(static_cast<int32_t>(limit));
    }
    element.SetAttribute("ArchiveModeText", modeText);
    element.SetAttribute("ArchiveMode", static_cast<int32_t>(ArchiveMode));
    element.SetAttribute("RemainingMegaBytes", static_cast<int32_t>(RemainingMegaBytes));
    element.SetAttribute("MaximalMegaBytes", static_cast<int32_t>(MaximalMegaBytes));
}

// ---------------------------------------------------------------- place and room

std::string CTarnovelleArchiveFolder::GetPath() const {
    if (Path.empty() || Path[0] != '.') return Path;
    const std::string project = Archive ? Archive->GetFilePath() : std::string();
    const size_t slash = project.find_last_of('/');
    const std::string directory = slash == std::string::npos ? std::string() : project.substr(0, slash + 1);
    if (Path.size() >= 2) return directory + Path.substr(2);
    return directory.empty() ? directory : directory.substr(0, directory.size() - 1);
}

void CTarnovelleArchiveFolder::TryToMakeRelative(const std::string& projectFile) {
    const size_t slash = projectFile.find_last_of('/');
    const std::string directory = slash == std::string::npos ? std::string() : projectFile.substr(0, slash);
    // A plain prefix test, by design with no look at what follows it.
    for (const std::string& prefix : {directory, ConvertToNetworkPath(directory)}) {
        if (!prefix.empty() && Path.compare(0, prefix.size(), prefix) == 0) {
            Path = "." + Path.substr(prefix.size());
            return;
        }
    }
}

uint64_t CTarnovelleArchiveFolder::GetFreeDiskSpace() const { return ::GetDiskFreeSpace(GetPath()); }

uint32_t CTarnovelleArchiveFolder::GetRemainingDiskSpaceInMB() const {
    if (ArchiveMode == TNARCHIVE_MODE_REMAINING) {
        const uint64_t freeMegaBytes = GetFreeDiskSpace() / 1024 / 1024;
        return freeMegaBytes >= RemainingMegaBytes ? static_cast<uint32_t>(freeMegaBytes - RemainingMegaBytes) : 0;
    }
    if (ArchiveMode == TNARCHIVE_MODE_MAXIMAL) {
        uint32_t directories = 0;
        uint32_t files = 0;
        uint64_t bytes = 0;
        CTarnovelleArchiveFolderVisitor::CalculateUsedResources(*this, directories, files, bytes);
        const uint64_t usedMegaBytes = bytes / 1024 / 1024;
        return MaximalMegaBytes >= usedMegaBytes ? static_cast<uint32_t>(MaximalMegaBytes - usedMegaBytes) : 0;
    }
    return 0;
}

bool CTarnovelleArchiveFolder::IsFull() const {
    if (!Active) return !IsEmpty();
    if (ArchiveMode != TNARCHIVE_MODE_REMAINING && ArchiveMode != TNARCHIVE_MODE_MAXIMAL) return false;
    uint32_t reserve = 0;
    int32_t perDevice = 0;
    if (Archive && TNGetModuleSetting("MininumArchiveSizePerDevice", perDevice))
        reserve = static_cast<uint32_t>(Archive->GetMeasuringPointConnectorCount()) *
                  static_cast<uint32_t>(perDevice) / 2;
    if (reserve >= GetFreeDiskSpace() / 1024 / 1024) return true;
    return GetRemainingDiskSpaceInMB() == 0;
}

bool CTarnovelleArchiveFolder::IsEmpty() const {
    std::vector<std::string> directories;
    ListDirectories(GetPath(), directories, kGuidNameMask);
    for (const std::string& directory : directories) {
        if (FileMaskExists(directory, "*.sam") || FileMaskExists(directory, "*.inf")) return false;
    }
    return true;
}

// ---------------------------------------------------------------- wiping

bool CTarnovelleArchiveFolder::DeleteMeasuringPointFiles(const std::string& directory) {
    for (const char* mask : {"*.inf", "*.sam", "*.dat"}) {
        if (DeleteFiles(directory, mask) != 0) return false;
    }
    return true;
}

bool CTarnovelleArchiveFolder::HoldsNothing(const std::string& directory) {
    std::vector<std::string> left;
    ListFiles(directory, left, "*.*", true);
    return left.empty();
}

ETarnovelleErrors CTarnovelleArchiveFolder::RemoveMeasuringPoint(const GUID& guid) {
    const CTNUTCTimeStamp start = CTNUTCTimeStamp::GetCurrentUTCTime();
    TNLockHandle lock = nullptr;
    while (!CreateDeleteLock(lock)) {
        if (!HasDeleteLock()) return TNE_ARCHIVE_LOCK_FAILED;
        while (HasDeleteLock()) {
            KillOldDeleteLockFiles();
            TNGetClock()->Sleep(kPollMilliseconds);
            if (SecondsSince(start) > kLimitSeconds) TarnovelleThrowException(GetPath(), "RemoveMeasuringPoint timeout");
        }
    }
    try {
        const std::string directory = GetPath() + "/" + GuidToString(guid);
        if (!DeleteMeasuringPointFiles(directory))
            TarnovelleThrowException(GetPath(), "RemoveMeasuringPoint remove files failed");
        // Foreign files survive under a name no measuring point has.
        if (HoldsNothing(directory)) DeleteDirectory(directory);
        else MovePath(directory, directory + "_DELETED");
    } catch (...) {
        RemoveDeleteLock(lock);
        throw;
    }
    RemoveDeleteLock(lock);
    return TNE_OK;
}

bool CTarnovelleArchiveFolder::WaitForOthersWipe(const CTNUTCTimeStamp& start, const char* timeoutText) {
    if (Archive) Archive->RemoveArchiveFolderObjects(GetPath());
    for (;;) {
        KillOldDeleteLockFiles();
        TNGetClock()->Sleep(kPollMilliseconds);
        if (SecondsSince(start) > kLimitSeconds) TarnovelleThrowException(GetPath(), timeoutText);
        if (!HasDeleteLock()) return true;
    }
}

bool CTarnovelleArchiveFolder::Clear() {
    // Both waits count from here, also after a lost race for the lock file
    // whose open may itself have waited.
    const CTNUTCTimeStamp start = CTNUTCTimeStamp::GetCurrentUTCTime();
    if (HasDeleteLock()) return WaitForOthersWipe(start, "Clear timeout1");
    TNLockHandle lock = nullptr;
    if (!CreateDeleteLock(lock)) {
        if (!HasDeleteLock()) return false;
        return WaitForOthersWipe(start, "Clear timeout2");
    }
    try {
        if (Archive) Archive->RemoveArchiveFolderObjects(GetPath());
        std::vector<std::string> directories;
        ListDirectories(GetPath(), directories, kGuidNameMask);
        for (const std::string& directory : directories) {
            if (!DeleteMeasuringPointFiles(directory)) TarnovelleThrowException(GetPath(), "Clear remove files failed");
            if (HoldsNothing(directory)) DeleteDirectory(directory);
        }
    } catch (...) {
        RemoveDeleteLock(lock);
        throw;
    }
    RemoveDeleteLock(lock);
    return true;
}

// ---------------------------------------------------------------- lock files

std::string CTarnovelleArchiveFolder::GetDeleteLockFileName() const { return GetPath() + "/Delete.Lock"; }

std::string CTarnovelleArchiveFolder::GetReadLockFileName() const {
    return GetPath() + "/" + GuidToString(ReadLockId) + ".Read";
}

bool CTarnovelleArchiveFolder::HasDeleteLock() const { return PathExists(GetDeleteLockFileName()); }

bool CTarnovelleArchiveFolder::HasReadLock() const { return FileMaskExists(GetPath(), "*.Read"); }

bool CTarnovelleArchiveFolder::IsReadLock() const { return PathExists(GetReadLockFileName()); }

bool CTarnovelleArchiveFolder::CreateDeleteLock(TNLockHandle& handle) {
    handle = nullptr;
    if (HasDeleteLock()) return false;
    // Makes the folder's parents; a missing folder lets the open fail.
    CreatePathRecursive(GetPath());
    handle = OpenLockFile(GetDeleteLockFileName());
    if (!handle) return false;
    // From here no new reader gets in; those inside are waited out.
    const CTNUTCTimeStamp start = CTNUTCTimeStamp::GetCurrentUTCTime();
    while (HasReadLock()) {
        KillOldReadLockFiles();
        TNGetClock()->Sleep(kPollMilliseconds);
        if (SecondsSince(start) > kLimitSeconds) {
            RemoveDeleteLock(handle);
            TarnovelleThrowException(GetPath(), "CreateDeleteLock timeout");
        }
    }
    return true;
}

bool CTarnovelleArchiveFolder::RemoveDeleteLock(TNLockHandle& handle) {
    Release(handle);
    return true;
}

bool CTarnovelleArchiveFolder::CreateReadLock(TNLockHandle& handle) {
    handle = nullptr;
    // This object holds its file already: the inner pair releases nothing.
    if (IsReadLock()) return true;
    const CTNUTCTimeStamp start = CTNUTCTimeStamp::GetCurrentUTCTime();
    while (HasDeleteLock()) {
        KillOldDeleteLockFiles();
        TNGetClock()->Sleep(kPollMilliseconds);
        if (SecondsSince(start) > kLimitSeconds) TarnovelleThrowException(GetPath(), "CreateReadLock timeout");
    }
    const std::string name = GetReadLockFileName();
    CreatePathRecursive(name);
    handle = OpenLockFile(name);
    return handle != nullptr;
}

bool CTarnovelleArchiveFolder::RemoveReadLock(TNLockHandle& handle) {
    if (handle) Release(handle);
    return true;
}

void CTarnovelleArchiveFolder::KillOldLockFiles(const std::string& path) {
    STNFileStatus status;
    try {
        if (!CTarnovelleFile::GetStatus(path.c_str(), status)) return;
    } catch (...) {
        return;
    }
    const int64_t newest = std::max({status.m_ctime, status.m_atime, status.m_mtime});
    const uint32_t newestSeconds = static_cast<uint32_t>(newest / 1000000000);
    // Unsigned on purpose: a stamp ahead of this machine's clock is old at once.
    const uint32_t age = CTNUTCTimeStamp::GetCurrentUTCTime().GetSecondsSince1970() - newestSeconds;
    if (age <= kLimitSeconds) return;
    const bool deleted = DeleteFilePath(path) == 0;
    char text[4200];
    std::snprintf(text, sizeof(text),
                  deleted ? "KillOldLockFiles suceeded for '%s'" : "KillOldLockFiles failed for '%s'", path.c_str());
    TarnovelleLogMessage("KillOldLockFiles", text);
}

void CTarnovelleArchiveFolder::KillOldDeleteLockFiles() { KillOldLockFiles(GetDeleteLockFileName()); }

void CTarnovelleArchiveFolder::KillOldReadLockFiles() {
    std::vector<std::string> files;
    ListFiles(GetPath(), files, "*.Read", false);
    for (const std::string& file : files) KillOldLockFiles(file);
}
