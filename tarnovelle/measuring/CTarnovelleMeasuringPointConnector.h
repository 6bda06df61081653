// One measuring point across all archive folders: one CTarnovelleMeasuringPoint
// per folder that has the GUID's directory (the objects are the archive's;
// this connector owns only the list), and one CTarnovelleChannelConnector per
// channel identifier found in any of those folders.
//
// Both lists are made on first need, by walking the folders under read locks
// on all of them; when the locks can't be had, the walk is skipped and the
// list stays behind the disk until the next Refresh. An exception of a walk
// passes on after the locks are released. Refresh drops as many measuring
// points from the front of the list as failed to refresh (they are found
// again when their files exist), as it always has.
//
// Queries: GetTimeRange of the whole point moves `from` up to the earliest
// first entry of the parameter histories (data from before the first
// configuration is not offered); the form with a channel doesn't. Parameter
// sets come from the folder found last that has one for the time; the
// others are not merged in. No lock in memory.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "tarnovelle/measuring/CTNConnectorOwner.h"
#include "tarnovelle/measuring/CTarnovelleChannelConnector.h"
#include "tarnovelle/measuring/CTarnovelleMeasuringPoint.h"
#include "tarnovelle/measuring/CTarnovelleParameterSet.h"
#include "tarnovelle/storage/CTarnovelleSampleArray.h"
#include "tarnovelle/support/GUID.h"
#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/values/CTNLocalTimeStamp.h"
#include "tarnovelle/values/CTNUTCTimeStamp.h"
#include "tarnovelle/values/SChannelID.h"

class TNVL_EXPORT CTarnovelleMeasuringPointConnector {
public:
    CTarnovelleMeasuringPointConnector();
    virtual ~CTarnovelleMeasuringPointConnector();
    CTarnovelleMeasuringPointConnector(const CTarnovelleMeasuringPointConnector&) = delete;
    CTarnovelleMeasuringPointConnector& operator=(const CTarnovelleMeasuringPointConnector&) = delete;

    // Stores both; touches no disk. Always TNE_OK.
    ETarnovelleErrors Init(const GUID& guid, CTNConnectorOwner& archive);
    // Brings both lists up to date with the disk. Always TNE_OK.
    ETarnovelleErrors Refresh();
    void RefreshChannelConnectorArray();
    void RefreshMeasuringPointArray();
    void InitMeasuringPointArray();
    void UpdateMeasuringPointArray();
    void InitChannelConnectorArray();
    void UpdateChannelConnectorArray();

    const GUID& GetGUID() const { return m_GUID; }
    CTNConnectorOwner* GetArchive() const { return Archive; }

    CTarnovelleChannelConnector* Find(const SChannelID& channel);
    CTarnovelleChannelConnector* GetChannelConnector(const SChannelID& channel);
    // "MeasuringPointName" as in force now, or the GUID's text.
    std::string GetName();
    CTarnovelleMeasuringPoint* GetActiveMeasuringPoint();
    CTarnovelleChannel* GetActiveChannel(const SChannelID& channel);
    // The point of the folder `rootPath` (exact), made through the archive if missing.
    CTarnovelleMeasuringPoint* GetMeasuringPoint(const std::string& rootPath);
    CTarnovelleChannel* CreateChannel(const SChannelID& channel, const std::string& rootPath);

    // Extends from..to by every channel's range, then moves `from` up to the
    // earliest first history entry; TNE_NO_OBJECT when there are channels but
    // none has a range, TNE_OK (arguments untouched) without channels.
    ETarnovelleErrors GetTimeRange(CTNUTCTimeStamp& from, CTNUTCTimeStamp& to);
    // TNE_FAILED for a channel this point doesn't have.
    ETarnovelleErrors GetTimeRange(const SChannelID& channel, CTNUTCTimeStamp& from, CTNUTCTimeStamp& to);
    ETarnovelleErrors IsEmpty(const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to, int32_t& empty);
    ETarnovelleErrors IsEmpty(const SChannelID& channel, const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to,
                              int32_t& empty);
    CTarnovelleParameterSet GetParameterSet(const CTNUTCTimeStamp& time);
    CTarnovelleParameterSet GetCompleteParameterSet(const std::string& rootPath);
    // Appends every channel's identifier; `out` is not emptied. Always TNE_OK.
    ETarnovelleErrors GetArrayChannelsIDs(std::vector<SChannelID>& out);
    CTNLocalTimeStamp GetLocalDateTime(const CTNUTCTimeStamp& time);
    // Reads from..to of `channel` across all folders, overlaps kept; always TNE_OK.
    ETarnovelleErrors GetSamplesForTimeRange(const SChannelID& channel, const CTNUTCTimeStamp& from,
                                             const CTNUTCTimeStamp& to, CTarnovelleSampleArray& samples);
    // Enters every parameter set of this point stamped within from..to into
    // `target`, at its own time. Always TNE_OK.
    ETarnovelleErrors Export(CTNConnectorOwner& target, const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to);

    // Drops what is held of the folder `path`, which is about to be wiped.
    void RemoveArchiveFolderObjects(const std::string& path);

    // The lists as they stand (made on first use).
    const std::vector<CTarnovelleMeasuringPoint*>& GetMeasuringPoints();
    const std::vector<CTarnovelleChannelConnector*>& GetChannelConnectors();

private:
    // Runs `walk` over the archive's folders under read locks on all of them;
    // skipped when the locks can't be had.
    template <typename Walk>
    void UnderReadLocks(Walk walk);
    void FillChannelConnectorArray(bool refresh);
    void AddChannelConnector(std::unique_ptr<CTarnovelleChannelConnector> connector);
    void EnsureMeasuringPoints();
    void EnsureChannelConnectors();

    GUID m_GUID;
    CTNConnectorOwner* Archive;
    std::unique_ptr<std::vector<CTarnovelleMeasuringPoint*>> MeasuringPoints;
    std::unique_ptr<std::vector<CTarnovelleChannelConnector*>> ChannelConnectors;
    std::unordered_map<uint32_t, CTarnovelleChannelConnector*> ChannelConnectorMap;
};
