// The disc at the right of a row, as an item of a window: 12 by 12 if nothing else is said, always a disc
// with a rim.
//
// GUI thread; the window's own may paint, while the GUI thread waits or from what it has copied.
#pragma once

#include <QColor>
#include <QQuickPaintedItem>
#include <QtQmlIntegration>

namespace slicewise {

class NodeSwatch : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QColor nodeColor READ nodeColor WRITE setNodeColor NOTIFY nodeColorChanged)

public:
    explicit NodeSwatch(QQuickItem *parent = nullptr);

    [[nodiscard]] QColor nodeColor() const { return m_nodeColor; } ///< invalid at first: nothing is painted
    void setNodeColor(const QColor &color);

    void paint(QPainter *painter) override;

Q_SIGNALS:
    void nodeColorChanged();

protected:
    QSGNode *updatePaintNode(QSGNode *node, UpdatePaintNodeData *data) override;

private:
    QColor m_nodeColor;
    QColor m_paintedColor; ///< the painting thread's
    double m_paintedSide = 0;
};

} // namespace slicewise
