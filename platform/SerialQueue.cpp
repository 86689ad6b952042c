#include "platform/SerialQueue.h"

#include <pthread.h>

#include <utility>

namespace slicewise {

SerialQueue::SerialQueue(std::string label) : m_label(std::move(label)), m_thread([this] { run(); })
{
#if defined(__linux__)
    static_cast<void>(::pthread_setname_np(m_thread.native_handle(), m_label.substr(0, 15).c_str()));
#endif
}

SerialQueue::~SerialQueue()
{
    {
        const std::lock_guard lock(m_mutex);
        m_ending = true;
    }
    m_workCame.notify_one();
    m_thread.join();
}

void SerialQueue::async(Work work)
{
    {
        const std::lock_guard lock(m_mutex);
        m_waiting.push_back(std::move(work));
    }
    m_workCame.notify_one();
}

void SerialQueue::sync(Work work)
{
    std::mutex mutex;
    std::condition_variable condition;
    bool done = false;
    async([&] {
        work();
        // Notified under the lock: the waiting thread owns all three and may be gone right after it.
        const std::lock_guard lock(mutex);
        done = true;
        condition.notify_one();
    });
    std::unique_lock lock(mutex);
    condition.wait(lock, [&] { return done; });
}

void SerialQueue::waitUntilFewerThan(std::size_t count)
{
    std::unique_lock lock(m_mutex);
    m_workDone.wait(lock, [&] { return m_waiting.size() + (m_busy ? 1U : 0U) < count; });
}

void SerialQueue::run()
{
    std::unique_lock lock(m_mutex);
    while (true) {
        m_workCame.wait(lock, [this] { return !m_waiting.empty() || m_ending; });
        if (m_waiting.empty()) {
            return;
        }
        Work work = std::move(m_waiting.front());
        m_waiting.pop_front();
        m_busy = true;
        lock.unlock();
        work();
        work = nullptr; // what the work holds goes before anyone is told that it is done
        lock.lock();
        m_busy = false;
        m_workDone.notify_all();
    }
}

} // namespace slicewise
