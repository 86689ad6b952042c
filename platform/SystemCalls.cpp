#include "platform/SystemCalls.h"

#include <unistd.h>

#include <cerrno>

#if defined(__linux__)
#include <dirent.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <sys/vfs.h>
#else
#include <sys/mount.h>
#include <sys/param.h>
#endif

namespace slicewise {

namespace {

#if defined(__linux__)
// glibc has no wrapper for it.
int openBy(int directory, const char *path, int flags, std::uint64_t resolve)
{
    open_how how{};
    how.flags = static_cast<unsigned>(flags);
    how.resolve = resolve;
    return static_cast<int>(::syscall(SYS_openat2, directory, path, &how, sizeof how));
}
#else
int refuse()
{
    errno = ENOSYS;
    return -1;
}
#endif

} // namespace

int SystemCalls::openWithoutLinks([[maybe_unused]] int directory, [[maybe_unused]] const char *path,
                                  [[maybe_unused]] int flags) const
{
#if defined(__linux__)
    return openBy(directory, path, flags, RESOLVE_NO_SYMLINKS);
#else
    return refuse();
#endif
}

int SystemCalls::openBeneath([[maybe_unused]] int directory, [[maybe_unused]] const char *path,
                             [[maybe_unused]] int flags) const
{
#if defined(__linux__)
    return openBy(directory, path, flags, RESOLVE_NO_SYMLINKS | RESOLVE_NO_XDEV | RESOLVE_BENEATH);
#else
    return refuse();
#endif
}

int SystemCalls::openAt(int directory, const char *path, int flags) const
{
    return ::openat(directory, path, flags);
}

int SystemCalls::statAt(int directory, const char *path, struct stat *status, int flags) const
{
    return ::fstatat(directory, path, status, flags);
}

int SystemCalls::statOpen(int descriptor, struct stat *status) const
{
    return ::fstat(descriptor, status);
}

int SystemCalls::mountOf([[maybe_unused]] int descriptor, [[maybe_unused]] std::uint64_t *mount) const
{
#if defined(__linux__)
    struct statx status = {};
    if (::statx(descriptor, "", AT_EMPTY_PATH, STATX_MNT_ID, &status) == 0 &&
        (status.stx_mask & STATX_MNT_ID) != 0) {
        *mount = status.stx_mnt_id;
        return 0;
    }
    // Kernels before 5.8 tell it beside a file handle, which there is no room for and no need of.
    struct file_handle handle = {};
    int number = 0;
    if (::name_to_handle_at(descriptor, "", &handle, &number, AT_EMPTY_PATH) == 0 || errno == EOVERFLOW) {
        *mount = static_cast<std::uint64_t>(number);
        return 0;
    }
    if (errno == EOPNOTSUPP || errno == EPERM) { // a file system without handles; a sandbox
        errno = ENOSYS;
    }
    return -1;
#else
    return refuse();
#endif
}

int SystemCalls::fileSystemOf(int descriptor, FileSystemFacts *facts) const
{
    struct statfs raw = {};
    if (::fstatfs(descriptor, &raw) != 0) {
        return -1;
    }
#if defined(__linux__)
    const auto fragmentSize = raw.f_frsize != 0 ? raw.f_frsize : raw.f_bsize;
    facts->type = static_cast<std::uint32_t>(raw.f_type);
    const auto &words = raw.f_fsid.__val;
    facts->id = (static_cast<std::uint64_t>(static_cast<std::uint32_t>(words[0])) << 32U) |
                static_cast<std::uint32_t>(words[1]);
#else
    const auto fragmentSize = raw.f_bsize;
    facts->type = 0;
    facts->id = static_cast<std::uint32_t>(raw.f_fsid.val[0]);
#endif
    facts->capacityBytes =
        static_cast<std::uint64_t>(raw.f_blocks) * static_cast<std::uint64_t>(fragmentSize);
    return 0;
}

ssize_t SystemCalls::readLinkAt(int directory, const char *path, std::span<char> target) const
{
    return ::readlinkat(directory, path, target.data(), target.size());
}

ssize_t SystemCalls::readAt(int file, std::span<std::byte> into, std::uint64_t offset) const
{
    return ::pread(file, into.data(), into.size(), static_cast<::off_t>(offset));
}

int SystemCalls::lockRange(int file, short type, std::uint64_t offset, std::uint64_t length) const
{
    struct flock range = {};
    range.l_type = type;
    range.l_whence = SEEK_SET;
    range.l_start = static_cast<::off_t>(offset);
    range.l_len = static_cast<::off_t>(length);
    return ::fcntl(file, F_SETLK, &range); // NOLINT(cppcoreguidelines-pro-type-vararg): its only form
}

ssize_t SystemCalls::readEntries([[maybe_unused]] int directory,
                                 [[maybe_unused]] std::span<std::byte> records) const
{
#if defined(__linux__)
    return ::getdents64(directory, records.data(), records.size());
#else
    return refuse();
#endif
}

int SystemCalls::unlinkAt(int directory, const char *path, int flags) const
{
    return ::unlinkat(directory, path, flags);
}

} // namespace slicewise
