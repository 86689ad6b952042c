#include "chart/UIColorHSL.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace slicewise {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kClose = 1e-12;

struct HSLA {
    double hue = -7;
    double saturation = -7;
    double lightness = -7;
    double alpha = -7;
};

HSLA read(const UIColor &color)
{
    HSLA result;
    EXPECT_TRUE(getHueSaturationLightnessAlpha(color, &result.hue, &result.saturation, &result.lightness,
                                               &result.alpha));
    return result;
}

void expectNear(const UIColor &actual, const UIColor &expected, double difference)
{
    EXPECT_NEAR(actual.red, expected.red, difference);
    EXPECT_NEAR(actual.green, expected.green, difference);
    EXPECT_NEAR(actual.blue, expected.blue, difference);
    EXPECT_NEAR(actual.alpha, expected.alpha, difference);
}

UIColor hsl(double hue, double saturation, double lightness, double alpha = 1)
{
    return colorWithHueSaturationLightnessAlpha(hue, saturation, lightness, alpha);
}

TEST(HSL, makesThePureColoursAndWhatLiesBetweenThem)
{
    expectNear(hsl(0, 1, 0.5), {.red = 1, .green = 0, .blue = 0}, kClose);
    expectNear(hsl(1.0 / 6, 1, 0.5), {.red = 1, .green = 1, .blue = 0}, kClose);
    expectNear(hsl(1.0 / 3, 1, 0.5), {.red = 0, .green = 1, .blue = 0}, kClose);
    expectNear(hsl(0.5, 1, 0.5), {.red = 0, .green = 1, .blue = 1}, kClose);
    expectNear(hsl(2.0 / 3, 1, 0.5), {.red = 0, .green = 0, .blue = 1}, kClose);
    expectNear(hsl(5.0 / 6, 1, 0.5), {.red = 1, .green = 0, .blue = 1}, kClose);
    expectNear(hsl(1, 1, 0.5), {.red = 1, .green = 0, .blue = 0}, kClose);
}

TEST(HSL, pureRedIsExact)
{
    EXPECT_EQ(hsl(0, 1, 0.5), (UIColor{.red = 1, .green = 0, .blue = 0, .alpha = 1}));
}

TEST(HSL, withoutSaturationIsTheGreyOfTheLightness)
{
    for (const double lightness : {0.0, 0.25, 0.5, 1.0, 1.5, -0.5}) {
        EXPECT_EQ(hsl(0.7, 0, lightness, 0.3),
                  (UIColor{.red = lightness, .green = lightness, .blue = lightness, .alpha = 0.3}));
    }
    EXPECT_EQ(hsl(0.7, -0.0, 0.25), (UIColor{.red = 0.25, .green = 0.25, .blue = 0.25}));
}

TEST(HSL, lightAndDarkColoursGrowTowardsWhiteAndBlack)
{
    // q = 0.25 * 1.5 and p = 0.5 - q; q = 0.75 + 0.5 - 0.375 and p = 1.5 - q.
    expectNear(hsl(0, 0.5, 0.25), {.red = 0.375, .green = 0.125, .blue = 0.125}, kClose);
    expectNear(hsl(0, 0.5, 0.75), {.red = 0.875, .green = 0.625, .blue = 0.625}, kClose);
    expectNear(hsl(0.3, 1, 0), {.red = 0, .green = 0, .blue = 0}, kClose);
    expectNear(hsl(0.3, 1, 1), {.red = 1, .green = 1, .blue = 1}, kClose);
}

TEST(HSL, keepsAlphaAsItIs)
{
    for (const double alpha : {0.0, 0.4, 1.0, -3.0, 7.0}) {
        EXPECT_EQ(hsl(0.2, 0.5, 0.5, alpha).alpha, alpha);
    }
    EXPECT_TRUE(std::isnan(hsl(0.2, 0.5, 0.5, kNaN).alpha));
}

