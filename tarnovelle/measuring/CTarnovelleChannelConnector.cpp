#include "tarnovelle/measuring/CTarnovelleChannelConnector.h"
#include "tarnovelle/support/TNText.h"

#include <algorithm>
#include <cctype>
#include <memory>

#include "tarnovelle/measuring/CTarnovelleMeasuringPointConnector.h"
#include "tarnovelle/storage/CTarnovelleSample.h"
#include "tarnovelle/support/TNGuid.h"

namespace {

bool StartsWith(const std::string& text, const std::string& prefix) { return text.compare(0, prefix.size(), prefix) == 0; }

// Values of these types describe the span behind their time: a block that
// starts exactly at the end of a range lies outside it.
bool EndsBeforeTo(EMeasurementValueType type) {
    switch (type) {
        case MVT_UNDEFINED:
        case MVT_MEAN:
        case MVT_MINIMUM:
        case MVT_MAXIMUM:
        case MVT_INTERVAL: return true;
        default: return false;
    }
}

}  // namespace

CTarnovelleChannelConnector::CTarnovelleChannelConnector(CTarnovelleMeasuringPointConnector& owner)
    : m_GUID{}, MeasuringPointConnector(owner) {}

CTarnovelleChannelConnector::~CTarnovelleChannelConnector() {
    for (CTarnovelleChannel* channel : Channels) delete channel;
}

