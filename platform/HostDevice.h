// The host's file system below one of its directories, which plays the device's "/".
//
// Directories are opened by descriptor from the root and without following links (openat2(2), or one
// component at a time where the kernel refuses that call), so whatever is renamed or replaced meanwhile, a
// walk cannot be led out of the root. Paths longer than PATH_MAX are walked in pieces.
#pragma once

#include "platform/Device.h"
#include "platform/SystemCalls.h"
#include "platform/UniqueFd.h"

#include <absl/container/flat_hash_map.h>

#include <atomic>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace slicewise {

/// Where a path leads to, whether or not all of it exists.
struct ResolvedPath {
    std::string path;   ///< see PathResolver
    bool exists = true; ///< false: a component is missing
};

class HostDevice final : public Device {
public:
    /// hostRoot: an existing directory that may be read, links followed. ENOENT, ENOTDIR, EACCES, ...
    /// otherwise. The calls must outlive the device; null means the real ones.
    static Result<std::unique_ptr<HostDevice>> open(const std::string &hostRoot,
                                                    const SystemCalls *calls = nullptr);

    [[nodiscard]] std::unique_ptr<DirectoryReader> makeReader() const override;
    [[nodiscard]] Result<FileStatus> status(std::string_view path) const override;
    [[nodiscard]] Result<std::string> resolve(std::string_view path) const override;
    [[nodiscard]] Result<FileSystem> fileSystem(std::string_view path) const override;
    [[nodiscard]] std::vector<Mount> mounts() const override;
    [[nodiscard]] Result<std::unique_ptr<ReadableFile>> openFile(std::string_view path) const override;
    [[nodiscard]] Result<std::vector<std::string>> entryNames(std::string_view path) const override;
    [[nodiscard]] Result<std::string> hostPath(std::string_view path) const override;
    [[nodiscard]] Result<std::string> followedOnHost(std::string_view path) const override;
    [[nodiscard]] std::unique_ptr<PathResolver> makeResolver() const override;
    [[nodiscard]] std::unique_ptr<Remover> makeRemover() override;

    /// Passing through a directory, or asking about it, needs no right to read it.
    enum class OpenFor : std::uint8_t { Reading, Passing };
    /// Opens a directory by its device path without following any link, from `start` (a descriptor) with the
    /// rest of the path, or from the root. EINVAL where ".." is in it: no walk makes such a path, and it
    /// could lead out. For the reader and the device itself.
    [[nodiscard]] Result<UniqueFd> openDirectory(std::string_view relativePath, int start,
                                                 OpenFor purpose) const;
    [[nodiscard]] int rootDescriptor() const { return m_root.get(); }
    [[nodiscard]] const SystemCalls &calls() const { return *m_calls; }
    static constexpr int kMostLinks = 40; ///< that a path may lead through, as path_resolution(7) has it
    /// The names in a directory without links in its path of what is a link, or of unknown type. ENOSYS where
    /// the platform can't tell. For the resolver.
    [[nodiscard]] Result<std::vector<std::string>> linksIn(const std::string &path) const;
    /// As resolve(), a missing component being no failure; for the resolver.
    [[nodiscard]] Result<ResolvedPath> resolveAsFarAsItExists(std::string_view path) const;
    /// What lies behind an open descriptor; `device` is its st_dev.
    [[nodiscard]] FileSystem fileSystemOfOpen(int descriptor, std::uint64_t device) const;

private:
    struct Resolved {
        std::string path;      ///< device path without links
        UniqueFd parent;       ///< the directory that the last component lies in
        std::string component; ///< the last component; "." for the root
    };

    HostDevice(UniqueFd root, std::string canonicalRoot, const SystemCalls *calls);
    /// Where a component is missing, `asFarAsItExists` becomes the path so far with the rest behind it.
    [[nodiscard]] Result<Resolved> follow(std::string_view path,
                                          ResolvedPath *asFarAsItExists = nullptr) const;
    [[nodiscard]] Result<UniqueFd> openOneByOne(std::string_view relativePath, int start,
                                                OpenFor purpose) const;
    void readMountTable();

    UniqueFd m_root;
    std::string m_canonicalRoot; ///< on the host
    const SystemCalls *m_calls;
    mutable std::atomic<bool> m_opensInOneCall = true; ///< openat2 has not been refused yet
    struct HostMount {
        std::string devicePath;
        std::string type;
        FileSystemKind kind;
    };
    std::vector<HostMount> m_mounts;                                   ///< below the root
    absl::flat_hash_map<std::uint64_t, FileSystemKind> m_kindOfDevice; ///< by st_dev
};

} // namespace slicewise
