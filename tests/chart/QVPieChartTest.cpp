// How a chart begins, and what its frame and its settings do.
#include "tests/chart/ChartParts.h"

#include <QMetaProperty>
#include <QPainter>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QSignalSpy>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <utility>
#include <vector>

void qml_register_types_Slicewise_Chart(); // NOLINT(readability-identifier-naming): Qt's name for what it
                                           // generates

namespace slicewise {

namespace {

using ::testing::IsEmpty;

TEST(QVPieChart, beginsWithItsDefaults)
{
    const QVPieChart chart(QRectF(10, 20, 200, 100));
    EXPECT_EQ(chart.position(), QPointF(10, 20));
    EXPECT_EQ(chart.size(), QSizeF(200, 100));
    EXPECT_EQ(chart.selectedSliceIndex(), -1);
    EXPECT_EQ(chart.focusedSliceIndex(), -1);
    EXPECT_EQ(chart.dataSource(), nullptr);
    EXPECT_EQ(chart.delegate(), nullptr);
    EXPECT_EQ(chart.startPieAngle(), 4.71238898038469);
    EXPECT_EQ(chart.animationSpeed(), 0.5);
    EXPECT_EQ(chart.pieRadius(), 43.75);
    EXPECT_EQ(chart.pieCenter(), QPointF(43.75, 43.75));
    EXPECT_EQ(chart.pieView().frame, QRectF(56.25, 6.25, 87.5, 87.5))
        << "in the middle of the chart's own rectangle";
    EXPECT_EQ(chart.pieView().cornerRadius, 43.75);
    EXPECT_TRUE(chart.pieView().userInteractionEnabled);
    EXPECT_EQ(chart.pieBackgroundColor(), QColor(Qt::transparent));
    EXPECT_EQ(chart.fillColor(), QColor(Qt::transparent));
    EXPECT_TRUE(chart.showLabel());
    EXPECT_TRUE(chart.labelFont().bold());
    EXPECT_EQ(chart.labelFont().pixelSize(), 20);
    EXPECT_EQ(chart.labelColor(), QColor(Qt::white));
    EXPECT_FALSE(chart.labelShadowColor().isValid());
    EXPECT_EQ(chart.labelRadius(), 31) << "30.9, rounded";
    EXPECT_EQ(chart.selectedSliceStroke(), 3);
    EXPECT_EQ(chart.selectedSliceOffsetRadius(), 6.25);
    EXPECT_TRUE(chart.showPercentage());
    EXPECT_FALSE(chart.linear());
    EXPECT_FALSE(chart.hasAnimationTimer());
    EXPECT_THAT(chart.animations(), IsEmpty());
    EXPECT_THAT(chart.sliceLayers(), IsEmpty());
}

TEST(QVPieChart, takesACentreAndARadiusOfItsOwn)
{
    const QVPieChart chart({0, 0, 200, 100}, {30, 40}, 20);
    EXPECT_EQ(chart.pieRadius(), 20);
    EXPECT_EQ(chart.pieView().frame, QRectF(10, 20, 40, 40));
    EXPECT_EQ(chart.pieCenter(), QPointF(20, 20));
    EXPECT_EQ(chart.labelRadius(), 31) << "these two follow from the frame alone";
    EXPECT_EQ(chart.selectedSliceOffsetRadius(), 6.25);
}

TEST(QVPieChart, aRadiusKeepsTheCentreOfThePie)
{
    QVPieChart chart({0, 0, 200, 100});
    chart.setPieRadius(10);
    EXPECT_EQ(chart.pieView().frame, QRectF(90, 40, 20, 20));
    EXPECT_EQ(chart.pieCenter(), QPointF(10, 10));
    EXPECT_EQ(chart.pieView().cornerRadius, 10);
    EXPECT_EQ(chart.labelRadius(), 31);
}

TEST(QVPieChart, aCentreMovesThePieViewAndIsItsMiddleWhateverItWas)
{
    QVPieChart chart({0, 0, 200, 100});
    chart.setPieCenter({0, -7});
    EXPECT_EQ(chart.pieView().frame, QRectF(-43.75, -50.75, 87.5, 87.5));
    EXPECT_EQ(chart.pieCenter(), QPointF(43.75, 43.75));
}

TEST(QVPieChart, aNewFrameLaysOutAnewLosesTheFontAndReloads)
{
    ChartParts parts({1, 2});
    QFont font;
    font.setPixelSize(9);
    parts.chart.setLabelFont(font);
    parts.chart.setPieRadius(1);
    parts.chart.setLabelRadius(2);
    parts.chart.setSelectedSliceOffsetRadius(3);
    parts.source.calls.clear();
    parts.chart.setSize(QSizeF(80, 400));
    EXPECT_EQ(parts.chart.pieRadius(), 35);
    EXPECT_EQ(parts.chart.pieView().frame, QRectF(5, 165, 70, 70));
    EXPECT_EQ(parts.chart.labelRadius(), 25);
    EXPECT_EQ(parts.chart.selectedSliceOffsetRadius(), 5);
    EXPECT_EQ(parts.chart.labelFont().pixelSize(), 20);
    EXPECT_TRUE(parts.chart.labelFont().bold());
    EXPECT_EQ(parts.source.calls.front(), "count");
    EXPECT_EQ(parts.values(), (std::vector<double>{1, 2}));
}

TEST(QVPieChart, aFrameThatOnlyMovesIsANewFrameToo)
{
    ChartParts parts({1, 2});
    QFont font;
    font.setPixelSize(9);
    parts.chart.setLabelFont(font);
    parts.chart.setX(5);
    EXPECT_EQ(parts.chart.labelFont().pixelSize(), 20);
    EXPECT_EQ(parts.values().size(), 2U);
    EXPECT_EQ(parts.chart.pieView().frame, QRectF(56.25, 6.25, 87.5, 87.5))
        << "the size counts, not the place";
}

TEST(QVPieChart, keepsWhatIsSetAndSaysSoOnce)
{
    QVPieChart chart({0, 0, 200, 100});
    QFont font;
    font.setPixelSize(9);
    const std::vector<std::pair<const char *, QVariant>> settings = {
        {"startPieAngle", 1.0},
        {"animationSpeed", 2.0},
        {"pieBackgroundColor", QColor(Qt::green)},
        {"showLabel", false},
        {"labelFont", font},
        {"labelColor", QColor(Qt::red)},
        {"labelShadowColor", QColor(Qt::blue)},
        {"labelRadius", -4.0},
        {"selectedSliceStroke", 5.0},
        {"selectedSliceOffsetRadius", -6.0},
        {"showPercentage", false},
        {"linear", true},
        {"accessibleName", QStringLiteral("Storage")},
        {"pieRadius", 7.0},
    };
    for (const auto &[name, value] : settings) {
        const QMetaObject &type = QVPieChart::staticMetaObject;
        const QMetaProperty property = type.property(type.indexOfProperty(name));
        const QSignalSpy told(&chart, property.notifySignal());
        ASSERT_TRUE(told.isValid()) << name;
        EXPECT_TRUE(property.write(&chart, value)) << name;
        EXPECT_EQ(property.read(&chart), value) << name;
        EXPECT_TRUE(property.write(&chart, value)) << name;
        EXPECT_EQ(told.count(), 1) << name;
    }
    EXPECT_EQ(chart.pieView().backgroundColor, QColor(Qt::green));
    EXPECT_EQ(chart.pieCenter(), QPointF(7, 7));
}

TEST(QVPieChart, saysWhatFollowsFromANewFrame)
{
    QVPieChart chart({0, 0, 200, 100});
    const QSignalSpy radius(&chart, &QVPieChart::pieRadiusChanged);
    const QSignalSpy center(&chart, &QVPieChart::pieCenterChanged);
    const QSignalSpy label(&chart, &QVPieChart::labelRadiusChanged);
    const QSignalSpy offset(&chart, &QVPieChart::selectedSliceOffsetRadiusChanged);
    chart.setPosition({5, 5});
    EXPECT_EQ(radius.count() + center.count() + label.count() + offset.count(), 0);
    chart.setHeight(80);
    EXPECT_EQ(radius.count(), 1);
    EXPECT_EQ(center.count(), 1);
    EXPECT_EQ(label.count(), 1);
    EXPECT_EQ(offset.count(), 1);
}

TEST(QVPieChart, theStrokeOfASelectedSliceChangesNothing)
{
    ChartParts parts;
    parts.show({1, 2});
    parts.chart.setSelectedSliceStroke(50);
    parts.chart.setSliceSelectedAtIndex(1);
    parts.clock->runOut();
    EXPECT_EQ(parts.layer(1).lineWidth(), 0.5);
}

TEST(QVPieChart, keepsWhatItHasWhereANumberIsNone)
{
    QVPieChart chart({0, 0, 200, 100});
    for (const double bad :
         {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
          -std::numeric_limits<double>::infinity()}) {
        chart.setStartPieAngle(bad);
        chart.setAnimationSpeed(bad);
        chart.setPieRadius(bad);
        chart.setPieCenter({bad, 0});
        chart.setPieCenter({0, bad});
        chart.setLabelRadius(bad);
        chart.setSelectedSliceOffsetRadius(bad);
        chart.setSelectedSliceStroke(bad);
    }
    EXPECT_EQ(chart.startPieAngle(), kTop);
    EXPECT_EQ(chart.animationSpeed(), 0.5);
    EXPECT_EQ(chart.pieRadius(), 43.75);
    EXPECT_EQ(chart.pieView().frame, QRectF(56.25, 6.25, 87.5, 87.5));
    EXPECT_EQ(chart.labelRadius(), 31);
    EXPECT_EQ(chart.selectedSliceOffsetRadius(), 6.25);
    EXPECT_EQ(chart.selectedSliceStroke(), 3);
}

TEST(QVPieChart, cutsLengthsThatNothingHas)
{
    QVPieChart chart({0, 0, 200, 100});
    chart.setPieRadius(1e300);
    EXPECT_EQ(chart.pieRadius(), 1e6);
    chart.setPieRadius(-5);
    EXPECT_EQ(chart.pieRadius(), 0);
    chart.setLabelRadius(-1e300);
    EXPECT_EQ(chart.labelRadius(), -1e6);
    chart.setPieCenter({1e300, -1e300});
    EXPECT_EQ(chart.pieView().frame.center(), QPointF(1e6, -1e6));
}

TEST(QVPieChart, worksInAFrameOfNoSize)
{
    for (const QRectF &frame :
         {QRectF(), QRectF(0, 0, 0, 50), QRectF(0, 0, -20, 50), QRectF(0, 0, 1e30, 1e30)}) {
        ChartParts parts({}, frame);
        parts.show({1, 2, 3});
        EXPECT_EQ(parts.values().size(), 3U);
        EXPECT_FALSE(parts.clock->isRunning());
        parts.tap({0, 0});
        QImage image(10, 10, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::white);
        QPainter painter(&image);
        parts.chart.picture(1).paint(painter);
    }
}

class QmlChart : public ::testing::Test {
protected:
    void SetUp() override
    {
        qml_register_types_Slicewise_Chart();
        QQmlComponent component(&engine);
        component.setData(
            "import QtQuick\nimport Slicewise.Chart\n"
            "QVPieChart { labelFont.pixelSize: 9; showPercentage: false; width: 200; height: 100 }",
            QUrl());
        chart.reset(qobject_cast<QVPieChart *>(component.create()));
        ASSERT_NE(chart, nullptr) << component.errorString().toStdString();
    }

