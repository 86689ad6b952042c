// The directories of a walk, each written once: its own name and a pointer to the directory above.
//
// A million files then share their directories' paths, and a chain of directories costs its length, not
// its square. Nodes live, at one address, as long as the table. One thread at a time may add; what has been
// added never changes and may be read by any thread that learnt of it through a lock.
#pragma once

#include "scan/Arena.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace slicewise {

class TreeStorage;

class PathNode {
public:
    /// Null for the first directory of a walk, and for a path that was given as a whole.
    [[nodiscard]] const PathNode *parent() const { return m_parent; }
    /// The tree that the path's files belong to.
    [[nodiscard]] TreeStorage *storage() const { return m_storage; }
    [[nodiscard]] std::string_view name() const { return {m_name, m_length}; }
    /// The full path: the names from the top down, joined by "/", with no second one after a root "/".
    [[nodiscard]] std::string text() const;

private:
    friend class PathTable;
    PathNode(const PathNode *parent, TreeStorage *storage, std::string_view name)
        : m_parent(parent),
          m_storage(storage),
          m_name(name.data()),
          m_length(static_cast<std::uint32_t>(name.size()))
    {}

    const PathNode *m_parent;
    TreeStorage *m_storage;
    const char *m_name;
    std::uint32_t m_length;
};

class PathTable {
public:
    /// The storage is borrowed; it owns the table.
    explicit PathTable(TreeStorage &storage) : m_storage(&storage) {}
    PathTable(const PathTable &) = delete;
    PathTable &operator=(const PathTable &) = delete;
    ~PathTable() = default;

    const PathNode *add(const PathNode *parent, std::string_view name);

private:
    TreeStorage *m_storage;
    Arena m_memory;
};

} // namespace slicewise
