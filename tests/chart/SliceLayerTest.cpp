// A slice by itself: its data, the copy that shows it, and its animations.
#include "chart/SliceLayer.h"

#include "tests/chart/SteppedClock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numbers>
#include <string>
#include <vector>

namespace slicewise {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr double kPi = std::numbers::pi;

class NotingDelegate final : public ArcAnimationDelegate {
public:
    void animationDidStart(const std::shared_ptr<const ArcAnimation> &animation) override
    {
        calls.push_back("start " + animation->key + " to " + std::to_string(animation->toValue));
    }
    void animationDidStopFinished(const std::shared_ptr<const ArcAnimation> &animation,
                                  bool finished) override
    {
        calls.push_back((finished ? "finish " : "interrupt ") + animation->key + " to " +
                        std::to_string(animation->toValue));
    }

    std::vector<std::string> calls;
};

class SliceLayerTest : public ::testing::Test {
protected:
    void animate(std::string_view key, double from, double to, TimingCurve timing = TimingCurve::Linear)
    {
        transaction->begin();
        transaction->setAnimationDuration(2);
        layer.createArcAnimationForKeyFromValueToValueDelegateLinear(key, from, to, &delegate, timing);
        transaction->commit();
    }
    void pass(double seconds)
    {
        clock.step(seconds);
        transaction->latch();
    }

