#include "chart/SliceItem.h"

#include "chart/NumberText.h"
#include "chart/QVPieChart.h"

namespace slicewise {

namespace {

const SliceLayer *layerOf(const SliceItem &item)
{
    const auto &layers = item.chart().sliceLayers();
    const auto place = static_cast<std::size_t>(item.index());
    return place < layers.size() ? layers[place].get() : nullptr;
}

} // namespace

SliceItem::SliceItem(QVPieChart &chart, int index) : QQuickItem(&chart), m_chart(chart), m_index(index)
{
    follow();
}

QString SliceItem::name() const
{
    const SliceLayer *const layer = layerOf(*this);
    if (layer == nullptr) {
        return {};
    }
    return layer->text() && !layer->text()->isEmpty() ? *layer->text() : fixedText(layer->value(), 0);
}

QString SliceItem::value() const
{
    constexpr double kPercent = 100;
    const SliceLayer *const layer = layerOf(*this);
    return layer == nullptr ? QString() : fixedText(layer->percentage() * kPercent, 0) + QStringLiteral(" %");
}

bool SliceItem::isSelected() const
{
    const SliceLayer *const layer = layerOf(*this);
    return layer != nullptr && layer->isSelected();
}

bool SliceItem::isFocused() const
{
    return m_chart.hasActiveFocus() && m_chart.focusedSliceIndex() == m_index;
}

bool SliceItem::isEmpty() const
{
    const SliceLayer *const layer = layerOf(*this);
    return layer == nullptr || !(layer->endAngle() > layer->startAngle());
}

bool SliceItem::follow()
{
    if (const SliceLayer *const layer = layerOf(*this)) {
        const QRectF place =
            layer->path().boundingRect().translated(layer->position() + m_chart.pieView().frame.topLeft());
        setPosition(place.topLeft());
        setSize(place.size());
    }
    const bool changed = m_toldName != name() || m_toldValue != value();
    m_toldName = name();
    m_toldValue = value();
    return changed;
}

} // namespace slicewise
