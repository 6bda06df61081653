#include "tarnovelle/support/CException.h"

#include <algorithm>
#include <cstring>

CException::~CException() = default;

bool CException::GetErrorMessage(char* buffer, unsigned max) const {
    if (buffer && max > 0) buffer[0] = '\0';
    return false;
}

const char* CException::GetRuntimeClassName() const { return "CException"; }

const char* CException::what() const noexcept { return GetRuntimeClassName(); }

bool CException::CopyMessage(const char* text, char* buffer, unsigned max) {
    if (!buffer || max == 0) return false;
    const size_t n = std::min<size_t>(std::strlen(text), max - 1);
    std::memcpy(buffer, text, n);
    buffer[n] = '\0';
    return true;
}
