#include "tarnovelle/support/TNTrace.h"

#include <atomic>
#include <cstdio>
#include <string>

namespace {
std::atomic<TNTraceSink> g_sink{nullptr};
}

TNTraceSink TNSetTraceSink(TNTraceSink sink) { return g_sink.exchange(sink); }

#ifdef NDEBUG

void TNTrace(const char*) {}
void TNTraceText(const char*, const char*) {}
bool TNTraceIsActive() { return false; }

#else

void TNTrace(const char* text) {
    TNTraceSink sink = g_sink.load();
    if (sink && text) sink(text);
}

void TNTraceText(const char* format, const char* argument) {
    TNTraceSink sink = g_sink.load();
    if (!sink || !format) return;
    try {
        const char* arg = argument ? argument : "";
        const int n = std::snprintf(nullptr, 0, format, arg);
        if (n < 0) return;
        std::string text(static_cast<size_t>(n), '\0');
        std::snprintf(text.data(), text.size() + 1, format, arg);
        sink(text.c_str());
    } catch (...) {
        // A trace that cannot be formatted is simply not written.
    }
}

bool TNTraceIsActive() { return true; }

#endif
