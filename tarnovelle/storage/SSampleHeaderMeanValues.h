// The 16 bytes behind an SSampleHeader in the samples file of a mean-value
// channel (MVT_MEAN, MVT_MINIMUM, MVT_MAXIMUM, MVT_INTERVAL). Times are whole
// seconds since 1970 (UTC); the end is exclusive. Offset and factor turn the
// 16-bit digits of a FORMAT_DIGIT block into values; float blocks hold 0.
//
//   offset  size  field
//        0     4  StartTime
//        4     4  EndTime
//        8     4  ValueOffset  (32-bit float)
//       12     4  ValueFactor  (32-bit float)
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#pragma pack(push, 1)
struct SSampleHeaderMeanValues {
    uint32_t StartTime;
    uint32_t EndTime;
    float ValueOffset;
    float ValueFactor;
};
#pragma pack(pop)

static_assert(sizeof(float) == 4, "offset and factor are 32-bit floats on disk");
static_assert(sizeof(SSampleHeaderMeanValues) == 16, "the mean form is 16 bytes on disk");
static_assert(std::is_trivially_copyable_v<SSampleHeaderMeanValues>, "block headers are copied as bytes");
static_assert(offsetof(SSampleHeaderMeanValues, StartTime) == 0);
static_assert(offsetof(SSampleHeaderMeanValues, EndTime) == 4);
static_assert(offsetof(SSampleHeaderMeanValues, ValueOffset) == 8);
static_assert(offsetof(SSampleHeaderMeanValues, ValueFactor) == 12);
