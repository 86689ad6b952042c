#include "chart/UIColorHSL.h"

#include <algorithm>
#include <cmath>

namespace slicewise {

namespace {

/// One of red, green and blue, each of which sees the hue a third of a turn away from the next one.
double channel(double low, double high, double turn)
{
    if (turn < 0) {
        turn += 1;
    }
    if (turn > 1) {
        turn -= 1;
    }
    if (6 * turn < 1) {
        return low + (high - low) * (6 * turn);
    }
    if (2 * turn < 1) {
        return high;
    }
    if (3 * turn < 2) {
        return low + (high - low) * (2.0 / 3.0 - turn) * 6;
    }
    return low;
}

/// The hue of what is no grey, in sixths of a turn.
double sixthsOfHue(const UIColor &color, double max, double min)
{
    const double difference = max - min;
    const double redness = (max - color.red) / difference;
    const double greenness = (max - color.green) / difference;
    const double blueness = (max - color.blue) / difference;
    if (max == color.red) {
        return min == color.green ? 5 + blueness : 1 - greenness;
    }
    if (max == color.green) {
        return min == color.blue ? 1 + redness : 3 - blueness;
    }
    return min == color.red ? 3 + greenness : 5 - redness;
}

void store(double *place, double value)
{
    if (place != nullptr) {
        *place = value;
    }
}

} // namespace

UIColor colorWithHueSaturationLightnessAlpha(double hue, double saturation, double lightness, double alpha)
{
    if (saturation == 0) {
        return {.red = lightness, .green = lightness, .blue = lightness, .alpha = alpha};
    }
    const double high =
        lightness < 0.5 ? lightness * (1 + saturation) : lightness + saturation - lightness * saturation;
    const double low = 2 * lightness - high;
    return {.red = channel(low, high, hue + 1.0 / 3.0),
            .green = channel(low, high, hue),
            .blue = channel(low, high, hue - 1.0 / 3.0),
            .alpha = alpha};
}

bool getHueSaturationLightnessAlpha(const UIColor &color, double *hue, double *saturation, double *lightness,
                                    double *alpha)
{
    store(alpha, color.alpha);

    const double max = std::max({color.red, color.green, color.blue});
    const double min = std::min({color.red, color.green, color.blue});
    const double middle = (max + min) / 2;
    store(lightness, middle);
    const double difference = max - min;
    if (middle <= 0) {
        store(hue, 0);
        store(saturation, 0);
    } else if (!(difference > 0)) {
        store(hue, 0);
        store(saturation, difference);
    } else {
        store(hue, sixthsOfHue(color, max, min) * (1.0 / 6.0));
        store(saturation, middle > 0.5 ? difference / (2 - max - min) : difference / (max + min));
    }
    return true;
}

UIColor offsetWithHueSaturationLightnessAlpha(const UIColor &color, double hue, double saturation,
                                              double lightness, double alpha)
{
    double oldHue = 0;
    double oldSaturation = 0;
    double oldLightness = 0;
    double oldAlpha = 0;
    getHueSaturationLightnessAlpha(color, &oldHue, &oldSaturation, &oldLightness, &oldAlpha);
    // A negative sum stays negative: the conversion folds it.
    const float newHue = std::fmod(static_cast<float>(oldHue + hue), 1.0F);
    return colorWithHueSaturationLightnessAlpha(static_cast<double>(newHue),
                                                clamp(oldSaturation + saturation),
                                                clamp(oldLightness + lightness), clamp(oldAlpha + alpha));
}

double clamp(double number)
{
    if (number > 1) {
        return 1;
    }
    // Negative zero too, which is no less than zero.
    return number <= 0 ? 0 : number;
}

} // namespace slicewise
