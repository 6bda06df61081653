// What std::bad_alloc becomes when it reaches a boundary function.
#pragma once

#include "tarnovelle/support/CException.h"

class TNVL_EXPORT CMemoryException : public CException {
public:
    bool GetErrorMessage(char* buffer, unsigned max) const override;
    const char* GetRuntimeClassName() const override;
};
