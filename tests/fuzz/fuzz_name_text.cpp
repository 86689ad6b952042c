// Names as text: whatever the bytes, what is shown is harmless and what is typed from its spelling means it.

#include "scan/Utf8.h"
#include "ui/NameText.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

void require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

bool hasControlCharacters(std::string_view text)
{
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte < 0x20 || byte == 0x7f) {
            return true;
        }
    }
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    using namespace slicewise; // NOLINT(google-build-using-namespace): this function is the program
    const std::string bytes(reinterpret_cast<const char *>(data), size);
    const std::string shown = shownText(bytes);
    const std::string typable = typableText(bytes);
    require(bytesOfTyped(typable) == bytes);
    require(isUtf8(shown) && isUtf8(typable) && isUtf8(utf8Text(bytes)));
    require(!hasControlCharacters(shown) && !hasControlCharacters(typable));
    require(!isUtf8(bytes) || (utf8Text(bytes) == bytes && shown == typable));
    for (std::size_t columns = 0; columns < 8; ++columns) {
        const std::string cut = cutToColumns(shown, columns);
        require(isUtf8(cut) && columnsOf(cut) <= columns);
    }
    return 0;
}
