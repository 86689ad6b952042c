#include "scan/MountPolicy.h"

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
