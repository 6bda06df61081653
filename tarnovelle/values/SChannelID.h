// The 32-bit identifier of a channel of a measuring point. It names what is
// measured (characteristic type, bits 0..15), on which phase (bits 16..23) and
// as which kind of value (measurement value type, bits 24..31). The same
// number names the channel's files and stands in their headers, so the record
// is exactly those four bytes, little-endian, in that field order.
//
// The default identifier is characteristic 0, phase PH_UNDEFINED (255), value
// type 0, i.e. 0x00FF0000: an unset identifier has an undefined phase and is
// never confused with the number 0. Identifiers compare field by field; there
// is deliberately no ordering. Setters store only the bits the field has room
// for (16, 8, 8), exactly as the 32-bit form would.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/values/ECharacteristicType.h"
#include "tarnovelle/values/EMeasurementValueType.h"
#include "tarnovelle/values/EPhase.h"

#pragma pack(push, 1)
struct TNVL_EXPORT SChannelID {
    uint16_t m_CharacteristicType;
    uint8_t m_Phase;
    uint8_t m_MeasurementValueType;

    SChannelID() : m_CharacteristicType(CT_UNDEFINED), m_Phase(PH_UNDEFINED), m_MeasurementValueType(MVT_UNDEFINED) {}

    // Not explicit: the 32-bit number is the identifier (it is what file names
    // and headers hold), so a number may stand wherever an identifier is asked.
    SChannelID(uint32_t value)
        : m_CharacteristicType(static_cast<uint16_t>(value & 0xFFFFu)),
          m_Phase(static_cast<uint8_t>((value >> 16) & 0xFFu)),
          m_MeasurementValueType(static_cast<uint8_t>((value >> 24) & 0xFFu)) {}

    SChannelID(ECharacteristicType characteristic, EPhase phase, EMeasurementValueType valueType)
        : m_CharacteristicType(static_cast<uint16_t>(characteristic)),
          m_Phase(static_cast<uint8_t>(phase)),
          m_MeasurementValueType(static_cast<uint8_t>(valueType)) {}

    uint32_t GetDWORD() const {
        return (static_cast<uint32_t>(m_MeasurementValueType) << 24) + (static_cast<uint32_t>(m_Phase) << 16) +
               static_cast<uint32_t>(m_CharacteristicType);
    }

    ECharacteristicType GetCharacteristicType() const { return static_cast<ECharacteristicType>(m_CharacteristicType); }
    EPhase GetPhase() const { return static_cast<EPhase>(m_Phase); }
    EMeasurementValueType GetMeasurementValueType() const {
        return static_cast<EMeasurementValueType>(m_MeasurementValueType);
    }

    void SetCharacteristicType(ECharacteristicType characteristic) {
        m_CharacteristicType = static_cast<uint16_t>(characteristic);
    }
    void SetPhase(EPhase phase) { m_Phase = static_cast<uint8_t>(phase); }
    void SetMeasurementValueType(EMeasurementValueType valueType) {
        m_MeasurementValueType = static_cast<uint8_t>(valueType);
    }

    bool operator==(const SChannelID& other) const {
        return m_CharacteristicType == other.m_CharacteristicType && m_Phase == other.m_Phase &&
               m_MeasurementValueType == other.m_MeasurementValueType;
    }
    bool operator!=(const SChannelID& other) const { return !(*this == other); }
};
#pragma pack(pop)

static_assert(sizeof(SChannelID) == 4, "a channel identifier is 4 bytes in file headers");
static_assert(offsetof(SChannelID, m_CharacteristicType) == 0, "characteristic type is bits 0..15");
static_assert(offsetof(SChannelID, m_Phase) == 2, "phase is bits 16..23");
static_assert(offsetof(SChannelID, m_MeasurementValueType) == 3, "value type is bits 24..31");
