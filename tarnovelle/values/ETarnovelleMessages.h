// The status messages an archive posts, together with a result code, to the
// notification sink of the process that holds its write lock.
#pragma once

#include <cstdint>

enum ETarnovelleMessages : int32_t {
    TNMSG_NONE = 0,
    TNMSG_ARCHIVING_STOPPED = 1,
};
