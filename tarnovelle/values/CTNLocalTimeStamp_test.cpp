#include "tarnovelle/values/CTNLocalTimeStamp.h"

#include <gtest/gtest.h>

#include <limits>

#include "tarnovelle/support/CTNFakeClock.h"
#include "tarnovelle/values/SetTarnovelleLanguage.h"

namespace {

const CTNTimeZoneInformation& Berlin() {
    static const CTNTimeZoneInformation zone("Europe/Berlin");
    return zone;
}
const CTNTimeZoneInformation& NewYork() {
    static const CTNTimeZoneInformation zone("America/New_York");
    return zone;
}
const CTNTimeZoneInformation& NoRules() {
    static const CTNTimeZoneInformation zone("posix/UTC");
    return zone;
}

CTNUTCTimeStamp Utc(uint32_t year, uint32_t month, uint32_t day, uint32_t hour, uint32_t minute = 0,
                    uint32_t second = 0, uint32_t millisecond = 0) {
    return CTNUTCTimeStamp::CreateUTCTimeStamp(year, month, day, hour, minute, second, millisecond);
}

std::string Clock(const CTNLocalTimeStamp& stamp) { return stamp.Format("%d.%m.%Y %H:%M:%S"); }

}  // namespace

// ---- invalid stamps ----------------------------------------------------------

TEST(CTNLocalTimeStamp, InvalidStampFormatsAsDashesInZonePosixUtc) {
    const CTNLocalTimeStamp invalid = CTNLocalTimeStamp::InvalidTS();
    EXPECT_TRUE(invalid.IsInvalidTS());
    EXPECT_EQ("---", invalid.Format("%d.%m.%Y"));
    EXPECT_EQ("---", invalid.Format(81u));
    EXPECT_EQ("posix/UTC", invalid.GetTimeZoneInformation().GetName());
    EXPECT_EQ(65535, invalid.GetMillisecond());
}

TEST(CTNLocalTimeStamp, InvalidUtcWithExplicitZoneHasMillisecondZero) {
    const CTNLocalTimeStamp stamp = CTNUTCTimeStamp::InvalidTS().ToLocalTime(Berlin());
    EXPECT_TRUE(stamp.IsInvalidTS());
    EXPECT_EQ(0, stamp.GetMillisecond());
    EXPECT_EQ(0, stamp.GetDayOfMonth());
    EXPECT_EQ(0, stamp.GetYear());
    EXPECT_EQ("Europe/Berlin", stamp.GetTimeZoneInformation().GetName());
}

TEST(CTNLocalTimeStamp, InvalidUtcWithoutZoneIsTheInvalidLocalStamp) {
    const CTNLocalTimeStamp stamp = CTNUTCTimeStamp::InvalidTS().ToLocalTime();
    EXPECT_TRUE(stamp.IsInvalidTS());
    EXPECT_EQ(65535, stamp.GetMillisecond());
    EXPECT_EQ("posix/UTC", stamp.GetTimeZoneInformation().GetName());
}

TEST(CTNLocalTimeStamp, SecondsBeyondTheSignedAxisGiveYear32767AndInvalid) {
    const CTNUTCTimeStamp beyond = CTNUTCTimeStamp::MaxTS() + CTNMSecTimeSpan(0, 1);
    ASSERT_EQ(0x80000000u, beyond.GetSecondsSince1970());
    for (const CTNLocalTimeStamp& stamp : {beyond.ToLocalTime(Berlin()), beyond.ToLocalTime()}) {
        EXPECT_TRUE(stamp.IsInvalidTS());
        EXPECT_EQ(32767, stamp.GetYear());
        EXPECT_EQ(0, stamp.GetDayOfMonth());
        EXPECT_EQ("---", stamp.Format("%Y"));
    }
}

TEST(CTNLocalTimeStamp, InvalidMillisecondIsKeptAndMakesTheStampInvalid) {
    const CTNUTCTimeStamp atMax = CTNUTCTimeStamp::MaxTS();
    const CTNLocalTimeStamp stamp = atMax.ToLocalTime(Berlin());
    EXPECT_FALSE(stamp.IsInvalidTS());
    EXPECT_EQ(999, stamp.GetMillisecond());
    EXPECT_EQ(2038, stamp.GetYear());
}

