// Screens of single nodes: what their chart, their table and their bar say.
#include "tests/ui/BrowserParts.h"
#include "ui/UINavigationItemSubtitle.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace slicewise {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ChildScreenTest : public ::testing::Test {
protected:
    System system;
};

std::vector<double> sliceValues(const QVPieChart &chart)
{
    std::vector<double> values;
    for (const auto &layer : chart.sliceLayers()) {
        values.push_back(layer->value());
    }
    return values;
}

/// What the chart hears as text: "-" where it is empty.
std::vector<std::string> sliceTexts(const QVPieChart &chart)
{
    std::vector<std::string> texts;
    for (const auto &layer : chart.sliceLayers()) {
        const QString text = layer->text().value_or(QStringLiteral("(none)"));
        texts.push_back(text.isEmpty() ? "-" : text.toStdString());
    }
    return texts;
}

TEST_F(ChildScreenTest, neverScans)
{
    const HandMadeTree tree({{"Others/a", 1}});
    Shown shown(tree, {"Others"}, system);
    EXPECT_TRUE(shown.screen->doneScan());
    EXPECT_THAT(system.notes, IsEmpty());
    EXPECT_THAT(system.timers.running(), IsEmpty());
    EXPECT_EQ(shown.screen->scanHUD(), std::nullopt);
    EXPECT_EQ(shown.screen->diskSize(), 0);
    EXPECT_EQ(shown.screen->root(), tree.root);
}

TEST_F(ChildScreenTest, isMadeOfTheTreeAndThePathOfTheScreenBefore)
{
    const HandMadeTree tree({{"Others/a/b", 1}});
    Shown shown(tree, {"Others"}, system);
    SZANode *const picked = tree.path({"Others", "a"}).back();
    const auto child = shown.screen->controllerWithNode(*picked);
    EXPECT_EQ(child->root(), tree.root);
    EXPECT_TRUE(child->doneScan());
    EXPECT_EQ(child->currentPath(), tree.path({"Others", "a"}));
    EXPECT_EQ(shown.screen->currentPath(), tree.path({"Others"})) << "its own path is another one";
    EXPECT_EQ(shown.stack.count(), 1) << "not pushed";
    EXPECT_EQ(child->tableView()->rowCount(), 0) << "not loaded";
}

TEST_F(ChildScreenTest, beginsWithoutAPath)
{
    const HandMadeTree tree({});
    const auto screen = SZAViewController::controller(system.services(tree.device));
    EXPECT_EQ(screen->currentPath(), std::nullopt);
    EXPECT_EQ(screen->diskSize(), 0);
    EXPECT_FALSE(screen->doneScan());
    EXPECT_EQ(screen->lastPath(), std::nullopt);
}

TEST_F(ChildScreenTest, theTitleIsTheNameAndTheSubtitleTheSize)
{
    const HandMadeTree tree({{"Others/folder/x", 1536}});
    Shown shown(tree, {"Others", "folder"}, system);
    UINavigationItem &item = *shown.screen->navigationItem();
    EXPECT_EQ(item.title(), QStringLiteral("folder"));
    EXPECT_EQ(item.titleView()->titleLine(), QStringLiteral("folder"));
    EXPECT_EQ(item.titleView()->subtitleLine(), QStringLiteral("1.5 kB"));
    EXPECT_EQ(subtitle(item), QStringLiteral("1.5 kB"));
    EXPECT_EQ(shown.screen->navigationItem()->node().get(), tree.path({"Others", "folder"}).back());
}

TEST_F(ChildScreenTest, aRefreshOfTheRootSaysHowMuchIsUsedOfWhat)
{
    const HandMadeTree tree({{"Others/x", 2048}});
    Shown shown(tree, {"Others"}, system);
    shown.screen->updateDataWithNode(*tree.root);
    EXPECT_EQ(subtitleOf(*shown.screen), "2 kB used out of 0 B") << "only the overview knows the disk";
    shown.screen->updateData();
    EXPECT_EQ(subtitleOf(*shown.screen), "2 kB");
}

TEST_F(ChildScreenTest, loadingSortsTheRootBySizeAgain)
{
    const HandMadeTree tree({{"Others/x", 1}, {"Logs/x", 5}});
    tree.root->setSort(false);
    Shown shown(tree, {"Others"}, system);
    EXPECT_TRUE(tree.root->sort());
}

