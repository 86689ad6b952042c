// A backdrop: from dark slate blue in the middle to black.
//
// GUI thread; the window's own may paint.
#pragma once

#include "chart/UIColor.h"

#include <QQuickPaintedItem>
#include <QRadialGradient>
#include <QtQmlIntegration>

namespace slicewise {

/// Reaches black at half of its radius, which is the rectangle's whole diagonal, so that no corner is left
/// out.
[[nodiscard]] QRadialGradient backdropGradient(const QRectF &rectangle);

class SZAGradientView : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT

public:
    static constexpr UIColor kMiddleColor = {
        .red = 0.3137255012989044, .green = 0.3450980484485626, .blue = 0.40784314274787903, .alpha = 1};

    explicit SZAGradientView(QQuickItem *parent = nullptr) : SZAGradientView(QRectF(), parent) {}
    explicit SZAGradientView(const QRectF &frame, QQuickItem *parent = nullptr);

    void setFrame(const QRectF &frame);

    void paint(QPainter *painter) override;
    void drawRect(QPainter &painter, const QRectF &rectangle) const;

protected:
    void geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry) override;
    QSGNode *updatePaintNode(QSGNode *node, UpdatePaintNodeData *data) override;

private:
    QRectF m_painted; ///< the painting thread's
};

} // namespace slicewise
