#include "platform/CommandRunner.h"

#include "platform/UniqueFd.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

#if !defined(__linux__)
extern "C" char **environ; // no header declares it everywhere
#endif

namespace slicewise {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr int kNotExecuted = 1;
// As a wait status: the exit status 255.
constexpr int kNoStatus = 255 << 8;
constexpr const char *kShell = "/bin/sh";
// Half of what a caller is promised.
constexpr milliseconds kLooksForStop{50};

// ---- what a child needs, made before it is there

/// Texts in the shape in which execve(2) takes them.
class TextArray {
public:
    explicit TextArray(std::vector<std::string> texts) : m_texts(std::move(texts))
    {
        m_pointers.reserve(m_texts.size() + 1);
        for (std::string &text : m_texts) {
            m_pointers.push_back(text.data());
        }
        m_pointers.push_back(nullptr);
    }
    TextArray(const TextArray &) = delete;
    TextArray &operator=(const TextArray &) = delete;
    ~TextArray() = default;

    /// Ends with a null pointer.
    [[nodiscard]] char **get() { return m_pointers.data(); }

private:
    std::vector<std::string> m_texts;
    std::vector<char *> m_pointers;
};

std::vector<std::string> ourEnvironment()
{
    std::vector<std::string> variables;
    for (char **variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
        variables.emplace_back(*variable);
    }
    return variables;
}

std::vector<std::string> environmentForReading()
{
    std::vector<std::string> variables = ourEnvironment();
    std::erase_if(variables, [](const std::string &variable) {
        return variable.starts_with("LC_ALL=") || variable.starts_with("COLUMNS=");
    });
    variables.emplace_back("LC_ALL=C");
    return variables;
}

std::string systemsPath()
{
    const std::size_t size = ::confstr(_CS_PATH, nullptr, 0);
    std::string path(size, '\0');
    ::confstr(_CS_PATH, path.data(), path.size());
    path.resize(size == 0 ? 0 : size - 1); // it counts the byte at the end
    return path;
}

/// The files that a program's name may mean, the best first.
std::vector<std::string> candidatesFor(const std::string &program)
{
    if (program.empty()) {
        return {};
    }
    if (program.find('/') != std::string::npos) {
        return {program};
    }
    const char *variable = std::getenv("PATH"); // NOLINT(concurrency-mt-unsafe): nobody here changes it
    const std::string path = variable != nullptr ? variable : systemsPath();
    std::vector<std::string> candidates;
    std::size_t from = 0;
    while (true) {
        const std::size_t colon = path.find(':', from);
        std::string candidate = path.substr(from, colon == std::string::npos ? colon : colon - from);
        candidate.append(candidate.empty() ? "" : "/").append(program);
        candidates.push_back(std::move(candidate));
        if (colon == std::string::npos) {
            return candidates;
        }
        from = colon + 1;
    }
}

/// The arguments of a shell that is to read the program, whose place is the second.
std::vector<std::string> argumentsOfShell(const ArgumentVector &arguments)
{
    std::vector<std::string> result = {kShell, ""};
    if (!arguments.empty()) {
        result.insert(result.end(), arguments.begin() + 1, arguments.end());
    }
    return result;
}

class Program {
public:
    Program(const std::string &program, const ArgumentVector &arguments, std::vector<std::string> environment)
        : m_candidates(candidatesFor(program)),
          m_arguments(arguments),
          m_shellArguments(argumentsOfShell(arguments)),
          m_environment(std::move(environment))
    {}

    /// Becomes the program; returns where that can't be. Calls only what may be called in a fork.
    void execute()
    {
        char **files = m_candidates.get();
        for (; *files != nullptr; ++files) {
            ::execve(*files, m_arguments.get(), m_environment.get());
            if (errno == ENOEXEC) { // a script that does not say for whom
                m_shellArguments.get()[1] = *files;
                ::execve(kShell, m_shellArguments.get(), m_environment.get());
            }
            if (!isAnotherOneWorthTrying(errno)) {
                return;
            }
        }
    }

private:
    static bool isAnotherOneWorthTrying(int error)
    {
        switch (error) {
        case ENOENT:
        case ENOTDIR:
        case EACCES:
        case ENAMETOOLONG:
        case ENODEV: // the last three: a directory on PATH that is out of reach
        case ESTALE:
        case ETIMEDOUT:
            return true;
        default:
            return false;
        }
    }