struct ButtonCase {
    HandMadeTree::Files files;
    std::vector<std::string> names;
    std::string title;
};

TEST_F(ChildScreenTest, theRightButtonFollowsFromWhatMayBeDeleted)
{
    const std::vector<ButtonCase> cases = {
        {{{"Others/a/b", 1}}, {"Others"}, "Edit"},
        {{{"Others/a/b", 1}}, {"Others", "a"}, "Edit"},
        {{{"Applications/App/x", 1}}, {"Applications"}, "Edit"},
        {{{"Applications/App/x", 1}}, {"Applications", "App"}, "Delete"},
        {{{"Cydia Packages/dpkg/x", 1}}, {"Cydia Packages"}, "Edit"},
        {{{"Cydia Packages/dpkg/x", 1}}, {"Cydia Packages", "dpkg"}, "Delete"},
        {{{"Application Data/App/x", 1}}, {"Application Data", "App"}, "Delete"},
        {{{"Photos/DCIM/100APPLE/IMG.JPG", 1}}, {"Photos", "DCIM", "100APPLE"}, "Edit"},
        {{{"Photos/DCIM/100APPLE/IMG.JPG", 1}}, {"Photos"}, ""},
        {{{"Operating System/usr/x", 1}}, {"Operating System"}, ""},
        {{{"Operating System/usr/x", 1}}, {"Operating System", "usr"}, ""},
        {{{"Others/a", 1}}, {}, ""},
    };
    for (const ButtonCase &each : cases) {
        SCOPED_TRACE(each.names.empty() ? "root" : each.files[0].first + " at " + each.names.back());
        const HandMadeTree tree(each.files);
        Shown shown(tree, each.names, system);
        const auto button = shown.screen->navigationItem()->rightBarButtonItem();
        EXPECT_EQ(button.has_value(), !each.title.empty());
        if (!button) {
            continue;
        }
        EXPECT_EQ(button->title.toStdString(), each.title);
        EXPECT_EQ(button->look, BarButtonItem::Look::Plain);
        if (each.title == "Edit") {
            EXPECT_EQ(button->action, BarButtonItem::Action::ToggleEditMode);
            EXPECT_EQ(button->tintColor, std::nullopt);
        } else {
            EXPECT_EQ(button->action, BarButtonItem::Action::DeleteCurrentNode);
            EXPECT_EQ(button->tintColor, (UIColor{.red = 0.847058892250061,
                                                  .green = 0.1882353127002716,
                                                  .blue = 0.1882353127002716,
                                                  .alpha = 1}));
            EXPECT_EQ(shown.screen->navigationItem()->rightButtonTint().rgb(), qRgb(216, 48, 48));
        }
    }
}

TEST_F(ChildScreenTest, slicesAreTheEightLargestAndTheRest)
{
    for (const std::size_t count : {0U, 1U, 7U, 8U, 9U, 10U, 30U}) {
        SCOPED_TRACE(count);
        HandMadeTree tree(manyChildren(count));
        if (count == 0) {
            tree.add("Others", 0, "/nothing");
        }
        Shown shown(tree, {"Others"}, system);
        QVPieChart &chart = shown.chart;
        ASSERT_EQ(shown.screen->numberOfSlicesInPieChart(chart), 9U);
        std::uint64_t rest = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const std::uint64_t sizeBytes = (count - i) * 10;
            if (i < 8) {
                const auto slice = static_cast<unsigned>(i);
                EXPECT_EQ(shown.screen->pieChartValueForSliceAtIndex(chart, slice),
                          static_cast<double>(sizeBytes));
                EXPECT_EQ(shown.screen->pieChartTextForSliceAtIndex(chart, slice).value(),
                          QStringLiteral("child %1").arg(i));
            } else {
                rest += sizeBytes;
            }
        }
        for (std::size_t i = count; i < 8; ++i) {
            EXPECT_EQ(shown.screen->pieChartValueForSliceAtIndex(chart, static_cast<unsigned>(i)), 0);
            EXPECT_EQ(shown.screen->pieChartTextForSliceAtIndex(chart, static_cast<unsigned>(i)).value(),
                      QString());
        }
        EXPECT_EQ(shown.screen->pieChartValueForSliceAtIndex(chart, 8), static_cast<double>(rest));
        EXPECT_EQ(shown.screen->pieChartTextForSliceAtIndex(chart, 8).value(), QString()) << "no name";
        EXPECT_EQ(shown.screen->tableView()->rowCount(), static_cast<int>(count)) << "every child has a row";
        double sum = 0;
        for (unsigned i = 0; i < 9; ++i) {
            sum += shown.screen->pieChartValueForSliceAtIndex(chart, i);
        }
        EXPECT_EQ(sum, static_cast<double>(tree.path({"Others"}).back()->size())) << "the pie is the node";
    }
}

