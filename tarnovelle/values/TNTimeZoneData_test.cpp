#include "tarnovelle/values/TNTimeZoneData.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

namespace {

struct ZoneDeleter {
    void operator()(tzd_zone* zone) const { tzd_disposezone(zone); }
};
using Zone = std::unique_ptr<tzd_zone, ZoneDeleter>;

Zone Get(const char* name) { return Zone(tzd_getzone(name)); }

tzd_time LocalTime(const Zone& zone, int64_t seconds) {
    tzd_time record;
    std::memset(&record, 0, sizeof record);
    EXPECT_EQ(0, tzd_localtime(&record, zone.get(), seconds));
    return record;
}

template <typename T>
T ReadAt(const tzd_time& record, size_t offset) {
    T value;
    std::memcpy(&value, reinterpret_cast<const unsigned char*>(&record) + offset, sizeof value);
    return value;
}

// 2024-03-31 01:00:00 UTC: Berlin springs from 02:00 CET to 03:00 CEST.
constexpr int64_t kBerlinSpring2024 = 1711846800;
// 2024-10-27 01:00:00 UTC: Berlin falls back from 03:00 CEST to 02:00 CET.
constexpr int64_t kBerlinAutumn2024 = 1729990800;

tzd_time WallClock(int year, int month, int day, int hour, int minute, int second, int dstState) {
    tzd_time record;
    std::memset(&record, 0, sizeof record);
    record.tzd_year = static_cast<uint16_t>(year);
    record.tzd_month = static_cast<uint16_t>(month);
    record.tzd_mday = static_cast<uint16_t>(day);
    record.tzd_hour = static_cast<uint16_t>(hour);
    record.tzd_min = static_cast<uint16_t>(minute);
    record.tzd_sec = static_cast<uint16_t>(second);
    tzd_setdststate(&record, dstState);
    return record;
}

}  // namespace

TEST(TNTimeZoneData, RecordFieldsStandAtTheirByteOffsets) {
    Zone berlin = Get("Europe/Berlin");
    ASSERT_TRUE(berlin);
    // 2005-03-05 07:08:09 CET = 06:08:09 UTC, a Saturday, day 64 of the year.
    const tzd_time record = LocalTime(berlin, 1110002889);
    EXPECT_EQ(2005, ReadAt<uint16_t>(record, 4));
    EXPECT_EQ(3, ReadAt<uint16_t>(record, 6));
    EXPECT_EQ(5, ReadAt<uint16_t>(record, 8));
    EXPECT_EQ(64, ReadAt<uint16_t>(record, 10));
    EXPECT_EQ(6, ReadAt<uint8_t>(record, 12));
    EXPECT_EQ(9, ReadAt<uint16_t>(record, 16));
    EXPECT_EQ(8, ReadAt<uint16_t>(record, 18));
    EXPECT_EQ(7, ReadAt<uint16_t>(record, 20));
    EXPECT_EQ(0, (ReadAt<uint16_t>(record, 22) >> 3) & 3) << "winter: state 0";
    EXPECT_EQ(1u << 24, ReadAt<uint32_t>(record, 28) & (1u << 24)) << "Berlin uses daylight saving";
}

TEST(TNTimeZoneData, DaylightSavingStateIsSignedTwoBitsAtBitsThreeAndFour) {
    Zone berlin = Get("Europe/Berlin");
    const tzd_time summer = LocalTime(berlin, 1720000000);  // July 2024
    EXPECT_EQ(1, (ReadAt<uint16_t>(summer, 22) >> 3) & 3);
    EXPECT_EQ(1, tzd_getdststate(&summer));

    tzd_time record;
    std::memset(&record, 0, sizeof record);
    tzd_setdststate(&record, -1);
    EXPECT_EQ(0x18, ReadAt<uint16_t>(record, 22)) << "unknown sets both bits";
    EXPECT_EQ(-1, tzd_getdststate(&record));
    tzd_setdststate(&record, 0);
    EXPECT_EQ(0, ReadAt<uint16_t>(record, 22));
    EXPECT_EQ(0, tzd_getdststate(&record));
}

