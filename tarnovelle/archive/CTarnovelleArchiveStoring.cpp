// The storing side of CTarnovelleArchive: samples, messages and parameter
// sets into the active folder, the status channel, the write lock, and the
// folder check that decides when a folder is full and which one comes next.
#include <algorithm>
#include <memory>

#include "tarnovelle/archive/CTarnovelleArchive.h"
#include "tarnovelle/support/CTarnovelleException.h"
#include "tarnovelle/values/CTNMessageFormatter.h"
#include "tarnovelle/values/CTarnovelleTextManager.h"

namespace {

// Stored sample bytes between two folder checks; the test is strict and signed.
constexpr int32_t kCheckInterval = 0x40000;
constexpr GUID kStatusPoint = {0, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0}};
const SChannelID kStatusChannel(CT_MESSAGE, PH_NONE, MVT_BINARY);
// Texts of the status lines and the status point's name.
constexpr uint16_t kTextFull = 64;
constexpr uint16_t kTextSwitch = 65;
constexpr uint16_t kTextNoSwitch = 66;
constexpr uint16_t kTextNotCleared = 70;
constexpr uint16_t kTextCleared = 71;
constexpr uint16_t kTextNoRoom = 72;
constexpr uint16_t kTextStatusName = 88;
constexpr uint16_t kTextNewFolder = 109;

bool IsSwitchOrOk(ETarnovelleErrors result) { return result == TNE_OK || result == TNE_FOLDER_SWITCHED; }

void CloseQuietly(CTarnovelleChannel& channel) {
    try {
        channel.Close();
    } catch (...) {
        // The failure being passed on is the one that matters.
    }
}

}  // namespace

// ---------------------------------------------------------------- samples

void CTarnovelleArchive::CheckWhenDue() {
    if (m_nBytesSinceCheck <= kCheckInterval) return;
    const ETarnovelleErrors result = CheckArchiveActivation();
    if (!IsSwitchOrOk(result)) PostMessageA(result, TNMSG_NONE);
    m_nBytesSinceCheck = 0;
}

ETarnovelleErrors CTarnovelleArchive::SaveSamples(const GUID& guid, const SChannelID& id,
                                                  CTarnovelleSampleArray& samples) {
    CTarnovelleChannel* channel = GetActiveChannel(guid, id);
    if (!channel) return TNE_FAILED;
    ETarnovelleErrors status = channel->Open();
    if (status != TNE_OK) return status;
    for (int32_t i = 0; i < samples.GetSize(); ++i) {
        const CTarnovelleSample* sample = samples[i];
        if (!sample) continue;
        if (m_nBytesSinceCheck > kCheckInterval) {
            // Between two blocks, never inside one: the channel goes, the
            // check may switch folders, and the next block goes to the
            // folder active then.
            channel->Close();
            const ETarnovelleErrors result = CheckArchiveActivation();
            if (!IsSwitchOrOk(result)) PostMessageA(result, TNMSG_NONE);
            m_nBytesSinceCheck = 0;
            if (status != TNE_OK) return status;
            channel = GetActiveChannel(guid, id);
            // Looked at by the next step only, as it always was.
            status = channel ? channel->Open() : TNE_FAILED;
            if (!channel) return status;
        }
        m_nBytesSinceCheck += sample->GetSizeInBytes();
        try {
            status = sample->Save(*channel);
        } catch (const CTarnovelleException&) {
            CloseQuietly(*channel);
            throw;
        }
        if (status != TNE_OK) {
            CloseQuietly(*channel);
            return status;
        }
    }
    channel->Close();
    return status;
}

ETarnovelleErrors CTarnovelleArchive::SaveSamples(const GUID& guid, const SChannelID& id,
                                                  const CTarnovelleSample& sample) {
    CheckWhenDue();
    CTarnovelleChannel* channel = GetActiveChannel(guid, id);
    if (!channel) return TNE_FAILED;
    ETarnovelleErrors status = channel->Open();
    if (status != TNE_OK) return status;
    m_nBytesSinceCheck += sample.GetSizeInBytes();
    try {
        status = sample.Save(*channel);
    } catch (const CTarnovelleException&) {
        CloseQuietly(*channel);
        throw;
    }
    channel->Close();
    return status;
}

