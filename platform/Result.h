// A value, or the errno that stands in its place.
//
// The way in which everything that asks the operating system reports an expected failure: no exceptions,
// no out-parameters. Values are owned by the result. Asking for the value of a failed result is a broken
// invariant and throws std::bad_variant_access.
#pragma once

#include <utility>
#include <variant>

namespace slicewise {

struct ErrorNumber {
    int value = 0;

    friend bool operator==(const ErrorNumber &, const ErrorNumber &) = default;
};

template <typename T> class Result {
public:
    // A function returns either of them as it is: NOLINTNEXTLINE(google-explicit-constructor)
    Result(T value) : m_content(std::in_place_index<0>, std::move(value)) {}
    // NOLINTNEXTLINE(google-explicit-constructor): as above
    Result(ErrorNumber error) : m_content(std::in_place_index<1>, error) {}

    [[nodiscard]] bool ok() const { return m_content.index() == 0; }
    explicit operator bool() const { return ok(); }

    /// The errno of a failed result; 0 where there is a value.
    [[nodiscard]] int error() const { return ok() ? 0 : std::get<1>(m_content).value; }

    [[nodiscard]] T &value() & { return std::get<0>(m_content); }
    [[nodiscard]] const T &value() const & { return std::get<0>(m_content); }
    [[nodiscard]] T &&value() && { return std::get<0>(std::move(m_content)); }

    const T *operator->() const { return &std::get<0>(m_content); }
    T *operator->() { return &std::get<0>(m_content); }
    const T &operator*() const & { return std::get<0>(m_content); }
    T &operator*() & { return std::get<0>(m_content); }

private:
    std::variant<T, ErrorNumber> m_content;
};

} // namespace slicewise
