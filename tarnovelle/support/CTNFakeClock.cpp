#include "tarnovelle/support/CTNFakeClock.h"

CTNFakeClock::CTNFakeClock(uint64_t startMilliseconds) : m_now(startMilliseconds) {}

uint64_t CTNFakeClock::NowMilliseconds() {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_now;
}

void CTNFakeClock::Sleep(uint32_t milliseconds) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_now += milliseconds;
    m_sleeps.push_back(milliseconds);
}

void CTNFakeClock::Advance(uint64_t milliseconds) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_now += milliseconds;
}

void CTNFakeClock::SetNow(uint64_t milliseconds) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_now = milliseconds;
}

std::vector<uint32_t> CTNFakeClock::GetSleeps() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_sleeps;
}

void CTNFakeClock::ClearSleeps() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_sleeps.clear();
}

CTNScopedClock::CTNScopedClock(CTNClock* clock) : m_previous(TNGetClock()) { TNSetClock(clock); }

CTNScopedClock::~CTNScopedClock() {
    TNSetClock(m_previous == CTNClock::Default() ? nullptr : m_previous);
}
