// The real timers, by the event loop of the test.
#include "ui/Timers.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <gtest/gtest.h>

#include <functional>

namespace slicewise {

namespace {

void workUntil(const std::function<bool()> &done)
{
    while (!done()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

TEST(Timers, oneThatRepeatsFiresUntilItsHandleGoes)
{
    const auto timers = makeEventLoopTimers();
    int fired = 0;
    std::unique_ptr<RunningTimer> timer = timers->schedule(0.001, Timers::Repeats::Yes, [&] {
        if (++fired == 3) {
            timer.reset(); // from inside its own call
        }
    });
    EXPECT_EQ(fired, 0) << "never at once";
    workUntil([&] { return fired == 3; });
    bool later = false;
    const auto after = timers->schedule(0.02, Timers::Repeats::No, [&] { later = true; });
    workUntil([&] { return later; });
    EXPECT_EQ(fired, 3);
}

TEST(Timers, oneThatDoesNotRepeatFiresOnce)
{
    const auto timers = makeEventLoopTimers();
    int fired = 0;
    const auto timer = timers->schedule(0, Timers::Repeats::No, [&] { ++fired; });
    bool later = false;
    const auto after = timers->schedule(0.02, Timers::Repeats::No, [&] { later = true; });
    workUntil([&] { return later; });
    EXPECT_EQ(fired, 1);
}

TEST(Timers, oneWhoseHandleHasGoneBeforeNeverFires)
{
    const auto timers = makeEventLoopTimers();
    bool fired = false;
    (void)timers->schedule(0, Timers::Repeats::Yes, [&] { fired = true; });
    bool later = false;
    const auto after = timers->schedule(0.02, Timers::Repeats::No, [&] { later = true; });
    workUntil([&] { return later; });
    EXPECT_FALSE(fired);
}

} // namespace

} // namespace slicewise
