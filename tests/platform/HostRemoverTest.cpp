#include "platform/HostRemover.h"

#include "tests/support/DiskState.h"
#include "tests/support/FailingSystemCalls.h"
#include "tests/support/InChild.h"
#include "tests/support/OpenDescriptors.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <string_view>

namespace slicewise {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Function = FailingSystemCalls::Function;

/// How the kernel behaves while something is removed.
struct Surroundings {
    const char *name;
    void (*prepare)(FailingSystemCalls &calls);
};

class HostRemoverTest : public testing::TestWithParam<Surroundings> {
protected:
    HostRemoverTest()
    {
        GetParam().prepare(m_calls);
        m_device = std::move(HostDevice::open(m_directory.path(), &m_calls)).value();
        m_remover = m_device->makeRemover();
    }

    [[nodiscard]] bool isThere(std::string_view relative) const
    {
        struct stat status = {};
        return ::lstat(m_directory.pathOf(relative).c_str(), &status) == 0;
    }
    [[nodiscard]] std::set<std::string> names() const
    {
        std::set<std::string> all;
        for (const auto &[name, state] : diskState(m_directory.path())) {
            all.insert(name);
        }
        all.erase("");
        return all;
    }
    Result<std::uint64_t> remove(std::string_view path) { return m_remover->remove(path); }

