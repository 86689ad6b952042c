// What goes: a row, or the screen's own node; and what becomes of the tree and of all screens.
#include "tests/ui/DeletingFixture.h"
#include "ui/NameText.h"

#include <QAbstractItemModelTester>
#include <QPointer>
#include <QSignalSpy>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace slicewise {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST_F(DeletingTest, aRowLeavesTheTreeAndEveryScreenShowsTheNewSizes)
{
    goTo({"Others", "a"});
    const std::vector<SZAViewController *> screens = stack.viewControllers();
    const std::uint64_t before = tree.root->size();
    deleteRow(top(), 0);
    EXPECT_THAT(system.standIn.calls(), ElementsAre("1 x"));
    EXPECT_THAT(shownOn(*screens[2]), ElementsAre("32 B", "y 30 B", "z 2 B"));
    EXPECT_THAT(namesOf(screens[2]->currentNodes()), ElementsAre("y", "z"));
    EXPECT_THAT(shownOn(*screens[1]), ElementsAre("82 B", "b 50 B", "a 32 B")) << "in their new order";
    EXPECT_EQ(tree.root->size(), before - 400);
    EXPECT_EQ(subtitleOf(*screens[0]), "1.1 kB used out of 0 B");
    EXPECT_EQ(stack.count(), 3);
}

TEST_F(DeletingTest, theRowLeavesOneByOneAndTheChartIsDrawnAgain)
{
    goTo({"Others", "a"});
    const QAbstractItemModelTester tester(&table(), QAbstractItemModelTester::FailureReportingMode::Fatal);
    QSignalSpy removed(&table(), &NodeTable::rowsRemoved);
    QSignalSpy reset(&table(), &NodeTable::modelReset);
    deleteRow(top(), 1);
    EXPECT_EQ(removed.count(), 1);
    EXPECT_EQ(removed[0][1].toInt(), 1);
    EXPECT_EQ(reset.count(), 0);
    EXPECT_EQ(table().rowAnimation(), NodeTable::RowAnimation::Automatic);
    EXPECT_EQ(chart.sliceLayers()[0]->value(), 400);
    EXPECT_EQ(chart.sliceLayers()[1]->value(), 2);
    EXPECT_EQ(chart.sliceLayers()[2]->value(), 0);
}

TEST_F(DeletingTest, theLastRowLeavesAnEmptyScreenInEditMode)
{
    goTo({"Others", "a"});
    deleteRow(top(), 2);
    deleteRow(top(), 1);
    deleteRow(top(), 0);
    EXPECT_THAT(shownOn(top()), ElementsAre("0 B"));
    EXPECT_EQ(stack.count(), 3);
    EXPECT_TRUE(table().isEditing());
    EXPECT_EQ(top().navigationItem()->rightButtonTitle(), QStringLiteral("Done"));
    EXPECT_TRUE(top().navigationItem()->hidesBackButton());
    top().rightBarButtonTapped();
    EXPECT_EQ(top().navigationItem()->rightButtonTitle(), QStringLiteral("Edit"));
    stack.goBack();
    EXPECT_THAT(shownOn(top()), ElementsAre("50 B", "b 50 B", "a 0 B"));
    EXPECT_EQ(system.standIn.calls().size(), 3U);
}

TEST_F(DeletingTest, aDirectoryGoesWithEverythingInIt)
{
    goTo({"Others"});
    deleteRow(top(), 0);
    EXPECT_THAT(system.standIn.calls(), ElementsAre("1 a"));
    EXPECT_THAT(shownOn(top()), ElementsAre("50 B", "b 50 B"));
    EXPECT_EQ(tree.path({"Others"}).back()->childNamed("a"), nullptr);
}

TEST_F(DeletingTest, eachTypeThatIsNotAskedForGoesAtOnceFromItsRow)
{
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"Others"}, "1 a"},
        {{"Logs"}, "1 l"},
        {{"Application Data"}, "1 app"},
        {{"Message Attachments"}, "3 photo.jpg"},
        {{"Photos", "DCIM", "100APPLE"}, "5 i.jpg"},
    };
    for (const auto &[names, call] : cases) {
        goTo(names);
        deleteRow(top(), 0);
        EXPECT_EQ(system.standIn.calls().back(), call);
        EXPECT_FALSE(top().isAsking()) << call;
    }
    EXPECT_EQ(system.standIn.calls().size(), cases.size());
}

