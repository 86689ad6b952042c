// A picture of the window, as it is when the scan is done and nothing moves any more.
//
// GUI thread.
#pragma once

#include "platform/OutputFile.h"
#include "ui/SZAViewController.h"

#include <QElapsedTimer>
#include <QObject>
#include <QQuickWindow>
#include <QTimer>

#include <chrono>

namespace slicewise {

class Snapshot : public QObject {
    Q_OBJECT

public:
    /// What moves for longer does not end, and is drawn as it is then.
    static constexpr std::chrono::milliseconds kLongestWait{3000};

    /// Window and screen are borrowed, and outlive it.
    Snapshot(QQuickWindow &window, const SZAViewController &screen, OutputFile file,
             std::chrono::milliseconds longestWait = kLongestWait);

Q_SIGNALS:
    void taken(int error); ///< once: 0, or the errno that writing it ended with

private:
    void scanDone();
    void take();

    QQuickWindow &m_window;
    const SZAViewController &m_screen;
    OutputFile m_file;
    std::chrono::milliseconds m_longestWait;
    QTimer m_still;         ///< started anew with each frame
    QElapsedTimer m_waited; ///< since the scan was done
};

} // namespace slicewise
