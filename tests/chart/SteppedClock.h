// Time and frames that a test moves by hand.
#pragma once

#include "chart/Clock.h"

#include <utility>

namespace slicewise {

class SteppedClock final : public Clock {
public:
    [[nodiscard]] double now() const override { return m_seconds; }
    void start(std::function<void()> frame) override
    {
        m_frame = std::move(frame);
        m_running = true;
        ++m_starts;
    }
    void stop() override { m_running = false; }
    [[nodiscard]] bool isRunning() const override { return m_running; }
    [[nodiscard]] int starts() const { return m_starts; }

    /// Lets time pass, with one frame at its end if frames are wanted.
    void step(double seconds)
    {
        m_seconds += seconds;
        if (m_running) {
            const std::function<void()> frame = m_frame;
            frame();
        }
    }

    /// Frames at 64 a second, a time that numbers hold exactly, until nobody wants one, at most so many.
    /// Answers how many came.
    int runOut(int most = 10000)
    {
        int frames = 0;
        for (; m_running && frames < most; ++frames) {
            step(1.0 / 64);
        }
        return frames;
    }

private:
    double m_seconds = 100;
    bool m_running = false;
    int m_starts = 0;
    std::function<void()> m_frame;
};

} // namespace slicewise
