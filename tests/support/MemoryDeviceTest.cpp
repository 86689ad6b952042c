#include "tests/support/MemoryDevice.h"

#include "tests/support/Listing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

namespace slicewise {
namespace {

using testing::ElementsAre;

TEST(MemoryDevice, listsEntriesInTheOrderInWhichTheyWereAdded)
{
    MemoryDevice device{{"/z", 1}, {"/dir/below", 2}, {"/a", 3}, {"/empty/", 0}};
    device.addLink("/link", "a");
    EXPECT_THAT(listDirectory(device, "/").entries,
                ElementsAre(listedFile("z", 1), listedDirectory("dir"), listedFile("a", 3),
                            listedDirectory("empty")));
    EXPECT_TRUE(listDirectory(device, "/empty").entries.empty());
}

TEST(MemoryDevice, givesAsManyEntriesAtATimeAsItIsTold)
{
    MemoryDevice device{{"/a", 1}, {"/b", 2}, {"/c", 3}};
    device.setStretch(2);
    EXPECT_EQ(listDirectory(device, "/").stretches, 2U);
    device.setStretch(1);
    EXPECT_EQ(listDirectory(device, "/").stretches, 3U);
}

TEST(MemoryDevice, refusesToOpenWhatIsNoDirectory)
{
    MemoryDevice device{{"/file", 1}, {"/d/", 0}};
    device.addLink("/link", "d");
    EXPECT_EQ(listDirectory(device, "/file").error, ENOTDIR);
    EXPECT_EQ(listDirectory(device, "/missing").error, ENOENT);
    EXPECT_EQ(listDirectory(device, "/link").error, ELOOP);
    EXPECT_EQ(device.status("/link")->type, FileType::Directory);
}

TEST(MemoryDevice, refusesToBeBuiltWrongly)
{
    MemoryDevice device{{"/file", 1}};
    EXPECT_THROW(device.addFile("/file", 2), std::invalid_argument);
    EXPECT_THROW(device.addFile("/file/below", 2), std::invalid_argument);
    EXPECT_THROW(device.addDirectory("/file"), std::invalid_argument);
    EXPECT_THROW(device.addFile("/", 2), std::invalid_argument);
    EXPECT_THROW(device.addLink("/link", ""), std::invalid_argument);
}

TEST(MemoryDevice, putsADirectoryAndWhatLiesBelowOnAnotherFileSystem)
{
    MemoryDevice device{{"/mnt/sub/file", 1}, {"/mnt2/file", 1}};
    device.addMount("/mnt", "nfs", {.identity = 7, .kind = FileSystemKind::Network, .capacityBytes = 1000});
    EXPECT_EQ(device.fileSystem("/mnt/sub/file")->identity, 7U);
    EXPECT_EQ(device.fileSystem("/mnt2")->identity, 1U);
    EXPECT_EQ(device.identity("/mnt/sub").device, 7U);
    device.addFile("/mnt/sub/later", 2);
    EXPECT_EQ(device.identity("/mnt/sub/later").device, 7U);
    ASSERT_EQ(device.mounts().size(), 1U);
    EXPECT_EQ(device.mounts()[0].path, "/mnt");
    EXPECT_EQ(device.mounts()[0].identity, std::nullopt);
}

TEST(MemoryDevice, showsABindMountsSourceUnderBothPaths)
{
    MemoryDevice device{{"/a/file", 5}};
    device.addBindMount("/mnt/b", "/a", "ext4");
    device.addFile("/a/later", 6);
    EXPECT_THAT(listDirectory(device, "/mnt/b").entries,
                ElementsAre(listedFile("file", 5), listedFile("later", 6)));
    EXPECT_EQ(device.identity("/a"), device.identity("/mnt/b"));
    EXPECT_EQ(device.mounts().at(0).identity, std::optional(device.identity("/a")));
}

TEST(MemoryDevice, givesADirectoryTheIdentityThatItIsTold)
{
    MemoryDevice device{{"/a/", 0}, {"/b/", 0}};
    EXPECT_NE(device.identity("/a"), device.identity("/b"));
    device.setIdentity("/b", device.identity("/a"));
    EXPECT_EQ(*device.makeReader()->open("/b"), *device.makeReader()->open("/a"));
}

TEST(MemoryDevice, givesTheContentOfAFileAndNullBytesWhereThereIsNone)
{
    MemoryDevice device{{"/d/sized", 3}};
    device.setContent("/d/text", "bytes");
    device.addLink("/link", "d/text");
    EXPECT_EQ(*readFile(device, "/link", 100), "bytes");
    EXPECT_EQ(*readFile(device, "/d/sized", 100), std::string(3, '\0'));
    EXPECT_EQ(device.status("/d/text")->sizeBytes, 5U);
    EXPECT_EQ(device.openFile("/d").error(), EISDIR);
    EXPECT_EQ(device.openFile("/missing").error(), ENOENT);
    EXPECT_THROW(device.setContent("/d", "text"), std::invalid_argument);
    const std::unique_ptr<ReadableFile> file = std::move(device.openFile("/d/text")).value();
    device.setContent("/d/text", "other text");
    std::array<std::byte, 4> bytes{};
    EXPECT_EQ(*file->readAt(3, bytes), 2U);
    EXPECT_EQ(bytes[0], std::byte{'e'});
    EXPECT_EQ(*file->readAt(5, bytes), 0U);
    EXPECT_EQ(*file->readAt(50, bytes), 0U);
    EXPECT_TRUE(*file->lockShared(0, 1));
    EXPECT_EQ(*readFile(device, "/d/text", 100), "other text");
}

TEST(MemoryDevice, namesAllEntriesOfADirectoryLinksIncluded)
{
    MemoryDevice device{{"/z", 1}, {"/dir/below", 2}};
    device.addLink("/link", "dir");
    EXPECT_THAT(*device.entryNames("/"), ElementsAre("z", "dir", "link"));
    EXPECT_THAT(*device.entryNames("/link"), ElementsAre("below"));
    EXPECT_EQ(device.entryNames("/z").error(), ENOTDIR);
}

TEST(MemoryDevice, removesAsAHostWould)
{
    MemoryDevice device{{"/a/b/file", 1}, {"/a/b/c/other", 2}, {"/a/file", 3}};
    device.addLink("/a/link", "/a/file");
    const auto remover = device.makeRemover();
    for (const char *path : {"/", "", "/a/..", "/a/../a/file"}) {
        EXPECT_EQ(remover->remove(path).error(), EINVAL) << path;
    }
    EXPECT_EQ(remover->remove("/a/missing").error(), ENOENT);
    EXPECT_EQ(remover->remove("/a/file/below").error(), ENOTDIR);
    EXPECT_EQ(remover->remove("/a/link").error(), ELOOP);
    EXPECT_EQ(remover->remove("/a/link/below").error(), ELOOP);
    EXPECT_EQ(*remover->remove("/a/b"), 4U);
    EXPECT_EQ(device.status("/a/b/file").error(), ENOENT);
    EXPECT_EQ(*remover->remove("/a/file"), 1U);
    EXPECT_THAT(*device.entryNames("/a"), ElementsAre("link"));
    EXPECT_EQ(*remover->remove("/a"), 2U) << "the link goes as a link";
}

TEST(MemoryDevice, leavesWhatIsMountedWhereItIs)
{
    MemoryDevice device{{"/a/file", 1}, {"/a/b/disk/file", 2}};
    device.addMount("/a/b/disk", "ext4", {.identity = 7});
    const auto remover = device.makeRemover();
    EXPECT_EQ(remover->remove("/a/b/disk").error(), EBUSY);
    EXPECT_EQ(remover->remove("/a").error(), EBUSY);
    EXPECT_EQ(device.status("/a/file").error(), ENOENT);
    EXPECT_EQ(device.status("/a/b/disk/file")->sizeBytes, 2U);
}

} // namespace
} // namespace slicewise
