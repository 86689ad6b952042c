// What the nodes of one tree live in: nodes, names, the tables of their children, the paths of their files.
//
// Private to scan/. Owned by the tree's root. Everything stays at its address until the storage goes, which
// frees the tree in a few steps, however deep it is. One thread at a time, but for path tables that were
// asked for: each of these may be filled by a thread of its own.
#pragma once

#include "scan/Arena.h"
#include "scan/PathTable.h"
#include "scan/SZANode.h"

#include <absl/container/flat_hash_map.h>
#include <absl/container/flat_hash_set.h>
#include <absl/hash/hash.h>

#include <deque>
#include <memory>
#include <string>
#include <string_view>

namespace slicewise {

struct SZANode::KeyHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view key) const { return absl::HashOf(key); }
    std::size_t operator()(const SZANode *node) const { return absl::HashOf(node->key()); }
};

struct SZANode::KeyEqual {
    using is_transparent = void;
    static std::string_view keyOf(std::string_view key) { return key; }
    static std::string_view keyOf(const SZANode *node) { return node->key(); }
    template <typename Left, typename Right> bool operator()(const Left &left, const Right &right) const
    {
        return keyOf(left) == keyOf(right);
    }
};

/// What a node has beyond a leaf.
struct InnerPart {
    explicit InnerPart(TreeStorage *owner) : storage(owner) {}

    TreeStorage *storage;
    const PathNode *file = nullptr;
    absl::flat_hash_set<SZANode *, SZANode::KeyHash, SZANode::KeyEqual> children;
};

class TreeStorage {
public:
    /// The device is borrowed and may be null.
    explicit TreeStorage(const Device *device)
        : m_device(device), m_paths(*this), m_nowhere(m_paths.add(nullptr, ""))
    {}
    TreeStorage(const TreeStorage &) = delete;
    TreeStorage &operator=(const TreeStorage &) = delete;
    ~TreeStorage() = default;

    [[nodiscard]] const Device *device() const { return m_device; }

    SZANode *makeNode(std::string_view name, std::uint64_t index);
    InnerPart *makeInner() { return &m_inner.emplace_back(this); }
    /// A copy of the name with the key in front, found again by keyBefore().
    const char *keepName(std::string_view key, std::string_view name);
    [[nodiscard]] static std::string_view keyBefore(const char *name);

    /// The record of a file given by its full path, the directory shared with the file before it where it
    /// is the same and the file has the name `leaf`; the flag tells whether it is the directory.
    std::pair<const PathNode *, SZANode::FileIs> recordFile(std::string_view path, std::string_view leaf);
    /// The record of a file that does not have its leaf's name.
    const PathNode *recordFileIn(const PathNode *directory, std::string_view name)
    {
        return m_paths.add(directory, name);
    }
    /// A table of its own for a thread of its own.
    PathTable &newPathTable() { return m_walkPaths.emplace_back(*this); }

    absl::flat_hash_map<const SZANode *, std::string> fullnames;

private:
    const char *keepBytes(std::string_view bytes);

    const Device *m_device;
    Arena m_nodes;
    Arena m_names;
    std::deque<InnerPart> m_inner;
    PathTable m_paths;
    const PathNode *m_nowhere; ///< the file of what has none: it knows its tree by it
    std::deque<PathTable> m_walkPaths;
    std::string m_lastDirectory;
    const PathNode *m_lastDirectoryNode = nullptr;
};

} // namespace slicewise
