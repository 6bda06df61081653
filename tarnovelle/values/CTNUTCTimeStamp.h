// A point in UTC: 32-bit unsigned seconds since 1 January 1970 00:00:00 and
// 16-bit unsigned milliseconds.
//
// A millisecond field in 0..999 is a valid stamp; anything above 999 is the
// invalid stamp, whatever the seconds hold (IsInvalidTS). Limits: MinTS (0, 0),
// MaxTS (0x7FFFFFFF, 999) - the last second of the signed 32-bit time axis -,
// InvalidTS (0xFFFFFFFF, 0xFFFF).
//
// Stamps are made only by the factories (CreateUTCTimeStamp..., GetCurrentUTCTime,
// Parse, MinTS, MaxTS, InvalidTS), by STarnovelleTimeStampInMsec::GetUTCTimeStamp
// and by arithmetic; the constructors from values are private.
//
// == and != treat every invalid stamp as the same value; <, <=, >, >= are
// plain lexicographic, so InvalidTS > MaxTS.
//
// + and - clamp: + stops at MaxTS (but a millisecond carry after the clamp
// test may step one second past it: MaxTS + (0 s, 1 ms) is (0x80000000, 0)),
// - stops at (0, 0) when the span has more seconds than the stamp. += and -=
// never clamp, they wrap in 32 bits. Invalid operands give InvalidTS.
// CreateUTCTimeStamp folds out-of-range values by modulo, never refuses.
// Renderings of seconds 0x80000000 and above give an empty date text.
// Nothing here allocates except the strings of Format, Dump and Parse.
#pragma once

#include <cstdint>
#include <string>

#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/values/CTNMSecTimeSpan.h"
#include "tarnovelle/values/SYSTEMTIME.h"

class CTNLocalTimeStamp;
class CTNTimeZoneInformation;

class TNVL_EXPORT CTNUTCTimeStamp {
public:
    CTNUTCTimeStamp(const CTNUTCTimeStamp&) = default;
    CTNUTCTimeStamp& operator=(const CTNUTCTimeStamp&) = default;

    uint32_t GetSecondsSince1970() const { return m_dwTime; }
    uint16_t GetMilliseconds() const { return m_wMilliseconds; }

    bool operator==(const CTNUTCTimeStamp& o) const {
        if (IsInvalidTS() || o.IsInvalidTS())
            return IsInvalidTS() && o.IsInvalidTS();
        return m_dwTime == o.m_dwTime && m_wMilliseconds == o.m_wMilliseconds;
    }
    bool operator!=(const CTNUTCTimeStamp& o) const { return !(*this == o); }
    bool operator<(const CTNUTCTimeStamp& o) const {
        return m_dwTime < o.m_dwTime || (m_dwTime == o.m_dwTime && m_wMilliseconds < o.m_wMilliseconds);
    }
    bool operator<=(const CTNUTCTimeStamp& o) const { return !(o < *this); }
    bool operator>(const CTNUTCTimeStamp& o) const { return o < *this; }
    bool operator>=(const CTNUTCTimeStamp& o) const { return !(*this < o); }

    CTNUTCTimeStamp operator+(const CTNMSecTimeSpan& span) const;
    CTNUTCTimeStamp operator-(const CTNMSecTimeSpan& span) const;
    CTNUTCTimeStamp& operator+=(const CTNMSecTimeSpan& span);
    CTNUTCTimeStamp& operator-=(const CTNMSecTimeSpan& span);

    // to - from, ignoring validity and order (to before from wraps).
    static void CalculateTimeSpan(const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to, CTNMSecTimeSpan& span);
    // The length of one of `count` equal parts of from..to, truncated to whole
    // milliseconds; the zero span for a count of 0.
    static void CalculateIntervalTime(const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to, uint32_t count,
                                      CTNMSecTimeSpan& span);
    static CTNUTCTimeStamp CreateUTCTimeStamp(uint32_t year, uint32_t month, uint32_t day, uint32_t hour,
                                              uint32_t minute, uint32_t second, uint32_t millisecond);
    static CTNUTCTimeStamp CreateUTCTimeStamp(const SYSTEMTIME& time);
    static CTNUTCTimeStamp CreateUTCTimeStamp1970();
    static CTNUTCTimeStamp CreateUTCTimeStamp1999();
    static CTNUTCTimeStamp CreateUTCTimeStamp2000();
    // Reads the installed clock service (TNGetClock).
    static CTNUTCTimeStamp GetCurrentUTCTime();
    // "dd.mm.yyyy hh:mm:ss.mmm"; folded like CreateUTCTimeStamp, InvalidTS
    // unless all seven fields are read.
    static CTNUTCTimeStamp Parse(const std::string& text);
    static CTNUTCTimeStamp MinTS() { return CTNUTCTimeStamp(0, 0); }
    static CTNUTCTimeStamp MaxTS() { return CTNUTCTimeStamp(0x7FFFFFFFu, 999); }
    static CTNUTCTimeStamp InvalidTS() { return CTNUTCTimeStamp(0xFFFFFFFFu, 0xFFFF); }

    // "dd.mm.yyyy hh:mm:ss.mmm" in UTC; empty for the invalid stamp.
    std::string Format() const;
    // The seconds in UTC by a strftime-style format; no milliseconds, no
    // invalid test.
    std::string Format(const std::string& format) const;
    // As Format(format) with the format text of the string table entry.
    std::string Format(uint32_t stringId) const;
    // "%c" of the seconds, a blank, the milliseconds and " (UTC)"; no invalid test.
    std::string Dump() const;

    // Defined with the local time classes.
    CTNLocalTimeStamp ToLocalTime() const;
    CTNLocalTimeStamp ToLocalTime(const CTNTimeZoneInformation& zone) const;

    bool IsMinTS() const { return *this == MinTS(); }
    bool IsMaxTS() const { return *this == MaxTS(); }
    bool IsInvalidTS() const { return m_wMilliseconds > 999; }

private:
    friend class CTNLocalTimeStamp;

    CTNUTCTimeStamp() : m_dwTime(0), m_wMilliseconds(0) {}
    explicit CTNUTCTimeStamp(uint32_t seconds) : m_dwTime(seconds), m_wMilliseconds(0) {}
    CTNUTCTimeStamp(uint32_t seconds, uint16_t milliseconds) : m_dwTime(seconds), m_wMilliseconds(milliseconds) {}

    static bool IsLeapYear(uint32_t year);

    uint32_t m_dwTime;          // seconds since 1970
    uint16_t m_wMilliseconds;   // 0..999 valid, above 999 invalid
};
