// Names of files and categories as text: what may be shown, and what a person can type to mean them.
//
// Inside the system a name is any bytes. Shown, it must be UTF-8, on one line, and must not steer a
// terminal or turn the reading direction of what follows. Pure functions, any thread.
#pragma once

#include <string>
#include <string_view>

namespace slicewise {

/// Valid UTF-8: each byte that is not part of any becomes U+FFFD. Everything else stays, control characters
/// too: for formats that have their own way to write them.
[[nodiscard]] std::string utf8Text(std::string_view bytes);

/// For the eyes: as utf8Text(), and control characters, line separators and characters that turn the reading
/// direction are written as \xNN, byte by byte.
[[nodiscard]] std::string shownText(std::string_view bytes);

/// For the keyboard: as shownText(), with \xNN also for each byte that is not UTF-8, so that nothing is lost.
/// A backslash that would be taken for the beginning of such a spelling is written \x5C.
[[nodiscard]] std::string typableText(std::string_view bytes);

/// The bytes that somebody means who types this: \xNN (two hexadecimal digits) is a byte, everything else
/// itself. bytesOfTyped(typableText(name)) is name.
[[nodiscard]] std::string bytesOfTyped(std::string_view typed);

/// The columns that a text of shownText() takes on a terminal: two for wide characters, none for combining.
[[nodiscard]] std::size_t columnsOf(std::string_view text);

/// The text if it fits, else as much of its front as does with a "…" behind it. Zero columns give no text.
[[nodiscard]] std::string cutToColumns(std::string_view text, std::size_t columns);

} // namespace slicewise
