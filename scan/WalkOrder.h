// The directories of a walk that are known and not yet handed out, in the order in which the walk needs them.
//
// The order is that of a stack: what was found last comes next. It is kept as a list into which a
// directory's subdirectories go right behind it, whenever it is that they become known. A second list, the
// frontier, has only those that are not completely read, in the same order, so that the first one that
// nobody has begun is found in as many steps as there are readers.
//
// Guarded by the walk's lock; a directory that is being read belongs to its reader, but for what the order
// keeps in it.
#pragma once

#include "platform/Device.h"
#include "scan/PathTable.h"
#include "scan/ScanReport.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace slicewise {

/// What is known of a directory from when it is begun until it has been handed out.
struct DirectoryReading {
    std::string text; ///< full path
    bool byCaller = false;
    bool opened = false;
    bool isGate = false; ///< whether it is entered is decided when its turn comes
    int error = 0;       ///< errno
    FileIdentity identity;
    std::optional<FileSystem> fileSystem; ///< where it is not that of the directory above
    std::optional<NotEntered> refused;
    std::size_t entries = 0;                       ///< read so far
    EntryChunk subdirectories;                     ///< names only
    std::vector<std::unique_ptr<EntryChunk>> held; ///< read, and still the reader's

    // With the lock:
    std::vector<std::unique_ptr<EntryChunk>> ready;
    bool started = false; ///< its first part has been handed out
    bool gateEntered = false;
};

struct WalkedDirectory {
    enum class State : std::uint8_t { Waiting, Reading, Complete };

    const PathNode *path = nullptr;
    std::uint64_t deviceAbove = 0; ///< st_dev of the directory above
    State state = State::Waiting;
    std::unique_ptr<DirectoryReading> reading; ///< null while it waits

private:
    friend class WalkOrder;
    WalkedDirectory *m_next = nullptr; ///< in walk order; in the free list while unused
    WalkedDirectory *m_frontierPrevious = nullptr;
    WalkedDirectory *m_frontierNext = nullptr;
};

class WalkOrder {
public:
    WalkOrder(const PathNode *root, std::uint64_t deviceAbove);
    WalkOrder(const WalkOrder &) = delete;
    WalkOrder &operator=(const WalkOrder &) = delete;
    ~WalkOrder() = default;

    /// What the walk needs next; null at its end.
    [[nodiscard]] WalkedDirectory *head() const { return m_head; }
    /// The first that nobody has begun; null where there is none.
    [[nodiscard]] WalkedDirectory *firstWaiting() const;

    void begin(WalkedDirectory &directory);
    /// It is completely read. Its subdirectories take its place, the one listed last first.
    void completeAndExpand(WalkedDirectory &directory, PathTable &paths);
    /// It is completely read; whether its subdirectories belong to the walk is not known yet.
    void completeAsGate(WalkedDirectory &directory);
    /// The gate, which is the head, is entered after all.
    void expandGate(PathTable &paths);
    /// The head, completely read, has been handed out.
    void dropHead();

private:
    void expand(WalkedDirectory &directory, WalkedDirectory *before, PathTable &paths);
    WalkedDirectory *make(const PathNode *path, std::uint64_t deviceAbove);
    void insertIntoFrontier(WalkedDirectory &directory, WalkedDirectory *before);
    void removeFromFrontier(WalkedDirectory &directory);

    std::deque<WalkedDirectory> m_all; ///< as many as were ever needed at once
    WalkedDirectory *m_free = nullptr;
    WalkedDirectory *m_head = nullptr;
    WalkedDirectory *m_frontierFirst = nullptr;
    std::vector<std::unique_ptr<DirectoryReading>> m_spareReadings;
};

} // namespace slicewise
