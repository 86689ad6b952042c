// A device of which nothing is known but the sizes of some files: all that adding files to a tree asks for.
//
// Any text is a path. Files that were not declared do not exist.
#pragma once

#include "platform/Device.h"

#include <cerrno>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace slicewise {

class DeclaredSizes final : public Device {
public:
    void declare(const std::string &path, std::uint64_t sizeBytes) { m_sizes[path] = sizeBytes; }

    [[nodiscard]] Result<FileStatus> status(std::string_view path) const override
    {
        const auto found = m_sizes.find(std::string(path));
        if (found == m_sizes.end()) {
            return ErrorNumber{ENOENT};
        }
        return FileStatus{.type = FileType::RegularFile, .sizeBytes = found->second, .identity = {}};
    }

    [[nodiscard]] std::unique_ptr<DirectoryReader> makeReader() const override { return nullptr; }
    [[nodiscard]] Result<std::string> resolve(std::string_view) const override { return ErrorNumber{ENOSYS}; }
    [[nodiscard]] Result<FileSystem> fileSystem(std::string_view) const override
    {
        return ErrorNumber{ENOSYS};
    }
    [[nodiscard]] std::vector<Mount> mounts() const override { return {}; }

private:
    std::map<std::string, std::uint64_t> m_sizes;
};

} // namespace slicewise
