#include "tarnovelle/values/CTNLocalTimeStamp.h"

#include <cctz/civil_time.h>

#include <cmath>
#include <cstdio>
#include <cstring>

#include "tarnovelle/values/CTarnovelleTextManager.h"

namespace {

constexpr const char* kNoRulesZone = "posix/UTC";
constexpr uint32_t kLastSignedSecond = 0x7FFFFFFFu;
constexpr uint16_t kYearOutOfRange = 0x7FFF;
constexpr uint16_t kInvalidMillisecond = 0xFFFF;
constexpr uint32_t kSecondsPerDay = 86400;
// An OLE date counts days from 30 December 1899 and covers the years 100 to
// 9999.
const cctz::civil_day kOleEpoch(1899, 12, 30);
constexpr double kOleFirstDay = -657434.0;  // 1 January 100
constexpr double kOleEndDay = 2958466.0;    // 1 January 10000

uint32_t SecondsOfDay(uint16_t hour, uint16_t minute, uint16_t second) {
    return static_cast<uint32_t>(hour) * 3600u + static_cast<uint32_t>(minute) * 60u + second;
}

}  // namespace

// ---- construction -------------------------------------------------------

CTNLocalTimeStamp::CTNLocalTimeStamp() { Clear(); }

CTNLocalTimeStamp::CTNLocalTimeStamp(const CTNTimeZoneInformation& zone) : m_timeZone(zone) { Clear(); }

CTNLocalTimeStamp::CTNLocalTimeStamp(uint32_t seconds, uint16_t milliseconds, const CTNTimeZoneInformation& zone)
    : m_timeZone(zone) {
    Clear();
    FromInstant(seconds, milliseconds);
}

CTNLocalTimeStamp::CTNLocalTimeStamp(uint32_t seconds, uint16_t milliseconds) {
    Clear();
    FromInstant(seconds, milliseconds);
}

CTNLocalTimeStamp::CTNLocalTimeStamp(double oleDate) {
    Clear();
    FromOleDate(oleDate);
}

CTNLocalTimeStamp::CTNLocalTimeStamp(double oleDate, const CTNTimeZoneInformation& zone) : m_timeZone(zone) {
    Clear();
    FromOleDate(oleDate);
}

CTNLocalTimeStamp::~CTNLocalTimeStamp() = default;

void CTNLocalTimeStamp::Clear() {
    std::memset(&m_time, 0, sizeof m_time);
    tzd_setdststate(&m_time, -1);
    m_milliseconds = 0;
}

void CTNLocalTimeStamp::FromInstant(uint32_t seconds, uint16_t milliseconds) {
    m_milliseconds = milliseconds;  // kept as it stands, even when invalid
    if (seconds > kLastSignedSecond) {
        // Beyond the signed time axis the zone library is not asked; the day
        // of the month stays 0, so the stamp is invalid.
        m_time.tzd_year = kYearOutOfRange;
        return;
    }
    tzd_localtime(&m_time, m_timeZone.GetZoneData(), seconds);
}

void CTNLocalTimeStamp::FromOleDate(double oleDate) {
    if (!(oleDate >= kOleFirstDay && oleDate < kOleEndDay)) return;  // also NaN: stays invalid
    const double whole = std::trunc(oleDate);
    // The fraction is the time of day also for negative dates: -1.25 is
    // 29 December 1899 06:00.
    int64_t seconds = std::llround(std::fabs(oleDate - whole) * kSecondsPerDay);
    int64_t days = static_cast<int64_t>(whole);
    if (seconds >= kSecondsPerDay) {
        seconds -= kSecondsPerDay;
        days += 1;
    }
    const cctz::civil_day day = kOleEpoch + days;
    m_time.tzd_year = static_cast<uint16_t>(day.year());
    m_time.tzd_month = static_cast<uint16_t>(day.month());
    m_time.tzd_mday = static_cast<uint16_t>(day.day());
    m_time.tzd_hour = static_cast<uint16_t>(seconds / 3600);
    m_time.tzd_min = static_cast<uint16_t>(seconds / 60 % 60);
    m_time.tzd_sec = static_cast<uint16_t>(seconds % 60);
    tzd_setdststate(&m_time, -1);
    m_milliseconds = 0;
}

void CTNLocalTimeStamp::CopyWallClock(const CTNLocalTimeStamp& from) {
    m_time.tzd_year = from.m_time.tzd_year;
    m_time.tzd_month = from.m_time.tzd_month;
    m_time.tzd_mday = from.m_time.tzd_mday;
    m_time.tzd_hour = from.m_time.tzd_hour;
    m_time.tzd_min = from.m_time.tzd_min;
    m_time.tzd_sec = from.m_time.tzd_sec;
    tzd_setdststate(&m_time, -1);
}

