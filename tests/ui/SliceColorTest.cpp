#include "ui/SliceColor.h"

#include "chart/UIColorHSL.h"
#include "ui/Palette.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace slicewise {
namespace {

constexpr std::uint64_t kHuge = std::numeric_limits<std::uint64_t>::max();

struct HSL {
    double hue = -7;
    double saturation = -7;
    double lightness = -7;
};

HSL read(const UIColor &color)
{
    HSL result;
    getHueSaturationLightnessAlpha(color, &result.hue, &result.saturation, &result.lightness, nullptr);
    return result;
}

UIColor duringTheScan(std::size_t slice, const std::vector<std::uint64_t> &indexes = {})
{
    return colorForSliceAtIndex(slice, DoneScan::No, indexes);
}

UIColor afterTheScan(std::size_t slice, const std::vector<std::uint64_t> &indexes = {})
{
    return colorForSliceAtIndex(slice, DoneScan::Yes, indexes);
}

/// What is expected of a slice whose place is behind the palette.
void expectPaler(const UIColor &actual, std::int64_t paletteIndex, double divisor)
{
    const HSL strong = read(colorByPaletteIndex(paletteIndex));
    const HSL pale = read(actual);
    EXPECT_NEAR(pale.hue, strong.hue, 1e-9);
    EXPECT_NEAR(pale.saturation, strong.saturation / divisor, 1e-9);
    EXPECT_NEAR(pale.lightness, strong.lightness, 1e-12);
    EXPECT_EQ(actual.alpha, 1);
}

TEST(SliceColor, thePaletteIsKeptInSinglePrecision)
{
    EXPECT_EQ(colorByPaletteIndex(0).red, static_cast<double>(0.003921569F));
    EXPECT_NE(colorByPaletteIndex(0).red, 1.0 / 255);
    for (std::size_t i = 0; i < kPalette.size(); ++i) {
        const UIColor color = colorByPaletteIndex(static_cast<std::int64_t>(i));
        EXPECT_EQ(color.red, static_cast<double>(static_cast<float>(kPalette.at(i).red / 255.0)));
        EXPECT_EQ(color.green, static_cast<double>(static_cast<float>(kPalette.at(i).green / 255.0)));
        EXPECT_EQ(color.blue, static_cast<double>(static_cast<float>(kPalette.at(i).blue / 255.0)));
        EXPECT_EQ(color.alpha, 1);
    }
}

TEST(SliceColor, whatThePaletteDoesNotHaveIsTheNeutralGrey)
{
    const auto level = static_cast<double>(static_cast<float>(240 / 255.0));
    const UIColor grey = {.red = level, .green = level, .blue = level, .alpha = 1};
    EXPECT_EQ(colorByPaletteIndex(-1), grey);
    EXPECT_EQ(colorByPaletteIndex(9), grey);
    EXPECT_EQ(colorByPaletteIndex(std::numeric_limits<std::int64_t>::min()), grey);
    EXPECT_EQ(colorByPaletteIndex(std::numeric_limits<std::int64_t>::max()), grey);
    EXPECT_NE(colorByPaletteIndex(8), grey);
}

TEST(SliceColor, afterTheScanEightSlicesHaveThePalettesColoursAndTheRestIsGrey)
{
    for (std::size_t slice = 0; slice < 8; ++slice) {
        EXPECT_EQ(afterTheScan(slice), colorByPaletteIndex(static_cast<std::int64_t>(slice))) << slice;
    }
    for (const std::size_t slice : {std::size_t{8}, std::size_t{9}, std::size_t{16}, std::size_t{kHuge}}) {
        EXPECT_EQ(afterTheScan(slice), colorByPaletteIndex(-1)) << slice;
    }
}

TEST(SliceColor, afterTheScanThePlacesOfTheNodesDoNotMatter)
{
    EXPECT_EQ(afterTheScan(0, {5, 4, 3}), colorByPaletteIndex(0));
    EXPECT_EQ(afterTheScan(2, {5, 4, 30}), colorByPaletteIndex(2));
}

TEST(SliceColor, afterTheScanASliceHasTheColourOfItsRow)
{
    for (std::size_t row = 0; row < 20; ++row) {
        const PaletteColor expected = colorOfRow(row);
        const UIColor color = afterTheScan(row);
        EXPECT_EQ(color.red, static_cast<double>(static_cast<float>(expected.red / 255.0))) << row;
        EXPECT_EQ(color.green, static_cast<double>(static_cast<float>(expected.green / 255.0))) << row;
        EXPECT_EQ(color.blue, static_cast<double>(static_cast<float>(expected.blue / 255.0))) << row;
    }
}

TEST(SliceColor, duringTheScanACategoryKeepsItsColourWhereverItsSliceIs)
{
    for (std::uint64_t place = 0; place < 30; ++place) {
        const UIColor first = duringTheScan(0, {place, 99});
        EXPECT_EQ(duringTheScan(1, {99, place}), first) << place;
        EXPECT_EQ(duringTheScan(7, {0, 0, 0, 0, 0, 0, 0, place}), first) << place;
    }
    EXPECT_EQ(duringTheScan(0, {3}), colorByPaletteIndex(3));
}

TEST(SliceColor, duringTheScanASliceWithoutANodeCountsByItsOwnPlace)
{
    EXPECT_EQ(duringTheScan(2, {7, 6}), colorByPaletteIndex(2));
    EXPECT_EQ(duringTheScan(2, {7, 6, 5}), colorByPaletteIndex(5));
    EXPECT_EQ(duringTheScan(0), colorByPaletteIndex(0));
    expectPaler(duringTheScan(10, {7}), 2, 2);
}

TEST(SliceColor, duringTheScanTheNinthPlaceHasTheNinthColour)
{
    EXPECT_EQ(duringTheScan(0, {8}), colorByPaletteIndex(8));
    EXPECT_EQ(duringTheScan(8), colorByPaletteIndex(8));
}

TEST(SliceColor, duringTheScanThePlacesBehindTheNinthArePaler)
{
    expectPaler(duringTheScan(0, {9}), 1, 2);
    expectPaler(duringTheScan(0, {10}), 2, 2);
    expectPaler(duringTheScan(0, {15}), 7, 2);
    expectPaler(duringTheScan(0, {16}), 0, 4);
    expectPaler(duringTheScan(0, {23}), 7, 4);
    expectPaler(duringTheScan(0, {24}), 0, 8);
    expectPaler(duringTheScan(23), 7, 4);
}

TEST(SliceColor, theTwentyFourSlicesOfAScanAllDiffer)
{
    std::vector<UIColor> colours;
    for (std::size_t slice = 0; slice < 24; ++slice) {
        const UIColor color = duringTheScan(slice);
        for (const UIColor &other : colours) {
            EXPECT_NE(color, other) << slice;
        }
        colours.push_back(color);
    }
}

TEST(SliceColor, aPlaceFarBehindIsAGreyAsLightAsItsColour)
{
    const UIColor grey = duringTheScan(0, {kHuge});
    const double lightness = read(colorByPaletteIndex(7)).lightness;
    EXPECT_EQ(grey, (UIColor{.red = lightness, .green = lightness, .blue = lightness, .alpha = 1}));
}

} // namespace
} // namespace slicewise
