// Pages that come and go, by themselves and by a finger at the edge.
#include "tests/ui_screens/BrowsedTree.h"

#include <QJSEngine>
#include <QPointer>
#include <QTest>
#include <gtest/gtest.h>

namespace slicewise {
namespace {

struct ThreeDeep {
    explicit ThreeDeep(bool mirrored = false)
        : window(browsed.stack, {.size = {400, 800}, .mirrored = mirrored})
    {}
    [[nodiscard]] double progress() const { return window.screens().property("progress").toDouble(); }

    BrowsedTree browsed{manyChildren(12), {"Others", "child 1"}};
    ScreenWindow window;
};

TEST(Moving, screensThatAreThereAlreadyHavePagesAndTheTopOneShows)
{
    ThreeDeep shown;
    ASSERT_EQ(shown.window.pages().size(), 3U);
    EXPECT_FALSE(shown.window.pages()[0]->isVisible());
    EXPECT_FALSE(shown.window.pages()[1]->isVisible());
    EXPECT_TRUE(shown.window.pages()[2]->isVisible());
    EXPECT_EQ(shown.window.topScreen(), shown.browsed.stack.topViewController());
    EXPECT_FALSE(shown.window.isMoving());
}

TEST(Moving, aPushedPageComesFromTheRightWhileTheParentMovesAsideAndDims)
{
    ThreeDeep shown;
    QQuickItem &parent = *shown.window.topPage();
    shown.browsed.push({"Others", "child 2"});
    QQuickItem &child = *shown.window.topPage();
    ASSERT_NE(&parent, &child);
    EXPECT_TRUE(shown.window.isMoving());
    EXPECT_EQ(child.x(), 400);
    EXPECT_TRUE(comesTrue([&] { return shown.progress() > 0.3; }));
    if (shown.window.isMoving()) {
        EXPECT_LT(child.x(), 400);
        EXPECT_NEAR(parent.x(), -0.3 * (400 - child.x()), 1);
        EXPECT_NEAR(parent.property("covered").toDouble(), shown.progress(), 1e-9);
        EXPECT_FALSE(child.isEnabled());
    }
    ASSERT_TRUE(shown.window.comesToRest());
    EXPECT_EQ(child.x(), 0);
    EXPECT_FALSE(parent.isVisible());
    EXPECT_TRUE(child.isEnabled());
}

TEST(Moving, titlesFadeFromOneToTheNext)
{
    ThreeDeep shown;
    QQuickItem &below = shown.window.barItem();
    shown.browsed.push({"Others", "child 2"});
    QQuickItem &above = shown.window.barItem();
    ASSERT_TRUE(
        comesTrue([&] { return !shown.window.isMoving() || (above.opacity() > 0 && below.opacity() < 1); }));
    EXPECT_NEAR(above.opacity() + (shown.window.isMoving() ? below.opacity() : 0), 1, 1e-9);
    ASSERT_TRUE(shown.window.comesToRest());
    EXPECT_EQ(above.opacity(), 1);
    EXPECT_FALSE(below.isVisible());
}

TEST(Moving, aPoppedScreenIsReleasedTogetherWithItsPage)
{
    ThreeDeep shown;
    const QPointer<SZAViewController> screen = shown.browsed.stack.topViewController();
    const QPointer<QQuickItem> page = shown.window.topPage();
    const QPointer<QQuickItem> barItem = &shown.window.barItem();
    shown.browsed.stack.goBack();
    EXPECT_FALSE(screen.isNull()) << "it is still to be seen";
    EXPECT_TRUE(comesTrue([&] { return screen.isNull() && page.isNull() && barItem.isNull(); }));
    EXPECT_EQ(shown.window.pages().size(), 2U);
    EXPECT_EQ(shown.window.warnings(), QStringList());
}

TEST(Moving, quickPushesAndPopsEndWhereTheStackDoes)
{
    ThreeDeep shown;
    shown.browsed.push({"Others", "child 2"});
    shown.browsed.push({"Others", "child 3"});
    shown.browsed.stack.goBack();
    shown.browsed.push({"Others", "child 4"});
    shown.browsed.stack.goBack();
    shown.browsed.stack.goBack();
    shown.browsed.stack.goBack();
    ASSERT_TRUE(comesTrue([&] { return shown.window.pages().size() == 2; }));
    ASSERT_TRUE(shown.window.comesToRest());
    EXPECT_EQ(shown.window.topScreen(), shown.browsed.stack.topViewController());
    EXPECT_TRUE(shown.window.topPage()->isVisible());
    EXPECT_EQ(shown.window.topPage()->x(), 0);
    EXPECT_EQ(shown.window.topPage()->property("covered").toDouble(), 0);
    EXPECT_TRUE(shown.window.barItem().isVisible());
    EXPECT_EQ(shown.window.warnings(), QStringList());
}

TEST(Moving, aWindowThatChangesItsSizeMeanwhileIsFilledInTheEnd)
{
    ThreeDeep shown;
    shown.browsed.push({"Others", "child 2"});
    shown.window.view().resize(900, 500);
    ASSERT_TRUE(comesTrue([&] { return shown.window.screens().width() == 900; }));
    ASSERT_TRUE(shown.window.comesToRest());
    EXPECT_EQ(shown.window.topPage()->x(), 0);
    EXPECT_EQ(shown.window.topPage()->width(), 900);
}

TEST(Moving, screensStayTheStacksOwnWhateverTheScriptsCollect)
{
    ThreeDeep shown;
    shown.window.view().engine()->collectGarbage();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    for (const SZAViewController *const screen : shown.browsed.stack.viewControllers()) {
        EXPECT_FALSE(screen->currentNodes().empty());
    }
}

TEST(EdgeSwipe, movesThePageWithTheFinger)
{
    ThreeDeep shown;
    ASSERT_TRUE(shown.window.comesToRest());
    shown.window.drag({4, 500}, {150, 500});
    EXPECT_TRUE(shown.window.isMoving());
    // As far as the finger, but for what it took to be sure that it pulls.
    const QQuickItem &page = *shown.window.topPage();
    EXPECT_TRUE(comesTrue([&] { return page.x() > 120 && page.x() <= 150; }));
    shown.window.move({250, 500});
    EXPECT_TRUE(comesTrue([&] { return page.x() > 220 && page.x() <= 250; }));
    EXPECT_EQ(shown.browsed.stack.count(), 3);
    EXPECT_TRUE(shown.window.pages()[1]->isVisible());
    shown.window.release({250, 500});
    EXPECT_TRUE(shown.window.comesToRest());
}

TEST(EdgeSwipe, pastTheMiddleGoesBack)
{
    ThreeDeep shown;
    ASSERT_TRUE(shown.window.comesToRest());
    shown.window.drag({4, 500}, {300, 500});
    shown.window.release({300, 500});
    EXPECT_TRUE(comesTrue([&] { return shown.browsed.stack.count() == 2; }));
    EXPECT_TRUE(comesTrue([&] { return shown.window.pages().size() == 2; }));
    ASSERT_TRUE(shown.window.comesToRest());
    EXPECT_EQ(shown.window.topPage()->x(), 0);
    EXPECT_TRUE(shown.window.topPage()->isEnabled());
}

TEST(EdgeSwipe, aFlingGoesBackThoughItIsShort)
{
    ThreeDeep shown;
    ASSERT_TRUE(shown.window.comesToRest());
    shown.window.press({4, 500});
    for (int x = 24; x <= 144; x += 20) {
        shown.window.move({static_cast<double>(x), 500});
        QCoreApplication::processEvents();
    }
    shown.window.release({144, 500});
    EXPECT_TRUE(comesTrue([&] { return shown.browsed.stack.count() == 2; }));
}

TEST(EdgeSwipe, turnedBackStaysOnThePage)
{
    ThreeDeep shown;
    ASSERT_TRUE(shown.window.comesToRest());
    const QQuickItem *const page = shown.window.topPage();
    shown.window.drag({4, 500}, {180, 500});
    for (int x = 170; x >= 60; x -= 10) {
        QTest::qWait(8);
        shown.window.move({static_cast<double>(x), 500});
    }
    shown.window.release({60, 500});
    ASSERT_TRUE(shown.window.comesToRest());
    EXPECT_EQ(shown.browsed.stack.count(), 3);
    EXPECT_EQ(shown.window.topPage(), page);
    EXPECT_EQ(page->x(), 0);
    EXPECT_TRUE(page->isEnabled());
    EXPECT_FALSE(shown.window.pages()[1]->isVisible());
    EXPECT_EQ(shown.window.pages().size(), 3U);
}

TEST(EdgeSwipe, thatIsTakenAwayStaysOnThePageHoweverFarItHasCome)
{
    ThreeDeep shown;
    ASSERT_TRUE(shown.window.comesToRest());
    const QQuickItem *const page = shown.window.topPage();
    shown.window.drag({4, 500}, {350, 500});
    ASSERT_TRUE(comesTrue([&] { return page->x() > 250; }));
    shown.window.cancel();
    ASSERT_TRUE(shown.window.comesToRest());
    EXPECT_EQ(shown.browsed.stack.count(), 3);
    EXPECT_EQ(shown.window.topPage(), page);
    EXPECT_EQ(page->x(), 0);
}

TEST(EdgeSwipe, doesNothingOnTheFirstScreen)
{
    BrowsedTree browsed(manyChildren(5));
    ScreenWindow window(browsed.stack, {.size = {400, 800}});
    ASSERT_TRUE(window.comesToRest());
    window.drag({4, 700}, {300, 700});
    EXPECT_FALSE(window.isMoving());
    window.release({300, 700});
    EXPECT_EQ(window.topPage()->x(), 0);
}

TEST(EdgeSwipe, doesNothingWhileTheBarCannotBeTouched)
{
    ThreeDeep shown;
    ASSERT_TRUE(shown.window.comesToRest());
    shown.browsed.stack.setNavigationBarUserInteractionEnabled(false);
    shown.window.drag({4, 700}, {300, 700});
    EXPECT_FALSE(shown.window.isMoving());
    shown.window.release({300, 700});
    EXPECT_EQ(shown.browsed.stack.count(), 3);
}

TEST(EdgeSwipe, doesNothingInEditMode)
{
    ThreeDeep shown;
    ASSERT_TRUE(shown.window.comesToRest());
    shown.browsed.top().tableView()->setEditing(true);
    shown.window.drag({4, 700}, {300, 700});
    EXPECT_FALSE(shown.window.isMoving());
    shown.window.release({300, 700});
    EXPECT_EQ(shown.browsed.stack.count(), 3);
}

TEST(EdgeSwipe, beginsAtTheEdgeOnly)
{
    ThreeDeep shown;
    ASSERT_TRUE(shown.window.comesToRest());
    shown.window.drag({60, 700}, {350, 700});
    EXPECT_FALSE(shown.window.isMoving());
    shown.window.release({350, 700});
    EXPECT_EQ(shown.browsed.stack.count(), 3);
}

TEST(EdgeSwipe, aTapAtTheEdgeReachesTheRowBelow)
{
    BrowsedTree browsed(manyChildren(5), {"Others"});
    ScreenWindow window(browsed.stack, {.size = {400, 800}});
    ASSERT_TRUE(window.comesToRest());
    window.tap(QPointF(4, ScreenWindow::middleOf(*window.row(1)).y()));
    EXPECT_EQ(browsed.top().tableView()->selectedRow(), 1);
}

TEST(EdgeSwipe, isAtTheOtherEdgeWherePeopleReadFromTheRight)
{
    ThreeDeep shown(true);
    ASSERT_TRUE(shown.window.comesToRest());
    shown.window.drag({396, 700}, {100, 700});
    EXPECT_TRUE(comesTrue([&] { return shown.window.topPage()->x() < -100; }));
    shown.window.release({100, 700});
    EXPECT_TRUE(comesTrue([&] { return shown.browsed.stack.count() == 2; }));
}

TEST(EdgeSwipe, aPushInTheMiddleOfItWins)
{
    ThreeDeep shown;
    ASSERT_TRUE(shown.window.comesToRest());
    shown.window.drag({4, 500}, {150, 500});
    shown.browsed.push({"Others", "child 3"});
    shown.window.move({200, 500});
    shown.window.release({200, 500});
    ASSERT_TRUE(shown.window.comesToRest());
    EXPECT_EQ(shown.browsed.stack.count(), 4);
    EXPECT_EQ(shown.window.topPage()->x(), 0);
    EXPECT_TRUE(shown.window.topPage()->isVisible());
    EXPECT_FALSE(shown.window.pages()[2]->isVisible());
}

} // namespace
} // namespace slicewise
