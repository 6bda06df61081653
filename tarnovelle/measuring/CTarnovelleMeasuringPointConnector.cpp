#include "tarnovelle/measuring/CTarnovelleMeasuringPointConnector.h"
#include "tarnovelle/support/TNText.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

#include "tarnovelle/storage/CTarnovelleFile.h"
#include "tarnovelle/support/TNGuid.h"
#include "tarnovelle/support/TNPath.h"
#include "tarnovelle/values/STarnovelleTimeStampInMsec.h"

namespace {

}  // namespace

CTarnovelleMeasuringPointConnector::CTarnovelleMeasuringPointConnector() : m_GUID{}, Archive(nullptr) {}

CTarnovelleMeasuringPointConnector::~CTarnovelleMeasuringPointConnector() {
    if (ChannelConnectors) {
        for (CTarnovelleChannelConnector* connector : *ChannelConnectors) delete connector;
    }
    ChannelConnectorMap.clear();
    // The measuring points are the archive's: only the list goes.
}

ETarnovelleErrors CTarnovelleMeasuringPointConnector::Init(const GUID& guid, CTNConnectorOwner& archive) {
    m_GUID = guid;
    Archive = &archive;
    return TNE_OK;
}

template <typename Walk>
void CTarnovelleMeasuringPointConnector::UnderReadLocks(Walk walk) {
    if (!Archive) return;
    const TNFolderPaths folders = Archive->GetFolderPaths();
    std::vector<CTarnovelleFile*> locks;
    if (Archive->CreateReadLock(locks) != TNE_OK) {
        // What could be locked is given back; the list stays as it is.
        Archive->RemoveReadLock(locks);
        return;
    }
    try {
        walk(folders);
    } catch (...) {
        Archive->RemoveReadLock(locks);
        throw;
    }
    Archive->RemoveReadLock(locks);
}

// ---------------------------------------------------------------- the measuring points

void CTarnovelleMeasuringPointConnector::EnsureMeasuringPoints() {
    if (!MeasuringPoints) InitMeasuringPointArray();
}

void CTarnovelleMeasuringPointConnector::InitMeasuringPointArray() {
    if (MeasuringPoints) return;
    MeasuringPoints = std::make_unique<std::vector<CTarnovelleMeasuringPoint*>>();
    UpdateMeasuringPointArray();
}

void CTarnovelleMeasuringPointConnector::UpdateMeasuringPointArray() {
    if (!MeasuringPoints) MeasuringPoints = std::make_unique<std::vector<CTarnovelleMeasuringPoint*>>();
    UnderReadLocks([this](const TNFolderPaths& folders) {
        for (const std::optional<std::string>& folder : folders) {
            if (!folder || !PathExists(*folder + "/" + GuidToString(m_GUID))) continue;
            // The archive's lookup enters the point in this very list when it
            // makes it; it goes in once.
            CTarnovelleMeasuringPoint* point = Archive->GetMeasuringPoint(m_GUID, *folder);
            if (point && std::find(MeasuringPoints->begin(), MeasuringPoints->end(), point) == MeasuringPoints->end())
                MeasuringPoints->push_back(point);
        }
    });
}

void CTarnovelleMeasuringPointConnector::RefreshMeasuringPointArray() {
    if (!MeasuringPoints) MeasuringPoints = std::make_unique<std::vector<CTarnovelleMeasuringPoint*>>();
    UnderReadLocks([this](const TNFolderPaths& folders) {
        for (const std::optional<std::string>& folder : folders) {
            if (!folder || !PathExists(*folder + "/" + GuidToString(m_GUID) + "/ConfData.Inf")) continue;
            const bool known = std::any_of(MeasuringPoints->begin(), MeasuringPoints->end(),
                                           [&](const CTarnovelleMeasuringPoint* p) { return p->GetRootPath() == *folder; });
            if (known) continue;
            CTarnovelleMeasuringPoint* point = Archive->GetMeasuringPoint(m_GUID, *folder);
            if (point && std::find(MeasuringPoints->begin(), MeasuringPoints->end(), point) == MeasuringPoints->end())
                MeasuringPoints->push_back(point);
        }
    });
}

CTarnovelleMeasuringPoint* CTarnovelleMeasuringPointConnector::GetMeasuringPoint(const std::string& rootPath) {
    EnsureMeasuringPoints();
    for (auto it = MeasuringPoints->rbegin(); it != MeasuringPoints->rend(); ++it) {
        if ((*it)->GetRootPath() == rootPath) return *it;
    }
    if (!Archive) return nullptr;
    CTarnovelleMeasuringPoint* point = Archive->CreateMeasuringPoint(m_GUID, rootPath);
    if (point) MeasuringPoints->push_back(point);
    return point;
}

