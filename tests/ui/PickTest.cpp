// Rows and slices that are picked, files that are shown, and the way back.
#include "tests/ui/BrowserParts.h"

#include <QSignalSpy>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace slicewise {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

HandMadeTree::Files twelveAndAFile()
{
    HandMadeTree::Files files = manyChildren(12);
    files.emplace_back("Others/file.txt", 1);
    return files;
}

class PickTest : public ::testing::Test {
protected:
    [[nodiscard]] NodeTable &table() const { return *shown.screen->tableView(); }
    [[nodiscard]] SZAViewController &top() const { return *shown.stack.topViewController(); }
    [[nodiscard]] bool isAnythingOut() const
    {
        return std::any_of(shown.chart.sliceLayers().begin(), shown.chart.sliceLayers().end(),
                           [](const auto &layer) { return layer->isSelected(); });
    }
    void expectInteraction(bool enabled) const
    {
        EXPECT_EQ(table().isUserInteractionEnabled(), enabled);
        EXPECT_EQ(shown.screen->isChartUserInteractionEnabled(), enabled);
        EXPECT_EQ(shown.chart.isEnabled(), enabled);
        EXPECT_EQ(shown.stack.isNavigationBarUserInteractionEnabled(), enabled);
    }
    void expectNothingPicked() const
    {
        EXPECT_EQ(table().selectedRow(), -1);
        EXPECT_EQ(shown.screen->lastPath(), std::nullopt);
        EXPECT_FALSE(isAnythingOut());
        EXPECT_THAT(system.timers.running(), IsEmpty());
        expectInteraction(true);
    }

    System system;
    HandMadeTree tree{twelveAndAFile()};
    Shown shown{tree, {"Others"}, system};
    static constexpr int kFileRow = 12;
};

TEST_F(PickTest, aRowPullsItsSliceOutAndAQuarterOfASecondLaterItsScreenIsThere)
{
    table().tapRow(3);
    EXPECT_EQ(table().selectedRow(), 3);
    EXPECT_EQ(shown.screen->lastPath(), (IndexPath{.section = 0, .row = 3}));
    EXPECT_TRUE(shown.isOut(3));
    EXPECT_THAT(system.timers.running(), ElementsAre(0.25));
    expectInteraction(false);
    system.timers.pass(0.2);
    EXPECT_EQ(shown.stack.count(), 1);
    system.timers.pass(0.1);
    ASSERT_EQ(shown.stack.count(), 2);
    EXPECT_EQ(top().currentPath(), tree.path({"Others", "child 3"}));
    EXPECT_EQ(top().navigationItem()->title(), QStringLiteral("child 3"));
    EXPECT_THAT(rowTexts(*top().tableView()), ElementsAre("leaf")) << "loaded";
    expectInteraction(true);
    EXPECT_THAT(system.timers.running(), IsEmpty());
    system.timers.pass(5);
    EXPECT_EQ(shown.stack.count(), 2) << "once";
}

TEST_F(PickTest, interactionComesBackAfterThePushBarFirstThenChartThenTable)
{
    Notes order;
    QObject::connect(&shown.stack, &SZANavigationController::viewControllerPushed,
                     [&] { order.emplace_back("push"); });
    QObject::connect(&shown.stack, &SZANavigationController::navigationBarUserInteractionEnabledChanged,
                     [&] { order.emplace_back("bar"); });
    QObject::connect(shown.screen, &SZAViewController::chartUserInteractionEnabledChanged,
                     [&] { order.emplace_back("chart"); });
    QObject::connect(&table(), &NodeTable::userInteractionEnabledChanged,
                     [&] { order.emplace_back("table"); });
    table().tapRow(0);
    EXPECT_THAT(order, ElementsAre("table", "chart", "bar"));
    order.clear();
    system.timers.pass(0.25);
    EXPECT_THAT(order, ElementsAre("push", "bar", "chart", "table"));
}

