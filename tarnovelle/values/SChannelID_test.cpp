#include "tarnovelle/values/SChannelID.h"

#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>
#include <vector>

namespace {

// The identifier as it lands in a file header: its 4 raw bytes.
std::vector<uint8_t> BytesOf(const SChannelID& id) {
    std::vector<uint8_t> bytes(sizeof(SChannelID));
    std::memcpy(bytes.data(), &id, sizeof(SChannelID));
    return bytes;
}

}  // namespace

TEST(SChannelID, DefaultHasUndefinedPhaseAndIsNotZero) {
    const SChannelID id;
    EXPECT_EQ(id.GetDWORD(), 0x00FF0000u);
    EXPECT_EQ(id.GetCharacteristicType(), CT_UNDEFINED);
    EXPECT_EQ(id.GetPhase(), PH_UNDEFINED);
    EXPECT_EQ(id.GetMeasurementValueType(), MVT_UNDEFINED);
    EXPECT_NE(id, SChannelID(0u));
}

TEST(SChannelID, StatusChannelNumberSplitsIntoMessageNoPhaseBinary) {
    const SChannelID id(0x01008000u);
    EXPECT_EQ(id.GetCharacteristicType(), 32768);
    EXPECT_EQ(id.GetCharacteristicType(), CT_MESSAGE);
    EXPECT_EQ(id.GetPhase(), 0);
    EXPECT_EQ(id.GetPhase(), PH_NONE);
    EXPECT_EQ(id.GetMeasurementValueType(), 1);
    EXPECT_EQ(id.GetMeasurementValueType(), MVT_BINARY);
    EXPECT_EQ(id.GetDWORD(), 0x01008000u);
}

TEST(SChannelID, StatusChannelFromFieldsIs0x01008000) {
    const SChannelID id(CT_MESSAGE, PH_NONE, MVT_BINARY);
    EXPECT_EQ(id.GetDWORD(), 0x01008000u);
    EXPECT_EQ(id, SChannelID(0x01008000u));
}

TEST(SChannelID, GetDWORDPutsValueTypeHighPhaseMiddleCharacteristicLow) {
    const SChannelID id(CT_VOLTAGE, PH_L1N, MVT_MEAN);
    EXPECT_EQ(id.GetDWORD(), 0x03010001u);
}

TEST(SChannelID, RoundTripsThroughGetDWORDForFieldExtremes) {
    const uint32_t characteristics[] = {0u, 1u, 0x00FFu, 0x0100u, 0x7FFFu, 0x8000u, 0xFFFEu, 0xFFFFu};
    const uint32_t bytes[] = {0u, 1u, 0x7Fu, 0x80u, 0xFEu, 0xFFu};
    for (uint32_t characteristic : characteristics) {
        for (uint32_t phase : bytes) {
            for (uint32_t valueType : bytes) {
                const uint32_t number = (valueType << 24) | (phase << 16) | characteristic;
                const SChannelID fromNumber(number);
                EXPECT_EQ(static_cast<uint32_t>(fromNumber.GetCharacteristicType()), characteristic);
                EXPECT_EQ(static_cast<uint32_t>(fromNumber.GetPhase()), phase);
                EXPECT_EQ(static_cast<uint32_t>(fromNumber.GetMeasurementValueType()), valueType);
                EXPECT_EQ(fromNumber.GetDWORD(), number);

                const SChannelID fromFields(static_cast<ECharacteristicType>(characteristic),
                                            static_cast<EPhase>(phase),
                                            static_cast<EMeasurementValueType>(valueType));
                EXPECT_EQ(fromFields.GetDWORD(), number);
                EXPECT_EQ(fromFields, fromNumber);
                EXPECT_EQ(SChannelID(fromFields.GetDWORD()), fromFields);
            }
        }
    }
}

TEST(SChannelID, AllOnesAndZeroRoundTrip) {
    EXPECT_EQ(SChannelID(0xFFFFFFFFu).GetDWORD(), 0xFFFFFFFFu);
    EXPECT_EQ(SChannelID(0u).GetDWORD(), 0u);
}

