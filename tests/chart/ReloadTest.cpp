// From one set of values to the next: what is asked, what is kept, where it goes.
#include "chart/SectorPath.h"
#include "chart/UIColorHSB.h"
#include "tests/chart/ChartParts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace slicewise {

namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(Reload, doesNothingWithoutADataSource)
{
    ChartParts parts;
    parts.show({1, 2});
    parts.chart.setSliceSelectedAtIndex(1);
    parts.clock->runOut();
    parts.chart.setDataSource(nullptr);
    parts.chart.reloadData();
    EXPECT_FALSE(parts.clock->isRunning());
    EXPECT_TRUE(parts.layer(1).isSelected());
    EXPECT_EQ(parts.values(), (std::vector<double>{1, 2}));
}

TEST(Reload, asksTheCountThenAllValuesThenColourAndTextOfEach)
{
    ChartParts parts;
    parts.reload({1, 2});
    EXPECT_THAT(parts.source.calls,
                ElementsAre("count", "value 0", "value 1", "color 0", "text 0", "color 1", "text 1"));
}

TEST(Reload, settingADataSourceAsksNothing)
{
    const ChartParts parts({1, 2});
    EXPECT_THAT(parts.source.calls, IsEmpty());
    EXPECT_THAT(parts.chart.sliceLayers(), IsEmpty());
}

TEST(Reload, sharesTheTurnByTheValues)
{
    ChartParts parts;
    parts.reload({1, 1, 2});
    constexpr double kQuarter = kTurn / 4;
    EXPECT_DOUBLE_EQ(parts.layer(0).startAngle(), kTop);
    EXPECT_DOUBLE_EQ(parts.layer(0).endAngle(), kTop + kQuarter);
    EXPECT_DOUBLE_EQ(parts.layer(1).startAngle(), kTop + kQuarter);
    EXPECT_DOUBLE_EQ(parts.layer(1).endAngle(), kTop + 2 * kQuarter);
    EXPECT_DOUBLE_EQ(parts.layer(2).startAngle(), kTop + 2 * kQuarter);
    EXPECT_DOUBLE_EQ(parts.layer(2).endAngle(), kTop + kTurn);
    EXPECT_EQ(parts.layer(2).value(), 2);
    EXPECT_EQ(parts.layer(2).percentage(), 0.5);
    EXPECT_EQ(parts.layer(0).zPosition(), 100);
    EXPECT_EQ(parts.layer(0).lineJoin(), Qt::RoundJoin);
    EXPECT_EQ(parts.layer(0).lineCap(), Qt::RoundCap);
}

TEST(Reload, beginsWhereTheChartSays)
{
    ChartParts parts;
    parts.chart.setStartPieAngle(-1);
    parts.reload({3, 1});
    EXPECT_EQ(parts.layer(0).startAngle(), -1);
    EXPECT_DOUBLE_EQ(parts.layer(1).endAngle(), -1 + kTurn);
}

TEST(Reload, theFirstSlicesGrowOutOfTheStartWithinTheChartsSpeed)
{
    ChartParts parts;
    parts.chart.setLinear(true);
    parts.reload({1, 1, 2});
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(parts.shown(i).startAngle(), kTop);
        EXPECT_EQ(parts.shown(i).endAngle(), kTop);
    }
    parts.clock->step(0.25);
    EXPECT_DOUBLE_EQ(parts.shown(2).startAngle(), kTop + kTurn / 4);
    EXPECT_DOUBLE_EQ(parts.shown(2).endAngle(), kTop + kTurn / 2);
    parts.clock->step(0.25);
    EXPECT_DOUBLE_EQ(parts.shown(2).endAngle(), kTop + kTurn);
    EXPECT_FALSE(parts.clock->isRunning());
}

TEST(Reload, slicesThatComeLaterStandWhereTheyBelong)
{
    ChartParts parts;
    parts.show({1, 1});
    parts.reload({1, 1, 2});
    EXPECT_DOUBLE_EQ(parts.shown(2).startAngle(), kTop + kTurn / 2);
    EXPECT_DOUBLE_EQ(parts.shown(2).endAngle(), kTop + kTurn);
    EXPECT_DOUBLE_EQ(parts.shown(1).endAngle(), kTop + kTurn) << "from where it was";
}

