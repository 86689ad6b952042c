// The three descriptors that every program expects to be open.
#pragma once

namespace slicewise {

/// Opens /dev/null in the place of each standard descriptor that the caller had closed, so that no file
/// opened later is mistaken for it. Returns whether standard output was open. At start, before any thread.
bool reserveStandardDescriptors();

} // namespace slicewise
