#include "chart/ArcAnimation.h"

namespace slicewise {

double ArcAnimation::valueAt(double seconds) const
{
    if (isOverAt(seconds)) {
        return toValue;
    }
    const double progress = progressAt(timing, (seconds - beginSeconds) / durationSeconds);
    return fromValue + (toValue - fromValue) * progress;
}

bool ArcAnimation::isOverAt(double seconds) const
{
    return !(seconds < beginSeconds + durationSeconds);
}

} // namespace slicewise
