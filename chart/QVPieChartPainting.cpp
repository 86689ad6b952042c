// The way of a picture from the layers to the thread that paints it.
#include "chart/QVPieChart.h"
#include "chart/QtColor.h"
#include "chart/SectorPath.h"

#include <QPainter>
#include <QQuickWindow>

#include <algorithm>

namespace slicewise {

namespace {

/// From the lowest to the highest; those at one height in their order.
std::vector<const SliceLayer *> byHeight(const std::vector<std::shared_ptr<SliceLayer>> &layers)
{
    std::vector<const SliceLayer *> sorted;
    sorted.reserve(layers.size());
    for (const auto &layer : layers) {
        sorted.push_back(layer.get());
    }
    std::ranges::stable_sort(sorted, {}, &SliceLayer::zPosition);
    return sorted;
}

PiePicture::Slice paintedSlice(const SliceLayer &shown)
{
    PiePicture::Slice slice;
    slice.path = shown.path();
    slice.offset = shown.position();
    slice.fill = toQColor(shown.fillColor());
    slice.stroke = toQColor(shown.strokeColor());
    slice.lineWidth = shown.lineWidth();
    slice.join = shown.lineJoin();
    slice.cap = shown.lineCap();
    // The outline begins with its centre and the rim at its start, where it is no whole disc.
    if (slice.path.elementCount() > 1 && slice.path.elementAt(1).isLineTo()) {
        slice.firstEdge = QLineF(slice.path.elementAt(0), slice.path.elementAt(1));
    }
    return slice;
}

} // namespace

PiePicture QVPieChart::picture(double scale) const
{
    PiePicture picture;
    picture.origin = m_pieView.frame.topLeft();
    picture.disc = QRectF(QPointF(), m_pieView.frame.size());
    picture.discColor = m_pieView.backgroundColor;
    picture.cornerRadius = m_pieView.cornerRadius;
    for (const SliceLayer *const layer : byHeight(m_sliceLayers)) {
        // A slice that has had no frame yet has no outline, and its label no place.
        if (layer->path().isEmpty()) {
            continue;
        }
        const std::optional<SliceLayer> shown = layer->presentationLayer();
        picture.slices.push_back(paintedSlice(shown ? *shown : *layer));
        if (!layer->label().hidden && !layer->label().string.isEmpty()) {
            picture.labels.push_back(paintedLabel(layer->label(), picture.slices.back().offset, scale));
        }
    }
    if (const SliceLayer *const layer = layerAt(m_focusedSliceIndex); layer != nullptr && hasActiveFocus()) {
        const std::optional<SliceLayer> shown = layer->presentationLayer();
        picture.focus = layer->path().translated(shown ? shown->position() : layer->position());
    }
    return picture;
}

PiePicture::Label QVPieChart::paintedLabel(const LabelLayer &layer, const QPointF &offset, double scale) const
{
    PiePicture::Label label;
    label.string = layer.string;
    const QPointF anchor(layer.anchorPoint.x() * layer.bounds.width(),
                         layer.anchorPoint.y() * layer.bounds.height());
    label.box = QRectF(layer.position - anchor + offset, layer.bounds);
    label.font = layer.font;
    label.color = layer.foregroundColor;
    label.background = layer.backgroundColor;
    if (layer.shadowColor) {
        label.shadow = m_shadows.shadow(layer.string, layer.font, *layer.shadowColor, layer.shadowRadius,
                                        layer.shadowOpacity, scale);
    }
    return label;
}

void QVPieChart::scheduleRepaint()
{
    polish();
    update();
}

void QVPieChart::itemChange(ItemChange change, const ItemChangeData &data)
{
    if (change == ItemSceneChange || change == ItemDevicePixelRatioHasChanged) {
        scheduleRepaint();
    }
    if (change == ItemSceneChange && data.window != nullptr) {
        becomeAccessible();
    }
    QQuickPaintedItem::itemChange(change, data);
}

void QVPieChart::updatePolish()
{
    QQuickPaintedItem::updatePolish();
    m_picture = picture(window() != nullptr ? window()->effectiveDevicePixelRatio() : 1);
}

// The GUI thread waits here, and only here.
QSGNode *QVPieChart::updatePaintNode(QSGNode *node, UpdatePaintNodeData *data)
{
    m_paintedPicture = m_picture;
    return QQuickPaintedItem::updatePaintNode(node, data);
}

void QVPieChart::paint(QPainter *painter)
{
    m_paintedPicture.paint(*painter);
}

} // namespace slicewise
