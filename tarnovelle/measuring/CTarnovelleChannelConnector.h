// One channel of one measuring point across all archive folders: one
// CTarnovelleChannel per folder in which the channel has files, in the order
// of the folder array at the first fill (channels made later are appended).
// That order is the order of reading; nothing sorts by time.
//
// GetSamplesForTimeRange is the read path of the whole system. It walks the
// channels in order and their blocks in order, appending to `samples` one
// sample per block part inside from..to:
//   - mean-type channels (undefined, mean, minimum, maximum, interval) leave
//     out a block that starts exactly at `to`, since such values describe the
//     span behind their time; every other type takes it;
//   - a channel whose range starts after `to` ends the whole read: the
//     folders are taken to be in time order;
//   - the first sample delivered may reach back one value, so that the state
//     at `from` is known;
//   - with keepOverlaps false, everything after the first delivered sample is
//     cut at the end of what was delivered before: the earlier folder wins.
// Channels whose range can't be read are passed over; an exception from a
// file passes through, and the samples delivered so far stay the caller's.
//
// Folder paths compare by upper-cased string prefix, as they always have:
// the channel of a folder whose path is a prefix of another's is found for
// both. No lock in memory; the read locks are the measuring-point
// connector's.
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "tarnovelle/measuring/CTNConnectorOwner.h"
#include "tarnovelle/storage/CTarnovelleChannel.h"
#include "tarnovelle/storage/CTarnovelleSampleArray.h"
#include "tarnovelle/support/GUID.h"
#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/values/CTNUTCTimeStamp.h"
#include "tarnovelle/values/ETarnovelleErrors.h"
#include "tarnovelle/values/SChannelID.h"

class CTarnovelleMeasuringPointConnector;

class TNVL_EXPORT CTarnovelleChannelConnector {
public:
    explicit CTarnovelleChannelConnector(CTarnovelleMeasuringPointConnector& owner);
    ~CTarnovelleChannelConnector();
    CTarnovelleChannelConnector(const CTarnovelleChannelConnector&) = delete;
    CTarnovelleChannelConnector& operator=(const CTarnovelleChannelConnector&) = delete;

    // Store GUID and channel, then find the channel in every folder.
    ETarnovelleErrors Init(const GUID& guid, const SChannelID& channel, const TNFolderPaths& folders);
    ETarnovelleErrors Refresh(const GUID& guid, const SChannelID& channel, const TNFolderPaths& folders);
    // Drops every channel object and reads them all again.
    void Refresh(const TNFolderPaths& folders);
    // Adds a channel object for each folder that has none yet: the Refresh
    // form skips folders without the channel's samples file, the Update form
    // takes every folder.
    void RefreshChannelArray(const TNFolderPaths& folders);
    void UpdateChannelArray(const TNFolderPaths& folders);
    // Drops the channel objects of the folder `path` (upper-cased prefix).
    void RemoveArchiveFolderObjects(const std::string& path);

    const GUID& GetGUID() const { return m_GUID; }
    const SChannelID& GetChannelID() const { return ChannelID; }
    CTarnovelleMeasuringPointConnector& GetMeasuringPointConnector() const { return MeasuringPointConnector; }
    const std::vector<CTarnovelleChannel*>& GetChannels() const { return Channels; }

    // The first channel whose measuring-point directory begins with the
    // upper-cased `folderPath`, or null.
    CTarnovelleChannel* GetChannel(const std::string& folderPath);
    // The channel of the active folder, made there if missing; null without
    // an active folder.
    CTarnovelleChannel* GetActiveChannel();
    // The channel of `folderPath`, made on disk (both files) if missing; null
    // when it can't be made.
    CTarnovelleChannel* CreateChannel(const std::string& folderPath);

    // The union of the arguments with every channel's range; TNE_NO_OBJECT
    // when no channel gives one (arguments untouched then).
    ETarnovelleErrors GetTimeRange(CTNUTCTimeStamp& from, CTNUTCTimeStamp& to);
    // `empty` 1 when no channel holds a block overlapping from..to.
    ETarnovelleErrors IsEmpty(const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to, int32_t& empty);
    // Stores this channel's samples of from..to, overlaps kept, into `target`.
    // Always TNE_OK: nothing within a channel fails an export.
    ETarnovelleErrors Export(CTNConnectorOwner& target, const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to);
    // Appends the samples of from..to (see above); always TNE_OK.
    ETarnovelleErrors GetSamplesForTimeRange(const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to,
                                             CTarnovelleSampleArray& samples, bool keepOverlaps);

private:
    void FillChannelArray(const TNFolderPaths& folders, bool refresh);

    GUID m_GUID;
    CTarnovelleMeasuringPointConnector& MeasuringPointConnector;
    SChannelID ChannelID;
    std::vector<CTarnovelleChannel*> Channels;
    // Upper-cased folder path to channel; a cache for GetActiveChannel.
    std::unordered_map<std::string, CTarnovelleChannel*> ChannelsByPath;
};
