#include "tarnovelle/values/SEvent.h"

#include <bit>

SEvent SEvent::CreateInvalidEvent() {
    const float marker = std::bit_cast<float>(INVALID_VALUE_BITS);
    return SEvent(CTNUTCTimeStamp::InvalidTS(), marker, marker);
}