TEST_F(DeletingTest, theScreensOwnNodeGoesWithoutAQuestionAndTheScreenIsPopped)
{
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"Application Data", "app"}, "1 app"},
        {{"Message Attachments", "photo.jpg"}, "3 photo.jpg"},
        {{"Photos", "DCIM", "100APPLE", "i.jpg"}, "5 i.jpg"},
    };
    for (const auto &[names, call] : cases) {
        goTo(names);
        SZAViewController &screen = top();
        const int count = stack.count();
        QSignalSpy popped(&stack, &SZANavigationController::viewControllerPopped);
        EXPECT_EQ(screen.navigationItem()->rightButtonTitle(), QStringLiteral("Delete"));
        screen.rightBarButtonTapped();
        waitForDeletion(screen);
        EXPECT_EQ(system.standIn.calls().back(), call);
        EXPECT_EQ(stack.count(), count - 1);
        ASSERT_EQ(popped.count(), 1) << call;
        EXPECT_EQ(popped[0][0].value<SZAViewController *>(), &screen);
        EXPECT_FALSE(screen.isAsking());
        EXPECT_THAT(shownOn(top()), ElementsAre("0 B")) << "the screen below knows";
    }
}

TEST_F(DeletingTest, aScreenThatWasPoppedCanStillBeDrawn)
{
    goTo({"Application Data", "app"});
    const QPointer<SZAViewController> screen = &top();
    screen->deleteCurrentNode();
    waitForDeletion(*screen);
    EXPECT_EQ(screen->navigationItem()->title(), QStringLiteral("app"));
    EXPECT_THAT(rowTexts(*screen->tableView()), ElementsAre("f"));
    screen->updateData();
    EXPECT_THAT(shownOn(*screen), ElementsAre("0 B", "f 9 B"));
    EXPECT_EQ(screen->navigationItem()->node()->name(), "app");
    stack.release(screen);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(screen.isNull());
}

TEST_F(DeletingTest, detachedNodesOutliveTheScreensThatShowThem)
{
    goTo({"Others"});
    const SZANode *const a = tree.path({"Others", "a"}).back();
    top().tableView()->tapRow(0);
    system.timers.pass(0.25);
    SZAViewController &deep = top();
    stack.popViewController();
    top().viewDidAppear();
    deleteRow(top(), 0);
    EXPECT_EQ(deep.currentPath()->back(), a) << "still drawn, on its way out";
    EXPECT_THAT(shownOn(deep), ElementsAre("432 B", "x 400 B", "y 30 B", "z 2 B"));
}

TEST_F(DeletingTest, theRestOfAStackIsRefreshedAndThisScreenIsNot)
{
    goTo({"Others", "a"});
    const std::vector<SZAViewController *> screens = stack.viewControllers();
    QSignalSpy own(screens[2]->tableView(), &NodeTable::modelReset);
    QSignalSpy below(screens[1]->tableView(), &NodeTable::modelReset);
    QSignalSpy overview(screens[0]->tableView(), &NodeTable::modelReset);
    deleteRow(top(), 0);
    EXPECT_EQ(own.count(), 0);
    EXPECT_EQ(below.count(), 1);
    EXPECT_EQ(overview.count(), 1);
}

TEST_F(DeletingTest, worksWithoutAStackAndWithoutAChart)
{
    const auto alone = finishedScreen(system.services(tree.device), tree.root, tree.path({"Others", "a"}));
    alone->loadViewIfNeeded();
    alone->rightBarButtonTapped();
    alone->tableView()->toggleDeleteConfirmation(0);
    alone->tableView()->commitDelete(0);
    alone->tableView()->toggleDeleteConfirmation(1);
    EXPECT_EQ(alone->tableView()->openRow(), -1) << "its own gate is closed";
    waitForDeletion(*alone);
    EXPECT_THAT(shownOn(*alone), ElementsAre("32 B", "y 30 B", "z 2 B"));
    alone->tableView()->toggleDeleteConfirmation(1);
    EXPECT_EQ(alone->tableView()->openRow(), 1);
    alone->setCurrentPath(tree.path({"Application Data", "app"}));
    alone->deleteCurrentNode();
    waitForDeletion(*alone);
    EXPECT_EQ(tree.path({"Application Data"}).back()->size(), 0U);
}

TEST_F(DeletingTest, anyEditingStyleDeletes)
{
    goTo({"Others", "a"});
    for (const EditingStyle style : {EditingStyle::None, EditingStyle::Insert, EditingStyle::Delete}) {
        top().tableViewCommitEditingStyleForRowAtIndexPath(style, {.section = 0, .row = 0});
        waitForDeletion(top());
    }
    EXPECT_THAT(system.standIn.calls(), ElementsAre("1 x", "1 y", "1 z"));
}

