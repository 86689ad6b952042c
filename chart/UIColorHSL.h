// Colours by hue, saturation and lightness: what is white or black whatever its hue has a lightness of 1 or
// 0. (By brightness, as in chart/UIColorHSB.h, white is a colour of no saturation.)
//
// All numbers are fractions from 0 to 1, the hue one of a full turn. Pure functions: any thread.
#pragma once

#include "chart/UIColor.h"

namespace slicewise {

/// Hues from -1 to 2 are folded into one turn, those beyond only by one turn. Alpha is kept as it is.
[[nodiscard]] UIColor colorWithHueSaturationLightnessAlpha(double hue, double saturation, double lightness,
                                                           double alpha);

/// Writes where the pointers lead, but for those that are null, and always answers true. The hue lies above 0
/// and up to 1; of a red with as much green as blue it is 1. Of a grey it is 0, and so is its saturation.
bool getHueSaturationLightnessAlpha(const UIColor &color, double *hue, double *saturation, double *lightness,
                                    double *alpha);

/// The colour with its hue turned by a fraction of a turn, which is computed in single precision, and the
/// other three moved by a difference, each staying from 0 to 1.
[[nodiscard]] UIColor offsetWithHueSaturationLightnessAlpha(const UIColor &color, double hue,
                                                            double saturation, double lightness,
                                                            double alpha);

/// Limits a number to 0 to 1. Negative zero becomes zero; what is not a number is returned as it is.
[[nodiscard]] double clamp(double number);

} // namespace slicewise
