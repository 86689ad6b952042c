#include "chart/ArcAnimation.h"

namespace slicewise {

double ArcAnimation::valueAt(double seconds) const
{
    if (!hasStarted) {
        return fromValue;
    }
    if (isOverAt(seconds)) {
        return toValue;
    }
    const double progress = progressAt(timing, (seconds - beginSeconds) / durationSeconds);
    return fromValue + (toValue - fromValue) * progress;
}

bool ArcAnimation::isOverAt(double seconds) const
{
    return hasStarted && !(seconds < beginSeconds + durationSeconds);
}

} // namespace slicewise