TEST_F(DeletingTest, aFileThatIsSelectedStaysSoAtItsNewPlace)
{
    goTo({"Others", "a"});
    system.presenter.can.clear();
    table().tapRow(1);
    ASSERT_EQ(table().selectedRow(), 1);
    deleteRow(top(), 2);
    EXPECT_EQ(top().lastPath(), (IndexPath{.section = 0, .row = 1}));
    deleteRow(top(), 0);
    EXPECT_EQ(table().selectedRow(), 0);
    EXPECT_EQ(top().lastPath(), (IndexPath{.section = 0, .row = 0}));
    deleteRow(top(), 0);
    EXPECT_EQ(table().selectedRow(), -1);
    EXPECT_EQ(top().lastPath(), std::nullopt);
}

// ---- failures

TEST_F(DeletingTest, aFailureIsToldAndChangesNothing)
{
    goTo({"Others", "a"});
    const std::vector<SZAViewController *> screens = stack.viewControllers();
    std::vector<std::vector<std::string>> before;
    for (SZAViewController *screen : screens) {
        before.push_back(shownOn(*screen));
    }
    system.standIn.answer = {.deleted = false, .errorText = {}};
    deleteRow(top(), 0);
    UIAlertView &alert = *top().alertView();
    EXPECT_TRUE(alert.isVisible());
    EXPECT_EQ(alert.title(), QStringLiteral("Delete failed"));
    EXPECT_EQ(alert.message(), QStringLiteral("Deletion failed for some or all of the files."));
    EXPECT_EQ(alert.cancelButtonTitle(), QStringLiteral("Close"));
    for (std::size_t i = 0; i < screens.size(); ++i) {
        EXPECT_EQ(shownOn(*screens[i]), before[i]);
    }
    EXPECT_NE(tree.path({"Others", "a"}).back()->childNamed("x"), nullptr);
    EXPECT_EQ(top().deletionHUD(), std::nullopt);
    EXPECT_FALSE(stack.isIgnoringInteractionEvents());
    EXPECT_TRUE(table().isEditing());

    alert.dismiss();
    EXPECT_FALSE(alert.isVisible());
    system.standIn.answer = {.deleted = true, .errorText = {}};
    deleteRow(top(), 0);
    EXPECT_THAT(shownOn(top()), ElementsAre("32 B", "y 30 B", "z 2 B")) << "the user may try again";
    EXPECT_FALSE(alert.isVisible());
}

TEST_F(DeletingTest, aFailureOfTheScreensOwnNodeLeavesTheScreenThere)
{
    goTo({"Application Data", "app"});
    system.standIn.answer = {.deleted = false, .errorText = {}};
    top().rightBarButtonTapped();
    waitForDeletion(top());
    EXPECT_EQ(stack.count(), 3);
    EXPECT_TRUE(top().alertView()->isVisible());
    EXPECT_THAT(shownOn(top()), ElementsAre("9 B", "f 9 B"));
    EXPECT_EQ(top().navigationItem()->rightButtonTitle(), QStringLiteral("Delete"));
}

TEST_F(DeletingTest, anAlertSaysWhatTheStrategySaysAsItIs)
{
    goTo({"Others", "a"});
    for (const std::string text : {"pkg is required by %1 and {}", "<b>no</b>", ""}) {
        system.standIn.answer = {.deleted = false, .errorText = text};
        deleteRow(top(), 0);
        EXPECT_EQ(top().alertView()->message().toStdString(), text);
        top().alertView()->dismiss();
    }
    system.standIn.answer = {.deleted = false, .errorText = "\xff\x01 is required by "};
    deleteRow(top(), 0);
    EXPECT_EQ(top().alertView()->message().toStdString(), shownText("\xff\x01 is required by "));
}

TEST(DeletingDeathTest, aNodeThatMayNotBeDeletedEndsTheProcess)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto deleteACategory = [] {
        System system;
        const HandMadeTree tree({{"Others/a/x", 400}});
        Shown shown(tree, {"Others"}, system);
        shown.screen->deleteNodeAtPathInIndexWithConfirmation(tree.path({"Others"}), std::nullopt,
                                                              Confirmation::Yes);
        waitForDeletion(*shown.screen);
    };
    EXPECT_DEATH(deleteACategory(), "SZAException: Delete type not implemented");
}

TEST(DeletingDeathTest, anExceptionOfAStrategyEndsTheProcess)
{
    class Raising final : public DeletionService {
    public:
        DeletionOutcome deleteNode(SZADeleteType /*type*/, const SZANode & /*node*/) override
        {
            throw std::runtime_error("broken inside");
        }
    };
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto deleteARow = [] {
        Raising raising;
        System system;
        system.deletion = &raising;
        const HandMadeTree tree({{"Others/a/x", 400}});
        Shown shown(tree, {"Others"}, system);
        shown.screen->tableViewCommitEditingStyleForRowAtIndexPath(EditingStyle::Delete, {});
        waitForDeletion(*shown.screen);
    };
    EXPECT_DEATH(deleteARow(), "broken inside");
}

} // namespace

} // namespace slicewise
