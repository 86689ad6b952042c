// What a file is by its name, as far as it matters for showing it. Nothing is read. Pure functions: any
// thread.
#pragma once

#include <cstdint>
#include <string_view>

namespace slicewise {

enum class FileKind : std::uint8_t {
    Text,
    Image,
    Audio,
    Video,
    Pdf,
    Other, ///< nothing that could be shown
};

/// By the extension of the path's last name, in small or capital letters.
[[nodiscard]] FileKind fileKindOf(std::string_view path);

} // namespace slicewise
