#include "ui/NodeSwatch.h"

#include "chart/QtColor.h"
#include "ui/SZATableViewCell.h"

#include <algorithm>

namespace slicewise {

NodeSwatch::NodeSwatch(QQuickItem *parent) : QQuickPaintedItem(parent)
{
    const SZATableViewCell cell(SZATableViewCell::Style::Subtitle, {});
    setImplicitSize(cell.circleSize(), cell.circleSize());
    setSize({implicitWidth(), implicitHeight()});
    setAntialiasing(true);
}

void NodeSwatch::setNodeColor(const QColor &color)
{
    if (m_nodeColor != color) {
        m_nodeColor = color;
        update();
        Q_EMIT nodeColorChanged();
    }
}

// The GUI thread waits here, so that painting needs nothing of it afterwards.
QSGNode *NodeSwatch::updatePaintNode(QSGNode *node, UpdatePaintNodeData *data)
{
    m_paintedColor = m_nodeColor;
    m_paintedSide = std::min(width(), height());
    return QQuickPaintedItem::updatePaintNode(node, data);
}

void NodeSwatch::paint(QPainter *painter)
{
    if (m_paintedColor.isValid()) {
        const SZATableViewCell cell(SZATableViewCell::Style::Subtitle, {});
        paintSwatch(*painter, fromQColor(m_paintedColor), m_paintedSide, cell.circleStroke());
    }
}

} // namespace slicewise
