// A globally unique identifier, 16 bytes, laid out little-endian exactly as on
// the platform the archives were first written on. It names measuring points
// and appears in the headers of every channel file.
#pragma once

#include <cstdint>
#include <cstring>

#pragma pack(push, 1)
struct GUID {
    uint32_t Data1;
    uint16_t Data2;
    uint16_t Data3;
    uint8_t Data4[8];
};
#pragma pack(pop)

static_assert(sizeof(GUID) == 16, "GUID is 16 bytes on disk");

inline bool operator==(const GUID& a, const GUID& b) { return std::memcmp(&a, &b, sizeof(GUID)) == 0; }
inline bool operator!=(const GUID& a, const GUID& b) { return !(a == b); }
