#include "tarnovelle/support/TNGuid.h"

#include <sys/random.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

GUID CreateGuid() {
    GUID guid{};
    uint8_t bytes[sizeof(GUID)];
    size_t got = 0;
    while (got < sizeof(bytes)) {
        const ssize_t n = ::getrandom(bytes + got, sizeof(bytes) - got, 0);
        if (n < 0) {
            if (errno == EINTR) continue;
            return GUID{};
        }
        got += static_cast<size_t>(n);
    }
    std::memcpy(&guid, bytes, sizeof(guid));
    // Version 4 (random) and the variant of RFC 4122.
    guid.Data3 = static_cast<uint16_t>((guid.Data3 & 0x0FFFu) | 0x4000u);
    guid.Data4[0] = static_cast<uint8_t>((guid.Data4[0] & 0x3Fu) | 0x80u);
    return guid;
}

std::string GuidToString(const GUID& guid) {
    char text[40];
    std::snprintf(text, sizeof(text), "%08lX-%04X-%04x-%02X%02X-%02X%02X%02X%02X%02X%02X",
                  static_cast<unsigned long>(guid.Data1), static_cast<unsigned>(guid.Data2),
                  static_cast<unsigned>(guid.Data3), guid.Data4[0], guid.Data4[1], guid.Data4[2],
                  guid.Data4[3], guid.Data4[4], guid.Data4[5], guid.Data4[6], guid.Data4[7]);
    return text;
}

namespace {

// Hexadecimal value of text[pos, pos+len): as much as a conversion can take,
// 0 for nothing, empty beyond the end of the text.
unsigned long HexAt(const std::string& text, size_t pos, size_t len) {
    if (pos >= text.size()) return 0;
    const std::string part = text.substr(pos, len);
    return std::strtoul(part.c_str(), nullptr, 16);
}

}  // namespace

GUID StringToGuid(const std::string& text) {
    GUID guid{};
    for (size_t dash : {8u, 13u, 18u, 23u}) {
        if (dash >= text.size() || text[dash] != '-') return guid;
    }
    const uint32_t upper = static_cast<uint32_t>(HexAt(text, 0, 4));
    const uint32_t lower = static_cast<uint32_t>(HexAt(text, 4, 4));
    guid.Data1 = (upper << 16) | lower;
    guid.Data2 = static_cast<uint16_t>(HexAt(text, 9, 4));
    guid.Data3 = static_cast<uint16_t>(HexAt(text, 14, 4));
    static constexpr size_t bytePositions[8] = {19, 21, 24, 26, 28, 30, 32, 34};
    for (size_t i = 0; i < 8; ++i) guid.Data4[i] = static_cast<uint8_t>(HexAt(text, bytePositions[i], 2));
    return guid;
}
