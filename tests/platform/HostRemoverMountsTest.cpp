// What is mounted in a tree that is removed: real mounts, in a child's own table.
#include "platform/HostRemover.h"
#include "tests/support/DiskState.h"
#include "tests/support/FailingSystemCalls.h"
#include "tests/support/InChild.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/mount.h>

#include <cerrno>
#include <memory>
#include <set>
#include <string>
#include <system_error>

namespace slicewise {
namespace {

using testing::ElementsAre;
using Call = FailingSystemCalls::Call;
using Function = FailingSystemCalls::Function;

void mountMemory(const std::string &path)
{
    ASSERT_EQ(::mount("memory", path.c_str(), "tmpfs", 0, "size=1m"), 0)
        << path << ": " << std::generic_category().message(errno);
}

void mountAgain(const std::string &source, const std::string &path)
{
    ASSERT_EQ(::mount(source.c_str(), path.c_str(), nullptr, MS_BIND, nullptr), 0)
        << path << ": " << std::generic_category().message(errno);
}

std::set<std::string> namesIn(const std::string &hostDirectory)
{
    std::set<std::string> names;
    for (const auto &[name, state] : diskState(hostDirectory)) {
        names.insert(name);
    }
    return names;
}

/// What the kernel refuses.
struct Surroundings {
    const char *name;
    bool inOneCall;
    bool mountNumbers;
};

class RemovalAmongMounts : public testing::TestWithParam<Surroundings> {
protected:
    RemovalAmongMounts()
    {
        if (!GetParam().inOneCall) {
            m_calls.failEach(Function::OpenWithoutLinks, ENOSYS);
            m_calls.failEach(Function::OpenBeneath, ENOSYS);
        }
        if (!GetParam().mountNumbers) {
            m_calls.failEach(Function::MountOf, ENOSYS);
        }
    }

    // In the child, whose mounts a device that was opened before would not see.
    Result<std::uint64_t> remove(const std::string &path)
    {
        const auto device = std::move(HostDevice::open(m_directory.path(), &m_calls)).value();
        return device->makeRemover()->remove(path);
    }

