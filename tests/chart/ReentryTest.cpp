// Numbers that are none, and data sources and delegates that do things to the chart while it asks them.
#include "tests/chart/ChartParts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

namespace slicewise {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr double kInfinite = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kHuge = std::numeric_limits<double>::max();

TEST(OddValues, whatIsNotFiniteCountsAsNothing)
{
    ChartParts parts;
    parts.show({1, kNan, kInfinite, -kInfinite, 3});
    EXPECT_EQ(parts.values(), (std::vector<double>{1, 0, 0, 0, 3}));
    EXPECT_EQ(parts.layer(4).percentage(), 0.75);
    EXPECT_DOUBLE_EQ(parts.layer(4).endAngle(), kTop + kTurn);
    EXPECT_EQ(parts.layer(2).startAngle(), parts.layer(2).endAngle());
    EXPECT_FALSE(parts.clock->isRunning());
    const auto before = parts.chart.sliceLayers();
    parts.show({kNan, kNan});
    EXPECT_EQ(parts.chart.sliceLayers(), before) << "closed, as for zeros";
    EXPECT_FALSE(parts.clock->isRunning());
}

TEST(OddValues, hugeValuesShareTheTurn)
{
    ChartParts parts;
    parts.show({kHuge, kHuge / 2, kHuge / 2, 1});
    EXPECT_DOUBLE_EQ(parts.layer(0).percentage(), 0.5);
    EXPECT_DOUBLE_EQ(parts.layer(2).endAngle(), kTop + kTurn);
    EXPECT_EQ(parts.layer(0).value(), kHuge);
}

TEST(OddValues, tinyValuesShareTheTurn)
{
    ChartParts parts;
    const double tiny = std::numeric_limits<double>::denorm_min();
    parts.show({tiny, tiny});
    EXPECT_EQ(parts.layer(0).percentage(), 0.5);
}

TEST(OddValues, negativeOnesCountWithTheirSignAndDrawNothing)
{
    ChartParts parts;
    parts.show({3, -1, 2});
    EXPECT_EQ(parts.layer(1).value(), -1);
    EXPECT_EQ(parts.layer(1).percentage(), -0.25);
    EXPECT_LT(parts.layer(1).endAngle(), parts.layer(1).startAngle());
    EXPECT_TRUE(parts.layer(1).path().isEmpty());
    EXPECT_DOUBLE_EQ(parts.layer(2).endAngle(), kTop + kTurn);
    EXPECT_EQ(parts.layer(1).label().string, QString());
}

TEST(OddValues, aSumOfNothingOrLessShowsNoAnglesTheFirstTime)
{
    ChartParts parts;
    parts.show({1, -1});
    EXPECT_EQ(parts.layer(0).percentage(), 0);
    EXPECT_EQ(parts.layer(0).endAngle(), kTop);
    EXPECT_FALSE(parts.clock->isRunning());
}

TEST(OddValues, sharesOfASumThatIsHardlyMoreThanNothingStayNumbers)
{
    ChartParts parts;
    // One after the other, so that the sum is the last value, by which the others cannot be divided.
    parts.show({kHuge / 4, -kHuge / 4, 1e-300});
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_TRUE(std::isfinite(parts.layer(i).percentage())) << i;
        EXPECT_TRUE(std::isfinite(parts.layer(i).startAngle())) << i;
        EXPECT_TRUE(std::isfinite(parts.layer(i).endAngle())) << i;
        EXPECT_TRUE(std::isfinite(parts.layer(i).label().position.x())) << i;
    }
    parts.reload({1, 1});
    EXPECT_TRUE(std::isfinite(parts.shown(1).endAngle()));
    parts.clock->runOut();
    EXPECT_DOUBLE_EQ(parts.layer(1).endAngle(), kTop + kTurn);
}

TEST(OddValues, moreSlicesThanThereArePixelsAreNotAskedFor)
{
    ChartParts parts;
    parts.source.count = [](QVPieChart &) { return std::numeric_limits<unsigned>::max(); };
    parts.source.values.assign(QVPieChart::kMostSlices, 1);
    parts.chart.reloadData();
    EXPECT_EQ(parts.chart.sliceLayers().size(), QVPieChart::kMostSlices);
    parts.clock->step(1);
    EXPECT_FALSE(parts.clock->isRunning());
    EXPECT_EQ(
        std::ranges::count_if(parts.source.calls, [](const auto &call) { return call.starts_with("value"); }),
        static_cast<long>(QVPieChart::kMostSlices));
}

