// One deletion, from its type to its end: what every face does alike.
#pragma once

#include "delete/Deletion.h"
#include "delete/DeletionPolicy.h"
#include "delete/PackageDeletion.h"
#include "scan/SZANode.h"

#include <optional>
#include <string>

namespace slicewise {

/// Titles, messages.
inline constexpr const char *kUninstallQuestion = "Uninstall {}?";
inline constexpr const char *kDeletionFailed = "Deletion failed for some or all of the files.";

struct DeletionOutcome {
    bool deleted = false;
    /// For the user, where a strategy has one to tell; absent: kDeletionFailed says it.
    std::optional<std::string> errorText;
};

/// Whether somebody is asked before a deletion of that type: what it takes along is more than files, and
/// comes back only by installing it anew.
[[nodiscard]] bool asksBeforeDeletion(SZADeleteType type);

/// Calls the strategy of the type on the node; the tree stays as it is. A node that lacks the file which its
/// strategy needs, as one that is only there since the name of another has a "/" in it, is not deleted and
/// its strategy not called. A type that is none of the five raises SZAException "Delete type not
/// implemented".
[[nodiscard]] DeletionOutcome deleteByType(SZADeleteType type, const SZANode &node, Deletion &deletion);

} // namespace slicewise
