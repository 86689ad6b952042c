// Which directories a walk enters: each local storage file system once.
//
// Not those that hold no storage, not what lives in memory or on a network or only shows files once more
// (unless the root itself lies on such a one), and on request none but the root's own. Immutable once made;
// any thread.
#pragma once

#include "platform/Device.h"
#include "scan/ScanReport.h"

#include <absl/container/flat_hash_map.h>
#include <absl/container/flat_hash_set.h>

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace slicewise {

/// Whether the walk leaves the file system that its root lies on.
enum class FileSystemScope : std::uint8_t { AllLocal, RootOnly };

class MountPolicy {
public:
    MountPolicy(const Device &device, const std::string &rootPath, FileSystemScope scope);

    /// Asked before a directory is opened: opening a mount may hang (a network whose server is gone) or set
    /// something off (autofs).
    [[nodiscard]] std::optional<NotEntered> refusalBeforeOpening(const std::string &path) const;

    /// The mounts to enter all the same though they lie below a directory that is not: a disk at
    /// /run/media/user/disk, where /run is in memory. Paths relative to that directory, without those inside
    /// another of them. None below a network's: getting there could hang.
    [[nodiscard]] std::vector<std::string> enteredBelow(const NotEntered &refused) const;

    /// Asked where an opened directory lies on another file system than the one above it.
    [[nodiscard]] std::optional<NotEntered> refusalAfterOpening(const std::string &path,
                                                                const FileIdentity &identity,
                                                                const FileIdentity &root,
                                                                const FileSystem &fileSystem) const;

    /// Whether the directory may be reached under more than one path, being the top of a mount.
    [[nodiscard]] bool mayBeSeenTwice(const FileIdentity &identity) const
    {
        return m_tops.contains(identity);
    }

private:
    [[nodiscard]] bool isBelowNetwork(const std::string &path, std::size_t from) const;
    [[nodiscard]] std::optional<NotEntered::Why> refusal(FileSystemKind kind) const;

    FileSystemScope m_scope;
    FileSystemKind m_rootKind = FileSystemKind::Storage;
    absl::flat_hash_map<std::string, NotEntered> m_refused; ///< by path
    absl::flat_hash_set<FileIdentity> m_tops;
    std::set<std::string> m_entered; ///< paths of mounts that are not refused
};

} // namespace slicewise
