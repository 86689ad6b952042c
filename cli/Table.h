// The rows of the report: swatch, name, bar, size and share, in columns that fit the terminal.
//
// A level's children stand in display order, each level of --depth below its parent and indented. The colours
// are those of the slices; bars are drawn in eighths of a column, the longest for the largest row.
#pragma once

#include "cli/Arguments.h"
#include "cli/Output.h"
#include "cli/Terminal.h"
#include "scan/SZANode.h"

namespace slicewise {

/// Writes the rows below `shown`; false where there are none.
bool writeTable(const SZANode &shown, const ScanArguments &arguments, const Terminal &terminal,
                Output &output);

} // namespace slicewise
