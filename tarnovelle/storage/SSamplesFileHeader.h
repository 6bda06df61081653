// The 80-byte header at the start of every samples file (<base>.Sam): the
// measuring point, the channel, the format version and the writing program.
// There is no magic number, checksum or block count: the block headers follow
// directly and the end of the file ends their list.
//
//   offset  size  field
//        0    16  MeasuringPointGUID  in the platform's GUID layout
//       16     4  ChannelID           decides the form of every block header
//       20     1  FormatVersion       0 in memory until the first write, then 1;
//                                     a file with a value above 1 is refused
//       21    40  ProgramName         bounded copy: 40 characters have no terminator
//       61     3  Reserved            zero
//       64    16  VersionMajor, VersionMinor, VersionBuild, VersionRevision
//
// All integers little-endian; the record is written and read as its bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "tarnovelle/support/GUID.h"
#include "tarnovelle/values/SChannelID.h"

#pragma pack(push, 1)
struct SSamplesFileHeader {
    GUID MeasuringPointGUID;
    SChannelID ChannelID;
    uint8_t FormatVersion;
    char ProgramName[40];
    uint8_t Reserved[3];
    uint32_t VersionMajor;
    uint32_t VersionMinor;
    uint32_t VersionBuild;
    uint32_t VersionRevision;

    // All zero, the channel identifier included (value type MVT_UNDEFINED):
    // an object that knows nothing of its channel yet.
    SSamplesFileHeader() { std::memset(static_cast<void*>(this), 0, sizeof(*this)); }
};
#pragma pack(pop)

static_assert(sizeof(SSamplesFileHeader) == 80, "the samples file header is 80 bytes on disk");
static_assert(std::is_trivially_copyable_v<SSamplesFileHeader>, "the header is copied as bytes");
static_assert(offsetof(SSamplesFileHeader, MeasuringPointGUID) == 0);
static_assert(offsetof(SSamplesFileHeader, ChannelID) == 16);
static_assert(offsetof(SSamplesFileHeader, FormatVersion) == 20);
static_assert(offsetof(SSamplesFileHeader, ProgramName) == 21);
static_assert(offsetof(SSamplesFileHeader, Reserved) == 61);
static_assert(offsetof(SSamplesFileHeader, VersionMajor) == 64);
static_assert(offsetof(SSamplesFileHeader, VersionMinor) == 68);
static_assert(offsetof(SSamplesFileHeader, VersionBuild) == 72);
static_assert(offsetof(SSamplesFileHeader, VersionRevision) == 76);
