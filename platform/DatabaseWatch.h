// What a query on a database that may come from anyone has used up: instructions and time.
//
// SQLite can be ended between two instructions only, and one of them may handle megabytes; so it is not
// enough to count them. What counts is the processor's time, beyond what the instructions allowed would need
// on a slow machine: unlike the time of day it is no less for a disk or a machine that is busy. The time
// that rows are handed out for does not count. One thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <exception>
#include <functional>

namespace slicewise {

class DatabaseWatch {
public:
    /// stop: asked every now and then, true ends the query; may be empty. What it raises ends it, too.
    DatabaseWatch(std::uint64_t mostSteps, std::function<bool()> stop);

    /// Everything counts from now on, but for the time of day.
    void begin();
    /// So many instructions more; true where the query is to end.
    bool isOverAfter(std::uint64_t steps);
    /// True where the query is to end, for other reasons than its instructions.
    bool isOver();
    /// Runs something that is not the query's own.
    void standAside(const std::function<void()> &body);
    /// Raises what `stop` has raised.
    void rethrow() const;

private:
    using Clock = std::chrono::steady_clock;

    std::uint64_t m_mostSteps;
    std::function<bool()> m_stop;
    std::uint64_t m_steps = 0;
    std::chrono::nanoseconds m_cpuBegan;
    Clock::time_point m_began;
    Clock::duration m_aside = {}; ///< since the processor's time counts
    Clock::time_point m_looked = {};
    bool m_isOver = false;
    std::exception_ptr m_raised;
};

} // namespace slicewise
