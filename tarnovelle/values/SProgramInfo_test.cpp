#include "tarnovelle/values/SProgramInfo.h"

#include <gtest/gtest.h>

TEST(SProgramInfo, DefaultIsEmptyNameAndZeroVersion) {
    const SProgramInfo info;
    EXPECT_EQ(info.GetName(), "");
    EXPECT_EQ(info.GetVersionMajor(), 0u);
    EXPECT_EQ(info.GetVersionMinor(), 0u);
    EXPECT_EQ(info.GetVersionBuild(), 0u);
    EXPECT_EQ(info.GetVersionRevision(), 0u);
}

TEST(SProgramInfo, SettersFillEachFieldSeparately) {
    SProgramInfo info;
    info.SetName("Recorder");
    info.SetVersionMajor(1);
    info.SetVersionMinor(2);
    info.SetVersionBuild(3);
    info.SetVersionRevision(0xFFFFFFFFu);
    EXPECT_EQ(info.GetName(), "Recorder");
    EXPECT_EQ(info.GetVersionMajor(), 1u);
    EXPECT_EQ(info.GetVersionMinor(), 2u);
    EXPECT_EQ(info.GetVersionBuild(), 3u);
    EXPECT_EQ(info.GetVersionRevision(), 0xFFFFFFFFu);
}

TEST(SProgramInfo, CopyAndAssignmentAreIndependent) {
    SProgramInfo original;
    original.SetName(std::string("Evaluator"));
    original.SetVersionMajor(7);
    original.SetVersionBuild(42);

    SProgramInfo copy(original);
    SProgramInfo assigned;
    assigned = original;
    original.SetName("changed");
    original.SetVersionMajor(8);

    for (const SProgramInfo* info : {&copy, &assigned}) {
        EXPECT_EQ(info->GetName(), "Evaluator");
        EXPECT_EQ(info->GetVersionMajor(), 7u);
        EXPECT_EQ(info->GetVersionMinor(), 0u);
        EXPECT_EQ(info->GetVersionBuild(), 42u);
        EXPECT_EQ(info->GetVersionRevision(), 0u);
    }
}

TEST(SProgramInfo, NullNameBecomesEmpty) {
    SProgramInfo info;
    info.SetName("x");
    info.SetName(static_cast<const char*>(nullptr));
    EXPECT_EQ(info.GetName(), "");
}