TEST(Reload, timingIsGentleOrLinear)
{
    ChartParts parts;
    parts.reload({1});
    EXPECT_EQ(parts.layer(0).animationForKey("endAngle")->timing, TimingCurve::Default);
    EXPECT_EQ(parts.layer(0).animationForKey("startAngle")->timing, TimingCurve::Default);
    parts.chart.setLinear(true);
    parts.reload({1});
    EXPECT_EQ(parts.layer(0).animationForKey("endAngle")->timing, TimingCurve::Linear);
}

TEST(Reload, interruptsAnotherWithoutAJump)
{
    ChartParts parts;
    parts.reload({1, 2, 3});
    parts.clock->step(0.2);
    std::vector<double> before;
    for (std::size_t i = 0; i < 3; ++i) {
        before.push_back(parts.shown(i).startAngle());
        before.push_back(parts.shown(i).endAngle());
    }
    parts.reload({5, 1, 1});
    std::vector<double> after;
    for (std::size_t i = 0; i < 3; ++i) {
        after.push_back(parts.shown(i).startAngle());
        after.push_back(parts.shown(i).endAngle());
    }
    EXPECT_EQ(before, after);
    EXPECT_EQ(parts.chart.animations().size(), 6U) << "those that were replaced are gone";
    parts.clock->runOut();
    EXPECT_DOUBLE_EQ(parts.shown(0).endAngle(), kTop + kTurn * 5 / 7);
}

TEST(Reload, coloursComeFromTheDataSourceOrByIndex)
{
    ChartParts parts;
    parts.source.colors[1] = {0.5, 0.25, 0, 0.75};
    parts.reload(std::vector<double>(161, 1.0));
    EXPECT_EQ(parts.layer(0).fillColor(), colorWithHueSaturationBrightnessAlpha(0.02, 0.3, 0.91, 1));
    EXPECT_EQ(parts.layer(1).fillColor(), (UIColor{0.5, 0.25, 0, 0.75}));
    EXPECT_EQ(parts.layer(2).fillColor(), colorWithHueSaturationBrightnessAlpha(0.02, 0.5, 0.91, 1));
    EXPECT_EQ(parts.layer(7).fillColor(), colorWithHueSaturationBrightnessAlpha(0.02, 1.0, 0.91, 1));
    EXPECT_EQ(parts.layer(8).fillColor(), colorWithHueSaturationBrightnessAlpha(0.07, 0.1 * 3, 0.91, 1));
    EXPECT_EQ(parts.layer(159).fillColor(),
              colorWithHueSaturationBrightnessAlpha(0.02 + 0.05 * 19, 1, 0.91, 1));
    EXPECT_EQ(parts.layer(160).fillColor(), parts.layer(0).fillColor()) << "the hues begin anew";
}

TEST(Reload, outlinesAreTheSameColourDarker)
{
    ChartParts parts;
    parts.source.colors[0] = {0.5, 0.25, 0, 0.75};
    parts.reload({1});
    const UIColor stroke = parts.layer(0).strokeColor();
    EXPECT_NEAR(stroke.red, 0.4, 1e-12);
    EXPECT_NEAR(stroke.green, 0.2, 1e-12);
    EXPECT_NEAR(stroke.blue, 0, 1e-12);
    EXPECT_EQ(stroke.alpha, 0.75);
}

TEST(Reload, aKeptSliceFadesToItsNewColour)
{
    ChartParts parts;
    parts.source.colors[0] = {1, 0, 0, 1};
    parts.show({1});
    parts.source.colors[0] = {0, 0, 1, 1};
    parts.reload({1});
    EXPECT_EQ(parts.layer(0).fillColor(), (UIColor{0, 0, 1, 1}));
    EXPECT_EQ(parts.shown(0).fillColor(), (UIColor{1, 0, 0, 1}));
    parts.clock->step(0.5);
    EXPECT_EQ(parts.shown(0).fillColor(), (UIColor{0, 0, 1, 1}));
}

TEST(Reload, textsStayWhereTheQuestionIsLeftOutAndGoWhereTheAnswerIsNone)
{
    ChartParts parts;
    parts.source.texts[0] = QStringLiteral("Songs");
    parts.source.texts[1] = QStringLiteral("Books");
    parts.show({1, 2});
    parts.source.texts.erase(0);
    parts.source.texts[1] = std::nullopt;
    parts.show({1, 2});
    EXPECT_EQ(parts.layer(0).text(), QStringLiteral("Songs"));
    EXPECT_EQ(parts.layer(1).text(), std::nullopt);
}

