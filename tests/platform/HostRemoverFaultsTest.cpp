// Every system call of a removal fails once, in every way that it can fail; and the process is killed before
// each of them.
#include "platform/HostRemover.h"
#include "tests/support/DiskState.h"
#include "tests/support/FailingSystemCalls.h"
#include "tests/support/OpenDescriptors.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>

namespace slicewise {
namespace {

using testing::IsEmpty;
using Function = FailingSystemCalls::Function;

/// How the calls behave all the time, before one of them fails.
struct Surroundings {
    const char *name;
    std::size_t mostOpen;
    void (*prepare)(FailingSystemCalls &calls);
};

class EveryCallOfARemoval : public testing::TestWithParam<Surroundings> {
protected:
    EveryCallOfARemoval()
    {
        m_directory.writeFile("outside/file", "stays");
        m_directory.makeFile("outside/b/file");
        m_outside = diskState(m_directory.pathOf("outside"));
    }

    void makeTree() const
    {
        m_directory.makeFile("tree/a/b/file");
        m_directory.makeFile("tree/a/b/c/deep/er/file");
        m_directory.makeFile("tree/a/file");
        m_directory.makeDirectory("tree/z/empty");
        m_directory.makeLink("tree/z/link", m_directory.pathOf("outside"));
        m_directory.makeFile("tree/file");
    }

    [[nodiscard]] Result<std::uint64_t> removeWith(const SystemCalls &calls) const
    {
        const Result<std::unique_ptr<HostDevice>> device = HostDevice::open(m_directory.path(), &calls);
        if (!device) {
            return ErrorNumber{device.error()};
        }
        HostRemover remover(**device, GetParam().mostOpen);
        return remover.remove("/tree");
    }

    [[nodiscard]] std::set<std::string> namesOfTree() const
    {
        std::set<std::string> names;
        for (const auto &[name, state] : diskState(m_directory.path())) {
            if (name.starts_with("/tree")) {
                names.insert(name);
            }
        }
        return names;
    }

    // How often each function is called where nothing fails.
    [[nodiscard]] std::map<Function, std::uint64_t> countCalls() const
    {
        makeTree();
        FailingSystemCalls calls;
        GetParam().prepare(calls);
        EXPECT_EQ(removeWith(calls).value(), kEntries);
        std::map<Function, std::uint64_t> counts;
        for (const Function function : FailingSystemCalls::allFunctions()) {
            counts[function] = calls.count(function);
        }
        return counts;
    }

    // What a process leaves behind that is killed before its n-th call; whether it was.
    [[nodiscard]] bool killBeforeCall(std::uint64_t n) const
    {
        const ::pid_t child = ::fork();
        if (child == 0) {
            FailingSystemCalls calls;
            std::uint64_t made = 0;
            for (const Function function : FailingSystemCalls::allFunctions()) {
                calls.runBefore(function, [&made, n](const FailingSystemCalls::Call &) {
                    if (++made == n) {
                        ::kill(::getpid(), SIGKILL);
                    }
                });
            }
            GetParam().prepare(calls); // behind the hooks: what is refused counts too
            ::_exit(removeWith(calls).error());
        }
        int status = 0;
        while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
        }
        EXPECT_TRUE(WIFSIGNALED(status) || WEXITSTATUS(status) == 0) << status;
        return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    }

