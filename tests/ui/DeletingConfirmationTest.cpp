// The question before an application or a package goes, and its answers.
#include "tests/ui/BrowserParts.h"

#include <QSignalSpy>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace slicewise {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class DeletingConfirmationTest : public ::testing::Test {
protected:
    void show(const std::vector<std::string> &names)
    {
        const std::vector<std::string> below(names.begin(), names.end() - 1);
        push(tree.path(below));
        push(tree.path(names));
    }
    void push(std::vector<SZANode *> path)
    {
        stack.pushViewController(finishedScreen(system.services(tree.device), tree.root, std::move(path)));
        screen = stack.topViewController();
    }
    void askForRow(int row) { deleteRow(*screen, row); }
    void askForScreen()
    {
        screen->rightBarButtonTapped();
        waitForDeletion(*screen);
    }
    void answer(int button)
    {
        screen->actionSheetClickedButtonAtIndex(button);
        waitForDeletion(*screen);
    }
    void uninstall() { answer(screen->actionSheet()->destructiveButtonIndex()); }
    void cancel() { answer(screen->actionSheet()->cancelButtonIndex()); }
    void expectNothingAsked() const
    {
        EXPECT_FALSE(screen->actionSheet()->isVisible());
        EXPECT_FALSE(screen->isAsking());
        EXPECT_EQ(screen->deletePath(), std::nullopt);
        EXPECT_EQ(screen->deleteIndexPath(), std::nullopt);
        EXPECT_EQ(screen->deletionHUD(), std::nullopt);
        EXPECT_FALSE(stack.isIgnoringInteractionEvents());
    }

    System system;
    HandMadeTree tree{{{"Applications/Big/Big.app/Info.plist", 30},
                       {"Applications/Small/Small.app/Info.plist", 3},
                       {"Cydia Packages/pkg/usr/f", 5},
                       {"Cydia Packages/lib/usr/g", 4}}};
    SZANavigationController stack;
    SZAViewController *screen = nullptr;
};

TEST_F(DeletingConfirmationTest, anApplicationsRowIsAskedForFirst)
{
    show({"Applications"});
    askForRow(1);
    const UIActionSheet &sheet = *screen->actionSheet();
    EXPECT_TRUE(sheet.isVisible());
    EXPECT_EQ(sheet.title(), QStringLiteral("Uninstall Small?"));
    EXPECT_EQ(sheet.cancelButtonTitle(), QStringLiteral("Cancel"));
    EXPECT_EQ(sheet.destructiveButtonTitle(), QStringLiteral("Uninstall"));
    EXPECT_EQ(sheet.origin(), UIActionSheet::Origin::View);
    EXPECT_NE(sheet.destructiveButtonIndex(), sheet.cancelButtonIndex());
    EXPECT_EQ(screen->deletePath(), tree.path({"Applications", "Small"}));
    EXPECT_EQ(screen->deleteIndexPath(), (IndexPath{.section = 0, .row = 1}));
    EXPECT_EQ(screen->deletionHUD(), std::nullopt);
    EXPECT_FALSE(stack.isIgnoringInteractionEvents());
    EXPECT_FALSE(stack.isDeleting());
    EXPECT_THAT(system.standIn.calls(), IsEmpty());
    EXPECT_EQ(screen->tableView()->rowCount(), 2);
}

TEST_F(DeletingConfirmationTest, theScreensOwnNodeIsAskedForFromTheButton)
{
    show({"Cydia Packages", "pkg"});
    EXPECT_EQ(screen->navigationItem()->rightButtonTitle(), QStringLiteral("Delete"));
    askForScreen();
    EXPECT_EQ(screen->actionSheet()->origin(), UIActionSheet::Origin::BarButtonItem);
    EXPECT_EQ(screen->actionSheet()->title(), QStringLiteral("Uninstall pkg?"));
    EXPECT_EQ(screen->deletePath(), tree.path({"Cydia Packages", "pkg"}));
    EXPECT_EQ(screen->deleteIndexPath(), std::nullopt);
    uninstall();
    EXPECT_THAT(system.standIn.calls(), ElementsAre("4 pkg"));
    EXPECT_EQ(stack.count(), 1);
    EXPECT_THAT(rowTexts(*stack.topViewController()->tableView()), ElementsAre("lib"));
    expectNothingAsked();
}

TEST_F(DeletingConfirmationTest, theOverlayIsThereUntilTheQuestionIs)
{
    show({"Applications"});
    Notes order;
    QObject::connect(screen, &SZAViewController::deletionHUDChanged,
                     [&] { order.emplace_back(screen->deletionHUD() ? "overlay" : "no overlay"); });
    QObject::connect(screen->actionSheet(), &UIActionSheet::changed, [&] {
        order.emplace_back(screen->actionSheet()->isVisible() ? "question" : "no question");
        EXPECT_EQ(screen->deletePath().has_value(), true);
    });
    QObject::connect(&stack, &SZANavigationController::ignoringInteractionEventsChanged, [&] {
        order.emplace_back(stack.isIgnoringInteractionEvents() ? "ignoring" : "listening");
    });
    askForRow(0);
    EXPECT_THAT(order, ElementsAre("ignoring", "overlay", "question", "no overlay", "listening"));
}

