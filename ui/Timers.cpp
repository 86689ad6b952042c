#include "ui/Timers.h"

#include <QTimer>

#include <chrono>
#include <utility>

namespace slicewise {

namespace {

/// A handle may go while its timer fires, and the function that is running has to stay until it has returned.
struct DeleteLater {
    void operator()(QTimer *timer) const
    {
        timer->stop();
        timer->deleteLater();
    }
};

class EventLoopTimer final : public RunningTimer {
public:
    EventLoopTimer(double seconds, Timers::Repeats repeats, std::function<void()> fire)
        : m_timer(std::make_unique<QTimer>().release())
    {
        m_timer->setSingleShot(repeats == Timers::Repeats::No);
        m_timer->setInterval(
            std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::duration<double>(seconds)));
        QObject::connect(m_timer.get(), &QTimer::timeout, m_timer.get(), std::move(fire));
        m_timer->start();
    }

private:
    std::unique_ptr<QTimer, DeleteLater> m_timer;
};

class EventLoopTimers final : public Timers {
public:
    std::unique_ptr<RunningTimer> schedule(double seconds, Repeats repeats,
                                           std::function<void()> fire) override
    {
        return std::make_unique<EventLoopTimer>(seconds, repeats, std::move(fire));
    }
};

} // namespace

std::unique_ptr<Timers> makeEventLoopTimers()
{
    return std::make_unique<EventLoopTimers>();
}

} // namespace slicewise