TEST(TNTimeZoneData, DayOfWeekIsOneForMondayAndSevenForSunday) {
    Zone utc = Get("posix/UTC");
    EXPECT_EQ(1, LocalTime(utc, 946857600).tzd_wday);  // Monday 3 January 2000
    EXPECT_EQ(7, LocalTime(utc, 946771200).tzd_wday);  // Sunday 2 January 2000
    EXPECT_EQ(6, LocalTime(utc, 946684800).tzd_wday);  // Saturday 1 January 2000
    EXPECT_EQ(1, LocalTime(utc, 946684800).tzd_yday);
    EXPECT_EQ(366, LocalTime(utc, 978220800).tzd_yday);  // 31 December 2000
}

TEST(TNTimeZoneData, PosixUtcHasNoOffsetAndNoDaylightSaving) {
    Zone utc = Get("posix/UTC");
    ASSERT_TRUE(utc);
    EXPECT_STREQ("posix/UTC", tzd_getname(utc.get()));
    const tzd_time record = LocalTime(utc, 1720000000);  // 2024-07-03 09:46:40 UTC
    EXPECT_EQ(9, record.tzd_hour);
    EXPECT_EQ(0, tzd_getdststate(&record));
    EXPECT_EQ(0u, record.tzd_zoneflags & TZD_ZONE_USES_DST);
}

TEST(TNTimeZoneData, NewYorkHasItsOwnRules) {
    Zone newYork = Get("America/New_York");
    ASSERT_TRUE(newYork);
    const tzd_time winter = LocalTime(newYork, 1704110400);  // 2024-01-01 12:00 UTC
    EXPECT_EQ(7, winter.tzd_hour);
    EXPECT_EQ(0, tzd_getdststate(&winter));
    const tzd_time summer = LocalTime(newYork, 1720008000);  // 2024-07-03 12:00 UTC
    EXPECT_EQ(8, summer.tzd_hour);
    EXPECT_EQ(1, tzd_getdststate(&summer));
    EXPECT_NE(0u, summer.tzd_zoneflags & TZD_ZONE_USES_DST);
}

TEST(TNTimeZoneData, NamesAndDuplicates) {
    Zone berlin = Get("Europe/Berlin");
    EXPECT_STREQ("Europe/Berlin", tzd_getname(berlin.get()));
    Zone copy(tzd_dupzone(berlin.get()));
    ASSERT_TRUE(copy);
    EXPECT_NE(berlin.get(), copy.get()) << "a duplicate is an independent reference";
    berlin.reset();
    EXPECT_STREQ("Europe/Berlin", tzd_getname(copy.get()));
    EXPECT_EQ(7, LocalTime(copy, 1110002889).tzd_hour);
}

TEST(TNTimeZoneData, MachineZoneByNullAndByLocaltime) {
    Zone byNull = Get(nullptr);
    Zone byName = Get("localtime");
    ASSERT_TRUE(byNull);
    ASSERT_TRUE(byName);
    EXPECT_STREQ("localtime", tzd_getname(byName.get()));
    EXPECT_NE(nullptr, tzd_getname(byNull.get()));
    EXPECT_EQ(LocalTime(byNull, 1720000000).tzd_hour, LocalTime(byName, 1720000000).tzd_hour);
}

TEST(TNTimeZoneData, UnknownZoneGivesNullAndNullIsHarmless) {
    EXPECT_EQ(nullptr, tzd_getzone("Nowhere/Atlantis"));
    EXPECT_EQ(nullptr, tzd_getzone(""));
    EXPECT_EQ(nullptr, tzd_dupzone(nullptr));
    EXPECT_EQ(nullptr, tzd_getname(nullptr));
    tzd_disposezone(nullptr);
    tzd_time record;
    std::memset(&record, 0, sizeof record);
    EXPECT_EQ(-1, tzd_localtime(&record, nullptr, 0));
    EXPECT_EQ(0, record.tzd_mday);
    int64_t seconds = 99;
    EXPECT_EQ(-1, tzd_maketime(&seconds, nullptr, &record));
    EXPECT_EQ(0, seconds);
}

