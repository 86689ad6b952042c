#include "ui/SZATableViewCell.h"

#include "chart/QtColor.h"
#include "chart/UIColorHSB.h"

#include <QPainterPath>

#include <cmath>
#include <utility>

namespace slicewise {

SZATableViewCell::SZATableViewCell(Style /*style*/, QString reuseIdentifier)
    : m_reuseIdentifier(std::move(reuseIdentifier))
{}

void SZATableViewCell::setText(QString text)
{
    m_text = std::move(text);
}

void SZATableViewCell::setDetailText(QString text)
{
    m_detailText = std::move(text);
}

QImage SZATableViewCell::nodeColorImage(double scale) const
{
    const int pixels = static_cast<int>(std::ceil(m_circleSize * scale));
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    if (m_nodeColor) {
        QPainter painter(&image);
        paintSwatch(painter, *m_nodeColor, m_circleSize, m_circleStroke);
    }
    return image;
}

UIColor swatchRimColor(const UIColor &color)
{
    constexpr double kDarker = 0.8;
    double hue = 0;
    double saturation = 0;
    double brightness = 0;
    getHueSaturationBrightnessAlpha(color, &hue, &saturation, &brightness, nullptr);
    return colorWithHueSaturationBrightnessAlpha(hue, saturation, brightness * kDarker, 1);
}

void paintSwatch(QPainter &painter, const UIColor &color, double sidePoints, double insetPoints)
{
    const double diameter = sidePoints - 2 * insetPoints;
    QPainterPath disc;
    disc.addEllipse(QRectF(insetPoints, insetPoints, diameter, diameter));
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(disc, toQColor(color));
    painter.strokePath(disc, QPen(toQColor(swatchRimColor(color)), 1.0));
    painter.restore();
}

} // namespace slicewise
