#include "tarnovelle/support/TNDrive.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/utsname.h>

#include "tests/support/TNTestDir.h"

namespace {

// Installs a mount table written by the test for the lifetime of a scope.
class CScopedMountTable {
public:
    CScopedMountTable(const TNTestDir& dir, const std::string& lines) {
        TNSetMountTableSource(dir.WriteFile("mountinfo", lines).c_str());
    }
    ~CScopedMountTable() { TNSetMountTableSource(nullptr); }
};

// Mount points that exist nowhere, so that no real mount or link gets in the way.
const std::string kTable =
    "21 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw\n"
    "30 21 0:40 / /tnvl-mnt/cifs rw,relatime shared:2 - cifs //fileserver/archive rw,vers=3.0\n"
    "31 21 0:41 / /tnvl-mnt/nfs rw,relatime shared:3 - nfs4 nas:/export/data rw,vers=4.2\n"
    "32 21 0:40 /base /tnvl-mnt/z rw,relatime shared:2 - cifs //fileserver/archive rw\n"
    "33 30 8:2 / /tnvl-mnt/cifs/local rw,relatime - ext4 /dev/sda2 rw\n"
    "34 21 0:42 / /tnvl-mnt/with\\040blank rw master:4 - smb3 //srv/with\\040blank rw\n"
    "35 21 0:43 / /tnvl-mnt/ram rw - tmpfs tmpfs rw\n"
    "36 21 11:0 / /tnvl-mnt/cd ro - iso9660 /dev/sr0 ro\n"
    "37 21 0:44 / /tnvl-mnt/rootexport rw - nfs nas2:/ rw\n"
    "38 21 8:3 / /tnvl-mnt/over rw - ext4 /dev/sda3 rw\n"
    "39 21 0:45 / /tnvl-mnt/over rw - cifs //late/share rw\n"
    "40 21 0:46 / /tnvl-mnt/nfsbind rw - nfs nas:/export/data/ rw\n"
    "this line is no mount\n";

}  // namespace

TEST(ConvertToNetworkPath, CifsMountGivesServerAndShare) {
    TNTestDir dir;
    CScopedMountTable table(dir, kTable);
    EXPECT_EQ(ConvertToNetworkPath("/tnvl-mnt/cifs/proj/A.TNArch"), "//fileserver/archive/proj/A.TNArch");
    EXPECT_EQ(ConvertToNetworkPath("/tnvl-mnt/cifs"), "//fileserver/archive");
    EXPECT_EQ(ConvertToNetworkPath("/tnvl-mnt/cifs/"), "//fileserver/archive");
}

TEST(ConvertToNetworkPath, NfsMountGivesServerAndExport) {
    TNTestDir dir;
    CScopedMountTable table(dir, kTable);
    EXPECT_EQ(ConvertToNetworkPath("/tnvl-mnt/nfs/x/y"), "nas:/export/data/x/y");
    EXPECT_EQ(ConvertToNetworkPath("/tnvl-mnt/rootexport/x"), "nas2:/x");
    EXPECT_EQ(ConvertToNetworkPath("/tnvl-mnt/nfsbind/x"), "nas:/export/data/x");
}

TEST(ConvertToNetworkPath, BindMountOfAShareSubdirectoryGivesTheSubdirectoryOnTheShare) {
    // The counterpart of a substituted drive: the chain ends at the real share.
    TNTestDir dir;
    CScopedMountTable table(dir, kTable);
    EXPECT_EQ(ConvertToNetworkPath("/tnvl-mnt/z/x"), "//fileserver/archive/base/x");
}

TEST(ConvertToNetworkPath, LocalPathIsUnchanged) {
    TNTestDir dir;
    CScopedMountTable table(dir, kTable);
    EXPECT_EQ(ConvertToNetworkPath(dir / "data"), dir / "data");
    EXPECT_EQ(ConvertToNetworkPath("/tnvl-mnt/cifs/local/data"), "/tnvl-mnt/cifs/local/data");
    EXPECT_EQ(ConvertToNetworkPath("/tnvl-mnt/cifsother/x"), "/tnvl-mnt/cifsother/x");
    EXPECT_EQ(ConvertToNetworkPath("/tnvl-mnt/ram/x"), "/tnvl-mnt/ram/x");
}

