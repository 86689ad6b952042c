// Trees that are removed while they are deep, wide, unwilling, or changed by somebody else.
#include "platform/HostRemover.h"
#include "tests/scan/TestSize.h"
#include "tests/support/DiskState.h"
#include "tests/support/FailingSystemCalls.h"
#include "tests/support/InChild.h"
#include "tests/support/OpenDescriptors.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace slicewise {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Call = FailingSystemCalls::Call;
using Function = FailingSystemCalls::Function;

std::set<std::string> namesIn(const TemporaryDirectory &directory)
{
    std::set<std::string> names;
    for (const auto &[name, state] : diskState(directory.path())) {
        names.insert(name);
    }
    names.erase("");
    return names;
}

/// The number of directories that may be open, and whether openat2 is there.
struct Way {
    std::size_t mostOpen;
    bool inOneCall;
};

class TreeRemovalTest : public testing::TestWithParam<Way> {
protected:
    void SetUp() override { prepare(); }

    void prepare()
    {
        m_calls.heal();
        if (!GetParam().inOneCall) {
            m_calls.failEach(Function::OpenWithoutLinks, ENOSYS);
            m_calls.failEach(Function::OpenBeneath, ENOSYS);
        }
    }
    // Runs once, before the call of what opens a subdirectory by that name.
    void beforeOpening(const std::string &name, std::function<void()> hook)
    {
        m_calls.runBefore(GetParam().inOneCall ? Function::OpenBeneath : Function::OpenAt,
                          once(name, std::move(hook)));
    }
    void beforeRemoving(const std::string &name, std::function<void()> hook)
    {
        m_calls.runBefore(Function::UnlinkAt, once(name, std::move(hook)));
    }

    static std::function<void(const Call &)> once(std::string name, std::function<void()> hook)
    {
        return [name = std::move(name), hook = std::move(hook),
                done = std::make_shared<bool>(false)](const Call &call) {
            if (call.path == name && !*done) {
                *done = true;
                hook();
            }
        };
    }

    TemporaryDirectory m_directory;
    FailingSystemCalls m_calls;
    std::unique_ptr<HostDevice> m_device = std::move(HostDevice::open(m_directory.path(), &m_calls)).value();
    HostRemover m_remover{*m_device, GetParam().mostOpen};
};

// ---- deep

TEST_P(TreeRemovalTest, isOfAnyDepth)
{
    const std::size_t depth =
        GetParam().inOneCall && GetParam().mostOpen == HostRemover::kMostOpen ? 5000 : 1000;
    const std::string chain = TemporaryDirectory::chain(depth, "directory");
    ASSERT_GT(chain.size(), std::size_t{2} * PATH_MAX);
    m_directory.makeFile("top/" + chain + "/file");
    EXPECT_EQ(*m_remover.remove("/top/" + chain + "/file"), 1U);
    m_directory.makeFile("top/" + chain + "/file");
    EXPECT_EQ(*m_remover.remove("/top"), depth + 2);
    EXPECT_THAT(namesIn(m_directory), IsEmpty());
}

TEST_P(TreeRemovalTest, comesBackToEachLevelOfADeepTree)
{
    std::string path = "top";
    std::uint64_t entries = 1;
    for (int level = 0; level < 60; ++level) {
        m_directory.makeFile(path + "/a-file");
        m_directory.makeFile(path + "/z-file");
        m_directory.makeFile(path + "/sub-a/file");
        m_directory.makeFile(path + "/sub-z/file");
        path += "/next";
        entries += 7;
    }
    m_directory.makeDirectory(path);
    EXPECT_EQ(*m_remover.remove("/top"), entries);
    EXPECT_THAT(namesIn(m_directory), IsEmpty());
}

TEST_P(TreeRemovalTest, makesDoWithTheDescriptorsThatAreLeft)
{
    const std::string chain = TemporaryDirectory::chain(100, "d");
    m_directory.makeFile("top/" + chain + "/file");
    m_directory.makeFile("top/sub/file");
    withOwnMounts([&] { // a child, whose limits are its own
        const std::set<int> open = openDescriptors();
        // The directory that it removes from, the innermost one, the next one; one more that looking takes.
        const ::rlim_t most = static_cast<::rlim_t>(*open.rbegin()) + 1 + 4;
        const struct rlimit limit = {.rlim_cur = most, .rlim_max = most};
        ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
        EXPECT_EQ(m_remover.remove("/top").error(), 0);
    });
    EXPECT_THAT(namesIn(m_directory), IsEmpty());
}

