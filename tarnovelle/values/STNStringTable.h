// One language's string table, compiled into the library: every text the
// system shows, by its 16-bit id, sorted by id. Two conventions are mixed on
// purpose and each text keeps its own: printf-style ("%s", "%02d") and
// positional ("%1!d!", "%2", rendered by TNFormatMessage). A text's caller
// knows which one it has.
//
// The German table is the library's own vocabulary and stands as it is,
// misspellings included; the English one has the same ids and placeholders.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tarnovelle/support/TNExport.h"

struct STNStringTableEntry {
    uint16_t id;
    const char* text;  // UTF-8
};

struct TNVL_EXPORT STNStringTable {
    const char* language;  // "de", "en"
    const STNStringTableEntry* entries;
    size_t count;

    // The text of `id`, or null when the table has none.
    const char* Find(uint16_t id) const;

    // Find is a binary search: every table is checked for this at compile time.
    static constexpr bool IsSortedById(const STNStringTableEntry* entries, size_t count) {
        for (size_t i = 1; i < count; ++i)
            if (entries[i - 1].id >= entries[i].id) return false;
        return true;
    }

    static const STNStringTable& German();
    static const STNStringTable& English();
};
