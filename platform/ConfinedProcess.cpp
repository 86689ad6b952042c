#include "platform/ConfinedProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <utility>

namespace slicewise {

namespace {

constexpr int kMostWaitForSendingMs = 2'000;

struct Connection {
    UniqueFd ours;
    UniqueFd theirs;
};

std::optional<Connection> makeConnection()
{
    std::array<int, 2> ends = {-1, -1};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        return std::nullopt;
    }
    return Connection{.ours = UniqueFd(ends[0]), .theirs = UniqueFd(ends[1])};
}

/// Above the standard streams, whose places they are going to have.
UniqueFd copyAboveStandardStreams(int descriptor)
{
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-vararg): its only form
    return UniqueFd(::fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

void becomeNonBlocking(int descriptor)
{
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-vararg): its only form
    static_cast<void>(::fcntl(descriptor, F_SETFL, O_NONBLOCK));
}

/// A path, a language, nothing of ours but what is kept.
std::vector<std::string> environmentWith(const std::vector<std::string> &keptVariables)
{
    std::vector<std::string> environment = {
        "PATH=/usr/bin:/bin",
        "LC_ALL=C.UTF-8",
        "HOME=/dev/null", // nothing can be put below it, not even by root
        "QT_QPA_PLATFORM=offscreen",
        "QT_QPA_PLATFORMTHEME=none",
        "QT_MEDIA_BACKEND=ffmpeg", // it needs no programs of its own, which may not be started
        "QT_LOGGING_RULES=*=false",
#if defined(__SANITIZE_ADDRESS__)
        "ASAN_OPTIONS=detect_leaks=0", // what is killed leaks nothing
#endif
    };
    for (const std::string &name : keptVariables) {
        // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing of ours changes the environment while threads run
        if (const char *value = std::getenv(name.c_str())) {
            environment.push_back(std::string(name).append("=").append(value));
        }
    }
    return environment;
}

} // namespace

std::unique_ptr<ConfinedProcess> ConfinedProcess::start(const std::string &program,
                                                        const std::vector<std::string> &arguments, int file,
                                                        const Confinement &confinement)
{
    std::optional<Connection> connection = makeConnection();
    std::optional<Pipe> alarm = makePipe();
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-vararg): its only form
    const UniqueFd nothing(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    if (!connection || !alarm || !nothing || !program.starts_with('/')) {
        return nullptr;
    }
    const UniqueFd input = copyAboveStandardStreams(file);
    const UniqueFd output = copyAboveStandardStreams(connection->theirs.get());
    const UniqueFd errors = copyAboveStandardStreams(nothing.get());
    if (!input || !output || !errors) {
        return nullptr;
    }
    ChildStart start{.program = program,
                     .arguments = {program},
                     .environment = environmentWith(confinement.keptVariables),
                     .output = output.get(),
                     .input = input.get(),
                     .errors = errors.get(),
                     .confinement = confinement};
    start.arguments.insert(start.arguments.end(), arguments.begin(), arguments.end());
    std::unique_ptr<ConfinedProcess> made(new ConfinedProcess);
    made->m_process = startChild(start);
    if (made->m_process < 0) {
        return nullptr;
    }
    made->m_connection = std::move(connection->ours);
    made->m_alarm = std::move(*alarm);
    becomeNonBlocking(made->m_connection.get());
    becomeNonBlocking(made->m_alarm.readEnd.get());
    becomeNonBlocking(made->m_alarm.writeEnd.get());
    return made;
}

ConfinedProcess::~ConfinedProcess()
{
    if (m_process > 0) {
        ::kill(m_process, SIGKILL);
        static_cast<void>(waitToTheEnd(m_process));
    }
}

bool ConfinedProcess::send(std::span<const std::byte> bytes)
{
    while (!bytes.empty()) {
        const ssize_t sent = ::send(m_connection.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent >= 0) {
            bytes = bytes.subspan(static_cast<std::size_t>(sent));
            continue;
        }
        if (errno == EINTR) {
            continue;
        }
        struct pollfd state = {.fd = m_connection.get(), .events = POLLOUT, .revents = 0};
        if (errno != EAGAIN || ::poll(&state, 1, kMostWaitForSendingMs) == 0) {
            return false;
        }
    }
    return true;
}

ConfinedProcess::Received ConfinedProcess::receive(std::span<std::byte> into,
                                                   std::optional<std::chrono::milliseconds> most)
{
    std::array<struct pollfd, 2> states = {{
        {.fd = m_connection.get(), .events = POLLIN, .revents = 0},
        {.fd = m_alarm.readEnd.get(), .events = POLLIN, .revents = 0},
    }};
    const int count = ::poll(states.data(), states.size(), most ? static_cast<int>(most->count()) : -1);
    if (count == 0) {
        return {.event = Event::TimedOut};
    }
    if (count < 0) {
        return {.event = errno == EINTR ? Event::Woken : Event::Ended};
    }
    if (states[1].revents != 0) {
        std::array<std::byte, 64> calls{};
        [[maybe_unused]] const ssize_t taken =
            ::read(m_alarm.readEnd.get(), calls.data(), calls.size()); // what is left wakes once more
        return {.event = Event::Woken};
    }
    const ssize_t length = ::read(m_connection.get(), into.data(), into.size());
    if (length > 0) {
        return {.event = Event::Bytes, .length = static_cast<std::size_t>(length)};
    }
    return {.event = length < 0 && (errno == EAGAIN || errno == EINTR) ? Event::Woken : Event::Ended};
}

void ConfinedProcess::wake() const
{
    const std::byte call{1};
    // A pipe that is full wakes just as well.
    static_cast<void>(!::write(m_alarm.writeEnd.get(), &call, 1));
}

} // namespace slicewise
