// How a part-archive folder limits its size: fill up to a remaining free
// space of the drive, or up to a size of its own. Both limits are in MB.
#pragma once

#include <cstdint>

enum TNARCHIVE_MODE : int32_t {
    TNARCHIVE_MODE_REMAINING = 0,
    TNARCHIVE_MODE_MAXIMAL = 1,
};
