// The outline of a slice: one function that painting, hit tests and label placement all ask.
#pragma once

#include <QPainterPath>
#include <QPointF>

namespace slicewise {

/// A closed sector: from the centre to the rim at `startRadians`, along the rim to `endRadians`, and back.
/// Angles grow clockwise on a screen, from 0 on the right. A whole turn or more is the full disc, without a
/// line to its centre. Empty if the end does not lie behind the start, if the radius is not positive, or if a
/// number is not finite.
[[nodiscard]] QPainterPath sectorPath(const QPointF &center, double radius, double startRadians,
                                      double endRadians);

/// The point of the rim, or of any circle around the centre, at an angle.
[[nodiscard]] QPointF pointAtAngle(const QPointF &center, double radius, double angleRadians);

} // namespace slicewise