TEST(TNTimeZoneData, MakeTimeInvertsLocalTime) {
    Zone newYork = Get("America/New_York");
    for (int64_t t : {int64_t{0}, int64_t{946684800}, int64_t{1720000000}, int64_t{0x7FFFFFFF}}) {
        const tzd_time record = LocalTime(newYork, t);
        int64_t back = 0;
        ASSERT_EQ(0, tzd_maketime(&back, newYork.get(), &record));
        EXPECT_EQ(t, back);
    }
}

TEST(TNTimeZoneData, SkippedTimeWithUnknownStateMovesForwardByTheGap) {
    Zone berlin = Get("Europe/Berlin");
    const tzd_time skipped = WallClock(2024, 3, 31, 2, 30, 0, -1);
    int64_t seconds = 0;
    ASSERT_EQ(0, tzd_maketime(&seconds, berlin.get(), &skipped));
    const tzd_time shown = LocalTime(berlin, seconds);
    EXPECT_EQ(3, shown.tzd_hour);
    EXPECT_EQ(30, shown.tzd_min);
    EXPECT_EQ(kBerlinSpring2024 + 1800, seconds);
}

TEST(TNTimeZoneData, RepeatedTimeWithUnknownStateTakesTheFirstOccurrence) {
    Zone berlin = Get("Europe/Berlin");
    const tzd_time repeated = WallClock(2024, 10, 27, 2, 30, 0, -1);
    int64_t seconds = 0;
    ASSERT_EQ(0, tzd_maketime(&seconds, berlin.get(), &repeated));
    EXPECT_EQ(kBerlinAutumn2024 - 1800, seconds) << "02:30 CEST, 00:30 UTC";
}

TEST(TNTimeZoneData, RepeatedTimeWithKnownStateKeepsItsInstant) {
    Zone berlin = Get("Europe/Berlin");
    const int64_t second = kBerlinAutumn2024 + 1800;  // 02:30 CET, the second occurrence
    const tzd_time record = LocalTime(berlin, second);
    EXPECT_EQ(2, record.tzd_hour);
    EXPECT_EQ(0, tzd_getdststate(&record));
    int64_t back = 0;
    ASSERT_EQ(0, tzd_maketime(&back, berlin.get(), &record));
    EXPECT_EQ(second, back);

    const tzd_time first = LocalTime(berlin, kBerlinAutumn2024 - 1800);
    EXPECT_EQ(1, tzd_getdststate(&first));
    ASSERT_EQ(0, tzd_maketime(&back, berlin.get(), &first));
    EXPECT_EQ(kBerlinAutumn2024 - 1800, back);
}

TEST(TNTimeZoneData, MakeTimeRefusesARecordWithoutMonthOrDay) {
    Zone berlin = Get("Europe/Berlin");
    int64_t seconds = 99;
    const tzd_time noDay = WallClock(2024, 3, 0, 12, 0, 0, -1);
    EXPECT_EQ(-1, tzd_maketime(&seconds, berlin.get(), &noDay));
    EXPECT_EQ(0, seconds);
    const tzd_time noMonth = WallClock(2024, 0, 1, 12, 0, 0, -1);
    EXPECT_EQ(-1, tzd_maketime(&seconds, berlin.get(), &noMonth));
    const tzd_time rolled = WallClock(2024, 1, 1, 24, 0, 0, -1);  // 24:00 is the next day's midnight
    EXPECT_EQ(0, tzd_maketime(&seconds, berlin.get(), &rolled));
    EXPECT_EQ(1704150000, seconds);
}