TEST_F(DeletingConfirmationTest, uninstallDeletesTheRow)
{
    show({"Applications"});
    askForRow(1);
    system.standIn.hold();
    screen->actionSheetClickedButtonAtIndex(screen->actionSheet()->destructiveButtonIndex());
    EXPECT_EQ(screen->deletionHUDText(), QStringLiteral("Deleting"));
    EXPECT_TRUE(stack.isIgnoringInteractionEvents());
    EXPECT_EQ(screen->deletePath(), std::nullopt);
    EXPECT_EQ(screen->deleteIndexPath(), std::nullopt);
    system.standIn.letGo();
    waitForDeletion(*screen);
    EXPECT_THAT(system.standIn.calls(), ElementsAre("2 Small"));
    EXPECT_THAT(rowTexts(*screen->tableView()), ElementsAre("Big"));
    EXPECT_EQ(subtitleOf(*screen), "30 B");
    expectNothingAsked();
}

TEST_F(DeletingConfirmationTest, cancelDeletesNothing)
{
    show({"Applications"});
    for (const int button : {screen->actionSheet()->cancelButtonIndex(), -1, 2, 100}) {
        askForRow(1);
        answer(button);
        expectNothingAsked();
        screen->rightBarButtonTapped();
    }
    EXPECT_THAT(system.standIn.calls(), IsEmpty());
    EXPECT_THAT(rowTexts(*screen->tableView()), ElementsAre("Big", "Small"));
    EXPECT_EQ(tree.root->size(), 42U);
}

TEST_F(DeletingConfirmationTest, aSecondAnswerIsNone)
{
    show({"Applications"});
    askForRow(1);
    cancel();
    uninstall();
    EXPECT_THAT(system.standIn.calls(), IsEmpty());
    screen->rightBarButtonTapped();
    askForRow(1);
    uninstall();
    uninstall();
    EXPECT_THAT(system.standIn.calls(), ElementsAre("2 Small"));
    expectNothingAsked();
}

TEST_F(DeletingConfirmationTest, anAnswerThatNobodyAskedForIsNone)
{
    show({"Applications", "Big"});
    uninstall();
    EXPECT_FALSE(screen->isDeleting());
    EXPECT_THAT(system.standIn.calls(), IsEmpty());
    EXPECT_EQ(stack.count(), 2);
}

TEST_F(DeletingConfirmationTest, anAnswerWaitsForTheApplication)
{
    show({"Applications"});
    askForRow(0);
    stack.interactionGate()->beginIgnoringInteractionEvents();
    uninstall();
    EXPECT_TRUE(screen->actionSheet()->isVisible());
    EXPECT_TRUE(screen->deletePath().has_value());
    stack.interactionGate()->endIgnoringInteractionEvents();
    uninstall();
    EXPECT_THAT(system.standIn.calls(), ElementsAre("2 Big"));
}

TEST_F(DeletingConfirmationTest, afterAFailureTheUserIsAskedAgain)
{
    show({"Cydia Packages"});
    system.standIn.answer = {.deleted = false, .errorText = "pkg is required by tool"};
    askForRow(0);
    uninstall();
    EXPECT_EQ(screen->alertView()->title(), QStringLiteral("Delete failed"));
    EXPECT_EQ(screen->alertView()->message(), QStringLiteral("pkg is required by tool"));
    EXPECT_THAT(rowTexts(*screen->tableView()), ElementsAre("pkg", "lib")) << "the package stays";
    screen->alertView()->dismiss();
    expectNothingAsked();
    askForRow(0);
    EXPECT_TRUE(screen->actionSheet()->isVisible());
}

TEST_F(DeletingConfirmationTest, withoutTheWishForItNobodyIsAsked)
{
    show({"Applications"});
    screen->deleteNodeAtPathInIndexWithConfirmation(tree.path({"Applications", "Big"}),
                                                    IndexPath{.section = 0, .row = 0}, Confirmation::No);
    waitForDeletion(*screen);
    EXPECT_THAT(system.standIn.calls(), ElementsAre("2 Big"));
    EXPECT_FALSE(screen->actionSheet()->isVisible());
}

TEST_F(DeletingConfirmationTest, namesAreShownAsTheyAre)
{
    const std::vector<std::string> names = {"%1", "{}", "%@", "{0} %s {", "<b>a", "Uninstall {}?"};
    for (const std::string &name : names) {
        tree.add("Applications/" + name + "/x", 1, "/odd" + std::to_string(stack.count()));
        std::vector<SZANode *> path = tree.path({"Applications"});
        path.push_back(path.back()->childNamed(name));
        push(path);
        screen->deleteCurrentNode();
        waitForDeletion(*screen);
        EXPECT_EQ(screen->actionSheet()->title().toStdString(),
                  "Uninstall " + std::string(path.back()->name()) + "?");
        cancel();
    }
}

TEST_F(DeletingConfirmationTest, bytesThatAreNoTextAreShownLikeTheRow)
{
    tree.add("Applications/bad\xff\nname/x", 1000, "/odd");
    show({"Applications"});
    askForRow(0);
    EXPECT_EQ(screen->actionSheet()->title().toStdString(),
              "Uninstall " + rowText(*screen->tableView(), 0) + "?");
}

TEST(UIActionSheetTest, keepsItsTextsWhileItGoes)
{
    UIActionSheet sheet;
    EXPECT_FALSE(sheet.isVisible());
    QSignalSpy changed(&sheet, &UIActionSheet::changed);
    sheet.dismiss();
    EXPECT_EQ(changed.count(), 0);
    sheet.showFromBarButtonItem({.title = QStringLiteral("a"),
                                 .cancelButtonTitle = QStringLiteral("b"),
                                 .destructiveButtonTitle = QStringLiteral("c")});
    EXPECT_EQ(changed.count(), 1);
    sheet.dismiss();
    EXPECT_EQ(sheet.title(), QStringLiteral("a")) << "it may be fading out";
    EXPECT_EQ(changed.count(), 2);
}

} // namespace

} // namespace slicewise
