// Edit mode as it is drawn: by finger, by key, and as it is spoken.
#include "tests/deleting_screens/Editing.h"

#include "tests/ui_screens/Spoken.h"

#include <gmock/gmock.h>

#include <numbers>

namespace slicewise {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

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

TEST(EditingScreens, twoQuickTapsAreTwo)
{
    Editing editing;
    editing.fingers.tapBarButton();
    editing.fingers.tapBarButton();
    EXPECT_FALSE(editing.table().isEditing());
    ASSERT_TRUE(editing.fingers.edits());
    editing.window.tap(*editing.fingers.minus(0));
    editing.window.tap(*editing.fingers.minus(0));
    EXPECT_TRUE(editing.fingers.isClosed());
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

/// In edit mode, with the keys going to the table.
struct EditingByKeys : Editing {
    EditingByKeys()
    {
        EXPECT_TRUE(fingers.edits());
        window.list().forceActiveFocus();
    }
    [[nodiscard]] bool goesToMinus(int row)
    {
        window.key(Qt::Key_Home);
        for (int i = 0; i < row; ++i) {
            window.key(Qt::Key_Down);
        }
        window.key(Qt::Key_Tab);
        return fingers.minus(row)->hasActiveFocus();
    }
};

TEST(EditingKeys, theDeleteKeyOpensTheCurrentRowAndEnterDeletes)
{
    EditingByKeys editing;
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

TEST(EditingKeys, keysThatAreHeldDeleteAtMostOneRow)
{
    EditingByKeys editing;
    editing.window.key(Qt::Key_Home);
    editing.window.hold(Qt::Key_Delete);
    ASSERT_TRUE(editing.fingers.isOpen(0));
    editing.window.hold(Qt::Key_Return);
    ASSERT_TRUE(editing.fingers.isOver(editing.browsed.top()));
    ASSERT_TRUE(comesTrue([&] { return editing.window.list().hasActiveFocus(); }));
    ASSERT_TRUE(editing.goesToMinus(0));
    editing.window.hold(Qt::Key_Space);
    EXPECT_EQ(editing.table().openRow(), 0) << "by its minus";
    EXPECT_THAT(editing.calls(), ElementsAre("3 a.jpg"));
}

TEST(EditingKeys, escapeAndArrowsCloseTheOpenRowAndEnterAloneDoesNothing)
{
    EditingByKeys editing;
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
    EditingByKeys editing;
    ASSERT_TRUE(editing.goesToMinus(1));
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
    EditingByKeys editing;
    ASSERT_TRUE(editing.goesToMinus(0));
    editing.window.key(Qt::Key_Down);
    EXPECT_FALSE(editing.fingers.minus(0)->hasActiveFocus());
    EXPECT_TRUE(editing.window.list().hasActiveFocus());
    EXPECT_FALSE(editing.fingers.minus(0)->activeFocusOnTab());
    editing.window.key(Qt::Key_Tab);
    EXPECT_TRUE(editing.fingers.minus(1)->hasActiveFocus());
}

TEST(EditingSpoken, minusAndDeleteSayWhatTheyWouldDeleteAndCanBePressed)
{
    Editing editing({{"Others/100%1 %2", 5}, {"Others/b", 3}}, {"Others"});
    EXPECT_EQ(spokenName(*editing.window.row(0)), "100%1 %2, 5 B");
    ASSERT_TRUE(editing.fingers.edits());
    QQuickItem &minus = *editing.fingers.minus(0);
    EXPECT_EQ(spokenName(minus), "Delete 100%1 %2");
    EXPECT_EQ(spokenRole(minus), QAccessible::Button);
    pressAloud(minus);
    ASSERT_TRUE(editing.fingers.isOpen(0));
    QQuickItem &button = *editing.fingers.deleteButton(0);
    EXPECT_EQ(spokenName(button), "Confirm deleting 100%1 %2");
    pressAloud(button);
    ASSERT_TRUE(editing.fingers.isOver(editing.browsed.top()));
    EXPECT_THAT(editing.calls(), ElementsAre("1 100%1 %2"));
}

} // namespace
} // namespace slicewise
