// Making, geometry and settings; the rest of the chart is in the files that begin with its name.
#include "chart/QVPieChart.h"

#include "chart/SliceItem.h"

#include <QGuiApplication>

#include <algorithm>
#include <cmath>
#include <utility>

namespace slicewise {

namespace {

constexpr double kLongestLength = 1e6;
constexpr double kPartOfHalfExtent = 0.875;
constexpr double kRootOfHalf = 0.7071067811865475;

QFont defaultLabelFont()
{
    constexpr int kSizePixels = 20;
    QFont font = QGuiApplication::font();
    font.setPixelSize(kSizePixels);
    font.setBold(true);
    // Labels move by parts of a pixel on fine screens.
    font.setHintingPreference(QFont::PreferNoHinting);
    return font;
}

QPointF limited(const QPointF &point)
{
    return {std::clamp(point.x(), -kLongestLength, kLongestLength),
            std::clamp(point.y(), -kLongestLength, kLongestLength)};
}

/// Of the item, which may be larger than anything that could be painted, or have no sensible size at all.
QSizeF limitedSize(const QSizeF &size)
{
    const auto limit = [](double side) {
        return std::isnan(side) ? 0 : std::clamp(side, 0.0, kLongestLength);
    };
    return {limit(size.width()), limit(size.height())};
}

} // namespace

QVPieChart::QVPieChart(QQuickItem *parent) : QVPieChart(QRectF(), parent) {}

QVPieChart::QVPieChart(const QRectF &frame, QQuickItem *parent)
    : QQuickPaintedItem(parent),
      m_clock(makeFrameClock()),
      m_transaction(std::make_shared<Transaction>(*m_clock))
{
    setPosition(frame.topLeft());
    setSize(frame.size());
    setUp();
}

QVPieChart::QVPieChart(const QRectF &frame, const QPointF &center, double radius, QQuickItem *parent)
    : QVPieChart(frame, parent)
{
    setPieCenter(center);
    setPieRadius(radius);
}

QVPieChart::~QVPieChart()
{
    m_clock->stop();
}

void QVPieChart::setUp()
{
    installChartAccessibility();
    setAntialiasing(true);
    setAcceptedMouseButtons(Qt::LeftButton);
    setAcceptTouchEvents(true);
    setActiveFocusOnTab(true);
    m_labelFont = defaultLabelFont();
    layOut();
    m_isSetUp = true;
}

// The pie view's first frame does not matter: radius and centre set it anew.
void QVPieChart::layOut()
{
    const QSizeF size = limitedSize(this->size());
    const double half = std::min(size.width() * 0.5, size.height() * 0.5);
    setPieRadius(half * kPartOfHalfExtent);
    setPieCenter({size.width() * 0.5, size.height() * 0.5});
    m_labelRadius = std::round(m_pieRadius * kRootOfHalf);
    m_selectedSliceOffsetRadius = half - m_pieRadius;
    // Nobody can allocate a picture of any size.
    constexpr double kLargestPicture = 16384;
    setFlag(ItemHasContents, width() <= kLargestPicture && height() <= kLargestPicture);
}

void QVPieChart::geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry)
{
    QQuickPaintedItem::geometryChange(newGeometry, oldGeometry);
    if (!m_isSetUp) {
        return;
    }
    layOut();
    if (isComponentComplete()) {
        m_labelFont = defaultLabelFont();
        reloadData();
    }
    Q_EMIT settingsChanged();
    scheduleRepaint();
}

void QVPieChart::setDataSource(QVPieChartDataSource *dataSource)
{
    m_dataSource = Guarded<QVPieChartDataSource>(dataSource);
}

void QVPieChart::setDelegate(QVPieChartDelegate *delegate)
{
    m_delegate = Guarded<QVPieChartDelegate>(delegate);
}

void QVPieChart::setClock(std::shared_ptr<Clock> clock)
{
    m_clock->stop();
    m_transaction->setClock(*clock);
    m_clock = std::move(clock);
}

void QVPieChart::setStartPieAngle(double angleRadians)
{
    if (std::isfinite(angleRadians)) {
        m_startPieAngle = angleRadians;
        Q_EMIT settingsChanged();
    }
}

void QVPieChart::setAnimationSpeed(double seconds)
{
    if (std::isfinite(seconds)) {
        m_animationSpeed = seconds;
        Q_EMIT settingsChanged();
    }
}

void QVPieChart::setPieCenter(const QPointF &center)
{
    if (std::isfinite(center.x()) && std::isfinite(center.y())) {
        m_pieView.setCenter(limited(center));
        m_pieCenter = {m_pieView.frame.width() * 0.5, m_pieView.frame.height() * 0.5};
        Q_EMIT settingsChanged();
        scheduleRepaint();
    }
}

void QVPieChart::setPieRadius(double radius)
{
    if (!std::isfinite(radius)) {
        return;
    }
    m_pieRadius = std::clamp(radius, 0.0, kLongestLength);
    const QPointF center = m_pieView.frame.topLeft() + m_pieCenter;
    m_pieCenter = {m_pieRadius, m_pieRadius};
    m_pieView.frame = QRectF(center - m_pieCenter, QSizeF(2 * m_pieRadius, 2 * m_pieRadius));
    m_pieView.cornerRadius = m_pieRadius;
    Q_EMIT settingsChanged();
    scheduleRepaint();
}

void QVPieChart::setPieBackgroundColor(const QColor &color)
{
    m_pieView.backgroundColor = color;
    Q_EMIT settingsChanged();
    scheduleRepaint();
}

void QVPieChart::setShowLabel(bool show)
{
    m_showLabel = show;
    Q_EMIT settingsChanged();
}

void QVPieChart::setLabelFont(const QFont &font)
{
    m_labelFont = font;
    Q_EMIT settingsChanged();
}

void QVPieChart::setLabelColor(const QColor &color)
{
    m_labelColor = color;
    Q_EMIT settingsChanged();
}

void QVPieChart::setLabelShadowColor(const QColor &color)
{
    m_labelShadowColor = color;
    Q_EMIT settingsChanged();
}

void QVPieChart::setLabelRadius(double radius)
{
    changeLength(m_labelRadius, radius);
}

void QVPieChart::setSelectedSliceStroke(double width)
{
    changeLength(m_selectedSliceStroke, width);
}

void QVPieChart::setSelectedSliceOffsetRadius(double radius)
{
    changeLength(m_selectedSliceOffsetRadius, radius);
}

void QVPieChart::changeLength(double &length, double value)
{
    if (std::isfinite(value)) {
        length = std::clamp(value, -kLongestLength, kLongestLength);
        Q_EMIT settingsChanged();
    }
}

void QVPieChart::setLinear(bool linear)
{
    m_linear = linear;
    Q_EMIT settingsChanged();
}

} // namespace slicewise
