#include "tarnovelle/values/CTNMSecTimeSpan.h"

#include <gtest/gtest.h>

#include <csignal>
#include <random>
#include <sys/wait.h>
#include <unistd.h>

namespace {

void ExpectFields(const CTNMSecTimeSpan& span, uint32_t seconds, uint16_t milliseconds) {
    EXPECT_EQ(span.GetDWTime(), seconds);
    EXPECT_EQ(span.GetWMilliseconds(), milliseconds);
}

// The counting of whole intervals written out round by round, as a reference
// for small inputs. Gives up (false) after `limit` rounds of the final loop.
bool CountIntervalsRoundByRound(const CTNMSecTimeSpan& total, const CTNMSecTimeSpan& interval, uint32_t& count,
                                uint64_t limit = 10000) {
    const uint64_t t = uint64_t(total.GetDWTime()) * 1000 + total.GetWMilliseconds();
    const uint64_t i = uint64_t(interval.GetDWTime()) * 1000 + interval.GetWMilliseconds();
    if (i > t || i == 0) {
        count = 0;
        return true;
    }
    uint32_t q = uint32_t(t / i);
    const uint32_t p = q * interval.GetWMilliseconds();
    uint32_t rs = total.GetDWTime() - q * interval.GetDWTime() - p / 1000;
    const uint32_t pm = p % 1000;
    uint16_t rm;
    if (pm > interval.GetWMilliseconds()) {
        rs--;
        rm = uint16_t(total.GetWMilliseconds() + 1000 - pm);
    } else {
        rm = uint16_t(total.GetWMilliseconds() - pm);
    }
    if (rs == interval.GetDWTime() && rm == interval.GetWMilliseconds()) {
        count = q + 1;
        return true;
    }
    uint64_t rounds = 0;
    while (rs > interval.GetDWTime() || (rs == interval.GetDWTime() && rm > interval.GetWMilliseconds())) {
        if (++rounds > limit)
            return false;
        q++;
        rs -= interval.GetDWTime();
        if (rm > interval.GetWMilliseconds()) {
            rm = uint16_t(rm - interval.GetWMilliseconds());
        } else {
            rs--;
            rm = uint16_t(rm + 1000 - interval.GetWMilliseconds());
        }
    }
    count = q;
    return true;
}

}  // namespace

TEST(CTNMSecTimeSpan, ConstructorsTakeValuesWithoutCheck) {
    ExpectFields(CTNMSecTimeSpan(), 0, 0);
    ExpectFields(CTNMSecTimeSpan(5, 1000), 5, 1000);
    const CTNMSecTimeSpan original(7, 8);
    const CTNMSecTimeSpan copy(original);
    ExpectFields(copy, 7, 8);
    CTNMSecTimeSpan assigned;
    assigned = original;
    ExpectFields(assigned, 7, 8);
    static_assert(std::has_virtual_destructor_v<CTNMSecTimeSpan>);
}

TEST(CTNMSecTimeSpan, LimitsAndTheirTests) {
    ExpectFields(CTNMSecTimeSpan::MinTS(), 0, 0);
    ExpectFields(CTNMSecTimeSpan::MaxTS(), 0xFFFFFFFFu, 999);
    ExpectFields(CTNMSecTimeSpan::InvalidTS(), 0xFFFFFFFFu, 0xFFFF);
    EXPECT_TRUE(CTNMSecTimeSpan().IsMinTS());
    EXPECT_TRUE(CTNMSecTimeSpan(0xFFFFFFFFu, 999).IsMaxTS());
    EXPECT_FALSE(CTNMSecTimeSpan(0xFFFFFFFFu, 999).IsInvalidTS());
    EXPECT_TRUE(CTNMSecTimeSpan(0, 1000).IsInvalidTS());
    EXPECT_FALSE(CTNMSecTimeSpan(0, 1000).IsMinTS());
}

TEST(CTNMSecTimeSpan, InvalidSpansCompareByTheirFields) {
    EXPECT_FALSE(CTNMSecTimeSpan(5, 1000) == CTNMSecTimeSpan::InvalidTS());
    EXPECT_TRUE(CTNMSecTimeSpan(5, 1000) != CTNMSecTimeSpan::InvalidTS());
    EXPECT_TRUE(CTNMSecTimeSpan::InvalidTS() == CTNMSecTimeSpan::InvalidTS());
    EXPECT_TRUE(CTNMSecTimeSpan(5, 1000).IsInvalidTS());
}

