// The umbrella header alone must give a program every public type.
#include <tarnovelle/tarnovelle.h>

#include <gtest/gtest.h>

TEST(UmbrellaHeader, GivesThePublicTypes) {
    EXPECT_EQ(sizeof(STarnovelleTimeStampInMsec), 6u);
    EXPECT_EQ(sizeof(GUID), 16u);
    EXPECT_EQ(TNE_FOLDER_SWITCHED, 501u);
    EXPECT_NE(TNGetClock(), nullptr);
}