TEST_P(TreeRemovalTest, saysThatThereAreNoDescriptorsLeft)
{
    m_directory.makeFile("top/sub/file");
    m_directory.makeFile("top/file");
    m_calls.failWhere(
        GetParam().inOneCall ? Function::OpenBeneath : Function::OpenAt,
        [](const Call &call) { return call.path == "sub"; }, EMFILE);
    EXPECT_EQ(m_remover.remove("/top").error(), EMFILE);
    EXPECT_THAT(namesIn(m_directory), ElementsAre("/top", "/top/sub", "/top/sub/file"));
}

// ---- unwilling

// Makes a tree in which some files can't be removed; what has to be left in the end.
class UnwillingTree {
public:
    UnwillingTree(const TemporaryDirectory &directory, unsigned seed) : m_directory(directory), m_engine(seed)
    {
        m_directory.makeDirectory("top");
        fill("top", 0);
        m_entries += 1;
    }
    [[nodiscard]] const std::set<std::string> &left() const { return m_left; }
    [[nodiscard]] std::uint64_t entries() const { return m_entries; }

private:
    // Whether something in it stays.
    bool fill(const std::string &path, int depth)
    {
        bool stays = false;
        const std::uint64_t count = depth < 8 ? m_engine() % 4 + (depth < 6 ? 1U : 0U) : 0U;
        for (std::uint64_t i = 0; i < count && m_entries < 400; ++i) {
            ++m_entries;
            const std::string name = std::to_string(m_engine() % 1000) + "-" + std::to_string(m_entries);
            if (m_engine() % 12 == 0) {
                m_directory.makeFile(path + "/keep-" + name);
                m_left.insert("/" + path + "/keep-" + name);
                stays = true;
            } else if (m_engine() % 3 == 0) {
                m_directory.makeFile(path + "/" + name);
            } else {
                m_directory.makeDirectory(path + "/" + name);
                stays = fill(path + "/" + name, depth + 1) || stays;
            }
        }
        if (stays) {
            m_left.insert("/" + path);
        }
        return stays;
    }

    const TemporaryDirectory &m_directory;
    std::mt19937 m_engine;
    std::set<std::string> m_left;
    std::uint64_t m_entries = 0;
};

TEST_P(TreeRemovalTest, leavesWhatCannotBeRemovedAndNothingElse)
{
    for (unsigned seed = 1; seed <= 30 * testSize(); ++seed) {
        const testing::ScopedTrace trace(__FILE__, __LINE__, "seed " + std::to_string(seed));
        prepare();
        const UnwillingTree tree(m_directory, seed);
        m_calls.failWhere(
            Function::UnlinkAt, [](const Call &call) { return call.path.starts_with("keep-"); }, EPERM);
        const Result<std::uint64_t> removed = m_remover.remove("/top");
        EXPECT_EQ(removed.error(), tree.left().empty() ? 0 : EPERM);
        ASSERT_EQ(namesIn(m_directory), tree.left());
        prepare();
        const Result<std::uint64_t> rest = m_remover.remove("/top");
        EXPECT_EQ(rest.error(), tree.left().empty() ? ENOENT : 0);
        if (tree.left().empty()) {
            EXPECT_EQ(*removed, tree.entries());
        } else {
            EXPECT_EQ(*rest, tree.left().size());
        }
        ASSERT_THAT(namesIn(m_directory), IsEmpty());
    }
}

TEST_P(TreeRemovalTest, asksForEachUnwillingEntryAFewTimesAtMost)
{
    const std::string chain = TemporaryDirectory::chain(40, "d");
    std::string path = "top";
    for (int level = 0; level < 40; ++level) {
        m_directory.makeFile(path + "/file");
        path += "/d";
    }
    m_directory.makeFile(path + "/keep");
    m_calls.failWhere(
        Function::UnlinkAt, [](const Call &call) { return call.path == "keep"; }, EPERM);
    EXPECT_EQ(m_remover.remove("/top").error(), EPERM);
    EXPECT_EQ(namesIn(m_directory).size(), 42U);
    EXPECT_LE(m_calls.count(Function::UnlinkAt), 3 * 81U);
}

