// What can't be read is reported, and everything else is counted.
#include "platform/HostDevice.h"
#include "scan/ScanEngine.h"
#include "tests/scan/Scanned.h"
#include "tests/scan/TestSize.h"
#include "tests/support/ChainOfScan.h"
#include "tests/support/FailingDevice.h"
#include "tests/support/FailingSystemCalls.h"
#include "tests/support/InChild.h"
#include "tests/support/MemoryDevice.h"
#include "tests/support/NaiveEngine.h"
#include "tests/support/RandomTree.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/TreeText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <mutex>
#include <random>

namespace slicewise {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

std::unique_ptr<HostDevice> deviceOf(const TemporaryDirectory &directory, const SystemCalls *calls = nullptr)
{
    return HostDevice::open(directory.path(), calls).value();
}

bool liesBelow(const std::string &path, const std::string &directory)
{
    return path.size() > directory.size() && path.starts_with(directory) && path[directory.size()] == '/';
}

} // namespace

TEST(ScanFailures, ofADirectoryThatMayNotBeOpenedCostItAndWhatIsBelowAlone)
{
    const TemporaryDirectory directory;
    directory.makeFile("open/f", 1);
    directory.makeFile("closed/deep/f", 100);
    directory.makeFile("listable/f", 2);
    directory.makeFile("listable/deep/f", 100);
    directory.makeFile("last/f", 4);
    directory.setMode("closed", 0);
    directory.setMode("listable", 0644); // names can be read, nothing can be asked about them
    asOrdinaryUser([&] {
        for (const unsigned readers : {0U, 2U}) {
            Scanned scanned = scan(*deviceOf(directory), {.readers = readers});
            // In which order the disk lists them is its own affair.
            EXPECT_THAT(failures(scanned.report),
                        UnorderedElementsAre("directory /closed: EACCES", "directory /listable/deep: EACCES",
                                             "file /listable/f: EACCES"));
            EXPECT_EQ(scanned.root->size(), 5U);
            EXPECT_EQ(scanned.report.files, 3U);
        }
    });
    directory.setMode("closed", 0755);
    directory.setMode("listable", 0755);
}

TEST(ScanFailures, areToldInTheOrderOfTheWalkHoweverManyReaders)
{
    const MemoryDevice memory = {{"/a/f", 1},  {"/b/f", 2},  {"/b/c/f", 4}, {"/b/d/f", 8},
                                 {"/b/g", 16}, {"/e/f", 32}, {"/h", 64}};
    FailingDevice device(memory);
    device.failOpen("/a", EACCES);
    device.failOpen("/b/d", EIO);
    device.failSize("/b/f", ENOENT);
    device.failSize("/b/g", EIO);
    device.failReading("/b", {.afterStretches = 1, .entriesOfTheNextOne = 0}, EIO);
    device.failOpen("/e", ENOENT);
    for (const unsigned readers : kReaderCounts) {
        const Scanned scanned = scan(device, {.readers = readers});
        EXPECT_THAT(failures(scanned.report),
                    ElementsAre("directory /e: ENOENT", "file /b/f: ENOENT", "file /b/g: EIO",
                                "directory /b: EIO", "directory /b/d: EIO", "directory /a: EACCES"));
        EXPECT_EQ(scanned.report.files, 4U);
        EXPECT_EQ(scanned.report.directories, 3U); // the root, /b and /b/c
        EXPECT_EQ(scanned.root->size(), 68U);
    }
}

TEST(ScanFailures, inTheMiddleOfADirectoryLeaveWhatWasReadBefore)
{
    MemoryDevice memory = {{"/d/1", 1},  {"/d/a/f", 2},  {"/d/2", 4},  {"/d/b/f", 8},
                           {"/d/3", 16}, {"/d/c/f", 32}, {"/d/4", 64}, {"/d/e/f", 128}};
    memory.setStretch(2);
    FailingDevice device(memory);
    device.failReading("/d", {.afterStretches = 2, .entriesOfTheNextOne = 1}, EIO);
    for (const unsigned readers : kReaderCounts) {
        Scanned scanned = scan(device, {.readers = readers});
        EXPECT_THAT(filesInTree(*scanned.root), ElementsAre("/d/1", "/d/2", "/d/3", "/d/b/f", "/d/a/f"));
        EXPECT_EQ(scanned.root->size(), 31U);
        EXPECT_THAT(failures(scanned.report), ElementsAre("directory /d: EIO"));
    }
}

TEST(ScanFailures, onAFirstReadLeaveAnEmptyDirectory)
{
    const MemoryDevice memory = {{"/d/1", 1}, {"/f", 2}};
    FailingDevice device(memory);
    device.failReading("/d", {.afterStretches = 0, .entriesOfTheNextOne = 0}, EIO);
    const Scanned scanned = scan(device);
    EXPECT_EQ(scanned.root->size(), 2U);
    EXPECT_THAT(failures(scanned.report), ElementsAre("directory /d: EIO"));
}

