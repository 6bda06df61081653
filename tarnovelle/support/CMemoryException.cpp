#include "tarnovelle/support/CMemoryException.h"

bool CMemoryException::GetErrorMessage(char* buffer, unsigned max) const {
    return CopyMessage("Out of memory.", buffer, max);
}

const char* CMemoryException::GetRuntimeClassName() const { return "CMemoryException"; }
