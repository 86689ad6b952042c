#include "platform/CommandRunner.h"
#include "tests/platform/Commands.h"
#include "tests/support/OpenDescriptors.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <set>
#include <string>
#include <vector>

namespace slicewise {
namespace {

constexpr int kExit7 = 0x700;

/// What a signal is answered with, for a while.
class ScopedAction {
public:
    ScopedAction(int signal, void (*handler)(int), int flags = 0) : m_signal(signal)
    {
        struct sigaction action = {};
        action.sa_handler = handler;
        action.sa_flags = flags;
        ::sigaction(signal, &action, &m_before);
    }
    ScopedAction(const ScopedAction &) = delete;
    ScopedAction &operator=(const ScopedAction &) = delete;
    ~ScopedAction() { ::sigaction(m_signal, &m_before, nullptr); }

private:
    int m_signal;
    struct sigaction m_before = {};
};

struct sigaction actionOf(int signal)
{
    struct sigaction action = {};
    ::sigaction(signal, nullptr, &action);
    return action;
}

class CommandSignals : public testing::Test {
protected:
    void TearDown() override
    {
        EXPECT_TRUE(noChildIsLeft());
        EXPECT_EQ(openDescriptors(), m_descriptors);
    }

    TemporaryDirectory m_directory;

private:
    std::set<int> m_descriptors = openDescriptors();
};

TEST_F(CommandSignals, endsAProgramThatGoesOnWritingWhenItsOutputIsClosed)
{
    const CommandOutput output = openCommandOutput("yes", {"yes"});
    std::array<char, 4> line{};
    ASSERT_NE(std::fgets(line.data(), line.size(), output.stream), nullptr);
    EXPECT_STREQ(line.data(), "y\n");
    EXPECT_EQ(closeCommandOutput(output), SIGPIPE);
}

TEST_F(CommandSignals, endsItAlsoWhereWeIgnoreSuchSignals)
{
    const ScopedAction ignored(SIGPIPE, SIG_IGN);
    EXPECT_EQ(closeCommandOutput(openCommandOutput("yes", {"yes"})), SIGPIPE);
    EXPECT_EQ(runCommand("sh", script("kill -PIPE $$; exit 7")), 0);
    EXPECT_EQ(actionOf(SIGPIPE).sa_handler, SIG_IGN);
}

TEST_F(CommandSignals, startsAProgramWithNoSignalBlockedThoughWeBlockAll)
{
    ::sigset_t all;
    ::sigset_t before;
    ::sigset_t after;
    ::sigfillset(&all);
    ASSERT_EQ(::pthread_sigmask(SIG_SETMASK, &all, &before), 0);
    const auto [text, status] = outputOf("grep", {"grep", "SigBlk", "/proc/self/status"});
    const int ended = runCommand("sh", script("kill -TERM $$; exit 7"));
    ASSERT_EQ(::pthread_sigmask(SIG_SETMASK, &before, &after), 0);
    EXPECT_EQ(text, "SigBlk:\t0000000000000000\n");
    EXPECT_EQ(status, 0);
    EXPECT_EQ(ended, 0);
    for (const int signal : {SIGTERM, SIGPIPE, SIGCHLD}) {
        EXPECT_EQ(::sigismember(&after, signal), 1);
        EXPECT_EQ(::sigismember(&before, signal), 0);
    }
}

TEST_F(CommandSignals, waitsForItsChildrenWhereSuchSignalsWereIgnored)
{
    const ScopedAction ignored(SIGCHLD, SIG_IGN);
    EXPECT_EQ(runCommand("sh", script("exit 7")), 7);
    EXPECT_EQ(actionOf(SIGCHLD).sa_handler, SIG_DFL);
    ::signal(SIGCHLD, SIG_IGN);
    EXPECT_EQ(outputOf("sh", script("exit 7")).second, kExit7);
    ::signal(SIGCHLD, SIG_IGN);
    EXPECT_EQ(linesOf("sh", script("exit 7")).end.waitStatus, kExit7);
}

std::atomic<int> endedChildren = 0;

TEST_F(CommandSignals, waitsForThemWhereWeWantedOnlyToBeTold)
{
    const auto count = [](int) { ++endedChildren; };
    const ScopedAction counting(SIGCHLD, count, SA_NOCLDWAIT | SA_RESTART);
    endedChildren = 0;
    EXPECT_EQ(runCommand("sh", script("exit 7")), 7);
    EXPECT_EQ(actionOf(SIGCHLD).sa_handler, static_cast<void (*)(int)>(count));
    EXPECT_EQ(endedChildren, 1);
}

/// Interrupts whatever we do, many times over; then writes a line to a fifo that a child waits for.
class Interruptions {
public:
    explicit Interruptions(const std::string &fifo) : m_action(SIGALRM, &Interruptions::interrupt)
    {
        writtenFifo = fifo.c_str();
        interruptCount = 0;
        set(500);
    }
    Interruptions(const Interruptions &) = delete;
    Interruptions &operator=(const Interruptions &) = delete;
    ~Interruptions() { set(0); }

