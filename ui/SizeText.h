// Byte counts as people read them. Any thread that does not change the locale meanwhile.
#pragma once

#include <cstdint>
#include <string>

namespace slicewise {

/// A number with at most one fraction digit, a blank, and the unit: "512 B", "1.5 kB", "12.3 GB". Steps are
/// of 1024; the k is lower case. The decimal separator is the current locale's. Halves go to the even digit,
/// and what rounds up to 1024 stays in its unit: 1048575 is "1024 kB".
[[nodiscard]] std::string sizeTextForBytes(std::uint64_t bytes);

} // namespace slicewise
