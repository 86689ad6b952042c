// Sound and film: plays the sound itself, and hands out frames as they are asked for.
#include "preview/DecoderFile.h"

#include <QAudioOutput>
#include <QCoreApplication>
#include <QMediaDevices>
#include <QMediaPlayer>
#include <QObject>
#include <QSocketNotifier>
#include <QTimer>
#include <QUrl>
#include <QVideoFrame>
#include <QVideoSink>

#include <algorithm>
#include <limits>
#include <optional>

namespace slicewise {

namespace {

constexpr int kReportMs = 200;

std::uint32_t milliseconds(qint64 value)
{
    return static_cast<std::uint32_t>(std::clamp<qint64>(value, 0, std::numeric_limits<qint32>::max()));
}

class MediaDecoding {
public:
    MediaDecoding(DecoderFile &file, DecoderConnection &connection)
        : m_connection(connection), m_notifier(connection.descriptor(), QSocketNotifier::Read)
    {
        m_player.setAudioOutput(&m_sound);
        m_player.setVideoSink(&m_sink);
        m_report.setInterval(kReportMs);
        QObject::connect(&m_report, &QTimer::timeout, &m_player, [this] { report(); });
        QObject::connect(&m_notifier, &QSocketNotifier::activated, &m_player, [this] { listen(); });
        QObject::connect(&m_player, &QMediaPlayer::mediaStatusChanged, &m_player,
                         [this](QMediaPlayer::MediaStatus status) { statusIs(status); });
        QObject::connect(&m_player, &QMediaPlayer::errorOccurred, &m_player, [this] { fail(); });
        QObject::connect(&m_player, &QMediaPlayer::playbackStateChanged, &m_player, [this] { report(); });
        QObject::connect(&m_sink, &QVideoSink::videoFrameChanged, &m_player,
                         [this](const QVideoFrame &frame) {
                             m_frame = frame;
                             m_frameIsNew = frame.isValid();
                             sendFrame();
                         });
        m_player.setSourceDevice(&file, QUrl());
    }

private:
    void statusIs(QMediaPlayer::MediaStatus status)
    {
        if (status == QMediaPlayer::InvalidMedia) {
            fail();
        } else if (!m_opened &&
                   (status == QMediaPlayer::LoadedMedia || status == QMediaPlayer::BufferedMedia)) {
            m_opened = true;
            if (!m_player.hasAudio() && !m_player.hasVideo()) {
                fail();
                return;
            }
            m_player.pause(); // a film then has its first frame to show
            report();
        }
    }
    void fail()
    {
        m_connection.answer(FailedAnswer{.why = FailedAnswer::Why::Unreadable, .ticket = 0});
        QCoreApplication::quit();
    }
    void report()
    {
        if (!m_opened) {
            return;
        }
        const bool isPlaying = m_player.playbackState() == QMediaPlayer::PlayingState;
        m_connection.answer(PlaybackAnswer{.positionMs = milliseconds(m_player.position()),
                                           .durationMs = milliseconds(m_player.duration()),
                                           .playing = isPlaying,
                                           .hasVideo = m_player.hasVideo()});
        if (isPlaying) {
            m_report.start();
        } else {
            m_report.stop();
        }
    }
    void listen()
    {
        if (!m_connection.readAvailable()) {
            QCoreApplication::quit();
            return;
        }
        while (const auto request = m_connection.takeAvailable()) {
            if (const auto *play = std::get_if<PlayRequest>(&*request)) {
                follow(*play);
            }
        }
    }
    void follow(const PlayRequest &request)
    {
        switch (request.what) {
        case PlayRequest::What::Play:
            if (m_player.mediaStatus() == QMediaPlayer::EndOfMedia) {
                m_player.setPosition(0);
            }
            m_player.play();
            break;
        case PlayRequest::What::Pause:
            m_player.pause();
            break;
        case PlayRequest::What::Seek:
            m_player.setPosition(request.positionMs);
            report();
            break;
        case PlayRequest::What::NextFrame:
            m_wanted = QSize(static_cast<int>(request.width), static_cast<int>(request.height));
            sendFrame();
            break;
        }
    }
    void sendFrame()
    {
        if (!m_wanted || !m_frameIsNew) {
            return;
        }
        const QImage image = m_frame.toImage();
        m_frameIsNew = false;
        if (image.isNull()) {
            return;
        }
        const QSize size = image.size().scaled(*m_wanted, Qt::KeepAspectRatio).boundedTo(image.size());
        m_wanted.reset();
        m_connection.answer(0, size == image.size()
                                   ? image
                                   : image.scaled(size.expandedTo(QSize(1, 1)), Qt::IgnoreAspectRatio,
                                                  Qt::SmoothTransformation));
    }

    DecoderConnection &m_connection;
    QSocketNotifier m_notifier;
    QAudioOutput m_sound;
    QVideoSink m_sink;
    QMediaPlayer m_player;
    QTimer m_report;
    QVideoFrame m_frame;
    bool m_frameIsNew = false;
    bool m_opened = false;
    std::optional<QSize> m_wanted; ///< a frame has been asked for
};

} // namespace

int decodeMedia(DecoderFile &file, DecoderConnection &connection)
{
    const MediaDecoding decoding(file, connection);
    return QCoreApplication::exec();
}

} // namespace slicewise
