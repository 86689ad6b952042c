#include "platform/HostDevice.h"
#include "tests/support/FailingSystemCalls.h"
#include "tests/support/InChild.h"
#include "tests/support/MemoryDevice.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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

using Function = FailingSystemCalls::Function;

std::unique_ptr<HostDevice> deviceFor(const std::string &root, const SystemCalls *calls = nullptr)
{
    return std::move(HostDevice::open(root, calls)).value();
}

/// The one that asks the device for every path anew.
std::unique_ptr<PathResolver> plainResolver(const Device &device)
{
    return device.Device::makeResolver();
}

std::string described(const Result<std::string> &resolved)
{
    if (!resolved) {
        return "error " + std::to_string(resolved.error());
    }
    return *resolved;
}

// ---- random trees

/// What the system says: realpath(3) of as much of the path as there is, the other names behind it.
std::string systemsAnswer(std::string path)
{
    std::string rest;
    while (true) {
        while (path.ends_with('/')) {
            path.pop_back();
        }
        std::array<char, PATH_MAX> buffer{};
        if (::realpath(path.empty() ? "/" : path.c_str(), buffer.data()) != nullptr) {
            const std::string found = buffer.data();
            return rest.empty() ? found : (found == "/" ? "" : found) + rest;
        }
        if (errno != ENOENT) {
            return "error " + std::to_string(errno);
        }
        const std::size_t slash = path.rfind('/');
        rest.insert(0, path.substr(slash));
        path.resize(slash);
    }
}

std::string randomPath(std::mt19937 &random, std::size_t most)
{
    static constexpr std::array kNames = {"a", "b", "c", "d"};
    std::string path;
    const std::size_t count = 1 + random() % most;
    for (std::size_t i = 0; i < count; ++i) {
        const auto kind = random() % 14;
        const std::string name = kind == 0   ? "."
                                 : kind <= 2 ? ".."
                                 : kind == 3 ? "missing"
                                             : kNames.at(random() % kNames.size());
        path += (i == 0 ? "" : random() % 10 == 0 ? "//" : "/") + name;
    }
    return path + (random() % 12 == 0 ? "/" : "");
}

/// A random tree on the disk, and in memory the same.
class LinkedTree {
public:
    /// What its absolute links begin with.
    enum class Root { OfTheTree, OfTheHost };

    LinkedTree(std::mt19937 &random, Root root)
        : m_front(root == Root::OfTheHost ? m_directory.path() + "/" : "/")
    {
        std::vector<std::string> directories = {""};
        std::set<std::string> taken;
        for (std::uint64_t i = 0; i < 18; ++i) {
            const std::string path = directories.at(random() % directories.size()) + kNames.at(random() % 4);
            if (!taken.insert(path).second) {
                continue;
            }
            switch (random() % 4) {
            case 0:
                m_directory.makeFile(path, i);
                m_memory.addFile(path, i);
                break;
            case 1:
                m_directory.makeDirectory(path);
                m_memory.addDirectory(path);
                directories.push_back(path + "/");
                break;
            default:
                const std::string target = (random() % 3 == 0 ? m_front : "") + linkedPath(random);
                m_directory.makeLink(path, target);
                m_memory.addLink(path, target);
                break;
            }
        }
    }

    [[nodiscard]] const TemporaryDirectory &directory() const { return m_directory; }
    [[nodiscard]] const MemoryDevice &memory() const { return m_memory; }

private:
    static constexpr std::array kNames = {"a", "b", "c", "d"};

    // Whether a link ends in "/", which asks for a directory, is no matter of ours.
    static std::string linkedPath(std::mt19937 &random)
    {
        std::string path = randomPath(random, 3);
        while (path.ends_with('/')) {
            path.pop_back();
        }
        return path;
    }

    TemporaryDirectory m_directory;
    MemoryDevice m_memory;
    std::string m_front;
};

TEST(PathResolver, resolvesEveryPathAsTheSystemDoes)
{
    std::mt19937 random(21);
    const auto device = deviceFor("/");
    int missing = 0;
    for (int round = 0; round < 60; ++round) {
        const LinkedTree tree(random, LinkedTree::Root::OfTheHost);
        const auto resolver = device->makeResolver();
        const auto plain = plainResolver(*device);
        for (int i = 0; i < 120; ++i) {
            const std::string path = tree.directory().path() + "/" + randomPath(random, 5);
            const std::string expected = systemsAnswer(path);
            ASSERT_EQ(described(resolver->resolve(path)), expected) << path;
            ASSERT_EQ(described(plain->resolve(path)), expected) << path;
            missing += device->resolve(path).error() == ENOENT ? 1 : 0;
        }
    }
    EXPECT_GT(missing, 100);
}

