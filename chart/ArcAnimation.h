// One run of a slice's angle from what is on screen to where it is to rest.
#pragma once

#include "chart/TimingCurve.h"

#include <memory>
#include <string>

namespace slicewise {

struct ArcAnimation;

/// Is told about animations on the GUI thread. Borrowed by the animation; must outlive the layer that runs
/// it.
class ArcAnimationDelegate {
public:
    ArcAnimationDelegate() = default;
    ArcAnimationDelegate(const ArcAnimationDelegate &) = delete;
    ArcAnimationDelegate &operator=(const ArcAnimationDelegate &) = delete;
    virtual ~ArcAnimationDelegate() = default;

    /// When the transaction that made it is committed.
    virtual void animationDidStart(const std::shared_ptr<const ArcAnimation> &animation) = 0;
    /// Once for each that started. Not finished: another one took its place, or its layer was removed.
    virtual void animationDidStopFinished(const std::shared_ptr<const ArcAnimation> &animation,
                                          bool finished) = 0;
};

struct ArcAnimation {
    std::string key; ///< the property that it moves
    double fromValue = 0;
    double toValue = 0;
    TimingCurve timing = TimingCurve::Default;
    double beginSeconds = 0; ///< by the clock
    double durationSeconds = 0;
    bool hasStarted = false; ///< its transaction has been committed; until then it stands and is not over
    ArcAnimationDelegate *delegate = nullptr; ///< may be null

    [[nodiscard]] double valueAt(double seconds) const;
    [[nodiscard]] bool isOverAt(double seconds) const;
};

} // namespace slicewise
