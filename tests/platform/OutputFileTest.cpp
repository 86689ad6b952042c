#include "platform/OutputFile.h"

#include "tests/support/InChild.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace slicewise {
namespace {

std::string contentOf(const std::string &path)
{
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

TEST(OutputFile, isMadeAtOnceAndFilledLater)
{
    const TemporaryDirectory folder;
    Result<OutputFile> file = OutputFile::open(folder.pathOf("new"));
    ASSERT_TRUE(file);
    EXPECT_TRUE(std::filesystem::exists(folder.pathOf("new")));
    EXPECT_EQ(file->replaceContent(std::string("a\0b", 3)), 0);
    EXPECT_EQ(contentOf(folder.pathOf("new")), std::string("a\0b", 3));
}

TEST(OutputFile, keepsWhatIsThereUntilItIsReplacedByAllThatComesInstead)
{
    const TemporaryDirectory folder;
    folder.writeFile("old", "something longer");
    Result<OutputFile> file = OutputFile::open(folder.pathOf("old"));
    ASSERT_TRUE(file);
    EXPECT_EQ(contentOf(folder.pathOf("old")), "something longer");
    EXPECT_EQ(file->replaceContent("short"), 0);
    EXPECT_EQ(contentOf(folder.pathOf("old")), "short");
}

TEST(OutputFile, saysWhyItCantBeWritten)
{
    const TemporaryDirectory folder;
    EXPECT_EQ(OutputFile::open(folder.pathOf("nowhere/new")).error(), ENOENT);
    EXPECT_EQ(OutputFile::open(folder.path()).error(), EISDIR);
    folder.makeDirectory("locked");
    folder.setMode("locked", 0555);
    asOrdinaryUser([&] { EXPECT_EQ(OutputFile::open(folder.pathOf("locked/new")).error(), EACCES); });
}

TEST(OutputFile, writesToWhatHasNoEndToCutOff)
{
    Result<OutputFile> nothing = OutputFile::open("/dev/null");
    ASSERT_TRUE(nothing);
    EXPECT_EQ(nothing->replaceContent("gone"), 0);
    Result<OutputFile> full = OutputFile::open("/dev/full");
    ASSERT_TRUE(full);
    EXPECT_EQ(full->replaceContent("too much"), ENOSPC);
}

} // namespace
} // namespace slicewise
