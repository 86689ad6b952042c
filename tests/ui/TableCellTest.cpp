// Rows as they look: texts, swatches; and the backdrop.
#include "chart/QtColor.h"
#include "chart/UIColorHSB.h"
#include "ui/NodeSwatch.h"
#include "ui/SZAGradientView.h"
#include "ui/SZATableViewCell.h"
#include "ui/SliceColor.h"

#include <QPainter>
#include <QQuickWindow>
#include <QSignalSpy>
#include <gtest/gtest.h>

#include <cmath>
#include <memory>

namespace slicewise {

namespace {

constexpr UIColor kRed = {.red = 1, .green = 0, .blue = 0, .alpha = 1};

SZATableViewCell cellOf(const UIColor &color)
{
    SZATableViewCell cell(SZATableViewCell::Style::Subtitle, QStringLiteral("x"));
    cell.setNodeColor(color);
    return cell;
}

double brightnessOf(const UIColor &color)
{
    double brightness = -1;
    getHueSaturationBrightnessAlpha(color, nullptr, nullptr, &brightness, nullptr);
    return brightness;
}

void expectNear(const QColor &actual, const QColor &expected, const char *where)
{
    EXPECT_NEAR(actual.red(), expected.red(), 1) << where;
    EXPECT_NEAR(actual.green(), expected.green(), 1) << where;
    EXPECT_NEAR(actual.blue(), expected.blue(), 1) << where;
    EXPECT_NEAR(actual.alpha(), expected.alpha(), 1) << where;
}

TEST(TableCell, hasADetailLineWhateverStyleIsAskedFor)
{
    for (const auto style : {SZATableViewCell::Style::Default, SZATableViewCell::Style::Value1,
                             SZATableViewCell::Style::Value2, SZATableViewCell::Style::Subtitle}) {
        SZATableViewCell cell(style, QStringLiteral("MainTableViewCellID"));
        EXPECT_EQ(cell.style(), SZATableViewCell::Style::Subtitle);
        EXPECT_EQ(static_cast<int>(cell.style()), 3);
        EXPECT_EQ(cell.reuseIdentifier(), QStringLiteral("MainTableViewCellID"));
        cell.setText(QStringLiteral("name"));
        cell.setDetailText(QStringLiteral("1 kB"));
        EXPECT_EQ(cell.text(), QStringLiteral("name"));
        EXPECT_EQ(cell.detailText(), QStringLiteral("1 kB"));
    }
}

TEST(TableCell, beginsAsItAlwaysIs)
{
    const SZATableViewCell cell(SZATableViewCell::Style::Default, {});
    EXPECT_EQ(cell.circleSize(), 12);
    EXPECT_EQ(cell.circleStroke(), 1);
    EXPECT_EQ(cell.nodeColor(), std::nullopt);
    EXPECT_FALSE(SZATableViewCell::kShouldIndentWhileEditing);
    const UIColor detail = SZATableViewCell::kDetailTextColor;
    EXPECT_EQ(detail.red, detail.green);
    EXPECT_EQ(detail.green, detail.blue);
    EXPECT_EQ(cell.selectable(), SZATableViewCell::Selectable::No);
    const QImage image = cell.nodeColorImage(1);
    EXPECT_EQ(image.size(), QSize(12, 12));
    EXPECT_EQ(image.pixelColor(6, 6).alpha(), 0);
}

TEST(TableCell, theRimIsTheColourWithFourFifthsOfItsBrightnessAndOpaque)
{
    const UIColor rim = swatchRimColor(kRed);
    EXPECT_DOUBLE_EQ(rim.red, 0.8);
    EXPECT_DOUBLE_EQ(rim.green, 0);
    EXPECT_DOUBLE_EQ(rim.blue, 0);
    EXPECT_DOUBLE_EQ(rim.alpha, 1);
    EXPECT_DOUBLE_EQ(swatchRimColor({.red = 1, .green = 0, .blue = 0, .alpha = 0.25}).alpha, 1);
    for (std::int64_t i = -1; i < 9; ++i) {
        const UIColor color = colorByPaletteIndex(i);
        const UIColor darker = swatchRimColor(color);
        EXPECT_NEAR(brightnessOf(darker), 0.8 * brightnessOf(color), 1e-12);
        double hue = 0;
        double hueOfDarker = 0;
        double saturation = 0;
        double saturationOfDarker = 0;
        getHueSaturationBrightnessAlpha(color, &hue, &saturation, nullptr, nullptr);
        getHueSaturationBrightnessAlpha(darker, &hueOfDarker, &saturationOfDarker, nullptr, nullptr);
        EXPECT_NEAR(hue, hueOfDarker, 1e-9);
        EXPECT_NEAR(saturation, saturationOfDarker, 1e-9);
    }
}

TEST(TableCell, theSwatchIsADiscOfTenInASquareOfTwelve)
{
    constexpr int kScale = 10;
    const SZATableViewCell cell = cellOf(kRed);
    EXPECT_EQ(cell.nodeColor(), kRed);
    const QImage image = cell.nodeColorImage(kScale);
    EXPECT_EQ(image.size(), QSize(120, 120));
    EXPECT_EQ(image.devicePixelRatio(), kScale);
    expectNear(image.pixelColor(60, 60), Qt::red, "middle");
    expectNear(image.pixelColor(17, 60), Qt::red, "inside of the rim");
    // The rim's line is 1 wide, half of it outside of the disc.
    const QColor rim = toQColor(swatchRimColor(kRed));
    expectNear(image.pixelColor(7, 60), rim, "outer half of the rim");
    expectNear(image.pixelColor(13, 60), rim, "inner half of the rim");
    expectNear(image.pixelColor(60, 112), rim, "rim below");
    EXPECT_EQ(image.pixelColor(3, 60).alpha(), 0) << "outside";
    EXPECT_EQ(image.pixelColor(0, 0).alpha(), 0) << "corner";
}

TEST(TableCell, aSwatchShowsThroughWhereItsColourDoesAndItsRimDoesNot)
{
    const QImage image = cellOf({.red = 1, .green = 0, .blue = 0, .alpha = 0.5}).nodeColorImage(10);
    EXPECT_NEAR(image.pixelColor(60, 60).alpha(), 128, 1);
    EXPECT_EQ(image.pixelColor(12, 60).alpha(), 255);
}

TEST(TableCell, anotherColourRedrawsTheSwatch)
{
    SZATableViewCell cell = cellOf(kRed);
    cell.setNodeColor({.red = 0, .green = 0, .blue = 1, .alpha = 1});
    expectNear(cell.nodeColorImage(2).pixelColor(12, 12), Qt::blue, "middle");
}

TEST(TableCell, aSwatchItemPaintsTheSamePicture)
{
    QQuickWindow window;
    window.resize(12, 12);
    window.setColor(Qt::white);
    const auto swatch = std::make_unique<NodeSwatch>(window.contentItem());
    EXPECT_EQ(swatch->size(), QSizeF(12, 12));
    QSignalSpy changed(swatch.get(), &NodeSwatch::nodeColorChanged);
    EXPECT_EQ(window.grabWindow().pixelColor(6, 6), QColor(Qt::white)) << "no colour, no disc";
    swatch->setNodeColor(Qt::red);
    swatch->setNodeColor(Qt::red);
    EXPECT_EQ(changed.count(), 1);
    const QImage grabbed = window.grabWindow();
    QImage expected(12, 12, QImage::Format_ARGB32_Premultiplied);
    expected.fill(Qt::white);
    {
        QPainter painter(&expected);
        painter.drawImage(QPointF(), cellOf(kRed).nodeColorImage(1));
    }
    for (int y = 0; y < 12; ++y) {
        for (int x = 0; x < 12; ++x) {
            expectNear(grabbed.pixelColor(x, y), expected.pixelColor(x, y), "pixel");
        }
    }
}

TEST(GradientView, goesFromSlateToBlackAtHalfOfTheWholeDiagonal)
{
    const QRadialGradient gradient = backdropGradient({10, 20, 100, 100});
    EXPECT_EQ(gradient.center(), QPointF(60, 70));
    EXPECT_EQ(gradient.focalPoint(), QPointF(60, 70));
    EXPECT_EQ(gradient.focalRadius(), 0);
    EXPECT_NEAR(gradient.centerRadius(), 141.4, 0.05);
    ASSERT_EQ(gradient.stops().size(), 2);
    EXPECT_EQ(gradient.stops()[0].first, 0.0);
    expectNear(gradient.stops()[0].second, QColor(80, 88, 104), "middle");
    EXPECT_EQ(gradient.stops()[1].first, 0.5);
    EXPECT_EQ(gradient.stops()[1].second, QColor(Qt::black));
    EXPECT_DOUBLE_EQ(backdropGradient({0, 0, 30, 40}).centerRadius(), 50);
}

QImage drawn(const SZAGradientView &view, const QRectF &rectangle)
{
    QImage image(rectangle.size().toSize(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::green);
    QPainter painter(&image);
    view.drawRect(painter, rectangle);
    return image;
}

TEST(GradientView, coversTheWholeRectangle)
{
    const SZAGradientView view;
    const QImage image = drawn(view, {0, 0, 100, 100});
    expectNear(image.pixelColor(50, 50), QColor(80, 88, 104), "middle");
    // Half the way to black.
    EXPECT_NEAR(image.pixelColor(50 + 35, 50).blue(), 52, 2);
    EXPECT_LT(image.pixelColor(0, 0).blue(), 3) << "black at 70.7, which is the corner";
    EXPECT_EQ(image.pixelColor(99, 0).green() > 3, false);
    const QImage flat = drawn(view, {0, 0, 200, 2});
    EXPECT_NEAR(flat.pixelColor(150, 1).blue(), 52, 2) << "black at 100";
}

TEST(GradientView, followsItsSize)
{
    QQuickWindow window;
    window.resize(200, 200);
    const auto view = std::make_unique<SZAGradientView>(QRectF(0, 0, 100, 100), window.contentItem());
    EXPECT_EQ(view->size(), QSizeF(100, 100));
    expectNear(window.grabWindow().pixelColor(50, 50), QColor(80, 88, 104), "middle");
    view->setFrame({0, 0, 200, 200});
    const QImage larger = window.grabWindow();
    expectNear(larger.pixelColor(100, 100), QColor(80, 88, 104), "middle of the larger one");
    EXPECT_LT(larger.pixelColor(50, 50).blue(), 60) << "no middle any more";
    EXPECT_LT(larger.pixelColor(199, 199).blue(), 3);
}

} // namespace

} // namespace slicewise
