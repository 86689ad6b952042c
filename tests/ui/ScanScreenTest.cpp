// The first screen: how a scan begins, goes on and ends, on devices that are really scanned.
#include "tests/support/GeneratedDevice.h"
#include "tests/ui/ScanScreenFixture.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

namespace slicewise {

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::uint64_t kGB = std::uint64_t{1} << 30U;

TEST_F(ScanScreenTest, beginsInThisOrder)
{
    load(failing);
    EXPECT_THAT(system.notes, ElementsAre("stays awake", "overlay Scanning", "background begins"));
    EXPECT_EQ(screen->scanHUDText(), QStringLiteral("Scanning"));
    EXPECT_FALSE(screen->doneScan());
    EXPECT_THAT(system.timers.running(), ElementsAre(2.0));
    EXPECT_TRUE(screen->hasCurrentSizeTimer());
    EXPECT_FALSE(screen->navigationItem()->hasRightButton());
    ASSERT_EQ(screen->currentPath()->size(), 1U);
    EXPECT_EQ(screen->currentPath()->front(), screen->root().get());
    EXPECT_EQ(screen->root()->name(), "Disk");
    EXPECT_FALSE(screen->root()->sort());
    EXPECT_EQ(screen->tableView()->rowCount(), 0);
}

TEST_F(ScanScreenTest, theViewIsLoadedOnce)
{
    load(failing);
    const SZANode *const root = screen->root().get();
    screen->loadViewIfNeeded();
    EXPECT_EQ(screen->root().get(), root);
    EXPECT_EQ(system.notes.size(), 3U);
}

TEST_F(ScanScreenTest, theChartIsSetUp)
{
    load(failing);
    EXPECT_EQ(chart.dataSource(), screen.get());
    EXPECT_EQ(chart.delegate(), screen.get());
    EXPECT_FALSE(chart.showLabel()) << "on a phone";
    EXPECT_FALSE(chart.showPercentage());
    EXPECT_EQ(chart.animationSpeed(), 0.5);
}

TEST_F(ScanScreenTest, labelsAreShownOnAPadOnly)
{
    system.idiom = UserInterfaceIdiom::Pad;
    load(failing);
    EXPECT_TRUE(chart.showLabel());
    EXPECT_EQ(SZAViewController::storyboardName(UserInterfaceIdiom::Pad), QStringLiteral("Main_iPad"));
    EXPECT_EQ(SZAViewController::storyboardName(UserInterfaceIdiom::Phone), QStringLiteral("Main_iPhone"));
    EXPECT_EQ(static_cast<int>(UserInterfaceIdiom::Pad), 1);
}

TEST_F(ScanScreenTest, theOverlayStaysUntilATickFindsBytes)
{
    // Nothing is read at all before the gate opens.
    Gate everything(failing, "/");
    load(failing);
    system.timers.pass(10);
    EXPECT_EQ(screen->scanHUDText(), QStringLiteral("Scanning"));
    EXPECT_FALSE(screen->navigationItem()->hasRightButton());
    EXPECT_EQ(screen->navigationItem()->titleView(), nullptr) << "nothing was shown";
}

TEST_F(ScanScreenTest, theFirstTickWithBytesPutsTheSpinnerIntoTheBar)
{
    load(failing);
    system.notes.clear();
    while (screen->scanHUD()) {
        std::this_thread::yield();
        system.timers.pass(2);
    }
    EXPECT_THAT(system.notes, ElementsAre("no overlay"));
    EXPECT_EQ(rightLook(), BarButtonItem::Look::ActivityIndicator);
    EXPECT_TRUE(screen->navigationItem()->rightButtonIsSpinner());
    EXPECT_EQ(screen->navigationItem()->rightButtonTitle(), QString());
    QSignalSpy spinner(screen->navigationItem(), &UINavigationItem::rightBarButtonItemChanged);
    system.timers.pass(20);
    EXPECT_EQ(spinner.count(), 0) << "once";
    EXPECT_FALSE(screen->doneScan());
}

TEST_F(ScanScreenTest, ticksComeEveryTwoSeconds)
{
    loadHeld();
    QSignalSpy reloads(screen->tableView(), &QAbstractItemModel::modelReset);
    system.timers.pass(1.75);
    const auto before = reloads.count();
    system.timers.pass(0.5);
    EXPECT_EQ(reloads.count(), before + 1);
    system.timers.pass(1);
    EXPECT_EQ(reloads.count(), before + 1);
    system.timers.pass(20);
    EXPECT_EQ(reloads.count(), before + 11);
}

TEST_F(ScanScreenTest, duringTheScanTheTableIsBySizeAndTheChartInTheOrderOfTheWalk)
{
    loadHeld();
    system.timers.pass(2);
    EXPECT_THAT(rowTexts(*screen->tableView()), ElementsAre("large", "middle", "small"));
    EXPECT_THAT(rowTexts(*screen->tableView(), NodeTable::SizeTextRole),
                ElementsAre("700 B", "300 B", "10 B"));
    EXPECT_THAT(namesOf(screen->currentNodes()), ElementsAre("large", "middle", "small"));
    EXPECT_THAT(namesOf(screen->root()->getNodes()), ElementsAre("middle", "large", "small"));
    ASSERT_EQ(chart.sliceLayers().size(), 24U);
    const std::vector<double> expected = {300, 700, 10, 0};
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(chart.sliceLayers()[i]->value(), expected[i]) << i;
    }
    EXPECT_EQ(chart.sliceLayers()[0]->text(), QStringLiteral("middle"));
    EXPECT_EQ(chart.sliceLayers()[1]->text(), QStringLiteral("large"));
    EXPECT_EQ(subtitleOf(*screen), "1010 B used out of 59.6 GB");
    EXPECT_EQ(screen->navigationItem()->titleView()->titleLine(), QStringLiteral("Disk"));
}

