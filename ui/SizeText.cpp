#include "ui/SizeText.h"

#include <fmt/format.h>

#include <array>
#include <clocale>
#include <string_view>

namespace slicewise {

namespace {

constexpr double kStep = 1024.0;
constexpr std::array<std::string_view, 9> kUnits = {"", "k", "M", "G", "T", "P", "E", "Z", "Y"};

std::string withOneFractionDigit(double value)
{
    // Exact halves go to the even digit: the formatter rounds the value that the double really has.
    std::string text = fmt::format("{:.1f}", value);
    if (text.ends_with(".0")) {
        text.resize(text.size() - 2);
        return text;
    }
    const std::lconv *locale = std::localeconv(); // NOLINT(concurrency-mt-unsafe): the locale is set at start
    text.replace(text.size() - 2, 1, locale->decimal_point);
    return text;
}

} // namespace

std::string sizeTextForBytes(std::uint64_t bytes)
{
    auto value = static_cast<double>(bytes);
    std::size_t unit = 0;
    while (value >= kStep && unit + 1 < kUnits.size()) {
        value /= kStep;
        ++unit;
    }
    return fmt::format("{} {}B", withOneFractionDigit(value), kUnits[unit]);
}

} // namespace slicewise
