// From one set of values to the next: which slice becomes which, and where it moves.
#include "chart/QVPieChart.h"
#include "chart/QtColor.h"
#include "chart/UIColorHSB.h"

#include <QScopedValueRollback>

#include <algorithm>
#include <cmath>
#include <unordered_set>
#include <utility>

namespace slicewise {

namespace {

constexpr double kTurnRadians = 6.283185307179586;
constexpr double kRestingZPosition = 100;
/// So many of the largest numbers can be added after it.
constexpr double kScaleOfHugeValues = 0x1p-16;

/// Ends the group also where a data source throws.
class TransactionGroup {
public:
    explicit TransactionGroup(Transaction &transaction) : m_transaction(transaction)
    {
        m_transaction.begin();
    }
    TransactionGroup(const TransactionGroup &) = delete;
    TransactionGroup &operator=(const TransactionGroup &) = delete;
    ~TransactionGroup() { m_transaction.commit(); }

private:
    Transaction &m_transaction;
};

UIColor defaultColorAtIndex(unsigned index)
{
    constexpr int kSaturations = 8;
    constexpr int kHues = 20;
    constexpr double kBrightness = 0.91;
    const int i = static_cast<int>(index);
    return colorWithHueSaturationBrightnessAlpha(0.02 + 0.05 * (i / kSaturations % kHues),
                                                 0.1 * (i % kSaturations + 3), kBrightness, 1);
}

UIColor strokeColorFor(const UIColor &fill)
{
    constexpr double kDarker = 0.8;
    double hue = 0;
    double saturation = 0;
    double brightness = 0;
    double alpha = 0;
    getHueSaturationBrightnessAlpha(fill, &hue, &saturation, &brightness, &alpha);
    return colorWithHueSaturationBrightnessAlpha(hue, saturation, brightness * kDarker, alpha);
}

double sumOf(const std::vector<double> &values, double scale)
{
    double sum = 0;
    for (const double value : values) {
        sum += value * scale;
    }
    return sum;
}

/// What is divided by hardly more than nothing must not become infinite: its angles would never be numbers
/// again.
double shareOf(double value, double sum)
{
    constexpr double kLargest = 1e9;
    return sum != 0 ? std::clamp(value / sum, -kLargest, kLargest) : 0;
}

} // namespace

struct QVPieChart::Reload {
    std::vector<double> values;
    std::vector<double> shares;
    double scale = 1; ///< of the values in the sum
    double sum = 0;
    std::unordered_set<std::shared_ptr<SliceLayer>> toRemove;
    std::ptrdiff_t surplus = 0; ///< slices to come beyond those that are there
    bool onStart = false;
};

void QVPieChart::reloadData()
{
    if (m_isReloading) {
        m_reloadAgain = true;
        return;
    }
    const QScopedValueRollback reloading(m_isReloading, true);
    m_reloadAgain = false;
    reloadOnce();
    if (std::exchange(m_reloadAgain, false)) {
        reloadOnce();
        m_reloadAgain = false;
    }
}

void QVPieChart::reloadOnce()
{
    if (dataSource() == nullptr) {
        return;
    }
    setSelectedSliceIndex(-1);
    for (std::size_t i = 0; i < m_sliceLayers.size(); ++i) {
        if (m_sliceLayers[i]->isSelected()) {
            setSliceDeselectedAtIndex(static_cast<int>(i));
        }
    }
    Reload reload;
    if (!readValues(reload)) {
        return;
    }
    {
        const TransactionGroup group(*m_transaction);
        m_transaction->setAnimationDuration(m_animationSpeed);
        m_pieView.userInteractionEnabled = false;
        const std::size_t old = m_sliceLayers.size();
        const std::size_t count = reload.values.size();
        reload.toRemove = {m_sliceLayers.begin(), m_sliceLayers.end()};
        reload.onStart = old == 0 && count != 0;
        reload.surplus = static_cast<std::ptrdiff_t>(count) - static_cast<std::ptrdiff_t>(old);
        if (old == 0 || (count != 0 && reload.sum > 0)) {
            fullPass(reload);
        } else {
            collapsePass();
        }
    }
    dropFocusBeyondEnd();
    sliceItemsChanged();
    ensureFrames();
    scheduleRepaint();
}

// False if the data source went away over it.
bool QVPieChart::readValues(Reload &reload)
{
    const unsigned count = std::min(dataSource()->numberOfSlicesInPieChart(*this), kMostSlices);
    for (unsigned i = 0; i < count; ++i) {
        QVPieChartDataSource *const source = dataSource();
        if (source == nullptr) {
            return false;
        }
        const double value = source->pieChartValueForSliceAtIndex(*this, i);
        reload.values.push_back(std::isfinite(value) ? value : 0);
    }
    reload.sum = sumOf(reload.values, reload.scale);
    if (!std::isfinite(reload.sum)) {
        reload.scale = kScaleOfHugeValues;
        reload.sum = sumOf(reload.values, reload.scale);
    }
    for (const double value : reload.values) {
        reload.shares.push_back(shareOf(value * reload.scale, reload.sum));
    }
    return dataSource() != nullptr;
}

void QVPieChart::fullPass(Reload &reload)
{
    double previousEnd = 0;
    for (unsigned i = 0; i < reload.values.size(); ++i) {
        const double value = reload.values[i];
        const double end = previousEnd + reload.shares[i] * kTurnRadians;
        const double targetStart = m_startPieAngle + previousEnd;
        const double targetEnd = m_startPieAngle + end;
        bool growsOutOfStart = false;
        const std::shared_ptr<SliceLayer> layer = chooseLayer(reload, i, growsOutOfStart);
        layer->setValue(value);
        layer->setPercentage(reload.shares[i]);
        colorLayer(*layer, i);
        textLayer(*layer, i);
        animateLayer(*layer, growsOutOfStart ? m_startPieAngle : targetStart,
                     growsOutOfStart ? m_startPieAngle : targetEnd, targetStart, targetEnd);
        updateLabelForLayerValueStartAngleEndAngle(*layer, value, targetStart, targetEnd);
        previousEnd = end;
    }
    m_transaction->setDisableActions(true);
    removeLayers(reload.toRemove);
    for (const auto &layer : m_sliceLayers) {
        layer->setZPosition(kRestingZPosition);
    }
    m_pieView.userInteractionEnabled = true;
    m_transaction->setDisableActions(false);
}

// There are slices, and nothing to show by them: they close, and stay for the next values.
void QVPieChart::collapsePass()
{
    for (const auto &layer : m_sliceLayers) {
        animateLayer(*layer, m_startPieAngle, m_startPieAngle, m_startPieAngle, m_startPieAngle);
        updateLabelForLayerValueStartAngleEndAngle(*layer, 0, m_startPieAngle, m_startPieAngle);
    }
    finishTouch(std::nullopt);
}

// The list changes under the loop over the indices: what is inserted or moved moves those behind it.
std::shared_ptr<SliceLayer> QVPieChart::chooseLayer(Reload &reload, unsigned index, bool &growsOutOfStart)
{
    const auto place = m_sliceLayers.begin() + index;
    if (index >= m_sliceLayers.size()) {
        growsOutOfStart = reload.onStart;
        --reload.surplus;
        return m_sliceLayers.emplace_back(createSliceLayer());
    }
    const double value = reload.values[index];
    if (reload.surplus > 0 && (*place)->value() != value) {
        --reload.surplus;
        return *m_sliceLayers.insert(place, createSliceLayer());
    }
    while (reload.surplus < 0 && (*place)->value() != value) {
        std::rotate(place, place + 1, m_sliceLayers.end());
        ++reload.surplus;
    }
    reload.toRemove.erase(*place);
    return *place;
}

void QVPieChart::colorLayer(SliceLayer &layer, unsigned index)
{
    QVPieChartDataSource *const source = dataSource();
    const std::optional<UIColor> color =
        source != nullptr ? source->pieChartColorForSliceAtIndex(*this, index) : std::nullopt;
    layer.setFillColor(color ? *color : defaultColorAtIndex(index));
    layer.setStrokeColor(strokeColorFor(layer.fillColor()));
}

void QVPieChart::textLayer(SliceLayer &layer, unsigned index)
{
    if (QVPieChartDataSource *const source = dataSource()) {
        if (const auto text = source->pieChartTextForSliceAtIndex(*this, index)) {
            layer.setText(*text);
        }
    }
}

void QVPieChart::animateLayer(SliceLayer &layer, double startFrom, double endFrom, double start, double end)
{
    const TimingCurve timing = m_linear ? TimingCurve::Linear : TimingCurve::Default;
    layer.createArcAnimationForKeyFromValueToValueDelegateLinear(SliceLayer::kStartAngle, startFrom, start,
                                                                 this, timing);
    layer.createArcAnimationForKeyFromValueToValueDelegateLinear(SliceLayer::kEndAngle, endFrom, end, this,
                                                                 timing);
}

void QVPieChart::removeLayers(const std::unordered_set<std::shared_ptr<SliceLayer>> &layers)
{
    for (const auto &layer : m_sliceLayers) {
        if (layers.contains(layer)) {
            layer->setFillColor(fromQColor(fillColor()));
            layer->setZPosition(0);
            layer->label().hidden = true;
            layer->removeAllAnimations();
        }
    }
    std::erase_if(m_sliceLayers, [&](const auto &layer) { return layers.contains(layer); });
}

void QVPieChart::dropFocusBeyondEnd()
{
    if (layerAt(m_focusedSliceIndex) == nullptr) {
        setFocusedSliceIndex(-1);
    }
}

} // namespace slicewise
