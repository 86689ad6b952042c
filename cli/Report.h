// The report for people: one level of the tree, or some, as a table with bars.
//
// A headline, a row for each child in display order, closing lines. Fits the terminal's width, whatever the
// names are; names never reach it raw.
#pragma once

#include "cli/Arguments.h"
#include "cli/Output.h"
#include "cli/Terminal.h"
#include "scan/SZANode.h"
#include "scan/ScanReport.h"

#include <vector>

namespace slicewise {

struct ScanResult {
    std::vector<SZANode *> shown; ///< borrowed: from the root to the node that --path names
    ScanReport report;
    double seconds = 0;
    bool asRoot = false; ///< the scan had every right there is
};

void writeReport(const ScanResult &result, const ScanArguments &arguments, const Terminal &terminal,
                 Output &output);

/// What could not be read and what was passed by, a line each.
void writeErrors(const ScanReport &report, Output &output);

} // namespace slicewise
