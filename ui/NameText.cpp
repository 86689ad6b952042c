#include "ui/NameText.h"

#include <fmt/format.h>
#include <utf8proc.h>

#include <cstddef>
#include <cstdint>
#include <optional>

namespace slicewise {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD"; // U+FFFD
constexpr std::string_view kEllipsis = "\xE2\x80\xA6";    // U+2026

struct Character {
    std::string_view bytes;
    std::int32_t codePoint = -1; ///< -1: a single byte that is not UTF-8
};

// Takes the first character off a text that is not empty.
Character takeCharacter(std::string_view &text)
{
    std::int32_t codePoint = -1;
    const auto *bytes = reinterpret_cast<const std::uint8_t *>(text.data());
    const utf8proc_ssize_t length =
        utf8proc_iterate(bytes, static_cast<utf8proc_ssize_t>(text.size()), &codePoint);
    const std::size_t taken = length > 0 ? static_cast<std::size_t>(length) : 1;
    const Character character{.bytes = text.substr(0, taken), .codePoint = length > 0 ? codePoint : -1};
    text.remove_prefix(taken);
    return character;
}

bool steersTheReader(std::int32_t codePoint)
{
    return codePoint < 0x20 || (codePoint >= 0x7f && codePoint < 0xa0)          // control characters
           || codePoint == 0x061c || codePoint == 0x200e || codePoint == 0x200f // direction marks
           || (codePoint >= 0x2028 && codePoint <= 0x202e) // separators, embeddings, overrides
           || (codePoint >= 0x2066 && codePoint <= 0x2069) // isolates
           || codePoint == 0xfeff;
}

void appendEscaped(std::string &text, std::string_view bytes)
{
    for (const char byte : bytes) {
        fmt::format_to(std::back_inserter(text), "\\x{:02X}", static_cast<unsigned char>(byte));
    }
}

std::optional<unsigned> hexDigit(char digit)
{
    if (digit >= '0' && digit <= '9') {
        return static_cast<unsigned>(digit - '0');
    }
    const char lower = static_cast<char>(digit | 0x20);
    if (lower >= 'a' && lower <= 'f') {
        return static_cast<unsigned>(lower - 'a' + 10);
    }
    return std::nullopt;
}

// The byte that a text beginning with \xNN spells.
std::optional<char> spelledByte(std::string_view text)
{
    if (text.size() < 4 || text[0] != '\\' || text[1] != 'x') {
        return std::nullopt;
    }
    const auto high = hexDigit(text[2]);
    const auto low = hexDigit(text[3]);
    return high && low ? std::optional(static_cast<char>(*high * 16 + *low)) : std::nullopt;
}

enum class NotUtf8 : bool { Replaced, Spelled };

std::string readable(std::string_view bytes, NotUtf8 notUtf8)
{
    std::string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        const bool looksSpelled = spelledByte(bytes).has_value();
        const Character character = takeCharacter(bytes);
        if (character.codePoint < 0 && notUtf8 == NotUtf8::Replaced) {
            text.append(kReplacement);
        } else if (character.codePoint < 0 || steersTheReader(character.codePoint) || looksSpelled) {
            appendEscaped(text, character.bytes);
        } else {
            text.append(character.bytes);
        }
    }
    return text;
}

std::size_t columnsOf(const Character &character)
{
    const int columns = character.codePoint < 0 ? 1 : utf8proc_charwidth(character.codePoint);
    return columns > 0 ? static_cast<std::size_t>(columns) : 0;
}

} // namespace

std::string utf8Text(std::string_view bytes)
{
    std::string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        const Character character = takeCharacter(bytes);
        text.append(character.codePoint < 0 ? kReplacement : character.bytes);
    }
    return text;
}

std::string shownText(std::string_view bytes)
{
    return readable(bytes, NotUtf8::Replaced);
}

std::string typableText(std::string_view bytes)
{
    return readable(bytes, NotUtf8::Spelled);
}

std::string bytesOfTyped(std::string_view typed)
{
    std::string bytes;
    bytes.reserve(typed.size());
    while (!typed.empty()) {
        if (const std::optional<char> byte = spelledByte(typed)) {
            bytes.push_back(*byte);
            typed.remove_prefix(4);
        } else {
            bytes.push_back(typed.front());
            typed.remove_prefix(1);
        }
    }
    return bytes;
}

std::size_t columnsOf(std::string_view text)
{
    std::size_t columns = 0;
    while (!text.empty()) {
        columns += columnsOf(takeCharacter(text));
    }
    return columns;
}

std::string cutToColumns(std::string_view text, std::size_t columns)
{
    std::size_t used = 0;
    std::size_t fitting = 0; // bytes that leave room for the ellipsis
    for (std::string_view rest = text; !rest.empty();) {
        const Character character = takeCharacter(rest);
        const std::size_t width = columnsOf(character);
        // A combining character goes with the one before it or not at all.
        if (used + width < columns &&
            (width > 0 || fitting == text.size() - rest.size() - character.bytes.size())) {
            fitting = text.size() - rest.size();
        }
        used += width;
        if (used > columns) {
            return columns == 0 ? std::string() : std::string(text.substr(0, fitting)).append(kEllipsis);
        }
    }
    return std::string(text);
}

} // namespace slicewise