TEST(ScanFailures, ofTheRootAreToldToo)
{
    const MemoryDevice memory = {{"/f", 2}};
    FailingDevice device(memory);
    device.failOpen("/", EIO);
    for (const unsigned readers : kReaderCounts) {
        const Scanned scanned = scan(device, {.readers = readers});
        EXPECT_THAT(failures(scanned.report), ElementsAre("directory /: EIO"));
        EXPECT_EQ(scanned.report.directories, 0U);
        EXPECT_EQ(scanned.report.diskSizeBytes(), 0U);
    }
}

TEST(ScanFailures, ofDotFileAtTheRootAreNobodysBusiness)
{
    const MemoryDevice memory = {{"/a", 1}, {"/.file", 2}, {"/b", 4}, {"/c", 8}};
    FailingDevice device(memory);
    device.failSize("/.file", EIO);
    device.failSize("/b", ENOENT); // the one after it, which moves up
    const Scanned scanned = scan(device);
    EXPECT_THAT(failures(scanned.report), ElementsAre("file /b: ENOENT"));
    EXPECT_EQ(scanned.root->size(), 9U);
    EXPECT_EQ(scanned.report.files, 3U);
}

TEST(ScanFailures, ofAFileLeaveItInTheTreeWithoutBytes)
{
    const MemoryDevice memory = {{"/usr/a", 1}, {"/usr/gone", 2}, {"/usr/b", 4}};
    FailingDevice device(memory);
    device.failSize("/usr/gone", ENOENT);
    const Scanned scanned = scan(device);
    EXPECT_EQ(treeText(*scanned.root), "5 bytes\n"
                                       "\"Operating System\" 5 #0\n"
                                       "  \"usr\" 5 #0\n"
                                       "    \"b\" 4 #2 \"/usr/b\"\n"
                                       "    \"a\" 1 #0 \"/usr/a\"\n"
                                       "    \"gone\" 0 #1 \"/usr/gone\"\n");
    EXPECT_THAT(failures(scanned.report), ElementsAre("file /usr/gone: ENOENT"));
    EXPECT_EQ(scanned.report.files, 3U);
}

TEST(ScanFailures, ofAFileThatVanishesBetweenListingAndAskingAreReal)
{
    for (const unsigned readers : kReaderCounts) {
        const TemporaryDirectory directory;
        directory.makeFile("d/stays", 1);
        directory.makeFile("d/goes", 2);
        FailingSystemCalls calls;
        calls.runBefore(FailingSystemCalls::Function::StatAt, [&](const FailingSystemCalls::Call &call) {
            if (call.path == "goes") {
                directory.remove("d/goes");
            }
        });
        Scanned scanned = scan(*deviceOf(directory, &calls), {.readers = readers});
        EXPECT_EQ(scanned.root->size(), 1U);
        EXPECT_THAT(failures(scanned.report), ElementsAre("file /d/goes: ENOENT"));
        EXPECT_THAT(filesInTree(*scanned.root), UnorderedElementsAre("/d/stays", "/d/goes"));
    }
}

TEST(ScanFailures, ofADirectoryThatVanishesCostItAlone)
{
    for (const unsigned readers : kReaderCounts) {
        const TemporaryDirectory directory;
        directory.makeFile("a/b/c/f", 1);
        directory.makeFile("a/f", 2);
        const auto host = deviceOf(directory);
        FailingDevice device(*host);
        device.runBeforeOpen("/a/b", [&](const std::string &) { directory.remove("a/b"); });
        const Scanned scanned = scan(device, {.readers = readers});
        EXPECT_EQ(scanned.root->size(), 2U);
        EXPECT_THAT(failures(scanned.report), ElementsAre("directory /a/b: ENOENT"));
    }
}

TEST(ScanFailures, ofADirectoryThatBecomesALinkKeepTheWalkFromFollowingIt)
{
    for (const unsigned readers : kReaderCounts) {
        const TemporaryDirectory outside;
        outside.makeFile("f", 1000);
        const TemporaryDirectory directory;
        directory.makeFile("a/b/f", 1);
        directory.makeFile("a/f", 2);
        const auto host = deviceOf(directory);
        FailingDevice device(*host);
        device.runBeforeOpen("/a/b", [&](const std::string &) {
            directory.remove("a/b");
            directory.makeLink("a/b", outside.path());
        });
        const Scanned scanned = scan(device, {.readers = readers});
        EXPECT_EQ(scanned.root->size(), 2U);
        EXPECT_THAT(failures(scanned.report), ElementsAre("directory /a/b: ELOOP"));
    }
}

TEST(ScanFailures, ofADirectoryAboveThatBecomesALinkKeepTheWalkFromFollowingIt)
{
    for (const unsigned readers : kReaderCounts) {
        const TemporaryDirectory outside;
        outside.makeFile("b/f", 1000);
        const TemporaryDirectory directory;
        directory.makeFile("a/b/f", 1);
        directory.makeFile("a/f", 2);
        const auto host = deviceOf(directory);
        FailingDevice device(*host);
        device.runBeforeOpen("/a/b", [&](const std::string &) {
            directory.rename("a", "was a");
            directory.makeLink("a", outside.path());
        });
        const Scanned scanned = scan(device, {.readers = readers});
        EXPECT_EQ(scanned.root->size(), 2U);
        EXPECT_THAT(failures(scanned.report), ElementsAre("directory /a/b: ELOOP"));
    }
}

