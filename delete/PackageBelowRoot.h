// Whether the package tool may remove a package from a device that is not the whole host.
//
// It knows of no root where it removes files: it goes to the device's directory with the package's path
// behind it, and a link on that path leads wherever it says on the host. The same goes for the package
// database. So a device whose links lead out, as an unpacked one's absolute links do, is looked at but never
// changed.
#pragma once

#include "platform/Device.h"
#include "scan/PackageIndex.h"

#include <optional>
#include <string>

namespace slicewise {

/// Why it may not, for the user; absent where it may. `root` is the device's on the host; the query tool is
/// asked for the package's state and for its files. What cannot be found out counts against it. Holds for as
/// long as nobody changes the links meanwhile.
[[nodiscard]] std::optional<std::string> refusalBelowRoot(const std::string &package, const std::string &root,
                                                          const Device &device, const PackageTool &query);

} // namespace slicewise
