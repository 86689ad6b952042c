// Making a screen, loading it, and what it shows of a node; the scan, the picks and the deletion are in the
// files that begin with its name.
#include "ui/SZAViewController.h"

#include "delete/DeletionPolicy.h"
#include "ui/NameText.h"
#include "ui/SZANavigationController.h"
#include "ui/SizeText.h"
#include "ui/UINavigationItemSubtitle.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace slicewise {

namespace {

constexpr double kAnimationSpeedSeconds = 0.5;
constexpr UIColor kDeleteTint = {
    .red = 0.847058892250061, .green = 0.1882353127002716, .blue = 0.1882353127002716, .alpha = 1};

QString shownName(const SZANode &node)
{
    return QString::fromStdString(shownText(node.name()));
}

QString sizeText(std::uint64_t sizeBytes)
{
    return QString::fromStdString(sizeTextForBytes(sizeBytes));
}

} // namespace

QString SZAViewController::storyboardName(UserInterfaceIdiom idiom)
{
    return idiom == UserInterfaceIdiom::Pad ? QStringLiteral("Main_iPad") : QStringLiteral("Main_iPhone");
}

std::unique_ptr<SZAViewController> SZAViewController::controller(const BrowserServices &services)
{
    auto made = std::make_unique<SZAViewController>(services);
    made->awakeFromNib();
    return made;
}

std::unique_ptr<SZAViewController> SZAViewController::controllerWithNode(SZANode &node) const
{
    auto child = controller(m_services);
    child->setRoot(m_root);
    child->setDoneScan(true);
    std::vector<SZANode *> path = m_currentPath.value_or(std::vector<SZANode *>());
    path.push_back(&node);
    child->setCurrentPath(std::move(path));
    return child;
}

SZAViewController::SZAViewController(const BrowserServices &services)
    : m_services(services), m_gate(std::make_shared<InteractionGate>())
{
    m_tableView.setInteractionGate(m_gate);
    m_tableView.setDataSource(this);
    m_tableView.setDelegate(this);
}

SZAViewController::~SZAViewController()
{
    if (m_pushTimer != nullptr && m_navigationController != nullptr) {
        m_navigationController->setNavigationBarUserInteractionEnabled(true);
    }
    if (m_scan != nullptr) {
        m_scan.reset();
        if (m_services.idleTimer != nullptr) {
            m_services.idleTimer->setIdleTimerDisabled(false);
        }
        endBackgroundTask();
    }
    if (m_deletion) {
        m_deletion.reset();
        m_gate->endIgnoringInteractionEvents();
    }
}

void SZAViewController::awakeFromNib()
{
    m_diskSize = 0;
    m_currentPath.reset();
    // A title that comes later does not reach the line above the scan's progress.
    m_navigationItem.setTitle(QString::fromUtf8(kRootName));
}

void SZAViewController::loadViewIfNeeded()
{
    if (!m_isViewLoaded) {
        m_isViewLoaded = true;
        viewDidLoad();
    }
}

void SZAViewController::viewDidLoad()
{
    m_isViewLoaded = true;
    if (!m_currentPath) {
        m_currentPath.emplace();
    }
    setUpChart();
    if (m_doneScan) {
        showChild();
    } else {
        startScan();
    }
}

void SZAViewController::setChart(QVPieChart *chart)
{
    m_chart = chart;
    if (m_isViewLoaded) {
        setUpChart();
        if (chart != nullptr) {
            chart->reloadData();
        }
    }
}

void SZAViewController::setUpChart()
{
    if (m_chart == nullptr) {
        return;
    }
    m_chart->setDataSource(this);
    m_chart->setDelegate(this);
    m_chart->setShowLabel(m_services.idiom == UserInterfaceIdiom::Pad);
    m_chart->setShowPercentage(false);
    m_chart->setAnimationSpeed(kAnimationSpeedSeconds);
    m_chart->setEnabled(m_chartUserInteractionEnabled);
}

