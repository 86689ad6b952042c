// Property lists: the format in which a device's system and its applications keep small structured data.
//
// Reads the binary form (version "00") and the XML one, through libplist. A list may come from anyone, and
// what is small in a file can be endless once it is expanded: in the binary form one object may stand in many
// places, and libplist makes a copy for each. So a list that is damaged or exceeds one of the limits below is
// refused before libplist sees it. Also refused is what libplist can't read: a null, a definition of entities
// in the document type of an XML list, the older text form, JSON.
//
// What is accepted takes some 0.3 s and 80 MB at worst.
//
// A text ends at its first null byte. Its bytes are the list's own, which should be UTF-8 but are not
// checked; what is UTF-16 in the list becomes UTF-8, halves of surrogate pairs left out. Where a dictionary
// has a key twice, either value may be found.
//
// Immutable; values are views into their list and live no longer, but stay valid when it is moved. Any
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
    /// Of a file in the binary form.
    static constexpr std::size_t kMostBytes = std::size_t{8} << 20U;
    /// Arrays and dictionaries inside each other; libplist takes a piece of the stack for each.
    static constexpr std::size_t kMostDepth = 64;
    /// Values and keys, each counted as often as it stands in the expanded list. An object costs libplist up
    /// to 140 bytes beside its content.
    static constexpr std::size_t kMostObjects = 200'000;
    /// The content of texts and data, counted as the objects are.
    static constexpr std::size_t kMostExpandedBytes = std::size_t{32} << 20U;

    // libplist looks for each new key of an XML list in a table of fixed size with a known hash. What is made
    // to collide costs the square of the number of keys, times the length that they have in common: 0.3 s at
    // these two limits, and 1.3 s with 8,000 keys.
    static constexpr std::size_t kMostXmlBytes = std::size_t{2} << 20U;
    static constexpr std::size_t kMostXmlKeys = 5'000;
    /// For each character reference in a text libplist moves the rest of it: the sum of the products of both.
    static constexpr std::size_t kMostXmlBytesMoved = std::size_t{8} << 30U;

    /// A value somewhere in a list.
    class Value {
    public:
        /// Whether it is a dictionary; only then may value() be asked.
        [[nodiscard]] bool isDictionary() const;
        /// The value under a key; absent where the dictionary has none. Asking what is no dictionary is a
        /// broken invariant and raises std::logic_error.
        [[nodiscard]] std::optional<Value> value(std::string_view key) const;
        /// What the value reads as in a sentence: a text itself, a number in decimal digits without exponent
        /// (a real one with as few as give the same number again), a truth value "1" or "0". Absent for
        /// anything else: dates, data, arrays, dictionaries, reals that are infinite or not a number.
        [[nodiscard]] std::optional<std::string> text() const;

    private:
        friend class PropertyList;
        explicit Value(void *node) : m_node(node) {}
        void *m_node; ///< plist_t, borrowed
    };

    /// Absent where the bytes are no property list, or one of those that are refused. Never raises for what
    /// they hold, and borrows nothing from them.
    static std::optional<PropertyList> parse(std::string_view bytes);

    /// The whole list in the XML form, indented; absent where it can't be written so. Data and texts make it
    /// larger than what was read, up to the limits above.
    [[nodiscard]] std::optional<std::string> xml() const;

    [[nodiscard]] Value root() const { return Value(m_root.get()); }

private:
    struct Freer {
        void operator()(void *node) const;
    };
    explicit PropertyList(void *root) : m_root(root) {}
    std::unique_ptr<void, Freer> m_root;
};

} // namespace slicewise
