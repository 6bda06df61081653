// The wiring of the measured network, kept as a parameter of a measuring
// point. The number 2 is deliberately not defined: it has only the fallback
// text, like every other number outside this list.
#pragma once

#include <cstdint>

enum ENetworkType : int32_t {
    NET_UNKNOWN = 0,
    NET_SINGLE_PHASE = 1,
    NET_THREE_WIRE = 3,
    NET_FOUR_WIRE = 4,
};
