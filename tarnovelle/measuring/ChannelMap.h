// The values of one parameter set: channel identifier (SChannelID::GetDWORD)
// to a string map of parameter name to wrapped value. Channel 0 holds the
// measuring point's own values.
//
// The map owns its string maps and deletes them when it dies or when an entry
// is replaced or removed. An entry may hold a null pointer; readers treat it
// as a missing channel. Not copyable: a deep copy is made through
// CTarnovelleParameterSet::CopyContents.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>

#include "tarnovelle/support/TNExport.h"

class TNVL_EXPORT ChannelMap {
public:
    using StringMap = std::map<std::string, std::string>;
    using Entries = std::unordered_map<uint32_t, StringMap*>;

    ChannelMap();
    ~ChannelMap();
    ChannelMap(const ChannelMap&) = delete;
    ChannelMap& operator=(const ChannelMap&) = delete;

    // The channel's string map; null when the channel is missing or its entry
    // holds null.
    StringMap* Lookup(uint32_t channel) const;
    // Makes `map` (may be null) the channel's entry and takes ownership; a
    // different earlier map of that channel is deleted.
    void SetAt(uint32_t channel, StringMap* map);
    // Removes the channel's entry and deletes its map; false if there was none.
    bool RemoveKey(uint32_t channel);
    // Removes every entry and deletes every string map.
    void RemoveAll();

    size_t GetCount() const { return m_entries.size(); }
    bool IsEmpty() const { return m_entries.empty(); }

    Entries::const_iterator begin() const { return m_entries.begin(); }
    Entries::const_iterator end() const { return m_entries.end(); }

private:
    Entries m_entries;
};
