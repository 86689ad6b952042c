// What a deletion takes along, told before it happens.
#pragma once

#include "delete/DeletionPolicy.h"
#include "platform/Device.h"
#include "scan/SZANode.h"

#include <cstdint>
#include <string>

namespace slicewise {

struct DeletionPlan {
    SZADeleteType type = SZADeleteTypeNone;
    std::uint64_t files = 0;
    std::uint64_t bytes = 0;
    std::string how; ///< "uninstalls the application"
};

/// Counts the files that the scan has found below the node; where a whole directory goes, those that are in
/// there now, as far as it can be read.
[[nodiscard]] DeletionPlan planDeletion(const Device &device, const SZANode &node, SZADeleteType type);

/// "Others/home/me/old: 3 files, 3.5 MB; removes its files"
[[nodiscard]] std::string planText(const std::string &categoryPath, const DeletionPlan &plan);

} // namespace slicewise
