#include "preview/DecoderFile.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <span>
#include <utility>

namespace slicewise {

DecoderFile::DecoderFile(std::unique_ptr<ReadableFile> file) : m_file(std::move(file))
{
    QIODevice::open(QIODevice::ReadOnly);
}

qint64 DecoderFile::size() const
{
    const Result<std::uint64_t> bytes = m_file->sizeBytes();
    return bytes ? static_cast<qint64>(*bytes) : 0;
}

qint64 DecoderFile::readData(char *data, qint64 maxSize)
{
    const std::span<char> into(data, static_cast<std::size_t>(maxSize));
    const Result<std::size_t> length =
        m_file->readAt(static_cast<std::uint64_t>(pos()), std::as_writable_bytes(into));
    return length ? static_cast<qint64>(*length) : -1;
}

qint64 DecoderFile::writeData(const char * /*data*/, qint64 /*maxSize*/)
{
    return -1;
}

DecoderConnection::DecoderConnection(UniqueFd connection) : m_connection(std::move(connection)) {}

bool DecoderConnection::read()
{
    std::array<char, 4096> bytes{};
    const ssize_t length = ::read(m_connection.get(), bytes.data(), bytes.size());
    if (length < 0 && errno == EINTR) {
        return true;
    }
    return length > 0 && m_requests.feed(std::string_view(bytes.data(), static_cast<std::size_t>(length)));
}

std::optional<Request> DecoderConnection::next()
{
    while (true) {
        if (auto request = m_requests.next()) {
            return request;
        }
        if (!read()) {
            return std::nullopt;
        }
    }
}

bool DecoderConnection::readAvailable()
{
    struct pollfd state = {.fd = m_connection.get(), .events = POLLIN, .revents = 0};
    return ::poll(&state, 1, 0) <= 0 || read();
}

void DecoderConnection::write(std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t length = ::send(m_connection.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (length < 0 && errno != EINTR) {
            return; // nobody listens; reading will say so
        }
        bytes.remove_prefix(length > 0 ? static_cast<std::size_t>(length) : 0);
    }
}

void DecoderConnection::answer(const Answer &answer)
{
    write(encodeAnswer(answer));
}

void DecoderConnection::answer(std::uint32_t ticket, const QImage &picture)
{
    const QImage plain = picture.convertToFormat(QImage::Format_RGBA8888_Premultiplied);
    const auto rowBytes = static_cast<std::size_t>(plain.width()) * 4;
    const PictureAnswer head{.ticket = ticket,
                             .width = static_cast<std::uint32_t>(plain.width()),
                             .height = static_cast<std::uint32_t>(plain.height()),
                             .pixels = {}};
    write(encodePictureHead(head, rowBytes * static_cast<std::size_t>(plain.height())));
    for (int row = 0; row < plain.height(); ++row) {
        write(std::string_view(reinterpret_cast<const char *>(plain.constScanLine(row)), rowBytes));
    }
}

} // namespace slicewise
