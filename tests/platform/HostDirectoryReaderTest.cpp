#include "platform/HostDevice.h"
#include "tests/support/FailingSystemCalls.h"
#include "tests/support/InChild.h"
#include "tests/support/Listing.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace slicewise {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using Function = FailingSystemCalls::Function;

std::unique_ptr<HostDevice> deviceFor(const TemporaryDirectory &directory, const SystemCalls *calls = nullptr)
{
    return std::move(HostDevice::open(directory.path(), calls)).value();
}

void makeOneOfEach(const TemporaryDirectory &directory)
{
    directory.makeFile("empty", 0);
    directory.writeFile("file", "twelve bytes");
    directory.makeFile("large", 6'000'000'000);
    directory.makeHardLink("second name", "file");
    directory.makeFile("directory/below", 1);
    directory.makeDirectory("empty directory");
    directory.makeLink("link to file", "file");
    directory.makeLink("link to directory", "directory");
    directory.makeLink("link to nothing", "nothing");
    directory.makeFifo("fifo");
    directory.makeSocket("socket");
}

std::vector<ListedEntry> oneOfEach()
{
    return {listedDirectory("directory"),       listedFile("empty", 0),
            listedDirectory("empty directory"), listedFile("file", 12),
            listedFile("large", 6'000'000'000), listedFile("second name", 12)};
}

TEST(HostDirectoryReader, listsFilesWithTheirSizesAndDirectoriesAndNothingElse)
{
    const TemporaryDirectory directory;
    makeOneOfEach(directory);
    const Listing listing = listDirectory(*deviceFor(directory), "/");
    EXPECT_EQ(listing.error, 0);
    EXPECT_THAT(listing.sorted(), ElementsAreArray(oneOfEach()));
}

TEST(HostDirectoryReader, listsTheSameWhereTheFileSystemKeepsNoTypesInItsDirectories)
{
    const TemporaryDirectory directory;
    makeOneOfEach(directory);
    FailingSystemCalls calls;
    calls.hideEntryTypes();
    const Listing listing = listDirectory(*deviceFor(directory, &calls), "/");
    EXPECT_EQ(listing.error, 0);
    EXPECT_THAT(listing.sorted(), ElementsAreArray(oneOfEach()));
}

TEST(HostDirectoryReader, keepsAnEntryOfUnknownTypeThatCannotBeAskedAsAFile)
{
    const TemporaryDirectory directory;
    makeOneOfEach(directory);
    FailingSystemCalls calls;
    calls.hideEntryTypes();
    calls.failWhere(
        Function::StatAt, [](const FailingSystemCalls::Call &call) { return call.path == "file"; }, EIO);
    const Listing listing = listDirectory(*deviceFor(directory, &calls), "/");
    std::vector<ListedEntry> expected = oneOfEach();
    expected[3] = listedFile("file", 0, EIO);
    EXPECT_THAT(listing.sorted(), ElementsAreArray(expected));
}

TEST(HostDirectoryReader, findsNothingInAnEmptyDirectory)
{
    const TemporaryDirectory directory;
    const Listing listing = listDirectory(*deviceFor(directory), "/");
    EXPECT_EQ(listing.error, 0);
    EXPECT_THAT(listing.entries, IsEmpty());
}

TEST(HostDirectoryReader, keepsNamesOfAnyBytes)
{
    std::string everyByte; // but "/" and the end of a C string
    for (int byte = 1; byte < 256; ++byte) {
        if (byte != '/') {
            everyByte.push_back(static_cast<char>(byte));
        }
    }
    const std::string longest(255, 'n');
    const TemporaryDirectory directory;
    std::vector<std::string> names = {everyByte, longest,    "new\nline", "\x1b[31mred", "not utf-8 \xff\xfe",
                                      "...",     "..hidden", ".file",     " ",           "-rf",
                                      "\\x41",   "a\tb"};
    for (const std::string &name : names) {
        directory.makeFile(name, name.size());
    }
    std::sort(names.begin(), names.end());
    std::vector<ListedEntry> expected;
    expected.reserve(names.size());
    for (const std::string &name : names) {
        expected.push_back(listedFile(name, name.size()));
    }
    const auto device = deviceFor(directory);
    EXPECT_THAT(listDirectory(*device, "/").sorted(), ElementsAreArray(expected));
    for (const std::string &name : names) {
        EXPECT_EQ(device->status("/" + name)->sizeBytes, name.size());
        EXPECT_EQ(*device->resolve("/" + name), "/" + name);
    }
}

TEST(HostDirectoryReader, listsDirectoriesWithNamesOfAnyBytesFromInside)
{
    const TemporaryDirectory directory;
    const std::string odd = "a\nb\xff\x1b c";
    directory.makeFile(odd + "/" + std::string(255, 'm') + "/file", 3);
    const Listing listing = listDirectory(*deviceFor(directory), "/" + odd + "/" + std::string(255, 'm'));
    EXPECT_THAT(listing.entries, ElementsAre(listedFile("file", 3)));
}

TEST(HostDirectoryReader, listsADirectoryThatTakesManyCalls)
{
    constexpr int kFiles = 5000;
    const TemporaryDirectory directory;
    std::vector<ListedEntry> expected;
    for (int i = 0; i < kFiles; ++i) {
        const std::string name = "file " + std::to_string(100'000 + i);
        directory.makeFile("many/" + name, static_cast<std::uint64_t>(i));
        expected.push_back(listedFile(name, static_cast<std::uint64_t>(i)));
    }
    const Listing listing = listDirectory(*deviceFor(directory), "/many");
    EXPECT_EQ(listing.error, 0);
    EXPECT_GT(listing.stretches, 1U);
    EXPECT_THAT(listing.sorted(), ElementsAreArray(expected));
}

TEST(HostDirectoryReader, listsTheSameByThePortableWay)
{
    const TemporaryDirectory directory;
    makeOneOfEach(directory);
    for (int i = 0; i < 3000; ++i) {
        directory.makeFile("many/" + std::to_string(i), static_cast<std::uint64_t>(i));
    }
    FailingSystemCalls calls;
    calls.failEach(Function::ReadEntries, ENOSYS);
    const auto direct = deviceFor(directory);
    const auto portable = deviceFor(directory, &calls);
    const auto reader = portable->makeReader();
    for (const char *path : {"/", "/many", "/empty directory", "/directory"}) {
        const Listing listing = listDirectory(*reader, path);
        EXPECT_EQ(listing.error, 0) << path;
        EXPECT_THAT(listing.entries, ElementsAreArray(listDirectory(*direct, path).entries)) << path;
    }
    EXPECT_GT(listDirectory(*portable, "/many").stretches, 1U);
}

TEST(HostDirectoryReader, refusesToOpenWhatIsNoDirectory)
{
    const TemporaryDirectory directory;
    makeOneOfEach(directory);
    const auto device = deviceFor(directory);
    EXPECT_EQ(listDirectory(*device, "/missing").error, ENOENT);
    EXPECT_EQ(listDirectory(*device, "/missing/below").error, ENOENT);
    EXPECT_EQ(listDirectory(*device, "/file").error, ENOTDIR);
    EXPECT_EQ(listDirectory(*device, "/file/below").error, ENOTDIR);
    EXPECT_EQ(listDirectory(*device, "/fifo").error, ENOTDIR); // and does not wait for a writer
    EXPECT_EQ(listDirectory(*device, "/socket").error, ENOTDIR);
}

TEST(HostDirectoryReader, refusesADirectoryThatMayNotBeRead)
{
    const TemporaryDirectory directory;
    directory.makeFile("closed/file", 1);
    directory.makeFile("searchable/open/file", 1);
    directory.setMode("closed", 0);
    directory.setMode("searchable", 0311);
    asOrdinaryUser([&] {
        const auto device = deviceFor(directory);
        EXPECT_EQ(listDirectory(*device, "/closed").error, EACCES);
        EXPECT_THAT(listDirectory(*device, "/searchable/open").entries, ElementsAre(listedFile("file", 1)));
    });
}

TEST(HostDirectoryReader, listsNamesAloneWhereItMayReadButNotSearch)
{
    const TemporaryDirectory directory;
    directory.makeFile("list only/file", 7);
    directory.makeDirectory("list only/sub");
    directory.setMode("list only", 0444);
    asOrdinaryUser([&] {
        const Listing listing = listDirectory(*deviceFor(directory), "/list only");
        EXPECT_EQ(listing.error, 0);
        EXPECT_THAT(listing.sorted(), ElementsAre(listedFile("file", 0, EACCES), listedDirectory("sub")));
    });
}

TEST(HostDirectoryReader, goesOnWithTheNextDirectoryAfterAFailure)
{
    const TemporaryDirectory directory;
    directory.makeFile("a/file", 1);
    directory.makeFile("b/file", 2);
    const auto device = deviceFor(directory);
    const auto reader = device->makeReader();
    EXPECT_EQ(listDirectory(*reader, "/missing").error, ENOENT);
    EXPECT_THAT(listDirectory(*reader, "/a").entries, ElementsAre(listedFile("file", 1)));
    ASSERT_TRUE(reader->open("/a")); // and leaves it in the middle
    EXPECT_THAT(listDirectory(*reader, "/b").entries, ElementsAre(listedFile("file", 2)));
}

TEST(HostDirectoryReader, tellsTheIdentityOfWhatItOpened)
{
    const TemporaryDirectory directory;
    directory.makeDirectory("a/b");
    const auto device = deviceFor(directory);
    const auto reader = device->makeReader();
    for (const char *path : {"/", "/a", "/a/b"}) {
        EXPECT_EQ(*reader->open(path), device->status(path)->identity) << path;
    }
    EXPECT_NE(*reader->open("/a"), *reader->open("/a/b"));
}

TEST(HostDirectoryReader, keepsAFileThatVanishesWhileItIsListedAsAFailure)
{
    const TemporaryDirectory directory;
    directory.makeFile("stays", 1);
    directory.makeFile("vanishes", 2);
    FailingSystemCalls calls;
    calls.runBefore(Function::StatAt, [&](const FailingSystemCalls::Call &call) {
        if (call.path == "vanishes") {
            directory.remove("vanishes");
        }
    });
    const Listing listing = listDirectory(*deviceFor(directory, &calls), "/");
    EXPECT_EQ(listing.error, 0);
    EXPECT_THAT(listing.sorted(), ElementsAre(listedFile("stays", 1), listedFile("vanishes", 0, ENOENT)));
}

TEST(HostDirectoryReader, endsADirectoryThatVanishesWhileItIsListed)
{
    const TemporaryDirectory directory;
    directory.makeFile("vanishes/file", 2);
    FailingSystemCalls calls;
    calls.runBefore(Function::ReadEntries, [&](const FailingSystemCalls::Call &call) {
        if (call.number == 1) {
            directory.remove("vanishes");
        }
    });
    const Listing listing = listDirectory(*deviceFor(directory, &calls), "/vanishes");
    EXPECT_THAT(listing.entries, IsEmpty());
    EXPECT_EQ(listDirectory(*deviceFor(directory), "/vanishes").error, ENOENT);
}

/// What a file is replaced by between the listing and the question for its size.
struct Swap {
    const char *name;
    void (*replace)(const TemporaryDirectory &directory);
    ListedEntry expected;
};

class SwappedFile : public testing::TestWithParam<Swap> {};

TEST_P(SwappedFile, countsWhatItsPathGives)
{
    const TemporaryDirectory directory;
    directory.makeFile("d/swapped", 2);
    directory.makeFile("target", 40);
    FailingSystemCalls calls;
    bool done = false;
    calls.runBefore(Function::StatAt, [&](const FailingSystemCalls::Call &call) {
        if (call.path == "swapped" && !done) {
            done = true;
            directory.remove("d/swapped");
            GetParam().replace(directory);
        }
    });
    const Listing listing = listDirectory(*deviceFor(directory, &calls), "/d");
    EXPECT_TRUE(done);
    EXPECT_EQ(listing.error, 0);
    EXPECT_THAT(listing.entries, ElementsAre(GetParam().expected));
}

INSTANTIATE_TEST_SUITE_P(
    HostDirectoryReader, SwappedFile,
    testing::Values(Swap{"ByALinkToAFile",
                         [](const TemporaryDirectory &at) { at.makeLink("d/swapped", "../target"); },
                         listedFile("swapped", 40)},
                    Swap{"ByAnAbsoluteLinkThatStaysInTheRoot",
                         [](const TemporaryDirectory &at) { at.makeLink("d/swapped", "/target"); },
                         listedFile("swapped", 40)},
                    Swap{"ByALinkToNothing",
                         [](const TemporaryDirectory &at) { at.makeLink("d/swapped", "/etc/passwd"); },
                         listedFile("swapped", 0, ENOENT)},
                    Swap{"ByALinkToItself",
                         [](const TemporaryDirectory &at) { at.makeLink("d/swapped", "swapped"); },
                         listedFile("swapped", 0, ELOOP)},
                    Swap{"ByAnotherFile", [](const TemporaryDirectory &at) { at.makeFile("d/swapped", 9); },
                         listedFile("swapped", 9)},
                    Swap{"ByAFifo", [](const TemporaryDirectory &at) { at.makeFifo("d/swapped"); },
                         listedFile("swapped", 0)}),
    [](const testing::TestParamInfo<Swap> &swap) { return std::string(swap.param.name); });

TEST(HostDirectoryReader, countsAFileThatBecameADirectoryWithTheDirectorysOwnSize)
{
    const TemporaryDirectory directory;
    directory.makeFile("d/swapped", 2);
    FailingSystemCalls calls;
    bool done = false;
    calls.runBefore(Function::StatAt, [&](const FailingSystemCalls::Call &call) {
        if (call.path == "swapped" && !done) {
            done = true;
            directory.remove("d/swapped");
            directory.makeDirectory("d/swapped");
        }
    });
    const auto device = deviceFor(directory, &calls);
    const Listing listing = listDirectory(*device, "/d");
    EXPECT_THAT(listing.entries, ElementsAre(listedFile("swapped", device->status("/d/swapped")->sizeBytes)));
}

TEST(HostDirectoryReader, readsOnAfterAnInterruption)
{
    const TemporaryDirectory directory;
    makeOneOfEach(directory);
    FailingSystemCalls calls;
    calls.failNth(Function::ReadEntries, 1, EINTR);
    calls.failNth(Function::ReadEntries, 2, EINTR);
    const Listing listing = listDirectory(*deviceFor(directory, &calls), "/");
    EXPECT_EQ(listing.error, 0);
    EXPECT_THAT(listing.sorted(), ElementsAreArray(oneOfEach()));
}

TEST(HostDirectoryReader, keepsTheEntriesBeforeAReadError)
{
    const TemporaryDirectory directory;
    for (int i = 0; i < 5000; ++i) {
        directory.makeFile("many/file " + std::to_string(i), 3);
    }
    FailingSystemCalls calls;
    calls.failNth(Function::ReadEntries, 2, EIO);
    const Listing listing = listDirectory(*deviceFor(directory, &calls), "/many");
    EXPECT_EQ(listing.error, EIO);
    EXPECT_GT(listing.entries.size(), 0U);
    EXPECT_LT(listing.entries.size(), 5000U);
    for (const ListedEntry &entry : listing.entries) {
        EXPECT_EQ(entry.sizeBytes, 3U) << entry;
    }
}

TEST(HostDirectoryReader, readsInSeveralThreadsAtOnce)
{
    const TemporaryDirectory directory;
    for (int i = 0; i < 200; ++i) {
        const std::string name = std::to_string(i);
        directory.makeFile(name + "/file", static_cast<std::uint64_t>(i));
    }
    FailingSystemCalls calls;
    calls.failNth(Function::OpenWithoutLinks, 300, ENOSYS); // changes the way of opening on the way
    const auto device = deviceFor(directory, &calls);
    std::atomic<int> right = 0;
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&] {
            const auto reader = device->makeReader();
            for (int i = 0; i < 200; ++i) {
                const Listing listing = listDirectory(*reader, "/" + std::to_string(i));
                if (listing.entries ==
                    std::vector<ListedEntry>{listedFile("file", static_cast<std::uint64_t>(i))}) {
                    ++right;
                }
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(right, 800);
}

} // namespace
} // namespace slicewise
