// A queue whose work runs one piece at a time, in the order of submission, on one thread of its own.
//
// async() and sync() may be called from any thread but the queue's own (sync() from there would wait for
// itself). Work that throws ends the process: whoever submits it catches what it expects. The destructor
// runs what is still queued, then ends the thread.
#pragma once

#include <absl/functional/any_invocable.h>

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

namespace slicewise {

class SerialQueue {
public:
    using Work = absl::AnyInvocable<void()>;

    /// The label names the thread in debuggers and in /proc; its first 15 bytes are what Linux keeps.
    explicit SerialQueue(std::string label);
    SerialQueue(const SerialQueue &) = delete;
    SerialQueue &operator=(const SerialQueue &) = delete;
    ~SerialQueue();

    [[nodiscard]] const std::string &label() const { return m_label; }

    /// Queues the work and returns at once.
    void async(Work work);
    /// Queues the work and waits until it, and so all work before it, has run.
    void sync(Work work);
    /// Waits until fewer than `count` pieces are queued or running, so that a fast producer can't run away.
    void waitUntilFewerThan(std::size_t count);

private:
    void run();

    std::string m_label;
    std::mutex m_mutex;
    std::condition_variable m_workCame;
    std::condition_variable m_workDone;
    std::deque<Work> m_waiting;
    bool m_busy = false;
    bool m_ending = false;
    std::thread m_thread;
};

} // namespace slicewise
