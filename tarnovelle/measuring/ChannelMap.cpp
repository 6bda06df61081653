#include "tarnovelle/measuring/ChannelMap.h"

namespace {
// Channel maps grow in blocks of ten: a measuring point has a handful of
// channels with parameters, rarely more.
constexpr size_t kGrowBlock = 10;
}  // namespace

ChannelMap::ChannelMap() { m_entries.reserve(kGrowBlock); }

ChannelMap::~ChannelMap() { RemoveAll(); }

ChannelMap::StringMap* ChannelMap::Lookup(uint32_t channel) const {
    const auto it = m_entries.find(channel);
    return it == m_entries.end() ? nullptr : it->second;
}

void ChannelMap::SetAt(uint32_t channel, StringMap* map) {
    StringMap*& entry = m_entries[channel];
    if (entry != map) delete entry;
    entry = map;
}

bool ChannelMap::RemoveKey(uint32_t channel) {
    const auto it = m_entries.find(channel);
    if (it == m_entries.end()) return false;
    delete it->second;
    m_entries.erase(it);
    return true;
}

void ChannelMap::RemoveAll() {
    for (auto& [channel, map] : m_entries) delete map;
    m_entries.clear();
}
