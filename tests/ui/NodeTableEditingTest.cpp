// Edit mode of the table: which row can be deleted, the two steps that delete it, and how rows leave.
#include "ui/NodeTable.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace slicewise {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Letters : public NodeTableDataSource, public NodeTableDelegate {
public:
    int tableViewNumberOfRowsInSection(int /*section*/) override { return static_cast<int>(rows.size()); }
    SZATableViewCell tableViewCellForRowAtIndexPath(const IndexPath &indexPath) override
    {
        SZATableViewCell cell(SZATableViewCell::Style::Subtitle, {});
        cell.setText(QString::fromStdString(rows.at(static_cast<std::size_t>(indexPath.row))));
        cell.setNodeColor({.red = 0, .green = 0.5F, .blue = 0, .alpha = 1});
        cell.setSelectable(SZATableViewCell::Selectable::Yes);
        return cell;
    }
    bool tableViewCanEditRowAtIndexPath(const IndexPath &indexPath) override
    {
        return !fixed.contains(rows.at(static_cast<std::size_t>(indexPath.row)));
    }
    void tableViewCommitEditingStyleForRowAtIndexPath(EditingStyle style, const IndexPath &indexPath) override
    {
        told.push_back("style " + std::to_string(static_cast<int>(style)) + " row " +
                       std::to_string(indexPath.row));
    }
    std::optional<IndexPath> tableViewWillSelectRowAtIndexPath(const IndexPath &indexPath) override
    {
        return indexPath;
    }
    void tableViewDidSelectRowAtIndexPath(const IndexPath &indexPath) override
    {
        told.push_back("selected " + std::to_string(indexPath.row));
    }

    std::vector<std::string> rows = {"a", "b", "c", "d", "e"};
    std::set<std::string> fixed = {"c"};
    std::vector<std::string> told;
};

class NodeTableEditingTest : public ::testing::Test {
protected:
    NodeTableEditingTest()
    {
        table.setDataSource(&source);
        table.setDelegate(&source);
        table.setInteractionGate(gate);
        table.reloadData();
        table.setEditing(true);
    }
    void lose(const std::vector<int> &rows)
    {
        std::vector<IndexPath> paths;
        std::vector<std::string> left;
        const std::set<int> gone(rows.begin(), rows.end());
        for (int row = 0; row < static_cast<int>(source.rows.size()); ++row) {
            if (!gone.contains(row)) {
                left.push_back(source.rows[static_cast<std::size_t>(row)]);
            }
        }
        source.rows = left;
        for (const int row : rows) {
            paths.push_back({.section = 0, .row = row});
        }
        table.deleteRowsAtIndexPathsWithRowAnimation(paths, NodeTable::RowAnimation::Automatic);
    }
    [[nodiscard]] std::vector<std::string> names()
    {
        std::vector<std::string> texts;
        for (int row = 0; row < table.rowCount(); ++row) {
            texts.push_back(table.data(table.index(row), NodeTable::NameRole).toString().toStdString());
        }
        return texts;
    }

    Letters source;
    std::shared_ptr<InteractionGate> gate = std::make_shared<InteractionGate>();
    NodeTable table;
    QAbstractItemModelTester tester{&table, QAbstractItemModelTester::FailureReportingMode::Fatal};
};

TEST_F(NodeTableEditingTest, asksWhichRowsCanBeDeleted)
{
    EXPECT_EQ(table.data(table.index(1), NodeTable::EditableRole), true);
    EXPECT_EQ(table.data(table.index(2), NodeTable::EditableRole), false);
}

TEST_F(NodeTableEditingTest, aSourceThatSaysNothingOfItHasNoRowThatCanBeDeleted)
{
    class Plain : public NodeTableDataSource {
    public:
        int tableViewNumberOfRowsInSection(int /*section*/) override { return 1; }
        SZATableViewCell tableViewCellForRowAtIndexPath(const IndexPath & /*indexPath*/) override
        {
            return {SZATableViewCell::Style::Subtitle, {}};
        }
    };
    Plain plain;
    table.setDataSource(&plain);
    table.reloadData();
    EXPECT_EQ(table.data(table.index(0), NodeTable::EditableRole), false);
    plain.tableViewCommitEditingStyleForRowAtIndexPath(EditingStyle::Delete, {});
    EXPECT_EQ(table.rowCount(), 1);
}

