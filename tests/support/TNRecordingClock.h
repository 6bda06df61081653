// The real clock, with every sleep recorded: for tests that wait on another
// process in real time and still want to know how often they slept.
#pragma once

#include <cstdint>
#include <vector>

#include "tarnovelle/support/CTNClock.h"

class TNRecordingClock : public CTNClock {
public:
    uint64_t NowMilliseconds() override { return CTNClock::Default()->NowMilliseconds(); }
    void Sleep(uint32_t ms) override {
        sleeps.push_back(ms);
        CTNClock::Default()->Sleep(ms);
    }
    std::vector<uint32_t> sleeps;
};
