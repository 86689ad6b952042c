// The curve of an animation, against the same curve solved the slow way.
#include "chart/TimingCurve.h"

#include <gtest/gtest.h>

#include <limits>

namespace slicewise {

namespace {

double bezier(double a, double b, double t)
{
    return 3 * (1 - t) * (1 - t) * t * a + 3 * (1 - t) * t * t * b + t * t * t;
}

/// Halves until the curve's time is the one that is asked for.
double solved(double fraction)
{
    double low = 0;
    double high = 1;
    for (int i = 0; i < 60; ++i) {
        const double middle = (low + high) / 2;
        (bezier(0.25, 0.25, middle) < fraction ? low : high) = middle;
    }
    return bezier(0.1, 1, low);
}

TEST(TimingCurve, theDefaultIsTheBezierCurveThroughItsTwoPoints)
{
    for (int i = 0; i <= 1000; ++i) {
        const double fraction = i / 1000.0;
        EXPECT_NEAR(progressAt(TimingCurve::Default, fraction), solved(fraction), 2e-3) << fraction;
    }
}

TEST(TimingCurve, linearIsTheFractionItself)
{
    for (const double fraction : {0.0, 0.1, 0.5, 0.75, 1.0}) {
        EXPECT_EQ(progressAt(TimingCurve::Linear, fraction), fraction);
    }
}

TEST(TimingCurve, staysAtItsEnds)
{
    for (const TimingCurve curve : {TimingCurve::Linear, TimingCurve::Default}) {
        EXPECT_EQ(progressAt(curve, 0), 0);
        EXPECT_EQ(progressAt(curve, -3), 0);
        EXPECT_EQ(progressAt(curve, 1), 1);
        EXPECT_EQ(progressAt(curve, 7), 1);
        EXPECT_EQ(progressAt(curve, std::numeric_limits<double>::quiet_NaN()), 1);
    }
}

TEST(TimingCurve, neverTurnsBack)
{
    double last = 0;
    for (int i = 0; i <= 10000; ++i) {
        const double progress = progressAt(TimingCurve::Default, i / 10000.0);
        EXPECT_GE(progress, last - 1e-6) << i;
        last = progress;
    }
}

} // namespace

} // namespace slicewise
