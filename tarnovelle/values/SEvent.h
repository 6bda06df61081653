// A stored event: a time stamp followed by the value before and the value at
// the event, as 32-bit floats. Arrays of it are the value area of a data file
// of format FORMAT_EVENT, so it is packed, 14 bytes, little-endian:
//   offset 0  seconds since 1970 (4), offset 4 milliseconds (2),
//   offset 6  previous value (float), offset 10 actual value (float).
//
// CreateInvalidEvent marks a missing event: time stamp InvalidTS and both
// values the float with bit pattern 0x7FF00000 (a quiet NaN). That pattern is
// what is written; code recognises the marker by IsInvalidTS of the stamp,
// never by comparing the NaN.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/values/CTNUTCTimeStamp.h"
#include "tarnovelle/values/STNValueRecord.h"

#pragma pack(push, 1)
struct TNVL_EXPORT SEvent : public STNValueRecord {
    float m_PreviousValue;
    float m_ActualValue;

    // The bits of the invalid value marker.
    static constexpr uint32_t INVALID_VALUE_BITS = 0x7FF00000u;

    SEvent() : m_PreviousValue(0.0f), m_ActualValue(0.0f) {}
    SEvent(const CTNUTCTimeStamp& stamp, float previousValue, float actualValue)
        : STNValueRecord(stamp), m_PreviousValue(previousValue), m_ActualValue(actualValue) {}
    SEvent(const SEvent&) = default;
    SEvent& operator=(const SEvent&) = default;

    float GetPreviousValue() const { return m_PreviousValue; }
    float GetActualValue() const { return m_ActualValue; }
    void SetPreviousValue(float value) { m_PreviousValue = value; }
    void SetActualValue(float value) { m_ActualValue = value; }

    static SEvent CreateInvalidEvent();
};
#pragma pack(pop)

static_assert(sizeof(SEvent) == 14, "an event record is 14 bytes in a data file");
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(offsetof(SEvent, m_PreviousValue) == 6, "the previous value follows the 6-byte time stamp");
static_assert(offsetof(SEvent, m_ActualValue) == 10, "the actual value follows the previous value");
#pragma GCC diagnostic pop
