// The numbers of the value enums are written into files and posted between
// processes, so each one is fixed.
#include <gtest/gtest.h>

#include <type_traits>

#include "tarnovelle/values/ECharacteristicType.h"
#include "tarnovelle/values/EChannelParameter.h"
#include "tarnovelle/values/EFormatId.h"
#include "tarnovelle/values/EMeasurementValueType.h"
#include "tarnovelle/values/ENetworkType.h"
#include "tarnovelle/values/EPhase.h"
#include "tarnovelle/values/ETarnovelleMessages.h"

TEST(ECharacteristicType, PlainQuantitiesHaveTheirNumbers) {
    EXPECT_EQ(CT_UNDEFINED, 0);
    EXPECT_EQ(CT_VOLTAGE, 1);
    EXPECT_EQ(CT_CURRENT, 2);
    EXPECT_EQ(CT_FREQUENCY, 3);
    EXPECT_EQ(CT_THD_VOLTAGE, 4);
    EXPECT_EQ(CT_ACTIVE_POWER, 5);
    EXPECT_EQ(CT_REACTIVE_POWER, 6);
    EXPECT_EQ(CT_APPARENT_POWER, 7);
    EXPECT_EQ(CT_POWER_FACTOR, 8);
    EXPECT_EQ(CT_FLICKER_PST, 9);
    EXPECT_EQ(CT_FLICKER_PLT, 10);
    EXPECT_EQ(CT_UNBALANCE_CURRENT, 11);
    EXPECT_EQ(CT_UNBALANCE_VOLTAGE, 12);
    EXPECT_EQ(CT_ACTIVE_ENERGY, 13);
    EXPECT_EQ(CT_ACTIVE_ENERGY_IMPORT, 14);
    EXPECT_EQ(CT_ACTIVE_ENERGY_EXPORT, 15);
    EXPECT_EQ(CT_REACTIVE_ENERGY, 16);
    EXPECT_EQ(CT_REACTIVE_ENERGY_INDUCTIVE, 17);
    EXPECT_EQ(CT_REACTIVE_ENERGY_CAPACITIVE, 18);
    EXPECT_EQ(CT_APPARENT_ENERGY, 19);
    EXPECT_EQ(CT_FLICKER_AST, 20);
    EXPECT_EQ(CT_FLICKER_ALT, 21);
    EXPECT_EQ(CT_THD_CURRENT, 22);
    EXPECT_EQ(CT_ACTIVE_POWER_EXT, 23);
    EXPECT_EQ(CT_REACTIVE_POWER_EXT, 24);
    EXPECT_EQ(CT_APPARENT_POWER_EXT, 25);
    EXPECT_EQ(CT_POWER_FACTOR_EXT, 26);
    EXPECT_EQ(CT_ACTIVE_ENERGY_EXT, 27);
    EXPECT_EQ(CT_ACTIVE_ENERGY_IMPORT_EXT, 28);
    EXPECT_EQ(CT_ACTIVE_ENERGY_EXPORT_EXT, 29);
    EXPECT_EQ(CT_REACTIVE_ENERGY_EXT, 30);
    EXPECT_EQ(CT_REACTIVE_ENERGY_INDUCTIVE_EXT, 31);
    EXPECT_EQ(CT_REACTIVE_ENERGY_CAPACITIVE_EXT, 32);
    EXPECT_EQ(CT_APPARENT_ENERGY_EXT, 33);
}

TEST(ECharacteristicType, HarmonicRangesEndBeforeTheirAllOrdersValue) {
    EXPECT_EQ(CT_HARMONIC_VOLTAGE_BASE, 256);
    EXPECT_EQ(CT_HARMONIC_VOLTAGE_BASE + 254, 510);  // last numbered voltage harmonic
    EXPECT_EQ(CT_HARMONIC_VOLTAGE_ALL, 511);
    EXPECT_EQ(CT_HARMONIC_CURRENT_BASE, 512);
    EXPECT_EQ(CT_HARMONIC_CURRENT_BASE + 254, 766);  // last numbered current harmonic
    EXPECT_EQ(CT_HARMONIC_CURRENT_ALL, 767);
    EXPECT_EQ((CT_HARMONIC_VOLTAGE_BASE + 5) & 0xFF, 5);
    EXPECT_EQ((CT_HARMONIC_CURRENT_BASE + 40) & 0xFF, 40);
}

