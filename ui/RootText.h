// Why a directory can't play a device's "/", in a sentence for the user.
#pragma once

#include <string>

namespace slicewise {

/// root: as it was typed. error: the errno of opening it.
[[nodiscard]] std::string whyNoRoot(const std::string &root, int error);

} // namespace slicewise
