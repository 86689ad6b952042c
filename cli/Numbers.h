// Counts and errors as text.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace slicewise {

/// The digits, in groups of three where the locale has a separator for them.
[[nodiscard]] std::string grouped(std::uint64_t number);

/// "1 file", "12 files".
[[nodiscard]] std::string counted(std::uint64_t number, std::string_view one, std::string_view many);

/// What the system says of an errno.
[[nodiscard]] std::string errorText(int error);

} // namespace slicewise
