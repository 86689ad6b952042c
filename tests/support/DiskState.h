// What is on a disk, to see that nothing has changed it.
#pragma once

#include <map>
#include <string>

namespace slicewise {

/// Every name below a directory of the host, itself included, with what it is, its size, and when it was
/// changed, in nanoseconds. Throws std::system_error.
[[nodiscard]] std::map<std::string, std::string> diskState(const std::string &hostDirectory);

} // namespace slicewise
