// The first screen: how the scan starts, what it shows meanwhile, and what becomes of it.
#include "chart/QVPieChart.h"
#include "ui/SZAViewController.h"

#include <limits>
#include <utility>

namespace slicewise {

namespace {

constexpr double kTickSeconds = 2.0;

std::int64_t clampedSize(std::uint64_t sizeBytes)
{
    constexpr auto kMost = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    return static_cast<std::int64_t>(sizeBytes < kMost ? sizeBytes : kMost);
}

} // namespace

void SZAViewController::startScan()
{
    if (m_services.idleTimer != nullptr) {
        m_services.idleTimer->setIdleTimerDisabled(true);
    }
    setScanHUD(tr("Scanning"));
    measureDisk();
    beginBackgroundTask();
    m_scan = std::make_unique<RootScan>(*m_services.device, *m_services.log, m_services.scan, *this,
                                        [this] { scanFinished(); });
    m_root = m_scan->picture();
    m_currentPath = {m_root.get()};
    m_currentSizeTimer =
        m_services.timers->schedule(kTickSeconds, Timers::Repeats::Yes, [this] { updateCurrentSize(); });
}

// Data and system may be two partitions or one.
void SZAViewController::measureDisk()
{
    const Result<FileSystem> data = m_services.device->fileSystem("/private/var");
    const Result<FileSystem> system = m_services.device->fileSystem("/");
    std::uint64_t sum = data ? data->capacityBytes : 0;
    if (system && !(data && data->identity == system->identity)) {
        sum += system->capacityBytes;
    }
    m_diskSize += clampedSize(sum);
}

void SZAViewController::beginBackgroundTask()
{
    if (m_services.backgroundTasks != nullptr) {
        m_backgroundTask = m_services.backgroundTasks->beginBackgroundTaskWithExpirationHandler([this] {
            m_services.log->line("Timeout!");
            endBackgroundTask();
        });
    }
}

void SZAViewController::endBackgroundTask()
{
    if (const auto task = std::exchange(m_backgroundTask, std::nullopt)) {
        m_services.backgroundTasks->endBackgroundTask(*task);
    }
}

void SZAViewController::updateCurrentSize()
{
    if (m_scan != nullptr) {
        m_root = m_scan->picture();
        m_currentPath = {m_root.get()};
    }
    if (m_root == nullptr || m_root->size() == 0) {
        return;
    }
    updateData();
    if (m_scanHUD) {
        setScanHUD(std::nullopt);
        m_navigationItem.setRightBarButtonItem(BarButtonItem{.title = {},
                                                             .action = BarButtonItem::Action::None,
                                                             .look = BarButtonItem::Look::ActivityIndicator,
                                                             .tintColor = std::nullopt});
    }
}

void SZAViewController::scanFinished()
{
    // The tick that was to come: a scan may be shorter than the time to the first one, and only a tick takes
    // the overlay away.
    updateCurrentSize();
    RootScan::Result result = m_scan->take();
    m_scan.reset();
    m_root = std::move(result.root);
    m_currentPath = {m_root.get()};
    m_navigationItem.setNode(m_root);

    if (m_services.idleTimer != nullptr) {
        m_services.idleTimer->setIdleTimerDisabled(false);
    }
    m_navigationItem.setTitle(tr(kRootName));
    // Only the walk knows which file systems the device really has.
    if (const std::uint64_t entered = result.report.diskSizeBytes(); entered > 0) {
        m_diskSize = clampedSize(entered);
    }
    setSubtitleForNode(*m_root);
    setDoneScan(true);
    m_root->setSort(true);
    updateData();
    m_currentSizeTimer.reset();
    m_navigationItem.setRightBarButtonItem(std::nullopt);
    endBackgroundTask();
}

void SZAViewController::setScanHUD(std::optional<QString> text)
{
    if (m_scanHUD != text) {
        m_scanHUD = std::move(text);
        Q_EMIT scanHUDChanged();
    }
}

} // namespace slicewise
