// The engine on real trees, against the naive one: whatever is in them, whatever the classifiers, however
// many readers, and whatever their timing.
#include "scan/ScanEngine.h"

#include "platform/HostDevice.h"
#include "tests/scan/RandomChain.h"
#include "tests/scan/Scanned.h"
#include "tests/scan/TestSize.h"
#include "tests/support/ChainOfScan.h"
#include "tests/support/FailingDevice.h"
#include "tests/support/NaiveEngine.h"
#include "tests/support/RandomTree.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/TreeText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ftw.h>
#include <sys/stat.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace slicewise {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::unique_ptr<HostDevice> deviceOf(const TemporaryDirectory &directory)
{
    return HostDevice::open(directory.path()).value();
}

struct NaiveScanned {
    NaiveScan scan;
    std::vector<std::string> classifierLines;
    std::vector<std::string> addingLines;
};

NaiveScanned scanNaively(const std::string &hostRoot, const ClassifierChain &chain,
                         const std::string &rootPath = "/")
{
    NaiveScanned scanned;
    Log log([&scanned](std::string_view line) {
        const bool adding = line.find(" raised while adding file ") != std::string_view::npos;
        (adding ? scanned.addingLines : scanned.classifierLines).emplace_back(line);
    });
    scanned.scan = naiveScan(hostRoot, rootPath, chain, log);
    return scanned;
}

void expectEqual(const NaiveScanned &naive, const Scanned &fast)
{
    ASSERT_EQ(differenceBetween(naive.scan.root, *fast.root), std::nullopt) << treeText(*fast.root);
    ASSERT_EQ(fast.classifierLines, naive.classifierLines);
    ASSERT_EQ(fast.addingLines, naive.addingLines);
    ASSERT_EQ(fast.report.directories, naive.scan.directories);
    ASSERT_EQ(fast.report.files, naive.scan.filesInTree);
    ASSERT_THAT(failures(fast.report), IsEmpty());
    ASSERT_THAT(notEntered(fast.report), IsEmpty());
    ASSERT_FALSE(fast.report.stopped);
}

/// Makes some of the readers late, each time other ones.
void delaySomeOpens(FailingDevice &device, std::uint64_t seed)
{
    auto count = std::make_shared<std::atomic<std::uint64_t>>(seed);
    device.runBeforeEachOpen([count](const std::string &) {
        const std::uint64_t number = (*count += 0x9e3779b97f4a7c15ULL) >> 60U;
        if (number < 2) {
            std::this_thread::sleep_for(std::chrono::microseconds(100 * number + 50));
        } else if (number < 8) {
            std::this_thread::yield();
        }
    });
}

/// The sum of st_size over all regular files below a directory of the host, each path counted.
std::uint64_t sumOfSizes(const std::string &hostDirectory)
{
    static std::uint64_t sum;
    sum = 0;
    const auto add = [](const char *, const struct stat *status, int type, struct FTW *) {
        if (type == FTW_F && S_ISREG(status->st_mode)) {
            sum += static_cast<std::uint64_t>(status->st_size);
        }
        return 0;
    };
    EXPECT_EQ(::nftw(hostDirectory.c_str(), add, 32, FTW_PHYS), 0);
    return sum;
}

} // namespace

TEST(ScanOfRandomTrees, equalsTheNaiveOneWithTheChainOfAScan)
{
    for (std::uint64_t seed = 0; seed < 40 * testSize(); ++seed) {
        const TemporaryDirectory directory;
        makeRandomTree(directory.path(), seed, randomShape(seed));
        const auto device = deviceOf(directory);
        const NaiveScanned naive = scanNaively(directory.path(), ChainOfScan(*device).chain());
        for (const unsigned readers : kReaderCounts) {
            SCOPED_TRACE(testing::Message() << "seed " << seed << ", readers " << readers);
            ASSERT_NO_FATAL_FAILURE(expectEqual(naive, scan(*device, {.readers = readers})));
        }
    }
}

