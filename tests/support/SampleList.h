// A property list that is made up: a dictionary of texts, numbers, lists of texts and further dictionaries.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace slicewise {

class SampleList {
public:
    enum class Form : bool { Binary, Xml };
    /// Texts are UTF-8.
    using Value = std::variant<std::string, std::uint64_t, std::vector<std::string>>;

    SampleList() : SampleList({}) {}
    SampleList(std::initializer_list<std::pair<const char *, Value>> values);

    void set(const std::string &key, const Value &value);
    void set(const std::string &key, SampleList dictionary);

    /// What is in its file.
    [[nodiscard]] std::string bytes(Form form) const;

private:
    struct Freer {
        void operator()(void *node) const;
    };
    std::unique_ptr<void, Freer> m_root;
};

} // namespace slicewise