CTarnovelleMeasuringPoint* CTarnovelleMeasuringPointConnector::GetActiveMeasuringPoint() {
    std::string active;
    if (!Archive || !Archive->GetActiveFolderPath(active)) return nullptr;
    return GetMeasuringPoint(active);
}

const std::vector<CTarnovelleMeasuringPoint*>& CTarnovelleMeasuringPointConnector::GetMeasuringPoints() {
    EnsureMeasuringPoints();
    return *MeasuringPoints;
}

// ---------------------------------------------------------------- the channel connectors

void CTarnovelleMeasuringPointConnector::EnsureChannelConnectors() {
    if (!ChannelConnectors) InitChannelConnectorArray();
}

void CTarnovelleMeasuringPointConnector::InitChannelConnectorArray() {
    if (ChannelConnectors) return;
    ChannelConnectors = std::make_unique<std::vector<CTarnovelleChannelConnector*>>();
    UpdateChannelConnectorArray();
}

void CTarnovelleMeasuringPointConnector::UpdateChannelConnectorArray() { FillChannelConnectorArray(false); }

void CTarnovelleMeasuringPointConnector::RefreshChannelConnectorArray() { FillChannelConnectorArray(true); }

void CTarnovelleMeasuringPointConnector::AddChannelConnector(std::unique_ptr<CTarnovelleChannelConnector> connector) {
    ChannelConnectors->push_back(connector.get());
    ChannelConnectorMap[connector->GetChannelID().GetDWORD()] = connector.get();
    connector.release();
}

void CTarnovelleMeasuringPointConnector::FillChannelConnectorArray(bool refresh) {
    if (!ChannelConnectors) ChannelConnectors = std::make_unique<std::vector<CTarnovelleChannelConnector*>>();
    UnderReadLocks([this, refresh](const TNFolderPaths& folders) {
        for (const std::optional<std::string>& folder : folders) {
            if (!folder) continue;
            const std::string directory = *folder + "/" + GuidToString(m_GUID);
            for (const uint32_t number : CTarnovelleChannel::ListChannelNumbers(directory)) {
                const SChannelID id(number);
                if (Find(id)) continue;
                auto connector = std::make_unique<CTarnovelleChannelConnector>(*this);
                if (refresh) connector->Refresh(m_GUID, id, folders);
                else connector->Init(m_GUID, id, folders);
                AddChannelConnector(std::move(connector));
            }
        }
    });
}

const std::vector<CTarnovelleChannelConnector*>& CTarnovelleMeasuringPointConnector::GetChannelConnectors() {
    EnsureChannelConnectors();
    return *ChannelConnectors;
}

CTarnovelleChannelConnector* CTarnovelleMeasuringPointConnector::Find(const SChannelID& channel) {
    const auto found = ChannelConnectorMap.find(channel.GetDWORD());
    return found == ChannelConnectorMap.end() ? nullptr : found->second;
}

CTarnovelleChannelConnector* CTarnovelleMeasuringPointConnector::GetChannelConnector(const SChannelID& channel) {
    EnsureChannelConnectors();
    for (CTarnovelleChannelConnector* connector : *ChannelConnectors) {
        if (connector->GetChannelID() == channel) return connector;
    }
    return nullptr;
}

// ---------------------------------------------------------------- refresh

ETarnovelleErrors CTarnovelleMeasuringPointConnector::Refresh() {
    if (MeasuringPoints) {
        size_t failed = 0;
        for (CTarnovelleMeasuringPoint* point : *MeasuringPoints) {
            if (point->Refresh() != TNE_OK) ++failed;
        }
        // As many go as failed, taken from the front: they are found again
        // below when their files are there.
        for (size_t j = failed; j > 0; --j) {
            const size_t index = j - 1;
            if (index >= MeasuringPoints->size()) continue;
            CTarnovelleMeasuringPoint* point = (*MeasuringPoints)[index];
            MeasuringPoints->erase(MeasuringPoints->begin() + static_cast<std::ptrdiff_t>(index));
            if (Archive) Archive->DeleteMeasuringPoint(point);
        }
        RefreshMeasuringPointArray();
    } else {
        MeasuringPoints = std::make_unique<std::vector<CTarnovelleMeasuringPoint*>>();
        RefreshMeasuringPointArray();
    }
    if (!ChannelConnectors) {
        ChannelConnectors = std::make_unique<std::vector<CTarnovelleChannelConnector*>>();
        RefreshChannelConnectorArray();
        return TNE_OK;
    }
    const TNFolderPaths folders = Archive ? Archive->GetFolderPaths() : TNFolderPaths();
    for (CTarnovelleChannelConnector* connector : *ChannelConnectors) connector->Refresh(folders);
    RefreshChannelConnectorArray();
    return TNE_OK;
}

