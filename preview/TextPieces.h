// Cuts a text of any length into pieces that can be found without reading what is before them.
//
// A line of the screen's list is a piece: the lines of text that begin in one stretch of kStretchBytes of the
// file. Where a line goes on for longer than that, it is cut, between two characters as far as the spelling
// tells. So the number of pieces follows from the size alone, each is read by itself, and neither a log of
// gigabytes nor a line of gigabytes has to be read to its end to show its middle.
//
// Any thread; reads the file that it is given.
#pragma once

#include "platform/Device.h"
#include "preview/ContentKind.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace slicewise {

class TextPieces {
public:
    static constexpr std::uint64_t kStretchBytes = 4096;
    /// A piece begins and ends at most a stretch behind where its own begins and ends.
    static constexpr std::uint64_t kMostPieceBytes = 2 * kStretchBytes;

    /// The text begins behind its mark.
    TextPieces(std::uint64_t fileBytes, std::size_t markLength, TextForm form);

    [[nodiscard]] std::uint64_t count() const { return m_count; }

    /// The bytes of a piece, without the end of its last line where that is the end of the piece. Empty where
    /// no line begins in its stretch, and where the file can't be read or has become shorter.
    [[nodiscard]] std::string bytesOf(std::uint64_t piece, ReadableFile &file) const;

    /// Where a piece begins in the file, given what stands around the beginning of its stretch: `around` from
    /// a unit before it (nothing for the first piece) to a stretch behind it.
    [[nodiscard]] std::size_t beginIn(std::string_view around) const;

private:
    [[nodiscard]] std::string read(ReadableFile &file, std::uint64_t from, std::uint64_t to) const;
    [[nodiscard]] bool isLineEndAt(std::string_view bytes, std::size_t at) const;
    [[nodiscard]] bool isMiddleOfCharacter(std::string_view bytes, std::size_t at) const;
    [[nodiscard]] std::uint64_t stretchBegin(std::uint64_t piece) const;

    std::uint64_t m_fileBytes;
    std::uint64_t m_textBegin;
    TextForm m_form;
    std::size_t m_unitBytes;
    std::uint64_t m_count;
};

} // namespace slicewise
