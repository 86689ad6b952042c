// The order of the walk, on made-up devices whose directories list their entries in a known order.
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
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace slicewise {

namespace {

using ::testing::ElementsAre;

/// One classifier, which gives each file its own directory as category and notes the order of its questions.
class Recorder {
public:
    Recorder()
    {
        m_chain.push_back({.classify =
                               [this](const std::string &path) {
                                   m_files.push_back(path);
                                   return path.substr(1);
                               },
                           .classifyDirectory = {}});
    }

    [[nodiscard]] const ClassifierChain &chain() const { return m_chain; }
    [[nodiscard]] std::vector<std::string> take() { return std::exchange(m_files, {}); }

private:
    ClassifierChain m_chain;
    std::vector<std::string> m_files;
};

const MemoryDevice &smallDevice()
{
    static const MemoryDevice kDevice = {
        {"/a/1", 1},   {"/f", 1},      {"/b/x/1", 1}, {"/b/2", 1}, {"/b/y/z/1", 1},
        {"/b/y/3", 1}, {"/empty/", 0}, {"/c/1", 1},   {"/g", 1},
    };
    return kDevice;
}

} // namespace

TEST(WalkOrder, takesADirectorysFilesFirstAndThenTheDirectoryListedLast)
{
    Recorder recorder;
    for (const unsigned readers : kReaderCounts) {
        scan(smallDevice(), {.chain = &recorder.chain(), .readers = readers});
        EXPECT_THAT(recorder.take(),
                    ElementsAre("/f", "/g", "/c/1", "/b/2", "/b/y/3", "/b/y/z/1", "/b/x/1", "/a/1"))
            << readers << " readers";
    }
}

TEST(WalkOrder, decidesTheIndicesOfTheCategories)
{
    Recorder recorder;
    for (const unsigned readers : kReaderCounts) {
        Scanned scanned = scan(smallDevice(), {.chain = &recorder.chain(), .readers = readers});
        scanned.root->setSort(false);
        std::vector<std::string> names;
        std::vector<std::uint64_t> indices;
        for (const SZANode *node : scanned.root->getNodes()) {
            names.emplace_back(node->name());
            indices.push_back(node->index());
        }
        EXPECT_THAT(names, ElementsAre("f", "g", "c", "b", "a"));
        EXPECT_THAT(indices, ElementsAre(0, 1, 2, 3, 4));
    }
}

TEST(WalkOrder, isThatInWhichDirectoriesAreOpenedWithoutReaders)
{
    const FailingDevice device(smallDevice());
    scan(device, {.readers = 0});
    EXPECT_THAT(device.opened(), ElementsAre("/", "/c", "/empty", "/b", "/b/y", "/b/y/z", "/b/x", "/a"));
}

TEST(WalkOrder, opensEachDirectoryOnceHoweverManyReaders)
{
    for (const unsigned readers : kReaderCounts) {
        const FailingDevice device(smallDevice());
        scan(device, {.readers = readers});
        EXPECT_THAT(device.opened(), ::testing::UnorderedElementsAre("/", "/c", "/empty", "/b", "/b/y",
                                                                     "/b/y/z", "/b/x", "/a"));
    }
}

TEST(WalkOrder, letsTheFileThatIsMetLastHaveTheLeaf)
{
    const ClassifierChain chain = {
        {.classify = [](const std::string &) { return "One/leaf"; }, .classifyDirectory = {}}};
    const MemoryDevice device = {{"/a/f", 1}, {"/b/f", 10}, {"/c/f", 100}, {"/f", 1000}};
    for (const unsigned readers : kReaderCounts) {
        const Scanned scanned = scan(device, {.chain = &chain, .readers = readers});
        EXPECT_EQ(treeText(*scanned.root), "1111 bytes\n\"One\" 1111 #0\n  \"leaf\" 1 #0 \"/a/f\"\n");
    }
}

TEST(WalkOrder, doesNotDependOnHowDirectoriesAreCutIntoStretches)
{
    std::mt19937_64 random(7);
    MemoryDevice device;
    std::vector<std::string> directories = {""};
    for (int i = 0; i < 3000; ++i) {
        const std::string path = directories.at(random() % directories.size()) + "/e" + std::to_string(i);
        if (random() % 8 == 0) {
            device.addDirectory(path);
            directories.push_back(path);
        } else {
            device.addFile(path, random() % 1000);
        }
    }
    Recorder recorder;
    device.setStretch(100'000);
    const std::string text = scan(device, {.chain = &recorder.chain(), .readers = 0}).text();
    const std::vector<std::string> files = recorder.take();
    EXPECT_GT(files.size(), 2000U);
    for (const std::size_t stretch : {1U, 2U, 3U, 7U, 64U}) {
        device.setStretch(stretch);
        for (const unsigned readers : kReaderCounts) {
            SCOPED_TRACE(testing::Message() << "stretch " << stretch << ", readers " << readers);
            EXPECT_EQ(scan(device, {.chain = &recorder.chain(), .readers = readers}).text(), text);
            EXPECT_EQ(recorder.take(), files);
        }
    }
}

TEST(WalkOrder, isKeptWhenTheReadersAreAsFarAheadAsTheyMayBe)
{
    // Directories of more entries than are held at once, chains, and many directories that are nearly empty.
    for (const GeneratedDevice::Shape &shape :
         {GeneratedDevice::Shape{.files = 80'000, .filesPerDirectory = 40'000, .directoriesPerDirectory = 1},
          GeneratedDevice::Shape{.files = 60'000, .filesPerDirectory = 20, .directoriesPerDirectory = 8},
          GeneratedDevice::Shape{.files = 10'000, .filesPerDirectory = 1, .directoriesPerDirectory = 5000},
          GeneratedDevice::Shape{.files = 300, .filesPerDirectory = 1, .directoriesPerDirectory = 1}}) {
        GeneratedDevice::Shape larger = shape;
        larger.files *= testSize();
        const GeneratedDevice device(larger);
        Recorder recorder;
        const std::string text = scan(device, {.chain = &recorder.chain(), .readers = 0}).text();
        const std::vector<std::string> files = recorder.take();
        for (const unsigned readers : {1U, 2U, 4U, 8U}) {
            const Scanned scanned = scan(device, {.chain = &recorder.chain(), .readers = readers});
            EXPECT_EQ(scanned.report.files, device.fileCount());
            EXPECT_EQ(scanned.report.directories, device.directoryCount());
            EXPECT_EQ(scanned.root->size(), device.totalBytes());
            EXPECT_TRUE(recorder.take() == files) << readers << " readers, " << larger.files << " files";
            EXPECT_TRUE(scanned.text() == text) << readers << " readers, " << larger.files << " files";
        }
    }
}

TEST(WalkOrder, doesNotLetTheReadersRunAwayFromASlowWalk)
{
    const GeneratedDevice generated({.files = 60'000, .filesPerDirectory = 1, .directoriesPerDirectory = 8});
    FailingDevice device(generated);
    std::atomic<std::uint64_t> opened = 0;
    device.runBeforeEachOpen([&opened](const std::string &) { ++opened; });
    std::uint64_t openedAtFirstFile = 0;
    const auto waitUntilTheReadersRest = [&] {
        while (openedAtFirstFile != opened) {
            openedAtFirstFile = opened;
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
    };
    const ClassifierChain chain = {{.classify =
                                        [&, first = true](const std::string &path) mutable {
                                            if (std::exchange(first, false)) {
                                                waitUntilTheReadersRest();
                                            }
                                            return path;
                                        },
                                    .classifyDirectory = {}}};
    const Scanned scanned = scan(device, {.chain = &chain, .readers = 4});
    EXPECT_EQ(scanned.report.files, generated.fileCount());
    EXPECT_GT(openedAtFirstFile, 10U); // they do go ahead
    EXPECT_LT(openedAtFirstFile, generated.directoryCount() / 4);
}

} // namespace slicewise
