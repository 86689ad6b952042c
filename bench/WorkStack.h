// What the threads of the bare walk share: the directories that wait to be listed, and one stack of them.
//
// All functions of WorkStack may be called from any thread. A Directory belongs to whoever works on it, but
// its number of users, and its name and parent, which never change.
#pragma once

#include "platform/UniqueFd.h"

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <iterator>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace slicewise {

/// A directory that was met. Its descriptor is open from its listing on until nobody uses it any more: the
/// thread that lists it, stretches of its records that wait, subdirectories that wait for being opened.
struct Directory {
    Directory(std::shared_ptr<Directory> above, const char *ownName) : parent(std::move(above)), name(ownName)
    {}
    Directory(const Directory &) = delete;
    Directory &operator=(const Directory &) = delete;
    ~Directory()
    {
        // Link by link: letting a deep chain destroy itself by recursion would take a stack as deep.
        std::shared_ptr<Directory> above = std::move(parent);
        while (above && above.use_count() == 1) {
            std::atomic_thread_fence(std::memory_order_acquire); // after what its other owners did with it
            above = std::exchange(above->parent, nullptr);
        }
    }

    std::shared_ptr<Directory> parent; ///< null for the one that the walk began with
    std::string name;
    UniqueFd descriptor;
    std::atomic<std::size_t> users = 1;
};

/// A directory to list or, where there are records, a stretch of one to look through.
struct Work {
    std::shared_ptr<Directory> directory;
    std::vector<std::byte> records;
};

/// What waits for a thread: the last found goes first, so that few directories wait at any time. Ends when
/// nothing waits and nobody works any more.
class WorkStack {
public:
    void add(Work work)
    {
        const std::lock_guard lock(m_mutex);
        m_stack.push_back(std::move(work));
        m_changed.notify_one();
    }

    /// Nothing at the end of the walk. What it gives has to be finished.
    [[nodiscard]] std::optional<Work> take()
    {
        std::unique_lock lock(m_mutex);
        while (m_stack.empty() && m_busy > 0) {
            ++m_idle;
            m_changed.wait(lock);
            --m_idle;
        }
        if (m_stack.empty()) {
            return std::nullopt;
        }
        std::optional<Work> work = std::move(m_stack.back());
        m_stack.pop_back();
        ++m_busy;
        return work;
    }

    /// A piece of work is done and has led to these, which it takes. One lock for a whole directory.
    void finish(std::vector<Work> &found)
    {
        const std::lock_guard lock(m_mutex);
        --m_busy;
        std::move(found.begin(), found.end(), std::back_inserter(m_stack));
        found.clear();
        // The thread that calls takes one of them itself.
        if (m_idle > 0 && (m_stack.size() > 1 || m_busy == 0)) {
            m_changed.notify_all();
        }
    }

    /// Whether a thread has nothing to do; only a hint.
    [[nodiscard]] bool hasIdleThread() const { return m_idle.load(std::memory_order_relaxed) > 0; }

private:
    std::mutex m_mutex; ///< guards all but the hint
    std::condition_variable m_changed;
    std::vector<Work> m_stack;
    unsigned m_busy = 0;
    std::atomic<unsigned> m_idle = 0;
};

} // namespace slicewise