TEST_P(TreeRemovalTest, answersWithTheFirstFailure)
{
    m_directory.makeFile("top/sub/one");
    m_directory.makeFile("top/sub/two");
    m_directory.makeFile("top/sub/three");
    int first = 0;
    m_calls.addRule(Function::UnlinkAt, [&first](const Call &call) {
        const int error = call.path == "one" ? EPERM : call.path == "two" ? EIO : 0;
        first = first == 0 ? error : first;
        return error;
    });
    const int answer = m_remover.remove("/top").error();
    EXPECT_NE(first, 0);
    EXPECT_EQ(answer, first);
    EXPECT_THAT(namesIn(m_directory), ElementsAre("/top", "/top/sub", "/top/sub/one", "/top/sub/two"));
}

// ---- changed by somebody else

TEST_P(TreeRemovalTest, doesNotMindThatSomethingHasGoneAlready)
{
    m_directory.makeFile("top/file");
    m_directory.makeFile("top/sub/file");
    m_directory.makeFile("top/other/below/file");
    beforeRemoving("file", [&] { m_directory.remove("top/other/below"); });
    beforeOpening("sub", [&] { m_directory.remove("top/sub"); });
    beforeOpening("other", [&] {
        if (namesIn(m_directory).contains("/top/file")) {
            m_directory.remove("top/file");
        }
    });
    EXPECT_EQ(m_remover.remove("/top").error(), 0);
    EXPECT_THAT(namesIn(m_directory), IsEmpty());
}

TEST_P(TreeRemovalTest, doesNotMindThatTheDirectoryWhichItIsInHasGone)
{
    m_directory.makeFile("top/a/b/c/file");
    m_directory.makeFile("top/z/file");
    beforeRemoving("file", [&] {
        if (namesIn(m_directory).contains("/top/a/b/c")) {
            m_directory.remove("top/a/b");
        }
    });
    EXPECT_EQ(m_remover.remove("/top").error(), 0);
    EXPECT_THAT(namesIn(m_directory), IsEmpty());
}

TEST_P(TreeRemovalTest, saysThatThePathItselfHasGone)
{
    m_directory.makeFile("top/file");
    beforeRemoving("file", [&] { m_directory.remove("top"); });
    EXPECT_EQ(m_remover.remove("/top").error(), ENOENT);
    m_directory.makeFile("top/file");
    beforeOpening("top", [&] { m_directory.remove("top"); });
    EXPECT_EQ(m_remover.remove("/top").error(), ENOENT);
    m_directory.makeFile("single");
    beforeRemoving("single", [&] { m_directory.remove("single"); });
    EXPECT_EQ(m_remover.remove("/single").error(), ENOENT);
}

TEST_P(TreeRemovalTest, removesALinkThatTakesADirectorysPlaceAndNotWhereItLeads)
{
    m_directory.writeFile("canary/file", "stays");
    m_directory.makeFile("canary/sub/file");
    m_directory.makeFile("top/sub/file");
    const auto canary = diskState(m_directory.pathOf("canary"));
    beforeOpening("sub", [&] {
        m_directory.rename("top/sub", "moved");
        m_directory.makeLink("top/sub", m_directory.pathOf("canary"));
    });
    EXPECT_EQ(m_remover.remove("/top").error(), 0);
    EXPECT_EQ(diskState(m_directory.pathOf("canary")), canary);
    EXPECT_TRUE(namesIn(m_directory).contains("/moved/file"));
    EXPECT_FALSE(namesIn(m_directory).contains("/top"));
}

TEST_P(TreeRemovalTest, removesAFileThatTakesADirectorysPlaceAndTheReverse)
{
    m_directory.makeFile("top/directory/below");
    m_directory.makeFile("top/file");
    beforeOpening("directory", [&] {
        m_directory.remove("top/directory");
        m_directory.makeFile("top/directory");
    });
    beforeRemoving("file", [&] {
        m_directory.remove("top/file");
        m_directory.makeFile("top/file/sub/below");
    });
    EXPECT_EQ(m_remover.remove("/top").error(), 0);
    EXPECT_THAT(namesIn(m_directory), IsEmpty());
}

