#include "tests/support/RunProgram.h"

#include "tests/support/InChild.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <string>
#include <system_error>

namespace slicewise {
namespace {

ProgramRun shell(const std::string &script)
{
    return {.arguments = {"sh", "-c", script}};
}

TEST(RunProgram, tellsTheExitStatusAndBothOutputs)
{
    const ProgramResult result = runProgram(shell("echo out; echo err >&2; exit 3"));
    EXPECT_EQ(result.exitStatus, 3);
    EXPECT_FALSE(result.signal);
    EXPECT_EQ(result.standardOutput, "out\n");
    EXPECT_EQ(result.standardError, "err\n");
}

TEST(RunProgram, tellsTheSignalThatEndedIt)
{
    const ProgramResult result = runProgram(shell("kill -TERM $$"));
    EXPECT_FALSE(result.exitStatus);
    EXPECT_EQ(result.signal, SIGTERM);
    EXPECT_FALSE(result.tookTooLong);
}

TEST(RunProgram, readsMoreThanAPipeHoldsFromBothOutputsAtOnce)
{
    const ProgramResult result = runProgram(
        shell("head -c 300000 /dev/zero >&2; head -c 300000 /dev/zero; head -c 300000 /dev/zero >&2"));
    EXPECT_EQ(result.standardOutput.size(), 300'000U);
    EXPECT_EQ(result.standardError.size(), 600'000U);
}

TEST(RunProgram, handsItsArgumentsOverByteForByte)
{
    const ProgramResult result = runProgram({.arguments = {"printf", "%s|", "a b", "", "\n", "\xff", "*"}});
    EXPECT_EQ(result.standardOutput, "a b||\n|\xff|*|");
}

TEST(RunProgram, givesItTheInputOrNone)
{
    ProgramRun run = shell("cat; echo end");
    EXPECT_EQ(runProgram(run).standardOutput, "end\n");
    run.input = "some\ntext";
    EXPECT_EQ(runProgram(run).standardOutput, "some\ntextend\n");
    run = shell("if [ -e /proc/self/fd/0 ]; then echo open; else echo closed; fi </dev/null; "
                "test -e /proc/$$/fd/0 && echo open || echo closed");
    run.input.reset();
    EXPECT_TRUE(runProgram(run).standardOutput.ends_with("closed\n"));
}

TEST(RunProgram, changesTheEnvironmentAsItIsTold)
{
    ProgramRun run = shell("echo \"$SLICEWISE_ONE,${HOME-none},$PATH\"");
    run.environment = {{"SLICEWISE_ONE", "1=1"}, {"PATH", "/usr/bin:/bin"}};
    run.withoutEnvironment = {"HOME"};
    EXPECT_EQ(runProgram(run).standardOutput, "1=1,none,/usr/bin:/bin\n");
}

TEST(RunProgram, startsInTheDirectoryThatItIsTold)
{
    const TemporaryDirectory directory;
    ProgramRun run = {.arguments = {"pwd"}};
    run.directory = directory.path();
    EXPECT_EQ(runProgram(run).standardOutput, directory.path() + "\n");
}

TEST(RunProgram, killsWhatTakesTooLongWithAllThatItStarted)
{
    ProgramRun run = shell("echo begun; sleep 1000 & sleep 1000");
    run.limit = std::chrono::seconds(1);
    const ProgramResult result = runProgram(run);
    EXPECT_TRUE(result.tookTooLong);
    EXPECT_EQ(result.signal, SIGKILL);
    EXPECT_EQ(result.standardOutput, "begun\n");
}

TEST(RunProgram, throwsForAProgramThatIsNotThere)
{
    EXPECT_THROW(static_cast<void>(runProgram({.arguments = {"/nothing/here"}})), std::system_error);
    EXPECT_THROW(static_cast<void>(runProgram({.arguments = {"no-such-program-in-path"}})),
                 std::system_error);
    EXPECT_THROW(static_cast<void>(runProgramOnTerminal({.arguments = {"/nothing/here"}})),
                 std::system_error);
}

TEST(RunProgram, leavesNoDescriptorOfOursOpenInIt)
{
    // Whoever started this test may have left some open in it; those go on to all that it starts.
    const auto inherited = [] {
        int count = 0;
        for (int descriptor = 0; descriptor < 1024; ++descriptor) {
            const int flags = ::fcntl(descriptor, F_GETFD);
            count += descriptor < 3 || (flags >= 0 && (flags & FD_CLOEXEC) == 0) ? 1 : 0;
        }
        return count;
    };
    const ProgramResult result = runProgram({.arguments = {"ls", "/proc/self/fd"}});
    const auto lines = std::count(result.standardOutput.begin(), result.standardOutput.end(), '\n');
    EXPECT_EQ(lines, inherited() + 1) << result.standardOutput; // and the directory that ls reads
}

TEST(RunProgram, runsAsAnotherUser)
{
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root may become somebody else";
    }
    ProgramRun run = shell("id -u; id -g; id -G");
    run.user = kOrdinaryUser;
    run.group = kOrdinaryUser;
    EXPECT_EQ(runProgram(run).standardOutput, "65534\n65534\n65534\n");
}

TEST(RunProgram, hasNoTerminal)
{
    EXPECT_EQ(runProgram(shell("test -t 0 || test -t 1 || test -t 2 || echo none")).standardOutput, "none\n");
    EXPECT_NE(runProgram(shell("exec 2>/dev/null; : </dev/tty")).exitStatus, 0);
}

TEST(RunProgramOnTerminal, isATerminalOfTheSizeThatItIsTold)
{
    const ProgramResult result = runProgramOnTerminal(
        shell("test -t 0 && test -t 1 && test -t 2 && stty size; exit 5"), {.columns = 43, .lines = 21});
    EXPECT_EQ(result.exitStatus, 5);
    EXPECT_EQ(result.standardOutput, "21 43\r\n");
}

TEST(RunProgramOnTerminal, typesTheInput)
{
    ProgramRun run = shell("stty -echo; read answer; echo \"got $answer\"");
    run.input = "yes\n";
    const ProgramResult result = runProgramOnTerminal(run);
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_TRUE(result.standardOutput.ends_with("got yes\r\n")) << result.standardOutput;
}

TEST(RunProgramOnTerminal, readsEverythingThatIsWritten)
{
    const ProgramResult result = runProgramOnTerminal(shell("seq 1 20000"));
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_TRUE(result.standardOutput.ends_with("\n20000\r\n"));
    EXPECT_EQ(result.standardOutput.size(), 108'894U + 20'000U);
}

} // namespace
} // namespace slicewise
