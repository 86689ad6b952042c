// "Edit" and "Done", which rows can be deleted, and what can't be done meanwhile.
#include "chart/QtColor.h"
#include "tests/ui/BrowserParts.h"

#include <QSignalSpy>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace slicewise {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class EditModeTest : public ::testing::Test {
protected:
    System system;
    HandMadeTree tree{{{"Others/a/b", 4}, {"Others/c", 2}, {"Others/d", 1}}};
    Shown shown{tree, {"Others"}, system};
    NodeTable &table = *shown.screen->tableView();
    UINavigationItem &item = *shown.screen->navigationItem();

    static std::vector<bool> editable(NodeTable &rows)
    {
        std::vector<bool> all;
        for (int row = 0; row < rows.rowCount(); ++row) {
            all.push_back(rows.data(rows.index(row), NodeTable::EditableRole).toBool());
        }
        return all;
    }
};

TEST_F(EditModeTest, isOffAtFirst)
{
    EXPECT_FALSE(table.isEditing());
    EXPECT_EQ(item.rightButtonTitle(), QStringLiteral("Edit"));
    EXPECT_FALSE(item.hidesBackButton());
    EXPECT_EQ(shown.screen->deletePath(), std::nullopt);
    EXPECT_EQ(shown.screen->deleteIndexPath(), std::nullopt);
    EXPECT_EQ(shown.screen->deletionHUD(), std::nullopt);
    EXPECT_FALSE(shown.screen->isDeleting());
    EXPECT_FALSE(shown.screen->isAsking());
}

TEST_F(EditModeTest, theButtonSaysEditAndDoneInTurn)
{
    shown.screen->rightBarButtonTapped();
    EXPECT_TRUE(table.isEditing());
    EXPECT_EQ(item.rightButtonTitle(), QStringLiteral("Done"));
    EXPECT_EQ(item.rightBarButtonItem()->action, BarButtonItem::Action::ToggleEditMode);
    EXPECT_FALSE(item.rightButtonTint().isValid());
    EXPECT_TRUE(item.hidesBackButton());
    shown.screen->rightBarButtonTapped();
    EXPECT_FALSE(table.isEditing());
    EXPECT_EQ(item.rightButtonTitle(), QStringLiteral("Edit"));
    EXPECT_FALSE(item.hidesBackButton());
}

TEST_F(EditModeTest, nobodyLeavesTheScreenWhileEditing)
{
    table.selectRowAtIndexPath({.section = 0, .row = 0}, NodeTable::ScrollPosition::None);
    shown.screen->tableViewDidSelectRowAtIndexPath({.section = 0, .row = 0});
    system.timers.pass(0.25);
    SZAViewController *const second = shown.stack.topViewController();
    ASSERT_NE(second, shown.screen);
    second->toggleEditMode();
    shown.stack.goBack();
    EXPECT_EQ(shown.stack.count(), 2);
    second->tableView()->tapRow(0);
    EXPECT_EQ(second->lastPath(), std::nullopt);
    second->toggleEditMode();
    shown.stack.goBack();
    EXPECT_EQ(shown.stack.count(), 1);
}

TEST_F(EditModeTest, rowsCanBeDeletedInEditModeAlone)
{
    EXPECT_THAT(editable(table), ElementsAre(false, false, false));
    table.toggleDeleteConfirmation(0);
    EXPECT_EQ(table.openRow(), -1);
    shown.screen->toggleEditMode();
    EXPECT_THAT(editable(table), ElementsAre(true, true, true));
    shown.screen->toggleEditMode();
    EXPECT_THAT(editable(table), ElementsAre(false, false, false));
}

TEST_F(EditModeTest, rowsThatThePolicyKeepsCanNotBeDeleted)
{
    const HandMadeTree messages({{"Message Attachments/a.jpg", 9}, {"Message Attachments/Previews/p", 2}});
    Shown there(messages, {"Message Attachments"}, system);
    there.screen->toggleEditMode();
    EXPECT_THAT(rowTexts(*there.screen->tableView()), ElementsAre("a.jpg", "Previews"));
    EXPECT_THAT(editable(*there.screen->tableView()), ElementsAre(true, false));
    there.screen->tableView()->toggleDeleteConfirmation(1);
    EXPECT_EQ(there.screen->tableView()->openRow(), -1);
}

