// The nine colours of slices and rows, and the grey of everything beyond them. Numbers only: each face
// makes its own kind of colour of them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace slicewise {

struct PaletteColor {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;

    friend bool operator==(const PaletteColor &, const PaletteColor &) = default;
};

inline constexpr std::array<PaletteColor, 9> kPalette = {{
    {.red = 1, .green = 85, .blue = 255},
    {.red = 96, .green = 208, .blue = 48},
    {.red = 231, .green = 40, .blue = 40},
    {.red = 253, .green = 188, .blue = 19},
    {.red = 217, .green = 71, .blue = 158},
    {.red = 38, .green = 224, .blue = 187},
    {.red = 162, .green = 216, .blue = 52},
    {.red = 242, .green = 114, .blue = 30},
    {.red = 210, .green = 46, .blue = 208},
}};
inline constexpr PaletteColor kNeutralGrey = {.red = 240, .green = 240, .blue = 240};

/// The colour of a row after a scan: the palette's for the eight largest, grey for the rest.
[[nodiscard]] constexpr PaletteColor colorOfRow(std::size_t row)
{
    constexpr std::size_t kColouredRows = 8;
    return row < kColouredRows ? kPalette[row] : kNeutralGrey;
}

} // namespace slicewise
