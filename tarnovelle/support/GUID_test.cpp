#include "tarnovelle/support/GUID.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <vector>

namespace {

const GUID kSample = {0x12345678u, 0x9ABCu, 0xDEF0u, {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF}};

}  // namespace

TEST(GUID, IsSixteenBytesWithFieldsAtTheirOffsets) {
    EXPECT_EQ(sizeof(GUID), 16u);
    EXPECT_EQ(offsetof(GUID, Data1), 0u);
    EXPECT_EQ(offsetof(GUID, Data2), 4u);
    EXPECT_EQ(offsetof(GUID, Data3), 6u);
    EXPECT_EQ(offsetof(GUID, Data4), 8u);
}

TEST(GUID, StoresFirstThreeFieldsLittleEndianAndDataFourAsIs) {
    std::vector<uint8_t> buffer(sizeof(GUID) * 2, 0xEE);
    std::memcpy(buffer.data() + sizeof(GUID), &kSample, sizeof(GUID));
    const std::vector<uint8_t> expected = {0x78, 0x56, 0x34, 0x12, 0xBC, 0x9A, 0xF0, 0xDE,
                                           0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF};
    EXPECT_EQ(std::vector<uint8_t>(buffer.begin() + 16, buffer.end()), expected);
    EXPECT_EQ(std::vector<uint8_t>(buffer.begin(), buffer.begin() + 16), std::vector<uint8_t>(16, 0xEE));
}

TEST(GUID, ReadsBackFromStoredBytes) {
    const uint8_t stored[16] = {0x78, 0x56, 0x34, 0x12, 0xBC, 0x9A, 0xF0, 0xDE,
                                0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF};
    GUID read;
    std::memcpy(&read, stored, sizeof read);
    EXPECT_EQ(read.Data1, 0x12345678u);
    EXPECT_EQ(read.Data2, 0x9ABCu);
    EXPECT_EQ(read.Data3, 0xDEF0u);
    EXPECT_EQ(read.Data4[0], 0x01);
    EXPECT_EQ(read.Data4[7], 0xEF);
    EXPECT_TRUE(read == kSample);
}

TEST(GUID, EqualWhenAllSixteenBytesAreEqual) {
    GUID copy = kSample;
    EXPECT_TRUE(copy == kSample);
    EXPECT_FALSE(copy != kSample);
}

TEST(GUID, UnequalWhenAnyFieldDiffers) {
    for (size_t byte = 0; byte < sizeof(GUID); ++byte) {
        GUID other = kSample;
        reinterpret_cast<uint8_t*>(&other)[byte] ^= 0x01;
        EXPECT_TRUE(other != kSample) << "byte " << byte;
        EXPECT_FALSE(other == kSample) << "byte " << byte;
    }
}

TEST(GUID, ArraysOfGuidsHaveNoGaps) {
    GUID pair[2] = {kSample, kSample};
    EXPECT_EQ(sizeof pair, 32u);
    EXPECT_EQ(reinterpret_cast<const uint8_t*>(&pair[1]) - reinterpret_cast<const uint8_t*>(&pair[0]), 16);
}
