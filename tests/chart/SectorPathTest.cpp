// The outline of a slice, against the plain definition of a sector.
#include "chart/SectorPath.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <random>

namespace slicewise {

namespace {

constexpr double kTurn = 2 * std::numbers::pi;

/// By distance and angle; absent too near to an edge to be sure.
std::optional<bool> liesWithin(const QPointF &point, double radius, double start, double end)
{
    constexpr double kUnsure = 0.05;
    const double distance = std::hypot(point.x(), point.y());
    double angle = std::fmod(std::atan2(point.y(), point.x()) - start, kTurn);
    angle += angle < 0 ? kTurn : 0;
    const double sweep = end - start;
    const double gap = kUnsure / std::max(distance, kUnsure);
    if (std::abs(distance - radius) < kUnsure || distance < kUnsure || std::abs(angle - sweep) < gap ||
        angle < gap || angle > kTurn - gap) {
        return std::nullopt;
    }
    return distance < radius && angle < sweep;
}

TEST(SectorPath, containsWhatTheSectorContains)
{
    std::mt19937 random(7);
    std::uniform_real_distribution<double> fraction(0, 1);
    constexpr double kRadius = 50;
    int sure = 0;
    for (int i = 0; i < 400; ++i) {
        const double start = 20 * (fraction(random) - 0.5);
        const double end = start + kTurn * fraction(random);
        const QPainterPath path = sectorPath({7, -3}, kRadius, start, end);
        for (int j = 0; j < 20; ++j) {
            const QPointF point(120 * (fraction(random) - 0.5), 120 * (fraction(random) - 0.5));
            if (const auto expected = liesWithin(point, kRadius, start, end)) {
                ++sure;
                EXPECT_EQ(path.contains(point + QPointF(7, -3)), *expected)
                    << point.x() << ' ' << point.y() << ' ' << start << ' ' << end;
            }
        }
    }
    EXPECT_GT(sure, 6000);
}

TEST(SectorPath, beginsAtTheCentreAndGoesAlongTheRimClockwiseOnAScreen)
{
    const QPainterPath path = sectorPath({10, 10}, 5, 0, std::numbers::pi / 2);
    EXPECT_EQ(path.elementAt(0), QPointF(10, 10));
    EXPECT_EQ(path.elementAt(1), QPointF(15, 10));
    EXPECT_TRUE(path.contains(QPointF(12, 12)));
    EXPECT_FALSE(path.contains(QPointF(12, 8)));
    const int last = path.elementCount() - 1;
    EXPECT_EQ(path.elementAt(last), QPointF(10, 10)) << "closed";
}

TEST(SectorPath, isTheDiscForAWholeTurnAndMore)
{
    for (const double sweep : {kTurn, kTurn - 1e-12, 3 * kTurn}) {
        const QPainterPath path = sectorPath({}, 5, 1, 1 + sweep);
        EXPECT_EQ(path.boundingRect(), QRectF(-5, -5, 10, 10));
        for (int i = 0; i < 100; ++i) {
            EXPECT_TRUE(path.contains(pointAtAngle({}, 4.9, i * 0.0628)));
        }
    }
}

TEST(SectorPath, isEmptyWhereThereIsNothingToDraw)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinite = std::numeric_limits<double>::infinity();
    EXPECT_TRUE(sectorPath({}, 5, 1, 1).isEmpty());
    EXPECT_TRUE(sectorPath({}, 5, 2, 1).isEmpty());
    EXPECT_TRUE(sectorPath({}, 0, 1, 2).isEmpty());
    EXPECT_TRUE(sectorPath({}, -5, 1, 2).isEmpty());
    for (const double bad : {nan, infinite, -infinite}) {
        EXPECT_TRUE(sectorPath({}, bad, 1, 2).isEmpty());
        EXPECT_TRUE(sectorPath({}, 5, bad, 2).isEmpty());
        EXPECT_TRUE(sectorPath({}, 5, 1, bad).isEmpty());
        EXPECT_TRUE(sectorPath({bad, 0}, 5, 1, 2).isEmpty());
        EXPECT_TRUE(sectorPath({0, bad}, 5, 1, 2).isEmpty());
    }
}

TEST(SectorPath, standsOnAnyTurn)
{
    const QPainterPath path = sectorPath({}, 5, 1000 * kTurn, 1000 * kTurn + 1);
    EXPECT_TRUE(path.contains(pointAtAngle({}, 4, 0.5)));
    EXPECT_FALSE(path.contains(pointAtAngle({}, 4, 1.5)));
}

} // namespace

} // namespace slicewise
