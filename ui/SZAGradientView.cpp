#include "ui/SZAGradientView.h"

#include "chart/QtColor.h"

#include <QPainter>

#include <cmath>

namespace slicewise {

QRadialGradient backdropGradient(const QRectF &rectangle)
{
    constexpr double kBlackAt = 0.5;
    QRadialGradient gradient(rectangle.center(), std::hypot(rectangle.width(), rectangle.height()));
    gradient.setColorAt(0, toQColor(SZAGradientView::kMiddleColor));
    gradient.setColorAt(kBlackAt, Qt::black);
    return gradient;
}

SZAGradientView::SZAGradientView(const QRectF &frame, QQuickItem *parent) : QQuickPaintedItem(parent)
{
    setFrame(frame);
}

void SZAGradientView::setFrame(const QRectF &frame)
{
    setPosition(frame.topLeft());
    setSize(frame.size());
}

void SZAGradientView::geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry)
{
    QQuickPaintedItem::geometryChange(newGeometry, oldGeometry);
    update();
}

// The GUI thread waits here, so that painting needs nothing of it afterwards.
QSGNode *SZAGradientView::updatePaintNode(QSGNode *node, UpdatePaintNodeData *data)
{
    m_painted = boundingRect();
    return QQuickPaintedItem::updatePaintNode(node, data);
}

void SZAGradientView::paint(QPainter *painter)
{
    drawRect(*painter, m_painted);
}

void SZAGradientView::drawRect(QPainter &painter, const QRectF &rectangle) const
{
    if (!rectangle.isEmpty()) {
        painter.fillRect(rectangle, backdropGradient(rectangle));
    }
}

} // namespace slicewise
