// The table of a screen: one section of rows, which of them is selected, whether it may be touched, and the
// edit mode in which rows are deleted.
//
// A row is deleted in two steps, so that no slip of a finger deletes anything: a tap on its minus opens it,
// and only of an open row there is a "Delete" to be tapped. At most one row is open.
//
// A list model for whatever draws it. Rows are asked of the data source when they are drawn, never before:
// reloading a table of any length asks for the number of rows alone. GUI thread. The data source and the
// delegate are borrowed; for one that goes away earlier null has to be set.
#pragma once

#include "ui/InteractionGate.h"
#include "ui/SZATableViewCell.h"

#include <QAbstractListModel>
#include <QtQmlIntegration>

#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace slicewise {

struct IndexPath {
    int section = 0;
    int row = 0;

    friend bool operator==(const IndexPath &, const IndexPath &) = default;
};

/// What is done to a row in edit mode.
enum class EditingStyle : unsigned char { None = 0, Delete = 1, Insert = 2 };

class NodeTableDataSource {
public:
    NodeTableDataSource() = default;
    NodeTableDataSource(const NodeTableDataSource &) = delete;
    NodeTableDataSource &operator=(const NodeTableDataSource &) = delete;
    virtual ~NodeTableDataSource() = default;

    [[nodiscard]] virtual int tableViewNumberOfRowsInSection(int section) = 0;
    [[nodiscard]] virtual SZATableViewCell tableViewCellForRowAtIndexPath(const IndexPath &indexPath) = 0;
    /// Whether the row can be deleted now.
    [[nodiscard]] virtual bool tableViewCanEditRowAtIndexPath(const IndexPath & /*indexPath*/)
    {
        return false;
    }
    /// The user wants the row deleted. It stays until the table is told.
    virtual void tableViewCommitEditingStyleForRowAtIndexPath(EditingStyle /*style*/,
                                                              const IndexPath & /*indexPath*/)
    {}
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
    // Two of its enumerations have a None.
    Q_CLASSINFO("RegisterEnumClassesUnscoped", "false")
    QML_ELEMENT
    QML_UNCREATABLE("A screen has one")
    Q_PROPERTY(int selectedRow READ selectedRow NOTIFY selectedRowChanged)
    Q_PROPERTY(bool editing READ isEditing NOTIFY editingChanged)
    Q_PROPERTY(int openRow READ openRow NOTIFY openRowChanged)
    Q_PROPERTY(slicewise::NodeTable::RowAnimation rowAnimation READ rowAnimation NOTIFY rowAnimationChanged)
    Q_PROPERTY(bool userInteractionEnabled READ isUserInteractionEnabled NOTIFY userInteractionEnabledChanged)

public:
    enum Role {
        NameRole = Qt::UserRole, ///< "name": QString, to be shown as plain text
        SizeTextRole,            ///< "sizeText": QString
        NodeColorRole,           ///< "nodeColor": QColor
        SelectableRole,          ///< "selectable": bool, whether a tap would do something
        EditableRole,            ///< "editable": bool, whether the row can be deleted now
    };
    // Whole ints: scripts read that much of them.
    enum class ScrollPosition : int { None = 0, Top = 1, Middle = 2, Bottom = 3 };
    Q_ENUM(ScrollPosition)
    /// How rows leave; Automatic leaves it to whoever draws the table.
    enum class RowAnimation : int { Fade = 0, None = 5, Automatic = 100 };
    Q_ENUM(RowAnimation)

    NodeTable() = default;

    void setDataSource(NodeTableDataSource *dataSource) { m_dataSource = dataSource; }
    void setDelegate(NodeTableDelegate *delegate) { m_delegate = delegate; }
    /// While it ignores interaction, no touch does anything. Null at first: none does.
    void setInteractionGate(std::shared_ptr<const InteractionGate> gate) { m_gate = std::move(gate); }

    /// Asks for the number of rows anew. No row is selected or open afterwards.
    void reloadData();
    /// The data source has lost these rows. The others stay as they are, but for their colours, which go by
    /// the place. Reloads instead where the data source does not have so many rows less.
    void deleteRowsAtIndexPathsWithRowAnimation(std::span<const IndexPath> indexPaths,
                                                RowAnimation animation);
    /// Of the last rows that have left, known before they leave.
    [[nodiscard]] RowAnimation rowAnimation() const { return m_rowAnimation; }
    /// Asks for the swatches anew: those that are in sight.
    void reloadNodeColors();

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

    /// -1: none.
    [[nodiscard]] int selectedRow() const { return m_selectedRow; }
    /// Asks nobody. The table is to be scrolled so that the row is at that position.
    void selectRowAtIndexPath(const IndexPath &indexPath, ScrollPosition scrollPosition);
    /// Nothing happens where that row is not selected.
    void deselectRowAtIndexPath(const IndexPath &indexPath);
    /// A touch on a row. Without interaction nothing happens; in edit mode it only closes the open row.
    Q_INVOKABLE void tapRow(int row);

    [[nodiscard]] bool isEditing() const { return m_editing; }
    /// No row is open afterwards.
    void setEditing(bool editing);
    /// -1: none.
    [[nodiscard]] int openRow() const { return m_openRow; }
    /// A touch on a row's minus: opens the row, or closes it. Another one that is open closes.
    Q_INVOKABLE void toggleDeleteConfirmation(int row);
    /// A touch elsewhere.
    Q_INVOKABLE void closeOpenRow();
    /// A touch on the "Delete" of the open row, which closes. Nothing happens for any other row.
    Q_INVOKABLE void commitDelete(int row);
    [[nodiscard]] bool isUserInteractionEnabled() const { return m_userInteractionEnabled; }
    void setUserInteractionEnabled(bool enabled);

Q_SIGNALS:
    void selectedRowChanged();
    void editingChanged();
    void openRowChanged();
    void rowAnimationChanged();
    void userInteractionEnabledChanged();
    void scrollRequested(int row, slicewise::NodeTable::ScrollPosition position);

private:
    void setSelectedRow(int row);
    void setOpenRow(int row);
    void setRowAnimation(RowAnimation animation);
    void removeRow(int row);
    [[nodiscard]] bool takesTouches() const;
    [[nodiscard]] bool canEdit(int row) const;
    [[nodiscard]] std::optional<int> rowOfDataSource(int row) const;
    [[nodiscard]] QVariant cellData(int row, int role) const;
    [[nodiscard]] const SZATableViewCell &cellAt(int row) const;

    NodeTableDataSource *m_dataSource = nullptr;
    NodeTableDelegate *m_delegate = nullptr;
    int m_rows = 0;
    int m_selectedRow = -1;
    int m_openRow = -1;
    bool m_editing = false;
    bool m_userInteractionEnabled = true;
    RowAnimation m_rowAnimation = RowAnimation::Automatic;
    std::shared_ptr<const InteractionGate> m_gate;
    std::vector<int> m_leaving; ///< rows that we still have and the data source has not, in order
    /// All roles of a row are asked for one after the other.
    mutable std::optional<std::pair<int, SZATableViewCell>> m_lastCell;
};

} // namespace slicewise
