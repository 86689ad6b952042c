#include "platform/CommandRunner.h"
#include "tests/platform/Commands.h"
#include "tests/support/OpenDescriptors.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <fstream>
#include <future>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace slicewise {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;

/// Long enough for no machine, so that only what is meant to ends it.
constexpr const char *kForEver = "exec sleep 100000";

class CommandLines : public testing::Test {
protected:
    void TearDown() override
    {
        EXPECT_TRUE(noChildIsLeft());
        EXPECT_EQ(openDescriptors(), m_descriptors);
    }

    /// The lines that a program gives which writes these bytes.
    LinesAndEnd linesOfBytes(const std::string &bytes, std::size_t mostLineBytes = 1000) const
    {
        m_directory.writeFile("bytes", bytes);
        return linesOf("cat", {"cat", m_directory.pathOf("bytes")}, {.mostLineBytes = mostLineBytes});
    }

    TemporaryDirectory m_directory;

private:
    std::set<int> m_descriptors = openDescriptors();
};

// ---- what a line is

TEST_F(CommandLines, areWhatStandsBeforeEachNewline)
{
    const LinesAndEnd read = linesOfBytes("one\n\n two \r\n\n");
    EXPECT_THAT(read.lines, ElementsAre("one", "", " two \r", ""));
    EXPECT_TRUE(read.end.complete);
    EXPECT_EQ(read.end.waitStatus, 0);
}

TEST_F(CommandLines, areNoneWhereNothingIsWritten)
{
    const LinesAndEnd read = linesOfBytes("");
    EXPECT_THAT(read.lines, IsEmpty());
    EXPECT_TRUE(read.end.complete);
    EXPECT_EQ(read.end.waitStatus, 0);
}

TEST_F(CommandLines, loseARealCharacterWhereNoNewlineEndsTheLastOne)
{
    EXPECT_THAT(linesOfBytes("one\ntwo").lines, ElementsAre("one", "tw"));
    EXPECT_THAT(linesOfBytes("one\nt").lines, ElementsAre("one"));
    EXPECT_THAT(linesOfBytes("t").lines, IsEmpty());
}

TEST_F(CommandLines, keepNullBytes)
{
    using std::string_literals::operator""s;
    EXPECT_THAT(linesOfBytes("a\0b\n\0\n\0\0"s).lines, ElementsAre("a\0b"s, "\0"s, "\0"s));
}

TEST_F(CommandLines, areCutWhereTheyAreTooLong)
{
    EXPECT_THAT(linesOfBytes("1234\n12345\n123456\n\n1234567890\n1\n", 5).lines,
                ElementsAre("1234", "12345", "12345", "", "12345", "1"));
    // The character that a last line loses is the whole line's.
    EXPECT_THAT(linesOfBytes("12345", 5).lines, ElementsAre("1234"));
    EXPECT_THAT(linesOfBytes("123456", 5).lines, ElementsAre("12345"));
    EXPECT_THAT(linesOfBytes("1234567", 5).lines, ElementsAre("12345"));
    EXPECT_THAT(linesOfBytes("12\n\n3", 0).lines, ElementsAre("", ""));
}

std::vector<std::string> linesBySlowModel(const std::string &bytes, std::size_t most)
{
    std::vector<std::string> lines;
    std::string line;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        line.push_back(bytes[i]);
        const bool last = i + 1 == bytes.size();
        if (bytes[i] == '\n' || last) {
            line.pop_back();
            if (bytes[i] == '\n' || !line.empty()) {
                lines.push_back(line.substr(0, most));
            }
            line.clear();
        }
    }
    return lines;
}

TEST_F(CommandLines, areThoseOfASlowModelHoweverTheyFallIntoPieces)
{
    std::mt19937 random(5);
    for (int round = 0; round < 25; ++round) {
        std::string bytes;
        const std::size_t longest = std::size_t{1} << (random() % 18U);
        const std::size_t count = random() % 40;
        for (std::size_t i = 0; i < count; ++i) {
            bytes.append(random() % longest, static_cast<char>('a' + random() % 26)).append("\n");
        }
        bytes.append(random() % 3, 'z');
        const std::size_t most = random() % 3 == 0 ? 1 + random() % 100 : 1 + random() % 200'000;
        ASSERT_EQ(linesOfBytes(bytes, most).lines, linesBySlowModel(bytes, most)) << round;
    }
}