void CTarnovelleMeasuringPointConnector::RemoveArchiveFolderObjects(const std::string& path) {
    if (ChannelConnectors) {
        for (CTarnovelleChannelConnector* connector : *ChannelConnectors) connector->RemoveArchiveFolderObjects(path);
    }
    if (!MeasuringPoints) return;
    const std::string folder = TNToUpper(path);
    for (size_t index = 0; index < MeasuringPoints->size(); ++index) {
        CTarnovelleMeasuringPoint* point = (*MeasuringPoints)[index];
        if (TNToUpper(point->GetRootPath()) != folder) continue;
        MeasuringPoints->erase(MeasuringPoints->begin() + static_cast<std::ptrdiff_t>(index));
        if (Archive) Archive->DeleteMeasuringPoint(point);
        // The walk goes on at the next index: one point per folder.
    }
}

// ---------------------------------------------------------------- queries

std::string CTarnovelleMeasuringPointConnector::GetName() {
    CTarnovelleParameterSet set = GetParameterSet(CTNUTCTimeStamp::GetCurrentUTCTime());
    std::string name;
    if (set.IsValid() && set.GetParameter("MeasuringPointName", name) == TNE_OK) return name;
    return GuidToString(m_GUID);
}

CTarnovelleChannel* CTarnovelleMeasuringPointConnector::GetActiveChannel(const SChannelID& channel) {
    EnsureChannelConnectors();
    if (CTarnovelleChannelConnector* connector = Find(channel)) return connector->GetActiveChannel();
    CTarnovelleMeasuringPoint* point = GetActiveMeasuringPoint();
    if (!point) return nullptr;
    return CreateChannel(channel, point->GetRootPath());
}

CTarnovelleChannel* CTarnovelleMeasuringPointConnector::CreateChannel(const SChannelID& channel,
                                                                      const std::string& rootPath) {
    EnsureChannelConnectors();
    for (CTarnovelleChannelConnector* connector : *ChannelConnectors) {
        if (connector->GetChannelID() == channel) return connector->CreateChannel(rootPath);
    }
    auto connector = std::make_unique<CTarnovelleChannelConnector>(*this);
    if (connector->Init(m_GUID, channel, Archive ? Archive->GetFolderPaths() : TNFolderPaths()) != TNE_OK) return nullptr;
    CTarnovelleChannelConnector* made = connector.get();
    AddChannelConnector(std::move(connector));
    return made->CreateChannel(rootPath);
}