    TemporaryDirectory m_directory;
    FailingSystemCalls m_calls;
    std::unique_ptr<HostDevice> m_device;
    std::unique_ptr<Remover> m_remover;
};

// ---- what goes

TEST_P(HostRemoverTest, removesOneFileAndNothingBesideIt)
{
    m_directory.makeFile("a/file", 10);
    m_directory.makeFile("a/file2", 10);
    m_directory.makeFile("a/fil", 10);
    EXPECT_EQ(*remove("/a/file"), 1U);
    EXPECT_THAT(names(), ElementsAre("/a", "/a/fil", "/a/file2"));
}

TEST_P(HostRemoverTest, removesADirectoryWithAllThatIsInItAndCountsIt)
{
    m_directory.makeFile("a/top/file", 10);
    m_directory.makeFile("a/top/.hidden", 10);
    m_directory.makeFile("a/top/sub/deeper/file");
    m_directory.makeDirectory("a/top/sub/empty");
    m_directory.makeFifo("a/top/fifo");
    m_directory.makeSocket("a/top/sub/socket");
    m_directory.makeFile("a/beside/file");
    EXPECT_EQ(*remove("/a/top"), 9U);
    EXPECT_THAT(names(), ElementsAre("/a", "/a/beside", "/a/beside/file"));
    EXPECT_EQ(*remove("/a"), 3U);
    EXPECT_THAT(names(), IsEmpty());
}

TEST_P(HostRemoverTest, removesAnEmptyDirectoryAndAFifoByTheirNames)
{
    m_directory.makeDirectory("empty");
    m_directory.makeFifo("fifo");
    EXPECT_EQ(*remove("/empty"), 1U);
    EXPECT_EQ(*remove("/fifo"), 1U);
    EXPECT_THAT(names(), IsEmpty());
}

TEST_P(HostRemoverTest, removesMoreThanOneListingHolds)
{
    constexpr int kFiles = 400;
    for (int i = 0; i < kFiles; ++i) {
        m_directory.makeFile("wide/" + std::string(200, 'n') + std::to_string(i));
    }
    EXPECT_EQ(*remove("/wide"), kFiles + 1U);
    EXPECT_THAT(names(), IsEmpty());
}

TEST_P(HostRemoverTest, removesLinksInATreeAsLinks)
{
    m_directory.writeFile("outside/file", "stays");
    m_directory.makeFile("outside/sub/file");
    m_directory.makeLink("tree/to-file", "../outside/file");
    m_directory.makeLink("tree/to-directory", m_directory.pathOf("outside"));
    m_directory.makeLink("tree/to-nothing", "nowhere");
    m_directory.makeLink("tree/to-itself", "to-itself");
    m_directory.makeLink("tree/above", "..");
    const auto outside = diskState(m_directory.pathOf("outside"));
    EXPECT_EQ(*remove("/tree"), 6U);
    EXPECT_EQ(diskState(m_directory.pathOf("outside")), outside);
    EXPECT_FALSE(isThere("tree"));
}

TEST_P(HostRemoverTest, leavesTheOtherNameOfAFileAndItsContent)
{
    m_directory.writeFile("kept/name", "content");
    m_directory.makeHardLink("tree/name", "kept/name");
    m_directory.makeHardLink("single", "kept/name");
    EXPECT_EQ(*remove("/tree"), 2U);
    EXPECT_EQ(*remove("/single"), 1U);
    std::ifstream stream(m_directory.pathOf("kept/name"));
    std::stringstream content;
    content << stream.rdbuf();
    EXPECT_EQ(content.str(), "content");
    struct stat status = {};
    ASSERT_EQ(::lstat(m_directory.pathOf("kept/name").c_str(), &status), 0);
    EXPECT_EQ(status.st_nlink, 1U);
}

TEST_P(HostRemoverTest, takesAnyNameAsItIs)
{
    for (const std::string &name :
         {std::string("new\nline"), std::string("%s%n"), std::string("\xff\xfe\x80"), std::string(255, 'n'),
          std::string("..."), std::string("..x"), std::string("x.."), std::string(".x"), std::string("-rf"),
          std::string(" "), std::string("*"), std::string("~"), std::string("back\\slash")}) {
        m_directory.makeFile("files/" + name);
        m_directory.makeFile("files/beside");
        EXPECT_EQ(*remove("/files/" + name), 1U) << name;
        EXPECT_THAT(names(), ElementsAre("/files", "/files/beside")) << name;
        m_directory.makeFile("files/" + name + "/" + name);
        EXPECT_EQ(*remove("/files/" + name), 2U) << name;
        EXPECT_THAT(names(), ElementsAre("/files", "/files/beside")) << name;
        m_directory.makeFile("tree/" + name + "/" + name + "/file");
        EXPECT_EQ(*remove("/tree"), 4U) << name;
        EXPECT_THAT(names(), ElementsAre("/files", "/files/beside")) << name;
    }
}

TEST_P(HostRemoverTest, readsAPathAsTheSystemDoes)
{
    for (const char *path :
         {"//a//b//file", "/a/./b/file", "a/b/file", "/a/b/file/", "/a/b/file/.", "/./a/b/./file/.//"}) {
        m_directory.makeFile("a/b/file");
        EXPECT_EQ(remove(path).error(), 0) << path;
        EXPECT_THAT(names(), ElementsAre("/a", "/a/b")) << path;
    }
    EXPECT_EQ(*remove("/a/b/./"), 1U);
    EXPECT_THAT(names(), ElementsAre("/a"));
}

// ---- what is refused

TEST_P(HostRemoverTest, refusesTheRootAndWhatGoesUp)
{
    m_directory.makeFile("a/b/file");
    m_directory.makeFile("file");
    const auto before = diskState(m_directory.path());
    for (const char *path : {"", "/", "//", ".", "/.", "/./", "..", "/..", "/a/..", "/a/../", "/a/../.",
                             "/a/../file", "/../file", "../file", "/a/b/../../file", "/a/b/.."}) {
        EXPECT_EQ(remove(path).error(), EINVAL) << path;
    }
    EXPECT_EQ(diskState(m_directory.path()), before);
}

TEST_P(HostRemoverTest, refusesANullByteRatherThanRemoveWhatIsBeforeIt)
{
    m_directory.makeFile("a/file");
    const auto before = diskState(m_directory.path());
    for (const std::string &path : {std::string("/a\0/file", 8), std::string("/a/file\0", 8),
                                    std::string("/a\0", 3), std::string("\0/a/file", 8)}) {
        EXPECT_EQ(remove(path).error(), EINVAL);
    }
    EXPECT_EQ(diskState(m_directory.path()), before);
}

TEST_P(HostRemoverTest, refusesALinkWhereverItIsInThePath)
{
    m_directory.makeFile("real/sub/file");
    m_directory.makeLink("to-directory", "real");
    m_directory.makeLink("real/to-file", "sub/file");
    m_directory.makeLink("real/sub/up", "..");
    m_directory.makeLink("dangling", "nowhere");
    const auto before = diskState(m_directory.path());
    for (const char *path :
         {"/to-directory", "/to-directory/", "/to-directory/.", "/to-directory/sub", "/to-directory/sub/file",
          "/real/to-file", "/real/sub/up", "/real/sub/up/sub", "/dangling", "/dangling/file"}) {
        EXPECT_EQ(remove(path).error(), ELOOP) << path;
    }
    EXPECT_EQ(diskState(m_directory.path()), before);
}

TEST_P(HostRemoverTest, saysWhyNothingIsThere)
{
    m_directory.makeFile("a/file");
    const auto before = diskState(m_directory.path());
    EXPECT_EQ(remove("/missing").error(), ENOENT);
    EXPECT_EQ(remove("/a/missing").error(), ENOENT);
    EXPECT_EQ(remove("/missing/below").error(), ENOENT);
    EXPECT_EQ(remove("/a/file/below").error(), ENOTDIR);
    EXPECT_EQ(remove("/a/" + std::string(256, 'n')).error(), ENAMETOOLONG);
    EXPECT_EQ(remove("/" + std::string(5000, 'n') + "/b").error(), ENAMETOOLONG);
    EXPECT_EQ(diskState(m_directory.path()), before);
}

TEST_P(HostRemoverTest, leavesNoDescriptorOpenButOneDirectory)
{
    const std::set<int> before = openDescriptors();
    m_directory.makeFile("a/b/c/d/e/f/g/file");
    m_directory.makeFile("a/file");
    EXPECT_EQ(remove("/a/b").error(), 0);
    EXPECT_EQ(remove("/a/file").error(), 0);
    EXPECT_EQ(openDescriptors().size(), before.size() + 1);
    m_remover.reset();
    EXPECT_EQ(openDescriptors(), before);
}

// ---- permissions

TEST_P(HostRemoverTest, reportsADirectoryThatMayNotBeListedAndRemovesAllElse)
{
    m_directory.makeFile("tree/closed/file");
    m_directory.makeDirectory("tree/closed-and-empty");
    m_directory.makeFile("tree/open/file");
    m_directory.makeFile("tree/file");
    m_directory.setMode("tree/closed", 0311);
    m_directory.setMode("tree/closed-and-empty", 0);
    m_directory.setMode("tree/open", 0777);
    m_directory.setMode("tree", 0777);
    asOrdinaryUser([&] { EXPECT_EQ(remove("/tree").error(), EACCES); });
    EXPECT_THAT(names(), ElementsAre("/tree", "/tree/closed", "/tree/closed/file"));
    asOrdinaryUser([&] { EXPECT_EQ(remove("/tree/closed").error(), EACCES); });
    EXPECT_TRUE(isThere("tree/closed/file"));
}

TEST_P(HostRemoverTest, reportsWhatMayNotBeChangedAndRemovesAllElse)
{
    m_directory.makeFile("tree/readonly/file");
    m_directory.makeFile("tree/readonly/sub/file");
    m_directory.makeFile("tree/sticky/file");
    m_directory.makeFile("tree/writable/file");
    m_directory.setMode("tree", 0777);
    m_directory.setMode("tree/writable", 0777);
    m_directory.setMode("tree/sticky", 01777);
    if (::geteuid() != 0) {
        GTEST_SKIP() << "the tree has to be somebody else's, which takes root";
    }
    asOrdinaryUser([&] {
        const int error = remove("/tree").error();
        EXPECT_TRUE(error == EACCES || error == EPERM) << error;
        EXPECT_EQ(remove("/tree/readonly/file").error(), EACCES);
        EXPECT_EQ(remove("/tree/sticky/file").error(), EPERM);
    });
    EXPECT_THAT(names(), ElementsAre("/tree", "/tree/readonly", "/tree/readonly/file", "/tree/readonly/sub",
                                     "/tree/readonly/sub/file", "/tree/sticky", "/tree/sticky/file"));
}

TEST_P(HostRemoverTest, needsNoRightToListTheDirectoryThatItRemovesFrom)
{
    m_directory.makeFile("closed/file");
    m_directory.makeFile("unreachable/file");
    m_directory.setMode("closed", 0333);
    m_directory.setMode("unreachable", 0666);
    asOrdinaryUser([&] {
        EXPECT_EQ(*remove("/closed/file"), 1U);
        EXPECT_EQ(remove("/unreachable/file").error(), EACCES);
    });
    EXPECT_THAT(names(), ElementsAre("/closed", "/unreachable", "/unreachable/file"));
}

INSTANTIATE_TEST_SUITE_P(
    Ways, HostRemoverTest,
    testing::Values(
        Surroundings{"AsTheyAre", [](FailingSystemCalls &) {}},
        Surroundings{"OpeningNameByName",
                     [](FailingSystemCalls &calls) {
                         calls.failEach(Function::OpenWithoutLinks, ENOSYS);
                         calls.failEach(Function::OpenBeneath, ENOSYS);
                     }},
        Surroundings{"ForbiddenToOpenInOneCall",
                     [](FailingSystemCalls &calls) {
                         calls.failEach(Function::OpenWithoutLinks, EPERM);
                         calls.failEach(Function::OpenBeneath, EPERM);
                         calls.failEach(Function::MountOf, ENOSYS);
                     }},
        Surroundings{"ListingThePortableWay",
                     [](FailingSystemCalls &calls) { calls.failEach(Function::ReadEntries, ENOSYS); }},
        Surroundings{"WithoutEntryTypes", [](FailingSystemCalls &calls) { calls.hideEntryTypes(); }},
        Surroundings{"ListingLittleAtATime", [](FailingSystemCalls &calls) { calls.limitRecords(320); }}),
    [](const testing::TestParamInfo<Surroundings> &test) { return std::string(test.param.name); });

// ---- immutable files

// Empty, or why not.
std::string setImmutable(const std::string &path, bool wanted)
{
    const UniqueFd file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOFOLLOW));
    int flags = 0;
    if (!file || ::ioctl(file.get(), FS_IOC_GETFLAGS, &flags) != 0) {
        return "the file system of /var/tmp has no flags for files";
    }
    flags = wanted ? flags | FS_IMMUTABLE_FL : flags & ~FS_IMMUTABLE_FL;
    return ::ioctl(file.get(), FS_IOC_SETFLAGS, &flags) == 0 ? "" : "making a file immutable takes root";
}

