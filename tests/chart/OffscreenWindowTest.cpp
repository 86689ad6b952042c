// What every other test of this folder stands on: a window that is on no screen, and is painted all the same.

#include <QColor>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QQuickItem>
#include <QQuickPaintedItem>
#include <QQuickWindow>
#include <QSGRendererInterface>
#include <gtest/gtest.h>

namespace slicewise {
namespace {

/// Fills its left half.
class HalfItem : public QQuickPaintedItem {
public:
    explicit HalfItem(QQuickItem *parent) : QQuickPaintedItem(parent) {}

    void paint(QPainter *painter) override
    {
        painter->fillRect(QRectF(0, 0, width() / 2, height()), QColor(Qt::red));
    }
};

TEST(OffscreenWindow, isOnNoScreenOfTheMachine)
{
    EXPECT_EQ(QGuiApplication::platformName(), QStringLiteral("offscreen"));
    const QQuickWindow window;
    EXPECT_EQ(window.rendererInterface()->graphicsApi(), QSGRendererInterface::Software);
}

TEST(OffscreenWindow, paintsItsItems)
{
    QQuickWindow window;
    window.setColor(Qt::white);
    window.resize(100, 60);
    HalfItem item(window.contentItem());
    item.setSize(QSizeF(100, 60));
    window.show();

    const QImage picture = window.grabWindow();
    ASSERT_EQ(picture.size(), QSize(100, 60));
    EXPECT_EQ(picture.pixelColor(10, 30), QColor(Qt::red));
    EXPECT_EQ(picture.pixelColor(90, 30), QColor(Qt::white));
}

} // namespace
} // namespace slicewise
