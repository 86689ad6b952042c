// Removal of packages: by the package tool alone, never by deleting their files.
#pragma once

#include "delete/Deletion.h"
#include "scan/SZANode.h"

#include <optional>
#include <string>

namespace slicewise {

struct PackageDeletion {
    bool removed = false;
    /// For the user, where nothing was removed since other packages need this one, or since the package
    /// can't be removed from a device like this. Absent after any other failure.
    std::optional<std::string> errorText;
};

/// Removes the package that the node is named after, its configuration files kept, if a dry run with the
/// user's rights succeeds; the removal itself has root's. Blocks until the tool has ended. Does not change
/// the tree.
[[nodiscard]] PackageDeletion dpkgDeleteWithErrorString(const SZANode &node, Deletion &deletion);

} // namespace slicewise
