// The question before a deletion and the alert after it: by finger and by key.
#include "tests/deleting_screens/Editing.h"
#include "tests/ui_screens/Spoken.h"

#include <QtTest>
#include <gmock/gmock.h>

namespace slicewise {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

HandMadeTree::Files applications()
{
    return {{"Applications/<b>River<br>/River.app/Info.plist", 50}, {"Applications/Metro/M.app/a", 30}};
}

TEST(DeletionQuestion, comesUpFromTheBottomOfAPhoneAndAsksWithTheName)
{
    Editing editing(applications(), {"Applications"});
    ASSERT_TRUE(editing.fingers.edits());
    ASSERT_TRUE(editing.fingers.deletes(0));
    ASSERT_TRUE(editing.fingers.asks());
    EXPECT_EQ(ScreenWindow::textsIn(editing.fingers.question()),
              QStringList({"Uninstall <b>River<br>?", "Uninstall", "Cancel"}));
    QQuickItem &card = *ScreenWindow::itemNamed(editing.fingers.question(), "card");
    EXPECT_TRUE(comesTrue([&] { return std::abs(inScene(card).bottom() - (844 - 8)) < 0.5; }));
    ASSERT_TRUE(editing.fingers.answers("cancel"));
    EXPECT_EQ(editing.browsed.top().deletePath(), std::nullopt);
    EXPECT_THAT(editing.calls(), IsEmpty());
    EXPECT_THAT(rowTexts(editing.table()), ElementsAre("<b>River<br>", "Metro"));

    ASSERT_TRUE(editing.fingers.deletes(0));
    ASSERT_TRUE(editing.fingers.answers("action0"));
    EXPECT_THAT(editing.calls(), ElementsAre("2 <b>River<br>"));
    EXPECT_THAT(rowTexts(editing.table()), ElementsAre("Metro"));
}

TEST(DeletionQuestion, comesOutOfTheBarButtonOnATabletAndIsInItsMiddleForARow)
{
    Editing whole(applications(), {"Applications", "Metro"}, {.size = {1180, 820}, .pad = true});
    EXPECT_EQ(whole.window.inBar("rightButton").property("text").toString(), "Delete");
    EXPECT_GT(whole.window.inBar("rightButton").property("tint").value<QColor>().red(), 150);
    whole.fingers.tapBarButton();
    ASSERT_TRUE(whole.fingers.isOver(whole.browsed.top()));
    ASSERT_TRUE(whole.fingers.asks());
    const QRectF popover = inScene(*ScreenWindow::itemNamed(whole.fingers.question(), "card"));
    EXPECT_LT(popover.top(), 100);
    EXPECT_GT(popover.right(), 1150);
    EXPECT_LE(popover.right(), 1180);
    ASSERT_TRUE(whole.fingers.answers("action0"));
    EXPECT_EQ(whole.browsed.stack.count(), 2);
    EXPECT_THAT(whole.calls(), ElementsAre("2 Metro"));

    Editing row(applications(), {"Applications"}, {.size = {1180, 820}, .pad = true});
    ASSERT_TRUE(row.fingers.edits());
    ASSERT_TRUE(row.fingers.deletes(0));
    ASSERT_TRUE(row.fingers.asks());
    const QPointF middle = ScreenWindow::middleOf(*ScreenWindow::itemNamed(row.fingers.question(), "card"));
    EXPECT_NEAR(middle.x(), 590, 2);
    EXPECT_NEAR(middle.y(), 410, 2);
}

TEST(DeletionQuestion, keysAnswerItAndReachNothingBelow)
{
    Editing editing(applications(), {"Applications"});
    ASSERT_TRUE(editing.fingers.edits());
    for (const Qt::Key key : {Qt::Key_Escape, Qt::Key_Back, Qt::Key_Return}) {
        ASSERT_TRUE(editing.fingers.deletes(0));
        ASSERT_TRUE(editing.fingers.asks());
        EXPECT_FALSE(editing.window.list().hasActiveFocus());
        editing.window.key(key);
        EXPECT_FALSE(editing.fingers.isAsked()) << key << ": Cancel has the keyboard";
        EXPECT_THAT(editing.calls(), IsEmpty());
        EXPECT_EQ(editing.browsed.stack.count(), 2);
        EXPECT_TRUE(comesTrue([&] {
            return editing.window.list().hasActiveFocus() && !editing.fingers.question().isVisible();
        }));
    }
    ASSERT_TRUE(editing.fingers.deletes(0));
    ASSERT_TRUE(editing.fingers.asks());
    for (int i = 0; i < 5; ++i) {
        editing.window.key(Qt::Key_Tab);
        const QQuickItem *const focus = editing.window.view().activeFocusItem();
        ASSERT_NE(focus, nullptr);
        EXPECT_TRUE(editing.fingers.question().isAncestorOf(focus));
    }
    editing.window.tap(*editing.window.row(1));
    EXPECT_FALSE(editing.fingers.isAsked()) << "a touch beside it refuses, and does nothing else";
    EXPECT_EQ(editing.table().selectedRow(), -1);
    EXPECT_THAT(editing.calls(), IsEmpty());
}

TEST(DeletionQuestion, isNotAnsweredByTheKeyThatHasLedToIt)
{
    Editing editing(applications(), {"Applications"});
    ASSERT_TRUE(editing.fingers.edits());
    editing.window.key(Qt::Key_Home);
    for (const Qt::Key key : {Qt::Key_Space, Qt::Key_Return}) {
        editing.window.key(Qt::Key_Delete);
        ASSERT_TRUE(editing.fingers.isOpen(0));
        QTest::keyPress(&editing.window.view(), key);
        ASSERT_TRUE(editing.fingers.isOver(editing.browsed.top()));
        ASSERT_TRUE(editing.fingers.asks());
        editing.window.repeat(key);
        QTest::keyRelease(&editing.window.view(), key);
        EXPECT_TRUE(editing.fingers.isAsked()) << key;
        editing.window.key(key);
        EXPECT_FALSE(editing.fingers.isAsked()) << "pressed anew it is an answer: " << key;
        ASSERT_TRUE(comesTrue([&] { return editing.window.list().hasActiveFocus(); }));
    }
    EXPECT_THAT(editing.calls(), IsEmpty());
}

TEST(DeletionQuestion, keepsAssistiveProgramsFromWhatLiesBelow)
{
    Editing editing(applications(), {"Applications", "Metro"});
    editing.fingers.tapBarButton();
    ASSERT_TRUE(editing.fingers.isOver(editing.browsed.top()));
    ASSERT_TRUE(editing.fingers.asks());
    SZAViewController &asking = editing.browsed.top();
    pressAloud(*editing.window.row(0));
    EXPECT_EQ(editing.table().selectedRow(), -1);
    pressAloud(editing.window.inBar("backButton"));
    pressAloud(editing.window.inBar("rightButton"));
    EXPECT_FALSE(asking.pieChartWillSelectSliceAtIndex(editing.window.chart(), 0));
    EXPECT_FALSE(asking.lastPath().has_value());
    EXPECT_TRUE(editing.fingers.isAsked());
    EXPECT_THAT(editing.calls(), IsEmpty());
}

class ClosingKey : public testing::TestWithParam<Qt::Key> {};

TEST_P(ClosingKey, closesTheAlertAndGivesTheKeyboardBack)
{
    Editing editing;
    editing.browsed.system.standIn.answer = {.deleted = false, .errorText = "bar is required by tool"};
    ASSERT_TRUE(editing.fingers.edits());
    ASSERT_TRUE(editing.fingers.deletes(0));
    ASSERT_TRUE(editing.fingers.alerts());
    EXPECT_EQ(ScreenWindow::textsIn(editing.fingers.alert()),
              QStringList({"Delete failed", "bar is required by tool", "Close"}));
    editing.window.tap(*editing.fingers.minus(1));
    editing.fingers.tapBarButton();
    editing.window.key(Qt::Key_Tab);
    EXPECT_TRUE(editing.fingers.isAlerted()) << "nothing else can be touched";
    EXPECT_TRUE(editing.table().isEditing());
    EXPECT_EQ(editing.table().openRow(), -1);
    editing.window.key(GetParam());
    EXPECT_FALSE(editing.fingers.isAlerted());
    EXPECT_TRUE(comesTrue([&] { return editing.window.list().hasActiveFocus(); }));
    EXPECT_EQ(editing.table().rowCount(), 6);
    EXPECT_EQ(editing.browsed.stack.count(), 2);
    EXPECT_EQ(editing.window.warnings(), QStringList());
}
INSTANTIATE_TEST_SUITE_P(Keys, ClosingKey,
                         testing::Values(Qt::Key_Escape, Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space,
                                         Qt::Key_Back));

TEST(Alert, isNotClosedByAKeyThatIsHeldFromBefore)
{
    Editing editing;
    editing.browsed.system.standIn.answer = {.deleted = false, .errorText = {}};
    ASSERT_TRUE(editing.fingers.edits());
    ASSERT_TRUE(editing.fingers.deletes(0));
    ASSERT_TRUE(editing.fingers.alerts());
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space, Qt::Key_Escape}) {
        editing.window.repeat(key);
        QTest::keyRelease(&editing.window.view(), key);
        EXPECT_TRUE(editing.fingers.isAlerted()) << key;
    }
}