class Immutable {
public:
    explicit Immutable(std::string path) : m_path(std::move(path)), m_refusal(setImmutable(m_path, true)) {}
    Immutable(const Immutable &) = delete;
    Immutable &operator=(const Immutable &) = delete;
    ~Immutable() { setImmutable(m_path, false); }
    [[nodiscard]] const std::string &refusal() const { return m_refusal; }

private:
    std::string m_path;
    std::string m_refusal;
};

TEST(HostRemover, leavesWhatIsImmutableAndRemovesAllElse)
{
    const TemporaryDirectory directory(TemporaryDirectory::Lies::OnDisk);
    directory.makeFile("tree/a/file");
    directory.makeFile("tree/immutable-directory/file");
    directory.makeFile("tree/z/immutable-file");
    directory.makeFile("tree/z/file");
    const Immutable file(directory.pathOf("tree/z/immutable-file"));
    const Immutable inner(directory.pathOf("tree/immutable-directory"));
    if (!file.refusal().empty() || !inner.refusal().empty()) {
        GTEST_SKIP() << file.refusal() << inner.refusal();
    }
    const auto device = std::move(HostDevice::open(directory.path())).value();
    const auto remover = device->makeRemover();
    EXPECT_EQ(remover->remove("/tree/z/immutable-file").error(), EPERM);
    EXPECT_EQ(remover->remove("/tree").error(), EPERM);
    std::set<std::string> left;
    for (const auto &[name, state] : diskState(directory.path())) {
        left.insert(name);
    }
    EXPECT_THAT(left, ElementsAre("", "/tree", "/tree/immutable-directory", "/tree/immutable-directory/file",
                                  "/tree/z", "/tree/z/immutable-file"));
}