TEST_F(NodeTableEditingTest, takesTwoStepsToDelete)
{
    QSignalSpy opened(&table, &NodeTable::openRowChanged);
    EXPECT_EQ(table.openRow(), -1);
    table.commitDelete(1);
    EXPECT_THAT(source.told, IsEmpty()) << "it is not open";
    table.toggleDeleteConfirmation(1);
    EXPECT_EQ(table.openRow(), 1);
    table.commitDelete(0);
    EXPECT_THAT(source.told, IsEmpty()) << "another one is open";
    EXPECT_EQ(table.openRow(), 1);
    table.commitDelete(1);
    EXPECT_THAT(source.told, ElementsAre("style 1 row 1"));
    EXPECT_EQ(table.openRow(), -1);
    EXPECT_EQ(opened.count(), 2);
    EXPECT_EQ(table.rowCount(), 5) << "the row stays until the table is told";
    table.commitDelete(1);
    EXPECT_EQ(source.told.size(), 1U);
}

TEST_F(NodeTableEditingTest, hasOneOpenRowAtMost)
{
    table.toggleDeleteConfirmation(1);
    table.toggleDeleteConfirmation(3);
    EXPECT_EQ(table.openRow(), 3);
    table.toggleDeleteConfirmation(3);
    EXPECT_EQ(table.openRow(), -1) << "a second tap closes it";
    for (const int row : {2, -1, 5}) {
        table.toggleDeleteConfirmation(1);
        table.toggleDeleteConfirmation(row);
        EXPECT_EQ(table.openRow(), -1) << "row " << row << " can't be opened";
    }
}

TEST_F(NodeTableEditingTest, aTapElsewhereClosesTheOpenRowAndDoesNothingElse)
{
    for (const int row : {0, 1, 2}) {
        table.toggleDeleteConfirmation(1);
        table.tapRow(row);
        EXPECT_EQ(table.openRow(), -1) << row;
    }
    table.toggleDeleteConfirmation(1);
    table.closeOpenRow();
    EXPECT_EQ(table.openRow(), -1);
    EXPECT_THAT(source.told, IsEmpty());
    EXPECT_EQ(table.selectedRow(), -1);
}

TEST_F(NodeTableEditingTest, noRowIsOpenOutsideEditModeOrAfterReloading)
{
    table.toggleDeleteConfirmation(1);
    table.reloadData();
    EXPECT_EQ(table.openRow(), -1);
    table.toggleDeleteConfirmation(1);
    table.setEditing(false);
    EXPECT_EQ(table.openRow(), -1);
    table.toggleDeleteConfirmation(1);
    EXPECT_EQ(table.openRow(), -1);
    table.commitDelete(-1);
    table.commitDelete(1);
    EXPECT_THAT(source.told, IsEmpty());
}

TEST_F(NodeTableEditingTest, aRowThatCannotBeDeletedAnyMoreIsNot)
{
    table.toggleDeleteConfirmation(1);
    source.fixed.insert("b");
    table.commitDelete(1);
    EXPECT_THAT(source.told, IsEmpty());
}

TEST_F(NodeTableEditingTest, noTouchDoesAnythingWithoutInteraction)
{
    for (const bool byGate : {true, false}) {
        table.setEditing(true);
        table.toggleDeleteConfirmation(1);
        ASSERT_EQ(table.openRow(), 1);
        byGate ? gate->beginIgnoringInteractionEvents() : table.setUserInteractionEnabled(false);
        table.toggleDeleteConfirmation(1);
        table.toggleDeleteConfirmation(3);
        table.closeOpenRow();
        table.tapRow(0);
        table.commitDelete(1);
        EXPECT_EQ(table.openRow(), 1);
        table.setEditing(false);
        table.tapRow(0);
        EXPECT_THAT(source.told, IsEmpty());
        byGate ? gate->endIgnoringInteractionEvents() : table.setUserInteractionEnabled(true);
    }
    table.tapRow(0);
    EXPECT_THAT(source.told, ElementsAre("selected 0"));
}

TEST_F(NodeTableEditingTest, aRowLeavesAsItsModelSaysSo)
{
    QSignalSpy removed(&table, &NodeTable::rowsRemoved);
    QSignalSpy reset(&table, &NodeTable::modelReset);
    QSignalSpy recoloured(&table, &NodeTable::dataChanged);
    lose({1});
    EXPECT_EQ(removed.count(), 1);
    EXPECT_EQ(removed[0][1].toInt(), 1);
    EXPECT_EQ(removed[0][2].toInt(), 1);
    EXPECT_EQ(reset.count(), 0);
    EXPECT_THAT(names(), ElementsAre("a", "c", "d", "e"));
    ASSERT_EQ(recoloured.count(), 1) << "colours go by the place";
    EXPECT_EQ(recoloured[0][0].toModelIndex().row(), 1);
    EXPECT_EQ(recoloured[0][1].toModelIndex().row(), 3);
    EXPECT_EQ(recoloured[0][2].value<QList<int>>(), QList<int>{NodeTable::NodeColorRole});
    EXPECT_TRUE(table.isEditing());
}

