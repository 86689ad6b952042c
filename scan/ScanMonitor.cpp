#include "scan/ScanMonitor.h"

#include <algorithm>

namespace slicewise {

ScanSnapshot ScanMonitor::snapshot() const
{
    const std::lock_guard lock(m_mutex);
    return m_root != nullptr ? taken() : m_last;
}

void ScanMonitor::finish()
{
    const std::lock_guard lock(m_mutex);
    if (m_root != nullptr) {
        m_last = taken();
        m_root = nullptr;
    }
}

ScanSnapshot ScanMonitor::taken() const
{
    ScanSnapshot snapshot;
    snapshot.sizeBytes = m_root->size();
    snapshot.files = m_files;
    snapshot.directories = m_directories;
    for (const SZANode *node : m_root->getNodes()) {
        snapshot.categories.push_back(
            {.name = std::string(node->name()), .sizeBytes = node->size(), .index = node->index()});
    }
    std::sort(snapshot.categories.begin(), snapshot.categories.end(),
              [](const auto &left, const auto &right) { return left.index < right.index; });
    return snapshot;
}

} // namespace slicewise
