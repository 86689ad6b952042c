#include "chart/NumberText.h"

#include <array>
#include <charconv>

namespace slicewise {

QString fixedText(double number, int decimals)
{
    // The largest number has 309 digits before its point.
    std::array<char, 400> buffer{};
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number,
                                      std::chars_format::fixed, decimals);
    return QString::fromLatin1(buffer.data(), result.ptr - buffer.data());
}

} // namespace slicewise
