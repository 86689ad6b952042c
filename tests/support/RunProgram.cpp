#include "tests/support/RunProgram.h"

#include "platform/UniqueFd.h"

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <pty.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utmp.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <map>
#include <string_view>
#include <system_error>

namespace slicewise {

namespace {

using Clock = std::chrono::steady_clock;

[[noreturn]] void fail(const std::string &what, int error)
{
    throw std::system_error(error, std::generic_category(), what);
}

int checked(int result, const char *what)
{
    if (result < 0) {
        fail(what, errno);
    }
    return result;
}

struct Pipe {
    UniqueFd readEnd;
    UniqueFd writeEnd;
};

Pipe makePipe()
{
    std::array<int, 2> ends{};
    checked(::pipe2(ends.data(), O_CLOEXEC), "pipe2");
    return {.readEnd = UniqueFd(ends[0]), .writeEnd = UniqueFd(ends[1])};
}

std::string programPath(const std::string &name)
{
    if (name.find('/') != std::string::npos) {
        return name;
    }
    // Nothing changes the environment of a test while it runs.
    const char *path = std::getenv("PATH"); // NOLINT(concurrency-mt-unsafe)
    std::string_view rest = path != nullptr ? path : "/usr/bin:/bin";
    while (!rest.empty()) {
        const std::string_view directory = rest.substr(0, rest.find(':'));
        rest.remove_prefix(std::min(directory.size() + 1, rest.size()));
        std::string candidate = std::string(directory) + "/" + name;
        if (::access(candidate.c_str(), X_OK) == 0) {
            return candidate;
        }
    }
    fail("find " + name, ENOENT);
}

std::vector<std::string> environmentFor(const ProgramRun &run)
{
    std::map<std::string, std::string> variables;
    for (char **entry = ::environ; *entry != nullptr; ++entry) {
        const std::string_view text = *entry;
        const std::size_t equals = text.find('=');
        if (equals != std::string_view::npos) {
            variables[std::string(text.substr(0, equals))] = text.substr(equals + 1);
        }
    }
    for (const std::string &name : run.withoutEnvironment) {
        variables.erase(name);
    }
    for (const auto &[name, value] : run.environment) {
        variables[name] = value;
    }
    std::vector<std::string> entries;
    entries.reserve(variables.size());
    for (const auto &[name, value] : variables) {
        entries.push_back(name);
        entries.back().append("=").append(value);
    }
    return entries;
}

std::vector<char *> pointersTo(std::vector<std::string> &texts)
{
    std::vector<char *> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string &text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

/// All that the child needs, made before fork(): after it only what signal-safety(7) lists may be called.
class Launch {
public:
    explicit Launch(const ProgramRun &run)
        : m_run(run),
          m_path(programPath(run.arguments.at(0))),
          m_arguments(run.arguments),
          m_environment(environmentFor(run)),
          m_argumentPointers(pointersTo(m_arguments)),
          m_environmentPointers(pointersTo(m_environment))
    {}

    /// In the child; -1 closes a descriptor. Returns only on failure.
    void becomeProgram(const std::array<int, 3> &standard) const
    {
        for (int target = 0; target < 3; ++target) {
            const int source = standard.at(static_cast<std::size_t>(target));
            if (source < 0) {
                ::close(target);
            } else if (::dup2(source, target) < 0) {
                return;
            }
        }
        ::sigset_t none;
        ::sigemptyset(&none);
        ::pthread_sigmask(SIG_SETMASK, &none, nullptr);
        struct sigaction usual = {};
        usual.sa_handler = SIG_DFL;
        ::sigaction(SIGPIPE, &usual, nullptr);
        if (m_run.group &&
            (::setgroups(0, nullptr) != 0 || ::setresgid(*m_run.group, *m_run.group, *m_run.group) != 0)) {
            return;
        }
        if (m_run.user && ::setresuid(*m_run.user, *m_run.user, *m_run.user) != 0) {
            return;
        }
        if (!m_run.directory.empty() && ::chdir(m_run.directory.c_str()) != 0) {
            return;
        }
        ::execve(m_path.c_str(), m_argumentPointers.data(), m_environmentPointers.data());
    }

private:
    const ProgramRun &m_run;
    std::string m_path;
    std::vector<std::string> m_arguments;
    std::vector<std::string> m_environment;
    std::vector<char *> m_argumentPointers;
    std::vector<char *> m_environmentPointers;
};

// Ends a child that could not become the program; the parent reads why.
[[noreturn]] void giveUp(int report)
{
    const int error = errno;
    static_cast<void>(!::write(report, &error, sizeof error));
    ::_exit(127);
}

// What the child reported before it could become the program; 0 where it did.
int readReport(int report)
{
    int error = 0;
    ssize_t length = 0;
    do {
        length = ::read(report, &error, sizeof error);
    } while (length < 0 && errno == EINTR);
    return length == static_cast<ssize_t>(sizeof error) ? error : 0;
}

struct Stream {
    UniqueFd descriptor;
    std::string *text;
};

// Reads a piece; closes the stream at its end. A terminal whose other side is closed says EIO.
void readPiece(Stream &stream)
{
    std::array<char, 16384> piece{};
    const ssize_t length = ::read(stream.descriptor.get(), piece.data(), piece.size());
    if (length > 0) {
        stream.text->append(piece.data(), static_cast<std::size_t>(length));
    } else if (length == 0 || (errno != EINTR && errno != EAGAIN)) {
        stream.descriptor.reset();
    }
}

// Reads all streams to their ends; false where that took longer than until then.
bool readAll(std::vector<Stream> &streams, Clock::time_point until)
{
    while (true) {
        std::vector<::pollfd> waiting;
        std::vector<Stream *> open;
        for (Stream &stream : streams) {
            if (stream.descriptor) {
                waiting.push_back({.fd = stream.descriptor.get(), .events = POLLIN, .revents = 0});
                open.push_back(&stream);
            }
        }
        if (open.empty()) {
            return true;
        }
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now());
        if (left.count() <= 0) {
            return false;
        }
        if (::poll(waiting.data(), waiting.size(), static_cast<int>(left.count()) + 1) < 0 &&
            errno != EINTR) {
            fail("poll", errno);
        }
        for (std::size_t i = 0; i < open.size(); ++i) {
            if (waiting[i].revents != 0) {
                readPiece(*open[i]);
            }
        }
    }
}

// Waits for a child until then; absent where it still runs.
std::optional<int> waitUntil(::pid_t child, Clock::time_point until)
{
    const ::timespec pause{.tv_sec = 0, .tv_nsec = 2'000'000};
    while (true) {
        int status = 0;
        const ::pid_t ended = ::waitpid(child, &status, WNOHANG);
        if (ended == child) {
            return status;
        }
        if (ended < 0 && errno != EINTR) {
            fail("waitpid", errno);
        }
        if (Clock::now() >= until) {
            return std::nullopt;
        }
        ::nanosleep(&pause, nullptr);
    }
}

void finish(::pid_t child, std::vector<Stream> &streams, std::chrono::seconds limit, ProgramResult &result)
{
    const Clock::time_point until = Clock::now() + limit;
    std::optional<int> status;
    if (readAll(streams, until)) {
        status = waitUntil(child, until);
    }
    if (!status) {
        result.tookTooLong = true;
        // It leads a session of its own, so its group holds what it started.
        ::kill(-child, SIGKILL);
        status = waitUntil(child, Clock::time_point::max());
    }
    if (WIFEXITED(*status)) {
        result.exitStatus = WEXITSTATUS(*status);
    } else if (WIFSIGNALED(*status)) {
        result.signal = WTERMSIG(*status);
    }
}

// The input is short or the program reads it: a file in memory needs nobody who writes while it runs.
UniqueFd fileHolding(const std::string &text)
{
    UniqueFd file(checked(::memfd_create("input", MFD_CLOEXEC), "memfd_create"));
    if (::pwrite(file.get(), text.data(), text.size(), 0) != static_cast<ssize_t>(text.size())) {
        fail("write the input", errno);
    }
    return file;
}

void type(int terminal, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t written = ::write(terminal, text.data(), text.size());
        if (written < 0 && errno != EINTR) {
            fail("type", errno);
        }
        text.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
    }
}

void throwIfNotStarted(::pid_t child, int report, const ProgramRun &run)
{
    if (const int error = readReport(report); error != 0) {
        static_cast<void>(waitUntil(child, Clock::time_point::max()));
        fail("start " + run.arguments.at(0), error);
    }
}

} // namespace