TEST(Reentry, theCountOfTheFirstAnswerHolds)
{
    ChartParts parts({1, 2, 3, 4});
    unsigned next = 2;
    parts.source.count = [&](QVPieChart &) { return next++; };
    parts.source.onValue = [&](unsigned) { parts.source.values.clear(); };
    parts.chart.reloadData();
    EXPECT_EQ(parts.values(), (std::vector<double>{0, 0}));
    parts.chart.reloadData();
    EXPECT_EQ(parts.values().size(), 2U) << "values that are all 0 close what is there";
}

TEST(Reentry, aReloadFromInsideADataSourceComesOnceMoreAfterwards)
{
    ChartParts parts({1, 2});
    bool first = true;
    parts.source.onValue = [&](unsigned index) {
        if (first && index == 0) {
            first = false;
            parts.source.values = {5, 6, 7};
            parts.chart.reloadData();
        }
    };
    parts.chart.reloadData();
    EXPECT_EQ(parts.values(), (std::vector<double>{5, 6, 7}));
    EXPECT_EQ(std::ranges::count(parts.source.calls, "count"), 2);
}

TEST(Reentry, aDataSourceThatAlwaysReloadsComesToAnEnd)
{
    ChartParts parts({1, 2});
    parts.source.onValue = [&](unsigned) { parts.chart.reloadData(); };
    parts.source.count = [](QVPieChart &chart) {
        chart.reloadData();
        return 2U;
    };
    parts.chart.reloadData();
    EXPECT_EQ(std::ranges::count(parts.source.calls, "count"), 2);
    EXPECT_EQ(parts.values(), (std::vector<double>{1, 2}));
    parts.clock->runOut();
    EXPECT_FALSE(parts.clock->isRunning());
}

TEST(Reentry, aFrameThatChangesInsideAReloadIsFollowedByAnother)
{
    ChartParts parts({1, 2});
    parts.source.onValue = [&](unsigned) { parts.chart.setSize({50, 50}); };
    parts.show({1, 2});
    EXPECT_EQ(parts.chart.pieRadius(), 21.875);
    EXPECT_EQ(parts.values().size(), 2U);
}

TEST(Reentry, aDataSourceThatIsDestroyedIsForgotten)
{
    ChartParts parts;
    auto source = std::make_unique<ListSource>(std::vector<double>{1, 2});
    parts.chart.setDataSource(source.get());
    parts.chart.reloadData();
    source.reset();
    EXPECT_EQ(parts.chart.dataSource(), nullptr);
    parts.chart.reloadData();
    EXPECT_EQ(parts.values(), (std::vector<double>{1, 2}));
}

TEST(Reentry, aDataSourceThatIsTakenAwayInsideAReloadLeavesTheChartAsItWas)
{
    ChartParts parts;
    parts.show({1, 2});
    parts.source.values = {5, 6, 7};
    parts.source.onValue = [&](unsigned index) {
        if (index == 1) {
            parts.chart.setDataSource(nullptr);
        }
    };
    parts.chart.reloadData();
    EXPECT_EQ(parts.values(), (std::vector<double>{1, 2}));
    EXPECT_TRUE(parts.chart.pieView().userInteractionEnabled);
    EXPECT_FALSE(parts.clock->isRunning());
}

TEST(Reentry, aDataSourceThatIsDestroyedAtItsLastQuestionsLeavesDefaults)
{
    class Vanishing final : public QVPieChartDataSource {
    public:
        explicit Vanishing(std::unique_ptr<QVPieChartDataSource> &self) : m_self(self) {}
        unsigned numberOfSlicesInPieChart(QVPieChart & /*chart*/) override { return 2; }
        double pieChartValueForSliceAtIndex(QVPieChart & /*chart*/, unsigned index) override
        {
            return index + 1;
        }
        OptionalAnswer<UIColor> pieChartColorForSliceAtIndex(QVPieChart & /*chart*/,
                                                             unsigned /*index*/) override
        {
            m_self.reset();
            return UIColor{1, 0, 0, 1};
        }

    private:
        std::unique_ptr<QVPieChartDataSource> &m_self;
    };
    ChartParts parts;
    std::unique_ptr<QVPieChartDataSource> source;
    source = std::make_unique<Vanishing>(source);
    parts.chart.setDataSource(source.get());
    parts.chart.reloadData();
    EXPECT_EQ(parts.values(), (std::vector<double>{1, 2}));
    EXPECT_EQ(parts.layer(0).fillColor(), (UIColor{1, 0, 0, 1}));
    EXPECT_EQ(parts.layer(1).text(), std::nullopt);
}

