#include "tarnovelle/support/TNProcess.h"

#include <unistd.h>

uint32_t TNGetCurrentProcessId() { return static_cast<uint32_t>(::getpid()); }
