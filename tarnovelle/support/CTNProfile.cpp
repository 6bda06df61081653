#include "tarnovelle/support/CTNProfile.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <vector>

namespace {

// One open profile file holding a whole-file lock for its lifetime: shared
// for reading, exclusive for a rewrite. Open-file-description locks also keep
// two threads of one process apart.
class CLockedFile {
public:
    CLockedFile(const std::string& path, bool forWriting) {
        m_fd = ::open(path.c_str(), forWriting ? (O_RDWR | O_CREAT | O_CLOEXEC) : (O_RDONLY | O_CLOEXEC), 0666);
        if (m_fd < 0) return;
        struct flock fl {};
        fl.l_type = forWriting ? F_WRLCK : F_RDLCK;
        fl.l_whence = SEEK_SET;
        while (::fcntl(m_fd, F_OFD_SETLKW, &fl) != 0) {
            if (errno != EINTR) {
                Close();
                return;
            }
        }
    }
    ~CLockedFile() { Close(); }
    CLockedFile(const CLockedFile&) = delete;
    CLockedFile& operator=(const CLockedFile&) = delete;

    bool IsOpen() const { return m_fd >= 0; }

    bool ReadAll(std::string& content) const {
        content.clear();
        char buffer[8192];
        off_t offset = 0;
        for (;;) {
            const ssize_t n = ::pread(m_fd, buffer, sizeof(buffer), offset);
            if (n < 0 && errno == EINTR) continue;
            if (n < 0) return false;
            if (n == 0) return true;
            content.append(buffer, static_cast<size_t>(n));
            offset += n;
        }
    }

    bool ReplaceAll(const std::string& content) const {
        size_t done = 0;
        while (done < content.size()) {
            const ssize_t n = ::pwrite(m_fd, content.data() + done, content.size() - done, static_cast<off_t>(done));
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) return false;
            done += static_cast<size_t>(n);
        }
        return ::ftruncate(m_fd, static_cast<off_t>(content.size())) == 0;
    }

private:
    void Close() {
        if (m_fd >= 0) ::close(m_fd);
        m_fd = -1;
    }
    int m_fd = -1;
};

std::string Trim(const std::string& text) {
    const char* blanks = " \t\r";
    const size_t first = text.find_first_not_of(blanks);
    if (first == std::string::npos) return std::string();
    const size_t last = text.find_last_not_of(blanks);
    return text.substr(first, last - first + 1);
}

bool SameName(const std::string& a, const std::string& b) {
    return a.size() == b.size() && ::strncasecmp(a.c_str(), b.c_str(), a.size()) == 0;
}

struct SLine {
    size_t begin;  // offset of the line in the file
    size_t end;    // offset of its line break (or the end of the file)
};

std::vector<SLine> SplitLines(const std::string& content) {
    std::vector<SLine> lines;
    size_t begin = 0;
    while (begin < content.size()) {
        size_t end = content.find('\n', begin);
        if (end == std::string::npos) end = content.size();
        lines.push_back({begin, end});
        begin = end + 1;
    }
    return lines;
}

// Where a section and a key stand in the file's lines; -1 for not found.
struct SPlace {
    long section = -1;      // the section's header line
    long key = -1;          // the key's line in that section
    long lastInSection = -1; // the last line with content in that section
    std::string value;      // the key's value, trimmed
};

SPlace Find(const std::string& content, const std::vector<SLine>& lines, const std::string& section,
            const std::string& key) {
    SPlace place;
    const std::string wantedSection = Trim(section);
    const std::string wantedKey = Trim(key);
    bool inSection = false;
    for (size_t i = 0; i < lines.size(); ++i) {
        const std::string line = Trim(content.substr(lines[i].begin, lines[i].end - lines[i].begin));
        if (!line.empty() && line[0] == '[') {
            if (place.section >= 0) break;  // only the first section of that name counts
            const size_t close = line.find(']');
            inSection = SameName(Trim(line.substr(1, close == std::string::npos ? std::string::npos : close - 1)),
                                 wantedSection);
            if (inSection) place.section = place.lastInSection = static_cast<long>(i);
            continue;
        }
        if (!inSection || line.empty()) continue;
        place.lastInSection = static_cast<long>(i);
        if (line[0] == ';' || place.key >= 0) continue;
        const size_t equals = line.find('=');
        if (equals == std::string::npos) continue;
        if (SameName(Trim(line.substr(0, equals)), wantedKey)) {
            place.key = static_cast<long>(i);
            place.value = Trim(line.substr(equals + 1));
        }
    }
    return place;
}