TEST_F(ScanScreenTest, duringTheScanACategoryKeepsTheColourOfItsPlace)
{
    loadHeld();
    // middle, large and small were met in this order.
    EXPECT_EQ(chart.sliceLayers()[0]->fillColor(), colorByPaletteIndex(0));
    EXPECT_EQ(chart.sliceLayers()[1]->fillColor(), colorByPaletteIndex(1));
    EXPECT_EQ(screen->pieChartColorForSliceAtIndex(chart, 0), colorByPaletteIndex(1))
        << "large, asked after the sorting";
    EXPECT_EQ(screen->tableViewCellForRowAtIndexPath({.section = 0, .row = 0}).nodeColor(),
              colorByPaletteIndex(1));
    EXPECT_EQ(screen->tableViewCellForRowAtIndexPath({.section = 0, .row = 1}).nodeColor(),
              colorByPaletteIndex(0));
    finish();
    EXPECT_EQ(screen->tableViewCellForRowAtIndexPath({.section = 0, .row = 0}).nodeColor(),
              colorByPaletteIndex(0))
        << "gate, the largest";
}

TEST_F(ScanScreenTest, nothingCanBePickedDuringTheScan)
{
    loadHeld();
    ASSERT_EQ(screen->tableView()->rowCount(), 3);
    EXPECT_EQ(screen->tableViewWillSelectRowAtIndexPath({.section = 0, .row = 0}), std::nullopt);
    EXPECT_EQ(screen->tableView()->data(screen->tableView()->index(0), NodeTable::SelectableRole), false);
    screen->tableView()->tapRow(0);
    EXPECT_FALSE(screen->pieChartWillSelectSliceAtIndex(chart, 0));
    EXPECT_EQ(screen->tableView()->selectedRow(), -1);
    EXPECT_EQ(screen->lastPath(), std::nullopt);
    EXPECT_THAT(system.timers.running(), ElementsAre(2.0));
}

