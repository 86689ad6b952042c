// Between colours as plain numbers and what Qt paints with.
#pragma once

#include "chart/UIColor.h"

#include <QColor>

namespace slicewise {

/// Each number limited to 0 to 1, what is not a number as 0, to the 16 bits that Qt keeps.
[[nodiscard]] QColor toQColor(const UIColor &color);

/// Of a colour in any of Qt's models. An invalid one is opaque black, as it is where Qt paints it.
[[nodiscard]] UIColor fromQColor(const QColor &color);

} // namespace slicewise
