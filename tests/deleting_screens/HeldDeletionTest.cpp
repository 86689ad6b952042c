// While something is being deleted, for as long as a test likes: nothing can be touched, everything goes on
// turning, and afterwards all is as before.
#include "tests/deleting_screens/Editing.h"

#include <QMouseEvent>
#include <QTest>
#include <gmock/gmock.h>

namespace slicewise {
namespace {

using ::testing::ElementsAre;

struct Held : Editing {
    Held() : Editing(manyChildren(9), {"Others"}) { browsed.system.standIn.hold(); }
    Held(const Held &) = delete;
    Held &operator=(const Held &) = delete;
    ~Held() { letGo(); }

    void begin()
    {
        EXPECT_TRUE(fingers.edits());
        EXPECT_TRUE(fingers.opens(0));
        window.tap(*fingers.deleteButton(0));
        EXPECT_TRUE(browsed.stack.isDeleting());
        EXPECT_TRUE(comesTrue([this] { return fingers.overlay().opacity() == 1; }));
    }
    void letGo()
    {
        if (!m_over) {
            browsed.system.standIn.letGo();
            EXPECT_TRUE(fingers.isOver(browsed.top()));
        }
        m_over = true;
    }

private:
    bool m_over = false;
};

TEST(HeldDeletion, saysSoInTheMiddleOfTheScreenAndItsSpinnerTurns)
{
    Held held;
    held.begin();
    EXPECT_EQ(ScreenWindow::textsIn(held.fingers.overlay()), QStringList("Deleting"));
    const QPointF middle = ScreenWindow::middleOf(held.fingers.overlay());
    EXPECT_NEAR(middle.x(), 195, 1);
    EXPECT_NEAR(middle.y(), ScreenWindow::middleOf(held.window.screens()).y(), 1);
    QQuickItem &spinner = *ScreenWindow::itemsOfType(held.fingers.overlay(), "ActivityIndicator").at(0);
    for (int turn = 0; turn < 3; ++turn) {
        const int before = spinner.property("brightest").toInt();
        EXPECT_TRUE(comesTrue([&] { return spinner.property("brightest").toInt() != before; }));
    }
    held.letGo();
    EXPECT_TRUE(comesTrue([&] { return !held.fingers.overlay().isVisible(); }));
    EXPECT_FALSE(spinner.property("running").toBool());
}

TEST(HeldDeletion, noShadeFallsOnTheScreenAndTheBarLooksAsBefore)
{
    Held held;
    EXPECT_TRUE(held.fingers.edits());
    EXPECT_TRUE(held.fingers.opens(0));
    const QImage before = held.window.view().grabWindow();
    const QRect bar(0, 0, 390, 40);
    held.window.tap(*held.fingers.deleteButton(0));
    EXPECT_TRUE(comesTrue([&] { return held.fingers.overlay().opacity() == 1; }));
    EXPECT_EQ(held.window.view().grabWindow().copy(bar), before.copy(bar));
    EXPECT_FALSE(held.fingers.question().isVisible());
    EXPECT_FALSE(held.fingers.alert().isVisible());
}

TEST(HeldDeletion, noFingerDoesAnything)
{
    Held held;
    held.begin();
    ScreenWindow &window = held.window;
    const double top = window.list().property("contentY").toDouble();
    window.tap(*window.row(1));
    window.tap(*held.fingers.minus(2));
    window.tap(window.middleOfSlice(1));
    window.tap(window.inBar("rightButton"));
    window.tap(window.inBar("backButton"));
    window.tap(QPointF(30, 20));
    window.drag({4, 700}, {300, 700});
    EXPECT_FALSE(window.isMoving());
    window.release({300, 700});
    window.drag({200, 700}, {200, 500});
    window.release({200, 500});
    EXPECT_EQ(window.list().property("contentY").toDouble(), top);
    EXPECT_EQ(held.browsed.stack.count(), 2);
    EXPECT_EQ(held.table().openRow(), -1);
    EXPECT_EQ(held.table().selectedRow(), -1);
    EXPECT_TRUE(held.table().isEditing());
    EXPECT_EQ(held.table().rowCount(), 9) << "nothing has gone yet";
    EXPECT_FALSE(window.chart().sliceLayers().at(1)->isSelected());
}

TEST(HeldDeletion, noKeyDoesAnything)
{
    Held held;
    held.begin();
    const int current = held.window.list().property("currentIndex").toInt();
    for (const Qt::Key key : {Qt::Key_Down, Qt::Key_Delete, Qt::Key_Return, Qt::Key_Space, Qt::Key_Tab,
                              Qt::Key_Return, Qt::Key_Tab, Qt::Key_Space, Qt::Key_End, Qt::Key_Escape,
                              Qt::Key_Back, Qt::Key_Backspace, Qt::Key_Left}) {
        held.window.key(key);
        EXPECT_EQ(held.browsed.stack.count(), 2) << key;
        EXPECT_EQ(held.table().openRow(), -1) << key;
        EXPECT_TRUE(held.table().isEditing()) << key;
        EXPECT_EQ(held.window.list().property("currentIndex").toInt(), current) << key;
    }
}

TEST(HeldDeletion, noWheelScrolls)
{
    Held held;
    held.begin();
    const QPointF middle = ScreenWindow::middleOf(held.window.list());
    QWheelEvent wheel(middle, held.window.view().mapToGlobal(middle), {}, QPoint(0, -240), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    const double top = held.window.list().property("contentY").toDouble();
    QCoreApplication::sendEvent(&held.window.view(), &wheel);
    EXPECT_TRUE(held.window.comesToRest());
    EXPECT_EQ(held.window.list().property("contentY").toDouble(), top);
}

TEST(HeldDeletion, afterwardsEverythingWorksAgain)
{
    Held held;
    held.begin();
    held.window.tap(*held.window.row(1));
    held.window.key(Qt::Key_Escape);
    held.letGo();
    EXPECT_THAT(held.browsed.system.standIn.calls(), ElementsAre("1 child 0"));
    EXPECT_EQ(held.table().rowCount(), 8);
    EXPECT_TRUE(comesTrue([&] { return held.window.list().hasActiveFocus(); }));
    EXPECT_TRUE(comesTrue([&] {
        return held.window.rows().size() >= 4 && held.window.row(0)->y() == 0 &&
               !held.fingers.overlay().isVisible();
    }));
    held.fingers.tapBarButton();
    ASSERT_FALSE(held.table().isEditing());
    ASSERT_TRUE(held.window.comesToRest());
    held.window.tap(*held.window.row(1));
    ASSERT_TRUE(comesTrue([&] { return held.browsed.stack.count() == 3; }));
    ASSERT_TRUE(held.window.comesToRest());
    held.window.key(Qt::Key_Escape);
    EXPECT_EQ(held.browsed.stack.count(), 2);
    ASSERT_TRUE(held.window.comesToRest());
    held.window.drag({4, 700}, {300, 700});
    held.window.release({300, 700});
    EXPECT_TRUE(comesTrue([&] { return held.browsed.stack.count() == 1 && !held.window.isMoving(); }));
    EXPECT_EQ(held.window.warnings(), QStringList());
}

} // namespace
} // namespace slicewise