CTNLocalTimeStamp CTNLocalTimeStamp::CreateLocalTimeStamp(uint32_t seconds, uint16_t milliseconds,
                                                          const CTNTimeZoneInformation& zone) {
    const CTNUTCTimeStamp reading =
        CTNUTCTimeStamp::CreateUTCTimeStamp1970() + CTNMSecTimeSpan(seconds, milliseconds);
    const CTNLocalTimeStamp expanded = reading.ToLocalTime(CTNTimeZoneInformation(kNoRulesZone));
    CTNLocalTimeStamp stamp(zone);
    stamp.CopyWallClock(expanded);
    stamp.m_milliseconds = milliseconds;
    return stamp;
}

CTNLocalTimeStamp CTNLocalTimeStamp::CreateLocalTimeStamp(uint32_t seconds, uint16_t milliseconds) {
    return CreateLocalTimeStamp(seconds, milliseconds, CTNTimeZoneInformation());
}

CTNLocalTimeStamp CTNLocalTimeStamp::GetCurrentLocalTime() { return CTNUTCTimeStamp::GetCurrentUTCTime().ToLocalTime(); }

CTNLocalTimeStamp CTNLocalTimeStamp::GetCurrentLocalTime(const CTNTimeZoneInformation& zone) {
    return CTNUTCTimeStamp::GetCurrentUTCTime().ToLocalTime(zone);
}

CTNLocalTimeStamp CTNLocalTimeStamp::InvalidTS() {
    CTNLocalTimeStamp stamp{CTNTimeZoneInformation(kNoRulesZone)};
    stamp.m_milliseconds = kInvalidMillisecond;
    return stamp;
}

bool CTNLocalTimeStamp::IsInvalidTS() const { return m_milliseconds > 999 || m_time.tzd_mday == 0; }

// ---- the UTC stamp's side ------------------------------------------------

CTNLocalTimeStamp CTNUTCTimeStamp::ToLocalTime() const {
    if (IsInvalidTS()) return CTNLocalTimeStamp::InvalidTS();
    return CTNLocalTimeStamp(m_dwTime, m_wMilliseconds);
}

CTNLocalTimeStamp CTNUTCTimeStamp::ToLocalTime(const CTNTimeZoneInformation& zone) const {
    if (IsInvalidTS()) return CTNLocalTimeStamp(zone);  // all zero, millisecond 0
    return CTNLocalTimeStamp(m_dwTime, m_wMilliseconds, zone);
}

// ---- conversions -----------------------------------------------------------

CTNUTCTimeStamp CTNLocalTimeStamp::ToUTCTime() const {
    int64_t seconds = 0;
    // A record the zone library cannot place (no month, no day, no zone) has
    // no instant.
    if (tzd_maketime(&seconds, m_timeZone.GetZoneData(), &m_time) != 0) return CTNUTCTimeStamp::InvalidTS();
    // The seconds go into the span as 32 bits; the clamping addition makes an
    // invalid millisecond InvalidTS.
    return CTNUTCTimeStamp::CreateUTCTimeStamp1970() +
           CTNMSecTimeSpan(static_cast<uint32_t>(seconds), m_milliseconds);
}

uint32_t CTNLocalTimeStamp::GetSecondsSince1970() const {
    CTNLocalTimeStamp reading{CTNTimeZoneInformation(kNoRulesZone)};
    reading.CopyWallClock(*this);
    return reading.ToUTCTime().GetSecondsSince1970();
}

double CTNLocalTimeStamp::ToOleDateTime() const {
    const cctz::civil_day day(m_time.tzd_year, m_time.tzd_month, m_time.tzd_mday);
    const bool isCalendarTime = m_time.tzd_year >= 100 && m_time.tzd_year <= 9999 && m_time.tzd_month >= 1 &&
                                m_time.tzd_month <= 12 && m_time.tzd_mday >= 1 &&
                                day.month() == m_time.tzd_month && m_time.tzd_hour < 24 && m_time.tzd_min < 60 &&
                                m_time.tzd_sec < 60;
    if (!isCalendarTime) return 0.0;
    const double days = static_cast<double>(day - kOleEpoch);
    const double time = SecondsOfDay(m_time.tzd_hour, m_time.tzd_min, m_time.tzd_sec) /
                        static_cast<double>(kSecondsPerDay);
    return days >= 0 ? days + time : days - time;
}

