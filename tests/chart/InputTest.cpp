// Real events in a real window: fingers, mouse, keys, and lists that take a finger away.
#include "tests/chart/ChartParts.h"

#include <QGuiApplication>
#include <QPointingDevice>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QTest>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace slicewise {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class InputTest : public ::testing::Test {
protected:
    InputTest()
    {
        window.resize(300, 200);
        parts.chart.setParentItem(window.contentItem());
        parts.show({1, 2, 3, 2});
        window.show();
        window.requestActivate();
        QCoreApplication::processEvents();
    }

    [[nodiscard]] QPoint at(std::size_t index) const
    {
        return parts.chart.mapToScene(parts.pointIn(index)).toPoint();
    }
    [[nodiscard]] bool raised(std::size_t index) const { return parts.layer(index).zPosition() > 100; }
    void collapse()
    {
        parts.show({});
        ASSERT_FALSE(parts.chart.pieView().userInteractionEnabled);
    }
    void key(Qt::Key which) { QTest::keyClick(&window, which); }

    QQuickWindow window;
    ChartParts parts{{}, {50, 40, 200, 100}};
    std::unique_ptr<QPointingDevice> screen{QTest::createTouchDevice()};
};

TEST_F(InputTest, theMouseSelects)
{
    QTest::mousePress(&window, Qt::LeftButton, {}, at(2));
    EXPECT_TRUE(raised(2));
    EXPECT_THAT(parts.delegate.calls, IsEmpty());
    QTest::mouseRelease(&window, Qt::LeftButton, {}, at(2));
    EXPECT_FALSE(raised(2));
    EXPECT_THAT(parts.delegate.calls,
                ElementsAre("willSelect 2: selected -1", "didSelect 2: 2 out, selected 2"));
}

TEST_F(InputTest, theMouseRaisesWhatItIsDraggedOver)
{
    QTest::mousePress(&window, Qt::LeftButton, {}, at(2));
    QTest::mouseMove(&window, at(1));
    EXPECT_TRUE(raised(1));
    EXPECT_FALSE(raised(2));
    QTest::mouseMove(&window, at(3));
    EXPECT_TRUE(raised(3));
    QTest::mouseRelease(&window, Qt::LeftButton, {}, at(3));
    EXPECT_EQ(parts.chart.selectedSliceIndex(), 3);
}

TEST_F(InputTest, aMouseThatLeavesTheItemDeselects)
{
    QTest::mouseClick(&window, Qt::LeftButton, {}, at(2));
    parts.delegate.calls.clear();
    QTest::mousePress(&window, Qt::LeftButton, {}, at(1));
    QTest::mouseMove(&window, {2, 2});
    EXPECT_FALSE(raised(1));
    QTest::mouseRelease(&window, Qt::LeftButton, {}, {2, 2});
    EXPECT_THAT(parts.delegate.calls,
                ElementsAre("willDeselect 2: 2 out, selected 2", "didDeselect 2: selected 2"));
}

TEST_F(InputTest, twoQuickClicksAreTwoTaps)
{
    QTest::mouseDClick(&window, Qt::LeftButton, {}, at(2));
    EXPECT_THAT(parts.delegate.calls,
                ElementsAre("willSelect 2: selected -1", "didSelect 2: 2 out, selected 2",
                            "willDeselect 2: 2 out, selected 2", "didDeselect 2: selected 2"));
    EXPECT_FALSE(raised(2));
}

TEST_F(InputTest, otherButtonsAreNotTaken)
{
    QTest::mouseClick(&window, Qt::RightButton, {}, at(2));
    EXPECT_THAT(parts.delegate.calls, IsEmpty());
}

TEST_F(InputTest, anotherButtonDuringAPressIsNoEndOfIt)
{
    QTest::mousePress(&window, Qt::LeftButton, {}, at(2));
    QTest::mousePress(&window, Qt::RightButton, {}, at(2));
    QTest::mouseRelease(&window, Qt::RightButton, {}, at(2));
    EXPECT_THAT(parts.delegate.calls, IsEmpty());
    EXPECT_TRUE(raised(2));
    QTest::mouseRelease(&window, Qt::LeftButton, {}, at(2));
    EXPECT_THAT(parts.delegate.calls,
                ElementsAre("willSelect 2: selected -1", "didSelect 2: 2 out, selected 2"));
    EXPECT_FALSE(raised(2));
}

TEST_F(InputTest, whatIsThereForScreenReadersTakesNoFingerAway)
{
    ASSERT_EQ(parts.chart.sliceItems().size(), 4U);
    QTest::touchEvent(&window, screen.get()).press(0, at(2));
    EXPECT_TRUE(raised(2));
    QTest::touchEvent(&window, screen.get()).release(0, at(2));
    EXPECT_EQ(parts.chart.selectedSliceIndex(), 2);
    QTest::mouseClick(&window, Qt::LeftButton, {}, at(1));
    EXPECT_EQ(parts.chart.selectedSliceIndex(), 1);
}

