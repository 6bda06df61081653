#include "tarnovelle/support/TNGuid.h"

#include <gtest/gtest.h>

#include <set>

namespace {

GUID Sample() {
    GUID g{};
    g.Data1 = 0xABCDEF01u;
    g.Data2 = 0xBCDEu;
    g.Data3 = 0xCDEFu;
    const uint8_t bytes[8] = {0xDE, 0xF0, 0x1A, 0x2B, 0x3C, 0x4D, 0x5E, 0x6F};
    std::memcpy(g.Data4, bytes, 8);
    return g;
}

}  // namespace

TEST(GuidText, AllZeroGuidIsAllZeroText) {
    EXPECT_EQ(GuidToString(GUID{}), "00000000-0000-0000-0000-000000000000");
    EXPECT_EQ(StringToGuid("00000000-0000-0000-0000-000000000000"), GUID{});
}

TEST(GuidText, ThirdGroupIsLowerCaseAndTheOthersUpperCase) {
    EXPECT_EQ(GuidToString(Sample()), "ABCDEF01-BCDE-cdef-DEF0-1A2B3C4D5E6F");
}

TEST(GuidText, TextReadsBackToTheSameGuid) {
    EXPECT_EQ(StringToGuid("ABCDEF01-BCDE-cdef-DEF0-1A2B3C4D5E6F"), Sample());
    EXPECT_EQ(StringToGuid("abcdef01-bcde-CDEF-def0-1a2b3c4d5e6f"), Sample());
    for (int i = 0; i < 50; ++i) {
        const GUID g = CreateGuid();
        EXPECT_EQ(StringToGuid(GuidToString(g)), g);
    }
}

TEST(GuidText, MissingDashAtAnySeparatorPositionGivesAllZeroGuid) {
    const std::string good = "ABCDEF01-BCDE-cdef-DEF0-1A2B3C4D5E6F";
    for (size_t pos : {8u, 13u, 18u, 23u}) {
        std::string bad = good;
        bad[pos] = '0';
        EXPECT_EQ(StringToGuid(bad), GUID{}) << bad;
    }
    EXPECT_EQ(StringToGuid(""), GUID{});
    EXPECT_EQ(StringToGuid("ABCDEF01-BCDE-cdef"), GUID{});
}

TEST(GuidText, ShortTextReadsPositionsBeyondItsEndAsEmpty) {
    const GUID g = StringToGuid("ABCDEF01-BCDE-cdef-DEF0-1A2B");
    EXPECT_EQ(g.Data1, 0xABCDEF01u);
    EXPECT_EQ(g.Data2, 0xBCDEu);
    EXPECT_EQ(g.Data3, 0xCDEFu);
    EXPECT_EQ(g.Data4[0], 0xDE);
    EXPECT_EQ(g.Data4[1], 0xF0);
    EXPECT_EQ(g.Data4[2], 0x1A);
    EXPECT_EQ(g.Data4[3], 0x2B);
    for (int i = 4; i < 8; ++i) EXPECT_EQ(g.Data4[i], 0) << i;
}

TEST(GuidText, LongerTextIsNotRefused) {
    EXPECT_EQ(StringToGuid("ABCDEF01-BCDE-cdef-DEF0-1A2B3C4D5E6F.Read"), Sample());
}

TEST(GuidText, FieldTakesTheHexDigitsItCanAndZeroForNone) {
    // "12G4" gives 0x12 for the upper half of Data1, "zz" gives 0 for a byte.
    const GUID g = StringToGuid("12G45678-XXXX-00a1-zz00-000000000000");
    EXPECT_EQ(g.Data1, 0x00125678u);
    EXPECT_EQ(g.Data2, 0u);
    EXPECT_EQ(g.Data3, 0x00A1u);
    EXPECT_EQ(g.Data4[0], 0);
}

TEST(CreateGuid, IsRandomVersionFour) {
    std::set<std::string> seen;
    for (int i = 0; i < 100; ++i) {
        const GUID g = CreateGuid();
        EXPECT_NE(g, GUID{});
        EXPECT_EQ(g.Data3 & 0xF000u, 0x4000u);
        EXPECT_EQ(g.Data4[0] & 0xC0u, 0x80u);
        seen.insert(GuidToString(g));
    }
    EXPECT_EQ(seen.size(), 100u);
}
