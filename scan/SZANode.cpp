#include "scan/SZANode.h"

#include "platform/Device.h"
#include "scan/SZAException.h"
#include "scan/TreeStorage.h"

#include <absl/container/inlined_vector.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>
#include <utility>

namespace slicewise {

namespace {

template <typename Value> Ordering compare(Value left, Value right)
{
    if (left < right) {
        return Ordering::Ascending;
    }
    return left > right ? Ordering::Descending : Ordering::Same;
}

} // namespace

// ---- storage

SZANode *TreeStorage::makeNode(std::string_view name, std::uint64_t index)
{
    auto *node =
        ::new (m_nodes.allocate<SZANode>()) SZANode(std::string_view(keepBytes(name), name.size()), index);
    node->m_link.file = m_nowhere;
    return node;
}

const char *TreeStorage::keepBytes(std::string_view bytes)
{
    if (bytes.empty()) {
        return "";
    }
    char *copy = m_names.allocate<char>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), copy);
    return copy;
}

const char *TreeStorage::keepName(std::string_view key, std::string_view name)
{
    // key, its length, name
    const auto length = static_cast<std::uint32_t>(key.size());
    char *copy = m_names.allocate<char>(key.size() + sizeof length + name.size());
    std::copy(key.begin(), key.end(), copy);
    std::memcpy(copy + key.size(), &length, sizeof length);
    std::copy(name.begin(), name.end(), copy + key.size() + sizeof length);
    return copy + key.size() + sizeof length;
}

std::string_view TreeStorage::keyBefore(const char *name)
{
    std::uint32_t length = 0;
    const char *lengthAt = name - sizeof length;
    std::memcpy(&length, lengthAt, sizeof length);
    return {lengthAt - length, length};
}

std::pair<const PathNode *, SZANode::FileIs> TreeStorage::recordFile(std::string_view path,
                                                                     std::string_view leaf)
{
    const std::size_t slash = path.rfind('/');
    if (slash == std::string_view::npos || path.substr(slash + 1) != leaf) {
        return {m_paths.add(nullptr, path), SZANode::FileIs::WholePath};
    }
    const std::string_view directory = path.substr(0, slash + 1);
    if (m_lastDirectoryNode == nullptr || directory != m_lastDirectory) {
        m_lastDirectory = directory;
        m_lastDirectoryNode = m_paths.add(nullptr, directory);
    }
    return {m_lastDirectoryNode, SZANode::FileIs::InDirectory};
}

// ---- life

SZANode::SZANode(const Device *device)
{
    if (device != nullptr) {
        auto storage = std::make_unique<TreeStorage>(device);
        m_link.inner = storage->makeInner();
        m_hasInner = true;
        m_ownsStorage = true;
        static_cast<void>(storage.release()); // the inner part knows it; the destructor takes it back
    }
}

SZANode::SZANode(std::string_view name, std::uint64_t index)
    : m_name(name.data()), m_nameLength(static_cast<std::uint32_t>(name.size())), m_index(index)
{}

SZANode::~SZANode()
{
    if (m_ownsStorage) {
        const std::unique_ptr<TreeStorage> storage(m_link.inner->storage);
    }
}

TreeStorage &SZANode::storage()
{
    if (m_hasInner) {
        return *m_link.inner->storage;
    }
    if (m_link.file != nullptr) {
        return *m_link.file->storage();
    }
    auto storage = std::make_unique<TreeStorage>(nullptr);
    m_link.inner = storage->makeInner();
    m_hasInner = true;
    m_ownsStorage = true;
    return *storage.release();
}

InnerPart &SZANode::makeInner()
{
    TreeStorage &owner = storage();
    if (!m_hasInner) {
        InnerPart *part = owner.makeInner();
        part->file = m_link.file;
        m_link.inner = part;
        m_hasInner = true;
    }
    return *m_link.inner;
}

// ---- insertion and detaching

std::string_view SZANode::key() const
{
    return m_renamed ? TreeStorage::keyBefore(m_name) : name();
}

SZANode &SZANode::childMadeIfMissing(std::string_view key)
{
    InnerPart &part = makeInner();
    const std::size_t rank = part.children.size();
    const auto found = part.children.lazy_emplace(
        key, [&](const auto &construct) { construct(part.storage->makeNode(key, rank)); });
    return **found;
}

SZANode &SZANode::makeLeaf(std::string_view categoryPath, std::uint64_t sizeBytes)
{
    // Iterative: a category path may have more components than a stack has room for.
    absl::InlinedVector<SZANode *, 32> above;
    SZANode *node = this;
    std::string_view rest = categoryPath;
    while (true) {
        const std::size_t slash = rest.find('/');
        above.push_back(node);
        node = &node->childMadeIfMissing(rest.substr(0, slash));
        if (slash == std::string_view::npos || slash + 1 == rest.size()) {
            break;
        }
        rest.remove_prefix(slash + 1);
    }
    for (SZANode *ancestor : above) {
        ancestor->m_size += sizeBytes;
    }
    node->m_size = sizeBytes;
    return *node;
}

