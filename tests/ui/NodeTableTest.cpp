// The table's rows as a model, and what is selected in it.
#include "ui/NodeTable.h"

#include <QAbstractItemModelTester>
#include <QColor>
#include <QSignalSpy>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace slicewise {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CountedRows : public NodeTableDataSource, public NodeTableDelegate {
public:
    int tableViewNumberOfRowsInSection(int section) override
    {
        EXPECT_EQ(section, 0);
        ++counts;
        return rows;
    }
    SZATableViewCell tableViewCellForRowAtIndexPath(const IndexPath &indexPath) override
    {
        ++cells;
        SZATableViewCell cell(SZATableViewCell::Style::Subtitle, {});
        cell.setText(QStringLiteral("row %1%2").arg(indexPath.row).arg(suffix));
        cell.setDetailText(QStringLiteral("%1 B").arg(indexPath.row));
        cell.setNodeColor({.red = 0, .green = 1, .blue = 0, .alpha = 1});
        cell.setSelectable(SZATableViewCell::Selectable::Yes);
        return cell;
    }
    std::optional<IndexPath> tableViewWillSelectRowAtIndexPath(const IndexPath &indexPath) override
    {
        told.push_back("will " + std::to_string(indexPath.row));
        return allows ? std::optional(indexPath) : std::nullopt;
    }
    void tableViewDidSelectRowAtIndexPath(const IndexPath &indexPath) override
    {
        told.push_back("did " + std::to_string(indexPath.row));
    }

    int rows = 5;
    int counts = 0;
    int cells = 0;
    bool allows = true;
    QString suffix;
    std::vector<std::string> told;
};

class NodeTableTest : public ::testing::Test {
protected:
    NodeTableTest()
    {
        table.setDataSource(&source);
        table.setDelegate(&source);
        table.reloadData();
    }

    CountedRows source;
    NodeTable table;
    QAbstractItemModelTester tester{&table, QAbstractItemModelTester::FailureReportingMode::Fatal};
};

TEST_F(NodeTableTest, givesEachRoleOfARow)
{
    EXPECT_EQ(table.rowCount(), 5);
    const QModelIndex row = table.index(3);
    EXPECT_EQ(table.data(row, NodeTable::NameRole), QStringLiteral("row 3"));
    EXPECT_EQ(table.data(row, Qt::DisplayRole), QStringLiteral("row 3"));
    EXPECT_EQ(table.data(row, NodeTable::SizeTextRole), QStringLiteral("3 B"));
    EXPECT_EQ(table.data(row, NodeTable::NodeColorRole), QColor(Qt::green));
    EXPECT_EQ(table.data(row, NodeTable::SelectableRole), true);
    EXPECT_FALSE(table.data(row, Qt::ToolTipRole).isValid());
    EXPECT_FALSE(table.data(table.index(5), NodeTable::NameRole).isValid());
    EXPECT_EQ(table.roleNames().value(NodeTable::NameRole), "name");
    EXPECT_EQ(table.roleNames().value(NodeTable::SizeTextRole), "sizeText");
    EXPECT_EQ(table.roleNames().value(NodeTable::NodeColorRole), "nodeColor");
    EXPECT_EQ(table.roleNames().value(NodeTable::SelectableRole), "selectable");
    EXPECT_EQ(table.roleNames().value(NodeTable::EditableRole), "editable");
}

TEST_F(NodeTableTest, makesOneCellForAllRolesOfARow)
{
    source.cells = 0;
    for (const int role : {NodeTable::NameRole, NodeTable::SizeTextRole, NodeTable::NodeColorRole}) {
        (void)table.data(table.index(2), role);
    }
    EXPECT_EQ(source.cells, 1);
}

TEST_F(NodeTableTest, reloadingAsksForTheCountAloneAndForgetsTheCells)
{
    (void)table.data(table.index(0), NodeTable::NameRole);
    source.cells = 0;
    source.counts = 0;
    source.rows = 100000;
    source.suffix = QStringLiteral("!");
    table.setDataSource(nullptr);
    table.reloadData();
    EXPECT_EQ(table.rowCount(), 0);
    EXPECT_FALSE(table.data(table.index(0), NodeTable::NameRole).isValid());

    NodeTable fresh;
    fresh.setDataSource(&source);
    fresh.reloadData();
    EXPECT_EQ(source.counts, 1);
    EXPECT_EQ(source.cells, 0);
    EXPECT_EQ(fresh.rowCount(), 100000);
    EXPECT_EQ(fresh.data(fresh.index(0), NodeTable::NameRole), QStringLiteral("row 0!"));
    source.suffix.clear();
    fresh.reloadData();
    EXPECT_EQ(fresh.data(fresh.index(0), NodeTable::NameRole), QStringLiteral("row 0"));
}

