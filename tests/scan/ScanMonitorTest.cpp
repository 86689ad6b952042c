// Watching a scan from another thread, and ending it.
#include "scan/ScanMonitor.h"

#include "scan/ScanEngine.h"
#include "tests/scan/Scanned.h"
#include "tests/scan/TestSize.h"
#include "tests/support/FailingDevice.h"
#include "tests/support/GeneratedDevice.h"
#include "tests/support/MemoryDevice.h"
#include "tests/support/TreeText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <map>
#include <thread>

namespace slicewise {

namespace {

using ::testing::IsEmpty;

/// Spreads files over categories by their directory, asked file by file, in walk order.
class Spreader {
public:
    Spreader()
    {
        m_chain.push_back({.classify =
                               [this](const std::string &path) {
                                   m_files.push_back(path);
                                   return "Category " + std::to_string(path.size() % 11) + path;
                               },
                           .classifyDirectory = {}});
    }

    [[nodiscard]] const ClassifierChain &chain() const { return m_chain; }
    [[nodiscard]] const std::vector<std::string> &files() const { return m_files; }

private:
    ClassifierChain m_chain;
    std::vector<std::string> m_files;
};

void expectEqual(const ScanSnapshot &snapshot, const Scanned &scanned)
{
    EXPECT_EQ(snapshot.sizeBytes, scanned.root->size());
    EXPECT_EQ(snapshot.files, scanned.report.files);
    EXPECT_EQ(snapshot.directories, scanned.report.directories);
    scanned.root->setSort(false);
    const std::vector<SZANode *> nodes = scanned.root->getNodes();
    ASSERT_EQ(snapshot.categories.size(), nodes.size());
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        EXPECT_EQ(snapshot.categories[i].name, nodes[i]->name());
        EXPECT_EQ(snapshot.categories[i].sizeBytes, nodes[i]->size());
        EXPECT_EQ(snapshot.categories[i].index, nodes[i]->index());
    }
}

std::uint64_t sumOf(const ScanSnapshot &snapshot)
{
    std::uint64_t sum = 0;
    for (const ScanSnapshot::Category &category : snapshot.categories) {
        sum += category.sizeBytes;
    }
    return sum;
}

/// What must not be seen of a scan that goes on: anything shrinking, moving or going.
void expectLater(const ScanSnapshot &later, const ScanSnapshot &earlier)
{
    EXPECT_GE(later.sizeBytes, earlier.sizeBytes);
    EXPECT_GE(later.files, earlier.files);
    EXPECT_GE(later.directories, earlier.directories);
    ASSERT_GE(later.categories.size(), earlier.categories.size());
    for (std::size_t i = 0; i < later.categories.size(); ++i) {
        EXPECT_EQ(later.categories[i].index, i);
        if (i < earlier.categories.size()) {
            EXPECT_EQ(later.categories[i].name, earlier.categories[i].name);
            EXPECT_GE(later.categories[i].sizeBytes, earlier.categories[i].sizeBytes);
        }
    }
}

/// Takes snapshots until the scan is over, the last one after its end.
std::vector<ScanSnapshot> watch(const ScanMonitor &monitor, const std::atomic<bool> &over)
{
    std::vector<ScanSnapshot> snapshots = {monitor.snapshot()};
    while (!over) {
        ScanSnapshot snapshot = monitor.snapshot();
        if (snapshot.files != snapshots.back().files) {
            snapshots.push_back(std::move(snapshot));
        }
        std::this_thread::yield();
    }
    snapshots.push_back(monitor.snapshot());
    return snapshots;
}

constexpr std::uint64_t kEndless = std::uint64_t{1} << 60U;

/// Stops the scan once it has met some files.
Scanned scanUntilStopped(const GeneratedDevice &device, ScanMonitor &monitor, unsigned readers)
{
    std::thread stopping([&monitor] {
        while (monitor.snapshot().files < 500) {
            std::this_thread::yield();
        }
        monitor.requestStop();
    });
    Scanned scanned = scan(device, {.monitor = &monitor, .readers = readers});
    stopping.join();
    return scanned;
}

} // namespace

TEST(Monitor, showsNothingBeforeAScan)
{
    const ScanMonitor monitor;
    const ScanSnapshot snapshot = monitor.snapshot();
    EXPECT_EQ(snapshot.sizeBytes, 0U);
    EXPECT_EQ(snapshot.files, 0U);
    EXPECT_EQ(snapshot.directories, 0U);
    EXPECT_THAT(snapshot.categories, IsEmpty());
    EXPECT_FALSE(monitor.stopFlag());
}

