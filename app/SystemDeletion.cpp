#include "app/SystemDeletion.h"

namespace slicewise {

// What the system's services would delete lies on the system that we run on.
SystemDeletion::SystemDeletion(HostDevice &device, Of system, const Privileges &privileges, Log &log)
    : m_photoLibrary(system == Of::OwnSystem ? systemPhotoLibrary(log) : refusingPhotoLibrary(log)),
      m_installer(system == Of::OwnSystem ? systemApplicationInstaller(log)
                                          : refusingApplicationInstaller(log)),
      m_service(Deletion{.device = device,
                         .log = log,
                         .privileges = privileges,
                         .photoLibrary = *m_photoLibrary,
                         .installer = *m_installer,
                         .deviceVersion = systemVersionOf(device)})
{}

} // namespace slicewise
