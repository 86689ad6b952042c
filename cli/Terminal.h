// What the report needs to know of the terminal it goes to, if it goes to one.
#pragma once

#include <cstddef>
#include <cstdint>

namespace slicewise {

enum class Colors : std::uint8_t { None, Indexed, True };

struct Terminal {
    bool isTerminal = false;
    std::size_t columns = 80;
    Colors colors = Colors::None;

    /// Asks the descriptor and the environment: COLUMNS where nothing else tells the width; no colours
    /// where NO_COLOR is set and not empty, where TERM is "dumb", and anywhere but on a terminal.
    static Terminal of(int descriptor);
};

} // namespace slicewise
