#include "scan/TreeInserter.h"

#include "scan/TreeStorage.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>

namespace slicewise {

void TreeInserter::beginDirectory(const PathNode *directory, std::string_view category)
{
    flush();
    m_directory = directory;
    m_category = category;
    m_atCategory = false;
}

// Goes up from where the last directory's files went to the name that both paths share, and down again.
// Neighbours in a walk share nearly all of it.
void TreeInserter::findCategory()
{
    std::size_t shared = 0; // bytes of m_category that the first `depth` nodes below the root stand for
    std::size_t depth = 0;
    if (!m_chain.empty()) {
        const auto [left, right] =
            std::mismatch(m_category.begin(), m_category.end(), m_chainText.begin(), m_chainText.end());
        const auto same = static_cast<std::size_t>(left - m_category.begin());
        const auto endsName = [same](const std::string &text) {
            return same == text.size() || text[same] == '/';
        };
        std::size_t start = 0;
        for (std::size_t at = 0; at <= same; ++at) {
            const bool end =
                at < same ? m_category[at] == '/' : endsName(m_category) && endsName(m_chainText);
            if (end) {
                ++depth;
                start = at + 1;
            }
        }
        shared = start;
        m_chain.resize(depth + 1);
    } else {
        m_chain.push_back(&m_root);
    }
    while (shared <= m_category.size()) {
        const std::size_t slash = std::min(m_category.find('/', shared), m_category.size());
        const std::string_view name = std::string_view(m_category).substr(shared, slash - shared);
        m_chain.push_back(&m_chain.back()->childMadeIfMissing(name));
        shared = slash + 1;
    }
    m_chainText = m_category;
    m_atCategory = true;
}

void TreeInserter::addHere(std::string_view name, std::uint64_t sizeBytes)
{
    if (!m_atCategory) {
        findCategory();
    }
    SZANode &leaf = m_chain.back()->childMadeIfMissing(name);
    leaf.m_size = sizeBytes;
    leaf.setFile(m_directory, SZANode::FileIs::InDirectory);
    m_pendingBytes += sizeBytes;
}

void TreeInserter::addElsewhere(std::optional<std::string_view> categoryPath, std::string_view name,
                                std::uint64_t sizeBytes)
{
    if (!categoryPath) {
        throw std::invalid_argument("A file can't be added under an absent category path");
    }
    flush(); // its leaf may be a node above this directory's, and is then assigned a size
    SZANode &leaf = m_root.makeLeaf(*categoryPath, sizeBytes);
    if (leaf.key() == name) {
        leaf.setFile(m_directory, SZANode::FileIs::InDirectory);
    } else {
        leaf.setFile(m_root.storage().recordFileIn(m_directory, name), SZANode::FileIs::WholePath);
    }
}

void TreeInserter::flush()
{
    if (m_pendingBytes != 0) {
        for (SZANode *node : m_chain) {
            node->m_size += m_pendingBytes;
        }
        m_pendingBytes = 0;
    }
}

} // namespace slicewise
