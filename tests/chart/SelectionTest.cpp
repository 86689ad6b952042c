// Taps, and what is asked, told and moved by them, in that order.
#include "tests/chart/ChartParts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace slicewise {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SelectionTest : public ::testing::Test {
protected:
    SelectionTest() { parts.show({1, 2, 3, 2}); }

    [[nodiscard]] Calls taken() { return std::exchange(parts.delegate.calls, {}); }
    void tapBeside() { parts.tap({1, 1}); }

    ChartParts parts;
};

TEST_F(SelectionTest, aTapSelectsAndMovesTheSliceOut)
{
    parts.tapSlice(2);
    EXPECT_THAT(taken(), ElementsAre("willSelect 2: selected -1", "didSelect 2: 2 out, selected 2"));
    const double middle = (parts.layer(2).startAngle() + parts.layer(2).endAngle()) / 2;
    EXPECT_DOUBLE_EQ(parts.layer(2).position().x(), 6.25 * std::cos(middle));
    EXPECT_DOUBLE_EQ(parts.layer(2).position().y(), 6.25 * std::sin(middle));
    EXPECT_EQ(parts.shown(2).position(), QPointF());
    EXPECT_EQ(parts.clock->runOut(), 16) << "over a quarter of a second";
    EXPECT_EQ(parts.shown(2).position(), parts.layer(2).position());
}

TEST_F(SelectionTest, aTapOnAnotherSliceMovesTheFirstBackBefore)
{
    parts.tapSlice(2);
    (void)taken();
    parts.tapSlice(3);
    EXPECT_THAT(taken(), ElementsAre("willDeselect 2: 2 out, selected 2", "didDeselect 2: selected 2",
                                     "willSelect 3: selected 2", "didSelect 3: 3 out, selected 3"));
    EXPECT_EQ(parts.layer(2).position(), QPointF());
    EXPECT_TRUE(parts.layer(3).isSelected());
}

TEST_F(SelectionTest, aTapBesideThePieDeselectsAndKeepsTheIndex)
{
    parts.tapSlice(2);
    (void)taken();
    tapBeside();
    EXPECT_THAT(taken(), ElementsAre("willDeselect 2: 2 out, selected 2", "didDeselect 2: selected 2"));
    EXPECT_EQ(parts.chart.selectedSliceIndex(), 2);
    parts.tapSlice(2);
    EXPECT_THAT(taken(), ElementsAre("willSelect 2: selected 2", "didSelect 2: 2 out, selected 2"));
}

TEST_F(SelectionTest, tapsOnOneSliceTurnItOver)
{
    parts.tapSlice(2);
    (void)taken();
    parts.tapSlice(2);
    EXPECT_THAT(taken(), ElementsAre("willDeselect 2: 2 out, selected 2", "didDeselect 2: selected 2"));
    parts.tapSlice(2);
    EXPECT_THAT(taken(), ElementsAre("willSelect 2: selected 2", "didSelect 2: 2 out, selected 2"));
    parts.tapSlice(2);
    EXPECT_THAT(taken(), ElementsAre("willDeselect 2: 2 out, selected 2", "didDeselect 2: selected 2"));
    EXPECT_EQ(parts.chart.selectedSliceIndex(), 2);
}

TEST_F(SelectionTest, tapsBesideThePieWithNothingSelectedDoNothing)
{
    tapBeside();
    tapBeside();
    EXPECT_THAT(taken(), IsEmpty());
    EXPECT_EQ(parts.chart.selectedSliceIndex(), -1);
}

TEST_F(SelectionTest, aDelegateKeepsASliceFromBeingSelected)
{
    parts.delegate.allows = false;
    parts.tapSlice(2);
    EXPECT_THAT(taken(), ElementsAre("willSelect 2: selected -1"));
    EXPECT_FALSE(parts.layer(2).isSelected());
    EXPECT_EQ(parts.layer(2).position(), QPointF());
    EXPECT_EQ(parts.chart.selectedSliceIndex(), -1);
}

