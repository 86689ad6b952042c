// Reads the kernel's list of mounts and tells what kind of thing a file system is.
//
// The list has the shape of /proc/self/mountinfo (proc(5)). Pure functions of their input, any thread.
#pragma once

#include "platform/Device.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace slicewise {

struct MountLine {
    std::uint64_t id = 0;
    std::uint64_t parent = 0;
    std::uint32_t deviceMajor = 0;
    std::uint32_t deviceMinor = 0;
    std::string path; ///< the mount point, unescaped, as the process sees it
    std::string type; ///< "ext4", "proc", "fuse.sshfs"
};

/// The mounts that can be reached, in the list's order: those that a later mount hides are left out, and so
/// are lines that do not have the list's shape.
[[nodiscard]] std::vector<MountLine> parseMountTable(std::string_view text);

/// By the kernel's name of the type; a name that is not known is storage, a FUSE one that is not known
/// somebody else's.
[[nodiscard]] FileSystemKind kindOfFileSystemNamed(std::string_view type);

/// By the magic number of statfs(2), for a file system that no mount names (a subvolume, no /proc).
[[nodiscard]] FileSystemKind kindOfFileSystemMagic(std::uint64_t magic);

/// Whether every subvolume of such a file system shows a device number of its own (btrfs).
[[nodiscard]] bool hasManyDeviceNumbers(std::uint64_t magic);

} // namespace slicewise
