// Whole scans of a made device, with everything that a device's catalogues may hold.
#include "platform/HostDevice.h"
#include "scan/ScanTables.h"
#include "tests/scan/Scanned.h"
#include "tests/scan/TestSize.h"
#include "tests/support/DiskState.h"
#include "tests/support/NaiveEngine.h"
#include "tests/support/SampleDevice.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace slicewise {

namespace {

/// Small, and another one for each seed.
struct Sample {
    explicit Sample(std::uint64_t seed)
        : plan(makeSampleDevice(directory.path(),
                                {.seed = seed, .scale = 0.02 + 0.01 * static_cast<double>(seed % 4)})),
          device(std::move(HostDevice::open(directory.path())).value())
    {}

    TemporaryDirectory directory;
    SampleDevicePlan plan;
    std::unique_ptr<HostDevice> device;
};

} // namespace

TEST(SampleScan, filesEveryFileWhereTheOneWhoMadeItSays)
{
    for (std::uint64_t seed = 1; seed <= 2 * testSize(); ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        const Sample sample(seed);
        Log log([](std::string_view) {});
        ScanTables tables(*sample.device, log, nullptr);
        const ClassifierChain chain = makeClassifierChain(tables);
        for (const SampleFile &file : sample.plan.files) {
            ASSERT_EQ(classifyFile(chain, file.path, log), file.category) << file.path;
        }
    }
}

TEST(SampleScan, equalsTheNaiveOneAndAccountsForEveryByte)
{
    for (std::uint64_t seed = 1; seed <= 2 * testSize(); ++seed) {
        const Sample sample(seed);
        std::vector<std::string> lines;
        Log log([&lines](std::string_view line) { lines.emplace_back(line); });
        ScanTables tables(*sample.device, log, nullptr);
        const NaiveScan naive = naiveScan(sample.directory.path(), "/", makeClassifierChain(tables), log);
        EXPECT_EQ(naive.filesInTree, sample.plan.files.size());
        EXPECT_EQ(naive.root.sizeBytes, sample.plan.totalBytes);
        for (const unsigned readers : kReaderCounts) {
            SCOPED_TRACE(testing::Message() << "seed " << seed << ", readers " << readers);
            const Scanned scanned = scan(*sample.device, {.readers = readers});
            ASSERT_EQ(differenceBetween(naive.root, *scanned.root), std::nullopt);
            ASSERT_EQ(scanned.report.files, sample.plan.files.size());
            ASSERT_EQ(scanned.root->size(), sample.plan.totalBytes);
        }
    }
}

TEST(SampleScan, leavesTheDeviceAsItIs)
{
    const Sample sample(7);
    const auto before = diskState(sample.directory.path());
    static_cast<void>(scan(*sample.device));
    EXPECT_EQ(diskState(sample.directory.path()), before);
}

} // namespace slicewise
