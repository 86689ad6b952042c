#include "ui/SliceColor.h"

#include "chart/UIColorHSL.h"
#include "ui/Palette.h"

#include <cmath>

namespace slicewise {

namespace {

constexpr std::uint64_t kColoursThatRepeat = 8;

double singlePrecisionFraction(std::uint8_t channel)
{
    return static_cast<double>(static_cast<float>(channel) / 255.0F);
}

UIColor halvedSaturation(const UIColor &color, std::uint64_t times)
{
    double hue = 0;
    double saturation = 0;
    double lightness = 0;
    getHueSaturationLightnessAlpha(color, &hue, &saturation, &lightness, nullptr);
    return colorWithHueSaturationLightnessAlpha(hue, saturation / std::exp2(static_cast<double>(times)),
                                                lightness, 1);
}

} // namespace

UIColor colorByPaletteIndex(std::int64_t index)
{
    const bool isThere = index >= 0 && static_cast<std::uint64_t>(index) < kPalette.size();
    const PaletteColor color = isThere ? kPalette[static_cast<std::size_t>(index)] : kNeutralGrey;
    return {.red = singlePrecisionFraction(color.red),
            .green = singlePrecisionFraction(color.green),
            .blue = singlePrecisionFraction(color.blue),
            .alpha = 1};
}

UIColor colorForSliceAtIndex(std::size_t slice, DoneScan doneScan,
                             std::span<const std::uint64_t> indexesOfCurrentNodes)
{
    if (doneScan == DoneScan::Yes) {
        // One less than the palette has: the ninth slice stands for all that is left.
        return colorByPaletteIndex(slice < kColoursThatRepeat ? static_cast<std::int64_t>(slice) : -1);
    }
    const std::uint64_t place = slice < indexesOfCurrentNodes.size() ? indexesOfCurrentNodes[slice] : slice;
    if (place < kPalette.size()) {
        return colorByPaletteIndex(static_cast<std::int64_t>(place));
    }
    return halvedSaturation(colorByPaletteIndex(static_cast<std::int64_t>(place % kColoursThatRepeat)),
                            place / kColoursThatRepeat);
}

} // namespace slicewise