ProgramResult runProgram(const ProgramRun &run)
{
    const Launch launch(run);
    const UniqueFd input = run.input ? fileHolding(*run.input) : UniqueFd();
    Pipe output = makePipe();
    Pipe error = makePipe();
    Pipe report = makePipe();
    const ::pid_t child = checked(::fork(), "fork");
    if (child == 0) {
        ::setsid();
        launch.becomeProgram({input.get(), output.writeEnd.get(), error.writeEnd.get()});
        giveUp(report.writeEnd.get());
    }
    output.writeEnd.reset();
    error.writeEnd.reset();
    report.writeEnd.reset();
    throwIfNotStarted(child, report.readEnd.get(), run);
    ProgramResult result;
    std::vector<Stream> streams;
    streams.push_back({.descriptor = std::move(output.readEnd), .text = &result.standardOutput});
    streams.push_back({.descriptor = std::move(error.readEnd), .text = &result.standardError});
    finish(child, streams, run.limit, result);
    return result;
}

ProgramResult runProgramOnTerminal(const ProgramRun &run, TerminalSize size)
{
    const Launch launch(run);
    const ::winsize window{.ws_row = size.lines, .ws_col = size.columns, .ws_xpixel = 0, .ws_ypixel = 0};
    int ours = -1;
    int theirs = -1;
    checked(::openpty(&ours, &theirs, nullptr, nullptr, &window), "openpty");
    UniqueFd master(ours);
    UniqueFd terminal(theirs);
    checked(::fcntl(master.get(), F_SETFD, FD_CLOEXEC), "fcntl");
    Pipe report = makePipe();
    const ::pid_t child = checked(::fork(), "fork");
    if (child == 0) {
        // A child of fork() has one thread.
        if (::login_tty(terminal.get()) == 0) { // NOLINT(concurrency-mt-unsafe)
            launch.becomeProgram({0, 1, 2});
        }
        giveUp(report.writeEnd.get());
    }
    terminal.reset();
    report.writeEnd.reset();
    throwIfNotStarted(child, report.readEnd.get(), run);
    type(master.get(), run.input.value_or(""));
    ProgramResult result;
    std::vector<Stream> streams;
    streams.push_back({.descriptor = std::move(master), .text = &result.standardOutput});
    finish(child, streams, run.limit, result);
    return result;
}

} // namespace slicewise