TEST(CTNLocalTimeStamp, UnknownZoneGivesInvalidStamps) {
    const CTNLocalTimeStamp stamp = Utc(2005, 3, 5, 6, 8, 9).ToLocalTime(CTNTimeZoneInformation("Nowhere/Atlantis"));
    EXPECT_TRUE(stamp.IsInvalidTS());
    EXPECT_EQ("", stamp.GetTimeZoneInformation().GetName());
    EXPECT_EQ("---", stamp.Format("%d"));
}

// ---- UTC to local and back -----------------------------------------------------

TEST(CTNLocalTimeStamp, UtcToLocalFillsEveryField) {
    const CTNLocalTimeStamp stamp = Utc(2005, 3, 5, 6, 8, 9, 123).ToLocalTime(Berlin());
    EXPECT_EQ(2005, stamp.GetYear());
    EXPECT_EQ(3, stamp.GetMonth());
    EXPECT_EQ(5, stamp.GetDayOfMonth());
    EXPECT_EQ(6, stamp.GetDayOfWeek());  // Saturday
    EXPECT_EQ(64, stamp.GetDayOfYear());
    EXPECT_EQ(7, stamp.GetHour());
    EXPECT_EQ(8, stamp.GetMinute());
    EXPECT_EQ(9, stamp.GetSecond());
    EXPECT_EQ(123, stamp.GetMillisecond());
    const CTNLocalTimeStamp inNewYork = Utc(2005, 3, 5, 6, 8, 9, 123).ToLocalTime(NewYork());
    EXPECT_EQ(5, inNewYork.GetDayOfMonth());
    EXPECT_EQ(1, inNewYork.GetHour());
}

TEST(CTNLocalTimeStamp, LocalToUtcGivesTheInstantBack) {
    for (const CTNTimeZoneInformation* zone : {&Berlin(), &NewYork(), &NoRules()}) {
        const CTNUTCTimeStamp instant = Utc(2024, 7, 3, 9, 46, 40, 250);
        const CTNUTCTimeStamp back = instant.ToLocalTime(*zone).ToUTCTime();
        EXPECT_EQ(instant.GetSecondsSince1970(), back.GetSecondsSince1970()) << zone->GetName();
        EXPECT_EQ(250, back.GetMilliseconds());
    }
}

TEST(CTNLocalTimeStamp, RepeatedHourConvertsToLocalAndBackKeepingItsInstant) {
    // 27 October 2024: Berlin reads 02:00 to 03:00 twice, first CEST then CET.
    const CTNUTCTimeStamp first = Utc(2024, 10, 27, 0, 30);
    const CTNUTCTimeStamp second = Utc(2024, 10, 27, 1, 30);
    const CTNLocalTimeStamp a = first.ToLocalTime(Berlin());
    const CTNLocalTimeStamp b = second.ToLocalTime(Berlin());
    EXPECT_EQ(Clock(a), Clock(b)) << "both read 02:30";
    EXPECT_TRUE(a.IsDayLightSavingActive());
    EXPECT_FALSE(b.IsDayLightSavingActive());
    EXPECT_EQ(first, a.ToUTCTime());
    EXPECT_EQ(second, b.ToUTCTime());
    // A copy keeps the state too.
    const CTNLocalTimeStamp copy(b);
    EXPECT_EQ(second, copy.ToUTCTime());
}

TEST(CTNLocalTimeStamp, RepeatedWallClockReadingTakesTheFirstOccurrence) {
    const uint32_t wall = Utc(2024, 11, 3, 1, 30).GetSecondsSince1970();  // New York repeats 01:00-02:00
    const CTNLocalTimeStamp stamp = CTNLocalTimeStamp::CreateLocalTimeStamp(wall, 0, NewYork());
    EXPECT_EQ(Utc(2024, 11, 3, 5, 30), stamp.ToUTCTime()) << "01:30 EDT";
}

