#include "platform/CommandRunner.h"

#include "platform/ChildProcess.h"
#include "platform/UniqueFd.h"

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <optional>
#include <thread>
#include <utility>

namespace slicewise {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// Half of what a caller is promised.
constexpr milliseconds kLooksForStop{50};

std::vector<std::string> environmentForReading()
{
    std::vector<std::string> variables = ourEnvironment();
    std::erase_if(variables, [](const std::string &variable) {
        return variable.starts_with("LC_ALL=") || variable.starts_with("COLUMNS=");
    });
    variables.emplace_back("LC_ALL=C");
    return variables;
}

struct RunningCommand {
    UniqueFd output;
    ::pid_t process = -1;
};

// ---- lines

class Silence {
public:
    explicit Silence(milliseconds longest) : m_longest(longest) {}

    void end() { m_since = Clock::now(); }
    /// What is left of it; never less than nothing.
    [[nodiscard]] milliseconds left() const
    {
        const auto passed = std::chrono::duration_cast<milliseconds>(Clock::now() - m_since);
        return passed >= m_longest ? milliseconds(0) : m_longest - passed;
    }

private:
    milliseconds m_longest;
    Clock::time_point m_since = Clock::now();
};

/// Cuts bytes into lines; keeps of a line only what is handed out.
class LineCutter {
public:
    LineCutter(const std::function<bool(std::string_view)> &line, const LineLimits &limits)
        : m_line(line), m_limits(limits)
    {}

    /// False: no more is wanted.
    bool take(std::string_view bytes)
    {
        while (!bytes.empty()) {
            const std::size_t newline = bytes.find('\n');
            const std::string_view piece = bytes.substr(0, newline);
            if (newline == std::string_view::npos) {
                keep(piece);
                return true;
            }
            bytes.remove_prefix(newline + 1);
            if (!handOut(piece)) {
                return false;
            }
        }
        return true;
    }

    /// The last line, where no newline has ended it: its last character goes in place of one.
    bool takeEnd()
    {
        if (!m_cut && !m_begun.empty()) {
            m_begun.pop_back();
        }
        return m_begun.empty() || wants(m_begun);
    }

private:
    void keep(std::string_view piece)
    {
        const std::size_t room = m_limits.mostLineBytes - m_begun.size();
        m_cut = m_cut || piece.size() > room;
        m_begun.append(piece.substr(0, room));
    }

    bool handOut(std::string_view piece)
    {
        if (m_begun.empty()) {
            m_cut = false;
            return wants(piece.substr(0, m_limits.mostLineBytes));
        }
        keep(piece);
        const bool more = wants(m_begun);
        m_begun.clear();
        m_cut = false;
        return more;
    }

    [[nodiscard]] bool wants(std::string_view text) const
    {
        const bool stopped = m_limits.stop != nullptr && m_limits.stop->load(std::memory_order_relaxed);
        return !stopped && m_line(text);
    }

    const std::function<bool(std::string_view)> &m_line;
    const LineLimits &m_limits;
    std::string m_begun; ///< a line whose end is still to come
    bool m_cut = false;  ///< the line was longer than what is kept of it
};

/// Reads a program's lines; whatever happens, the program has ended and been waited for when this goes.
class LineReader {
public:
    LineReader(RunningCommand command, const LineLimits &limits)
        : m_command(std::move(command)), m_limits(limits)
    {}
    LineReader(const LineReader &) = delete;
    LineReader &operator=(const LineReader &) = delete;
    ~LineReader() { kill(); }

    /// Whether it was read to its end.
    bool read(LineCutter &lines)
    {
        std::vector<char> buffer(kBufferBytes);
        Silence silence(m_limits.longestSilence);
        while (waitForBytes(silence)) {
            const ssize_t length = ::read(m_command.output.get(), buffer.data(), buffer.size());
            if (length < 0 && errno != EINTR && errno != EAGAIN) {
                return false;
            }
            if (length == 0) {
                return lines.takeEnd();
            }
            if (length > 0 && !lines.take({buffer.data(), static_cast<std::size_t>(length)})) {
                return false;
            }
            silence.end(); // what `line` took is not the program's
        }
        return false;
    }

