// The 20 bytes at the start of every data file (<base>.Dat): the measuring
// point and the channel the values belong to, little-endian, packed. The
// header is written when the file is made and never read back; values follow
// directly behind it, so the first block of values lies at offset 20.
#pragma once

#include <cstddef>

#include "tarnovelle/support/GUID.h"
#include "tarnovelle/values/SChannelID.h"

#pragma pack(push, 1)
struct SDataFileHeader {
    GUID MeasuringPointGUID{};  // same layout as in the samples file header
    SChannelID ChannelID;       // characteristic 0, phase undefined, value type 0 until set
};
#pragma pack(pop)

static_assert(sizeof(SDataFileHeader) == 20, "the data file header is 20 bytes");
static_assert(offsetof(SDataFileHeader, MeasuringPointGUID) == 0, "the GUID opens the header");
static_assert(offsetof(SDataFileHeader, ChannelID) == 16, "the channel follows the GUID");