TEST(HSL, foldsAHueOnceIntoEachDirection)
{
    expectNear(hsl(-0.25, 0.6, 0.4), hsl(0.75, 0.6, 0.4), kClose);
    expectNear(hsl(-1.0 / 3, 0.6, 0.4), hsl(2.0 / 3, 0.6, 0.4), kClose);
    expectNear(hsl(1.25, 0.6, 0.4), hsl(0.25, 0.6, 0.4), kClose);

    // Two turns away nothing folds it back: each channel sees a hue above 1, which is the low value.
    expectNear(hsl(3.5, 1, 0.5), {.red = 0, .green = 0, .blue = 0}, kClose);
    // Below 0 after the fold, where the rising edge goes on downwards: 6 * (-1.5 + 1/3 + 1) and so on.
    expectNear(hsl(-1.5, 1, 0.5), {.red = -1, .green = -3, .blue = -5}, kClose);
}

TEST(HSL, whatIsReadOfTheExtremes)
{
    const HSLA black = read({.red = 0, .green = 0, .blue = 0});
    EXPECT_EQ(black.hue, 0);
    EXPECT_EQ(black.saturation, 0);
    EXPECT_EQ(black.lightness, 0);
    const HSLA white = read({.red = 1, .green = 1, .blue = 1});
    EXPECT_EQ(white.hue, 0);
    EXPECT_EQ(white.saturation, 0);
    EXPECT_EQ(white.lightness, 1);
    const HSLA grey = read({.red = 0.3, .green = 0.3, .blue = 0.3});
    EXPECT_EQ(grey.hue, 0);
    EXPECT_EQ(grey.saturation, 0);
    EXPECT_EQ(grey.lightness, 0.3);
}

TEST(HSL, ofNoLightnessOrLessNothingElseIsRead)
{
    const HSLA below = read({.red = -0.5, .green = 0.1, .blue = 0});
    EXPECT_EQ(below.hue, 0);
    EXPECT_EQ(below.saturation, 0);
    EXPECT_EQ(below.lightness, -0.2);
    const HSLA balanced = read({.red = -0.5, .green = 0.5, .blue = 0});
    EXPECT_EQ(balanced.hue, 0);
    EXPECT_EQ(balanced.saturation, 0);
    EXPECT_EQ(balanced.lightness, 0);
}

TEST(HSL, theHueOfPureRedIsAWholeTurn)
{
    const HSLA red = read({.red = 1, .green = 0, .blue = 0});
    EXPECT_EQ(red.hue, 1);
    EXPECT_EQ(red.saturation, 1);
    EXPECT_EQ(red.lightness, 0.5);
}

TEST(HSL, eachOfTheSixWaysToReadAHue)
{
    // Red is the most; the least is green, then blue.
    EXPECT_NEAR(read({.red = 1, .green = 0, .blue = 0.5}).hue, 5.5 / 6, kClose);
    EXPECT_NEAR(read({.red = 1, .green = 0.5, .blue = 0}).hue, 0.5 / 6, kClose);
    // Green: blue, then red.
    EXPECT_NEAR(read({.red = 0.5, .green = 1, .blue = 0}).hue, 1.5 / 6, kClose);
    EXPECT_NEAR(read({.red = 0, .green = 1, .blue = 0.5}).hue, 2.5 / 6, kClose);
    // Blue: red, then green.
    EXPECT_NEAR(read({.red = 0, .green = 0.5, .blue = 1}).hue, 3.5 / 6, kClose);
    EXPECT_NEAR(read({.red = 0.5, .green = 0, .blue = 1}).hue, 4.5 / 6, kClose);
    // Where two are the most, the first of red, green and blue decides.
    EXPECT_NEAR(read({.red = 1, .green = 1, .blue = 0}).hue, 1.0 / 6, kClose);
    EXPECT_NEAR(read({.red = 0, .green = 1, .blue = 1}).hue, 0.5, kClose);
    EXPECT_NEAR(read({.red = 1, .green = 0, .blue = 1}).hue, 5.0 / 6, kClose);
}

