// Where programs on the host end up that know nothing of the device's root.
#include "platform/HostDevice.h"
#include "tests/support/FailingSystemCalls.h"
#include "tests/support/InChild.h"
#include "tests/support/MemoryDevice.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

namespace slicewise {
namespace {

using Function = FailingSystemCalls::Function;

/// A root with a directory "outside" beside it.
class FollowedOnHost : public testing::Test {
protected:
    FollowedOnHost()
    {
        m_directory.makeFile("root/a/b/file", 1);
        m_directory.makeFile("outside/file", 1);
    }

    [[nodiscard]] std::unique_ptr<HostDevice> open(const SystemCalls *calls = nullptr) const
    {
        return std::move(HostDevice::open(m_directory.pathOf("root"), calls)).value();
    }
    /// What is found, or the errno.
    [[nodiscard]] std::string follow(const std::string &path) const { return shown(*open(), path); }
    [[nodiscard]] static std::string shown(const Device &device, const std::string &path)
    {
        Result<std::string> found = device.followedOnHost(path);
        return found ? std::move(found).value() : std::to_string(found.error());
    }
    [[nodiscard]] std::string inRoot(const std::string &path) const
    {
        return m_directory.pathOf("root") + path;
    }
    static std::string error(int number) { return std::to_string(number); }