TEST(ScanOfRandomTrees, equalsTheNaiveOneWithRandomChains)
{
    for (std::uint64_t seed = 1000; seed < 1000 + 60 * testSize(); ++seed) {
        const TemporaryDirectory directory;
        makeRandomTree(directory.path(), seed, randomShape(seed));
        const auto device = deviceOf(directory);
        const ClassifierChain chain = makeRandomChain(seed, DirectoryAnswers::Given);
        const NaiveScanned naive = scanNaively(directory.path(), chain);
        for (const unsigned readers : kReaderCounts) {
            SCOPED_TRACE(testing::Message() << "seed " << seed << ", readers " << readers);
            ASSERT_NO_FATAL_FAILURE(expectEqual(naive, scan(*device, {.chain = &chain, .readers = readers})));
        }
    }
}

TEST(ScanOfRandomTrees, equalsTheNaiveOneWhateverTheTimingOfTheReaders)
{
    for (std::uint64_t seed = 2000; seed < 2000 + 30 * testSize(); ++seed) {
        const TemporaryDirectory directory;
        makeRandomTree(directory.path(), seed, randomShape(seed));
        const auto host = deviceOf(directory);
        FailingDevice device(*host);
        delaySomeOpens(device, seed);
        const ClassifierChain chain = makeRandomChain(seed, DirectoryAnswers::Given);
        const NaiveScanned naive = scanNaively(directory.path(), chain);
        for (const unsigned readers : {1U, 2U, 4U, 8U}) {
            SCOPED_TRACE(testing::Message() << "seed " << seed << ", readers " << readers);
            ASSERT_NO_FATAL_FAILURE(expectEqual(naive, scan(device, {.chain = &chain, .readers = readers})));
        }
    }
}

TEST(ScanOfRandomTrees, isTheSameWithAndWithoutAnswersForWholeDirectories)
{
    for (std::uint64_t seed = 3000; seed < 3000 + 20 * testSize(); ++seed) {
        const TemporaryDirectory directory;
        makeRandomTree(directory.path(), seed, randomShape(seed));
        const auto device = deviceOf(directory);
        const ClassifierChain given = makeRandomChain(seed, DirectoryAnswers::Given);
        const ClassifierChain none = makeRandomChain(seed, DirectoryAnswers::None);
        const Scanned byDirectory = scan(*device, {.chain = &given});
        const Scanned byFile = scan(*device, {.chain = &none});
        ASSERT_EQ(byDirectory.text(), byFile.text()) << "seed " << seed;
        ASSERT_EQ(byDirectory.classifierLines, byFile.classifierLines) << "seed " << seed;
    }
}

TEST(ScanOfRandomTrees, countsTheSizesOfAllRegularFiles)
{
    for (std::uint64_t seed = 4000; seed < 4000 + 15 * testSize(); ++seed) {
        const TemporaryDirectory directory;
        makeRandomTree(directory.path(), seed, randomShape(seed));
        const Scanned scanned = scan(*deviceOf(directory));
        std::uint64_t ofCategories = 0;
        for (const SZANode *category : scanned.root->getNodes()) {
            ofCategories += category->size();
        }
        struct stat leftOut = {};
        if (::lstat(directory.pathOf(".file").c_str(), &leftOut) == 0 && !S_ISREG(leftOut.st_mode)) {
            continue; // a whole directory is left out, or nothing
        }
        const auto sizeLeftOut = static_cast<std::uint64_t>(leftOut.st_size);
        ASSERT_EQ(scanned.root->size(), sumOfSizes(directory.path()) - sizeLeftOut) << "seed " << seed;
        ASSERT_EQ(scanned.root->size(), ofCategories) << "seed " << seed;
    }
}

