#include "preview/PieceSource.h"

#include <QStringDecoder>

#include <uchardet/uchardet.h>

#include <algorithm>
#include <memory>
#include <span>
#include <string>
#include <type_traits>

namespace slicewise {

namespace {

struct EndDetection {
    void operator()(uchardet_t detector) const { uchardet_delete(detector); }
};

/// For bytes that are neither marked nor UTF-8. What is not known reads as Western European, in which every
/// byte is some character.
QByteArray guessedEncoding(const std::string &head)
{
    const std::unique_ptr<std::remove_pointer_t<uchardet_t>, EndDetection> detector(uchardet_new());
    QByteArray name;
    if (uchardet_handle_data(detector.get(), head.data(), head.size()) == 0) {
        uchardet_data_end(detector.get());
        name = uchardet_get_charset(detector.get());
    }
    if (name.isEmpty() || name == "ASCII" || !QStringDecoder(name.constData()).isValid()) {
        const QByteArray western = "windows-1252";
        return QStringDecoder(western.constData()).isValid() ? western : QByteArray("ISO-8859-1");
    }
    return name;
}

QByteArray encodingOf(const std::string &head)
{
    switch (textFormOf(head)) {
    case TextForm::Utf8:
        return "UTF-8";
    case TextForm::Utf16LittleEndian:
        return "UTF-16LE";
    case TextForm::Utf16BigEndian:
        return "UTF-16BE";
    case TextForm::Utf32LittleEndian:
        return "UTF-32LE";
    case TextForm::Utf32BigEndian:
        return "UTF-32BE";
    default:
        return guessedEncoding(head);
    }
}

QChar shown(QChar character)
{
    constexpr char16_t kPictures = 0x2400;
    constexpr char16_t kPictureOfDelete = 0x2421;
    const char16_t code = character.unicode();
    if (code == 0x7f) {
        return kPictureOfDelete;
    }
    return code < u' ' && code != u'\n' && code != u'\t' ? QChar(static_cast<char16_t>(kPictures + code))
                                                         : character;
}

constexpr char16_t kDot = 0x00b7; // stands for what is no letter

} // namespace

TextSource::TextSource(std::uint64_t fileBytes, const std::string &head)
    : m_pieces(fileBytes, markLengthOf(head), textFormOf(head)), m_encoding(encodingOf(head))
{}

Piece TextSource::read(std::uint64_t number, ReadableFile &file) const
{
    const std::string bytes = m_pieces.bytesOf(number, file);
    QStringDecoder decoder(m_encoding.constData(), QStringDecoder::Flag::Stateless);
    QString text = decoder(QByteArrayView(bytes));
    text.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    if (text.endsWith(u'\r')) {
        text.chop(1);
    }
    text.replace(u'\r', u'\n'); // how old systems end lines
    std::transform(text.begin(), text.end(), text.begin(), shown);
    return {.text = text};
}

ByteSource::ByteSource(std::uint64_t fileBytes, unsigned bytesOfLine)
    : m_fileBytes(fileBytes), m_bytesOfLine(std::max(1U, bytesOfLine))
{}

std::uint64_t ByteSource::count() const
{
    const std::uint64_t bytesOfPiece = std::uint64_t{m_bytesOfLine} * kLinesOfPiece;
    return m_fileBytes / bytesOfPiece + (m_fileBytes % bytesOfPiece != 0 ? 1 : 0);
}

Piece ByteSource::read(std::uint64_t number, ReadableFile &file) const
{
    const std::uint64_t begin = number * m_bytesOfLine * kLinesOfPiece;
    std::string bytes(std::size_t{m_bytesOfLine} * kLinesOfPiece, '\0');
    const Result<std::size_t> length = file.readAt(begin, std::as_writable_bytes(std::span(bytes)));
    bytes.resize(length ? *length : 0);
    constexpr int kOffsetDigits = 8;
    constexpr int kHexadecimal = 16;
    Piece piece;
    for (std::size_t at = 0; at < bytes.size(); at += m_bytesOfLine) {
        const std::size_t end = std::min(bytes.size(), at + m_bytesOfLine);
        if (at > 0) {
            piece.offsets += u'\n';
            piece.text += u'\n';
            piece.characters += u'\n';
        }
        piece.offsets += QString::number(begin + at, kHexadecimal).rightJustified(kOffsetDigits, u'0');
        for (std::size_t i = at; i < end; ++i) {
            const auto byte = static_cast<unsigned char>(bytes[i]);
            if (i > at) {
                piece.text += (i - at) % 8 == 0 ? QLatin1String("  ") : QLatin1String(" ");
            }
            piece.text += QString::number(byte, kHexadecimal).rightJustified(2, u'0');
            piece.characters += byte >= ' ' && byte < 0x7f ? QChar(byte) : QChar(kDot);
        }
    }
    return piece;
}

} // namespace slicewise
