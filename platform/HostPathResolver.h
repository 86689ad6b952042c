// Resolves the paths of a whole package database: tens of thousands, most of them in the same directories.
//
// A directory is resolved once. A last component costs one call, which tells whether it is a link; only links
// are followed step by step. Used by one thread.
#pragma once

#include "platform/HostDevice.h"
#include "platform/TextMap.h"

#include <string>
#include <string_view>

namespace slicewise {

class HostPathResolver final : public PathResolver {
public:
    explicit HostPathResolver(const HostDevice &device) : m_device(device) {}

    Result<ResolvedPath> resolve(std::string_view path) override;

private:
    const Result<ResolvedPath> &resolveDirectory(std::string_view path);

    const HostDevice &m_device;
    TextMap<Result<ResolvedPath>> m_directories; ///< by the path as it was given
};

} // namespace slicewise