TEST(Scan, ofADirectoryBelowTheRootLeavesOutWhatIsBesideItAndKeepsFullPaths)
{
    for (std::uint64_t seed = 5000; seed < 5000 + 5 * testSize(); ++seed) {
        const TemporaryDirectory directory;
        directory.makeDirectory("usr/sub");
        directory.makeFile("usr/beside", 1'000'000);
        directory.makeFile("usr/sub/.file", 7);
        RandomTreeShape shape = randomShape(seed);
        makeRandomTree(directory.pathOf("usr/sub"), seed, shape);
        const auto device = deviceOf(directory);
        const NaiveScanned naive = scanNaively(directory.path(), ChainOfScan(*device).chain(), "/usr/sub");
        const Scanned scanned = scan(*device, {}, "/usr/sub");
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        ASSERT_NO_FATAL_FAILURE(expectEqual(naive, scanned));
        ASSERT_EQ(scanned.root->size(), sumOfSizes(directory.pathOf("usr/sub")));
        ASSERT_THAT(filesInTree(*scanned.root), ::testing::Contains("/usr/sub/.file"));
    }
}

TEST(Scan, leavesOutDotFileAtTheRootAndNowhereElse)
{
    const TemporaryDirectory directory;
    directory.makeFile(".file", 1000);
    directory.makeFile(".filex", 1);
    directory.makeFile("a/.file", 2);
    directory.makeFile("a/b/.file/f", 4);
    const Scanned scanned = scan(*deviceOf(directory));
    EXPECT_EQ(scanned.root->size(), 7U);
    EXPECT_THAT(filesInTree(*scanned.root),
                ::testing::UnorderedElementsAre("/.filex", "/a/.file", "/a/b/.file/f"));
    EXPECT_EQ(scanned.report.files, 3U);
}

TEST(Scan, leavesOutADirectoryNamedDotFileAtTheRoot)
{
    const TemporaryDirectory directory;
    directory.makeFile(".file/inside", 1000);
    directory.makeFile("a", 1);
    const Scanned scanned = scan(*deviceOf(directory));
    EXPECT_THAT(filesInTree(*scanned.root), ElementsAre("/a"));
    EXPECT_EQ(scanned.report.directories, 1U);
}

TEST(Scan, countsNothingForLinksAndWhatIsNoFile)
{
    const TemporaryDirectory directory;
    directory.makeFile("target/large", 1'000'000);
    directory.makeLink("links/file", "../target/large");
    directory.makeLink("links/directory", "../target");
    directory.makeLink("links/absolute", directory.pathOf("target"));
    directory.makeLink("links/nowhere", "nowhere");
    directory.makeLink("links/self", "self");
    directory.makeLink("links/up", "..");
    directory.makeFifo("links/fifo");
    directory.makeSocket("links/socket");
    const Scanned scanned = scan(*deviceOf(directory));
    EXPECT_EQ(scanned.root->size(), 1'000'000U);
    EXPECT_THAT(filesInTree(*scanned.root), ElementsAre("/target/large"));
    EXPECT_EQ(scanned.report.files, 1U);
    EXPECT_EQ(scanned.report.directories, 3U);
    EXPECT_THAT(failures(scanned.report), IsEmpty());
}

TEST(Scan, countsEveryNameOfAFileThatHasSeveral)
{
    const TemporaryDirectory directory;
    directory.makeFile("a", 100);
    directory.makeHardLink("b", "a");
    directory.makeHardLink("c/d", "a");
    const Scanned scanned = scan(*deviceOf(directory));
    EXPECT_EQ(scanned.root->size(), 300U);
    EXPECT_EQ(scanned.report.files, 3U);
}

TEST(Scan, printsTheSameBytesTwice)
{
    const TemporaryDirectory directory;
    makeRandomTree(directory.path(), 42,
                   {.directories = 200, .entriesEach = 20, .entriesOfLargest = 5000, .deepestChain = 50});
    const auto device = deviceOf(directory);
    const Scanned first = scan(*device);
    EXPECT_GT(first.report.files, 3000U);
    for (const unsigned readers : kReaderCounts) {
        EXPECT_EQ(scan(*device, {.readers = readers}).text(), first.text()) << readers << " readers";
    }
}

