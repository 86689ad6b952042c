#include "ui/NodeTable.h"

#include "chart/QtColor.h"

#include <algorithm>
#include <set>

namespace slicewise {

void NodeTable::reloadData()
{
    beginResetModel();
    m_lastCell.reset();
    m_rows = m_dataSource != nullptr ? std::max(m_dataSource->tableViewNumberOfRowsInSection(0), 0) : 0;
    endResetModel();
    setSelectedRow(-1);
    setOpenRow(-1);
}

void NodeTable::deleteRowsAtIndexPathsWithRowAnimation(std::span<const IndexPath> indexPaths,
                                                       RowAnimation animation)
{
    std::set<int> rows;
    for (const IndexPath &path : indexPaths) {
        rows.insert(path.row);
    }
    if (rows.empty()) {
        return;
    }
    const int left = m_rows - static_cast<int>(rows.size());
    if (*rows.begin() < 0 || *rows.rbegin() >= m_rows || m_dataSource == nullptr ||
        m_dataSource->tableViewNumberOfRowsInSection(0) != left) {
        reloadData();
        return;
    }
    setRowAnimation(animation);
    m_leaving.assign(rows.begin(), rows.end());
    m_lastCell.reset();
    while (!m_leaving.empty()) {
        removeRow(m_leaving.back());
    }
    if (*rows.begin() < m_rows) {
        Q_EMIT dataChanged(index(*rows.begin()), index(m_rows - 1), {NodeColorRole});
    }
}

/// The last of those that are leaving.
void NodeTable::removeRow(int row)
{
    beginRemoveRows({}, row, row);
    m_leaving.pop_back();
    --m_rows;
    endRemoveRows();
    const auto placeAfterwards = [row](int place) {
        return place == row ? -1 : (place > row ? place - 1 : place);
    };
    setSelectedRow(placeAfterwards(m_selectedRow));
    setOpenRow(placeAfterwards(m_openRow));
}

void NodeTable::reloadNodeColors()
{
    m_lastCell.reset();
    if (m_rows > 0) {
        Q_EMIT dataChanged(index(0), index(m_rows - 1), {NodeColorRole});
    }
}

int NodeTable::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_rows;
}

QVariant NodeTable::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows || m_dataSource == nullptr) {
        return {};
    }
    const std::optional<int> row = rowOfDataSource(index.row());
    return row ? cellData(*row, role) : QVariant();
}

/// Whoever is told that a row is about to leave may still ask for the others.
std::optional<int> NodeTable::rowOfDataSource(int row) const
{
    const auto notBefore = std::lower_bound(m_leaving.begin(), m_leaving.end(), row);
    if (notBefore != m_leaving.end() && *notBefore == row) {
        return std::nullopt;
    }
    return row - static_cast<int>(notBefore - m_leaving.begin());
}

QVariant NodeTable::cellData(int row, int role) const
{
    switch (role) {
    case Qt::DisplayRole:
    case NameRole:
        return cellAt(row).text();
    case SizeTextRole:
        return cellAt(row).detailText();
    case NodeColorRole: {
        const std::optional<UIColor> color = cellAt(row).nodeColor();
        return color ? toQColor(*color) : QVariant();
    }
    case SelectableRole:
        return !m_editing && cellAt(row).selectable() == SZATableViewCell::Selectable::Yes;
    case EditableRole:
        return m_dataSource->tableViewCanEditRowAtIndexPath({.section = 0, .row = row});
    default:
        return {};
    }
}

QHash<int, QByteArray> NodeTable::roleNames() const
{
    return {{NameRole, "name"},
            {SizeTextRole, "sizeText"},
            {NodeColorRole, "nodeColor"},
            {SelectableRole, "selectable"},
            {EditableRole, "editable"}};
}

const SZATableViewCell &NodeTable::cellAt(int row) const
{
    if (!m_lastCell || m_lastCell->first != row) {
        m_lastCell.emplace(row, m_dataSource->tableViewCellForRowAtIndexPath({.section = 0, .row = row}));
    }
    return m_lastCell->second;
}

void NodeTable::selectRowAtIndexPath(const IndexPath &indexPath, ScrollPosition scrollPosition)
{
    if (indexPath.row < 0 || indexPath.row >= m_rows) {
        return;
    }
    setSelectedRow(indexPath.row);
    if (scrollPosition != ScrollPosition::None) {
        Q_EMIT scrollRequested(indexPath.row, scrollPosition);
    }
}

void NodeTable::deselectRowAtIndexPath(const IndexPath &indexPath)
{
    if (indexPath.row == m_selectedRow) {
        setSelectedRow(-1);
    }
}

void NodeTable::tapRow(int row)
{
    if (!takesTouches()) {
        return;
    }
    if (m_editing) {
        closeOpenRow();
        return;
    }
    if (row < 0 || row >= m_rows || m_delegate == nullptr) {
        return;
    }
    if (const std::optional<IndexPath> path =
            m_delegate->tableViewWillSelectRowAtIndexPath({.section = 0, .row = row})) {
        selectRowAtIndexPath(*path, ScrollPosition::None);
        m_delegate->tableViewDidSelectRowAtIndexPath(*path);
    }
}

void NodeTable::setEditing(bool editing)
{
    if (m_editing == editing) {
        return;
    }
    m_editing = editing;
    setOpenRow(-1);
    Q_EMIT editingChanged();
    if (m_rows > 0) {
        Q_EMIT dataChanged(index(0), index(m_rows - 1), {SelectableRole, EditableRole});
    }
}

bool NodeTable::takesTouches() const
{
    return m_userInteractionEnabled && (m_gate == nullptr || !m_gate->isIgnoringInteractionEvents());
}

bool NodeTable::canEdit(int row) const
{
    return m_editing && row >= 0 && row < m_rows && m_dataSource != nullptr &&
           m_dataSource->tableViewCanEditRowAtIndexPath({.section = 0, .row = row});
}

void NodeTable::toggleDeleteConfirmation(int row)
{
    if (takesTouches()) {
        setOpenRow(row != m_openRow && canEdit(row) ? row : -1);
    }
}

void NodeTable::closeOpenRow()
{
    if (takesTouches()) {
        setOpenRow(-1);
    }
}

void NodeTable::commitDelete(int row)
{
    if (takesTouches() && row == m_openRow && canEdit(row)) {
        setOpenRow(-1);
        m_dataSource->tableViewCommitEditingStyleForRowAtIndexPath(EditingStyle::Delete,
                                                                   {.section = 0, .row = row});
    }
}

void NodeTable::setUserInteractionEnabled(bool enabled)
{
    if (m_userInteractionEnabled != enabled) {
        m_userInteractionEnabled = enabled;
        Q_EMIT userInteractionEnabledChanged();
    }
}

void NodeTable::setOpenRow(int row)
{
    if (m_openRow != row) {
        m_openRow = row;
        Q_EMIT openRowChanged();
    }
}

void NodeTable::setRowAnimation(RowAnimation animation)
{
    if (m_rowAnimation != animation) {
        m_rowAnimation = animation;
        Q_EMIT rowAnimationChanged();
    }
}

void NodeTable::setSelectedRow(int row)
{
    if (m_selectedRow != row) {
        m_selectedRow = row;
        Q_EMIT selectedRowChanged();
    }
}

} // namespace slicewise
