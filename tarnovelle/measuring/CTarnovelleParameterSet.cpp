#include "tarnovelle/measuring/CTarnovelleParameterSet.h"

#include <cstdio>
#include <optional>

namespace {

using StringMap = ::ChannelMap::StringMap;

const char* const kDwordFormat = "<DWORD>%d</DWORD>";
const char* const kDoubleFormat = "<DOUBLE>%lf</DOUBLE>";
const char* const kStringOpen = "<STRING>";
const char* const kStringClose = "</STRING>";
const char* const kTimeStampOpen = "<TIMESTAMP>";
const char* const kTimeStampClose = "</TIMESTAMP>";
const char* const kTimeSpanOpen = "<TIMESPAN>";
const char* const kTimeSpanClose = "</TIMESPAN>";

std::string Wrap(const char* openTag, const std::string& text, const char* closeTag) {
    std::string wrapped;
    wrapped.reserve(text.size() + 24);
    wrapped.append(openTag).append(text).append(closeTag);
    return wrapped;
}

template <class Value>
std::string FormatNumber(const char* format, Value value) {
    char buffer[400];  // the widest double in "%lf" has some 320 digits
    const int n = std::snprintf(buffer, sizeof(buffer), format, value);
    return std::string(buffer, n > 0 ? static_cast<size_t>(n) : 0);
}

}  // namespace

// --- construction and copies -------------------------------------------------

CTarnovelleParameterSet::CTarnovelleParameterSet()
    : OwnsChannelMap(true),
      ChannelMap(new ::ChannelMap),
      MeasuringPoint(nullptr),
      TimeOfValidity(CTNUTCTimeStamp::InvalidTS()) {}

CTarnovelleParameterSet::CTarnovelleParameterSet(::ChannelMap* map, CTNParameterHistory* measuringPoint,
                                                 const CTNUTCTimeStamp& timeOfValidity)
    : OwnsChannelMap(false), ChannelMap(map), MeasuringPoint(measuringPoint), TimeOfValidity(timeOfValidity) {}

CTarnovelleParameterSet::CTarnovelleParameterSet(const CTarnovelleParameterSet& other)
    : OwnsChannelMap(false),
      ChannelMap(nullptr),
      MeasuringPoint(other.MeasuringPoint),
      TimeOfValidity(other.TimeOfValidity) {
    if (other.OwnsChannelMap)
        CopyContents(other);
    else
        ChannelMap = other.ChannelMap;
}

CTarnovelleParameterSet& CTarnovelleParameterSet::operator=(const CTarnovelleParameterSet& other) {
    if (this == &other) return *this;
    CopyContents(other);
    MeasuringPoint = other.MeasuringPoint;
    TimeOfValidity = other.TimeOfValidity;
    return *this;
}

CTarnovelleParameterSet::~CTarnovelleParameterSet() {
    if (OwnsChannelMap) {
        Clear();
        delete ChannelMap;
    }
}

void CTarnovelleParameterSet::CopyContents(const CTarnovelleParameterSet& other) {
    // Copying a map onto itself would clear it before reading it.
    if (OwnsChannelMap && ChannelMap == other.ChannelMap) return;

    if (!OwnsChannelMap) {
        ChannelMap = new ::ChannelMap;  // the former view is dropped, its map left alone
        OwnsChannelMap = true;
    } else {
        Clear();
    }

    if (other.ChannelMap) {
        for (const auto& [channel, values] : *other.ChannelMap) {
            if (!values) continue;
            for (const auto& [name, wrapped] : *values) SetParameterInternal(SChannelID(channel), name, wrapped);
        }
    } else {
        delete ChannelMap;
        ChannelMap = nullptr;
        OwnsChannelMap = false;
    }
}

void CTarnovelleParameterSet::Init(::ChannelMap* map, CTNParameterHistory* measuringPoint,
                                   const CTNUTCTimeStamp& timeOfValidity) {
    if (OwnsChannelMap) {
        Clear();
        delete ChannelMap;
    }
    OwnsChannelMap = false;
    ChannelMap = map;
    MeasuringPoint = measuringPoint;
    TimeOfValidity = timeOfValidity;
}

void CTarnovelleParameterSet::Clear() {
    if (ChannelMap) ChannelMap->RemoveAll();
}

CTarnovelleParameterSet CTarnovelleParameterSet::GetInvalidHandle() {
    return CTarnovelleParameterSet(nullptr, nullptr, CTNUTCTimeStamp::InvalidTS());
}

CTarnovelleParameterSet CTarnovelleParameterSet::CreateParameterSet() { return CTarnovelleParameterSet(); }

// --- the maps ----------------------------------------------------------------

