// Inserts a walk's files directory by directory: the same tree as SZANode::addNodeForFile() file by file.
//
// What the files of a directory share, the node that they go under and the path that they lie in, is looked
// up once. The sizes reach the nodes above a directory when the directory ends or flush() is called, so
// flush() comes before anyone reads the tree. Borrowed by one thread; the root must outlive it.
#pragma once

#include "scan/PathTable.h"
#include "scan/SZANode.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace slicewise {

class TreeInserter {
public:
    explicit TreeInserter(SZANode &root) : m_root(root) {}
    TreeInserter(const TreeInserter &) = delete;
    TreeInserter &operator=(const TreeInserter &) = delete;
    ~TreeInserter() { flush(); }

    /// The files that follow lie in `directory`, a path of the root's tree; those added by addHere() go
    /// under the category path `category`, without a "/" at its end.
    void beginDirectory(const PathNode *directory, std::string_view category);
    /// Inserts a file under the directory's category and its own name (not empty, no "/").
    void addHere(std::string_view name, std::uint64_t sizeBytes);
    /// Inserts a file of the directory under a category path of its own, as addNodeForFile() does.
    void addElsewhere(std::optional<std::string_view> categoryPath, std::string_view name,
                      std::uint64_t sizeBytes);
    /// Brings the sizes of all nodes up to date.
    void flush();

private:
    void findCategory();

    SZANode &m_root;
    const PathNode *m_directory = nullptr;
    std::string m_category;         ///< where addHere() goes
    std::string m_chainText;        ///< the category that m_chain leads to
    std::vector<SZANode *> m_chain; ///< the node path of m_chainText, root first; empty before the first
    bool m_atCategory = false;      ///< m_chain leads to m_category
    std::uint64_t m_pendingBytes = 0;
};

} // namespace slicewise
