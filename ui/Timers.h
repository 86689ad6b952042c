// Timers of the screens, so that a test can let time pass by hand.
//
// Used on the GUI thread. A timer runs as long as its handle lives; the handle may be given up from inside
// its own call.
#pragma once

#include <functional>
#include <memory>

namespace slicewise {

class RunningTimer {
public:
    RunningTimer() = default;
    RunningTimer(const RunningTimer &) = delete;
    RunningTimer &operator=(const RunningTimer &) = delete;
    virtual ~RunningTimer() = default;
};

class Timers {
public:
    Timers() = default;
    Timers(const Timers &) = delete;
    Timers &operator=(const Timers &) = delete;
    virtual ~Timers() = default;

    enum class Repeats : bool { No, Yes };
    /// Calls `fire` after that time, never from inside schedule(); and again each time it has passed, or
    /// once.
    [[nodiscard]] virtual std::unique_ptr<RunningTimer> schedule(double seconds, Repeats repeats,
                                                                 std::function<void()> fire) = 0;
};

/// The real ones, of the GUI thread's event loop.
[[nodiscard]] std::unique_ptr<Timers> makeEventLoopTimers();

} // namespace slicewise