TEST(CTNMSecTimeSpan, InvalidIsGreaterThanEverything) {
    EXPECT_TRUE(CTNMSecTimeSpan::InvalidTS() > CTNMSecTimeSpan::MaxTS());
    EXPECT_TRUE(CTNMSecTimeSpan(1, 0) < CTNMSecTimeSpan(1, 1));
    EXPECT_TRUE(CTNMSecTimeSpan(1, 999) < CTNMSecTimeSpan(2, 0));
    EXPECT_TRUE(CTNMSecTimeSpan(2, 0) >= CTNMSecTimeSpan(2, 0));
    EXPECT_TRUE(CTNMSecTimeSpan(2, 0) <= CTNMSecTimeSpan(2, 0));
    EXPECT_FALSE(CTNMSecTimeSpan(2, 1) <= CTNMSecTimeSpan(2, 0));
}

TEST(CTNMSecTimeSpan, MultiplicationCarriesMillisecondsAndWraps) {
    ExpectFields(CTNMSecTimeSpan(1, 500) * 3, 4, 500);
    ExpectFields(CTNMSecTimeSpan(0, 999) * 1001, 999, 999);
    ExpectFields(CTNMSecTimeSpan(0x80000000u, 0) * 2, 0, 0);
    ExpectFields(CTNMSecTimeSpan(5, 5) * 0, 0, 0);
    ExpectFields(CTNMSecTimeSpan(5, 1000) * 2, 0xFFFFFFFFu, 0xFFFF);
}

TEST(CTNMSecTimeSpan, DivisionSharesTheRestIntoMilliseconds) {
    ExpectFields(CTNMSecTimeSpan(10, 0) / 3, 3, 333);
    ExpectFields(CTNMSecTimeSpan(10, 500) / 4, 2, 625);
    ExpectFields(CTNMSecTimeSpan(1, 0) / 1, 1, 0);
    ExpectFields(CTNMSecTimeSpan(5, 1000) / 2, 0xFFFFFFFFu, 0xFFFF);
}

TEST(CTNMSecTimeSpan, SubtractionBorrowAddsASecond) {
    ExpectFields(CTNMSecTimeSpan(5, 100) - CTNMSecTimeSpan(2, 500), 4, 600);
    ExpectFields(CTNMSecTimeSpan(5, 600) - CTNMSecTimeSpan(2, 500), 3, 100);
    ExpectFields(CTNMSecTimeSpan(5, 600) - CTNMSecTimeSpan(5, 600), 0, 0);
}

TEST(CTNMSecTimeSpan, SubtractionOfALongerSpanIsZero) {
    ExpectFields(CTNMSecTimeSpan(2, 0) - CTNMSecTimeSpan(5, 0), 0, 0);
    ExpectFields(CTNMSecTimeSpan(5, 0) - CTNMSecTimeSpan(5, 1), 0, 0);
}

TEST(CTNMSecTimeSpan, SubtractionWithInvalidOperandIsInvalid) {
    ExpectFields(CTNMSecTimeSpan(5, 1000) - CTNMSecTimeSpan(1, 0), 0xFFFFFFFFu, 0xFFFF);
    ExpectFields(CTNMSecTimeSpan(5, 0) - CTNMSecTimeSpan(1, 1000), 0xFFFFFFFFu, 0xFFFF);
}

TEST(CTNMSecTimeSpan, DivideWholeSecondsDividesPlainly) {
    EXPECT_EQ(CTNMSecTimeSpan(10, 0).Divide(CTNMSecTimeSpan(3, 0)), 3u);
    EXPECT_EQ(CTNMSecTimeSpan(10, 0).Divide(CTNMSecTimeSpan(10, 0)), 1u);
}

TEST(CTNMSecTimeSpan, DivideOfAShorterSpanIsZero) {
    EXPECT_EQ(CTNMSecTimeSpan(0, 200).Divide(CTNMSecTimeSpan(0, 300)), 0u);
    EXPECT_EQ(CTNMSecTimeSpan(1, 200).Divide(CTNMSecTimeSpan(1, 300)), 0u);
}

