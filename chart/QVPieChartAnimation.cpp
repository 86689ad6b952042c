// Frames: what is on screen while something moves, and the end of it.
#include "chart/QVPieChart.h"
#include "chart/SectorPath.h"

#include <algorithm>
#include <cmath>

namespace slicewise {

void QVPieChart::updateTimerFired()
{
    constexpr double kOutlineWidth = 0.5;
    for (const auto &layer : m_sliceLayers) {
        const std::optional<SliceLayer> shown = layer->presentationLayer();
        const double start = shown ? shown->startAngle() : layer->startAngle();
        const double end = shown ? shown->endAngle() : layer->endAngle();
        layer->setPath(sectorPath(m_pieCenter, m_pieRadius, start, end));
        layer->setLineWidth(start != end ? kOutlineWidth : 0);
        LabelLayer &label = layer->label();
        const QPointF anchor = pointAtAngle(m_pieCenter, m_labelRadius, (start + end) / 2);
        label.position = {std::round(anchor.x()), std::round(anchor.y() + label.bounds.height() * 0.5)};
    }
}

void QVPieChart::animationDidStart(const std::shared_ptr<const ArcAnimation> &animation)
{
    m_hasAnimationTimer = true;
    m_animations.insert(animation);
    ensureFrames();
}

void QVPieChart::animationDidStopFinished(const std::shared_ptr<const ArcAnimation> &animation,
                                          bool /*finished*/)
{
    m_animations.erase(animation);
    if (m_animations.empty()) {
        m_hasAnimationTimer = false;
    }
}

void QVPieChart::onFrame()
{
    m_transaction->latch();
    std::vector<std::shared_ptr<const ArcAnimation>> finished;
    for (const auto &layer : m_sliceLayers) {
        const auto ofLayer = layer->takeFinishedAnimations();
        finished.insert(finished.end(), ofLayer.begin(), ofLayer.end());
    }
    // Before the last animation stops, so that the outlines rest where the slices do.
    if (m_hasAnimationTimer) {
        updateTimerFired();
    }
    for (const auto &animation : finished) {
        if (animation->delegate != nullptr) {
            animation->delegate->animationDidStopFinished(animation, true);
        }
    }
    if (!anythingMoves()) {
        m_clock->stop();
        sliceItemsChanged();
    }
    scheduleRepaint();
}

void QVPieChart::ensureFrames()
{
    if (!m_clock->isRunning() && anythingMoves()) {
        m_clock->start([this] { onFrame(); });
    }
}

bool QVPieChart::anythingMoves() const
{
    return m_hasAnimationTimer ||
           std::ranges::any_of(m_sliceLayers, [](const auto &layer) { return layer->isMoving(); });
}

} // namespace slicewise
