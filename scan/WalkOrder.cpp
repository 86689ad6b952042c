#include "scan/WalkOrder.h"

#include <utility>

namespace slicewise {

WalkOrder::WalkOrder(const PathNode *root, std::uint64_t deviceAbove) : m_head(make(root, deviceAbove))
{
    m_frontierFirst = m_head;
}

WalkedDirectory *WalkOrder::firstWaiting() const
{
    WalkedDirectory *directory = m_frontierFirst;
    while (directory != nullptr && directory->state == WalkedDirectory::State::Reading) {
        directory = directory->m_frontierNext;
    }
    return directory;
}

void WalkOrder::begin(WalkedDirectory &directory)
{
    directory.state = WalkedDirectory::State::Reading;
    if (m_spareReadings.empty()) {
        directory.reading = std::make_unique<DirectoryReading>();
    } else {
        directory.reading = std::move(m_spareReadings.back());
        m_spareReadings.pop_back();
    }
}

void WalkOrder::completeAndExpand(WalkedDirectory &directory, PathTable &paths)
{
    directory.state = WalkedDirectory::State::Complete;
    expand(directory, &directory, paths);
    removeFromFrontier(directory);
}

void WalkOrder::completeAsGate(WalkedDirectory &directory)
{
    directory.state = WalkedDirectory::State::Complete;
    removeFromFrontier(directory);
}

void WalkOrder::expandGate(PathTable &paths)
{
    // Everything in the frontier comes after the head.
    expand(*m_head, m_frontierFirst, paths);
}

// Puts the subdirectories behind their directory in walk order, and into the frontier before `before`.
void WalkOrder::expand(WalkedDirectory &directory, WalkedDirectory *before, PathTable &paths)
{
    EntryChunk &subdirectories = directory.reading->subdirectories;
    const std::uint64_t device = directory.reading->identity.device;
    for (const EntryChunk::Entry &entry : subdirectories.entries()) {
        // Each goes right behind the directory, and so before those that were listed earlier.
        WalkedDirectory *child = make(paths.add(directory.path, subdirectories.name(entry)), device);
        child->m_next = directory.m_next;
        directory.m_next = child;
        insertIntoFrontier(*child, before);
        before = child;
    }
    subdirectories.clear();
}

void WalkOrder::dropHead()
{
    // A directory that waits needs no reading, so no more are worth keeping than can be in flight.
    constexpr std::size_t kMostSpare = 256;
    WalkedDirectory &head = *m_head;
    m_head = head.m_next;
    if (m_spareReadings.size() < kMostSpare) {
        *head.reading = DirectoryReading();
        m_spareReadings.push_back(std::move(head.reading));
    }
    head.reading.reset();
    head.m_next = m_free;
    m_free = &head;
}

WalkedDirectory *WalkOrder::make(const PathNode *path, std::uint64_t deviceAbove)
{
    WalkedDirectory *directory = m_free;
    if (directory != nullptr) {
        m_free = directory->m_next;
        directory->m_next = nullptr;
        directory->state = WalkedDirectory::State::Waiting;
    } else {
        directory = &m_all.emplace_back();
    }
    directory->path = path;
    directory->deviceAbove = deviceAbove;
    return directory;
}

void WalkOrder::insertIntoFrontier(WalkedDirectory &directory, WalkedDirectory *before)
{
    directory.m_frontierNext = before;
    directory.m_frontierPrevious = before == nullptr ? nullptr : before->m_frontierPrevious;
    if (directory.m_frontierPrevious != nullptr) {
        directory.m_frontierPrevious->m_frontierNext = &directory;
    } else {
        // There is nothing before it: `before` is the first, or the frontier is empty.
        m_frontierFirst = &directory;
    }
    if (before != nullptr) {
        before->m_frontierPrevious = &directory;
    }
}

void WalkOrder::removeFromFrontier(WalkedDirectory &directory)
{
    if (directory.m_frontierPrevious != nullptr) {
        directory.m_frontierPrevious->m_frontierNext = directory.m_frontierNext;
    } else {
        m_frontierFirst = directory.m_frontierNext;
    }
    if (directory.m_frontierNext != nullptr) {
        directory.m_frontierNext->m_frontierPrevious = directory.m_frontierPrevious;
    }
    directory.m_frontierPrevious = nullptr;
    directory.m_frontierNext = nullptr;
}

} // namespace slicewise
