// Raised for a broken internal invariant of the system; it is never caught by name.
#pragma once

#include <exception>
#include <string>
#include <utility>

namespace slicewise {

class SZAException : public std::exception {
public:
    explicit SZAException(std::string reason) : m_reason(std::move(reason)), m_text(m_name + ": " + m_reason)
    {}

    /// Always "SZAException".
    [[nodiscard]] const std::string &name() const { return m_name; }
    [[nodiscard]] const std::string &reason() const { return m_reason; }
    [[nodiscard]] const char *what() const noexcept override { return m_text.c_str(); }

private:
    std::string m_name = "SZAException";
    std::string m_reason;
    std::string m_text;
};

} // namespace slicewise
