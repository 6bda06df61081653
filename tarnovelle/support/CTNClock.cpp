#include "tarnovelle/support/CTNClock.h"

#include <time.h>

#include <atomic>
#include <cerrno>

namespace {

class CTNRealClock final : public CTNClock {
public:
    uint64_t NowMilliseconds() override {
        timespec ts{};
        clock_gettime(CLOCK_REALTIME, &ts);
        return static_cast<uint64_t>(ts.tv_sec) * 1000u + static_cast<uint64_t>(ts.tv_nsec) / 1000000u;
    }
    void Sleep(uint32_t milliseconds) override {
        timespec req{static_cast<time_t>(milliseconds / 1000), static_cast<long>(milliseconds % 1000) * 1000000L};
        while (nanosleep(&req, &req) != 0 && errno == EINTR) {
        }
    }
};

std::atomic<CTNClock*> g_clock{nullptr};

}  // namespace

CTNClock::~CTNClock() = default;

CTNClock* CTNClock::Default() {
    static CTNRealClock real;
    return &real;
}

void TNSetClock(CTNClock* clock) { g_clock.store(clock, std::memory_order_release); }

CTNClock* TNGetClock() {
    CTNClock* c = g_clock.load(std::memory_order_acquire);
    return c ? c : CTNClock::Default();
}
