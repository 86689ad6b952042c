// "slicewise-cli delete" as it is installed on a device: set-user-id root, started by somebody else.
#include "tests/cli/CliFixture.h"
#include "tests/support/InChild.h"
#include "tests/support/SetUserIdCopy.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

namespace slicewise {
namespace {

using testing::HasSubstr;

class DeleteSetUserId : public CliFixture {
protected:
    void SetUp() override
    {
        if (!m_program.why().empty()) {
            GTEST_SKIP() << "There is no set-user-id program to start: " << m_program.why();
        }
    }

    [[nodiscard]] ProgramRun asUser(std::vector<std::string> arguments) const
    {
        ProgramRun run = program(std::move(arguments));
        run.arguments.front() = m_program.path();
        run.environment.emplace_back("ASAN_OPTIONS", "detect_leaks=0");
        run.user = kOrdinaryUser;
        run.group = kOrdinaryUser;
        return run;
    }

    /// Where the program's own folder is the whole system.
    [[nodiscard]] ProgramRun onOwnSystem(std::vector<std::string> arguments) const
    {
        m_program.bringLibraries();
        ProgramRun run = program(std::move(arguments));
        const std::string user = std::to_string(kOrdinaryUser);
        run.arguments.front() = "/program";
        run.arguments.insert(run.arguments.begin(),
                             {"chroot", "--userspec=" + user + ":" + user, "--groups=", system().path()});
        // A sanitizer reads its options here, and here alone. Looking for leaks it would trace its own
        // process, which nobody may do with one that has rights to give away.
        system().writeFile("proc/self/environ", std::string("ASAN_OPTIONS=detect_leaks=0") + '\0');
        return run;
    }

    [[nodiscard]] const TemporaryDirectory &system() const { return m_program.directory(); }

private:
    SetUserIdCopy m_program{SLICEWISE_CLI};
};

TEST_F(DeleteSetUserId, onAnotherRootTheUserHasNoRightsButItsOwn)
{
    folder().makeFile("home/me/old/film.mkv", 100);
    const ProgramResult result =
        runProgram(asUser({"--root", folder().path(), "delete", "--yes", "Others/home/me/old"}));
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.standardError, HasSubstr("Permission denied"));
    EXPECT_TRUE(std::filesystem::exists(folder().pathOf("home/me/old/film.mkv")));
}

TEST_F(DeleteSetUserId, onItsOwnSystemItRemovesWhatTheUserCouldNot)
{
    system().makeFile("home/goes", 100);
    system().makeFile("home/stays", 100);
    const ProgramResult result = runProgram(onOwnSystem({"delete", "--yes", "Others/home/goes"}));
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    EXPECT_EQ(result.standardOutput, "Others/home/goes: 1 file, 100 B; removes /home/goes\nFreed 100 B.\n");
    EXPECT_FALSE(std::filesystem::exists(system().pathOf("home/goes")));
    EXPECT_TRUE(std::filesystem::exists(system().pathOf("home/stays")));
}

/// How many threads of a process, but for its first, are root at one moment.
unsigned othersAsRoot(::pid_t process)
{
    unsigned count = 0;
    const std::string tasks = "/proc/" + std::to_string(process) + "/task";
    std::error_code gone;
    for (const auto &task : std::filesystem::directory_iterator(tasks, gone)) {
        std::ifstream status(task.path() / "status");
        for (std::string line; std::getline(status, line);) {
            unsigned real = 0;
            unsigned effective = 0;
            if (std::sscanf(line.c_str(), "Uid: %u %u", &real, &effective) == 2) {
                const bool isFirst = task.path().filename() == std::to_string(process);
                count += !isFirst && effective == 0 ? 1U : 0U;
            }
        }
    }
    return count;
}

/// The process that runs a program, once there is one.
std::optional<::pid_t> processOf(const std::string &program)
{
    std::error_code error;
    for (const auto &entry : std::filesystem::directory_iterator("/proc", error)) {
        const std::string name = entry.path().filename();
        if (name.find_first_not_of("0123456789") == std::string::npos &&
            std::filesystem::read_symlink(entry.path() / "exe", error) == program) {
            return static_cast<::pid_t>(std::stol(name));
        }
    }
    return std::nullopt;
}

TEST_F(DeleteSetUserId, whileItScansAndRemovesNoThreadIsRootButTheOneThatRemoves)
{
    for (int i = 0; i < 5000; ++i) {
        system().makeFile("home/goes/" + std::to_string(i), 1);
    }
    const ProgramRun run = onOwnSystem({"delete", "--quiet", "--yes", "Others/home/goes"});
    ProgramResult result;
    std::atomic<bool> ended = false;
    std::thread runner([&] {
        result = runProgram(run);
        ended = true;
    });
    std::optional<::pid_t> process;
    while (!ended && !process) {
        process = processOf(system().pathOf("program"));
    }
    unsigned samples = 0;
    while (process && !ended) {
        EXPECT_EQ(othersAsRoot(*process), 0U);
        ++samples;
    }
    runner.join();
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    EXPECT_GT(samples, 0U);
    EXPECT_TRUE(std::filesystem::is_empty(system().pathOf("home/goes")));
}

} // namespace
} // namespace slicewise
