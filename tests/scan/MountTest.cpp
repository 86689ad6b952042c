// Which file systems a walk enters, on devices in memory that have any mounts a test wants.
#include "scan/ScanEngine.h"
#include "tests/scan/Scanned.h"
#include "tests/scan/TestSize.h"
#include "tests/support/FailingDevice.h"
#include "tests/support/MemoryDevice.h"
#include "tests/support/TreeText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <thread>

namespace slicewise {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

constexpr std::uint64_t kRootCapacity = MemoryDevice::kCapacityBytes;

FileSystem storage(std::uint64_t identity, std::uint64_t capacityBytes = 1000)
{
    return {.identity = identity, .kind = FileSystemKind::Storage, .capacityBytes = capacityBytes};
}
FileSystem other(std::uint64_t identity, FileSystemKind kind)
{
    return {.identity = identity, .kind = kind, .capacityBytes = 100'000};
}

std::vector<std::uint64_t> identitiesOf(const ScanReport &report)
{
    std::vector<std::uint64_t> identities;
    for (const FileSystem &fileSystem : report.fileSystems) {
        identities.push_back(fileSystem.identity);
    }
    return identities;
}

} // namespace

TEST(Mounts, ofOtherStorageAreEnteredAndTheirCapacityCounted)
{
    MemoryDevice device = {{"/f", 1}, {"/home/f", 10}, {"/home/data/f", 100}};
    device.addMount("/home", "ext4", storage(2, 5000));
    device.addMount("/home/data", "xfs", storage(3, 70'000));
    for (const unsigned readers : kReaderCounts) {
        const Scanned scanned = scan(device, {.readers = readers});
        EXPECT_EQ(scanned.root->size(), 111U);
        EXPECT_THAT(notEntered(scanned.report), IsEmpty());
        EXPECT_THAT(identitiesOf(scanned.report), ElementsAre(1, 2, 3));
        EXPECT_EQ(scanned.report.diskSizeBytes(), kRootCapacity + 75'000);
    }
}

TEST(Mounts, withoutStorageOrInMemoryOrOnANetworkAreNotEntered)
{
    MemoryDevice device = {{"/proc/1/stat", 1}, {"/sys/x", 2},  {"/cgroup/x", 4}, {"/net/x", 8},
                           {"/tmp/x", 16},      {"/net/y", 32}, {"/here", 64},    {"/dir/net/x", 128}};
    device.addMount("/proc", "proc", other(2, FileSystemKind::NoStorage));
    device.addMount("/sys", "sysfs", other(3, FileSystemKind::NoStorage));
    device.addMount("/cgroup", "cgroup2", other(4, FileSystemKind::NoStorage));
    device.addMount("/net", "nfs4", other(5, FileSystemKind::Network));
    device.addMount("/tmp", "tmpfs", other(6, FileSystemKind::Memory));
    device.addMount("/dir/net", "fuse.sshfs", other(7, FileSystemKind::Network));
    for (const unsigned readers : kReaderCounts) {
        const Scanned scanned = scan(device, {.readers = readers});
        EXPECT_EQ(scanned.root->size(), 64U);
        EXPECT_THAT(notEntered(scanned.report),
                    ElementsAre("network /dir/net (fuse.sshfs)", "memory /tmp (tmpfs)", "network /net (nfs4)",
                                "no storage /cgroup (cgroup2)", "no storage /sys (sysfs)",
                                "no storage /proc (proc)"));
        EXPECT_EQ(scanned.report.diskSizeBytes(), kRootCapacity);
        EXPECT_EQ(scanned.report.directories, 2U);
        EXPECT_THAT(failures(scanned.report), IsEmpty());
    }
}

TEST(Mounts, thatAreNotEnteredAreNotEvenOpened)
{
    MemoryDevice memory = {{"/proc/x", 1}, {"/net/x", 1}, {"/disk/x", 1}};
    memory.addMount("/proc", "proc", other(2, FileSystemKind::NoStorage));
    memory.addMount("/net", "nfs", other(3, FileSystemKind::Network));
    memory.addMount("/disk", "ext4", storage(4));
    const FailingDevice device(memory);
    scan(device);
    EXPECT_THAT(device.opened(), UnorderedElementsAre("/", "/disk"));
}

TEST(Mounts, belowADirectoryThatIsNotEnteredAreEnteredAllTheSame)
{
    MemoryDevice device = {{"/f", 1},
                           {"/run/lost", 1000},
                           {"/run/media/ann/disk/f", 10},
                           {"/run/media/ann/disk/in/f", 100},
                           {"/run/media/ann/disk2/f", 10'000},
                           {"/run/boxes/merged/f", 100'000},
                           {"/run/net/disk/f", 1'000'000}};
    device.addMount("/run", "tmpfs", other(2, FileSystemKind::Memory));
    device.addMount("/run/media/ann/disk", "ext4", storage(3, 5000));
    device.addMount("/run/media/ann/disk/in", "xfs", storage(4, 500));
    device.addMount("/run/media/ann/disk2", "ext4", storage(5, 50));
    device.addMount("/run/boxes/merged", "overlay", other(6, FileSystemKind::View));
    device.addMount("/run/net", "nfs", other(7, FileSystemKind::Network));
    device.addMount("/run/net/disk", "ext4", storage(8));
    for (const unsigned readers : kReaderCounts) {
        const Scanned scanned = scan(device, {.readers = readers});
        EXPECT_EQ(scanned.root->size(), 10'111U);
        EXPECT_THAT(filesInTree(*scanned.root),
                    UnorderedElementsAre("/f", "/run/media/ann/disk/f", "/run/media/ann/disk/in/f",
                                         "/run/media/ann/disk2/f"));
        EXPECT_THAT(notEntered(scanned.report), ElementsAre("memory /run (tmpfs)"));
        EXPECT_EQ(scanned.report.diskSizeBytes(), kRootCapacity + 5550);
        const Scanned rootAlone = scan(device, {.scope = FileSystemScope::RootOnly, .readers = readers});
        EXPECT_EQ(rootAlone.root->size(), 1U);
    }
}

TEST(Mounts, thatShowFilesOnceMoreAreNotEnteredUnlessTheRootIsOne)
{
    MemoryDevice device = {{"/f", 1}, {"/merged/f", 10}};
    device.addMount("/merged", "overlay", other(2, FileSystemKind::View));
    const Scanned below = scan(device);
    EXPECT_EQ(below.root->size(), 1U);
    EXPECT_THAT(notEntered(below.report), ElementsAre("view /merged (overlay)"));

    MemoryDevice box = {{"/f", 1}, {"/merged/f", 10}};
    box.setFileSystem("/", other(3, FileSystemKind::View));
    box.addMount("/merged", "overlay", other(2, FileSystemKind::View));
    EXPECT_EQ(scan(box).root->size(), 11U);
}

TEST(Mounts, thatTheSystemDoesNotListAreToldByWhatTheirDirectoriesSay)
{
    MemoryDevice device = {{"/proc/x", 1}, {"/net/x", 2}, {"/tmp/x", 4}, {"/disk/x", 8}};
    device.setFileSystem("/proc", other(2, FileSystemKind::NoStorage));
    device.setFileSystem("/net", other(3, FileSystemKind::Network));
    device.setFileSystem("/tmp", other(4, FileSystemKind::Memory));
    device.setFileSystem("/disk", storage(5));
    for (const unsigned readers : kReaderCounts) {
        const Scanned scanned = scan(device, {.readers = readers});
        EXPECT_EQ(scanned.root->size(), 8U);
        EXPECT_THAT(notEntered(scanned.report),
                    ElementsAre("memory /tmp", "network /net", "no storage /proc"));
        EXPECT_THAT(identitiesOf(scanned.report), ElementsAre(1, 5));
    }
}

TEST(Mounts, inMemoryAreEnteredWhereTheRootLiesInMemory)
{
    MemoryDevice device = {{"/tmp/x", 1}, {"/net/x", 2}, {"/proc/x", 4}, {"/disk/x", 8}, {"/f", 16}};
    device.setFileSystem("/", other(2, FileSystemKind::Memory));
    device.addMount("/tmp", "tmpfs", other(3, FileSystemKind::Memory));
    device.addMount("/net", "nfs", other(4, FileSystemKind::Network));
    device.addMount("/proc", "proc", other(5, FileSystemKind::NoStorage));
    device.addMount("/disk", "ext4", storage(6));
    const Scanned scanned = scan(device);
    EXPECT_EQ(scanned.root->size(), 25U);
    EXPECT_THAT(notEntered(scanned.report), ElementsAre("no storage /proc (proc)", "network /net (nfs)"));
}

TEST(Mounts, onANetworkAreEnteredWhereTheRootLiesOnOne)
{
    MemoryDevice device = {{"/tmp/x", 1}, {"/net/x", 2}, {"/net/deep/x", 4}, {"/f", 16}};
    device.setFileSystem("/", other(2, FileSystemKind::Network));
    device.addMount("/tmp", "tmpfs", other(3, FileSystemKind::Memory));
    device.addMount("/net", "nfs", other(4, FileSystemKind::Network));
    device.setFileSystem("/net/deep", other(5, FileSystemKind::Network));
    const Scanned scanned = scan(device);
    EXPECT_EQ(scanned.root->size(), 22U);
    EXPECT_THAT(notEntered(scanned.report), ElementsAre("memory /tmp (tmpfs)"));
}

TEST(Mounts, areEnteredWhereOneIsNamedAsTheRoot)
{
    MemoryDevice device = {
        {"/proc/1/stat", 1}, {"/proc/sys/x", 2}, {"/f", 4}, {"/tmp/x", 8}, {"/tmp/in/x", 16}};
    device.addMount("/proc", "proc", other(2, FileSystemKind::NoStorage));
    device.addMount("/proc/sys", "sysfs", other(3, FileSystemKind::NoStorage));
    device.addMount("/tmp", "tmpfs", other(4, FileSystemKind::Memory));
    device.addMount("/tmp/in", "tmpfs", other(5, FileSystemKind::Memory));
    const Scanned proc = scan(device, {}, "/proc");
    EXPECT_EQ(proc.root->size(), 1U);
    EXPECT_THAT(notEntered(proc.report), ElementsAre("no storage /proc/sys (sysfs)"));
    EXPECT_THAT(identitiesOf(proc.report), ElementsAre(2));
    const Scanned tmp = scan(device, {}, "/tmp");
    EXPECT_EQ(tmp.root->size(), 24U);
    EXPECT_THAT(notEntered(tmp.report), IsEmpty());
}

TEST(Mounts, areNotLeftForOnRequest)
{
    MemoryDevice device = {{"/f", 1}, {"/home/f", 2}, {"/proc/f", 4}, {"/subvolume/f", 8}, {"/dir/f", 16}};
    device.addMount("/home", "ext4", storage(2));
    device.addMount("/proc", "proc", other(3, FileSystemKind::NoStorage));
    device.setFileSystem("/subvolume", storage(4));
    device.addBindMount("/again", "/dir", "ext4");
    for (const unsigned readers : kReaderCounts) {
        const Scanned scanned = scan(device, {.scope = FileSystemScope::RootOnly, .readers = readers});
        EXPECT_EQ(scanned.root->size(), 17U);
        EXPECT_THAT(notEntered(scanned.report),
                    ElementsAre("seen before /dir", "other file system /subvolume", "no storage /proc (proc)",
                                "other file system /home"));
        EXPECT_EQ(scanned.report.diskSizeBytes(), kRootCapacity);
    }
}

TEST(Mounts, areNotLeftForOnRequestFromTheFileSystemThatTheRootPathLiesOn)
{
    MemoryDevice device = {{"/f", 1}, {"/home/f", 2}, {"/home/disk/f", 4}, {"/home/dir/f", 8}};
    device.addMount("/home", "ext4", storage(2, 500));
    device.addMount("/home/disk", "ext4", storage(3));
    const Scanned scanned = scan(device, {.scope = FileSystemScope::RootOnly}, "/home");
    EXPECT_EQ(scanned.root->size(), 10U);
    EXPECT_THAT(notEntered(scanned.report), ElementsAre("other file system /home/disk"));
    EXPECT_EQ(scanned.report.diskSizeBytes(), 500U);
}

TEST(Mounts, ofOneFileSystemInTwoPlacesCountItsCapacityOnce)
{
    MemoryDevice device = {{"/f", 1}, {"/a/f", 2}, {"/b/f", 4}, {"/c/f", 8}};
    device.addMount("/a", "btrfs", storage(2, 500));
    device.addMount("/b", "btrfs", storage(2, 500)); // another part of it
    device.addMount("/c", "ext4", storage(1, kRootCapacity));
    const Scanned scanned = scan(device);
    EXPECT_EQ(scanned.root->size(), 15U);
    EXPECT_EQ(scanned.report.diskSizeBytes(), kRootCapacity + 500);
    EXPECT_EQ(scanned.report.fileSystems.size(), 2U);
}

TEST(Mounts, thatCannotBeOpenedAreFailuresAndHaveNoCapacity)
{
    MemoryDevice memory = {{"/f", 1}, {"/home/f", 2}};
    memory.addMount("/home", "ext4", storage(2));
    FailingDevice device(memory);
    device.failOpen("/home", EACCES);
    const Scanned scanned = scan(device);
    EXPECT_THAT(failures(scanned.report), ElementsAre("directory /home: EACCES"));
    EXPECT_THAT(identitiesOf(scanned.report), ElementsAre(1));
}

TEST(BindMounts, areWalkedWhereTheWalkMeetsThemFirst)
{
    MemoryDevice device = {{"/data/f", 1}, {"/data/deep/f", 2}, {"/g", 4}};
    device.addBindMount("/mnt", "/data", "ext4"); // listed behind /data, so met before it
    for (const unsigned readers : kReaderCounts) {
        Scanned scanned = scan(device, {.readers = readers});
        EXPECT_THAT(filesInTree(*scanned.root), ElementsAre("/g", "/mnt/f", "/mnt/deep/f"));
        EXPECT_EQ(scanned.root->size(), 7U);
        EXPECT_THAT(notEntered(scanned.report), ElementsAre("seen before /data"));
        EXPECT_EQ(scanned.report.directories, 3U);
    }
}

TEST(BindMounts, areWalkedWhereTheWalkMeetsThemFirstAlsoWhenAReaderIsInTheOtherPlaceBefore)
{
    MemoryDevice memory = {{"/data/f", 1}, {"/data/deep/f", 2}, {"/g", 4}};
    memory.addBindMount("/mnt", "/data", "ext4");
    for (const unsigned readers : {2U, 4U}) { // one of them waits below
        FailingDevice device(memory);
        const auto wasOpened = [&device](const std::string &path) {
            const std::vector<std::string> opened = device.opened();
            return std::find(opened.begin(), opened.end(), path) != opened.end();
        };
        bool otherWasBefore = false;
        device.runBeforeOpen("/mnt", [&](const std::string &) {
            // Long enough for any reader to get there; not for ever, should there be a reason not to.
            for (int i = 0; i < 2000 && !wasOpened("/data"); ++i) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
            otherWasBefore = wasOpened("/data");
        });
        Scanned scanned = scan(device, {.readers = readers});
        EXPECT_TRUE(otherWasBefore) << "the readers are no longer ahead: this test proves nothing";
        EXPECT_THAT(filesInTree(*scanned.root), ElementsAre("/g", "/mnt/f", "/mnt/deep/f"));
        EXPECT_THAT(notEntered(scanned.report), ElementsAre("seen before /data"));
    }
}

TEST(BindMounts, ofADirectoryInsideItselfEnd)
{
    MemoryDevice device = {{"/dir/f", 1}, {"/g", 2}};
    device.addBindMount("/dir/inside", "/dir", "ext4");
    for (const unsigned readers : kReaderCounts) {
        Scanned scanned = scan(device, {.readers = readers});
        EXPECT_THAT(filesInTree(*scanned.root), ElementsAre("/g", "/dir/f"));
        EXPECT_THAT(notEntered(scanned.report), ElementsAre("seen before /dir/inside"));
    }
}

TEST(BindMounts, ofTheRootInsideItselfEnd)
{
    MemoryDevice device = {{"/dir/f", 1}, {"/g", 2}};
    device.addBindMount("/dir/root", "/", "ext4");
    for (const unsigned readers : kReaderCounts) {
        const Scanned scanned = scan(device, {.readers = readers});
        EXPECT_EQ(scanned.root->size(), 3U);
        EXPECT_THAT(notEntered(scanned.report), ElementsAre("seen before /dir/root"));
    }
}

TEST(BindMounts, ofAPartAndOfTheWholeAreWalkedOnceEach)
{
    MemoryDevice device = {{"/a/f", 1}, {"/a/b/f", 2}, {"/a/b/c/f", 4}};
    device.addBindMount("/part", "/a/b", "ext4");
    device.addBindMount("/whole", "/a", "ext4");
    device.addBindMount("/deep", "/a/b/c", "ext4");
    for (const unsigned readers : kReaderCounts) {
        Scanned scanned = scan(device, {.readers = readers});
        EXPECT_THAT(filesInTree(*scanned.root), ElementsAre("/deep/f", "/whole/f", "/whole/b/f"));
        EXPECT_EQ(scanned.root->size(), 7U);
        EXPECT_THAT(notEntered(scanned.report),
                    ElementsAre("seen before /whole/b/c", "seen before /part", "seen before /a"));
    }
}

TEST(BindMounts, ofAnotherFileSystemCountItsCapacityOnce)
{
    MemoryDevice device = {{"/home/f", 1}, {"/home/dir/f", 2}};
    device.addMount("/home", "ext4", storage(2, 500));
    device.addBindMount("/mnt", "/home/dir", "ext4");
    const Scanned scanned = scan(device);
    EXPECT_EQ(scanned.root->size(), 3U);
    EXPECT_EQ(scanned.report.diskSizeBytes(), kRootCapacity + 500);
    EXPECT_THAT(notEntered(scanned.report), ElementsAre("seen before /home/dir"));
}

TEST(BindMounts, ofWhatHoldsNoStorageAreNotEnteredEither)
{
    MemoryDevice device = {{"/proc/f", 1}, {"/g", 2}};
    device.addMount("/proc", "proc", other(2, FileSystemKind::NoStorage));
    device.addBindMount("/jail/proc", "/proc", "proc");
    const Scanned scanned = scan(device);
    EXPECT_EQ(scanned.root->size(), 2U);
    EXPECT_THAT(notEntered(scanned.report),
                ElementsAre("no storage /jail/proc (proc)", "no storage /proc (proc)"));
}

} // namespace slicewise
