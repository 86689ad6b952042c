#include "platform/Seclusion.h"

#if defined(__linux__)
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#endif

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>

namespace slicewise {

#if defined(__linux__) && (defined(__x86_64__) || defined(__aarch64__))

namespace {

#if defined(__x86_64__)
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_X86_64;
#else
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_AARCH64;
#endif
constexpr std::uint32_t kForeignCallBit = 0x4000'0000; // x32 calls, which have numbers of their own

using Instruction = struct sock_filter;

constexpr Instruction load(std::size_t offset)
{
    return {.code = BPF_LD | BPF_W | BPF_ABS, .jt = 0, .jf = 0, .k = static_cast<std::uint32_t>(offset)};
}

constexpr Instruction skipUnless(std::uint32_t value, std::uint8_t instructions)
{
    return {.code = BPF_JMP | BPF_JEQ | BPF_K, .jt = 0, .jf = instructions, .k = value};
}

constexpr Instruction answer(std::uint32_t what)
{
    return {.code = BPF_RET | BPF_K, .jt = 0, .jf = 0, .k = what};
}

constexpr std::uint32_t kRefuse = SECCOMP_RET_ERRNO | EPERM;

} // namespace

bool seclude()
{
    std::array program = {
        load(offsetof(struct seccomp_data, arch)),
        Instruction{.code = BPF_JMP | BPF_JEQ | BPF_K, .jt = 1, .jf = 0, .k = kArchitecture},
        answer(SECCOMP_RET_KILL_PROCESS),
        load(offsetof(struct seccomp_data, nr)),
        Instruction{.code = BPF_JMP | BPF_JGE | BPF_K, .jt = 0, .jf = 1, .k = kForeignCallBit},
        answer(SECCOMP_RET_KILL_PROCESS),
        skipUnless(SYS_execve, 1),
        answer(kRefuse),
        skipUnless(SYS_execveat, 1),
        answer(kRefuse),
        skipUnless(SYS_ptrace, 1),
        answer(kRefuse),
        skipUnless(SYS_process_vm_writev, 1),
        answer(kRefuse),
        skipUnless(SYS_process_vm_readv, 1),
        answer(kRefuse),
        skipUnless(SYS_io_uring_setup, 1), // it makes connections by itself
        answer(kRefuse),
        skipUnless(SYS_socket, 3),
        load(offsetof(struct seccomp_data, args)), // the lower half, on these machines
        skipUnless(AF_UNIX, 2),
        answer(SECCOMP_RET_ALLOW),
        answer(SECCOMP_RET_ALLOW), // any other call
        answer(kRefuse),
    };
    struct sock_fprog filter = {.len = program.size(), .filter = program.data()};
    // NOLINTBEGIN(cppcoreguidelines-pro-type-vararg): its only form
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
    // NOLINTEND(cppcoreguidelines-pro-type-vararg)
}

#else

bool seclude()
{
    return false;
}

#endif

} // namespace slicewise
