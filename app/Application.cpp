#include "app/Application.h"

#include "app/Launch.h"
#include "app/SystemFont.h"
#include "chart/QtColor.h"
#include "platform/OwnSystem.h"
#include "platform/SystemVersion.h"
#include "ui/RootText.h"

#include <QEventLoop>
#include <QGuiApplication>
#include <QLocale>
#include <QQuickWindow>
#include <QScreen>
#include <QUrl>
#include <QVariant>

#include <cstdlib>
#include <utility>

// Made by the build for the types of each module; calling them keeps the linker from leaving those out.
void qml_register_types_Slicewise_App();
void qml_register_types_Slicewise_Chart();
void qml_register_types_Slicewise_Preview();
void qml_register_types_Slicewise_Ui();

namespace slicewise {

namespace {

constexpr QSize kLeastWindow = QSize(320, 480);

void registerModules()
{
    qml_register_types_Slicewise_Chart();
    qml_register_types_Slicewise_Ui();
    qml_register_types_Slicewise_Preview();
    qml_register_types_Slicewise_App();
}

} // namespace

Application::Application(const Options &options, std::unique_ptr<HostDevice> device,
                         const Privileges &privileges, Log &log)
    : m_options(options),
      m_device(std::move(device)),
      m_log(log),
      m_idiom(options.idiom.value_or(idiomForScreen(screenSize()))),
      m_appearance(options.appearance),
      m_presenter(*m_device),
      m_documents({.device = m_device.get(), .log = &log})
{
    const bool ownSystem = isOwnSystem(*m_device);
    if (mayDelete(options, privileges, ownSystem)) {
        m_deletion = std::make_unique<SystemDeletion>(
            *m_device, ownSystem ? SystemDeletion::Of::OwnSystem : SystemDeletion::Of::AnotherSystem,
            privileges, log);
    }
    // A bus would have us load and believe what our caller likes; and nobody waits for a picture.
    if (!privileges.isSetUserId() && !options.snapshot) {
        m_idleTimer = std::make_unique<DesktopIdleTimer>();
        m_appearance.followDesktop({.bus = BusAddress::Bus::Session});
    }
    chooseSystemFont();
    loadTranslation();
    m_delegate = std::make_unique<SZAAppDelegate>(
        services(), [this](SZANavigationController &navigation) { return makeWindow(navigation); });
    QObject::connect(qGuiApp, &QGuiApplication::applicationStateChanged, &m_engine,
                     [this](Qt::ApplicationState state) { m_delegate->applicationStateChanged(state); });
    QObject::connect(qGuiApp, &QCoreApplication::aboutToQuit, &m_engine,
                     [this] { m_delegate->applicationWillTerminate(); });
}

Application::~Application() = default;

bool Application::launch()
{
    return m_delegate->applicationDidFinishLaunchingWithOptions();
}

void Application::takeSnapshot(OutputFile file)
{
    auto *const window = qobject_cast<QQuickWindow *>(m_delegate->window());
    m_snapshot = std::make_unique<Snapshot>(*window, *m_delegate->rootNodeController(), std::move(file));
    QObject::connect(m_snapshot.get(), &Snapshot::taken, &m_engine, [this](int error) {
        if (error != 0) {
            tell(whyNoSnapshot(*m_options.snapshot, error));
        }
        QCoreApplication::exit(error == 0 ? EXIT_SUCCESS : EXIT_FAILURE);
    });
}

void Application::waitForDeletion()
{
    while (m_delegate->navigationController().isDeleting()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

BrowserServices Application::services()
{
    ScanOptions scan;
    scan.scope = m_options.scope;
    return {.device = m_device.get(),
            .log = &m_log,
            .timers = m_timers.get(),
            .documents = &m_presenter,
            .idleTimer = m_idleTimer.get(),
            .backgroundTasks = nullptr,
            .idiom = m_idiom,
            .systemVersion = systemVersionOfHost(),
            .scan = scan,
            .deletion = m_deletion ? &m_deletion->service() : nullptr};
}

QWindow *Application::makeWindow(SZANavigationController &navigation)
{
    registerModules();
    m_engine.setImportPathList(
        {QStringLiteral("qrc:/qt-project.org/imports"), QStringLiteral(SLICEWISE_QT_QML)});
    // Each module's own folder.
    m_engine.setPluginPathList({QStringLiteral(".")});
    const QSize size = m_options.snapshot ? screenSize() : firstWindowSize(screenSize(), m_idiom);
    const QSize least = kLeastWindow.boundedTo(size);
    m_engine.setInitialProperties({{QStringLiteral("navigation"), QVariant::fromValue(&navigation)},
                                   {QStringLiteral("appearance"), QVariant::fromValue(&m_appearance)},
                                   {QStringLiteral("documents"), QVariant::fromValue(&m_documents)},
                                   {QStringLiteral("barTint"), barTint()},
                                   {QStringLiteral("pad"), m_idiom == UserInterfaceIdiom::Pad},
                                   {QStringLiteral("width"), size.width()},
                                   {QStringLiteral("height"), size.height()},
                                   {QStringLiteral("minimumWidth"), least.width()},
                                   {QStringLiteral("minimumHeight"), least.height()}});
    m_engine.load(QUrl(QStringLiteral("qrc:/qt-project.org/imports/Slicewise/App/Main.qml")));
    return m_engine.rootObjects().isEmpty() ? nullptr
                                            : qobject_cast<QWindow *>(m_engine.rootObjects().first());
}

QColor Application::barTint() const
{
    const std::optional<UIColor> &tint = m_delegate->navigationBarTintColor();
    return tint ? toQColor(*tint) : QColor();
}

QSize Application::screenSize() const
{
    return m_options.snapshot ? m_options.snapshotSize : QGuiApplication::primaryScreen()->availableSize();
}

void Application::loadTranslation()
{
    if (m_translator.load(QLocale(), QStringLiteral("slicewise"), QStringLiteral("_"),
                          QStringLiteral(":/i18n"))) {
        QCoreApplication::installTranslator(&m_translator);
    }
}

} // namespace slicewise
