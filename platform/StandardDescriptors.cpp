#include "platform/StandardDescriptors.h"

#include <fcntl.h>
#include <unistd.h>

namespace slicewise {

bool reserveStandardDescriptors()
{
    const bool outputIsOpen = ::fcntl(STDOUT_FILENO, F_GETFD) != -1;
    // Not closed on exec: that is what makes them the standard ones. A new descriptor is the lowest free one.
    int descriptor = ::open("/dev/null", O_RDWR);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO) {
        descriptor = ::dup(descriptor);
    }
    if (descriptor > STDERR_FILENO) {
        ::close(descriptor);
    }
    return outputIsOpen;
}

} // namespace slicewise
