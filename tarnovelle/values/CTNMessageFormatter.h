// Renders the positional texts of the string table: "%1" is the first
// argument as a string, "%2!d!" the second through the printf format between
// the exclamation marks ("%3!03d!", "%2!s!", "%1!u!"). An argument may be used
// more than once and in any order.
//
// Escapes: "%%" "%." "%!" "% " give the character, "%n" a line break, "%r" a
// carriage return, "%t" a tab, "%b" a blank, "%0" ends the text. Any other
// "%x", a placeholder beyond the given arguments, and a format that is not a
// single printf conversion (flags, width and precision up to four digits, an
// ignored length modifier, one of d i u x X o c s S) stay in the text as they
// stand: a text that does not fit its arguments shows itself instead of
// failing. A number given for "s" renders in decimal, a text given for a
// number conversion renders as text with the same flags and width.
#pragma once

#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>

#include "tarnovelle/support/TNExport.h"

class TNVL_EXPORT CTNMessageFormatter {
public:
    // One argument: an integer of any width and sign, or a text. A text
    // argument is not copied and must outlive the call (a temporary does).
    class Argument {
    public:
        template <std::integral T>
        Argument(T value)  // NOLINT: implicit on purpose, arguments are written in place
            : m_isText(false), m_isSigned(std::is_signed_v<T>), m_is64(sizeof(T) > 4),
              m_number(static_cast<int64_t>(value)) {}
        Argument(const char* text) : m_isText(true), m_text(text ? text : "") {}  // NOLINT
        Argument(const std::string& text) : m_isText(true), m_text(text) {}      // NOLINT
        Argument(std::string_view text) : m_isText(true), m_text(text) {}        // NOLINT

        bool IsText() const { return m_isText; }
        bool IsSigned() const { return m_isSigned; }
        bool Is64Bit() const { return m_is64; }
        int64_t GetNumber() const { return m_number; }
        std::string_view GetText() const { return m_text; }

    private:
        bool m_isText;
        bool m_isSigned = false;
        bool m_is64 = false;
        int64_t m_number = 0;
        std::string_view m_text;
    };

    static std::string Format(std::string_view text, std::initializer_list<Argument> arguments);
};
