// Edit mode as it is drawn, the question and the alert: by finger and by key, with nothing real to delete.
#include "tests/deleting_screens/DeletingFingers.h"
#include "tests/ui_screens/BrowsedTree.h"

#include <QAccessible>
#include <QAccessibleActionInterface>
#include <gmock/gmock.h>

#include <numbers>

namespace slicewise {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// "Message Attachments": six that may be deleted, and "Previews", which may not, in their middle.
HandMadeTree::Files attachments()
{
    return {{"Message Attachments/a.jpg", 700}, {"Message Attachments/b.jpg", 600},
            {"Message Attachments/c.jpg", 500}, {"Message Attachments/Previews/p.jpg", 450},
            {"Message Attachments/d.jpg", 400}, {"Message Attachments/e.jpg", 300}};
}

struct Editing {
    explicit Editing(const HandMadeTree::Files &files = attachments(),
                     const std::vector<std::string> &path = {"Message Attachments"},
                     const ScreenWindow::Look &look = {})
        : browsed(files, path), window(browsed.stack, look), fingers(window)
    {
        EXPECT_TRUE(window.comesToRest());
        EXPECT_TRUE(comesTrue([this] { return window.list().hasActiveFocus(); }));
    }
    [[nodiscard]] NodeTable &table() { return *browsed.top().tableView(); }
    [[nodiscard]] std::vector<std::string> calls() const { return browsed.system.standIn.calls(); }

