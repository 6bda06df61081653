// A broken-down calendar time in UTC, field for field as the recording
// devices and the original platform deliver it. Only the conversion into
// CTNUTCTimeStamp reads it; wDayOfWeek is carried but never used there.
#pragma once

#include <cstdint>

struct SYSTEMTIME {
    uint16_t wYear;
    uint16_t wMonth;         // 1 = January
    uint16_t wDayOfWeek;     // 0 = Sunday
    uint16_t wDay;
    uint16_t wHour;
    uint16_t wMinute;
    uint16_t wSecond;
    uint16_t wMilliseconds;
};
