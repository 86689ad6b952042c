// One file of a database as SQLite has it open: a device's file that SQLite believes it can write.
//
// Nothing is written. What changes the database itself is kept in memory, and later reads see it: SQLite
// rolls a crashed transaction back that way. All functions answer SQLite's codes. One thread at a time.
#pragma once

#include "platform/Device.h"

#include <absl/container/flat_hash_map.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>

namespace slicewise {

class DatabaseFile {
public:
    DatabaseFile() = default;
    DatabaseFile(const DatabaseFile &) = delete;
    DatabaseFile &operator=(const DatabaseFile &) = delete;
    virtual ~DatabaseFile() = default;

    /// What lies behind the end is filled with zeros, and said to be missing.
    virtual int read(std::span<std::byte> into, std::uint64_t offset) = 0;
    virtual int write(std::span<const std::byte> from, std::uint64_t offset) = 0;
    virtual int truncate(std::uint64_t sizeBytes) = 0;
    virtual int size(std::int64_t *sizeBytes) = 0;

    /// Levels as SQLite numbers them. Nothing is waited for: SQLITE_BUSY.
    virtual int lock(int level);
    virtual int unlock(int level);
    /// Whether another process is about to write.
    virtual int checkReserved(bool *isReserved);
};

/// The database itself.
class MainDatabaseFile final : public DatabaseFile {
public:
    /// SQLite's code, and whether the journal beside the database has something to roll back.
    using AskJournal = std::function<int(bool *isHot)>;

    MainDatabaseFile(std::unique_ptr<ReadableFile> file, AskJournal askJournal);

    int read(std::span<std::byte> into, std::uint64_t offset) override;
    int write(std::span<const std::byte> from, std::uint64_t offset) override;
    int truncate(std::uint64_t sizeBytes) override;
    int size(std::int64_t *sizeBytes) override;
    int lock(int level) override;
    int unlock(int level) override;
    int checkReserved(bool *isReserved) override;

private:
    // Pages are powers of two from 512 on, and SQLite writes whole pages.
    static constexpr std::size_t kBlockBytes = 512;
    // A crashed transaction that changed more than this is not rolled back, so the database is not read.
    static constexpr std::size_t kMostBlocks = (std::size_t{40} << 20U) / kBlockBytes;

    struct Changes {
        std::uint64_t sizeBytes = 0;
        std::uint64_t ofDevice = 0; ///< so many bytes of the device's file are still part of it
        absl::flat_hash_map<std::uint64_t, std::array<std::byte, kBlockBytes>> blocks = {};
    };
    /// Null where the device can't tell the size.
    Changes *changes();
    int readFromDevice(std::span<std::byte> into, std::uint64_t offset);

    std::unique_ptr<ReadableFile> m_file;
    AskJournal m_askJournal;
    std::optional<Changes> m_changes; ///< absent until something is written
    int m_level = 0;                  ///< SQLite's for no lock
};

/// A write-ahead log or a journal.
class SideDatabaseFile final : public DatabaseFile {
public:
    enum class Writes : std::uint8_t {
        Refused,
        Dropped, ///< for a journal: all that is written is that its transaction has been rolled back
    };

    /// No file: an empty one, which exists for SQLite alone.
    SideDatabaseFile(std::unique_ptr<ReadableFile> file, Writes writes);

    /// Keeps another file open, for the locks on it, as long as this one.
    void keepOpen(std::unique_ptr<ReadableFile> locked) { m_locked = std::move(locked); }

    int read(std::span<std::byte> into, std::uint64_t offset) override;
    int write(std::span<const std::byte> from, std::uint64_t offset) override;
    int truncate(std::uint64_t sizeBytes) override;
    int size(std::int64_t *sizeBytes) override;

private:
    std::unique_ptr<ReadableFile> m_file;
    std::unique_ptr<ReadableFile> m_locked;
    Writes m_writes;
};

} // namespace slicewise
