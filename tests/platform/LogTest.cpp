#include "platform/Log.h"

#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace slicewise {
namespace {

using testing::ElementsAre;
using testing::MatchesRegex;

std::vector<std::string> sinkLines(std::string_view text)
{
    std::vector<std::string> lines;
    Log log([&lines](std::string_view line) { lines.emplace_back(line); });
    log.line(text);
    return lines;
}

std::vector<std::string> splitIntoLines(const std::string &text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

TEST(Log, writesTimeProgramProcessAndThreadInFrontOfTheText)
{
    Log log("slicewise-test");
    testing::internal::CaptureStderr();
    log.line("Scan took 3 seconds");
    const std::string written = testing::internal::GetCapturedStderr();
    EXPECT_THAT(written, MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3} "
                                      "slicewise-test\\[[0-9]+:[0-9]+\\] Scan took 3 seconds\n"));
    const std::string ids =
        "[" + std::to_string(::getpid()) + ":" + std::to_string(::syscall(SYS_gettid)) + "]";
    EXPECT_NE(written.find(ids), std::string::npos) << written;
}

TEST(Log, handsASinkTheBareText)
{
    EXPECT_THAT(sinkLines("Failed"), ElementsAre("Failed"));
    EXPECT_THAT(sinkLines(""), ElementsAre(""));
    EXPECT_THAT(sinkLines("with {} braces, %s and Größe"), ElementsAre("with {} braces, %s and Größe"));
}

TEST(Log, goesBackToStandardErrorWithoutASink)
{
    std::vector<std::string> lines;
    Log log("slicewise-test");
    log.setSink([&lines](std::string_view line) { lines.emplace_back(line); });
    log.line("first");
    log.setSink({});
    testing::internal::CaptureStderr();
    log.line("second");
    const std::string written = testing::internal::GetCapturedStderr();
    EXPECT_THAT(lines, ElementsAre("first"));
    EXPECT_TRUE(written.ends_with("] second\n")) << written;
}

TEST(Log, keepsOneLineOneLineWhateverControlBytesAreInIt)
{
    std::string everyByte;
    for (int byte = 0; byte < 0x80; ++byte) {
        everyByte.push_back(static_cast<char>(byte));
    }
    const std::vector<std::string> lines = sinkLines(everyByte);
    ASSERT_EQ(lines.size(), 1U);
    for (const char character : lines[0]) {
        EXPECT_TRUE(character >= 0x20 && character < 0x7f) << static_cast<int>(character);
    }
    EXPECT_THAT(sinkLines("a\nb\tc\x1b[31md\x7f"), ElementsAre("a\\x0Ab\\x09c\\x1B[31md\\x7F"));
    EXPECT_THAT(sinkLines(std::string_view("a\0b", 3)), ElementsAre("a\\x00b"));
}

// A terminal obeys these as it obeys their forms with an escape: U+009B starts a sequence, U+0085 a line.
TEST(Log, writesTheControlCharactersBehindAsciiAsNumbersToo)
{
    EXPECT_THAT(sinkLines("a\xc2\x85z"), ElementsAre("a\\xC2\\x85z"));
    EXPECT_THAT(sinkLines("a\xc2\x9b"
                          "31mz"),
                ElementsAre("a\\xC2\\x9B31mz"));
    EXPECT_THAT(sinkLines("a\xc2\xa0z"), ElementsAre("a\xc2\xa0z"));
}

TEST(Log, writesOneLineToStandardErrorForATextWithNewlines)
{
    Log log("slicewise-test");
    testing::internal::CaptureStderr();
    log.line("first\nsecond\r\nthird");
    const std::string written = testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::count(written.begin(), written.end(), '\n'), 1) << written;
    EXPECT_TRUE(written.ends_with("first\\x0Asecond\\x0D\\x0Athird\n")) << written;
}

TEST(Log, neverMixesTheLinesOfSeveralThreads)
{
    constexpr int kThreads = 4;
    constexpr int kLinesEach = 500;
    Log log("slicewise-test");
    testing::internal::CaptureStderr();
    {
        std::vector<std::thread> threads;
        threads.reserve(kThreads);
        for (int thread = 0; thread < kThreads; ++thread) {
            threads.emplace_back([&log, thread] {
                const std::string text(static_cast<std::size_t>(thread) * 40 + 1,
                                       static_cast<char>('a' + thread));
                for (int i = 0; i < kLinesEach; ++i) {
                    log.line(text);
                }
            });
        }
        for (std::thread &thread : threads) {
            thread.join();
        }
    }
    std::map<std::string, int> counts;
    for (const std::string &line : splitIntoLines(testing::internal::GetCapturedStderr())) {
        ++counts[line.substr(line.find("] ") + 2)];
    }
    std::map<std::string, int> expected;
    for (int thread = 0; thread < kThreads; ++thread) {
        expected[std::string(static_cast<std::size_t>(thread) * 40 + 1, static_cast<char>('a' + thread))] =
            kLinesEach;
    }
    EXPECT_EQ(counts, expected);
}

TEST(Log, callsTheSinkForOneLineAtATime)
{
    int unguarded = 0; // the sanitizer for threads watches it
    Log log([&unguarded](std::string_view) { ++unguarded; });
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&log] {
            for (int i = 0; i < 1000; ++i) {
                log.line("line");
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(unguarded, 4000);
}

} // namespace
} // namespace slicewise
