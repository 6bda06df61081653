// A stored binary state: a time stamp followed by an unsigned 8-bit value.
// Arrays of it are the value area of a data file of format FORMAT_BINARY_BYTE,
// so it is packed, 7 bytes, little-endian: seconds since 1970 at offset 0,
// milliseconds at offset 4, the value at offset 6.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/values/CTNUTCTimeStamp.h"
#include "tarnovelle/values/STNBinaryValue.h"

#pragma pack(push, 1)
struct TNVL_EXPORT SBinary_BYTE : public STNBinaryValue<uint8_t> {
    SBinary_BYTE() = default;
    SBinary_BYTE(const CTNUTCTimeStamp& stamp, uint8_t value) : STNBinaryValue<uint8_t>(stamp, value) {}
};
#pragma pack(pop)

static_assert(sizeof(SBinary_BYTE) == 7, "an SBinary_BYTE record is 7 bytes in a data file");
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(offsetof(SBinary_BYTE, m_Value) == 6, "the value follows the 6-byte time stamp");
#pragma GCC diagnostic pop