TEST(CTNMSecTimeSpan, DivideCountsAnEqualRestOnce) {
    // One round of factor 1 leaves (1 s, 250), equal to the divisor.
    EXPECT_EQ(CTNMSecTimeSpan(2, 500).Divide(CTNMSecTimeSpan(1, 250)), 2u);
    // One round of factor 2 leaves (1 s, 0), less than the divisor.
    EXPECT_EQ(CTNMSecTimeSpan(4, 0).Divide(CTNMSecTimeSpan(1, 500)), 2u);
}

TEST(CTNMSecTimeSpan, DivideInheritsTheExtraSecondOfSubtraction) {
    // 10.5 s holds 2.5 s four times, but (3 s, 0) - (2 s, 500) leaves
    // (2 s, 500) instead of (0 s, 500), which counts once more.
    EXPECT_EQ(CTNMSecTimeSpan(10, 500).Divide(CTNMSecTimeSpan(2, 500)), 5u);
    // 6.5 s / 1.5 s: rounds of factor 3, 1 and 1 through (2 s, 0) and
    // (2 s, 500) leave (1 s, 0): 5 where 4 would fit.
    EXPECT_EQ(CTNMSecTimeSpan(6, 500).Divide(CTNMSecTimeSpan(1, 500)), 5u);
}

TEST(CTNMSecTimeSpan, DivideWithEqualSecondsAndMoreMillisecondsNeverEnds) {
    // Every round has the factor 0 and leaves the rest as it was.
    const CTNMSecTimeSpan rest(3, 600), divisor(3, 500);
    EXPECT_EQ(rest.GetDWTime() / (divisor.GetDWTime() + 1), 0u);
    EXPECT_EQ(rest - divisor * 0, rest);
    EXPECT_TRUE(rest > divisor);
    // And the call itself does not come back.
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        alarm(30);  // a safety net should the parent die
        const uint32_t count = rest.Divide(divisor);
        _exit(static_cast<int>(count & 0x3F));
    }
    usleep(300 * 1000);
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, WNOHANG), 0) << "Divide came back";
    kill(child, SIGKILL);
    waitpid(child, &status, 0);
}

TEST(CTNMSecTimeSpan, IntervalCountOfWholeSeconds) {
    EXPECT_EQ(CTNMSecTimeSpan::CalculateIntervalCount(CTNMSecTimeSpan(10, 0), CTNMSecTimeSpan(1, 0)), 10u);
    EXPECT_EQ(CTNMSecTimeSpan::CalculateIntervalCount(CTNMSecTimeSpan(10, 0), CTNMSecTimeSpan(3, 0)), 3u);
    EXPECT_EQ(CTNMSecTimeSpan::CalculateIntervalCount(CTNMSecTimeSpan(10, 0), CTNMSecTimeSpan(10, 0)), 1u);
    // A remainder that equals the interval exactly counts one more, also for
    // an interval whose milliseconds are out of range.
    EXPECT_EQ(CTNMSecTimeSpan::CalculateIntervalCount(CTNMSecTimeSpan(66, 174), CTNMSecTimeSpan(1, 64855)), 2u);
}

TEST(CTNMSecTimeSpan, IntervalCountOfZeroIntervalIsZero) {
    EXPECT_EQ(CTNMSecTimeSpan::CalculateIntervalCount(CTNMSecTimeSpan(10, 0), CTNMSecTimeSpan(0, 0)), 0u);
    EXPECT_EQ(CTNMSecTimeSpan::CalculateIntervalCount(CTNMSecTimeSpan(0, 0), CTNMSecTimeSpan(0, 0)), 0u);
}

TEST(CTNMSecTimeSpan, IntervalCountOfLongerIntervalIsZero) {
    EXPECT_EQ(CTNMSecTimeSpan::CalculateIntervalCount(CTNMSecTimeSpan(10, 0), CTNMSecTimeSpan(10, 1)), 0u);
    EXPECT_EQ(CTNMSecTimeSpan::CalculateIntervalCount(CTNMSecTimeSpan(0, 0), CTNMSecTimeSpan(0, 1)), 0u);
}

