#include "platform/Desktop.h"

#include "platform/ChildProcess.h"
#include "platform/Privileges.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <cstdlib>
#include <string_view>

namespace slicewise {

namespace {

bool isSet(const char *variable)
{
    const char *value = std::getenv(variable); // NOLINT(concurrency-mt-unsafe): nobody here changes it
    return value != nullptr && *value != '\0';
}

std::optional<std::string> programNamed(std::string_view name)
{
    std::string_view folders = Privileges::kPath;
    while (!folders.empty()) {
        const std::size_t end = folders.find(':');
        std::string candidate(folders.substr(0, end));
        candidate.append("/").append(name);
        if (isProgram(candidate)) {
            return candidate;
        }
        folders.remove_prefix(end == std::string_view::npos ? folders.size() : end + 1);
    }
    return std::nullopt;
}

} // namespace

bool isProgram(const std::string &hostPath)
{
    struct stat status = {};
    return ::stat(hostPath.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           ::access(hostPath.c_str(), X_OK) == 0;
}

std::optional<std::string> desktopOpener()
{
    return isSet("WAYLAND_DISPLAY") || isSet("DISPLAY") ? programNamed("xdg-open") : std::nullopt;
}

bool openOnDesktop(const std::string &opener, const std::string &hostPath)
{
    // One that begins otherwise might be taken for an option.
    return hostPath.starts_with('/') && hostPath.find('\0') == std::string::npos &&
           startDetached(
               {.program = opener, .arguments = {opener, hostPath}, .environment = ourEnvironment()});
}

std::optional<std::string> directoryOfOurProgram()
{
    std::array<char, PATH_MAX> target{};
    const ssize_t length = ::readlink("/proc/self/exe", target.data(), target.size());
    if (length <= 0 || static_cast<std::size_t>(length) == target.size()) {
        return std::nullopt;
    }
    const std::string_view path(target.data(), static_cast<std::size_t>(length));
    return std::string(path.substr(0, path.rfind('/')));
}

} // namespace slicewise
