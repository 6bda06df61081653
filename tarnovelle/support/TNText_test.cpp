#include "tarnovelle/support/TNText.h"

#include <gtest/gtest.h>

TEST(TNText, OnlyAsciiLettersChangeCase) {
    EXPECT_EQ(TNToUpper("/data/TNArch01/abc-Z\xC3\xA4.sam"), "/DATA/TNARCH01/ABC-Z\xC3\xA4.SAM");
    EXPECT_EQ(TNToLower("/DATA/TnArch01/03010021.SAM"), "/data/tnarch01/03010021.sam");
    EXPECT_EQ(TNToUpper(""), "");
}
