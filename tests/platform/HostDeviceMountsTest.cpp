#include "platform/HostDevice.h"
#include "platform/MountTable.h"
#include "tests/support/FailingSystemCalls.h"
#include "tests/support/InChild.h"
#include "tests/support/Listing.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

namespace slicewise {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using Function = FailingSystemCalls::Function;

std::unique_ptr<HostDevice> deviceFor(const TemporaryDirectory &directory, const SystemCalls *calls = nullptr)
{
    return std::move(HostDevice::open(directory.path(), calls)).value();
}

void mountMemory(const std::string &path, const char *options = "size=1m")
{
    ASSERT_EQ(::mount("memory", path.c_str(), "tmpfs", 0, options), 0)
        << path << ": " << std::generic_category().message(errno);
}

void mountAgain(const std::string &source, const std::string &path)
{
    ASSERT_EQ(::mount(source.c_str(), path.c_str(), nullptr, MS_BIND | MS_REC, nullptr), 0)
        << path << ": " << std::generic_category().message(errno);
}

std::vector<std::string> pathsOf(const std::vector<Mount> &mounts)
{
    std::vector<std::string> paths;
    paths.reserve(mounts.size());
    for (const Mount &mount : mounts) {
        paths.push_back(mount.path);
    }
    return paths;
}

Mount mountAt(const Device &device, const std::string &path)
{
    for (const Mount &mount : device.mounts()) {
        if (mount.path == path) {
            return mount;
        }
    }
    ADD_FAILURE() << "nothing mounted at " << path;
    return {};
}

// The directories that another file system begins at: what a walk that asks each of them finds.
std::set<std::string> mountPointsBelow(const std::string &top)
{
    std::set<std::string> found;
    std::vector<std::string> left = {top};
    while (!left.empty()) {
        const std::string above = left.back();
        left.pop_back();
        struct stat statusAbove = {};
        EXPECT_EQ(::stat(above.c_str(), &statusAbove), 0);
        for (const auto &entry : std::filesystem::directory_iterator(above)) {
            struct stat status = {};
            EXPECT_EQ(::stat(entry.path().c_str(), &status), 0);
            if (status.st_dev != statusAbove.st_dev) {
                found.insert(entry.path());
            }
            left.push_back(entry.path());
        }
    }
    return found;
}

// Where the directory for temporary files does.
bool liesInMemory(const Device &device)
{
    return device.fileSystem("/")->kind == FileSystemKind::Memory;
}

TEST(HostDeviceMounts, areNoneInADirectoryWithout)
{
    const TemporaryDirectory directory;
    directory.makeDirectory("sub");
    EXPECT_THAT(deviceFor(directory)->mounts(), IsEmpty());
}

TEST(HostDeviceMounts, haveDevicePathsTypesAndKinds)
{
    const TemporaryDirectory directory;
    directory.makeDirectory("memory");
    directory.makeDirectory("a/proc");
    withOwnMounts([&] {
        mountMemory(directory.pathOf("memory"));
        mountAgain("/proc", directory.pathOf("a/proc"));
        const auto device = deviceFor(directory);
        EXPECT_EQ(mountAt(*device, "/memory").type, "tmpfs");
        EXPECT_EQ(mountAt(*device, "/memory").kind, FileSystemKind::Memory);
        EXPECT_EQ(mountAt(*device, "/a/proc").type, "proc");
        EXPECT_EQ(mountAt(*device, "/a/proc").kind, FileSystemKind::NoStorage);
    });
}

TEST(HostDeviceMounts, endAtTheRootOfTheDevice)
{
    const TemporaryDirectory directory;
    directory.makeDirectory("root/inside");
    directory.makeDirectory("root2");
    directory.makeDirectory("beside");
    withOwnMounts([&] {
        mountMemory(directory.pathOf("beside"));
        mountMemory(directory.pathOf("root2"));                         // begins as the root does
        mountAgain(directory.pathOf("root"), directory.pathOf("root")); // the root itself is none below it
        mountMemory(directory.pathOf("root/inside"));
        const auto device = std::move(HostDevice::open(directory.pathOf("root"))).value();
        EXPECT_THAT(pathsOf(device->mounts()), ElementsAre("/inside"));
    });
}

TEST(HostDeviceMounts, tellTheIdentityThatTheirTopHas)
{
    const TemporaryDirectory directory;
    directory.makeFile("storage/file", 1);
    directory.makeDirectory("bound");
    directory.makeDirectory("deep/bound");
    withOwnMounts([&] {
        mountAgain(directory.pathOf("storage"), directory.pathOf("bound"));
        mountAgain(directory.pathOf("storage"), directory.pathOf("deep/bound"));
        const auto device = deviceFor(directory);
        const FileIdentity expected = device->status("/storage")->identity;
        for (const char *path : {"/bound", "/deep/bound"}) {
            const Mount mount = mountAt(*device, path);
            EXPECT_EQ(mount.identity, std::optional(expected)) << path;
            EXPECT_EQ(*device->makeReader()->open(path), expected) << path;
            EXPECT_EQ(mount.kind, device->fileSystem("/")->kind) << path;
        }
    });
}

TEST(HostDeviceMounts, ofAFileHaveTheFilesIdentity)
{
    const TemporaryDirectory directory;
    directory.makeFile("file", 1);
    directory.makeFile("bound", 2);
    withOwnMounts([&] {
        mountAgain(directory.pathOf("file"), directory.pathOf("bound"));
        const auto device = deviceFor(directory);
        EXPECT_EQ(mountAt(*device, "/bound").identity, std::optional(device->status("/file")->identity));
    });
}

TEST(HostDeviceMounts, areNotTouchedWhereThatCouldHangOrMeansNothing)
{
    const TemporaryDirectory directory;
    directory.makeDirectory("proc");
    directory.makeDirectory("bound");
    directory.makeDirectory("storage");
    withOwnMounts([&] {
        mountAgain("/proc", directory.pathOf("proc"));
        mountAgain(directory.pathOf("storage"), directory.pathOf("bound"));
        FailingSystemCalls calls;
        std::vector<std::string> asked;
        for (const Function function : {Function::StatAt, Function::OpenAt, Function::OpenWithoutLinks}) {
            calls.runBefore(function,
                            [&](const FailingSystemCalls::Call &call) { asked.push_back(call.path); });
        }
        const auto device = deviceFor(directory, &calls);
        asked.clear(); // the root itself
        EXPECT_EQ(mountAt(*device, "/proc").identity, std::nullopt);
        for (const std::string &path : asked) {
            EXPECT_FALSE(path.starts_with("proc")) << path;
        }
    });
}

TEST(HostDeviceMounts, inMemoryHaveAnIdentityOnlyUnderARootInMemory)
{
    const TemporaryDirectory directory;
    directory.makeDirectory("memory");
    withOwnMounts([&] {
        mountMemory(directory.pathOf("memory"));
        const auto storage = deviceFor(directory);
        if (!liesInMemory(*storage)) {
            EXPECT_EQ(mountAt(*storage, "/memory").identity, std::nullopt);
        }
        directory.makeDirectory("memory/more");
        mountMemory(directory.pathOf("memory/more"));
        const auto memory = std::move(HostDevice::open(directory.pathOf("memory"))).value();
        EXPECT_EQ(mountAt(*memory, "/more").identity, std::optional(memory->status("/more")->identity));
    });
}

TEST(HostDeviceMounts, thatAnotherOneHidesAreLeftOut)
{
    const TemporaryDirectory directory;
    directory.makeDirectory("a/b");
    directory.makeDirectory("c");
    withOwnMounts([&] {
        mountMemory(directory.pathOf("a/b"));
        mountMemory(directory.pathOf("a"));
        mountMemory(directory.pathOf("c"));
        mountMemory(directory.pathOf("c"), "size=2m");
        const auto device = deviceFor(directory);
        EXPECT_THAT(pathsOf(device->mounts()), UnorderedElementsAre("/a", "/c"));
        EXPECT_EQ(device->fileSystem("/c")->capacityBytes, 2U << 20U);
    });
}

TEST(HostDeviceMounts, areFoundWhereTheirPathsAreEscapedInTheTable)
{
    const TemporaryDirectory directory;
    directory.makeDirectory("a b\nc\\d\te\xff");
    withOwnMounts([&] {
        mountMemory(directory.pathOf("a b\nc\\d\te\xff"));
        EXPECT_THAT(pathsOf(deviceFor(directory)->mounts()), ElementsAre("/a b\nc\\d\te\xff"));
    });
}

TEST(HostDeviceMounts, areOtherFileSystemsWithCapacitiesOfTheirOwn)
{
    const TemporaryDirectory directory;
    directory.makeDirectory("memory");
    withOwnMounts([&] {
        mountMemory(directory.pathOf("memory"));
        directory.makeFile("memory/sub/file", 1000);
        const auto device = deviceFor(directory);
        const auto reader = device->makeReader();
        const FileIdentity root = *reader->open("/");
        const FileIdentity sub = *reader->open("/memory/sub");
        EXPECT_NE(root.device, sub.device);
        EXPECT_EQ(reader->fileSystem().kind, FileSystemKind::Memory);
        EXPECT_EQ(reader->fileSystem().capacityBytes, 1U << 20U);
        EXPECT_NE(reader->fileSystem().identity, device->fileSystem("/")->identity);
        EXPECT_THAT(listDirectory(*reader, "/memory/sub").entries, ElementsAre(listedFile("file", 1000)));
    });
}

// Mounts something, or moves a mount, somewhere below the directory; whatever the kernel refuses stays
// undone.
void changeMountsAtRandom(const TemporaryDirectory &directory, std::mt19937 &random)
{
    constexpr std::array kPlaces = {"a", "a/a", "a/b", "a/b/a", "b", "b/a", "b/b", "ab", "a/a/a"};
    const std::string place = kPlaces.at(random() % kPlaces.size());
    directory.makeDirectory(place);
    if (random() % 3 == 0) {
        const std::string from = kPlaces.at(random() % kPlaces.size());
        static_cast<void>(::mount(directory.pathOf(from).c_str(), directory.pathOf(place).c_str(), nullptr,
                                  MS_MOVE, nullptr));
    } else {
        mountMemory(directory.pathOf(place));
    }
}

TEST(HostDeviceMounts, areThoseThatTheSystemComesToByTheirPaths)
{
    const TemporaryDirectory directory;
    withOwnMounts([&] {
        std::mt19937 random(3);
        for (int round = 0; round < 30; ++round) {
            directory.makeDirectory("top");
            mountMemory(directory.path()); // hides the round before
            for (int i = 0; i < 10; ++i) {
                changeMountsAtRandom(directory, random);
            }
            std::ifstream stream("/proc/self/mountinfo");
            std::ostringstream text;
            text << stream.rdbuf();
            std::set<std::string> found;
            for (const MountLine &line : parseMountTable(text.str())) {
                if (line.path.starts_with(directory.path() + "/")) {
                    struct stat status = {};
                    ASSERT_EQ(::stat(line.path.c_str(), &status), 0) << line.path;
                    EXPECT_EQ(status.st_dev, ::makedev(line.deviceMajor, line.deviceMinor)) << line.path;
                    found.insert(line.path);
                }
            }
            EXPECT_EQ(found, mountPointsBelow(directory.path())) << text.str();
            if (testing::Test::HasFailure()) {
                return;
            }
        }
    });
}

// A process stays on the mount that its root lies on, whatever is mounted over "/" afterwards.
TEST(HostDeviceMounts, overTheRootOfTheProcessChangeNothingForIt)
{
    withOwnMounts([] {
        const std::vector<std::string> before = pathsOf((*HostDevice::open("/"))->mounts());
        mountMemory("/");
        EXPECT_EQ(pathsOf((*HostDevice::open("/"))->mounts()), before);
        struct stat root = {};
        ASSERT_EQ(::stat("/", &root), 0);
        std::ifstream stream("/proc/self/mountinfo");
        std::ostringstream text;
        text << stream.rdbuf();
        bool found = false;
        for (const MountLine &line : parseMountTable(text.str())) {
            if (line.path == "/") {
                found = true;
                EXPECT_EQ(root.st_dev, ::makedev(line.deviceMajor, line.deviceMinor)) << text.str();
            }
        }
        EXPECT_TRUE(found) << text.str();
    });
}

TEST(HostDeviceMounts, ofTheKernelsOwnAreNoStorageForAReaderInThem)
{
    const TemporaryDirectory directory;
    directory.makeDirectory("proc");
    withOwnMounts([&] {
        mountAgain("/proc", directory.pathOf("proc"));
        const auto device = deviceFor(directory);
        const auto reader = device->makeReader();
        ASSERT_TRUE(reader->open("/proc/sys"));
        EXPECT_EQ(reader->fileSystem().kind, FileSystemKind::NoStorage);
    });
}

} // namespace
} // namespace slicewise
