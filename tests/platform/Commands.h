// What the tests of running programs share: shell scripts, and what is left of them.
#pragma once

#include "platform/CommandRunner.h"
#include "tests/support/ScopedVariable.h"

#include <sys/types.h>

#include <string>
#include <utility>
#include <vector>

namespace slicewise {

/// The arguments of `sh` that run a script; what follows are its "$1", "$2", ...
[[nodiscard]] ArgumentVector script(const std::string &text, const std::vector<std::string> &parameters = {});

/// All that is still to come.
[[nodiscard]] std::string readToEnd(std::FILE *stream);

/// What a program wrote and its wait status.
using TextAndStatus = std::pair<std::string, int>;
[[nodiscard]] TextAndStatus outputOf(const std::string &program, const ArgumentVector &arguments);

struct LinesAndEnd {
    std::vector<std::string> lines;
    LinesEnd end;
};
[[nodiscard]] LinesAndEnd linesOf(const std::string &program, const ArgumentVector &arguments,
                                  const LineLimits &limits = {});

/// Whether all our children have been waited for.
[[nodiscard]] bool noChildIsLeft();
[[nodiscard]] bool isRunning(::pid_t process);

} // namespace slicewise
