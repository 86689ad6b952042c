#include "tests/support/GeneratedDevice.h"

#include "tests/support/Listing.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <set>
#include <string>
#include <vector>

namespace slicewise {
namespace {

struct Counted {
    std::uint64_t files = 0;
    std::uint64_t directories = 0;
    std::uint64_t bytes = 0;
    std::set<FileIdentity, bool (*)(const FileIdentity &, const FileIdentity &)> identities{
        [](const FileIdentity &left, const FileIdentity &right) { return left.inode < right.inode; }};
};

// Lists everything, and asks for each entry what it is.
Counted countAll(const Device &device)
{
    Counted counted;
    std::vector<std::string> left = {""};
    while (!left.empty()) {
        const std::string directory = left.back();
        left.pop_back();
        ++counted.directories;
        const Listing listing = listDirectory(device, directory.empty() ? "/" : directory);
        EXPECT_EQ(listing.error, 0) << directory;
        for (const ListedEntry &entry : listing.entries) {
            const std::string path = directory + "/" + entry.name;
            const Result<FileStatus> status = device.status(path);
            EXPECT_TRUE(status) << path;
            EXPECT_EQ(*device.resolve(path), path);
            if (entry.type == EntryType::Directory) {
                EXPECT_EQ(status->type, FileType::Directory) << path;
                left.push_back(path);
            } else {
                EXPECT_EQ(status->type, FileType::RegularFile) << path;
                EXPECT_EQ(status->sizeBytes, entry.sizeBytes) << path;
                ++counted.files;
                counted.bytes += entry.sizeBytes;
            }
            EXPECT_TRUE(counted.identities.insert(status->identity).second) << path;
        }
    }
    return counted;
}

TEST(GeneratedDevice, holdsAsManyFilesAsItSaysInAnyShape)
{
    for (const GeneratedDevice::Shape &shape : {
             GeneratedDevice::Shape{.files = 0, .filesPerDirectory = 5, .directoriesPerDirectory = 2},
             GeneratedDevice::Shape{.files = 1, .filesPerDirectory = 1, .directoriesPerDirectory = 1},
             GeneratedDevice::Shape{.files = 3000, .filesPerDirectory = 20, .directoriesPerDirectory = 8},
             GeneratedDevice::Shape{.files = 3000, .filesPerDirectory = 2500, .directoriesPerDirectory = 3},
             GeneratedDevice::Shape{.files = 300, .filesPerDirectory = 1, .directoriesPerDirectory = 1},
             GeneratedDevice::Shape{.files = 2500, .filesPerDirectory = 1, .directoriesPerDirectory = 2000},
         }) {
        const GeneratedDevice device(shape);
        const Counted counted = countAll(device);
        EXPECT_EQ(counted.files, shape.files);
        EXPECT_EQ(counted.files, device.fileCount());
        EXPECT_EQ(counted.directories, device.directoryCount());
        EXPECT_EQ(counted.bytes, device.totalBytes());
    }
}

TEST(GeneratedDevice, knowsNothingElse)
{
    const GeneratedDevice device({.files = 100, .filesPerDirectory = 10, .directoriesPerDirectory = 3});
    for (const char *path : {"/missing", "/d3", "/d03", "/d-1", "/d", "/file-10.bin", "/file-00.bin",
                             "/d0/file-0.bin", "/file-0.bin/below", "/d0/d0/d0", "/file-.bin"}) {
        EXPECT_EQ(device.status(path).error(), ENOENT) << path;
        EXPECT_EQ(listDirectory(device, path).error, ENOENT) << path;
    }
    EXPECT_EQ(device.status("/file-0.bin").error(), 0);
    EXPECT_EQ(device.status("/d0/file-10.bin").error(), 0);
}

TEST(GeneratedDevice, scattersSizesAndHasEmptyFilesToo)
{
    std::set<std::uint64_t> sizes;
    for (std::uint64_t file = 0; file < 1000; ++file) {
        const std::uint64_t size = GeneratedDevice::sizeOfFile(file);
        EXPECT_LT(size, 1U << 20U);
        sizes.insert(size);
    }
    EXPECT_GT(sizes.size(), 900U);
    EXPECT_TRUE(sizes.contains(0));
}

} // namespace
} // namespace slicewise