TEST(ConvertToNetworkPath, NetworkAndRelativePathsAreUnchanged) {
    TNTestDir dir;
    CScopedMountTable table(dir, kTable);
    EXPECT_EQ(ConvertToNetworkPath("//server/share/x"), "//server/share/x");
    EXPECT_EQ(ConvertToNetworkPath("nas:/export/x"), "nas:/export/x");
    EXPECT_EQ(ConvertToNetworkPath("relative/x"), "relative/x");
    EXPECT_EQ(ConvertToNetworkPath(""), "");
    EXPECT_EQ(ConvertToNetworkPath("/"), "/");
}

TEST(ConvertToNetworkPath, EscapedBlanksInTheTableAreDecoded) {
    TNTestDir dir;
    CScopedMountTable table(dir, kTable);
    EXPECT_EQ(ConvertToNetworkPath("/tnvl-mnt/with blank/f"), "//srv/with blank/f");
}

TEST(ConvertToNetworkPath, LaterMountOnTheSamePointHidesTheEarlier) {
    TNTestDir dir;
    CScopedMountTable table(dir, kTable);
    EXPECT_EQ(ConvertToNetworkPath("/tnvl-mnt/over/f"), "//late/share/f");
}

TEST(ConvertToNetworkPath, PathThroughASymbolicLinkIsResolved) {
    TNTestDir dir;
    const std::string target = dir / "real";
    ASSERT_EQ(::mkdir(target.c_str(), 0777), 0);
    ASSERT_EQ(::symlink(target.c_str(), (dir / "link").c_str()), 0);
    CScopedMountTable table(dir, kTable + "50 21 0:47 / " + target + " rw - cifs //linked/share rw\n");
    EXPECT_EQ(ConvertToNetworkPath(dir / "link/sub/f"), "//linked/share/sub/f");
}

TEST(ConvertToNetworkPath, UnreadableMountTableLeavesPathUnchanged) {
    TNTestDir dir;
    TNSetMountTableSource((dir / "missing").c_str());
    EXPECT_EQ(ConvertToNetworkPath("/tnvl-mnt/cifs/x"), "/tnvl-mnt/cifs/x");
    TNSetMountTableSource(nullptr);
}

TEST(ConvertToNetworkPath, RealMountTableKeepsALocalTemporaryPath) {
    // Whatever the machine mounts, a path on a local file system stays; one
    // on a network file system changes. Only the kind decides.
    TNTestDir dir;
    std::string text;
    const uint32_t type = GetDriveTypeText(dir.Path(), text);
    const std::string converted = ConvertToNetworkPath(dir / "x");
    if (GetNetConnectionText(dir.Path(), text) == TN_NO_ERROR) {
        EXPECT_EQ(type, TN_DRIVE_REMOTE);
        EXPECT_NE(converted, dir / "x");
    } else {
        EXPECT_EQ(converted, dir / "x");
    }
}

TEST(GetDriveTypeText, TypeFollowsTheFileSystem) {
    TNTestDir dir;
    CScopedMountTable table(dir, kTable);
    std::string text;
    EXPECT_EQ(GetDriveTypeText("/tnvl-mnt/cifs/x", text), TN_DRIVE_REMOTE);
    EXPECT_EQ(text, "DRIVE_REMOTE - The drive is a remote (network) drive.");
    EXPECT_EQ(GetDriveTypeText("/tnvl-mnt/nfs", text), TN_DRIVE_REMOTE);
    EXPECT_EQ(GetDriveTypeText("/tnvl-mnt/ram/x", text), TN_DRIVE_RAMDISK);
    EXPECT_EQ(text, "DRIVE_RAMDISK - The drive is a RAM disk.");
    EXPECT_EQ(GetDriveTypeText("/tnvl-mnt/cd/x", text), TN_DRIVE_CDROM);
    EXPECT_EQ(text, "DRIVE_CDROM - The drive is a CD-ROM drive.");
    const uint32_t local = GetDriveTypeText("/tnvl-mnt/cifs/local/x", text);
    EXPECT_TRUE(local == TN_DRIVE_FIXED || local == TN_DRIVE_REMOVABLE) << local;
    EXPECT_EQ(GetDriveTypeText("relative", text), TN_DRIVE_NO_ROOT_DIR);
    EXPECT_EQ(text, "DRIVE_NO_ROOT_DIR - The root path is invalid. For example, no volume is mounted at the path.");
}

TEST(GetDriveTypeText, UnreadableMountTableIsUnknown) {
    TNTestDir dir;
    TNSetMountTableSource((dir / "missing").c_str());
    std::string text;
    EXPECT_EQ(GetDriveTypeText("/x", text), TN_DRIVE_UNKNOWN);
    EXPECT_EQ(text, "DRIVE_UNKNOWN - The drive type cannot be determined.");
    TNSetMountTableSource(nullptr);
}

