#include "chart/SliceLayer.h"

#include "chart/NumberText.h"

#include <string>
#include <utility>

namespace slicewise {

namespace {

constexpr double kDegreesPerRadian = 57.29577951308232;

} // namespace

SliceLayer::SliceLayer(std::shared_ptr<Transaction> transaction) : ShapeLayer(std::move(transaction)) {}

SliceLayer SliceLayer::initWithLayer(const SliceLayer &layer)
{
    SliceLayer copy;
    static_cast<ShapeLayer &>(copy) = layer;
    copy.takeShownValues();
    copy.m_startAngle = layer.m_startAngle;
    copy.m_endAngle = layer.m_endAngle;
    return copy;
}

bool SliceLayer::needsDisplayForKey(std::string_view key)
{
    return key == kStartAngle || key == kEndAngle || ShapeLayer::needsDisplayForKey(key);
}

QString SliceLayer::description() const
{
    return QStringLiteral("value:%1, percentage:%2, start:%3, end:%4")
        .arg(fixedText(m_value, 6), fixedText(m_percentage, 0),
             fixedText(m_startAngle * kDegreesPerRadian, 6), fixedText(m_endAngle * kDegreesPerRadian, 6));
}

std::optional<double> SliceLayer::valueForKey(std::string_view key) const
{
    if (key == kStartAngle) {
        return m_startAngle;
    }
    if (key == kEndAngle) {
        return m_endAngle;
    }
    return std::nullopt;
}

void SliceLayer::setValueForKey(double value, std::string_view key)
{
    if (key == kStartAngle) {
        m_startAngle = value;
    } else if (key == kEndAngle) {
        m_endAngle = value;
    }
}

std::optional<SliceLayer> SliceLayer::presentationLayer() const
{
    if (!hasBeenOnScreen()) {
        return std::nullopt;
    }
    SliceLayer shown = initWithLayer(*this);
    shown.m_startAngle = shownAngle(m_startAnimation, m_startAngle);
    shown.m_endAngle = shownAngle(m_endAnimation, m_endAngle);
    return shown;
}

double SliceLayer::shownAngle(const Running &running, double model) const
{
    return running ? running->valueAt(transaction()->time()) : model;
}

void SliceLayer::createArcAnimationForKeyFromValueToValueDelegateLinear(std::string_view key,
                                                                        double fromValue, double toValue,
                                                                        ArcAnimationDelegate *delegate,
                                                                        TimingCurve timing)
{
    Running *const running = runningForKey(key);
    if (running == nullptr) {
        return;
    }
    if (transaction() == nullptr) {
        setValueForKey(toValue, key);
        return;
    }
    auto animation = std::make_shared<ArcAnimation>();
    animation->key = key;
    const std::optional<SliceLayer> shown = presentationLayer();
    animation->fromValue = shown ? *shown->valueForKey(key) : fromValue;
    animation->toValue = toValue;
    animation->delegate = delegate;
    animation->timing = timing;
    animation->durationSeconds = transaction()->animationDuration();
    animation->beginSeconds = transaction()->time();

    const Running replaced = std::exchange(*running, animation);
    setValueForKey(toValue, key);
    transaction()->begin();
    if (replaced) {
        transaction()->interrupt(replaced);
    }
    transaction()->add(animation);
    transaction()->commit();
}

std::shared_ptr<const ArcAnimation> SliceLayer::animationForKey(std::string_view key) const
{
    return key == kStartAngle ? m_startAnimation : key == kEndAngle ? m_endAnimation : nullptr;
}

void SliceLayer::removeAllAnimations()
{
    for (Running *running : {&m_startAnimation, &m_endAnimation}) {
        if (const Running removed = std::exchange(*running, nullptr)) {
            transaction()->interrupt(removed);
        }
    }
}

std::vector<std::shared_ptr<const ArcAnimation>> SliceLayer::takeFinishedAnimations()
{
    std::vector<std::shared_ptr<const ArcAnimation>> finished;
    for (Running *running : {&m_startAnimation, &m_endAnimation}) {
        if (*running && (*running)->isOverAt(transaction()->time())) {
            finished.push_back(std::exchange(*running, nullptr));
        }
    }
    return finished;
}

SliceLayer::Running *SliceLayer::runningForKey(std::string_view key)
{
    return key == kStartAngle ? &m_startAnimation : key == kEndAngle ? &m_endAnimation : nullptr;
}

} // namespace slicewise
