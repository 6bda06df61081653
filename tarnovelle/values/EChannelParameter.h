// The number of a channel parameter. It is a plain integer with no fixed list
// of values: its only use is as a number ("%d") in the name under which a
// parameter is stored in a measuring point's parameter file.
#pragma once

#include <cstdint>

typedef int32_t EChannelParameter;
