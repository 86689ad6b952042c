#include "ui/RootScan.h"

#include <utility>

namespace slicewise {

RootScan::RootScan(const Device &device, Log &log, const ScanOptions &options, QObject &receiver,
                   std::function<void()> finished)
{
    // Not waited for: the receiver may be waiting for this thread, in its destructor.
    connect(this, &RootScan::ended, &receiver, std::move(finished), Qt::QueuedConnection);
    m_thread = std::thread([this, &device, &log, options] {
        run(device, log, options);
        Q_EMIT ended();
    });
}

RootScan::~RootScan()
{
    m_monitor.requestStop();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void RootScan::run(const Device &device, Log &log, ScanOptions options)
{
    m_result.root = std::make_shared<SZANode>(&device);
    m_result.root->setName(kRootName);
    m_result.root->setSort(false);
    options.monitor = &m_monitor;
    m_result.report = scanFileSystem(device, "/", *m_result.root, log, options);
}

std::shared_ptr<SZANode> RootScan::picture() const
{
    const ScanSnapshot snapshot = m_monitor.snapshot();
    auto root = std::make_shared<SZANode>();
    root->setName(kRootName);
    root->setSort(false);
    for (const ScanSnapshot::Category &category : snapshot.categories) {
        root->addNodeForFile(category.name, "");
        SZANode *const node = root->childNamed(category.name);
        node->setFilename(std::nullopt);
        node->setSize(category.sizeBytes);
        node->setIndex(category.index);
    }
    root->setSize(snapshot.sizeBytes);
    return root;
}

RootScan::Result RootScan::take()
{
    m_thread.join();
    return std::move(m_result);
}

} // namespace slicewise