TEST(Reentry, aReloadFromInsideADelegateRunsAtOnceAndTheChangeGoesOn)
{
    ChartParts parts;
    parts.show({1, 2, 3});
    parts.delegate.onCall = [&](QVPieChart &) {
        parts.delegate.onCall = nullptr;
        parts.reload({1, 2});
    };
    parts.tapSlice(2);
    EXPECT_THAT(parts.delegate.calls, ElementsAre("willSelect 2: selected -1", "didSelect 2: selected 2"));
    EXPECT_EQ(parts.values(), (std::vector<double>{1, 2}));
    EXPECT_FALSE(parts.layer(0).isSelected());
    parts.clock->runOut();
    parts.tapSlice(1);
    EXPECT_TRUE(parts.layer(1).isSelected());
    parts.clock->runOut();
    EXPECT_FALSE(parts.clock->isRunning());
}

TEST(Reentry, aDelegateThatIsDestroyedInsideItsCallHearsNothingMore)
{
    class Vanishing final : public QVPieChartDelegate {
    public:
        Vanishing(std::unique_ptr<QVPieChartDelegate> &self, int &calls) : m_self(self), m_calls(calls) {}
        bool pieChartWillSelectSliceAtIndex(QVPieChart & /*chart*/, unsigned /*index*/) override
        {
            ++m_calls;
            m_self.reset();
            return true;
        }

    private:
        std::unique_ptr<QVPieChartDelegate> &m_self;
        int &m_calls;
    };
    ChartParts parts;
    parts.show({1, 2});
    int calls = 0;
    std::unique_ptr<QVPieChartDelegate> delegate;
    delegate = std::make_unique<Vanishing>(delegate, calls);
    parts.chart.setDelegate(delegate.get());
    parts.tapSlice(1);
    parts.tapSlice(0);
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(parts.layer(0).isSelected());
    EXPECT_EQ(parts.chart.delegate(), nullptr);
}

TEST(Reentry, framesThatPassWhileADataSourceAnswersEndNothingThatHasNotBegun)
{
    class Slow final : public ListSource {
    public:
        OptionalAnswer<UIColor> pieChartColorForSliceAtIndex(QVPieChart & /*chart*/,
                                                             unsigned /*index*/) override
        {
            clock->step(1);
            return std::nullopt;
        }
        std::shared_ptr<SteppedClock> clock;
    } source;
    ChartParts parts;
    source.clock = parts.clock;
    parts.chart.setDataSource(&source);
    source.values = {1, 2};
    parts.chart.setAnimationSpeed(30);
    parts.chart.reloadData();
    source.values = {2, 1};
    parts.chart.setAnimationSpeed(0.5);
    parts.chart.reloadData();
    EXPECT_EQ(parts.chart.animations().size(), 4U);
    EXPECT_LE(parts.clock->runOut(), 32) << "half a second";
    EXPECT_THAT(parts.chart.animations(), IsEmpty());
    EXPECT_DOUBLE_EQ(parts.layer(1).endAngle(), kTop + kTurn);
}

TEST(Reentry, animationsOfOthersThatNobodyListensToEndToo)
{
    ChartParts parts;
    parts.show({1, 2});
    parts.layer(0).createArcAnimationForKeyFromValueToValueDelegateLinear(SliceLayer::kEndAngle, 0, 1,
                                                                          nullptr, TimingCurve::Linear);
    parts.chart.setSliceSelectedAtIndex(1);
    parts.clock->runOut();
    EXPECT_EQ(parts.shown(0).endAngle(), 1);
    EXPECT_EQ(parts.layer(0).animationForKey(SliceLayer::kEndAngle), nullptr);
}

TEST(Reentry, aDelegateThatSelectsByItselfIsNotAskedForIt)
{
    ChartParts parts;
    parts.show({1, 2, 3});
    parts.delegate.allows = false;
    parts.delegate.onCall = [](QVPieChart &chart) { chart.setSliceSelectedAtIndex(1); };
    parts.tapSlice(1);
    EXPECT_THAT(parts.delegate.calls, ElementsAre("willSelect 1: selected -1"));
    EXPECT_TRUE(parts.layer(1).isSelected());
    EXPECT_EQ(parts.chart.selectedSliceIndex(), -1);
}

TEST(Reentry, aChartThatGoesWhileItMovesStopsItsFrames)
{
    const auto clock = std::make_shared<SteppedClock>();
    {
        ListSource source({1, 2});
        QVPieChart chart({0, 0, 200, 100});
        chart.setClock(clock);
        chart.setDataSource(&source);
        chart.reloadData();
        EXPECT_TRUE(clock->isRunning());
    }
    EXPECT_FALSE(clock->isRunning());
}

TEST(Guarded, aCopyOfADelegateIsAnotherOne)
{
    ChartParts parts;
    auto first = std::make_unique<QVPieChartDelegate>();
    parts.chart.setDelegate(first.get());
    const QVPieChartDelegate copy(*first);
    first.reset();
    EXPECT_EQ(parts.chart.delegate(), nullptr);
}

} // namespace

} // namespace slicewise
