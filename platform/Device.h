// The one interface through which the engine touches a file system.
//
// All paths are device paths: absolute, "/" being the root that the device was made with, bytes as the file
// system has them. Nothing here ever leaves that root. Every operation may be called from any thread at any
// time; a DirectoryReader belongs to the thread that uses it. Failures are errno values, never exceptions.
#pragma once

#include "platform/EntryChunk.h"
#include "platform/Result.h"
#include "platform/UniqueFd.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace slicewise {

/// What tells one directory from every other, under whatever names it is reached (stat(2): st_dev, st_ino).
struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;

    friend bool operator==(const FileIdentity &, const FileIdentity &) = default;
    template <typename H> friend H AbslHashValue(H state, const FileIdentity &identity)
    {
        return H::combine(std::move(state), identity.device, identity.inode);
    }
};

/// What kind of thing lies behind a mount.
enum class FileSystemKind : std::uint8_t {
    Storage,   ///< a disk, a partition, an image: what an owner means by storage
    Memory,    ///< files that live in main memory (tmpfs, ramfs)
    NoStorage, ///< made up by the kernel or a daemon: proc, sysfs, cgroup and their like
    Network,   ///< somebody else's storage (nfs, cifs, sshfs, ...) or what mounts on touch (autofs)
    View,      ///< other directories' files once more, several joined to one (overlay)
};

struct FileSystem {
    std::uint64_t identity = 0; ///< equal for two directories on one file system
    FileSystemKind kind = FileSystemKind::Storage;
    std::uint64_t capacityBytes = 0; ///< whole size, used or not; 0 where it could not be asked
};

/// A place where another file system, or another part of the same one, is mounted.
struct Mount {
    std::string path; ///< the mount point as a device path
    std::string type; ///< the kernel's name of the type: "ext4", "proc", "fuse.sshfs"
    FileSystemKind kind = FileSystemKind::Storage;
    std::optional<FileIdentity> identity; ///< of its top directory; absent where asking failed, or could hang
};

enum class FileType : std::uint8_t { RegularFile, Directory, Other };

struct FileStatus {
    FileType type = FileType::Other;
    std::uint64_t sizeBytes = 0;
    FileIdentity identity;
};

/// Reads directories one after the other; keeps its buffers and at most a few descriptors between them.
class DirectoryReader {
public:
    DirectoryReader() = default;
    DirectoryReader(const DirectoryReader &) = delete;
    DirectoryReader &operator=(const DirectoryReader &) = delete;
    virtual ~DirectoryReader() = default;

    /// Opens a directory without following a symbolic link in any component below the root, and closes the
    /// one that was open before. The path may be longer than PATH_MAX.
    virtual Result<FileIdentity> open(const std::string &path) = 0;

    /// The file system that the open directory lies on.
    virtual FileSystem fileSystem() = 0;

    enum class Progress : std::uint8_t { More, End };
    /// Replaces the chunk's content by the next stretch of entries, each regular file with its size; the
    /// order is the file system's. A failure ends the directory: entries handed out before it stay good,
    /// and so do those that the chunk holds then.
    virtual Result<Progress> next(EntryChunk &chunk) = 0;
};

/// When a file was changed and made: seconds since the beginning of 1970 in UTC. Absent where it is not told.
struct FileTimes {
    std::optional<std::int64_t> modifiedSeconds;
    std::optional<std::int64_t> createdSeconds;
};

/// A regular file that is open for reading. Any thread may use it, one at a time; closing gives back its
/// locks.
class ReadableFile {
public:
    ReadableFile() = default;
    ReadableFile(const ReadableFile &) = delete;
    ReadableFile &operator=(const ReadableFile &) = delete;
    virtual ~ReadableFile() = default;

    /// As pread(2), but fills the whole of `into` unless the file ends before; the number of bytes read.
    virtual Result<std::size_t> readAt(std::uint64_t offset, std::span<std::byte> into) = 0;
    [[nodiscard]] virtual Result<std::uint64_t> sizeBytes() const = 0;

    /// Keeps other processes from locking the stretch for writing (an advisory lock, fcntl(2)). EAGAIN where
    /// one of them has; nothing is ever waited for. True where there is nothing to lock against.
    virtual Result<bool> lockShared(std::uint64_t offset, std::uint64_t length) = 0;
    virtual void unlock(std::uint64_t offset, std::uint64_t length) = 0;

    // What only some files have; the others say ENOTSUP.

    [[nodiscard]] virtual Result<FileTimes> times() const;
    /// A descriptor of the same open file, to be handed to another process. Closed on exec.
    [[nodiscard]] virtual Result<UniqueFd> descriptor() const;
};

/// Resolves many paths, remembering directories. What it has told of a directory stays true for it, whatever
/// happens on the disk meanwhile. One thread at a time; must not outlive the device.
class PathResolver {
public:
    PathResolver() = default;
    PathResolver(const PathResolver &) = delete;
    PathResolver &operator=(const PathResolver &) = delete;
    virtual ~PathResolver() = default;