// ---- the directory that stays open

class NeighboursTest : public testing::Test {
protected:
    TemporaryDirectory m_directory;
    FailingSystemCalls m_calls;
    std::unique_ptr<HostDevice> m_device = std::move(HostDevice::open(m_directory.path(), &m_calls)).value();
    std::unique_ptr<Remover> m_remover = m_device->makeRemover();
};

TEST_F(NeighboursTest, costTwoCallsEach)
{
    constexpr std::uint64_t kFiles = 100;
    for (std::uint64_t i = 0; i < kFiles; ++i) {
        m_directory.makeFile("a/b/" + std::to_string(i));
    }
    std::uint64_t before = 0;
    std::uint64_t calls = 0;
    for (std::uint64_t i = 0; i < kFiles; ++i) {
        EXPECT_EQ(*m_remover->remove("/a/b/" + std::to_string(i)), 1U);
        calls = 0;
        for (const Function function : FailingSystemCalls::allFunctions()) {
            calls += m_calls.count(function);
        }
        if (i == 0) {
            before = calls;
        }
    }
    EXPECT_EQ(calls - before, 2 * (kFiles - 1));
}

TEST_F(NeighboursTest, areFoundInADirectoryThatIsMadeAnew)
{
    m_directory.makeFile("a/one");
    EXPECT_EQ(*m_remover->remove("/a/one"), 1U);
    m_directory.remove("a");
    m_directory.makeFile("a/two");
    EXPECT_EQ(*m_remover->remove("/a/two"), 1U);
    EXPECT_EQ(m_remover->remove("/a/two").error(), ENOENT);
    m_directory.remove("a");
    EXPECT_EQ(m_remover->remove("/a/two").error(), ENOENT);
    m_directory.makeLink("a", "elsewhere");
    m_directory.makeFile("elsewhere/two");
    EXPECT_EQ(m_remover->remove("/a/two").error(), ELOOP);
}