StringMap* CTarnovelleParameterSet::FindParameterMap(::ChannelMap* map, const SChannelID& channel) {
    return map ? map->Lookup(channel.GetDWORD()) : nullptr;
}

StringMap* CTarnovelleParameterSet::CreateParameterMap(::ChannelMap* map, const SChannelID& channel) {
    if (!map) return nullptr;
    StringMap* values = map->Lookup(channel.GetDWORD());
    if (!values) {
        values = new StringMap;
        map->SetAt(channel.GetDWORD(), values);  // also replaces an entry that holds null
    }
    return values;
}

ETarnovelleErrors CTarnovelleParameterSet::SetParameterInternal(const SChannelID& channel, const std::string& name,
                                                                const std::string& wrapped) {
    StringMap* values = CreateParameterMap(ChannelMap, channel);
    if (!values) return TNE_FAILED;
    (*values)[name] = wrapped;
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleParameterSet::GetParameterInternal(const SChannelID& channel, const std::string& name,
                                                                std::string& wrapped) {
    if (!IsValid()) return TNE_NO_OBJECT;
    // The walk along the history is a loop rather than a recursion, so a long
    // history cannot exhaust the stack; `earlier` keeps the set being asked.
    const CTarnovelleParameterSet* current = this;
    std::optional<CTarnovelleParameterSet> earlier;
    for (;;) {
        if (const StringMap* values = FindParameterMap(current->ChannelMap, channel)) {
            const auto it = values->find(name);
            if (it != values->end() && !it->second.empty()) {
                wrapped = it->second;
                return TNE_OK;
            }
        }
        if (!current->MeasuringPoint || current->TimeOfValidity.IsInvalidTS()) return TNE_NO_OBJECT;
        const CTNUTCTimeStamp currentTime = current->TimeOfValidity;
        earlier.emplace(current->MeasuringPoint->GetParameterSet(currentTime - CTNMSecTimeSpan(1, 0)));
        current = &*earlier;
        if (!current->IsValid()) return TNE_NO_OBJECT;
        // A set within the first second would be asked for itself again (the
        // time cannot go below 0): the history ends there.
        if (!current->TimeOfValidity.IsInvalidTS() && !(current->TimeOfValidity < currentTime)) return TNE_NO_OBJECT;
    }
}

// --- typed values ------------------------------------------------------------

ETarnovelleErrors CTarnovelleParameterSet::GetText(const SChannelID& channel, const std::string& name,
                                                   const char* openTag, const char* closeTag, std::string& text) {
    std::string wrapped;
    if (GetParameterInternal(channel, name, wrapped) != TNE_OK) return TNE_NO_OBJECT;
    if (wrapped.compare(0, std::char_traits<char>::length(openTag), openTag) != 0) return TNE_NO_OBJECT;
    const size_t start = wrapped.find('>') + 1;
    const size_t close = wrapped.find(closeTag, start);
    // An empty text cannot be told from a missing one, by design.
    if (close == std::string::npos || close <= start) return TNE_NO_OBJECT;
    text.assign(wrapped, start, close - start);
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleParameterSet::SetParameter(const SChannelID& channel, const std::string& name,
                                                        uint32_t value) {
    return SetParameterInternal(channel, name, FormatNumber(kDwordFormat, static_cast<int32_t>(value)));
}

ETarnovelleErrors CTarnovelleParameterSet::SetParameter(const SChannelID& channel, const std::string& name,
                                                        double value) {
    return SetParameterInternal(channel, name, FormatNumber(kDoubleFormat, value));
}

ETarnovelleErrors CTarnovelleParameterSet::SetParameter(const SChannelID& channel, const std::string& name,
                                                        const std::string& value) {
    return SetParameterInternal(channel, name, Wrap(kStringOpen, value, kStringClose));
}

ETarnovelleErrors CTarnovelleParameterSet::SetParameter(const SChannelID& channel, const std::string& name,
                                                        const CTNUTCTimeStamp& value) {
    return SetParameterInternal(channel, name, Wrap(kTimeStampOpen, value.Format(), kTimeStampClose));
}

ETarnovelleErrors CTarnovelleParameterSet::SetParameter(const SChannelID& channel, const std::string& name,
                                                        const CTNMSecTimeSpan& value) {
    return SetParameterInternal(channel, name, Wrap(kTimeSpanOpen, value.Format(), kTimeSpanClose));
}

ETarnovelleErrors CTarnovelleParameterSet::GetParameter(const SChannelID& channel, const std::string& name,
                                                        uint32_t& value) {
    std::string wrapped;
    if (GetParameterInternal(channel, name, wrapped) != TNE_OK) return TNE_NO_OBJECT;
    int32_t read = 0;
    if (std::sscanf(wrapped.c_str(), kDwordFormat, &read) != 1) return TNE_NO_OBJECT;
    value = static_cast<uint32_t>(read);
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleParameterSet::GetParameter(const SChannelID& channel, const std::string& name,
                                                        double& value) {
    std::string wrapped;
    if (GetParameterInternal(channel, name, wrapped) != TNE_OK) return TNE_NO_OBJECT;
    double read = 0;
    if (std::sscanf(wrapped.c_str(), kDoubleFormat, &read) != 1) return TNE_NO_OBJECT;
    value = read;
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleParameterSet::GetParameter(const SChannelID& channel, const std::string& name,
                                                        std::string& value) {
    return GetText(channel, name, kStringOpen, kStringClose, value);
}

ETarnovelleErrors CTarnovelleParameterSet::GetParameter(const SChannelID& channel, const std::string& name,
                                                        CTNUTCTimeStamp& value) {
    std::string text;
    if (GetText(channel, name, kTimeStampOpen, kTimeStampClose, text) != TNE_OK) return TNE_NO_OBJECT;
    value = CTNUTCTimeStamp::Parse(text);
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleParameterSet::GetParameter(const SChannelID& channel, const std::string& name,
                                                        CTNMSecTimeSpan& value) {
    std::string text;
    if (GetText(channel, name, kTimeSpanOpen, kTimeSpanClose, text) != TNE_OK) return TNE_NO_OBJECT;
    value = CTNMSecTimeSpan::Parse(text);
    return TNE_OK;
}

// The measuring point's own values stand under channel 0.
ETarnovelleErrors CTarnovelleParameterSet::SetParameter(const std::string& name, uint32_t value) {
    return SetParameter(SChannelID(0u), name, value);
}
ETarnovelleErrors CTarnovelleParameterSet::SetParameter(const std::string& name, double value) {
    return SetParameter(SChannelID(0u), name, value);
}
ETarnovelleErrors CTarnovelleParameterSet::SetParameter(const std::string& name, const std::string& value) {
    return SetParameter(SChannelID(0u), name, value);
}
ETarnovelleErrors CTarnovelleParameterSet::SetParameter(const std::string& name, const CTNUTCTimeStamp& value) {
    return SetParameter(SChannelID(0u), name, value);
}
ETarnovelleErrors CTarnovelleParameterSet::SetParameter(const std::string& name, const CTNMSecTimeSpan& value) {
    return SetParameter(SChannelID(0u), name, value);
}
ETarnovelleErrors CTarnovelleParameterSet::GetParameter(const std::string& name, uint32_t& value) {
    return GetParameter(SChannelID(0u), name, value);
}
ETarnovelleErrors CTarnovelleParameterSet::GetParameter(const std::string& name, double& value) {
    return GetParameter(SChannelID(0u), name, value);
}
ETarnovelleErrors CTarnovelleParameterSet::GetParameter(const std::string& name, std::string& value) {
    return GetParameter(SChannelID(0u), name, value);
}
ETarnovelleErrors CTarnovelleParameterSet::GetParameter(const std::string& name, CTNUTCTimeStamp& value) {
    return GetParameter(SChannelID(0u), name, value);
}
ETarnovelleErrors CTarnovelleParameterSet::GetParameter(const std::string& name, CTNMSecTimeSpan& value) {
    return GetParameter(SChannelID(0u), name, value);
}

// --- history helpers ---------------------------------------------------------

CTarnovelleParameterSet* CTarnovelleParameterSet::CreateNewParameterSetWithOnlyChangedValues(
    CTarnovelleParameterSet& previous, CTarnovelleParameterSet& next) {
    if (!next.IsValid()) return new CTarnovelleParameterSet(GetInvalidHandle());
    if (!previous.IsValid()) return new CTarnovelleParameterSet(next);

    CTarnovelleParameterSet* changed = new CTarnovelleParameterSet();
    changed->TimeOfValidity = next.TimeOfValidity;
    for (const auto& [channel, values] : *next.ChannelMap) {
        if (!values) continue;
        const SChannelID id(channel);
        for (const auto& [name, wrapped] : *values) {
            std::string before;
            if (previous.GetParameterInternal(id, name, before) == TNE_OK && before == wrapped) continue;
            changed->SetParameterInternal(id, name, wrapped);
        }
    }
    return changed;
}

void CTarnovelleParameterSet::Merge(CTarnovelleParameterSet& target, CTarnovelleParameterSet& source) {
    if (!target.IsValid() || !source.IsValid()) return;
    for (const auto& [channel, values] : *source.ChannelMap) {
        if (!values) continue;
        for (const auto& [name, wrapped] : *values) target.SetParameterInternal(SChannelID(channel), name, wrapped);
    }
}
