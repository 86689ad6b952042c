#include "preview/TextPieces.h"

#include <algorithm>
#include <span>
#include <string_view>

namespace slicewise {

namespace {

std::size_t unitBytesOf(TextForm form)
{
    switch (form) {
    case TextForm::Utf16LittleEndian:
    case TextForm::Utf16BigEndian:
        return 2;
    case TextForm::Utf32LittleEndian:
    case TextForm::Utf32BigEndian:
        return 4;
    default:
        return 1;
    }
}

bool isLittleEndian(TextForm form)
{
    return form == TextForm::Utf16LittleEndian || form == TextForm::Utf32LittleEndian;
}

} // namespace

TextPieces::TextPieces(std::uint64_t fileBytes, std::size_t markLength, TextForm form)
    : m_fileBytes(fileBytes),
      m_textBegin(std::min<std::uint64_t>(markLength, fileBytes)),
      m_form(form),
      m_unitBytes(unitBytesOf(form)),
      m_count((m_fileBytes - m_textBegin + kStretchBytes - 1) / kStretchBytes)
{}

std::uint64_t TextPieces::stretchBegin(std::uint64_t piece) const
{
    return std::min(m_fileBytes, m_textBegin + piece * kStretchBytes);
}

std::string TextPieces::read(ReadableFile &file, std::uint64_t from, std::uint64_t to) const
{
    std::string bytes(to - from, '\0');
    const Result<std::size_t> length = file.readAt(from, std::as_writable_bytes(std::span(bytes)));
    bytes.resize(length ? *length : 0);
    return bytes;
}

bool TextPieces::isLineEndAt(std::string_view bytes, std::size_t at) const
{
    if (at + m_unitBytes > bytes.size()) {
        return false;
    }
    const std::size_t low = isLittleEndian(m_form) ? at : at + m_unitBytes - 1;
    for (std::size_t i = at; i < at + m_unitBytes; ++i) {
        if (bytes[i] != (i == low ? '\n' : '\0')) {
            return false;
        }
    }
    return true;
}

bool TextPieces::isMiddleOfCharacter(std::string_view bytes, std::size_t at) const
{
    if (at + m_unitBytes > bytes.size()) {
        return false;
    }
    if (m_form == TextForm::Utf8) {
        return (static_cast<unsigned char>(bytes[at]) & 0xc0U) == 0x80U;
    }
    if (m_unitBytes == 2) { // the second half of a pair
        const auto high = static_cast<unsigned char>(bytes[isLittleEndian(m_form) ? at + 1 : at]);
        return (high & 0xfcU) == 0xdcU;
    }
    return false;
}

std::size_t TextPieces::beginIn(std::string_view around) const
{
    const std::size_t stretch = m_unitBytes; // where it begins
    for (std::size_t at = 0; at + m_unitBytes <= around.size(); at += m_unitBytes) {
        if (isLineEndAt(around, at)) {
            return at + m_unitBytes;
        }
    }
    std::size_t at = std::min(stretch, around.size());
    // No character is longer than that; what goes on is no character.
    constexpr int kMostUnits = 3;
    for (int i = 0; i < kMostUnits && isMiddleOfCharacter(around, at); ++i) {
        at += m_unitBytes;
    }
    return at;
}

std::string TextPieces::bytesOf(std::uint64_t piece, ReadableFile &file) const
{
    if (piece >= m_count) {
        return {};
    }
    // From before the beginning of its own stretch to the end of the next one.
    const bool isFirst = piece == 0;
    const std::uint64_t from = stretchBegin(piece) - (isFirst ? 0 : m_unitBytes);
    const std::uint64_t end = stretchBegin(piece + 1);
    const std::string bytes = read(file, from, std::min(m_fileBytes, end + kStretchBytes));
    const std::string_view all = bytes;
    const auto aroundEnd = static_cast<std::size_t>(end - from);
    const std::size_t aroundBegin = isFirst ? 0 : m_unitBytes;
    const std::size_t mine =
        isFirst ? 0 : beginIn(all.substr(0, std::min<std::size_t>(aroundBegin + kStretchBytes, all.size())));
    if (aroundEnd - std::min(aroundEnd, m_unitBytes) >= all.size() || mine >= all.size()) {
        return mine < all.size() ? bytes.substr(mine) : std::string();
    }
    const std::size_t before = aroundEnd - m_unitBytes;
    const bool isLast = piece + 1 == m_count;
    const std::size_t next = isLast ? all.size() : before + beginIn(all.substr(before));
    if (next <= mine) {
        return {};
    }
    std::string own = bytes.substr(mine, next - mine);
    if (own.size() >= m_unitBytes && isLineEndAt(own, own.size() - m_unitBytes)) {
        own.resize(own.size() - m_unitBytes);
    }
    return own;
}

} // namespace slicewise