TEST(Scan, reachesPathsThatNoCallTakesInOnePiece)
{
    const TemporaryDirectory directory;
    const std::string chain = TemporaryDirectory::chain(60, std::string(200, 'd'));
    directory.makeFile(chain + "/deepest", 5);
    directory.makeFile("top", 2);
    for (const unsigned readers : kReaderCounts) {
        const Scanned scanned = scan(*deviceOf(directory), {.readers = readers});
        EXPECT_EQ(scanned.root->size(), 7U);
        EXPECT_THAT(filesInTree(*scanned.root), ElementsAre("/top", "/" + chain + "/deepest"));
        EXPECT_EQ(scanned.report.directories, 61U);
        EXPECT_THAT(failures(scanned.report), IsEmpty());
    }
}

TEST(Scan, goesDownADeepChainWithoutRecursion)
{
    const std::size_t depth = 2000 * testSize();
    const TemporaryDirectory directory;
    directory.makeFile(TemporaryDirectory::chain(depth, "d") + "/f", 5);
    const Scanned scanned = scan(*deviceOf(directory));
    EXPECT_EQ(scanned.report.directories, depth + 1);
    EXPECT_THAT(filesInTree(*scanned.root), ElementsAre("/" + TemporaryDirectory::chain(depth, "d") + "/f"));
    EXPECT_EQ(scanned.root->size(), 5U);
}

TEST(Scan, ofAnEmptyDirectoryFindsOneDirectoryAndNothingElse)
{
    const TemporaryDirectory directory;
    const Scanned scanned = scan(*deviceOf(directory));
    EXPECT_EQ(scanned.root->childCount(), 0U);
    EXPECT_EQ(scanned.root->size(), 0U);
    EXPECT_EQ(scanned.report.directories, 1U);
    EXPECT_EQ(scanned.report.files, 0U);
    EXPECT_GT(scanned.report.diskSizeBytes(), 0U);
}

TEST(Scan, ofWhatIsNoDirectoryReportsThatAlone)
{
    const TemporaryDirectory directory;
    directory.makeFile("file", 5);
    const auto device = deviceOf(directory);
    const Scanned nothing = scan(*device, {}, "/nothing");
    EXPECT_THAT(failures(nothing.report), ElementsAre("directory /nothing: ENOENT"));
    EXPECT_EQ(nothing.report.directories, 0U);
    EXPECT_EQ(nothing.report.diskSizeBytes(), 0U);
    EXPECT_EQ(nothing.root->childCount(), 0U);
    EXPECT_THAT(failures(scan(*device, {}, "/file").report), ElementsAre("directory /file: ENOTDIR"));
}

TEST(Scan, addsToATreeThatHasSomethingInItAndKeepsItsNameAndOrder)
{
    const TemporaryDirectory directory;
    directory.makeFile("usr/a", 100);
    directory.makeFile("b", 1);
    const auto device = deviceOf(directory);
    SZANode root(device.get());
    root.setName("Disk");
    root.setSort(false);
    root.addNodeForFile("Others/b", "/b");
    Log log([](std::string_view line) { ADD_FAILURE() << line; });
    const ScanReport report = scanFileSystem(*device, "/", root, log);
    EXPECT_EQ(report.files, 2U);
    EXPECT_EQ(root.name(), "Disk");
    EXPECT_FALSE(root.sort());
    EXPECT_EQ(treeText(root), "102 bytes\n"
                              "\"Others\" 2 #0\n"
                              "  \"b\" 1 #0 \"/b\"\n"
                              "\"Operating System\" 100 #1\n"
                              "  \"usr\" 100 #0\n"
                              "    \"a\" 100 #0 \"/usr/a\"\n");
}

} // namespace slicewise