TEST(HSL, saturationHasTwoHalves)
{
    EXPECT_NEAR(read({.red = 0.9, .green = 0.5, .blue = 0.7}).saturation, 0.4 / 0.6, kClose);
    EXPECT_NEAR(read({.red = 0.5, .green = 0.1, .blue = 0.3}).saturation, 0.4 / 0.6, kClose);
    // Of a lightness of exactly 0.5 both say the same.
    EXPECT_NEAR(read({.red = 0.75, .green = 0.25, .blue = 0.5}).saturation, 0.5, kClose);
}

TEST(HSL, readsAlphaAsItIsWhateverTheColour)
{
    EXPECT_EQ(read({.red = 0, .green = 0, .blue = 0, .alpha = 0.25}).alpha, 0.25);
    EXPECT_EQ(read({.red = 0.5, .green = 0.5, .blue = 0.5, .alpha = 3}).alpha, 3);
    EXPECT_EQ(read({.red = 1, .green = 0, .blue = 0, .alpha = 0}).alpha, 0);
}

TEST(HSL, eachPlaceToWriteToMayBeMissing)
{
    for (const UIColor &color : {UIColor{.red = 0.2, .green = 0.4, .blue = 0.6, .alpha = 0.8}, UIColor{},
                                 UIColor{.red = 1, .green = 1, .blue = 1, .alpha = 0.5}}) {
        const HSLA all = read(color);
        double value = -7;
        EXPECT_TRUE(getHueSaturationLightnessAlpha(color, &value, nullptr, nullptr, nullptr));
        EXPECT_EQ(value, all.hue);
        EXPECT_TRUE(getHueSaturationLightnessAlpha(color, nullptr, &value, nullptr, nullptr));
        EXPECT_EQ(value, all.saturation);
        EXPECT_TRUE(getHueSaturationLightnessAlpha(color, nullptr, nullptr, &value, nullptr));
        EXPECT_EQ(value, all.lightness);
        EXPECT_TRUE(getHueSaturationLightnessAlpha(color, nullptr, nullptr, nullptr, &value));
        EXPECT_EQ(value, all.alpha);
        EXPECT_TRUE(getHueSaturationLightnessAlpha(color, nullptr, nullptr, nullptr, nullptr));
    }
}

TEST(HSL, whatIsMadeOfWhatWasReadIsTheSameColour)
{
    std::mt19937 random(20'240'229);
    std::uniform_real_distribution<double> fraction(0, 1);
    for (int i = 0; i < 100'000; ++i) {
        const UIColor color = {.red = fraction(random),
                               .green = fraction(random),
                               .blue = fraction(random),
                               .alpha = fraction(random)};
        const HSLA hsla = read(color);
        ASSERT_GT(hsla.hue, 0);
        ASSERT_LE(hsla.hue, 1);
        ASSERT_NO_FATAL_FAILURE(
            expectNear(hsl(hsla.hue, hsla.saturation, hsla.lightness, hsla.alpha), color, 1e-9));
        ASSERT_FALSE(HasFailure()) << i;
    }
}

TEST(HSL, eightBitColoursComeBackToTheBit)
{
    for (int red = 0; red < 256; red += 5) {
        for (int green = 0; green < 256; green += 3) {
            for (int blue = 0; blue < 256; blue += 15) {
                const HSLA hsla = read({.red = red / 255.0, .green = green / 255.0, .blue = blue / 255.0});
                const UIColor again = hsl(hsla.hue, hsla.saturation, hsla.lightness);
                ASSERT_EQ(std::lround(again.red * 255), red);
                ASSERT_EQ(std::lround(again.green * 255), green);
                ASSERT_EQ(std::lround(again.blue * 255), blue);
            }
        }
    }
}

TEST(HSLOffset, turnsTheHueAndStartsAgainAfterAWholeTurn)
{
    const UIColor cyan = hsl(0.5, 0.6, 0.4);
    EXPECT_NEAR(read(offsetWithHueSaturationLightnessAlpha(cyan, 0.75, 0, 0, 0)).hue, 0.25, 1e-6);
    EXPECT_NEAR(read(offsetWithHueSaturationLightnessAlpha(cyan, 0.25, 0, 0, 0)).hue, 0.75, 1e-6);
    EXPECT_NEAR(read(offsetWithHueSaturationLightnessAlpha(cyan, 5.25, 0, 0, 0)).hue, 0.75, 1e-6);
}

