// New slices, and what their labels say and when they fit.
#include "chart/NumberText.h"
#include "chart/QVPieChart.h"
#include "chart/SectorPath.h"

#include <QFontInfo>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QScreen>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

namespace slicewise {

namespace {

constexpr double kPercent = 100;

double mainScreenScale()
{
    const QScreen *const screen = QGuiApplication::primaryScreen();
    return screen != nullptr ? screen->devicePixelRatio() : 1;
}

} // namespace

std::shared_ptr<SliceLayer> QVPieChart::createSliceLayer() const
{
    auto layer = std::make_shared<SliceLayer>(m_transaction);
    layer->setZPosition(0);
    layer->setLineWidth(0);
    layer->setLineJoin(Qt::RoundJoin);
    layer->setLineCap(Qt::RoundCap);

    LabelLayer &label = layer->label();
    label.contentsScale = 2 * mainScreenScale();
    label.font = m_labelFont;
    label.fontSize = QFontInfo(m_labelFont).pixelSize();
    label.foregroundColor = m_labelColor;
    if (m_labelShadowColor.isValid()) {
        label.shadowColor = m_labelShadowColor;
        label.shadowOffset = {0, 0};
        label.shadowOpacity = 1;
        label.shadowRadius = 2;
    }
    label.bounds = sizeOfText(QStringLiteral("0"));
    label.position = {std::round(m_pieCenter.x()), std::round(m_pieCenter.y())};
    return layer;
}

void QVPieChart::updateLabelForLayerValueStartAngleEndAngle(SliceLayer &layer, double value,
                                                            double startAngle, double endAngle)
{
    LabelLayer &label = layer.label();
    label.hidden = !m_showLabel;
    if (!m_showLabel) {
        return;
    }
    const QString text = labelText(layer, value);
    const QSizeF size = sizeOfText(text);
    const double half = size.width() / 2;
    QPainterPath sector = sectorPath({}, m_pieRadius, startAngle, endAngle);
    sector.setFillRule(Qt::OddEvenFill);
    const QPointF anchor = pointAtAngle({}, m_labelRadius, (startAngle + endAngle) / 2);
    if (value > 0 && sector.contains(anchor + QPointF(half, 0)) &&
        sector.contains(anchor - QPointF(half, 0))) {
        label.foregroundColor = Qt::white;
        label.string = text;
        label.bounds = {m_pieRadius, size.height()};
    } else {
        label.string = QStringLiteral("");
    }
}

void QVPieChart::setShowPercentage(bool show)
{
    const bool isNew = std::exchange(m_showPercentage, show) != show;
    for (const auto &layer : m_sliceLayers) {
        LabelLayer &label = layer->label();
        label.hidden = !m_showLabel;
        if (!m_showLabel) {
            break;
        }
        const QString text = labelText(*layer, layer->value());
        const QSizeF size = sizeOfText(text);
        const double arc = 2 * std::numbers::pi * m_labelRadius * layer->percentage();
        if (arc >= std::max(size.width(), size.height())) {
            label.string = text;
            label.bounds = size;
        } else {
            label.string = QStringLiteral("");
        }
    }
    if (isNew) {
        Q_EMIT showPercentageChanged();
    }
    scheduleRepaint();
}

QString QVPieChart::labelText(const SliceLayer &layer, double value) const
{
    if (m_showPercentage) {
        return fixedText(layer.percentage() * kPercent, 0);
    }
    return layer.text() ? *layer.text() : fixedText(value, 0);
}

QSizeF QVPieChart::sizeOfText(const QString &text) const
{
    const QFontMetricsF metrics(m_labelFont);
    return {metrics.horizontalAdvance(text), metrics.height()};
}

} // namespace slicewise
