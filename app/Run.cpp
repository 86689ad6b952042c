#include "app/Run.h"

#include "app/Application.h"
#include "app/Launch.h"
#include "platform/HostDevice.h"
#include "platform/Log.h"
#include "platform/OutputFile.h"
#include "ui/RootText.h"

#include <QGuiApplication>
#include <QString>

#include <array>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace slicewise {

namespace {

constexpr const char *kNoDisplay =
    "There is no display to show a window on. Start it on a desktop, use slicewise-cli on a terminal, or add "
    "--snapshot FILE.png for a picture.";

/// Of Qt's messages, which know nothing of ours.
Log *logOfMessages = nullptr; // NOLINT(readability-identifier-naming): not a constant

void handleMessage(QtMsgType type, const QMessageLogContext & /*context*/, const QString &message)
{
    if (type == QtFatalMsg) {
        // It ends the process by force, and there is one thing only that it does so for: no display answers.
        tell(kNoDisplay);
        std::_Exit(EXIT_FAILURE);
    }
    // About a directory that nothing here uses.
    const bool isIdle = message.startsWith(QLatin1String("QStandardPaths: XDG_RUNTIME_DIR not set"));
    // Followed by our own sentence.
    const bool isAboutDisplay = message.startsWith(QLatin1String("could not connect to display")) ||
                                message.startsWith(QLatin1String("Could not find the Qt platform plugin"));
    if (type != QtDebugMsg && type != QtInfoMsg && !isIdle && !isAboutDisplay) {
        logOfMessages->line(message.toStdString());
    }
}

std::unique_ptr<Log> makeLog(bool quiet)
{
    return quiet ? std::make_unique<Log>([](std::string_view) {}) : std::make_unique<Log>("slicewise");
}

} // namespace

int runApplication(const Options &options, Privileges &privileges, const std::string &programName)
{
    Result<std::unique_ptr<HostDevice>> device = HostDevice::open(options.root);
    if (!device) {
        tell(whyNoRoot(options.root, device.error()));
        return EXIT_FAILURE;
    }
    std::optional<OutputFile> file;
    if (options.snapshot) {
        Result<OutputFile> opened = OutputFile::open(*options.snapshot);
        if (!opened) {
            tell(whyNoSnapshot(*options.snapshot, opened.error()));
            return EXIT_FAILURE;
        }
        file = std::move(opened).value();
    } else if (!hasDisplay()) {
        tell(kNoDisplay);
        return EXIT_FAILURE;
    }
    prepareQt(options);
    const std::unique_ptr<Log> log = makeLog(options.quiet);
    logOfMessages = log.get();
    qInstallMessageHandler(handleMessage);
    int argumentCount = 1;
    std::string name = programName;
    std::array<char *, 2> arguments = {name.data(), nullptr};
    const QGuiApplication qt(argumentCount, arguments.data());
    Application application(options, std::move(device).value(), privileges, *log);
    if (!application.launch()) {
        tell("The window could not be made. It is damaged; install it anew.");
        return EXIT_FAILURE;
    }
    if (file) {
        application.takeSnapshot(std::move(*file));
    }
    const int status = QGuiApplication::exec();
    application.waitForDeletion();
    // A scan reads and writes nothing, so it may end at any moment; waiting for it could take as long as the
    // disk does, and freeing its tree longer still.
    std::_Exit(status);
}

} // namespace slicewise
