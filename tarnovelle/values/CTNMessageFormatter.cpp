#include "tarnovelle/values/CTNMessageFormatter.h"

#include <cstdio>
#include <cstring>

namespace {

constexpr size_t kMaxDigits = 4;  // widths and precisions up to 9999

struct SConversion {
    std::string flags;      // "-+ #0" in any mix
    std::string width;      // digits
    std::string precision;  // digits, without the dot; hasPrecision says it was there
    bool hasPrecision = false;
    char conversion = 's';
};

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Reads digits into `out`, at most kMaxDigits of them.
bool ReadDigits(std::string_view conversionText, size_t& at, std::string& out) {
    while (at < conversionText.size() && IsDigit(conversionText[at])) out += conversionText[at++];
    return out.size() <= kMaxDigits;
}

bool ParseConversion(std::string_view conversionText, SConversion& out) {
    size_t at = 0;
    while (at < conversionText.size() && std::strchr("-+ #0", conversionText[at]) != nullptr && conversionText[at] != '\0') out.flags += conversionText[at++];
    if (!ReadDigits(conversionText, at, out.width)) return false;
    if (at < conversionText.size() && conversionText[at] == '.') {
        out.hasPrecision = true;
        ++at;
        if (!ReadDigits(conversionText, at, out.precision)) return false;
    }
    // Length modifiers carry no meaning here: each argument knows its width.
    if (conversionText.substr(at, 3) == "I64" || conversionText.substr(at, 3) == "I32") {
        at += 3;
    } else {
        while (at < conversionText.size() && (conversionText[at] == 'h' || conversionText[at] == 'l' || conversionText[at] == 'w')) ++at;
    }
    if (at + 1 != conversionText.size() || std::strchr("diuxXocsS", conversionText[at]) == nullptr || conversionText[at] == '\0') return false;
    out.conversion = conversionText[at] == 'S' ? 's' : conversionText[at];
    return true;
}

std::string PrintfPrefix(const SConversion& c) {
    std::string format = "%" + c.flags + c.width;
    if (c.hasPrecision) format += "." + c.precision;
    return format;
}

template <typename T>
void AppendPrintf(std::string& out, const std::string& format, T value) {
    const int length = std::snprintf(nullptr, 0, format.c_str(), value);
    if (length <= 0) return;
    const size_t start = out.size();
    out.resize(start + static_cast<size_t>(length) + 1);
    std::snprintf(out.data() + start, static_cast<size_t>(length) + 1, format.c_str(), value);
    out.resize(start + static_cast<size_t>(length));
}



void RenderNumber(std::string& out, const SConversion& c, bool isSigned, bool is64, int64_t number) {
    const std::string prefix = PrintfPrefix(c);
    char conversion = c.conversion;
    if (conversion == 's') conversion = isSigned ? 'd' : 'u';
    if (conversion == 'c') {
        AppendPrintf(out, prefix + "c", static_cast<int>(static_cast<unsigned char>(number)));
        return;
    }
    const bool asSigned = conversion == 'd' || conversion == 'i';
    if (is64) {
        if (asSigned)
            AppendPrintf(out, prefix + "ll" + conversion, static_cast<long long>(number));
        else
            AppendPrintf(out, prefix + "ll" + conversion, static_cast<unsigned long long>(number));
    } else {
        // 32-bit arguments are read as 32 bits, as the conversion asks.
        if (asSigned)
            AppendPrintf(out, prefix + conversion, static_cast<int>(static_cast<int32_t>(number)));
        else
            AppendPrintf(out, prefix + conversion, static_cast<unsigned>(static_cast<uint32_t>(number)));
    }
}

void RenderText(std::string& out, const SConversion& c, std::string_view text) {
    std::string format = PrintfPrefix(c) + "s";
    // The text is not zero-terminated in general: print from a copy.
    const std::string copy(text);
    AppendPrintf(out, format, copy.c_str());
}

void Render(std::string& out, const SConversion& c, const CTNMessageFormatter::Argument& a) {
    if (a.IsText())
        RenderText(out, c, a.GetText());
    else
        RenderNumber(out, c, a.IsSigned(), a.Is64Bit(), a.GetNumber());
}

}  // namespace

std::string CTNMessageFormatter::Format(std::string_view text, std::initializer_list<Argument> arguments) {
    std::string out;
    out.reserve(text.size() + 16 * arguments.size());
    size_t at = 0;
    while (at < text.size()) {
        const size_t percent = text.find('%', at);
        if (percent == std::string_view::npos) {
            out.append(text.substr(at));
            break;
        }
        out.append(text.substr(at, percent - at));
        at = percent + 1;
        if (at >= text.size()) {
            out += '%';
            break;
        }
        const char next = text[at];
        if (next == '0') break;  // "%0": the text ends here
        if (!IsDigit(next)) {
            switch (next) {
                case '%': case '.': case '!': case ' ': out += next; break;
                case 'n': out += '\n'; break;
                case 'r': out += '\r'; break;
                case 't': out += '\t'; break;
                case 'b': out += ' '; break;
                default: out += '%'; out += next; break;
            }
            ++at;
            continue;
        }
        // "%N" with N from 1 to 99, then perhaps "!format!".
        size_t end = at;
        unsigned number = 0;
        while (end < text.size() && IsDigit(text[end]) && end - at < 2) number = number * 10 + (text[end++] - '0');
        SConversion conversion;
        bool wellFormed = true;
        if (end < text.size() && text[end] == '!') {
            const size_t close = text.find('!', end + 1);
            if (close == std::string_view::npos) {
                wellFormed = false;
            } else {
                wellFormed = ParseConversion(text.substr(end + 1, close - end - 1), conversion);
                end = close + 1;
            }
        }
        if (!wellFormed || number > arguments.size()) {
            out.append(text.substr(percent, end - percent));  // shown as it stands
        } else {
            Render(out, conversion, *(arguments.begin() + (number - 1)));
        }
        at = end;
    }
    return out;
}
