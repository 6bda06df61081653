// How a channel's values were acquired: bits 24..31 of a channel identifier.
// It also decides whether a block that starts exactly at the end of a read
// range still belongs to it (mean-like types end their range before it).
#pragma once

#include <cstdint>

enum EMeasurementValueType : int32_t {
    MVT_UNDEFINED = 0,
    MVT_BINARY = 1,
    MVT_ANALOG = 2,
    MVT_MEAN = 3,
    MVT_MINIMUM = 4,
    MVT_MAXIMUM = 5,
    MVT_MEAN_EVENT = 6,
    MVT_INTERVAL = 7,
    MVT_EXTREME_EVENT = 8,
};
