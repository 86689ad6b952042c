// Trees as text, one node a line, so that two of them can be compared and a failure can be read.
//
// A line holds, two columns further right for each level, the name, the size in bytes, the index and, where
// there is one, the file: `  "usr" 120 #0 "/usr/x"`. Children follow their node in display order. Bytes that
// would spoil a terminal or the form are written as \xNN.
#pragma once

#include "scan/SZANode.h"

#include <string>
#include <string_view>

namespace slicewise {

/// The text with quotes, backslashes, control characters and all bytes beyond ASCII as \xNN.
[[nodiscard]] std::string asciiText(std::string_view text);

/// The whole tree; its root's own name is left out, and so is its index.
[[nodiscard]] std::string treeText(const SZANode &root);

} // namespace slicewise
