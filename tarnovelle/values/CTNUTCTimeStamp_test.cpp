#include "tarnovelle/values/CTNUTCTimeStamp.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <random>
#include <type_traits>

#include "tarnovelle/support/CTNFakeClock.h"
#include "tarnovelle/values/STarnovelleTimeStampInMsec.h"

namespace {

// Days since 1970-01-01 of a proleptic Gregorian date, by the era method,
// independent of the year-by-year sum of the library.
int64_t DaysFromCivil(int64_t y, unsigned m, unsigned d) {
    y -= m <= 2;
    const int64_t era = (y >= 0 ? y : y - 399) / 400;
    const unsigned yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<int64_t>(doe) - 719468;
}

unsigned DaysInMonth(int64_t y, unsigned m) {
    static const unsigned days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
    return m == 2 && leap ? 29 : days[m - 1];
}

uint32_t Seconds(int64_t y, unsigned m, unsigned d, unsigned h = 0, unsigned mi = 0, unsigned s = 0) {
    return static_cast<uint32_t>(DaysFromCivil(y, m, d) * 86400 + h * 3600 + mi * 60 + s);
}

CTNUTCTimeStamp At(int64_t y, unsigned m, unsigned d, unsigned h = 0, unsigned mi = 0, unsigned s = 0,
                   unsigned ms = 0) {
    return CTNUTCTimeStamp::CreateUTCTimeStamp(static_cast<uint32_t>(y), m, d, h, mi, s, ms);
}

// A stamp with arbitrary fields. The factories never make some of them (such
// as a second invalid pair), so the fields are written into a copy's bytes.
CTNUTCTimeStamp Raw(uint32_t seconds, uint16_t milliseconds) {
    static_assert(std::is_trivially_copyable_v<CTNUTCTimeStamp>);
    CTNUTCTimeStamp stamp = CTNUTCTimeStamp::MinTS();
    unsigned char bytes[sizeof(CTNUTCTimeStamp)];
    std::memcpy(bytes, &stamp, sizeof bytes);
    std::memcpy(bytes, &seconds, 4);
    std::memcpy(bytes + 4, &milliseconds, 2);
    std::memcpy(&stamp, bytes, sizeof bytes);
    EXPECT_EQ(stamp.GetSecondsSince1970(), seconds);
    EXPECT_EQ(stamp.GetMilliseconds(), milliseconds);
    return stamp;
}

void ExpectFields(const CTNUTCTimeStamp& stamp, uint32_t seconds, uint16_t milliseconds) {
    EXPECT_EQ(stamp.GetSecondsSince1970(), seconds);
    EXPECT_EQ(stamp.GetMilliseconds(), milliseconds);
}

}  // namespace

TEST(CTNUTCTimeStamp, ValueConstructorsAreClosedToOutsideCode) {
    static_assert(!std::is_default_constructible_v<CTNUTCTimeStamp>);
    static_assert(!std::is_constructible_v<CTNUTCTimeStamp, uint32_t>);
    static_assert(!std::is_constructible_v<CTNUTCTimeStamp, uint32_t, uint16_t>);
    static_assert(std::is_copy_constructible_v<CTNUTCTimeStamp>);
    const CTNUTCTimeStamp copy(CTNUTCTimeStamp::CreateUTCTimeStamp2000());
    ExpectFields(copy, 946684800u, 0);
}

TEST(CTNUTCTimeStamp, LimitsAndNamedInstants) {
    ExpectFields(CTNUTCTimeStamp::MinTS(), 0, 0);
    ExpectFields(CTNUTCTimeStamp::MaxTS(), 0x7FFFFFFFu, 999);
    ExpectFields(CTNUTCTimeStamp::InvalidTS(), 0xFFFFFFFFu, 0xFFFF);
    ExpectFields(CTNUTCTimeStamp::CreateUTCTimeStamp1970(), 0, 0);
    ExpectFields(CTNUTCTimeStamp::CreateUTCTimeStamp1999(), Seconds(1999, 1, 1), 0);
    ExpectFields(CTNUTCTimeStamp::CreateUTCTimeStamp2000(), Seconds(2000, 1, 1), 0);
    EXPECT_TRUE(CTNUTCTimeStamp::MinTS().IsMinTS());
    EXPECT_TRUE(CTNUTCTimeStamp::MaxTS().IsMaxTS());
    EXPECT_TRUE(CTNUTCTimeStamp::InvalidTS().IsInvalidTS());
    EXPECT_FALSE(CTNUTCTimeStamp::MaxTS().IsInvalidTS());
    EXPECT_FALSE(CTNUTCTimeStamp::MaxTS().IsMinTS());
    EXPECT_FALSE(CTNUTCTimeStamp::InvalidTS().IsMaxTS());
    EXPECT_FALSE(CTNUTCTimeStamp::InvalidTS().IsMinTS());
}

