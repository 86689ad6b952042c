// slicewise as it is installed on a device: set-user-id root, started by somebody else.
#include "platform/UniqueFd.h"
#include "tests/support/InChild.h"
#include "tests/support/RunProgram.h"
#include "tests/support/SetUserIdCopy.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

namespace slicewise {
namespace {

using testing::HasSubstr;

struct Ids {
    unsigned real = 1;
    unsigned effective = 1;
    unsigned saved = 1;
    bool sleeps = false;

    friend bool operator==(const Ids &, const Ids &) = default;
};

Ids idsOf(::pid_t process)
{
    Ids ids;
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(status, line);) {
        std::sscanf(line.c_str(), "Uid: %u %u %u", &ids.real, &ids.effective, &ids.saved);
        ids.sleeps = ids.sleeps || line.starts_with("State:\tS");
    }
    return ids;
}

/// A pipe that takes no more: whoever writes to it sleeps.
struct FullPipe {
    FullPipe()
    {
        std::array<int, 2> ends = {-1, -1};
        EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK), 0);
        reading.reset(ends[0]);
        writing.reset(ends[1]);
        const std::string much(4096, '.');
        while (::write(writing.get(), much.data(), much.size()) > 0 || ::write(writing.get(), ".", 1) > 0) {
        }
        ::fcntl(writing.get(), F_SETFL, 0);
    }
    UniqueFd reading;
    UniqueFd writing;
};

class AppSetUserId : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (!m_program.why().empty()) {
            GTEST_SKIP() << "There is no set-user-id program to start: " << m_program.why();
        }
    }

    /// Of the program when it has come as far as to say that there is no display, which nobody listens to.
    [[nodiscard]] Ids idsBeforeTheWindow(const std::string &root) const
    {
        const FullPipe pipe;
        const ::pid_t child = ::fork();
        if (child == 0) {
            ::dup2(pipe.writing.get(), STDERR_FILENO);
            const bool isOther = ::setgroups(0, nullptr) == 0 &&
                                 ::setresgid(kOrdinaryUser, kOrdinaryUser, kOrdinaryUser) == 0 &&
                                 ::setresuid(kOrdinaryUser, kOrdinaryUser, kOrdinaryUser) == 0;
            if (isOther) {
                ::execl(m_program.path().c_str(), "slicewise", "--root", root.c_str(), nullptr);
            }
            ::_exit(127);
        }
        Ids ids;
        while (!ids.sleeps && ::kill(child, 0) == 0 && ::waitpid(child, nullptr, WNOHANG) == 0) {
            ids = idsOf(child);
        }
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        return ids;
    }

    SetUserIdCopy m_program{SLICEWISE};
};

TEST_F(AppSetUserId, onItsOwnSystemTheSavedIdAloneStaysRoots)
{
    EXPECT_EQ(idsBeforeTheWindow("/"),
              (Ids{.real = kOrdinaryUser, .effective = kOrdinaryUser, .saved = 0, .sleeps = true}));
}

TEST_F(AppSetUserId, onAnotherRootNothingOfRootIsLeft)
{
    const TemporaryDirectory root;
    EXPECT_EQ(
        idsBeforeTheWindow(root.path()),
        (Ids{.real = kOrdinaryUser, .effective = kOrdinaryUser, .saved = kOrdinaryUser, .sleeps = true}));
}

TEST_F(AppSetUserId, loadsNothingThatItsCallerNames)
{
    const TemporaryDirectory folder;
    folder.setMode(".", 0777);
    folder.makeFile("root/usr/bin/tool", 1000);
    ProgramRun run = {.arguments = {m_program.path(), "--root", folder.pathOf("root"), "--snapshot",
                                    folder.pathOf("disk.png")},
                      // Each of them would end it, or be told of.
                      .environment = {{"QT_PLUGIN_PATH", folder.path()},
                                      {"QML2_IMPORT_PATH", folder.path()},
                                      {"QT_QUICK_CONTROLS_STYLE", folder.path()},
                                      {"QT_DEBUG_PLUGINS", "1"},
                                      {"QT_FATAL_WARNINGS", "1"}},
                      .user = kOrdinaryUser,
                      .group = kOrdinaryUser};
    const ProgramResult result = runProgram(run);
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardError, "");
    struct stat status = {};
    ASSERT_EQ(::stat(folder.pathOf("disk.png").c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, kOrdinaryUser);
    EXPECT_GT(status.st_size, 0);
}

TEST_F(AppSetUserId, writesNoSnapshotWhereTheUserMayNot)
{
    const TemporaryDirectory folder;
    folder.makeFile("root/usr/bin/tool", 1000);
    folder.setMode(".", 0755);
    const ProgramResult result = runProgram({.arguments = {m_program.path(), "--root", folder.pathOf("root"),
                                                           "--snapshot", folder.pathOf("disk.png")},
                                             .user = kOrdinaryUser,
                                             .group = kOrdinaryUser});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.standardError, HasSubstr("can't be written (Permission denied)"));
}

} // namespace
} // namespace slicewise
