// What comes out on pixels, and when; pictures to look at are left in build/<preset>/tests/chart/pictures.
#include "chart/QtColor.h"
#include "chart/SectorPath.h"
#include "tests/chart/ChartParts.h"

#include <QCoreApplication>
#include <QDir>
#include <QImage>
#include <QPainter>
#include <QProcess>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace slicewise {

namespace {

QImage painted(const QVPieChart &chart, double scale, const QColor &background = Qt::white)
{
    QImage image((chart.size() * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(background);
    QPainter painter(&image);
    chart.picture(scale).paint(painter);
    return image;
}

QColor at(const QImage &image, const QPointF &point)
{
    return image.pixelColor((point * image.devicePixelRatio()).toPoint());
}

void keep(const QImage &image, const QString &name)
{
    const QString folder = QCoreApplication::applicationDirPath() + QStringLiteral("/pictures");
    QDir().mkpath(folder);
    EXPECT_TRUE(image.save(folder + QLatin1Char('/') + name + QStringLiteral(".png")));
}

const std::vector<UIColor> kColors = {
    {1 / 255.0, 85 / 255.0, 1, 1},
    {96 / 255.0, 208 / 255.0, 48 / 255.0, 1},
    {231 / 255.0, 40 / 255.0, 40 / 255.0, 1},
    {253 / 255.0, 188 / 255.0, 19 / 255.0, 1},
    {217 / 255.0, 71 / 255.0, 158 / 255.0, 1},
    {38 / 255.0, 224 / 255.0, 187 / 255.0, 1},
};

struct Pictured : ChartParts {
    explicit Pictured(double side = 320) : ChartParts({}, {0, 0, side, side})
    {
        for (unsigned i = 0; i < kColors.size(); ++i) {
            source.colors[i] = kColors[i];
        }
    }
    void everywhere(const QString &name) const
    {
        for (const int scale : {1, 2, 3}) {
            keep(painted(chart, scale), QStringLiteral("%1-light-%2x").arg(name).arg(scale));
        }
        keep(painted(chart, 2, QColor(28, 30, 38)), name + QStringLiteral("-dark-2x"));
    }
};

TEST(Painting, fillsEachSliceWithItsColourAtEveryScale)
{
    Pictured parts;
    parts.chart.setShowLabel(false);
    parts.show({30, 25, 20, 12, 8, 5});
    for (const double scale : {1.0, 1.5, 2.0, 3.0}) {
        const QImage image = painted(parts.chart, scale);
        EXPECT_EQ(image.size(), (QSizeF(320, 320) * scale).toSize());
        for (std::size_t i = 0; i < kColors.size(); ++i) {
            EXPECT_EQ(at(image, parts.pointIn(i)), QColor::fromRgbF(static_cast<float>(kColors[i].red),
                                                                    static_cast<float>(kColors[i].green),
                                                                    static_cast<float>(kColors[i].blue))
                                                       .toRgb()
                                                       .name())
                << i << ' ' << scale;
        }
        EXPECT_EQ(at(image, {3, 3}), QColor(Qt::white));
    }
    parts.everywhere(QStringLiteral("rest"));
}

TEST(Painting, isAsFineAsThePixels)
{
    Pictured parts;
    parts.chart.setShowLabel(false);
    parts.show({1});
    // Along a line across the rim: the softened edge is a pixel or two wide, however many there are.
    for (const int scale : {1, 2, 3}) {
        const QImage image = painted(parts.chart, scale);
        int between = 0;
        for (int x = 0; x < image.width() / 2; ++x) {
            const QColor color = image.pixelColor(x, image.height() / 2);
            between += color != QColor(Qt::white) && color != image.pixelColor(image.rect().center()) ? 1 : 0;
        }
        EXPECT_LE(between, 1 + scale) << scale;
        EXPECT_GE(between, 1) << scale;
    }
}

TEST(Painting, letsNothingShineThroughBetweenSlices)
{
    Pictured parts;
    parts.chart.setShowLabel(false);
    parts.source.colors.clear();
    for (unsigned i = 0; i < 7; ++i) {
        parts.source.colors[i] = {0, 0, 0.4, 1};
    }
    parts.show({3, 2, 4, 1, 2, 3, 2});
    parts.chart.touchesCancelledWithEvent();
    for (const double scale : {1.0, 2.0, 3.0}) {
        const QImage image = painted(parts.chart, scale, Qt::red);
        for (int i = 0; i < 400; ++i) {
            const QPointF point = pointAtAngle({160, 160}, 100, i * kTurn / 400);
            EXPECT_LE(at(image, point).red(), 20) << i << ' ' << scale;
        }
    }
}

TEST(Painting, outlinesARaisedSliceAboveTheOthers)
{
    Pictured parts;
    parts.chart.setShowLabel(false);
    parts.show({1, 1});
    const QColor stroke = toQColor(parts.layer(0).strokeColor());
    parts.layer(0).setLineWidth(6);
    parts.chart.touchesBeganWithEvent(parts.pointIn(0));
    EXPECT_EQ(at(painted(parts.chart, 1), {158, 200}).name(), stroke.name()) << "over its neighbour";
    parts.chart.touchesCancelledWithEvent();
    EXPECT_NE(at(painted(parts.chart, 1), {158, 200}).name(), stroke.name());
}

TEST(Painting, aSelectedSliceLiesFurtherOut)
{
    Pictured parts;
    parts.show({1, 1, 2});
    parts.chart.setSliceSelectedAtIndex(0);
    parts.clock->runOut();
    const QPointF beyond = pointAtAngle({160, 160}, 150, kTop + kTurn / 8);
    EXPECT_EQ(at(painted(parts.chart, 1), beyond), QColor(1, 85, 255));
    EXPECT_EQ(at(painted(parts.chart, 1), {163, 157}), QColor(Qt::white));
    parts.everywhere(QStringLiteral("selected"));
}

TEST(Painting, labelsMoveWithTheirSlice)
{
    Pictured parts;
    parts.show({1, 1});
    const QRectF before = parts.chart.picture(1).labels.at(0).box;
    parts.chart.setSliceSelectedAtIndex(0);
    parts.clock->runOut();
    EXPECT_EQ(parts.chart.picture(1).labels.at(0).box, before.translated(parts.layer(0).position()));
}

TEST(Painting, leavesOutHiddenAndEmptyLabels)
{
    Pictured parts;
    parts.show({1, 1, 1000});
    EXPECT_EQ(parts.chart.picture(1).labels.size(), 1U);
    parts.layer(2).label().hidden = true;
    EXPECT_TRUE(parts.chart.picture(1).labels.empty());
}

TEST(Painting, aSliceHasNoPictureBeforeItsFirstFrame)
{
    Pictured parts;
    parts.reload({1, 2});
    EXPECT_TRUE(parts.chart.picture(1).slices.empty());
    EXPECT_TRUE(parts.chart.picture(1).labels.empty());
}

TEST(Painting, theDiscBehindIsRoundAndInItsColour)
{
    Pictured parts;
    parts.chart.setPieBackgroundColor(QColor(Qt::yellow));
    const QImage image = painted(parts.chart, 1);
    EXPECT_EQ(at(image, {160, 160}), QColor(Qt::yellow));
    EXPECT_EQ(at(image, {24, 24}), QColor(Qt::white));
    keep(image, QStringLiteral("empty-with-disc-1x"));
}

TEST(Painting, anEmptyChartPaintsNothing)
{
    const Pictured parts;
    QImage expected(320, 320, QImage::Format_ARGB32_Premultiplied);
    expected.fill(Qt::white);
    EXPECT_EQ(painted(parts.chart, 1), expected);
}

TEST(Painting, aShadowDarkensWhatIsAroundTheText)
{
    Pictured parts;
    parts.show({1});
    const QImage plain = painted(parts.chart, 1);
    ChartParts shadowed({}, {0, 0, 320, 320});
    shadowed.source.colors[0] = kColors[0];
    shadowed.chart.setLabelShadowColor(Qt::black);
    shadowed.show({1});
    const QImage dark = painted(shadowed.chart, 1);
    int darker = 0;
    for (int y = 0; y < dark.height(); ++y) {
        for (int x = 0; x < dark.width(); ++x) {
            EXPECT_LE(dark.pixelColor(x, y).blue(), plain.pixelColor(x, y).blue() + 1);
            darker += dark.pixelColor(x, y).blue() + 20 < plain.pixelColor(x, y).blue() ? 1 : 0;
        }
    }
    EXPECT_GT(darker, 100);
    EXPECT_LT(darker, 3000) << "and no more than around it";
}

TEST(Painting, aWindowShowsTheChartOnceForEachFrameAndNothingWhileItRests)
{
    class Counting final : public QVPieChart {
    public:
        using QVPieChart::QVPieChart;
        void paint(QPainter *painter) override
        {
            ++paints;
            QVPieChart::paint(painter);
        }
        int paints = 0;
    };
    QQuickWindow window;
    window.setColor(Qt::white);
    window.resize(320, 320);
    const auto clock = std::make_shared<SteppedClock>();
    ListSource source({1, 1});
    source.colors[0] = {1, 0, 0, 1};
    source.colors[1] = {0, 0, 1, 1};
    Counting chart(QRectF(0, 0, 320, 320));
    chart.setClock(clock);
    chart.setDataSource(&source);
    chart.setParentItem(window.contentItem());
    window.show();
    chart.reloadData();
    clock->runOut();
    const QImage image = window.grabWindow();
    EXPECT_EQ(image.pixelColor(200, 160), QColor(Qt::red));
    EXPECT_EQ(image.pixelColor(120, 160), QColor(Qt::blue));
    EXPECT_EQ(image.pixelColor(5, 5), QColor(Qt::white));
    const int before = chart.paints;
    EXPECT_GE(before, 1);
    clock->step(5);
    for (int i = 0; i < 3; ++i) {
        (void)window.grabWindow();
    }
    EXPECT_EQ(chart.paints, before);
    chart.setSliceSelectedAtIndex(0);
    clock->step(0.1);
    (void)window.grabWindow();
    EXPECT_EQ(chart.paints, before + 1);
}

TEST(Painting, aWindowIsAsFineAsItsDisplay)
{
    const QTemporaryDir folder;
    ChartParts parts({}, {0, 0, 320, 320});
    parts.chart.setLabelShadowColor(Qt::black);
    parts.show({30, 25, 20, 12, 8, 5});
    for (const int scale : {1, 2, 3}) {
        const QString file = folder.filePath(QStringLiteral("%1.png").arg(scale));
        QProcess program;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("QT_SCALE_FACTOR"), QString::number(scale));
        program.setProcessEnvironment(environment);
        program.start(QStringLiteral(SLICEWISE_GRAB_PIE), {file});
        ASSERT_TRUE(program.waitForFinished(-1));
        ASSERT_EQ(program.exitCode(), 0) << program.readAllStandardError().toStdString();
        const QImage shown = QImage(file).convertToFormat(QImage::Format_RGB32);
        const QImage expected = painted(parts.chart, scale).convertToFormat(QImage::Format_RGB32);
        ASSERT_EQ(shown.size(), expected.size());
        int different = 0;
        for (int y = 0; y < shown.height(); ++y) {
            for (int x = 0; x < shown.width(); ++x) {
                const QColor a = shown.pixelColor(x, y);
                const QColor b = expected.pixelColor(x, y);
                constexpr int kSeen = 12;
                different +=
                    std::abs(a.red() - b.red()) > kSeen || std::abs(a.blue() - b.blue()) > kSeen ? 1 : 0;
            }
        }
        EXPECT_LE(different, 20 * scale) << scale;
    }
}

TEST(Pictures, areThereToBeLookedAt)
{
    {
        Pictured parts;
        parts.reload({30, 25, 20, 12, 8, 5});
        parts.clock->step(0.18);
        parts.everywhere(QStringLiteral("growing"));
        parts.clock->runOut();
        parts.reload({5, 8, 40, 12, 30, 5});
        parts.clock->step(0.2);
        parts.everywhere(QStringLiteral("moving"));
    }
    {
        Pictured parts;
        parts.chart.setShowPercentage(false);
        parts.chart.setLabelShadowColor(QColor(0, 0, 0, 160));
        const char *const names[] = {"Music", "Video", "Photos", "Books", "Apps", "Rest"};
        for (unsigned i = 0; i < 6; ++i) {
            parts.source.texts[i] = QString::fromLatin1(names[i]);
        }
        parts.show({30, 25, 20, 12, 8, 5});
        parts.everywhere(QStringLiteral("labels"));
        parts.chart.touchesBeganWithEvent(parts.pointIn(1));
        parts.everywhere(QStringLiteral("touched"));
    }
    for (const std::size_t count : {1U, 24U, 5000U}) {
        Pictured parts;
        parts.source.colors.clear();
        std::vector<double> values;
        for (std::size_t i = 0; i < count; ++i) {
            values.push_back(1 + static_cast<double>(i * 7 % 11));
        }
        parts.show(values);
        parts.everywhere(QStringLiteral("slices-%1").arg(count));
    }
    {
        QQuickWindow window;
        window.resize(320, 320);
        Pictured parts;
        parts.chart.setParentItem(window.contentItem());
        window.show();
        window.requestActivate();
        QCoreApplication::processEvents();
        parts.show({30, 25, 20, 12, 8, 5});
        parts.chart.forceActiveFocus();
        parts.chart.setFocusedSliceIndex(2);
        EXPECT_FALSE(parts.chart.picture(1).focus.isEmpty());
        parts.everywhere(QStringLiteral("focused"));
    }
}

} // namespace

} // namespace slicewise
