#include "chart/QtColor.h"

#include "chart/UIColorHSL.h"

#include <cmath>

namespace slicewise {

namespace {

float fraction(double number)
{
    return std::isnan(number) ? 0.0F : static_cast<float>(clamp(number));
}

} // namespace

QColor toQColor(const UIColor &color)
{
    return QColor::fromRgbF(fraction(color.red), fraction(color.green), fraction(color.blue),
                            fraction(color.alpha));
}

UIColor fromQColor(const QColor &color)
{
    const QColor rgb = color.toRgb();
    return {.red = static_cast<double>(rgb.redF()),
            .green = static_cast<double>(rgb.greenF()),
            .blue = static_cast<double>(rgb.blueF()),
            .alpha = static_cast<double>(rgb.alphaF())};
}

} // namespace slicewise
