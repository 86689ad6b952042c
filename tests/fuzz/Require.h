// What a fuzzer says that must hold.
#pragma once

#include <cstdlib>
#include <iostream>
#include <string_view>

namespace slicewise {

/// Ends the process, for libFuzzer to keep the input, where it does not.
inline void require(bool holds, std::string_view rule)
{
    if (!holds) {
        std::cerr << "Broken: " << rule << '\n';
        std::abort();
    }
}

} // namespace slicewise
