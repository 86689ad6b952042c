// The report for programs: the tree as one JSON object; docs/formats.md has its shape.
#pragma once

#include "cli/Arguments.h"
#include "cli/Output.h"
#include "cli/Report.h"

namespace slicewise {

/// Streams the object and a newline; nothing of the tree is held twice.
void writeJson(const ScanResult &result, const ScanArguments &arguments, Output &output);

} // namespace slicewise
