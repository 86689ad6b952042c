// Resolves the paths of a whole package database: a hundred thousand, most of them in the same directories.
//
// A directory is resolved once. Of a last component only whether it is a link matters, which costs a call
// each, or one listing for all of a directory that is asked about more often. Used by one thread.
#pragma once

#include "platform/HostDevice.h"
#include "platform/TextMap.h"

#include <memory>
#include <string>
#include <string_view>

namespace slicewise {

class HostPathResolver final : public PathResolver {
public:
    explicit HostPathResolver(const HostDevice &device) : m_device(device) {}

    Result<std::string> resolve(std::string_view path) override;

private:
    enum class Listed : std::uint8_t { NotYet, Yes, Refused };
    struct Directory {
        Result<ResolvedPath> resolved = ResolvedPath{.path = "/", .exists = true};
        unsigned timesAsked = 0;
        Listed listed = Listed::NotYet;
        TextSet links; ///< names of what may be links; where it is listed
    };

    Result<ResolvedPath> resolve(std::string_view path, int links);
    Result<ResolvedPath> followLink(const std::string &directory, std::string_view name, int links);
    Directory &directoryAt(std::string_view path, int links);
    [[nodiscard]] bool isKnownAsNoLink(Directory &directory, std::string_view name);

    const HostDevice &m_device;
    TextMap<std::unique_ptr<Directory>> m_directories; ///< by the path as it was given
};

} // namespace slicewise
