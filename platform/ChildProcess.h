// Makes a child process that becomes another program, and waits for it. What running commands is built on.
//
// Processes have threads, so between fork and exec a child calls only what is safe there; all that it needs
// is made before. Any thread may call these. Nothing here changes the ids of the calling process.
#pragma once

#include "platform/UniqueFd.h"

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace slicewise {

[[nodiscard]] std::vector<std::string> ourEnvironment();

struct Pipe {
    UniqueFd readEnd;
    UniqueFd writeEnd;
};
/// Both ends are closed on exec and above the standard descriptors, even where these are free. Absent where
/// there are no descriptors left.
[[nodiscard]] std::optional<Pipe> makePipe();

enum class UserIds : std::uint8_t { Kept, AllAsTheEffectiveOne };

/// What a child may use up, and what becomes of it. It can't gain rights by executing anything, writes no
/// file and no core, and is killed when the thread that made it ends.
struct Confinement {
    std::uint64_t mostDataBytes = 0; ///< RLIMIT_DATA; 0: no limit
    std::uint64_t mostSeconds = 0;   ///< of the processor
    /// What a confined program keeps of our environment.
    std::vector<std::string> keptVariables = {};
};

struct ChildStart {
    std::string program;                  ///< looked up on our PATH as execvp(3) does
    std::vector<std::string> arguments;   ///< the program's name first
    std::vector<std::string> environment; ///< "NAME=value"
    int output = -1;                      ///< becomes its standard output and error; -1: they are ours
    UserIds ids = UserIds::Kept;
    int input = -1;  ///< becomes its standard input; -1: it is ours
    int errors = -1; ///< becomes its standard error, whatever the output is
    std::optional<Confinement> confinement = {};
};
/// The child's process id, or -1 where none could be made. It ends with status 1 where the program can't be
/// executed. No signal is blocked in it, none that we handle is handled, SIGPIPE ends it, and it has no
/// descriptors but the standard ones. One that is all root though our real user is not (see UserIds) starts
/// in "/", with umask 022 and without limits of resources: the user's would become the program's trouble. Of
/// the standard streams it has "/dev/null" in place of those that are not open in their direction.
///
/// Where we ignore SIGCHLD, so that a child could not be waited for, we no longer do so afterwards.
[[nodiscard]] ::pid_t startChild(const ChildStart &start);

/// Starts a program that is nobody's child: in a session of its own, and not to be waited for. False where no
/// child could be made; whether the program can be executed is not told.
[[nodiscard]] bool startDetached(const ChildStart &start);

/// The wait status of what could not be waited for: that of the exit status 255.
inline constexpr int kNoStatus = 255 << 8;
/// As waitpid(2), for this child and no other; absent where it goes on running, which only WNOHANG finds.
[[nodiscard]] std::optional<int> waitFor(::pid_t child, int options);
[[nodiscard]] int waitToTheEnd(::pid_t child);

} // namespace slicewise
