// An environment variable of ours, set (or taken away) for a while. For tests with one thread.
#pragma once

#include <optional>
#include <string>

namespace slicewise {

class ScopedVariable {
public:
    ScopedVariable(const char *name, const std::optional<std::string> &value);
    ScopedVariable(const ScopedVariable &) = delete;
    ScopedVariable &operator=(const ScopedVariable &) = delete;
    ~ScopedVariable();

private:
    const char *m_name;
    std::optional<std::string> m_before;
};

} // namespace slicewise
