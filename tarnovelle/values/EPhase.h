// The phase (conductor or combination of conductors) a channel measures: bits
// 16..23 of a channel identifier. 255 is "undefined", the phase of a default
// channel identifier. The enum is 32 bits wide so that a value outside the
// table (which has only a fallback text) survives unchanged until it is stored.
#pragma once

#include <cstdint>

enum EPhase : int32_t {
    PH_NONE = 0,
    PH_L1N = 1,
    PH_L2N = 2,
    PH_L3N = 3,
    PH_SUM = 4,
    PH_L1L2 = 5,
    PH_L2L3 = 6,
    PH_L3L1 = 7,
    PH_N = 8,
    PH_L1 = 9,
    PH_L2 = 10,
    PH_L3 = 11,
    PH_LN = 12,
    PH_L = 13,
    PH_UNDEFINED = 255,
};