TEST(Alert, aLongMessageScrollsAndItsButtonStaysInTheWindow)
{
    Editing editing(attachments(), {"Message Attachments"}, {.size = {320, 480}});
    std::string text;
    for (int i = 0; i < 200; ++i) {
        text += "lib" + std::to_string(i) + " is required by tool\n";
    }
    editing.browsed.system.standIn.answer = {.deleted = false, .errorText = text};
    ASSERT_TRUE(editing.fingers.edits());
    ASSERT_TRUE(editing.fingers.deletes(0));
    ASSERT_TRUE(editing.fingers.alerts());
    QQuickItem &message = *ScreenWindow::itemNamed(editing.fingers.alert(), "message");
    EXPECT_TRUE(
        QRectF(0, 0, 320, 480).contains(inScene(*ScreenWindow::itemNamed(editing.fingers.alert(), "plate"))));
    const QPointF middle = ScreenWindow::middleOf(message);
    editing.window.drag(middle, middle - QPointF(0, 80));
    editing.window.release(middle - QPointF(0, 80));
    EXPECT_GT(message.property("contentY").toDouble(), 30);
    editing.window.key(Qt::Key_Up);
    editing.window.key(Qt::Key_PageDown);
    EXPECT_TRUE(editing.fingers.isAlerted());
    EXPECT_TRUE(editing.fingers.closesTheAlert());
}

} // namespace
} // namespace slicewise
