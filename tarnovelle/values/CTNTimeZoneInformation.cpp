#include "tarnovelle/values/CTNTimeZoneInformation.h"

CTNTimeZoneInformation::CTNTimeZoneInformation() : m_zoneData(tzd_getzone(nullptr)) {}

CTNTimeZoneInformation::CTNTimeZoneInformation(const char* name) : m_zoneData(tzd_getzone(name)) {}

CTNTimeZoneInformation::CTNTimeZoneInformation(const std::string& name) : m_zoneData(tzd_getzone(name.c_str())) {}

CTNTimeZoneInformation::CTNTimeZoneInformation(const CTNTimeZoneInformation& other)
    : m_zoneData(tzd_dupzone(other.m_zoneData)) {}

CTNTimeZoneInformation& CTNTimeZoneInformation::operator=(const CTNTimeZoneInformation& other) {
    if (this == &other || m_zoneData == other.m_zoneData) return *this;
    tzd_zonedata previous = m_zoneData;
    m_zoneData = tzd_dupzone(other.m_zoneData);
    tzd_disposezone(previous);
    return *this;
}

CTNTimeZoneInformation::~CTNTimeZoneInformation() { tzd_disposezone(m_zoneData); }

std::string CTNTimeZoneInformation::GetName() const {
    const char* name = tzd_getname(m_zoneData);
    return name ? std::string(name) : std::string();
}

std::string CTNTimeZoneInformation::Dump() const { return GetName(); }
