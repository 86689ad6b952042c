// How other threads follow a scan, and end it: snapshots of its top level, and a request to stop.
//
// Made by whoever starts the scan and lent to it; it must outlive the scan. snapshot() and requestStop() may
// be called from any thread at any time; publish() is the scan's.
#pragma once

#include "scan/SZANode.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace slicewise {

struct ScanSnapshot {
    struct Category {
        std::string name;
        std::uint64_t sizeBytes = 0;
        std::uint64_t index = 0;
    };
    std::uint64_t sizeBytes = 0; ///< of the root
    std::uint64_t files = 0;
    std::uint64_t directories = 0;    ///< read so far
    std::vector<Category> categories; ///< the root's children in the order in which the scan met them
};

class ScanMonitor {
public:
    ScanMonitor() = default;
    ScanMonitor(const ScanMonitor &) = delete;
    ScanMonitor &operator=(const ScanMonitor &) = delete;
    ~ScanMonitor() = default;

    /// All of one moment: the sizes fit the counts.
    [[nodiscard]] ScanSnapshot snapshot() const;

    /// The scan ends at its next step, with what it has counted by then in the tree.
    void requestStop() { m_stop.store(true, std::memory_order_relaxed); }
    [[nodiscard]] const std::atomic<bool> &stopFlag() const { return m_stop; }

    /// Runs `change`, which changes the tree, while no snapshot is taken; adds to the counts.
    template <typename Change> void publish(const SZANode &root, Change change)
    {
        const std::lock_guard lock(m_mutex);
        const Counts counts = change();
        m_root = &root;
        m_files += counts.files;
        m_directories += counts.directories;
    }
    /// The scan's last word: the tree is its owner's again, and snapshots show its last state.
    void finish();

    struct Counts {
        std::uint64_t files = 0;
        std::uint64_t directories = 0;
    };

private:
    [[nodiscard]] ScanSnapshot taken() const;

    mutable std::mutex m_mutex;
    const SZANode *m_root = nullptr; ///< null before the first file and after the end
    ScanSnapshot m_last;
    std::uint64_t m_files = 0;
    std::uint64_t m_directories = 0;
    std::atomic<bool> m_stop = false;
};

} // namespace slicewise
