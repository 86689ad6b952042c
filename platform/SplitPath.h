// A path in two: the directory and the name in it. Any thread.
#pragma once

#include <string_view>

namespace slicewise {

struct SplitPath {
    std::string_view directory; ///< before the last "/"; empty for what lies in the root
    std::string_view name;      ///< behind it
};

[[nodiscard]] inline SplitPath splitPath(std::string_view path)
{
    const std::size_t slash = path.rfind('/');
    if (slash == std::string_view::npos) {
        return {.directory = {}, .name = path};
    }
    return {.directory = path.substr(0, slash), .name = path.substr(slash + 1)};
}

} // namespace slicewise
