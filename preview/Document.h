// A file that is shown: what it is, and what there is to be seen of it.
//
// Nothing of the file is read on the GUI thread, and nothing of it is decoded in this process but text. What
// can't be shown as what it is has a sentence instead, and can be looked at byte by byte. GUI thread. Ends
// its threads and its decoder when it goes; a read that has begun may take longer than the document lives.
#pragma once

#include "platform/Device.h"
#include "preview/DecoderThread.h"
#include "preview/DocumentFacts.h"
#include "preview/OnThread.h"
#include "preview/PieceModel.h"
#include "preview/ReadingThread.h"

#include <QHash>
#include <QImage>
#include <QObject>
#include <QPointer>
#include <QSize>
#include <QString>
#include <QtQmlIntegration>

#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace slicewise {

class PictureItem;

class Document final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Opened by Documents")
    Q_PROPERTY(QString name READ name CONSTANT)
    Q_PROPERTY(QString pathText READ pathText CONSTANT)
    Q_PROPERTY(QString kindText READ kindText NOTIFY factsChanged)
    Q_PROPERTY(QString sizeText READ sizeText NOTIFY factsChanged)
    Q_PROPERTY(QString exactSizeText READ exactSizeText NOTIFY factsChanged)
    Q_PROPERTY(QString modifiedText READ modifiedText NOTIFY factsChanged)
    Q_PROPERTY(QString createdText READ createdText NOTIFY factsChanged)
    Q_PROPERTY(QString detailText READ detailText NOTIFY viewChanged)
    Q_PROPERTY(View view READ view NOTIFY viewChanged)
    Q_PROPERTY(QString message READ message NOTIFY viewChanged)
    Q_PROPERTY(bool hasBytes READ hasBytes NOTIFY factsChanged)
    Q_PROPERTY(slicewise::PieceModel *pieces READ pieces CONSTANT)
    Q_PROPERTY(int bytesOfLine READ bytesOfLine WRITE setBytesOfLine NOTIFY bytesOfLineChanged)
    Q_PROPERTY(int pageCount READ pageCount NOTIFY viewChanged)
    Q_PROPERTY(bool playing READ isPlaying NOTIFY playbackChanged)
    Q_PROPERTY(bool hasVideo READ hasVideo NOTIFY playbackChanged)
    Q_PROPERTY(int positionMs READ positionMs NOTIFY playbackChanged)
    Q_PROPERTY(int durationMs READ durationMs NOTIFY playbackChanged)

public:
    enum class View : unsigned char {
        Opening, ///< nothing is known yet
        Picture,
        Pages,
        Text,
        Media,
        Bytes,
        Notice, ///< only the message; there may be bytes to be looked at
    };
    Q_ENUM(View)

    struct Origin {
        const Device *device = nullptr; ///< borrowed; outlives the document
        std::string path;
        QString name;
        std::string decoder; ///< the program, or empty where there is none
        std::chrono::milliseconds mostPatience{20'000};
        /// Gets the threads when they are not wanted any more; null: the document waits for their end. Goes
        /// before the device does.
        std::shared_ptr<EndingThreads> ending = nullptr;
    };
    explicit Document(Origin origin);
    Document(const Document &) = delete;
    Document &operator=(const Document &) = delete;
    ~Document() override;

    [[nodiscard]] const std::string &path() const { return m_origin.path; }
    [[nodiscard]] QString name() const { return m_origin.name; }
    [[nodiscard]] QString pathText() const;
    [[nodiscard]] QString kindText() const;
    [[nodiscard]] QString sizeText() const;
    [[nodiscard]] QString exactSizeText() const;
    [[nodiscard]] QString modifiedText() const { return timeText(m_facts.times.modifiedSeconds); }
    [[nodiscard]] QString createdText() const { return timeText(m_facts.times.createdSeconds); }
    /// What only the look inside has shown: the pixels of a picture, the pages of a document, an encoding.
    [[nodiscard]] QString detailText() const { return m_detail; }
    [[nodiscard]] View view() const { return m_view; }
    /// Why it is not shown as what it is; empty where it is.
    [[nodiscard]] QString message() const { return m_message; }
    [[nodiscard]] bool hasBytes() const { return m_facts.file != nullptr && m_facts.sizeBytes > 0; }
    [[nodiscard]] PieceModel *pieces() { return &m_pieces; }
    [[nodiscard]] int bytesOfLine() const { return static_cast<int>(m_bytesOfLine); }
    void setBytesOfLine(int bytes);

    [[nodiscard]] int pageCount() const { return static_cast<int>(m_pages.size()); }
    /// In units of its own: only the proportions matter, and for a picture the pixels.
    Q_INVOKABLE [[nodiscard]] QSize pageSize(int page) const;

    /// The bytes of the file, whatever it is.
    Q_INVOKABLE void showBytes();

    [[nodiscard]] bool isPlaying() const { return m_playback.playing; }
    [[nodiscard]] bool hasVideo() const { return m_playback.hasVideo; }
    [[nodiscard]] int positionMs() const { return static_cast<int>(m_playback.positionMs); }
    [[nodiscard]] int durationMs() const { return static_cast<int>(m_playback.durationMs); }
    Q_INVOKABLE void play();
    Q_INVOKABLE void pause();
    Q_INVOKABLE void seek(int positionMs);

    /// Draws a page for an item, in pixels. Items are told by PictureItem::setPicture or setFailed; one that
    /// goes away is forgotten.
    std::uint32_t draw(PictureItem *item, int page, QSize pixels);
    void forgetDrawing(std::uint32_t ticket);
    /// The item that a film's frames go to.
    void setScreen(PictureItem *item, QSize pixels);

    /// Ends the decoder now rather than with the object; nothing is shown any more. Waits for no disk.
    Q_INVOKABLE void endThreads();

    /// For tests: the process that decodes.
    [[nodiscard]] std::optional<::pid_t> decoderProcess() const;

Q_SIGNALS:
    void factsChanged();
    void viewChanged();
    void bytesOfLineChanged();
    void playbackChanged();

private:
    void opened(DocumentFacts facts);
    void show(View view, const QString &message = {});
    void showText(std::shared_ptr<ReadableFile> file, std::uint64_t sizeBytes, const std::string &head);
    void startDecoder(DecoderTask task);
    void letDecoderGo();
    void answered(const std::optional<Answer> &answer);
    void received(const OpenedAnswer &opened);
    void received(const PictureAnswer &picture);
    void received(const TextAnswer &text);
    void received(const PlaybackAnswer &playback);
    void received(const FailedAnswer &failed);
    void decodingFailed(const QString &sentence);
    void askForFrame();
    [[nodiscard]] QString failureText(FailedAnswer::Why why) const;

    Origin m_origin;
    DocumentFacts m_facts;
    QString m_detail;
    View m_view = View::Opening;
    QString m_message;
    unsigned m_bytesOfLine = 16;
    std::vector<PageSize> m_pages;
    PlaybackAnswer m_playback;
    QHash<std::uint32_t, QPointer<PictureItem>> m_drawings; ///< by ticket
    std::uint32_t m_lastTicket = 0;
    QPointer<PictureItem> m_screen;
    QSize m_screenPixels;
    bool m_frameAsked = false;
    bool m_isEnding = false;

    std::shared_ptr<Mailbox> m_mailbox;
    std::unique_ptr<ReadingThread> m_reading;
    PieceModel m_pieces{*m_reading};
    std::unique_ptr<DecoderThread> m_decoder;
};

} // namespace slicewise
