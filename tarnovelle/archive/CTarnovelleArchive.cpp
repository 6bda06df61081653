#include "tarnovelle/archive/CTarnovelleArchive.h"

#include <algorithm>
#include <memory>

#include "tarnovelle/support/CTarnovelleException.h"
#include "tarnovelle/support/TNPath.h"

namespace {

// Position where the extension of the last path component begins, or npos.
size_t ExtensionStart(const std::string& path) {
    const size_t slash = path.find_last_of('/');
    const size_t dot = path.find_last_of('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return std::string::npos;
    return dot;
}

std::string WithExtension(const std::string& path, const char* extension) {
    return path.substr(0, ExtensionStart(path)) + extension;
}

std::string Stem(const std::string& path) {
    const size_t slash = path.find_last_of('/');
    const size_t begin = slash == std::string::npos ? 0 : slash + 1;
    const size_t ext = ExtensionStart(path);
    return path.substr(begin, (ext == std::string::npos ? path.size() : ext) - begin);
}

}  // namespace

CTarnovelleArchive::CTarnovelleArchive() = default;

CTarnovelleArchive::~CTarnovelleArchive() {
    ClearMeasuringPointArray();
    for (CTarnovelleArchiveFolder* folder : m_arrArchiveFolders) delete folder;
    for (CTarnovelleArchiveFolder* folder : m_arrRetiredFolders) delete folder;
}

ETarnovelleErrors CTarnovelleArchive::Init(const std::string& file) {
    if (!m_bRefreshing) {
        m_strArchiveFileName = WithExtension(file, ".TNArch");
        m_strName = Stem(m_strArchiveFileName);
        m_strLockFileName = WithExtension(m_strArchiveFileName, ".Lock");
    }
    STNFileStatus status;
    if (!CTarnovelleFile::GetStatus(m_strArchiveFileName.c_str(), status)) return TNE_OK;

    const ETarnovelleErrors result = UpdateArchiveFolders();
    if (result != TNE_OK) return result;
    InsertAllMeasuringPoints();
    return TNE_OK;
}

void CTarnovelleArchive::SetArchiveFileName(const char* file) {
    m_strArchiveFileName = file ? file : "";
    m_strLockFileName = WithExtension(m_strArchiveFileName, ".Lock");
}


// ---------------------------------------------------------------- folders

CTarnovelleArchiveFolder* CTarnovelleArchive::AddArchive(const std::string& path, TNARCHIVE_MODE mode, uint32_t size) {
    CreatePathRecursive(path + "/");
    if (!PathExists(path)) return nullptr;
    const size_t number = m_arrArchiveFolders.empty() ? 1 : m_arrArchiveFolders.size();
    for (CTarnovelleArchiveFolder* folder : m_arrArchiveFolders) {
        if (folder && folder->GetPath() == path) return folder;
    }
    auto folder = std::make_unique<CTarnovelleArchiveFolder>(this, path, static_cast<int32_t>(number));
    folder->SetMode(mode, size);
    if (m_arrArchiveFolders.size() <= number) m_arrArchiveFolders.resize(number + 1, nullptr);
    m_arrArchiveFolders[number] = folder.release();
    WriteNewFolderLine(static_cast<int32_t>(number), path);
    GetActiveArchiveFolder();
    return m_arrArchiveFolders[number];
}

CTarnovelleArchiveFolder* CTarnovelleArchive::GetActiveArchiveFolder() {
    CTarnovelleArchiveFolder* first = nullptr;
    for (CTarnovelleArchiveFolder* folder : m_arrArchiveFolders) {
        if (!folder) continue;
        if (folder->IsActive()) return folder;
        if (!first) first = folder;
    }
    if (first) first->SetActive(true);
    return first;
}

uint32_t CTarnovelleArchive::GetNextArchiveFolderNumber() const {
    return m_arrArchiveFolders.empty() ? 1 : static_cast<uint32_t>(m_arrArchiveFolders.size());
}

const std::vector<CTarnovelleArchiveFolder*>& CTarnovelleArchive::GetArrayOfArchiveFolders() {
    m_arrOrderedFolders.clear();
    if (!m_bRoundTripArchive) {
        for (CTarnovelleArchiveFolder* folder : m_arrArchiveFolders) {
            if (folder) m_arrOrderedFolders.push_back(folder);
        }
        return m_arrOrderedFolders;
    }
    const auto active = std::find_if(m_arrArchiveFolders.begin(), m_arrArchiveFolders.end(),
                                      [](const CTarnovelleArchiveFolder* f) { return f && f->IsActive(); });
    if (active == m_arrArchiveFolders.end()) return m_arrOrderedFolders;
    // Oldest to newest as the ring runs: behind the active one, then round.
    for (auto it = active + 1; it != m_arrArchiveFolders.end(); ++it) {
        if (*it) m_arrOrderedFolders.push_back(*it);
    }
    for (auto it = m_arrArchiveFolders.begin(); it != active + 1; ++it) {
        if (*it) m_arrOrderedFolders.push_back(*it);
    }
    return m_arrOrderedFolders;
}

int32_t CTarnovelleArchive::RemoveArchiveFolder(CTarnovelleArchiveFolder* folder) {
    const auto slot = std::find(m_arrArchiveFolders.begin(), m_arrArchiveFolders.end(), folder);
    if (!folder || slot == m_arrArchiveFolders.end()) return 0;
    if (!folder->IsEmpty() || folder->IsActive()) return 0;
    delete folder;
    *slot = nullptr;
    GetArrayOfArchiveFolders();
    return 1;
}

// ---------------------------------------------------------------- read locks

ETarnovelleErrors CTarnovelleArchive::CreateReadLock(std::vector<TNLockHandle>& handles) {
    handles.assign(m_arrArchiveFolders.size(), nullptr);
    for (size_t index = 0; index < m_arrArchiveFolders.size(); ++index) {
        CTarnovelleArchiveFolder* folder = m_arrArchiveFolders[index];
        if (!folder) continue;
        TNLockHandle handle = nullptr;
        bool locked = false;
        try {
            locked = folder->CreateReadLock(handle);
        } catch (const CTarnovelleException&) {
            RemoveReadLock(handles);
            throw;
        }
        if (!locked) return TNE_ARCHIVE_LOCK_FAILED;
        handles[index] = handle;
    }
    return TNE_OK;
}

void CTarnovelleArchive::RemoveReadLock(std::vector<TNLockHandle>& handles) {
    bool failed = false;
    for (size_t index = 0; index < m_arrArchiveFolders.size(); ++index) {
        CTarnovelleArchiveFolder* folder = m_arrArchiveFolders[index];
        if (!folder) continue;
        TNLockHandle empty = nullptr;
        TNLockHandle& handle = index < handles.size() ? handles[index] : empty;
        try {
            folder->RemoveReadLock(handle);
        } catch (...) {
            // As many locks as possible are given back.
            failed = true;
        }
    }
    if (failed) TarnovelleThrowException("*.Read", "CTarnovelleArchive::RemoveReadLock minimum one remove failed.");
    handles.clear();
}

void CTarnovelleArchive::RemoveArchiveFolderObjects(const std::string& path) {
    for (CTarnovelleMeasuringPointConnector* connector : m_arrConnectors) {
        if (connector) connector->RemoveArchiveFolderObjects(path);
    }
}

// ---------------------------------------------------------------- measuring points

void CTarnovelleArchive::InsertMeasuringPoints(const GUID& guid) {
    if (GetMeasuringPointConnector(guid)) return;
    AddMeasuringPoints(guid);
}

void CTarnovelleArchive::AddMeasuringPoints(const GUID& guid) {
    auto connector = std::make_unique<CTarnovelleMeasuringPointConnector>();
    connector->Init(guid, *this);
    m_arrConnectors.push_back(connector.release());
}

CTarnovelleMeasuringPointConnector* CTarnovelleArchive::GetMeasuringPointConnector(const GUID& guid) {
    for (CTarnovelleMeasuringPointConnector* connector : m_arrConnectors) {
        if (connector && connector->GetGUID() == guid) return connector;
    }
    return nullptr;
}

CTarnovelleMeasuringPoint* CTarnovelleArchive::GetMeasuringPoint(const GUID& guid, const std::string& path) {
    CTarnovelleMeasuringPointConnector* connector = GetMeasuringPointConnector(guid);
    if (!connector) {
        InsertMeasuringPoints(guid);
        connector = GetMeasuringPointConnector(guid);
    }
    return connector ? connector->GetMeasuringPoint(path) : nullptr;
}

CTarnovelleMeasuringPoint* CTarnovelleArchive::CreateMeasuringPoint(const GUID& guid, const std::string& path) {
    for (CTarnovelleMeasuringPoint* point : m_arrMeasuringPoints) {
        if (point->GetGUID() == guid && point->GetRootPath() == path) return point;
    }
    auto point = std::make_unique<CTarnovelleMeasuringPoint>();
    point->Init(guid, path);
    m_arrMeasuringPoints.push_back(point.get());
    return point.release();
}

void CTarnovelleArchive::DeleteMeasuringPoint(CTarnovelleMeasuringPoint* point) {
    const auto found = std::find(m_arrMeasuringPoints.begin(), m_arrMeasuringPoints.end(), point);
    if (found == m_arrMeasuringPoints.end()) return;
    m_arrMeasuringPoints.erase(found);
    delete point;
}

void CTarnovelleArchive::ClearMeasuringPointArray() {
    for (CTarnovelleMeasuringPointConnector* connector : m_arrConnectors) delete connector;
    m_arrConnectors.clear();
    for (CTarnovelleMeasuringPoint* point : m_arrMeasuringPoints) delete point;
    m_arrMeasuringPoints.clear();
}

TNFolderPaths CTarnovelleArchive::GetFolderPaths() {
    TNFolderPaths paths;
    paths.reserve(m_arrArchiveFolders.size());
    for (CTarnovelleArchiveFolder* folder : m_arrArchiveFolders) {
        if (folder) paths.emplace_back(folder->GetPath());
        else paths.emplace_back(std::nullopt);
    }
    return paths;
}

bool CTarnovelleArchive::GetActiveFolderPath(std::string& path) {
    CTarnovelleArchiveFolder* folder = GetActiveArchiveFolder();
    if (!folder) return false;
    path = folder->GetPath();
    return true;
}

// ---------------------------------------------------------------- reading one measuring point

ETarnovelleErrors CTarnovelleArchive::GetArrayChannelsIDs(const GUID& guid, std::vector<SChannelID>& ids) {
    CTarnovelleMeasuringPointConnector* connector = GetMeasuringPointConnector(guid);
    return connector ? connector->GetArrayChannelsIDs(ids) : TNE_FAILED;
}

ETarnovelleErrors CTarnovelleArchive::GetTimeRange(const GUID& guid, CTNUTCTimeStamp& from, CTNUTCTimeStamp& to) {
    CTarnovelleMeasuringPointConnector* connector = GetMeasuringPointConnector(guid);
    return connector ? connector->GetTimeRange(from, to) : TNE_NO_OBJECT;
}

ETarnovelleErrors CTarnovelleArchive::GetTimeRange(const GUID& guid, const SChannelID& channel, CTNUTCTimeStamp& from,
                                                   CTNUTCTimeStamp& to) {
    CTarnovelleMeasuringPointConnector* connector = GetMeasuringPointConnector(guid);
    return connector ? connector->GetTimeRange(channel, from, to) : TNE_NO_OBJECT;
}

ETarnovelleErrors CTarnovelleArchive::IsEmpty(const GUID& guid, const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to,
                                              int32_t& empty) {
    CTarnovelleMeasuringPointConnector* connector = GetMeasuringPointConnector(guid);
    return connector ? connector->IsEmpty(from, to, empty) : TNE_NO_OBJECT;
}

ETarnovelleErrors CTarnovelleArchive::IsEmpty(const GUID& guid, const SChannelID& channel, const CTNUTCTimeStamp& from,
                                              const CTNUTCTimeStamp& to, int32_t& empty) {
    CTarnovelleMeasuringPointConnector* connector = GetMeasuringPointConnector(guid);
    return connector ? connector->IsEmpty(channel, from, to, empty) : TNE_NO_OBJECT;
}

ETarnovelleErrors CTarnovelleArchive::GetSamplesForTimeRange(const GUID& guid, const SChannelID& channel,
                                                             const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to,
                                                             CTarnovelleSampleArray& samples) {
    CTarnovelleMeasuringPointConnector* connector = GetMeasuringPointConnector(guid);
    if (!connector) return TNE_FAILED;
    std::vector<TNLockHandle> locks;
    ETarnovelleErrors status = CreateReadLock(locks);
    if (status == TNE_OK) {
        try {
            status = connector->GetSamplesForTimeRange(channel, from, to, samples);
        } catch (...) {
            RemoveReadLock(locks);
            throw;
        }
    }
    // Also after a failed lock: whatever was taken goes back.
    RemoveReadLock(locks);
    return status;
}
