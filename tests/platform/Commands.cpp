#include "tests/platform/Commands.h"

#include <sys/wait.h>

#include <array>
#include <cerrno>
#include <csignal>

namespace slicewise {

ArgumentVector script(const std::string &text, const std::vector<std::string> &parameters)
{
    ArgumentVector arguments = {"sh", "-c", text, "sh"};
    arguments.insert(arguments.end(), parameters.begin(), parameters.end());
    return arguments;
}

std::string readToEnd(std::FILE *stream)
{
    std::string text;
    std::array<char, 4096> piece{};
    while (const std::size_t length = std::fread(piece.data(), 1, piece.size(), stream)) {
        text.append(piece.data(), length);
    }
    return text;
}

TextAndStatus outputOf(const std::string &program, const ArgumentVector &arguments)
{
    const CommandOutput output = openCommandOutput(program, arguments);
    if (output.stream == nullptr) {
        return {"no child", -1};
    }
    std::string text = readToEnd(output.stream);
    return {std::move(text), closeCommandOutput(output)};
}

LinesAndEnd linesOf(const std::string &program, const ArgumentVector &arguments, const LineLimits &limits)
{
    LinesAndEnd result;
    result.end = forEachOutputLine(
        program, arguments,
        [&](std::string_view line) {
            result.lines.emplace_back(line);
            return true;
        },
        limits);
    return result;
}

bool noChildIsLeft()
{
    return ::waitpid(-1, nullptr, WNOHANG) == -1 && errno == ECHILD;
}

bool isRunning(::pid_t process)
{
    return ::kill(process, 0) == 0 || errno != ESRCH;
}

} // namespace slicewise
