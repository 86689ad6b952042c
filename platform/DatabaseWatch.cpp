#include "platform/DatabaseWatch.h"

#include <ctime>
#include <utility>

namespace slicewise {

namespace {

using namespace std::chrono_literals;

// The last resort, for what waits rather than works.
constexpr auto kMostTime = 10s;
// A step takes 10 to 30 ns on a fast machine.
constexpr auto kCpuTimeOfStep = 50ns;
constexpr auto kCpuTimeOfNothing = 200ms;
// Asking for the processor's time is a system call; the time of day is none.
constexpr auto kLookEvery = 1ms;

std::chrono::nanoseconds cpuTime()
{
    std::timespec now = {};
    if (::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now) != 0) {
        return {};
    }
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

} // namespace

DatabaseWatch::DatabaseWatch(std::uint64_t mostSteps, std::function<bool()> stop)
    : m_mostSteps(mostSteps), m_stop(std::move(stop)), m_cpuBegan(cpuTime()), m_began(Clock::now())
{}

void DatabaseWatch::begin()
{
    m_steps = 0;
    m_cpuBegan = cpuTime();
    m_aside = {};
}

bool DatabaseWatch::isOverAfter(std::uint64_t steps)
{
    m_steps += steps;
    m_isOver = m_isOver || m_steps > m_mostSteps;
    return isOver();
}

bool DatabaseWatch::isOver()
{
    const Clock::time_point now = Clock::now();
    if (m_isOver || now - m_looked < kLookEvery) {
        return m_isOver;
    }
    m_looked = now;
    // In floating point, since the product with any number of steps need not fit.
    using Seconds = std::chrono::duration<double>;
    const Seconds mostCpuTime =
        kCpuTimeOfNothing + static_cast<double>(m_mostSteps) * Seconds(kCpuTimeOfStep);
    // The time aside includes times without the processor, so this errs on the query's side.
    m_isOver = now - m_began > kMostTime || cpuTime() - m_cpuBegan - m_aside > mostCpuTime;
    try {
        m_isOver = m_isOver || (m_stop && m_stop());
    } catch (...) {
        m_raised = std::current_exception();
        m_isOver = true;
    }
    return m_isOver;
}

void DatabaseWatch::standAside(const std::function<void()> &body)
{
    const Clock::time_point before = Clock::now();
    body();
    const Clock::duration aside = Clock::now() - before;
    m_began += aside;
    m_aside += aside;
}

void DatabaseWatch::rethrow() const
{
    if (m_raised) {
        std::rethrow_exception(m_raised);
    }
}

} // namespace slicewise
