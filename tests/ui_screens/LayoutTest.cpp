// That everything has its place at any size, and with any name.
#include "tests/ui_screens/BrowsedTree.h"

#include <gtest/gtest.h>

namespace slicewise {
namespace {

QRectF inWindow(const QQuickItem &item)
{
    return item.mapRectToScene(QRectF(QPointF(), item.size()));
}

void expectApart(const QQuickItem &left, const QQuickItem &right)
{
    if (left.isVisible() && right.isVisible()) {
        EXPECT_FALSE(inWindow(left).intersects(inWindow(right)))
            << left.objectName().toStdString() << " lies over " << right.objectName().toStdString();
    }
}

void expectInPlace(const ScreenWindow &window, const QSizeF &size)
{
    const QRectF all(QPointF(), size);
    const QRectF chartArea = inWindow(*window.chart().parentItem());
    const QRectF listArea = inWindow(window.list());
    EXPECT_TRUE(all.contains(chartArea));
    EXPECT_TRUE(all.contains(listArea));
    EXPECT_FALSE(chartArea.intersects(listArea));
    EXPECT_TRUE(chartArea.contains(inWindow(window.chart())));
    EXPECT_EQ(window.chart().width(), window.chart().height());
    EXPECT_GE(window.chart().width(), std::min(size.width(), size.height()) * 0.3);
    EXPECT_GE(listArea.height(), 3 * 44);
    EXPECT_GE(listArea.width(), 170);

    const QStringList parts = {"backButton", "title", "rightButton", "spinner"};
    for (int i = 0; i < parts.size(); ++i) {
        const QQuickItem &part = window.inBar(parts[i]);
        if (part.isVisible()) {
            EXPECT_TRUE(all.contains(inWindow(part))) << parts[i].toStdString();
        }
        for (int j = i + 1; j < parts.size(); ++j) {
            expectApart(part, window.inBar(parts[j]));
        }
    }
    if (window.inBar("backButton").isVisible()) {
        EXPECT_GE(window.inBar("backButton").width(), 44);
        EXPECT_GE(window.inBar("backButton").height(), 44);
    }
    for (const QQuickItem *const row : window.rows()) {
        EXPECT_GE(row->height(), 44);
        EXPECT_GE(inWindow(*row).left(), listArea.left());
        EXPECT_LE(inWindow(*row).right(), listArea.right());
    }
}

const std::vector<QSize> kSizes = {{320, 480},  {390, 844},  {844, 390},   {480, 320},  {600, 600},
                                   {820, 1180}, {1180, 820}, {1600, 1000}, {2560, 1440}};

class LayoutAt : public testing::TestWithParam<bool> {};

TEST_P(LayoutAt, everythingStaysInsideAWindowThatIsTurnedAndResized)
{
    const bool pad = GetParam();
    const std::string name(70, 'w');
    HandMadeTree::Files files = manyChildren(30);
    files.emplace_back("Others/" + name + "/a rather long name/leaf", 5);
    BrowsedTree browsed(files, {"Others", name, "a rather long name"},
                        pad ? UserInterfaceIdiom::Pad : UserInterfaceIdiom::Phone);
    browsed.stack.goBack();
    ScreenWindow window(browsed.stack, {.size = kSizes.front(), .pad = pad});
    const int deepest = browsed.stack.count();
    for (int depth = deepest; depth > 0; depth = browsed.stack.count()) {
        // What is mirrored looks alike on all of them.
        for (const bool mirrored : depth == deepest ? std::vector{false, true} : std::vector{false}) {
            window.browser().setProperty("mirrored", mirrored);
            for (const QSize size : kSizes) {
                SCOPED_TRACE(testing::Message() << size.width() << "x" << size.height() << " depth " << depth
                                                << (mirrored ? " mirrored" : ""));
                window.view().resize(size);
                ASSERT_TRUE(comesTrue([&] { return window.browser().size() == QSizeF(size); }));
                ASSERT_TRUE(comesTrue([&] { return !window.rows().empty(); }));
                ASSERT_TRUE(window.comesToRest());
                expectInPlace(window, size);
            }
        }
        if (depth == 1) {
            break;
        }
        browsed.stack.goBack();
        ASSERT_TRUE(window.comesToRest());
    }
    EXPECT_EQ(window.warnings(), QStringList());
}

INSTANTIATE_TEST_SUITE_P(Idioms, LayoutAt, testing::Bool(),
                         [](const auto &each) { return each.param ? "pad" : "phone"; });

TEST(Layout, spinnerAndTitleHaveTheirPlacesWhileItScans)
{
    HeldScan scan;
    ScreenWindow window(scan.stack, {.size = {320, 480}});
    scan.tick();
    ASSERT_TRUE(comesTrue([&] { return !window.rows().empty(); }));
    ASSERT_TRUE(window.comesToRest());
    ASSERT_TRUE(window.inBar("spinner").isVisible());
    expectInPlace(window, {320, 480});
}

TEST(Layout, aTitleWithoutASecondLineStandsInTheMiddle)
{
    HeldScan scan;
    ScreenWindow window(scan.stack, {});
    ASSERT_EQ(scan.screen().navigationItem()->titleView(), nullptr);
    const QRectF title = inWindow(window.inBar("titleLine"));
    EXPECT_NEAR(title.center().y(), inWindow(window.barItem()).center().y(), 1);
    EXPECT_FALSE(window.inBar("subtitleLine").isVisible());
}

TEST(Layout, aPhoneHasTheChartAboveTheTableAndBesideItOnItsSide)
{
    BrowsedTree browsed(manyChildren(5), {"Others"});
    ScreenWindow window(browsed.stack, {.size = {390, 844}});
    EXPECT_GE(inWindow(window.list()).top(), inWindow(*window.chart().parentItem()).bottom());
    window.view().resize(844, 390);
    ASSERT_TRUE(comesTrue([&] { return window.browser().width() == 844; }));
    EXPECT_GE(inWindow(window.list()).left(), inWindow(*window.chart().parentItem()).right());
}

TEST(Layout, aPadHasNamesOnItsSlicesAndAPhoneHasNot)
{
    for (const bool pad : {false, true}) {
        BrowsedTree browsed(manyChildren(5), {"Others"},
                            pad ? UserInterfaceIdiom::Pad : UserInterfaceIdiom::Phone);
        ScreenWindow window(browsed.stack, {.size = {1180, 820}, .pad = pad});
        ASSERT_TRUE(window.comesToRest());
        EXPECT_EQ(!window.chart().picture(1).labels.empty(), pad);
    }
}

TEST(Layout, theChartIsRightAtOnceAfterAChangeOfSize)
{
    BrowsedTree browsed(manyChildren(5), {"Others"});
    ScreenWindow window(browsed.stack, {.size = {390, 844}});
    ASSERT_TRUE(window.comesToRest());
    const double end = window.chart().sliceLayers().at(0)->endAngle();
    window.view().resize(844, 390);
    ASSERT_TRUE(comesTrue([&] { return window.browser().width() == 844; }));
    const auto shown = window.chart().sliceLayers().at(0)->presentationLayer();
    EXPECT_NEAR(shown ? shown->endAngle() : window.chart().sliceLayers().at(0)->endAngle(), end, 1e-6)
        << "it grows anew";
    EXPECT_NEAR(window.chart().pieRadius(), 0.875 * window.chart().width() / 2, 1e-6);
}

TEST(Layout, aHundredThousandRowsMakeNoMoreItemsThanCanBeSeen)
{
    BrowsedTree browsed(manyChildren(100'000), {"Others"});
    ScreenWindow window(browsed.stack, {});
    ASSERT_TRUE(window.comesToRest());
    EXPECT_EQ(window.list().property("count").toInt(), 100'000);
    EXPECT_LT(ScreenWindow::itemsOfType(window.list(), "NodeRow").size(), 40U);

    window.key(Qt::Key_End);
    EXPECT_TRUE(comesTrue([&] { return window.row(99'999) != nullptr; }));
    EXPECT_LT(ScreenWindow::itemsOfType(window.list(), "NodeRow").size(), 60U);
}

TEST(Layout, namesAreShownAsTheyAreWhateverTheyLookLike)
{
    const std::vector<std::pair<std::string, std::string>> names = {
        {"<b>bold <img src='x'>", "<b>bold <img src='x'>"},
        {"&amp; *stars* [link](x)", "&amp; *stars* [link](x)"},
        {"two\nlines", "two\\x0Alines"},
        {"broken\xff", "broken\xef\xbf\xbd"},
        {"🌊 waves", "🌊 waves"},
        {"שלום", "שלום"},
        {std::string(300, 'w'), std::string(300, 'w')},
    };
    HandMadeTree::Files files;
    std::uint64_t size = 1000;
    for (const auto &[name, shown] : names) {
        files.emplace_back("Others/" + name + "/leaf", size--);
    }
    BrowsedTree browsed(files, {"Others"});
    ScreenWindow window(browsed.stack, {.size = {390, 1400}});
    ASSERT_TRUE(window.comesToRest());
    for (std::size_t i = 0; i < names.size(); ++i) {
        QQuickItem *const row = window.row(static_cast<int>(i));
        ASSERT_NE(row, nullptr);
        EXPECT_EQ(ScreenWindow::textsIn(*row).at(0).toStdString(), names[i].second);
        const QRectF place = inWindow(*row);
        std::vector<QQuickItem *> texts = ScreenWindow::itemsOfType(*row, "QQuickText");
        std::erase_if(texts, [](const QQuickItem *text) { return !text->isVisible(); });
        ASSERT_EQ(texts.size(), 2U);
        for (const QQuickItem *const text : texts) {
            constexpr int kPlainText = 0;
            EXPECT_EQ(text->property("textFormat").toInt(), kPlainText);
            EXPECT_EQ(text->property("lineCount").toInt(), 1);
            EXPECT_TRUE(place.contains(inWindow(*text)));
        }
        EXPECT_TRUE(i + 1 < names.size() || texts.at(0)->property("truncated").toBool());
    }
}

TEST(Layout, aLongTitleGivesUpItsMiddle)
{
    const std::string name = "begin" + std::string(80, 'w') + "end";
    BrowsedTree browsed({{"Others/" + name + "/x/y", 5}}, {"Others", name});
    ScreenWindow window(browsed.stack, {.size = {320, 480}});
    const QQuickItem &title = window.inBar("titleLine");
    constexpr int kElideMiddle = Qt::ElideMiddle;
    EXPECT_EQ(title.property("elide").toInt(), kElideMiddle);
    EXPECT_TRUE(title.property("truncated").toBool());
    EXPECT_EQ(title.property("textFormat").toInt(), 0);
}

TEST(Layout, theBackButtonSaysAsMuchAsThereIsRoomFor)
{
    const auto backText = [](const HandMadeTree::Files &files, const std::vector<std::string> &path,
                             int width) {
        BrowsedTree browsed(files, path);
        ScreenWindow window(browsed.stack, {.size = {width, 600}});
        QQuickItem &button = window.inBar("backButton");
        const QQuickItem *const text = ScreenWindow::itemsOfType(button, "QQuickText").at(0);
        return std::pair(button.property("text").toString().toStdString(),
                         text->property("truncated").toBool());
    };
    const std::string longName = "A folder with quite a long name";
    EXPECT_EQ(backText({{"Others/x/y", 5}}, {"Others"}, 390), std::pair(std::string("Disk"), false));
    EXPECT_EQ(backText({{"Others/" + longName + "/x/y", 5}}, {"Others", longName, "x"}, 390),
              std::pair(longName, true));
    EXPECT_EQ(
        backText({{"Others/" + longName + "/" + longName + "/y/z", 5}}, {"Others", longName, longName}, 390),
        std::pair(std::string("Back"), false));
    EXPECT_EQ(
        backText({{"Others/" + longName + "/" + longName + "/y/z", 5}}, {"Others", longName, longName}, 240),
        std::pair(std::string(), false));
}

TEST(Layout, anEmptyLevelSaysSo)
{
    BrowsedTree browsed({{"Others/a/b", 0}}, {"Others"});
    ScreenWindow full(browsed.stack, {});
    EXPECT_FALSE(ScreenWindow::textsIn(full.list()).contains("Nothing in here"));

    SZANode *const others = browsed.tree.root->childNamed("Others");
    others->removeNodeAffectedNodes(*others->childNamed("a"), {});
    browsed.top().updateData();
    EXPECT_TRUE(comesTrue([&] { return ScreenWindow::textsIn(full.list()).contains("Nothing in here"); }));
}

TEST(Layout, aRowWithoutANameIsNotBlank)
{
    BrowsedTree browsed({{"Others/a/b", 5}}, {"Others"});
    browsed.tree.root->childNamed("Others")->childNamed("a")->setName("");
    browsed.top().updateData();
    ScreenWindow window(browsed.stack, {});
    ASSERT_TRUE(comesTrue([&] { return window.row(0) != nullptr; }));
    EXPECT_EQ(ScreenWindow::textsIn(*window.row(0)).at(0), "No name");
}

} // namespace
} // namespace slicewise
