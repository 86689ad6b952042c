// Which nodes may be deleted, and by which strategy: the one place where that is decided.
//
// Pure functions of the names on a node path, so of the categories that the classifiers have made. Any thread
// that may read the nodes.
#pragma once

#include "scan/SZANode.h"

#include <cstdint>
#include <span>

namespace slicewise {

/// The numbers are fixed: they stand in the JSON output.
enum SZADeleteType : std::int32_t {
    SZADeleteTypeNone = 0,    ///< may not be deleted
    SZADeleteTypeRegular = 1, ///< regularDelete(): the node's own files
    SZADeleteTypeApp = 2,     ///< appDelete(): uninstalls the application
    SZADeleteTypeParent = 3,  ///< parentDelete(): the directory that holds the node's file
    SZADeleteTypePackage = 4, ///< dpkgDeleteWithErrorString(): the package
    SZADeleteTypeAsset = 5,   ///< assetDelete(): the photo, by the photo library
};

/// The node path from the root (first) to the node in question (last); at least the root.
using NodePathView = std::span<const SZANode *const>;

[[nodiscard]] SZADeleteType SZADeleteTypeForNodePath(NodePathView path);

/// Whether the children of the path's last node may be deleted, asked of a child that has no name yet: it
/// matches no rule by its own name, so the answer holds for all of them, but for single names that a rule
/// excepts.
[[nodiscard]] bool pathHasDeletableChildren(NodePathView path);

} // namespace slicewise