    TextArray m_candidates;
    TextArray m_arguments;
    TextArray m_shellArguments;
    TextArray m_environment;
};

// ---- children

/// Where a descriptor can't be made close-on-exec in the moment it is made, no child may be made before it
/// is.
std::unique_lock<std::mutex> noChildMeanwhile()
{
#if defined(__linux__)
    return {};
#else
    static std::mutex mutex;
    return std::unique_lock(mutex);
#endif
}

struct Pipe {
    UniqueFd readEnd;
    UniqueFd writeEnd;
};

/// Descriptors up to 2 belong to the standard streams even where these are closed: a child gets the pipe in
/// their place, and what we print must not get into it.
bool moveAboveStandardStreams(UniqueFd &descriptor)
{
    if (descriptor.get() <= STDERR_FILENO) {
        // NOLINTNEXTLINE(cppcoreguidelines-pro-type-vararg): its only form
        descriptor.reset(::fcntl(descriptor.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    }
    return static_cast<bool>(descriptor);
}

std::optional<Pipe> makePipe()
{
    std::array<int, 2> ends = {-1, -1};
#if defined(__linux__)
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        return std::nullopt;
    }
    Pipe made{.readEnd = UniqueFd(ends[0]), .writeEnd = UniqueFd(ends[1])};
#else
    const auto lock = noChildMeanwhile();
    if (::pipe(ends.data()) != 0) {
        return std::nullopt;
    }
    Pipe made{.readEnd = UniqueFd(ends[0]), .writeEnd = UniqueFd(ends[1])};
    if (::fcntl(ends[0], F_SETFD, FD_CLOEXEC) != 0 || ::fcntl(ends[1], F_SETFD, FD_CLOEXEC) != 0) {
        return std::nullopt;
    }
#endif
    if (!moveAboveStandardStreams(made.readEnd) || !moveAboveStandardStreams(made.writeEnd)) {
        return std::nullopt;
    }
    return made;
}

/// Where SIGCHLD is ignored, the system forgets a child as soon as it ends.
void letChildrenBeWaitedFor()
{
    struct sigaction action = {};
    if (::sigaction(SIGCHLD, nullptr, &action) != 0) {
        return;
    }
    if (action.sa_handler == SIG_IGN) { // NOLINT(performance-no-int-to-ptr): the system's own macro
        action.sa_handler = SIG_DFL;
    } else if ((action.sa_flags & SA_NOCLDWAIT) == 0) {
        return;
    }
    action.sa_flags &= ~SA_NOCLDWAIT;
    ::sigaction(SIGCHLD, &action, nullptr);
}

enum class UserIds : std::uint8_t { Kept, AllAsTheEffectiveOne };

/// None of our handlers may run in a child: it shares pipes and terminals with us.
void takeBackSignals()
{
    struct sigaction byDefault = {};
    byDefault.sa_handler = SIG_DFL;
    ::sigemptyset(&byDefault.sa_mask);
    for (int signal = 1; signal < NSIG; ++signal) {
        struct sigaction now = {};
        const bool ignored = ::sigaction(signal, nullptr, &now) != 0 ||
                             now.sa_handler == SIG_IGN; // NOLINT(performance-no-int-to-ptr): as above
        if (!ignored || signal == SIGPIPE) {
            ::sigaction(signal, &byDefault, nullptr);
        }
    }
    ::pthread_sigmask(SIG_SETMASK, &byDefault.sa_mask, nullptr);
}

/// Other threads may have held any lock when the process was doubled, so nothing here allocates, prints or
/// runs what is to be run at exit.
[[noreturn]] void beChild(Program &program, int output, UserIds ids)
{
    takeBackSignals();
    const bool redirected =
        output < 0 || (::dup2(output, STDOUT_FILENO) >= 0 && ::dup2(output, STDERR_FILENO) >= 0);
    // A failure matters only where the program would not be all root; any other user gains nothing by it.
    const ::uid_t user = ::geteuid();
    const bool hasItsIds = ids == UserIds::Kept || ::setuid(user) == 0 || user != 0;
    if (redirected && hasItsIds) {
        program.execute();
    }
    ::_exit(kNotExecuted);
}

/// The child's process id, or -1. It writes to `output` unless that is -1.
::pid_t startChild(Program &program, int output, UserIds ids)
{
    letChildrenBeWaitedFor();
    ::sigset_t all;
    ::sigset_t ours;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &ours);
    ::pid_t child = -1;
    {
        const auto lock = noChildMeanwhile();
        child = ::fork();
        if (child == 0) {
            beChild(program, output, ids);
        }
    }
    ::pthread_sigmask(SIG_SETMASK, &ours, nullptr);
    return child;
}

/// As waitpid(2); absent where the child goes on running, which only WNOHANG finds.
std::optional<int> waitFor(::pid_t child, int options)
{
    if (child <= 0) { // it would be any child, and somebody else's
        return kNoStatus;
    }
    int status = 0;
    while (true) {
        const ::pid_t ended = ::waitpid(child, &status, options);
        if (ended == child) {
            return status;
        }
        if (ended == 0) {
            return std::nullopt;
        }
        if (errno != EINTR) {
            return kNoStatus;
        }
    }
}

int waitToTheEnd(::pid_t child)
{
    return waitFor(child, 0).value_or(kNoStatus);
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
    Program prepared(program, arguments, environmentForReading());
    std::optional<Pipe> pipe = makePipe();
    if (!pipe) {
        return std::nullopt;
    }
    const ::pid_t child = startChild(prepared, pipe->writeEnd.get(), UserIds::Kept);
    if (child < 0) {
        return std::nullopt;
    }
    return RunningCommand{.output = std::move(pipe->readEnd), .process = child};
}

} // namespace

int runCommand(const std::string &program, const ArgumentVector &arguments)
{
    Program prepared(program, arguments, ourEnvironment());
    const ::pid_t child = startChild(prepared, -1, UserIds::AllAsTheEffectiveOne);
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
