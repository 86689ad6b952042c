// The application, closed as a user would when its first picture is there.
//
// Usage: close-while-scanning ROOT, with a platform that needs no display. Prints how far the scan was.

#include "app/Options.h"
#include "app/Run.h"
#include "platform/Privileges.h"
#include "ui/SZANavigationController.h"
#include "ui/SZAViewController.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QQuickWindow>
#include <QTimer>
#include <QVariant>

#include <cstdio>

namespace {

void closeWindow(QQuickWindow &window)
{
    const auto *navigation = window.property("navigation").value<slicewise::SZANavigationController *>();
    const bool done = navigation->topViewController()->doneScan();
    std::fputs(done ? "closed after the scan\n" : "closed while it scans\n", stdout);
    std::fflush(stdout);
    window.close();
}

/// The window is made when the event loop begins, or a little earlier.
void waitForWindow()
{
    for (QWindow *window : QGuiApplication::topLevelWindows()) {
        if (auto *quick = qobject_cast<QQuickWindow *>(window)) {
            QObject::connect(
                quick, &QQuickWindow::frameSwapped, quick, [quick] { closeWindow(*quick); },
                Qt::SingleShotConnection);
            quick->update();
            return;
        }
    }
    QTimer::singleShot(0, [] { waitForWindow(); });
}

void whenStarted()
{
    QTimer::singleShot(0, [] { waitForWindow(); });
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(whenStarted)

int main(int argc, char **argv)
{
    if (argc != 2) {
        return 2;
    }
    slicewise::Options options;
    options.root = argv[1];
    slicewise::Privileges privileges = slicewise::Privileges::dropAtEntry();
    return slicewise::runApplication(options, privileges, argv[0]);
}
