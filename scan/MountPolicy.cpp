#include "scan/MountPolicy.h"

#include <algorithm>

namespace slicewise {

MountPolicy::MountPolicy(const Device &device, const std::string &rootPath, FileSystemScope scope)
    : m_scope(scope)
{
    if (const Result<FileSystem> root = device.fileSystem(rootPath)) {
        m_rootKind = root->kind;
    }
    for (const Mount &mount : device.mounts()) {
        if (const auto why = refusal(mount.kind)) {
            m_refused[mount.path] = {.path = mount.path, .why = *why, .fileSystemType = mount.type};
        } else if (mount.identity) {
            m_tops.insert(*mount.identity);
            m_entered.insert(mount.path);
        }
    }
    m_refused.erase(rootPath); // whoever names a root means it
}

std::optional<NotEntered::Why> MountPolicy::refusal(FileSystemKind kind) const
{
    switch (kind) {
    case FileSystemKind::Storage:
        return std::nullopt;
    case FileSystemKind::NoStorage:
        return NotEntered::Why::NoStorage;
    case FileSystemKind::Memory:
        return m_rootKind == kind ? std::nullopt : std::optional(NotEntered::Why::Memory);
    case FileSystemKind::Network:
        return m_rootKind == kind ? std::nullopt : std::optional(NotEntered::Why::Network);
    case FileSystemKind::View:
        // In a container "/" itself is one, and then nothing else shows these files.
        return m_rootKind == kind ? std::nullopt : std::optional(NotEntered::Why::View);
    }
    return std::nullopt;
}

std::optional<NotEntered> MountPolicy::refusalBeforeOpening(const std::string &path) const
{
    if (m_refused.empty()) {
        return std::nullopt;
    }
    const auto found = m_refused.find(path);
    return found == m_refused.end() ? std::nullopt : std::optional(found->second);
}

// Whether a network's mount lies above the path, from that position of it on.
bool MountPolicy::isBelowNetwork(const std::string &path, std::size_t from) const
{
    for (std::size_t slash = path.find('/', from); slash != std::string::npos;
         slash = path.find('/', slash + 1)) {
        const auto above = m_refused.find(path.substr(0, slash));
        if (above != m_refused.end() && above->second.why == NotEntered::Why::Network) {
            return true;
        }
    }
    return false;
}

std::vector<std::string> MountPolicy::enteredBelow(const NotEntered &refused) const
{
    std::vector<std::string> below;
    if (m_scope == FileSystemScope::RootOnly || refused.why == NotEntered::Why::Network) {
        return below;
    }
    const std::string front = refused.path + "/";
    for (auto mount = m_entered.lower_bound(front); mount != m_entered.end() && mount->starts_with(front);
         ++mount) {
        // In byte order what lies inside another comes after it; those are met on the walk through that one.
        const auto isAbove = [&](const std::string &path) {
            return mount->compare(front.size(), path.size(), path) == 0 &&
                   mount->substr(front.size() + path.size()).starts_with('/');
        };
        if (std::none_of(below.begin(), below.end(), isAbove) && !isBelowNetwork(*mount, front.size())) {
            below.push_back(mount->substr(front.size()));
        }
    }
    return below;
}

std::optional<NotEntered> MountPolicy::refusalAfterOpening(const std::string &path,
                                                           const FileIdentity &identity,
                                                           const FileIdentity &root,
                                                           const FileSystem &fileSystem) const
{
    if (m_scope == FileSystemScope::RootOnly && identity.device != root.device) {
        return NotEntered{.path = path, .why = NotEntered::Why::OtherFileSystem, .fileSystemType = {}};
    }
    if (const auto why = refusal(fileSystem.kind)) {
        return NotEntered{.path = path, .why = *why, .fileSystemType = {}};
    }
    return std::nullopt;
}

} // namespace slicewise
