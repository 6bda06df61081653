// The 9 bytes every block header of a samples file begins with: the block's
// element format, where its first value lies in the data file and how many
// values it has. The channel's value type decides what follows it
// (SSampleHeaderMeanValues, SSampleHeaderEvent or nothing).
//
//   offset  size  field
//        0     1  FormatId      EFormatId of the block's values
//        1     4  DataPosition  byte position of the first value in the data file
//        5     4  ElementCount  number of values
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "tarnovelle/values/EFormatId.h"

#pragma pack(push, 1)
struct SSampleHeader {
    uint8_t FormatId;
    uint32_t DataPosition;
    uint32_t ElementCount;

    EFormatId GetFormatId() const { return static_cast<EFormatId>(FormatId); }
    uint32_t GetDataPosition() const { return DataPosition; }
    uint32_t GetElementCount() const { return ElementCount; }
    void SetElementCount(uint32_t count) { ElementCount = count; }
};
#pragma pack(pop)

static_assert(sizeof(SSampleHeader) == 9, "a block header starts with 9 bytes on disk");
static_assert(std::is_trivially_copyable_v<SSampleHeader>, "block headers are copied as bytes");
static_assert(offsetof(SSampleHeader, FormatId) == 0);
static_assert(offsetof(SSampleHeader, DataPosition) == 1);
static_assert(offsetof(SSampleHeader, ElementCount) == 5);
