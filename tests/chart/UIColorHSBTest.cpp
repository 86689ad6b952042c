#include "chart/UIColorHSB.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <random>

namespace slicewise {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kClose = 1e-12;

struct HSBA {
    double hue = -7;
    double saturation = -7;
    double brightness = -7;
    double alpha = -7;
};

HSBA read(const UIColor &color)
{
    HSBA result;
    EXPECT_TRUE(getHueSaturationBrightnessAlpha(color, &result.hue, &result.saturation, &result.brightness,
                                                &result.alpha));
    return result;
}

UIColor hsb(double hue, double saturation, double brightness, double alpha = 1)
{
    return colorWithHueSaturationBrightnessAlpha(hue, saturation, brightness, alpha);
}

void expectNear(const UIColor &actual, const UIColor &expected, double difference)
{
    EXPECT_NEAR(actual.red, expected.red, difference);
    EXPECT_NEAR(actual.green, expected.green, difference);
    EXPECT_NEAR(actual.blue, expected.blue, difference);
    EXPECT_NEAR(actual.alpha, expected.alpha, difference);
}

TEST(HSB, makesThePureColoursAndWhatLiesBetweenThem)
{
    const std::array<UIColor, 12> wheel = {{{.red = 1, .green = 0, .blue = 0},
                                            {.red = 1, .green = 0.5, .blue = 0},
                                            {.red = 1, .green = 1, .blue = 0},
                                            {.red = 0.5, .green = 1, .blue = 0},
                                            {.red = 0, .green = 1, .blue = 0},
                                            {.red = 0, .green = 1, .blue = 0.5},
                                            {.red = 0, .green = 1, .blue = 1},
                                            {.red = 0, .green = 0.5, .blue = 1},
                                            {.red = 0, .green = 0, .blue = 1},
                                            {.red = 0.5, .green = 0, .blue = 1},
                                            {.red = 1, .green = 0, .blue = 1},
                                            {.red = 1, .green = 0, .blue = 0.5}}};
    for (std::size_t i = 0; i < wheel.size(); ++i) {
        const double hue = static_cast<double>(i) / 12;
        expectNear(hsb(hue, 1, 1), wheel.at(i), kClose);
        EXPECT_NEAR(read(wheel.at(i)).hue, hue, kClose) << i;
    }
    expectNear(hsb(1, 1, 1), wheel.front(), kClose);
}

TEST(HSB, withoutSaturationIsGreyAndWithoutBrightnessBlack)
{
    EXPECT_EQ(hsb(0.3, 0, 0.7), (UIColor{.red = 0.7, .green = 0.7, .blue = 0.7}));
    EXPECT_EQ(hsb(0.3, 0.9, 0), (UIColor{.red = 0, .green = 0, .blue = 0}));
}

TEST(HSB, aPaleColourIsAsBrightAsItsStrongestChannel)
{
    expectNear(hsb(0, 0.3, 0.91), {.red = 0.91, .green = 0.637, .blue = 0.637}, kClose);
    expectNear(hsb(0.5, 0.5, 0.8, 0.25), {.red = 0.4, .green = 0.8, .blue = 0.8, .alpha = 0.25}, kClose);
}

TEST(HSB, limitsWhatItIsGiven)
{
    EXPECT_EQ(hsb(-0.5, 2, 3, 4), hsb(0, 1, 1, 1));
    EXPECT_EQ(hsb(7, -2, -3, -4), hsb(1, 0, 0, 0));
    EXPECT_EQ(hsb(kNaN, kNaN, 0.5, kNaN), hsb(0, 0, 0.5, 0));
    EXPECT_EQ(hsb(0.5, 0.5, kNaN), hsb(0.5, 0.5, 0));
    EXPECT_EQ(hsb(std::numeric_limits<double>::infinity(), 1, 1), hsb(1, 1, 1));
}

TEST(HSB, aGreyHasNoHueAndNoSaturation)
{
    for (const double brightness : {0.0, 0.3, 1.0}) {
        const HSBA grey = read({.red = brightness, .green = brightness, .blue = brightness, .alpha = 0.4});
        EXPECT_EQ(grey.hue, 0);
        EXPECT_EQ(grey.saturation, 0);
        EXPECT_EQ(grey.brightness, brightness);
        EXPECT_EQ(grey.alpha, 0.4);
    }
}

TEST(HSB, aHueNeverIsAWholeTurn)
{
    EXPECT_EQ(read({.red = 1, .green = 0, .blue = 0}).hue, 0);
    // So little blue that the turn without it and with it are the same number.
    const double hue = read({.red = 1, .green = 0, .blue = 1e-300}).hue;
    EXPECT_LT(hue, 1);
    EXPECT_GT(hue, 0.999);
}

TEST(HSB, eachPlaceToWriteToMayBeMissing)
{
    const UIColor color = {.red = 0.2, .green = 0.4, .blue = 0.6, .alpha = 0.8};
    const HSBA all = read(color);
    double value = -7;
    EXPECT_TRUE(getHueSaturationBrightnessAlpha(color, &value, nullptr, nullptr, nullptr));
    EXPECT_EQ(value, all.hue);
    EXPECT_TRUE(getHueSaturationBrightnessAlpha(color, nullptr, &value, nullptr, nullptr));
    EXPECT_EQ(value, all.saturation);
    EXPECT_TRUE(getHueSaturationBrightnessAlpha(color, nullptr, nullptr, &value, nullptr));
    EXPECT_EQ(value, all.brightness);
    EXPECT_TRUE(getHueSaturationBrightnessAlpha(color, nullptr, nullptr, nullptr, &value));
    EXPECT_EQ(value, all.alpha);
    EXPECT_TRUE(getHueSaturationBrightnessAlpha(color, nullptr, nullptr, nullptr, nullptr));
}

TEST(HSB, whatIsMadeOfWhatWasReadIsTheSameColour)
{
    std::mt19937 random(20'240'301);
    std::uniform_real_distribution<double> fraction(0, 1);
    for (int i = 0; i < 100'000; ++i) {
        const UIColor color = {.red = fraction(random),
                               .green = fraction(random),
                               .blue = fraction(random),
                               .alpha = fraction(random)};
        const HSBA hsba = read(color);
        ASSERT_GE(hsba.hue, 0);
        ASSERT_LT(hsba.hue, 1);
        expectNear(hsb(hsba.hue, hsba.saturation, hsba.brightness, hsba.alpha), color, 1e-9);
        ASSERT_FALSE(HasFailure()) << i;
    }
}

TEST(HSB, aDarkerColourKeepsItsHueAndSaturation)
{
    const HSBA slice = read({.red = 0.91, .green = 0.5, .blue = 0.2});
    const HSBA outline = read(hsb(slice.hue, slice.saturation, slice.brightness * 0.8));
    EXPECT_NEAR(outline.hue, slice.hue, kClose);
    EXPECT_NEAR(outline.saturation, slice.saturation, kClose);
    EXPECT_NEAR(outline.brightness, slice.brightness * 0.8, kClose);
}

} // namespace
} // namespace slicewise