TEST(Reload, withAsManyValuesKeepsEverySlice)
{
    ChartParts parts;
    parts.show({1, 2, 3});
    const auto before = parts.chart.sliceLayers();
    parts.show({7, 2, 9});
    EXPECT_EQ(parts.chart.sliceLayers(), before);
    EXPECT_EQ(parts.values(), (std::vector<double>{7, 2, 9}));
}

TEST(Reload, withMoreValuesInsertsBeforeTheFirstThatDiffers)
{
    ChartParts parts;
    parts.show({1, 2, 3});
    const auto before = parts.chart.sliceLayers();
    parts.show({1, 9, 2, 3});
    EXPECT_EQ(parts.chart.sliceLayers().at(0), before[0]);
    EXPECT_EQ(parts.chart.sliceLayers().at(2), before[1]);
    EXPECT_EQ(parts.chart.sliceLayers().at(3), before[2]);
}

TEST(Reload, withFewerValuesPassesOverThoseThatAreGone)
{
    ChartParts parts;
    parts.show({1, 2, 3, 4});
    const auto before = parts.chart.sliceLayers();
    parts.show({2, 4});
    EXPECT_THAT(parts.chart.sliceLayers(), ElementsAre(before[1], before[3]));
}

TEST(Reload, whatIsRemovedIsHiddenAndMovesNoMore)
{
    ChartParts parts;
    parts.chart.setFillColor(Qt::green);
    parts.reload({1, 2, 3});
    const auto removed = parts.chart.sliceLayers().at(0);
    parts.clock->step(0.1);
    parts.reload({2, 3});
    EXPECT_TRUE(removed->label().hidden);
    EXPECT_EQ(removed->zPosition(), 0);
    EXPECT_EQ(removed->fillColor(), (UIColor{0, 1, 0, 1}));
    EXPECT_EQ(removed->animationForKey("endAngle"), nullptr);
    EXPECT_EQ(parts.chart.animations().size(), 4U);
    parts.clock->runOut();
    EXPECT_THAT(parts.chart.animations(), IsEmpty());
    EXPECT_FALSE(parts.chart.hasAnimationTimer());
}

TEST(Reload, closesTheSlicesAndKeepsThemWhereNothingIsLeft)
{
    for (const std::vector<double> &nothing : {std::vector<double>{}, {0, 0}, {0, 0, 0}, {-1, -1}, {1, -1}}) {
        ChartParts parts;
        parts.show({1, 2});
        const auto before = parts.chart.sliceLayers();
        parts.reload(nothing);
        EXPECT_FALSE(parts.chart.pieView().userInteractionEnabled);
        EXPECT_EQ(parts.shown(0).endAngle(), parts.shown(1).startAngle()) << "from what is on screen";
        EXPECT_NE(parts.shown(0).endAngle(), kTop);
        parts.clock->runOut();
        EXPECT_EQ(parts.chart.sliceLayers(), before);
        for (std::size_t i = 0; i < 2; ++i) {
            EXPECT_EQ(parts.shown(i).startAngle(), kTop);
            EXPECT_EQ(parts.shown(i).endAngle(), kTop);
            EXPECT_EQ(parts.layer(i).label().string, QString());
            EXPECT_EQ(parts.layer(i).lineWidth(), 0);
            EXPECT_TRUE(parts.layer(i).path().isEmpty());
        }
        EXPECT_EQ(parts.layer(1).value(), 2);
        EXPECT_FALSE(parts.chart.pieView().userInteractionEnabled) << "until there are values again";
        parts.show({2, 2});
        EXPECT_TRUE(parts.chart.pieView().userInteractionEnabled);
        EXPECT_EQ(parts.chart.sliceLayers(), before);
    }
}

TEST(Reload, aChartWithoutSlicesTakesTouchesAfterNothingToo)
{
    ChartParts parts;
    parts.reload({});
    EXPECT_TRUE(parts.chart.pieView().userInteractionEnabled);
    EXPECT_THAT(parts.chart.sliceLayers(), IsEmpty());
    EXPECT_FALSE(parts.clock->isRunning());
}

TEST(Reload, refusesTouchesWhileItMakesTheSlices)
{
    ChartParts parts;
    std::vector<bool> taken;
    class Watching final : public ListSource {
    public:
        using ListSource::ListSource;
        OptionalAnswer<UIColor> pieChartColorForSliceAtIndex(QVPieChart &chart, unsigned /*index*/) override
        {
            taken.push_back(chart.pieView().userInteractionEnabled);
            return std::nullopt;
        }
        std::vector<bool> taken;
    } source({1, 2});
    parts.chart.setDataSource(&source);
    parts.chart.reloadData();
    EXPECT_THAT(source.taken, ElementsAre(false, false));
    EXPECT_TRUE(parts.chart.pieView().userInteractionEnabled);
}

