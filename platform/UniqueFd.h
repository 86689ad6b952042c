// Owns one file descriptor and closes it at the end of its life. Movable, not copyable.
#pragma once

#include <unistd.h>

#include <utility>

namespace slicewise {

class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int descriptor) : m_descriptor(descriptor) {}
    UniqueFd(UniqueFd &&other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    UniqueFd &operator=(UniqueFd &&other) noexcept
    {
        if (this != &other) {
            reset(std::exchange(other.m_descriptor, -1));
        }
        return *this;
    }
    UniqueFd(const UniqueFd &) = delete;
    UniqueFd &operator=(const UniqueFd &) = delete;
    ~UniqueFd() { reset(); }

    [[nodiscard]] int get() const { return m_descriptor; }
    explicit operator bool() const { return m_descriptor >= 0; }
    /// Gives the descriptor away; the caller closes it.
    [[nodiscard]] int release() { return std::exchange(m_descriptor, -1); }
    void reset(int descriptor = -1)
    {
        if (m_descriptor >= 0) {
            // Linux frees the descriptor whatever close answers; retrying could close somebody else's.
            ::close(m_descriptor);
        }
        m_descriptor = descriptor;
    }

private:
    int m_descriptor = -1;
};

} // namespace slicewise
