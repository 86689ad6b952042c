#include "platform/UserIdCalls.h"

#include <unistd.h>

#if defined(__linux__)
#include <sys/syscall.h>
#endif

namespace slicewise {

UserIdSet UserIdCalls::ids() const
{
    UserIdSet ids;
#if defined(__linux__)
    // It fails for bad addresses only.
    static_cast<void>(::getresuid(&ids.real, &ids.effective, &ids.saved));
#else
    ids.real = ::getuid();
    ids.effective = ::geteuid();
    ids.saved = ids.effective;
#endif
    return ids;
}

int UserIdCalls::setEffective(::uid_t user) const
{
    return ::seteuid(user);
}

int UserIdCalls::setEffectiveOfThread(::uid_t user) const
{
#if defined(__linux__)
    // To the kernel each thread has ids of its own; it is the C library's function that makes all the others
    // follow. The older number takes 16 bits only, where there are two.
#if defined(SYS_setresuid32)
    constexpr long kNumber = SYS_setresuid32;
#else
    constexpr long kNumber = SYS_setresuid;
#endif
    constexpr auto kUnchanged = static_cast<::uid_t>(-1);
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-vararg): its only form
    return static_cast<int>(::syscall(kNumber, kUnchanged, user, kUnchanged));
#else
    return setEffective(user);
#endif
}

int UserIdCalls::setAll(::uid_t user) const
{
#if defined(__linux__)
    return ::setresuid(user, user, user);
#else
    // Only for root it changes all three, so become root first where we may.
    static_cast<void>(::seteuid(0));
    return ::setuid(user);
#endif
}

} // namespace slicewise
