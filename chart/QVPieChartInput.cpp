// Fingers, mouse and keys.
//
// A press is taken only while the pie view takes touches, and then followed to its end; of several fingers,
// the first. Whoever takes it away, as a list does that begins to scroll, cancels it: nothing is selected.
#include "chart/QVPieChart.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QTouchEvent>

#include <algorithm>

namespace slicewise {

void QVPieChart::touchesBeganWithEvent(const QPointF &touch)
{
    touchesMovedWithEvent(touch);
}

void QVPieChart::touchesMovedWithEvent(const QPointF &touch)
{
    getCurrentSelectedOnTouch(touch - m_pieView.frame.topLeft());
}

void QVPieChart::touchesEndedWithEvent(const QPointF &touch)
{
    const int index = getCurrentSelectedOnTouch(touch - m_pieView.frame.topLeft());
    notifyDelegateOfSelectionChangeFromTo(m_selectedSliceIndex, index);
    touchesCancelledWithEvent();
}

void QVPieChart::touchesCancelledWithEvent()
{
    clearHighlight();
}

// At most once for each touch, whatever comes first: its end, somebody who takes it away, or slices that
// close.
void QVPieChart::finishTouch(const std::optional<QPointF> &end)
{
    if (!m_isTouching) {
        return;
    }
    m_isTouching = false;
    m_touchId = -1;
    if (end) {
        touchesEndedWithEvent(*end);
    } else {
        touchesCancelledWithEvent();
    }
}

void QVPieChart::mousePressEvent(QMouseEvent *event)
{
    event->setAccepted(m_pieView.userInteractionEnabled && !m_isTouching);
    if (event->isAccepted()) {
        m_isTouching = true;
        touchesBeganWithEvent(event->position());
    }
}

void QVPieChart::mouseMoveEvent(QMouseEvent *event)
{
    if (m_isTouching) {
        touchesMovedWithEvent(event->position());
    }
}

void QVPieChart::mouseReleaseEvent(QMouseEvent *event)
{
    finishTouch(event->position());
}

void QVPieChart::mouseUngrabEvent()
{
    finishTouch(std::nullopt);
}

void QVPieChart::touchUngrabEvent()
{
    finishTouch(std::nullopt);
}

void QVPieChart::touchEvent(QTouchEvent *event)
{
    if (!m_isTouching && event->type() == QEvent::TouchBegin && m_pieView.userInteractionEnabled) {
        m_isTouching = true;
        m_touchId = event->points().first().id();
    }
    event->setAccepted(m_isTouching);
    if (event->type() == QEvent::TouchCancel) {
        finishTouch(std::nullopt);
        return;
    }
    const auto &points = event->points();
    const auto followed = std::ranges::find(points, m_touchId, &QEventPoint::id);
    if (!m_isTouching || followed == points.end()) {
        return;
    }
    switch (followed->state()) {
    case QEventPoint::Pressed:
        touchesBeganWithEvent(followed->position());
        break;
    case QEventPoint::Updated:
        touchesMovedWithEvent(followed->position());
        break;
    case QEventPoint::Released:
        finishTouch(followed->position());
        break;
    default:
        break;
    }
}

void QVPieChart::keyPressEvent(QKeyEvent *event)
{
    int index = -1;
    switch (event->key()) {
    case Qt::Key_Right:
    case Qt::Key_Down:
        index = nextSlice(m_focusedSliceIndex, 1);
        break;
    case Qt::Key_Left:
    case Qt::Key_Up:
        index = nextSlice(m_focusedSliceIndex, -1);
        break;
    case Qt::Key_Home:
        index = nextSlice(-1, 1);
        break;
    case Qt::Key_End:
        index = nextSlice(-1, -1);
        break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space:
    case Qt::Key_Select:
        event->setAccepted(layerAt(m_focusedSliceIndex) != nullptr);
        if (!event->isAutoRepeat()) {
            tapSliceAtIndex(m_focusedSliceIndex);
        }
        return;
    default:
        break;
    }
    event->setAccepted(index != -1);
    if (index != -1) {
        setFocusedSliceIndex(index);
    }
}

void QVPieChart::tapSliceAtIndex(int index)
{
    if (m_pieView.userInteractionEnabled && layerAt(index) != nullptr) {
        notifyDelegateOfSelectionChangeFromTo(m_selectedSliceIndex, index);
    }
}

void QVPieChart::focusInEvent(QFocusEvent *event)
{
    QQuickPaintedItem::focusInEvent(event);
    const bool byKey = event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason;
    if (byKey && m_focusedSliceIndex == -1) {
        setFocusedSliceIndex(nextSlice(-1, event->reason() == Qt::TabFocusReason ? 1 : -1));
    }
    scheduleRepaint();
}

void QVPieChart::focusOutEvent(QFocusEvent *event)
{
    QQuickPaintedItem::focusOutEvent(event);
    scheduleRepaint();
}

void QVPieChart::setFocusedSliceIndex(int index)
{
    const int shown = layerAt(index) != nullptr ? index : -1;
    if (m_focusedSliceIndex != shown) {
        m_focusedSliceIndex = shown;
        Q_EMIT focusedSliceIndexChanged();
        announceFocus();
        scheduleRepaint();
    }
}

// Slices that cannot be seen are passed over. From -1: the first or the last one. -1 if there is none.
int QVPieChart::nextSlice(int from, int step) const
{
    const int count = static_cast<int>(m_sliceLayers.size());
    int index = from == -1 && step < 0 ? count : from;
    for (int i = 0; i < count; ++i) {
        index = (index + step + count) % count;
        const SliceLayer &layer = *m_sliceLayers[static_cast<std::size_t>(index)];
        if (layer.endAngle() > layer.startAngle()) {
            return index;
        }
    }
    return -1;
}

} // namespace slicewise
