#include "platform/ChildProcess.h"

#include "platform/OpenFiles.h"

#include <fcntl.h>
#if defined(__linux__)
#include <sys/prctl.h>
#endif
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <mutex>
#include <utility>

#if !defined(__linux__)
extern "C" char **environ; // no header declares it everywhere
#endif

namespace slicewise {

namespace {

constexpr int kNotExecuted = 1;
constexpr const char *kShell = "/bin/sh";

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
        std::string file = path.substr(from, colon == std::string::npos ? colon : colon - from);
        file.append(file.empty() ? "" : "/").append(program);
        candidates.push_back(std::move(file));
        if (colon == std::string::npos) {
            return candidates;
        }
        from = colon + 1;
    }
}

/// The arguments of a shell that is to read the program, whose place is the second.
std::vector<std::string> argumentsOfShell(const std::vector<std::string> &arguments)
{
    std::vector<std::string> result = {kShell, ""};
    if (!arguments.empty()) {
        result.insert(result.end(), arguments.begin() + 1, arguments.end());
    }
    return result;
}

class Program {
public:
    Program(const std::string &program, const std::vector<std::string> &arguments,
            std::vector<std::string> environment)
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

/// What a user may set for a process, and a program that runs as root should not have to bear: a file system
/// that must not be left busy, files that others may write, a log or a database that can't be written to its
/// end.
void leaveWhatTheUserHasSet()
{
    static_cast<void>(!::chdir("/"));
    ::umask(S_IWGRP | S_IWOTH);
    for (const auto resource : {RLIMIT_FSIZE, RLIMIT_CPU, RLIMIT_DATA, RLIMIT_AS}) {
        struct rlimit limit = {.rlim_cur = RLIM_INFINITY, .rlim_max = RLIM_INFINITY};
        // Not every root may go beyond the upper limit; then up to that.
        if (::setrlimit(resource, &limit) != 0 && ::getrlimit(resource, &limit) == 0) {
            limit.rlim_cur = limit.rlim_max;
            static_cast<void>(::setrlimit(resource, &limit));
        }
    }
}

/// "/dev/stderr" and its like open what is behind a descriptor anew, with the rights of who asks: a program
/// that runs as root would write to a file that the user could only read, or could only name. Such a
/// descriptor gives way to one of nothing. False where that can't be had.
bool keepOnlyStreamsOfTheirDirection()
{
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        const int flags = ::fcntl(descriptor, F_GETFL); // NOLINT(cppcoreguidelines-pro-type-vararg)
        const int allowed = descriptor == STDIN_FILENO ? O_RDONLY : O_WRONLY;
        bool isRight = flags >= 0 && ((flags & O_ACCMODE) == O_RDWR || (flags & O_ACCMODE) == allowed);
#if defined(O_PATH)
        isRight = isRight && (flags & O_PATH) == 0;
#endif
        if (isRight) {
            continue;
        }
        // A copy is not closed on exec; where the descriptor was closed, it may be the very one that is
        // given.
        const int nothing = ::open("/dev/null", O_RDWR); // NOLINT(cppcoreguidelines-pro-type-vararg)
        if (nothing < 0 || ::dup2(nothing, descriptor) < 0) {
            return false;
        }
    }
    return true;
}

bool isNowAt(int descriptor, int place)
{
    return descriptor < 0 || ::dup2(descriptor, place) >= 0;
}

/// The given descriptors lie above the standard ones, so none overwrites another.
bool redirectStreams(const ChildStart &start)
{
    return isNowAt(start.input, STDIN_FILENO) && isNowAt(start.output, STDOUT_FILENO) &&
           isNowAt(start.output, STDERR_FILENO) && isNowAt(start.errors, STDERR_FILENO);
}

template <typename Resource> bool limitTo(Resource resource, ::rlim_t most)
{
    struct rlimit limit = {};
    if (::getrlimit(resource, &limit) != 0) {
        return false;
    }
    limit.rlim_max = std::min(limit.rlim_max, most);
    limit.rlim_cur = std::min(limit.rlim_cur, limit.rlim_max);
    return ::setrlimit(resource, &limit) == 0;
}

