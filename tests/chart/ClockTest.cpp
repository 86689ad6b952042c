// The real clock, and the pace of its frames.
#include "chart/Clock.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <gtest/gtest.h>

namespace slicewise {

namespace {

/// How many of the frames of a screen are used in ten seconds.
int usedInTenSeconds(double screenHertz, double jitterSeconds = 0)
{
    FramePacer pacer;
    int used = 0;
    for (int i = 0; i < static_cast<int>(10 * screenHertz); ++i) {
        const double jitter = i % 3 == 0 ? jitterSeconds : i % 3 == 1 ? -jitterSeconds : 0;
        used += pacer.isDue(i / screenHertz + jitter) ? 1 : 0;
    }
    return used;
}

TEST(FramePacer, usesEveryFrameOfAScreenOfSixtyHertzOrLess)
{
    EXPECT_EQ(usedInTenSeconds(60), 600);
    EXPECT_EQ(usedInTenSeconds(59.94), 599);
    EXPECT_EQ(usedInTenSeconds(60, 0.0005), 600);
    EXPECT_EQ(usedInTenSeconds(30), 300);
}

TEST(FramePacer, neverUsesMoreThanSixtyASecond)
{
    for (const double hertz : {61.0, 75.0, 90.0, 120.0, 144.0, 240.0, 1000.0}) {
        EXPECT_LE(usedInTenSeconds(hertz), 601) << hertz;
        EXPECT_GE(usedInTenSeconds(hertz), 595) << hertz;
    }
}

TEST(FramePacer, makesUpForNothingAfterAPause)
{
    FramePacer pacer;
    EXPECT_TRUE(pacer.isDue(1));
    EXPECT_TRUE(pacer.isDue(9));
    EXPECT_FALSE(pacer.isDue(9.001));
    pacer.reset();
    EXPECT_TRUE(pacer.isDue(9.002));
}

TEST(FramePacer, itsIntervalIsASixtiethInSinglePrecision)
{
    EXPECT_EQ(FramePacer::kIntervalSeconds, 0.01666666753590107);
}

TEST(FrameClock, givesFramesUntilItIsStoppedFromInsideOne)
{
    const auto clock = makeFrameClock();
    EXPECT_FALSE(clock->isRunning());
    QEventLoop loop;
    int frames = 0;
    double last = clock->now();
    clock->start([&] {
        EXPECT_GE(clock->now(), last);
        last = clock->now();
        if (++frames == 5) {
            clock->stop();
            loop.quit();
        }
    });
    EXPECT_TRUE(clock->isRunning());
    EXPECT_EQ(frames, 0) << "none from inside start()";
    loop.exec();
    EXPECT_FALSE(clock->isRunning());
    QCoreApplication::processEvents();
    EXPECT_EQ(frames, 5);
}

TEST(FrameClock, startsAnewFromInsideAFrame)
{
    const auto clock = makeFrameClock();
    QEventLoop loop;
    int second = 0;
    clock->start([&] {
        clock->stop();
        clock->start([&] {
            ++second;
            clock->stop();
            loop.quit();
        });
    });
    loop.exec();
    EXPECT_EQ(second, 1);
}

} // namespace

} // namespace slicewise
