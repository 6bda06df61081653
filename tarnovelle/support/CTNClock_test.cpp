#include "tarnovelle/support/CTNClock.h"

#include <gtest/gtest.h>

#include <chrono>

#include "tarnovelle/support/CTNFakeClock.h"

TEST(CTNClock, DefaultClockFollowsTheSystemTime) {
    const uint64_t sys = static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::system_clock::now().time_since_epoch()).count());
    const uint64_t ours = CTNClock::Default()->NowMilliseconds();
    EXPECT_LT(ours > sys ? ours - sys : sys - ours, 2000u);
}

TEST(CTNClock, DefaultClockReallySleeps) {
    const auto start = std::chrono::steady_clock::now();
    CTNClock::Default()->Sleep(30);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(30));
}

TEST(CTNClock, InstalledFakeClockIsUsedAndNullRestoresTheDefault) {
    CTNFakeClock fake(5000);
    TNSetClock(&fake);
    EXPECT_EQ(TNGetClock(), &fake);
    TNGetClock()->Sleep(250);
    EXPECT_EQ(fake.NowMilliseconds(), 5250u);
    TNSetClock(nullptr);
    EXPECT_EQ(TNGetClock(), CTNClock::Default());
}

TEST(CTNClock, FakeClockRecordsEverySleepInOrder) {
    CTNFakeClock fake(0);
    CTNScopedClock scope(&fake);
    TNGetClock()->Sleep(500);
    TNGetClock()->Sleep(501);
    fake.Advance(10);
    EXPECT_EQ(fake.GetSleeps(), (std::vector<uint32_t>{500, 501}));
    EXPECT_EQ(TNGetClock()->NowMilliseconds(), 1011u);
}

TEST(CTNClock, ScopedClockRestoresThePreviousClock) {
    CTNFakeClock outer, inner;
    CTNScopedClock a(&outer);
    {
        CTNScopedClock b(&inner);
        EXPECT_EQ(TNGetClock(), &inner);
    }
    EXPECT_EQ(TNGetClock(), &outer);
}
