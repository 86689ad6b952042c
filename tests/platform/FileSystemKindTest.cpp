#include "platform/MountTable.h"

#include <gtest/gtest.h>

#include <linux/magic.h>
#include <sys/vfs.h>

#include <cstdint>
#include <string_view>

namespace slicewise {
namespace {

TEST(FileSystemKind, isStorageForWhatDisksAreFormattedWith)
{
    for (const std::string_view type :
         {"ext2",     "ext3",  "ext4",     "xfs",     "btrfs",    "zfs",   "f2fs",     "vfat",
          "exfat",    "ntfs",  "ntfs3",    "fuseblk", "hfsplus",  "apfs",  "iso9660",  "udf",
          "squashfs", "erofs", "bcachefs", "jfs",     "reiserfs", "ubifs", "ecryptfs", "fuse.ntfs-3g"}) {
        EXPECT_EQ(kindOfFileSystemNamed(type), FileSystemKind::Storage) << type;
    }
}

TEST(FileSystemKind, isMemoryForWhatLivesInMainMemory)
{
    for (const std::string_view type : {"tmpfs", "ramfs", "rootfs"}) {
        EXPECT_EQ(kindOfFileSystemNamed(type), FileSystemKind::Memory) << type;
    }
}

TEST(FileSystemKind, isNoStorageForWhatTheKernelMakesUp)
{
    for (const std::string_view type :
         {"proc",     "sysfs",     "cgroup",     "cgroup2",     "devtmpfs",       "devpts",
          "debugfs",  "tracefs",   "securityfs", "pstore",      "efivarfs",       "bpf",
          "configfs", "fusectl",   "hugetlbfs",  "mqueue",      "binfmt_misc",    "rpc_pipefs",
          "nsfs",     "selinuxfs", "fuse.lxcfs", "fuse.portal", "fuse.gvfsd-fuse"}) {
        EXPECT_EQ(kindOfFileSystemNamed(type), FileSystemKind::NoStorage) << type;
    }
}

TEST(FileSystemKind, isNetworkForSomebodyElsesStorage)
{
    for (const std::string_view type :
         {"nfs", "nfs4", "cifs", "smb3", "9p", "virtiofs", "afs", "ceph", "autofs", "fuse.sshfs",
          "fuse.rclone", "fuse.s3fs", "fuse.glusterfs", "fuse.something-new", "fuse"}) {
        EXPECT_EQ(kindOfFileSystemNamed(type), FileSystemKind::Network) << type;
    }
}

TEST(FileSystemKind, isViewForWhatShowsOtherDirectoriesFilesOnceMore)
{
    for (const std::string_view type :
         {"overlay", "aufs", "unionfs", "fuse.fuse-overlayfs", "fuse.mergerfs", "fuse.bindfs"}) {
        EXPECT_EQ(kindOfFileSystemNamed(type), FileSystemKind::View) << type;
    }
    EXPECT_EQ(kindOfFileSystemMagic(OVERLAYFS_SUPER_MAGIC), FileSystemKind::View);
}

TEST(FileSystemKind, isStorageForANameThatNobodyKnows)
{
    EXPECT_EQ(kindOfFileSystemNamed("brandnewfs"), FileSystemKind::Storage);
    EXPECT_EQ(kindOfFileSystemNamed(""), FileSystemKind::Storage);
    EXPECT_EQ(kindOfFileSystemNamed("PROC"), FileSystemKind::Storage);
}

TEST(FileSystemKind, knowsTheMagicNumbersOfTheKernelsHeader)
{
    for (const std::uint64_t magic :
         {std::uint64_t{EXT4_SUPER_MAGIC}, std::uint64_t{BTRFS_SUPER_MAGIC}, std::uint64_t{XFS_SUPER_MAGIC},
          std::uint64_t{F2FS_SUPER_MAGIC}, std::uint64_t{MSDOS_SUPER_MAGIC}, std::uint64_t{ISOFS_SUPER_MAGIC},
          std::uint64_t{SQUASHFS_MAGIC}}) {
        EXPECT_EQ(kindOfFileSystemMagic(magic), FileSystemKind::Storage) << std::hex << magic;
    }
    for (const std::uint64_t magic : {std::uint64_t{TMPFS_MAGIC}, std::uint64_t{RAMFS_MAGIC}}) {
        EXPECT_EQ(kindOfFileSystemMagic(magic), FileSystemKind::Memory) << std::hex << magic;
    }
    for (const std::uint64_t magic : {std::uint64_t{PROC_SUPER_MAGIC},
                                      std::uint64_t{SYSFS_MAGIC},
                                      std::uint64_t{CGROUP_SUPER_MAGIC},
                                      std::uint64_t{CGROUP2_SUPER_MAGIC},
                                      std::uint64_t{DEVPTS_SUPER_MAGIC},
                                      std::uint64_t{DEBUGFS_MAGIC},
                                      std::uint64_t{TRACEFS_MAGIC},
                                      std::uint64_t{SECURITYFS_MAGIC},
                                      std::uint64_t{PSTOREFS_MAGIC},
                                      std::uint64_t{EFIVARFS_MAGIC},
                                      std::uint64_t{BPF_FS_MAGIC},
                                      std::uint64_t{HUGETLBFS_MAGIC},
                                      std::uint64_t{SELINUX_MAGIC},
                                      std::uint64_t{SMACK_MAGIC},
                                      std::uint64_t{NSFS_MAGIC},
                                      std::uint64_t{BINFMTFS_MAGIC},
                                      std::uint64_t{SOCKFS_MAGIC},
                                      std::uint64_t{PIPEFS_MAGIC},
                                      std::uint64_t{BINDERFS_SUPER_MAGIC},
                                      std::uint64_t{RDTGROUP_SUPER_MAGIC},
                                      std::uint64_t{OPENPROM_SUPER_MAGIC},
                                      std::uint64_t{ANON_INODE_FS_MAGIC},
                                      std::uint64_t{USBDEVICE_SUPER_MAGIC},
                                      std::uint64_t{XENFS_SUPER_MAGIC}}) {
        EXPECT_EQ(kindOfFileSystemMagic(magic), FileSystemKind::NoStorage) << std::hex << magic;
    }
    for (const std::uint64_t magic :
         {std::uint64_t{NFS_SUPER_MAGIC}, std::uint64_t{SMB_SUPER_MAGIC}, std::uint64_t{CIFS_SUPER_MAGIC},
          std::uint64_t{SMB2_SUPER_MAGIC}, std::uint64_t{V9FS_MAGIC}, std::uint64_t{AFS_SUPER_MAGIC},
          std::uint64_t{AFS_FS_MAGIC}, std::uint64_t{CODA_SUPER_MAGIC}, std::uint64_t{NCP_SUPER_MAGIC},
          std::uint64_t{AUTOFS_SUPER_MAGIC}, std::uint64_t{CEPH_SUPER_MAGIC},
          std::uint64_t{FUSE_SUPER_MAGIC}}) {
        EXPECT_EQ(kindOfFileSystemMagic(magic), FileSystemKind::Network) << std::hex << magic;
    }
}

TEST(FileSystemKind, isTheSameByNumberAsByNameOnThisMachine)
{
    for (const auto &[path, type] : {std::pair("/proc", "proc"), std::pair("/sys", "sysfs")}) {
        struct statfs facts = {};
        ASSERT_EQ(::statfs(path, &facts), 0) << path;
        EXPECT_EQ(kindOfFileSystemMagic(static_cast<std::uint32_t>(facts.f_type)),
                  kindOfFileSystemNamed(type))
            << path;
    }
}

TEST(FileSystemKind, expectsManyDeviceNumbersOfBtrfsAlone)
{
    EXPECT_TRUE(hasManyDeviceNumbers(BTRFS_SUPER_MAGIC));
    EXPECT_FALSE(hasManyDeviceNumbers(EXT4_SUPER_MAGIC));
    EXPECT_FALSE(hasManyDeviceNumbers(TMPFS_MAGIC));
    EXPECT_FALSE(hasManyDeviceNumbers(0));
}

} // namespace
} // namespace slicewise
