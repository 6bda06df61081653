// A planted fault for the layer check's own test: only the platform layer calls the system.
#pragma once
#include <unistd.h>
