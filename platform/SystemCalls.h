// The system calls that the host device makes, one virtual function each, so that a test can make any of
// them fail at any moment. Each answers as the call does: -1 and errno on failure. All functions may be
// called from several threads at once.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace slicewise {

/// What statfs(2) tells, in one shape on every platform.
struct FileSystemFacts {
    std::uint64_t type = 0; ///< f_type, the magic number; 0 where the platform has none
    std::uint64_t id = 0;   ///< f_fsid
    std::uint64_t capacityBytes = 0;
};

class SystemCalls {
public:
    SystemCalls() = default;
    SystemCalls(const SystemCalls &) = delete;
    SystemCalls &operator=(const SystemCalls &) = delete;
    virtual ~SystemCalls() = default;

    /// openat2(2) with RESOLVE_NO_SYMLINKS; ENOSYS on kernels and platforms without it.
    [[nodiscard]] virtual int openWithoutLinks(int directory, const char *path, int flags) const;
    /// The same, and neither through a mount point (EXDEV) nor out of the directory.
    [[nodiscard]] virtual int openBeneath(int directory, const char *path, int flags) const;
    [[nodiscard]] virtual int openAt(int directory, const char *path, int flags) const;
    [[nodiscard]] virtual int statAt(int directory, const char *path, struct stat *status, int flags) const;
    [[nodiscard]] virtual int statOpen(int descriptor, struct stat *status) const;
    /// The number of the mount that an open file was reached through; no other has it for as long as the file
    /// is open. ENOSYS on kernels and platforms that do not tell.
    [[nodiscard]] virtual int mountOf(int descriptor, std::uint64_t *mount) const;
    [[nodiscard]] virtual int fileSystemOf(int descriptor, FileSystemFacts *facts) const;
    [[nodiscard]] virtual ssize_t readLinkAt(int directory, const char *path, std::span<char> target) const;
    /// pread(2)
    [[nodiscard]] virtual ssize_t readAt(int file, std::span<std::byte> into, std::uint64_t offset) const;
    /// fcntl(2), F_SETLK: type is F_RDLCK or F_UNLCK.
    [[nodiscard]] virtual int lockRange(int file, short type, std::uint64_t offset,
                                        std::uint64_t length) const;
    /// getdents64(2): linux_dirent64 records; ENOSYS on platforms without it.
    [[nodiscard]] virtual ssize_t readEntries(int directory, std::span<std::byte> records) const;
    [[nodiscard]] virtual int unlinkAt(int directory, const char *path, int flags) const;
};

} // namespace slicewise
