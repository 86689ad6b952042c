// What slicewise-cli does, each with its exit status: 0 done, 1 could not do it.
#pragma once

#include "cli/Arguments.h"
#include "cli/Output.h"

#include <string_view>

namespace slicewise {

int runScan(const ScanArguments &arguments, Output &output);
int runClassify(const ClassifyArguments &arguments, Output &output);

/// One sentence on standard error, under the program's name.
void tell(std::string_view sentence);

/// Tells what went wrong with standard output, if anything did, and gives the status to end with.
int statusAfterWriting(const Output &output, int status);

} // namespace slicewise
