#include "tests/support/MemoryDevice.h"

#include <algorithm>
#include <cerrno>
#include <functional>
#include <map>
#include <set>
#include <stdexcept>

namespace slicewise {

namespace {

constexpr int kMostLinks = 40;

std::vector<std::string> namesOf(std::string_view path)
{
    std::vector<std::string> names;
    while (!path.empty()) {
        const std::string_view name = path.substr(0, path.find('/'));
        if (!name.empty()) {
            names.emplace_back(name);
        }
        path.remove_prefix(std::min(name.size() + 1, path.size()));
    }
    return names;
}

// The path of what an entry lies in, and the entry's name; the root has neither.
std::pair<std::string, std::string> splitLast(std::string_view path)
{
    std::vector<std::string> names = namesOf(path);
    if (names.empty()) {
        throw std::invalid_argument("The root is there from the start");
    }
    std::string last = std::move(names.back());
    names.pop_back();
    std::string above;
    for (const std::string &name : names) {
        above.append("/").append(name);
    }
    return {std::move(above), std::move(last)};
}

} // namespace

struct MemoryDevice::Node {
    FileType type = FileType::Directory;
    std::uint64_t sizeBytes = 0;
    std::shared_ptr<const std::string> content; ///< null: null bytes
    std::string target;                         ///< of a link; not empty
    FileIdentity identity;
    FileSystem fileSystem;
    std::vector<std::pair<std::string, Node *>> entries;
    std::map<std::string, Node *, std::less<>> byName;
};

struct MemoryDevice::Found {
    const Node *node = nullptr;
    const Node *directory = nullptr; ///< the node itself, or what it lies in
    std::string path;
};

class MemoryDevice::File final : public ReadableFile {
public:
    explicit File(const Node &node) : m_sizeBytes(node.sizeBytes), m_content(node.content) {}

    Result<std::size_t> readAt(std::uint64_t offset, std::span<std::byte> into) override
    {
        const std::uint64_t left = m_sizeBytes - std::min(offset, m_sizeBytes);
        const std::span<std::byte> read =
            into.first(static_cast<std::size_t>(std::min<std::uint64_t>(left, into.size())));
        if (m_content == nullptr) {
            std::ranges::fill(read, std::byte{0});
        } else if (!read.empty()) {
            std::ranges::copy(std::as_bytes(std::span(*m_content)).subspan(offset, read.size()),
                              read.begin());
        }
        return read.size();
    }

    [[nodiscard]] Result<std::uint64_t> sizeBytes() const override { return m_sizeBytes; }
    Result<bool> lockShared(std::uint64_t /*offset*/, std::uint64_t /*length*/) override { return true; }
    void unlock(std::uint64_t /*offset*/, std::uint64_t /*length*/) override {}

private:
    std::uint64_t m_sizeBytes;
    std::shared_ptr<const std::string> m_content;
};

class MemoryDevice::Reader final : public DirectoryReader {
public:
    explicit Reader(const MemoryDevice &device) : m_device(device) {}

    Result<FileIdentity> open(const std::string &path) override
    {
        m_open = nullptr;
        const Node *node = m_device.m_root;
        for (const std::string &name : namesOf(path)) {
            const auto found = node->byName.find(name);
            if (found == node->byName.end()) {
                return ErrorNumber{ENOENT};
            }
            node = found->second;
            if (!node->target.empty()) {
                return ErrorNumber{ELOOP};
            }
            if (node->type != FileType::Directory) {
                return ErrorNumber{ENOTDIR};
            }
        }
        m_open = node;
        m_next = 0;
        return node->identity;
    }

    FileSystem fileSystem() override { return m_open->fileSystem; }

    Result<Progress> next(EntryChunk &chunk) override
    {
        chunk.clear();
        if (m_next == m_open->entries.size()) {
            return Progress::End;
        }
        const std::size_t end = std::min(m_next + m_device.m_stretch, m_open->entries.size());
        for (; m_next < end; ++m_next) {
            const auto &[name, node] = m_open->entries[m_next];
            if (node->type == FileType::Directory) {
                chunk.append(name, EntryType::Directory, 0);
            } else if (node->type == FileType::RegularFile) {
                chunk.append(name, EntryType::RegularFile, node->sizeBytes);
            }
        }
        return Progress::More;
    }

private:
    const MemoryDevice &m_device;
    const Node *m_open = nullptr;
    std::size_t m_next = 0;
};

class MemoryDevice::MemoryRemover final : public Remover {
public:
    explicit MemoryRemover(MemoryDevice &device) : m_device(device) {}

