#include "tests/support/TemporaryDirectory.h"

#include "tests/support/InChild.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <filesystem>
#include <string>

namespace slicewise {
namespace {

struct stat statusOf(const std::string &path)
{
    struct stat status = {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status;
}

TEST(TemporaryDirectory, makesWhatItIsAskedFor)
{
    const TemporaryDirectory directory;
    directory.makeFile("a/b/sparse", 1ULL << 33U);
    directory.writeFile("text", "content");
    directory.makeLink("link", "nothing");
    directory.makeHardLink("second", "text");
    directory.makeFifo("fifo");
    directory.makeSocket("socket");
    EXPECT_EQ(statusOf(directory.pathOf("a/b/sparse")).st_size, ::off_t{1} << 33U);
    EXPECT_EQ(statusOf(directory.pathOf("text")).st_size, 7);
    EXPECT_EQ(statusOf(directory.pathOf("second")).st_ino, statusOf(directory.pathOf("text")).st_ino);
    EXPECT_TRUE(S_ISLNK(statusOf(directory.pathOf("link")).st_mode));
    EXPECT_TRUE(S_ISFIFO(statusOf(directory.pathOf("fifo")).st_mode));
    EXPECT_TRUE(S_ISSOCK(statusOf(directory.pathOf("socket")).st_mode));
    directory.makeFile("text", 3); // once more
    EXPECT_EQ(statusOf(directory.pathOf("text")).st_size, 3);
}

TEST(TemporaryDirectory, goesWithAllThatIsInItHoweverDeep)
{
    std::string path;
    {
        const TemporaryDirectory directory;
        path = directory.path();
        const std::string chain = TemporaryDirectory::chain(600, "directory");
        ASSERT_GT(chain.size(), std::size_t{PATH_MAX});
        directory.makeFile(chain + "/file", 1);
        directory.makeFile("directory/beside", 1);
        directory.makeFifo("directory/directory/fifo");
        directory.makeFile(std::string(255, 'n') + "/new\nline\xff", 1);
    }
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(TemporaryDirectory, goesWithDirectoriesThatMayNotBeRead)
{
    asOrdinaryUser([] {
        std::string path;
        {
            const TemporaryDirectory directory;
            path = directory.path();
            directory.makeFile("a/b/file", 1);
            directory.setMode("a/b", 0);
            directory.setMode("a", 0);
        }
        EXPECT_FALSE(std::filesystem::exists(path));
    });
}

TEST(TemporaryDirectory, leavesWhatItsLinksLeadTo)
{
    const TemporaryDirectory kept;
    kept.makeFile("directory/file", 1);
    {
        const TemporaryDirectory directory;
        directory.makeLink("link", kept.pathOf("directory"));
        directory.makeLink("sub/link", kept.pathOf("directory/file"));
    }
    EXPECT_EQ(statusOf(kept.pathOf("directory/file")).st_size, 1);
}

TEST(TemporaryDirectory, removesOneThingAndNothingBesideIt)
{
    const TemporaryDirectory directory;
    directory.makeFile("a/b/c/file", 1);
    directory.makeFile("a/bb", 2);
    directory.remove("a/b");
    EXPECT_FALSE(std::filesystem::exists(directory.pathOf("a/b")));
    EXPECT_EQ(statusOf(directory.pathOf("a/bb")).st_size, 2);
    directory.rename("a/bb", "moved");
    directory.remove("moved");
    EXPECT_TRUE(std::filesystem::is_empty(directory.pathOf("a")));
}

} // namespace
} // namespace slicewise
