// Volumes, mounts and the network form of a path.
//
// An archive may live on a network share that several computers use, and the
// paths written into a project file must mean the same directory on each of
// them. Linux tells that by its mount table (/proc/self/mountinfo): a path on
// a CIFS/SMB mount becomes "//server/share" + rest, one on an NFS mount
// "server:/export" + rest (a bind mount of a sub-directory adds that
// sub-directory), and every other path stays as it is.
//
// The drive-type and connection texts are diagnosis only; they describe what
// the mount table says of the file system that holds a path.
//
// None of these functions throws.
#pragma once

#include <cstdint>
#include <string>

#include "tarnovelle/support/TNExport.h"

// Reads the mount table from `path` instead of /proc/self/mountinfo (same
// format); null restores the real one. For tests that need network mounts.
TNVL_EXPORT void TNSetMountTableSource(const char* path);

// Drive types, by the number the original platform gave them.
enum ETNDriveType : uint32_t {
    TN_DRIVE_UNKNOWN = 0,      // the mount table can't be read
    TN_DRIVE_NO_ROOT_DIR = 1,  // not an absolute path, or no mount holds it
    TN_DRIVE_REMOVABLE = 2,    // block device the kernel marks removable
    TN_DRIVE_FIXED = 3,
    TN_DRIVE_REMOTE = 4,       // CIFS/SMB, NFS and other network file systems
    TN_DRIVE_CDROM = 5,        // iso9660, udf
    TN_DRIVE_RAMDISK = 6,      // tmpfs, ramfs
};

// The type of the file system that holds `path`, and its line of text
// ("DRIVE_FIXED - The disk cannot be removed from the drive.", ...).
TNVL_EXPORT uint32_t GetDriveTypeText(const std::string& path, std::string& text);

// Connection results, by the number the original platform gave them.
enum ETNNetConnection : uint32_t {
    TN_NO_ERROR = 0,
    TN_ERROR_MORE_DATA = 234,
    TN_ERROR_BAD_DEVICE = 1200,
    TN_ERROR_CONNECTION_UNAVAIL = 1201,
    TN_ERROR_NO_NET_OR_BAD_PATH = 1203,
    TN_ERROR_EXTENDED_ERROR = 1208,
    TN_ERROR_NO_NETWORK = 1222,
    TN_ERROR_NOT_CONNECTED = 2250,
};

// For a path on a network mount: TN_NO_ERROR and the mount's remote name
// ("//server/share", "server:/export"). Otherwise the reason and its line of
// text, which begins with the reason's name: TN_ERROR_NOT_CONNECTED for a
// local file system, TN_ERROR_BAD_DEVICE for a path no mount holds,
// TN_ERROR_NO_NETWORK when the mount table can't be read.
TNVL_EXPORT uint32_t GetNetConnectionText(const std::string& path, std::string& text);

// The host name of this computer; false (and an empty text) if unknown.
TNVL_EXPORT bool GetComputerNameText(std::string& text);

// The form of `path` that other computers can use: see above. A path that is
// not absolute (relative, "//server/share/...", "server:/...") is returned
// unchanged, and so is every path when the mount table can't be read.
TNVL_EXPORT std::string ConvertToNetworkPath(const std::string& path);

// A number that identifies the volume of `path` (its file system id); for a
// path that doesn't exist yet, that of its nearest existing parent. 0 for a
// path that isn't absolute or on failure.
TNVL_EXPORT uint32_t GetVolumeSerialNumber(const std::string& path);

// The bytes of the volume of `path` that this process may still use (the
// space free to unprivileged users); 0 when it can't be asked.
TNVL_EXPORT uint64_t GetDiskFreeSpace(const std::string& path);
