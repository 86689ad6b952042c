// "slicewise-cli delete": deletes what category paths stand for, after having asked.
#pragma once

#include "cli/Arguments.h"
#include "cli/Output.h"
#include "platform/Privileges.h"

namespace slicewise {

/// 0 where everything that was asked for is deleted (of a dry run: could be), 1 otherwise. One argument's
/// failure does not keep the others from being done. Root's rights are held during removals only.
int runDelete(const DeleteArguments &arguments, const Privileges &privileges, Output &output);

} // namespace slicewise
