#include "tarnovelle/values/SBinary_Text.h"

#include <algorithm>
#include <cstring>

SBinary_Text::SBinary_Text() {
    std::memset(m_Value, 0, sizeof m_Value);
}

SBinary_Text::SBinary_Text(const CTNUTCTimeStamp& stamp, const std::string& text) : STNValueRecord(stamp) {
    SetValue(text);
}

SBinary_Text::SBinary_Text(const CTNUTCTimeStamp& stamp, const char* text) : STNValueRecord(stamp) {
    SetValue(text);
}

std::string SBinary_Text::GetValue() const {
    // The field need not hold a terminator: stop at the first zero or at its end.
    const void* zero = std::memchr(m_Value, 0, sizeof m_Value);
    const size_t length = zero != nullptr ? static_cast<size_t>(static_cast<const char*>(zero) - m_Value)
                                          : sizeof m_Value;
    return std::string(m_Value, length);
}

void SBinary_Text::SetValue(const std::string& text) {
    CopyText(text.data(), text.size());
}

void SBinary_Text::SetValue(const char* text) {
    CopyText(text != nullptr ? text : "", TEXT_LENGTH);
}

// A string copy bounded at the field's size: the text ends at its first zero
// byte (or after `available` bytes), is cut at 250, and the rest is zeroed.
void SBinary_Text::CopyText(const char* text, size_t available) {
    const size_t bound = std::min(available, TEXT_LENGTH);
    size_t length = 0;
    while (length < bound && text[length] != '\0')
        ++length;
    std::memcpy(m_Value, text, length);
    std::memset(m_Value + length, 0, TEXT_LENGTH - length);
}
