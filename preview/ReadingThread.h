// Reads for one preview, so that the GUI thread never waits for a disk.
//
// The last thing asked for is done first: who scrolls wants to see where he is, not where he was. Of what
// waits only the newest is kept.
#pragma once

#include "preview/EndingThreads.h"

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace slicewise {

class ReadingThread final : public EndingThread {
public:
    using Work = std::function<void()>;
    static constexpr std::size_t kMostWaiting = 256;

    ReadingThread();
    ReadingThread(const ReadingThread &) = delete;
    ReadingThread &operator=(const ReadingThread &) = delete;
    /// Ends it, and waits for the piece of work that has begun.
    ~ReadingThread() override;

    /// `dropped` runs on the asking thread instead of the work where that became too old to be done.
    void ask(Work work, Work dropped = {});

    /// Forgets what waits, and what is asked from now on.
    void end() override;
    [[nodiscard]] bool hasEnded() const override;

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

} // namespace slicewise