    Result<std::uint64_t> remove(std::string_view path) override
    {
        const std::vector<std::string> names = namesOf(path);
        if (names.empty() || std::ranges::find(names, "..") != names.end()) {
            return ErrorNumber{EINVAL};
        }
        Node *above = nullptr;
        Node *node = m_device.m_root;
        for (const std::string &name : names) {
            if (node->type != FileType::Directory) {
                return ErrorNumber{node->target.empty() ? ENOTDIR : ELOOP};
            }
            const auto found = node->byName.find(name);
            if (found == node->byName.end()) {
                return ErrorNumber{ENOENT};
            }
            above = node;
            node = found->second;
        }
        if (!node->target.empty()) {
            return ErrorNumber{ELOOP};
        }
        std::string at;
        for (const std::string &name : names) {
            at.append("/").append(name);
        }
        if (m_device.isMountPoint(at)) {
            return ErrorNumber{EBUSY};
        }
        std::uint64_t removed = 0;
        if (!empty(*node, at, removed)) {
            return ErrorNumber{EBUSY};
        }
        detach(*above, names.back());
        return removed + 1;
    }

private:
    // Whether nothing is left in it: what something is mounted on stays. Trees in memory are shallow.
    bool empty(Node &node, const std::string &path, std::uint64_t &removed)
    {
        const auto entries = node.entries;
        for (const auto &[name, child] : entries) {
            const std::string childPath = path + "/" + name;
            if (!m_device.isMountPoint(childPath) && empty(*child, childPath, removed)) {
                detach(node, name);
                ++removed;
            }
        }
        return node.entries.empty();
    }

    static void detach(Node &directory, const std::string &name)
    {
        directory.byName.erase(name);
        std::erase_if(directory.entries, [&name](const auto &entry) { return entry.first == name; });
    }

