#include "tests/support/ScopedVariable.h"

#include <cstdlib>

namespace slicewise {

namespace {

void setVariable(const char *name, const std::optional<std::string> &value)
{
    if (value) {
        ::setenv(name, value->c_str(), 1); // NOLINT(concurrency-mt-unsafe): tests do so with one thread
    } else {
        ::unsetenv(name); // NOLINT(concurrency-mt-unsafe): as above
    }
}

} // namespace

ScopedVariable::ScopedVariable(const char *name, const std::optional<std::string> &value) : m_name(name)
{
    const char *before = std::getenv(name); // NOLINT(concurrency-mt-unsafe): as above
    if (before != nullptr) {
        m_before = before;
    }
    setVariable(name, value);
}

ScopedVariable::~ScopedVariable()
{
    setVariable(m_name, m_before);
}

} // namespace slicewise
