// What a page can do with a file: look at it, and hand it on to the desktop.
//
// GUI thread. What touches the disk happens on a thread of its own.
#pragma once

#include "platform/Device.h"
#include "platform/Log.h"
#include "preview/Document.h"
#include "preview/ReadingThread.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QtQmlIntegration>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace slicewise {

/// How files are handed on. Each call may come from any thread.
struct DesktopServices {
    /// What opens files with the application of the user's choice; absent: nothing does.
    std::function<std::optional<std::string>()> opener;
    /// Starts it on an absolute path of the host.
    std::function<bool(const std::string &opener, const std::string &hostPath)> open;
    /// Shows the file, selected, in the desktop's file manager; false where there is none to be asked.
    std::function<bool(const std::string &hostPath)> showInFileManager;
};
/// The real ones.
[[nodiscard]] DesktopServices desktopServices();

/// slicewise-preview, beside our own program or in ../libexec/slicewise/. Never looked for on PATH, where
/// somebody else may have put one. Empty where there is none.
[[nodiscard]] std::string decoderProgram();

class Documents final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the application")
    Q_PROPERTY(QString fixedFontFamily READ fixedFontFamily CONSTANT)

public:
    struct Services {
        const Device *device = nullptr;         ///< borrowed; outlives us
        Log *log = nullptr;                     ///< borrowed
        std::string decoder = decoderProgram(); ///< empty: only text and bytes are shown
        DesktopServices desktop = desktopServices();
        std::chrono::milliseconds mostPatience{20'000}; ///< with the decoder
    };
    explicit Documents(Services services);
    Documents(const Documents &) = delete;
    Documents &operator=(const Documents &) = delete;
    ~Documents() override;

    /// Opens a file of the device to be looked at. The document is ours, until it is closed.
    Q_INVOKABLE [[nodiscard]] slicewise::Document *open(const QByteArray &filename, const QString &name);
    /// It is gone when the event loop is reached. Waits for no disk: its decoder, and what is being read of
    /// it, come to an end by themselves, and our destructor waits for that.
    Q_INVOKABLE void close(slicewise::Document *document);

    /// Whether there is a desktop to hand files on to.
    Q_INVOKABLE [[nodiscard]] bool canOpen() const;
    [[nodiscard]] QString fixedFontFamily() const;

    /// The device's path, as it is written for eyes and keyboards.
    Q_INVOKABLE void copyPath(const QByteArray &filename);
    /// The path for eyes, of a sheet's title.
    Q_INVOKABLE [[nodiscard]] QString pathText(const QByteArray &filename) const;
    Q_INVOKABLE void openWithApplication(const QByteArray &filename);
    Q_INVOKABLE void showInFolder(const QByteArray &filename);

    /// For tests: waits for what is under way.
    void finishHandingOn();

private:
    class Threads;

    Services m_services;
    std::unique_ptr<Threads> m_threads;
};

} // namespace slicewise
