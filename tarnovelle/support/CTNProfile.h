// A profile (ini) file: sections of "key=value" lines, with the semantics of
// the original platform's profile calls.
//   - Section and key names compare case-insensitively, blanks around them
//     and around values do not count; a value enclosed in one pair of equal
//     quotes (' or ") reads without them.
//   - Reading never creates anything: a missing file, section or key gives
//     the default.
//   - The first write creates the file, and every directory up to it. A write
//     replaces the value of an existing key in place, adds a missing key at
//     the end of its section and a missing section at the end of the file;
//     every other line of the file is kept as it stands. The value is written
//     as given, line breaks included, as the original call did.
//   - An integer is read like the original: leading blanks, an optional sign
//     and decimal digits; a value that does not begin with a number reads as
//     0, an empty value as the default. Blanks inside quotes count.
// Each call reads the whole file under a shared lock, and a write rewrites it
// under an exclusive one, so processes and threads sharing one file do not
// lose entries. A call waits for its lock as long as it takes.
#pragma once

#include <cstdint>
#include <string>

#include "tarnovelle/support/TNExport.h"

class TNVL_EXPORT CTNProfile {
public:
    explicit CTNProfile(std::string path) : m_path(std::move(path)) {}

    const std::string& GetPath() const { return m_path; }

    int32_t GetProfileInt(const std::string& section, const std::string& key, int32_t defaultValue) const;
    // False when the file could not be written.
    bool WriteProfileInt(const std::string& section, const std::string& key, int32_t value) const;
    std::string GetProfileString(const std::string& section, const std::string& key,
                                 const std::string& defaultValue) const;
    bool WriteProfileString(const std::string& section, const std::string& key, const std::string& value) const;

    // ${XDG_CONFIG_HOME:-$HOME/.config}/tarnovelle/tarnovelle.ini; without
    // either variable, "tarnovelle/tarnovelle.ini" below the current directory.
    static std::string GetDefaultPath();
    // The same path with its extension (from the last dot of the file name
    // on) replaced by `extension`; a name without a dot gets it appended.
    static std::string ReplaceExtension(const std::string& path, const std::string& extension);

private:
    std::string m_path;
};
