// A colour as four plain numbers, apart from any toolkit, so that colours can be computed and tested without
// one.
#pragma once

namespace slicewise {

/// Red, green, blue and alpha as fractions from 0 to 1. What lies outside is kept: only painting limits it.
struct UIColor {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;

    friend bool operator==(const UIColor &, const UIColor &) = default;
};

} // namespace slicewise
