// Shuts the door behind a process that is about to read what may have been made to take it over.
#pragma once

namespace slicewise {

/// From now on no thread of the process can execute a program, look into or steer another process, or open a
/// connection to anything but this machine's own services: such calls fail with EPERM. There is no way back.
/// False where the system has nothing of the kind. Call it before there are threads.
[[nodiscard]] bool seclude();

} // namespace slicewise
