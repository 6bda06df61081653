// The zone library: six operations that know every zone rule and every
// daylight-saving change, over cctz and the system's tzdata
// (/usr/share/zoneinfo). Nothing outside this layer knows about zones.
//
// Zone names are the tzdata names ("Europe/Berlin"). "localtime" and a null
// name are the machine's zone; "posix/UTC" is UTC without any rule. A name the
// library does not know gives a null reference; every operation accepts a null
// reference without harm (tzd_localtime and tzd_maketime then fail).
//
// The time record is 32 bytes, packed, zeroed by the caller before each use.
// The daylight-saving state is a signed two-bit number in bits 3 and 4 of
// tzd_flags: 1 active, 0 not active, -1 (both bits) unknown. Bit 24 of
// tzd_zoneflags is set when the zone uses daylight saving in the year of the
// record. Day of the week: 1 Monday to 7 Sunday; day of the year from 1.
//
// tzd_maketime with an unknown state moves a skipped wall-clock time forward
// by the gap and takes the first occurrence of a repeated one; with a known
// state (a record from tzd_localtime) it takes the occurrence of that state,
// so such a record converts back to its own instant.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tarnovelle/support/TNExport.h"

struct tzd_zone;                   // opaque: the library's own
typedef tzd_zone* tzd_zonedata;    // a reference to one zone, owned by its holder

#pragma pack(push, 1)
struct tzd_time {
    int32_t tzd_gmtoff;        //  0 the library's own: offset east of UTC in seconds
    uint16_t tzd_year;         //  4 full year
    uint16_t tzd_month;        //  6 1..12
    uint16_t tzd_mday;         //  8 from 1
    uint16_t tzd_yday;         // 10 from 1
    uint8_t tzd_wday;          // 12 1 Monday .. 7 Sunday
    uint8_t tzd_reserved1[3];  // 13
    uint16_t tzd_sec;          // 16
    uint16_t tzd_min;          // 18
    uint16_t tzd_hour;         // 20
    uint16_t tzd_flags;        // 22 bits 3 and 4: signed daylight-saving state
    uint32_t tzd_reserved2;    // 24
    uint32_t tzd_zoneflags;    // 28 bit 24: the zone uses daylight saving
};
#pragma pack(pop)

static_assert(sizeof(tzd_time) == 32, "the zone library's time record is 32 bytes");
static_assert(offsetof(tzd_time, tzd_year) == 4);
static_assert(offsetof(tzd_time, tzd_month) == 6);
static_assert(offsetof(tzd_time, tzd_mday) == 8);
static_assert(offsetof(tzd_time, tzd_yday) == 10);
static_assert(offsetof(tzd_time, tzd_wday) == 12);
static_assert(offsetof(tzd_time, tzd_sec) == 16);
static_assert(offsetof(tzd_time, tzd_min) == 18);
static_assert(offsetof(tzd_time, tzd_hour) == 20);
static_assert(offsetof(tzd_time, tzd_flags) == 22);
static_assert(offsetof(tzd_time, tzd_zoneflags) == 28);

constexpr uint16_t TZD_DST_SHIFT = 3;
constexpr uint16_t TZD_DST_MASK = 0x3u << TZD_DST_SHIFT;
constexpr uint32_t TZD_ZONE_USES_DST = 1u << 24;

// The signed two-bit daylight-saving state of a record: 1, 0 or -1.
TNVL_EXPORT int tzd_getdststate(const tzd_time* record);
// Sets the state; any value other than 1 and 0 stores -1 (unknown).
TNVL_EXPORT void tzd_setdststate(tzd_time* record, int state);

// A new reference to the named zone; null names the machine's zone. Null when
// the name is unknown.
TNVL_EXPORT tzd_zonedata tzd_getzone(const char* name);
TNVL_EXPORT void tzd_disposezone(tzd_zonedata zone);
// A new independent reference to the same zone (null for null).
TNVL_EXPORT tzd_zonedata tzd_dupzone(tzd_zonedata zone);
// The zone's name, valid while the reference lives; null for null.
TNVL_EXPORT const char* tzd_getname(tzd_zonedata zone);
// Fills `record` with the calendar time of `seconds` in the zone, with both
// daylight-saving fields. Returns 0, or -1 for a null zone or record.
TNVL_EXPORT int tzd_localtime(tzd_time* record, tzd_zonedata zone, int64_t seconds);
// The instant of the wall-clock time in `record` in the zone. Returns 0, or -1
// (seconds set to 0) for a null zone, record or output, and for a record whose
// month is not 1 to 12 or whose day is 0.
TNVL_EXPORT int tzd_maketime(int64_t* seconds, tzd_zonedata zone, const tzd_time* record);
