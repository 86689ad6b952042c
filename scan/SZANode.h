// One node of the storage tree: a named entry with a size in bytes and children keyed by name.
//
// A node made by its constructor is the root of a tree and owns everything below it; every other node is
// made by addNodeForFile() and lives, at one address, until its root goes, also after it was detached. A
// node without children costs 40 bytes and its name.
//
// Two notions are used throughout the system. A category path is a text of names separated by "/", relative
// to the root, whose last name is the file's own leaf. A node path is the list of nodes from the root
// (first) to a node (last).
//
// A tree is used by one thread at a time; it has no locks. Names are bytes, UTF-8 as a rule but not checked.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace slicewise {

class Device;
class PathNode;
class PathTable;
class TreeInserter;
class TreeStorage;
struct InnerPart;

/// The platform's three-valued result of a comparison.
enum class Ordering : signed char { Ascending = -1, Same = 0, Descending = 1 };

class SZANode {
public:
    /// A fresh node: no name, no file name, size 0, index 0, children sorted by size, none there yet.
    /// The device tells the sizes of the files that addNodeForFile() is given, is borrowed and must outlive
    /// the tree; without one every such file counts 0 bytes.
    explicit SZANode(const Device *device = nullptr);
    SZANode(const SZANode &) = delete;
    SZANode &operator=(const SZANode &) = delete;
    ~SZANode();

    /// Inserts one file and returns how many bytes that added to this node: what Device::status() gives as
    /// the file's size, 0 where it fails. Every node from this one to the leaf's parent grows by it; the
    /// leaf is assigned it, so a second file on one leaf replaces the first there while the nodes above
    /// count both. An absent category path raises std::invalid_argument and changes nothing.
    std::uint64_t addNodeForFile(std::optional<std::string_view> categoryPath, std::string_view file);

    /// Detaches a direct child and subtracts its size from each of the nodes, unchecked. The tree alone
    /// changes, no file does. Raises SZAException "Unexpected number of keys in node", with nothing
    /// changed, where `child` is not a child of this node.
    void removeNodeAffectedNodes(const SZANode &child, std::span<SZANode *const> affectedNodes);

    /// The children in display order: by size, the largest first, if sort(), else by insertion; among equals
    /// the one that was inserted first, and by name where a removal has made two of one index.
    [[nodiscard]] std::vector<SZANode *> getNodes() const;

    /// Ascending where this node comes first: the larger one.
    [[nodiscard]] Ordering compareSize(const SZANode &other) const;
    /// Ascending where this node comes first: the one inserted earlier.
    [[nodiscard]] Ordering compareIndex(const SZANode &other) const;

    /// The child that is stored under the name; null where there is none.
    [[nodiscard]] SZANode *childNamed(std::string_view name) const;
    [[nodiscard]] std::size_t childCount() const;

    /// A table for the paths of a walk whose files go into this tree; it lives as long as the tree.
    [[nodiscard]] PathTable &newPathTable();

    /// Valid until the tree goes.
    [[nodiscard]] std::string_view name() const { return {m_name, m_nameLength}; }
    /// Changes what is shown; the parent goes on storing the node under its first name.
    void setName(std::string_view name);
    /// Full path of the file that ended at this node; absent where none did.
    [[nodiscard]] std::optional<std::string> filename() const;
    void setFilename(std::optional<std::string_view> filename);
    [[nodiscard]] std::uint64_t size() const { return m_size; }
    void setSize(std::uint64_t sizeBytes) { m_size = sizeBytes; }
    /// The number of siblings that were there when the node was made.
    [[nodiscard]] std::uint64_t index() const { return m_index; }
    void setIndex(std::uint64_t index) { m_index = index; }
    [[nodiscard]] bool sort() const { return m_sort; }
    void setSort(bool sort) { m_sort = sort; }
    /// Nothing in the system sets it.
    [[nodiscard]] std::optional<std::string> fullname() const;
    void setFullname(std::optional<std::string> fullname);

private:
    friend class TreeInserter;
    friend class TreeStorage;
    struct KeyHash;
    struct KeyEqual;
    friend struct InnerPart;

    SZANode(std::string_view name, std::uint64_t index);

    [[nodiscard]] std::string_view key() const;
    [[nodiscard]] TreeStorage &storage();
    [[nodiscard]] InnerPart *inner() const { return m_hasInner ? m_link.inner : nullptr; }
    InnerPart &makeInner();
    SZANode &childMadeIfMissing(std::string_view key);
    SZANode &makeLeaf(std::string_view categoryPath, std::uint64_t sizeBytes);
    [[nodiscard]] const PathNode *file() const;
    enum class FileIs : bool { InDirectory, WholePath };
    void setFile(const PathNode *path, FileIs meaning);

    const char *m_name = "";
    std::uint32_t m_nameLength = 0;
    bool m_sort = true;
    bool m_hasInner = false;
    bool m_hasFile : 1 = false;
    bool m_fileIsWholePath : 1 = false; ///< else it is the directory, and the key the name in it
    bool m_renamed : 1 = false;         ///< the key lies before m_name
    bool m_ownsStorage : 1 = false;
    std::uint64_t m_size = 0;
    std::uint64_t m_index = 0;
    // A leaf needs its file, an inner node its children; what is both has the file in its InnerPart.
    union {
        const PathNode *file;
        InnerPart *inner;
    } m_link{.file = nullptr};
};

} // namespace slicewise