TEST(CTNMSecTimeSpan, IntervalCountWithMilliseconds) {
    EXPECT_EQ(CTNMSecTimeSpan::CalculateIntervalCount(CTNMSecTimeSpan(1, 500), CTNMSecTimeSpan(0, 500)), 3u);
    EXPECT_EQ(CTNMSecTimeSpan::CalculateIntervalCount(CTNMSecTimeSpan(10, 0), CTNMSecTimeSpan(0, 250)), 40u);
    EXPECT_EQ(CTNMSecTimeSpan::CalculateIntervalCount(CTNMSecTimeSpan(3, 500), CTNMSecTimeSpan(1, 200)), 2u);
    EXPECT_EQ(CTNMSecTimeSpan::CalculateIntervalCount(CTNMSecTimeSpan(1000, 700), CTNMSecTimeSpan(3, 350)), 298u);
}

TEST(CTNMSecTimeSpan, IntervalCountOverCountsWhenTheRemainderWraps) {
    // 3.1 s holds 1.7 s once, but the remainder's milliseconds wrap.
    EXPECT_EQ(CTNMSecTimeSpan::CalculateIntervalCount(CTNMSecTimeSpan(3, 100), CTNMSecTimeSpan(1, 700)), 3u);
}

TEST(CTNMSecTimeSpan, IntervalCountAfterTheSecondsWrapCountsOnInClosedForm) {
    // (0 s, 900) over (0 s, 400): q = 2, the remainder's seconds wrap to
    // 0xFFFFFFFF with 1100 ms. Two rounds bring the milliseconds to 300 and
    // one borrow to 900 ms with 0xFFFFFFFE seconds (q = 5); from there each
    // turn 900 -> 500 -> 100 -> 700 -> 300 -> 900 counts 5 and takes 2
    // seconds, 2^31 - 1 turns down to 0 seconds and 900 ms, then two more
    // rounds to 100 ms: q = 5 + 5 * (2^31 - 1) + 2, modulo 2^32.
    const uint32_t expected = static_cast<uint32_t>(5ull + 5ull * ((1ull << 31) - 1) + 2);
    EXPECT_EQ(CTNMSecTimeSpan::CalculateIntervalCount(CTNMSecTimeSpan(0, 900), CTNMSecTimeSpan(0, 400)), expected);
}

TEST(CTNMSecTimeSpan, IntervalCountOfAnExactMultipleCanWrap) {
    // (3 s, 600) over (1 s, 200): q = 3, p = 600 > 200, so the seconds wrap
    // to 0xFFFFFFFF with 1000 ms. Each turn 1000 -> 800 -> 600 -> 400 -> 200
    // -> 1000 counts 5 and takes 6 seconds; 0xFFFFFFFF = 6 * 715827882 + 3,
    // and from 3 seconds and 1000 ms three more rounds reach 0 seconds.
    EXPECT_EQ(CTNMSecTimeSpan::CalculateIntervalCount(CTNMSecTimeSpan(3, 600), CTNMSecTimeSpan(1, 200)),
              3u + 5u * 715827882u + 3u);
    // (0 s, 999) over (0 s, 1): q = 999, seconds wrap with 1000 ms; each turn
    // of 1000 rounds takes one second, and at 0 seconds 999 rounds remain:
    // 999 + 1000 * 0xFFFFFFFF + 999, modulo 2^32.
    EXPECT_EQ(CTNMSecTimeSpan::CalculateIntervalCount(CTNMSecTimeSpan(0, 999), CTNMSecTimeSpan(0, 1)),
              static_cast<uint32_t>(999ull + 1000ull * 0xFFFFFFFFull + 999ull));
}

TEST(CTNMSecTimeSpan, IntervalCountMatchesTheRoundByRoundCounting) {
    std::mt19937 random(42);
    int compared = 0;
    for (int i = 0; i < 20000; ++i) {
        const CTNMSecTimeSpan total(random() % 50, static_cast<uint16_t>(random() % 1000));
        const CTNMSecTimeSpan interval(random() % 6, static_cast<uint16_t>(random() % 1000));
        uint32_t expected = 0;
        if (!CountIntervalsRoundByRound(total, interval, expected))
            continue;
        ++compared;
        ASSERT_EQ(CTNMSecTimeSpan::CalculateIntervalCount(total, interval), expected)
            << total.Format() << " / " << interval.Format();
    }
    EXPECT_GT(compared, 15000);
}

