// Runs a program and tells how it ended and what it wrote.
//
// With pipes, so that it sees neither a terminal nor ours, or on a pseudo terminal. One that takes longer
// than its limit is killed together with what it started. A program that can't be started throws
// std::system_error in the caller. Any thread.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace slicewise {

struct ProgramRun {
    std::vector<std::string> arguments; ///< the program first; without a "/" it is looked for in PATH
    std::vector<std::pair<std::string, std::string>> environment = {}; ///< set on top of our own
    std::vector<std::string> withoutEnvironment = {};                  ///< names that are taken out of it
    /// What it reads from standard input; with absent, that is closed. On a terminal: what is typed there.
    std::optional<std::string> input = "";
    std::string directory = {};        ///< where it starts; empty: where we are
    std::optional<::uid_t> user = {};  ///< all its user ids; needs root
    std::optional<::gid_t> group = {}; ///< all its group ids; it then has no supplementary ones
    std::chrono::seconds limit = std::chrono::seconds(60);
};

struct ProgramResult {
    std::optional<int> exitStatus; ///< absent where a signal ended it
    std::optional<int> signal;
    bool tookTooLong = false;
    std::string standardOutput; ///< on a terminal everything that it showed, lines ending in "\r\n"
    std::string standardError;  ///< on a terminal nothing
};

[[nodiscard]] ProgramResult runProgram(const ProgramRun &run);

struct TerminalSize {
    unsigned short columns = 80;
    unsigned short lines = 24;
};
/// Standard input, output and error are one terminal, which is the program's controlling one. What is typed
/// is echoed unless the program turns that off. An absent input types nothing and leaves the terminal open.
[[nodiscard]] ProgramResult runProgramOnTerminal(const ProgramRun &run, TerminalSize size = {});

} // namespace slicewise