    /// The status of a program that has closed its output, and should end now.
    int waitForEnd()
    {
        const Silence silence(m_limits.longestSilence);
        milliseconds pause{0};
        std::optional<int> status = waitFor(m_command.process, WNOHANG);
        while (!status && !isStopped() && silence.left() > milliseconds(0)) {
            // Most have ended by the second look.
            std::this_thread::sleep_for(std::min(pause, silence.left()) + std::chrono::microseconds(100));
            pause = std::min(2 * pause + milliseconds(1), kLooksForStop / 2);
            status = waitFor(m_command.process, WNOHANG);
        }
        if (!status) {
            return kill();
        }
        m_command.process = -1;
        return *status;
    }

    int kill()
    {
        if (m_command.process > 0) {
            ::kill(m_command.process, SIGKILL);
        }
        m_command.output.reset();
        return waitToTheEnd(std::exchange(m_command.process, -1));
    }

private:
    static constexpr std::size_t kBufferBytes = std::size_t{64} * 1024;

    [[nodiscard]] bool isStopped() const
    {
        return m_limits.stop != nullptr && m_limits.stop->load(std::memory_order_relaxed);
    }

    /// False where it is stopped, silent for too long, or can't be asked.
    [[nodiscard]] bool waitForBytes(const Silence &silence) const
    {
        while (!isStopped()) {
            const milliseconds left = silence.left();
            ::pollfd asked = {.fd = m_command.output.get(), .events = POLLIN, .revents = 0};
            const int ready = ::poll(&asked, 1, static_cast<int>(std::min(left, kLooksForStop).count()));
            if (ready > 0) {
                return true;
            }
            if (ready < 0 ? errno != EINTR && errno != EAGAIN : left == milliseconds(0)) {
                return false;
            }
        }
        return false;
    }

    RunningCommand m_command;
    const LineLimits &m_limits;
};

std::optional<RunningCommand> startForReading(const std::string &program, const ArgumentVector &arguments)
{
    std::optional<Pipe> pipe = makePipe();
    if (!pipe) {
        return std::nullopt;
    }
    const ::pid_t child = startChild({.program = program,
                                      .arguments = arguments,
                                      .environment = environmentForReading(),
                                      .output = pipe->writeEnd.get(),
                                      .ids = UserIds::Kept});
    if (child < 0) {
        return std::nullopt;
    }
    return RunningCommand{.output = std::move(pipe->readEnd), .process = child};
}

} // namespace

int runCommand(const std::string &program, const ArgumentVector &arguments)
{
    const ::pid_t child = startChild({.program = program,
                                      .arguments = arguments,
                                      .environment = ourEnvironment(),
                                      .output = -1,
                                      .ids = UserIds::AllAsTheEffectiveOne});
    const auto status = static_cast<unsigned>(waitToTheEnd(child));
    return static_cast<int>((status >> 8U) & 0xffU);
}

CommandOutput openCommandOutput(const std::string &program, const ArgumentVector &arguments)
{
    std::optional<RunningCommand> command = startForReading(program, arguments);
    if (!command) {
        return {};
    }
    std::FILE *stream = ::fdopen(command->output.get(), "r");
    if (stream == nullptr) {
        LineReader(std::move(*command), LineLimits{}).kill();
        return {};
    }
    static_cast<void>(command->output.release());
    return {.stream = stream, .process = command->process};
}

int closeCommandOutput(const CommandOutput &output)
{
    // First, so that a program that goes on writing ends instead of waiting for a reader.
    if (output.stream != nullptr) {
        static_cast<void>(std::fclose(output.stream));
    }
    return waitToTheEnd(output.process);
}

LinesEnd forEachOutputLine(const std::string &program, const ArgumentVector &arguments,
                           const std::function<bool(std::string_view line)> &line, const LineLimits &limits)
{
    if (limits.stop != nullptr && limits.stop->load(std::memory_order_relaxed)) {
        return {.waitStatus = kNoStatus, .complete = false};
    }
    std::optional<RunningCommand> command = startForReading(program, arguments);
    if (!command) {
        return {.waitStatus = kNoStatus, .complete = false};
    }
    LineReader reader(std::move(*command), limits);
    LineCutter lines(line, limits);
    const bool complete = reader.read(lines);
    return {.waitStatus = complete ? reader.waitForEnd() : reader.kill(), .complete = complete};
}

} // namespace slicewise