TEST_F(PickTest, rowsBehindTheEighthPullTheRestOut)
{
    table().tapRow(10);
    EXPECT_TRUE(shown.isOut(8));
    system.timers.pass(0.25);
    EXPECT_EQ(top().currentPath(), tree.path({"Others", "child 10"}));
}

TEST_F(PickTest, nothingElseCanBePickedWhileTheSliceMoves)
{
    table().tapRow(3);
    table().tapRow(4);
    EXPECT_FALSE(shown.screen->pieChartWillSelectSliceAtIndex(shown.chart, 5));
    shown.stack.goBack();
    EXPECT_EQ(shown.screen->lastPath(), (IndexPath{.section = 0, .row = 3}));
    EXPECT_FALSE(shown.isOut(4));
    EXPECT_FALSE(shown.isOut(5));
    EXPECT_THAT(system.timers.running(), ElementsAre(0.25));
}

TEST_F(PickTest, aSliceIsPickedByWayOfItsRow)
{
    QSignalSpy scrolled(&table(), &NodeTable::scrollRequested);
    EXPECT_FALSE(shown.screen->pieChartWillSelectSliceAtIndex(shown.chart, 5)) << "never by the chart itself";
    EXPECT_EQ(table().selectedRow(), 5);
    ASSERT_EQ(scrolled.count(), 1);
    EXPECT_EQ(scrolled[0][0].toInt(), 5);
    EXPECT_EQ(scrolled[0][1].value<NodeTable::ScrollPosition>(), NodeTable::ScrollPosition::Middle);
    EXPECT_TRUE(shown.isOut(5));
    EXPECT_EQ(shown.chart.selectedSliceIndex(), -1);
    system.timers.pass(0.25);
    EXPECT_EQ(top().currentPath(), tree.path({"Others", "child 5"}));
}

TEST_F(PickTest, aTapOnTheChartGoesTheSameWay)
{
    shown.chart.tapSliceAtIndex(1);
    EXPECT_EQ(table().selectedRow(), 1);
    system.timers.pass(0.25);
    EXPECT_EQ(top().currentPath(), tree.path({"Others", "child 1"}));
}

TEST_F(PickTest, theRestCannotBePickedWhateverTheNumberOfChildren)
{
    EXPECT_FALSE(shown.screen->pieChartWillSelectSliceAtIndex(shown.chart, 8));
    EXPECT_FALSE(shown.screen->pieChartWillSelectSliceAtIndex(shown.chart, 9));
    expectNothingPicked();
    for (const std::size_t count : {7U, 8U, 9U}) {
        const HandMadeTree other(manyChildren(count));
        Shown there(other, {"Others"}, system);
        EXPECT_FALSE(there.screen->pieChartWillSelectSliceAtIndex(there.chart, 8));
        EXPECT_EQ(there.screen->lastPath(), std::nullopt) << count;
        EXPECT_EQ(there.screen->tableView()->selectedRow(), -1) << count;
    }
}

TEST_F(PickTest, aSliceWithoutAChildDoesNothing)
{
    const HandMadeTree other(manyChildren(3));
    Shown there(other, {"Others"}, system);
    EXPECT_FALSE(there.screen->pieChartWillSelectSliceAtIndex(there.chart, 3));
    EXPECT_EQ(there.screen->lastPath(), std::nullopt);
    EXPECT_FALSE(there.screen->pieChartWillSelectSliceAtIndex(there.chart, 2));
    EXPECT_EQ(there.screen->lastPath(), (IndexPath{.section = 0, .row = 2}));
}

TEST_F(PickTest, aSliceDoesNothingInEditMode)
{
    table().setEditing(true);
    EXPECT_FALSE(shown.screen->pieChartWillSelectSliceAtIndex(shown.chart, 2));
    table().tapRow(2);
    expectNothingPicked();
}

