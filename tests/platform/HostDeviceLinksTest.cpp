#include "platform/HostDevice.h"
#include "tests/support/FailingSystemCalls.h"
#include "tests/support/InChild.h"
#include "tests/support/Listing.h"
#include "tests/support/MemoryDevice.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace slicewise {
namespace {

using testing::ElementsAre;
using Call = FailingSystemCalls::Call;
using Function = FailingSystemCalls::Function;

std::unique_ptr<HostDevice> deviceFor(const TemporaryDirectory &directory, const SystemCalls *calls = nullptr)
{
    return std::move(HostDevice::open(directory.path(), calls)).value();
}

// ---- opening, by one call and name by name

/// What opening in one call is refused with; 0 where it is not.
class WayOfOpening : public testing::TestWithParam<int> {
protected:
    WayOfOpening()
    {
        if (GetParam() != 0) {
            m_calls.failEach(Function::OpenWithoutLinks, GetParam());
        }
    }

    TemporaryDirectory m_directory;
    FailingSystemCalls m_calls;
};

TEST_P(WayOfOpening, neverFollowsALinkInAnyComponent)
{
    m_directory.makeFile("a/b/c/file", 1);
    m_directory.makeLink("link", "a");
    m_directory.makeLink("a/link", "b");
    m_directory.makeLink("a/b/link", "c");
    m_directory.makeLink("a/b/up", "..");
    m_directory.makeLink("absolute", m_directory.path() + "/a");
    m_directory.makeLink("outside", "/");
    m_directory.makeLink("dangling", "nothing");
    m_directory.makeLink("loop", "loop");
    m_directory.makeLink("to file", "a/b/c/file");
    const auto device = deviceFor(m_directory, &m_calls);
    for (const char *path :
         {"/link", "/link/b", "/link/b/c", "/a/link", "/a/link/c", "/a/b/link", "/a/b/up/b", "/absolute",
          "/absolute/b/c", "/outside", "/outside/etc", "/dangling", "/dangling/below", "/loop", "/loop/below",
          "/to file", "/to file/below"}) {
        EXPECT_EQ(listDirectory(*device, path).error, ELOOP) << path;
    }
    EXPECT_THAT(listDirectory(*device, "/a/b/c").entries, ElementsAre(listedFile("file", 1)));
}

TEST_P(WayOfOpening, givesTheSameErrors)
{
    m_directory.makeFile("file", 1);
    m_directory.makeFifo("fifo");
    m_directory.makeDirectory("a");
    const auto device = deviceFor(m_directory, &m_calls);
    EXPECT_EQ(listDirectory(*device, "/missing").error, ENOENT);
    EXPECT_EQ(listDirectory(*device, "/a/missing/below").error, ENOENT);
    EXPECT_EQ(listDirectory(*device, "/file").error, ENOTDIR);
    EXPECT_EQ(listDirectory(*device, "/file/below").error, ENOTDIR);
    EXPECT_EQ(listDirectory(*device, "/fifo").error, ENOTDIR);
    EXPECT_EQ(listDirectory(*device, "/" + std::string(256, 'n')).error, ENAMETOOLONG);
    EXPECT_EQ(listDirectory(*device, "/" + std::string(5000, 'n')).error, ENAMETOOLONG);
    EXPECT_EQ(listDirectory(*device, "/a/" + std::string(5000, 'n') + "/b").error, ENAMETOOLONG);
}

TEST_P(WayOfOpening, passesThroughDirectoriesThatMayNotBeRead)
{
    m_directory.makeFile("a/b/file", 1);
    m_directory.setMode("a", 0311);
    asOrdinaryUser([&] {
        const auto device = deviceFor(m_directory, &m_calls);
        EXPECT_EQ(listDirectory(*device, "/a").error, EACCES);
        EXPECT_THAT(listDirectory(*device, "/a/b").entries, ElementsAre(listedFile("file", 1)));
    });
}

TEST_P(WayOfOpening, neverLeavesTheRootByDots)
{
    m_directory.makeDirectory("root/sub");
    m_directory.makeFile("secret", 1);
    const auto device = std::move(HostDevice::open(m_directory.pathOf("root"), &m_calls)).value();
    for (const char *path : {"/..", "/../..", "/sub/../..", "/../root", "/sub/../../root/sub"}) {
        const Listing listing = listDirectory(*device, path);
        for (const ListedEntry &entry : listing.entries) {
            EXPECT_NE(entry.name, "secret") << path;
            EXPECT_NE(entry.name, "root") << path;
        }
    }
}

TEST_P(WayOfOpening, isNotLedAwayByALinkThatAppearsMeanwhile)
{
    m_directory.makeFile("root/a/b/file", 1);
    m_directory.makeFile("outside/b/secret", 1);
    const auto device = std::move(HostDevice::open(m_directory.pathOf("root"), &m_calls)).value();
    m_calls.runBefore(GetParam() == 0 ? Function::OpenWithoutLinks : Function::OpenAt, [&](const Call &) {
        m_directory.remove("root/a");
        m_directory.makeLink("root/a", m_directory.pathOf("outside"));
        m_calls.heal();
        if (GetParam() != 0) {
            m_calls.failEach(Function::OpenWithoutLinks, GetParam());
        }
    });
    EXPECT_EQ(listDirectory(*device, "/a/b").error, ELOOP);
}

TEST_P(WayOfOpening, opensPathsOfAnyLength)
{
    constexpr std::size_t kDepth = 3000;
    const std::string chain = TemporaryDirectory::chain(kDepth, "a-directory");
    ASSERT_GT(chain.size(), std::size_t{8} * PATH_MAX);
    m_directory.makeFile(chain + "/file", 77);
    const auto device = deviceFor(m_directory, &m_calls);
    EXPECT_THAT(listDirectory(*device, "/" + chain).entries, ElementsAre(listedFile("file", 77)));
    EXPECT_EQ(listDirectory(*device, "/" + chain + "/missing").error, ENOENT);
    EXPECT_EQ(listDirectory(*device, "/" + chain + "/file").error, ENOTDIR);
    EXPECT_EQ(device->status("/" + chain + "/file")->sizeBytes, 77U);
    EXPECT_EQ(device->status("/" + chain)->type, FileType::Directory);
    EXPECT_EQ(*device->resolve("/" + chain + "/./file"), "/" + chain + "/file");
    EXPECT_EQ(*device->resolve("/" + chain + "/../a-directory/file"), "/" + chain + "/file");
    EXPECT_TRUE(device->fileSystem("/" + chain + "/file"));
}

TEST_P(WayOfOpening, walksDownALongChainStepByStep)
{
    constexpr std::size_t kDepth = 600;
    m_directory.makeFile(TemporaryDirectory::chain(kDepth, "directory") + "/file", 7);
    const auto device = deviceFor(m_directory, &m_calls);
    const auto reader = device->makeReader();
    std::string path;
    for (std::size_t depth = 0; depth < kDepth; ++depth) {
        const Listing listing = listDirectory(*reader, path.empty() ? "/" : path);
        ASSERT_EQ(listing.error, 0) << depth;
        ASSERT_THAT(listing.entries, ElementsAre(listedDirectory("directory"))) << depth;
        path += "/directory";
    }
    EXPECT_THAT(listDirectory(*reader, path).entries, ElementsAre(listedFile("file", 7)));
    const std::uint64_t calls = m_calls.count(Function::OpenWithoutLinks) + m_calls.count(Function::OpenAt);
    if (GetParam() == 0) {
        EXPECT_LT(calls, 10 * kDepth); // each step costs the same, however deep it is
    }
}

TEST_P(WayOfOpening, jumpsBetweenLongPathsThatBeginAlike)
{
    const std::string shared = TemporaryDirectory::chain(150, "directory");
    std::vector<std::string> paths = {"/", "/directory", "/" + shared};
    for (const char *branch : {"a", "aa", "a/a", "a/b", "b"}) {
        const std::string path = shared + "/" + branch + "/" + TemporaryDirectory::chain(140, "longer-name");
        m_directory.makeDirectory(path + "/end");
        paths.push_back("/" + path);
        paths.push_back("/" + path + "/end");
        paths.push_back("/" + shared + "/" + branch);
    }
    const auto device = deviceFor(m_directory, &m_calls);
    std::vector<FileIdentity> expected;
    expected.reserve(paths.size());
    for (const std::string &path : paths) {
        expected.push_back(*device->makeReader()->open(path));
    }
    const auto reader = device->makeReader();
    std::mt19937 random(7);
    for (int jump = 0; jump < 200; ++jump) {
        const std::size_t to = random() % paths.size();
        ASSERT_EQ(*reader->open(paths[to]), expected[to]) << paths[to];
    }
}

INSTANTIATE_TEST_SUITE_P(HostDevice, WayOfOpening, testing::Values(0, ENOSYS, EPERM),
                         [](const testing::TestParamInfo<int> &error) {
                             return error.param == 0        ? "InOneCall"
                                    : error.param == ENOSYS ? "WithoutTheCall"
                                                            : "WithTheCallForbidden";
                         });

TEST(HostDevice, asksForTheRefusedCallOnlyOnce)
{
    const TemporaryDirectory directory;
    directory.makeDirectory("a");
    FailingSystemCalls calls;
    calls.failEach(Function::OpenWithoutLinks, ENOSYS);
    const auto device = deviceFor(directory, &calls);
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(listDirectory(*device, "/a").error, 0);
    }
    EXPECT_EQ(calls.count(Function::OpenWithoutLinks), 1U);
}

