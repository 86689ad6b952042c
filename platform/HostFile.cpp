#include "platform/HostFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

namespace slicewise {

Result<std::size_t> HostFile::readAt(std::uint64_t offset, std::span<std::byte> into)
{
    std::size_t done = 0;
    while (done < into.size()) {
        const ssize_t length = m_calls.readAt(m_file.get(), into.subspan(done), offset + done);
        if (length < 0 && errno != EINTR) {
            return ErrorNumber{errno};
        }
        if (length == 0) {
            break;
        }
        done += length > 0 ? static_cast<std::size_t>(length) : 0;
    }
    return done;
}

Result<std::uint64_t> HostFile::sizeBytes() const
{
    struct stat raw = {};
    if (m_calls.statOpen(m_file.get(), &raw) != 0) {
        return ErrorNumber{errno};
    }
    return static_cast<std::uint64_t>(raw.st_size);
}

Result<bool> HostFile::lockShared(std::uint64_t offset, std::uint64_t length)
{
    if (m_calls.lockRange(m_file.get(), F_RDLCK, offset, length) == 0) {
        return true;
    }
    // Of the two answers that mean "somebody else has it" a system picks one. A file system that knows no
    // locks can't be locked by anyone else either.
    switch (errno) {
    case EACCES:
        return ErrorNumber{EAGAIN};
    case ENOLCK:
    case ENOSYS:
    case EOPNOTSUPP:
        return true;
    default:
        return ErrorNumber{errno};
    }
}

void HostFile::unlock(std::uint64_t offset, std::uint64_t length)
{
    // Closing the file would do it as well, so there is nothing to be done where it fails.
    static_cast<void>(m_calls.lockRange(m_file.get(), F_UNLCK, offset, length));
}

Result<FileTimes> HostFile::times() const
{
    struct stat raw = {};
    if (m_calls.statOpen(m_file.get(), &raw) != 0) {
        return ErrorNumber{errno};
    }
    FileTimes times{.modifiedSeconds = raw.st_mtime, .createdSeconds = std::nullopt};
#if defined(__linux__)
    struct statx more = {};
    if (::statx(m_file.get(), "", AT_EMPTY_PATH, STATX_BTIME, &more) == 0 &&
        (more.stx_mask & STATX_BTIME) != 0) {
        times.createdSeconds = more.stx_btime.tv_sec;
    }
#endif
    return times;
}

Result<UniqueFd> HostFile::descriptor() const
{
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-vararg): its only form
    UniqueFd copy(::fcntl(m_file.get(), F_DUPFD_CLOEXEC, 0));
    if (!copy) {
        return ErrorNumber{errno};
    }
    return copy;
}

} // namespace slicewise
