// The user ids of a process that nothing has given other ones: all three alike.
#pragma once

#include "platform/UserIdCalls.h"

namespace slicewise {

class PlainUserIds final : public UserIdCalls {
public:
    explicit PlainUserIds(::uid_t user) : m_user(user) {}

    [[nodiscard]] UserIdSet ids() const override
    {
        return {.real = m_user, .effective = m_user, .saved = m_user};
    }

private:
    ::uid_t m_user;
};

} // namespace slicewise
