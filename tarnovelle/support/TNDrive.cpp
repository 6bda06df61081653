#include "tarnovelle/support/TNDrive.h"

#include <limits.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <mutex>
#include <sstream>
#include <vector>

namespace {

constexpr const char* kMountInfo = "/proc/self/mountinfo";

std::mutex g_sourceMutex;
std::string g_source = kMountInfo;

std::string MountTableSource() {
    std::lock_guard<std::mutex> lock(g_sourceMutex);
    return g_source;
}

struct SMount {
    std::string root;        // the directory of the file system that is mounted here
    std::string mountPoint;
    std::string fsType;
    std::string source;
    std::string device;      // "major:minor"
};

// Mount table fields escape blanks, tabs, new lines and backslashes as "\ooo".
std::string Unescape(const std::string& field) {
    std::string out;
    out.reserve(field.size());
    for (size_t i = 0; i < field.size(); ++i) {
        if (field[i] == '\\' && i + 3 < field.size() && field[i + 1] >= '0' && field[i + 1] <= '3' &&
            field[i + 2] >= '0' && field[i + 2] <= '7' && field[i + 3] >= '0' && field[i + 3] <= '7') {
            out.push_back(static_cast<char>((field[i + 1] - '0') * 64 + (field[i + 2] - '0') * 8 + (field[i + 3] - '0')));
            i += 3;
        } else {
            out.push_back(field[i]);
        }
    }
    return out;
}

// One line of mountinfo: id parent major:minor root mount-point options
// [optional fields...] - type source super-options
bool ParseLine(const std::string& line, SMount& mount) {
    std::istringstream in(line);
    std::string id, parent, field;
    if (!(in >> id >> parent >> mount.device >> mount.root >> mount.mountPoint >> field)) return false;
    do {
        if (!(in >> field)) return false;
    } while (field != "-");
    if (!(in >> mount.fsType >> mount.source)) return false;
    mount.root = Unescape(mount.root);
    mount.mountPoint = Unescape(mount.mountPoint);
    mount.source = Unescape(mount.source);
    return true;
}

bool ReadMountTable(std::vector<SMount>& mounts) {
    std::ifstream in(MountTableSource());
    if (!in) return false;
    std::string line;
    while (std::getline(in, line)) {
        SMount mount;
        if (ParseLine(line, mount)) mounts.push_back(std::move(mount));
    }
    return !mounts.empty();
}

bool IsAbsoluteLocal(const std::string& path) {
    return !path.empty() && path[0] == '/' && !(path.size() > 1 && path[1] == '/');
}

// The path with symbolic links, "." and ".." resolved as far as it exists;
// the part that doesn't exist yet is added as it stands.
std::string Canonical(const std::string& path) {
    std::string existing = path;
    std::string missing;
    for (;;) {
        char resolved[PATH_MAX];
        if (::realpath(existing.c_str(), resolved)) {
            std::string result = resolved;
            if (!missing.empty()) result += (result == "/" ? "" : "/") + missing;
            return result;
        }
        const size_t slash = existing.find_last_of('/');
        if (slash == std::string::npos || existing.size() <= 1) return path;
        const std::string last = existing.substr(slash + 1);
        if (!last.empty()) missing = missing.empty() ? last : last + "/" + missing;
        existing = slash == 0 ? "/" : existing.substr(0, slash);
    }
}

// The mount that holds `path`: the longest mount point that is a prefix of it
// on a separator, the later of two equal ones (it hides the earlier).
const SMount* FindMount(const std::vector<SMount>& mounts, const std::string& path) {
    const SMount* best = nullptr;
    for (const SMount& mount : mounts) {
        const std::string& mp = mount.mountPoint;
        const bool holds = mp == "/" || (path.compare(0, mp.size(), mp) == 0 &&
                                         (path.size() == mp.size() || path[mp.size()] == '/'));
        if (holds && (!best || mp.size() >= best->mountPoint.size())) best = &mount;
    }
    return best;
}

bool IsCifs(const std::string& type) { return type == "cifs" || type == "smb3" || type == "smbfs"; }
bool IsNfs(const std::string& type) { return type == "nfs" || type == "nfs4"; }
bool IsRemote(const std::string& type) {
    return IsCifs(type) || IsNfs(type) || type == "fuse.sshfs" || type == "ceph" || type == "afs" ||
           type == "glusterfs" || type == "9p" || type == "lustre";
}

// a + b with one separator between them.
std::string JoinPath(std::string a, const std::string& b) {
    if (b.empty() || b == "/") return a;
    if (!a.empty() && a.back() == '/') a.pop_back();
    return b[0] == '/' ? a + b : a + "/" + b;
}

// The remote name of a network mount, including the sub-directory a bind
// mount shows of it.
std::string RemoteName(const SMount& mount) {
    std::string name = mount.source;
    while (name.size() > 1 && name.back() == '/' && name[name.size() - 2] != ':') name.pop_back();
    return JoinPath(name, mount.root);
}

bool IsRemovableDevice(const std::string& device) {
    for (const char* suffix : {"/removable", "/../removable"}) {
        std::ifstream in("/sys/dev/block/" + device + suffix);
        char flag = 0;
        if (in >> flag) return flag == '1';
    }
    return false;
}

// Finds the mount that holds an absolute path. When there is none, `type`
// says why: the table can't be read, or the path has no root in it.
const SMount* LookUp(const std::string& path, std::vector<SMount>& mounts, std::string& canonical, uint32_t& type) {
    type = TN_DRIVE_UNKNOWN;
    if (!ReadMountTable(mounts)) return nullptr;
    type = TN_DRIVE_NO_ROOT_DIR;
    if (!IsAbsoluteLocal(path)) return nullptr;
    canonical = Canonical(path);
    return FindMount(mounts, canonical);
}

}  // namespace

