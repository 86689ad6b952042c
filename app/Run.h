// From the command line to the end of the process.
#pragma once

#include "app/Options.h"
#include "platform/Privileges.h"

#include <string>

namespace slicewise {

/// Shows the window until it is closed, or draws it for a snapshot; tells on standard error why it can't. The
/// exit status: nothing is to be taken apart any more, since a tree of millions of nodes takes longer to free
/// than anybody wants to wait. The event loop runs on the calling thread, once in a process.
[[nodiscard]] int runApplication(const Options &options, Privileges &privileges,
                                 const std::string &programName);

} // namespace slicewise
