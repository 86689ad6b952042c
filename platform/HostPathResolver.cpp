#include "platform/HostPathResolver.h"

#include "platform/SplitPath.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <utility>

namespace slicewise {

namespace {

// From this many questions on a listing costs less than asking for each name.
constexpr unsigned kAskedBeforeListing = 3;
// Deeper paths go step by step rather than directory by directory, which takes a stack.
constexpr std::ptrdiff_t kMostLevels = 128;

bool isPlainName(std::string_view name)
{
    return !name.empty() && name != "." && name != "..";
}

// Of a directory without links in its path, "..", taken from the front of what follows, is the one above it.
void goUp(std::string &directory, std::string_view &rest)
{
    while (rest.starts_with("../") || rest.starts_with("./")) {
        if (rest.starts_with("..")) {
            directory.resize(directory.empty() ? 0 : directory.rfind('/'));
        }
        rest.remove_prefix(rest.find('/'));
        while (rest.starts_with('/')) {
            rest.remove_prefix(1);
        }
    }
}

// Whether a component is "." or "..", or empty.
bool hasOddComponents(std::string_view path)
{
    while (!path.empty()) {
        const std::size_t slash = path.find('/');
        if (!isPlainName(path.substr(0, slash))) {
            return true;
        }
        if (slash == std::string_view::npos) {
            return false;
        }
        path.remove_prefix(slash + 1);
    }
    return true;
}

} // namespace

Result<std::string> HostPathResolver::resolve(std::string_view path)
{
    if (path.size() >= PATH_MAX) {
        return ErrorNumber{ENAMETOOLONG};
    }
    if (path.empty()) {
        return std::string();
    }
    Result<ResolvedPath> resolved = resolve(path, 0);
    if (!resolved) {
        return ErrorNumber{resolved.error()};
    }
    return std::move(resolved->path);
}

Result<ResolvedPath> HostPathResolver::resolve(std::string_view path, int links)
{
    const auto [above, name] = splitPath(path);
    if (!isPlainName(name) || name.size() > NAME_MAX ||
        std::count(path.begin(), path.end(), '/') > kMostLevels) {
        return m_device.resolveAsFarAsItExists(path);
    }
    Directory &directory = directoryAt(above, links);
    if (!directory.resolved) {
        return directory.resolved;
    }
    ResolvedPath resolved{.path = {}, .exists = directory.resolved->exists};
    const std::string &front = directory.resolved->path;
    resolved.path.reserve(front.size() + 1 + name.size());
    resolved.path.append(front == "/" ? std::string_view() : front).append("/").append(name);
    // Where a link leads it matters whether there is something.
    if (!resolved.exists || (links == 0 && isKnownAsNoLink(directory, name))) {
        return resolved;
    }
    std::array<char, 1> target{};
    // From the root, without the "/" that it begins with. The directory has no links in it.
    if (m_device.calls().readLinkAt(m_device.rootDescriptor(), resolved.path.c_str() + 1, target) >= 0) {
        return followLink(front, name, links + 1);
    }
    switch (errno) {
    case EINVAL: // no link
        return resolved;
    case ENOENT:
        resolved.exists = false;
        return resolved;
    default:
        // A directory that is none, a path too long for one call: whoever goes step by step can tell.
        return m_device.resolveAsFarAsItExists(path);
    }
}

// A link in a directory that has none above it. The simple ones, by the directories that are known already.
Result<ResolvedPath> HostPathResolver::followLink(const std::string &directory, std::string_view name,
                                                  int links)
{
    const std::string front = directory == "/" ? std::string() : directory;
    const std::string path = fmt::format("{}/{}", front, name);
    std::array<char, PATH_MAX> buffer{};
    const ssize_t length = m_device.calls().readLinkAt(m_device.rootDescriptor(), path.c_str() + 1, buffer);
    if (length <= 0 || links > HostDevice::kMostLinks) {
        return m_device.resolveAsFarAsItExists(path);
    }
    std::string_view target(buffer.data(), static_cast<std::size_t>(length));
    std::string from;
    if (target.starts_with('/')) {
        target.remove_prefix(1);
    } else {
        from = front;
        goUp(from, target);
    }
    if (hasOddComponents(target) || from.size() + target.size() + 1 >= PATH_MAX) {
        return m_device.resolveAsFarAsItExists(path);
    }
    Result<ResolvedPath> resolved = resolve(fmt::format("{}/{}", from, target), links);
    if (resolved && !resolved->exists) {
        return ResolvedPath{.path = path, .exists = false};
    }
    return resolved;
}

HostPathResolver::Directory &HostPathResolver::directoryAt(std::string_view path, int links)
{
    if (const auto known = m_directories.find(path); known != m_directories.end()) {
        return *known->second;
    }
    // By its last component, as a file would be: the directory above it is known by now, or the next time.
    auto directory = std::make_unique<Directory>();
    if (!path.empty()) {
        directory->resolved = resolve(path, links);
    }
    return *m_directories.emplace(path, std::move(directory)).first->second;
}

bool HostPathResolver::isKnownAsNoLink(Directory &directory, std::string_view name)
{
    if (directory.listed == Listed::NotYet && ++directory.timesAsked >= kAskedBeforeListing) {
        const Result<std::vector<std::string>> links = m_device.linksIn(directory.resolved->path);
        directory.listed = links ? Listed::Yes : Listed::Refused;
        if (links) {
            directory.links.insert(links->begin(), links->end());
        }
    }
    return directory.listed == Listed::Yes && !directory.links.contains(name);
}

} // namespace slicewise
