// The file that a decoder was started on, as Qt reads files; and the connection to whoever wants to see it.
#pragma once

#include "platform/Device.h"
#include "platform/UniqueFd.h"
#include "preview/DecoderMessages.h"

#include <QIODevice>
#include <QImage>

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

namespace slicewise {

class DecoderFile final : public QIODevice {
    Q_OBJECT

public:
    /// Open for reading at once. Whatever else reads the descriptor does not move it.
    explicit DecoderFile(std::unique_ptr<ReadableFile> file);

    [[nodiscard]] bool isSequential() const override { return false; }
    [[nodiscard]] qint64 size() const override;
    [[nodiscard]] const ReadableFile &file() const { return *m_file; }

protected:
    qint64 readData(char *data, qint64 maxSize) override;
    qint64 writeData(const char *data, qint64 maxSize) override;

private:
    std::unique_ptr<ReadableFile> m_file;
};

class DecoderConnection {
public:
    explicit DecoderConnection(UniqueFd connection);

    [[nodiscard]] int descriptor() const { return m_connection.get(); }
    /// The next request; waits for it. Absent where nobody asks any more.
    [[nodiscard]] std::optional<Request> next();
    /// Requests that are there, without waiting; false where nobody asks any more.
    [[nodiscard]] bool readAvailable();
    [[nodiscard]] std::optional<Request> takeAvailable() { return m_requests.next(); }

    void answer(const Answer &answer);
    /// The picture in the form in which pictures are answered.
    void answer(std::uint32_t ticket, const QImage &picture);

private:
    [[nodiscard]] bool read();
    void write(std::string_view bytes);

    UniqueFd m_connection;
    RequestReader m_requests;
};

// Each runs until nobody asks any more; the status that the program ends with.
int decodeImage(DecoderFile &file, DecoderConnection &connection);
int decodePdf(DecoderFile &file, DecoderConnection &connection);
int decodePropertyList(DecoderFile &file, DecoderConnection &connection);
int decodeMedia(DecoderFile &file, DecoderConnection &connection);

} // namespace slicewise
