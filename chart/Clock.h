// Where the chart's time and its frames come from, so that a test can step both.
//
// Used on one thread, the GUI thread. Times are in seconds since some fixed moment and never go back.
#pragma once

#include <functional>
#include <memory>

namespace slicewise {

class Clock {
public:
    Clock() = default;
    Clock(const Clock &) = delete;
    Clock &operator=(const Clock &) = delete;
    virtual ~Clock() = default;

    [[nodiscard]] virtual double now() const = 0;

    /// From now on calls `frame` once for each frame, never from inside start(). Nothing happens if it runs
    /// already.
    virtual void start(std::function<void()> frame) = 0;
    /// May be called from inside a frame.
    virtual void stop() = 0;
    [[nodiscard]] virtual bool isRunning() const = 0;
};

/// The real one. Frames come with the window's own where one is being drawn, else from a timer, and never
/// more than 60 in a second.
[[nodiscard]] std::unique_ptr<Clock> makeFrameClock();

/// Holds frames that come more often down to 60 in a second, on average where a screen has 75 or 144.
class FramePacer {
public:
    /// 1/60 in single precision.
    static constexpr double kIntervalSeconds = static_cast<double>(1.0F / 60.0F);

    /// Whether the frame at this time is to be used. The first one after reset() always is.
    [[nodiscard]] bool isDue(double nowSeconds);
    void reset() { m_started = false; }

private:
    bool m_started = false;
    double m_nextSeconds = 0;
};

} // namespace slicewise