std::string Unquote(const std::string& value) {
    if (value.size() >= 2 && (value.front() == '\'' || value.front() == '"') && value.back() == value.front())
        return value.substr(1, value.size() - 2);
    return value;
}

// Makes every directory up to the last separator of `path`.
void CreateParentDirectories(const std::string& path) {
    const size_t last = path.find_last_of('/');
    if (last == std::string::npos || last == 0) return;
    for (size_t pos = path.find('/', 1); pos != std::string::npos && pos <= last; pos = path.find('/', pos + 1))
        ::mkdir(path.substr(0, pos).c_str(), 0777);
}

// Reads a decimal integer as the original profile call did: an optional sign
// and the digits that follow, wrapping in 32 bits; no digits read as 0.
int32_t ParseInt(const std::string& text) {
    size_t i = 0;
    bool negative = false;
    if (i < text.size() && (text[i] == '-' || text[i] == '+')) negative = text[i++] == '-';
    uint32_t value = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i)
        value = value * 10u + static_cast<uint32_t>(text[i] - '0');
    return static_cast<int32_t>(negative ? 0u - value : value);
}

}  // namespace

std::string CTNProfile::GetProfileString(const std::string& section, const std::string& key,
                                         const std::string& defaultValue) const {
    CLockedFile file(m_path, false);
    std::string content;
    if (!file.IsOpen() || !file.ReadAll(content)) return defaultValue;
    const SPlace place = Find(content, SplitLines(content), section, key);
    return place.key >= 0 ? Unquote(place.value) : defaultValue;
}

int32_t CTNProfile::GetProfileInt(const std::string& section, const std::string& key, int32_t defaultValue) const {
    CLockedFile file(m_path, false);
    std::string content;
    if (!file.IsOpen() || !file.ReadAll(content)) return defaultValue;
    const SPlace place = Find(content, SplitLines(content), section, key);
    if (place.key < 0) return defaultValue;
    const std::string value = Unquote(place.value);
    return value.empty() ? defaultValue : ParseInt(value);
}

bool CTNProfile::WriteProfileInt(const std::string& section, const std::string& key, int32_t value) const {
    return WriteProfileString(section, key, std::to_string(value));
}

bool CTNProfile::WriteProfileString(const std::string& section, const std::string& key,
                                    const std::string& value) const {
    CreateParentDirectories(m_path);
    CLockedFile file(m_path, true);
    std::string content;
    if (!file.IsOpen() || !file.ReadAll(content)) return false;

    const std::vector<SLine> lines = SplitLines(content);
    const SPlace place = Find(content, lines, section, key);
    const std::string entry = Trim(key) + "=" + value;
    std::string updated;
    if (place.key >= 0) {
        const SLine& line = lines[static_cast<size_t>(place.key)];
        const bool carriageReturn = line.end > line.begin && content[line.end - 1] == '\r';
        updated = content.substr(0, line.begin) + entry + (carriageReturn ? "\r" : "") + content.substr(line.end);
    } else if (place.section >= 0) {
        const SLine& line = lines[static_cast<size_t>(place.lastInSection)];
        const size_t insertAt = line.end < content.size() ? line.end + 1 : content.size();
        updated = content.substr(0, insertAt);
        if (insertAt == content.size() && !updated.empty() && updated.back() != '\n') updated += '\n';
        updated += entry + "\n" + content.substr(insertAt);
    } else {
        updated = content;
        if (!updated.empty() && updated.back() != '\n') updated += '\n';
        updated += "[" + Trim(section) + "]\n" + entry + "\n";
    }
    return file.ReplaceAll(updated);
}

std::string CTNProfile::GetDefaultPath() {
    const char* xdg = std::getenv("XDG_CONFIG_HOME");
    std::string base;
    if (xdg && *xdg) {
        base = xdg;
    } else if (const char* home = std::getenv("HOME"); home && *home) {
        base = std::string(home) + "/.config";
    } else {
        base = ".";
    }
    return base + "/tarnovelle/tarnovelle.ini";
}

std::string CTNProfile::ReplaceExtension(const std::string& path, const std::string& extension) {
    const size_t slash = path.find_last_of('/');
    const size_t dot = path.find_last_of('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return path + extension;
    return path.substr(0, dot) + extension;
}
