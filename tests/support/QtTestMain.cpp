// main() of the tests that need Qt: windows without a display, painted in software, so that they pass on a
// machine that has neither a screen nor a graphics card, and paint the same picture on each.

#include <QByteArray>
#include <QGuiApplication>
#include <QQuickWindow>
#include <QSGRendererInterface>
#include <QThread>
#include <gtest/gtest.h>

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);

    // All of it before the application object, which reads it once.
    // A display only where it is asked for: a desktop's own variable must not open windows on it.
    const QByteArray platform = qgetenv("SLICEWISE_TEST_PLATFORM");
    qputenv("QT_QPA_PLATFORM", platform.isEmpty() ? "offscreen" : platform);
    // A desktop's theme, scale and input method are the developer's own business.
    qputenv("QT_QPA_PLATFORMTHEME", "none");
    qputenv("QT_SCALE_FACTOR", "1");
    qputenv("QT_IM_MODULE", "none");
    // Nothing read that an earlier run compiled, and nothing left behind.
    qputenv("QML_DISABLE_DISK_CACHE", "1");
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);

    const QGuiApplication application(argc, argv);
    const int result = RUN_ALL_TESTS();
    // The programs leave without taking anything apart. Here what some threads use would go before them.
    for (QThread *const thread : application.findChildren<QThread *>()) {
        thread->wait();
    }
    return result;
}
