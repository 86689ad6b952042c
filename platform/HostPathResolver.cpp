#include "platform/HostPathResolver.h"

#include <array>
#include <cerrno>
#include <climits>
#include <utility>

namespace slicewise {

Result<ResolvedPath> HostPathResolver::resolve(std::string_view path)
{
    if (path.size() >= PATH_MAX) {
        return ErrorNumber{ENAMETOOLONG};
    }
    if (path.empty()) {
        return ResolvedPath{.path = {}, .exists = false};
    }
    const std::size_t slash = path.rfind('/');
    const std::string_view directory = slash == std::string_view::npos ? "" : path.substr(0, slash);
    const std::string_view name = slash == std::string_view::npos ? path : path.substr(slash + 1);
    if (name.empty() || name == "." || name == "..") {
        return m_device.resolveAsFarAsItExists(path);
    }
    const Result<ResolvedPath> &above = resolveDirectory(directory);
    if (!above) {
        return above;
    }
    ResolvedPath resolved{.path = above->path, .exists = above->exists};
    resolved.path.append(resolved.path.ends_with('/') ? "" : "/").append(name);
    if (!resolved.exists) {
        return resolved;
    }
    std::array<char, 1> target{};
    // From the root, without the "/" that it begins with. The directory has no links in it.
    if (m_device.calls().readLinkAt(m_device.rootDescriptor(), resolved.path.c_str() + 1, target) >= 0) {
        return m_device.resolveAsFarAsItExists(path);
    }
    switch (errno) {
    case EINVAL: // no link
        return resolved;
    case ENOENT:
        resolved.exists = false;
        return resolved;
    default:
        // A path too long for one call, a directory that is none: whoever goes step by step can tell.
        return m_device.resolveAsFarAsItExists(path);
    }
}

const Result<ResolvedPath> &HostPathResolver::resolveDirectory(std::string_view path)
{
    if (const auto known = m_directories.find(path); known != m_directories.end()) {
        return known->second;
    }
    // By its last component, as a file would be: the directory above it is known by now, or the next time.
    Result<ResolvedPath> resolved = path.empty() ? ResolvedPath{.path = "/", .exists = true} : resolve(path);
    return m_directories.emplace(path, std::move(resolved)).first->second;
}

} // namespace slicewise