TEST_F(InputTest, aFingerSelects)
{
    QTest::touchEvent(&window, screen.get()).press(0, at(2));
    EXPECT_TRUE(raised(2));
    QTest::touchEvent(&window, screen.get()).move(0, at(1));
    // The window holds moves back until its next frame.
    EXPECT_TRUE(QTest::qWaitFor([&] { return raised(1); }));
    EXPECT_FALSE(raised(2));
    QTest::touchEvent(&window, screen.get()).release(0, at(1));
    EXPECT_FALSE(raised(1));
    EXPECT_THAT(parts.delegate.calls,
                ElementsAre("willSelect 1: selected -1", "didSelect 1: 1 out, selected 1"));
}

TEST_F(InputTest, ofSeveralFingersTheFirstCounts)
{
    QTest::touchEvent(&window, screen.get()).press(0, at(2));
    QTest::touchEvent(&window, screen.get()).stationary(0).press(1, at(1));
    EXPECT_TRUE(raised(2));
    EXPECT_FALSE(raised(1));
    QTest::touchEvent(&window, screen.get()).stationary(0).release(1, at(1));
    EXPECT_THAT(parts.delegate.calls, IsEmpty());
    QTest::touchEvent(&window, screen.get()).release(0, at(2));
    EXPECT_EQ(parts.chart.selectedSliceIndex(), 2);
}

TEST_F(InputTest, theFirstFingerCountsAlsoWhereItIsLiftedFirst)
{
    QTest::touchEvent(&window, screen.get()).press(0, at(2));
    QTest::touchEvent(&window, screen.get()).stationary(0).press(1, at(1));
    QTest::touchEvent(&window, screen.get()).release(0, at(2)).stationary(1);
    EXPECT_EQ(parts.chart.selectedSliceIndex(), 2);
    QTest::touchEvent(&window, screen.get()).release(1, at(1));
    EXPECT_EQ(parts.chart.selectedSliceIndex(), 2);
}

TEST_F(InputTest, aTouchThatTheSystemCancelsSelectsNothing)
{
    QTest::touchEvent(&window, screen.get()).press(0, at(2));
    QTouchEvent cancel(QEvent::TouchCancel, screen.get());
    QCoreApplication::sendEvent(&window, &cancel);
    EXPECT_FALSE(raised(2));
    EXPECT_THAT(parts.delegate.calls, IsEmpty());
    QTest::touchEvent(&window, screen.get()).press(3, at(1));
    QTest::touchEvent(&window, screen.get()).release(3, at(1));
    EXPECT_EQ(parts.chart.selectedSliceIndex(), 1) << "the next one counts again";
}

TEST_F(InputTest, aClosedPieTakesNothing)
{
    collapse();
    parts.delegate.calls.clear();
    QTest::mouseClick(&window, Qt::LeftButton, {}, at(2));
    QTest::touchEvent(&window, screen.get()).press(0, at(2));
    QTest::touchEvent(&window, screen.get()).release(0, at(2));
    parts.chart.forceActiveFocus();
    parts.chart.tapSliceAtIndex(0);
    EXPECT_THAT(parts.delegate.calls, IsEmpty());
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_FALSE(raised(i));
    }
}

TEST_F(InputTest, aPieThatClosesUnderAFingerCancelsIt)
{
    QTest::mousePress(&window, Qt::LeftButton, {}, at(2));
    EXPECT_TRUE(raised(2));
    collapse();
    EXPECT_FALSE(raised(2));
    QTest::mouseRelease(&window, Qt::LeftButton, {}, at(2));
    EXPECT_THAT(parts.delegate.calls, IsEmpty());
}

TEST_F(InputTest, aChartThatIsDisabledTakesNothing)
{
    parts.chart.setEnabled(false);
    QTest::mouseClick(&window, Qt::LeftButton, {}, at(2));
    QTest::touchEvent(&window, screen.get()).press(0, at(2));
    QTest::touchEvent(&window, screen.get()).release(0, at(2));
    EXPECT_THAT(parts.delegate.calls, IsEmpty());
}

TEST_F(InputTest, aChartThatIsDisabledUnderAFingerLetsGo)
{
    QTest::mousePress(&window, Qt::LeftButton, {}, at(2));
    parts.chart.setEnabled(false);
    EXPECT_FALSE(raised(2));
    QTest::mouseRelease(&window, Qt::LeftButton, {}, at(2));
    EXPECT_THAT(parts.delegate.calls, IsEmpty());
}

TEST_F(InputTest, aListThatBeginsToScrollTakesTheFingerAway)
{
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData("import QtQuick\nFlickable { width: 300; height: 200; contentHeight: 800 }", QUrl());
    const std::unique_ptr<QQuickItem> list(qobject_cast<QQuickItem *>(component.create()));
    ASSERT_NE(list, nullptr) << component.errorString().toStdString();
    list->setParentItem(window.contentItem());
    parts.chart.setParentItem(list->property("contentItem").value<QQuickItem *>());
    const auto start = at(2);
    QTest::mousePress(&window, Qt::LeftButton, {}, start);
    ASSERT_TRUE(raised(2));
    for (int y = 0; y < 60; y += 5) {
        QTest::mouseMove(&window, start - QPoint(0, y));
    }
    EXPECT_TRUE(list->property("dragging").toBool());
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_FALSE(raised(i));
    }
    QTest::mouseRelease(&window, Qt::LeftButton, {}, start - QPoint(0, 60));
    EXPECT_THAT(parts.delegate.calls, IsEmpty());
    parts.chart.setParentItem(window.contentItem());
}