ETarnovelleErrors CTarnovelleChannelConnector::Init(const GUID& guid, const SChannelID& channel,
                                                    const TNFolderPaths& folders) {
    m_GUID = guid;
    ChannelID = channel;
    UpdateChannelArray(folders);
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleChannelConnector::Refresh(const GUID& guid, const SChannelID& channel,
                                                       const TNFolderPaths& folders) {
    m_GUID = guid;
    ChannelID = channel;
    RefreshChannelArray(folders);
    return TNE_OK;
}

void CTarnovelleChannelConnector::Refresh(const TNFolderPaths& folders) {
    // The list is built again from the folders, as a full re-reading would
    // build it; a channel whose samples file is byte for byte what it read
    // last time stands in for its own re-reading, so an unchanged file is
    // never read twice.
    ChannelsByPath.clear();
    std::vector<CTarnovelleChannel*> previous;
    previous.swap(Channels);
    for (const std::optional<std::string>& folder : folders) {
        if (!folder || GetChannel(*folder)) continue;
        const std::string directory = *folder + "/" + GuidToString(m_GUID);
        const auto kept = std::find_if(previous.begin(), previous.end(), [&](const CTarnovelleChannel* channel) {
            return channel && channel->GetMeasuringPointPath() == directory && channel->IsUnchangedSinceRead();
        });
        if (kept != previous.end()) {
            Channels.push_back(*kept);
            *kept = nullptr;
            continue;
        }
        auto channel = std::make_unique<CTarnovelleChannel>();
        if (channel->Refresh(*folder, m_GUID, ChannelID, "", 0, 0, 0, 0) > 0) continue;
        Channels.push_back(channel.get());
        channel.release();
    }
    for (CTarnovelleChannel* channel : previous) delete channel;
}

void CTarnovelleChannelConnector::RefreshChannelArray(const TNFolderPaths& folders) { FillChannelArray(folders, true); }

void CTarnovelleChannelConnector::UpdateChannelArray(const TNFolderPaths& folders) { FillChannelArray(folders, false); }

void CTarnovelleChannelConnector::FillChannelArray(const TNFolderPaths& folders, bool refresh) {
    for (const std::optional<std::string>& folder : folders) {
        if (!folder || GetChannel(*folder)) continue;
        auto channel = std::make_unique<CTarnovelleChannel>();
        const ETarnovelleErrors result = refresh ? channel->Refresh(*folder, m_GUID, ChannelID, "", 0, 0, 0, 0)
                                                 : channel->Init(*folder, m_GUID, ChannelID, "", 0, 0, 0, 0);
        if (result > 0) continue;
        Channels.push_back(channel.get());
        channel.release();
    }
}

void CTarnovelleChannelConnector::RemoveArchiveFolderObjects(const std::string& path) {
    const std::string folder = TNToUpper(path);
    for (size_t index = 0; index < Channels.size(); ++index) {
        if (!StartsWith(TNToUpper(Channels[index]->GetMeasuringPointPath()), folder)) continue;
        CTarnovelleChannel* channel = Channels[index];
        Channels.erase(Channels.begin() + static_cast<std::ptrdiff_t>(index));
        ChannelsByPath.clear();
        delete channel;
        // The walk goes on at the next index, as it always has: a connector
        // has one channel per folder, so nothing is missed.
    }
}

CTarnovelleChannel* CTarnovelleChannelConnector::GetChannel(const std::string& folderPath) {
    const std::string folder = TNToUpper(folderPath);
    for (CTarnovelleChannel* channel : Channels) {
        if (StartsWith(TNToUpper(channel->GetMeasuringPointPath()), folder)) return channel;
    }
    return nullptr;
}

CTarnovelleChannel* CTarnovelleChannelConnector::GetActiveChannel() {
    CTNConnectorOwner* archive = MeasuringPointConnector.GetArchive();
    std::string active;
    if (!archive || !archive->GetActiveFolderPath(active)) return nullptr;
    const std::string key = TNToUpper(active);
    if (ChannelsByPath.size() != Channels.size()) {
        ChannelsByPath.clear();
        for (CTarnovelleChannel* channel : Channels) {
            const std::string& directory = channel->GetMeasuringPointPath();
            ChannelsByPath[TNToUpper(directory.substr(0, directory.find_last_of('/')))] = channel;
        }
    }
    const auto found = ChannelsByPath.find(key);
    if (found != ChannelsByPath.end()) return found->second;
    // Made under the folder's own spelling: the upper-cased key names
    // another directory on this file system.
    return CreateChannel(active);
}

CTarnovelleChannel* CTarnovelleChannelConnector::CreateChannel(const std::string& folderPath) {
    if (CTarnovelleChannel* existing = GetChannel(folderPath)) return existing;
    auto channel = std::make_unique<CTarnovelleChannel>();
    if (channel->Create(folderPath, m_GUID, ChannelID, "", 0, 0, 0, 0) != TNE_OK) return nullptr;
    if (channel->Close() > 0) return nullptr;
    Channels.push_back(channel.get());
    return channel.release();
}

ETarnovelleErrors CTarnovelleChannelConnector::GetTimeRange(CTNUTCTimeStamp& from, CTNUTCTimeStamp& to) {
    ETarnovelleErrors result = TNE_NO_OBJECT;
    for (CTarnovelleChannel* channel : Channels) {
        CTNUTCTimeStamp start = CTNUTCTimeStamp::InvalidTS();
        CTNUTCTimeStamp end = CTNUTCTimeStamp::InvalidTS();
        if (channel->GetTimeRange(start, end) != TNE_OK || start.IsInvalidTS() || end.IsInvalidTS()) continue;
        if (from.IsInvalidTS() || from > start) from = start;
        if (to.IsInvalidTS() || to < end) to = end;
        result = TNE_OK;
    }
    return result;
}

ETarnovelleErrors CTarnovelleChannelConnector::IsEmpty(const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to,
                                                       int32_t& empty) {
    for (CTarnovelleChannel* channel : Channels) {
        const ETarnovelleErrors result = channel->IsEmpty(from, to, empty);
        if (result != TNE_OK) return result;
        if (empty == 0) return TNE_OK;
    }
    empty = 1;
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleChannelConnector::GetSamplesForTimeRange(const CTNUTCTimeStamp& from,
                                                                      const CTNUTCTimeStamp& to,
                                                                      CTarnovelleSampleArray& samples,
                                                                      bool keepOverlaps) {
    const bool endsBeforeTo = EndsBeforeTo(ChannelID.GetMeasurementValueType());
    CTNUTCTimeStamp cursor = from;
    bool first = true;
    for (CTarnovelleChannel* channel : Channels) {
        if (!channel) continue;
        CTNUTCTimeStamp start = CTNUTCTimeStamp::InvalidTS();
        CTNUTCTimeStamp end = CTNUTCTimeStamp::InvalidTS();
        if (channel->GetTimeRange(start, end) != TNE_OK) continue;
        if (end.IsInvalidTS() || end < from) continue;
        // The folders are taken to be in time order: nothing later can count.
        if (start.IsInvalidTS() || start > to) return TNE_OK;
        const int32_t blocks = channel->GetBlockCount();
        // Where the ends ascend, the blocks the walk would skip are passed
        // over at once; elsewhere the walk starts at the first block.
        const int32_t firstBlock = std::max(channel->FindFirstBlockEndingFrom(cursor), 0);
        for (int32_t block = firstBlock; block < blocks; ++block) {
            const CTNUTCTimeStamp blockEnd = channel->GetEndTime(block);
            if (blockEnd.IsInvalidTS() || blockEnd < cursor) continue;
            const CTNUTCTimeStamp blockStart = channel->GetStartTime(block);
            if (blockStart.IsInvalidTS() || (endsBeforeTo ? !(blockStart < to) : blockStart > to)) break;
            auto sample = std::make_unique<CTarnovelleSample>();
            if (sample->Init(*channel, block, cursor, to, first) != TNE_OK) continue;
            if (sample->GetStartTime().IsInvalidTS() || sample->GetEndTime().IsInvalidTS() ||
                sample->GetNrOfValues() == 0)
                continue;
            first = false;
            if (!keepOverlaps) cursor = sample->GetEndTime();
            samples.Add(sample.release());
        }
    }
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleChannelConnector::Export(CTNConnectorOwner& target, const CTNUTCTimeStamp& from,
                                                      const CTNUTCTimeStamp& to) {
    CTarnovelleSampleArray samples;
    GetSamplesForTimeRange(from, to, samples, true);
    target.SaveSamples(m_GUID, ChannelID, samples);
    return TNE_OK;
}
