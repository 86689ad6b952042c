// The scan as one would write it without a thought for speed: the measure for the engine in scan/.
//
// One thread, paths as texts, every classifier asked about every file, a map of children in every node. It
// shares nothing with the engine but the classifiers' interface and the log, so that a mistake in the one is
// not one in the other. Paths on the host have to fit into PATH_MAX; links, mounts and file systems mean
// nothing to it.
#pragma once

#include "platform/Log.h"
#include "scan/Classifier.h"
#include "scan/SZANode.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace slicewise {

/// A node of the obvious tree. Shared, so that one that was detached can still be looked at.
struct NaiveNode {
    std::map<std::string, std::shared_ptr<NaiveNode>> children;
    std::uint64_t sizeBytes = 0;
    std::uint64_t index = 0;
    std::optional<std::string> filename;
};

/// What SZANode::addNodeForFile() does, by plain recursion; the size is given.
std::uint64_t naiveAdd(NaiveNode &node, const std::string &categoryPath, const std::string &file,
                       std::uint64_t sizeBytes);

/// What SZANode::removeNodeAffectedNodes() does; false where the child is not stored exactly once.
bool naiveRemove(NaiveNode &node, const NaiveNode *child, std::span<NaiveNode *const> affected);

/// The children as shown: by size, the largest first, or by insertion; equal ones by insertion, then by name.
std::vector<std::string> naiveOrderBySize(const NaiveNode &node);
std::vector<std::string> naiveOrderByIndex(const NaiveNode &node);

/// The scan of a whole tree, `hostRoot` standing for "/".
struct NaiveScan {
    NaiveNode root;
    std::uint64_t filesInTree = 0;
    std::uint64_t directories = 0;               ///< that could be opened
    std::vector<std::string> directoriesInOrder; ///< in which they were walked
};

/// Scans `rootPath` (a device path). Logs what the engine logs about classifiers and insertion.
NaiveScan naiveScan(const std::string &hostRoot, const std::string &rootPath, const ClassifierChain &chain,
                    Log &log);

/// Where the two trees first differ, in a sentence; absent where they are the same in every name, size,
/// index, file name and both orders of every node's children. The roots' names are not looked at. Changes
/// and restores sort().
std::optional<std::string> differenceBetween(const NaiveNode &naive, SZANode &fast);

} // namespace slicewise