TEST(CTNMSecTimeSpan, IntervalCountOfInvalidSpansHasNoSpecialTreatment) {
    for (const auto& [total, interval] :
         {std::pair{CTNMSecTimeSpan(10, 0), CTNMSecTimeSpan(1, 1000)},
          {CTNMSecTimeSpan(2, 0), CTNMSecTimeSpan(0, 1000)}, {CTNMSecTimeSpan(30, 0), CTNMSecTimeSpan(2, 2500)}, {CTNMSecTimeSpan(12, 1200), CTNMSecTimeSpan(3, 0)}}) {
        uint32_t expected = 0;
        ASSERT_TRUE(CountIntervalsRoundByRound(total, interval, expected, 10000000));
        EXPECT_EQ(CTNMSecTimeSpan::CalculateIntervalCount(total, interval), expected);
    }
    // (10 s, 1500) over (1 s, 0): q = 11 takes 11 seconds off 10, which wraps
    // to 0xFFFFFFFF with 1500 ms; every round then takes one second without
    // borrowing, 0xFFFFFFFF rounds in all: 11 + 0xFFFFFFFF, modulo 2^32.
    EXPECT_EQ(CTNMSecTimeSpan::CalculateIntervalCount(CTNMSecTimeSpan(10, 1500), CTNMSecTimeSpan(1, 0)), 10u);
}

TEST(CTNMSecTimeSpan, CreateTakesDaysWholeAndFoldsTheRest) {
    ExpectFields(CTNMSecTimeSpan::Create(1, 2, 3, 4, 5), 86400 + 7200 + 180 + 4, 5);
    ExpectFields(CTNMSecTimeSpan::Create(1, 25, 61, 61, 1001), 86400 + 3600 + 60 + 1, 1);
    ExpectFields(CTNMSecTimeSpan::Create(100, 0, 0, 0, 0), 8640000, 0);
}

TEST(CTNMSecTimeSpan, CreateFromDeviceMinutesAndMilliseconds) {
    ExpectFields(CTNMSecTimeSpan::CreateFromKORVEXA(0, 0, 1, 0), 60, 0);
    ExpectFields(CTNMSecTimeSpan::CreateFromKORVEXA(1, 2, 3, 61500), (65536 + 512 + 3) * 60 + 61, 500);
    ExpectFields(CTNMSecTimeSpan::CreateFromKORVEXA(0xFF, 0xFF, 0xFF, 0xFFFF), 0xFFFFFFu * 60 + 65, 535);
}

TEST(CTNMSecTimeSpan, FormatShowsDaysAndClockTime) {
    EXPECT_EQ(CTNMSecTimeSpan(90061, 5).Format(), "1 01:01:01.005");
    EXPECT_EQ(CTNMSecTimeSpan().Format(), "0 00:00:00.000");
    EXPECT_EQ(CTNMSecTimeSpan::MaxTS().Format(), "49710 06:28:15.999");
    EXPECT_EQ(CTNMSecTimeSpan(5, 1000).Format(), "");
    EXPECT_EQ(CTNMSecTimeSpan::InvalidTS().Format(), "");
}

TEST(CTNMSecTimeSpan, ParseCreatesFromFiveFields) {
    ExpectFields(CTNMSecTimeSpan::Parse("1 01:01:01.005"), 90061, 5);
    ExpectFields(CTNMSecTimeSpan::Parse("0 25:61:61.999"), 3600 + 60 + 1, 999);
    EXPECT_TRUE(CTNMSecTimeSpan::Parse("1 01:01:01").IsInvalidTS());
    EXPECT_TRUE(CTNMSecTimeSpan::Parse("").IsInvalidTS());
    EXPECT_TRUE(CTNMSecTimeSpan::Parse("abc").IsInvalidTS());
}

TEST(CTNMSecTimeSpan, ParseAndFormatRoundTrip) {
    std::mt19937 random(3);
    for (int i = 0; i < 300; ++i) {
        const CTNMSecTimeSpan span(random(), static_cast<uint16_t>(random() % 1000));
        EXPECT_EQ(CTNMSecTimeSpan::Parse(span.Format()), span) << span.Format();
    }
}
