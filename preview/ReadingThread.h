// Reads for one preview, so that the GUI thread never waits for a disk.
//
// The last thing asked for is done first: who scrolls wants to see where he is, not where he was. Of what
// waits only the newest is kept. The destructor forgets what waits and ends the thread, which takes as long
// as the one piece of work that has begun.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace slicewise {

class ReadingThread {
public:
    using Work = std::function<void()>;
    static constexpr std::size_t kMostWaiting = 256;

    ReadingThread();
    ReadingThread(const ReadingThread &) = delete;
    ReadingThread &operator=(const ReadingThread &) = delete;
    ~ReadingThread();

    /// `dropped` runs on the asking thread instead of the work where that became too old to be done.
    void ask(Work work, Work dropped = {});

private:
    struct Entry {
        Work work;
        Work dropped;
    };
    void run();

    std::mutex m_mutex;
    std::condition_variable m_workCame;
    std::deque<Entry> m_waiting; ///< the newest last
    bool m_ending = false;
    std::thread m_thread;
};

} // namespace slicewise
