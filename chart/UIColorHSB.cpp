#include "chart/UIColorHSB.h"

#include "chart/UIColorHSL.h"

#include <algorithm>
#include <cmath>

namespace slicewise {

namespace {

double fraction(double number)
{
    return std::isnan(number) ? 0 : clamp(number);
}

void store(double *place, double value)
{
    if (place != nullptr) {
        *place = value;
    }
}

/// The hue of what is no grey, in sixths of a turn, from 0 to below 6.
double sixthsOfHue(const UIColor &color, double max, double difference)
{
    double sixths = 0;
    if (max == color.red) {
        sixths = (color.green - color.blue) / difference;
    } else if (max == color.green) {
        sixths = 2 + (color.blue - color.red) / difference;
    } else {
        sixths = 4 + (color.red - color.green) / difference;
    }
    // A blue that is hardly more than the green is so little below 0 that 6 more of it are 6.
    return sixths < 0 ? std::min(sixths + 6, std::nextafter(6.0, 0.0)) : sixths;
}

} // namespace

UIColor colorWithHueSaturationBrightnessAlpha(double hue, double saturation, double brightness, double alpha)
{
    const double sixths = fraction(hue) * 6;
    const double full = fraction(brightness);
    const double weak = fraction(saturation);
    const double part = sixths - std::floor(sixths);
    const double none = full * (1 - weak);
    const double falling = full * (1 - weak * part);
    const double rising = full * (1 - weak * (1 - part));
    const double opaque = fraction(alpha);
    switch (static_cast<int>(sixths)) {
    case 1:
        return {.red = falling, .green = full, .blue = none, .alpha = opaque};
    case 2:
        return {.red = none, .green = full, .blue = rising, .alpha = opaque};
    case 3:
        return {.red = none, .green = falling, .blue = full, .alpha = opaque};
    case 4:
        return {.red = rising, .green = none, .blue = full, .alpha = opaque};
    case 5:
        return {.red = full, .green = none, .blue = falling, .alpha = opaque};
    default:
        return {.red = full, .green = rising, .blue = none, .alpha = opaque};
    }
}

bool getHueSaturationBrightnessAlpha(const UIColor &color, double *hue, double *saturation,
                                     double *brightness, double *alpha)
{
    const double max = std::max({color.red, color.green, color.blue});
    const double difference = max - std::min({color.red, color.green, color.blue});
    store(alpha, color.alpha);
    store(brightness, max);
    const bool isGrey = !(difference > 0) || !(max > 0);
    store(saturation, isGrey ? 0 : difference / max);
    store(hue, isGrey ? 0 : sixthsOfHue(color, max, difference) / 6);
    return true;
}

} // namespace slicewise
