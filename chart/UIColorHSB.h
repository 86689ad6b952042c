// Colours by hue, saturation and brightness: the brightness is the largest of red, green and blue, so that a
// colour becomes darker with nothing but its brightness.
//
// All numbers are fractions from 0 to 1, the hue one of a full turn. Pure functions: any thread.
#pragma once

#include "chart/UIColor.h"

namespace slicewise {

/// Each number is limited to 0 to 1; what is not a number counts as 0. Hue 1 is hue 0.
[[nodiscard]] UIColor colorWithHueSaturationBrightnessAlpha(double hue, double saturation, double brightness,
                                                            double alpha);

/// Writes where the pointers lead, but for those that are null, and always answers true. The hue lies from 0
/// to below
/// 1. Of a grey it is 0, and so is its saturation.
bool getHueSaturationBrightnessAlpha(const UIColor &color, double *hue, double *saturation,
                                     double *brightness, double *alpha);

} // namespace slicewise
