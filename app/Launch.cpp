#include "app/Launch.h"

#include "platform/OwnSystem.h"
#include "ui/NameText.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QQuickWindow>
#include <QSGRendererInterface>
#include <QString>
#include <QStringList>
#include <fmt/format.h>

#include <cstdio>
#include <string>
#include <system_error>

namespace slicewise {

namespace {

constexpr int kPadFromPoints = 600;
constexpr QSize kPadWindow = QSize(1024, 720);
constexpr QSize kPhoneWindow = QSize(390, 844);

} // namespace

void tell(std::string_view sentence)
{
    const std::string line = std::string("slicewise: ").append(sentence).append("\n");
    std::fputs(line.c_str(), stderr);
}

std::string whyNoSnapshot(const std::string &file, int error)
{
    return fmt::format("“{}” can't be written ({}). Give --snapshot another file.", typableText(file),
                       std::generic_category().message(error));
}

bool mayNeedRoot(const Options &options)
{
    return options.root == "/" && !options.readOnly && !options.snapshot;
}

bool mayDelete(const Options &options, const Privileges &privileges, bool ownSystem)
{
    return !options.readOnly && (options.allowDelete || !isReadOnlyForRoot(privileges, ownSystem));
}

bool hasDisplay()
{
#if defined(__linux__)
    return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
           !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
#else
    return true;
#endif
}

void prepareQt(const Options &options)
{
    // Nothing that an earlier start has compiled is read, and nothing left behind: by QML, by the scene graph
    // or by the graphics driver.
    for (const char *variable : {"QML_DISABLE_DISK_CACHE", "QSG_RHI_DISABLE_DISK_CACHE",
                                 "QT_DISABLE_SHADER_DISK_CACHE", "MESA_SHADER_CACHE_DISABLE"}) {
        qputenv(variable, "1");
    }
    QCoreApplication::setAttribute(Qt::AA_DisableShaderDiskCache);
    QCoreApplication::setLibraryPaths({QStringLiteral(SLICEWISE_QT_PLUGINS)});
    QCoreApplication::setApplicationName(QStringLiteral("slicewise"));
    // By it a desktop finds the window's name and icon.
    QGuiApplication::setDesktopFileName(QStringLiteral("org.slicewise.slicewise"));
    if (options.snapshot) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        qputenv("QT_QPA_PLATFORMTHEME", "none");
        qputenv("QT_SCALE_FACTOR", "1");
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    }
}

UserInterfaceIdiom idiomForScreen(QSize screen)
{
    return qMin(screen.width(), screen.height()) < kPadFromPoints ? UserInterfaceIdiom::Phone
                                                                  : UserInterfaceIdiom::Pad;
}

QSize firstWindowSize(QSize screen, UserInterfaceIdiom idiom)
{
    if (idiomForScreen(screen) == UserInterfaceIdiom::Phone) {
        return screen;
    }
    return (idiom == UserInterfaceIdiom::Pad ? kPadWindow : kPhoneWindow).boundedTo(screen);
}

} // namespace slicewise
