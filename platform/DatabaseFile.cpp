#include "platform/DatabaseFile.h"

#include <sqlite3.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <utility>

namespace slicewise {

namespace {

// The bytes of a database that processes lock, as SQLite's file format has them.
constexpr std::uint64_t kPendingByte = 0x4000'0000;
constexpr std::uint64_t kReservedByte = kPendingByte + 1;
constexpr std::uint64_t kSharedFirst = kPendingByte + 2;
constexpr std::uint64_t kSharedBytes = 510;

int readOrZero(ReadableFile &file, std::span<std::byte> into, std::uint64_t offset)
{
    const Result<std::size_t> length = file.readAt(offset, into);
    if (!length) {
        return SQLITE_IOERR_READ;
    }
    const std::span<std::byte> missing = into.subspan(*length);
    std::fill(missing.begin(), missing.end(), std::byte{0});
    return missing.empty() ? SQLITE_OK : SQLITE_IOERR_SHORT_READ;
}

int sizeOf(const ReadableFile &file, std::int64_t *sizeBytes)
{
    const Result<std::uint64_t> bytes = file.sizeBytes();
    constexpr auto kMost = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (!bytes || *bytes > kMost) {
        return SQLITE_IOERR_FSTAT;
    }
    *sizeBytes = static_cast<std::int64_t>(*bytes);
    return SQLITE_OK;
}

int lockRange(ReadableFile &file, std::uint64_t offset, std::uint64_t length)
{
    const Result<bool> locked = file.lockShared(offset, length);
    if (locked) {
        return SQLITE_OK;
    }
    return locked.error() == EAGAIN ? SQLITE_BUSY : SQLITE_IOERR_LOCK;
}

} // namespace

int DatabaseFile::lock(int /*level*/)
{
    return SQLITE_OK;
}

int DatabaseFile::unlock(int /*level*/)
{
    return SQLITE_OK;
}

int DatabaseFile::checkReserved(bool *isReserved)
{
    *isReserved = false;
    return SQLITE_OK;
}

MainDatabaseFile::MainDatabaseFile(std::unique_ptr<ReadableFile> file, AskJournal askJournal)
    : m_file(std::move(file)), m_askJournal(std::move(askJournal))
{}

MainDatabaseFile::Changes *MainDatabaseFile::changes()
{
    if (!m_changes) {
        std::int64_t size = 0;
        if (sizeOf(*m_file, &size) != SQLITE_OK) {
            return nullptr;
        }
        const auto bytes = static_cast<std::uint64_t>(size);
        m_changes = Changes{.sizeBytes = bytes, .ofDevice = bytes};
    }
    return &*m_changes;
}

int MainDatabaseFile::readFromDevice(std::span<std::byte> into, std::uint64_t offset)
{
    const Result<std::size_t> length = m_file->readAt(offset, into);
    // SQLite would take a page whose end is cut off for one that ends in zeros, and its texts for short.
    if (!length || (*length > 0 && *length < into.size())) {
        return SQLITE_IOERR_READ;
    }
    if (*length == into.size()) {
        return SQLITE_OK;
    }
    std::fill(into.begin(), into.end(), std::byte{0});
    return SQLITE_IOERR_SHORT_READ;
}

int MainDatabaseFile::read(std::span<std::byte> into, std::uint64_t offset)
{
    if (!m_changes) {
        return readFromDevice(into, offset);
    }
    const auto lengthBefore = [&](std::uint64_t end) {
        return static_cast<std::size_t>(
            std::min<std::uint64_t>(end > offset ? end - offset : 0, into.size()));
    };
    std::fill(into.begin(), into.end(), std::byte{0});
    if (const std::span<std::byte> ofDevice = into.first(lengthBefore(m_changes->ofDevice));
        !ofDevice.empty() && readFromDevice(ofDevice, offset) == SQLITE_IOERR_READ) {
        return SQLITE_IOERR_READ;
    }
    for (std::size_t at = 0; at < into.size();) {
        const auto inBlock = static_cast<std::size_t>((offset + at) % kBlockBytes);
        const std::size_t length = std::min(into.size() - at, kBlockBytes - inBlock);
        if (const auto block = m_changes->blocks.find((offset + at) / kBlockBytes);
            block != m_changes->blocks.end()) {
            std::memcpy(into.data() + at, block->second.data() + inBlock, length);
        }
        at += length;
    }
    return lengthBefore(m_changes->sizeBytes) == into.size() ? SQLITE_OK : SQLITE_IOERR_SHORT_READ;
}

int MainDatabaseFile::write(std::span<const std::byte> from, std::uint64_t offset)
{
    Changes *changed = changes();
    if (changed == nullptr || offset % kBlockBytes != 0 || from.size() % kBlockBytes != 0) {
        return SQLITE_IOERR_WRITE;
    }
    for (std::size_t at = 0; at < from.size(); at += kBlockBytes) {
        std::memcpy(changed->blocks[(offset + at) / kBlockBytes].data(), from.data() + at, kBlockBytes);
    }
    changed->sizeBytes = std::max(changed->sizeBytes, offset + from.size());
    return changed->blocks.size() <= kMostBlocks ? SQLITE_OK : SQLITE_FULL;
}

int MainDatabaseFile::truncate(std::uint64_t sizeBytes)
{
    Changes *changed = changes();
    if (changed == nullptr || sizeBytes % kBlockBytes != 0) {
        return SQLITE_IOERR_TRUNCATE;
    }
    changed->sizeBytes = sizeBytes;
    changed->ofDevice = std::min(changed->ofDevice, sizeBytes);
    absl::erase_if(changed->blocks,
                   [sizeBytes](const auto &block) { return block.first >= sizeBytes / kBlockBytes; });
    return SQLITE_OK;
}

int MainDatabaseFile::size(std::int64_t *sizeBytes)
{
    if (!m_changes) {
        return sizeOf(*m_file, sizeBytes);
    }
    *sizeBytes = static_cast<std::int64_t>(m_changes->sizeBytes);
    return SQLITE_OK;
}

int MainDatabaseFile::lock(int level)
{
    if (m_level < SQLITE_LOCK_SHARED) {
        // A writer that waits for its readers to leave holds the first of the two, so that no new ones come.
        if (const int code = lockRange(*m_file, kPendingByte, 1); code != SQLITE_OK) {
            return code;
        }
        const int code = lockRange(*m_file, kSharedFirst, kSharedBytes);
        m_file->unlock(kPendingByte, 1);
        if (code != SQLITE_OK) {
            return code;
        }
    }
    // Whatever is more than that is granted in name: nobody else sees what is written.
    m_level = std::max(m_level, level);
    return SQLITE_OK;
}

int MainDatabaseFile::unlock(int level)
{
    if (level < SQLITE_LOCK_SHARED && m_level >= SQLITE_LOCK_SHARED) {
        m_file->unlock(kSharedFirst, kSharedBytes);
    }
    m_level = std::min(m_level, level);
    return SQLITE_OK;
}

int MainDatabaseFile::checkReserved(bool *isReserved)
{
    // SQLite asks whether a journal that it has found belongs to a writer at work, before it rolls it back.
    // Trying the lock could turn away a writer that begins in this moment, so that is done only where there
    // is something to roll back; else "yes" says that there is nothing to be done.
    *isReserved = true;
    bool isHot = false;
    if (const int code = m_askJournal(&isHot); code != SQLITE_OK || !isHot) {
        return code;
    }
    const int code = lockRange(*m_file, kReservedByte, 1);
    if (code == SQLITE_OK) {
        m_file->unlock(kReservedByte, 1);
        *isReserved = false;
    }
    return code == SQLITE_BUSY ? SQLITE_OK : code;
}

SideDatabaseFile::SideDatabaseFile(std::unique_ptr<ReadableFile> file, Writes writes)
    : m_file(std::move(file)), m_writes(writes)
{}

int SideDatabaseFile::read(std::span<std::byte> into, std::uint64_t offset)
{
    if (m_file) {
        return readOrZero(*m_file, into, offset);
    }
    std::fill(into.begin(), into.end(), std::byte{0});
    return into.empty() ? SQLITE_OK : SQLITE_IOERR_SHORT_READ;
}

int SideDatabaseFile::write(std::span<const std::byte> /*from*/, std::uint64_t /*offset*/)
{
    return m_writes == Writes::Dropped ? SQLITE_OK : SQLITE_IOERR_WRITE;
}

int SideDatabaseFile::truncate(std::uint64_t /*sizeBytes*/)
{
    return m_writes == Writes::Dropped ? SQLITE_OK : SQLITE_IOERR_TRUNCATE;
}

int SideDatabaseFile::size(std::int64_t *sizeBytes)
{
    *sizeBytes = 0;
    return m_file ? sizeOf(*m_file, sizeBytes) : SQLITE_OK;
}

} // namespace slicewise
