// The strategies that delete what a node stands for, but for packages.
//
// Each returns true when it has succeeded. A failure is only that: what is known of it goes to the log. What
// could be removed is gone then, the rest is there, and another try after a fresh scan finishes the job. None
// changes the tree; the caller does, after success. They block until done; root's rights are held around the
// single removals of files and around nothing else.
#pragma once

#include "delete/Deletion.h"
#include "scan/SZANode.h"

#include <string_view>

namespace slicewise {

/// Removes the node's file; of a node without a file the files of all its descendants, every one of them
/// tried. Directories that this empties stay. A node with neither is deleted by doing nothing.
bool regularDelete(const SZANode &node, Deletion &deletion);

/// Removes the directory that holds the node's file, with everything in it: an attachment has one of its own.
/// A node without a file ends the process.
bool parentDelete(const SZANode &node, Deletion &deletion);

/// Where a device keeps what its owner has put there; the paths in its photo database are relative to it.
inline constexpr std::string_view kMediaDirectory = "/private/var/mobile/Media/";

/// Deletes a photo through the photo library, or as a file where the library does not know it. A node whose
/// file does not lie in kMediaDirectory ends the process.
bool assetDelete(const SZANode &node, Deletion &deletion);

/// The same by the file's path below kMediaDirectory. Waits for the library without a limit, so never on a
/// thread that the library needs.
bool deletePhotoAssetAtMediaPath(std::string_view relativePath, Deletion &deletion);

/// Uninstalls the application whose bundle, a name that ends in ".app", is among the node's children.
bool appDelete(const SZANode &node, Deletion &deletion);

} // namespace slicewise
