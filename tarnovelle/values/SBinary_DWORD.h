// A stored binary state: a time stamp followed by an unsigned 32-bit value.
// Arrays of it are the value area of a data file of format FORMAT_BINARY_DWORD,
// so it is packed, 10 bytes, little-endian: seconds since 1970 at offset 0,
// milliseconds at offset 4, the value at offset 6.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/values/CTNUTCTimeStamp.h"
#include "tarnovelle/values/STarnovelleTimeStampInMsec.h"

#pragma pack(push, 1)
struct TNVL_EXPORT SBinary_DWORD : public STarnovelleTimeStampInMsec {
    uint32_t m_Value;

    SBinary_DWORD() : STarnovelleTimeStampInMsec(0, 0), m_Value(0) {}
    SBinary_DWORD(const CTNUTCTimeStamp& stamp, uint32_t value) : STarnovelleTimeStampInMsec(stamp), m_Value(value) {}
    SBinary_DWORD(const SBinary_DWORD&) = default;
    SBinary_DWORD& operator=(const SBinary_DWORD&) = default;

    // Clamped into the stamp's range (seconds from 0x80000000 on give MaxTS).
    CTNUTCTimeStamp GetTimeStamp() const { return GetUTCTimeStamp(); }
    uint32_t GetTime() const { return dwTime; }
    uint16_t GetMilliseconds() const { return wMilliseconds; }
    void SetTimeStamp(const CTNUTCTimeStamp& stamp) {
        dwTime = stamp.GetSecondsSince1970();
        wMilliseconds = stamp.GetMilliseconds();
    }

    uint32_t GetValue() const { return m_Value; }
    void SetValue(uint32_t value) { m_Value = value; }
};
#pragma pack(pop)

static_assert(sizeof(SBinary_DWORD) == 10, "an SBinary_DWORD record is 10 bytes in a data file");
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(offsetof(SBinary_DWORD, m_Value) == 6, "the value follows the 6-byte time stamp");
#pragma GCC diagnostic pop
