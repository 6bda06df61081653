// A stored binary state: a time stamp followed by an unsigned 16-bit value.
// Arrays of it are the value area of a data file of format FORMAT_BINARY_WORD,
// so it is packed, 8 bytes, little-endian: seconds since 1970 at offset 0,
// milliseconds at offset 4, the value at offset 6.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/values/CTNUTCTimeStamp.h"
#include "tarnovelle/values/STNBinaryValue.h"

#pragma pack(push, 1)
struct TNVL_EXPORT SBinary_WORD : public STNBinaryValue<uint16_t> {
    SBinary_WORD() = default;
    SBinary_WORD(const CTNUTCTimeStamp& stamp, uint16_t value) : STNBinaryValue<uint16_t>(stamp, value) {}
};
#pragma pack(pop)

static_assert(sizeof(SBinary_WORD) == 8, "an SBinary_WORD record is 8 bytes in a data file");
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(offsetof(SBinary_WORD, m_Value) == 6, "the value follows the 6-byte time stamp");
#pragma GCC diagnostic pop
