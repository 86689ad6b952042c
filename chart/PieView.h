// The inner view of a chart, in which the slices lie: a square around the pie, and a disc behind it.
#pragma once

#include <QColor>
#include <QPointF>
#include <QRectF>

namespace slicewise {

struct PieView {
    QRectF frame; ///< in the chart's coordinates
    QColor backgroundColor = Qt::transparent;
    double cornerRadius = 0; ///< rounds the background
    bool userInteractionEnabled = true;

    void setCenter(const QPointF &center) { frame.moveCenter(center); }
};

} // namespace slicewise
