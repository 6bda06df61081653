#include "tarnovelle/measuring/CTarnovelleMeasuringPoint.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <memory>
#include <unordered_set>

#include "tarnovelle/storage/CTarnovelleChannel.h"
#include "tarnovelle/storage/CTarnovelleFile.h"
#include "tarnovelle/support/TNGuid.h"
#include "tarnovelle/support/TNPath.h"
#include "tarnovelle/values/CTNMSecTimeSpan.h"
#include "tarnovelle/values/STarnovelleTimeStampInMsec.h"

namespace {

CTNUTCTimeStamp AtSeconds(uint32_t seconds) { return STarnovelleTimeStampInMsec(seconds, 0).GetUTCTimeStamp(); }

}  // namespace

CTarnovelleMeasuringPoint::CTarnovelleMeasuringPoint() = default;

CTarnovelleMeasuringPoint::~CTarnovelleMeasuringPoint() { Clear(); }

ETarnovelleErrors CTarnovelleMeasuringPoint::Init(const ::GUID& guid, const std::string& rootPath) {
    const ETarnovelleErrors result = CTarnovelleMeasuringPointBase::Init(guid, rootPath);
    if (!CTarnovelleFile::GetStatus(FilePath.c_str(), FileStatus)) FileStatus.m_mtime = 0;
    return result;
}

ETarnovelleErrors CTarnovelleMeasuringPoint::Refresh() {
    STNFileStatus status;
    if (!CTarnovelleFile::GetStatus(FilePath.c_str(), status)) return TNE_FILE_GONE;
    if (status.m_mtime == FileStatus.m_mtime) return TNE_OK;
    Clear();
    const ::GUID guid = GUID;
    const std::string root = RootPath;
    Init(guid, root);
    return TNE_OK;
}

void CTarnovelleMeasuringPoint::Clear() {
    for (ChannelMap* map : ChannelMaps) delete map;
    ChannelMaps.clear();
    TimeStamps.clear();
}

void CTarnovelleMeasuringPoint::InsertEntry(size_t index, uint32_t seconds, ChannelMap* map) {
    std::unique_ptr<ChannelMap> owned(map);
    TimeStamps.insert(TimeStamps.begin() + static_cast<std::ptrdiff_t>(index), seconds);
    try {
        ChannelMaps.insert(ChannelMaps.begin() + static_cast<std::ptrdiff_t>(index), owned.get());
    } catch (...) {
        TimeStamps.erase(TimeStamps.begin() + static_cast<std::ptrdiff_t>(index));
        throw;
    }
    owned.release();
}

CTarnovelleParameterSet CTarnovelleMeasuringPoint::ViewOf(size_t index) {
    return CTarnovelleParameterSet(ChannelMaps[index], this, AtSeconds(TimeStamps[index]));
}

void CTarnovelleMeasuringPoint::InsertParameterSet(CTarnovelleParameterSet& set, const CTNUTCTimeStamp& time) {
    if (!set.IsValid()) return;
    set.SetTimeOfValidity(time);
    CTarnovelleParameterSet previous = GetParameterSet(time - CTNMSecTimeSpan(1, 0));
    std::unique_ptr<CTarnovelleParameterSet> changed(
        CTarnovelleParameterSet::CreateNewParameterSetWithOnlyChangedValues(previous, set));
    const uint32_t seconds = time.GetSecondsSince1970();
    size_t index = TimeStamps.size();
    while (index > 0 && TimeStamps[index - 1] > seconds) --index;
    if (index > 0 && TimeStamps[index - 1] == seconds) {
        CTarnovelleParameterSet entry = ViewOf(index - 1);
        CTarnovelleParameterSet::Merge(entry, *changed);
        return;
    }
    // The new entry takes the changed set's map; a set that only looks at a
    // map (the caller's own, when nothing came before) gives a copy instead.
    if (!changed->OwnsChannelMap) {
        auto owned = std::make_unique<CTarnovelleParameterSet>(CTarnovelleParameterSet::CreateParameterSet());
        owned->CopyContents(*changed);
        changed = std::move(owned);
    }
    ::ChannelMap* map = changed->ChannelMap;
    changed->OwnsChannelMap = false;
    changed->ChannelMap = nullptr;
    InsertEntry(index, seconds, map);
}

CTarnovelleParameterSet CTarnovelleMeasuringPoint::GetParameterSet(const CTNUTCTimeStamp& time) {
    const uint32_t seconds = time.GetSecondsSince1970();
    for (size_t index = TimeStamps.size(); index > 0; --index) {
        if (TimeStamps[index - 1] <= seconds) return ViewOf(index - 1);
    }
    return CTarnovelleParameterSet::GetInvalidHandle();
}