ETarnovelleErrors CTarnovelleMeasuringPointConnector::GetTimeRange(CTNUTCTimeStamp& from, CTNUTCTimeStamp& to) {
    EnsureChannelConnectors();
    if (ChannelConnectors->empty()) return TNE_OK;
    bool any = false;
    for (CTarnovelleChannelConnector* connector : *ChannelConnectors) {
        CTNUTCTimeStamp start = CTNUTCTimeStamp::InvalidTS();
        CTNUTCTimeStamp end = CTNUTCTimeStamp::InvalidTS();
        if (connector->GetTimeRange(start, end) != TNE_OK || start.IsInvalidTS() || end.IsInvalidTS()) continue;
        if (from.IsInvalidTS() || start < from) from = start;
        if (to.IsInvalidTS() || end > to) to = end;
        any = true;
    }
    if (!any) return TNE_NO_OBJECT;
    // Data from before the first configuration entry is not offered.
    CTNUTCTimeStamp firstEntry = to;
    EnsureMeasuringPoints();
    for (CTarnovelleMeasuringPoint* point : *MeasuringPoints) {
        const std::vector<uint32_t>& times = point->GetTimeStampArray();
        if (times.empty()) continue;
        const CTNUTCTimeStamp entry = STarnovelleTimeStampInMsec(times.front(), 0).GetUTCTimeStamp();
        if (firstEntry > entry) firstEntry = entry;
    }
    if (firstEntry > from) from = firstEntry;
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleMeasuringPointConnector::GetTimeRange(const SChannelID& channel, CTNUTCTimeStamp& from,
                                                                   CTNUTCTimeStamp& to) {
    CTarnovelleChannelConnector* connector = GetChannelConnector(channel);
    if (!connector) return TNE_FAILED;
    return connector->GetTimeRange(from, to);
}

ETarnovelleErrors CTarnovelleMeasuringPointConnector::IsEmpty(const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to,
                                                              int32_t& empty) {
    EnsureChannelConnectors();
    for (CTarnovelleChannelConnector* connector : *ChannelConnectors) {
        const ETarnovelleErrors result = connector->IsEmpty(from, to, empty);
        if (result != TNE_OK) return result;
        if (empty == 0) return TNE_OK;
    }
    empty = 1;
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleMeasuringPointConnector::IsEmpty(const SChannelID& channel, const CTNUTCTimeStamp& from,
                                                              const CTNUTCTimeStamp& to, int32_t& empty) {
    CTarnovelleChannelConnector* connector = GetChannelConnector(channel);
    if (!connector) return TNE_FAILED;
    return connector->IsEmpty(from, to, empty);
}

CTarnovelleParameterSet CTarnovelleMeasuringPointConnector::GetParameterSet(const CTNUTCTimeStamp& time) {
    EnsureMeasuringPoints();
    for (auto it = MeasuringPoints->rbegin(); it != MeasuringPoints->rend(); ++it) {
        CTarnovelleParameterSet set = (*it)->GetParameterSet(time);
        if (set.IsValid()) return set;
    }
    return CTarnovelleParameterSet::GetInvalidHandle();
}

CTarnovelleParameterSet CTarnovelleMeasuringPointConnector::GetCompleteParameterSet(const std::string& rootPath) {
    EnsureMeasuringPoints();
    for (auto it = MeasuringPoints->rbegin(); it != MeasuringPoints->rend(); ++it) {
        if ((*it)->GetRootPath() == rootPath) return (*it)->GetCompleteParameterSet();
    }
    return CTarnovelleParameterSet::GetInvalidHandle();
}

ETarnovelleErrors CTarnovelleMeasuringPointConnector::GetArrayChannelsIDs(std::vector<SChannelID>& out) {
    EnsureChannelConnectors();
    for (CTarnovelleChannelConnector* connector : *ChannelConnectors) out.push_back(connector->GetChannelID());
    return TNE_OK;
}

CTNLocalTimeStamp CTarnovelleMeasuringPointConnector::GetLocalDateTime(const CTNUTCTimeStamp& time) {
    EnsureMeasuringPoints();
    for (auto it = MeasuringPoints->rbegin(); it != MeasuringPoints->rend(); ++it) {
        CTarnovelleParameterSet set = (*it)->GetParameterSet(time);
        std::string zone;
        if (set.IsValid() && set.GetParameter("TimeZoneName", zone) == TNE_OK) return (*it)->GetLocalDateTime(time);
    }
    if (!MeasuringPoints->empty()) return MeasuringPoints->back()->GetLocalDateTime(time);
    return CTNUTCTimeStamp::InvalidTS().ToLocalTime();
}

ETarnovelleErrors CTarnovelleMeasuringPointConnector::GetSamplesForTimeRange(const SChannelID& channel,
                                                                             const CTNUTCTimeStamp& from,
                                                                             const CTNUTCTimeStamp& to,
                                                                             CTarnovelleSampleArray& samples) {
    EnsureChannelConnectors();
    for (CTarnovelleChannelConnector* connector : *ChannelConnectors) {
        if (connector->GetChannelID() == channel) connector->GetSamplesForTimeRange(from, to, samples, true);
    }
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleMeasuringPointConnector::Export(CTNConnectorOwner& target, const CTNUTCTimeStamp& from,
                                                             const CTNUTCTimeStamp& to) {
    EnsureMeasuringPoints();
    for (CTarnovelleMeasuringPoint* point : *MeasuringPoints) {
        if (!point) continue;
        // A copy of the list: entering sets could change the point's own.
        const std::vector<uint32_t> times = point->GetTimeStampArray();
        for (const uint32_t seconds : times) {
            const CTNUTCTimeStamp time = STarnovelleTimeStampInMsec(seconds, 0).GetUTCTimeStamp();
            if (time < from || time > to) continue;
            CTarnovelleParameterSet set = point->GetParameterSet(time);
            CTarnovelleParameterSet copy = CTarnovelleParameterSet::CreateParameterSet();
            copy.CopyContents(set);
            target.SaveParameterSet(m_GUID, time, copy);
        }
    }
    return TNE_OK;
}
