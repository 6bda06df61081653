// The thread's last-error value: a number the platform layer sets when an
// operating-system call fails and that callers may read afterwards (a failed
// open leaves 110 here when nothing else was recorded).
#pragma once

#include <cstdint>

#include "tarnovelle/support/TNExport.h"

TNVL_EXPORT uint32_t TNGetLastError();
TNVL_EXPORT void TNSetLastError(uint32_t value);
