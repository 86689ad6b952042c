// Which version of its system a device has.
//
// A device says it in "/System/Library/CoreServices/SystemVersion.plist" under "ProductVersion", as text:
// "7.1.2". It counts as the number that the text begins with, 7.1; so 10.3 is more than 10.2 and less than
// 10.25, which is right for every version that is compared here. What can't be read counts as a new system.
#pragma once

#include "platform/Device.h"

namespace slicewise {

struct SystemVersion {
    /// From here on a photo's identifier is kept as text.
    static constexpr float kWithTextIdentifiers = 8.0F;

    float number = kWithTextIdentifiers;

    friend bool operator==(const SystemVersion &, const SystemVersion &) = default;
};

/// Of the scanned device.
[[nodiscard]] SystemVersion systemVersionOf(const Device &device);

/// Of the system that we run on, whatever the scanned device is.
[[nodiscard]] SystemVersion systemVersionOfHost();

} // namespace slicewise