// ---- status and resolve

TEST(HostDevice, followsLinksForStatusAndKeepsThemInsideTheRoot)
{
    const TemporaryDirectory directory;
    directory.makeFile("root/a/file", 5);
    directory.makeFile("outside", 99);
    directory.makeLink("root/relative", "a/file");
    directory.makeLink("root/a/up", "../a/./file");
    directory.makeLink("root/absolute", "/a/file");
    directory.makeLink("root/directory", "/a");
    directory.makeLink("root/too far up", "../../../../a/file");
    directory.makeLink("root/a/out", "../../outside");
    directory.makeLink("root/to host", directory.pathOf("outside"));
    directory.makeLink("root/top", "/");
    const auto device = std::move(HostDevice::open(directory.pathOf("root"))).value();
    for (const char *path : {"/relative", "/a/up", "/absolute", "/directory/file", "/too far up",
                             "/top/absolute", "/../a/file", "/../../top/../a/../directory/up"}) {
        EXPECT_EQ(device->status(path)->sizeBytes, 5U) << path;
        EXPECT_EQ(*device->resolve(path), "/a/file") << path;
    }
    EXPECT_EQ(device->status("/a/out").error(), ENOENT);
    EXPECT_EQ(device->status("/to host").error(), ENOENT);
    EXPECT_EQ(device->status("/top")->identity, device->status("/")->identity);
    EXPECT_EQ(*device->resolve("/top"), "/");
}