TEST(CTNLocalTimeStamp, SkippedWallClockReadingMovesForwardByTheGap) {
    const uint32_t wall = Utc(2024, 3, 31, 2, 30).GetSecondsSince1970();  // Berlin skips 02:00-03:00
    const CTNLocalTimeStamp stamp = CTNLocalTimeStamp::CreateLocalTimeStamp(wall, 0, Berlin());
    const CTNUTCTimeStamp instant = stamp.ToUTCTime();
    EXPECT_EQ(Utc(2024, 3, 31, 1, 30), instant);
    EXPECT_EQ("31.03.2024 03:30:00", Clock(instant.ToLocalTime(Berlin())));
}

TEST(CTNLocalTimeStamp, ToUtcOfAnInvalidMillisecondIsInvalid) {
    const CTNLocalTimeStamp stamp = CTNUTCTimeStamp::MaxTS().ToLocalTime(NoRules());
    EXPECT_FALSE(stamp.ToUTCTime().IsInvalidTS());
    EXPECT_TRUE(CTNLocalTimeStamp::InvalidTS().ToUTCTime().IsInvalidTS());
}

TEST(CTNLocalTimeStamp, MachineZoneFormsMatchTheLocaltimeZone) {
    const CTNUTCTimeStamp instant = Utc(2024, 7, 3, 12);
    EXPECT_EQ(Clock(instant.ToLocalTime(CTNTimeZoneInformation("localtime"))), Clock(instant.ToLocalTime()));
    const CTNLocalTimeStamp wall = CTNLocalTimeStamp::CreateLocalTimeStamp(946684800, 5);
    EXPECT_EQ("01.01.2000 00:00:00", Clock(wall));
    EXPECT_EQ(5, wall.GetMillisecond());
}

// ---- wall-clock readings ---------------------------------------------------------

TEST(CTNLocalTimeStamp, WallClockSecondsReadTheSameInEveryZone) {
    for (const CTNTimeZoneInformation* zone : {&Berlin(), &NewYork(), &NoRules()}) {
        const CTNLocalTimeStamp stamp = CTNLocalTimeStamp::CreateLocalTimeStamp(946684800, 0, *zone);
        EXPECT_EQ("01.01.2000 00:00:00", Clock(stamp)) << zone->GetName();
        EXPECT_EQ(946684800u, stamp.GetSecondsSince1970()) << zone->GetName();
        EXPECT_EQ(zone->GetName(), stamp.GetTimeZoneInformation().GetName());
    }
}

TEST(CTNLocalTimeStamp, WallClockStampLeavesDayOfWeekAndYearZeroAndStateUnknown) {
    const CTNLocalTimeStamp stamp = CTNLocalTimeStamp::CreateLocalTimeStamp(1720000000, 7, Berlin());
    EXPECT_EQ(0, stamp.GetDayOfWeek());
    EXPECT_EQ(0, stamp.GetDayOfYear());
    EXPECT_EQ(7, stamp.GetMillisecond());
    EXPECT_FALSE(stamp.IsDayLightSavingActive());
    EXPECT_FALSE(stamp.IsInvalidTS());
    EXPECT_EQ("03.07.2024 09:46:40", Clock(stamp));
    // In summer the reading 09:46:40 in Berlin is 07:46:40 UTC.
    EXPECT_EQ(1720000000u - 7200u, stamp.ToUTCTime().GetSecondsSince1970());
}

TEST(CTNLocalTimeStamp, GetSecondsSince1970IsTheReadingNotTheInstant) {
    const CTNLocalTimeStamp stamp = Utc(2024, 7, 3, 12).ToLocalTime(NewYork());  // 08:00 EDT
    EXPECT_EQ(Utc(2024, 7, 3, 8).GetSecondsSince1970(), stamp.GetSecondsSince1970());
}

// ---- OLE dates -----------------------------------------------------------------------