TEST_F(EditModeTest, swatchesAreSetAgainWhenTheControlsGo)
{
    QSignalSpy changed(&table, &NodeTable::dataChanged);
    shown.screen->toggleEditMode();
    const auto asksForColours = [&] {
        return std::count_if(changed.begin(), changed.end(), [](const QList<QVariant> &signal) {
            return signal[2].value<QList<int>>().contains(NodeTable::NodeColorRole);
        });
    };
    EXPECT_EQ(asksForColours(), 0);
    shown.screen->toggleEditMode();
    EXPECT_EQ(asksForColours(), 1);
    for (int row = 0; row < table.rowCount(); ++row) {
        const auto color =
            shown.screen->pieChartColorForSliceAtIndex(shown.chart, static_cast<unsigned>(row));
        EXPECT_EQ(table.data(table.index(row), NodeTable::NodeColorRole).value<QColor>(), toQColor(*color))
            << row;
    }
}

TEST_F(EditModeTest, theButtonDoesNothingWhereThereIsNoneOrOnlyASpinner)
{
    item.setRightBarButtonItem(std::nullopt);
    shown.screen->rightBarButtonTapped();
    item.setRightBarButtonItem(BarButtonItem{.title = {},
                                             .action = BarButtonItem::Action::None,
                                             .look = BarButtonItem::Look::ActivityIndicator,
                                             .tintColor = std::nullopt});
    shown.screen->rightBarButtonTapped();
    EXPECT_FALSE(table.isEditing());
    EXPECT_TRUE(item.rightButtonIsSpinner());
    EXPECT_FALSE(shown.screen->isDeleting());
}

TEST_F(EditModeTest, togglingWithoutAButtonMakesNone)
{
    item.setRightBarButtonItem(std::nullopt);
    shown.screen->toggleEditMode();
    EXPECT_TRUE(table.isEditing());
    EXPECT_FALSE(item.hasRightButton());
}

TEST_F(EditModeTest, theButtonWaitsForTheBarTheApplicationAndEveryQuestion)
{
    shown.stack.setNavigationBarUserInteractionEnabled(false);
    shown.screen->rightBarButtonTapped();
    shown.stack.setNavigationBarUserInteractionEnabled(true);
    shown.stack.interactionGate()->beginIgnoringInteractionEvents();
    shown.screen->rightBarButtonTapped();
    shown.stack.interactionGate()->endIgnoringInteractionEvents();
    shown.screen->alertView()->show({});
    shown.screen->rightBarButtonTapped();
    shown.screen->alertView()->dismiss();
    shown.screen->actionSheet()->showInView({});
    shown.screen->rightBarButtonTapped();
    shown.screen->actionSheet()->dismiss();
    EXPECT_FALSE(table.isEditing());
    shown.screen->rightBarButtonTapped();
    EXPECT_TRUE(table.isEditing());
}

TEST_F(EditModeTest, aReadOnlyProgramOffersNoDeletionAnywhere)
{
    system.deletion = nullptr;
    const HandMadeTree device({{"Others/a/b", 1},
                               {"Application Data/x/y", 1},
                               {"Applications/App/App.app/f", 1},
                               {"Cydia Packages/p/f", 1},
                               {"Message Attachments/a", 1},
                               {"Photos/DCIM/100APPLE/i", 1}});
    const std::vector<std::vector<std::string>> all = {{},
                                                       {"Others"},
                                                       {"Others", "a"},
                                                       {"Others", "a", "b"},
                                                       {"Application Data"},
                                                       {"Application Data", "x"},
                                                       {"Applications"},
                                                       {"Applications", "App"},
                                                       {"Cydia Packages", "p"},
                                                       {"Message Attachments", "a"},
                                                       {"Photos", "DCIM", "100APPLE"},
                                                       {"Photos", "DCIM", "100APPLE", "i"}};
    for (const std::vector<std::string> &names : all) {
        Shown there(device, names, system);
        EXPECT_FALSE(there.screen->navigationItem()->hasRightButton()) << names.size();
        there.screen->rightBarButtonTapped();
        EXPECT_FALSE(there.screen->tableView()->isEditing());
        there.screen->toggleEditMode();
        for (const bool canEdit : editable(*there.screen->tableView())) {
            EXPECT_FALSE(canEdit);
        }
        there.screen->deleteCurrentNode();
        EXPECT_FALSE(there.screen->isDeleting());
        EXPECT_FALSE(there.stack.isIgnoringInteractionEvents());
    }
    EXPECT_THAT(system.standIn.calls(), IsEmpty());
}

TEST_F(EditModeTest, aMemoryWarningChangesNothing)
{
    QSignalSpy reset(&table, &NodeTable::modelReset);
    shown.screen->toggleEditMode();
    shown.screen->didReceiveMemoryWarning();
    EXPECT_EQ(reset.count(), 0);
    EXPECT_TRUE(table.isEditing());
    EXPECT_THAT(rowTexts(table), ElementsAre("a", "c", "d"));
}

} // namespace

} // namespace slicewise