    QQmlEngine engine;
    std::unique_ptr<QVPieChart> chart;
};

TEST_F(QmlChart, takesItsGeometryOverAndKeepsTheFontOfTheFile)
{
    EXPECT_EQ(chart->pieRadius(), 43.75);
    EXPECT_EQ(chart->pieView().frame, QRectF(56.25, 6.25, 87.5, 87.5));
    EXPECT_EQ(chart->labelFont().pixelSize(), 9);
    EXPECT_FALSE(chart->showPercentage());
    EXPECT_FALSE(chart->linear());
}

TEST_F(QmlChart, onePropertyMayFollowAnother)
{
    QQmlComponent component(&engine);
    component.setData("import QtQuick\nimport Slicewise.Chart\n"
                      "QVPieChart { width: 200; height: 100; labelRadius: pieRadius * 0.5\n"
                      "selectedSliceOffsetRadius: labelRadius / 2 }",
                      QUrl());
    QStringList warnings;
    QObject::connect(&engine, &QQmlEngine::warnings, [&](const QList<QQmlError> &errors) {
        for (const QQmlError &error : errors) {
            warnings << error.toString();
        }
    });
    const std::unique_ptr<QVPieChart> bound(qobject_cast<QVPieChart *>(component.create()));
    ASSERT_NE(bound, nullptr) << component.errorString().toStdString();
    bound->setPieRadius(30);
    EXPECT_EQ(bound->labelRadius(), 15);
    EXPECT_EQ(bound->selectedSliceOffsetRadius(), 7.5);
    bound->setWidth(80);
    EXPECT_EQ(bound->labelRadius(), 17.5) << "what the file says has the last word over the frame";
    EXPECT_EQ(warnings.join(QLatin1Char('\n')).toStdString(), "");
}

TEST_F(QmlChart, losesTheFontWithTheFirstChangeOfItsFrame)
{
    chart->setWidth(150);
    EXPECT_EQ(chart->labelFont().pixelSize(), 20);
}

} // namespace

} // namespace slicewise