TEST(CTNLocalTimeStamp, OleDateConstructorCopiesTheCalendarFields) {
    const CTNLocalTimeStamp stamp(36526.5, Berlin());  // 1 January 2000 12:00
    EXPECT_EQ("01.01.2000 12:00:00", Clock(stamp));
    EXPECT_EQ(0, stamp.GetMillisecond());
    EXPECT_EQ(0, stamp.GetDayOfWeek());
    EXPECT_EQ(0, stamp.GetDayOfYear());
    EXPECT_EQ(Utc(2000, 1, 1, 11), stamp.ToUTCTime());
    EXPECT_EQ("30.12.1899 00:00:00", Clock(CTNLocalTimeStamp(0.0, NoRules())));
    EXPECT_EQ("29.12.1899 06:00:00", Clock(CTNLocalTimeStamp(-1.25, NoRules())));
    EXPECT_FALSE(CTNLocalTimeStamp(36526.25).IsInvalidTS());
}

TEST(CTNLocalTimeStamp, ToOleDateTimeLosesTheMilliseconds) {
    const CTNLocalTimeStamp stamp = Utc(2000, 1, 1, 6, 0, 0, 999).ToLocalTime(NoRules());
    EXPECT_DOUBLE_EQ(36526.25, stamp.ToOleDateTime());
    EXPECT_DOUBLE_EQ(-1.25, CTNLocalTimeStamp(-1.25, NoRules()).ToOleDateTime());
    EXPECT_DOUBLE_EQ(36526.5, CTNLocalTimeStamp(36526.5, NewYork()).ToOleDateTime());
    EXPECT_DOUBLE_EQ(0.0, CTNUTCTimeStamp::InvalidTS().ToLocalTime(Berlin()).ToOleDateTime());
}

TEST(CTNLocalTimeStamp, OleDateOutOfRangeGivesAnInvalidStamp) {
    EXPECT_TRUE(CTNLocalTimeStamp(1e12, Berlin()).IsInvalidTS());
    EXPECT_TRUE(CTNLocalTimeStamp(-1e9, Berlin()).IsInvalidTS());
    EXPECT_TRUE(CTNLocalTimeStamp(std::numeric_limits<double>::quiet_NaN(), Berlin()).IsInvalidTS());
}

// ---- formatting ------------------------------------------------------------------------

TEST(CTNLocalTimeStamp, FormatReplacesTheSevenTokens) {
    const CTNLocalTimeStamp stamp = Utc(2005, 3, 5, 6, 8, 9).ToLocalTime(Berlin());
    EXPECT_EQ("05.03.2005 07:08:09", stamp.Format("%d.%m.%Y %H:%M:%S"));
    EXPECT_EQ("05", stamp.Format("%y"));
    EXPECT_EQ("05 %d", stamp.Format("%d %d"));
    EXPECT_EQ("at 07h %j %a 100%", stamp.Format("at %Hh %j %a 100%"));
}

TEST(CTNLocalTimeStamp, NumbersAbove100RenderWithFourDigits) {
    EXPECT_EQ("100", CTNLocalTimeStamp(-657434.0, NoRules()).Format("%Y")) << "year 100";
    EXPECT_EQ("0101", CTNLocalTimeStamp(-657069.0, NoRules()).Format("%Y")) << "year 101";
    EXPECT_EQ("00", CTNLocalTimeStamp(-657434.0, NoRules()).Format("%y"));
}

TEST(CTNLocalTimeStamp, FormatByStringIdUsesTheStringTable) {
    SetTarnovelleLanguage("de");
    const CTNLocalTimeStamp stamp = Utc(2005, 3, 5, 6, 8, 9).ToLocalTime(Berlin());
    EXPECT_EQ("05.03.2005 07:08:09", stamp.Format(81u));
    EXPECT_EQ("dd.MM.yyyy - HH:mm:ss", stamp.Format(91u)) << "not one of the seven tokens";
    EXPECT_EQ("", stamp.Format(101u)) << "an unused id is an empty format";
}

TEST(CTNLocalTimeStamp, DumpShowsClockMillisecondAndZone) {
    const CTNLocalTimeStamp stamp = Utc(2005, 3, 5, 6, 8, 9, 42).ToLocalTime(Berlin());
    EXPECT_EQ("05.03.05 07:08:09 042 (Local:Europe/Berlin)", stamp.Dump());
    EXPECT_EQ("--- 65535 (Local:posix/UTC)", CTNLocalTimeStamp::InvalidTS().Dump());
}

