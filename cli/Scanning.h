// What every command of slicewise-cli that looks at a device begins with.
#pragma once

#include "cli/Arguments.h"
#include "platform/HostDevice.h"
#include "platform/Log.h"
#include "scan/SZANode.h"
#include "scan/ScanReport.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace slicewise {

/// Null where the directory can't play a device's "/"; the user has been told why.
[[nodiscard]] std::unique_ptr<HostDevice> openDevice(const std::string &root);

/// To standard error, or nowhere.
[[nodiscard]] std::unique_ptr<Log> makeLog(bool quiet);

/// A tree and how it came about. The tree borrows the device.
struct Scanned {
    std::unique_ptr<SZANode> root;
    ScanReport report;
    double seconds = 0;
};
/// Scans the whole device, with a line of progress on a terminal.
[[nodiscard]] Scanned scanDevice(const HostDevice &device, const ScanArguments &arguments, Log &log);

/// The nodes from the root to the one that a category path leads to, by the rules that files are inserted by;
/// empty where there is none. The empty category path is the root.
[[nodiscard]] std::vector<SZANode *> nodePathAt(SZANode &root, std::string_view categoryPath);

} // namespace slicewise
