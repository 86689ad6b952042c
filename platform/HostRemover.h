// Removes from the host's file system: the directory that a path lies in is opened as the device opens any
// directory, without links, and what lies in it is removed by its name there.
//
// That directory stays open, so that neighbours cost two calls each. Nothing can be made of it that opening
// it for each of them would prevent: it is the directory that the path led to without a link, and all its
// neighbours go from this one. Who puts another directory in its place between two removals gets nothing
// removed from that; who moves it has its entries removed a moment later than they would have been.
#pragma once

#include "platform/HostDevice.h"
#include "platform/TreeRemoval.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace slicewise {

class HostRemover final : public Remover {
public:
    static constexpr std::size_t kMostOpen = 16;

    /// mostOpen: see TreeRemoval.
    explicit HostRemover(const HostDevice &device, std::size_t mostOpen = kMostOpen);

    Result<std::uint64_t> remove(std::string_view path) override;

private:
    int openParent(std::string_view directory);
    Result<std::uint64_t> removeFromParent();

    const HostDevice &m_device;
    TreeRemoval m_tree;
    UniqueFd m_parent;
    std::string m_parentPath; ///< as it was given
    std::string m_name;
};

} // namespace slicewise
