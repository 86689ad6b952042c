// A chart as it looks at one moment, as plain values: made on the GUI thread, painted on any.
#pragma once

#include <QColor>
#include <QFont>
#include <QHash>
#include <QImage>
#include <QLineF>
#include <QPainterPath>
#include <QPointF>
#include <QRectF>
#include <QString>

#include <vector>

class QPainter;

namespace slicewise {

struct PiePicture {
    struct Slice {
        QPainterPath path;
        QPointF offset; ///< moves the outline
        QColor fill;
        QColor stroke;
        double lineWidth = 0; ///< 0: not stroked
        Qt::PenJoinStyle join = Qt::RoundJoin;
        Qt::PenCapStyle cap = Qt::RoundCap;
        QLineF firstEdge; ///< from the centre to the rim, where the outline starts
    };
    struct Label {
        QString string;
        QRectF box; ///< the text is centred in it
        QFont font;
        QColor color;
        QColor background;
        QImage shadow; ///< null without one; painted around the middle of the box
    };

    QPointF origin; ///< of all that follows
    QRectF disc;    ///< behind the slices
    QColor discColor = Qt::transparent;
    double cornerRadius = 0;
    std::vector<Slice> slices; ///< from the lowest to the highest
    std::vector<Label> labels; ///< above all slices
    QPainterPath focus;        ///< outlined above everything; empty without the keyboard's focus

    /// In the coordinates of the chart. Draws as finely as the painter's device can.
    void paint(QPainter &painter) const;
};

/// The blurred shape of a text, with some room around it. `scale` is the pixels of the image for one of the
/// view.
[[nodiscard]] QImage textShadow(const QString &text, const QFont &font, const QColor &color, double radius,
                                double opacity, double scale);

/// Keeps the shadows of the texts that are shown, since blurring takes longer than all the rest of a frame.
class ShadowCache {
public:
    [[nodiscard]] QImage shadow(const QString &text, const QFont &font, const QColor &color, double radius,
                                double opacity, double scale);

private:
    static constexpr qsizetype kMost = 256;
    QHash<QString, QImage> m_shadows;
};

} // namespace slicewise