namespace {

template <typename Record>
ETarnovelleErrors StoreRecord(CTarnovelleChannel* channel, EFormatId format, const Record& record) {
    if (!channel) return TNE_FAILED;
    ETarnovelleErrors status = channel->Open();
    if (status != TNE_OK) return status;
    try {
        status = channel->WriteBeginSampleBinary(format, record.GetTimeStamp(), record.GetTimeStamp());
        if (status == TNE_OK) channel->WriteSampleData(&record, 1);
    } catch (const CTarnovelleException&) {
        CloseQuietly(*channel);
        throw;
    }
    channel->Close();
    return status;
}

}  // namespace

ETarnovelleErrors CTarnovelleArchive::SaveMessage(const GUID& guid, const SChannelID& id, const SBinary_BYTE& message) {
    return StoreRecord(GetActiveChannel(guid, id), FORMAT_BINARY_BYTE, message);
}

ETarnovelleErrors CTarnovelleArchive::SaveMessage(const GUID& guid, const SChannelID& id, const SBinary_Text& message) {
    return StoreRecord(GetActiveChannel(guid, id), FORMAT_MESSAGE, message);
}

// ---------------------------------------------------------------- parameters

ETarnovelleErrors CTarnovelleArchive::SaveParameterSet(const GUID& guid, const CTNUTCTimeStamp& time,
                                                       CTarnovelleParameterSet& set) {
    CTarnovelleMeasuringPoint* point = GetActiveMeasuringPoint(guid);
    if (!point) return TNE_FAILED;
    point->InsertParameterSet(set, time);
    return point->Save();
}

ETarnovelleErrors CTarnovelleArchive::SetMeasuringPointName(const GUID& guid, const char* name) {
    CTarnovelleParameterSet set = CTarnovelleParameterSet::CreateParameterSet();
    const ETarnovelleErrors result = set.SetParameter("MeasuringPointName", std::string(name ? name : ""));
    if (result != TNE_OK) return result;
    return SaveParameterSet(guid, CTNUTCTimeStamp::GetCurrentUTCTime(), set);
}

ETarnovelleErrors CTarnovelleArchive::SetParameter(const GUID& guid, const CTNTimeZoneInformation& zone) {
    CTarnovelleParameterSet set = CTarnovelleParameterSet::CreateParameterSet();
    const ETarnovelleErrors result = set.SetParameter("TimeZoneName", zone.GetName());
    if (result != TNE_OK) return result;
    return SaveParameterSet(guid, CTNUTCTimeStamp::GetCurrentUTCTime(), set);
}

ETarnovelleErrors CTarnovelleArchive::SetParameter(const GUID& guid, const SProgramInfo& info) {
    CTarnovelleParameterSet set = CTarnovelleParameterSet::CreateParameterSet();
    ETarnovelleErrors result = set.SetParameter("AppName", info.GetName());
    if (result == TNE_OK) result = set.SetParameter("AppVersionMajor", info.GetVersionMajor());
    if (result == TNE_OK) result = set.SetParameter("AppVersionMinor", info.GetVersionMinor());
    if (result == TNE_OK) result = set.SetParameter("AppVersionBuild", info.GetVersionBuild());
    if (result == TNE_OK) result = set.SetParameter("AppVersionRevision", info.GetVersionRevision());
    if (result != TNE_OK) return result;
    return SaveParameterSet(guid, CTNUTCTimeStamp::GetCurrentUTCTime(), set);
}

// ---------------------------------------------------------------- measuring points and channels

ETarnovelleErrors CTarnovelleArchive::RemoveMeasuringPoint(GUID guid) {
    const auto connector = std::find_if(m_arrConnectors.begin(), m_arrConnectors.end(),
                                        [&](const CTarnovelleMeasuringPointConnector* c) { return c && c->GetGUID() == guid; });
    if (connector != m_arrConnectors.end()) {
        CTarnovelleMeasuringPointConnector* gone = *connector;
        m_arrConnectors.erase(connector);
        delete gone;
    }
    for (size_t index = 0; index < m_arrMeasuringPoints.size();) {
        if (m_arrMeasuringPoints[index]->GetGUID() == guid) {
            delete m_arrMeasuringPoints[index];
            m_arrMeasuringPoints.erase(m_arrMeasuringPoints.begin() + static_cast<std::ptrdiff_t>(index));
            index = 0;
        } else {
            ++index;
        }
    }
    for (CTarnovelleArchiveFolder* folder : m_arrArchiveFolders) {
        if (!folder) continue;
        const ETarnovelleErrors result = folder->RemoveMeasuringPoint(guid);
        if (result != TNE_OK) return result;
    }
    return TNE_OK;
}