    TemporaryDirectory m_directory;
};

TEST_F(FollowedOnHost, agreesWithTheSystemOnEverythingThatExists)
{
    m_directory.makeLink("root/absolute", m_directory.pathOf("outside"));
    m_directory.makeLink("root/up", "../outside");
    m_directory.makeLink("root/a/b/inside", "../../a/b");
    m_directory.makeLink("root/back", inRoot("/a"));
    m_directory.makeLink("root/etc", "/etc");
    m_directory.makeLink("root/top", "/");
    m_directory.makeLink("root/far up", "../../../../../../../../..");
    m_directory.makeLink("root/chain", "a/./b//inside/inside/../b/");
    m_directory.makeLink("root/last", "absolute/file");
    const auto device = open();
    for (const char *path : {"/",
                             "",
                             "/a",
                             "/a/b/file",
                             "//a//b/.//file",
                             "/a/b/",
                             "/absolute",
                             "/absolute/file",
                             "/up",
                             "/up/file",
                             "/a/b/inside/file",
                             "/back/b/file",
                             "/etc/passwd",
                             "/top",
                             "/top/etc",
                             "/far up/etc",
                             "/chain/file",
                             "/last",
                             "/..",
                             "/../outside/file",
                             "/a/../../outside",
                             "/absolute/../root/a",
                             "a/b"}) {
        std::array<char, PATH_MAX> expected{};
        ASSERT_NE(::realpath((inRoot("/") + path).c_str(), expected.data()), nullptr) << path;
        EXPECT_EQ(shown(*device, path), expected.data()) << path;
    }
}

TEST_F(FollowedOnHost, isThePathItselfWhereTheRootIsTheHosts)
{
    const auto device = HostDevice::open("/").value();
    EXPECT_EQ(shown(*device, "/"), "/");
    EXPECT_EQ(shown(*device, m_directory.path() + "/root/a"), inRoot("/a"));
    EXPECT_EQ(shown(*device, "/.."), "/");
}

TEST_F(FollowedOnHost, keepsTheRestFromAMissingComponentOn)
{
    m_directory.makeLink("root/absolute", m_directory.pathOf("outside"));
    m_directory.makeLink("root/dangling", "/no/such/directory");
    m_directory.makeLink("root/a/dangling", "missing/./below");
    EXPECT_EQ(follow("/missing"), inRoot("/missing"));
    EXPECT_EQ(follow("/a/missing/./below//file/"), inRoot("/a/missing/below/file"));
    EXPECT_EQ(follow("/absolute/missing/file"), m_directory.pathOf("outside/missing/file"));
    EXPECT_EQ(follow("/dangling/file"), "/no/such/directory/file");
    EXPECT_EQ(follow("/a/dangling/file"), inRoot("/a/missing/below/file"));
}

TEST_F(FollowedOnHost, refusesToGoUpFromWhatIsMissing)
{
    m_directory.makeLink("root/dangling", "missing/../../outside");
    EXPECT_EQ(follow("/missing/../../outside/file"), error(ENOENT));
    EXPECT_EQ(follow("/missing/.."), error(ENOENT));
    EXPECT_EQ(follow("/dangling"), error(ENOENT));
    EXPECT_EQ(follow("/missing/..hidden"), inRoot("/missing/..hidden"));
}

TEST_F(FollowedOnHost, tellsWhatCannotBeFollowed)
{
    m_directory.makeLink("root/loop", "loop");
    m_directory.makeLink("root/to file", "a/b/file");
    EXPECT_EQ(follow("/loop"), error(ELOOP));
    EXPECT_EQ(follow("/loop/below"), error(ELOOP));
    EXPECT_EQ(follow(std::string("/a\0/b", 5)), error(EINVAL));
    EXPECT_EQ(follow("/a/b/file/below"), error(ENOTDIR));
    EXPECT_EQ(follow("/to file/below"), error(ENOTDIR));
    EXPECT_EQ(follow("/a/b/file/"), inRoot("/a/b/file"));
    EXPECT_EQ(follow("/" + std::string(256, 'n')), error(ENAMETOOLONG));
    EXPECT_EQ(follow("/" + TemporaryDirectory::chain(1, std::string(PATH_MAX, 'n'))), error(ENAMETOOLONG));
}

TEST_F(FollowedOnHost, followsAsManyLinksAsTheSystemAndNoMore)
{
    for (int number = 0; number <= HostDevice::kMostLinks; ++number) {
        m_directory.makeLink("root/link" + std::to_string(number),
                             number == 0 ? "a" : "link" + std::to_string(number - 1));
    }
    EXPECT_EQ(follow("/link" + std::to_string(HostDevice::kMostLinks - 1)), inRoot("/a"));
    EXPECT_EQ(follow("/link" + std::to_string(HostDevice::kMostLinks)), error(ELOOP));
}

TEST_F(FollowedOnHost, tellsThatADirectoryIsClosedToUs)
{
    m_directory.setMode("root/a", 0);
    asOrdinaryUser([&] {
        EXPECT_EQ(follow("/a/b/file"), error(EACCES));
        EXPECT_EQ(follow("/a"), inRoot("/a"));
    });
    m_directory.setMode("root/a", 0755);
}

TEST_F(FollowedOnHost, tellsThatTheRootIsNoLongerWhereItWas)
{
    const auto device = open();
    m_directory.rename("root", "moved");
    EXPECT_EQ(shown(*device, "/a"), error(ESTALE));
    m_directory.makeDirectory("root/a");
    EXPECT_EQ(shown(*device, "/a"), error(ESTALE));
    m_directory.remove("root");
    m_directory.rename("moved", "root");
    EXPECT_EQ(shown(*device, "/a"), inRoot("/a"));
}

TEST_F(FollowedOnHost, passesOnWhatTheSystemSays)
{
    m_directory.makeLink("root/link", "a");
    FailingSystemCalls calls;
    const auto device = open(&calls);
    const auto ofLink = [](const FailingSystemCalls::Call &call) { return call.path.ends_with("link"); };
    calls.failWhere(Function::ReadLinkAt, ofLink, EIO);
    EXPECT_EQ(shown(*device, "/link"), error(EIO));
    calls.heal();
    calls.failWhere(Function::StatAt, ofLink, EIO);
    EXPECT_EQ(shown(*device, "/link/b"), error(EIO));
    calls.heal();
    calls.failEach(Function::StatOpen, EIO);
    EXPECT_EQ(shown(*device, "/link"), error(EIO));
    calls.heal();
    EXPECT_EQ(shown(*device, "/link"), inRoot("/a"));
}

TEST(DeviceOnNoHost, hasNoPlaceThere)
{
    const MemoryDevice device({{"/file", 1}});
    EXPECT_EQ(device.followedOnHost("/file").error(), ENOTSUP);
}

} // namespace
} // namespace slicewise
