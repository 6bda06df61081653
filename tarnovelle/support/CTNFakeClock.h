// A clock for tests: time stands still until someone sleeps, and a sleep
// advances it at once by exactly the asked length. Every sleep is recorded so
// a test can check the lengths of a retry loop. Thread-safe.
#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

#include "tarnovelle/support/CTNClock.h"

class TNVL_EXPORT CTNFakeClock : public CTNClock {
public:
    explicit CTNFakeClock(uint64_t startMilliseconds = 1700000000000ull);

    uint64_t NowMilliseconds() override;
    void Sleep(uint32_t milliseconds) override;

    void Advance(uint64_t milliseconds);
    void SetNow(uint64_t milliseconds);
    std::vector<uint32_t> GetSleeps() const;  // every sleep so far, in order
    void ClearSleeps();

private:
    mutable std::mutex m_mutex;
    uint64_t m_now;
    std::vector<uint32_t> m_sleeps;
};

// Installs a clock for the lifetime of a scope and restores the previous one.
class TNVL_EXPORT CTNScopedClock {
public:
    explicit CTNScopedClock(CTNClock* clock);
    ~CTNScopedClock();
    CTNScopedClock(const CTNScopedClock&) = delete;
    CTNScopedClock& operator=(const CTNScopedClock&) = delete;

private:
    CTNClock* m_previous;
};
