// A window with a pie chart and everything about it that can be set, to try it by hand. With --screenshot it
// shows itself to nobody, writes what would be seen, and ends.

#include <QCommandLineParser>
#include <QGuiApplication>
#include <QImage>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QSGRendererInterface>
#include <QTimer>

#include <algorithm>
#include <string_view>
#include <vector>

// Made by the build for the chart's types; calling it keeps the linker from leaving them out.
void qml_register_types_Slicewise_Chart();

namespace {

/// Longer than the slowest animation that the window starts by itself.
constexpr int kSettledMilliseconds = 1500;

struct Wishes {
    QString screenshot;
    QVariantMap properties;
};

Wishes readArguments(const QGuiApplication &application)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Shows a pie chart and lets everything about it be changed."));
    parser.addHelpOption();
    const QCommandLineOption screenshot(QStringLiteral("screenshot"),
                                        QStringLiteral("Writes a picture and ends."), QStringLiteral("file"));
    const QCommandLineOption size(QStringLiteral("size"),
                                  QStringLiteral("Of the window (default: 1024x768)."), QStringLiteral("WxH"),
                                  QStringLiteral("1024x768"));
    const QCommandLineOption count(QStringLiteral("slices"), QStringLiteral("How many (default: 7)."),
                                   QStringLiteral("number"), QStringLiteral("7"));
    const QCommandLineOption select(QStringLiteral("select"), QStringLiteral("A slice to pull out."),
                                    QStringLiteral("number"), QStringLiteral("0"));
    const QCommandLineOption dark(QStringLiteral("dark"), QStringLiteral("Light on dark."));
    parser.addOptions({screenshot, size, count, select, dark});
    parser.process(application);

    const QStringList sides = parser.value(size).split(QLatin1Char('x'));
    return {.screenshot = parser.value(screenshot),
            .properties = {{QStringLiteral("width"), std::max(200, sides.first().toInt())},
                           {QStringLiteral("height"), std::max(200, sides.last().toInt())},
                           {QStringLiteral("slices"), parser.value(count).toInt()},
                           {QStringLiteral("pulledOut"), parser.value(select).toInt()},
                           {QStringLiteral("dark"), parser.isSet(dark)}}};
}

/// Before there is an application object, which decides on these once.
void prepareForScreenshot()
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
}

void writeAndEnd(QQuickWindow &window, const QString &file)
{
    const bool written = window.grabWindow().save(file, "PNG");
    if (!written) {
        qCritical("%s cannot be written", qPrintable(file));
    }
    QCoreApplication::exit(written ? EXIT_SUCCESS : EXIT_FAILURE);
}

} // namespace

int main(int argc, char **argv)
{
    const std::vector<std::string_view> arguments(argv, argv + argc);
    if (std::any_of(arguments.begin(), arguments.end(),
                    [](std::string_view argument) { return argument.starts_with("--screenshot"); })) {
        prepareForScreenshot();
    }
    const QGuiApplication application(argc, argv);
    const Wishes wishes = readArguments(application);

    qml_register_types_Slicewise_Chart();
    QQmlApplicationEngine engine;
    engine.setInitialProperties(wishes.properties);
    engine.load(QUrl(QStringLiteral("qrc:/qt-project.org/imports/Slicewise/ChartExample/Main.qml")));
    auto *window =
        engine.rootObjects().isEmpty() ? nullptr : qobject_cast<QQuickWindow *>(engine.rootObjects().first());
    if (window == nullptr) {
        return EXIT_FAILURE;
    }
    QTimer settled;
    settled.setSingleShot(true);
    QObject::connect(&settled, &QTimer::timeout, window, [&] { writeAndEnd(*window, wishes.screenshot); });
    if (!wishes.screenshot.isEmpty()) {
        settled.start(kSettledMilliseconds);
    }
    return QGuiApplication::exec();
}
