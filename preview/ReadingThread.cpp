#include "preview/ReadingThread.h"

#include <utility>

namespace slicewise {

ReadingThread::ReadingThread() : m_thread([this] { run(); }) {}

ReadingThread::~ReadingThread()
{
    {
        const std::lock_guard lock(m_mutex);
        m_ending = true;
        m_waiting.clear();
    }
    m_workCame.notify_one();
    m_thread.join();
}

void ReadingThread::ask(Work work, Work dropped)
{
    Work tooOld;
    {
        const std::lock_guard lock(m_mutex);
        m_waiting.push_back({.work = std::move(work), .dropped = std::move(dropped)});
        if (m_waiting.size() > kMostWaiting) {
            tooOld = std::move(m_waiting.front().dropped);
            m_waiting.pop_front();
        }
    }
    m_workCame.notify_one();
    if (tooOld) {
        tooOld();
    }
}

void ReadingThread::run()
{
    std::unique_lock lock(m_mutex);
    while (true) {
        m_workCame.wait(lock, [this] { return m_ending || !m_waiting.empty(); });
        if (m_ending) {
            return;
        }
        const Work work = std::move(m_waiting.back().work);
        m_waiting.pop_back();
        lock.unlock();
        work();
        lock.lock();
    }
}

} // namespace slicewise
