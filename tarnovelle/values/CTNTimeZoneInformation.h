// A time zone, held as one reference of the zone library (TNTimeZoneData.h).
// The object owns its reference: a copy takes a duplicate, the destructor
// frees it, so two objects never share one. The default zone is the
// machine's; "localtime" names it too, and "posix/UTC" is UTC without rules.
// A name the zone library does not know leaves no reference: GetName is then
// the empty text and every stamp in that zone is invalid.
#pragma once

#include <string>

#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/values/TNTimeZoneData.h"

class CTNLocalTimeStamp;

class TNVL_EXPORT CTNTimeZoneInformation {
public:
    CTNTimeZoneInformation();
    explicit CTNTimeZoneInformation(const char* name);  // null: the machine's zone
    explicit CTNTimeZoneInformation(const std::string& name);
    CTNTimeZoneInformation(const CTNTimeZoneInformation& other);
    // Nothing happens on self-assignment or when both hold the same reference;
    // otherwise the new reference is taken before the old one is freed.
    CTNTimeZoneInformation& operator=(const CTNTimeZoneInformation& other);
    virtual ~CTNTimeZoneInformation();

    std::string GetName() const;
    std::string Dump() const;

private:
    friend class CTNLocalTimeStamp;
    tzd_zonedata GetZoneData() const { return m_zoneData; }

    tzd_zonedata m_zoneData;
};