    BrowsedTree browsed;
    ScreenWindow window;
    DeletingFingers fingers;
};

QRectF inScene(const QQuickItem &item)
{
    return item.mapRectToScene(QRectF(0, 0, item.width(), item.height()));
}

/// The words of a row, and where they are.
QRectF wordsOf(QQuickItem &row)
{
    QRectF words;
    for (QQuickItem *const text : ScreenWindow::itemsOfType(row, "QQuickText")) {
        if (text->isVisible() && text->property("text").toString() != QStringLiteral("Delete")) {
            words |= inScene(*text);
        }
    }
    return words;
}

TEST(EditingScreens, onlyRowsThatMayBeDeletedGetAMinusAndOnlyTheirWordsMakeRoom)
{
    for (const bool mirrored : {false, true}) {
        Editing editing(attachments(), {"Message Attachments"}, {.size = {390, 1000}, .mirrored = mirrored});
        ScreenWindow &window = editing.window;
        EXPECT_EQ(editing.fingers.minus(0), nullptr);
        const QRectF plain = wordsOf(*window.row(3));
        const QRectF before = inScene(*window.row(0));
        ASSERT_TRUE(editing.fingers.edits());
        EXPECT_EQ(inScene(*window.row(0)), before) << "the row stays where it is";
        EXPECT_EQ(wordsOf(*window.row(3)), plain);
        EXPECT_EQ(editing.fingers.minus(3), nullptr);
        for (const int row : {0, 1, 2, 4, 5}) {
            ASSERT_NE(editing.fingers.minus(row), nullptr) << row;
            const QRectF minus = inScene(*editing.fingers.minus(row));
            EXPECT_FALSE(minus.intersects(wordsOf(*window.row(row)))) << row;
            EXPECT_GE(minus.width(), 44);
            EXPECT_GE(minus.height(), 44);
            EXPECT_EQ(mirrored ? minus.right() : minus.left(), mirrored ? 390 : 0);
        }
        editing.fingers.tapBarButton();
        EXPECT_TRUE(comesTrue([&] { return editing.fingers.minus(0) == nullptr; }));
        EXPECT_EQ(window.warnings(), QStringList());
    }
}

TEST(EditingScreens, rowsThatMayNotBeDeletedDoNothing)
{
    Editing editing;
    ASSERT_TRUE(editing.fingers.edits());
    editing.window.scrollTo(3);
    ASSERT_TRUE(comesTrue([&] { return editing.window.row(3) != nullptr; }));
    editing.window.tap(*editing.window.row(3));
    const QRectF row = inScene(*editing.window.row(3));
    editing.window.tap(QPointF(row.left() + 27, row.center().y()));
    EXPECT_EQ(editing.table().openRow(), -1);
    EXPECT_EQ(editing.table().selectedRow(), -1);
    EXPECT_EQ(editing.browsed.stack.count(), 2);
}

TEST(EditingScreens, theMinusOpensADeleteThatCoversNoWords)
{
    Editing editing({{"Others/" + std::string(200, 'w'), 5}, {"Others/b", 3}}, {"Others"});
    ASSERT_TRUE(editing.fingers.edits());
    EXPECT_EQ(editing.fingers.deleteButton(0), nullptr);
    ASSERT_TRUE(editing.fingers.opens(0));
    const QRectF button = inScene(*editing.fingers.deleteButton(0));
    EXPECT_EQ(button.right(), 390);
    EXPECT_GE(button.width(), 44);
    EXPECT_GE(button.height(), 44);
    EXPECT_FALSE(button.intersects(wordsOf(*editing.window.row(0))));
    EXPECT_TRUE(editing.fingers.minus(0)->property("opened").toBool());
    EXPECT_THAT(editing.calls(), IsEmpty());
}

TEST(EditingScreens, aTouchAnywhereElseClosesTheOpenRow)
{
    Editing editing;
    ASSERT_TRUE(editing.fingers.edits());
    const std::vector<std::function<QPointF()>> places = {
        [&] { return ScreenWindow::middleOf(*editing.window.row(0)); },
        [&] { return ScreenWindow::middleOf(*editing.window.row(1)); },
        [&] { return ScreenWindow::middleOf(*editing.fingers.minus(0)); },
        [&] { return editing.window.middleOfSlice(2); },
    };
    for (std::size_t i = 0; i < places.size(); ++i) {
        ASSERT_TRUE(editing.fingers.opens(0)) << i;
        editing.window.tap(places[i]());
        EXPECT_TRUE(editing.fingers.isClosed()) << i;
    }
    EXPECT_THAT(editing.calls(), IsEmpty());
    EXPECT_EQ(editing.browsed.stack.count(), 2);
}

TEST(EditingScreens, soDoesATouchBelowTheLastRowAndAScroll)
{
    Editing few({{"Others/a", 5}, {"Others/b", 3}}, {"Others"});
    ASSERT_TRUE(few.fingers.edits());
    ASSERT_TRUE(few.fingers.opens(1));
    few.window.tap(QPointF(200, 820));
    EXPECT_TRUE(few.fingers.isClosed());

    Editing many(manyChildren(60), {"Others"});
    ASSERT_TRUE(many.fingers.edits());
    ASSERT_TRUE(many.fingers.opens(1));
    const QPointF from = ScreenWindow::middleOf(*many.window.row(4));
    many.window.drag(from, from - QPointF(0, 150));
    many.window.release(from - QPointF(0, 150));
    EXPECT_TRUE(many.fingers.isClosed());
}

TEST(EditingScreens, anotherMinusMovesTheDelete)
{
    Editing editing;
    ASSERT_TRUE(editing.fingers.edits());
    ASSERT_TRUE(editing.fingers.opens(0));
    editing.window.tap(*editing.fingers.minus(1));
    EXPECT_TRUE(editing.fingers.isOpen(1));
    EXPECT_TRUE(comesTrue([&] { return editing.fingers.deleteButton(0) == nullptr; }));
}

TEST(EditingScreens, theDeletedRowFadesTheOthersMoveUpAndTheChartFollows)
{
    Editing editing;
    ASSERT_TRUE(editing.fingers.edits());
    ASSERT_TRUE(editing.fingers.opens(0));
    const double top = editing.window.row(0)->y();
    bool faded = false;
    bool moved = false;
    editing.window.tap(*editing.fingers.deleteButton(0));
    ASSERT_TRUE(comesTrue([&] {
        for (const QQuickItem *row : ScreenWindow::itemsOfType(editing.window.list(), "NodeRow")) {
            faded = faded || (row->isVisible() && row->opacity() > 0 && row->opacity() < 1);
            moved = moved || (row->isVisible() && row->property("name").toString() == "b.jpg" &&
                              row->y() > top && row->y() < top + row->height());
        }
        const QQuickItem *const first = editing.window.row(0);
        return !editing.browsed.stack.isDeleting() && first != nullptr && first->y() == top &&
               first->property("name").toString() == "b.jpg" && first->opacity() == 1;
    }));
    EXPECT_TRUE(faded);
    EXPECT_TRUE(moved);
    EXPECT_THAT(editing.calls(), ElementsAre("3 a.jpg"));
    ASSERT_TRUE(editing.window.comesToRest());
    const SliceLayer &first = *editing.window.chart().sliceLayers().front();
    EXPECT_NEAR((first.endAngle() - first.startAngle()) / (2 * std::numbers::pi), 600.0 / 2250, 0.001);
    EXPECT_EQ(editing.window.inBar("subtitleLine").property("text").toString(), "2.2 kB");
}

TEST(EditingScreens, manyRowsCanGoOneAfterTheOtherAndThoseThatComeUpAreWhole)
{
    Editing editing(manyChildren(40), {"Others"});
    ASSERT_TRUE(editing.fingers.edits());
    for (int i = 0; i < 8; ++i) {
        ASSERT_TRUE(editing.fingers.deletes(0)) << i;
    }
    EXPECT_EQ(editing.table().rowCount(), 32);
    EXPECT_TRUE(comesTrue([&] {
        const std::vector<QQuickItem *> rows = editing.window.rows();
        return std::ranges::all_of(rows, [&](const QQuickItem *row) {
            const int index = row->property("index").toInt();
            return row->opacity() == 1 && row->y() == index * row->height() &&
                   row->property("name").toString().toStdString() == "child " + std::to_string(index + 8);
        });
    }));
    EXPECT_EQ(editing.window.warnings(), QStringList());
}

TEST(EditingScreens, theWayBackIsClosedWhileEditing)
{
    Editing editing;
    QQuickItem &back = editing.window.inBar("backButton");
    const QPointF place = ScreenWindow::middleOf(back);
    EXPECT_EQ(editing.window.inBar("rightButton").property("text").toString(), "Edit");
    ASSERT_TRUE(editing.fingers.edits());
    EXPECT_EQ(editing.window.inBar("rightButton").property("text").toString(), "Done");
    EXPECT_TRUE(comesTrue([&] { return !back.isVisible(); })) << "it fades";
    editing.window.tap(place);
    editing.window.key(Qt::Key_Escape);
    editing.window.key(Qt::Key_Back);
    editing.window.drag({4, 700}, {300, 700});
    EXPECT_FALSE(editing.window.isMoving());
    editing.window.release({300, 700});
    EXPECT_EQ(editing.browsed.stack.count(), 2);

    editing.fingers.tapBarButton();
    EXPECT_TRUE(comesTrue([&] { return back.isVisible() && back.opacity() == 1; }));
    editing.window.tap(back);
    EXPECT_EQ(editing.browsed.stack.count(), 1);
}

TEST(EditingScreens, withoutADeletionServiceThereIsNothingToDeleteWith)
{
    BrowsedTree browsed(attachments());
    browsed.system.deletion = nullptr;
    browsed.push({"Message Attachments"});
    ScreenWindow window(browsed.stack, {});
    ASSERT_TRUE(window.comesToRest());
    EXPECT_FALSE(window.inBar("rightButton").isVisible());
    EXPECT_FALSE(ScreenWindow::textsIn(window.browser()).contains("Edit"));
    EXPECT_FALSE(ScreenWindow::textsIn(window.browser()).contains("Delete"));
    window.key(Qt::Key_Down);
    window.key(Qt::Key_Delete);
    EXPECT_EQ(browsed.top().tableView()->openRow(), -1);
}

// ---- the keyboard

TEST(EditingKeys, theDeleteKeyOpensTheCurrentRowAndEnterDeletes)
{
    Editing editing;
    ASSERT_TRUE(editing.fingers.edits());
    editing.window.list().forceActiveFocus();
    editing.window.key(Qt::Key_Down);
    editing.window.key(Qt::Key_Down);
    editing.window.key(Qt::Key_Delete);
    EXPECT_TRUE(editing.fingers.isOpen(1));
    editing.window.key(Qt::Key_Delete);
    EXPECT_TRUE(editing.fingers.isClosed());
    editing.window.key(Qt::Key_Delete);
    editing.window.key(Qt::Key_Return);
    ASSERT_TRUE(editing.fingers.isOver(editing.browsed.top()));
    EXPECT_THAT(editing.calls(), ElementsAre("3 b.jpg"));
    EXPECT_TRUE(comesTrue([&] { return editing.window.list().hasActiveFocus(); })) << "it goes on there";
    editing.window.key(Qt::Key_Home);
    editing.window.key(Qt::Key_Delete);
    EXPECT_EQ(editing.table().openRow(), 0);
}

TEST(EditingKeys, escapeAndArrowsCloseTheOpenRowAndEnterAloneDoesNothing)
{
    Editing editing;
    ASSERT_TRUE(editing.fingers.edits());
    editing.window.list().forceActiveFocus();
    editing.window.key(Qt::Key_Down);
    for (const Qt::Key key : {Qt::Key_Escape, Qt::Key_Back, Qt::Key_Down}) {
        editing.window.key(Qt::Key_Home);
        editing.window.key(Qt::Key_Delete);
        EXPECT_EQ(editing.table().openRow(), 0);
        editing.window.key(key);
        EXPECT_TRUE(editing.fingers.isClosed()) << key;
    }
    editing.window.key(Qt::Key_Return);
    EXPECT_THAT(editing.calls(), IsEmpty());
    EXPECT_EQ(editing.browsed.stack.count(), 2);
}

TEST(EditingKeys, theDeleteKeyDoesNothingOutsideEditMode)
{
    Editing editing;
    editing.window.key(Qt::Key_Down);
    editing.window.key(Qt::Key_Delete);
    editing.window.key(Qt::Key_Delete);
    EXPECT_EQ(editing.table().openRow(), -1);
    EXPECT_THAT(editing.calls(), IsEmpty());
}

TEST(EditingKeys, tabReachesMinusAndDeleteOfTheCurrentRowAndLeavesThemAgain)
{
    Editing editing;
    ASSERT_TRUE(editing.fingers.edits());
    editing.window.list().forceActiveFocus();
    editing.window.key(Qt::Key_Down);
    editing.window.key(Qt::Key_Down);
    editing.window.key(Qt::Key_Tab);
    ASSERT_TRUE(editing.fingers.minus(1)->hasActiveFocus());
    editing.window.key(Qt::Key_Space);
    ASSERT_TRUE(editing.fingers.isOpen(1));
    editing.window.key(Qt::Key_Tab);
    ASSERT_TRUE(editing.fingers.deleteButton(1)->hasActiveFocus());
    editing.window.key(Qt::Key_Backtab);
    EXPECT_TRUE(editing.fingers.minus(1)->hasActiveFocus());
    editing.window.key(Qt::Key_Backtab);
    EXPECT_FALSE(editing.fingers.minus(1)->hasActiveFocus());
    EXPECT_TRUE(editing.window.list().hasActiveFocus());
    editing.window.key(Qt::Key_Backtab);
    EXPECT_FALSE(editing.window.list().hasActiveFocus());
    for (int i = 0; i < 8 && !(editing.fingers.deleteButton(1)->hasActiveFocus()); ++i) {
        editing.window.key(Qt::Key_Tab);
    }
    ASSERT_TRUE(editing.fingers.deleteButton(1)->hasActiveFocus());
    editing.window.key(Qt::Key_Return);
    ASSERT_TRUE(editing.fingers.isOver(editing.browsed.top()));
    EXPECT_THAT(editing.calls(), ElementsAre("3 b.jpg"));
}

TEST(EditingKeys, arrowsGoOnFromAMinusAndTheOneThatWasLeftIsNoTabStopAnyMore)
{
    Editing editing;
    ASSERT_TRUE(editing.fingers.edits());
    editing.window.list().forceActiveFocus();
    editing.window.key(Qt::Key_Home);
    editing.window.key(Qt::Key_Tab);
    ASSERT_TRUE(editing.fingers.minus(0)->hasActiveFocus());
    editing.window.key(Qt::Key_Down);
    EXPECT_FALSE(editing.fingers.minus(0)->hasActiveFocus());
    EXPECT_TRUE(editing.window.list().hasActiveFocus());
    EXPECT_FALSE(editing.fingers.minus(0)->activeFocusOnTab());
    editing.window.key(Qt::Key_Tab);
    EXPECT_TRUE(editing.fingers.minus(1)->hasActiveFocus());
}

std::string spokenName(QQuickItem &item)
{
    QAccessibleInterface *const spoken = QAccessible::queryAccessibleInterface(&item);
    return spoken != nullptr ? spoken->text(QAccessible::Name).toStdString() : "(silent)";
}

TEST(EditingSpoken, minusAndDeleteSayWhatTheyWouldDeleteAndCanBePressed)
{
    Editing editing({{"Others/100%1 %2", 5}, {"Others/b", 3}}, {"Others"});
    EXPECT_EQ(spokenName(*editing.window.row(0)), "100%1 %2, 5 B");
    ASSERT_TRUE(editing.fingers.edits());
    QQuickItem &minus = *editing.fingers.minus(0);
    EXPECT_EQ(spokenName(minus), "Delete 100%1 %2");
    QAccessibleInterface *const spoken = QAccessible::queryAccessibleInterface(&minus);
    ASSERT_NE(spoken, nullptr);
    EXPECT_EQ(spoken->role(), QAccessible::Button);
    spoken->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    ASSERT_TRUE(editing.fingers.isOpen(0));
    QQuickItem &button = *editing.fingers.deleteButton(0);
    EXPECT_EQ(spokenName(button), "Confirm deleting 100%1 %2");
    QAccessible::queryAccessibleInterface(&button)->actionInterface()->doAction(
        QAccessibleActionInterface::pressAction());
    ASSERT_TRUE(editing.fingers.isOver(editing.browsed.top()));
    EXPECT_THAT(editing.calls(), ElementsAre("1 100%1 %2"));
}

// ---- the question and the alert

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
                         testing::Values(Qt::Key_Escape, Qt::Key_Return, Qt::Key_Enter, Qt::Key_Back));

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
