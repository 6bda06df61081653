// The places at which the help can be opened, and their context numbers:
// the archive configuration, the same form read-only for statistics, and the
// status-message form. The data management dialog has its own context,
// TNHELP_CONTEXT_MANAGE_DATA, which it opens directly.
#pragma once

#include <cstdint>

enum ETarnovelleHelpID {
    TNHELP_ARCHIVE_CONFIGURATION = 0,
    TNHELP_ARCHIVE_STATISTICS = 1,
    TNHELP_ARCHIVE_MESSAGES = 2,
};

constexpr uint32_t TNHELP_CONTEXT_ARCHIVE_CONFIGURATION = 137077;  // 0x21775
constexpr uint32_t TNHELP_CONTEXT_ARCHIVE_STATISTICS = 137078;     // 0x21776
constexpr uint32_t TNHELP_CONTEXT_ARCHIVE_MESSAGES = 137079;       // 0x21777
constexpr uint32_t TNHELP_CONTEXT_MANAGE_DATA = 137072;            // 0x21770
