// Whole ways through the screens without a finger, and what those hear who cannot see them.
#include "tests/ui_screens/BrowsedTree.h"
#include "tests/ui_screens/Spoken.h"

#include <gtest/gtest.h>

namespace slicewise {
namespace {

int currentRow(const ScreenWindow &window)
{
    return window.list().property("currentIndex").toInt();
}

bool showsFocus(const ScreenWindow &window, int row)
{
    return window.row(row) != nullptr && window.row(row)->property("showsFocus").toBool();
}

struct Keyboard {
    explicit Keyboard(bool mirrored = false) : window(browsed.stack, {.mirrored = mirrored})
    {
        EXPECT_TRUE(window.comesToRest());
        EXPECT_TRUE(comesTrue([&] { return window.list().hasActiveFocus(); }));
    }
    BrowsedTree browsed{manyChildren(100), {"Others"}};
    ScreenWindow window;
};

TEST(Keyboard, arrowsAndPagesMoveTheCurrentRow)
{
    Keyboard keyboard;
    ScreenWindow &window = keyboard.window;
    EXPECT_EQ(currentRow(window), -1);
    window.key(Qt::Key_Down);
    EXPECT_EQ(currentRow(window), 0);
    window.key(Qt::Key_Down);
    window.key(Qt::Key_Down);
    EXPECT_EQ(currentRow(window), 2);
    window.key(Qt::Key_Up);
    EXPECT_EQ(currentRow(window), 1);
    window.key(Qt::Key_PageDown);
    const int page = currentRow(window) - 1;
    EXPECT_GT(page, 3);
    window.key(Qt::Key_PageUp);
    EXPECT_EQ(currentRow(window), 1);
    window.key(Qt::Key_End);
    EXPECT_EQ(currentRow(window), 99);
    window.key(Qt::Key_Down);
    EXPECT_EQ(currentRow(window), 99);
    EXPECT_TRUE(comesTrue([&] { return showsFocus(window, 99); })) << "scrolled there";
    window.key(Qt::Key_Home);
    window.key(Qt::Key_Up);
    EXPECT_EQ(currentRow(window), 0);
    EXPECT_TRUE(comesTrue([&] { return showsFocus(window, 0); }));
}

TEST(Keyboard, theRingShowsOnlyWhileTheKeyboardIsUsed)
{
    Keyboard keyboard;
    keyboard.window.key(Qt::Key_Down);
    EXPECT_TRUE(showsFocus(keyboard.window, 0));
    keyboard.window.tap(*keyboard.window.row(1));
    EXPECT_FALSE(showsFocus(keyboard.window, 1));
    EXPECT_FALSE(showsFocus(keyboard.window, 0));
}

class PickingKey : public testing::TestWithParam<Qt::Key> {};

TEST_P(PickingKey, opensTheCurrentRow)
{
    Keyboard keyboard;
    keyboard.window.key(Qt::Key_Down);
    keyboard.window.key(Qt::Key_Down);
    keyboard.window.key(GetParam());
    ASSERT_TRUE(comesTrue([&] { return keyboard.browsed.stack.count() == 3; }));
    ASSERT_TRUE(keyboard.window.comesToRest());
    EXPECT_EQ(keyboard.window.inBar("titleLine").property("text").toString(), "child 1");
}
INSTANTIATE_TEST_SUITE_P(Keys, PickingKey,
                         testing::Values(Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space, Qt::Key_Right));

class BackKey : public testing::TestWithParam<Qt::Key> {};

TEST_P(BackKey, goesBackAndNoFurtherThanTheFirstScreen)
{
    Keyboard keyboard;
    keyboard.window.key(GetParam());
    EXPECT_EQ(keyboard.browsed.stack.count(), 1);
    ASSERT_TRUE(keyboard.window.comesToRest());
    keyboard.window.key(GetParam());
    EXPECT_EQ(keyboard.browsed.stack.count(), 1);
}
INSTANTIATE_TEST_SUITE_P(Keys, BackKey,
                         testing::Values(Qt::Key_Escape, Qt::Key_Backspace, Qt::Key_Left, Qt::Key_Back));

TEST(Keyboard, forwardIsToTheLeftWherePeopleReadFromTheRight)
{
    Keyboard keyboard(true);
    keyboard.window.key(Qt::Key_Down);
    keyboard.window.key(Qt::Key_Left);
    ASSERT_TRUE(comesTrue([&] { return keyboard.browsed.stack.count() == 3; }));
    ASSERT_TRUE(keyboard.window.comesToRest());
    keyboard.window.key(Qt::Key_Right);
    EXPECT_EQ(keyboard.browsed.stack.count(), 2);
}

TEST(Keyboard, aJourneyDownAndUpAgainComesBackToTheRowItLeft)
{
    Keyboard keyboard;
    keyboard.window.key(Qt::Key_Down);
    keyboard.window.key(Qt::Key_Down);
    keyboard.window.key(Qt::Key_Return);
    ASSERT_TRUE(comesTrue([&] { return keyboard.browsed.stack.count() == 3; }));
    ASSERT_TRUE(keyboard.window.comesToRest());
    ASSERT_TRUE(comesTrue([&] { return keyboard.window.list().hasActiveFocus(); }));
    keyboard.window.key(Qt::Key_Escape);
    ASSERT_TRUE(keyboard.window.comesToRest());
    ASSERT_TRUE(comesTrue([&] { return keyboard.window.list().hasActiveFocus(); }));
    EXPECT_EQ(currentRow(keyboard.window), 1);
    EXPECT_TRUE(showsFocus(keyboard.window, 1));
}

TEST(Keyboard, tabReachesTheChartWhoseSlicesCanBeOpened)
{
    Keyboard keyboard;
    for (int i = 0; i < 6 && !keyboard.window.chart().hasActiveFocus(); ++i) {
        keyboard.window.key(Qt::Key_Tab);
    }
    ASSERT_TRUE(keyboard.window.chart().hasActiveFocus());
    keyboard.window.key(Qt::Key_Right);
    EXPECT_EQ(keyboard.browsed.stack.count(), 2) << "its own key";
    const int slice = keyboard.window.chart().focusedSliceIndex();
    ASSERT_GE(slice, 0);
    keyboard.window.key(Qt::Key_Return);
    EXPECT_EQ(keyboard.browsed.top().tableView()->selectedRow(), slice);
    ASSERT_TRUE(comesTrue([&] { return keyboard.browsed.stack.count() == 3; }));
}

TEST(Keyboard, theChartPassesOnWhatLeadsBack)
{
    Keyboard keyboard;
    keyboard.window.chart().forceActiveFocus();
    keyboard.window.key(Qt::Key_Escape);
    EXPECT_EQ(keyboard.browsed.stack.count(), 1);
}

TEST(Keyboard, tabReachesTheBackButton)
{
    Keyboard keyboard;
    QQuickItem &back = keyboard.window.inBar("backButton");
    for (int i = 0; i < 6 && !back.hasActiveFocus(); ++i) {
        keyboard.window.key(Qt::Key_Tab);
    }
    ASSERT_TRUE(back.hasActiveFocus());
    keyboard.window.key(Qt::Key_Space);
    EXPECT_EQ(keyboard.browsed.stack.count(), 1);
}

TEST(Keyboard, aKeyThatIsHeldPressesAButtonOnce)
{
    Keyboard keyboard;
    keyboard.window.inBar("rightButton").forceActiveFocus();
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space}) {
        const bool before = keyboard.browsed.top().tableView()->isEditing();
        keyboard.window.hold(key);
        EXPECT_NE(keyboard.browsed.top().tableView()->isEditing(), before) << key;
    }
}

