// Edit mode, and how what the user deletes leaves the disk, the tree and the screens.
#include "ui/NameText.h"
#include "ui/SZANavigationController.h"
#include "ui/SZAViewController.h"

#include <QtGlobal>

#include <array>
#include <string_view>
#include <utility>

namespace slicewise {

namespace {

// The command line says these too. A translator's tools see only texts that stand here.
static_assert(std::string_view(kUninstallQuestion) ==
              QT_TRANSLATE_NOOP("slicewise::SZAViewController", "Uninstall {}?"));
static_assert(std::string_view(kDeletionFailed) ==
              QT_TRANSLATE_NOOP("slicewise::SZAViewController",
                                "Deletion failed for some or all of the files."));

SZADeleteType typeOf(const std::vector<SZANode *> &path)
{
    return SZADeleteTypeForNodePath(std::vector<const SZANode *>(path.begin(), path.end()));
}

QString shown(std::string_view text)
{
    return QString::fromStdString(shownText(text));
}

} // namespace

// ---- edit mode

void SZAViewController::rightBarButtonTapped()
{
    const std::optional<BarButtonItem> button = m_navigationItem.rightBarButtonItem();
    const bool barEnabled =
        m_navigationController == nullptr || m_navigationController->isNavigationBarUserInteractionEnabled();
    if (!button || !barEnabled || m_gate->isIgnoringInteractionEvents() || isAsking()) {
        return;
    }
    switch (button->action) {
    case BarButtonItem::Action::None:
        break;
    case BarButtonItem::Action::ToggleEditMode:
        toggleEditMode();
        break;
    case BarButtonItem::Action::DeleteCurrentNode:
        deleteCurrentNode();
        break;
    }
}

void SZAViewController::toggleEditMode()
{
    const bool edits = !m_tableView.isEditing();
    m_tableView.setEditing(edits);
    if (std::optional<BarButtonItem> button = m_navigationItem.rightBarButtonItem()) {
        button->title = edits ? tr("Done") : tr("Edit");
        m_navigationItem.setRightBarButtonItem(std::move(button));
    }
    m_navigationItem.setHidesBackButton(edits);
    if (!edits) {
        m_tableView.reloadNodeColors();
    }
}

bool SZAViewController::tableViewCanEditRowAtIndexPath(const IndexPath &indexPath)
{
    return m_services.deletion != nullptr && m_tableView.isEditing() &&
           typeOf(pathOfRow(indexPath.row)) != SZADeleteTypeNone;
}

void SZAViewController::tableViewCommitEditingStyleForRowAtIndexPath(EditingStyle /*style*/,
                                                                     const IndexPath &indexPath)
{
    deleteNodeAtPathInIndexWithConfirmation(pathOfRow(indexPath.row), indexPath, Confirmation::Yes);
}

std::vector<SZANode *> SZAViewController::pathOfRow(int row) const
{
    std::vector<SZANode *> path = m_currentPath.value_or(std::vector<SZANode *>());
    path.push_back(m_currentNodes.at(static_cast<std::size_t>(row)));
    return path;
}

void SZAViewController::deleteCurrentNode()
{
    deleteNodeAtPathInIndexWithConfirmation(m_currentPath.value_or(std::vector<SZANode *>()), std::nullopt,
                                            Confirmation::Yes);
}

// ---- the way of one deletion

void SZAViewController::deleteNodeAtPathInIndexWithConfirmation(const std::vector<SZANode *> &path,
                                                                const std::optional<IndexPath> &indexPath,
                                                                Confirmation confirmation)
{
    if (m_services.deletion == nullptr || m_deletion || path.empty()) {
        return;
    }
    DeletionRun::Job job{.node = std::shared_ptr<const SZANode>(m_root, path.back()),
                         .type = typeOf(path),
                         .confirmation = confirmation};
    m_gate->beginIgnoringInteractionEvents();
    setDeletionHUD(tr("Deleting"));
    m_deletion.emplace(
        RunningDeletion{.path = path,
                        .indexPath = indexPath,
                        .run = std::make_unique<DeletionRun>(*m_services.deletion, std::move(job), *this,
                                                             [this] { deletionJobEnded(); })});
    Q_EMIT deletingChanged();
}

void SZAViewController::deletionJobEnded()
{
    const std::vector<SZANode *> path = m_deletion->path;
    const std::optional<IndexPath> indexPath = m_deletion->indexPath;
    const std::optional<DeletionOutcome> outcome = m_deletion->run->take();
    if (outcome) {
        letInteractionGoOn();
        showDeletionResult(*outcome, path, indexPath);
    } else {
        askBeforeDeletion(path, indexPath);
        letInteractionGoOn();
    }
    m_deletion.reset();
    Q_EMIT deletingChanged();
}

void SZAViewController::letInteractionGoOn()
{
    setDeletionHUD(std::nullopt);
    m_gate->endIgnoringInteractionEvents();
}

void SZAViewController::askBeforeDeletion(const std::vector<SZANode *> &path,
                                          const std::optional<IndexPath> &indexPath)
{
    // Put in as it is: a name may look like anything, a place for a name too.
    const QString title = tr(kUninstallQuestion).replace(QStringLiteral("{}"), shown(path.back()->name()));
    UIActionSheet::Texts texts{
        .title = title, .cancelButtonTitle = tr("Cancel"), .destructiveButtonTitle = tr("Uninstall")};
    setDeletePath(path);
    setDeleteIndexPath(indexPath);
    if (indexPath) {
        m_actionSheet.showInView(std::move(texts));
    } else {
        m_actionSheet.showFromBarButtonItem(std::move(texts));
    }
}

void SZAViewController::actionSheetClickedButtonAtIndex(int buttonIndex)
{
    if (!m_actionSheet.isVisible() || m_gate->isIgnoringInteractionEvents()) {
        return;
    }
    m_actionSheet.dismiss();
    const std::vector<SZANode *> path =
        std::exchange(m_deletePath, std::nullopt).value_or(std::vector<SZANode *>());
    const std::optional<IndexPath> indexPath = std::exchange(m_deleteIndexPath, std::nullopt);
    if (buttonIndex == UIActionSheet::destructiveButtonIndex()) {
        deleteNodeAtPathInIndexWithConfirmation(path, indexPath, Confirmation::No);
    }
}

void SZAViewController::showDeletionResult(const DeletionOutcome &outcome, const std::vector<SZANode *> &path,
                                           const std::optional<IndexPath> &indexPath)
{
    if (outcome.deleted) {
        removeFromScreens(path, indexPath);
        return;
    }
    m_alertView.show({.title = tr("Delete failed"),
                      .message = outcome.errorText ? shown(*outcome.errorText) : tr(kDeletionFailed),
                      .cancelButtonTitle = tr("Close")});
}

void SZAViewController::removeFromScreens(const std::vector<SZANode *> &path,
                                          const std::optional<IndexPath> &indexPath)
{
    path[path.size() - 2]->removeNodeAffectedNodes(*path.back(), path);
    if (m_navigationController != nullptr) {
        for (SZAViewController *const screen : m_navigationController->viewControllers()) {
            if (screen != this) {
                screen->updateData();
            }
        }
    }
    setSubtitleForNode(*m_currentPath->back());
    if (indexPath) {
        removeRow(*indexPath);
    } else if (m_navigationController != nullptr && m_navigationController->topViewController() == this) {
        m_navigationController->popViewController();
    }
}

void SZAViewController::removeRow(const IndexPath &indexPath)
{
    m_currentNodes = m_currentPath->back()->getNodes();
    if (m_chart != nullptr) {
        m_chart->reloadData();
    }
    m_tableView.deleteRowsAtIndexPathsWithRowAnimation(std::array{indexPath},
                                                       NodeTable::RowAnimation::Automatic);
    // A file that nothing could show is still selected, at its new place.
    if (m_lastPath && m_lastPath->row >= indexPath.row) {
        m_lastPath = m_lastPath->row == indexPath.row
                         ? std::nullopt
                         : std::optional(IndexPath{.section = 0, .row = m_lastPath->row - 1});
    }
}

// ---- what a deletion shows and remembers

void SZAViewController::setDeletionHUD(std::optional<QString> text)
{
    if (m_deletionHUD != text) {
        m_deletionHUD = std::move(text);
        Q_EMIT deletionHUDChanged();
    }
}

void SZAViewController::setDeletePath(std::optional<std::vector<SZANode *>> path)
{
    m_deletePath = std::move(path);
}

void SZAViewController::setDeleteIndexPath(std::optional<IndexPath> indexPath)
{
    m_deleteIndexPath = indexPath;
}

} // namespace slicewise