TEST_F(SelectionTest, aRefusalComesAfterTheOtherSliceHasMovedBack)
{
    parts.tapSlice(2);
    (void)taken();
    parts.delegate.allows = false;
    parts.tapSlice(1);
    EXPECT_THAT(taken(), ElementsAre("willDeselect 2: 2 out, selected 2", "didDeselect 2: selected 2",
                                     "willSelect 1: selected 2"));
    EXPECT_EQ(parts.chart.selectedSliceIndex(), 2);
    parts.tapSlice(2);
    EXPECT_THAT(taken(), ElementsAre("willSelect 2: selected 2")) << "and so when turning over";
    EXPECT_FALSE(parts.layer(2).isSelected());
}

TEST_F(SelectionTest, worksWithoutADelegateAndWithOneThatLeavesAllOut)
{
    parts.chart.setDelegate(nullptr);
    parts.tapSlice(2);
    EXPECT_TRUE(parts.layer(2).isSelected());
    QVPieChartDelegate silent;
    parts.chart.setDelegate(&silent);
    parts.tapSlice(1);
    EXPECT_TRUE(parts.layer(1).isSelected());
    parts.tapSlice(1);
    EXPECT_FALSE(parts.layer(1).isSelected());
}

TEST_F(SelectionTest, withoutAnOffsetNothingMovesAndAnotherIndexIsStillTold)
{
    for (const double offset : {0.0, -5.0}) {
        parts.chart.setSelectedSliceOffsetRadius(offset);
        parts.show({1, 2, 3, 2});
        parts.tapSlice(2);
        EXPECT_THAT(taken(), ElementsAre("willSelect 2: selected -1", "didSelect 2: selected 2"));
        EXPECT_EQ(parts.layer(2).position(), QPointF());
        parts.tapSlice(2);
        EXPECT_THAT(taken(), IsEmpty()) << "nothing to turn over";
        parts.tapSlice(1);
        EXPECT_THAT(taken(), ElementsAre("willDeselect 2: selected 2", "didDeselect 2: selected 2",
                                         "willSelect 1: selected 2", "didSelect 1: selected 1"));
    }
}

TEST_F(SelectionTest, aSliceMovesOutOnceAndFromWhereItIs)
{
    parts.layer(1).setPosition({10, 20});
    parts.chart.setSliceSelectedAtIndex(1);
    const QPointF out = parts.layer(1).position();
    const double middle = (parts.layer(1).startAngle() + parts.layer(1).endAngle()) / 2;
    EXPECT_DOUBLE_EQ(out.x(), 10 + 6.25 * std::cos(middle));
    parts.chart.setSliceSelectedAtIndex(1);
    EXPECT_EQ(parts.layer(1).position(), out);
    parts.chart.setSliceDeselectedAtIndex(1);
    EXPECT_EQ(parts.layer(1).position(), QPointF());
    parts.layer(1).setPosition({1, 1});
    parts.chart.setSliceDeselectedAtIndex(1);
    EXPECT_EQ(parts.layer(1).position(), QPointF(1, 1)) << "it is at rest";
    EXPECT_THAT(taken(), IsEmpty()) << "the delegate is not asked";
}

TEST_F(SelectionTest, anIndexWithoutASliceIsIgnored)
{
    for (const int index : {-1, 4, 1000, -1000}) {
        parts.chart.setSliceSelectedAtIndex(index);
        parts.chart.setSliceDeselectedAtIndex(index);
    }
    parts.chart.notifyDelegateOfSelectionChangeFromTo(77, 77);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_FALSE(parts.layer(i).isSelected());
    }
    EXPECT_THAT(taken(), IsEmpty());
}

TEST_F(SelectionTest, findsTheSliceUnderAPointAndRaisesIt)
{
    for (std::size_t i = 0; i < 4; ++i) {
        const QPointF point = parts.pointIn(i) - parts.chart.pieView().frame.topLeft();
        EXPECT_EQ(parts.chart.getCurrentSelectedOnTouch(point), static_cast<int>(i));
        for (std::size_t j = 0; j < 4; ++j) {
            EXPECT_EQ(parts.layer(j).zPosition(), i == j ? 3.4028234663852886e38 : 100.0);
        }
        EXPECT_EQ(parts.layer(i).lineJoin(), Qt::BevelJoin);
    }
    EXPECT_EQ(parts.chart.getCurrentSelectedOnTouch({-5, -5}), -1);
    EXPECT_EQ(parts.layer(3).zPosition(), 100);
    EXPECT_EQ(parts.layer(3).lineJoin(), Qt::BevelJoin) << "stays so";
}