TEST_F(CommandLines, takeNoMoreMemoryThanIsKeptOfThem)
{
    const auto mostMemory = [] {
        ::rusage usage = {};
        ::getrusage(RUSAGE_SELF, &usage);
        return usage.ru_maxrss; // KiB
    };
    const long before = mostMemory();
    const LinesAndEnd read =
        linesOf("sh", script("head -c 100000000 /dev/zero | tr '\\0' x; echo; echo end"));
    EXPECT_THAT(read.lines, ElementsAre(std::string(std::size_t{64} * 1024, 'x'), "end"));
    EXPECT_TRUE(read.end.complete);
    EXPECT_LT(mostMemory() - before, 32 * 1024);
}

TEST_F(CommandLines, comeFromBothStreamsInTheOrderOfWriting)
{
    const LinesAndEnd read = linesOf("sh", script("echo a; echo b >&2; echo $LC_ALL$COLUMNS; exit 3"));
    EXPECT_THAT(read.lines, ElementsAre("a", "b", "C"));
    EXPECT_TRUE(read.end.complete);
    EXPECT_EQ(read.end.waitStatus, 0x300);
}

// ---- how it ends

TEST_F(CommandLines, areNoneOfAProgramThatIsNotFound)
{
    const LinesAndEnd read = linesOf("no-such-program", {"no-such-program"});
    EXPECT_THAT(read.lines, IsEmpty());
    EXPECT_TRUE(read.end.complete);
    EXPECT_EQ(read.end.waitStatus, 0x100);
}

TEST_F(CommandLines, areThoseUntilTheProgramWasKilled)
{
    const LinesAndEnd read = linesOf("sh", script("echo a; printf bcd; kill -KILL $$"));
    EXPECT_THAT(read.lines, ElementsAre("a", "bc"));
    EXPECT_TRUE(read.end.complete);
    EXPECT_EQ(read.end.waitStatus, SIGKILL);
}

TEST_F(CommandLines, areNotWaitedForLongerThanTheLongestSilence)
{
    const LineLimits limits{.longestSilence = milliseconds(40)};
    const LinesAndEnd hanging = linesOf("sh", script(kForEver), limits);
    EXPECT_THAT(hanging.lines, IsEmpty());
    EXPECT_FALSE(hanging.end.complete);
    EXPECT_EQ(hanging.end.waitStatus, SIGKILL);
    const LinesAndEnd none = linesOf("sh", script(kForEver), {.longestSilence = milliseconds(0)});
    EXPECT_FALSE(none.end.complete);
    EXPECT_EQ(none.end.waitStatus, SIGKILL);
}

TEST_F(CommandLines, areGivenUpWhereAProgramStopsHalfWay)
{
    const LineLimits limits{.longestSilence = milliseconds(1500)};
    const LinesAndEnd read = linesOf("sh", script("echo whole; printf begun; kill -STOP $$; echo"), limits);
    EXPECT_THAT(read.lines, ElementsAre("whole"));
    EXPECT_FALSE(read.end.complete);
    EXPECT_EQ(read.end.waitStatus, SIGKILL);
}

TEST_F(CommandLines, areAllThereThoughTheProgramGoesOnAfterItHasClosedItsOutput)
{
    const LineLimits limits{.longestSilence = milliseconds(1500)};
    const std::string closes = "echo text; exec >&- 2>&-; ";
    const LinesAndEnd hanging = linesOf("sh", script(closes + kForEver), limits);
    EXPECT_THAT(hanging.lines, ElementsAre("text"));
    EXPECT_TRUE(hanging.end.complete);
    EXPECT_EQ(hanging.end.waitStatus, SIGKILL);
}

TEST_F(CommandLines, areFollowedByTheStatusOfAProgramThatEndsAWhileAfterItsOutput)
{
    m_directory.makeFifo("fifo");
    std::thread writer([&] { std::ofstream(m_directory.pathOf("fifo")) << "\n"; });
    const LinesAndEnd read = linesOf(
        "sh", script("echo text; exec >&- 2>&-; read x < \"$1\"; exit 7", {m_directory.pathOf("fifo")}));
    writer.join();
    EXPECT_THAT(read.lines, ElementsAre("text"));
    EXPECT_TRUE(read.end.complete);
    EXPECT_EQ(read.end.waitStatus, 0x700);
}

