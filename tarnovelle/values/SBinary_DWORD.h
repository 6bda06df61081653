// A stored binary state: a time stamp followed by an unsigned 32-bit value.
// Arrays of it are the value area of a data file of format FORMAT_BINARY_DWORD,
// so it is packed, 10 bytes, little-endian: seconds since 1970 at offset 0,
// milliseconds at offset 4, the value at offset 6.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/values/CTNUTCTimeStamp.h"
#include "tarnovelle/values/STNBinaryValue.h"

#pragma pack(push, 1)
struct TNVL_EXPORT SBinary_DWORD : public STNBinaryValue<uint32_t> {
    SBinary_DWORD() = default;
    SBinary_DWORD(const CTNUTCTimeStamp& stamp, uint32_t value) : STNBinaryValue<uint32_t>(stamp, value) {}
};
#pragma pack(pop)

static_assert(sizeof(SBinary_DWORD) == 10, "an SBinary_DWORD record is 10 bytes in a data file");
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(offsetof(SBinary_DWORD, m_Value) == 6, "the value follows the 6-byte time stamp");
#pragma GCC diagnostic pop
