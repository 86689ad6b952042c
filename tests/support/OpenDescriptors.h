// Which descriptors this process has open: to show that none is left behind.
#pragma once

#include <set>

namespace slicewise {

/// But for the one that looking takes.
[[nodiscard]] std::set<int> openDescriptors();

} // namespace slicewise
