// Reads any bytes as a property list, and what is asked of such lists.
#include "platform/PropertyList.h"
#include "tests/fuzz/Require.h"

#include <array>
#include <cstdint>
#include <stdexcept>
#include <string_view>

namespace slicewise {
namespace {

constexpr std::array<std::string_view, 4> kKeys = {"Name", "CFBundleDisplayName", "itemName", "Ringtones"};

bool raisesWhenAsked(const PropertyList::Value &value)
{
    try {
        static_cast<void>(value.value(kKeys.front()));
        return false;
    } catch (const std::logic_error &) {
        return true;
    }
}

void look(const PropertyList::Value &value, std::size_t depth)
{
    require(depth <= PropertyList::kMostDepth + 1, "no list is deeper than the limit");
    const std::optional<std::string> text = value.text();
    require(!text || text->find('\0') == std::string::npos, "a text ends at its first null byte");
    require(value.text() == text, "a value always reads the same");
    require(raisesWhenAsked(value) != value.isDictionary(), "dictionaries, and only they, have values");
    if (!value.isDictionary()) {
        return;
    }
    require(!text, "a dictionary is no text");
    for (const std::string_view key : kKeys) {
        if (const std::optional<PropertyList::Value> found = value.value(key)) {
            look(*found, depth + 1);
        }
    }
}

} // namespace
} // namespace slicewise

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string_view bytes(reinterpret_cast<const char *>(data), size);
    if (const std::optional<slicewise::PropertyList> list = slicewise::PropertyList::parse(bytes)) {
        slicewise::look(list->root(), 0);
    }
    return 0;
}
