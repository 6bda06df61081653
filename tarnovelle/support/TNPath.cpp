#include "tarnovelle/support/TNPath.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "tarnovelle/support/CTNFile.h"

namespace {

char FoldCase(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

enum class EEntryKind { file, directory, link };

struct SEntry {
    std::string name;
    EEntryKind kind;
};

std::string Join(const std::string& directory, const std::string& name) {
    if (!directory.empty() && directory.back() == '/') return directory + name;
    return directory + "/" + name;
}

// Kind of an entry without following a symbolic link.
bool KindOf(const std::string& path, unsigned char dtype, EEntryKind& kind) {
    switch (dtype) {
    case DT_DIR: kind = EEntryKind::directory; return true;
    case DT_LNK: kind = EEntryKind::link; return true;
    case DT_UNKNOWN: break;
    default: kind = EEntryKind::file; return true;
    }
    struct stat st {};
    if (::lstat(path.c_str(), &st) != 0) return false;
    kind = S_ISDIR(st.st_mode) ? EEntryKind::directory : S_ISLNK(st.st_mode) ? EEntryKind::link : EEntryKind::file;
    return true;
}

// Reads the entries of `directory` except "." and "..", those whose names
// match `mask` only. `opened` tells whether the directory could be opened at
// all; the result is false when it couldn't or when reading it failed.
bool ReadEntries(const std::string& directory, const std::string& mask, std::vector<SEntry>& entries,
                 bool& opened) {
    DIR* dir = ::opendir(directory.c_str());
    opened = dir != nullptr;
    if (!dir) return false;
    bool ok = true;
    for (;;) {
        errno = 0;
        const dirent* ent = ::readdir(dir);
        if (!ent) {
            if (errno != 0) ok = false;
            break;
        }
        const char* name = ent->d_name;
        if (std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0) continue;
        if (!TNMatchFileMask(name, mask)) continue;
        EEntryKind kind;
        if (!KindOf(Join(directory, name), ent->d_type, kind)) continue;  // vanished meanwhile
        entries.push_back(SEntry{name, kind});
    }
    ::closedir(dir);
    return ok;
}

// A symbolic link counts as what it points to when listing.
bool IsDirectoryForListing(const std::string& path, EEntryKind kind) {
    if (kind != EEntryKind::link) return kind == EEntryKind::directory;
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool IsReadOnly(const std::string& path) {
    struct stat st {};
    if (::lstat(path.c_str(), &st) != 0) return false;
    if (S_ISLNK(st.st_mode)) return false;
    return (st.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0;
}

bool RemoveFileEntry(const std::string& path) {
    const int err = CTNFile::TryRemove(path.c_str());
    return err == 0 || err == ENOENT;
}

// Removes the entries of `directory`; plain files only when `withFiles`.
bool DeleteEntries(const std::string& directory, bool withFiles) try {
    std::vector<SEntry> entries;
    bool opened = false;
    bool result = ReadEntries(directory, "*.*", entries, opened);
    if (!opened) return true;  // nothing found
    for (const SEntry& entry : entries) {
        const std::string path = Join(directory, entry.name);
        if (entry.kind != EEntryKind::directory && !withFiles) continue;
        if (IsReadOnly(path)) {
            result = false;
            continue;
        }
        const bool removed =
            entry.kind == EEntryKind::directory ? DeleteDirectory(path) : RemoveFileEntry(path);
        if (!removed) result = false;
    }
    return result;
} catch (...) {
    return false;
}

int32_t ListEntries(const std::string& directory, std::vector<std::string>& list, const std::string& mask,
                    bool directories, bool recursive) try {
    std::vector<SEntry> entries;
    bool opened = false;
    int32_t result = ReadEntries(directory, mask, entries, opened) ? 0 : -1;
    for (const SEntry& entry : entries) {
        std::string path = Join(directory, entry.name);
        const bool isDirectory = IsDirectoryForListing(path, entry.kind);
        if (isDirectory && recursive && entry.kind == EEntryKind::directory) {
            if (ListEntries(path, list, mask, directories, true) != 0) result = -1;
        }
        if (isDirectory == directories) list.push_back(std::move(path));
    }
    return result;
} catch (...) {
    return -1;
}

}  // namespace

bool TNMatchFileMask(const std::string& name, const std::string& mask) {
    if (mask == "*.*" || mask == "*") return true;
    // Greedy match with one back-tracking point: the last "*" seen.
    size_t n = 0, m = 0, starMask = std::string::npos, starName = 0;
    while (n < name.size()) {
        if (m < mask.size() && (mask[m] == '?' || (mask[m] != '*' && FoldCase(mask[m]) == FoldCase(name[n])))) {
            ++n;
            ++m;
        } else if (m < mask.size() && mask[m] == '*') {
            starMask = m++;
            starName = n;
        } else if (starMask != std::string::npos) {
            m = starMask + 1;
            n = ++starName;
        } else {
            return false;
        }
    }
    while (m < mask.size() && mask[m] == '*') ++m;
    return m == mask.size();
}

bool PathExists(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0;
}

bool FileMaskExists(const std::string& directory, const std::string& mask) try {
    DIR* dir = ::opendir(directory.c_str());
    if (!dir) return false;
    bool found = false;
    while (const dirent* ent = ::readdir(dir)) {
        if (std::strcmp(ent->d_name, ".") == 0 || std::strcmp(ent->d_name, "..") == 0) continue;
        if (TNMatchFileMask(ent->d_name, mask)) {
            found = true;
            break;
        }
    }
    ::closedir(dir);
    return found;
} catch (...) {
    return false;
}

uint64_t GetPathFileSize(const std::string& path) {
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0 || S_ISDIR(st.st_mode)) return 0;
    return static_cast<uint64_t>(st.st_size);
}

int32_t CreatePathRecursive(const std::string& path) try {
    const size_t last = path.rfind('/');
    if (last == std::string::npos || last == 0) return 1;
    std::string directory = path.substr(0, last);
    // The usual case on the storing path: everything is there already, which
    // one status query tells.
    struct stat st {};
    if (::stat(directory.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) return 1;

    size_t pos = 0;
    if (directory.size() >= 2 && directory[0] == '/' && directory[1] == '/') {
        // "//server/share" is the root of a network path and is never made.
        pos = directory.find('/', 2);
        if (pos != std::string::npos) pos = directory.find('/', pos + 1);
        if (pos == std::string::npos) return 1;
    }
    directory.push_back('/');
    for (pos = directory.find('/', pos + 1); pos != std::string::npos; pos = directory.find('/', pos + 1)) {
        // Each level is made in place; an existing level is no error, the
        // caller checks the end result.
        directory[pos] = '\0';
        (void)::mkdir(directory.c_str(), 0777);
        directory[pos] = '/';
    }
    return 1;
} catch (...) {
    return 1;
}

bool DeleteDirectoryContents(const std::string& directory) { return DeleteEntries(directory, true); }

bool DeleteDirectory(const std::string& directory) try {
    if (!DeleteDirectoryContents(directory)) return false;
    // A read-only directory is not removed, also where the process could.
    if (IsReadOnly(directory)) return false;
    return ::rmdir(directory.c_str()) == 0;
} catch (...) {
    return false;
}

bool DeleteSubdirectories(const std::string& directory) { return DeleteEntries(directory, false); }

int32_t ListFiles(const std::string& directory, std::vector<std::string>& list, const std::string& mask,
                  bool recursive) {
    return ListEntries(directory, list, mask, false, recursive);
}

int32_t ListDirectories(const std::string& directory, std::vector<std::string>& list, const std::string& mask) {
    return ListEntries(directory, list, mask, true, false);
}

int32_t MovePath(const std::string& from, const std::string& to) try {
    struct stat st {};
    if (::lstat(from.c_str(), &st) != 0 || PathExists(to)) return -1;
    CreatePathRecursive(to);
    // Files are moved only when nobody holds them open; nothing is ever replaced.
    return CTNFile::TryRename(from.c_str(), to.c_str()) == 0 ? 0 : -1;
} catch (...) {
    return -1;
}

int32_t DeleteFilePath(const std::string& path) {
    struct stat st {};
    if (::lstat(path.c_str(), &st) != 0) return 0;  // nothing to do
    const int err = CTNFile::TryRemove(path.c_str());
    return (err == 0 || err == ENOENT) ? 0 : -1;
}

int32_t DeleteFiles(const std::string& directory, const std::string& mask) try {
    std::vector<std::string> files;
    // A directory that can't be read has nothing to delete; only failed deletes count.
    (void)ListFiles(directory, files, mask, false);
    int32_t result = 0;
    for (const std::string& file : files) {
        if (DeleteFilePath(file) != 0) result = -1;
    }
    return result;
} catch (...) {
    return -1;
}

bool SetFileReadOnly(bool readOnly, const std::string& path) {
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0) return errno == ENOENT || errno == ENOTDIR;
    mode_t mode = st.st_mode & 07777;
    mode = readOnly ? (mode & ~static_cast<mode_t>(S_IWUSR | S_IWGRP | S_IWOTH)) : (mode | S_IWUSR);
    return ::chmod(path.c_str(), mode) == 0;
}

std::string RemoveFileExtension(const std::string& path) {
    const std::string::size_type dot = path.rfind('.');
    const std::string::size_type separator = path.rfind('/');
    const bool dotInName = separator == std::string::npos || dot > separator;
    if (dot != std::string::npos && dot > 0 && dotInName) return path.substr(0, dot);
    return path;
}
