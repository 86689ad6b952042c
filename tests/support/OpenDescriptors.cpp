#include "tests/support/OpenDescriptors.h"

#include <dirent.h>

#include <cstdlib>
#include <memory>

namespace slicewise {

std::set<int> openDescriptors()
{
    const auto close = [](DIR *directory) { ::closedir(directory); };
    const std::unique_ptr<DIR, decltype(close)> directory(::opendir("/proc/self/fd"), close);
    std::set<int> descriptors;
    if (!directory) {
        return descriptors;
    }
    // NOLINTNEXTLINE(concurrency-mt-unsafe): a stream of our own
    while (const dirent *entry = ::readdir(directory.get())) {
        if (entry->d_name[0] != '.') {
            descriptors.insert(std::atoi(entry->d_name)); // NOLINT(cert-err34-c): the kernel's own numbers
        }
    }
    descriptors.erase(::dirfd(directory.get()));
    return descriptors;
}

} // namespace slicewise
