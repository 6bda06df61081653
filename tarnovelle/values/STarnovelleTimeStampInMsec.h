// A point in time as stored in files: seconds since 1970 and milliseconds,
// packed into 6 little-endian bytes. Value records begin with it, so their
// value field stands at offset 6.
#pragma once

#include <cstdint>

#pragma pack(push, 1)
struct STarnovelleTimeStampInMsec {
    uint32_t dwTime;         // seconds since 1 January 1970 00:00:00 UTC
    uint16_t wMilliseconds;  // 0..999 valid, above 999 invalid

    STarnovelleTimeStampInMsec() : dwTime(0), wMilliseconds(0) {}
    STarnovelleTimeStampInMsec(uint32_t seconds, uint16_t milliseconds)
        : dwTime(seconds), wMilliseconds(milliseconds) {}
};
#pragma pack(pop)

static_assert(sizeof(STarnovelleTimeStampInMsec) == 6, "the time record is 6 bytes on disk");