TEST(HostDevice, followsAsManyLinksAsTheKernelAndNoMore)
{
    const TemporaryDirectory directory;
    directory.makeFile("link0", 3);
    for (int i = 1; i <= 41; ++i) {
        directory.makeLink("link" + std::to_string(i), "link" + std::to_string(i - 1));
    }
    directory.makeLink("loop", "loop");
    directory.makeLink("ping", "pong");
    directory.makeLink("pong", "ping/x");
    const auto device = deviceFor(directory);
    EXPECT_EQ(device->status("/link40")->sizeBytes, 3U);
    EXPECT_EQ(*device->resolve("/link40"), "/link0");
    for (const char *path : {"/link41", "/loop", "/loop/below", "/ping", "/pong"}) {
        EXPECT_EQ(device->status(path).error(), ELOOP) << path;
        EXPECT_EQ(device->resolve(path).error(), ELOOP) << path;
        EXPECT_EQ(device->fileSystem(path).error(), ELOOP) << path;
    }
}

TEST(HostDevice, followsALinkWhoseTargetIsAsLongAsOneCanBe)
{
    const TemporaryDirectory directory;
    directory.makeFile("file", 3);
    std::string target = "/";
    while (target.size() < PATH_MAX - 10) {
        target += "./";
    }
    directory.makeLink("link", target + "file");
    EXPECT_EQ(deviceFor(directory)->status("/link")->sizeBytes, 3U);
}

TEST(HostDevice, doesNotFollowALinkThatTakesADirectorysPlaceMeanwhile)
{
    const TemporaryDirectory directory;
    directory.makeFile("root/a/file", 5);
    directory.makeFile("outside/file", 99);
    FailingSystemCalls calls;
    calls.runBefore(Function::OpenAt, [&](const Call &call) {
        if (call.path == "a") {
            directory.remove("root/a");
            directory.makeLink("root/a", directory.pathOf("outside"));
        }
    });
    const auto device = std::move(HostDevice::open(directory.pathOf("root"), &calls)).value();
    const Result<FileStatus> status = device->status("/a/file");
    EXPECT_FALSE(status);
}

// ---- random trees of links, against the system and against a slow model

constexpr std::array kNames = {"a", "b", "c", "d"};

std::string randomPath(std::mt19937 &random, std::size_t most)
{
    std::string path;
    const std::size_t count = 1 + random() % most;
    for (std::size_t i = 0; i < count; ++i) {
        const auto kind = random() % 12;
        const std::string name = kind == 0   ? "."
                                 : kind <= 2 ? ".."
                                 : kind == 3 ? "missing"
                                             : kNames.at(random() % kNames.size());
        path += (i == 0 ? "" : random() % 10 == 0 ? "//" : "/") + name;
    }
    return path;
}

