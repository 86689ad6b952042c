// For programs that are the application, with somebody in it who does what a user would.
#pragma once

#include "app/Options.h"
#include "app/Run.h"
#include "platform/Privileges.h"
#include "ui/SZANavigationController.h"

#include <QGuiApplication>
#include <QQuickWindow>
#include <QTimer>
#include <QVariant>

#include <functional>
#include <utility>

namespace slicewise {

/// Calls the function once, when the application's window has drawn its first picture. From the start of the
/// event loop on.
inline void whenWindowIsShown(std::function<void(QQuickWindow &)> call)
{
    for (QWindow *window : QGuiApplication::topLevelWindows()) {
        if (auto *quick = qobject_cast<QQuickWindow *>(window)) {
            QObject::connect(
                quick, &QQuickWindow::frameSwapped, quick, [quick, call = std::move(call)] { call(*quick); },
                Qt::SingleShotConnection);
            quick->update();
            return;
        }
    }
    QTimer::singleShot(0, [call = std::move(call)] { whenWindowIsShown(call); });
}

/// The first screen of the window's stack.
inline SZAViewController &firstScreenOf(const QQuickWindow &window)
{
    return *window.property("navigation").value<SZANavigationController *>()->viewControllers().front();
}

/// What is left for main(): the application on the root that is the only argument.
inline int runOnRoot(int argc, char **argv)
{
    if (argc != 2) {
        return 2;
    }
    Options options;
    options.root = argv[1];
    Privileges privileges = Privileges::dropAtEntry();
    return runApplication(options, privileges, argv[0]);
}

} // namespace slicewise