    /// As Device::resolve(), a missing component being no failure: without links, "." and ".." as far as the
    /// path exists. The rest is as it was given, a link that leads to nothing included; only of several
    /// slashes, and of those at the end, none is left over. A path that does not begin with "/" is taken as
    /// from the root; nothing stays nothing. ENAMETOOLONG for PATH_MAX bytes and more: what a package
    /// database says is never so long, and each directory of it would be kept.
    virtual Result<std::string> resolve(std::string_view path) = 0;
};

/// Removes things from the disk, for good. One thread at a time; must not outlive the device.
///
/// Whatever happens on the disk meanwhile, nothing goes but what a path names without any symbolic link on
/// the way to it: the directory that holds it is opened from the root without following a link, and the rest
/// is done relative to that directory. Between removals the last such directory stays open, for whatever is
/// named by the same text; where it has been moved, it is still the one that its neighbours are removed from.
class Remover {
public:
    Remover() = default;
    Remover(const Remover &) = delete;
    Remover &operator=(const Remover &) = delete;
    virtual ~Remover() = default;

    /// Removes a file, or a directory with all that is in it, links as links; the number of entries removed.
    ///
    /// Refused, with nothing removed: ELOOP where a component of the path, the last one included, is a link
    /// now; EINVAL for a path with ".." or a null byte in it and for the root; EBUSY for a directory that
    /// something is mounted on. Below a directory, what is mounted there stays, with the directories that
    /// lead to it. After a failure below a directory everything else in it is still removed, and the first
    /// failure is the answer. What somebody else removes from it meanwhile is no failure; that there is
    /// nothing at the path itself is one, ENOENT. ENOTEMPTY where somebody keeps filling a directory. Needs
    /// no memory for what a directory holds; the path and the tree may be of any depth.
    virtual Result<std::uint64_t> remove(std::string_view path) = 0;
};

class Device {
public:
    Device() = default;
    Device(const Device &) = delete;
    Device &operator=(const Device &) = delete;
    virtual ~Device() = default;

    /// The reader must not outlive the device.
    [[nodiscard]] virtual std::unique_ptr<DirectoryReader> makeReader() const = 0;

    /// As stat(2): follows symbolic links, those that point outside taken as from the root.
    [[nodiscard]] virtual Result<FileStatus> status(std::string_view path) const = 0;

    /// As realpath(3): the path without links, "." and "..", never leaving the root.
    [[nodiscard]] virtual Result<std::string> resolve(std::string_view path) const = 0;

    /// The file system that the path lies on, links followed.
    [[nodiscard]] virtual Result<FileSystem> fileSystem(std::string_view path) const = 0;

    /// The mounts below the root, the one on top where several share a place. Empty where the system has no
    /// list of them; a walk then goes by what each directory itself tells.
    [[nodiscard]] virtual std::vector<Mount> mounts() const = 0;

    // What only some devices have; the others say ENOTSUP.

    /// Opens a regular file as status() finds it; EISDIR for a directory, EINVAL for any other thing (a fifo
    /// is not waited for). Reading it does not change its time of access where the system lets us.
    [[nodiscard]] virtual Result<std::unique_ptr<ReadableFile>> openFile(std::string_view path) const;

    /// The names of all entries of a directory, of whatever type, but for "." and "..", in the order in which
    /// the file system lists them. Links in the path are followed.
    [[nodiscard]] virtual Result<std::vector<std::string>> entryNames(std::string_view path) const;

    /// Where a program that is told of it finds the path on the host, links resolved.
    [[nodiscard]] virtual Result<std::string> hostPath(std::string_view path) const;

    /// Where on the host a program ends up that goes to hostPath("/") with the path behind it and knows of no
    /// root: absolute links lead from the host's "/", and ".." leads out. All links are followed, that of the
    /// last component too; from a missing component on the rest is as it was given. ENOENT where ".." is in
    /// that rest; EINVAL for a null byte; ESTALE where the root is no longer found under its path.
    [[nodiscard]] virtual Result<std::string> followedOnHost(std::string_view path) const;

    [[nodiscard]] virtual std::unique_ptr<PathResolver> makeResolver() const;

    /// What changes a device; everything else only reads it, so whoever has a const device can't.
    [[nodiscard]] virtual std::unique_ptr<Remover> makeRemover();
};

/// Puts the components of a relative path behind a path, as they are.
void appendComponents(std::string &path, std::string_view rest);

/// The whole content of a file; EFBIG where there is more than `mostBytes`, whatever the file system said of
/// its size.
[[nodiscard]] Result<std::string> readFile(const Device &device, std::string_view path,
                                           std::size_t mostBytes);

} // namespace slicewise