TEST_F(PickTest, comingBackTakesTheSelectionBack)
{
    table().tapRow(10);
    system.timers.pass(0.25);
    EXPECT_EQ(table().selectedRow(), 10);
    EXPECT_TRUE(shown.isOut(8)) << "until it is seen again";
    shown.stack.goBack();
    shown.screen->viewDidAppear();
    expectNothingPicked();
}

TEST_F(PickTest, theFirstAppearanceDeselectsTheFirstSliceAndNoRow)
{
    shown.chart.setSliceSelectedAtIndex(0);
    shown.chart.setSliceSelectedAtIndex(1);
    table().selectRowAtIndexPath({.section = 0, .row = 0}, NodeTable::ScrollPosition::None);
    shown.screen->viewDidAppear();
    EXPECT_FALSE(shown.isOut(0));
    EXPECT_TRUE(shown.isOut(1));
    EXPECT_EQ(table().selectedRow(), 0);
}

TEST_F(PickTest, aScreenWithoutAChartOrAStackPicksAllTheSame)
{
    const auto alone = finishedScreen(system.services(tree.device), tree.root, tree.path({"Others"}));
    alone->loadViewIfNeeded();
    alone->tableView()->tapRow(0);
    EXPECT_FALSE(alone->tableView()->isUserInteractionEnabled());
    system.timers.pass(0.25);
    EXPECT_TRUE(alone->tableView()->isUserInteractionEnabled());
    alone->viewDidAppear();
    EXPECT_EQ(alone->tableView()->selectedRow(), -1);
}

TEST_F(PickTest, aScreenThatGoesBeforeThePushGivesTheBarBack)
{
    const HandMadeTree deep({{"Others/a/b/c", 1}});
    Shown there(deep, {"Others"}, system);
    there.screen->tableView()->tapRow(0);
    system.timers.pass(0.25);
    SZAViewController *const second = there.stack.topViewController();
    second->tableView()->tapRow(0);
    ASSERT_FALSE(there.stack.isNavigationBarUserInteractionEnabled());
    there.stack.popViewController();
    there.stack.release(second);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(there.stack.isNavigationBarUserInteractionEnabled());
    system.timers.pass(1);
    EXPECT_EQ(there.stack.count(), 1) << "nothing is pushed any more";
}

TEST_F(PickTest, aFileIsPreviewedAndItsRowStaysSelectedMeanwhile)
{
    QSignalSpy preview(shown.screen, &SZAViewController::previewRequested);
    table().tapRow(kFileRow);
    ASSERT_EQ(preview.count(), 1);
    EXPECT_EQ(preview[0][0].toByteArray(), QByteArray("/file-12"));
    EXPECT_EQ(preview[0][1].toString(), QStringLiteral("file.txt"));
    EXPECT_EQ(shown.screen->documentInteractionControllerViewControllerForPreview(), shown.screen);
    EXPECT_EQ(table().selectedRow(), kFileRow);
    EXPECT_EQ(shown.screen->lastPath(), (IndexPath{.section = 0, .row = kFileRow}));
    EXPECT_FALSE(isAnythingOut()) << "no slice moves";
    EXPECT_THAT(system.timers.running(), IsEmpty());
    expectInteraction(true);
    shown.screen->documentInteractionControllerDidEndPreview();
    expectNothingPicked();
    shown.screen->documentInteractionControllerDidEndPreview();
    expectNothingPicked();
}