TEST_F(InputTest, arrowsMoveOverTheSlicesAndAround)
{
    parts.chart.forceActiveFocus();
    EXPECT_EQ(parts.chart.focusedSliceIndex(), -1);
    const auto press = [&](Qt::Key which) {
        key(which);
        return parts.chart.focusedSliceIndex();
    };
    EXPECT_EQ(press(Qt::Key_Right), 0);
    EXPECT_EQ(press(Qt::Key_Down), 1);
    EXPECT_EQ(press(Qt::Key_Left), 0);
    EXPECT_EQ(press(Qt::Key_Up), 3);
    EXPECT_EQ(press(Qt::Key_Right), 0);
    EXPECT_EQ(press(Qt::Key_End), 3);
    EXPECT_EQ(press(Qt::Key_Home), 0);
    EXPECT_THAT(parts.delegate.calls, IsEmpty());
}

TEST_F(InputTest, arrowsPassOverEmptySlices)
{
    parts.show({1, 0, 3, 0});
    parts.chart.forceActiveFocus();
    key(Qt::Key_Right);
    key(Qt::Key_Right);
    EXPECT_EQ(parts.chart.focusedSliceIndex(), 2);
    key(Qt::Key_Right);
    EXPECT_EQ(parts.chart.focusedSliceIndex(), 0);
}

TEST_F(InputTest, keysTapTheFocusedSlice)
{
    parts.chart.forceActiveFocus();
    for (const Qt::Key which : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space, Qt::Key_Select}) {
        parts.show({1, 2, 3, 2});
        parts.delegate.calls.clear();
        key(Qt::Key_Home);
        key(Qt::Key_Right);
        key(which);
        EXPECT_THAT(parts.delegate.calls,
                    ElementsAre("willSelect 1: selected -1", "didSelect 1: 1 out, selected 1"));
        key(which);
        EXPECT_FALSE(parts.layer(1).isSelected()) << "turned over";
    }
}

TEST_F(InputTest, aKeyThatIsHeldTapsOnce)
{
    parts.chart.forceActiveFocus();
    key(Qt::Key_Home);
    for (const bool repeated : {false, true, true}) {
        QKeyEvent event(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, QString(), repeated);
        QCoreApplication::sendEvent(&parts.chart, &event);
        EXPECT_TRUE(event.isAccepted());
    }
    EXPECT_THAT(parts.delegate.calls,
                ElementsAre("willSelect 0: selected -1", "didSelect 0: 0 out, selected 0"));
}

TEST_F(InputTest, keysThatMeanNothingHereGoOnToOthers)
{
    parts.chart.forceActiveFocus();
    const auto accepted = [&](Qt::Key which) {
        QKeyEvent event(QEvent::KeyPress, which, Qt::NoModifier);
        QCoreApplication::sendEvent(&parts.chart, &event);
        return event.isAccepted();
    };
    EXPECT_FALSE(accepted(Qt::Key_Escape));
    EXPECT_FALSE(accepted(Qt::Key_Return)) << "no slice has the focus yet";
    EXPECT_TRUE(accepted(Qt::Key_Right));
    EXPECT_TRUE(accepted(Qt::Key_Return));
    parts.show({0});
    parts.chart.setFocusedSliceIndex(-1);
    EXPECT_FALSE(accepted(Qt::Key_Right)) << "there is nothing to move over";
}

TEST_F(InputTest, theFocusComesToTheFirstSliceByTabAndShows)
{
    EXPECT_TRUE(parts.chart.picture(1).focus.isEmpty());
    key(Qt::Key_Tab);
    ASSERT_TRUE(parts.chart.hasActiveFocus());
    EXPECT_EQ(parts.chart.focusedSliceIndex(), 0);
    EXPECT_EQ(parts.chart.picture(1).focus, parts.layer(0).path());
    parts.chart.setFocus(false);
    EXPECT_TRUE(parts.chart.picture(1).focus.isEmpty());
}

TEST_F(InputTest, theFocusIsLostWithItsSlice)
{
    parts.chart.setFocusedSliceIndex(3);
    parts.show({1, 2});
    EXPECT_EQ(parts.chart.focusedSliceIndex(), -1);
    parts.chart.setFocusedSliceIndex(9);
    EXPECT_EQ(parts.chart.focusedSliceIndex(), -1);
}

TEST_F(InputTest, aTouchLeavesTheKeyboardsFocusAlone)
{
    QTest::mouseClick(&window, Qt::LeftButton, {}, at(2));
    EXPECT_FALSE(parts.chart.hasActiveFocus());
    EXPECT_EQ(parts.chart.focusedSliceIndex(), -1);
}

} // namespace

} // namespace slicewise
