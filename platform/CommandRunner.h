// Starts other programs and waits for them.
//
// A program's name is looked up on PATH like any other. Argument vectors begin with the name itself. None of
// these changes the ids of the calling process. They hold no state; any thread may call them. Every child is
// waited for: SIGCHLD must not be ignored, which the first call sees to.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace slicewise {

using ArgumentVector = std::vector<std::string>;

/// Runs a program to its end with our standard streams, as root where our effective user is root; its exit
/// status, 0 to 255. One that is ended by a signal gives 0, as it has always been read here; one that can't
/// be found gives 1, and 255 stands for a child that could not be made or not be waited for.
int runCommand(const std::string &program, const ArgumentVector &arguments);

/// A program that runs, and what it writes to standard output and to standard error, in one stream.
struct CommandOutput {
    std::FILE *stream = nullptr; ///< null where no child could be made
    ::pid_t process = -1;
};

/// Starts a program and returns at once. Its environment is ours, but for LC_ALL=C, so that its sentences can
/// be read by a program, and without COLUMNS, which would cut its lines. Call closeCommandOutput() for each.
CommandOutput openCommandOutput(const std::string &program, const ArgumentVector &arguments);

/// Closes the stream, then waits for the child; its wait status as waitpid(2) tells it, 0 for a clean end
/// with status 0. Never 0 where it could not be waited for.
int closeCommandOutput(const CommandOutput &output);

/// How reading a program's lines ended.
struct LinesEnd {
    int waitStatus = 0;    ///< as closeCommandOutput()
    bool complete = false; ///< read to the end of the stream, rather than left early
};

struct LineLimits {
    const std::atomic<bool> *stop = nullptr; ///< true ends the reading within 0.1 s
    std::chrono::milliseconds longestSilence{
        30'000}; ///< a program that writes nothing for so long is given up
    std::size_t mostLineBytes = std::size_t{64} * 1024; ///< what a line has beyond that is dropped
};

/// Hands out a program's output line by line, as getline(3) with the last character removed: of a last line
/// without a newline that is a real one. Lines are bytes, valid during the call. `line` returns false to
/// leave early; a program that is left early or given up is killed. What `line` raises passes through, after
/// that.
LinesEnd forEachOutputLine(const std::string &program, const ArgumentVector &arguments,
                           const std::function<bool(std::string_view line)> &line,
                           const LineLimits &limits = {});

} // namespace slicewise