TEST_F(SelectionTest, theRaisedSliceAloneKeepsItsOutline)
{
    parts.chart.touchesBeganWithEvent(parts.pointIn(1));
    EXPECT_EQ(parts.layer(1).lineWidth(), 0.5);
    EXPECT_EQ(parts.layer(0).lineWidth(), 0);
    EXPECT_EQ(parts.layer(2).lineWidth(), 0);
}

TEST_F(SelectionTest, aFingerThatMovesRaisesOneSliceAfterTheOther)
{
    parts.chart.touchesBeganWithEvent(parts.pointIn(1));
    for (const std::size_t under : {2U, 3U, 0U}) {
        parts.chart.touchesMovedWithEvent(parts.pointIn(under));
        for (std::size_t i = 0; i < 4; ++i) {
            EXPECT_EQ(parts.layer(i).zPosition() > 100, i == under);
        }
    }
    EXPECT_THAT(taken(), IsEmpty()) << "before it is lifted";
    parts.chart.touchesEndedWithEvent(parts.pointIn(0));
    EXPECT_THAT(taken(), ElementsAre("willSelect 0: selected -1", "didSelect 0: 0 out, selected 0"));
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(parts.layer(i).zPosition(), 100);
        EXPECT_EQ(parts.layer(i).lineWidth(), 0);
    }
}

TEST_F(SelectionTest, aTouchThatIsCancelledSelectsNothing)
{
    parts.chart.touchesBeganWithEvent(parts.pointIn(1));
    parts.chart.touchesCancelledWithEvent();
    EXPECT_THAT(taken(), IsEmpty());
    EXPECT_EQ(parts.layer(1).zPosition(), 100);
    EXPECT_EQ(parts.layer(1).lineWidth(), 0);
}

TEST_F(SelectionTest, aSliceThatIsOutIsFoundWhereItLiesAtRest)
{
    parts.chart.setSelectedSliceOffsetRadius(500);
    parts.tapSlice(2);
    parts.clock->runOut();
    const QPointF atRest = parts.pointIn(2) - parts.chart.pieView().frame.topLeft();
    EXPECT_EQ(parts.chart.getCurrentSelectedOnTouch(atRest), 2);
    EXPECT_EQ(parts.chart.getCurrentSelectedOnTouch(atRest + parts.layer(2).position()), -1);
}

TEST_F(SelectionTest, theLastSliceWinsWhereOutlinesLieOverEachOther)
{
    parts.layer(1).setPath(parts.layer(0).path());
    parts.layer(3).setPath(parts.layer(0).path());
    const QPointF point = parts.pointIn(0) - parts.chart.pieView().frame.topLeft();
    EXPECT_EQ(parts.chart.getCurrentSelectedOnTouch(point), 3);
    EXPECT_GT(parts.layer(0).zPosition(), 100) << "all of them are raised";
    EXPECT_GT(parts.layer(1).zPosition(), 100);
}

TEST_F(SelectionTest, asksTheOutlineByItsWindings)
{
    QPainterPath twice;
    twice.addRect(0, 0, 40, 40);
    twice.addRect(10, 10, 20, 20);
    twice.setFillRule(Qt::OddEvenFill);
    parts.layer(1).setPath(twice);
    for (const std::size_t other : {0U, 2U, 3U}) {
        parts.layer(other).setPath({});
    }
    EXPECT_EQ(parts.chart.getCurrentSelectedOnTouch({20, 20}), 1);
}

TEST_F(SelectionTest, findsSlicesWhereTheyAreOnScreen)
{
    parts.show({1, 1});
    parts.reload({9, 1});
    parts.clock->step(0.01);
    const QPointF top = parts.chart.pieCenter() + QPointF(-5, -30);
    EXPECT_EQ(parts.chart.getCurrentSelectedOnTouch(top), 1);
    parts.clock->runOut();
    EXPECT_EQ(parts.chart.getCurrentSelectedOnTouch(top), 1);
    const QPointF left = parts.chart.pieCenter() + QPointF(-30, 0);
    EXPECT_EQ(parts.chart.getCurrentSelectedOnTouch(left), 0);
}

} // namespace

} // namespace slicewise
