// The status of a file as the file service reports it: times, size,
// attributes and full name. A record counts as known when the first character
// of its full name is not zero.
#pragma once

#include <cstdint>

#pragma pack(push, 8)
struct STNFileStatus {
    int64_t m_ctime = 0;  // creation (birth) time, ns since 1970; the change time where the file system keeps none
    int64_t m_mtime = 0;  // last modification, ns since 1970
    int64_t m_atime = 0;  // last access, ns since 1970
    uint64_t m_size = 0;  // bytes
    uint32_t m_attribute = 0;  // a combination of the attribute bits below
    char m_szFullName[4096] = {};

    enum EAttribute : uint32_t {
        normal = 0x00,
        readOnly = 0x01,
        hidden = 0x02,
        directory = 0x10,
        archive = 0x20,
    };

    bool IsKnown() const { return m_szFullName[0] != '\0'; }
};
#pragma pack(pop)
