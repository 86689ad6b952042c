// The last two classifiers of the chain: by well-known places, and for everything else.
//
// Both look at the path alone: case-sensitive, byte by byte, nothing on a disk is touched. Any thread.
#pragma once

#include "scan/Classifier.h"

#include <optional>
#include <string>

namespace slicewise {

/// The category path of a file in one of the places that a device keeps its data in; absent elsewhere.
[[nodiscard]] std::optional<std::string> classifyLocation(const std::string &path);
/// "Others" and the whole path; never absent.
[[nodiscard]] std::optional<std::string> classifyOther(const std::string &path);

/// The same for all files of a directory. A place's prefix ends in "/", so it never parts them.
[[nodiscard]] DirectoryAnswer classifyLocationOfDirectory(const std::string &directory);
[[nodiscard]] DirectoryAnswer classifyOtherOfDirectory(const std::string &directory);

} // namespace slicewise