CTarnovelleChannel* CTarnovelleArchive::CreateChannel(const GUID& guid, const SChannelID& id) {
    CTarnovelleArchiveFolder* folder = GetActiveArchiveFolder();
    if (!folder) return nullptr;
    CTarnovelleMeasuringPointConnector* connector = GetMeasuringPointConnector(guid);
    if (!connector) return nullptr;
    return connector->CreateChannel(id, folder->GetPath());
}

CTarnovelleMeasuringPoint* CTarnovelleArchive::GetActiveMeasuringPoint(const GUID& guid) {
    CTarnovelleArchiveFolder* folder = GetActiveArchiveFolder();
    if (!folder) return nullptr;
    return GetMeasuringPoint(guid, folder->GetPath());
}

CTarnovelleChannel* CTarnovelleArchive::GetActiveChannel(const GUID& guid, const SChannelID& id) {
    CTarnovelleMeasuringPointConnector* connector = GetMeasuringPointConnector(guid);
    if (!connector) {
        AddMeasuringPoints(guid);
        connector = GetMeasuringPointConnector(guid);
    }
    return connector ? connector->GetActiveChannel(id) : nullptr;
}

CTarnovelleChannel* CTarnovelleArchive::GetArchiveMessageChannel() {
    if (m_arrArchiveFolders.empty()) return nullptr;
    if (!GetMeasuringPointConnector(kStatusPoint)) {
        CTarnovelleParameterSet set = CTarnovelleParameterSet::CreateParameterSet();
        set.SetParameter("MeasuringPointName", CTarnovelleTextManager::LoadString(kTextStatusName));
        SaveParameterSet(kStatusPoint, CTNUTCTimeStamp::GetCurrentUTCTime(), set);
    }
    return GetActiveChannel(kStatusPoint, kStatusChannel);
}

void CTarnovelleArchive::WriteStatusLine(CTarnovelleChannel* channel, const CTNUTCTimeStamp& now, uint16_t id,
                                         int32_t number) {
    if (!channel) return;
    WriteStatusText(channel, now, CTNMessageFormatter::Format(CTarnovelleTextManager::LoadString(id), {number}));
}

void CTarnovelleArchive::WriteNewFolderLine(int32_t number, const std::string& path) {
    CTarnovelleChannel* channel = GetArchiveMessageChannel();
    if (!channel) return;
    WriteStatusText(channel, CTNUTCTimeStamp::GetCurrentUTCTime(),
                    CTNMessageFormatter::Format(CTarnovelleTextManager::LoadString(kTextNewFolder), {number, path}));
}

void CTarnovelleArchive::WriteStatusText(CTarnovelleChannel* channel, const CTNUTCTimeStamp& now,
                                         const std::string& text) {
    const SBinary_Text line(now, text);
    try {
        if (channel->Open() != TNE_OK) return;
        if (channel->WriteBeginSampleBinary(FORMAT_MESSAGE, now, now) == TNE_OK) channel->WriteSampleData(&line, 1);
        channel->Close();
    } catch (...) {
        // A status line that can't be written changes nothing.
        CloseQuietly(*channel);
    }
}

// ---------------------------------------------------------------- notification and write lock

ETarnovelleErrors CTarnovelleArchive::PostMessageA(ETarnovelleErrors status, ETarnovelleMessages message) {
    if (message == TNMSG_ARCHIVING_STOPPED) m_bStopArchiving = true;
    if (!m_hNotifyWnd || m_nNotifyMessage == 0) return TNE_NO_OBJECT;
    const bool posted = m_hNotifyWnd->Post(m_nNotifyMessage, static_cast<uint32_t>(status), static_cast<int32_t>(message));
    return posted ? TNE_OK : TNE_FAILED;
}

bool CTarnovelleArchive::IsLockedForWriting() const {
    const uint32_t handle = m_LockFile.GetHandle();
    return handle != 0 && handle != CTarnovelleFile::hFileNull;
}