std::uint64_t SZANode::addNodeForFile(std::optional<std::string_view> categoryPath, std::string_view file)
{
    if (!categoryPath) {
        throw std::invalid_argument("A file can't be added under an absent category path");
    }
    TreeStorage &tree = storage();
    std::uint64_t sizeBytes = 0;
    if (tree.device() != nullptr) {
        if (const Result<FileStatus> status = tree.device()->status(file)) {
            sizeBytes = status->sizeBytes;
        }
    }
    SZANode &leaf = makeLeaf(*categoryPath, sizeBytes);
    const auto [record, meaning] = tree.recordFile(file, leaf.key());
    leaf.setFile(record, meaning);
    return sizeBytes;
}

void SZANode::removeNodeAffectedNodes(const SZANode &child, std::span<SZANode *const> affectedNodes)
{
    InnerPart *part = inner();
    if (part == nullptr) {
        throw SZAException("Unexpected number of keys in node");
    }
    const auto stored = part->children.find(child.key());
    if (stored == part->children.end() || *stored != &child) {
        throw SZAException("Unexpected number of keys in node");
    }
    const std::uint64_t sizeBytes = child.size();
    part->children.erase(stored);
    for (SZANode *node : affectedNodes) {
        node->m_size -= sizeBytes;
    }
}

// ---- reading

std::vector<SZANode *> SZANode::getNodes() const
{
    const InnerPart *part = inner();
    if (part == nullptr) {
        return {};
    }
    std::vector<SZANode *> nodes(part->children.begin(), part->children.end());
    const bool bySize = m_sort;
    // Neither key need be unique, and the table's own order is no order at all: the last resort is the name.
    std::sort(nodes.begin(), nodes.end(), [bySize](const SZANode *left, const SZANode *right) {
        if (bySize) {
            if (const Ordering order = left->compareSize(*right); order != Ordering::Same) {
                return order == Ordering::Ascending;
            }
        }
        if (const Ordering order = left->compareIndex(*right); order != Ordering::Same) {
            return order == Ordering::Ascending;
        }
        return left->key() < right->key();
    });
    return nodes;
}

Ordering SZANode::compareSize(const SZANode &other) const
{
    return compare(other.m_size, m_size);
}

Ordering SZANode::compareIndex(const SZANode &other) const
{
    return compare(m_index, other.m_index);
}

SZANode *SZANode::childNamed(std::string_view name) const
{
    const InnerPart *part = inner();
    if (part == nullptr) {
        return nullptr;
    }
    const auto found = part->children.find(name);
    return found == part->children.end() ? nullptr : *found;
}

std::size_t SZANode::childCount() const
{
    const InnerPart *part = inner();
    return part == nullptr ? 0 : part->children.size();
}

PathTable &SZANode::newPathTable()
{
    return storage().newPathTable();
}

// ---- accessors that need the storage

void SZANode::setName(std::string_view name)
{
    m_name = storage().keepName(key(), name);
    m_nameLength = static_cast<std::uint32_t>(name.size());
    m_renamed = true;
}

const PathNode *SZANode::file() const
{
    return m_hasInner ? m_link.inner->file : m_link.file;
}

void SZANode::setFile(const PathNode *path, FileIs meaning)
{
    if (m_hasInner) {
        m_link.inner->file = path;
    } else {
        m_link.file = path;
    }
    m_hasFile = true;
    m_fileIsWholePath = meaning == FileIs::WholePath;
}

std::optional<std::string> SZANode::filename() const
{
    if (!m_hasFile) {
        return std::nullopt;
    }
    std::string text = file()->text();
    if (!m_fileIsWholePath) {
        if (!text.ends_with('/')) {
            text.push_back('/');
        }
        text.append(key());
    }
    return text;
}

void SZANode::setFilename(std::optional<std::string_view> filename)
{
    if (!filename) {
        m_hasFile = false; // the record stays: it is how a leaf knows its tree
        return;
    }
    const auto [record, meaning] = storage().recordFile(*filename, key());
    setFile(record, meaning);
}

std::optional<std::string> SZANode::fullname() const
{
    TreeStorage *owner = m_hasInner               ? m_link.inner->storage
                         : m_link.file != nullptr ? m_link.file->storage()
                                                  : nullptr;
    if (owner == nullptr) {
        return std::nullopt;
    }
    const auto found = owner->fullnames.find(this);
    return found == owner->fullnames.end() ? std::nullopt : std::optional(found->second);
}

void SZANode::setFullname(std::optional<std::string> fullname)
{
    if (fullname) {
        storage().fullnames[this] = std::move(*fullname);
    } else {
        storage().fullnames.erase(this);
    }
}

} // namespace slicewise
