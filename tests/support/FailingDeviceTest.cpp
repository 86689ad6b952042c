#include "tests/support/FailingDevice.h"

#include "tests/support/Listing.h"
#include "tests/support/MemoryDevice.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace slicewise {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(FailingDevice, givesWhatTheWrappedOneGivesUntilItIsToldOtherwise)
{
    const MemoryDevice memory{{"/a/file", 3}, {"/b/", 0}};
    const FailingDevice device(memory);
    EXPECT_THAT(listDirectory(device, "/").entries, ElementsAre(listedDirectory("a"), listedDirectory("b")));
    EXPECT_THAT(listDirectory(device, "/a").entries, ElementsAre(listedFile("file", 3)));
    EXPECT_EQ(device.status("/a/file")->sizeBytes, 3U);
    EXPECT_EQ(*device.resolve("/a/./file"), "/a/file");
    EXPECT_EQ(device.fileSystem("/a")->capacityBytes, MemoryDevice::kCapacityBytes);
}

TEST(FailingDevice, failsToOpenOneDirectoryAlone)
{
    const MemoryDevice memory{{"/a/file", 3}, {"/b/file", 4}};
    FailingDevice device(memory);
    device.failOpen("/a", EACCES);
    EXPECT_EQ(listDirectory(device, "/a").error, EACCES);
    EXPECT_THAT(listDirectory(device, "/b").entries, ElementsAre(listedFile("file", 4)));
}

TEST(FailingDevice, breaksAListingOffWhereItIsTold)
{
    MemoryDevice memory{{"/a", 1}, {"/b", 2}, {"/c", 3}, {"/d", 4}, {"/e", 5}};
    memory.setStretch(2);
    const auto listed = [&memory](FailingDevice::Break where) {
        FailingDevice device(memory);
        device.failReading("/", where, EIO);
        const Listing listing = listDirectory(device, "/");
        EXPECT_EQ(listing.error, EIO);
        return listing.entries;
    };
    EXPECT_THAT(listed({.afterStretches = 0, .entriesOfTheNextOne = 0}), IsEmpty());
    EXPECT_THAT(listed({.afterStretches = 0, .entriesOfTheNextOne = 1}), ElementsAre(listedFile("a", 1)));
    EXPECT_THAT(listed({.afterStretches = 1, .entriesOfTheNextOne = 1}),
                ElementsAre(listedFile("a", 1), listedFile("b", 2), listedFile("c", 3)));
    EXPECT_EQ(listed({.afterStretches = 100, .entriesOfTheNextOne = 0}).size(), 5U);
}

TEST(FailingDevice, hidesTheSizeOfOneFile)
{
    const MemoryDevice memory{{"/a/file", 3}, {"/a/other", 4}};
    FailingDevice device(memory);
    device.failSize("/a/file", EIO);
    EXPECT_THAT(listDirectory(device, "/a").entries,
                ElementsAre(listedFile("file", 0, EIO), listedFile("other", 4)));
    EXPECT_EQ(device.status("/a/file").error(), EIO);
    EXPECT_EQ(device.status("/a/other")->sizeBytes, 4U);
}

TEST(FailingDevice, runsHooksBeforeItOpensAndTellsWhatWasOpened)
{
    const MemoryDevice memory{{"/a/file", 3}, {"/b/", 0}};
    FailingDevice device(memory);
    std::vector<std::string> seen;
    device.runBeforeOpen("/a", [&](const std::string &path) { seen.push_back("one " + path); });
    device.runBeforeEachOpen([&](const std::string &path) { seen.push_back("each " + path); });
    static_cast<void>(listDirectory(device, "/b"));
    static_cast<void>(listDirectory(device, "/a"));
    EXPECT_THAT(seen, ElementsAre("each /b", "each /a", "one /a"));
    EXPECT_THAT(device.opened(), ElementsAre("/b", "/a"));
}

TEST(FailingDevice, opensAndListsFilesAsTheWrappedOneDoes)
{
    MemoryDevice memory{{"/a/other", 3}};
    memory.setContent("/a/file", "some text");
    const FailingDevice device(memory);
    EXPECT_EQ(*readFile(device, "/a/file", 100), "some text");
    EXPECT_THAT(*device.entryNames("/a"), ElementsAre("other", "file"));
    EXPECT_EQ(device.hostPath("/a").error(), ENOTSUP);
    EXPECT_EQ(*device.makeResolver()->resolve("/a/./missing"), "/a/missing");
    const std::unique_ptr<ReadableFile> file = std::move(device.openFile("/a/file")).value();
    EXPECT_EQ(*file->sizeBytes(), 9U);
    EXPECT_TRUE(*file->lockShared(0, 1));
    file->unlock(0, 1);
}

TEST(FailingDevice, failsToOpenReadLockAndResolveOneFileAlone)
{
    MemoryDevice memory;
    memory.setContent("/closed", "text");
    memory.setContent("/broken", "some text");
    FailingDevice device(memory);
    device.failOpenFile("/closed", EACCES);
    device.failReadAt("/broken", 4, EIO);
    device.failLock("/broken", EAGAIN);
    device.failResolve("/broken", ELOOP);
    EXPECT_EQ(device.openFile("/closed").error(), EACCES);
    const std::unique_ptr<ReadableFile> file = std::move(device.openFile("/broken")).value();
    std::array<std::byte, 4> bytes{};
    EXPECT_EQ(*file->readAt(0, bytes), 4U);
    EXPECT_EQ(file->readAt(1, bytes).error(), EIO);
    EXPECT_EQ(file->lockShared(0, 1).error(), EAGAIN);
    EXPECT_EQ(readFile(device, "/broken", 100).error(), EIO);
    EXPECT_EQ(device.makeResolver()->resolve("/broken").error(), ELOOP);
    EXPECT_TRUE(device.makeResolver()->resolve("/closed"));
}

TEST(FailingDevice, failsToRemoveOnePathAloneAndKnowsAllThatWereAsked)
{
    MemoryDevice memory{{"/a/file", 3}, {"/b/file", 4}};
    FailingDevice device(memory);
    device.failRemove("/a/file", EACCES);
    std::vector<std::string> hooked;
    device.runBeforeEachRemoval([&hooked](const std::string &path) { hooked.push_back(path); });
    const auto remover = device.makeRemover();
    EXPECT_EQ(remover->remove("/a/file").error(), EACCES);
    EXPECT_EQ(*remover->remove("/b/file"), 1U);
    EXPECT_EQ(memory.status("/a/file")->sizeBytes, 3U);
    EXPECT_EQ(memory.status("/b/file").error(), ENOENT);
    EXPECT_THAT(device.removals(), ElementsAre("/a/file", "/b/file"));
    EXPECT_EQ(hooked, device.removals());
}

TEST(FailingDevice, refusesRemovalsWhereTheWrappedOneMayNotBeChanged)
{
    const MemoryDevice memory{{"/file", 3}};
    FailingDevice device(memory);
    EXPECT_EQ(device.makeRemover()->remove("/file").error(), ENOTSUP);
    EXPECT_EQ(memory.status("/file")->sizeBytes, 3U);
}

} // namespace
} // namespace slicewise
