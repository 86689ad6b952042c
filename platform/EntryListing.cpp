#include "platform/EntryListing.h"

#include <fcntl.h>

#include <cerrno>
#include <utility>

namespace slicewise {

namespace {

constexpr std::size_t kRecordBytes = std::size_t{32} * 1024;

bool isDots(const char *name)
{
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

EntryListing::Kind kindOf(unsigned char type)
{
    switch (type) {
    case DT_DIR:
        return EntryListing::Kind::Directory;
    case DT_UNKNOWN:
        return EntryListing::Kind::Unknown;
    default:
        return EntryListing::Kind::Other;
    }
}

} // namespace

void EntryListing::begin(UniqueFd directory)
{
    close();
    m_directory = std::move(directory);
}

void EntryListing::close()
{
    m_stream.reset();
    m_directory.reset();
    m_at = 0;
    m_end = 0;
}

Result<EntryListing::Entry> EntryListing::next()
{
#if defined(__linux__)
    m_records.resize(kRecordBytes);
    while (!m_stream) {
        while (m_at < m_end) {
            // The kernel aligns each record for this very cast.
            const auto *record = reinterpret_cast<const dirent64 *>(m_records.data() + m_at);
            m_at += record->d_reclen;
            if (!isDots(record->d_name)) {
                return Entry{.name = record->d_name, .kind = kindOf(record->d_type)};
            }
        }
        const ssize_t length = m_calls->readEntries(m_directory.get(), m_records);
        if (length == 0) {
            return Entry{};
        }
        if (length > 0) {
            m_at = 0;
            m_end = static_cast<std::size_t>(length);
        } else if (errno == ENOENT) {
            return Entry{}; // the directory itself has been removed: nothing can be in it
        } else if (errno == ENOSYS) {
            break;
        } else if (errno != EINTR) {
            return ErrorNumber{errno};
        }
    }
#endif
    return nextByStream();
}

Result<EntryListing::Entry> EntryListing::nextByStream()
{
    if (!m_stream) {
        UniqueFd own(m_calls->openAt(m_directory.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (!own) {
            return ErrorNumber{errno};
        }
        m_stream.reset(::fdopendir(own.get()));
        if (!m_stream) {
            return ErrorNumber{errno};
        }
        static_cast<void>(own.release());
    }
    while (true) {
        errno = 0;
        // One stream belongs to one thread.
        const dirent *entry = ::readdir(m_stream.get()); // NOLINT(concurrency-mt-unsafe)
        if (entry == nullptr) {
            return errno == 0 ? Result<Entry>(Entry{}) : Result<Entry>(ErrorNumber{errno});
        }
        if (!isDots(entry->d_name)) {
            return Entry{.name = entry->d_name, .kind = kindOf(entry->d_type)};
        }
    }
}

} // namespace slicewise