TEST_F(NeighboursTest, goFromOneDirectoryWhateverTakesItsPlaceMeanwhile)
{
    m_directory.makeFile("a/one");
    m_directory.makeFile("a/two");
    m_directory.writeFile("other/two", "stays");
    m_directory.makeLink("link", "other");
    EXPECT_EQ(*m_remover->remove("/a/one"), 1U);
    m_directory.rename("a", "moved");
    m_directory.rename("link", "a");
    const auto other = diskState(m_directory.pathOf("other"));
    EXPECT_EQ(*m_remover->remove("/a/two"), 1U);
    EXPECT_EQ(diskState(m_directory.pathOf("other")), other);
    EXPECT_EQ(diskState(m_directory.pathOf("moved")).size(), 1U);
    EXPECT_EQ(m_remover->remove("/a/two").error(), ELOOP);
    EXPECT_EQ(diskState(m_directory.pathOf("other")), other);
}

TEST_F(NeighboursTest, mayBeTheDirectoryThatIsOpenItself)
{
    m_directory.makeFile("a/b/one");
    m_directory.makeFile("a/b/two");
    EXPECT_EQ(*m_remover->remove("/a/b/one"), 1U);
    EXPECT_EQ(*m_remover->remove("/a/b"), 2U);
    EXPECT_EQ(m_remover->remove("/a/b/two").error(), ENOENT);
    EXPECT_EQ(*m_remover->remove("/a"), 1U);
}

} // namespace
} // namespace slicewise
