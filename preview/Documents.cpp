#include "preview/Documents.h"

#include "platform/Desktop.h"
#include "platform/SerialQueue.h"
#include "platform/SplitPath.h"
#include "ui/NameText.h"

#include <QClipboard>
#include <QDBusConnection>
#include <QDBusInterface>
#include <QDBusMessage>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QQmlEngine>
#include <QUrl>

#include <utility>

namespace slicewise {

namespace {

constexpr const char *kDecoderName = "/slicewise-preview";

/// As a URL: every byte that is not plain is written as %XX, whatever encoding the name has.
QString fileUrl(const std::string &hostPath)
{
    return QLatin1String("file://") +
           QString::fromLatin1(QByteArray::fromStdString(hostPath).toPercentEncoding("/"));
}

bool askFileManager(const std::string &hostPath)
{
    // Without an address the library would start a bus of its own.
    const QString address = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
    if (address.isEmpty()) {
        return false;
    }
    constexpr const char *kConnection = "slicewise file manager";
    constexpr int kMostWaitMs = 5'000;
    bool shown = false;
    {
        const QDBusConnection bus = QDBusConnection::connectToBus(address, kConnection);
        QDBusMessage call =
            QDBusMessage::createMethodCall("org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
                                           "org.freedesktop.FileManager1", "ShowItems");
        call << QStringList{fileUrl(hostPath)} << QString();
        shown = bus.isConnected() &&
                bus.call(call, QDBus::Block, kMostWaitMs).type() == QDBusMessage::ReplyMessage;
    }
    QDBusConnection::disconnectFromBus(kConnection);
    return shown;
}

} // namespace

DesktopServices desktopServices()
{
    return {.opener = desktopOpener, .open = openOnDesktop, .showInFileManager = askFileManager};
}

std::string decoderProgram()
{
    const std::optional<std::string> directory = directoryOfOurProgram();
    if (directory) {
        for (const char *place : {"", "/../libexec/slicewise"}) {
            std::string program = *directory + place + kDecoderName;
            if (isProgram(program)) {
                return program;
            }
        }
    }
    return {};
}

class Documents::Threads {
public:
    /// Handing a file on asks the disk, and other programs.
    SerialQueue &handingOn() { return m_handingOn; }
    [[nodiscard]] std::shared_ptr<EndingThreads> ending() const { return m_ending; }

private:
    SerialQueue m_handingOn{"handing on"};
    std::shared_ptr<EndingThreads> m_ending = std::make_shared<EndingThreads>();
};

Documents::Documents(Services services)
    : m_services(std::move(services)), m_threads(std::make_unique<Threads>())
{}

Documents::~Documents() = default;

Document *Documents::open(const QByteArray &filename, const QString &name)
{
    auto document = std::make_unique<Document>(Document::Origin{.device = m_services.device,
                                                                .path = filename.toStdString(),
                                                                .name = name,
                                                                .decoder = m_services.decoder,
                                                                .mostPatience = m_services.mostPatience,
                                                                .ending = m_threads->ending()});
    document->setParent(this);
    QQmlEngine::setObjectOwnership(document.get(), QQmlEngine::CppOwnership);
    return document.release();
}

void Documents::close(Document *document)
{
    if (document != nullptr && document->parent() == this) {
        document->endThreads();
        document->deleteLater();
    }
}

bool Documents::canOpen() const
{
    return m_services.desktop.opener().has_value();
}

QString Documents::fixedFontFamily() const
{
    return QFontDatabase::systemFont(QFontDatabase::FixedFont).family();
}

void Documents::copyPath(const QByteArray &filename)
{
    QGuiApplication::clipboard()->setText(QString::fromStdString(typableText(filename.toStdString())));
}

QString Documents::pathText(const QByteArray &filename) const
{
    return QString::fromStdString(shownText(filename.toStdString()));
}

void Documents::openWithApplication(const QByteArray &filename)
{
    m_threads->handingOn().async([services = m_services, path = filename.toStdString()] {
        const Result<std::string> hostPath = services.device->hostPath(path);
        const auto opener = services.desktop.opener();
        if (!hostPath || !opener || !services.desktop.open(*opener, *hostPath)) {
            services.log->line("could not be opened with an application: " + path);
        }
    });
}

void Documents::showInFolder(const QByteArray &filename)
{
    m_threads->handingOn().async([services = m_services, path = filename.toStdString()] {
        const Result<std::string> hostPath = services.device->hostPath(path);
        if (hostPath && services.desktop.showInFileManager(*hostPath)) {
            return;
        }
        const auto opener = services.desktop.opener();
        const Result<std::string> folder = services.device->hostPath(splitPath(path).directory);
        if (!folder || !opener || !services.desktop.open(*opener, *folder)) {
            services.log->line("could not be shown in its folder: " + path);
        }
    });
}

void Documents::finishHandingOn()
{
    m_threads->handingOn().sync([] {});
}

} // namespace slicewise
