#include "platform/UniqueFd.h"
#include "tests/cli/CliFixture.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <string>

namespace slicewise {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class Program : public CliFixture {
protected:
    // Through a shell, for what a shell does to a program's descriptors.
    [[nodiscard]] ProgramResult inShell(const std::string &command) const
    {
        ProgramRun run = program({});
        run.arguments = {"/bin/sh", "-c", command};
        run.environment.emplace_back("CLI", SLICEWISE_CLI);
        run.environment.emplace_back("ROOT", folder().path());
        return runProgram(run);
    }

    void makeManyFiles(int count) const
    {
        for (int i = 0; i < count; ++i) {
            folder().makeFile("many/" + std::to_string(i % 50) + "/" + std::to_string(i), 1);
        }
    }
};

TEST_F(Program, aRootThatDoesNotExistIsAFileOrMayNotBeReadIsOneSentence)
{
    folder().makeFile("file", 1);
    folder().makeDirectory("closed");
    folder().setMode("closed", 0);
    const auto answerTo = [](const std::string &root) {
        ProgramRun run = program({"--root", root});
        asOrdinaryUser(run);
        const ProgramResult result = runProgram(run);
        EXPECT_EQ(result.exitStatus, 1);
        EXPECT_EQ(result.standardOutput, "");
        EXPECT_EQ(linesOf(result.standardError).size(), 1U);
        return result.standardError;
    };
    EXPECT_THAT(answerTo(folder().pathOf("missing")),
                AllOf(StartsWith("slicewise-cli: There is no directory “/"),
                      EndsWith("/missing”. Give --root one that exists.\n")));
    EXPECT_THAT(answerTo(folder().pathOf("file")),
                HasSubstr("is not a directory. Mount or extract an image"));
    EXPECT_THAT(answerTo(folder().pathOf("closed")),
                HasSubstr("may not be read by this user. Run it as root"));
    EXPECT_THAT(answerTo(folder().pathOf("a\nb")), HasSubstr("a\\x0Ab"));
    EXPECT_THAT(answerTo(""), HasSubstr("There is no directory “”"));
}

TEST_F(Program, wrongUsageEndsWith2AndWritesToStandardErrorAlone)
{
    const ProgramResult result = run({"--nonsense"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_THAT(result.standardError, EndsWith("See slicewise-cli --help.\n"));
}

TEST_F(Program, helpAndVersionGoToStandardOutput)
{
    const ProgramResult help = runProgram(program({"--help"}));
    EXPECT_EQ(help.exitStatus, 0);
    EXPECT_THAT(help.standardOutput, HasSubstr("--one-file-system"));
    EXPECT_EQ(help.standardError, "");
    EXPECT_THAT(runProgram(program({"--version"})).standardOutput, StartsWith("slicewise-cli "));
}

TEST_F(Program, aReaderThatClosesEarlyIsNoError)
{
    makeManyFiles(3000);
    const ProgramResult result =
        inShell(R"({ "$CLI" --root "$ROOT" --json; echo "status $?" >&2; } | head -c 10 >/dev/null)");
    EXPECT_EQ(result.standardError, "status 0\n");
}

TEST_F(Program, aFullDiskIsOneSentence)
{
    const ProgramResult result = inShell(R"("$CLI" --root "$ROOT" >/dev/full)");
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardError,
              "slicewise-cli: The output could not be written (No space left on device).\n");
}

TEST_F(Program, closedDescriptorsAreNotMistakenForWhatItOpens)
{
    folder().makeFile("home/a", 10);
    const ProgramResult output = inShell(R"("$CLI" --root "$ROOT" >&-)");
    EXPECT_EQ(output.exitStatus, 1);
    EXPECT_EQ(output.standardError,
              "slicewise-cli: Standard output is closed, so there is nowhere to write to.\n");
    const ProgramResult others = inShell(R"("$CLI" --root "$ROOT" --quiet <&- 2>&-)");
    EXPECT_EQ(others.exitStatus, 0);
    EXPECT_THAT(others.standardOutput, HasSubstr("Others"));
}

TEST_F(Program, showsNoProgressWhereStandardErrorIsNoTerminal)
{
    makeManyFiles(500);
    EXPECT_EQ(run({}).standardError, "");
}

TEST_F(Program, aScanOfItsOwnMachineEntersNothingThatHoldsNoStorage)
{
    // /proc/kcore alone claims 128 TB. A root with a proc of its own shows it without a scan of the machine.
    ProgramRun run = program({});
    const std::string script = R"(mkdir "$ROOT/proc" "$ROOT/sys" &&
        mount --rbind /proc "$ROOT/proc" && mount --rbind /sys "$ROOT/sys" &&
        exec "$CLI" --root "$ROOT" --errors)";
    run.arguments = {"unshare", ::geteuid() == 0 ? "-m" : "-rm", "/bin/sh", "-c", script};
    run.environment.emplace_back("CLI", SLICEWISE_CLI);
    run.environment.emplace_back("ROOT", folder().path());
    const ProgramResult result = runProgram(run);
    if (result.standardError.find("unshare") != std::string::npos) {
        GTEST_SKIP() << "this kernel lets nobody mount: " << result.standardError;
    }
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    EXPECT_THAT(result.standardOutput, StartsWith("Disk  0 B used"));
    EXPECT_THAT(result.standardOutput, HasSubstr("  /proc: holds no storage (proc)\n"));
    EXPECT_THAT(result.standardOutput, HasSubstr("  /sys: holds no storage (sysfs)\n"));
}

TEST_F(Program, anInterruptEndsItAtOnceWith130)
{
    // Its output is a pipe that nobody reads, so it can't have ended by itself.
    makeManyFiles(4000);
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    const UniqueFd readEnd(ends[0]);
    UniqueFd writeEnd(ends[1]);
    const std::string root = folder().path();
    const ::pid_t child = ::fork();
    if (child == 0) {
        ::dup2(writeEnd.get(), STDOUT_FILENO);
        ::execl(SLICEWISE_CLI, SLICEWISE_CLI, "--root", root.c_str(), "--json", nullptr);
        ::_exit(126);
    }
    writeEnd.reset();
    char first = 0;
    ASSERT_EQ(::read(readEnd.get(), &first, 1), 1); // it is writing, and the pipe is full soon
    ASSERT_EQ(::kill(child, SIGINT), 0);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 130);
}

} // namespace
} // namespace slicewise
