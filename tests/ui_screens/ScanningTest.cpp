// The first screen while its scan goes on, and after it.
#include "tests/ui_screens/BrowsedTree.h"

#include <gtest/gtest.h>

namespace slicewise {
namespace {

bool showsText(QQuickItem &above, const QString &text)
{
    return ScreenWindow::textsIn(above).contains(text);
}

TEST(ScanningScreen, showsTheOverlayUntilSomethingIsFoundThenTheSpinnerThenTheOverview)
{
    HeldScan scan;
    ScreenWindow window(scan.stack, {});
    QQuickItem &overlay = *ScreenWindow::itemsOfType(*window.topPage(), "ProgressHUD").at(0);
    ASSERT_TRUE(comesTrue([&] { return overlay.opacity() == 1; }));
    EXPECT_TRUE(showsText(overlay, "Scanning"));
    EXPECT_FALSE(window.inBar("spinner").isVisible());

    scan.tick();
    EXPECT_TRUE(comesTrue([&] { return !overlay.isVisible(); }));
    EXPECT_TRUE(window.inBar("spinner").isVisible());
    EXPECT_TRUE(comesTrue([&] { return window.rows().size() >= 3; }));
    EXPECT_EQ(window.row(0)->property("name").toString(), "large");

    ASSERT_TRUE(scan.finishes());
    EXPECT_TRUE(comesTrue([&] { return !window.inBar("spinner").isVisible(); }));
    EXPECT_EQ(window.inBar("titleLine").property("text").toString(), "Disk");
    EXPECT_TRUE(window.inBar("subtitleLine").property("text").toString().contains("used out of"));
    EXPECT_FALSE(window.inBar("rightButton").isVisible());
    EXPECT_TRUE(comesTrue([&] { return window.rows().size() >= 4; }));
    EXPECT_TRUE(window.comesToRest());
    EXPECT_EQ(window.warnings(), QStringList());
}

TEST(ScanningScreen, overlayLiesOverTheChart)
{
    HeldScan scan;
    ScreenWindow window(scan.stack, {});
    QQuickItem &overlay = *ScreenWindow::itemsOfType(*window.topPage(), "ProgressHUD").at(0);
    const QVPieChart &chart = window.chart();
    const QRectF over = overlay.mapRectToScene(overlay.boundingRect());
    EXPECT_TRUE(chart.mapRectToScene(chart.boundingRect()).contains(over.center()));
}

TEST(ScanningScreen, refusesPicksWhileItScans)
{
    HeldScan scan;
    ScreenWindow window(scan.stack, {});
    scan.tick();
    ASSERT_TRUE(comesTrue([&] { return window.row(0) != nullptr; }));
    ASSERT_TRUE(window.comesToRest());

    window.tap(*window.row(0));
    EXPECT_EQ(scan.screen().tableView()->selectedRow(), -1);
    window.tap(window.middleOfSlice(0));
    EXPECT_EQ(scan.screen().tableView()->selectedRow(), -1);
    window.key(Qt::Key_Home);
    window.key(Qt::Key_Return);
    EXPECT_EQ(scan.screen().tableView()->selectedRow(), -1);
    EXPECT_EQ(scan.stack.count(), 1);
}

TEST(ScanningScreen, saysNothingOfEmptinessBeforeTheScanIsDone)
{
    HeldScan scan;
    ScreenWindow window(scan.stack, {});
    EXPECT_FALSE(showsText(window.list(), "Nothing in here"));
}

TEST(ScanningScreen, keepsItsPlaceInTheTableFromTickToTick)
{
    HeldScan scan;
    ScreenWindow window(scan.stack, {.size = {240, 320}});
    scan.tick();
    ASSERT_TRUE(comesTrue([&] { return window.list().property("contentHeight").toDouble() > 150; }));
    ASSERT_TRUE(window.comesToRest());
    window.list().setProperty("contentY", 8.0);
    scan.screen().updateCurrentSize();
    EXPECT_TRUE(comesTrue([&] {
        return window.row(0) != nullptr && window.row(0)->mapToItem(&window.list(), QPointF()).y() == -8;
    }));
}

TEST(ScanningScreen, aKeyRightAfterATickMovesTheCurrentRowForGood)
{
    HeldScan scan;
    ScreenWindow window(scan.stack, {.size = {240, 320}});
    scan.tick();
    ASSERT_TRUE(comesTrue([&] { return window.row(0) != nullptr && window.list().hasActiveFocus(); }));
    ASSERT_TRUE(window.comesToRest());
    const auto pressedAfterATick = [&](Qt::Key key) {
        scan.screen().updateCurrentSize();
        window.key(key);
        int turns = 0;
        EXPECT_TRUE(comesTrue([&] { return ++turns > 20; }));
        return window.list().property("currentIndex").toInt();
    };
    EXPECT_EQ(pressedAfterATick(Qt::Key_Home), 0);
    EXPECT_EQ(pressedAfterATick(Qt::Key_End), 2);
    EXPECT_TRUE(comesTrue([&] { return window.row(2) != nullptr; }));
    const QRectF row = window.row(2)->mapRectToItem(&window.list(), window.row(2)->boundingRect());
    EXPECT_LE(row.bottom(), window.list().height()) << "it has been scrolled to";
    EXPECT_EQ(pressedAfterATick(Qt::Key_Up), 1);
}

TEST(ScanningScreen, stopsItsSpinnerWhenNobodySeesIt)
{
    HeldScan scan;
    ScreenWindow window(scan.stack, {});
    scan.tick();
    QQuickItem &spinner = window.inBar("spinner");
    const int before = spinner.property("brightest").toInt();
    EXPECT_TRUE(comesTrue([&] { return spinner.property("brightest").toInt() != before; }));
    ASSERT_TRUE(scan.finishes());
    EXPECT_TRUE(comesTrue([&] { return !spinner.isVisible(); }));
}

} // namespace
} // namespace slicewise