TEST_F(ScanScreenTest, becomesTheOverviewWhenTheScanIsDone)
{
    loadHeld();
    system.timers.pass(2);
    system.notes.clear();
    QSignalSpy done(screen.get(), &SZAViewController::doneScanChanged);
    finish();
    EXPECT_EQ(done.count(), 1);
    EXPECT_THAT(system.notes, ElementsAre("may sleep", "background ends 4711"));
    EXPECT_EQ(screen->navigationItem()->title(), QStringLiteral("Disk"));
    EXPECT_EQ(subtitleOf(*screen), "2 kB used out of 59.6 GB");
    EXPECT_TRUE(screen->root()->sort());
    EXPECT_THAT(rowTexts(*screen->tableView()), ElementsAre("gate", "large", "middle", "small"));
    EXPECT_EQ(chart.sliceLayers().size(), 9U);
    EXPECT_EQ(chart.sliceLayers()[0]->text(), QStringLiteral("gate"));
    EXPECT_THAT(system.timers.running(), IsEmpty());
    EXPECT_FALSE(screen->hasCurrentSizeTimer());
    EXPECT_FALSE(screen->navigationItem()->hasRightButton());
    ASSERT_EQ(screen->currentPath()->size(), 1U);
    EXPECT_EQ(screen->currentPath()->front(), screen->root().get());
    EXPECT_EQ(screen->navigationItem()->node(), screen->root());
    EXPECT_EQ(screen->root()->childNamed("gate")->childNamed("late")->filename(), "/gate/late");
    EXPECT_THAT(system.lines, IsEmpty());
}

TEST_F(ScanScreenTest, aScanThatEndsBeforeTheFirstTickGivesThatTickBefore)
{
    load(failing);
    system.notes.clear();
    std::vector<bool> spinner;
    QObject::connect(screen->navigationItem(), &UINavigationItem::rightBarButtonItemChanged,
                     [&] { spinner.push_back(screen->navigationItem()->rightButtonIsSpinner()); });
    finish();
    EXPECT_THAT(system.notes, ElementsAre("no overlay", "may sleep", "background ends 4711"));
    EXPECT_THAT(spinner, ElementsAre(true, false));
    EXPECT_EQ(screen->scanHUD(), std::nullopt);
    EXPECT_THAT(rowTexts(*screen->tableView()), ElementsAre("gate", "large", "middle", "small"));
}

TEST_F(ScanScreenTest, theOverlayStaysOverADiskWithoutBytes)
{
    const MemoryDevice empty{{"/a/empty", 0}, {"/b/", 0}};
    load(empty);
    waitUntilDone(*screen);
    system.timers.pass(10);
    EXPECT_EQ(screen->scanHUDText(), QStringLiteral("Scanning"));
    EXPECT_EQ(subtitleOf(*screen), "0 B used out of 59.6 GB");
    EXPECT_FALSE(screen->navigationItem()->hasRightButton());
    EXPECT_THAT(rowTexts(*screen->tableView()), ElementsAre("a"));
}

TEST_F(ScanScreenTest, theDiskIsAsLargeAsItsTwoPartitions)
{
    memory.addFile("/private/var/x", 1);
    memory.setFileSystem("/", {.identity = 7, .kind = FileSystemKind::Storage, .capacityBytes = 3 * kGB});
    memory.setFileSystem("/private/var",
                         {.identity = 8, .kind = FileSystemKind::Storage, .capacityBytes = 11 * kGB});
    load(failing);
    EXPECT_EQ(screen->diskSize(), static_cast<std::int64_t>(14 * kGB));
    finish();
    EXPECT_EQ(screen->diskSize(), static_cast<std::int64_t>(14 * kGB)) << "the walk has been in both";
    EXPECT_EQ(subtitleOf(*screen), "2 kB used out of 14 GB");
}

TEST_F(ScanScreenTest, onePartitionCountsOnce)
{
    memory.addFile("/private/var/x", 1);
    load(failing);
    EXPECT_EQ(screen->diskSize(), static_cast<std::int64_t>(MemoryDevice::kCapacityBytes));
}

TEST_F(ScanScreenTest, aPlaceThatCannotBeAskedCountsNothing)
{
    load(failing);
    EXPECT_EQ(screen->diskSize(), static_cast<std::int64_t>(MemoryDevice::kCapacityBytes))
        << "no /private/var";
}