void TNSetMountTableSource(const char* path) try {
    std::lock_guard<std::mutex> lock(g_sourceMutex);
    g_source = path ? path : kMountInfo;
} catch (...) {
    return;
}

uint32_t GetDriveTypeText(const std::string& path, std::string& text) try {
    std::vector<SMount> mounts;
    std::string canonical;
    uint32_t type;
    if (const SMount* mount = LookUp(path, mounts, canonical, type)) {
        const std::string& fs = mount->fsType;
        if (IsRemote(fs)) type = TN_DRIVE_REMOTE;
        else if (fs == "iso9660" || fs == "udf") type = TN_DRIVE_CDROM;
        else if (fs == "tmpfs" || fs == "ramfs") type = TN_DRIVE_RAMDISK;
        else if (IsRemovableDevice(mount->device)) type = TN_DRIVE_REMOVABLE;
        else type = TN_DRIVE_FIXED;
    }
    switch (type) {
    case 0: text = "DRIVE_UNKNOWN - The drive type cannot be determined."; break;
    case 1: text = "DRIVE_NO_ROOT_DIR - The root path is invalid. For example, no volume is mounted at the path."; break;
    case 2: text = "DRIVE_REMOVABLE - The disk can be removed from the drive."; break;
    case 3: text = "DRIVE_FIXED - The disk cannot be removed from the drive."; break;
    case 4: text = "DRIVE_REMOTE - The drive is a remote (network) drive."; break;
    case 5: text = "DRIVE_CDROM - The drive is a CD-ROM drive."; break;
    case 6: text = "DRIVE_RAMDISK - The drive is a RAM disk."; break;
    default: text = std::to_string(type) + " = ::GetDriveType(\"" + path + "\")"; break;
    }
    return type;
} catch (...) {
    return TN_DRIVE_UNKNOWN;
}

uint32_t GetNetConnectionText(const std::string& path, std::string& text) try {
    std::vector<SMount> mounts;
    std::string canonical;
    uint32_t type;
    const SMount* mount = LookUp(path, mounts, canonical, type);
    if (type == TN_DRIVE_UNKNOWN) {
        text = "ERROR_NO_NETWORK - The mount table can't be read.";
        return TN_ERROR_NO_NETWORK;
    }
    if (!mount) {
        text = "ERROR_BAD_DEVICE - The path is not held by any mount.";
        return TN_ERROR_BAD_DEVICE;
    }
    if (!IsCifs(mount->fsType) && !IsNfs(mount->fsType)) {
        text = "ERROR_NOT_CONNECTED - The path is not on a network share.";
        return TN_ERROR_NOT_CONNECTED;
    }
    text = RemoteName(*mount);
    return TN_NO_ERROR;
} catch (...) {
    return TN_ERROR_EXTENDED_ERROR;
}

bool GetComputerNameText(std::string& text) try {
    char name[HOST_NAME_MAX + 1] = {};
    if (::gethostname(name, sizeof(name) - 1) != 0) {
        text.clear();
        return false;
    }
    text = name;
    return true;
} catch (...) {
    return false;
}

std::string ConvertToNetworkPath(const std::string& path) {
    try {
        std::vector<SMount> mounts;
        std::string canonical;
        uint32_t type;
        const SMount* mount = LookUp(path, mounts, canonical, type);
        if (!mount || (!IsCifs(mount->fsType) && !IsNfs(mount->fsType))) return path;
        const std::string rest = mount->mountPoint == "/" ? canonical : canonical.substr(mount->mountPoint.size());
        return JoinPath(RemoteName(*mount), rest);
    } catch (...) {
        return path;  // out of memory: the path as it stands is still a path
    }
}

uint32_t GetVolumeSerialNumber(const std::string& path) try {
    if (!IsAbsoluteLocal(path)) return 0;
    std::string existing = path;
    struct stat st {};
    while (::stat(existing.c_str(), &st) != 0) {
        const size_t slash = existing.find_last_of('/');
        if (slash == std::string::npos || existing == "/") return 0;
        existing = slash == 0 ? "/" : existing.substr(0, slash);
    }
    struct statvfs vfs {};
    uint64_t id = 0;
    if (::statvfs(existing.c_str(), &vfs) == 0) id = vfs.f_fsid;
    // Some file systems report no id; their device number names them as well.
    if (id == 0) id = static_cast<uint64_t>(st.st_dev);
    return static_cast<uint32_t>(id ^ (id >> 32));
} catch (...) {
    return 0;
}

uint64_t GetDiskFreeSpace(const std::string& path) {
    struct statvfs vfs {};
    if (::statvfs(path.c_str(), &vfs) != 0) return 0;
    return static_cast<uint64_t>(vfs.f_bavail) * static_cast<uint64_t>(vfs.f_frsize);
}
