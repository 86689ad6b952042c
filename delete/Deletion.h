// What the deletion strategies work with.
//
// Everything is borrowed and outlives the strategies' calls. One deletion runs at a time, on one thread; it
// may be another than the one that owns the tree, as long as nobody changes the tree meanwhile.
#pragma once

#include "platform/ApplicationInstaller.h"
#include "platform/Device.h"
#include "platform/Log.h"
#include "platform/PhotoLibrary.h"
#include "platform/Privileges.h"
#include "platform/SystemVersion.h"

namespace slicewise {

struct Deletion {
    Device &device;
    Log &log;
    const Privileges &privileges;
    PhotoLibrary &photoLibrary;
    ApplicationInstaller &installer;
    SystemVersion deviceVersion; ///< of the scanned device, not of the system we run on
    /// The uninstall function of older systems, once it was found.
    ApplicationInstaller::Uninstall cachedUninstall = {};
};

} // namespace slicewise