TEST(Spoken, rowsSayNameAndSizeAndCanBePressed)
{
    Keyboard keyboard;
    EXPECT_EQ(spokenRole(keyboard.window.list()), QAccessible::List);
    EXPECT_EQ(spokenName(keyboard.window.list()), "Others");
    EXPECT_EQ(spokenRole(*keyboard.window.row(1)), QAccessible::ListItem);
    EXPECT_EQ(spokenName(*keyboard.window.row(1)), "child 1, 990 B");
    pressAloud(*keyboard.window.row(1));
    EXPECT_EQ(keyboard.browsed.top().tableView()->selectedRow(), 1);
    EXPECT_TRUE(QAccessible::queryAccessibleInterface(keyboard.window.row(1))->state().selected);
}

TEST(Spoken, theBarSaysTitleAndWayBack)
{
    Keyboard keyboard;
    QQuickItem &title = keyboard.window.inBar("title");
    EXPECT_EQ(spokenRole(title), QAccessible::Heading);
    EXPECT_EQ(spokenName(title), "Others, 49.3 kB");
    QQuickItem &back = keyboard.window.inBar("backButton");
    EXPECT_EQ(spokenRole(back), QAccessible::Button);
    EXPECT_EQ(spokenName(back), "Back to Disk");
    pressAloud(back);
    EXPECT_EQ(keyboard.browsed.stack.count(), 1);
}

TEST(Spoken, theChartAndTheOverlayHaveNames)
{
    HeldScan scan;
    ScreenWindow window(scan.stack, {});
    EXPECT_EQ(spokenName(window.chart()), "Chart of Disk");
    QQuickItem &overlay = *ScreenWindow::itemsOfType(*window.topPage(), "ProgressHUD").at(0);
    EXPECT_EQ(spokenRole(overlay), QAccessible::AlertMessage);
    EXPECT_EQ(spokenName(overlay), "Scanning");
}

} // namespace
} // namespace slicewise
