#include "tarnovelle/support/TNApplicationLog.h"

#include <atomic>

namespace {
std::atomic<TNLogErrorFunction> g_logError{nullptr};
}

TNLogErrorFunction TNSetApplicationLog(TNLogErrorFunction logError) { return g_logError.exchange(logError); }

bool TNHasApplicationObject() { return g_logError.load() != nullptr; }

void TNApplicationLogError(const std::string& category, const std::string& text) {
    if (TNLogErrorFunction f = g_logError.load()) f(category, text);
}