TEST_F(ScanScreenTest, afterTheScanTheDiskIsAllThatItEntered)
{
    memory.addFile("/more/x", 1);
    memory.setFileSystem("/more", {.identity = 9, .kind = FileSystemKind::Storage, .capacityBytes = kGB});
    load(failing);
    EXPECT_EQ(screen->diskSize(), static_cast<std::int64_t>(MemoryDevice::kCapacityBytes));
    finish();
    EXPECT_EQ(screen->diskSize(), static_cast<std::int64_t>(MemoryDevice::kCapacityBytes + kGB));
}

TEST_F(ScanScreenTest, aBackgroundTaskThatExpiresIsLoggedAndTheScanGoesOn)
{
    loadHeld();
    system.notes.clear();
    system.backgroundTasks.expire();
    EXPECT_THAT(system.lines, ElementsAre("Timeout!"));
    EXPECT_THAT(system.notes, ElementsAre("background ends 4711"));
    EXPECT_FALSE(screen->doneScan());
    finish();
    EXPECT_EQ(screen->root()->size(), 2010U);
    EXPECT_THAT(system.notes, ElementsAre("background ends 4711", "may sleep")) << "ended once";
}

TEST_F(ScanScreenTest, aScreenThatGoesAwayStopsItsScan)
{
    loadHeld();
    system.notes.clear();
    std::thread later([this] {
        // By the time of the join, or before: it makes no difference.
        gate.letGo();
    });
    screen.reset();
    later.join();
    EXPECT_THAT(system.notes, ElementsAre("may sleep", "background ends 4711"));
    EXPECT_THAT(system.timers.running(), IsEmpty());
    EXPECT_EQ(chart.dataSource(), nullptr);
    // The completion that may be on its way has nobody to go to.
    QCoreApplication::processEvents();
}

TEST_F(ScanScreenTest, aScreenThatGoesAwayDoesNotWaitForAWholeDevice)
{
    // So large that a test could not wait for it.
    const GeneratedDevice huge(
        {.files = 1'000'000'000'000, .filesPerDirectory = 20, .directoriesPerDirectory = 8});
    system.scan.chain = nullptr;
    load(huge);
    while (screen->root()->size() == 0) {
        std::this_thread::yield();
        screen->updateCurrentSize();
    }
    screen.reset();
    EXPECT_THAT(system.notes, Contains("may sleep"));
}

TEST_F(ScanScreenTest, worksWithoutAChartAndWithoutASystemToTell)
{
    BrowserServices services = system.services(failing);
    services.idleTimer = nullptr;
    services.backgroundTasks = nullptr;
    screen = SZAViewController::controller(services);
    screen->loadViewIfNeeded();
    finish();
    EXPECT_THAT(rowTexts(*screen->tableView()), ElementsAre("gate", "large", "middle", "small"));
    EXPECT_THAT(system.notes, IsEmpty());
    screen->setChart(&chart);
    EXPECT_EQ(chart.sliceLayers().size(), 9U) << "a chart that comes later is filled at once";
    EXPECT_FALSE(chart.showPercentage());
}

TEST_F(ScanScreenTest, aChartMayGoAwayBeforeTheScreen)
{
    auto passing = std::make_unique<QVPieChart>(QRectF(0, 0, 100, 100));
    screen = SZAViewController::controller(system.services(failing));
    screen->setChart(passing.get());
    screen->loadViewIfNeeded();
    passing.reset();
    finish();
    EXPECT_EQ(screen->chart(), nullptr);
    EXPECT_EQ(screen->tableView()->rowCount(), 4);
}

TEST_F(ScanScreenTest, theTableIsAModelAllTheTime)
{
    screen = SZAViewController::controller(system.services(failing));
    const QAbstractItemModelTester tester(screen->tableView(),
                                          QAbstractItemModelTester::FailureReportingMode::Fatal);
    screen->loadViewIfNeeded();
    for (int i = 0; i < 100; ++i) {
        screen->updateCurrentSize();
    }
    finish();
    EXPECT_EQ(screen->tableView()->rowCount(), 4);
}

