// The identity of the running process.
#pragma once

#include <cstdint>

#include "tarnovelle/support/TNExport.h"

TNVL_EXPORT uint32_t TNGetCurrentProcessId();