TEST_F(NodeTableEditingTest, theAnimationIsKnownBeforeTheRowLeaves)
{
    EXPECT_EQ(static_cast<int>(NodeTable::RowAnimation::Automatic), 100);
    source.rows.pop_back();
    std::vector<int> seen;
    QObject::connect(&table, &NodeTable::rowsAboutToBeRemoved,
                     [&] { seen.push_back(static_cast<int>(table.rowAnimation())); });
    const std::vector<IndexPath> last = {{.section = 0, .row = 4}};
    table.deleteRowsAtIndexPathsWithRowAnimation(last, NodeTable::RowAnimation::Fade);
    EXPECT_THAT(seen, ElementsAre(0));
    lose({0});
    EXPECT_THAT(seen, ElementsAre(0, 100));
}

TEST_F(NodeTableEditingTest, whileARowLeavesTheOthersAreStillThemselves)
{
    std::vector<std::string> before;
    QObject::connect(&table, &NodeTable::rowsAboutToBeRemoved, [&] { before = names(); });
    lose({1});
    EXPECT_THAT(before, ElementsAre("a", "", "c", "d", "e"));
}

TEST_F(NodeTableEditingTest, severalRowsLeaveInAnyOrderEachOnce)
{
    lose({3, 0, 3, 1});
    EXPECT_THAT(names(), ElementsAre("c", "e"));
    lose({});
    EXPECT_THAT(names(), ElementsAre("c", "e"));
    lose({0, 1});
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(NodeTableEditingTest, selectionAndOpenRowMoveWithTheirRows)
{
    table.toggleDeleteConfirmation(3);
    table.selectRowAtIndexPath({.section = 0, .row = 1}, NodeTable::ScrollPosition::None);
    lose({2});
    EXPECT_EQ(table.openRow(), 2);
    EXPECT_EQ(table.selectedRow(), 1);
    lose({1});
    EXPECT_EQ(table.openRow(), 1);
    EXPECT_EQ(table.selectedRow(), -1);
    lose({1});
    EXPECT_EQ(table.openRow(), -1);
}

TEST_F(NodeTableEditingTest, reloadsWhereTheRowsAreNotThoseThatWereLost)
{
    QSignalSpy reset(&table, &NodeTable::modelReset);
    QSignalSpy removed(&table, &NodeTable::rowsRemoved);
    const std::vector<IndexPath> first = {{.section = 0, .row = 0}};
    table.deleteRowsAtIndexPathsWithRowAnimation(first, NodeTable::RowAnimation::Automatic);
    EXPECT_EQ(reset.count(), 1) << "none was lost";
    lose({5});
    lose({-1});
    EXPECT_EQ(reset.count(), 3) << "there is no such row";
    source.rows = {"x"};
    table.deleteRowsAtIndexPathsWithRowAnimation(first, NodeTable::RowAnimation::Automatic);
    EXPECT_EQ(reset.count(), 4);
    EXPECT_THAT(names(), ElementsAre("x"));
    EXPECT_EQ(removed.count(), 0);
}

TEST_F(NodeTableEditingTest, swatchesAreAskedForAnew)
{
    (void)table.data(table.index(0), NodeTable::NameRole);
    QSignalSpy changed(&table, &NodeTable::dataChanged);
    source.rows[0] = "z";
    table.reloadNodeColors();
    ASSERT_EQ(changed.count(), 1);
    EXPECT_EQ(changed[0][0].toModelIndex().row(), 0);
    EXPECT_EQ(changed[0][1].toModelIndex().row(), 4);
    EXPECT_EQ(changed[0][2].value<QList<int>>(), QList<int>{NodeTable::NodeColorRole});
    EXPECT_EQ(names().front(), "z") << "no cell is kept";
    source.rows.clear();
    table.reloadData();
    table.reloadNodeColors();
    EXPECT_EQ(changed.count(), 1);
}

} // namespace

} // namespace slicewise
