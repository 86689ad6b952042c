#include "platform/OwnSystem.h"

#include <memory>

namespace slicewise {

bool isOwnSystem(const HostDevice &device)
{
    const Result<std::unique_ptr<HostDevice>> own = HostDevice::open("/");
    if (!own) {
        return device.hostPath("/").ok() && *device.hostPath("/") == "/";
    }
    const Result<FileStatus> here = device.status("/");
    const Result<FileStatus> there = (*own)->status("/");
    return here && there && here->identity == there->identity;
}

bool isReadOnlyForRoot(const Privileges &privileges, bool ownSystem)
{
    return ownSystem && privileges.isRealRoot();
}

} // namespace slicewise