TEST(SChannelID, SettersChangeOnlyTheirField) {
    SChannelID id(0x12345678u);
    id.SetCharacteristicType(CT_HARMONIC_CURRENT_ALL);
    EXPECT_EQ(id.GetDWORD(), 0x123402FFu);
    id.SetPhase(PH_L3L1);
    EXPECT_EQ(id.GetDWORD(), 0x120702FFu);
    id.SetMeasurementValueType(MVT_EXTREME_EVENT);
    EXPECT_EQ(id.GetDWORD(), 0x080702FFu);
    EXPECT_EQ(id.GetCharacteristicType(), CT_HARMONIC_CURRENT_ALL);
    EXPECT_EQ(id.GetPhase(), PH_L3L1);
    EXPECT_EQ(id.GetMeasurementValueType(), MVT_EXTREME_EVENT);
}

TEST(SChannelID, FieldsKeepOnlyTheBitsTheyAreStoredIn) {
    SChannelID id;
    id.SetPhase(static_cast<EPhase>(256 + 7));
    EXPECT_EQ(id.GetPhase(), PH_L3L1);
    id.SetCharacteristicType(static_cast<ECharacteristicType>(0x10000 + 3));
    EXPECT_EQ(id.GetCharacteristicType(), CT_FREQUENCY);
    id.SetMeasurementValueType(static_cast<EMeasurementValueType>(0x100 + 4));
    EXPECT_EQ(id.GetMeasurementValueType(), MVT_MINIMUM);
    EXPECT_EQ(id.GetDWORD(), 0x04070003u);
}

TEST(SChannelID, EqualityComparesAllThreeFields) {
    const SChannelID base(CT_CURRENT, PH_L2, MVT_MAXIMUM);
    SChannelID other = base;
    EXPECT_TRUE(base == other);
    EXPECT_FALSE(base != other);
    other.SetCharacteristicType(CT_VOLTAGE);
    EXPECT_TRUE(base != other);
    other = base;
    other.SetPhase(PH_L3);
    EXPECT_TRUE(base != other);
    other = base;
    other.SetMeasurementValueType(MVT_MINIMUM);
    EXPECT_TRUE(base != other);
    EXPECT_FALSE(base == other);
}

TEST(SChannelID, IsFourLittleEndianBytesInFieldOrder) {
    const SChannelID id(0x01008000u);
    EXPECT_EQ(BytesOf(id), (std::vector<uint8_t>{0x00, 0x80, 0x00, 0x01}));
    const SChannelID other(CT_HARMONIC_VOLTAGE_ALL, PH_UNDEFINED, MVT_EXTREME_EVENT);
    EXPECT_EQ(BytesOf(other), (std::vector<uint8_t>{0xFF, 0x01, 0xFF, 0x08}));
    uint32_t asNumber = 0;
    std::memcpy(&asNumber, &other, sizeof asNumber);
    EXPECT_EQ(asNumber, other.GetDWORD());
}

TEST(SChannelID, ReadsBackFromRawHeaderBytes) {
    const uint8_t raw[4] = {0x05, 0x01, 0x09, 0x03};
    SChannelID id;
    std::memcpy(&id, raw, sizeof id);
    EXPECT_EQ(id.GetCharacteristicType(), CT_HARMONIC_VOLTAGE_BASE + 5);
    EXPECT_EQ(id.GetPhase(), PH_L1);
    EXPECT_EQ(id.GetMeasurementValueType(), MVT_MEAN);
    EXPECT_EQ(id.GetDWORD(), 0x03090105u);
}

TEST(SChannelID, HarmonicChannelKeepsItsOrderInTheLowByte) {
    const SChannelID id(static_cast<ECharacteristicType>(CT_HARMONIC_VOLTAGE_BASE + 5), PH_L1N, MVT_MEAN);
    EXPECT_EQ(id.GetCharacteristicType(), 261);
    EXPECT_EQ(id.GetCharacteristicType() & 0xFF, 5);
    EXPECT_EQ(SChannelID(id.GetDWORD()), id);
}

TEST(SChannelID, IsAPlainCopyableRecord) {
    EXPECT_TRUE(std::is_trivially_copyable_v<SChannelID>);
    EXPECT_TRUE(std::is_standard_layout_v<SChannelID>);
    SChannelID array[3] = {SChannelID(1u), SChannelID(2u), SChannelID(3u)};
    EXPECT_EQ(sizeof array, 12u);
    EXPECT_EQ(array[2].GetDWORD(), 3u);
}
