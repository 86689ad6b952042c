#include "platform/CommandRunner.h"

#include "platform/UniqueFd.h"
#include "tests/platform/Commands.h"
#include "tests/support/InChild.h"
#include "tests/support/OpenDescriptors.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace slicewise {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::Pair;

constexpr int kExit1 = 0x100;
constexpr int kExit7 = 0x700;

std::string readHostFile(const std::string &path)
{
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// Programs of the test's own; PATH is up to it, and what it was comes back in the end.
class CommandRunner : public testing::Test {
protected:
    void TearDown() override
    {
        EXPECT_TRUE(noChildIsLeft());
        EXPECT_EQ(openDescriptors(), m_descriptors);
    }

    void makeProgram(const std::string &relative, const std::string &text, ::mode_t mode = 0755) const
    {
        m_directory.writeFile(relative, text);
        m_directory.setMode(relative, mode);
    }

    TemporaryDirectory m_directory;

private:
    ScopedVariable m_path{"PATH", std::string("/usr/bin:/bin")};
    std::set<int> m_descriptors = openDescriptors();
};

// ---- how a program ended

TEST_F(CommandRunner, givesTheExitStatusOfAProgram)
{
    for (const int status : {0, 1, 7, 255}) {
        const ArgumentVector arguments = script("exit $1", {std::to_string(status)});
        EXPECT_EQ(runCommand("sh", arguments), status);
        EXPECT_EQ(outputOf("sh", arguments).second, status << 8);
    }
}

TEST_F(CommandRunner, givesZeroForAProgramThatASignalEndedUnlessItsOutputIsRead)
{
    for (const int signal : {SIGTERM, SIGKILL, SIGHUP}) {
        const ArgumentVector arguments = script("kill -$1 $$", {std::to_string(signal)});
        EXPECT_EQ(runCommand("sh", arguments), 0);
        EXPECT_EQ(outputOf("sh", arguments).second, signal);
    }
}

TEST_F(CommandRunner, neverTakesAChildThatItCannotWaitForAsAGoodEnd)
{
    const CommandOutput output = openCommandOutput("sh", script("exit 0"));
    EXPECT_EQ(readToEnd(output.stream), "");
    EXPECT_EQ(::waitpid(output.process, nullptr, 0), output.process);
    EXPECT_NE(closeCommandOutput(output), 0);
}

TEST_F(CommandRunner, waitsForNobodyWhereThereIsNoChild)
{
    const CommandOutput other = openCommandOutput("sh", script("exit 7"));
    EXPECT_EQ(readToEnd(other.stream), "");
    EXPECT_NE(closeCommandOutput({}), 0);
    EXPECT_NE(closeCommandOutput({.stream = nullptr, .process = 0}), 0);
    EXPECT_EQ(closeCommandOutput(other), kExit7);
}

TEST_F(CommandRunner, tellsThatNoChildCouldBeMade)
{
    asOrdinaryUser([] {
        const ::rlimit none = {.rlim_cur = 0, .rlim_max = 0};
        ASSERT_EQ(::setrlimit(RLIMIT_NPROC, &none), 0);
        EXPECT_EQ(runCommand("true", {"true"}), 255);
        const CommandOutput output = openCommandOutput("true", {"true"});
        EXPECT_EQ(output.stream, nullptr);
        EXPECT_EQ(output.process, -1);
        EXPECT_NE(closeCommandOutput(output), 0);
        EXPECT_NE(linesOf("true", {"true"}).end.waitStatus, 0);
    });
}

TEST_F(CommandRunner, tellsThatThereAreNoDescriptorsLeft)
{
    asOrdinaryUser([] {
        ::rlimit before = {};
        ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
        const ::rlimit few = {.rlim_cur = 3, .rlim_max = before.rlim_max};
        ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
        const CommandOutput output = openCommandOutput("true", {"true"});
        const LinesAndEnd read = linesOf("true", {"true"});
        ::setrlimit(RLIMIT_NOFILE, &before); // what looks over the test needs descriptors too
        EXPECT_EQ(output.stream, nullptr);
        EXPECT_EQ(output.process, -1);
        EXPECT_NE(read.end.waitStatus, 0);
        EXPECT_FALSE(read.end.complete);
        EXPECT_TRUE(noChildIsLeft());
    });
}

// ---- which program it is

TEST_F(CommandRunner, endsWithOneWhereTheProgramIsNotFound)
{
    for (const std::string &name : {std::string("no-such-program"), m_directory.pathOf("no-such-program"),
                                    std::string("/no/such/directory/program"), std::string()}) {
        EXPECT_EQ(runCommand(name, {name}), 1) << name;
        EXPECT_THAT(outputOf(name, {name}), Pair("", kExit1)) << name;
    }
}

TEST_F(CommandRunner, endsWithOneWhereNothingMayBeExecuted)
{
    makeProgram("bin/plain", "#!/bin/sh\nexit 0\n", 0644);
    m_directory.makeDirectory("bin/directory");
    makeProgram("bin/without interpreter", "#!/no/such/interpreter\n");
    const ScopedVariable path("PATH", m_directory.pathOf("bin"));
    for (const char *name : {"plain", "directory", "without interpreter"}) {
        EXPECT_EQ(runCommand(name, {name}), 1) << name;
        EXPECT_EQ(runCommand(m_directory.pathOf("bin/") + name, {name}), 1) << name;
    }
}

TEST_F(CommandRunner, takesTheFirstProgramOnPathThatCanBeExecuted)
{
    m_directory.makeDirectory("directory/program");
    makeProgram("plain/program", "#!/bin/sh\nexit 3\n", 0644);
    makeProgram("broken/program", "#!/no/such/interpreter\n");
    m_directory.makeFile("file");
    makeProgram("right/program", "#!/bin/sh\nexit 7\n");
    makeProgram("late/program", "#!/bin/sh\nexit 9\n");
    std::string path;
    for (const char *element : {"missing", "directory", "plain", "broken", "file", "right", "late"}) {
        path += m_directory.pathOf(element) + ":";
    }
    const ScopedVariable variable("PATH", std::string(5000, 'x') + ":" + path);
    EXPECT_EQ(runCommand("program", {"program"}), 7);
    EXPECT_EQ(outputOf("program", {"program"}).second, kExit7);
}

TEST_F(CommandRunner, takesANameWithASlashAsItIs)
{
    makeProgram("here/program", "#!/bin/sh\nexit 7\n");
    makeProgram("on path/here/program", "#!/bin/sh\nexit 9\n");
    const ScopedVariable path("PATH", m_directory.pathOf("on path"));
    EXPECT_EQ(runCommand(m_directory.pathOf("here/program"), {"program"}), 7);
    EXPECT_EQ(runCommand("here/program", {"program"}), 1);
}

TEST_F(CommandRunner, looksInTheSystemsDirectoriesWherePathIsNotSet)
{
    const ScopedVariable path("PATH", std::nullopt);
    EXPECT_EQ(runCommand("sh", script("exit 7")), 7);
}

TEST_F(CommandRunner, takesAnEmptyElementOfPathForTheCurrentDirectory)
{
    makeProgram("program", "#!/bin/sh\nexit 7\n");
    const UniqueFd before(::open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(::chdir(m_directory.path().c_str()), 0);
    for (const char *value : {":/nowhere", "/nowhere:", "/nowhere::/nowhere", ""}) {
        const ScopedVariable path("PATH", std::string(value));
        EXPECT_EQ(runCommand("program", {"program"}), 7) << value;
    }
    const ScopedVariable path("PATH", std::string("/nowhere"));
    EXPECT_EQ(runCommand("program", {"program"}), 1);
    EXPECT_EQ(::fchdir(before.get()), 0);
}

TEST_F(CommandRunner, runsAScriptThatDoesNotSayForWhomWithTheShell)
{
    makeProgram("bin/script", "echo \"$0|$1|$2|$#\"\nexit 7\n");
    const ScopedVariable path("PATH", m_directory.pathOf("bin"));
    EXPECT_THAT(outputOf("script", {"any name", "one argument", ""}),
                Pair(m_directory.pathOf("bin/script") + "|one argument||2\n", kExit7));
    EXPECT_THAT(outputOf("script", {}), Pair(HasSubstr("|||0\n"), kExit7));
}

TEST_F(CommandRunner, handsOverTheArgumentsAsTheyAre)
{
    EXPECT_THAT(outputOf("printf", {"printf", "[%s]", "a b", "", "*", "$HOME", "\xff\n"}),
                Pair("[a b][][*][$HOME][\xff\n]", 0));
}

// ---- streams and environment

TEST_F(CommandRunner, leavesTheStandardStreamsAsTheyAre)
{
    m_directory.makeFile("output");
    m_directory.setMode("output", 0666);
    asOrdinaryUser([&] {
        const UniqueFd file(::open(m_directory.pathOf("output").c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
        ASSERT_EQ(::dup2(file.get(), STDOUT_FILENO), STDOUT_FILENO);
        ASSERT_EQ(::dup2(file.get(), STDERR_FILENO), STDERR_FILENO);
        EXPECT_EQ(runCommand("sh", script("echo out; echo err >&2")), 0);
    });
    EXPECT_EQ(readHostFile(m_directory.pathOf("output")), "out\nerr\n");
}

TEST_F(CommandRunner, leavesStandardInputAsItIs)
{
    m_directory.writeFile("input", "first\nsecond\nthird\n");
    asOrdinaryUser([&] {
        const UniqueFd file(::open(m_directory.pathOf("input").c_str(), O_RDONLY | O_CLOEXEC));
        ASSERT_EQ(::dup2(file.get(), STDIN_FILENO), STDIN_FILENO);
        EXPECT_EQ(runCommand("sh", script("read line; [ $line = first ]")), 0);
        EXPECT_THAT(outputOf("sh", script("read line; echo $line")), Pair("second\n", 0));
        EXPECT_THAT(linesOf("sh", script("read line; echo $line")).lines, testing::ElementsAre("third"));
    });
}

TEST_F(CommandRunner, putsBothStreamsIntoOneInTheOrderOfWriting)
{
    EXPECT_THAT(outputOf("sh", script("echo a; echo b >&2; echo c; printf d >&2")), Pair("a\nb\nc\nd", 0));
    EXPECT_THAT(outputOf("true", {"true"}), Pair("", 0));
}

TEST_F(CommandRunner, readsAProgramInAnEnvironmentThatMakesItReadable)
{
    const ScopedVariable locale("LC_ALL", "POSIX");
    const ScopedVariable columns("COLUMNS", "40");
    const ScopedVariable other("SLICEWISE_OTHER", "kept\nas it is");
    const auto [text, status] = outputOf("env", {"env"});
    EXPECT_EQ(status, 0);
    EXPECT_THAT("\n" + text,
                AllOf(HasSubstr("\nLC_ALL=C\n"), Not(HasSubstr("\nLC_ALL=POSIX\n")),
                      Not(HasSubstr("\nCOLUMNS=")), HasSubstr("\nSLICEWISE_OTHER=kept\nas it is\n"),
                      HasSubstr("\nPATH=/usr/bin:/bin\n")));
    EXPECT_STREQ(std::getenv("LC_ALL"), "POSIX");
    EXPECT_STREQ(std::getenv("COLUMNS"), "40");
    EXPECT_EQ(runCommand("sh", script("[ $LC_ALL = POSIX ] && [ $COLUMNS = 40 ]")), 0);
}

TEST_F(CommandRunner, setsTheLocaleWhereThereWasNone)
{
    const ScopedVariable locale("LC_ALL", std::nullopt);
    const ScopedVariable columns("COLUMNS", std::nullopt);
    EXPECT_THAT(outputOf("printenv", {"printenv", "LC_ALL"}), Pair("C\n", 0));
}

TEST_F(CommandRunner, worksWithAnyOfTheStandardStreamsClosed)
{
    for (unsigned closed = 0; closed < 8; ++closed) {
        asOrdinaryUser([closed] {
            for (const int descriptor : {0, 1, 2}) {
                if ((closed >> static_cast<unsigned>(descriptor) & 1U) != 0) {
                    ::close(descriptor);
                }
            }
            const ArgumentVector arguments = script("echo out; echo err >&2; exit 7");
            EXPECT_THAT(outputOf("sh", arguments), Pair("out\nerr\n", kExit7)) << closed;
            EXPECT_THAT(linesOf("sh", arguments).lines, testing::ElementsAre("out", "err")) << closed;
            EXPECT_EQ(runCommand("sh", script("exit 7")), 7) << closed;
            for (const int descriptor : openDescriptors()) {
                EXPECT_TRUE(descriptor > 2 || (closed >> static_cast<unsigned>(descriptor) & 1U) == 0);
            }
        });
    }
}

TEST_F(CommandRunner, givesAChildTheStandardStreamsAndNoOtherDescriptor)
{
    const UniqueFd closedOnExec(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    const UniqueFd inherited(::open("/dev/null", O_RDONLY)); // NOLINT(android-cloexec-open): what it is for
    const UniqueFd farOff(::fcntl(inherited.get(), F_DUPFD, 200));
    ASSERT_TRUE(closedOnExec && inherited && farOff);
    // Not the shell's last command, so that it stays a shell.
    EXPECT_THAT(outputOf("sh", script("ls -v /proc/$$/fd; :")), Pair("0\n1\n2\n", 0));
    EXPECT_THAT(linesOf("sh", script("ls -v /proc/$$/fd; :")).lines, testing::ElementsAre("0", "1", "2"));
    const std::string list = m_directory.pathOf("list");
    EXPECT_EQ(runCommand("sh", script("( ls -v /proc/$$/fd ) > \"$1\"; :", {list})), 0);
    EXPECT_EQ(readHostFile(list), "0\n1\n2\n");
}

// ---- several at once

TEST_F(CommandRunner, letsNoChildHoldTheOthersPipe)
{
    m_directory.makeFifo("fifo");
    const ArgumentVector waits = script("read x < \"$1\"; exit 7", {m_directory.pathOf("fifo")});
    const CommandOutput writer = openCommandOutput("yes", {"yes"});
    const CommandOutput brief = openCommandOutput("echo", {"echo", "text"});
    const CommandOutput waiting = openCommandOutput("sh", waits);
    // Were the waiting one to hold an end of their pipes, neither of these would ever end.
    EXPECT_EQ(readToEnd(brief.stream), "text\n");
    EXPECT_EQ(closeCommandOutput(brief), 0);
    EXPECT_EQ(closeCommandOutput(writer), SIGPIPE);
    std::ofstream(m_directory.pathOf("fifo")) << "\n";
    EXPECT_EQ(readToEnd(waiting.stream), "");
    EXPECT_EQ(closeCommandOutput(waiting), kExit7);
}

TEST_F(CommandRunner, runsManyAtOnceFromSeveralThreads)
{
    constexpr int kThreads = 6;
    constexpr int kEach = 15;
    std::atomic<int> right = 0;
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([thread, &right] {
            for (int i = 0; i < kEach; ++i) {
                const int number = thread * kEach + i;
                const std::string text = std::to_string(number);
                const ArgumentVector arguments = script("echo $1; echo $1 >&2; exit $1", {text});
                right += runCommand("sh", script("exit $1", {text})) == number ? 1 : 0;
                right += outputOf("sh", arguments) == TextAndStatus(text + "\n" + text + "\n", number << 8);
                const LinesAndEnd read = linesOf("sh", arguments);
                right += read.lines == std::vector{text, text} && read.end.waitStatus == number << 8 ? 1 : 0;
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(right, 3 * kThreads * kEach);
}

// ---- user ids

/// The ids in one line of /proc/self/status: real, effective, saved and that for files.
constexpr const char *kPrintIds = "grep Uid: /proc/self/status";

TEST_F(CommandRunner, runsAProgramAsRootInEveryRespectWhereWeAreRootInOne)
{
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can be another user and root at once";
    }
    m_directory.makeFile("ids");
    withOwnMounts([&] { // as root in a child
        ASSERT_EQ(::setresuid(kOrdinaryUser, 0, kOrdinaryUser), 0);
        const std::string file = m_directory.pathOf("ids");
        EXPECT_EQ(runCommand("sh", script(std::string(kPrintIds) + " > \"$1\"; id -r -u >> \"$1\"", {file})),
                  0);
        EXPECT_EQ(readHostFile(file), "Uid:\t0\t0\t0\t0\n0\n");
        ::uid_t real = 0;
        ::uid_t effective = 0;
        ::uid_t saved = 0;
        ASSERT_EQ(::getresuid(&real, &effective, &saved), 0);
        EXPECT_EQ(real, kOrdinaryUser);
        EXPECT_EQ(effective, 0U);
        EXPECT_EQ(saved, kOrdinaryUser);
    });
}

/// Where the program is, what its files are made with, and how large they may get.
constexpr const char *kPrintSurroundings = "pwd; umask; ulimit -S -f";

TEST_F(CommandRunner, runsAProgramAsRootWithoutWhatAnotherUserHasSet)
{
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can be another user and root at once";
    }
    m_directory.makeFile("root's");
    m_directory.makeFile("user's");
    withOwnMounts([&] { // as root in a child
        ASSERT_EQ(::chdir(m_directory.path().c_str()), 0);
        ::umask(0);
        ::rlimit limit = {};
        ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &limit), 0);
        limit.rlim_cur = ::rlim_t{1024} * 1024;
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
        const auto print = [&](const char *file) {
            return script(std::string("( ") + kPrintSurroundings + " ) > \"$1\"", {m_directory.pathOf(file)});
        };
        EXPECT_EQ(runCommand("sh", print("user's")), 0); // whose real user is root has set it for himself
        ASSERT_EQ(::setresuid(kOrdinaryUser, 0, kOrdinaryUser), 0);
        EXPECT_EQ(runCommand("sh", print("root's")), 0);
        EXPECT_EQ(outputOf("sh", script("pwd; umask")).first, m_directory.path() + "\n0000\n");
    });
    EXPECT_EQ(readHostFile(m_directory.pathOf("root's")), "/\n0022\nunlimited\n");
    EXPECT_EQ(readHostFile(m_directory.pathOf("user's")), m_directory.path() + "\n0000\n2048\n");
}

#if defined(O_PATH)
TEST_F(CommandRunner, givesAProgramAsRootNothingThatTheUserCouldOnlyName)
{
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can be another user and root at once";
    }
    m_directory.writeFile("root's", "as it was");
    withOwnMounts([&] { // as root in a child
        const UniqueFd named(::open(m_directory.pathOf("root's").c_str(), O_PATH | O_CLOEXEC));
        ASSERT_TRUE(named);
        const UniqueFd before(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3));
        ASSERT_EQ(::setresuid(kOrdinaryUser, 0, kOrdinaryUser), 0);
        ASSERT_EQ(::dup2(named.get(), STDERR_FILENO), STDERR_FILENO);
        const int status = runCommand("sh", script("echo from root > /dev/stderr"));
        ASSERT_EQ(::dup2(before.get(), STDERR_FILENO), STDERR_FILENO);
        EXPECT_EQ(status, 0);
    });
    EXPECT_EQ(readHostFile(m_directory.pathOf("root's")), "as it was");
}
#endif

TEST_F(CommandRunner, readsAProgramThatKeepsOurUserIds)
{
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can be another user and root at once";
    }
    withOwnMounts([] { // as root in a child
        ASSERT_EQ(::setresuid(kOrdinaryUser, 0, 0), 0);
        const std::string user = std::to_string(kOrdinaryUser);
        EXPECT_THAT(outputOf("id", {"id", "-r", "-u"}), Pair(user + "\n", 0));
        EXPECT_THAT(outputOf("id", {"id", "-u"}), Pair("0\n", 0));
        EXPECT_EQ(linesOf("id", {"id", "-r", "-u"}).lines, std::vector{user});
        EXPECT_EQ(::getuid(), kOrdinaryUser);
        EXPECT_EQ(::geteuid(), 0U);
    });
}

TEST_F(CommandRunner, runsAProgramAsWhoWeAreWhereThatIsNotRoot)
{
    asOrdinaryUser([] {
        const std::string user = std::to_string(::geteuid());
        EXPECT_EQ(runCommand("sh", script("[ $(id -u) = $1 ] && [ $(id -r -u) = $1 ]", {user})), 0);
        EXPECT_THAT(outputOf("id", {"id", "-r", "-u"}), Pair(user + "\n", 0));
    });
}

} // namespace
} // namespace slicewise
