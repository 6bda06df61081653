// Where an archive's status messages go: the receiver of (message, status,
// message value) posts. Post must not block; a null sink means "no window".
#pragma once

#include <cstdint>

#include "tarnovelle/support/TNExport.h"

class TNVL_EXPORT CTNNotifySink {
public:
    virtual ~CTNNotifySink();
    virtual bool Post(uint32_t message, uint32_t wParam, int32_t lParam) = 0;
};