TEST(CTNUTCTimeStamp, AnyMillisecondsAbove999MakeTheStampInvalid) {
    EXPECT_FALSE(Raw(5, 999).IsInvalidTS());
    EXPECT_TRUE(Raw(5, 1000).IsInvalidTS());
    EXPECT_TRUE(Raw(0, 0xFFFF).IsInvalidTS());
}

TEST(CTNUTCTimeStamp, AllInvalidStampsAreEqual) {
    EXPECT_TRUE(CTNUTCTimeStamp::InvalidTS() == CTNUTCTimeStamp::InvalidTS());
    EXPECT_TRUE(Raw(5, 1000) == CTNUTCTimeStamp::InvalidTS());
    EXPECT_FALSE(Raw(5, 1000) != CTNUTCTimeStamp::InvalidTS());
    EXPECT_TRUE(Raw(5, 1000) == Raw(7, 2000));
    EXPECT_TRUE(Raw(5, 1000).IsInvalidTS());
}

TEST(CTNUTCTimeStamp, InvalidAndValidStampsAreUnequal) {
    EXPECT_FALSE(CTNUTCTimeStamp::InvalidTS() == Raw(0xFFFFFFFFu, 999));
    EXPECT_TRUE(CTNUTCTimeStamp::InvalidTS() != CTNUTCTimeStamp::MaxTS());
    EXPECT_TRUE(CTNUTCTimeStamp::MaxTS() != Raw(5, 1000));
}

TEST(CTNUTCTimeStamp, ValidStampsCompareByBothFields) {
    EXPECT_TRUE(Raw(5, 100) == Raw(5, 100));
    EXPECT_TRUE(Raw(5, 100) != Raw(5, 101));
    EXPECT_TRUE(Raw(5, 100) != Raw(6, 100));
}

TEST(CTNUTCTimeStamp, OrderingIsLexicographicWithoutInvalidTreatment) {
    EXPECT_TRUE(CTNUTCTimeStamp::InvalidTS() > CTNUTCTimeStamp::MaxTS());
    EXPECT_TRUE(CTNUTCTimeStamp::MaxTS() < CTNUTCTimeStamp::InvalidTS());
    EXPECT_TRUE(Raw(5, 999) < Raw(6, 0));
    EXPECT_TRUE(Raw(6, 0) > Raw(5, 999));
    EXPECT_TRUE(Raw(5, 1) <= Raw(5, 1));
    EXPECT_TRUE(Raw(5, 1) >= Raw(5, 1));
    EXPECT_FALSE(Raw(5, 2) <= Raw(5, 1));
    EXPECT_FALSE(Raw(5, 1) >= Raw(5, 2));
    // Two unequal invalid fields still order, though == calls them equal.
    EXPECT_TRUE(Raw(5, 1000) < Raw(5, 1001));
    EXPECT_TRUE(Raw(5, 1000) == Raw(5, 1001));
}

TEST(CTNUTCTimeStamp, CreateMatchesTheCalendarForHundredsOfDates) {
    std::mt19937 random(1234);
    for (int i = 0; i < 600; ++i) {
        const int64_t y = 1970 + static_cast<int64_t>(random() % 68);  // up to 2037
        const unsigned m = 1 + random() % 12;
        const unsigned d = 1 + random() % DaysInMonth(y, m);
        const unsigned h = random() % 24, mi = random() % 60, s = random() % 60, ms = random() % 1000;
        SCOPED_TRACE(testing::Message() << y << "-" << m << "-" << d << " " << h << ":" << mi << ":" << s);
        ExpectFields(At(y, m, d, h, mi, s, ms), Seconds(y, m, d, h, mi, s), static_cast<uint16_t>(ms));
    }
}

