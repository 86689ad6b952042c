// Reads for one preview, so that the GUI thread never waits for a disk.
//
// The last thing asked for is done first: who scrolls wants to see where he is, not where he was. Of what
// waits only the newest is kept.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace slicewise {

class ReadingThread {
public:
    using Work = std::function<void()>;
    static constexpr std::size_t kMostWaiting = 256;

    ReadingThread();
    ReadingThread(const ReadingThread &) = delete;
    ReadingThread &operator=(const ReadingThread &) = delete;
    /// Ends it, and waits for the piece of work that has begun.
    ~ReadingThread();

    /// `dropped` runs on the asking thread instead of the work where that became too old to be done.
    void ask(Work work, Work dropped = {});

    /// Forgets what waits, and what is asked from now on. Waits for nothing.
    void end();
    /// It has been ended, and the piece of work that had begun is done.
    [[nodiscard]] bool hasEnded() const;

private:
    struct Entry {
        Work work;
        Work dropped;
    };
    void run();

    mutable std::mutex m_mutex;
    std::condition_variable m_workCame;
    std::deque<Entry> m_waiting; ///< the newest last
    bool m_ending = false;
    bool m_hasEnded = false;
    std::thread m_thread;
};

/// Where the threads of previews that were closed come to their ends. A read from a disk that hangs may take
/// for ever, and closing a preview must not.
///
/// One thread uses it. The destructor waits for all of them.
class EndingThreads {
public:
    void take(std::unique_ptr<ReadingThread> thread);
    /// How many have not been seen to end.
    [[nodiscard]] std::size_t count() const { return m_threads.size(); }

private:
    std::vector<std::unique_ptr<ReadingThread>> m_threads;
};

} // namespace slicewise