// ---- texts ---------------------------------------------------------------

void CTNLocalTimeStamp::ReplaceStringByNumberString(std::string& text, const char* token, int number) {
    const size_t at = text.find(token);
    if (at == std::string::npos) return;
    char digits[16];
    // Up to 100 two digits, beyond four: a year renders in full.
    std::snprintf(digits, sizeof digits, number < 0x65 ? "%02d" : "%04d", number);
    text.replace(at, std::strlen(token), digits);
}

std::string CTNLocalTimeStamp::Format(const std::string& format) const {
    if (IsInvalidTS()) return "---";
    std::string text = format;
    ReplaceStringByNumberString(text, "%d", m_time.tzd_mday);
    ReplaceStringByNumberString(text, "%m", m_time.tzd_month);
    ReplaceStringByNumberString(text, "%y", m_time.tzd_year % 100);
    ReplaceStringByNumberString(text, "%Y", m_time.tzd_year);
    ReplaceStringByNumberString(text, "%H", m_time.tzd_hour);
    ReplaceStringByNumberString(text, "%M", m_time.tzd_min);
    ReplaceStringByNumberString(text, "%S", m_time.tzd_sec);
    return text;
}

std::string CTNLocalTimeStamp::Format(uint32_t stringId) const {
    if (IsInvalidTS()) return "---";
    if (stringId > 0xFFFFu) return Format(std::string());  // ids are 16 bits: no text
    return Format(CTarnovelleTextManager::LoadString(static_cast<uint16_t>(stringId)));
}

std::string CTNLocalTimeStamp::Dump() const {
    const std::string when = Format("%d.%m.%y %H:%M:%S");
    const std::string zone = m_timeZone.Dump();
    std::string text(when.size() + zone.size() + 32, '\0');
    const int length = std::snprintf(text.data(), text.size(), "%s %03d (Local:%s)", when.c_str(),
                                     static_cast<int>(m_milliseconds), zone.c_str());
    text.resize(length > 0 ? static_cast<size_t>(length) : 0);
    return text;
}

// ---- start of a period -----------------------------------------------------

CTNLocalTimeStamp CTNLocalTimeStamp::GetStartOfDay() const {
    const CTNUTCTimeStamp instant = ToUTCTime();
    const CTNMSecTimeSpan sinceMidnight(SecondsOfDay(m_time.tzd_hour, m_time.tzd_min, m_time.tzd_sec),
                                        m_milliseconds);
    const CTNLocalTimeStamp candidate = (instant - sinceMidnight).ToLocalTime(m_timeZone);
    if (candidate.GetHour() == 0) return candidate;

    // A change of daylight saving lies between midnight and this stamp, so
    // the candidate's clock is off midnight by its own time of day.
    const CTNMSecTimeSpan offMidnight(
        SecondsOfDay(candidate.m_time.tzd_hour, candidate.m_time.tzd_min, candidate.m_time.tzd_sec),
        candidate.m_milliseconds);
    CTNUTCTimeStamp midnight = candidate.ToUTCTime() - offMidnight;
    // Same day: the day is long and the candidate reads past midnight. Else
    // the candidate lies on the day before (a short day): midnight of that
    // day plus one day.
    if (Format("%d") != candidate.Format("%d")) midnight = midnight + CTNMSecTimeSpan(kSecondsPerDay, 0);
    return midnight.ToLocalTime(m_timeZone);
}

CTNLocalTimeStamp CTNLocalTimeStamp::BackByDays(uint16_t dayNumber) const {
    // 32-bit arithmetic: a day number of 0 (an invalid start) wraps and the
    // clamping subtraction ends at 1970.
    const uint32_t back = (static_cast<uint32_t>(dayNumber) - 1u) * kSecondsPerDay;
    return (ToUTCTime() - CTNMSecTimeSpan(back, 0)).ToLocalTime(m_timeZone);
}

CTNLocalTimeStamp CTNLocalTimeStamp::GetStartOfWeek() const {
    const CTNLocalTimeStamp day = GetStartOfDay();
    return day.BackByDays(day.GetDayOfWeek());
}

CTNLocalTimeStamp CTNLocalTimeStamp::GetStartOfMonth() const {
    const CTNLocalTimeStamp day = GetStartOfDay();
    return day.BackByDays(day.GetDayOfMonth());
}

CTNLocalTimeStamp CTNLocalTimeStamp::GetStartOfYear() const {
    const CTNLocalTimeStamp day = GetStartOfDay();
    return day.BackByDays(day.GetDayOfYear());
}
