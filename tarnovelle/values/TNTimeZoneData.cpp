#include "tarnovelle/values/TNTimeZoneData.h"

#include <cctz/civil_time.h>
#include <cctz/time_zone.h>

#include <chrono>
#include <new>
#include <string>

struct tzd_zone {
    cctz::time_zone zone;
    std::string name;
};

namespace {

constexpr const char* kNoRulesName = "posix/UTC";
constexpr const char* kMachineName = "localtime";
// A zone changes its offset a few times a year at most; the cap only guards
// against a broken zone file.
constexpr int kMaxTransitionsPerYear = 16;

using Seconds = cctz::time_point<cctz::seconds>;

Seconds ToTimePoint(int64_t seconds) { return Seconds(cctz::seconds(seconds)); }

int64_t FromTimePoint(const Seconds& tp) { return tp.time_since_epoch().count(); }

tzd_zonedata NewZone(const cctz::time_zone& zone, std::string name) {
    return new (std::nothrow) tzd_zone{zone, std::move(name)};
}

// Whether any part of the civil year of `year` is daylight-saving time.
bool UsesDaylightSavingIn(const cctz::time_zone& zone, int64_t year) {
    const Seconds begin = zone.lookup(cctz::civil_second(year, 1, 1, 0, 0, 0)).pre;
    const Seconds end = zone.lookup(cctz::civil_second(year + 1, 1, 1, 0, 0, 0)).pre;
    if (zone.lookup(begin).is_dst) return true;
    Seconds at = begin;
    cctz::time_zone::civil_transition transition;
    for (int i = 0; i < kMaxTransitionsPerYear && zone.next_transition(at, &transition); ++i) {
        const Seconds instant = zone.lookup(transition.to).trans;
        if (instant >= end || instant <= at) break;
        if (zone.lookup(instant).is_dst) return true;
        at = instant;
    }
    return false;
}

}  // namespace

int tzd_getdststate(const tzd_time* record) {
    const int bits = (record->tzd_flags & TZD_DST_MASK) >> TZD_DST_SHIFT;
    return bits >= 2 ? bits - 4 : bits;  // two's complement in two bits
}

void tzd_setdststate(tzd_time* record, int state) {
    const uint16_t bits = (state == 1 || state == 0) ? static_cast<uint16_t>(state) : 3u;
    record->tzd_flags = static_cast<uint16_t>((record->tzd_flags & ~TZD_DST_MASK) | (bits << TZD_DST_SHIFT));
}

tzd_zonedata tzd_getzone(const char* name) {
    try {
        if (name == nullptr) {
            const cctz::time_zone local = cctz::local_time_zone();
            return NewZone(local, local.name());
        }
        const std::string wanted(name);
        if (wanted == kNoRulesName) return NewZone(cctz::utc_time_zone(), wanted);
        if (wanted == kMachineName) return NewZone(cctz::local_time_zone(), wanted);
        cctz::time_zone zone;
        if (wanted.empty() || !cctz::load_time_zone(wanted, &zone)) return nullptr;
        return NewZone(zone, wanted);
    } catch (...) {
        return nullptr;  // no memory for the name: no zone
    }
}

void tzd_disposezone(tzd_zonedata zone) { delete zone; }

tzd_zonedata tzd_dupzone(tzd_zonedata zone) {
    if (zone == nullptr) return nullptr;
    try {
        return NewZone(zone->zone, zone->name);
    } catch (...) {
        return nullptr;
    }
}

const char* tzd_getname(tzd_zonedata zone) { return zone ? zone->name.c_str() : nullptr; }

int tzd_localtime(tzd_time* record, tzd_zonedata zone, int64_t seconds) {
    if (record == nullptr || zone == nullptr) return -1;
    const cctz::time_zone::absolute_lookup at = zone->zone.lookup(ToTimePoint(seconds));
    const cctz::civil_day day(at.cs);
    record->tzd_gmtoff = at.offset;
    record->tzd_year = static_cast<uint16_t>(at.cs.year());
    record->tzd_month = static_cast<uint16_t>(at.cs.month());
    record->tzd_mday = static_cast<uint16_t>(at.cs.day());
    record->tzd_yday = static_cast<uint16_t>(cctz::get_yearday(day));
    record->tzd_wday = static_cast<uint8_t>(static_cast<int>(cctz::get_weekday(day)) + 1);
    record->tzd_sec = static_cast<uint16_t>(at.cs.second());
    record->tzd_min = static_cast<uint16_t>(at.cs.minute());
    record->tzd_hour = static_cast<uint16_t>(at.cs.hour());
    tzd_setdststate(record, at.is_dst ? 1 : 0);
    if (UsesDaylightSavingIn(zone->zone, at.cs.year()))
        record->tzd_zoneflags |= TZD_ZONE_USES_DST;
    else
        record->tzd_zoneflags &= ~TZD_ZONE_USES_DST;
    return 0;
}

int tzd_maketime(int64_t* seconds, tzd_zonedata zone, const tzd_time* record) {
    if (seconds == nullptr) return -1;
    *seconds = 0;
    if (record == nullptr || zone == nullptr) return -1;
    // Hours, minutes and seconds past their range roll over as on a clock,
    // but a record without a month or a day is no calendar time at all.
    if (record->tzd_month < 1 || record->tzd_month > 12 || record->tzd_mday == 0) return -1;
    const cctz::civil_second wall(record->tzd_year, record->tzd_month, record->tzd_mday, record->tzd_hour,
                                  record->tzd_min, record->tzd_sec);
    const cctz::time_zone::civil_lookup found = zone->zone.lookup(wall);
    // "pre" is the first occurrence of a repeated time and, for a skipped
    // time, the reading moved forward by the gap.
    Seconds chosen = found.pre;
    const int state = tzd_getdststate(record);
    if (found.kind == cctz::time_zone::civil_lookup::REPEATED && state != -1) {
        const bool preIsDst = zone->zone.lookup(found.pre).is_dst;
        chosen = (preIsDst == (state == 1)) ? found.pre : found.post;
    }
    *seconds = FromTimePoint(chosen);
    return 0;
}