TEST(HSLOffset, aHueThatBecomesNegativeIsFoldedByTheConversion)
{
    const UIColor cyan = hsl(0.5, 0.6, 0.4);
    EXPECT_NEAR(read(offsetWithHueSaturationLightnessAlpha(cyan, -0.75, 0, 0, 0)).hue, 0.75, 1e-6);
    EXPECT_NEAR(read(offsetWithHueSaturationLightnessAlpha(cyan, -7.75, 0, 0, 0)).hue, 0.75, 1e-6);
}

TEST(HSLOffset, theHueIsComputedInSinglePrecision)
{
    const UIColor color = hsl(0.3, 0.6, 0.4, 0.5);
    const HSLA hsla = read(color);
    const auto single = static_cast<double>(std::fmod(static_cast<float>(hsla.hue + 0.1), 1.0F));
    ASSERT_NE(single, std::fmod(hsla.hue + 0.1, 1.0));
    EXPECT_EQ(offsetWithHueSaturationLightnessAlpha(color, 0.1, 0, 0, 0),
              hsl(single, hsla.saturation, hsla.lightness, hsla.alpha));
}

TEST(HSLOffset, pureRedStaysRedThoughItsHueIsAWholeTurn)
{
    expectNear(offsetWithHueSaturationLightnessAlpha({.red = 1}, 0, 0, 0, 0), {.red = 1}, kClose);
}

TEST(HSLOffset, movesTheOtherThreeAndKeepsThemFromZeroToOne)
{
    const UIColor color = hsl(0.5, 0.5, 0.25, 0.5);
    expectNear(offsetWithHueSaturationLightnessAlpha(color, 0, 0.25, 0.125, -0.25),
               hsl(0.5, 0.75, 0.375, 0.25), 1e-6);
    expectNear(offsetWithHueSaturationLightnessAlpha(color, 0, 7, 0, 7), hsl(0.5, 1, 0.25, 1), 1e-6);
    expectNear(offsetWithHueSaturationLightnessAlpha(color, 0, -7, 0, -7),
               {.red = 0.25, .green = 0.25, .blue = 0.25, .alpha = 0}, 1e-6);
    expectNear(offsetWithHueSaturationLightnessAlpha(color, 0, 0, 7, 0),
               {.red = 1, .green = 1, .blue = 1, .alpha = 0.5}, 1e-6);
    expectNear(offsetWithHueSaturationLightnessAlpha(color, 0, 0, -7, 0),
               {.red = 0, .green = 0, .blue = 0, .alpha = 0.5}, 1e-6);
}

TEST(HSLClamp, limitsToZeroAndOne)
{
    EXPECT_EQ(clamp(1.5), 1);
    EXPECT_EQ(clamp(-0.2), 0);
    EXPECT_EQ(clamp(0.4), 0.4);
    EXPECT_EQ(clamp(0), 0);
    EXPECT_EQ(clamp(1), 1);
    EXPECT_EQ(clamp(std::numeric_limits<double>::infinity()), 1);
    EXPECT_EQ(clamp(-std::numeric_limits<double>::infinity()), 0);
    EXPECT_EQ(clamp(std::numeric_limits<double>::denorm_min()), std::numeric_limits<double>::denorm_min());
}

TEST(HSLClamp, negativeZeroBecomesZero)
{
    EXPECT_FALSE(std::signbit(clamp(-0.0)));
    EXPECT_FALSE(std::signbit(clamp(-0.2)));
}

TEST(HSLClamp, whatIsNotANumberIsReturnedAsItIs)
{
    EXPECT_TRUE(std::isnan(clamp(kNaN)));
    EXPECT_TRUE(std::signbit(clamp(std::copysign(kNaN, -1.0))));
}

} // namespace
} // namespace slicewise
