#include "platform/PropertyList.h"

#include "platform/PropertyListCheck.h"

#include <plist/plist.h>

#include <array>
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <system_error>

namespace slicewise {

namespace {

constexpr std::string_view kBinarySignature = "bplist00";
constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";

// libplist reads the reals of an XML list as the thread's locale writes them: "1.5" would be 1 in a German
// one.
class PlainNumbers {
public:
    PlainNumbers() : m_before(uselocale(plainLocale())) {}
    ~PlainNumbers() { uselocale(m_before); }
    PlainNumbers(const PlainNumbers &) = delete;
    PlainNumbers &operator=(const PlainNumbers &) = delete;

private:
    static locale_t plainLocale()
    {
        static const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
        return plain;
    }

    locale_t m_before;
};

void *parsed(std::string_view bytes)
{
    plist_t root = nullptr;
    if (bytes.starts_with(kBinarySignature)) {
        if (isSafeBinaryPropertyList(bytes)) {
            plist_from_bin(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &root);
        }
        return root;
    }
    if (bytes.starts_with(kByteOrderMark)) {
        bytes.remove_prefix(kByteOrderMark.size()); // libplist does not know it
    }
    if (isSafeXmlPropertyList(bytes)) {
        const PlainNumbers plainNumbers;
        plist_from_xml(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &root);
    }
    return root;
}

// libplist 2.2 gives -1 and the largest number without a sign as the same bits, and writes them differently.
bool isWrittenNegative(plist_t node)
{
    char *xml = nullptr;
    std::uint32_t size = 0;
    plist_to_xml(node, &xml, &size);
    if (xml == nullptr) {
        return false;
    }
    const bool isNegative = std::string_view(xml, size).find("<integer>-") != std::string_view::npos;
    plist_to_xml_free(xml);
    return isNegative;
}

std::string wholeText(plist_t node)
{
    std::uint64_t bits = 0;
    plist_get_uint_val(node, &bits);
    if (bits > std::uint64_t{std::numeric_limits<std::int64_t>::max()} && isWrittenNegative(node)) {
        return std::to_string(static_cast<std::int64_t>(bits));
    }
    return std::to_string(bits);
}

std::optional<std::string> realText(plist_t node)
{
    double number = 0;
    plist_get_real_val(node, &number);
    if (!std::isfinite(number)) {
        return std::nullopt;
    }
    std::array<char, 512> digits{}; // the longest has 309 before the point, or 325 behind it
    const auto [end, error] =
        std::to_chars(digits.data(), digits.data() + digits.size(), number, std::chars_format::fixed);
    return error == std::errc() ? std::optional(std::string(digits.data(), end)) : std::nullopt;
}

} // namespace

bool PropertyList::Value::isDictionary() const
{
    return plist_get_node_type(m_node) == PLIST_DICT;
}

std::optional<PropertyList::Value> PropertyList::Value::value(std::string_view key) const
{
    if (!isDictionary()) {
        throw std::logic_error("only a dictionary of a property list has values under keys");
    }
    const std::string name(key);
    void *node = name.find('\0') == std::string::npos ? plist_dict_get_item(m_node, name.c_str()) : nullptr;
    return node != nullptr ? std::optional(Value(node)) : std::nullopt;
}

std::optional<std::string> PropertyList::Value::text() const
{
    switch (plist_get_node_type(m_node)) {
    case PLIST_STRING: {
        const char *text = plist_get_string_ptr(m_node, nullptr);
        return text != nullptr ? std::optional<std::string>(text) : std::nullopt;
    }
    case PLIST_UINT:
        return wholeText(m_node);
    case PLIST_REAL:
        return realText(m_node);
    case PLIST_BOOLEAN: {
        std::uint8_t value = 0;
        plist_get_bool_val(m_node, &value);
        return value != 0 ? "1" : "0";
    }
    default:
        return std::nullopt;
    }
}

std::optional<PropertyList> PropertyList::parse(std::string_view bytes)
{
    void *root = parsed(bytes);
    return root != nullptr ? std::optional(PropertyList(root)) : std::nullopt;
}

std::optional<std::string> PropertyList::xml() const
{
    const PlainNumbers plainNumbers;
    char *text = nullptr;
    std::uint32_t size = 0;
    plist_to_xml(m_root.get(), &text, &size);
    if (text == nullptr) {
        return std::nullopt;
    }
    std::string result(text, size);
    plist_to_xml_free(text);
    return result;
}

void PropertyList::Freer::operator()(void *node) const
{
    plist_free(node);
}

} // namespace slicewise