    TemporaryDirectory m_directory;
    FailingSystemCalls m_calls;
};

/// Where another part of the same file system can be told from an ordinary directory: by openat2(2), or by
/// the number of its mount.
class RemovalKnowingMounts : public RemovalAmongMounts {};

TEST_P(RemovalAmongMounts, leavesAFileSystemThatIsMountedInTheTreeAndRemovesAllElse)
{
    m_directory.makeFile("tree/a/disk/hidden");
    m_directory.makeFile("tree/a/file");
    m_directory.makeFile("tree/z/file");
    withOwnMounts([&] {
        mountMemory(m_directory.pathOf("tree/a/disk"));
        m_directory.makeFile("tree/a/disk/below/file", 5);
        EXPECT_EQ(remove("/tree").error(), EBUSY);
        EXPECT_THAT(namesIn(m_directory.pathOf("tree")),
                    ElementsAre("", "/a", "/a/disk", "/a/disk/below", "/a/disk/below/file"));
        EXPECT_EQ(remove("/tree/a/disk").error(), EBUSY);
        EXPECT_THAT(namesIn(m_directory.pathOf("tree/a/disk")), ElementsAre("", "/below", "/below/file"));
        EXPECT_EQ(*remove("/tree/a/disk/below/file"), 1U) << "mounts above the path are passed";
        EXPECT_EQ(*remove("/tree/a/disk/below"), 1U);
        ASSERT_EQ(::umount(m_directory.pathOf("tree/a/disk").c_str()), 0);
        EXPECT_EQ(*remove("/tree"), 4U);
    });
}

TEST_P(RemovalKnowingMounts, leavesAnotherPartOfTheSameFileSystem)
{
    m_directory.makeFile("canary/sub/file", 3);
    m_directory.makeFile("canary/file", 4);
    m_directory.makeFile("tree/a/bound/hidden");
    m_directory.makeFile("tree/a/file");
    withOwnMounts([&] {
        const auto canary = diskState(m_directory.pathOf("canary"));
        mountAgain(m_directory.pathOf("canary"), m_directory.pathOf("tree/a/bound"));
        EXPECT_EQ(remove("/tree/a/bound").error(), EBUSY);
        EXPECT_EQ(remove("/tree").error(), EBUSY);
        EXPECT_EQ(diskState(m_directory.pathOf("canary")), canary);
        EXPECT_THAT(namesIn(m_directory.pathOf("tree")),
                    ElementsAre("", "/a", "/a/bound", "/a/bound/file", "/a/bound/sub", "/a/bound/sub/file"));
    });
}

TEST_P(RemovalAmongMounts, leavesAFileThatAnotherIsMountedOn)
{
    m_directory.writeFile("canary", "stays");
    m_directory.makeFile("tree/bound");
    m_directory.makeFile("tree/file");
    withOwnMounts([&] {
        mountAgain(m_directory.pathOf("canary"), m_directory.pathOf("tree/bound"));
        EXPECT_EQ(remove("/tree/bound").error(), EBUSY);
        EXPECT_EQ(remove("/tree").error(), EBUSY);
        EXPECT_THAT(namesIn(m_directory.path()), ElementsAre("", "/canary", "/tree", "/tree/bound"));
    });
}

TEST_P(RemovalKnowingMounts, leavesWhatIsMountedAtTheLastMoment)
{
    m_directory.makeFile("canary/file", 4);
    m_directory.makeFile("tree/sub/file");
    m_directory.makeFile("tree/other/file");
    withOwnMounts([&] {
        const auto canary = diskState(m_directory.pathOf("canary"));
        m_calls.runBefore(GetParam().inOneCall ? Function::OpenBeneath : Function::OpenAt,
                          [&](const Call &call) {
                              if (call.path == "sub") {
                                  mountAgain(m_directory.pathOf("canary"), m_directory.pathOf("tree/sub"));
                              }
                          });
        EXPECT_EQ(remove("/tree").error(), EBUSY);
        EXPECT_EQ(diskState(m_directory.pathOf("canary")), canary);
        EXPECT_THAT(namesIn(m_directory.pathOf("tree")), ElementsAre("", "/sub", "/sub/file"));
    });
}

TEST_P(RemovalAmongMounts, leavesWhatIsMountedOnADirectoryWhileItIsInIt)
{
    m_directory.makeFile("canary/file", 4);
    m_directory.makeFile("tree/sub/deep/below");
    withOwnMounts([&] {
        const auto canary = diskState(m_directory.pathOf("canary"));
        m_calls.runBefore(Function::UnlinkAt, [&](const Call &call) {
            if (call.path == "below") {
                mountAgain(m_directory.pathOf("canary"), m_directory.pathOf("tree/sub"));
            }
        });
        EXPECT_EQ(remove("/tree").error(), EBUSY);
        EXPECT_EQ(diskState(m_directory.pathOf("canary")), canary);
        ASSERT_EQ(::umount(m_directory.pathOf("tree/sub").c_str()), 0);
        EXPECT_THAT(namesIn(m_directory.pathOf("tree")), ElementsAre("", "/sub"));
    });
}

std::string nameOf(const testing::TestParamInfo<Surroundings> &test)
{
    return test.param.name;
}

constexpr Surroundings kAsTheyAre = {"AsTheyAre", true, true};
constexpr Surroundings kOpeningNameByName = {"OpeningNameByName", false, true};

INSTANTIATE_TEST_SUITE_P(HostRemover, RemovalKnowingMounts, testing::Values(kAsTheyAre, kOpeningNameByName),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(HostRemover, RemovalAmongMounts,
                         testing::Values(kAsTheyAre, kOpeningNameByName,
                                         Surroundings{"KnowingFileSystemsAlone", false, false}),
                         nameOf);

TEST(SystemCalls, tellOneMountFromAnotherByItsNumber)
{
    const TemporaryDirectory directory;
    directory.makeDirectory("here/sub");
    directory.makeDirectory("bound");
    withOwnMounts([&] {
        mountAgain(directory.pathOf("here"), directory.pathOf("bound"));
        const SystemCalls calls;
        const auto mountOf = [&](const char *path) {
            const UniqueFd file(::open(directory.pathOf(path).c_str(), O_PATH | O_CLOEXEC));
            std::uint64_t mount = 0;
            EXPECT_EQ(calls.mountOf(file.get(), &mount), 0) << path;
            return mount;
        };
        EXPECT_EQ(mountOf("here"), mountOf("here/sub"));
        EXPECT_EQ(mountOf("bound"), mountOf("bound/sub"));
        EXPECT_NE(mountOf("here"), mountOf("bound"));
        std::uint64_t mount = 0;
        EXPECT_EQ(calls.mountOf(-1, &mount), -1);
    });
}

} // namespace
} // namespace slicewise