TEST_F(ChildScreenTest, theChartShowsThem)
{
    const HandMadeTree tree(manyChildren(9));
    Shown shown(tree, {"Others"}, system);
    EXPECT_THAT(sliceValues(shown.chart), ElementsAre(90, 80, 70, 60, 50, 40, 30, 20, 10));
    EXPECT_THAT(sliceTexts(shown.chart), ElementsAre("child 0", "child 1", "child 2", "child 3", "child 4",
                                                     "child 5", "child 6", "child 7", "-"));
}

TEST_F(ChildScreenTest, hugeSizesAddUp)
{
    const HandMadeTree tree(manyChildren(10));
    Shown shown(tree, {"Others"}, system);
    for (SZANode *node : shown.screen->currentNodes()) {
        node->setSize(std::uint64_t{1} << 60U);
    }
    EXPECT_EQ(shown.screen->pieChartValueForSliceAtIndex(shown.chart, 8), 0x1p61);
    shown.screen->currentNodes()[0]->setSize(std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(shown.screen->pieChartValueForSliceAtIndex(shown.chart, 0), 0x1p64);
    EXPECT_EQ(rowText(*shown.screen->tableView(), 0, NodeTable::SizeTextRole), "16 EB");
}

TEST_F(ChildScreenTest, rowsHaveTheColoursOfTheirSlicesAndGreyBehindThem)
{
    const HandMadeTree tree(manyChildren(12));
    Shown shown(tree, {"Others"}, system);
    for (int row = 0; row < 12; ++row) {
        const SZATableViewCell cell =
            shown.screen->tableViewCellForRowAtIndexPath({.section = 0, .row = row});
        EXPECT_EQ(cell.nodeColor(), colorByPaletteIndex(row < 8 ? row : -1)) << row;
        if (row < 9) {
            EXPECT_EQ(shown.chart.sliceLayers().at(static_cast<std::size_t>(row))->fillColor(),
                      cell.nodeColor());
        }
        EXPECT_EQ(cell.selectable(), SZATableViewCell::Selectable::Yes);
        EXPECT_EQ(cell.reuseIdentifier(), QStringLiteral("MainTableViewCellID"));
    }
    EXPECT_EQ(rowText(*shown.screen->tableView(), 11), "child 11");
    EXPECT_EQ(rowText(*shown.screen->tableView(), 11, NodeTable::SizeTextRole), "10 B");
}

TEST_F(ChildScreenTest, aRowThatIsNotThereIsEmpty)
{
    const HandMadeTree tree(manyChildren(1));
    Shown shown(tree, {"Others"}, system);
    const SZATableViewCell cell = shown.screen->tableViewCellForRowAtIndexPath({.section = 0, .row = 1});
    EXPECT_EQ(cell.text(), QString());
    EXPECT_EQ(cell.selectable(), SZATableViewCell::Selectable::No);
}

TEST_F(ChildScreenTest, namesAreShownInFullAndHarmlessly)
{
    const std::string longName(300, 'w');
    const HandMadeTree tree({{"Others/" + longName + "/x", 90},
                             {"Others/\u05d0\u05d1\u05d2 \u202Eabc/x", 80},
                             {"Others/two\nlines/x", 70},
                             {"Others/not \xff UTF-8/x", 60},
                             {"Others/<b>&amp;<img src='x'>/x", 50},
                             {"Others//x", 40},
                             {"Others/%1 %@ %s/x", 30}});
    Shown shown(tree, {"Others"}, system);
    EXPECT_THAT(rowTexts(*shown.screen->tableView()),
                ElementsAre(longName, "\u05d0\u05d1\u05d2 \\xE2\\x80\\xAEabc", "two\\x0Alines",
                            "not \uFFFD UTF-8", "<b>&amp;<img src='x'>", "", "%1 %@ %s"));
    EXPECT_EQ(sliceTexts(shown.chart)[2], "two\\x0Alines");
    EXPECT_EQ(sliceTexts(shown.chart)[3], "not \uFFFD UTF-8");
    Shown child(tree, {"Others", "two\nlines"}, system);
    EXPECT_EQ(child.screen->navigationItem()->title(), QStringLiteral("two\\x0Alines"));
    EXPECT_EQ(child.screen->navigationItem()->titleView()->titleLine(), QStringLiteral("two\\x0Alines"));
    Shown nameless(tree, {"Others", ""}, system);
    EXPECT_EQ(nameless.screen->navigationItem()->title(), QString());
    EXPECT_EQ(nameless.screen->navigationItem()->titleView()->runs()[0].text, QStringLiteral("\n"));
}

TEST_F(ChildScreenTest, reloadingKeepsTheOrder)
{
    const HandMadeTree tree({{"Others/b/x", 5}, {"Others/a/x", 5}, {"Others/c/x", 9}, {"Others/d/x", 5}});
    Shown shown(tree, {"Others"}, system);
    for (int i = 0; i < 3; ++i) {
        EXPECT_THAT(rowTexts(*shown.screen->tableView()), ElementsAre("c", "b", "a", "d"));
        EXPECT_THAT(sliceTexts(shown.chart), ElementsAre("c", "b", "a", "d", "-", "-", "-", "-", "-"));
        shown.screen->updateData();
    }
}

TEST_F(ChildScreenTest, aRefreshAsksTheChartThenTheTableThenTheSubtitle)
{
    const HandMadeTree tree({{"Others/b/x", 5}, {"Others/a/x", 9}});
    Shown shown(tree, {"Others"}, system);
    Notes order;
    shown.chart.setSliceSelectedAtIndex(0);
    QObject::connect(&shown.chart, &QVPieChart::selectionChanged, [&] { order.emplace_back("chart"); });
    QObject::connect(shown.screen->tableView(), &QAbstractItemModel::modelReset,
                     [&] { order.emplace_back("table"); });
    QObject::connect(shown.screen->navigationItem()->titleView(), &TitleLabel::changed,
                     [&] { order.emplace_back("subtitle"); });
    ASSERT_TRUE(shown.isOut(0)) << "or reloading would not move it back";
    shown.screen->updateData();
    EXPECT_THAT(order, ElementsAre("chart", "table", "subtitle"));
}

TEST_F(ChildScreenTest, aRefreshShowsWhatTheTreeHasBecome)
{
    HandMadeTree tree({{"Others/a/x", 5}, {"Others/b/x", 9}});
    Shown shown(tree, {"Others"}, system);
    const QAbstractItemModelTester tester(shown.screen->tableView(),
                                          QAbstractItemModelTester::FailureReportingMode::Fatal);
    const std::vector<SZANode *> path = tree.path({"Others"});
    path.back()->removeNodeAffectedNodes(*path.back()->childNamed("b"), path);
    shown.screen->updateData();
    EXPECT_THAT(rowTexts(*shown.screen->tableView()), ElementsAre("a"));
    EXPECT_EQ(subtitleOf(*shown.screen), "5 B");
}

TEST_F(ChildScreenTest, theTreeLivesAsLongAsAScreen)
{
    auto tree = std::make_unique<HandMadeTree>(HandMadeTree::Files{{"Others/a/x", 5}});
    const std::weak_ptr<SZANode> root = tree->root;
    {
        Shown shown(*tree, {"Others"}, system);
        tree->root.reset();
        EXPECT_FALSE(root.expired());
        shown.screen->updateData();
        EXPECT_THAT(rowTexts(*shown.screen->tableView()), ElementsAre("a"));
    }
    EXPECT_TRUE(root.expired());
}

} // namespace

} // namespace slicewise
