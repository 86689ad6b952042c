// What the kernel does with mounts, in the slowest and plainest way: the measure for what is faster.
#pragma once

#include "platform/MountTable.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace slicewise {

/// The id of the mount that a walk from "/" to the path ends on. At each name it steps onto whatever is
/// mounted there on the mount that it has come to, again and again. Not so at "/" itself: a process stays on
/// the mount that its root lies on, here `bottom`. The lines' ids differ, and none hangs on itself by any
/// way.
[[nodiscard]] std::uint64_t mountReached(const std::vector<MountLine> &all, std::uint64_t bottom,
                                         std::string_view path);

/// The line as the kernel writes it.
[[nodiscard]] std::string mountTableLine(const MountLine &line);

} // namespace slicewise