TEST_P(TreeRemovalTest, removesAFileThatTakesThePlaceOfADirectoryThatHasJustBeenEmptied)
{
    m_directory.makeFile("top/sub/below");
    beforeRemoving("sub", [&] {
        m_directory.rename("top/sub", "moved");
        m_directory.makeFile("top/sub");
    });
    EXPECT_EQ(m_remover.remove("/top").error(), 0);
    EXPECT_THAT(namesIn(m_directory), ElementsAre("/moved"));
}

TEST_P(TreeRemovalTest, refusesWhatTakesThePlaceOfThePathItself)
{
    m_directory.writeFile("canary/file", "stays");
    const auto canary = diskState(m_directory.pathOf("canary"));
    m_directory.makeDirectory("top");
    beforeOpening("top", [&] {
        m_directory.remove("top");
        m_directory.makeLink("top", "canary");
    });
    EXPECT_EQ(m_remover.remove("/top").error(), ELOOP);
    m_directory.remove("top");
    m_directory.makeDirectory("top");
    beforeOpening("top", [&] {
        m_directory.remove("top");
        m_directory.makeFile("top");
    });
    EXPECT_EQ(m_remover.remove("/top").error(), ENOTDIR);
    beforeRemoving("top", [&] {
        m_directory.remove("top");
        m_directory.makeFile("top/file");
    });
    EXPECT_EQ(m_remover.remove("/top").error(), EISDIR);
    EXPECT_THAT(namesIn(m_directory), ElementsAre("/canary", "/canary/file", "/top", "/top/file"));
    m_directory.remove("top");
    m_directory.makeFile("top");
    beforeRemoving("top", [&] {
        m_directory.remove("top");
        m_directory.makeLink("top", "canary/file");
    });
    EXPECT_EQ(*m_remover.remove("/top"), 1U) << "the link itself";
    EXPECT_EQ(diskState(m_directory.pathOf("canary")), canary);
    EXPECT_THAT(namesIn(m_directory), ElementsAre("/canary", "/canary/file"));
}

TEST_P(TreeRemovalTest, isNotLedAwayByADirectoryThatIsMovedWhileItIsInIt)
{
    // The directory goes to where its neighbours have the names that those in the tree have.
    m_directory.writeFile("canary/b/file", "stays");
    m_directory.writeFile("canary/z/file", "stays");
    m_directory.writeFile("canary/file", "stays");
    const auto canary = diskState(m_directory.path() + "/canary/b");
    m_directory.makeFile("top/a/b/c/deep");
    m_directory.makeFile("top/a/z/file");
    m_directory.makeFile("top/file");
    beforeRemoving("deep", [&] { m_directory.rename("top/a/b/c", "canary/c"); });
    EXPECT_EQ(m_remover.remove("/top").error(), 0);
    const std::set<std::string> names = namesIn(m_directory);
    EXPECT_EQ(diskState(m_directory.path() + "/canary/b"), canary);
    EXPECT_TRUE(names.contains("/canary/z/file") && names.contains("/canary/file"));
    EXPECT_FALSE(names.contains("/top")) << "all else is still removed";
    EXPECT_TRUE(names.contains("/canary/c")) << "it is not in the tree any more";
}

TEST_P(TreeRemovalTest, isNotLedAwayByADirectoryThatIsMovedFurtherUp)
{
    m_directory.writeFile("canary/file", "stays");
    m_directory.writeFile("canary/b/file", "stays");
    m_directory.makeFile("top/a/b/c/d/deep");
    m_directory.makeFile("top/a/file");
    m_directory.makeFile("top/file");
    const auto canary = diskState(m_directory.pathOf("canary/b"));
    beforeRemoving("deep", [&] { m_directory.rename("top/a", "canary/a"); });
    EXPECT_EQ(m_remover.remove("/top").error(), 0);
    const std::set<std::string> names = namesIn(m_directory);
    EXPECT_EQ(diskState(m_directory.pathOf("canary/b")), canary);
    EXPECT_TRUE(names.contains("/canary/file") && names.contains("/canary/a"));
    EXPECT_FALSE(names.contains("/top"));
}

