#include "ui/NodeTable.h"

#include "chart/QtColor.h"

#include <algorithm>

namespace slicewise {

void NodeTable::reloadData()
{
    beginResetModel();
    m_lastCell.reset();
    m_rows = m_dataSource != nullptr ? std::max(m_dataSource->tableViewNumberOfRowsInSection(0), 0) : 0;
    endResetModel();
    setSelectedRow(-1);
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
    switch (role) {
    case Qt::DisplayRole:
    case NameRole:
        return cellAt(index.row()).text();
    case SizeTextRole:
        return cellAt(index.row()).detailText();
    case NodeColorRole: {
        const std::optional<UIColor> color = cellAt(index.row()).nodeColor();
        return color ? toQColor(*color) : QVariant();
    }
    case SelectableRole:
        return !m_editing && cellAt(index.row()).selectable() == SZATableViewCell::Selectable::Yes;
    default:
        return {};
    }
}

QHash<int, QByteArray> NodeTable::roleNames() const
{
    return {{NameRole, "name"},
            {SizeTextRole, "sizeText"},
            {NodeColorRole, "nodeColor"},
            {SelectableRole, "selectable"}};
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
    if (!m_userInteractionEnabled || m_editing || row < 0 || row >= m_rows || m_delegate == nullptr) {
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
    Q_EMIT editingChanged();
    if (m_rows > 0) {
        Q_EMIT dataChanged(index(0), index(m_rows - 1), {SelectableRole});
    }
}

void NodeTable::setUserInteractionEnabled(bool enabled)
{
    if (m_userInteractionEnabled != enabled) {
        m_userInteractionEnabled = enabled;
        Q_EMIT userInteractionEnabledChanged();
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
