#include "platform/HostDirectoryReader.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace slicewise {

namespace {

constexpr std::size_t kRecordBytes = std::size_t{64} * 1024;
constexpr std::size_t kEntriesPerStretch = 1024;
// Below this a path is walked from the root faster than a descriptor is kept for it.
constexpr std::size_t kLongPath = 1024;

#if defined(AT_NO_AUTOMOUNT)
constexpr int kStatFlags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT;
#else
constexpr int kStatFlags = AT_SYMLINK_NOFOLLOW;
#endif

bool isDots(const char *name)
{
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

} // namespace

HostDirectoryReader::HostDirectoryReader(const HostDevice &device) : m_device(device), m_records(kRecordBytes)
{}

HostDirectoryReader::~HostDirectoryReader() = default;

void HostDirectoryReader::closeDirectory()
{
    m_stream.reset();
    m_directory.reset();
}

Result<FileIdentity> HostDirectoryReader::open(const std::string &path)
{
    closeDirectory();
    m_path = path;
    std::string_view relative = path;
    int start = m_device.rootDescriptor();
    if (path.size() > kLongPath && !m_anchorPath.empty() && path.size() > m_anchorPath.size() &&
        path.starts_with(m_anchorPath) && path[m_anchorPath.size()] == '/') {
        relative.remove_prefix(m_anchorPath.size() + 1);
        start = m_anchor.get();
    }
    Result<UniqueFd> opened = m_device.openDirectory(relative, start, HostDevice::OpenFor::Reading);
    if (!opened) {
        return ErrorNumber{opened.error()};
    }
    m_directory = std::move(opened).value();
    struct stat status = {};
    if (m_device.calls().statOpen(m_directory.get(), &status) != 0) {
        const int error = errno;
        closeDirectory();
        return ErrorNumber{error};
    }
    m_identity = {.device = status.st_dev, .inode = status.st_ino};
    if (relative.size() > kLongPath) {
        const int kept = m_device.calls().openAt(m_directory.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (kept >= 0) {
            m_anchor.reset(kept);
            m_anchorPath = path;
        }
    }
    return m_identity;
}

FileSystem HostDirectoryReader::fileSystem()
{
    return m_device.fileSystemOfOpen(m_directory.get(), m_identity.device);
}

HostDirectoryReader::Listed HostDirectoryReader::listedType(unsigned char type)
{
    switch (type) {
    case DT_REG:
        return Listed::RegularFile;
    case DT_DIR:
        return Listed::Directory;
    case DT_UNKNOWN:
        return Listed::Unknown;
    default:
        return Listed::Other;
    }
}

Result<DirectoryReader::Progress> HostDirectoryReader::next(EntryChunk &chunk)
{
    chunk.clear();
#if defined(__linux__)
    if (!m_stream) {
        ssize_t length = 0;
        do {
            length = m_device.calls().readEntries(m_directory.get(), m_records);
        } while (length < 0 && errno == EINTR);
        if (length == 0) {
            closeDirectory();
            return Progress::End;
        }
        if (length > 0) {
            for (std::size_t at = 0; at < static_cast<std::size_t>(length);) {
                // The kernel aligns each record for this very cast.
                const auto *record = reinterpret_cast<const dirent64 *>(m_records.data() + at);
                at += record->d_reclen;
                take(chunk, record->d_name, listedType(record->d_type));
            }
            return Progress::More;
        }
        if (errno != ENOSYS) {
            const int error = errno;
            closeDirectory();
            return ErrorNumber{error};
        }
    }
#endif
    return nextByStream(chunk);
}

Result<DirectoryReader::Progress> HostDirectoryReader::nextByStream(EntryChunk &chunk)
{
    if (!m_stream) {
        const int own = m_device.calls().openAt(m_directory.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (own < 0) {
            return ErrorNumber{errno};
        }
        m_stream.reset(::fdopendir(own));
        if (!m_stream) {
            const int error = errno;
            UniqueFd(own).reset();
            return ErrorNumber{error};
        }
    }
    while (chunk.size() < kEntriesPerStretch) {
        errno = 0;
        // One stream belongs to one thread.
        const dirent *entry = ::readdir(m_stream.get()); // NOLINT(concurrency-mt-unsafe)
        if (entry == nullptr) {
            const int error = errno;
            if (error != 0) {
                closeDirectory();
                return ErrorNumber{error};
            }
            if (!chunk.empty()) {
                return Progress::More; // the next call finds the end again
            }
            closeDirectory();
            return Progress::End;
        }
        take(chunk, entry->d_name, listedType(entry->d_type));
    }
    return Progress::More;
}

void HostDirectoryReader::take(EntryChunk &chunk, const char *name, Listed listed)
{
    switch (listed) {
    case Listed::Directory:
        if (!isDots(name)) {
            chunk.append(name, EntryType::Directory, 0);
        }
        return;
    case Listed::RegularFile:
        takeFile(chunk, name);
        return;
    case Listed::Unknown: {
        struct stat status = {};
        if (isDots(name)) {
            return;
        }
        if (m_device.calls().statAt(m_directory.get(), name, &status, kStatFlags) != 0) {
            // What it is can't be told; a file is the guess that keeps it in the tree.
            chunk.append(name, EntryType::RegularFile, 0);
            chunk.addFailure(chunk.size() - 1, errno);
        } else if (S_ISREG(status.st_mode)) {
            chunk.append(name, EntryType::RegularFile, static_cast<std::uint64_t>(status.st_size));
        } else if (S_ISDIR(status.st_mode)) {
            chunk.append(name, EntryType::Directory, 0);
        }
        return;
    }
    case Listed::Other:
        return;
    }
}

void HostDirectoryReader::takeFile(EntryChunk &chunk, const char *name)
{
    struct stat status = {};
    if (m_device.calls().statAt(m_directory.get(), name, &status, kStatFlags) != 0) {
        const int error = errno;
        chunk.append(name, EntryType::RegularFile, 0);
        chunk.addFailure(chunk.size() - 1, error);
        return;
    }
    if (S_ISREG(status.st_mode)) {
        chunk.append(name, EntryType::RegularFile, static_cast<std::uint64_t>(status.st_size));
        return;
    }
    // It was a file when it was listed and is something else now; its size is what its path gives, links
    // followed, as for any other file.
    const std::string path = (m_path == "/" ? m_path : m_path + "/") + name;
    const Result<FileStatus> followed = m_device.status(path);
    chunk.append(name, EntryType::RegularFile, followed ? followed->sizeBytes : 0);
    if (!followed) {
        chunk.addFailure(chunk.size() - 1, followed.error());
    }
}

} // namespace slicewise