    MemoryDevice &m_device;
};

MemoryDevice::MemoryDevice(std::initializer_list<std::pair<std::string, std::uint64_t>> files)
{
    m_root = &m_nodes.emplace_back();
    m_root->fileSystem = {.identity = 1, .kind = FileSystemKind::Storage, .capacityBytes = kCapacityBytes};
    m_root->identity = {.device = 1, .inode = 1};
    for (const auto &[path, sizeBytes] : files) {
        if (path.ends_with('/')) {
            addDirectory(path);
        } else {
            addFile(path, sizeBytes);
        }
    }
}

MemoryDevice::~MemoryDevice() = default;

// ---- building

MemoryDevice::Node &MemoryDevice::enter(Node &directory, std::string_view name, FileType type)
{
    const auto found = directory.byName.find(name);
    if (found != directory.byName.end()) {
        return *found->second;
    }
    Node &node = m_nodes.emplace_back();
    node.type = type;
    node.fileSystem = directory.fileSystem;
    node.identity = {.device = directory.identity.device, .inode = m_nodes.size()};
    directory.entries.emplace_back(name, &node);
    directory.byName.emplace(name, &node);
    return node;
}

MemoryDevice::Node &MemoryDevice::add(std::string_view path, FileType type)
{
    const auto [directory, last] = splitLast(path);
    Node &above = directoryAt(directory);
    if (above.byName.contains(last)) {
        throw std::invalid_argument("There is something else at " + std::string(path));
    }
    return enter(above, last, type);
}

MemoryDevice::Node &MemoryDevice::directoryAt(std::string_view path)
{
    Node *node = m_root;
    for (const std::string &name : namesOf(path)) {
        node = &enter(*node, name, FileType::Directory);
        if (node->type != FileType::Directory) {
            throw std::invalid_argument("Not a directory: " + std::string(path));
        }
    }
    return *node;
}

void MemoryDevice::addFile(std::string_view path, std::uint64_t sizeBytes)
{
    add(path, FileType::RegularFile).sizeBytes = sizeBytes;
}

void MemoryDevice::setContent(std::string_view path, std::string content)
{
    const auto [directory, last] = splitLast(path);
    Node &node = enter(directoryAt(directory), last, FileType::RegularFile);
    if (node.type != FileType::RegularFile) {
        throw std::invalid_argument("Not a file: " + std::string(path));
    }
    node.sizeBytes = content.size();
    node.content = std::make_shared<const std::string>(std::move(content));
}

void MemoryDevice::addDirectory(std::string_view path)
{
    static_cast<void>(directoryAt(path));
}

void MemoryDevice::addLink(std::string_view path, std::string target)
{
    if (target.empty()) {
        throw std::invalid_argument("A link without a target");
    }
    add(path, FileType::Other).target = std::move(target);
}

void MemoryDevice::setFileSystem(std::string_view path, const FileSystem &fileSystem)
{
    std::set<Node *> seen; // a bind mount may put a directory below itself
    std::vector<Node *> left = {&directoryAt(path)};
    while (!left.empty()) {
        Node *node = left.back();
        left.pop_back();
        if (seen.insert(node).second) {
            node->fileSystem = fileSystem;
            node->identity.device = fileSystem.identity;
            for (const auto &[name, child] : node->entries) {
                left.push_back(child);
            }
        }
    }
}

void MemoryDevice::setIdentity(std::string_view path, const FileIdentity &identity)
{
    directoryAt(path).identity = identity;
}

FileIdentity MemoryDevice::identity(std::string_view path) const
{
    const Result<Found> found = follow(path);
    if (!found) {
        throw std::invalid_argument("There is nothing at " + std::string(path));
    }
    return found->node->identity;
}

void MemoryDevice::addMount(std::string_view path, const std::string &type, const FileSystem &fileSystem)
{
    setFileSystem(path, fileSystem);
    Mount mount{.path = std::string(path), .type = type, .kind = fileSystem.kind, .identity = std::nullopt};
    if (fileSystem.kind == FileSystemKind::Storage || fileSystem.kind == m_root->fileSystem.kind) {
        mount.identity = identity(path);
    }
    m_mounts.push_back(std::move(mount));
}

void MemoryDevice::addBindMount(std::string_view path, std::string_view source, const std::string &type)
{
    Node &node = directoryAt(source);
    const auto [directory, last] = splitLast(path);
    Node &above = directoryAt(directory);
    if (!above.byName.try_emplace(last, &node).second) {
        throw std::invalid_argument("There is something else at " + std::string(path));
    }
    above.entries.emplace_back(last, &node);
    m_mounts.push_back(
        {.path = std::string(path), .type = type, .kind = node.fileSystem.kind, .identity = node.identity});
}

void MemoryDevice::setMounts(std::vector<Mount> mounts)
{
    m_mounts = std::move(mounts);
}

void MemoryDevice::setStretch(std::size_t entries)
{
    m_stretch = std::max<std::size_t>(entries, 1);
}

// ---- asking

Result<MemoryDevice::Found> MemoryDevice::follow(std::string_view path) const
{
    std::vector<std::string> left = namesOf(path); // the next one last
    std::reverse(left.begin(), left.end());
    std::vector<std::pair<std::string, const Node *>> at; // from the root down
    int links = 0;
    while (!left.empty()) {
        const std::string name = std::move(left.back());
        left.pop_back();
        const Node *above = at.empty() ? m_root : at.back().second;
        if (above->type != FileType::Directory) {
            return ErrorNumber{ENOTDIR};
        }
        if (name == ".") {
            continue;
        }
        if (name == "..") {
            if (!at.empty()) {
                at.pop_back();
            }
            continue;
        }
        const auto found = above->byName.find(name);
        if (found == above->byName.end()) {
            return ErrorNumber{ENOENT};
        }
        const Node *node = found->second;
        if (node->target.empty()) {
            at.emplace_back(name, node);
            continue;
        }
        if (++links > kMostLinks) {
            return ErrorNumber{ELOOP};
        }
        if (node->target.front() == '/') {
            at.clear();
        }
        std::vector<std::string> names = namesOf(node->target);
        left.insert(left.end(), names.rbegin(), names.rend());
    }
    Found result{.node = m_root, .directory = m_root, .path = "/"};
    if (!at.empty()) {
        result.path.clear();
        for (const auto &[name, node] : at) {
            result.path.append("/").append(name);
        }
        result.node = at.back().second;
        const Node *above = at.size() > 1 ? at[at.size() - 2].second : m_root;
        result.directory = result.node->type == FileType::Directory ? result.node : above;
    }
    return result;
}

std::unique_ptr<DirectoryReader> MemoryDevice::makeReader() const
{
    return std::make_unique<Reader>(*this);
}

Result<FileStatus> MemoryDevice::status(std::string_view path) const
{
    const Result<Found> found = follow(path);
    if (!found) {
        return ErrorNumber{found.error()};
    }
    const Node &node = *found->node;
    return FileStatus{.type = node.type, .sizeBytes = node.sizeBytes, .identity = node.identity};
}

Result<std::string> MemoryDevice::resolve(std::string_view path) const
{
    const Result<Found> found = follow(path);
    if (!found) {
        return ErrorNumber{found.error()};
    }
    return found->path;
}

Result<FileSystem> MemoryDevice::fileSystem(std::string_view path) const
{
    const Result<Found> found = follow(path);
    if (!found) {
        return ErrorNumber{found.error()};
    }
    return found->directory->fileSystem;
}

std::vector<Mount> MemoryDevice::mounts() const
{
    return m_mounts;
}

Result<std::unique_ptr<ReadableFile>> MemoryDevice::openFile(std::string_view path) const
{
    const Result<Found> found = follow(path);
    if (!found) {
        return ErrorNumber{found.error()};
    }
    if (found->node->type != FileType::RegularFile) {
        return ErrorNumber{found->node->type == FileType::Directory ? EISDIR : EINVAL};
    }
    return std::unique_ptr<ReadableFile>(std::make_unique<File>(*found->node));
}

Result<std::vector<std::string>> MemoryDevice::entryNames(std::string_view path) const
{
    const Result<Found> found = follow(path);
    if (!found) {
        return ErrorNumber{found.error()};
    }
    if (found->node->type != FileType::Directory) {
        return ErrorNumber{ENOTDIR};
    }
    std::vector<std::string> names;
    for (const auto &[name, node] : found->node->entries) {
        names.push_back(name);
    }
    return names;
}

bool MemoryDevice::isMountPoint(std::string_view path) const
{
    return std::ranges::any_of(m_mounts, [path](const Mount &mount) { return mount.path == path; });
}

std::unique_ptr<Remover> MemoryDevice::makeRemover()
{
    return std::make_unique<MemoryRemover>(*this);
}

} // namespace slicewise
