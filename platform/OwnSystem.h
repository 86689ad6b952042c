// Whether a device is the system that we run on.
#pragma once

#include "platform/HostDevice.h"

namespace slicewise {

/// Whether the device is the host's own "/", under whatever name it was given.
[[nodiscard]] bool isOwnSystem(const HostDevice &device);

} // namespace slicewise