void SZAViewController::showChild()
{
    m_root->setSort(true);
    updateData();
    SZANode &node = *m_currentPath->back();
    m_navigationItem.setNode(std::shared_ptr<SZANode>(m_root, &node));
    m_navigationItem.setTitle(shownName(node));
    setSubtitle(m_navigationItem, sizeText(node.size()), m_services.systemVersion);
    m_navigationItem.setRightBarButtonItem(rightBarButton());
}

std::optional<BarButtonItem> SZAViewController::rightBarButton() const
{
    if (m_services.deletion == nullptr) {
        return std::nullopt;
    }
    const std::vector<const SZANode *> path(m_currentPath->begin(), m_currentPath->end());
    if (pathHasDeletableChildren(path)) {
        return BarButtonItem{.title = tr("Edit"),
                             .action = BarButtonItem::Action::ToggleEditMode,
                             .look = BarButtonItem::Look::Plain,
                             .tintColor = std::nullopt};
    }
    if (SZADeleteTypeForNodePath(path) != SZADeleteTypeNone) {
        return BarButtonItem{.title = tr("Delete"),
                             .action = BarButtonItem::Action::DeleteCurrentNode,
                             .look = BarButtonItem::Look::Plain,
                             .tintColor = kDeleteTint};
    }
    return std::nullopt;
}

void SZAViewController::setRoot(std::shared_ptr<SZANode> root)
{
    m_root = std::move(root);
}

void SZAViewController::setDoneScan(bool doneScan)
{
    if (m_doneScan != doneScan) {
        m_doneScan = doneScan;
        Q_EMIT doneScanChanged();
    }
}

void SZAViewController::setCurrentPath(std::optional<std::vector<SZANode *>> path)
{
    m_currentPath = std::move(path);
}

void SZAViewController::setNavigationController(SZANavigationController *navigationController)
{
    m_navigationController = navigationController;
    if (navigationController != nullptr && !isDeleting()) {
        m_gate = navigationController->interactionGate();
        m_tableView.setInteractionGate(m_gate);
    }
}

void SZAViewController::updateDataWithNode(SZANode &node)
{
    m_currentNodes = node.getNodes();
    m_treeOfCurrentNodes = m_root;
    if (m_chart != nullptr) {
        m_chart->reloadData();
    }
    if (!m_doneScan) {
        // After the chart: while the scan runs its slices stay in their places, and only the table is by
        // size.
        std::stable_sort(m_currentNodes.begin(), m_currentNodes.end(),
                         [](const SZANode *left, const SZANode *right) {
                             return left->compareSize(*right) == Ordering::Ascending;
                         });
    }
    m_tableView.reloadData();
    setSubtitleForNode(node);
}

void SZAViewController::updateData()
{
    if (m_currentPath && !m_currentPath->empty()) {
        updateDataWithNode(*m_currentPath->back());
    }
}

void SZAViewController::setSubtitleForNode(const SZANode &node)
{
    const QString text = &node == m_root.get() ? tr("%1 used out of %2")
                                                     .arg(sizeText(node.size()),
                                                          sizeText(static_cast<std::uint64_t>(m_diskSize)))
                                               : sizeText(node.size());
    setSubtitle(m_navigationItem, text, m_services.systemVersion);
}

int SZAViewController::tableViewNumberOfRowsInSection(int /*section*/)
{
    return static_cast<int>(std::min<std::size_t>(m_currentNodes.size(), std::numeric_limits<int>::max()));
}

SZATableViewCell SZAViewController::tableViewCellForRowAtIndexPath(const IndexPath &indexPath)
{
    SZATableViewCell cell(SZATableViewCell::Style::Default, QString::fromUtf8(kReuseIdentifier));
    const auto row = static_cast<std::size_t>(indexPath.row);
    if (row < m_currentNodes.size()) {
        const SZANode &node = *m_currentNodes[row];
        cell.setText(shownName(node));
        cell.setNodeColor(colorForSlice(row));
        cell.setDetailText(sizeText(node.size()));
        cell.setSelectable(m_doneScan ? SZATableViewCell::Selectable::Yes : SZATableViewCell::Selectable::No);
    }
    return cell;
}

} // namespace slicewise
