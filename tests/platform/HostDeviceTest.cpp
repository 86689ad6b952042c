#include "platform/HostDevice.h"

#include "tests/support/FailingSystemCalls.h"
#include "tests/support/InChild.h"
#include "tests/support/Listing.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <linux/magic.h>
#include <sys/statvfs.h>

#include <cerrno>
#include <memory>
#include <string>

namespace slicewise {
namespace {

using testing::ElementsAre;

std::unique_ptr<HostDevice> deviceFor(const TemporaryDirectory &directory, const SystemCalls *calls = nullptr)
{
    return std::move(HostDevice::open(directory.path(), calls)).value();
}

// ---- making the device

TEST(HostDevice, refusesARootThatIsNotThere)
{
    const TemporaryDirectory directory;
    EXPECT_EQ(HostDevice::open(directory.pathOf("missing")).error(), ENOENT);
    EXPECT_EQ(HostDevice::open("").error(), ENOENT);
}

TEST(HostDevice, refusesARootThatIsNoDirectory)
{
    const TemporaryDirectory directory;
    directory.makeFile("file", 1);
    directory.makeFifo("fifo");
    EXPECT_EQ(HostDevice::open(directory.pathOf("file")).error(), ENOTDIR);
    EXPECT_EQ(HostDevice::open(directory.pathOf("fifo")).error(), ENOTDIR);
}

TEST(HostDevice, refusesARootThatMayNotBeRead)
{
    const TemporaryDirectory directory;
    directory.makeDirectory("closed");
    directory.setMode("closed", 0311);
    directory.makeDirectory("above/closed");
    directory.setMode("above", 0);
    asOrdinaryUser([&] {
        EXPECT_EQ(HostDevice::open(directory.pathOf("closed")).error(), EACCES);
        EXPECT_EQ(HostDevice::open(directory.pathOf("above/closed")).error(), EACCES);
    });
}

TEST(HostDevice, followsALinkToItsRoot)
{
    const TemporaryDirectory directory;
    directory.makeFile("real/file", 5);
    directory.makeLink("link", "real");
    const auto device = std::move(HostDevice::open(directory.pathOf("link"))).value();
    EXPECT_THAT(listDirectory(*device, "/").entries, ElementsAre(listedFile("file", 5)));
}

TEST(HostDevice, keepsItsRootWhenThatIsRenamed)
{
    const TemporaryDirectory directory;
    directory.makeFile("root/file", 5);
    const auto device = std::move(HostDevice::open(directory.pathOf("root"))).value();
    directory.rename("root", "elsewhere");
    directory.makeFile("root/impostor", 6);
    EXPECT_THAT(listDirectory(*device, "/").entries, ElementsAre(listedFile("file", 5)));
    EXPECT_EQ(device->status("/file")->sizeBytes, 5U);
}

TEST(HostDevice, readsTheMachinesOwnRoot)
{
    const auto device = std::move(HostDevice::open("/")).value();
    EXPECT_EQ(device->status("/")->type, FileType::Directory);
    EXPECT_EQ(*device->resolve("/proc/../proc/."), "/proc");
    EXPECT_EQ(device->fileSystem("/proc")->kind, FileSystemKind::NoStorage);
    bool hasProc = false;
    for (const Mount &mount : device->mounts()) {
        hasProc = hasProc || (mount.path == "/proc" && mount.kind == FileSystemKind::NoStorage);
        EXPECT_NE(mount.path, "/");
    }
    EXPECT_TRUE(hasProc);
}

// ---- status

TEST(HostDevice, tellsTypeAndSize)
{
    const TemporaryDirectory directory;
    directory.makeFile("empty", 0);
    directory.makeFile("large", 5'000'000'000);
    directory.makeDirectory("directory");
    directory.makeFifo("fifo");
    directory.makeSocket("socket");
    const auto device = deviceFor(directory);
    EXPECT_EQ(device->status("/empty")->type, FileType::RegularFile);
    EXPECT_EQ(device->status("/empty")->sizeBytes, 0U);
    EXPECT_EQ(device->status("/large")->sizeBytes, 5'000'000'000U);
    EXPECT_EQ(device->status("/directory")->type, FileType::Directory);
    EXPECT_EQ(device->status("/fifo")->type, FileType::Other);
    EXPECT_EQ(device->status("/socket")->type, FileType::Other);
    EXPECT_EQ(device->status("/")->type, FileType::Directory);
}

TEST(HostDevice, refusesStatusOfWhatIsNotThere)
{
    const TemporaryDirectory directory;
    directory.makeFile("file", 1);
    const auto device = deviceFor(directory);
    EXPECT_EQ(device->status("/missing").error(), ENOENT);
    EXPECT_EQ(device->status("/missing/file").error(), ENOENT);
    EXPECT_EQ(device->status("/file/below").error(), ENOTDIR);
    EXPECT_EQ(device->status("/file/..").error(), ENOTDIR);
    EXPECT_EQ(device->status("/" + std::string(256, 'n')).error(), ENAMETOOLONG);
}

TEST(HostDevice, givesTwoNamesOfOneFileOneIdentity)
{
    const TemporaryDirectory directory;
    directory.makeFile("one", 3);
    directory.makeHardLink("sub/two", "one");
    directory.makeFile("three", 3);
    const auto device = deviceFor(directory);
    EXPECT_EQ(device->status("/one")->identity, device->status("/sub/two")->identity);
    EXPECT_NE(device->status("/one")->identity, device->status("/three")->identity);
}

TEST(HostDevice, needsOnlyToSearchTheDirectoriesAboveAFile)
{
    const TemporaryDirectory directory;
    directory.makeFile("above/closed/file", 4);
    directory.makeDirectory("above/closed/sub");
    directory.makeLink("above/closed/link", "sub/../file");
    directory.setMode("above/closed", 0311);
    directory.setMode("above", 0311);
    asOrdinaryUser([&] {
        const auto device = deviceFor(directory);
        EXPECT_EQ(device->status("/above/closed/file").error(), 0);
        EXPECT_EQ(device->resolve("/above/closed/sub").error(), 0);
        // The system's own calls go through all of these too.
        EXPECT_EQ(device->status("/above/closed/sub/../file").error(), 0);
        EXPECT_EQ(device->resolve("/above/closed/link").error(), 0);
    });
}

TEST(HostDevice, tellsTheStatusOfADirectoryThatMayNotBeEntered)
{
    const TemporaryDirectory directory;
    directory.makeFile("closed/file", 4);
    directory.setMode("closed", 0);
    asOrdinaryUser([&] {
        struct stat expected = {};
        ASSERT_EQ(::stat(directory.pathOf("closed").c_str(), &expected), 0);
        const auto device = deviceFor(directory);
        const Result<FileStatus> status = device->status("/closed");
        ASSERT_EQ(status.error(), 0);
        EXPECT_EQ(status->type, FileType::Directory);
        EXPECT_EQ(status->identity.inode, expected.st_ino);
        EXPECT_EQ(device->status("/closed/file").error(), EACCES);
    });
}

// ---- file systems

TEST(HostDevice, tellsTheCapacityThatTheSystemTells)
{
    const TemporaryDirectory directory;
    directory.makeFile("sub/file", 1);
    struct statvfs expected = {};
    ASSERT_EQ(::statvfs(directory.path().c_str(), &expected), 0);
    const std::uint64_t capacity = expected.f_blocks * expected.f_frsize;
    const auto device = deviceFor(directory);
    for (const char *path : {"/", "/sub", "/sub/file", "/sub/../sub/./file"}) {
        EXPECT_EQ(device->fileSystem(path)->capacityBytes, capacity) << path;
        EXPECT_EQ(device->fileSystem(path)->identity, device->fileSystem("/")->identity) << path;
    }
    const auto reader = device->makeReader();
    ASSERT_TRUE(reader->open("/sub"));
    EXPECT_EQ(reader->fileSystem().capacityBytes, capacity);
    EXPECT_EQ(reader->fileSystem().kind, device->fileSystem("/")->kind);
    EXPECT_EQ(device->fileSystem("/missing").error(), ENOENT);
}

TEST(HostDevice, leavesTheCapacityOutWhereItCannotBeAsked)
{
    const TemporaryDirectory directory;
    FailingSystemCalls calls;
    calls.failEach(FailingSystemCalls::Function::FileSystemOf, EIO);
    const auto device = deviceFor(directory, &calls);
    const Result<FileSystem> fileSystem = device->fileSystem("/");
    ASSERT_TRUE(fileSystem);
    EXPECT_EQ(fileSystem->capacityBytes, 0U);
}

/// Every directory shows a device number of its own, as the subvolumes of some file systems do.
class SubvolumeCalls final : public SystemCalls {
public:
    explicit SubvolumeCalls(std::uint64_t magic) : m_magic(magic) {}

    int statOpen(int descriptor, struct stat *status) const override
    {
        const int answer = SystemCalls::statOpen(descriptor, status);
        status->st_dev = 0xff00000U + status->st_ino; // no mount has it
        return answer;
    }
    int fileSystemOf(int descriptor, FileSystemFacts *facts) const override
    {
        struct stat status = {};
        if (SystemCalls::statOpen(descriptor, &status) != 0) {
            return -1;
        }
        *facts = {.type = m_magic, .id = (77ULL << 32U) | (status.st_ino & 0xffffU), .capacityBytes = 1000};
        return 0;
    }

private:
    std::uint64_t m_magic;
};

TEST(HostDevice, countsSubvolumesWithDeviceNumbersOfTheirOwnAsOneFileSystem)
{
    const TemporaryDirectory directory;
    directory.makeDirectory("a");
    directory.makeDirectory("b");
    const SubvolumeCalls calls(BTRFS_SUPER_MAGIC);
    const auto device = deviceFor(directory, &calls);
    const Result<FileSystem> a = device->fileSystem("/a");
    const Result<FileSystem> b = device->fileSystem("/b");
    EXPECT_EQ(a->identity, b->identity);
    EXPECT_EQ(a->kind, FileSystemKind::Storage);
    const auto reader = device->makeReader();
    const Result<FileIdentity> identityOfA = reader->open("/a");
    const Result<FileIdentity> identityOfB = reader->open("/b");
    EXPECT_NE(identityOfA->device, identityOfB->device);
    EXPECT_EQ(reader->fileSystem().identity, a->identity);
}

TEST(HostDevice, takesDifferentDeviceNumbersForDifferentFileSystemsElsewhere)
{
    const TemporaryDirectory directory;
    directory.makeDirectory("a");
    directory.makeDirectory("b");
    const SubvolumeCalls calls(EXT4_SUPER_MAGIC);
    const auto device = deviceFor(directory, &calls);
    EXPECT_NE(device->fileSystem("/a")->identity, device->fileSystem("/b")->identity);
}

TEST(HostDevice, tellsTheKindByTheMagicNumberWhereNoMountNamesTheDevice)
{
    const TemporaryDirectory directory;
    const SubvolumeCalls calls(NFS_SUPER_MAGIC);
    EXPECT_EQ(deviceFor(directory, &calls)->fileSystem("/")->kind, FileSystemKind::Network);
}

} // namespace
} // namespace slicewise