    static constexpr std::uint64_t kEntries = 13;
    TemporaryDirectory m_directory;
    std::map<std::string, std::string> m_outside;
};

// What is left is what could not be removed, and the directories that lead there: one way down.
void expectOneWayDown(const std::set<std::string> &names)
{
    std::string above;
    for (const std::string &name : names) {
        EXPECT_TRUE(above.empty() || name.starts_with(above + "/")) << name << " beside " << above;
        above = name;
    }
}

TEST_P(EveryCallOfARemoval, mayFailOnceAndIsReportedAndTheRestIsDone)
{
    const std::map<Function, std::uint64_t> counts = countCalls();
    const std::set<int> descriptors = openDescriptors();
    for (const auto &[function, count] : counts) {
        for (const int error : {EIO, EMFILE, EACCES}) {
            for (std::uint64_t n = 1; n <= count; ++n) {
                const testing::ScopedTrace trace(__FILE__, __LINE__,
                                                 "call " + std::to_string(n) + " of " +
                                                     FailingSystemCalls::nameOf(function) + " fails with " +
                                                     std::to_string(error));
                makeTree();
                FailingSystemCalls calls;
                calls.failNth(function, n, error);
                GetParam().prepare(calls);
                const Result<std::uint64_t> removed = removeWith(calls);
                const std::set<std::string> left = namesOfTree();
                if (removed) {
                    EXPECT_EQ(*removed, kEntries);
                    EXPECT_THAT(left, IsEmpty());
                } else {
                    EXPECT_EQ(removed.error(), error);
                }
                // Where types are unknown it may be a whole directory that could not be tried.
                if (function == Function::UnlinkAt &&
                    std::string_view(GetParam().name) != "WithoutEntryTypes") {
                    expectOneWayDown(left);
                }
                EXPECT_EQ(diskState(m_directory.pathOf("outside")), m_outside);
                ASSERT_EQ(openDescriptors(), descriptors) << "descriptors stay open";
                if (!left.empty()) {
                    FailingSystemCalls healthy;
                    GetParam().prepare(healthy);
                    EXPECT_EQ(removeWith(healthy).value(), left.size());
                }
                ASSERT_THAT(namesOfTree(), IsEmpty());
            }
        }
    }
}

TEST_P(EveryCallOfARemoval, mayBeTheLastOneOfTheProcess)
{
    std::uint64_t most = 0;
    for (const auto &[function, count] : countCalls()) {
        most += count;
    }
    std::uint64_t kills = 0;
    for (std::uint64_t n = 1; n <= most; ++n) {
        makeTree();
        kills += killBeforeCall(n) ? 1U : 0U;
        EXPECT_EQ(diskState(m_directory.pathOf("outside")), m_outside) << n;
        const std::set<std::string> left = namesOfTree();
        FailingSystemCalls calls;
        GetParam().prepare(calls);
        ASSERT_FALSE(left.empty()) << n;
        EXPECT_EQ(removeWith(calls).value(), left.size()) << n;
        ASSERT_THAT(namesOfTree(), IsEmpty()) << n;
        EXPECT_EQ(diskState(m_directory.pathOf("outside")), m_outside) << n;
    }
    EXPECT_EQ(kills, most);
}

INSTANTIATE_TEST_SUITE_P(
    HostRemover, EveryCallOfARemoval,
    testing::Values(Surroundings{"AsTheyAre", HostRemover::kMostOpen, [](FailingSystemCalls &) {}},
                    Surroundings{"WithOneDirectoryOpen", 1, [](FailingSystemCalls &) {}},
                    Surroundings{"OpeningNameByName", 2,
                                 [](FailingSystemCalls &calls) {
                                     calls.failEach(Function::OpenWithoutLinks, ENOSYS);
                                     calls.failEach(Function::OpenBeneath, ENOSYS);
                                 }},
                    Surroundings{"WithoutMountNumbers", 2,
                                 [](FailingSystemCalls &calls) {
                                     calls.failEach(Function::OpenBeneath, EPERM);
                                     calls.failEach(Function::MountOf, ENOSYS);
                                 }},
                    Surroundings{
                        "ListingThePortableWay", 1,
                        [](FailingSystemCalls &calls) { calls.failEach(Function::ReadEntries, ENOSYS); }},
                    Surroundings{"WithoutEntryTypes", HostRemover::kMostOpen,
                                 [](FailingSystemCalls &calls) { calls.hideEntryTypes(); }}),
    [](const testing::TestParamInfo<Surroundings> &test) { return std::string(test.param.name); });

} // namespace
} // namespace slicewise
