// The descriptors that a process was started with and does not know.
#pragma once

namespace slicewise {

/// Closes every descriptor above that of standard error. Safe between fork and exec.
void closeAllButStandardStreams();

} // namespace slicewise
