// A device of any number of files that nothing is stored for: each directory is computed while it is read.
//
// Directories are numbered from 0, the root, breadth first; each has `directoriesPerDirectory` others in it
// ("d0", "d1", ...) as long as there are files to put into them, and `filesPerDirectory` files, whose names
// are made of their numbers. The last directory has what is left. No links, one file system, no mounts.
// Immutable; any thread.
#pragma once

#include "platform/Device.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace slicewise {

class GeneratedDevice final : public Device {
public:
    struct Shape {
        std::uint64_t files = 1'000'000;
        std::uint64_t filesPerDirectory = 20;
        std::uint64_t directoriesPerDirectory = 8; ///< 1 makes a chain
    };

    explicit GeneratedDevice(const Shape &shape);

    [[nodiscard]] std::uint64_t fileCount() const { return m_shape.files; }
    [[nodiscard]] std::uint64_t directoryCount() const { return m_directories; }
    /// Of the file with that number: scattered, below 1 MiB, some 0.
    [[nodiscard]] static std::uint64_t sizeOfFile(std::uint64_t file);
    /// Of all files; takes time for each.
    [[nodiscard]] std::uint64_t totalBytes() const;

    [[nodiscard]] std::unique_ptr<DirectoryReader> makeReader() const override;
    [[nodiscard]] Result<FileStatus> status(std::string_view path) const override;
    [[nodiscard]] Result<std::string> resolve(std::string_view path) const override;
    [[nodiscard]] Result<FileSystem> fileSystem(std::string_view path) const override;
    [[nodiscard]] std::vector<Mount> mounts() const override;

private:
    class Reader;
    [[nodiscard]] std::optional<std::uint64_t> directoryAt(std::string_view path) const;
    [[nodiscard]] std::uint64_t firstDirectoryIn(std::uint64_t directory) const;
    [[nodiscard]] std::uint64_t directoriesIn(std::uint64_t directory) const;
    [[nodiscard]] std::uint64_t firstFileIn(std::uint64_t directory) const;
    [[nodiscard]] std::uint64_t filesIn(std::uint64_t directory) const;
    [[nodiscard]] FileSystem theFileSystem() const;

    Shape m_shape;
    std::uint64_t m_directories;
};

} // namespace slicewise