TEST(CTNUTCTimeStamp, CreateFollowsTheLeapYearRules) {
    // Every last day of February and first of March from 1970 to 2038.
    for (int64_t y = 1970; y <= 2038; ++y) {
        SCOPED_TRACE(y);
        const unsigned feb = DaysInMonth(y, 2);
        ExpectFields(At(y, 2, feb), Seconds(y, 2, feb), 0);
        ExpectFields(At(y, 3, 1), Seconds(y, 3, 1), 0);
        ExpectFields(At(y, 12, 31, 23, 59, 59), Seconds(y, 12, 31, 23, 59, 59), 0);
    }
    // 2000 is divisible by 400 and has a 29 February.
    ExpectFields(At(2000, 2, 29), Seconds(2000, 2, 29), 0);
    // 2100 is divisible by 100 only: its 29 February folds to 1 February.
    ExpectFields(At(2100, 2, 29), Seconds(2100, 2, 1), 0);
    ExpectFields(At(2100, 3, 1), Seconds(2100, 3, 1), 0);
    ExpectFields(At(2104, 2, 29), Seconds(2104, 2, 29), 0);
}

TEST(CTNUTCTimeStamp, MonthThirteenIsJanuaryOfTheSameYear) {
    ExpectFields(At(2000, 13, 1), Seconds(2000, 1, 1), 0);
    EXPECT_TRUE(At(2000, 13, 1) == CTNUTCTimeStamp::CreateUTCTimeStamp2000());
    ExpectFields(At(2005, 25, 3), Seconds(2005, 1, 3), 0);
}

TEST(CTNUTCTimeStamp, MonthZeroLandsInApril) {
    ExpectFields(At(2000, 0, 1), Seconds(2000, 4, 1), 0);
    ExpectFields(At(2001, 0, 15), Seconds(2001, 4, 15), 0);
}

TEST(CTNUTCTimeStamp, YearBefore1970AddsNothingAndUses1970LeapRule) {
    ExpectFields(At(1960, 1, 1), 0, 0);
    ExpectFields(At(0, 3, 1), Seconds(1970, 3, 1), 0);
    // 1968 was a leap year, but the month lengths are those of 1970.
    ExpectFields(At(1968, 2, 29), Seconds(1970, 2, 1), 0);
}

TEST(CTNUTCTimeStamp, DaysZeroAndOneAreTheFirstAndDaysFoldByMonthLength) {
    ExpectFields(At(2005, 5, 0), Seconds(2005, 5, 1), 0);
    ExpectFields(At(2005, 5, 1), Seconds(2005, 5, 1), 0);
    ExpectFields(At(2005, 1, 32), Seconds(2005, 1, 1), 0);
    ExpectFields(At(2005, 1, 33), Seconds(2005, 1, 2), 0);
    ExpectFields(At(2005, 4, 31), Seconds(2005, 4, 1), 0);
    ExpectFields(At(2001, 2, 29), Seconds(2001, 2, 1), 0);
    ExpectFields(At(2004, 2, 30), Seconds(2004, 2, 1), 0);
}

TEST(CTNUTCTimeStamp, TimeOfDayFoldsByModulo) {
    ExpectFields(At(2005, 6, 7, 24), Seconds(2005, 6, 7, 0), 0);
    ExpectFields(At(2005, 6, 7, 25), Seconds(2005, 6, 7, 1), 0);
    ExpectFields(At(2005, 6, 7, 0, 60), Seconds(2005, 6, 7), 0);
    ExpectFields(At(2005, 6, 7, 0, 61, 61), Seconds(2005, 6, 7, 0, 1, 1), 0);
    ExpectFields(At(2005, 6, 7, 0, 0, 0, 1000), Seconds(2005, 6, 7), 0);
    ExpectFields(At(2005, 6, 7, 0, 0, 0, 2999), Seconds(2005, 6, 7), 999);
}

