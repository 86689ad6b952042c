// Mends a method of the system's own extension items that is known to crash on a device.
#pragma once

#include "platform/Log.h"

namespace slicewise {

/// From now on an NSExtensionItem that is asked for its _matchingDictionaryRepresentation logs "Did I crash?"
/// and answers a new empty dictionary: the method is exchanged with one of our class SZAAppDelegate. Once for
/// each process, and never taken back. The log has to live as long as the process. False where nothing was
/// changed: without an Objective-C runtime, without that class or method, and the second time. Main thread.
bool patchExtensionItems(Log &log);

} // namespace slicewise