    [[nodiscard]] static int count() { return interruptCount; }
    static constexpr int kAtLeast = 20;

private:
    static void set(::suseconds_t microseconds)
    {
        const ::itimerval timer = {.it_interval = {.tv_sec = 0, .tv_usec = microseconds},
                                   .it_value = {.tv_sec = 0, .tv_usec = microseconds}};
        ::setitimer(ITIMER_REAL, &timer, nullptr);
    }

    static void interrupt(int /*signal*/)
    {
        if (++interruptCount < kAtLeast) {
            return;
        }
        const int error = errno;
        const int fifo =
            ::open(writtenFifo, O_WRONLY | O_NONBLOCK | O_CLOEXEC); // fails until it is being read
        if (fifo >= 0) {
            static_cast<void>(!::write(fifo, "\n", 1));
            ::close(fifo);
        }
        errno = error;
    }

    static inline const char *writtenFifo = nullptr;
    static inline std::atomic<int> interruptCount = 0;
    ScopedAction m_action;
};

TEST_F(CommandSignals, goesOnWaitingWhereSignalsInterruptIt)
{
    m_directory.makeFifo("fifo");
    const std::string fifo = m_directory.pathOf("fifo");
    const ArgumentVector waits = script("read x < \"$1\"; exit 7", {fifo});
    {
        const Interruptions interruptions(fifo);
        EXPECT_EQ(runCommand("sh", waits), 7);
        EXPECT_GE(Interruptions::count(), Interruptions::kAtLeast);
    }
    {
        const Interruptions interruptions(fifo);
        EXPECT_EQ(closeCommandOutput(openCommandOutput("sh", waits)), kExit7);
        EXPECT_GE(Interruptions::count(), Interruptions::kAtLeast);
    }
    {
        const Interruptions interruptions(fifo);
        const LinesAndEnd read = linesOf("sh", script("read x < \"$1\"; echo text; exit 7", {fifo}));
        EXPECT_EQ(read.lines, std::vector<std::string>{"text"});
        EXPECT_EQ(read.end.waitStatus, kExit7);
        EXPECT_TRUE(read.end.complete);
        EXPECT_GE(Interruptions::count(), Interruptions::kAtLeast);
    }
}

std::atomic<int> handledHere = 0;

TEST_F(CommandSignals, handlesOurSignalsHereWhileItWaits)
{
    m_directory.makeFifo("fifo");
    const ScopedAction counting(SIGUSR1, [](int) { ++handledHere; });
    handledHere = 0;
    EXPECT_EQ(runCommand("sh", script("kill -USR1 $1; exit 7", {std::to_string(::getpid())})), 7);
    EXPECT_EQ(handledHere, 1);
    // Of the child none is left: the same signal ends it.
    EXPECT_EQ(outputOf("sh", script("kill -USR1 $$; exit 7")).second, SIGUSR1);
}

} // namespace
} // namespace slicewise
