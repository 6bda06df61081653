// The clock-and-sleep service. Every "current time" and every wait of the
// library (open retries, lock-file polls, back-pressure) goes through the
// clock installed here, so that tests can install CTNFakeClock and run a
// 300-second wait in microseconds.
#pragma once

#include <cstdint>

#include "tarnovelle/support/TNExport.h"

class TNVL_EXPORT CTNClock {
public:
    virtual ~CTNClock();
    virtual uint64_t NowMilliseconds() = 0;      // UTC, milliseconds since 1970
    virtual void Sleep(uint32_t milliseconds) = 0;
    static CTNClock* Default();                  // the real clock
};

// Installs `clock` for the whole process; not owned. Null restores Default().
TNVL_EXPORT void TNSetClock(CTNClock* clock);
TNVL_EXPORT CTNClock* TNGetClock();