bool confine(const Confinement &confinement, ::pid_t maker)
{
#if defined(__SANITIZE_ADDRESS__)
    const bool hasRoom = true; // its map of all memory counts as data
#else
    const bool hasRoom = confinement.mostDataBytes == 0 || limitTo(RLIMIT_DATA, confinement.mostDataBytes);
#endif
    bool done = hasRoom && limitTo(RLIMIT_CORE, 0) && limitTo(RLIMIT_FSIZE, 0) &&
                limitTo(RLIMIT_CPU, confinement.mostSeconds);
#if defined(__linux__)
    // NOLINTBEGIN(cppcoreguidelines-pro-type-vararg): its only form
    done = done && ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && ::prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 &&
           ::getppid() == maker; // else it has ended before we asked
    // NOLINTEND(cppcoreguidelines-pro-type-vararg)
#else
    static_cast<void>(maker);
#endif
    return done;
}

/// Other threads may have held any lock when the process was doubled, so nothing here allocates, prints or
/// runs what is to be run at exit.
[[noreturn]] void beChild(Program &program, const ChildStart &start, ::pid_t maker)
{
    takeBackSignals();
    const UserIds ids = start.ids;
    const bool redirected = redirectStreams(start);
    const bool confined = !start.confinement || confine(*start.confinement, maker);
    // A failure matters only where the program would not be all root; any other user gains nothing by it.
    const ::uid_t user = ::geteuid();
    const bool becomesRoot = ids == UserIds::AllAsTheEffectiveOne && user == 0 && ::getuid() != 0;
    const bool hasItsIds = ids == UserIds::Kept || ::setuid(user) == 0 || user != 0;
    const bool hasItsStreams = !becomesRoot || keepOnlyStreamsOfTheirDirection();
    closeAllButStandardStreams();
    if (becomesRoot) {
        leaveWhatTheUserHasSet();
    }
    if (redirected && confined && hasItsIds && hasItsStreams) {
        program.execute();
    }
    ::_exit(kNotExecuted);
}

} // namespace

std::vector<std::string> ourEnvironment()
{
    std::vector<std::string> variables;
    for (char **variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
        variables.emplace_back(*variable);
    }
    return variables;
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

namespace {

enum class Belongs : std::uint8_t { ToUs, ToNobody };

/// Makes one more child, for which nobody answers, and ends.
[[noreturn]] void beMakerOfOrphan(Program &program, const ChildStart &start)
{
#if defined(__GLIBC__)
    const ::pid_t child = ::_Fork(); // the one that may be called in a fork
#else
    const ::pid_t child = ::fork();
#endif
    if (child == 0) {
        ::setsid();
        beChild(program, start, ::getppid());
    }
    ::_exit(child > 0 ? 0 : kNotExecuted);
}

::pid_t makeChild(const ChildStart &start, Belongs belongs)
{
    Program program(start.program, start.arguments, start.environment);
    letChildrenBeWaitedFor();
    ::sigset_t all;
    ::sigset_t ours;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &ours);
    const ::pid_t maker = ::getpid();
    ::pid_t child = -1;
    {
        const auto lock = noChildMeanwhile();
        child = ::fork();
        if (child == 0 && belongs == Belongs::ToNobody) {
            beMakerOfOrphan(program, start);
        }
        if (child == 0) {
            beChild(program, start, maker);
        }
    }
    ::pthread_sigmask(SIG_SETMASK, &ours, nullptr);
    return child;
}

} // namespace

::pid_t startChild(const ChildStart &start)
{
    return makeChild(start, Belongs::ToUs);
}

bool startDetached(const ChildStart &start)
{
    return waitToTheEnd(makeChild(start, Belongs::ToNobody)) == 0;
}

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

} // namespace slicewise
