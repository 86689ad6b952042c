// What a file is, by how it begins.
//
// The beginning decides; the name only where the beginning says nothing, since names are often wrong and
// always cheap to make up. Pure functions: any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace slicewise {

enum class ContentKind : std::uint8_t {
    Empty,
    Image,
    Pdf,
    PropertyList,
    Audio,
    Video,
    Text,
    Other, ///< bytes that nothing here makes sense of
};

/// How much of a file's beginning is looked at.
inline constexpr std::size_t kHeadBytes = std::size_t{64} * 1024;

/// `head` is the beginning of the file, kHeadBytes or all of it; `path` ends in its name.
[[nodiscard]] ContentKind contentKindOf(std::string_view head, std::string_view path);

/// How a text's characters are spelled, as far as this can be told without a table of languages.
enum class TextForm : std::uint8_t {
    NoText,
    Utf8,
    Utf16LittleEndian,
    Utf16BigEndian,
    Utf32LittleEndian,
    Utf32BigEndian,
    SomeOtherEncoding, ///< one byte or several a character, line ends as in ASCII
};
[[nodiscard]] TextForm textFormOf(std::string_view head);
/// The bytes at the beginning that say how a text is spelled, and belong to no character.
[[nodiscard]] std::size_t markLengthOf(std::string_view head);

} // namespace slicewise
