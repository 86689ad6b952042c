#include "chart/TimingCurve.h"

#include <QEasingCurve>
#include <QPointF>

namespace slicewise {

namespace {

QEasingCurve makeDefaultCurve()
{
    QEasingCurve curve(QEasingCurve::BezierSpline);
    curve.addCubicBezierSegment({0.25, 0.1}, {0.25, 1}, {1, 1});
    return curve;
}

} // namespace

double progressAt(TimingCurve curve, double fraction)
{
    if (fraction <= 0) {
        return 0;
    }
    if (!(fraction < 1)) {
        return 1;
    }
    if (curve == TimingCurve::Linear) {
        return fraction;
    }
    static const QEasingCurve defaultCurve = makeDefaultCurve();
    return defaultCurve.valueForProgress(fraction);
}

} // namespace slicewise