TEST_P(TreeRemovalTest, findsItsWayWhereTheDirectoryAboveItIsMovedAsWell)
{
    // First the directory that it is in goes, then the one that it would go on from.
    m_directory.makeFile("top/a/b/c/deep");
    m_directory.makeFile("top/a/file");
    m_directory.writeFile("canary/file", "stays");
    m_directory.makeDirectory("canary/a/b");
    beforeRemoving("deep", [&] {
        m_directory.rename("top/a/b/c", "canary/c");
        m_directory.rename("top/a", "canary/moved");
        m_directory.makeLink("top/a", m_directory.pathOf("canary/a"));
    });
    EXPECT_EQ(m_remover.remove("/top").error(), 0);
    const std::set<std::string> names = namesIn(m_directory);
    EXPECT_TRUE(names.contains("/canary/file") && names.contains("/canary/a/b") &&
                names.contains("/canary/c"));
    EXPECT_FALSE(names.contains("/top"));
}

TEST_P(TreeRemovalTest, goesOnFromTheTopWhereThereIsNoWayUp)
{
    const std::string chain = TemporaryDirectory::chain(40, "d");
    m_directory.makeFile("top/" + chain + "/file");
    m_calls.failWhere(
        Function::OpenAt, [](const Call &call) { return call.path == ".."; }, EACCES);
    EXPECT_EQ(*m_remover.remove("/top"), 42U);
}

TEST_P(TreeRemovalTest, isNotKeptForEverByADirectoryThatComesAndGoes)
{
    m_directory.makeFile("top/a/b/c/deep");
    int moves = 0;
    m_calls.runBefore(Function::UnlinkAt, [&](const Call &call) {
        if (call.path == "deep") {
            const std::string number = std::to_string(++moves);
            m_directory.rename("top/a", "moved-" + number);
            m_directory.makeFile("top/a/b/c/deep");
        }
    });
    EXPECT_EQ(m_remover.remove("/top").error(), ENOTEMPTY);
    EXPECT_LT(moves, 1000);
}

TEST_P(TreeRemovalTest, givesUpOnADirectoryThatSomebodyKeepsFilling)
{
    m_directory.makeFile("top/sub/file");
    m_directory.makeFile("top/other/file");
    int made = 0;
    m_calls.runBefore(Function::UnlinkAt, [&](const Call &call) {
        if (call.path == "sub") {
            m_directory.makeFile("top/sub/more-" + std::to_string(++made));
        }
    });
    EXPECT_EQ(m_remover.remove("/top").error(), ENOTEMPTY);
    EXPECT_GT(made, 1) << "somebody else's files are removed too, for a while";
    EXPECT_LT(made, 100);
    EXPECT_EQ(namesIn(m_directory).size(), 3U);
    EXPECT_FALSE(namesIn(m_directory).contains("/top/other"));
}

TEST_P(TreeRemovalTest, removesWhatHasComeMeanwhile)
{
    m_directory.makeFile("top/sub/file");
    beforeRemoving("sub", [&] { m_directory.makeFile("top/sub/late/file"); });
    beforeRemoving("top", [&] { m_directory.makeFile("top/late/file"); });
    EXPECT_EQ(m_remover.remove("/top").error(), 0);
    EXPECT_THAT(namesIn(m_directory), IsEmpty());
}

TEST_P(TreeRemovalTest, doesNotTakeAnotherDirectoryOfTheSameNameForOneThatIsNotEmpty)
{
    m_directory.makeFile("top/file");
    m_directory.makeFile("other/file");
    beforeRemoving("top", [&] {
        m_directory.rename("top", "moved");
        m_directory.rename("other", "top");
    });
    EXPECT_EQ(m_remover.remove("/top").error(), ENOTEMPTY);
    EXPECT_THAT(namesIn(m_directory), ElementsAre("/moved", "/top", "/top/file"));
}

INSTANTIATE_TEST_SUITE_P(Ways, TreeRemovalTest,
                         testing::Values(Way{HostRemover::kMostOpen, true}, Way{1, true}, Way{2, true},
                                         Way{3, true}, Way{HostRemover::kMostOpen, false}, Way{1, false}),
                         [](const testing::TestParamInfo<Way> &test) {
                             return "Open" + std::to_string(test.param.mostOpen) +
                                    (test.param.inOneCall ? "" : "NameByName");
                         });

} // namespace
} // namespace slicewise
