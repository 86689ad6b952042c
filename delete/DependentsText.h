// What the user is told where a package is needed by others. Any thread.
#pragma once

#include <string>
#include <string_view>

namespace slicewise {

/// "bar is required by libfoo and tool", from what the package tool says in a dry run that fails: a line
/// "libfoo depends on bar (>= 1.0)." for each package that needs this one. Of more than four the others are
/// not named. Where no line says so, nothing follows the "by ".
[[nodiscard]] std::string dependentsText(std::string_view package, std::string_view output);

} // namespace slicewise