/// The same random tree on the disk and in memory.
class LinkedTree {
public:
    explicit LinkedTree(std::mt19937 &random)
    {
        std::vector<std::string> directories = {""};
        for (std::uint64_t i = 0; i < 14; ++i) {
            const std::string path =
                directories.at(random() % directories.size()) + kNames.at(random() % kNames.size());
            if (m_taken.insert(path).second) {
                add(path, random, i, directories);
            }
        }
    }

    [[nodiscard]] const TemporaryDirectory &directory() const { return m_directory; }
    [[nodiscard]] const MemoryDevice &memory() const { return m_memory; }

private:
    void add(const std::string &path, std::mt19937 &random, std::uint64_t size,
             std::vector<std::string> &directories)
    {
        switch (random() % 4) {
        case 0:
            m_directory.makeFile(path, size);
            m_memory.addFile(path, size);
            return;
        case 1:
            m_directory.makeDirectory(path);
            m_memory.addDirectory(path);
            directories.push_back(path + "/");
            return;
        default:
            const std::string target = (random() % 3 == 0 ? "/" : "") + randomPath(random, 3);
            m_directory.makeLink(path, target);
            m_memory.addLink(path, target);
            return;
        }
    }

    TemporaryDirectory m_directory;
    MemoryDevice m_memory;
    std::set<std::string> m_taken;
};

std::string described(const Result<std::string> &resolved)
{
    return resolved ? *resolved : "error " + std::to_string(resolved.error());
}

std::string described(const Result<FileStatus> &status)
{
    if (!status) {
        return "error " + std::to_string(status.error());
    }
    // The size of a directory is the file system's affair.
    return status->type == FileType::Directory ? "directory" : "file of " + std::to_string(status->sizeBytes);
}

std::string systemsPath(const std::string &path)
{
    std::array<char, PATH_MAX> buffer{};
    const char *resolved = ::realpath(path.c_str(), buffer.data());
    return resolved != nullptr ? resolved : "error " + std::to_string(errno);
}

std::string systemsStatus(const std::string &path)
{
    struct stat status = {};
    if (::stat(path.c_str(), &status) != 0) {
        return "error " + std::to_string(errno);
    }
    return S_ISDIR(status.st_mode) ? "directory" : "file of " + std::to_string(status.st_size);
}

TEST(HostDevice, resolvesEveryPathAsASlowModelDoes)
{
    std::mt19937 random(11);
    for (int round = 0; round < 60; ++round) {
        const LinkedTree tree(random);
        const auto device = deviceFor(tree.directory());
        for (int i = 0; i < 60; ++i) {
            const std::string path = "/" + randomPath(random, 5);
            ASSERT_EQ(described(device->resolve(path)), described(tree.memory().resolve(path))) << path;
            ASSERT_EQ(described(device->status(path)), described(tree.memory().status(path))) << path;
        }
    }
}

TEST(HostDevice, resolvesEveryPathAsTheSystemDoesWithTheSameRoot)
{
    std::mt19937 random(12);
    for (int round = 0; round < 25; ++round) {
        const LinkedTree tree(random);
        withOwnMounts([&] { // being root of something, it may change its root
            const auto device = deviceFor(tree.directory());
            ASSERT_EQ(::chroot(tree.directory().path().c_str()), 0);
            ASSERT_EQ(::chdir("/"), 0);
            for (int i = 0; i < 120; ++i) {
                const std::string path = "/" + randomPath(random, 5);
                ASSERT_EQ(described(device->resolve(path)), systemsPath(path)) << path;
                ASSERT_EQ(described(device->status(path)), systemsStatus(path)) << path;
            }
        });
        if (HasFailure() || IsSkipped()) {
            return;
        }
    }
}

TEST(HostDevice, resolvesRelativeLinksAsTheSystemDoesFromOutside)
{
    const TemporaryDirectory directory;
    directory.makeFile("a/b/file", 1);
    directory.makeLink("a/b/up", "..");
    directory.makeLink("a/link", "b/up/b/file");
    directory.makeLink("same", ".");
    const auto device = deviceFor(directory);
    for (const char *path : {"/a/b/up", "/a/link", "/a/b/up/b/up/link", "/same", "/same/same/a/b/up/b/file",
                             "/a/missing", "/a/link/below", "/a/b/../b/./up"}) {
        const std::string expected = systemsPath(directory.path() + path);
        const std::string resolved = described(device->resolve(path));
        EXPECT_EQ(resolved.starts_with('/') ? directory.path() + (resolved == "/" ? "" : resolved) : resolved,
                  expected)
            << path;
    }
}

} // namespace
} // namespace slicewise
