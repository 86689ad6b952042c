// The table of a screen: one section of rows, which of them is selected, and whether it may be touched.
//
// A list model for whatever draws it. Rows are asked of the data source when they are drawn, never before:
// reloading a table of any length asks for the number of rows alone. GUI thread. The data source and the
// delegate are borrowed; for one that goes away earlier null has to be set.
#pragma once

#include "ui/SZATableViewCell.h"

#include <QAbstractListModel>
#include <QtQmlIntegration>

#include <optional>
#include <utility>

namespace slicewise {

struct IndexPath {
    int section = 0;
    int row = 0;

    friend bool operator==(const IndexPath &, const IndexPath &) = default;
};

class NodeTableDataSource {
public:
    NodeTableDataSource() = default;
    NodeTableDataSource(const NodeTableDataSource &) = delete;
    NodeTableDataSource &operator=(const NodeTableDataSource &) = delete;
    virtual ~NodeTableDataSource() = default;

    [[nodiscard]] virtual int tableViewNumberOfRowsInSection(int section) = 0;
    [[nodiscard]] virtual SZATableViewCell tableViewCellForRowAtIndexPath(const IndexPath &indexPath) = 0;
};

class NodeTableDelegate {
public:
    NodeTableDelegate() = default;
    NodeTableDelegate(const NodeTableDelegate &) = delete;
    NodeTableDelegate &operator=(const NodeTableDelegate &) = delete;
    virtual ~NodeTableDelegate() = default;

    /// The row to select in place of the one that was tapped; absent: none.
    [[nodiscard]] virtual std::optional<IndexPath> tableViewWillSelectRowAtIndexPath(
        const IndexPath &indexPath) = 0;
    virtual void tableViewDidSelectRowAtIndexPath(const IndexPath &indexPath) = 0;
};

class NodeTable : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("A screen has one")
    Q_PROPERTY(int selectedRow READ selectedRow NOTIFY selectedRowChanged)
    Q_PROPERTY(bool editing READ isEditing NOTIFY editingChanged)
    Q_PROPERTY(bool userInteractionEnabled READ isUserInteractionEnabled NOTIFY userInteractionEnabledChanged)

public:
    enum Role {
        NameRole = Qt::UserRole, ///< "name": QString, to be shown as plain text
        SizeTextRole,            ///< "sizeText": QString
        NodeColorRole,           ///< "nodeColor": QColor
        SelectableRole,          ///< "selectable": bool, whether a tap would do something
    };
    // A whole int: scripts read that much of it.
    enum class ScrollPosition : int { None = 0, Top = 1, Middle = 2, Bottom = 3 };
    Q_ENUM(ScrollPosition)

    NodeTable() = default;

    void setDataSource(NodeTableDataSource *dataSource) { m_dataSource = dataSource; }
    void setDelegate(NodeTableDelegate *delegate) { m_delegate = delegate; }

    /// Asks for the number of rows anew. No row is selected afterwards.
    void reloadData();

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

    /// -1: none.
    [[nodiscard]] int selectedRow() const { return m_selectedRow; }
    /// Asks nobody. The table is to be scrolled so that the row is at that position.
    void selectRowAtIndexPath(const IndexPath &indexPath, ScrollPosition scrollPosition);
    /// Nothing happens where that row is not selected.
    void deselectRowAtIndexPath(const IndexPath &indexPath);
    /// A touch on a row. Without interaction, and in edit mode, nothing happens.
    Q_INVOKABLE void tapRow(int row);

    [[nodiscard]] bool isEditing() const { return m_editing; }
    void setEditing(bool editing);
    [[nodiscard]] bool isUserInteractionEnabled() const { return m_userInteractionEnabled; }
    void setUserInteractionEnabled(bool enabled);

Q_SIGNALS:
    void selectedRowChanged();
    void editingChanged();
    void userInteractionEnabledChanged();
    void scrollRequested(int row, slicewise::NodeTable::ScrollPosition position);

private:
    void setSelectedRow(int row);
    [[nodiscard]] const SZATableViewCell &cellAt(int row) const;

    NodeTableDataSource *m_dataSource = nullptr;
    NodeTableDelegate *m_delegate = nullptr;
    int m_rows = 0;
    int m_selectedRow = -1;
    bool m_editing = false;
    bool m_userInteractionEnabled = true;
    /// All roles of a row are asked for one after the other.
    mutable std::optional<std::pair<int, SZATableViewCell>> m_lastCell;
};

} // namespace slicewise
