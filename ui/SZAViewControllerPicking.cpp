// What happens when a row or a slice is picked, and when the user comes back.
#include "ui/NameText.h"
#include "ui/SZANavigationController.h"
#include "ui/SZAViewController.h"

#include <algorithm>
#include <utility>

namespace slicewise {

namespace {

constexpr int kLastSlice = 8; ///< of all rows behind the eighth
constexpr double kPushDelaySeconds = 0.25;

} // namespace

std::optional<IndexPath> SZAViewController::tableViewWillSelectRowAtIndexPath(const IndexPath &indexPath)
{
    return m_doneScan ? std::optional(indexPath) : std::nullopt;
}

void SZAViewController::tableViewDidSelectRowAtIndexPath(const IndexPath &indexPath)
{
    SZANode &node = *m_currentNodes.at(static_cast<std::size_t>(indexPath.row));
    // Before anything is shown that might be over at once.
    m_lastPath = indexPath;
    const std::optional<std::string> filename = node.filename();
    if (filename && !filename->empty()) {
        presentFile(node, *filename);
    } else {
        drillInto(node, indexPath.row);
    }
}

void SZAViewController::presentFile(const SZANode &node, const std::string &filename)
{
    const QByteArray path = QByteArray::fromStdString(filename);
    const QString name = QString::fromStdString(shownText(node.name()));
    const auto presentation = presentationOf(*m_services.documents, filename);
    if (!presentation) {
        return;
    }
    switch (*presentation) {
    case DocumentPresentation::Preview:
        Q_EMIT previewRequested(path, name);
        break;
    case DocumentPresentation::OpenInMenu:
        Q_EMIT openInMenuRequested(path, name);
        break;
    case DocumentPresentation::OptionsMenu:
        Q_EMIT optionsMenuRequested(path, name);
        break;
    }
}

void SZAViewController::drillInto(SZANode &node, int row)
{
    if (m_chart != nullptr) {
        m_chart->setSliceSelectedAtIndex(std::min(row, kLastSlice));
    }
    m_pushTimer = m_services.timers->schedule(
        kPushDelaySeconds, Timers::Repeats::No,
        [this, picked = std::shared_ptr<SZANode>(m_root, &node)] { animationEnded(*picked); });
    setUserInteractionEnabled(false);
}

void SZAViewController::animationEnded(SZANode &node)
{
    // Gone at the end: what fires it also holds the node.
    const std::unique_ptr<RunningTimer> fired = std::move(m_pushTimer);
    if (m_navigationController != nullptr) {
        m_navigationController->pushViewController(controllerWithNode(node));
    }
    setUserInteractionEnabled(true);
}

void SZAViewController::setUserInteractionEnabled(bool enabled)
{
    const auto navigationBar = [&] {
        if (m_navigationController != nullptr) {
            m_navigationController->setNavigationBarUserInteractionEnabled(enabled);
        }
    };
    const auto chart = [&] {
        m_chartUserInteractionEnabled = enabled;
        if (m_chart != nullptr) {
            m_chart->setEnabled(enabled);
        }
        Q_EMIT chartUserInteractionEnabledChanged();
    };
    if (enabled) {
        navigationBar();
        chart();
        m_tableView.setUserInteractionEnabled(true);
    } else {
        m_tableView.setUserInteractionEnabled(false);
        chart();
        navigationBar();
    }
}

bool SZAViewController::pieChartWillSelectSliceAtIndex(QVPieChart & /*chart*/, unsigned index)
{
    const std::size_t count = m_currentNodes.size();
    if (!m_doneScan || (index >= static_cast<unsigned>(kLastSlice) && count != kLastSlice)) {
        return false;
    }
    // Assistive programs press slices also where no finger can.
    if (m_tableView.isEditing() || !m_chartUserInteractionEnabled || index >= count ||
        m_gate->isIgnoringInteractionEvents() || isAsking()) {
        return false;
    }
    const IndexPath path{.section = 0, .row = static_cast<int>(index)};
    m_tableView.selectRowAtIndexPath(path, NodeTable::ScrollPosition::Middle);
    tableViewDidSelectRowAtIndexPath(path);
    return false;
}

void SZAViewController::viewDidAppear()
{
    if (m_lastPath) {
        m_tableView.deselectRowAtIndexPath(*m_lastPath);
    }
    if (m_chart != nullptr) {
        m_chart->setSliceDeselectedAtIndex(std::min(m_lastPath ? m_lastPath->row : 0, kLastSlice));
    }
    m_lastPath.reset();
}

void SZAViewController::documentInteractionControllerDidEndPreview()
{
    documentClosed();
}

void SZAViewController::documentInteractionControllerDidDismissOpenInMenu()
{
    documentClosed();
}

void SZAViewController::documentInteractionControllerDidDismissOptionsMenu()
{
    documentClosed();
}

void SZAViewController::documentClosed()
{
    if (const auto path = std::exchange(m_lastPath, std::nullopt)) {
        m_tableView.deselectRowAtIndexPath(*path);
    }
}

} // namespace slicewise