TEST(GetDriveTypeText, PathNoMountHoldsHasNoRoot) {
    TNTestDir dir;
    CScopedMountTable table(dir, "30 21 0:40 / /tnvl-mnt/cifs rw - cifs //s/a rw\n");
    std::string text;
    EXPECT_EQ(GetDriveTypeText("/elsewhere", text), TN_DRIVE_NO_ROOT_DIR);
}

TEST(GetNetConnectionText, NetworkMountGivesItsRemoteName) {
    TNTestDir dir;
    CScopedMountTable table(dir, kTable);
    std::string text;
    EXPECT_EQ(GetNetConnectionText("/tnvl-mnt/cifs/deep/x", text), TN_NO_ERROR);
    EXPECT_EQ(text, "//fileserver/archive");
    EXPECT_EQ(GetNetConnectionText("/tnvl-mnt/z", text), TN_NO_ERROR);
    EXPECT_EQ(text, "//fileserver/archive/base");
    EXPECT_EQ(GetNetConnectionText("/tnvl-mnt/nfs/q", text), TN_NO_ERROR);
    EXPECT_EQ(text, "nas:/export/data");
}

TEST(GetNetConnectionText, FailuresBeginWithTheirNames) {
    TNTestDir dir;
    {
        CScopedMountTable table(dir, kTable);
        std::string text;
        EXPECT_EQ(GetNetConnectionText("/tnvl-mnt/ram/x", text), TN_ERROR_NOT_CONNECTED);
        EXPECT_EQ(text.rfind("ERROR_NOT_CONNECTED", 0), 0u) << text;
        EXPECT_EQ(GetNetConnectionText("relative", text), TN_ERROR_BAD_DEVICE);
        EXPECT_EQ(text.rfind("ERROR_BAD_DEVICE", 0), 0u) << text;
    }
    TNSetMountTableSource((dir / "missing").c_str());
    std::string text;
    EXPECT_EQ(GetNetConnectionText("/x", text), TN_ERROR_NO_NETWORK);
    EXPECT_EQ(text.rfind("ERROR_NO_NETWORK", 0), 0u) << text;
    TNSetMountTableSource(nullptr);
}

TEST(GetComputerNameText, IsTheHostName) {
    struct utsname names {};
    ASSERT_EQ(::uname(&names), 0);
    std::string text = "stale";
    EXPECT_TRUE(GetComputerNameText(text));
    EXPECT_EQ(text, names.nodename);
}

TEST(GetVolumeSerialNumber, IsTheFileSystemIdOfThePathOrItsNearestParent) {
    TNTestDir dir;
    const std::string file = dir.WriteFile("f", "x");
    struct statvfs vfs {};
    ASSERT_EQ(::statvfs(dir.Path().c_str(), &vfs), 0);
    uint64_t id = vfs.f_fsid;
    if (id == 0) {
        struct stat st {};
        ASSERT_EQ(::stat(dir.Path().c_str(), &st), 0);
        id = st.st_dev;
    }
    const uint32_t expected = static_cast<uint32_t>(id ^ (id >> 32));
    EXPECT_EQ(GetVolumeSerialNumber(file), expected);
    EXPECT_EQ(GetVolumeSerialNumber(dir.Path()), expected);
    EXPECT_EQ(GetVolumeSerialNumber(dir / "not/yet/there"), expected);
}

TEST(GetVolumeSerialNumber, PathWithoutRootGivesZero) {
    EXPECT_EQ(GetVolumeSerialNumber("relative/path"), 0u);
    EXPECT_EQ(GetVolumeSerialNumber("//server/share/x"), 0u);
    EXPECT_EQ(GetVolumeSerialNumber(""), 0u);
}

TEST(TNDrive, FreeDiskSpaceIsWhatThisProcessMayStillUse) {
    TNTestDir dir;
    struct statvfs vfs {};
    ASSERT_EQ(::statvfs(dir.Path().c_str(), &vfs), 0);
    const uint64_t expected = static_cast<uint64_t>(vfs.f_bavail) * vfs.f_frsize;
    const uint64_t measured = GetDiskFreeSpace(dir.Path());
    // Other programs write meanwhile: a few megabytes of drift are allowed.
    EXPECT_LT(measured > expected ? measured - expected : expected - measured, 64ull << 20);
    EXPECT_EQ(GetDiskFreeSpace(dir / "missing/below"), 0u);
}
