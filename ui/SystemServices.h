// What the browser asks of the system it runs on while a scan goes on: not to fall asleep, and not to be
// stopped in the background.
//
// Used on the GUI thread.
#pragma once

#include <cstdint>
#include <functional>

namespace slicewise {

class IdleTimer {
public:
    IdleTimer() = default;
    IdleTimer(const IdleTimer &) = delete;
    IdleTimer &operator=(const IdleTimer &) = delete;
    virtual ~IdleTimer() = default;

    /// While it is disabled the device does not go to sleep by itself.
    virtual void setIdleTimerDisabled(bool disabled) = 0;
};

class BackgroundTasks {
public:
    using Identifier = std::uint64_t;

    BackgroundTasks() = default;
    BackgroundTasks(const BackgroundTasks &) = delete;
    BackgroundTasks &operator=(const BackgroundTasks &) = delete;
    virtual ~BackgroundTasks() = default;

    /// Asks to go on while the application is in the background. The handler is called on the GUI thread,
    /// from outside this call and at most once, when the system will not wait any longer; never after the
    /// task has ended.
    [[nodiscard]] virtual Identifier beginBackgroundTaskWithExpirationHandler(
        std::function<void()> expirationHandler) = 0;
    /// Once for each task.
    virtual void endBackgroundTask(Identifier task) = 0;
};

} // namespace slicewise
