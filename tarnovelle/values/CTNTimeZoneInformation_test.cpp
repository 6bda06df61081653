#include "tarnovelle/values/CTNTimeZoneInformation.h"

#include <gtest/gtest.h>

#include <memory>

TEST(CTNTimeZoneInformation, NamedZoneKeepsItsName) {
    const CTNTimeZoneInformation berlin("Europe/Berlin");
    EXPECT_EQ("Europe/Berlin", berlin.GetName());
    EXPECT_EQ("Europe/Berlin", berlin.Dump());
    EXPECT_EQ("America/New_York", CTNTimeZoneInformation(std::string("America/New_York")).GetName());
    EXPECT_EQ("posix/UTC", CTNTimeZoneInformation("posix/UTC").GetName());
}

TEST(CTNTimeZoneInformation, DefaultIsTheMachinesZone) {
    const CTNTimeZoneInformation machine;
    EXPECT_FALSE(machine.GetName().empty());
    EXPECT_EQ("localtime", CTNTimeZoneInformation("localtime").GetName());
}

TEST(CTNTimeZoneInformation, UnknownZoneHasAnEmptyName) {
    const CTNTimeZoneInformation unknown("Nowhere/Atlantis");
    EXPECT_EQ("", unknown.GetName());
    const CTNTimeZoneInformation copy(unknown);
    EXPECT_EQ("", copy.GetName());
}

TEST(CTNTimeZoneInformation, CopyOutlivesTheOriginal) {
    auto original = std::make_unique<CTNTimeZoneInformation>("America/New_York");
    const CTNTimeZoneInformation copy(*original);
    original.reset();
    EXPECT_EQ("America/New_York", copy.GetName());
}

TEST(CTNTimeZoneInformation, AssignmentTakesTheOtherZoneAndSurvivesIt) {
    CTNTimeZoneInformation target("Europe/Berlin");
    {
        const CTNTimeZoneInformation source("America/New_York");
        target = source;
        EXPECT_EQ("America/New_York", target.GetName());
    }
    EXPECT_EQ("America/New_York", target.GetName());
}

TEST(CTNTimeZoneInformation, SelfAssignmentChangesNothing) {
    CTNTimeZoneInformation zone("Europe/Berlin");
    CTNTimeZoneInformation& same = zone;
    zone = same;
    EXPECT_EQ("Europe/Berlin", zone.GetName());
}

TEST(CTNTimeZoneInformation, AssigningAnUnknownZoneLeavesNoReference) {
    CTNTimeZoneInformation zone("Europe/Berlin");
    zone = CTNTimeZoneInformation("Nowhere/Atlantis");
    EXPECT_EQ("", zone.GetName());
    zone = CTNTimeZoneInformation("posix/UTC");
    EXPECT_EQ("posix/UTC", zone.GetName());
}
