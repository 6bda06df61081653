// The identity of the running process.
#pragma once

#include <cstdint>

#include "tarnovelle/support/TNExport.h"

TNVL_EXPORT uint32_t TNGetCurrentProcessId();
// Asks for a priority above normal for the calling thread; where the system
// doesn't allow it (no privilege), nothing happens.
TNVL_EXPORT void TNRaiseCurrentThreadPriority();
