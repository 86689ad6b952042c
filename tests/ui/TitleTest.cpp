// Two lines in the middle of the navigation bar.
#include "tests/ui/BrowserParts.h"
#include "ui/SZANavItem.h"
#include "ui/UINavigationItemSubtitle.h"

#include <QFontMetricsF>
#include <QSignalSpy>
#include <gtest/gtest.h>

namespace slicewise {

namespace {

constexpr SystemVersion kNew = {.number = 7.0F};

// Of the whole program, so that it runs by itself in a process of its own under ctest.
TEST(Title, thereIsNoSubtitleBeforeTheFirst)
{
    const UINavigationItem item;
    if (testing::UnitTest::GetInstance()->test_to_run_count() == 1) {
        EXPECT_EQ(subtitle(item), std::nullopt);
    }
    EXPECT_EQ(item.titleView(), nullptr);
}

TEST(Title, everyItemAnswersTheSubtitleThatWasSetLast)
{
    UINavigationItem first;
    UINavigationItem second;
    setSubtitle(first, QStringLiteral("1 kB"), kNew);
    EXPECT_EQ(subtitle(second), QStringLiteral("1 kB"));
    setSubtitle(second, QStringLiteral("2 kB"), kNew);
    EXPECT_EQ(subtitle(first), QStringLiteral("2 kB"));
    EXPECT_EQ(first.titleView()->subtitleLine(), QStringLiteral("1 kB")) << "what is shown stays";
}

TEST(Title, isTwoRunsInTwoFonts)
{
    UINavigationItem item;
    item.setTitle(QStringLiteral("Disk"));
    setSubtitle(item, QStringLiteral("12.3 GB used out of 14.6 GB"), kNew);
    const TitleLabel::Runs &runs = item.titleView()->runs();
    EXPECT_EQ(runs[0].text, QStringLiteral("Disk\n"));
    EXPECT_EQ(runs[0].font.pixelSize(), 17);
    EXPECT_TRUE(runs[0].font.bold());
    EXPECT_EQ(runs[1].text, QStringLiteral("12.3 GB used out of 14.6 GB"));
    EXPECT_EQ(runs[1].font.pixelSize(), 12);
    EXPECT_FALSE(runs[1].font.bold());
    EXPECT_EQ(item.titleView()->titleLine(), QStringLiteral("Disk"));
    EXPECT_EQ(TitleLabel::kNumberOfLines, 0);
    EXPECT_EQ(TitleLabel::kTextAlignment, Qt::AlignHCenter);
    EXPECT_EQ(TitleLabel::backgroundColor().alpha(), 0);
}

TEST(Title, isBlackWithoutAShadowFromSevenOn)
{
    for (const float version : {7.0F, 7.1F, 8.0F, 10.3F}) {
        UINavigationItem item;
        setSubtitle(item, QStringLiteral("x"), {.number = version});
        for (const TitleRun &run : item.titleView()->runs()) {
            EXPECT_EQ(run.color, QColor(Qt::black)) << version;
            EXPECT_FALSE(run.shadowColor.isValid()) << version;
        }
    }
}

TEST(Title, isWhiteWithAShadowAboveBeforeSeven)
{
    for (const float version : {0.0F, 5.0F, 6.0F, 6.9F}) {
        UINavigationItem item;
        setSubtitle(item, QStringLiteral("x"), {.number = version});
        for (const TitleRun &run : item.titleView()->runs()) {
            EXPECT_EQ(run.color, QColor(Qt::white)) << version;
            EXPECT_EQ(run.shadowColor.rgb(), QColor(Qt::black).rgb()) << version;
            EXPECT_NEAR(static_cast<double>(run.shadowColor.alphaF()), 0.5, 0.001) << version;
            EXPECT_EQ(run.shadowOffset, QPointF(0, -1)) << version;
        }
    }
}

TEST(Title, anEmptySubtitleStillIsALine)
{
    UINavigationItem item;
    item.setTitle(QStringLiteral("Disk"));
    setSubtitle(item, QString(), kNew);
    const double alone = item.titleView()->size().height();
    EXPECT_EQ(item.titleView()->runs()[0].text, QStringLiteral("Disk\n"));
    setSubtitle(item, QStringLiteral("x"), kNew);
    EXPECT_DOUBLE_EQ(item.titleView()->size().height(), alone);
}

TEST(Title, theLabelFitsTheWiderLineAndBothHeights)
{
    UINavigationItem item;
    item.setTitle(QStringLiteral("A"));
    const QString wide(60, QLatin1Char('w'));
    setSubtitle(item, wide, kNew);
    const TitleLabel &label = *item.titleView();
    const QFontMetricsF title(label.titleFont());
    const QFontMetricsF subtitleMetrics(label.subtitleFont());
    EXPECT_DOUBLE_EQ(label.size().width(), subtitleMetrics.horizontalAdvance(wide));
    EXPECT_DOUBLE_EQ(label.size().height(), title.height() + subtitleMetrics.height());
    item.setTitle(wide);
    setSubtitle(item, QStringLiteral("A"), kNew);
    EXPECT_DOUBLE_EQ(label.size().width(), title.horizontalAdvance(wide));
}

TEST(Title, aTitleOfSeveralLinesHasRoomForThem)
{
    UINavigationItem item;
    item.setTitle(QStringLiteral("A\nB"));
    setSubtitle(item, QStringLiteral("C"), kNew);
    const TitleLabel &label = *item.titleView();
    EXPECT_DOUBLE_EQ(label.size().height(), 2 * QFontMetricsF(label.titleFont()).height() +
                                                QFontMetricsF(label.subtitleFont()).height());
}

TEST(Title, aTitleViewThatIsThereIsUsedAgain)
{
    UINavigationItem item;
    item.setTitle(QStringLiteral("Disk"));
    setSubtitle(item, QStringLiteral("1 kB"), kNew);
    TitleLabel *const label = item.titleView();
    QSignalSpy changed(label, &TitleLabel::changed);
    QSignalSpy another(&item, &UINavigationItem::titleViewChanged);
    setSubtitle(item, QStringLiteral("2 kB"), kNew);
    EXPECT_EQ(item.titleView(), label);
    EXPECT_EQ(label->subtitleLine(), QStringLiteral("2 kB"));
    EXPECT_EQ(changed.count(), 1);
    EXPECT_EQ(another.count(), 0);
}

TEST(Title, aTitleAloneDoesNotReachTheTitleView)
{
    UINavigationItem item;
    item.setTitle(QStringLiteral("Before"));
    setSubtitle(item, QStringLiteral("1 kB"), kNew);
    item.setTitle(QStringLiteral("After"));
    EXPECT_EQ(item.titleView()->titleLine(), QStringLiteral("Before"));
    EXPECT_EQ(item.title(), QStringLiteral("After"));
    setSubtitle(item, QStringLiteral("1 kB"), kNew);
    EXPECT_EQ(item.titleView()->titleLine(), QStringLiteral("After"));
}

TEST(Title, aNavItemKeepsItsNodeAlive)
{
    SZANavItem item;
    EXPECT_EQ(item.node(), nullptr);
    auto node = std::make_shared<SZANode>();
    const std::weak_ptr<SZANode> watched = node;
    item.setNode(std::move(node));
    ASSERT_FALSE(watched.expired());
    EXPECT_EQ(item.node().get(), watched.lock().get());
    item.setNode(nullptr);
    EXPECT_TRUE(watched.expired());
}

TEST(Title, aRightButtonIsToldOnceForEachChange)
{
    UINavigationItem item;
    QSignalSpy changed(&item, &UINavigationItem::rightBarButtonItemChanged);
    EXPECT_FALSE(item.hasRightButton());
    item.setRightBarButtonItem(std::nullopt);
    EXPECT_EQ(changed.count(), 0);
    BarButtonItem button;
    button.title = QStringLiteral("Edit");
    item.setRightBarButtonItem(button);
    item.setRightBarButtonItem(button);
    EXPECT_EQ(changed.count(), 1);
    EXPECT_EQ(item.rightButtonTitle(), QStringLiteral("Edit"));
    EXPECT_FALSE(item.rightButtonTint().isValid());
    EXPECT_FALSE(item.rightButtonIsSpinner());
}

} // namespace

} // namespace slicewise
