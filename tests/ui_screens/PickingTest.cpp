// Fingers on rows, slices and the bar.
#include "tests/ui_screens/BrowsedTree.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

namespace slicewise {
namespace {

std::string titleOf(const ScreenWindow &window)
{
    return window.inBar("titleLine").property("text").toString().toStdString();
}

bool isLit(const ScreenWindow &window, int row)
{
    return window.row(row) != nullptr && window.row(row)->property("lit").toBool();
}

/// "Others" with 12 children, every row of which fits the window.
struct TwelveChildren {
    BrowsedTree browsed{manyChildren(12), {"Others"}};
    ScreenWindow window{browsed.stack, {.size = {390, 1400}}};
    SZAViewController &screen = browsed.top();
};

TEST(Picking, aSliceThatIsTappedMovesOutAndItsPageComes)
{
    TwelveChildren shown;
    ASSERT_TRUE(shown.window.comesToRest());
    shown.window.tap(shown.window.middleOfSlice(2));
    EXPECT_TRUE(shown.window.chart().sliceLayers().at(2)->isSelected());
    EXPECT_TRUE(isLit(shown.window, 2));
    EXPECT_FALSE(shown.browsed.stack.isNavigationBarUserInteractionEnabled());

    ASSERT_TRUE(comesTrue([&] { return shown.browsed.stack.count() == 3; }));
    ASSERT_TRUE(shown.window.comesToRest());
    EXPECT_EQ(titleOf(shown.window), "child 2");
    EXPECT_TRUE(shown.window.topPage()->isVisible());
    EXPECT_EQ(shown.window.topPage()->x(), 0);
    EXPECT_EQ(shown.window.warnings(), QStringList());
}

TEST(Picking, theBackButtonBringsTheParentBackWithNothingSelected)
{
    TwelveChildren shown;
    ASSERT_TRUE(shown.window.comesToRest());
    shown.window.tap(*shown.window.row(3));
    ASSERT_TRUE(comesTrue([&] { return shown.browsed.stack.count() == 3; }));
    ASSERT_TRUE(shown.window.comesToRest());
    EXPECT_EQ(shown.screen.tableView()->selectedRow(), 3);

    shown.window.tap(shown.window.inBar("backButton"));
    EXPECT_EQ(shown.browsed.stack.count(), 2);
    ASSERT_TRUE(shown.window.comesToRest());
    EXPECT_EQ(shown.window.topScreen(), &shown.screen);
    EXPECT_EQ(shown.screen.tableView()->selectedRow(), -1);
    EXPECT_FALSE(shown.window.chart().sliceLayers().at(3)->isSelected());
    EXPECT_EQ(titleOf(shown.window), "Others");
}

TEST(Picking, rowsBehindTheEighthPullOutTheNinthSlice)
{
    TwelveChildren shown;
    ASSERT_TRUE(shown.window.comesToRest());
    shown.window.tap(*shown.window.row(10));
    EXPECT_TRUE(shown.window.chart().sliceLayers().at(8)->isSelected());
    ASSERT_TRUE(comesTrue([&] { return shown.browsed.stack.count() == 3; }));
    ASSERT_TRUE(shown.window.comesToRest());
    EXPECT_EQ(titleOf(shown.window), "child 10");
}

TEST(Picking, theNinthSliceItselfDoesNothing)
{
    TwelveChildren shown;
    ASSERT_TRUE(shown.window.comesToRest());
    shown.window.tap(shown.window.middleOfSlice(8));
    EXPECT_EQ(shown.screen.tableView()->selectedRow(), -1);
    EXPECT_TRUE(shown.screen.tableView()->isUserInteractionEnabled());
    EXPECT_FALSE(shown.window.chart().sliceLayers().at(8)->isSelected());
}

TEST(Picking, nothingElseCanBePickedUntilThePageIsThere)
{
    TwelveChildren shown;
    ASSERT_TRUE(shown.window.comesToRest());
    shown.window.tap(*shown.window.row(1));
    shown.window.tap(*shown.window.row(5));
    shown.window.tap(shown.window.middleOfSlice(0));
    shown.window.tap(shown.window.inBar("backButton"));
    shown.window.key(Qt::Key_Escape);
    EXPECT_EQ(shown.browsed.stack.count(), 2);
    EXPECT_EQ(shown.screen.tableView()->selectedRow(), 1);
    ASSERT_TRUE(comesTrue([&] { return shown.browsed.stack.count() == 3; }));
    ASSERT_TRUE(shown.window.comesToRest());
    EXPECT_EQ(titleOf(shown.window), "child 1");
}

TEST(Picking, aFileIsAskedForWithItsPathAndStaysLitUntilItIsClosed)
{
    BrowsedTree browsed({{"Others/list.txt", 100}, {"Others/more/leaf", 50}}, {"Others"});
    const std::string path = browsed.top().currentNodes().at(0)->filename().value_or("");
    ScreenWindow window(browsed.stack, {});
    QSignalSpy asked(&window.browser(),
                     SIGNAL(previewRequested(slicewise::SZAViewController *, QVariant, QString)));
    ASSERT_TRUE(asked.isValid());
    ASSERT_TRUE(window.comesToRest());

    window.tap(*window.row(0));
    ASSERT_EQ(asked.count(), 1);
    EXPECT_EQ(qvariant_cast<SZAViewController *>(asked.at(0).at(0)), &browsed.top());
    EXPECT_EQ(asked.at(0).at(1).value<QVariant>().toByteArray().toStdString(), path);
    EXPECT_EQ(asked.at(0).at(2).toString(), "list.txt");
    EXPECT_TRUE(isLit(window, 0));
    EXPECT_EQ(browsed.stack.count(), 2);

    browsed.top().documentInteractionControllerDidEndPreview();
    EXPECT_TRUE(comesTrue([&] { return !isLit(window, 0); }));
}

TEST(Picking, aFileThatCannotBePreviewedIsAskedForAsAMenu)
{
    for (const auto &[can, signal] :
         {std::pair(DocumentPresentation::OpenInMenu,
                    SIGNAL(openInMenuRequested(slicewise::SZAViewController *, QVariant, QString))),
          std::pair(DocumentPresentation::OptionsMenu,
                    SIGNAL(optionsMenuRequested(slicewise::SZAViewController *, QVariant, QString)))}) {
        BrowsedTree browsed({{"Others/list.bin", 100}}, {"Others"});
        browsed.system.presenter.can = {can};
        ScreenWindow window(browsed.stack, {});
        QSignalSpy asked(&window.browser(), signal);
        ASSERT_TRUE(asked.isValid());
        ASSERT_TRUE(window.comesToRest());
        window.tap(*window.row(0));
        EXPECT_EQ(asked.count(), 1);
    }
}

TEST(Picking, aDragOverTheRowsScrollsAndPicksNothing)
{
    BrowsedTree browsed(manyChildren(60), {"Others"});
    ScreenWindow window(browsed.stack, {});
    ASSERT_TRUE(window.comesToRest());
    const QPointF from = ScreenWindow::middleOf(*window.row(4));
    window.drag(from, from - QPointF(0, 200));
    window.release(from - QPointF(0, 200));
    EXPECT_GT(window.list().property("contentY").toDouble(), 100);
    EXPECT_EQ(browsed.top().tableView()->selectedRow(), -1);
}

TEST(Picking, aSliceWhoseRowIsOutOfSightBringsItToTheMiddle)
{
    BrowsedTree browsed(manyChildren(60), {"Others"});
    ScreenWindow window(browsed.stack, {.size = {390, 600}});
    ASSERT_TRUE(window.comesToRest());
    browsed.top().tableView()->selectRowAtIndexPath({.section = 0, .row = 40},
                                                    NodeTable::ScrollPosition::Middle);
    EXPECT_TRUE(comesTrue([&] {
        const QQuickItem *const row = window.row(40);
        return row != nullptr && std::abs(row->mapToItem(&window.list(), QPointF(0, row->height() / 2)).y() -
                                          window.list().height() / 2) < 2;
    }));
}

} // namespace
} // namespace slicewise
