// Whether a device is the system that we run on, and what that means for root.
#pragma once

#include "platform/HostDevice.h"
#include "platform/Privileges.h"

namespace slicewise {

/// Whether the device is the host's own "/", under whatever name it was given.
[[nodiscard]] bool isOwnSystem(const HostDevice &device);

/// Whether nothing is deleted from a device unless that is allowed expressly: to root nothing is forbidden,
/// so a slip could cost the system.
[[nodiscard]] bool isReadOnlyForRoot(const Privileges &privileges, bool ownSystem);

} // namespace slicewise
