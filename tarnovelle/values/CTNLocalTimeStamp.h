// A calendar time in a named zone, for the edge of the system only: what the
// user sees and enters, and the start of a day, week, month or year as the
// user's clock has it. Everything stored is UTC (CTNUTCTimeStamp).
//
// The stamp holds its zone, the zone library's 32-byte time record and a
// millisecond. It is invalid when the millisecond is above 999 or the day of
// the month is 0, so a freshly zeroed stamp is invalid. Stamps from a time
// are made by CreateLocalTimeStamp, GetCurrentLocalTime,
// CTNUTCTimeStamp::ToLocalTime and InvalidTS; only the OLE date constructors
// are public.
//
// A stamp read from an instant keeps the daylight-saving state that the zone
// library set, so a time in a repeated hour converts back to its own instant;
// a stamp built from wall-clock numbers has the state unknown, and the zone
// library resolves a skipped time forward by the gap and a repeated time to
// its first occurrence.
//
// CreateLocalTimeStamp and GetSecondsSince1970 deal in wall-clock readings
// expressed as seconds, with no offset and no daylight saving: seconds
// 946684800 read as 01.01.2000 00:00:00 in every zone.
//
// Each stamp holds its own zone reference and a copy duplicates it: not for
// use per sample.
#pragma once

#include <cstdint>
#include <string>

#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/values/CTNTimeZoneInformation.h"
#include "tarnovelle/values/CTNUTCTimeStamp.h"
#include "tarnovelle/values/TNTimeZoneData.h"

class TNVL_EXPORT CTNLocalTimeStamp {
public:
    // From an OLE date (days since 30 December 1899, the fraction the time of
    // day) in the machine's zone or in `zone`. Day of the week and day of the
    // year stay 0; an OLE date outside the years 100 to 9999 gives an invalid
    // stamp.
    explicit CTNLocalTimeStamp(double oleDate);
    CTNLocalTimeStamp(double oleDate, const CTNTimeZoneInformation& zone);
    CTNLocalTimeStamp(const CTNLocalTimeStamp& other) = default;
    CTNLocalTimeStamp& operator=(const CTNLocalTimeStamp& other) = default;
    virtual ~CTNLocalTimeStamp();

    // The wall-clock reading `seconds` (as if UTC) in the zone; day of the
    // week and day of the year stay 0.
    static CTNLocalTimeStamp CreateLocalTimeStamp(uint32_t seconds, uint16_t milliseconds,
                                                  const CTNTimeZoneInformation& zone);
    static CTNLocalTimeStamp CreateLocalTimeStamp(uint32_t seconds, uint16_t milliseconds);
    static CTNLocalTimeStamp GetCurrentLocalTime();
    static CTNLocalTimeStamp GetCurrentLocalTime(const CTNTimeZoneInformation& zone);
    // Zeroed, millisecond 65535, zone "posix/UTC".
    static CTNLocalTimeStamp InvalidTS();
    bool IsInvalidTS() const;

    // The wall-clock reading as seconds, the inverse of CreateLocalTimeStamp.
    uint32_t GetSecondsSince1970() const;
    // The instant; InvalidTS for an invalid millisecond and for a record the
    // zone library cannot place (day or month 0, unknown zone).
    CTNUTCTimeStamp ToUTCTime() const;
    // Year to second of the record as an OLE date; the milliseconds are lost.
    // 0.0 when the fields are no calendar time.
    double ToOleDateTime() const;

    uint16_t GetYear() const { return m_time.tzd_year; }
    uint16_t GetMonth() const { return m_time.tzd_month; }
    uint16_t GetDayOfWeek() const { return m_time.tzd_wday; }  // 1 Monday .. 7 Sunday
    uint16_t GetDayOfMonth() const { return m_time.tzd_mday; }
    uint16_t GetDayOfYear() const { return m_time.tzd_yday; }
    uint16_t GetHour() const { return m_time.tzd_hour; }
    uint16_t GetMinute() const { return m_time.tzd_min; }
    uint16_t GetSecond() const { return m_time.tzd_sec; }
    uint16_t GetMillisecond() const { return m_milliseconds; }

    const CTNTimeZoneInformation& GetTimeZoneInformation() const { return m_timeZone; }

    // Replaces "%d" "%m" "%y" "%Y" "%H" "%M" "%S", in this order and each once
    // only; other text stays. "---" for an invalid stamp.
    std::string Format(const std::string& format) const;
    // The same with the format text of a string id.
    std::string Format(uint32_t stringId) const;
    // "dd.mm.yy hh:mm:ss mmm (Local:<zone>)".
    std::string Dump() const;

    // Midnight of the stamp's day, corrected across a change of daylight
    // saving on that day.
    CTNLocalTimeStamp GetStartOfDay() const;
    // These go back whole days of 86400 seconds from the start of the day,
    // without correction: across a change of daylight saving the result
    // stands an hour off midnight.
    CTNLocalTimeStamp GetStartOfWeek() const;
    CTNLocalTimeStamp GetStartOfMonth() const;
    CTNLocalTimeStamp GetStartOfYear() const;

    bool IsDayLightSavingActive() const { return tzd_getdststate(&m_time) == 1; }
    bool UsesDayLightSaving() const { return (m_time.tzd_zoneflags & TZD_ZONE_USES_DST) != 0; }

protected:
    // A zeroed, invalid stamp in the machine's zone or in `zone`.
    CTNLocalTimeStamp();
    explicit CTNLocalTimeStamp(const CTNTimeZoneInformation& zone);
    // The instant (seconds, milliseconds) in `zone` or in the machine's zone;
    // seconds above 0x7FFFFFFF give an invalid stamp with year 32767.
    CTNLocalTimeStamp(uint32_t seconds, uint16_t milliseconds, const CTNTimeZoneInformation& zone);
    CTNLocalTimeStamp(uint32_t seconds, uint16_t milliseconds);

private:
    friend class CTNUTCTimeStamp;

    void Clear();
    void FromInstant(uint32_t seconds, uint16_t milliseconds);
    void FromOleDate(double oleDate);
    void CopyWallClock(const CTNLocalTimeStamp& from);
    CTNLocalTimeStamp BackByDays(uint16_t dayNumber) const;
    static void ReplaceStringByNumberString(std::string& text, const char* token, int number);

    CTNTimeZoneInformation m_timeZone;
    tzd_time m_time;
    uint16_t m_milliseconds;
};
