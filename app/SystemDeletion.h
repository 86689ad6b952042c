// What deleting from a device takes, put together for it: the services of the system that we run on where
// that is what is looked at, and refusals elsewhere.
//
// Made on the GUI thread; deletion() is used as delete/Deletion.h says. What it is made from is borrowed.
#pragma once

#include "delete/Deletion.h"
#include "platform/HostDevice.h"
#include "platform/Log.h"
#include "platform/Privileges.h"

#include <memory>

namespace slicewise {

class SystemDeletion {
public:
    enum class Of : bool { AnotherSystem, OwnSystem };
    SystemDeletion(HostDevice &device, Of system, const Privileges &privileges, Log &log);

    [[nodiscard]] Deletion &deletion() { return m_deletion; }

private:
    std::unique_ptr<PhotoLibrary> m_photoLibrary;
    std::unique_ptr<ApplicationInstaller> m_installer;
    Deletion m_deletion;
};

} // namespace slicewise
