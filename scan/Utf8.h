// Whether bytes are text.
#pragma once

#include <string_view>

namespace slicewise {

/// Whether the bytes are well-formed UTF-8, as Unicode defines it. Any thread.
[[nodiscard]] bool isUtf8(std::string_view bytes);

} // namespace slicewise
