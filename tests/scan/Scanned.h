// A scan, and all that it leaves behind, for tests to look at.
#pragma once

#include "platform/Device.h"
#include "platform/Log.h"
#include "scan/ScanEngine.h"

#include <array>
#include <memory>
#include <string>
#include <vector>

namespace slicewise {

/// Every number of readers that the tests are run with.
inline constexpr std::array kReaderCounts = {0U, 1U, 2U, 4U, 8U};

struct Scanned {
    std::unique_ptr<SZANode> root;
    ScanReport report;
    std::vector<std::string> classifierLines; ///< of the log, in order: those about classifiers
    std::vector<std::string> addingLines;     ///< and those of the thread that adds files

    /// Tree and report in one text.
    [[nodiscard]] std::string text() const;
};

Scanned scan(const Device &device, const ScanOptions &options = {}, const std::string &rootPath = "/");

/// One line for each thing in the report, its first the counts.
[[nodiscard]] std::string reportText(const ScanReport &report);

/// "why path (type)" of each directory that was not entered, in order.
[[nodiscard]] std::vector<std::string> notEntered(const ScanReport &report);
/// "directory path: errno" or "file path: errno" of each failure, in order.
[[nodiscard]] std::vector<std::string> failures(const ScanReport &report);

/// Paths of all files in the tree, in the order in which a walk of the tree by insertion meets them; a file
/// that another one replaced on its leaf is missing.
[[nodiscard]] std::vector<std::string> filesInTree(SZANode &root);

} // namespace slicewise