TEST(PathResolver, resolvesEveryPathAsAnyOtherDoesBelowARootOfItsOwn)
{
    std::mt19937 random(22);
    for (int round = 0; round < 60; ++round) {
        const LinkedTree tree(random, LinkedTree::Root::OfTheTree);
        const auto device = deviceFor(tree.directory().path());
        const auto resolver = device->makeResolver();
        const auto plain = plainResolver(*device);
        const auto inMemory = tree.memory().makeResolver();
        for (int i = 0; i < 120; ++i) {
            const std::string path = (random() % 8 == 0 ? "" : "/") + randomPath(random, 5);
            const std::string expected = described(inMemory->resolve(path));
            ASSERT_EQ(described(resolver->resolve(path)), expected) << path;
            ASSERT_EQ(described(plain->resolve(path)), expected) << path;
        }
    }
}

// ---- one rule each

/// Both ways of resolving, below a root of their own.
class EachResolver : public testing::TestWithParam<bool> {
protected:
    [[nodiscard]] std::string resolved(std::string_view path)
    {
        if (m_resolver == nullptr) {
            m_device = deviceFor(m_directory.path());
            m_resolver = GetParam() ? m_device->makeResolver() : plainResolver(*m_device);
        }
        return described(m_resolver->resolve(path));
    }

    TemporaryDirectory m_directory;

private:
    std::unique_ptr<HostDevice> m_device;
    std::unique_ptr<PathResolver> m_resolver;
};

TEST_P(EachResolver, followsLinksAndKeepsThemInsideTheRoot)
{
    m_directory.makeFile("a/b/file");
    m_directory.makeLink("absolute", "/a/b");
    m_directory.makeLink("relative", "a/b");
    m_directory.makeLink("a/too far up", "../../../a/b/file");
    m_directory.makeLink("a/top", "/");
    EXPECT_EQ(resolved("/absolute/file"), "/a/b/file");
    EXPECT_EQ(resolved("/relative/file"), "/a/b/file");
    EXPECT_EQ(resolved("/a/too far up"), "/a/b/file");
    EXPECT_EQ(resolved("/a/top"), "/");
    EXPECT_EQ(resolved("/a/top/relative"), "/a/b");
    EXPECT_EQ(resolved("/a/top/a"), "/a");
    EXPECT_EQ(resolved("/.."), "/");
    EXPECT_EQ(resolved("/"), "/");
}

TEST_P(EachResolver, leavesWhatIsMissingAsItWasButForSlashes)
{
    m_directory.makeDirectory("a");
    m_directory.makeLink("link", "a");
    EXPECT_EQ(resolved("/missing"), "/missing");
    EXPECT_EQ(resolved("/link/missing"), "/a/missing");
    EXPECT_EQ(resolved("/link/./missing/../b/./c"), "/a/missing/../b/./c");
    EXPECT_EQ(resolved("/link/missing/.."), "/a/missing/..");
    EXPECT_EQ(resolved("//link///missing//b//"), "/a/missing/b");
    EXPECT_EQ(resolved("/link/missing/b"), "/a/missing/b");
    EXPECT_EQ(resolved("/link/"), "/a");
}

TEST_P(EachResolver, leavesALinkThatLeadsToNothingInItsPlace)
{
    m_directory.makeDirectory("a");
    m_directory.makeLink("a/dangling", "no/such/../file");
    m_directory.makeLink("a/absolute", "/a/none");
    m_directory.makeLink("a/link", "dangling");
    m_directory.makeLink("top", "/a");
    EXPECT_EQ(resolved("/a/dangling"), "/a/dangling");
    EXPECT_EQ(resolved("/top/dangling/below//it"), "/a/dangling/below/it");
    EXPECT_EQ(resolved("/top/absolute"), "/a/absolute");
    EXPECT_EQ(resolved("/top/./absolute/.."), "/a/absolute/..");
    EXPECT_EQ(resolved("/top/link/x"), "/a/link/x");
}

TEST_P(EachResolver, takesAPathAsFromTheRootAndAnEmptyOneAsMissing)
{
    m_directory.makeFile("a/file");
    EXPECT_EQ(resolved("a/file"), "/a/file");
    EXPECT_EQ(resolved("a/missing"), "/a/missing");
    EXPECT_EQ(resolved("missing"), "/missing");
    EXPECT_EQ(resolved("."), "/");
    EXPECT_EQ(resolved(""), "");
}

