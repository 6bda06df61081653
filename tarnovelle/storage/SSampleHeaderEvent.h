// The 12 bytes behind an SSampleHeader in the samples file of an event-like
// channel (MVT_BINARY, MVT_MEAN_EVENT, MVT_EXTREME_EVENT): start and end of
// the block with milliseconds; the end is inclusive.
//
//   offset  size  field
//        0     6  StartTime  (STarnovelleTimeStampInMsec)
//        6     6  EndTime    (STarnovelleTimeStampInMsec)
#pragma once

#include <cstddef>
#include <type_traits>

#include "tarnovelle/values/STarnovelleTimeStampInMsec.h"

#pragma pack(push, 1)
struct SSampleHeaderEvent {
    STarnovelleTimeStampInMsec StartTime;
    STarnovelleTimeStampInMsec EndTime;
};
#pragma pack(pop)

static_assert(sizeof(SSampleHeaderEvent) == 12, "the event form is 12 bytes on disk");
static_assert(std::is_trivially_copyable_v<SSampleHeaderEvent>, "block headers are copied as bytes");
static_assert(offsetof(SSampleHeaderEvent, StartTime) == 0);
static_assert(offsetof(SSampleHeaderEvent, EndTime) == 6);
