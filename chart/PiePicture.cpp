#include "chart/PiePicture.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPen>

#include <algorithm>
#include <cmath>

namespace slicewise {

namespace {

// Two edges that share a line each cover half of its pixels, and a quarter of what lies behind shows through.
// A line in the colour of one of the two behind both leaves nothing to shine through.
void paintSeams(QPainter &painter, const std::vector<PiePicture::Slice> &slices)
{
    for (const PiePicture::Slice &slice : slices) {
        if (slice.offset.isNull() && !slice.firstEdge.isNull()) {
            painter.setPen(QPen(slice.fill, 1, Qt::SolidLine, Qt::FlatCap));
            painter.drawLine(slice.firstEdge);
        }
    }
}

void paintSlice(QPainter &painter, const PiePicture::Slice &slice)
{
    painter.translate(slice.offset);
    painter.fillPath(slice.path, slice.fill);
    if (slice.lineWidth > 0) {
        painter.strokePath(slice.path,
                           QPen(slice.stroke, slice.lineWidth, Qt::SolidLine, slice.cap, slice.join));
    }
    painter.translate(-slice.offset);
}

void paintLabel(QPainter &painter, const PiePicture::Label &label)
{
    if (label.background.alpha() > 0) {
        painter.fillRect(label.box, label.background);
    }
    if (!label.shadow.isNull()) {
        const QSizeF size = label.shadow.deviceIndependentSize();
        painter.drawImage(label.box.center() - QPointF(size.width() / 2, size.height() / 2), label.shadow);
    }
    painter.setFont(label.font);
    painter.setPen(label.color);
    painter.drawText(label.box, Qt::AlignCenter | Qt::TextDontClip | Qt::TextSingleLine, label.string);
}

/// Dark around light, to be seen on any colour.
void paintFocus(QPainter &painter, const QPainterPath &path)
{
    painter.strokePath(path, QPen(QColor(0, 0, 0, 190), 5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.strokePath(path, QPen(Qt::white, 2.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
}

/// The mean of each pixel and its neighbours on a line; three rounds of it are as good as a bell curve.
void blurLine(uchar *pixels, int count, qsizetype stride, int reach, std::vector<int> &line)
{
    line.resize(static_cast<std::size_t>(count));
    const auto at = [&](int i) { return i < 0 || i >= count ? 0 : static_cast<int>(pixels[i * stride]); };
    int sum = 0;
    for (int i = -reach; i < reach; ++i) {
        sum += at(i);
    }
    for (int i = 0; i < count; ++i) {
        sum += at(i + reach);
        line[static_cast<std::size_t>(i)] = sum / (2 * reach + 1);
        sum -= at(i - reach);
    }
    for (int i = 0; i < count; ++i) {
        pixels[i * stride] = static_cast<uchar>(line[static_cast<std::size_t>(i)]);
    }
}

void blur(QImage &alpha, int reach)
{
    constexpr int kRounds = 3;
    std::vector<int> line;
    for (int round = 0; round < kRounds; ++round) {
        for (int y = 0; y < alpha.height(); ++y) {
            blurLine(alpha.scanLine(y), alpha.width(), 1, reach, line);
        }
        for (int x = 0; x < alpha.width(); ++x) {
            blurLine(alpha.bits() + x, alpha.height(), alpha.bytesPerLine(), reach, line);
        }
    }
}

} // namespace

void PiePicture::paint(QPainter &painter) const
{
    painter.save();
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing |
                           QPainter::SmoothPixmapTransform);
    painter.translate(origin);
    if (discColor.alpha() > 0) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(discColor);
        painter.drawRoundedRect(disc, cornerRadius, cornerRadius);
    }
    painter.setBrush(Qt::NoBrush);
    paintSeams(painter, slices);
    for (const Slice &slice : slices) {
        paintSlice(painter, slice);
    }
    for (const Label &label : labels) {
        paintLabel(painter, label);
    }
    if (!focus.isEmpty()) {
        paintFocus(painter, focus);
    }
    painter.restore();
}

QImage textShadow(const QString &text, const QFont &font, const QColor &color, double radius, double opacity,
                  double scale)
{
    const QFontMetricsF metrics(font);
    const double margin = 2 * radius + 2;
    const QSizeF size(metrics.horizontalAdvance(text) + 2 * margin, metrics.height() + 2 * margin);
    QImage alpha((size * scale).toSize() + QSize(1, 1), QImage::Format_Alpha8);
    alpha.setDevicePixelRatio(scale);
    alpha.fill(0);
    {
        QPainter painter(&alpha);
        painter.setRenderHint(QPainter::TextAntialiasing);
        painter.setFont(font);
        painter.setPen(Qt::black);
        painter.drawText(QRectF({}, alpha.deviceIndependentSize()), Qt::AlignCenter | Qt::TextDontClip, text);
    }
    // The standard deviation is half the radius; three rounds of a mean over 2r+1 have that of about r.
    blur(alpha, std::max(1, static_cast<int>(std::lround(radius * scale / 2))));

    QImage shadow(alpha.size(), QImage::Format_ARGB32_Premultiplied);
    shadow.setDevicePixelRatio(scale);
    QColor ink = color;
    ink.setAlphaF(static_cast<float>(std::clamp(static_cast<double>(color.alphaF()) * opacity, 0.0, 1.0)));
    shadow.fill(ink);
    QPainter painter(&shadow);
    painter.setCompositionMode(QPainter::CompositionMode_DestinationIn);
    painter.drawImage(0, 0, alpha);
    return shadow;
}

QImage ShadowCache::shadow(const QString &text, const QFont &font, const QColor &color, double radius,
                           double opacity, double scale)
{
    const QString key = QStringLiteral("%1 %2 %3 %4 %5\n%6")
                            .arg(font.key(), color.name(QColor::HexArgb))
                            .arg(radius)
                            .arg(opacity)
                            .arg(scale)
                            .arg(text);
    const auto found = m_shadows.constFind(key);
    if (found != m_shadows.cend()) {
        return *found;
    }
    if (m_shadows.size() >= kMost) {
        m_shadows.clear();
    }
    return *m_shadows.insert(key, textShadow(text, font, color, radius, opacity, scale));
}

} // namespace slicewise