TEST(Reload, showsEmptySlicesWhereTheFirstValuesAreAllZero)
{
    ChartParts parts;
    parts.show({0, 0});
    EXPECT_EQ(parts.values(), (std::vector<double>{0, 0}));
    EXPECT_EQ(parts.layer(0).percentage(), 0);
    EXPECT_EQ(parts.layer(1).startAngle(), kTop);
    EXPECT_EQ(parts.layer(1).endAngle(), kTop);
    EXPECT_EQ(parts.layer(1).lineWidth(), 0);
    EXPECT_TRUE(parts.chart.pieView().userInteractionEnabled);
}

TEST(Reload, movesSelectedSlicesBackWithoutAWordToTheDelegate)
{
    ChartParts parts;
    parts.show({1, 2, 3});
    parts.tapSlice(1);
    parts.clock->runOut();
    parts.delegate.calls.clear();
    parts.reload({1, 2, 3});
    EXPECT_EQ(parts.chart.selectedSliceIndex(), -1);
    EXPECT_FALSE(parts.layer(1).isSelected());
    EXPECT_EQ(parts.layer(1).position(), QPointF());
    EXPECT_NE(parts.shown(1).position(), QPointF()) << "it moves";
    parts.clock->step(0.25);
    EXPECT_EQ(parts.shown(1).position(), QPointF()) << "in a quarter of a second, not in the chart's time";
    EXPECT_THAT(parts.delegate.calls, IsEmpty());
}

TEST(Reload, outlinesFollowWhatIsOnScreenAndRestAtTheTarget)
{
    ChartParts parts;
    parts.reload({1, 3});
    EXPECT_TRUE(parts.layer(0).path().isEmpty()) << "before the first frame";
    parts.clock->step(0.2);
    const SliceLayer shown = parts.shown(1);
    EXPECT_EQ(parts.layer(1).path(), sectorPath({43.75, 43.75}, 43.75, shown.startAngle(), shown.endAngle()));
    EXPECT_EQ(parts.layer(1).lineWidth(), 0.5);
    parts.clock->runOut();
    EXPECT_EQ(parts.layer(1).path(),
              sectorPath({43.75, 43.75}, 43.75, parts.layer(1).startAngle(), parts.layer(1).endAngle()));
}

TEST(Reload, theFrameTimerLivesWhileArcsMove)
{
    ChartParts parts;
    EXPECT_FALSE(parts.chart.hasAnimationTimer());
    parts.reload({1, 3});
    EXPECT_TRUE(parts.chart.hasAnimationTimer());
    EXPECT_EQ(parts.chart.animations().size(), 4U);
    const int frames = parts.clock->runOut();
    EXPECT_EQ(frames, 32) << "half a second";
    EXPECT_FALSE(parts.chart.hasAnimationTimer());
    EXPECT_THAT(parts.chart.animations(), IsEmpty());
    EXPECT_EQ(parts.clock->starts(), 1);
}

TEST(Reload, aMoveOutWantsFramesButNotTheTimerOfTheArcs)
{
    ChartParts parts;
    parts.show({1, 3});
    parts.chart.setSliceSelectedAtIndex(0);
    EXPECT_TRUE(parts.clock->isRunning());
    EXPECT_FALSE(parts.chart.hasAnimationTimer());
    EXPECT_EQ(parts.clock->runOut(), 16);
}

TEST(Reload, takesNoTimeAtASpeedOfNothing)
{
    for (const double speed : {0.0, -1.0}) {
        ChartParts parts;
        parts.chart.setAnimationSpeed(speed);
        parts.reload({1, 3});
        EXPECT_EQ(parts.clock->runOut(), 1);
        EXPECT_DOUBLE_EQ(parts.shown(1).endAngle(), kTop + kTurn);
        EXPECT_FALSE(parts.layer(1).path().isEmpty());
    }
}

TEST(Reload, cutsAnEndlessTimeToAMinute)
{
    ChartParts parts;
    parts.chart.setAnimationSpeed(1e300);
    parts.reload({1, 3});
    parts.clock->step(61);
    EXPECT_FALSE(parts.clock->isRunning());
}

} // namespace

} // namespace slicewise