TEST_F(PickTest, withoutAPreviewTheOpenInMenuIsShownAndThenTheOptions)
{
    QSignalSpy preview(shown.screen, &SZAViewController::previewRequested);
    QSignalSpy openIn(shown.screen, &SZAViewController::openInMenuRequested);
    QSignalSpy options(shown.screen, &SZAViewController::optionsMenuRequested);
    system.presenter.can = {DocumentPresentation::OpenInMenu, DocumentPresentation::OptionsMenu};
    table().tapRow(kFileRow);
    EXPECT_EQ(openIn.count(), 1);
    EXPECT_EQ(table().selectedRow(), kFileRow);
    shown.screen->documentInteractionControllerDidDismissOpenInMenu();
    expectNothingPicked();
    system.presenter.can = {DocumentPresentation::OptionsMenu};
    table().tapRow(kFileRow);
    EXPECT_EQ(options.count(), 1);
    EXPECT_EQ(options[0][0].toByteArray(), QByteArray("/file-12"));
    shown.screen->documentInteractionControllerDidDismissOptionsMenu();
    expectNothingPicked();
    EXPECT_EQ(preview.count(), 0);
    EXPECT_EQ(openIn.count(), 1);
    const std::string file = "/file-12";
    EXPECT_THAT(system.presenter.asked, ElementsAre(std::pair(DocumentPresentation::Preview, file),
                                                    std::pair(DocumentPresentation::OpenInMenu, file),
                                                    std::pair(DocumentPresentation::Preview, file),
                                                    std::pair(DocumentPresentation::OpenInMenu, file),
                                                    std::pair(DocumentPresentation::OptionsMenu, file)));
}

TEST_F(PickTest, aFileThatNothingCanShowStaysSelectedUntilTheNextAppearance)
{
    system.presenter.can.clear();
    table().tapRow(kFileRow);
    EXPECT_EQ(table().selectedRow(), kFileRow);
    EXPECT_EQ(shown.screen->lastPath(), (IndexPath{.section = 0, .row = kFileRow}));
    EXPECT_THAT(system.lines, IsEmpty());
    shown.screen->viewDidAppear();
    expectNothingPicked();
}

TEST_F(PickTest, anotherFileTakesTheSelection)
{
    system.presenter.can.clear();
    tree.add("Others/second", 1, "/second");
    shown.screen->updateData();
    table().tapRow(kFileRow);
    table().tapRow(kFileRow + 1);
    EXPECT_EQ(table().selectedRow(), kFileRow + 1);
    EXPECT_EQ(shown.screen->lastPath(), (IndexPath{.section = 0, .row = kFileRow + 1}));
}

TEST_F(PickTest, aPreviewThatIsOverAtOnceLeavesNothingSelected)
{
    QObject::connect(shown.screen, &SZAViewController::previewRequested, shown.screen,
                     &SZAViewController::documentInteractionControllerDidEndPreview);
    table().tapRow(kFileRow);
    expectNothingPicked();
}

TEST_F(PickTest, aSliceOfAFileShowsTheFile)
{
    const HandMadeTree other({{"Others/a.txt", 5}});
    Shown there(other, {"Others"}, system);
    QSignalSpy preview(there.screen, &SZAViewController::previewRequested);
    EXPECT_FALSE(there.screen->pieChartWillSelectSliceAtIndex(there.chart, 0));
    EXPECT_EQ(preview.count(), 1);
    EXPECT_EQ(there.screen->tableView()->selectedRow(), 0);
}

TEST_F(PickTest, theBytesOfAFilesPathAreKept)
{
    HandMadeTree other({});
    other.add("Others/odd", 5, "/a/\xff\nb");
    Shown there(other, {"Others"}, system);
    QSignalSpy preview(there.screen, &SZAViewController::previewRequested);
    there.screen->tableView()->tapRow(0);
    ASSERT_EQ(preview.count(), 1);
    EXPECT_EQ(preview[0][0].toByteArray(), QByteArray("/a/\xff\nb"));
}

TEST_F(PickTest, anEmptyFileNameIsNone)
{
    SZANode &node = *tree.path({"Others", "file.txt"}).back();
    node.setFilename("");
    table().tapRow(kFileRow);
    EXPECT_THAT(system.presenter.asked, IsEmpty());
    system.timers.pass(0.25);
    ASSERT_EQ(shown.stack.count(), 2);
    EXPECT_EQ(top().tableView()->rowCount(), 0) << "a screen of nothing";
}

} // namespace

} // namespace slicewise
