#include "app/Snapshot.h"

#include <QBuffer>
#include <QByteArray>
#include <QImage>

#include <chrono>
#include <string_view>
#include <utility>

namespace slicewise {

namespace {

using namespace std::chrono_literals;

/// Without a frame for so long, nothing moves.
constexpr auto kStill = 300ms;

} // namespace

Snapshot::Snapshot(QQuickWindow &window, const SZAViewController &screen, OutputFile file,
                   std::chrono::milliseconds longestWait)
    : m_window(window), m_screen(screen), m_file(std::move(file)), m_longestWait(longestWait)
{
    m_still.setSingleShot(true);
    m_still.setInterval(kStill);
    connect(&m_still, &QTimer::timeout, this, &Snapshot::take);
    if (m_screen.doneScan()) {
        scanDone();
    } else {
        connect(&m_screen, &SZAViewController::doneScanChanged, this, &Snapshot::scanDone);
    }
}

void Snapshot::scanDone()
{
    m_waited.start();
    m_still.start();
    connect(&m_window, &QQuickWindow::frameSwapped, this, [this] {
        if (m_still.isActive() && !m_waited.hasExpired(m_longestWait.count())) {
            m_still.start();
        }
    });
}

void Snapshot::take()
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    m_window.grabWindow().save(&buffer, "PNG");
    Q_EMIT taken(
        m_file.replaceContent(std::string_view(bytes.constData(), static_cast<std::size_t>(bytes.size()))));
}

} // namespace slicewise