TEST(CTNUTCTimeStamp, FarYearsWrapLikeTheYearByYearSum) {
    for (uint32_t year : {2106u, 2107u, 3000u, 100000u, 4000000u}) {
        uint32_t expected = 0;
        for (uint32_t y = 1970; y < year; ++y) {
            const bool leap = (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
            expected += (leap ? 366u : 365u) * 86400u;
        }
        const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
        expected += (leap ? 60u : 59u) * 86400u + 3600u;  // 1 March, 01:00
        SCOPED_TRACE(year);
        ExpectFields(CTNUTCTimeStamp::CreateUTCTimeStamp(year, 3, 1, 1, 0, 0, 0), expected, 0);
    }
}

TEST(CTNUTCTimeStamp, CreateFromSystemTimeIgnoresTheDayOfWeek) {
    SYSTEMTIME time{};
    time.wYear = 2005;
    time.wMonth = 12;
    time.wDay = 31;
    time.wHour = 23;
    time.wMinute = 59;
    time.wSecond = 58;
    time.wMilliseconds = 765;
    time.wDayOfWeek = 3;
    ExpectFields(CTNUTCTimeStamp::CreateUTCTimeStamp(time), Seconds(2005, 12, 31, 23, 59, 58), 765);
    time.wDayOfWeek = 6;
    ExpectFields(CTNUTCTimeStamp::CreateUTCTimeStamp(time), Seconds(2005, 12, 31, 23, 59, 58), 765);
    time.wMonth = 13;  // folds as in the other form
    ExpectFields(CTNUTCTimeStamp::CreateUTCTimeStamp(time), Seconds(2005, 1, 31, 23, 59, 58), 765);
}

TEST(CTNUTCTimeStamp, CurrentTimeComesFromTheInstalledClock) {
    CTNFakeClock clock(1700000000123ull);
    CTNScopedClock scope(&clock);
    ExpectFields(CTNUTCTimeStamp::GetCurrentUTCTime(), 1700000000u, 123);
    clock.SetNow(static_cast<uint64_t>(Seconds(2000, 2, 29, 23, 59, 59)) * 1000 + 999);
    ExpectFields(CTNUTCTimeStamp::GetCurrentUTCTime(), Seconds(2000, 2, 29, 23, 59, 59), 999);
    clock.Advance(1);
    ExpectFields(CTNUTCTimeStamp::GetCurrentUTCTime(), Seconds(2000, 3, 1), 0);
    clock.SetNow(0);
    ExpectFields(CTNUTCTimeStamp::GetCurrentUTCTime(), 0, 0);
}

TEST(CTNUTCTimeStamp, AdditionAddsAndCarries) {
    ExpectFields(Raw(10, 600) + CTNMSecTimeSpan(2, 500), 13, 100);
    ExpectFields(Raw(10, 0) + CTNMSecTimeSpan(0, 999), 10, 999);
}

TEST(CTNUTCTimeStamp, AdditionClampsAtMaxWhenTheSecondsOverflow) {
    const CTNUTCTimeStamp max = CTNUTCTimeStamp::MaxTS();
    EXPECT_TRUE((max + CTNMSecTimeSpan(1, 0)).IsMaxTS());
    // The span's milliseconds are not added once the seconds clamp.
    ExpectFields(Raw(0x7FFFFFFFu, 0) + CTNMSecTimeSpan(1, 500), 0x7FFFFFFFu, 999);
    ExpectFields(Raw(1, 0) + CTNMSecTimeSpan::MaxTS(), 0x7FFFFFFFu, 999);
    // Seconds of 0x80000000 and above clamp back down.
    ExpectFields(Raw(0x80000000u, 0) + CTNMSecTimeSpan(0, 0), 0x7FFFFFFFu, 999);
}

TEST(CTNUTCTimeStamp, CarryAfterTheClampStepsPastMax) {
    ExpectFields(CTNUTCTimeStamp::MaxTS() + CTNMSecTimeSpan(0, 1), 0x80000000u, 0);
    ExpectFields(Raw(0x7FFFFFFFu, 500) + CTNMSecTimeSpan(0, 600), 0x80000000u, 100);
    ExpectFields(Raw(0x7FFFFFFEu, 999) + CTNMSecTimeSpan(1, 1), 0x80000000u, 0);
}

TEST(CTNUTCTimeStamp, SubtractionClampsAtZeroOnlyForFewerSeconds) {
    ExpectFields(CTNUTCTimeStamp::CreateUTCTimeStamp1970() - CTNMSecTimeSpan(1, 0), 0, 0);
    ExpectFields(Raw(10, 100) - CTNMSecTimeSpan(2, 500), 7, 600);
    ExpectFields(Raw(10, 600) - CTNMSecTimeSpan(2, 500), 8, 100);
    // Equal seconds with fewer milliseconds wrap instead of clamping.
    ExpectFields(Raw(5, 100) - CTNMSecTimeSpan(5, 200), 0xFFFFFFFFu, 900);
}

TEST(CTNUTCTimeStamp, AssigningSubtractionWrapsInsteadOfClamping) {
    CTNUTCTimeStamp stamp = CTNUTCTimeStamp::CreateUTCTimeStamp1970();
    stamp -= CTNMSecTimeSpan(1, 0);
    ExpectFields(stamp, 0xFFFFFFFFu, 0);
    CTNUTCTimeStamp other = Raw(10, 100);
    other -= CTNMSecTimeSpan(2, 500);
    ExpectFields(other, 7, 600);
    CTNUTCTimeStamp zero = CTNUTCTimeStamp::MinTS();
    zero -= CTNMSecTimeSpan(0, 1);
    ExpectFields(zero, 0xFFFFFFFFu, 999);
}

TEST(CTNUTCTimeStamp, AssigningAdditionWrapsInsteadOfClamping) {
    CTNUTCTimeStamp stamp = CTNUTCTimeStamp::MaxTS();
    stamp += CTNMSecTimeSpan(1, 0);
    ExpectFields(stamp, 0x80000000u, 999);
    stamp += CTNMSecTimeSpan(0x7FFFFFFFu, 1);
    ExpectFields(stamp, 0, 0);
    CTNUTCTimeStamp carry = Raw(10, 600);
    EXPECT_EQ(&(carry += CTNMSecTimeSpan(2, 500)), &carry);
    ExpectFields(carry, 13, 100);
}

TEST(CTNUTCTimeStamp, ArithmeticOnInvalidOperandsGivesInvalid) {
    const CTNUTCTimeStamp invalid = Raw(5, 1000);
    const CTNUTCTimeStamp valid = Raw(5, 0);
    const CTNMSecTimeSpan invalidSpan(5, 1000);
    const CTNMSecTimeSpan span(1, 0);
    ExpectFields(invalid + span, 0xFFFFFFFFu, 0xFFFF);
    ExpectFields(valid + invalidSpan, 0xFFFFFFFFu, 0xFFFF);
    ExpectFields(invalid - span, 0xFFFFFFFFu, 0xFFFF);
    ExpectFields(valid - invalidSpan, 0xFFFFFFFFu, 0xFFFF);
    CTNUTCTimeStamp a = invalid;
    a += span;
    ExpectFields(a, 0xFFFFFFFFu, 0xFFFF);
    CTNUTCTimeStamp b = valid;
    b += invalidSpan;
    ExpectFields(b, 0xFFFFFFFFu, 0xFFFF);
    CTNUTCTimeStamp c = invalid;
    c -= span;
    ExpectFields(c, 0xFFFFFFFFu, 0xFFFF);
    CTNUTCTimeStamp d = valid;
    d -= invalidSpan;
    ExpectFields(d, 0xFFFFFFFFu, 0xFFFF);
}

TEST(CTNUTCTimeStamp, TimeSpanBetweenTwoStamps) {
    CTNMSecTimeSpan span(99, 99);
    CTNUTCTimeStamp::CalculateTimeSpan(Raw(10, 200), Raw(12, 500), span);
    EXPECT_EQ(span, CTNMSecTimeSpan(2, 300));
    CTNUTCTimeStamp::CalculateTimeSpan(Raw(10, 500), Raw(12, 200), span);
    EXPECT_EQ(span, CTNMSecTimeSpan(1, 700));
}

TEST(CTNUTCTimeStamp, TimeSpanIgnoresOrderAndValidity) {
    CTNMSecTimeSpan span;
    CTNUTCTimeStamp::CalculateTimeSpan(Raw(12, 0), Raw(10, 0), span);
    EXPECT_EQ(span, CTNMSecTimeSpan(0xFFFFFFFEu, 0));
    // From the invalid pair to zero: 0 - 0xFFFFFFFF - 1 seconds, and
    // 0 + 1000 - 65535 in 16 bits.
    CTNUTCTimeStamp::CalculateTimeSpan(CTNUTCTimeStamp::InvalidTS(), CTNUTCTimeStamp::MinTS(), span);
    EXPECT_EQ(span, CTNMSecTimeSpan(0, 1001));
}

TEST(CTNUTCTimeStamp, IntervalTimeSplitsIntoEqualParts) {
    CTNMSecTimeSpan span(7, 7);
    CTNUTCTimeStamp::CalculateIntervalTime(Raw(0, 0), Raw(10, 0), 0, span);
    EXPECT_EQ(span, CTNMSecTimeSpan(0, 0));
    CTNUTCTimeStamp::CalculateIntervalTime(Raw(0, 0), Raw(10, 0), 3, span);
    EXPECT_EQ(span, CTNMSecTimeSpan(3, 333));
    CTNUTCTimeStamp::CalculateIntervalTime(Raw(100, 0), Raw(110, 500), 4, span);
    EXPECT_EQ(span, CTNMSecTimeSpan(2, 625));
    CTNUTCTimeStamp::CalculateIntervalTime(Raw(0, 0), Raw(1, 0), 1000, span);
    EXPECT_EQ(span, CTNMSecTimeSpan(0, 1));
    CTNUTCTimeStamp::CalculateIntervalTime(Raw(0, 0), Raw(1, 0), 3000, span);
    EXPECT_EQ(span, CTNMSecTimeSpan(0, 0));
}

TEST(CTNUTCTimeStamp, FormatRendersUtcWithMilliseconds) {
    EXPECT_EQ(CTNUTCTimeStamp::CreateUTCTimeStamp2000().Format(), "01.01.2000 00:00:00.000");
    EXPECT_EQ(At(2005, 3, 5, 7, 8, 9, 12).Format(), "05.03.2005 07:08:09.012");
    EXPECT_EQ(CTNUTCTimeStamp::MaxTS().Format(), "19.01.2038 03:14:07.999");
    EXPECT_EQ(CTNUTCTimeStamp::MinTS().Format(), "01.01.1970 00:00:00.000");
}

TEST(CTNUTCTimeStamp, FormatMatchesTheCalendarForHundredsOfDates) {
    std::mt19937 random(99);
    for (int i = 0; i < 300; ++i) {
        const int64_t y = 1970 + static_cast<int64_t>(random() % 68);
        const unsigned m = 1 + random() % 12;
        const unsigned d = 1 + random() % DaysInMonth(y, m);
        const unsigned h = random() % 24, mi = random() % 60, s = random() % 60, ms = random() % 1000;
        char expected[64];
        std::snprintf(expected, sizeof expected, "%02u.%02u.%04d %02u:%02u:%02u.%03u", d, m, static_cast<int>(y), h,
                      mi, s, ms);
        EXPECT_EQ(At(y, m, d, h, mi, s, ms).Format(), expected);
    }
}

TEST(CTNUTCTimeStamp, FormatOfTheInvalidStampIsEmpty) {
    EXPECT_EQ(CTNUTCTimeStamp::InvalidTS().Format(), "");
    EXPECT_EQ(Raw(1000, 1000).Format(), "");
}

TEST(CTNUTCTimeStamp, SecondsBeyondTheSignedAxisRenderAsEmptyDate) {
    const CTNUTCTimeStamp past = CTNUTCTimeStamp::MaxTS() + CTNMSecTimeSpan(0, 1);
    EXPECT_EQ(past.Format(), ".000");
    EXPECT_EQ(past.Format("%Y"), "");
    EXPECT_EQ(past.Format(81), "");
    EXPECT_EQ(past.Dump(), " 000 (UTC)");
}

TEST(CTNUTCTimeStamp, FormatWithCallersFormatHasNoMillisecondsAndNoInvalidTest) {
    const CTNUTCTimeStamp stamp = At(2005, 3, 5, 7, 8, 9, 12);
    EXPECT_EQ(stamp.Format("%Y-%m-%d %H:%M:%S"), "2005-03-05 07:08:09");
    EXPECT_EQ(stamp.Format("%y %j %a %A %b %w"), "05 064 Sat Saturday Mar 6");
    EXPECT_EQ(stamp.Format(""), "");
    // The invalid test is not made: only the seconds count.
    EXPECT_EQ(Raw(86400, 5000).Format("%d.%m.%Y"), "02.01.1970");
    const std::string longFormat(1000, 'x');
    EXPECT_EQ(stamp.Format(longFormat + "%Y"), longFormat + "2005");
}

TEST(CTNUTCTimeStamp, FormatWithStringIdUsesTheTableText) {
    EXPECT_EQ(At(2005, 3, 5, 7, 8, 9, 12).Format(81), "05.03.2005 07:08:09");
    EXPECT_EQ(Raw(86400, 5000).Format(81), "02.01.1970 00:00:00");
}

TEST(CTNUTCTimeStamp, DumpRendersTheLocaleDateMillisecondsAndUtc) {
    EXPECT_EQ(CTNUTCTimeStamp::MinTS().Dump(), "Thu Jan  1 00:00:00 1970 000 (UTC)");
    EXPECT_EQ(At(2005, 3, 5, 7, 8, 9, 12).Dump(), "Sat Mar  5 07:08:09 2005 012 (UTC)");
    EXPECT_EQ(Raw(0, 1234).Dump(), "Thu Jan  1 00:00:00 1970 1234 (UTC)");
}

TEST(CTNUTCTimeStamp, DumpOfTheInvalidStampIsBlankAndTheRawMilliseconds) {
    EXPECT_EQ(CTNUTCTimeStamp::InvalidTS().Dump(), " 65535 (UTC)");
}

TEST(CTNUTCTimeStamp, ParseReadsAllSevenFields) {
    ExpectFields(CTNUTCTimeStamp::Parse("31.12.2005 23:59:59.999"), Seconds(2005, 12, 31, 23, 59, 59), 999);
    ExpectFields(CTNUTCTimeStamp::Parse("01.01.1970 00:00:00.000"), 0, 0);
}

TEST(CTNUTCTimeStamp, ParseWithFewerFieldsIsInvalid) {
    EXPECT_TRUE(CTNUTCTimeStamp::Parse("31.12.2005 23:59:59").IsInvalidTS());
    EXPECT_TRUE(CTNUTCTimeStamp::Parse("").IsInvalidTS());
    EXPECT_TRUE(CTNUTCTimeStamp::Parse("yesterday").IsInvalidTS());
    EXPECT_TRUE(CTNUTCTimeStamp::Parse("31-12-2005 23:59:59.999").IsInvalidTS());
}

TEST(CTNUTCTimeStamp, ParseFoldsWrongValues) {
    ExpectFields(CTNUTCTimeStamp::Parse("32.13.2005 25:61:61.999"), Seconds(2005, 1, 1, 1, 1, 1), 999);
    ExpectFields(CTNUTCTimeStamp::Parse("29.02.2001 00:00:00.000"), Seconds(2001, 2, 1), 0);
    ExpectFields(CTNUTCTimeStamp::Parse("01.00.2001 00:00:00.000"), Seconds(2001, 4, 1), 0);
}

TEST(CTNUTCTimeStamp, ParseAndFormatRoundTrip) {
    for (const char* text : {"31.12.2005 23:59:59.999", "01.01.1970 00:00:00.000", "29.02.2000 12:34:56.789",
                             "19.01.2038 03:14:07.999", "05.03.2005 07:08:09.012"})
        EXPECT_EQ(CTNUTCTimeStamp::Parse(text).Format(), text);
    std::mt19937 random(7);
    for (int i = 0; i < 300; ++i) {
        const CTNUTCTimeStamp stamp = Raw(random() & 0x7FFFFFFFu, static_cast<uint16_t>(random() % 1000));
        EXPECT_TRUE(CTNUTCTimeStamp::Parse(stamp.Format()) == stamp) << stamp.Format();
    }
}

TEST(CTNUTCTimeStamp, RecordConvertsBothWays) {
    const CTNUTCTimeStamp stamp = At(2005, 3, 5, 7, 8, 9, 12);
    const STarnovelleTimeStampInMsec record(stamp);
    EXPECT_EQ(record.dwTime, stamp.GetSecondsSince1970());
    EXPECT_EQ(record.wMilliseconds, 12);
    EXPECT_TRUE(record.GetUTCTimeStamp() == stamp);
}