// ---- daylight saving flags -------------------------------------------------------------

TEST(CTNLocalTimeStamp, DaylightSavingFlags) {
    EXPECT_TRUE(Utc(2024, 7, 3, 12).ToLocalTime(Berlin()).IsDayLightSavingActive());
    EXPECT_TRUE(Utc(2024, 7, 3, 12).ToLocalTime(Berlin()).UsesDayLightSaving());
    EXPECT_FALSE(Utc(2024, 1, 3, 12).ToLocalTime(Berlin()).IsDayLightSavingActive());
    EXPECT_TRUE(Utc(2024, 1, 3, 12).ToLocalTime(Berlin()).UsesDayLightSaving());
    EXPECT_FALSE(Utc(2024, 7, 3, 12).ToLocalTime(NoRules()).IsDayLightSavingActive());
    EXPECT_FALSE(Utc(2024, 7, 3, 12).ToLocalTime(NoRules()).UsesDayLightSaving());
    EXPECT_TRUE(Utc(2024, 7, 3, 12).ToLocalTime(NewYork()).IsDayLightSavingActive());
}

// ---- start of a period -------------------------------------------------------------------

TEST(CTNLocalTimeStamp, StartOfDayOnAnOrdinaryDay) {
    const CTNLocalTimeStamp start = Utc(2024, 7, 3, 12, 34, 56, 789).ToLocalTime(Berlin()).GetStartOfDay();
    EXPECT_EQ("03.07.2024 00:00:00", Clock(start));
    EXPECT_EQ(0, start.GetMillisecond());
    EXPECT_EQ(Utc(2024, 7, 2, 22), start.ToUTCTime());
}

TEST(CTNLocalTimeStamp, StartOfDayAtNoonOnTheSpringChangeDayIsMidnight) {
    const CTNLocalTimeStamp berlin = Utc(2024, 3, 31, 10).ToLocalTime(Berlin()).GetStartOfDay();  // 12:00 CEST
    EXPECT_EQ("31.03.2024 00:00:00", Clock(berlin));
    EXPECT_EQ(Utc(2024, 3, 30, 23), berlin.ToUTCTime());
    const CTNLocalTimeStamp newYork = Utc(2024, 3, 10, 16).ToLocalTime(NewYork()).GetStartOfDay();  // 12:00 EDT
    EXPECT_EQ("10.03.2024 00:00:00", Clock(newYork));
    EXPECT_EQ(Utc(2024, 3, 10, 5), newYork.ToUTCTime());
}

TEST(CTNLocalTimeStamp, StartOfDayAtNoonOnTheAutumnChangeDayIsMidnight) {
    const CTNLocalTimeStamp berlin = Utc(2024, 10, 27, 11).ToLocalTime(Berlin()).GetStartOfDay();  // 12:00 CET
    EXPECT_EQ("27.10.2024 00:00:00", Clock(berlin));
    EXPECT_EQ(Utc(2024, 10, 26, 22), berlin.ToUTCTime());
    const CTNLocalTimeStamp newYork = Utc(2024, 11, 3, 17).ToLocalTime(NewYork()).GetStartOfDay();  // 12:00 EST
    EXPECT_EQ("03.11.2024 00:00:00", Clock(newYork));
    EXPECT_EQ(Utc(2024, 11, 3, 4), newYork.ToUTCTime());
}

TEST(CTNLocalTimeStamp, StartOfWeekIsMonday) {
    const CTNLocalTimeStamp start = Utc(2024, 7, 3, 12).ToLocalTime(Berlin()).GetStartOfWeek();  // Wednesday
    EXPECT_EQ("01.07.2024 00:00:00", Clock(start));
    EXPECT_EQ(1, start.GetDayOfWeek());
    const CTNLocalTimeStamp monday = Utc(2024, 7, 1, 12).ToLocalTime(NewYork()).GetStartOfWeek();
    EXPECT_EQ("01.07.2024 00:00:00", Clock(monday));
}

