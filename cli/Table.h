// The rows of the report: swatch, name, bar, size, share and mark, in columns that fit the terminal.
//
// A level's children stand in display order, each level of --depth below its parent and indented. The colours
// are those of the slices; bars are drawn in eighths of a column, the longest for the largest row.
#pragma once

#include "cli/Arguments.h"
#include "cli/Output.h"
#include "cli/Terminal.h"
#include "scan/SZANode.h"

#include <string_view>
#include <vector>

namespace slicewise {

/// Stands behind a row that may be deleted.
inline constexpr std::string_view kDeletableMark = "\xC3\x97"; // U+00D7

struct TableContent {
    bool anyRows = false;
    bool anyDeletable = false;
};
/// Writes the rows below the last node of the path.
TableContent writeTable(const std::vector<SZANode *> &path, const ScanArguments &arguments,
                        const Terminal &terminal, Output &output);

} // namespace slicewise
