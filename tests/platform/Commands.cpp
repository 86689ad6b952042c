#include "tests/platform/Commands.h"

#include <dirent.h>
#include <sys/wait.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <memory>

namespace slicewise {

namespace {

void setVariable(const char *name, const std::optional<std::string> &value)
{
    if (value) {
        ::setenv(name, value->c_str(), 1); // NOLINT(concurrency-mt-unsafe): tests do so with one thread
    } else {
        ::unsetenv(name); // NOLINT(concurrency-mt-unsafe): as above
    }
}

} // namespace

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

ScopedVariable::ScopedVariable(const char *name, const std::optional<std::string> &value) : m_name(name)
{
    const char *before = std::getenv(name); // NOLINT(concurrency-mt-unsafe): as above
    if (before != nullptr) {
        m_before = before;
    }
    setVariable(name, value);
}

ScopedVariable::~ScopedVariable()
{
    setVariable(m_name, m_before);
}

} // namespace slicewise
