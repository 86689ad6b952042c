// Paths cut as texts, and bytes told from text.
#include "scan/PathText.h"

#include "scan/Utf8.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace slicewise {

namespace {
using ::testing::ElementsAre;
} // namespace

TEST(PathText, findsTheLastComponentAndWhatStandsBeforeIt)
{
    EXPECT_EQ(lastPathComponent("/a/b"), "b");
    EXPECT_EQ(lastPathComponent("/a/b//"), "b");
    EXPECT_EQ(lastPathComponent("b"), "b");
    EXPECT_EQ(lastPathComponent("/"), "/");
    EXPECT_EQ(lastPathComponent("//"), "/");
    EXPECT_EQ(lastPathComponent(""), "");
    EXPECT_EQ(withoutLastPathComponent("/a/b"), "/a");
    EXPECT_EQ(withoutLastPathComponent("/a/b/"), "/a");
    EXPECT_EQ(withoutLastPathComponent("/a//b"), "/a");
    EXPECT_EQ(withoutLastPathComponent("/a"), "/");
    EXPECT_EQ(withoutLastPathComponent("/"), "/");
    EXPECT_EQ(withoutLastPathComponent("a/b"), "a");
    EXPECT_EQ(withoutLastPathComponent("a"), "");
    EXPECT_EQ(withoutLastPathComponent(""), "");
}

TEST(PathText, findsTheExtensionOfTheLastComponentAlone)
{
    EXPECT_EQ(pathExtension("/a/Maps.app"), "app");
    EXPECT_EQ(pathExtension("/a/Maps.app/"), "app");
    EXPECT_EQ(pathExtension("Maps.tar.gz"), "gz");
    EXPECT_EQ(pathExtension("/a.app/Maps"), "");
    EXPECT_EQ(pathExtension(".app"), "");
    EXPECT_EQ(pathExtension("Maps."), "");
    EXPECT_EQ(pathExtension(""), "");
}

TEST(PathText, splitsAtEverySlash)
{
    EXPECT_THAT(splitAtSlashes("a/b/c"), ElementsAre("a", "b", "c"));
    EXPECT_THAT(splitAtSlashes("/a//b/"), ElementsAre("", "a", "", "b", ""));
    EXPECT_THAT(splitAtSlashes(""), ElementsAre(""));
}

TEST(Utf8, tellsTextFromOtherBytes)
{
    for (const std::string text :
         {"", "plain", "caf\xc3\xa9", "\xe5\x9c\xb0\xe5\x9b\xb3", "\xf0\x9f\x8d\x95", "\x7f\x01\n"}) {
        EXPECT_TRUE(isUtf8(text)) << text;
    }
    EXPECT_TRUE(isUtf8(std::string(100, '\0')));
    for (const std::string bytes : {"\xff", "caf\xe9", "\xc3", "a\x80", "\xc0\xaf", "\xed\xa0\x80",
                                    "\xf4\x90\x80\x80", "\xe0\x80\xaf", "\xf0\x9f\x8d", "\xc3\xa9\xc3"}) {
        EXPECT_FALSE(isUtf8(bytes));
    }
}

} // namespace slicewise