TEST(Monitor, showsTheLastStateAfterTheEndWhateverHappensToTheTree)
{
    const MemoryDevice device = {{"/usr/a", 100}, {"/b", 1}, {"/c/d/e", 10}};
    ScanMonitor monitor;
    ScanSnapshot snapshot;
    {
        const Scanned scanned = scan(device, {.monitor = &monitor});
        expectEqual(monitor.snapshot(), scanned);
        EXPECT_EQ(monitor.snapshot().directories, 4U);
        SZANode *child = scanned.root->getNodes().front();
        scanned.root->removeNodeAffectedNodes(*child, {});
        scanned.root->setSize(7);
    }
    snapshot = monitor.snapshot();
    EXPECT_EQ(snapshot.sizeBytes, 111U);
    EXPECT_EQ(snapshot.files, 3U);
    ASSERT_EQ(snapshot.categories.size(), 2U);
    EXPECT_EQ(snapshot.categories[0].name, "Others"); // met first, whatever is larger
    EXPECT_EQ(snapshot.categories[0].sizeBytes, 11U);
    EXPECT_EQ(snapshot.categories[1].name, "Operating System");
    EXPECT_EQ(snapshot.categories[1].sizeBytes, 100U);
}

TEST(Monitor, countsDirectoriesWithoutFiles)
{
    const MemoryDevice device = {{"/a/b/c/", 0}, {"/d/", 0}};
    ScanMonitor monitor;
    scan(device, {.monitor = &monitor});
    EXPECT_EQ(monitor.snapshot().directories, 5U);
    EXPECT_EQ(monitor.snapshot().files, 0U);
    EXPECT_THAT(monitor.snapshot().categories, IsEmpty());
}

