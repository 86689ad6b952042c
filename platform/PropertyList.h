// Property lists: the format in which a device's system and its applications keep small structured data.
//
// Reads the binary form (version "00") and the XML one, through libplist. A list may come from anyone, and
// what is small in a file can be endless once it is expanded: one that is damaged, larger than kMostBytes,
// nested deeper than kMostDepth or that would expand to more than kMostObjects or kMostExpandedBytes is
// refused before libplist sees it. Immutable; values are views into their list and live no longer. Any
// thread.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace slicewise {

class PropertyList {
public:
    static constexpr std::size_t kMostBytes = std::size_t{8} << 20U;
    static constexpr std::size_t kMostDepth = 64;
    static constexpr std::size_t kMostObjects = 500'000;
    static constexpr std::size_t kMostExpandedBytes = std::size_t{32} << 20U;

    /// A value somewhere in a list.
    class Value {
    public:
        /// Whether it is a dictionary; only then may value() be asked.
        [[nodiscard]] bool isDictionary() const;
        /// The value under a key; absent where the dictionary has none. Raises SZAException's equal in this
        /// folder, std::logic_error, where this is no dictionary.
        [[nodiscard]] std::optional<Value> value(std::string_view key) const;
        /// What the value reads as in a sentence: a text itself (UTF-8), a whole or a real number in decimal
        /// digits, a truth value "1" or "0". Absent for anything else: dates, data, arrays, dictionaries.
        [[nodiscard]] std::optional<std::string> text() const;

    private:
        friend class PropertyList;
        explicit Value(void *node) : m_node(node) {}
        void *m_node; ///< plist_t, borrowed
    };

    /// Absent where the bytes are no property list, or one of those that are refused.
    static std::optional<PropertyList> parse(std::string_view bytes);

    [[nodiscard]] Value root() const { return Value(m_root.get()); }

private:
    struct Freer {
        void operator()(void *node) const;
    };
    explicit PropertyList(void *root) : m_root(root) {}
    std::unique_ptr<void, Freer> m_root;
};

} // namespace slicewise
