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

struct QVPieChart::Lengths {
    double pieRadius;
    QPointF pieCenter;
    double labelRadius;
    double selectedSliceOffsetRadius;
};

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
    if (window() != nullptr) {
        becomeAccessible();
    }
}

// What follows from the frame's size. The pie view's first frame does not matter: radius and centre set it
// anew. Told at the end, so that what QML binds to one of them has the last word.
void QVPieChart::layOut()
{
    const Lengths before = lengths();
    const QSizeF size = limitedSize(this->size());
    const double half = std::min(size.width() * 0.5, size.height() * 0.5);
    resizePie(half * kPartOfHalfExtent);
    placePie({size.width() * 0.5, size.height() * 0.5});
    m_labelRadius = std::round(m_pieRadius * kRootOfHalf);
    m_selectedSliceOffsetRadius = half - m_pieRadius;
    // Nobody can allocate a picture of any size.
    constexpr double kLargestPicture = 16384;
    setFlag(ItemHasContents, width() <= kLargestPicture && height() <= kLargestPicture);
    tellChangedLengths(before);
    scheduleRepaint();
}

void QVPieChart::geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry)
{
    QQuickPaintedItem::geometryChange(newGeometry, oldGeometry);
    if (!m_isSetUp) {
        return;
    }
    layOut();
    if (isComponentComplete()) {
        setLabelFont(defaultLabelFont());
        reloadData();
    }
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

QVPieChart::Lengths QVPieChart::lengths() const
{
    return {m_pieRadius, m_pieCenter, m_labelRadius, m_selectedSliceOffsetRadius};
}

// All that changed is decided before the first is told: whoever hears of it may change the next.
void QVPieChart::tellChangedLengths(const Lengths &before)
{
    const Lengths now = lengths();
    if (now.pieRadius != before.pieRadius) {
        Q_EMIT pieRadiusChanged();
    }
    if (now.pieCenter != before.pieCenter) {
        Q_EMIT pieCenterChanged();
    }
    if (now.labelRadius != before.labelRadius) {
        Q_EMIT labelRadiusChanged();
    }
    if (now.selectedSliceOffsetRadius != before.selectedSliceOffsetRadius) {
        Q_EMIT selectedSliceOffsetRadiusChanged();
    }
}

template <typename Value> void QVPieChart::change(Value &property, const Value &value, Changed changed)
{
    if (property != value) {
        property = value;
        Q_EMIT(this->*changed)();
    }
}

void QVPieChart::changeLength(double &length, double value, Changed changed)
{
    if (std::isfinite(value)) {
        change(length, std::clamp(value, -kLongestLength, kLongestLength), changed);
    }
}

void QVPieChart::placePie(const QPointF &center)
{
    m_pieView.setCenter(limited(center));
    m_pieCenter = {m_pieView.frame.width() * 0.5, m_pieView.frame.height() * 0.5};
}

void QVPieChart::resizePie(double radius)
{
    m_pieRadius = std::clamp(radius, 0.0, kLongestLength);
    const QPointF center = m_pieView.frame.topLeft() + m_pieCenter;
    m_pieCenter = {m_pieRadius, m_pieRadius};
    m_pieView.frame = QRectF(center - m_pieCenter, QSizeF(2 * m_pieRadius, 2 * m_pieRadius));
    m_pieView.cornerRadius = m_pieRadius;
}

void QVPieChart::setStartPieAngle(double angleRadians)
{
    if (std::isfinite(angleRadians)) {
        change(m_startPieAngle, angleRadians, &QVPieChart::startPieAngleChanged);
    }
}

void QVPieChart::setAnimationSpeed(double seconds)
{
    if (std::isfinite(seconds)) {
        change(m_animationSpeed, seconds, &QVPieChart::animationSpeedChanged);
    }
}

void QVPieChart::setPieCenter(const QPointF &center)
{
    if (std::isfinite(center.x()) && std::isfinite(center.y())) {
        const Lengths before = lengths();
        placePie(center);
        tellChangedLengths(before);
        scheduleRepaint();
    }
}

void QVPieChart::setPieRadius(double radius)
{
    if (std::isfinite(radius)) {
        const Lengths before = lengths();
        resizePie(radius);
        tellChangedLengths(before);
        scheduleRepaint();
    }
}

void QVPieChart::setPieBackgroundColor(const QColor &color)
{
    change(m_pieView.backgroundColor, color, &QVPieChart::pieBackgroundColorChanged);
    scheduleRepaint();
}

void QVPieChart::setShowLabel(bool show)
{
    change(m_showLabel, show, &QVPieChart::showLabelChanged);
}

void QVPieChart::setLabelFont(const QFont &font)
{
    change(m_labelFont, font, &QVPieChart::labelFontChanged);
}

void QVPieChart::setLabelColor(const QColor &color)
{
    change(m_labelColor, color, &QVPieChart::labelColorChanged);
}

void QVPieChart::setLabelShadowColor(const QColor &color)
{
    change(m_labelShadowColor, color, &QVPieChart::labelShadowColorChanged);
}

void QVPieChart::setLabelRadius(double radius)
{
    changeLength(m_labelRadius, radius, &QVPieChart::labelRadiusChanged);
}

void QVPieChart::setSelectedSliceStroke(double width)
{
    changeLength(m_selectedSliceStroke, width, &QVPieChart::selectedSliceStrokeChanged);
}

void QVPieChart::setSelectedSliceOffsetRadius(double radius)
{
    changeLength(m_selectedSliceOffsetRadius, radius, &QVPieChart::selectedSliceOffsetRadiusChanged);
}

void QVPieChart::setLinear(bool linear)
{
    change(m_linear, linear, &QVPieChart::linearChanged);
}

} // namespace slicewise
