// The stack of screens.
#include "tests/ui/BrowserParts.h"

#include <QPointer>
#include <QSignalSpy>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace slicewise {

namespace {

using ::testing::ElementsAre;

class NavigationTest : public ::testing::Test {
protected:
    SZAViewController *push(const std::vector<std::string> &names)
    {
        stack.pushViewController(finishedScreen(system.services(tree.device), tree.root, tree.path(names)));
        return stack.topViewController();
    }

    System system;
    HandMadeTree tree{{{"Others/a/b", 5}}};
    SZANavigationController stack;
};

TEST_F(NavigationTest, isEmptyAtFirst)
{
    EXPECT_EQ(stack.count(), 0);
    EXPECT_EQ(stack.topViewController(), nullptr);
    stack.popViewController();
    EXPECT_EQ(stack.count(), 0);
    EXPECT_TRUE(stack.isNavigationBarUserInteractionEnabled());
}

TEST_F(NavigationTest, pushesAndPopsOnTop)
{
    QSignalSpy popped(&stack, &SZANavigationController::viewControllerPopped);
    SZAViewController *const first = push({});
    SZAViewController *const second = push({"Others"});
    EXPECT_THAT(stack.viewControllers(), ElementsAre(first, second));
    EXPECT_EQ(stack.topViewController(), second);
    EXPECT_EQ(second->navigationController(), &stack);
    stack.goBack();
    EXPECT_THAT(stack.viewControllers(), ElementsAre(first));
    ASSERT_EQ(popped.count(), 1);
    EXPECT_EQ(popped[0][0].value<SZAViewController *>(), second);
    stack.goBack();
    EXPECT_EQ(stack.count(), 1) << "the overview stays";
}

TEST_F(NavigationTest, whoFollowsThePushMayLoadTheViewWithAChart)
{
    QVPieChart chart(QRectF(0, 0, 100, 100));
    QObject::connect(&stack, &SZANavigationController::viewControllerPushed, &stack,
                     [&](SZAViewController *pushed) {
                         EXPECT_EQ(stack.topViewController(), pushed);
                         pushed->setChart(&chart);
                         pushed->loadViewIfNeeded();
                     });
    push({"Others"});
    EXPECT_EQ(chart.sliceLayers().size(), 9U);
}

TEST_F(NavigationTest, otherwiseTheStackLoadsIt)
{
    EXPECT_EQ(push({"Others"})->tableView()->rowCount(), 1);
}

TEST_F(NavigationTest, aScreenThatWasPoppedLivesUntilNothingShowsIt)
{
    push({});
    const QPointer<SZAViewController> second = push({"Others"});
    stack.release(second);
    ASSERT_FALSE(second.isNull()) << "it is on the stack";
    stack.goBack();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    ASSERT_FALSE(second.isNull());
    EXPECT_EQ(second->tableView()->rowCount(), 1);
    stack.release(second);
    stack.release(nullptr);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(second.isNull());
}

TEST_F(NavigationTest, theBackButtonWaitsForTheBar)
{
    push({});
    push({"Others"});
    QSignalSpy changed(&stack, &SZANavigationController::navigationBarUserInteractionEnabledChanged);
    stack.setNavigationBarUserInteractionEnabled(false);
    stack.setNavigationBarUserInteractionEnabled(false);
    EXPECT_EQ(changed.count(), 1);
    stack.goBack();
    EXPECT_EQ(stack.count(), 2);
    stack.popViewController();
    EXPECT_EQ(stack.count(), 1) << "the program itself may";
}

TEST_F(NavigationTest, theBackButtonWaitsForTheApplication)
{
    push({});
    push({"Others"});
    QSignalSpy changed(&stack, &SZANavigationController::ignoringInteractionEventsChanged);
    EXPECT_FALSE(stack.isIgnoringInteractionEvents());
    stack.interactionGate()->beginIgnoringInteractionEvents();
    EXPECT_TRUE(stack.isIgnoringInteractionEvents());
    stack.goBack();
    EXPECT_EQ(stack.count(), 2);
    stack.interactionGate()->endIgnoringInteractionEvents();
    EXPECT_EQ(changed.count(), 2);
    stack.goBack();
    EXPECT_EQ(stack.count(), 1);
}

TEST_F(NavigationTest, thereIsNoWayBackWithoutTheBackButtonOrPastAQuestion)
{
    push({});
    SZAViewController *const second = push({"Others"});
    QSignalSpy hidden(second->navigationItem(), &UINavigationItem::hidesBackButtonChanged);
    second->navigationItem()->setHidesBackButton(true);
    second->navigationItem()->setHidesBackButton(true);
    EXPECT_EQ(hidden.count(), 1);
    stack.goBack();
    EXPECT_EQ(stack.count(), 2);
    second->navigationItem()->setHidesBackButton(false);
    second->actionSheet()->showInView({});
    stack.goBack();
    EXPECT_EQ(stack.count(), 2);
    second->actionSheet()->dismiss();
    second->alertView()->show({});
    stack.goBack();
    EXPECT_EQ(stack.count(), 2);
    second->alertView()->dismiss();
    stack.goBack();
    EXPECT_EQ(stack.count(), 1);
}

TEST(InteractionGateTest, countsBeginsAndEnds)
{
    InteractionGate gate;
    QSignalSpy changed(&gate, &InteractionGate::ignoringInteractionEventsChanged);
    gate.endIgnoringInteractionEvents();
    EXPECT_FALSE(gate.isIgnoringInteractionEvents());
    gate.beginIgnoringInteractionEvents();
    gate.beginIgnoringInteractionEvents();
    EXPECT_TRUE(gate.isIgnoringInteractionEvents());
    EXPECT_EQ(changed.count(), 1);
    gate.endIgnoringInteractionEvents();
    EXPECT_TRUE(gate.isIgnoringInteractionEvents()) << "one is still under way";
    gate.endIgnoringInteractionEvents();
    EXPECT_FALSE(gate.isIgnoringInteractionEvents());
    EXPECT_EQ(changed.count(), 2);
}

TEST_F(NavigationTest, goesAwayWithItsScreens)
{
    QPointer<SZAViewController> first;
    QPointer<SZAViewController> second;
    {
        SZANavigationController other;
        other.pushViewController(
            finishedScreen(system.services(tree.device), tree.root, tree.path({"Others"})));
        first = other.topViewController();
        first->tableView()->tapRow(0);
        system.timers.pass(0.25);
        second = other.topViewController();
        other.popViewController();
        ASSERT_NE(first, second);
    }
    EXPECT_TRUE(first.isNull());
    EXPECT_TRUE(second.isNull());
}

} // namespace

} // namespace slicewise