TEST(Monitor, showsStatesThatAreEachOfOneMoment)
{
    const GeneratedDevice device(
        {.files = 40'000 * testSize(), .filesPerDirectory = 30, .directoriesPerDirectory = 5});
    for (const unsigned readers : kReaderCounts) {
        SCOPED_TRACE(testing::Message() << "readers " << readers);
        Spreader spreader;
        ScanMonitor monitor;
        Scanned scanned;
        std::atomic<bool> over = false;
        std::thread scanning([&] {
            scanned = scan(device, {.chain = &spreader.chain(), .monitor = &monitor, .readers = readers});
            over = true;
        });
        const std::vector<ScanSnapshot> snapshots = watch(monitor, over);
        scanning.join();

        // What any number of files, taken in walk order, adds up to.
        std::vector<std::uint64_t> sizeOfFirst = {0};
        for (const std::string &path : spreader.files()) {
            sizeOfFirst.push_back(sizeOfFirst.back() + device.status(path)->sizeBytes);
        }
        EXPECT_GT(snapshots.size(), 3U); // or nothing was seen on the way
        for (std::size_t i = 0; i < snapshots.size(); ++i) {
            const ScanSnapshot &snapshot = snapshots[i];
            ASSERT_LT(snapshot.files, sizeOfFirst.size());
            ASSERT_EQ(snapshot.sizeBytes, sizeOfFirst[snapshot.files]);
            ASSERT_EQ(sumOf(snapshot), snapshot.sizeBytes);
            if (i > 0) {
                ASSERT_NO_FATAL_FAILURE(expectLater(snapshot, snapshots[i - 1]));
            }
        }
        expectEqual(snapshots.back(), scanned);
        EXPECT_EQ(snapshots.back().files, device.fileCount());
    }
}

TEST(Monitor, neverShowsMoreInTheCategoriesThanInAllWhereFilesShareALeaf)
{
    const GeneratedDevice device({.files = 20'000, .filesPerDirectory = 30, .directoriesPerDirectory = 5});
    const ClassifierChain chain = {{.classify =
                                        [](const std::string &path) {
                                            return path.size() % 2 == 0
                                                       ? std::string("Leaf")
                                                       : "Inner/" + std::to_string(path.size());
                                        },
                                    .classifyDirectory = {}}};
    ScanMonitor monitor;
    std::atomic<bool> over = false;
    std::thread scanning([&] {
        scan(device, {.chain = &chain, .monitor = &monitor});
        over = true;
    });
    const std::vector<ScanSnapshot> snapshots = watch(monitor, over);
    scanning.join();
    for (const ScanSnapshot &snapshot : snapshots) {
        ASSERT_LE(sumOf(snapshot), snapshot.sizeBytes);
    }
    EXPECT_LT(sumOf(snapshots.back()), snapshots.back().sizeBytes);
    EXPECT_EQ(snapshots.back().sizeBytes, device.totalBytes());
}

TEST(Monitor, endsAScanThatWouldNotEnd)
{
    for (const GeneratedDevice::Shape &shape :
         {GeneratedDevice::Shape{.files = kEndless, .filesPerDirectory = 20, .directoriesPerDirectory = 8},
          GeneratedDevice::Shape{.files = 300'000, .filesPerDirectory = 1, .directoriesPerDirectory = 1}}) {
        for (const unsigned readers : kReaderCounts) {
            SCOPED_TRACE(testing::Message() << "readers " << readers);
            ScanMonitor monitor;
            const GeneratedDevice device(shape);
            const Scanned scanned = scanUntilStopped(device, monitor, readers);
            EXPECT_TRUE(scanned.report.stopped);
            EXPECT_GE(scanned.report.files, 500U);
            EXPECT_LT(scanned.report.files, shape.files);
            EXPECT_EQ(sumOf(monitor.snapshot()), scanned.root->size());
            expectEqual(monitor.snapshot(), scanned);
        }
    }
}

TEST(Monitor, saysThatAScanWasStoppedInTheMiddleOfItsLastDirectory)
{
    const MemoryDevice memory = {{"/f", 1}, {"/last/g", 2}};
    for (const unsigned readers : kReaderCounts) {
        SCOPED_TRACE(testing::Message() << "readers " << readers);
        ScanMonitor monitor;
        FailingDevice device(memory);
        device.runBeforeOpen("/last", [&monitor](const std::string &) { monitor.requestStop(); });
        const Scanned scanned = scan(device, {.monitor = &monitor, .readers = readers});
        EXPECT_TRUE(scanned.report.stopped);
        EXPECT_LT(scanned.report.files, 2U);
    }
}

TEST(Monitor, endsAScanInTheMiddleOfADirectoryThatNeverEnds)
{
    const GeneratedDevice device({.files = kEndless, .filesPerDirectory = kEndless});
    for (const unsigned readers : kReaderCounts) {
        SCOPED_TRACE(testing::Message() << "readers " << readers);
        ScanMonitor monitor;
        const Scanned scanned = scanUntilStopped(device, monitor, readers);
        EXPECT_GE(scanned.report.files, 500U);
        expectEqual(monitor.snapshot(), scanned);
    }
}

TEST(Monitor, endsAScanInADirectoryThatNeverEndsAndHasNoFiles)
{
    const GeneratedDevice device({.files = std::uint64_t{1} << 60U,
                                  .filesPerDirectory = 1,
                                  .directoriesPerDirectory = std::uint64_t{1} << 40U});
    for (const unsigned readers : {0U, 2U}) {
        ScanMonitor monitor;
        std::thread stopping([&monitor] {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            monitor.requestStop();
        });
        const Scanned scanned = scan(device, {.monitor = &monitor, .readers = readers});
        stopping.join();
        EXPECT_TRUE(scanned.report.stopped);
        EXPECT_EQ(scanned.report.files, 0U);
    }
}

TEST(Monitor, thatWasToldToStopBeforeTheScanKeepsItFromBeginning)
{
    const MemoryDevice device = {{"/usr/a", 100}};
    for (const unsigned readers : kReaderCounts) {
        ScanMonitor monitor;
        monitor.requestStop();
        const Scanned scanned = scan(device, {.monitor = &monitor, .readers = readers});
        EXPECT_TRUE(scanned.report.stopped);
        EXPECT_EQ(scanned.report.files, 0U);
        EXPECT_EQ(scanned.root->childCount(), 0U);
        EXPECT_EQ(monitor.snapshot().sizeBytes, 0U);
    }
}

TEST(Monitor, thatIsToldToStopAfterTheEndChangesNothing)
{
    const MemoryDevice device = {{"/usr/a", 100}};
    ScanMonitor monitor;
    const Scanned scanned = scan(device, {.monitor = &monitor});
    monitor.requestStop();
    EXPECT_FALSE(scanned.report.stopped);
    EXPECT_EQ(monitor.snapshot().sizeBytes, 100U);
}

} // namespace slicewise