TEST_P(EachResolver, tellsWhyAPathCannotBeResolved)
{
    m_directory.makeFile("file");
    m_directory.makeLink("loop", "loop");
    m_directory.makeLink("to file", "file/below");
    const auto error = [](int number) { return "error " + std::to_string(number); };
    EXPECT_EQ(resolved("/file/below"), error(ENOTDIR));
    EXPECT_EQ(resolved("/file/below/further"), error(ENOTDIR));
    EXPECT_EQ(resolved("/file/.."), error(ENOTDIR));
    EXPECT_EQ(resolved("/to file"), error(ENOTDIR));
    EXPECT_EQ(resolved("/loop"), error(ELOOP));
    EXPECT_EQ(resolved("/loop/below"), error(ELOOP));
    EXPECT_EQ(resolved("/" + std::string(NAME_MAX + 1, 'n')), error(ENAMETOOLONG));
    EXPECT_EQ(resolved("/missing/" + std::string(NAME_MAX + 1, 'n')),
              "/missing/" + std::string(NAME_MAX + 1, 'n'));
}

TEST_P(EachResolver, refusesPathsLongerThanTheSystemTakes)
{
    const std::string dots = std::string("/a") + std::string(PATH_MAX, '/');
    m_directory.makeDirectory("a");
    EXPECT_EQ(resolved(dots.substr(0, PATH_MAX - 1)), "/a");
    EXPECT_EQ(resolved(dots.substr(0, PATH_MAX)), "error " + std::to_string(ENAMETOOLONG));
}

TEST_P(EachResolver, goesOnWhereALinkLeadsFartherThanOneCallCanReach)
{
    std::string target = "here";
    m_directory.makeFile("here/file");
    for (int i = 0; i < 3; ++i) { // each link doubles what the path comes to
        const std::string deep = target + "/" + TemporaryDirectory::chain(150, "directory");
        m_directory.makeFile(deep + "/file", 1);
        m_directory.makeLink("link" + std::to_string(i),
                             i == 0 ? deep
                                    : "link" + std::to_string(i - 1) + "/" +
                                          TemporaryDirectory::chain(150, "directory"));
        target = deep;
    }
    ASSERT_GT(target.size(), static_cast<std::size_t>(PATH_MAX));
    EXPECT_EQ(resolved("/link2/file"), "/" + target + "/file");
    EXPECT_EQ(resolved("/link2/none"), "/" + target + "/none");
}

TEST_P(EachResolver, tellsThatADirectoryIsClosedToUs)
{
    m_directory.makeFile("closed/a/file");
    m_directory.setMode("closed", 0600);
    asOrdinaryUser([&] {
        EXPECT_EQ(resolved("/closed"), "/closed");
        EXPECT_EQ(resolved("/closed/a"), "error " + std::to_string(EACCES));
        EXPECT_EQ(resolved("/closed/a/file"), "error " + std::to_string(EACCES));
    });
}

INSTANTIATE_TEST_SUITE_P(PathResolver, EachResolver, testing::Bool(),
                         [](const testing::TestParamInfo<bool> &own) {
                             return own.param ? "Host" : "Plain";
                         });

// ---- what is remembered

TEST(PathResolver, staysWithWhatItHasToldOfADirectory)
{
    const TemporaryDirectory directory;
    directory.makeFile("one/a");
    directory.makeFile("one/b");
    directory.makeFile("two/b");
    directory.makeLink("link", "one");
    const auto device = deviceFor(directory.path());
    const auto resolver = device->makeResolver();
    EXPECT_EQ(described(resolver->resolve("/link/a")), "/one/a");
    directory.remove("link");
    directory.makeLink("link", "two");
    EXPECT_EQ(described(resolver->resolve("/link/b")), "/one/b");
    EXPECT_EQ(described(device->makeResolver()->resolve("/link/b")), "/two/b");
}

TEST(PathResolver, asksOnceForEachFileOfADirectoryThatItKnows)
{
    const TemporaryDirectory directory;
    directory.makeDirectory("real/a/b/c/d/e/f");
    directory.makeLink("link", "real");
    FailingSystemCalls calls;
    const auto device = deviceFor(directory.path(), &calls);
    const auto resolver = device->makeResolver();
    const auto allCalls = [&calls] {
        std::uint64_t count = 0;
        for (const Function function : FailingSystemCalls::allFunctions()) {
            count += calls.count(function);
        }
        return count;
    };
    static_cast<void>(resolver->resolve("/link/a/b/c/d/e/f/first"));
    const std::uint64_t before = allCalls();
    for (int i = 0; i < 100; ++i) {
        const std::string name = std::to_string(i);
        EXPECT_TRUE(resolver->resolve("/link/a/b/c/d/e/f/" + name)->ends_with("/a/b/c/d/e/f/" + name));
    }
    EXPECT_LE(allCalls() - before, 100U);
}

} // namespace
} // namespace slicewise
