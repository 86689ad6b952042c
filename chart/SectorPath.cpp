#include "chart/SectorPath.h"

#include <QRectF>

#include <cmath>
#include <numbers>

namespace slicewise {

namespace {

constexpr double kDegreesPerRadian = 180 / std::numbers::pi;
constexpr double kTurnRadians = 2 * std::numbers::pi;
/// What sums and differences of angles may lose.
constexpr double kLostRadians = 1e-9;

} // namespace

QPainterPath sectorPath(const QPointF &center, double radius, double startRadians, double endRadians)
{
    QPainterPath path;
    const double sweep = endRadians - startRadians;
    if (!(sweep > 0) || !(radius > 0) || !std::isfinite(startRadians) || !std::isfinite(endRadians) ||
        !std::isfinite(radius) || !std::isfinite(center.x()) || !std::isfinite(center.y())) {
        return path;
    }
    if (sweep >= kTurnRadians - kLostRadians) {
        path.addEllipse(center, radius, radius);
        return path;
    }
    const QRectF square(center.x() - radius, center.y() - radius, 2 * radius, 2 * radius);
    path.moveTo(center);
    // Qt counts angles the other way round.
    path.arcTo(square, -std::fmod(startRadians, kTurnRadians) * kDegreesPerRadian,
               -sweep * kDegreesPerRadian);
    path.closeSubpath();
    return path;
}

QPointF pointAtAngle(const QPointF &center, double radius, double angleRadians)
{
    return {center.x() + radius * std::cos(angleRadians), center.y() + radius * std::sin(angleRadians)};
}

} // namespace slicewise
