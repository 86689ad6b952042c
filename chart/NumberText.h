// Numbers as text, the same in every country.
#pragma once

#include <QString>

namespace slicewise {

/// With so many digits behind the point, halves to even, as printf's %f: "inf" and "nan" for what is no
/// number.
[[nodiscard]] QString fixedText(double number, int decimals);

} // namespace slicewise