TEST_F(CommandLines, areGivenUpWhereOnlyAProgramsOwnChildHoldsTheOutputOpen)
{
    const LineLimits limits{.longestSilence = milliseconds(1500)};
    const LinesAndEnd read = linesOf("sh", script("sleep 100000 & echo $!"), limits);
    ASSERT_EQ(read.lines.size(), 1U);
    const ::pid_t left = std::stoi(read.lines.front());
    EXPECT_TRUE(isRunning(left));
    EXPECT_EQ(::kill(left, SIGKILL), 0);
    EXPECT_FALSE(read.end.complete);
    EXPECT_EQ(read.end.waitStatus, 0);
}

TEST_F(CommandLines, endAsSoonAsOneIsRefused)
{
    std::vector<std::string> lines;
    const LinesEnd end =
        forEachOutputLine("sh", script("echo $$; while :; do echo more; done"), [&](std::string_view line) {
            lines.emplace_back(line);
            return lines.size() < 3;
        });
    ASSERT_THAT(lines, ElementsAre(testing::_, "more", "more"));
    EXPECT_FALSE(end.complete);
    EXPECT_EQ(end.waitStatus, SIGKILL);
    EXPECT_FALSE(isRunning(std::stoi(lines.front())));
}

TEST_F(CommandLines, areLeftEarlyAlsoByRefusingTheLastOne)
{
    const LinesEnd end =
        forEachOutputLine("printf", {"printf", "last one"}, [](std::string_view) { return false; });
    EXPECT_FALSE(end.complete);
}

TEST_F(CommandLines, letPassWhatIsRaisedForOneAndLeaveNoProcess)
{
    ::pid_t process = 0;
    const auto read = [&](const std::string &program) {
        static_cast<void>(forEachOutputLine("sh", script(program), [&](std::string_view line) -> bool {
            process = std::stoi(std::string(line));
            throw std::runtime_error("raised for a line");
        }));
    };
    EXPECT_THROW(read(std::string("echo $$; ") + kForEver), std::runtime_error);
    EXPECT_FALSE(isRunning(process));
    EXPECT_THROW(read("printf '%s ' $$"), std::runtime_error);
    EXPECT_FALSE(isRunning(process));
}

// ---- stopping

TEST_F(CommandLines, endWhereAnotherThreadStopsThem)
{
    std::atomic<bool> stop = false;
    std::promise<void> begun;
    std::thread stopper([&] {
        begun.get_future().wait();
        stop = true;
    });
    const LinesEnd end = forEachOutputLine("sh", script(std::string("echo begun; ") + kForEver),
                                           [&](std::string_view) {
                                               begun.set_value();
                                               return true;
                                           },
                                           {.stop = &stop, .longestSilence = std::chrono::hours(24)});
    stopper.join();
    EXPECT_FALSE(end.complete);
    EXPECT_EQ(end.waitStatus, SIGKILL);
}

TEST_F(CommandLines, areNotHandedOutAnyMoreOnceTheyAreStopped)
{
    std::atomic<bool> stop = false;
    std::vector<std::string> lines;
    const LinesEnd end = forEachOutputLine("seq", {"seq", "1000"},
                                           [&](std::string_view line) {
                                               lines.emplace_back(line);
                                               stop = line == "7";
                                               return true;
                                           },
                                           {.stop = &stop});
    EXPECT_EQ(lines.size(), 7U);
    EXPECT_FALSE(end.complete);
}

TEST_F(CommandLines, areStoppedAlsoWhileTheProgramGoesOnWithoutOutput)
{
    std::atomic<bool> stop = false;
    std::promise<void> closed;
    std::thread stopper([&] {
        closed.get_future().wait();
        stop = true;
    });
    const LinesAndEnd read = [&] {
        LinesAndEnd result;
        result.end = forEachOutputLine("sh", script(std::string("echo text; exec >&- 2>&-; ") + kForEver),
                                       [&](std::string_view line) {
                                           result.lines.emplace_back(line);
                                           closed.set_value();
                                           return true;
                                       },
                                       {.stop = &stop, .longestSilence = milliseconds::max()});
        return result;
    }();
    stopper.join();
    EXPECT_THAT(read.lines, ElementsAre("text"));
    EXPECT_EQ(read.end.waitStatus, SIGKILL);
}

TEST_F(CommandLines, comeFromNoProgramWhereTheyAreStoppedBefore)
{
    const std::atomic<bool> stop = true;
    const LinesAndEnd read =
        linesOf("sh", script("touch \"$1\"", {m_directory.pathOf("file")}), {.stop = &stop});
    EXPECT_FALSE(read.end.complete);
    EXPECT_NE(read.end.waitStatus, 0);
    EXPECT_FALSE(std::ifstream(m_directory.pathOf("file")).good());
}

} // namespace
} // namespace slicewise
