// The packages of a sample device.
#pragma once

#include <span>
#include <string_view>
#include <vector>

namespace slicewise {

struct SampleSoftware {
    std::string_view name;
    std::string_view version;
    std::string_view section;
    std::string_view depends;
    std::string_view description;
    /// Paths as its list has them, through links of the device or not. One with a "*" is many files with a
    /// number in its place; "a -> b" is a link to the file b beside it; "a (gone)" is listed, but not there.
    std::vector<std::string_view> files;
    std::string_view architecture = "all";
    bool isRemoved = false; ///< but for its configuration
};

std::span<const SampleSoftware> sampleSoftware();

} // namespace slicewise
