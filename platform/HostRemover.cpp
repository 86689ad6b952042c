#include "platform/HostRemover.h"

#include "platform/SplitPath.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <utility>

namespace slicewise {

namespace {

// Without what says nothing at its end, "/" and "/.".
std::string_view withoutIdleEnd(std::string_view path)
{
    while (path.ends_with('/') || path.ends_with("/.") || path == ".") {
        path.remove_suffix(1);
    }
    return path;
}

} // namespace

HostRemover::HostRemover(const HostDevice &device, std::size_t mostOpen)
    : m_device(device), m_tree(device.calls(), mostOpen)
{}

Result<std::uint64_t> HostRemover::remove(std::string_view path)
{
    const SplitPath split = splitPath(withoutIdleEnd(path));
    // To the system a null byte would be the end: of another path.
    if (split.name.empty() || split.name == ".." || path.find('\0') != std::string_view::npos) {
        return ErrorNumber{EINVAL};
    }
    m_name = split.name;
    if (m_parent && m_parentPath == split.directory) {
        Result<std::uint64_t> removed = removeFromParent();
        if (removed.error() != ENOENT) {
            return removed;
        }
        // The directory may have been removed since, and made anew.
    }
    if (const int error = openParent(split.directory); error != 0) {
        return ErrorNumber{error};
    }
    return removeFromParent();
}

int HostRemover::openParent(std::string_view directory)
{
    m_parent.reset();
    Result<UniqueFd> opened =
        m_device.openDirectory(directory, m_device.rootDescriptor(), HostDevice::OpenFor::Passing);
    if (!opened) {
        return opened.error();
    }
    m_parent = std::move(opened).value();
    m_parentPath = directory;
    return 0;
}

Result<std::uint64_t> HostRemover::removeFromParent()
{
    const SystemCalls &calls = m_device.calls();
    struct stat status = {};
    if (calls.statAt(m_parent.get(), m_name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return ErrorNumber{errno};
    }
    if (S_ISLNK(status.st_mode)) {
        return ErrorNumber{ELOOP};
    }
    if (S_ISDIR(status.st_mode)) {
        return m_tree.remove(m_parent.get(), m_name);
    }
    // What takes the file's place at this very moment goes instead of it, a link as the link that it is:
    // whoever could put it there could have removed the file. A directory stays (EISDIR).
    if (calls.unlinkAt(m_parent.get(), m_name.c_str(), 0) != 0) {
        return ErrorNumber{errno};
    }
    return std::uint64_t{1};
}

} // namespace slicewise
