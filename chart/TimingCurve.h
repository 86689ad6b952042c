// How far an animation has come after a part of its time.
#pragma once

namespace slicewise {

enum class TimingCurve {
    Linear,
    Default, ///< starts and ends gently: the cubic Bezier curve through (0.25, 0.1) and (0.25, 1)
};

/// From 0 to 1 for a fraction of the time from 0 to 1; 0 before and 1 after. Not a number counts as over.
[[nodiscard]] double progressAt(TimingCurve curve, double fraction);

} // namespace slicewise
