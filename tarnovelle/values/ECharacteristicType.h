// The measured quantity of a channel: the low 16 bits of a channel identifier.
// The numbers are not a dense list. Two ranges carry a harmonic order in their
// low 8 bits (voltage 256..510, current 512..766), each followed by the value
// for "all orders" (511, 767); the message channels start at 0x8000. Any other
// number is an unknown quantity and must still be carried unchanged, so the
// enum is a full 32-bit integer rather than the 16 bits it is stored in.
#pragma once

#include <cstdint>

enum ECharacteristicType : int32_t {
    CT_UNDEFINED = 0,
    CT_VOLTAGE = 1,
    CT_CURRENT = 2,
    CT_FREQUENCY = 3,
    CT_THD_VOLTAGE = 4,
    CT_ACTIVE_POWER = 5,
    CT_REACTIVE_POWER = 6,
    CT_APPARENT_POWER = 7,
    CT_POWER_FACTOR = 8,
    CT_FLICKER_PST = 9,
    CT_FLICKER_PLT = 10,
    CT_UNBALANCE_CURRENT = 11,
    CT_UNBALANCE_VOLTAGE = 12,
    CT_ACTIVE_ENERGY = 13,
    CT_ACTIVE_ENERGY_IMPORT = 14,
    CT_ACTIVE_ENERGY_EXPORT = 15,
    CT_REACTIVE_ENERGY = 16,
    CT_REACTIVE_ENERGY_INDUCTIVE = 17,
    CT_REACTIVE_ENERGY_CAPACITIVE = 18,
    CT_APPARENT_ENERGY = 19,
    CT_FLICKER_AST = 20,
    CT_FLICKER_ALT = 21,
    CT_THD_CURRENT = 22,
    CT_ACTIVE_POWER_EXT = 23,
    CT_REACTIVE_POWER_EXT = 24,
    CT_APPARENT_POWER_EXT = 25,
    CT_POWER_FACTOR_EXT = 26,
    CT_ACTIVE_ENERGY_EXT = 27,
    CT_ACTIVE_ENERGY_IMPORT_EXT = 28,
    CT_ACTIVE_ENERGY_EXPORT_EXT = 29,
    CT_REACTIVE_ENERGY_EXT = 30,
    CT_REACTIVE_ENERGY_INDUCTIVE_EXT = 31,
    CT_REACTIVE_ENERGY_CAPACITIVE_EXT = 32,
    CT_APPARENT_ENERGY_EXT = 33,

    // Harmonic voltage of order n is CT_HARMONIC_VOLTAGE_BASE + n (n = 0..254).
    CT_HARMONIC_VOLTAGE_BASE = 256,
    CT_HARMONIC_VOLTAGE_ALL = 511,
    // Harmonic current of order n is CT_HARMONIC_CURRENT_BASE + n (n = 0..254).
    CT_HARMONIC_CURRENT_BASE = 512,
    CT_HARMONIC_CURRENT_ALL = 767,

    CT_MESSAGE = 0x8000,
    CT_SET_DEVICE_TIME = 0x8001,
    CT_READ_DEVICE_DATA = 0x8002,
};
