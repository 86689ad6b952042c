// What the rows of a long list read as, each found by its number: a text, or any bytes.
//
// Immutable; any thread.
#pragma once

#include "platform/Device.h"
#include "preview/TextPieces.h"

#include <QByteArray>
#include <QString>

#include <cstdint>

namespace slicewise {

/// A row. A text has only the first of them; bytes have as many lines in each.
struct Piece {
    QString text; ///< of bytes: two hexadecimal digits each
    QString offsets = {};
    QString characters = {};
};

class PieceSource {
public:
    PieceSource() = default;
    PieceSource(const PieceSource &) = delete;
    PieceSource &operator=(const PieceSource &) = delete;
    virtual ~PieceSource() = default;

    [[nodiscard]] virtual std::uint64_t count() const = 0;
    [[nodiscard]] virtual Piece read(std::uint64_t number, ReadableFile &file) const = 0;
};

/// Of a text that begins like `head`. Control characters read as their pictures, so that they move nothing.
class TextSource final : public PieceSource {
public:
    TextSource(std::uint64_t fileBytes, const std::string &head);

    [[nodiscard]] std::uint64_t count() const override { return m_pieces.count(); }
    [[nodiscard]] Piece read(std::uint64_t number, ReadableFile &file) const override;
    /// As people call it: "UTF-8", "Shift_JIS".
    [[nodiscard]] QString encoding() const { return QString::fromLatin1(m_encoding); }

private:
    TextPieces m_pieces;
    QByteArray m_encoding;
};

class ByteSource final : public PieceSource {
public:
    static constexpr unsigned kLinesOfPiece = 16;

    ByteSource(std::uint64_t fileBytes, unsigned bytesOfLine);

    [[nodiscard]] std::uint64_t count() const override;
    [[nodiscard]] Piece read(std::uint64_t number, ReadableFile &file) const override;

private:
    std::uint64_t m_fileBytes;
    unsigned m_bytesOfLine;
};

} // namespace slicewise
