#include "chart/QtColor.h"

#include <gtest/gtest.h>

#include <limits>

namespace slicewise {
namespace {

TEST(QtColor, eightBitColoursGoThereAndBackUnchanged)
{
    for (int i = 0; i < 256; ++i) {
        const QColor there =
            toQColor({.red = i / 255.0, .green = 1 - i / 255.0, .blue = 0.2, .alpha = i / 255.0});
        EXPECT_EQ(there.red(), i);
        EXPECT_EQ(there.green(), 255 - i);
        EXPECT_EQ(there.blue(), 51);
        EXPECT_EQ(there.alpha(), i);
        EXPECT_EQ(toQColor(fromQColor(there)), there);
    }
}

TEST(QtColor, limitsWhatQtRefuses)
{
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(toQColor({.red = 2, .green = -1, .blue = kNaN, .alpha = kInfinity}), QColor(255, 0, 0, 255));
    EXPECT_EQ(toQColor({.red = -kInfinity, .green = 1, .blue = 1, .alpha = kNaN}), QColor(0, 255, 255, 0));
}

TEST(QtColor, readsColoursOfOtherModels)
{
    EXPECT_EQ(fromQColor(QColor::fromHsvF(0, 1, 1)), (UIColor{.red = 1, .green = 0, .blue = 0, .alpha = 1}));
    EXPECT_EQ(fromQColor(QColor()), (UIColor{.red = 0, .green = 0, .blue = 0, .alpha = 1}));
}

} // namespace
} // namespace slicewise
