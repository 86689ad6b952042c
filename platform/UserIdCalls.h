// The system calls that ask for and change user ids, one virtual function each, so that a test can make any
// of them fail. Each answers as the call does: -1 and errno on failure.
#pragma once

#include <sys/types.h>

namespace slicewise {

struct UserIdSet {
    ::uid_t real = 0;
    ::uid_t effective = 0;
    ::uid_t saved = 0; ///< the effective one on platforms that do not tell

    friend bool operator==(const UserIdSet &, const UserIdSet &) = default;
};

class UserIdCalls {
public:
    UserIdCalls() = default;
    UserIdCalls(const UserIdCalls &) = delete;
    UserIdCalls &operator=(const UserIdCalls &) = delete;
    virtual ~UserIdCalls() = default;

    /// Of the calling thread.
    [[nodiscard]] virtual UserIdSet ids() const;
    /// seteuid(2): on all threads.
    [[nodiscard]] virtual int setEffective(::uid_t user) const;
    /// Where the platform can (Linux), of the calling thread alone, else as setEffective().
    [[nodiscard]] virtual int setEffectiveOfThread(::uid_t user) const;
    /// All three ids, on all threads.
    [[nodiscard]] virtual int setAll(::uid_t user) const;
};

} // namespace slicewise