ETarnovelleErrors CTarnovelleArchive::LockForWriting(CTNNotifySink* window, uint32_t message, uint32_t /*unused*/) {
    if (IsLockedForWriting()) return TNE_ARCHIVE_LOCK_FAILED;
    Refresh();
    if (!m_LockFile.Open(m_strLockFileName.c_str(), CTarnovelleFile::modeCreate | CTarnovelleFile::modeWrite))
        return TNE_ARCHIVE_LOCK_FAILED;
    // The sink is not stored yet: a full archive at this moment reaches nobody.
    const ETarnovelleErrors result = CheckArchiveActivation();
    if (!IsSwitchOrOk(result)) PostMessageA(result, TNMSG_NONE);
    m_nBytesSinceCheck = 0;
    m_hNotifyWnd = window;
    m_nNotifyMessage = message;
    m_bStopArchiving = false;
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleArchive::RemoveLockForWriting() {
    m_hNotifyWnd = nullptr;
    m_nNotifyMessage = 0;
    if (!IsLockedForWriting()) return TNE_ARCHIVE_NOT_LOCKED;
    // The file stays; only its being held was the lock.
    m_LockFile.Close();
    return TNE_OK;
}

// ---------------------------------------------------------------- folder activation

bool CTarnovelleArchive::TryCandidate(size_t k, CTarnovelleArchiveFolder* active, CTarnovelleChannel*& channel,
                                      const CTNUTCTimeStamp& now) {
    CTarnovelleArchiveFolder* folder = k < m_arrArchiveFolders.size() ? m_arrArchiveFolders[k] : nullptr;
    if (!folder) return false;
    if (!folder->IsEmpty()) {
        const bool cleared = folder->Clear();
        // Wiping may have taken the status channel's objects with it.
        channel = GetArchiveMessageChannel();
        WriteStatusLine(channel, now, cleared ? kTextCleared : kTextNotCleared, static_cast<int32_t>(k));
        if (!cleared) return false;
    }
    if (folder->IsFull()) {
        WriteStatusLine(channel, now, kTextNoRoom, static_cast<int32_t>(k));
        return false;
    }
    SwitchArchiveActivation(active, folder);
    return true;
}

ETarnovelleErrors CTarnovelleArchive::CheckArchiveActivation() {
    UpdateArchiveFolders();
    CTarnovelleArchiveFolder* active = GetActiveArchiveFolder();
    if (!active) return TNE_NO_ACTIVE_FOLDER;
    const CTNUTCTimeStamp now = CTNUTCTimeStamp::GetCurrentUTCTime();
    CTarnovelleChannel* channel = GetArchiveMessageChannel();
    if (!active->IsFull()) return TNE_OK;
    WriteStatusLine(channel, now, kTextFull, active->GetNumber());
    // Later folders are taken, and wiped first, in either mode.
    for (size_t i = static_cast<size_t>(std::max(active->GetNumber(), -1) + 1); i < m_arrArchiveFolders.size(); ++i) {
        if (TryCandidate(i, active, channel, now)) return TNE_FOLDER_SWITCHED;
    }
    if (!active->IsActive()) return TNE_OK;
    if (m_bRoundTripArchive) {
        // The wrap passes every slot, the active folder's own included.
        for (size_t j = 0; j < m_arrArchiveFolders.size(); ++j) {
            if (TryCandidate(j, active, channel, now)) return TNE_FOLDER_SWITCHED;
        }
    }
    if (!active->IsActive()) return TNE_OK;
    WriteStatusLine(channel, now, kTextNoSwitch, 0);
    return TNE_ARCHIVE_FULL;
}

ETarnovelleErrors CTarnovelleArchive::SwitchArchiveActivation(CTarnovelleArchiveFolder* from,
                                                              CTarnovelleArchiveFolder* to) {
    // Written while the old folder is still the active one.
    WriteStatusLine(GetArchiveMessageChannel(), CTNUTCTimeStamp::GetCurrentUTCTime(), kTextSwitch, to->GetNumber());
    from->SetActive(false);
    to->SetActive(true);
    Save();
    // Each measuring point's parameters go along, with their own times, so
    // that every folder can be read by itself.
    const std::string fromPath = from->GetPath();
    const std::vector<CTarnovelleMeasuringPointConnector*> connectors = m_arrConnectors;
    for (CTarnovelleMeasuringPointConnector* connector : connectors) {
        if (!connector) continue;
        CTarnovelleParameterSet set = connector->GetCompleteParameterSet(fromPath);
        if (set.IsValid()) SaveParameterSet(connector->GetGUID(), set.GetTimeOfValidity(), set);
    }
    return TNE_OK;
}