    SteppedClock clock;
    std::shared_ptr<Transaction> transaction = std::make_shared<Transaction>(clock);
    SliceLayer layer{transaction};
    NotingDelegate delegate;
};

TEST_F(SliceLayerTest, beginsWithNothing)
{
    EXPECT_EQ(layer.value(), 0);
    EXPECT_EQ(layer.percentage(), 0);
    EXPECT_EQ(layer.startAngle(), 0);
    EXPECT_EQ(layer.endAngle(), 0);
    EXPECT_FALSE(layer.isSelected());
    EXPECT_EQ(layer.text(), std::nullopt);
    EXPECT_EQ(layer.position(), QPointF());
}

TEST_F(SliceLayerTest, keepsWhatItIsGiven)
{
    layer.setValue(3.5);
    layer.setPercentage(0.25);
    layer.setStartAngle(1);
    layer.setEndAngle(2);
    layer.setIsSelected(true);
    layer.setText(QStringLiteral("Songs"));
    EXPECT_EQ(layer.value(), 3.5);
    EXPECT_EQ(layer.percentage(), 0.25);
    EXPECT_EQ(layer.startAngle(), 1);
    EXPECT_EQ(layer.endAngle(), 2);
    EXPECT_TRUE(layer.isSelected());
    EXPECT_EQ(layer.text(), QStringLiteral("Songs"));
    layer.setText(std::nullopt);
    EXPECT_EQ(layer.text(), std::nullopt);
}

TEST_F(SliceLayerTest, showsChangesOfItsTwoAnglesAlone)
{
    EXPECT_TRUE(SliceLayer::needsDisplayForKey("startAngle"));
    EXPECT_TRUE(SliceLayer::needsDisplayForKey("endAngle"));
    for (const char *key : {"startangle", "startAngle ", "", "value", "percentage", "position", "path"}) {
        EXPECT_FALSE(SliceLayer::needsDisplayForKey(key)) << key;
    }
}

TEST_F(SliceLayerTest, copiesItsAnglesAndNoneOfItsDataForShowing)
{
    layer.setValue(3.5);
    layer.setPercentage(0.25);
    layer.setStartAngle(1);
    layer.setEndAngle(2);
    layer.setIsSelected(true);
    layer.setText(QStringLiteral("Songs"));
    layer.setFillColor({1, 0.5, 0.25, 1});
    layer.setPosition({3, 4});
    const SliceLayer copy = SliceLayer::initWithLayer(layer);
    EXPECT_EQ(copy.startAngle(), 1);
    EXPECT_EQ(copy.endAngle(), 2);
    EXPECT_EQ(copy.value(), 0);
    EXPECT_EQ(copy.percentage(), 0);
    EXPECT_FALSE(copy.isSelected());
    EXPECT_EQ(copy.text(), std::nullopt);
    EXPECT_EQ(copy.fillColor(), (UIColor{1, 0.5, 0.25, 1}));
    EXPECT_EQ(copy.position(), QPointF(3, 4));
}

TEST_F(SliceLayerTest, describesItselfWithItsShareAsAFractionAndItsAnglesInDegrees)
{
    layer.setValue(5);
    layer.setPercentage(0.25);
    layer.setStartAngle(kPi / 2);
    layer.setEndAngle(kPi);
    EXPECT_EQ(layer.description(),
              QStringLiteral("value:5.000000, percentage:0, start:90.000000, end:180.000000"));
    layer.setPercentage(0.75);
    layer.setValue(-1234567.25);
    EXPECT_EQ(layer.description(),
              QStringLiteral("value:-1234567.250000, percentage:1, start:90.000000, end:180.000000"));
    layer.setPercentage(0.5);
    EXPECT_TRUE(layer.description().contains(QStringLiteral("percentage:0,")))
        << "halves go to the even number";
}

TEST_F(SliceLayerTest, hasNoCopyOnScreenBeforeItsFirstGroupIsOver)
{
    EXPECT_FALSE(layer.presentationLayer().has_value());
    transaction->begin();
    EXPECT_FALSE(layer.presentationLayer().has_value());
    transaction->commit();
    EXPECT_TRUE(layer.presentationLayer().has_value());
}

TEST_F(SliceLayerTest, startsFromTheValueThatIsPassedWhereNothingWasOnScreen)
{
    animate("startAngle", 1, 3);
    EXPECT_EQ(layer.startAngle(), 3) << "what is set is the target from the start";
    EXPECT_EQ(layer.animationForKey("startAngle")->fromValue, 1);
    EXPECT_EQ(layer.presentationLayer()->startAngle(), 1);
    pass(1);
    EXPECT_DOUBLE_EQ(layer.presentationLayer()->startAngle(), 2);
    pass(1);
    EXPECT_EQ(layer.presentationLayer()->startAngle(), 3);
    EXPECT_THAT(delegate.calls, ElementsAre("start startAngle to 3.000000"));
}

TEST_F(SliceLayerTest, startsFromWhatIsOnScreenWhereSomethingIs)
{
    layer.setEndAngle(5);
    transaction->begin();
    transaction->commit();
    animate("endAngle", 1, 3);
    EXPECT_EQ(layer.presentationLayer()->endAngle(), 5);
}

TEST_F(SliceLayerTest, anAnimationTakesTheOthersPlaceWithoutAJump)
{
    for (const TimingCurve timing : {TimingCurve::Linear, TimingCurve::Default}) {
        animate("endAngle", 0, 4, timing);
        pass(0.7);
        const double before = layer.presentationLayer()->endAngle();
        animate("endAngle", -100, 1, timing);
        EXPECT_EQ(layer.presentationLayer()->endAngle(), before);
        EXPECT_EQ(layer.animationForKey("endAngle")->fromValue, before);
        EXPECT_EQ(layer.animationForKey("endAngle")->toValue, 1);
        pass(2);
        EXPECT_EQ(layer.presentationLayer()->endAngle(), 1);
    }
}

TEST_F(SliceLayerTest, tellsThatAReplacedAnimationDidNotFinish)
{
    animate("endAngle", 0, 4);
    pass(1);
    animate("endAngle", 0, 5);
    EXPECT_THAT(delegate.calls, ElementsAre("start endAngle to 4.000000", "start endAngle to 5.000000",
                                            "interrupt endAngle to 4.000000"));
}

TEST_F(SliceLayerTest, theTwoAnglesDoNotReplaceEachOther)
{
    transaction->begin();
    animate("startAngle", 0, 4);
    animate("endAngle", 0, 5);
    transaction->commit();
    EXPECT_NE(layer.animationForKey("startAngle"), nullptr);
    EXPECT_NE(layer.animationForKey("endAngle"), nullptr);
    EXPECT_THAT(delegate.calls, ElementsAre("start startAngle to 4.000000", "start endAngle to 5.000000"));
}

TEST_F(SliceLayerTest, twoInOneGroupAreOneAnimation)
{
    transaction->begin();
    animate("endAngle", 0, 4);
    animate("endAngle", 1, 5);
    EXPECT_THAT(delegate.calls, IsEmpty()) << "nothing starts before the group is over";
    transaction->commit();
    EXPECT_THAT(delegate.calls, ElementsAre("start endAngle to 5.000000"));
}

TEST_F(SliceLayerTest, takesTheTimeOfItsGroupOrAQuarterOfASecond)
{
    animate("endAngle", 0, 4);
    EXPECT_EQ(layer.animationForKey("endAngle")->durationSeconds, 2);
    layer.createArcAnimationForKeyFromValueToValueDelegateLinear("endAngle", 0, 4, &delegate,
                                                                 TimingCurve::Linear);
    EXPECT_EQ(layer.animationForKey("endAngle")->durationSeconds, 0.25);
}

TEST_F(SliceLayerTest, timeSpentOnMakingAGroupIsNotTheAnimations)
{
    transaction->begin();
    transaction->setAnimationDuration(1);
    layer.createArcAnimationForKeyFromValueToValueDelegateLinear("endAngle", 0, 4, nullptr,
                                                                 TimingCurve::Linear);
    clock.step(0.9);
    transaction->commit();
    EXPECT_EQ(layer.presentationLayer()->endAngle(), 0);
    pass(0.5);
    EXPECT_DOUBLE_EQ(layer.presentationLayer()->endAngle(), 2);
}

TEST_F(SliceLayerTest, ignoresKeysThatItDoesNotHave)
{
    animate("value", 1, 3);
    EXPECT_EQ(layer.value(), 0);
    EXPECT_EQ(layer.animationForKey("value"), nullptr);
    EXPECT_EQ(layer.valueForKey("value"), std::nullopt);
    layer.setValueForKey(3, "value");
    EXPECT_EQ(layer.value(), 0);
    EXPECT_THAT(delegate.calls, IsEmpty());
}

TEST_F(SliceLayerTest, readsAndWritesItsAnglesByKey)
{
    layer.setValueForKey(1.5, "startAngle");
    layer.setValueForKey(2.5, "endAngle");
    EXPECT_EQ(layer.startAngle(), 1.5);
    EXPECT_EQ(layer.endAngle(), 2.5);
    EXPECT_EQ(layer.valueForKey("startAngle"), 1.5);
    EXPECT_EQ(layer.valueForKey("endAngle"), 2.5);
}

TEST_F(SliceLayerTest, givesUpItsAnimationsWhenTheyAreRemoved)
{
    animate("startAngle", 0, 4);
    pass(0.5);
    layer.removeAllAnimations();
    EXPECT_EQ(layer.presentationLayer()->startAngle(), 4);
    EXPECT_THAT(delegate.calls,
                ElementsAre("start startAngle to 4.000000", "interrupt startAngle to 4.000000"));
}

TEST_F(SliceLayerTest, handsOutFinishedAnimationsOnce)
{
    animate("startAngle", 0, 4);
    pass(1.9);
    EXPECT_THAT(layer.takeFinishedAnimations(), IsEmpty());
    pass(0.2);
    EXPECT_EQ(layer.takeFinishedAnimations().size(), 1U);
    EXPECT_THAT(layer.takeFinishedAnimations(), IsEmpty());
}

TEST_F(SliceLayerTest, setsItsValueAtOnceWithoutATransaction)
{
    SliceLayer alone;
    alone.createArcAnimationForKeyFromValueToValueDelegateLinear("endAngle", 0, 4, &delegate,
                                                                 TimingCurve::Linear);
    EXPECT_EQ(alone.endAngle(), 4);
    EXPECT_FALSE(alone.presentationLayer().has_value());
    EXPECT_THAT(delegate.calls, IsEmpty());
}

TEST_F(SliceLayerTest, movesItsPositionByItselfOverAQuarterOfASecond)
{
    transaction->begin();
    transaction->commit();
    layer.setPosition({8, 0});
    EXPECT_EQ(layer.position(), QPointF(8, 0));
    EXPECT_EQ(layer.presentationLayer()->position(), QPointF(0, 0));
    EXPECT_TRUE(layer.isMoving());
    pass(0.125);
    EXPECT_DOUBLE_EQ(layer.presentationLayer()->position().x(), 8 * progressAt(TimingCurve::Default, 0.5));
    pass(0.125);
    EXPECT_EQ(layer.presentationLayer()->position(), QPointF(8, 0));
    EXPECT_FALSE(layer.isMoving());
}

TEST_F(SliceLayerTest, turnsBackFromWhereItIsOnScreen)
{
    transaction->begin();
    transaction->commit();
    layer.setPosition({8, 0});
    pass(0.1);
    const QPointF before = layer.presentationLayer()->position();
    layer.setPosition({0, 0});
    EXPECT_EQ(layer.presentationLayer()->position(), before);
}

TEST_F(SliceLayerTest, changesAtOnceWhereActionsAreDisabledOrNothingWasOnScreen)
{
    layer.setPosition({8, 0});
    layer.setFillColor({1, 0, 0, 1});
    EXPECT_FALSE(layer.isMoving());
    transaction->begin();
    transaction->commit();
    transaction->begin();
    transaction->setDisableActions(true);
    layer.setPosition({0, 5});
    transaction->commit();
    EXPECT_FALSE(layer.isMoving());
    EXPECT_EQ(layer.presentationLayer()->position(), QPointF(0, 5));
}

TEST_F(SliceLayerTest, fadesFromOneColourToTheNext)
{
    layer.setFillColor({1, 0, 0, 1});
    transaction->begin();
    transaction->commit();
    layer.setFillColor({0, 1, 0, 0});
    pass(0.125);
    const double progress = progressAt(TimingCurve::Default, 0.5);
    const UIColor shown = layer.presentationLayer()->fillColor();
    EXPECT_DOUBLE_EQ(shown.red, 1 - progress);
    EXPECT_DOUBLE_EQ(shown.green, progress);
    EXPECT_DOUBLE_EQ(shown.alpha, 1 - progress);
}

} // namespace

} // namespace slicewise
