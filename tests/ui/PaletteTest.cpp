#include "ui/Palette.h"

#include <gtest/gtest.h>

#include <array>

namespace slicewise {
namespace {

TEST(Palette, hasNineColoursInTheirOrder)
{
    const std::array<PaletteColor, 9> expected = {{{1, 85, 255},
                                                   {96, 208, 48},
                                                   {231, 40, 40},
                                                   {253, 188, 19},
                                                   {217, 71, 158},
                                                   {38, 224, 187},
                                                   {162, 216, 52},
                                                   {242, 114, 30},
                                                   {210, 46, 208}}};
    ASSERT_EQ(kPalette.size(), expected.size());
    for (std::size_t i = 0; i < kPalette.size(); ++i) {
        EXPECT_EQ(kPalette[i], expected.at(i)) << i;
    }
    EXPECT_EQ(kNeutralGrey, (PaletteColor{240, 240, 240}));
}

TEST(Palette, theEightLargestRowsAreColouredAndTheOthersGrey)
{
    for (std::size_t row = 0; row < 8; ++row) {
        EXPECT_EQ(colorOfRow(row), kPalette[row]) << row;
    }
    EXPECT_EQ(colorOfRow(8), kNeutralGrey);
    EXPECT_EQ(colorOfRow(9), kNeutralGrey);
    EXPECT_EQ(colorOfRow(100'000), kNeutralGrey);
}

} // namespace
} // namespace slicewise
