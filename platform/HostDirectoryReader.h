// Reads the host device's directories: entries by getdents64(2) into a buffer that is reused, sizes by
// fstatat(2) relative to the directory, so that no path is walked twice.
//
// Used by one thread. Keeps the open directory and, in trees deeper than a path may be long, one directory
// above it, so that going down such a chain costs each step once.
#pragma once

#include "platform/HostDevice.h"

#include <dirent.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace slicewise {

class HostDirectoryReader final : public DirectoryReader {
public:
    explicit HostDirectoryReader(const HostDevice &device);
    ~HostDirectoryReader() override;

    Result<FileIdentity> open(const std::string &path) override;
    FileSystem fileSystem() override;
    Result<Progress> next(EntryChunk &chunk) override;

private:
    enum class Listed : std::uint8_t { Unknown, RegularFile, Directory, Other };

    void closeDirectory();
    Result<Progress> nextByStream(EntryChunk &chunk);
    void take(EntryChunk &chunk, const char *name, Listed listed);
    void takeFile(EntryChunk &chunk, const char *name);
    [[nodiscard]] static Listed listedType(unsigned char type);

    const HostDevice &m_device;
    std::string m_path;
    UniqueFd m_directory;
    FileIdentity m_identity;
    std::vector<std::byte> m_records;

    UniqueFd m_anchor;        ///< a directory deep in the tree that paths may go on from
    std::string m_anchorPath; ///< its device path; empty where there is none

    struct StreamCloser {
        void operator()(DIR *stream) const { ::closedir(stream); }
    };
    std::unique_ptr<DIR, StreamCloser> m_stream; ///< only where the platform has no getdents64
};

} // namespace slicewise
