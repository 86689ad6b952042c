// Walks a file system with several reading threads and hands the result over in the one order of a simple
// loop: take the directory found last, list it, note its subdirectories, go on.
//
// A pool of threads opens, lists and stats directories ahead of the walk, those first that the walk needs
// first, and no more than a bounded amount ahead. The thread that calls next() gets the directories in walk
// order, whatever the readers' timing was, and reads one itself where it would otherwise wait. A directory
// may come in several parts, one right after the other.
//
// Everything is private to the walk but the path table, which belongs to the tree; the walk alone adds to
// it until it is destroyed. The destructor stops the readers and waits for them.
#pragma once

#include "platform/Device.h"
#include "scan/ChunkPool.h"
#include "scan/MountPolicy.h"
#include "scan/PathTable.h"
#include "scan/ScanReport.h"
#include "scan/WalkOrder.h"

#include <absl/container/flat_hash_set.h>

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace slicewise {

class DirectoryWalk {
public:
    struct Options {
        FileSystemScope scope = FileSystemScope::AllLocal;
        unsigned readers = 2;                    ///< threads beside the caller's; 0 reads on that one alone
        const std::atomic<bool> *stop = nullptr; ///< borrowed; checked at every directory and stretch
    };

    /// A stretch of one directory's entries.
    struct Part {
        const PathNode *path = nullptr;
        std::string text;                  ///< of the path; only in a directory's first part
        std::unique_ptr<EntryChunk> chunk; ///< may be null; give it back to pool()
        bool startsDirectory = false;
    };

    /// Device, table and pool are borrowed.
    DirectoryWalk(const Device &device, const std::string &rootPath, PathTable &paths, ChunkPool &pool,
                  const Options &options);
    DirectoryWalk(const DirectoryWalk &) = delete;
    DirectoryWalk &operator=(const DirectoryWalk &) = delete;
    ~DirectoryWalk();

    /// Lets the readers go on while the caller has other work to do before its first next(): several times as
    /// far ahead as otherwise, which costs memory.
    void letReadersRunAhead();

    /// Replaces `parts` by what comes next, waiting for it; false at the end. Always the same thread.
    bool next(std::vector<Part> &parts);

    /// What there is to tell of the parts handed out so far: failures, file systems, counts of directories.
    /// The number of files is left at 0. For the thread that calls next().
    [[nodiscard]] ScanReport &report() { return m_report; }

private:
    using State = WalkedDirectory::State;

    /// Steady readers are as many as there are cores; helpers join while the disk keeps those waiting.
    enum class Role : std::uint8_t { Steady, Helper };

    void readAhead(Role role);
    void readDirectory(DirectoryReader &reader, WalkedDirectory &directory);
    void openDirectory(DirectoryReader &reader, WalkedDirectory &directory);
    bool readStretches(DirectoryReader &reader, WalkedDirectory &directory);
    void leaveOutDotFile(std::unique_ptr<EntryChunk> &chunk);
    void publishStretches(WalkedDirectory &directory);
    [[nodiscard]] bool stopped() const { return m_stop->load(std::memory_order_relaxed) || m_ending; }

    // With m_mutex held:
    [[nodiscard]] WalkedDirectory *claimNext();
    void claim(WalkedDirectory &directory);
    void makeReady(WalkedDirectory &directory);
    void complete(WalkedDirectory &directory);
    [[nodiscard]] bool farEnoughAhead() const;
    [[nodiscard]] bool headCanBeTaken() const;
    [[nodiscard]] bool worthWaking() const;
    void readHeadHere(std::unique_lock<std::mutex> &lock);
    void takeReady(std::vector<Part> &parts);
    bool takeHead(std::vector<Part> &parts);
    void enterGate(DirectoryReading &reading);
    void endHead();
    void noteFileSystem(const DirectoryReading &reading);

    const Device &m_device;
    const MountPolicy m_policy;
    PathTable &m_paths;
    ChunkPool &m_pool;
    const std::atomic<bool> *m_stop;
    std::atomic<bool> m_ending = false;
    std::atomic<bool> m_cutShort = false; ///< a directory was not read to its end, because of a stop
    std::atomic<bool> m_never = false;    ///< what m_stop points to where nobody else stops the walk

    std::mutex m_mutex;
    std::condition_variable m_workCame; ///< for readers
    std::condition_variable m_partCame; ///< for next()
    WalkOrder m_order;
    std::size_t m_readingCount = 0;
    std::size_t m_idleReaders = 0;        ///< without a directory
    std::size_t m_blockedReaders = 0;     ///< in the middle of one
    bool m_resting = false;               ///< the readers are far enough ahead
    std::condition_variable m_helpWanted; ///< for helpers
    unsigned m_helpersAtRest = 0;
    unsigned m_callsForHelp = 0;
    bool m_callerWaits = false;
    std::size_t m_farAhead = 1;     ///< how many times the usual distance the readers may be ahead
    std::size_t m_aheadEntries = 0; ///< read and not handed out
    std::size_t m_aheadDirectories = 0;

    FileIdentity m_rootIdentity;
    std::unique_ptr<DirectoryReader> m_callersReader;
    absl::flat_hash_set<FileIdentity> m_seenTops;
    ScanReport m_report;
    std::vector<std::thread> m_threads;
};

} // namespace slicewise
