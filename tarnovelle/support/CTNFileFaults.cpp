#include "tarnovelle/support/CTNFileFaults.h"

#include <atomic>

namespace {
std::atomic<CTNFileFaults*> g_faults{nullptr};
}

CTNFileFaults::~CTNFileFaults() = default;

CTNFileFaults* TNSetFileFaults(CTNFileFaults* faults) { return g_faults.exchange(faults); }

int TNFileFault(CTNFileFaults::EOperation operation, const char* path) {
    CTNFileFaults* faults = g_faults.load(std::memory_order_acquire);
    if (!faults) return 0;
    return faults->Before(operation, path ? path : "");
}
