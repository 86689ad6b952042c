// What deleting from a device takes, put together for it: the services of the system that we run on where
// that is what is looked at, and refusals elsewhere.
//
// Made on the GUI thread; service() is used as ui/DeletionService.h says. What it is made from is borrowed.
#pragma once

#include "platform/ApplicationInstaller.h"
#include "platform/HostDevice.h"
#include "platform/Log.h"
#include "platform/PhotoLibrary.h"
#include "platform/Privileges.h"
#include "ui/DeletionService.h"

#include <memory>

namespace slicewise {

class SystemDeletion {
public:
    enum class Of : bool { AnotherSystem, OwnSystem };
    SystemDeletion(HostDevice &device, Of system, const Privileges &privileges, Log &log);

    [[nodiscard]] DeletionService &service() { return m_service; }

private:
    std::unique_ptr<PhotoLibrary> m_photoLibrary;
    std::unique_ptr<ApplicationInstaller> m_installer;
    DeviceDeletion m_service;
};

} // namespace slicewise
