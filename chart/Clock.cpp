#include "chart/Clock.h"

#include <QAbstractAnimation>
#include <QElapsedTimer>

#include <utility>

namespace slicewise {

namespace {

/// A screen's frames come a little early or late; one that is early by less is not left out.
constexpr double kToleranceSeconds = 0.002;

/// Qt runs its animations by the frames of the window that is being drawn, and by a timer where none is.
class Frames final : public QAbstractAnimation {
public:
    explicit Frames(std::function<void()> frame) : m_frame(std::move(frame)) {}

    [[nodiscard]] int duration() const override { return -1; }

protected:
    void updateCurrentTime(int milliseconds) override
    {
        // The first call comes from inside start().
        if (milliseconds > 0) {
            m_frame();
        }
    }

private:
    std::function<void()> m_frame;
};

class FrameClock final : public Clock {
public:
    FrameClock() { m_elapsed.start(); }

    [[nodiscard]] double now() const override { return static_cast<double>(m_elapsed.nsecsElapsed()) * 1e-9; }

    void start(std::function<void()> frame) override
    {
        if (isRunning()) {
            return;
        }
        m_frame = std::move(frame);
        m_pacer.reset();
        m_frames.start();
    }

    void stop() override { m_frames.stop(); }
    [[nodiscard]] bool isRunning() const override { return m_frames.state() == QAbstractAnimation::Running; }

private:
    void onFrame()
    {
        if (m_pacer.isDue(now())) {
            // A frame may stop the clock and start it anew, with another function.
            const std::function<void()> frame = m_frame;
            frame();
        }
    }

    QElapsedTimer m_elapsed;
    FramePacer m_pacer;
    std::function<void()> m_frame;
    Frames m_frames{[this] { onFrame(); }};
};

} // namespace

std::unique_ptr<Clock> makeFrameClock()
{
    return std::make_unique<FrameClock>();
}

bool FramePacer::isDue(double nowSeconds)
{
    if (!m_started) {
        m_started = true;
        m_nextSeconds = nowSeconds + kIntervalSeconds;
        return true;
    }
    if (nowSeconds < m_nextSeconds - kToleranceSeconds) {
        return false;
    }
    // After a pause nothing is made up for.
    const bool isBehind = nowSeconds > m_nextSeconds + kIntervalSeconds;
    m_nextSeconds = (isBehind ? nowSeconds : m_nextSeconds) + kIntervalSeconds;
    return true;
}

} // namespace slicewise
