// What the host device tells of file systems: which are mounted where, of what kind, how large.
#include "platform/HostDevice.h"
#include "platform/MountTable.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <fstream>
#include <sstream>
#include <utility>

namespace slicewise {

namespace {

std::string readFileOfKernel(const char *path)
{
    std::ifstream stream(path, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    return std::move(text).str();
}

} // namespace

void HostDevice::readMountTable()
{
#if defined(__linux__)
    const std::string prefix = m_canonicalRoot == "/" ? std::string() : m_canonicalRoot;
    for (const MountLine &line : parseMountTable(readFileOfKernel("/proc/self/mountinfo"))) {
        const FileSystemKind kind = kindOfFileSystemNamed(line.type);
        m_kindOfDevice[::makedev(line.deviceMajor, line.deviceMinor)] = kind;
        if (line.path.size() > prefix.size() + 1 && line.path.starts_with(prefix) &&
            line.path[prefix.size()] == '/') {
            m_mounts.push_back(
                {.devicePath = line.path.substr(prefix.size()), .type = line.type, .kind = kind});
        }
    }
#endif
}

Result<FileSystem> HostDevice::fileSystem(std::string_view path) const
{
    const Result<Resolved> found = follow(path);
    if (!found) {
        return ErrorNumber{found.error()};
    }
    struct stat raw = {};
    if (m_calls->statOpen(found->parent.get(), &raw) != 0) {
        return ErrorNumber{errno};
    }
    return fileSystemOfOpen(found->parent.get(), raw.st_dev);
}

FileSystem HostDevice::fileSystemOfOpen(int descriptor, std::uint64_t device) const
{
    FileSystem result{.identity = device, .kind = FileSystemKind::Storage, .capacityBytes = 0};
    FileSystemFacts facts;
    const bool known = m_calls->fileSystemOf(descriptor, &facts) == 0;
    if (known) {
        result.capacityBytes = facts.capacityBytes;
        if (hasManyDeviceNumbers(facts.type)) {
            // The upper word is the same for every subvolume; the lower one and st_dev are not.
            result.identity = (1ULL << 63U) | (facts.id >> 32U);
        }
    }
    if (const auto named = m_kindOfDevice.find(device); named != m_kindOfDevice.end()) {
        result.kind = named->second;
    } else if (known) {
        result.kind = kindOfFileSystemMagic(facts.type);
    }
    return result;
}

std::vector<Mount> HostDevice::mounts() const
{
    std::vector<Mount> result;
    struct stat root = {};
    const bool rootKnown = m_calls->statOpen(m_root.get(), &root) == 0;
    const FileSystemKind rootKind =
        rootKnown ? fileSystemOfOpen(m_root.get(), root.st_dev).kind : FileSystemKind::Storage;
    for (const HostMount &mount : m_mounts) {
        Mount entry{
            .path = mount.devicePath, .type = mount.type, .kind = mount.kind, .identity = std::nullopt};
        // A stat of a network mount whose server is gone would hang for ever, so only those are asked that a
        // walk enters.
        if (mount.kind == FileSystemKind::Storage || mount.kind == rootKind) {
            struct stat raw = {};
            const std::string relative = mount.devicePath.substr(1);
            if (m_calls->statAt(m_root.get(), relative.c_str(), &raw, AT_SYMLINK_NOFOLLOW) == 0) {
                entry.identity = FileIdentity{.device = raw.st_dev, .inode = raw.st_ino};
            }
        }
        result.push_back(std::move(entry));
    }
    return result;
}

} // namespace slicewise
