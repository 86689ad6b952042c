// Which slice a point lies in, and what becomes selected by it.
#include "chart/QVPieChart.h"
#include "chart/SectorPath.h"

namespace slicewise {

namespace {

constexpr double kRestingZPosition = 100;

} // namespace

int QVPieChart::getCurrentSelectedOnTouch(const QPointF &point)
{
    int found = -1;
    for (std::size_t i = 0; i < m_sliceLayers.size(); ++i) {
        SliceLayer &layer = *m_sliceLayers[i];
        QPainterPath path = layer.path();
        path.setFillRule(Qt::WindingFill);
        if (path.contains(point)) {
            layer.setLineJoin(Qt::BevelJoin);
            layer.setZPosition(ShapeLayer::kRaisedZPosition);
            found = static_cast<int>(i);
        } else {
            layer.setZPosition(kRestingZPosition);
            layer.setLineWidth(0);
        }
    }
    scheduleRepaint();
    return found;
}

void QVPieChart::clearHighlight()
{
    for (const auto &layer : m_sliceLayers) {
        layer->setZPosition(kRestingZPosition);
        layer->setLineWidth(0);
    }
    scheduleRepaint();
}

void QVPieChart::notifyDelegateOfSelectionChangeFromTo(int previous, int index)
{
    if (previous != index) {
        if (previous != -1) {
            deselect(previous);
        }
        if (index == -1 || !willSelect(index)) {
            return;
        }
        setSliceSelectedAtIndex(index);
        setSelectedSliceIndex(index);
        didSelect(index);
        return;
    }
    // A tap on the slice that was selected last turns it over; its index stays recorded either way.
    const SliceLayer *const layer = layerAt(previous);
    if (layer == nullptr || !(m_selectedSliceOffsetRadius > 0)) {
        return;
    }
    if (layer->isSelected()) {
        deselect(previous);
    } else if (willSelect(previous)) {
        setSliceSelectedAtIndex(previous);
        didSelect(previous);
    }
}

bool QVPieChart::willSelect(int index)
{
    QVPieChartDelegate *const told = delegate();
    return told == nullptr || told->pieChartWillSelectSliceAtIndex(*this, static_cast<unsigned>(index));
}

void QVPieChart::didSelect(int index)
{
    if (QVPieChartDelegate *const told = delegate()) {
        told->pieChartDidSelectSliceAtIndex(*this, static_cast<unsigned>(index));
    }
}

void QVPieChart::deselect(int index)
{
    if (QVPieChartDelegate *const told = delegate()) {
        told->pieChartWillDeselectSliceAtIndex(*this, static_cast<unsigned>(index));
    }
    setSliceDeselectedAtIndex(index);
    if (QVPieChartDelegate *const told = delegate()) {
        told->pieChartDidDeselectSliceAtIndex(*this, static_cast<unsigned>(index));
    }
}

void QVPieChart::setSliceSelectedAtIndex(int index)
{
    SliceLayer *const layer = layerAt(index);
    if (layer == nullptr || layer->isSelected() || !(m_selectedSliceOffsetRadius > 0)) {
        return;
    }
    const double middle = (layer->startAngle() + layer->endAngle()) / 2;
    moveLayer(*layer, pointAtAngle(layer->position(), m_selectedSliceOffsetRadius, middle));
    layer->setIsSelected(true);
    Q_EMIT selectionChanged();
}

void QVPieChart::setSliceDeselectedAtIndex(int index)
{
    SliceLayer *const layer = layerAt(index);
    if (layer == nullptr || !layer->isSelected() || !(m_selectedSliceOffsetRadius > 0)) {
        return;
    }
    moveLayer(*layer, QPointF());
    layer->setIsSelected(false);
    Q_EMIT selectionChanged();
}

void QVPieChart::moveLayer(SliceLayer &layer, const QPointF &position)
{
    m_transaction->latch();
    layer.setPosition(position);
    ensureFrames();
    scheduleRepaint();
}

SliceLayer *QVPieChart::layerAt(int index) const
{
    const auto place = static_cast<std::size_t>(index);
    return index >= 0 && place < m_sliceLayers.size() ? m_sliceLayers[place].get() : nullptr;
}

void QVPieChart::setSelectedSliceIndex(int index)
{
    if (m_selectedSliceIndex != index) {
        m_selectedSliceIndex = index;
        Q_EMIT selectionChanged();
    }
}

} // namespace slicewise
