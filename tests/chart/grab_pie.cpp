// Shows a chart in a window that is on no screen and writes what is on it. The scale of the display comes
// from QT_SCALE_FACTOR, which a program reads once: the tests run this one for each scale.
//
// Usage: grab-pie FILE.png
#include "tests/chart/ChartParts.h"

#include <QGuiApplication>
#include <QImage>
#include <QQuickWindow>
#include <QSGRendererInterface>

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    const QGuiApplication application(argc, argv);

    QQuickWindow window;
    window.setColor(Qt::white);
    window.resize(320, 320);
    slicewise::ChartParts parts({}, {0, 0, 320, 320});
    parts.chart.setLabelShadowColor(Qt::black);
    parts.chart.setParentItem(window.contentItem());
    window.show();
    parts.show({30, 25, 20, 12, 8, 5});
    return argc == 2 && window.grabWindow().save(QString::fromLocal8Bit(argv[1])) ? 0 : 1;
}
