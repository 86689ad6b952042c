#include "platform/OpenFiles.h"

#include <unistd.h>

#if defined(__linux__)
#include <sys/syscall.h>
#endif

namespace slicewise {

namespace {

constexpr int kFirst = STDERR_FILENO + 1;

/// More than any system opens by itself; a limit may have been lowered after descriptors were opened.
constexpr int kMostTried = 1 << 20;

} // namespace

void closeAllButStandardStreams()
{
#if defined(SYS_close_range)
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-vararg): older C libraries have no function for it
    if (::syscall(SYS_close_range, kFirst, ~0U, 0) == 0) {
        return;
    }
#endif
    for (int descriptor = kFirst; descriptor < kMostTried; ++descriptor) {
        ::close(descriptor);
    }
}

} // namespace slicewise
