// Runs a part of a test in a process of its own, which may give up its identity or its view of the mounts.
#pragma once

#include <functional>
#include <string>

namespace slicewise {

/// What `work` returned in a child of this process; "raised: ..." where it raised, "ended by ..." where it
/// did not get to its end. Called while no other thread of the process runs.
[[nodiscard]] std::string textFromChild(const std::function<std::string()> &work);

/// For use in a child. Becomes a user who owns nothing, if the process is root's. Raises std::system_error.
void becomeNobody();

/// For use in a child. What is mounted from now on is seen by this process alone. False where the system
/// does not let us.
[[nodiscard]] bool enterOwnMountNamespace();

} // namespace slicewise
