// A device in a folder, and what deletes from it: the real strategies, without services for photos and
// applications, which a folder has not.
#pragma once

#include "platform/HostDevice.h"
#include "tests/support/FailingSystemCalls.h"
#include "ui/DeletionService.h"

#include <memory>
#include <string>
#include <utility>

namespace slicewise {

/// The log is borrowed.
class FolderDeletion {
public:
    FolderDeletion(const std::string &folder, Log &log)
        : m_device(std::move(HostDevice::open(folder, &calls)).value()),
          m_photoLibrary(refusingPhotoLibrary(log)),
          m_installer(refusingApplicationInstaller(log)),
          service(Deletion{.device = *m_device,
                           .log = log,
                           .privileges = m_privileges,
                           .photoLibrary = *m_photoLibrary,
                           .installer = *m_installer,
                           .deviceVersion = {}})
    {}
    FolderDeletion(const FolderDeletion &) = delete;
    FolderDeletion &operator=(const FolderDeletion &) = delete;
    ~FolderDeletion() = default;

    [[nodiscard]] const HostDevice &device() const { return *m_device; }

    FailingSystemCalls calls; ///< the device's

private:
    std::unique_ptr<HostDevice> m_device;
    Privileges m_privileges = Privileges::dropAtEntry();
    std::unique_ptr<PhotoLibrary> m_photoLibrary;
    std::unique_ptr<ApplicationInstaller> m_installer;

public:
    DeviceDeletion service;
};

} // namespace slicewise
