// Which directories a walk enters: each local storage file system once.
//
// Not those that hold no storage, not what lives in memory or on a network (unless the root itself lies on
// such a one), and on request none but the root's own. Immutable once made; any thread.
#pragma once

#include "platform/Device.h"
#include "scan/ScanReport.h"

#include <absl/container/flat_hash_map.h>
#include <absl/container/flat_hash_set.h>

#include <cstdint>
#include <optional>
#include <string>

namespace slicewise {

/// Whether the walk leaves the file system that its root lies on.
enum class FileSystemScope : std::uint8_t { AllLocal, RootOnly };

class MountPolicy {
public:
    MountPolicy(const Device &device, const std::string &rootPath, FileSystemScope scope);

    /// Asked before a directory is opened: opening a mount may hang (a network whose server is gone) or set
    /// something off (autofs).
    [[nodiscard]] std::optional<NotEntered> refusalBeforeOpening(const std::string &path) const;

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
    [[nodiscard]] std::optional<NotEntered::Why> refusal(FileSystemKind kind) const;

    FileSystemScope m_scope;
    FileSystemKind m_rootKind = FileSystemKind::Storage;
    absl::flat_hash_map<std::string, NotEntered> m_refused; ///< by path
    absl::flat_hash_set<FileIdentity> m_tops;
};

} // namespace slicewise
