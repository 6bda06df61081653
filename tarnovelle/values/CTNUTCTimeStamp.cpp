#include "tarnovelle/values/CTNUTCTimeStamp.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

#include "tarnovelle/support/CTNClock.h"
#include "tarnovelle/values/CTarnovelleTextManager.h"

namespace {

const uint32_t kDaysBeforeMonth[2][12] = {
    {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334},
    {0, 31, 60, 91, 121, 152, 182, 213, 244, 274, 305, 335},
};
const uint32_t kDaysInMonth[2][12] = {
    {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31},
    {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31},
};

// Leap years in 1..year (year 0 of the proleptic calendar not counted).
uint64_t LeapYearsUpTo(uint64_t year) { return year / 4 - year / 100 + year / 400; }

// Calendar date of a count of days since 1 January 1970 (proleptic Gregorian).
struct SCivilDate {
    int64_t year;
    uint32_t month;  // 1..12
    uint32_t day;    // 1..31
};

SCivilDate CivilFromDays(int64_t days) {
    days += 719468;
    const int64_t era = (days >= 0 ? days : days - 146096) / 146097;
    const uint32_t dayOfEra = static_cast<uint32_t>(days - era * 146097);
    const uint32_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const uint32_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const uint32_t mp = (5 * dayOfYear + 2) / 153;
    const uint32_t day = dayOfYear - (153 * mp + 2) / 5 + 1;
    const uint32_t month = mp < 10 ? mp + 3 : mp - 9;
    return SCivilDate{static_cast<int64_t>(yearOfEra) + era * 400 + (month <= 2 ? 1 : 0), month, day};
}

bool IsLeap(int64_t year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

// The seconds as the UTC calendar of a signed 32-bit time axis sees them.
// Seconds of 0x80000000 and above read as negative there and have no
// calendar, which the callers render as an empty text.
bool BreakDown(uint32_t seconds, std::tm& tm) {
    if (seconds > 0x7FFFFFFFu)
        return false;
    const int64_t days = seconds / 86400;
    const uint32_t secondOfDay = seconds % 86400;
    const SCivilDate date = CivilFromDays(days);
    const int leap = IsLeap(date.year) ? 1 : 0;
    tm = std::tm{};
    tm.tm_year = static_cast<int>(date.year - 1900);
    tm.tm_mon = static_cast<int>(date.month - 1);
    tm.tm_mday = static_cast<int>(date.day);
    tm.tm_hour = static_cast<int>(secondOfDay / 3600);
    tm.tm_min = static_cast<int>((secondOfDay / 60) % 60);
    tm.tm_sec = static_cast<int>(secondOfDay % 60);
    tm.tm_wday = static_cast<int>((days + 4) % 7);  // 1 January 1970 was a Thursday
    tm.tm_yday = static_cast<int>(kDaysBeforeMonth[leap][date.month - 1] + date.day - 1);
    tm.tm_isdst = 0;
    return true;
}

// Renders the seconds as UTC with a strftime-style format.
std::string RenderUTC(uint32_t seconds, const char* format) {
    std::tm tm;
    if (*format == '\0' || !BreakDown(seconds, tm))
        return std::string();
    char text[256];
    size_t n = std::strftime(text, sizeof text, format, &tm);
    if (n > 0)
        return std::string(text, n);
    // Either the rendering is empty or longer than the buffer: try larger.
    for (size_t size = 4096; size <= 65536; size *= 16) {
        std::string big(size, '\0');
        n = std::strftime(big.data(), big.size(), format, &tm);
        if (n > 0) {
            big.resize(n);
            return big;
        }
    }
    return std::string();
}

// The format text of a string id in the current language; ids are 16 bits,
// so a larger number names no text.
std::string LoadFormatText(uint32_t stringId) {
    return stringId > 0xFFFFu ? std::string() : CTarnovelleTextManager::LoadString(static_cast<uint16_t>(stringId));
}

}  // namespace

CTNUTCTimeStamp CTNUTCTimeStamp::operator+(const CTNMSecTimeSpan& span) const {
    if (IsInvalidTS() || span.IsInvalidTS())
        return InvalidTS();
    const uint64_t sum = static_cast<uint64_t>(m_dwTime) + span.GetDWTime();
    CTNUTCTimeStamp result;
    if (sum > 0x7FFFFFFFu) {
        result.m_dwTime = 0x7FFFFFFFu;
        result.m_wMilliseconds = 999;
    } else {
        result.m_dwTime = static_cast<uint32_t>(sum);
        result.m_wMilliseconds = static_cast<uint16_t>(m_wMilliseconds + span.GetWMilliseconds());
    }
    // The carry comes after the clamp test, so it may step past MaxTS.
    while (result.m_wMilliseconds >= 1000) {
        ++result.m_dwTime;
        result.m_wMilliseconds = static_cast<uint16_t>(result.m_wMilliseconds - 1000);
    }
    return result;
}

CTNUTCTimeStamp CTNUTCTimeStamp::operator-(const CTNMSecTimeSpan& span) const {
    if (IsInvalidTS() || span.IsInvalidTS())
        return InvalidTS();
    if (m_dwTime < span.GetDWTime())
        return CTNUTCTimeStamp(0, 0);
    // Not clamped further: equal seconds with fewer milliseconds wrap.
    CTNUTCTimeStamp result(*this);
    result.m_dwTime -= span.GetDWTime();
    while (result.m_wMilliseconds < span.GetWMilliseconds()) {
        --result.m_dwTime;
        result.m_wMilliseconds = static_cast<uint16_t>(result.m_wMilliseconds + 1000);
    }
    result.m_wMilliseconds = static_cast<uint16_t>(result.m_wMilliseconds - span.GetWMilliseconds());
    return result;
}

CTNUTCTimeStamp& CTNUTCTimeStamp::operator+=(const CTNMSecTimeSpan& span) {
    if (IsInvalidTS() || span.IsInvalidTS())
        return *this = InvalidTS();
    m_dwTime += span.GetDWTime();
    m_wMilliseconds = static_cast<uint16_t>(m_wMilliseconds + span.GetWMilliseconds());
    while (m_wMilliseconds >= 1000) {
        ++m_dwTime;
        m_wMilliseconds = static_cast<uint16_t>(m_wMilliseconds - 1000);
    }
    return *this;
}

CTNUTCTimeStamp& CTNUTCTimeStamp::operator-=(const CTNMSecTimeSpan& span) {
    if (IsInvalidTS() || span.IsInvalidTS())
        return *this = InvalidTS();
    m_dwTime -= span.GetDWTime();
    while (m_wMilliseconds < span.GetWMilliseconds()) {
        --m_dwTime;
        m_wMilliseconds = static_cast<uint16_t>(m_wMilliseconds + 1000);
    }
    m_wMilliseconds = static_cast<uint16_t>(m_wMilliseconds - span.GetWMilliseconds());
    return *this;
}

void CTNUTCTimeStamp::CalculateTimeSpan(const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to,
                                        CTNMSecTimeSpan& span) {
    if (from.m_wMilliseconds > to.m_wMilliseconds)
        span = CTNMSecTimeSpan(to.m_dwTime - from.m_dwTime - 1,
                               static_cast<uint16_t>(to.m_wMilliseconds + 1000 - from.m_wMilliseconds));
    else
        span = CTNMSecTimeSpan(to.m_dwTime - from.m_dwTime,
                               static_cast<uint16_t>(to.m_wMilliseconds - from.m_wMilliseconds));
}

void CTNUTCTimeStamp::CalculateIntervalTime(const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to, uint32_t count,
                                            CTNMSecTimeSpan& span) {
    if (count == 0) {
        span = CTNMSecTimeSpan(0, 0);
        return;
    }
    CTNMSecTimeSpan d;
    CalculateTimeSpan(from, to, d);
    const uint32_t seconds = d.GetDWTime() / count;
    const uint32_t milliseconds = (d.GetWMilliseconds() + (d.GetDWTime() % count) * 1000u) / count;
    span = CTNMSecTimeSpan(seconds, static_cast<uint16_t>(milliseconds));
}

bool CTNUTCTimeStamp::IsLeapYear(uint32_t year) {
    if (year % 4 != 0)
        return false;
    if (year % 100 != 0)
        return true;
    return year % 400 == 0;
}

CTNUTCTimeStamp CTNUTCTimeStamp::CreateUTCTimeStamp(uint32_t year, uint32_t month, uint32_t day, uint32_t hour,
                                                    uint32_t minute, uint32_t second, uint32_t millisecond) {
    // The whole years since 1970, counted at once instead of year by year;
    // the 32-bit sum wraps the same either way. A year before 1970 adds
    // nothing and the leap test then looks at 1970.
    const uint32_t leapYear = year > 1970 ? year : 1970;
    uint64_t days = 0;
    if (year > 1970)
        days = 365ull * (year - 1970) + LeapYearsUpTo(year - 1) - LeapYearsUpTo(1969);
    const int leap = IsLeapYear(leapYear) ? 1 : 0;
    const uint32_t monthIndex = (month - 1) % 12;  // unsigned: month 0 is April
    days += kDaysBeforeMonth[leap][monthIndex];
    if (day > 1)
        days += (day - 1) % kDaysInMonth[leap][monthIndex];
    uint32_t seconds = static_cast<uint32_t>(days * 86400);
    seconds += (hour % 24) * 3600 + (minute % 60) * 60 + second % 60;
    return CTNUTCTimeStamp(seconds, static_cast<uint16_t>(millisecond % 1000));
}

CTNUTCTimeStamp CTNUTCTimeStamp::CreateUTCTimeStamp(const SYSTEMTIME& time) {
    return CreateUTCTimeStamp(time.wYear, time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond,
                              time.wMilliseconds);
}

CTNUTCTimeStamp CTNUTCTimeStamp::CreateUTCTimeStamp1970() { return CTNUTCTimeStamp(0, 0); }
CTNUTCTimeStamp CTNUTCTimeStamp::CreateUTCTimeStamp1999() { return CTNUTCTimeStamp(915148800u, 0); }
CTNUTCTimeStamp CTNUTCTimeStamp::CreateUTCTimeStamp2000() { return CTNUTCTimeStamp(946684800u, 0); }

CTNUTCTimeStamp CTNUTCTimeStamp::GetCurrentUTCTime() {
    // The clock's reading goes through the calendar record, as the system
    // time always did, and from there through the one conversion of dates.
    const uint64_t now = TNGetClock()->NowMilliseconds();
    const int64_t days = static_cast<int64_t>(now / 86400000u);
    const uint32_t millisecondOfDay = static_cast<uint32_t>(now % 86400000u);
    const SCivilDate date = CivilFromDays(days);
    SYSTEMTIME time{};
    time.wYear = static_cast<uint16_t>(date.year);
    time.wMonth = static_cast<uint16_t>(date.month);
    time.wDayOfWeek = static_cast<uint16_t>((days + 4) % 7);
    time.wDay = static_cast<uint16_t>(date.day);
    time.wHour = static_cast<uint16_t>(millisecondOfDay / 3600000u);
    time.wMinute = static_cast<uint16_t>((millisecondOfDay / 60000u) % 60);
    time.wSecond = static_cast<uint16_t>((millisecondOfDay / 1000u) % 60);
    time.wMilliseconds = static_cast<uint16_t>(millisecondOfDay % 1000u);
    return CreateUTCTimeStamp(time);
}

CTNUTCTimeStamp CTNUTCTimeStamp::Parse(const std::string& text) {
    int day = 0, month = 0, year = 0, hour = 0, minute = 0, second = 0, millisecond = 0;
    const int fields = std::sscanf(text.c_str(), "%02d.%02d.%04d %02d:%02d:%02d.%03d", &day, &month, &year, &hour,
                                   &minute, &second, &millisecond);
    if (fields != 7)
        return InvalidTS();
    // Wrong values are folded, not refused.
    return CreateUTCTimeStamp(static_cast<uint32_t>(year), static_cast<uint32_t>(month), static_cast<uint32_t>(day),
                              static_cast<uint32_t>(hour), static_cast<uint32_t>(minute),
                              static_cast<uint32_t>(second), static_cast<uint32_t>(millisecond));
}

std::string CTNUTCTimeStamp::Format() const {
    if (IsInvalidTS())
        return std::string();
    std::string text = RenderUTC(m_dwTime, "%d.%m.%Y %H:%M:%S");
    const char digits[4] = {static_cast<char>('0' + m_wMilliseconds / 100),
                            static_cast<char>('0' + (m_wMilliseconds / 10) % 10),
                            static_cast<char>('0' + m_wMilliseconds % 10), '\0'};
    text += '.';
    text += digits;
    return text;
}

std::string CTNUTCTimeStamp::Format(const std::string& format) const { return RenderUTC(m_dwTime, format.c_str()); }

std::string CTNUTCTimeStamp::Format(uint32_t stringId) const { return Format(LoadFormatText(stringId)); }

std::string CTNUTCTimeStamp::Dump() const {
    const std::string date = RenderUTC(m_dwTime, "%c");
    char text[320];
    const int n = std::snprintf(text, sizeof text, "%s %03d (UTC)", date.c_str(), static_cast<int>(m_wMilliseconds));
    // snprintf tells the length it wanted; a longer date was cut to the buffer.
    return std::string(text, n > 0 ? std::min(static_cast<size_t>(n), sizeof text - 1) : 0);
}