CTarnovelleParameterSet CTarnovelleMeasuringPoint::GetCompleteParameterSet() {
    if (TimeStamps.empty()) return CTarnovelleParameterSet::GetInvalidHandle();
    CTarnovelleParameterSet complete = CTarnovelleParameterSet::CreateParameterSet();
    CTarnovelleParameterSet first = ViewOf(0);
    complete = first;
    for (size_t index = 1; index < TimeStamps.size(); ++index) {
        CTarnovelleParameterSet entry = ViewOf(index);
        CTarnovelleParameterSet::Merge(complete, entry);
    }
    complete.MeasuringPoint = this;
    complete.SetTimeOfValidity(AtSeconds(TimeStamps.back()));
    return complete;
}

ChannelMap* CTarnovelleMeasuringPoint::FindChannelMap(uint32_t seconds, int create) {
    size_t index = TimeStamps.size();
    while (index > 0 && TimeStamps[index - 1] > seconds) --index;
    if (create == 0) return index > 0 ? ChannelMaps[index - 1] : nullptr;
    if (index > 0 && TimeStamps[index - 1] == seconds) return ChannelMaps[index - 1];
    InsertEntry(index, seconds, new ChannelMap());
    return ChannelMaps[index];
}

int CTarnovelleMeasuringPoint::IsEqual(const ChannelMap& a, const ChannelMap& b) {
    if (a.GetCount() != b.GetCount()) return 0;
    for (const auto& entry : a) {
        const uint32_t channel = entry.first;
        const ChannelMap::StringMap* values = entry.second;
        const auto found = std::find_if(b.begin(), b.end(), [channel](const auto& other) { return other.first == channel; });
        if (found == b.end()) return 0;
        const ChannelMap::StringMap* other = found->second;
        if ((values == nullptr) != (other == nullptr)) return 0;
        if (values && !IsEqual(*values, *other)) return 0;
    }
    return 1;
}

int CTarnovelleMeasuringPoint::IsEqual(const ChannelMap::StringMap& a, const ChannelMap::StringMap& b) {
    if (a.size() != b.size()) return 0;
    for (const auto& [name, text] : a) {
        const auto found = b.find(name);
        if (found == b.end() || found->second != text) return 0;
    }
    return 1;
}

void CTarnovelleMeasuringPoint::GetLastTimeStampFromChannels(CTNUTCTimeStamp& time) {
    const std::string directory = RootPath + "/" + GuidToString(GUID);
    for (const uint32_t number : CTarnovelleChannel::ListChannelNumbers(directory)) {
        CTarnovelleChannel channel;
        if (channel.Init(RootPath, GUID, SChannelID(number), "", 0, 0, 0, 0) != TNE_OK) continue;
        const int32_t blocks = channel.GetBlockCount();
        const CTNUTCTimeStamp end =
            blocks > 0 ? channel.GetEndTime(blocks - 1) : CTNUTCTimeStamp::CreateUTCTimeStamp1970();
        if (end > time) time = end;
    }
}

CTNLocalTimeStamp CTarnovelleMeasuringPoint::GetLocalDateTime(const CTNUTCTimeStamp& time) {
    return time.ToLocalTime(CTNTimeZoneInformation("localtime"));
}

void CTarnovelleMeasuringPoint::GetTimeZoneInfo(const CTNUTCTimeStamp& time, CTNTimeZoneInformation& out) {
    CTarnovelleParameterSet set = GetParameterSet(time);
    std::string zone;
    if (set.IsValid() && set.GetParameter("TimeZoneName", zone) == TNE_OK) return;
    out = CTNTimeZoneInformation();
}

void CTarnovelleMeasuringPoint::CopyLastSetOfParameterFrom(const CTarnovelleMeasuringPoint& other) {
    if (other.TimeStamps.empty()) return;
    CTarnovelleParameterSet local = CTarnovelleParameterSet::CreateParameterSet();
    InsertParameterSet(local, AtSeconds(other.TimeStamps.back()));
    // The values go into the local set only after it was entered: the entry
    // keeps none of them.
    CTarnovelleParameterSet last(other.ChannelMaps.back(), nullptr, AtSeconds(other.TimeStamps.back()));
    CTarnovelleParameterSet::Merge(local, last);
}

void CTarnovelleMeasuringPoint::GetArrayOfParameterNames(std::vector<std::string>& names) {
    std::unordered_set<std::string> seen(names.begin(), names.end());
    for (const ChannelMap* map : ChannelMaps) {
        if (!map) continue;
        for (const auto& [channel, values] : *map) {
            if (!values) continue;
            for (const auto& [name, text] : *values) {
                if (seen.insert(name).second) names.push_back(name);
            }
        }
    }
}