TEST_F(NodeTableTest, staysAModelWhateverHappensToIt)
{
    // The tester looks at every change.
    for (const int rows : {0, 3, 3, 1000, 1, -4, 2}) {
        source.rows = rows;
        table.reloadData();
        EXPECT_EQ(table.rowCount(), std::max(rows, 0));
        table.setEditing(!table.isEditing());
        table.selectRowAtIndexPath({.section = 0, .row = 1}, NodeTable::ScrollPosition::Middle);
    }
    EXPECT_EQ(table.rowCount(table.index(0)), 0) << "a list has no rows below rows";
}

TEST_F(NodeTableTest, aTapAsksAndSelectsAndTells)
{
    QSignalSpy selected(&table, &NodeTable::selectedRowChanged);
    QSignalSpy scrolled(&table, &NodeTable::scrollRequested);
    EXPECT_EQ(table.selectedRow(), -1);
    table.tapRow(2);
    EXPECT_THAT(source.told, ElementsAre("will 2", "did 2"));
    EXPECT_EQ(table.selectedRow(), 2);
    EXPECT_EQ(selected.count(), 1);
    EXPECT_EQ(scrolled.count(), 0) << "a row that is tapped is in sight";
}

TEST_F(NodeTableTest, aRefusedTapSelectsNothing)
{
    source.allows = false;
    table.tapRow(2);
    EXPECT_THAT(source.told, ElementsAre("will 2"));
    EXPECT_EQ(table.selectedRow(), -1);
}

TEST_F(NodeTableTest, aTapElsewhereOrWithoutInteractionOrInEditModeIsNone)
{
    table.tapRow(-1);
    table.tapRow(5);
    table.setUserInteractionEnabled(false);
    table.tapRow(1);
    table.setUserInteractionEnabled(true);
    table.setEditing(true);
    table.tapRow(1);
    table.setEditing(false);
    table.setDelegate(nullptr);
    table.tapRow(1);
    EXPECT_THAT(source.told, IsEmpty());
    EXPECT_EQ(table.selectedRow(), -1);
}

TEST_F(NodeTableTest, inEditModeNoRowCanBeTapped)
{
    QSignalSpy changed(&table, &NodeTable::dataChanged);
    table.setEditing(true);
    table.setEditing(true);
    ASSERT_EQ(changed.count(), 1);
    EXPECT_EQ(changed[0][2].value<QList<int>>(),
              (QList<int>{NodeTable::SelectableRole, NodeTable::EditableRole}));
    EXPECT_EQ(table.data(table.index(0), NodeTable::SelectableRole), false);
    table.setEditing(false);
    EXPECT_EQ(table.data(table.index(0), NodeTable::SelectableRole), true);
}

TEST_F(NodeTableTest, selectsAndDeselectsWithoutAsking)
{
    QSignalSpy scrolled(&table, &NodeTable::scrollRequested);
    table.selectRowAtIndexPath({.section = 0, .row = 4}, NodeTable::ScrollPosition::Middle);
    EXPECT_EQ(table.selectedRow(), 4);
    ASSERT_EQ(scrolled.count(), 1);
    EXPECT_EQ(scrolled[0][0].toInt(), 4);
    EXPECT_EQ(static_cast<int>(scrolled[0][1].value<NodeTable::ScrollPosition>()), 2);
    table.deselectRowAtIndexPath({.section = 0, .row = 3});
    EXPECT_EQ(table.selectedRow(), 4);
    table.selectRowAtIndexPath({.section = 0, .row = 5}, NodeTable::ScrollPosition::Middle);
    EXPECT_EQ(table.selectedRow(), 4) << "there is no such row";
    table.deselectRowAtIndexPath({.section = 0, .row = 4});
    EXPECT_EQ(table.selectedRow(), -1);
    EXPECT_THAT(source.told, IsEmpty());
}

TEST_F(NodeTableTest, reloadingDeselects)
{
    table.tapRow(2);
    table.reloadData();
    EXPECT_EQ(table.selectedRow(), -1);
}

} // namespace

} // namespace slicewise
