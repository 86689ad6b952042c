#include "scan/PathTable.h"

#include <algorithm>
#include <new>

namespace slicewise {

const PathNode *PathTable::add(const PathNode *parent, std::string_view name)
{
    // One after the other in the same memory, so that a short name shares its node's cache line.
    auto *node = m_memory.allocate<PathNode>();
    auto *bytes = m_memory.allocate<char>(name.size());
    std::copy(name.begin(), name.end(), bytes);
    return ::new (node) PathNode(parent, m_storage, std::string_view(bytes, name.size()));
}

std::string PathNode::text() const
{
    const auto needsSlash = [](const PathNode &node) { return !node.name().ends_with('/'); };
    std::size_t length = m_length;
    for (const PathNode *node = m_parent; node != nullptr; node = node->m_parent) {
        length += node->m_length + (needsSlash(*node) ? 1U : 0U);
    }
    std::string text(length, '/');
    std::size_t end = length;
    for (const PathNode *node = this; node != nullptr; node = node->m_parent) {
        if (node != this && needsSlash(*node)) {
            --end;
        }
        end -= node->m_length;
        std::copy(node->name().begin(), node->name().end(), text.begin() + static_cast<std::ptrdiff_t>(end));
    }
    return text;
}

} // namespace slicewise
