#include "tests/scan/InChild.h"

#include "platform/UniqueFd.h"

#include <fmt/format.h>

#include <fcntl.h>
#include <grp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <exception>
#include <system_error>

namespace slicewise {

namespace {

constexpr unsigned kNobody = 65534;

void writeAll(int descriptor, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t written = ::write(descriptor, text.data(), text.size());
        if (written <= 0) {
            return;
        }
        text.remove_prefix(static_cast<std::size_t>(written));
    }
}

std::string readAll(int descriptor)
{
    std::string text;
    std::array<char, 4096> buffer{};
    for (ssize_t length = 0; (length = ::read(descriptor, buffer.data(), buffer.size())) > 0;) {
        text.append(buffer.data(), static_cast<std::size_t>(length));
    }
    return text;
}

bool writeMap(const char *path, const std::string &line)
{
    const UniqueFd file(::open(path, O_WRONLY | O_CLOEXEC));
    return file && ::write(file.get(), line.data(), line.size()) == static_cast<ssize_t>(line.size());
}

} // namespace

std::string textFromChild(const std::function<std::string()> &work)
{
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe2");
    }
    UniqueFd reading(ends[0]);
    UniqueFd writing(ends[1]);
    const ::pid_t child = ::fork();
    if (child < 0) {
        throw std::system_error(errno, std::generic_category(), "fork");
    }
    if (child == 0) {
        std::string text;
        try {
            text = work();
        } catch (const std::exception &exception) {
            text = fmt::format("raised: {}", exception.what());
        }
        writeAll(writing.get(), text);
        ::_exit(0); // what the parent has set up is the parent's to take down
    }
    writing.reset();
    std::string text = readAll(reading.get());
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? text
                                                         : fmt::format("{}ended by {:#x}", text, status);
}

void becomeNobody()
{
    if (::geteuid() != 0) {
        return;
    }
    if (::setgroups(0, nullptr) != 0 || ::setresgid(kNobody, kNobody, kNobody) != 0 ||
        ::setresuid(kNobody, kNobody, kNobody) != 0) {
        throw std::system_error(errno, std::generic_category(), "setresuid");
    }
}

bool enterOwnMountNamespace()
{
    const unsigned user = ::geteuid();
    const unsigned group = ::getegid();
    if (user == 0 ? ::unshare(CLONE_NEWNS) != 0 : ::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
        return false;
    }
    if (user != 0 && !(writeMap("/proc/self/setgroups", "deny") &&
                       writeMap("/proc/self/uid_map", fmt::format("0 {} 1", user)) &&
                       writeMap("/proc/self/gid_map", fmt::format("0 {} 1", group)))) {
        return false;
    }
    return ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

} // namespace slicewise