TEST(CTNLocalTimeStamp, StartOfMonthWithoutAChangeInBetweenIsMidnight) {
    // Berlin changed on 31 March; from 1 to 15 April nothing changes.
    const CTNLocalTimeStamp start = Utc(2024, 4, 15, 12).ToLocalTime(Berlin()).GetStartOfMonth();
    EXPECT_EQ("01.04.2024 00:00:00", Clock(start));
}

TEST(CTNLocalTimeStamp, StartOfMonthAcrossAChangeStandsAnHourOffMidnight) {
    // Berlin fell back on 27 October: whole days back from the 30th end at 01:00 on the first.
    const CTNLocalTimeStamp berlin = Utc(2024, 10, 30, 12).ToLocalTime(Berlin()).GetStartOfMonth();
    EXPECT_EQ("01.10.2024 01:00:00", Clock(berlin));
    // New York sprang forward on 10 March: from the 20th the result is 23:00 the day before the first.
    const CTNLocalTimeStamp newYork = Utc(2024, 3, 20, 16).ToLocalTime(NewYork()).GetStartOfMonth();
    EXPECT_EQ("29.02.2024 23:00:00", Clock(newYork));
}

TEST(CTNLocalTimeStamp, StartOfYearAcrossAChangeStandsAnHourOffMidnight) {
    const CTNLocalTimeStamp summer = Utc(2024, 4, 15, 12).ToLocalTime(Berlin()).GetStartOfYear();
    EXPECT_EQ("31.12.2023 23:00:00", Clock(summer));
    const CTNLocalTimeStamp winter = Utc(2024, 2, 15, 12).ToLocalTime(Berlin()).GetStartOfYear();
    EXPECT_EQ("01.01.2024 00:00:00", Clock(winter));
    EXPECT_EQ("01.01.2024 00:00:00", Clock(Utc(2024, 8, 1, 0).ToLocalTime(NoRules()).GetStartOfYear()));
}

TEST(CTNLocalTimeStamp, StartOfPeriodOfAnInvalidStampStaysInvalid) {
    const CTNLocalTimeStamp invalid = CTNUTCTimeStamp::InvalidTS().ToLocalTime(Berlin());
    EXPECT_TRUE(invalid.GetStartOfDay().IsInvalidTS());
    EXPECT_TRUE(invalid.GetStartOfWeek().IsInvalidTS());
    EXPECT_TRUE(invalid.ToUTCTime().IsInvalidTS());
    const CTNLocalTimeStamp beyond = (CTNUTCTimeStamp::MaxTS() + CTNMSecTimeSpan(0, 1)).ToLocalTime(Berlin());
    EXPECT_TRUE(beyond.GetStartOfMonth().IsInvalidTS());
}

// ---- current time --------------------------------------------------------------------------

TEST(CTNLocalTimeStamp, CurrentLocalTimeReadsTheInstalledClock) {
    CTNFakeClock clock(1720008000000ull + 250);  // 2024-07-03 12:00:00.250 UTC
    CTNScopedClock installed(&clock);
    const CTNLocalTimeStamp berlin = CTNLocalTimeStamp::GetCurrentLocalTime(Berlin());
    EXPECT_EQ("03.07.2024 14:00:00", Clock(berlin));
    EXPECT_EQ(250, berlin.GetMillisecond());
    EXPECT_EQ(Clock(Utc(2024, 7, 3, 12).ToLocalTime()), Clock(CTNLocalTimeStamp::GetCurrentLocalTime()));
}

// ---- the UTC stamp's texts -----------------------------------------------------------------

TEST(CTNLocalTimeStamp, UtcFormatByStringIdComesFromTheStringTable) {
    SetTarnovelleLanguage("de");
    EXPECT_EQ("01.01.2000 00:00:00", CTNUTCTimeStamp::CreateUTCTimeStamp2000().Format(81u));
    EXPECT_EQ("TNArch", CTNUTCTimeStamp::CreateUTCTimeStamp2000().Format(106u));
    EXPECT_EQ("", CTNUTCTimeStamp::CreateUTCTimeStamp2000().Format(0x10051u)) << "no 32-bit id aliases a 16-bit one";
}