TEST(ScanFailures, ofADirectoryThatBecomesAFileCostItAlone)
{
    const TemporaryDirectory directory;
    directory.makeFile("a/b/f", 1);
    directory.makeFile("a/f", 2);
    const auto host = deviceOf(directory);
    FailingDevice device(*host);
    device.runBeforeOpen("/a/b", [&](const std::string &) {
        directory.remove("a/b");
        directory.makeFile("a/b", 1000);
    });
    const Scanned scanned = scan(device);
    EXPECT_EQ(scanned.root->size(), 2U);
    EXPECT_THAT(failures(scanned.report), ElementsAre("directory /a/b: ENOTDIR"));
}

TEST(ScanFailures, ofTheSystemsCallsAreToldWithTheirErrors)
{
    const TemporaryDirectory directory;
    directory.makeFile("a/f", 1);
    directory.makeFile("g", 2);
    FailingSystemCalls calls;
    const auto device = deviceOf(directory, &calls);
    calls.failNth(FailingSystemCalls::Function::ReadEntries, 1, EIO);
    const Scanned nothing = scan(*device, {.readers = 0});
    EXPECT_THAT(failures(nothing.report), ElementsAre("directory /: EIO"));
    EXPECT_EQ(nothing.root->size(), 0U);
    calls.heal();
    calls.failWhere(
        FailingSystemCalls::Function::OpenWithoutLinks,
        [](const FailingSystemCalls::Call &call) { return call.path == "a"; }, EMFILE);
    const Scanned some = scan(*device, {.readers = 0});
    EXPECT_THAT(failures(some.report), ElementsAre("directory /a: EMFILE"));
    EXPECT_EQ(some.root->size(), 2U);
}

TEST(ScanFailures, makeATreeThatLooksAsIfWhatFailedWereNotThere)
{
    for (std::uint64_t seed = 0; seed < 25 * testSize(); ++seed) {
        const TemporaryDirectory directory;
        makeRandomTree(directory.path(), seed, randomShape(seed));
        const auto host = deviceOf(directory);
        const ChainOfScan own(*host);
        const ClassifierChain &chain = own.chain();
        Log quiet([](std::string_view) {});
        const NaiveScan whole = naiveScan(directory.path(), "/", chain, quiet);

        FailingDevice device(*host);
        std::mt19937_64 random(seed);
        std::vector<std::string> failing;
        std::vector<std::string> expected;
        for (const std::string &path : whole.directoriesInOrder) {
            const bool reached = std::none_of(failing.begin(), failing.end(), [&](const std::string &above) {
                return liesBelow(path, above);
            });
            if (path != "/" && reached && random() % 5 == 0) {
                failing.push_back(path);
                expected.push_back("directory " + asciiText(path) + ": EACCES");
                device.failOpen(path, EACCES);
            }
        }
        std::vector<std::string> texts;
        std::vector<Scanned> scans;
        for (const unsigned readers : kReaderCounts) {
            scans.push_back(scan(device, {.readers = readers}));
        }
        for (const std::string &path : failing) {
            directory.remove(path.substr(1));
        }
        const NaiveScan rest = naiveScan(directory.path(), "/", chain, quiet);
        for (const Scanned &scanned : scans) {
            ASSERT_EQ(differenceBetween(rest.root, *scanned.root), std::nullopt) << "seed " << seed;
            ASSERT_EQ(failures(scanned.report), expected) << "seed " << seed;
            ASSERT_EQ(scanned.report.directories, rest.directories) << "seed " << seed;
            ASSERT_EQ(scanned.report.files, rest.filesInTree) << "seed " << seed;
        }
    }
}

TEST(ScanFailures, beyondWhatAPathMayBeLongAreToldWithTheWholePath)
{
    const TemporaryDirectory directory;
    const std::string chain = TemporaryDirectory::chain(40, std::string(200, 'd'));
    directory.makeFile(chain + "/closed/f", 5);
    directory.makeFile(chain + "/open/f", 7);
    const auto host = deviceOf(directory);
    FailingDevice device(*host);
    device.failOpen("/" + chain + "/closed", EACCES);
    for (const unsigned readers : kReaderCounts) {
        const Scanned scanned = scan(device, {.readers = readers});
        EXPECT_THAT(failures(scanned.report), ElementsAre("directory /" + chain + "/closed: EACCES"));
        EXPECT_EQ(scanned.root->size(), 7U);
    }
}

TEST(ScanFailures, areNoneWhereTheFileSystemKeepsNoTypes)
{
    const TemporaryDirectory directory;
    makeRandomTree(directory.path(), 11, randomShape(11));
    directory.makeFile("a/f", 3);
    directory.makeLink("a/link", "f");
    FailingSystemCalls calls;
    const auto device = deviceOf(directory, &calls);
    const Scanned plain = scan(*device);
    calls.hideEntryTypes();
    const Scanned hidden = scan(*device);
    EXPECT_EQ(hidden.text(), plain.text());
    EXPECT_THAT(failures(hidden.report), IsEmpty());
}

} // namespace slicewise