TEST_F(ScanScreenTest, twentyFourSlicesAndPalerColoursWhereThereAreMoreCategories)
{
    DeviceWithGate many("c30");
    for (int i = 30; i > 0; --i) {
        many.memory.addFile("/c" + std::to_string(i) + "/x", 100);
    }
    FailingDevice manyHeld(static_cast<const Device &>(many.memory));
    Gate ofMany(manyHeld, "/gate");
    load(manyHeld);
    while (screen->root()->size() < 3000) {
        std::this_thread::yield();
        screen->updateCurrentSize();
    }
    EXPECT_EQ(screen->numberOfSlicesInPieChart(chart), 24U);
    EXPECT_EQ(screen->tableView()->rowCount(), 30);
    ASSERT_EQ(chart.sliceLayers().size(), 24U);
    for (std::size_t i = 0; i < 24; ++i) {
        EXPECT_EQ(chart.sliceLayers()[i]->text(), QStringLiteral("c%1").arg(i + 1)) << "no rest";
        const std::vector<std::uint64_t> place = {i};
        EXPECT_EQ(chart.sliceLayers()[i]->fillColor(), colorForSliceAtIndex(0, DoneScan::No, place));
    }
    EXPECT_NE(chart.sliceLayers()[9]->fillColor(), colorByPaletteIndex(1)) << "the tenth is paler";
    EXPECT_EQ(rowText(*screen->tableView(), 0), "c1") << "equal sizes stay in the order of the walk";
    EXPECT_EQ(rowText(*screen->tableView(), 29), "c30");
    ofMany.letGo();
    waitUntilDone(*screen);
    EXPECT_EQ(rowText(*screen->tableView(), 0), "gate");
    EXPECT_EQ(rowText(*screen->tableView(), 1), "c1");
    EXPECT_EQ(screen->pieChartColorForSliceAtIndex(chart, 8), colorByPaletteIndex(-1));
}

TEST_F(ScanScreenTest, aLevelOfAHundredThousandChildrenOpensWithoutItsRows)
{
    const GeneratedDevice wide(
        {.files = 100'000, .filesPerDirectory = 100'000, .directoriesPerDirectory = 1});
    load(wide);
    waitUntilDone(*screen);
    ASSERT_EQ(screen->tableView()->rowCount(), 100'000);

    /// Between the table and the screen.
    class Counting final : public NodeTableDataSource {
    public:
        explicit Counting(SZAViewController &screen) : m_screen(screen) {}
        int tableViewNumberOfRowsInSection(int section) override
        {
            return m_screen.tableViewNumberOfRowsInSection(section);
        }
        SZATableViewCell tableViewCellForRowAtIndexPath(const IndexPath &indexPath) override
        {
            ++cells;
            return m_screen.tableViewCellForRowAtIndexPath(indexPath);
        }
        int cells = 0;

    private:
        SZAViewController &m_screen;
    };
    Counting counting(*screen);
    screen->tableView()->setDataSource(&counting);
    screen->updateData();
    EXPECT_EQ(counting.cells, 0);
    EXPECT_EQ(screen->tableView()->rowCount(), 100'000);
    for (int row = 50'000; row < 50'010; ++row) {
        EXPECT_EQ(rowText(*screen->tableView(), row),
                  std::string(screen->currentNodes()[static_cast<std::size_t>(row)]->name()));
    }
    EXPECT_EQ(counting.cells, 10);
    EXPECT_EQ(chart.sliceLayers().size(), 9U);
    EXPECT_GT(chart.sliceLayers()[8]->value(), 0.9 * static_cast<double>(screen->root()->size()));
    screen->tableView()->setDataSource(screen.get());
}

TEST_F(ScanScreenTest, anOrdinaryDeviceGoesThroughTheClassifiersOfAScan)
{
    const MemoryDevice device{{"/private/var/mobile/Media/readme.txt", 5}, {"/private/var/logs/a.log", 7}};
    system.scan.chain = nullptr;
    load(device);
    waitUntilDone(*screen);
    EXPECT_EQ(screen->root()->size(), 12U);
    EXPECT_THAT(rowTexts(*screen->tableView()), Contains("Logs"));
}

} // namespace

} // namespace slicewise
