#include "preview/ReadingThread.h"

#include <utility>

namespace slicewise {

ReadingThread::ReadingThread() : m_thread([this] { run(); }) {}

ReadingThread::~ReadingThread()
{
    ReadingThread::end();
    m_thread.join();
}

void ReadingThread::end()
{
    std::deque<Entry> forgotten; // what it owns may take a while to go
    {
        const std::lock_guard lock(m_mutex);
        m_ending = true;
        forgotten.swap(m_waiting);
    }
    m_workCame.notify_one();
}

bool ReadingThread::hasEnded() const
{
    const std::lock_guard lock(m_mutex);
    return m_hasEnded;
}

void ReadingThread::ask(Work work, Work dropped)
{
    Work tooOld;
    {
        const std::lock_guard lock(m_mutex);
        if (m_ending) {
            return;
        }
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
            m_hasEnded = true;
            return;
        }
        Work work = std::move(m_waiting.back().work);
        m_waiting.pop_back();
        lock.unlock();
        work();
        work = {};
        lock.lock();
    }
}

} // namespace slicewise