TEST(ECharacteristicType, MessageTypesStartAt0x8000) {
    EXPECT_EQ(CT_MESSAGE, 32768);
    EXPECT_EQ(CT_SET_DEVICE_TIME, 32769);
    EXPECT_EQ(CT_READ_DEVICE_DATA, 32770);
}

TEST(ECharacteristicType, UnknownNumbersSurviveUnchanged) {
    // 768 and 34 have no enumerator; they must not be folded into one.
    EXPECT_EQ(static_cast<int32_t>(static_cast<ECharacteristicType>(768)), 768);
    EXPECT_EQ(static_cast<int32_t>(static_cast<ECharacteristicType>(34)), 34);
    EXPECT_EQ(sizeof(ECharacteristicType), 4u);
}

TEST(EPhase, PhasesHaveTheirNumbers) {
    EXPECT_EQ(PH_NONE, 0);
    EXPECT_EQ(PH_L1N, 1);
    EXPECT_EQ(PH_L2N, 2);
    EXPECT_EQ(PH_L3N, 3);
    EXPECT_EQ(PH_SUM, 4);
    EXPECT_EQ(PH_L1L2, 5);
    EXPECT_EQ(PH_L2L3, 6);
    EXPECT_EQ(PH_L3L1, 7);
    EXPECT_EQ(PH_N, 8);
    EXPECT_EQ(PH_L1, 9);
    EXPECT_EQ(PH_L2, 10);
    EXPECT_EQ(PH_L3, 11);
    EXPECT_EQ(PH_LN, 12);
    EXPECT_EQ(PH_L, 13);
    EXPECT_EQ(PH_UNDEFINED, 255);
}

TEST(EPhase, HoldsNumbersBeyondItsStoredByte) {
    // A phase of 256 has a fallback text of its own, so the enum must carry it.
    EXPECT_EQ(static_cast<int32_t>(static_cast<EPhase>(256)), 256);
}

TEST(EMeasurementValueType, ValueTypesHaveTheirNumbers) {
    EXPECT_EQ(MVT_UNDEFINED, 0);
    EXPECT_EQ(MVT_BINARY, 1);
    EXPECT_EQ(MVT_ANALOG, 2);
    EXPECT_EQ(MVT_MEAN, 3);
    EXPECT_EQ(MVT_MINIMUM, 4);
    EXPECT_EQ(MVT_MAXIMUM, 5);
    EXPECT_EQ(MVT_MEAN_EVENT, 6);
    EXPECT_EQ(MVT_INTERVAL, 7);
    EXPECT_EQ(MVT_EXTREME_EVENT, 8);
}

TEST(EFormatId, FormatsHaveTheirNumbers) {
    EXPECT_EQ(FORMAT_DIGIT, 0);
    EXPECT_EQ(FORMAT_EVENT, 1);
    EXPECT_EQ(FORMAT_BINARY_BYTE, 2);
    EXPECT_EQ(FORMAT_FLOAT, 3);
    EXPECT_EQ(FORMAT_BINARY_WORD, 4);
    EXPECT_EQ(FORMAT_BINARY_DWORD, 5);
    EXPECT_EQ(FORMAT_MESSAGE, 6);
}

TEST(EFormatId, NoFormatSevenIsRepresentable) {
    EXPECT_EQ(static_cast<int32_t>(static_cast<EFormatId>(7)), 7);
}

TEST(ENetworkType, TwoIsLeftOutBetweenSingleAndThreeWire) {
    EXPECT_EQ(NET_UNKNOWN, 0);
    EXPECT_EQ(NET_SINGLE_PHASE, 1);
    EXPECT_EQ(NET_THREE_WIRE, 3);
    EXPECT_EQ(NET_FOUR_WIRE, 4);
    EXPECT_EQ(static_cast<int32_t>(static_cast<ENetworkType>(2)), 2);
}

TEST(ETarnovelleMessages, MessagesHaveTheirNumbers) {
    EXPECT_EQ(TNMSG_NONE, 0);
    EXPECT_EQ(TNMSG_ARCHIVING_STOPPED, 1);
}

TEST(EChannelParameter, IsAPlainSigned32BitInteger) {
    EXPECT_TRUE((std::is_same_v<EChannelParameter, int32_t>));
    const EChannelParameter anyNumber = 123456;
    EXPECT_EQ(anyNumber, 123456);
}
