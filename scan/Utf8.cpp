#include "scan/Utf8.h"

#include <utf8proc.h>

#include <algorithm>

namespace slicewise {

bool isUtf8(std::string_view bytes)
{
    const auto isAscii = [](char byte) { return static_cast<unsigned char>(byte) < 0x80; };
    bytes.remove_prefix(
        static_cast<std::size_t>(std::find_if_not(bytes.begin(), bytes.end(), isAscii) - bytes.begin()));
    while (!bytes.empty()) {
        utf8proc_int32_t character = 0;
        const utf8proc_ssize_t length =
            utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t *>(bytes.data()),
                             static_cast<utf8proc_ssize_t>(bytes.size()), &character);
        if (length <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(length));
    }
    return true;
}

} // namespace slicewise
