// While something is deleted: what is shown, what can't be touched, and who waits for whom.
#include "tests/ui/DeletingFixture.h"

#include <QSignalSpy>
#include <gmock/gmock.h>

namespace slicewise {

namespace {

using ::testing::ElementsAre;

using DeletingProgressTest = DeletingTest;

TEST_F(DeletingProgressTest, saysSoAndLetsNobodyTouchAnythingUntilItIsOver)
{
    goTo({"Others", "a"});
    QSignalSpy hud(&top(), &SZAViewController::deletionHUDChanged);
    QSignalSpy ignoring(&stack, &SZANavigationController::ignoringInteractionEventsChanged);
    QSignalSpy deleting(&stack, &SZANavigationController::deletingChanged);
    system.standIn.hold();
    tapDelete(top(), 0);
    EXPECT_EQ(top().deletionHUDText(), QStringLiteral("Deleting"));
    EXPECT_TRUE(stack.isIgnoringInteractionEvents());
    EXPECT_TRUE(stack.isDeleting());
    EXPECT_EQ(rowText(table(), 0), "x") << "nothing has gone yet";

    table().toggleDeleteConfirmation(1);
    table().commitDelete(1);
    table().tapRow(1);
    top().rightBarButtonTapped();
    stack.goBack();
    EXPECT_FALSE(top().pieChartWillSelectSliceAtIndex(chart, 1));
    EXPECT_EQ(table().openRow(), -1);
    EXPECT_TRUE(table().isEditing());
    EXPECT_EQ(top().navigationItem()->rightButtonTitle(), QStringLiteral("Done"));
    EXPECT_EQ(stack.count(), 3);
    EXPECT_EQ(top().lastPath(), std::nullopt);
    top().toggleEditMode();
    table().tapRow(1);
    EXPECT_FALSE(top().pieChartWillSelectSliceAtIndex(chart, 1));
    EXPECT_EQ(top().lastPath(), std::nullopt) << "outside edit mode neither";
    stack.goBack();
    EXPECT_EQ(stack.count(), 3);

    system.standIn.letGo();
    waitForDeletion(top());
    EXPECT_EQ(top().deletionHUD(), std::nullopt);
    EXPECT_FALSE(stack.isIgnoringInteractionEvents());
    EXPECT_FALSE(stack.isDeleting());
    EXPECT_EQ(hud.count(), 2);
    EXPECT_EQ(ignoring.count(), 2);
    EXPECT_EQ(deleting.count(), 2);
    EXPECT_THAT(system.standIn.calls(), ElementsAre("1 x"));
}

TEST_F(DeletingProgressTest, neverRunsOnTheScreensThread)
{
    goTo({"Others", "a"});
    deleteRow(top(), 0);
    EXPECT_THAT(system.standIn.calls(), ElementsAre("1 x"));
    EXPECT_FALSE(system.standIn.everOnCreatorsThread());
}

TEST_F(DeletingProgressTest, theOverlayGoesBeforeInteractionComesBackAndBothBeforeTheTreeChanges)
{
    goTo({"Others", "a"});
    Notes order;
    QObject::connect(&top(), &SZAViewController::deletionHUDChanged,
                     [&] { order.emplace_back(top().deletionHUD() ? "overlay" : "no overlay"); });
    QObject::connect(&stack, &SZANavigationController::ignoringInteractionEventsChanged, [&] {
        order.emplace_back(stack.isIgnoringInteractionEvents() ? "ignoring" : "listening");
    });
    QObject::connect(stack.viewControllers().front()->tableView(), &NodeTable::modelReset,
                     [&] { order.emplace_back("below"); });
    QObject::connect(&table(), &NodeTable::rowsRemoved, [&] { order.emplace_back("row"); });
    QObject::connect(&stack, &SZANavigationController::deletingChanged,
                     [&] { order.emplace_back(stack.isDeleting() ? "deleting" : "over"); });
    deleteRow(top(), 0);
    EXPECT_THAT(order, ElementsAre("ignoring", "overlay", "deleting", "no overlay", "listening", "below",
                                   "row", "over"));
}

TEST_F(DeletingProgressTest, oneAtATimeAndNoneOfNothing)
{
    goTo({"Others", "a"});
    system.standIn.hold();
    tapDelete(top(), 0);
    top().deleteNodeAtPathInIndexWithConfirmation(tree.path({"Others", "b"}), std::nullopt, Confirmation::No);
    system.standIn.letGo();
    waitForDeletion(top());
    EXPECT_THAT(system.standIn.calls(), ElementsAre("1 x"));
    EXPECT_FALSE(stack.isIgnoringInteractionEvents());
    top().deleteNodeAtPathInIndexWithConfirmation({}, std::nullopt, Confirmation::No);
    EXPECT_FALSE(top().isDeleting());
    EXPECT_FALSE(stack.isIgnoringInteractionEvents());
}

TEST_F(DeletingProgressTest, aScreenThatGoesWaitsAndLetsTheApplicationGoOn)
{
    goTo({"Others", "a"});
    const std::shared_ptr<InteractionGate> gate = stack.interactionGate();
    system.standIn.hold();
    tapDelete(top(), 0);
    SZAViewController *const screen = &top();
    stack.popViewController();
    EXPECT_TRUE(stack.isDeleting()) << "whoever draws it";
    stack.release(screen);
    EXPECT_TRUE(gate->isIgnoringInteractionEvents());
    system.standIn.letGo();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(gate->isIgnoringInteractionEvents());
    EXPECT_THAT(system.standIn.calls(), ElementsAre("1 x"));
    QCoreApplication::processEvents();
    EXPECT_THAT(shownOn(top()), ElementsAre("482 B", "a 432 B", "b 50 B")) << "nobody learns of the result";
}

TEST_F(DeletingProgressTest, theResultOfAScreenThatWasTakenOffTheStackTakesOffNoOther)
{
    goTo({"Application Data", "app"});
    SZAViewController &screen = top();
    system.standIn.hold();
    screen.deleteCurrentNode();
    stack.popViewController();
    system.standIn.letGo();
    waitForDeletion(screen);
    EXPECT_EQ(stack.count(), 2);
    EXPECT_THAT(shownOn(top()), ElementsAre("0 B"));
}

TEST_F(DeletingProgressTest, aStackThatGoesWaitsForTheEnd)
{
    auto other = std::make_unique<SZANavigationController>();
    other->pushViewController(
        finishedScreen(system.services(tree.device), tree.root, tree.path({"Others", "a"})));
    other->topViewController()->tableViewCommitEditingStyleForRowAtIndexPath(EditingStyle::Delete, {});
    other.reset();
    EXPECT_THAT(system.standIn.calls(), ElementsAre("1 x")) << "it was not broken off";
    QCoreApplication::processEvents();
    EXPECT_EQ(tree.root->childNamed("Others")->size(), 482U);
}

} // namespace

} // namespace slicewise
