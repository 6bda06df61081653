#include "tarnovelle/support/TNLastError.h"

namespace {
thread_local uint32_t t_lastError = 0;
}

uint32_t TNGetLastError() { return t_lastError; }
void TNSetLastError(uint32_t value) { t_lastError = value; }
