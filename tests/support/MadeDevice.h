// A sample device in a temporary directory, for the tests of the generator.
#pragma once

#include "tests/support/SampleDevice.h"
#include "tests/support/TemporaryDirectory.h"

#include <map>
#include <string>
#include <string_view>

namespace slicewise {

constexpr double kSmallScale = 0.05;

/// A device in a directory of its own.
struct MadeDevice {
    explicit MadeDevice(const SampleDeviceOptions &options) : plan(makeSampleDevice(root(), options)) {}

    [[nodiscard]] std::string root() const { return directory.path(); }
    /// The files whose category begins like this: their categories by their paths.
    [[nodiscard]] std::map<std::string, std::string> filedUnder(std::string_view category) const;

    TemporaryDirectory directory;
    SampleDevicePlan plan;
};

/// Of seed 1 and kSmallScale; made when it is first asked for, and not to be changed.
const MadeDevice &smallDevice();

std::string contentOf(const std::string &hostPath);

} // namespace slicewise
