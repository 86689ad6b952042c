// A device that is made up: a small tree in memory, with the identities, file systems and mounts that a test
// gives it.
//
// Directories list their entries in the order in which these were added. Paths are device paths; directories
// missing above an entry are made. It is built by one thread, and may then be used by any number of them; not
// while something is removed from it.
// What can't be built (a file below a file, a name twice) throws std::invalid_argument.
#pragma once

#include "platform/Device.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace slicewise {

class MemoryDevice final : public Device {
public:
    static constexpr std::uint64_t kCapacityBytes = 64'000'000'000;

    /// Files and their sizes; a path that ends in "/" is a directory.
    MemoryDevice(std::initializer_list<std::pair<std::string, std::uint64_t>> files = {});
    ~MemoryDevice() override;

    /// Reads as null bytes.
    void addFile(std::string_view path, std::uint64_t sizeBytes);
    /// What a file reads as; one that is not there is added. A file that is open keeps what it had.
    void setContent(std::string_view path, std::string content);
    void addDirectory(std::string_view path);
    /// Followed by status(), resolve(), fileSystem(), openFile() and entryNames(), which alone lists it.
    void addLink(std::string_view path, std::string target);

    /// The directory and what lies below it now. Everything is on one storage file system at first.
    void setFileSystem(std::string_view path, const FileSystem &fileSystem);
    /// The identity of one directory; its own number on its file system at first.
    void setIdentity(std::string_view path, const FileIdentity &identity);
    [[nodiscard]] FileIdentity identity(std::string_view path) const;

    /// The directory becomes the top of a file system that mounts() tells of, with its identity where a host
    /// would ask for it: storage, or memory if the root lies in memory too.
    void addMount(std::string_view path, const std::string &type, const FileSystem &fileSystem);
    /// The same directory under a second path, and mounts() tells of it.
    void addBindMount(std::string_view path, std::string_view source, const std::string &type);
    /// What mounts() answers from now on, whatever there is.
    void setMounts(std::vector<Mount> mounts);

    /// How many entries next() gives at a time (1024 at first).
    void setStretch(std::size_t entries);

    [[nodiscard]] std::unique_ptr<DirectoryReader> makeReader() const override;
    [[nodiscard]] Result<FileStatus> status(std::string_view path) const override;
    [[nodiscard]] Result<std::string> resolve(std::string_view path) const override;
    [[nodiscard]] Result<FileSystem> fileSystem(std::string_view path) const override;
    [[nodiscard]] std::vector<Mount> mounts() const override;
    /// Nobody else locks these files.
    [[nodiscard]] Result<std::unique_ptr<ReadableFile>> openFile(std::string_view path) const override;
    [[nodiscard]] Result<std::vector<std::string>> entryNames(std::string_view path) const override;
    [[nodiscard]] std::unique_ptr<Remover> makeRemover() override;

private:
    class File;
    class MemoryRemover;
    class Reader;
    struct Node;
    struct Found;

    Node &add(std::string_view path, FileType type);
    Node &enter(Node &directory, std::string_view name, FileType type);
    [[nodiscard]] Node &directoryAt(std::string_view path);
    [[nodiscard]] Result<Found> follow(std::string_view path) const;
    [[nodiscard]] bool isMountPoint(std::string_view path) const;

    std::deque<Node> m_nodes;
    Node *m_root = nullptr;
    std::vector<Mount> m_mounts;
    std::size_t m_stretch = 1024;
};

} // namespace slicewise
