// Pictures, in whatever formats Qt's plugins read.
#include "preview/DecoderFile.h"

#include <QImage>
#include <QImageReader>

#include <algorithm>

namespace slicewise {

namespace {

// What a format needs that can't be read smaller than it is.
constexpr int kMostMegabytes = 512;

bool liesOnItsSide(const QImageReader &reader)
{
    return (reader.transformation() & QImageIOHandler::TransformationRotate90) != 0;
}

/// As the picture is to be seen, not as it lies in the file.
QSize fullSize(QImageReader &reader)
{
    const QSize size = reader.size();
    return liesOnItsSide(reader) ? size.transposed() : size;
}

class ImageDecoding {
public:
    ImageDecoding(DecoderFile &file, DecoderConnection &connection) : m_file(file), m_connection(connection)
    {
        QImageReader::setAllocationLimit(kMostMegabytes);
    }

    [[nodiscard]] bool open()
    {
        QImageReader reader;
        prepare(reader);
        if (!reader.canRead()) { // it begins like a picture, and no plugin knows such ones
            fail(FailedAnswer::Why::NotInstalled, 0);
            return false;
        }
        m_size = fullSize(reader);
        if (m_size.isEmpty()) { // a format that only tells when all is read
            m_whole = reader.read();
            m_size = m_whole.size();
        }
        if (m_size.isEmpty()) {
            fail(FailedAnswer::Why::Unreadable, 0);
            return false;
        }
        m_connection.answer(OpenedAnswer{.pages = {{.width = static_cast<std::uint32_t>(m_size.width()),
                                                    .height = static_cast<std::uint32_t>(m_size.height())}}});
        return true;
    }

    void draw(const DrawRequest &request)
    {
        QSize wanted = m_size.scaled(static_cast<int>(request.width), static_cast<int>(request.height),
                                     Qt::KeepAspectRatio);
        // Enlarging is the screen's affair.
        wanted = wanted.boundedTo(m_size).expandedTo(QSize(1, 1));
        QImage picture = m_whole;
        if (picture.isNull()) {
            QImageReader reader;
            prepare(reader);
            reader.setScaledSize(liesOnItsSide(reader) ? wanted.transposed() : wanted);
            picture = reader.read();
            if (picture.isNull()) {
                fail(FailedAnswer::Why::Unreadable, 0);
                return;
            }
        }
        if (picture.size() != wanted) {
            picture = picture.scaled(wanted, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        }
        m_connection.answer(request.ticket, picture);
    }

private:
    void prepare(QImageReader &reader)
    {
        m_file.seek(0);
        reader.setDevice(&m_file);
        reader.setDecideFormatFromContent(true);
        reader.setAutoTransform(true);
    }
    void fail(FailedAnswer::Why why, std::uint32_t ticket)
    {
        m_connection.answer(FailedAnswer{.why = why, .ticket = ticket});
    }

    DecoderFile &m_file;
    DecoderConnection &m_connection;
    QSize m_size;
    QImage m_whole;
};

} // namespace

int decodeImage(DecoderFile &file, DecoderConnection &connection)
{
    ImageDecoding decoding(file, connection);
    if (!decoding.open()) {
        return 0;
    }
    while (const auto request = connection.next()) {
        if (const auto *draw = std::get_if<DrawRequest>(&*request)) {
            decoding.draw(*draw);
        }
    }
    return 0;
}

} // namespace slicewise
