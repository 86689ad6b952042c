// What labels say, when they fit, and where they stand.
#include "tests/chart/ChartParts.h"

#include <QFontMetricsF>
#include <gtest/gtest.h>

namespace slicewise {

namespace {

constexpr double kRoot2 = 1.4142135623730951;

class LabelTest : public ::testing::Test {
protected:
    [[nodiscard]] QString text(std::size_t index) const { return parts.layer(index).label().string; }
    [[nodiscard]] QSizeF measured(const QString &string) const
    {
        const QFontMetricsF metrics(parts.chart.labelFont());
        return {metrics.horizontalAdvance(string), metrics.height()};
    }

    ChartParts parts{{}, {0, 0, 800, 800}};
};

TEST_F(LabelTest, aNewSliceHasOneInTheMiddleOfThePie)
{
    parts.chart.setLabelColor(Qt::red);
    const auto layer = parts.chart.createSliceLayer();
    EXPECT_EQ(layer->zPosition(), 0);
    EXPECT_EQ(layer->lineWidth(), 0);
    EXPECT_EQ(layer->lineJoin(), Qt::RoundJoin);
    EXPECT_EQ(layer->lineCap(), Qt::RoundCap);
    const LabelLayer &label = layer->label();
    EXPECT_EQ(label.position, QPointF(350, 350));
    EXPECT_EQ(label.bounds, measured(QStringLiteral("0")));
    EXPECT_EQ(label.anchorPoint, QPointF(0.5, 0.5));
    EXPECT_EQ(label.alignment, Qt::AlignCenter);
    EXPECT_EQ(label.font, parts.chart.labelFont());
    EXPECT_EQ(label.fontSize, 20);
    EXPECT_EQ(label.foregroundColor, QColor(Qt::red));
    EXPECT_EQ(label.backgroundColor, QColor(Qt::transparent));
    EXPECT_EQ(label.contentsScale, 2) << "twice the screen's";
    EXPECT_FALSE(label.shadowColor.has_value());
    EXPECT_TRUE(parts.chart.sliceLayers().empty()) << "nobody has put it in";
}

TEST_F(LabelTest, theMiddleIsRoundedWithHalvesAwayFromZero)
{
    parts.chart.setPieRadius(10.5);
    EXPECT_EQ(parts.chart.createSliceLayer()->label().position, QPointF(11, 11));
}

TEST_F(LabelTest, hasAShadowWhereThereIsAColourForIt)
{
    parts.chart.setLabelShadowColor(Qt::blue);
    const auto layer = parts.chart.createSliceLayer();
    EXPECT_EQ(layer->label().shadowColor, QColor(Qt::blue));
    EXPECT_EQ(layer->label().shadowOffset, QPointF());
    EXPECT_EQ(layer->label().shadowOpacity, 1);
    EXPECT_EQ(layer->label().shadowRadius, 2);
}

TEST_F(LabelTest, saysTheShareRounded)
{
    parts.show({1, 2});
    EXPECT_EQ(text(0), QStringLiteral("33"));
    EXPECT_EQ(text(1), QStringLiteral("67"));
}

TEST_F(LabelTest, roundsHalvesToEven)
{
    parts.show({1, 7});
    EXPECT_EQ(text(0), QStringLiteral("12"));
    EXPECT_EQ(text(1), QStringLiteral("88"));
}

TEST_F(LabelTest, saysTheTextElseTheValue)
{
    parts.chart.setShowPercentage(false);
    parts.source.texts[0] = QStringLiteral("Songs");
    parts.source.texts[1] = std::nullopt;
    parts.source.texts[2] = QStringLiteral("");
    parts.show({100, 200.4, 300});
    EXPECT_EQ(text(0), QStringLiteral("Songs"));
    EXPECT_EQ(text(1), QStringLiteral("200"));
    EXPECT_EQ(text(2), QString()) << "an empty text is a text";
}

TEST_F(LabelTest, hasABoxAsWideAsTheRadius)
{
    parts.show({1, 2});
    EXPECT_EQ(parts.layer(0).label().bounds, QSizeF(350, measured(QStringLiteral("33")).height()));
}

TEST_F(LabelTest, isWhiteWhateverTheChartsColour)
{
    parts.chart.setLabelColor(Qt::red);
    parts.show({1, 1000000});
    EXPECT_EQ(parts.layer(1).label().foregroundColor, QColor(Qt::white));
    EXPECT_EQ(parts.layer(0).label().foregroundColor, QColor(Qt::red))
        << "where there is no room it is left alone";
}

// Upright slices around the top: the label's text lies across them.
TEST_F(LabelTest, showsOnlyWhereBothEndsOfItsTextLieInTheSlice)
{
    parts.chart.setShowPercentage(false);
    const double half = measured(QStringLiteral("MMMM")).width() / 2;
    const double anchor = parts.chart.labelRadius();
    const double fits = 2 * std::atan2(half + 1, anchor);
    const double tooNarrow = 2 * std::atan2(half - 1, anchor);
    const auto layer = parts.chart.createSliceLayer();
    layer->setText(QStringLiteral("MMMM"));
    parts.chart.updateLabelForLayerValueStartAngleEndAngle(*layer, 1, kTop - fits / 2, kTop + fits / 2);
    EXPECT_EQ(layer->label().string, QStringLiteral("MMMM"));
    parts.chart.updateLabelForLayerValueStartAngleEndAngle(*layer, 1, kTop - tooNarrow / 2,
                                                           kTop + tooNarrow / 2);
    EXPECT_EQ(layer->label().string, QString());
    parts.chart.updateLabelForLayerValueStartAngleEndAngle(*layer, 1, kTop - fits / 2 + 0.02,
                                                           kTop + fits / 2 - 0.02);
    EXPECT_EQ(layer->label().string, QString());
}

TEST_F(LabelTest, showsNothingForAValueThatIsNotPositive)
{
    const auto layer = parts.chart.createSliceLayer();
    for (const double value : {0.0, -1.0}) {
        parts.chart.updateLabelForLayerValueStartAngleEndAngle(*layer, 1, 0, 3);
        EXPECT_EQ(layer->label().string, QStringLiteral("0"));
        parts.chart.updateLabelForLayerValueStartAngleEndAngle(*layer, value, 0, 3);
        EXPECT_EQ(layer->label().string, QString());
    }
}

TEST_F(LabelTest, isHiddenWhereLabelsAreOffAndLeftAsItIs)
{
    parts.show({1, 2});
    parts.chart.setShowLabel(false);
    EXPECT_FALSE(parts.layer(0).label().hidden) << "before the next reload";
    parts.reload({2, 2});
    EXPECT_TRUE(parts.layer(0).label().hidden);
    EXPECT_TRUE(parts.layer(1).label().hidden);
    EXPECT_EQ(text(0), QStringLiteral("33"));
    parts.chart.setShowLabel(true);
    parts.reload({2, 2});
    EXPECT_FALSE(parts.layer(0).label().hidden);
    EXPECT_EQ(text(0), QStringLiteral("50"));
}

TEST_F(LabelTest, standsALittleBelowTheMiddleOfItsSliceInWholePixels)
{
    parts.show({1, 1, 1, 1});
    const double height = measured(QStringLiteral("25")).height();
    const double part = parts.chart.labelRadius() / kRoot2;
    EXPECT_EQ(parts.layer(0).label().position,
              QPointF(std::round(350 + part), std::round(350 - part + height * 0.5)));
    EXPECT_EQ(parts.layer(2).label().position,
              QPointF(std::round(350 - part), std::round(350 + part + height * 0.5)));
}

TEST_F(LabelTest, movesWithWhatIsOnScreen)
{
    parts.reload({1});
    parts.clock->step(0.2);
    const SliceLayer shown = parts.shown(0);
    const double middle = (shown.startAngle() + shown.endAngle()) / 2;
    const LabelLayer &label = parts.layer(0).label();
    EXPECT_EQ(label.position, QPointF(std::round(350 + parts.chart.labelRadius() * std::cos(middle)),
                                      std::round(350 + parts.chart.labelRadius() * std::sin(middle) +
                                                 label.bounds.height() * 0.5)));
}

TEST_F(LabelTest, changesBetweenShareAndTextAtOnce)
{
    parts.source.texts[0] = QStringLiteral("Songs");
    parts.show({100, 300});
    parts.chart.setShowPercentage(false);
    EXPECT_EQ(text(0), QStringLiteral("Songs"));
    EXPECT_EQ(parts.layer(0).label().bounds, measured(QStringLiteral("Songs")));
    EXPECT_EQ(text(1), QStringLiteral("300"));
    parts.chart.setShowPercentage(true);
    EXPECT_EQ(text(0), QStringLiteral("25"));
    EXPECT_EQ(text(1), QStringLiteral("75"));
}

TEST_F(LabelTest, aChangeLeavesOutWhatIsLongerThanTheArc)
{
    // The arc at the label's radius, just long enough and just too short for the text.
    const double width = measured(QStringLiteral("MMMM")).width();
    const double turn = kTurn * parts.chart.labelRadius();
    parts.source.texts[0] = QStringLiteral("MMMM");
    parts.source.texts[1] = QStringLiteral("MMMM");
    const double enough = (width + 1) / turn;
    const double tooShort = (width - 1) / turn;
    parts.show({enough, tooShort, 1 - enough - tooShort});
    parts.chart.setShowPercentage(false);
    EXPECT_EQ(text(0), QStringLiteral("MMMM"));
    EXPECT_EQ(text(1), QString());
}

TEST_F(LabelTest, aChangeMeasuresTheHeightToo)
{
    const double height = measured(QStringLiteral("1")).height();
    const double turn = kTurn * parts.chart.labelRadius();
    parts.source.texts[0] = QStringLiteral("1");
    parts.source.texts[1] = QStringLiteral("1");
    const double enough = (height + 1) / turn;
    const double tooShort = (height - 1) / turn;
    ASSERT_GT(height - 1, measured(QStringLiteral("1")).width());
    parts.show({enough, tooShort, 1 - enough - tooShort});
    parts.chart.setShowPercentage(false);
    EXPECT_EQ(text(0), QStringLiteral("1"));
    EXPECT_EQ(text(1), QString());
}

TEST_F(LabelTest, aChangeKeepsPlaceAndColour)
{
    parts.show({1, 2});
    parts.layer(0).label().foregroundColor = Qt::green;
    const QPointF before = parts.layer(0).label().position;
    parts.chart.setShowPercentage(false);
    EXPECT_EQ(parts.layer(0).label().position, before);
    EXPECT_EQ(parts.layer(0).label().foregroundColor, QColor(Qt::green));
}

TEST_F(LabelTest, aChangeWithLabelsOffHidesTheFirstAndLeavesTheRest)
{
    parts.show({1, 2, 3});
    parts.chart.setShowLabel(false);
    parts.chart.setShowPercentage(false);
    EXPECT_FALSE(parts.chart.showPercentage());
    EXPECT_TRUE(parts.layer(0).label().hidden);
    EXPECT_FALSE(parts.layer(1).label().hidden);
    EXPECT_FALSE(parts.layer(2).label().hidden);
    EXPECT_EQ(text(1), QStringLiteral("33"));
    parts.chart.setShowLabel(true);
    parts.chart.setShowPercentage(true);
    EXPECT_FALSE(parts.layer(0).label().hidden);
}

} // namespace

} // namespace slicewise
