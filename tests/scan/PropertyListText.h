// Property lists for tests, in both of the forms in which a device has them.
#pragma once

#include <plist/plist.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace slicewise {

/// An XML list around the content, such as "<array/>".
inline std::string xmlList(std::string_view content)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + std::string(content) +
           "</plist>\n";
}

/// A dictionary of one key; `value` is XML, such as "<string>Maps</string>".
inline std::string xmlDictionary(std::string_view key, std::string_view value)
{
    return xmlList("<dict><key>" + std::string(key) + "</key>" + std::string(value) + "</dict>");
}

/// The same list in the binary form; empty where the XML is none.
inline std::string binaryList(const std::string &xml)
{
    plist_t list = nullptr;
    plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &list);
    char *bytes = nullptr;
    std::uint32_t length = 0;
    if (list != nullptr) {
        plist_to_bin(list, &bytes, &length);
    }
    plist_free(list);
    std::string binary(bytes != nullptr ? std::string(bytes, length) : std::string());
    std::free(bytes); // NOLINT(cppcoreguidelines-no-malloc): it is the library's
    return binary;
}

} // namespace slicewise
