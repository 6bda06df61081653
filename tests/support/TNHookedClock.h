// The fake clock with a hook run after each recorded sleep: a test uses it to
// let another process or thread act at the moment the library waits.
#pragma once

#include <functional>
#include <utility>

#include "tarnovelle/support/CTNFakeClock.h"

class TNHookedClock : public CTNFakeClock {
public:
    explicit TNHookedClock(std::function<void()> hook) : m_hook(std::move(hook)) {}
    void Sleep(uint32_t milliseconds) override {
        CTNFakeClock::Sleep(milliseconds);
        if (m_hook) m_hook();
    }

private:
    std::function<void()> m_hook;
};
