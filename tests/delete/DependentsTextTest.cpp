#include "delete/DependentsText.h"

#include <gtest/gtest.h>

#include <string>

namespace slicewise {
namespace {

/// What the package tool says where `count` packages, B, C and so on, need A.
std::string outputFor(int count)
{
    std::string text = "dpkg: dependency problems prevent removal of A:\n";
    for (int number = 0; number < count; ++number) {
        text += std::string(" ") + static_cast<char>('B' + number) + " depends on A (>= 1.0).\n";
    }
    return text + "\ndpkg: error processing package A (--remove):\n dependency problems - not removing\n"
                  "Errors were encountered while processing:\n A\n";
}

TEST(DependentsText, namesUpToFourPackagesThatNeedThisOne)
{
    EXPECT_EQ(dependentsText("A", outputFor(1)), "A is required by B");
    EXPECT_EQ(dependentsText("A", outputFor(2)), "A is required by B and C");
    EXPECT_EQ(dependentsText("A", outputFor(3)), "A is required by B, C and D");
    EXPECT_EQ(dependentsText("A", outputFor(4)), "A is required by B, C, D and E");
}

TEST(DependentsText, countsTheOthersAsOneFromTheFifthOn)
{
    for (const int count : {5, 6, 20}) {
        EXPECT_EQ(dependentsText("A", outputFor(count)), "A is required by B, C, D, E and other packages")
            << count;
    }
}

TEST(DependentsText, endsInABlankWhereNoneIsNamed)
{
    EXPECT_EQ(dependentsText("A", ""), "A is required by ");
    EXPECT_EQ(dependentsText("A", outputFor(0)), "A is required by ");
    EXPECT_EQ(dependentsText("A", "\n\n\n"), "A is required by ");
    EXPECT_EQ(dependentsText("A", "dpkg: error: dpkg frontend lock was locked by another process\n"),
              "A is required by ");
}

TEST(DependentsText, takesTheFirstWordOfALineWhateverBlanksAreAroundIt)
{
    EXPECT_EQ(dependentsText("bar", "  libfoo depends on bar (>= 1.0).\n tool depends on bar.\n"),
              "bar is required by libfoo and tool");
    EXPECT_EQ(dependentsText("bar", "\t \r libfoo depends on bar \t\r\ntool  depends on bar"),
              "bar is required by libfoo and tool");
    EXPECT_EQ(dependentsText("bar", "a\tb depends on bar\n"), "bar is required by a\tb");
}

TEST(DependentsText, takesAnyLineThatHoldsTheWordsBetweenBlanks)
{
    EXPECT_EQ(dependentsText("bar", " package libfoo depends on bar; however:\n"),
              "bar is required by package");
    EXPECT_EQ(dependentsText("bar", " depends on bar\n"), "bar is required by depends");
    EXPECT_EQ(dependentsText("bar", "libfoo depends on \n"), "bar is required by libfoo");
    for (const char *line : {"libfoo depends on\n", "libfoo depends  on bar\n", "libfoo Depends on bar\n",
                             "libfoo\tdepends on bar\n", "depends on bar\n", "libfoo depends\non bar\n",
                             "libfoo recommends bar\n"}) {
        EXPECT_EQ(dependentsText("bar", line), "bar is required by ") << line;
    }
}

TEST(DependentsText, countsAPackageAsOftenAsItIsNamed)
{
    const std::string twice = " tool depends on bar.\n tool depends on bar (>= 2).\n";
    EXPECT_EQ(dependentsText("bar", twice), "bar is required by tool and tool");
    EXPECT_EQ(dependentsText("bar", twice + twice + twice),
              "bar is required by tool, tool, tool, tool and other packages");
}

TEST(DependentsText, takesALastLineThatIsCutOffAsFarAsItGoes)
{
    EXPECT_EQ(dependentsText("bar", " libfoo depends on bar.\n tool depends on ba"),
              "bar is required by libfoo and tool");
    EXPECT_EQ(dependentsText("bar", " libfoo depends on bar.\n tool depends on"),
              "bar is required by libfoo");
    EXPECT_EQ(dependentsText("bar", " libfoo depends on bar.\n too"), "bar is required by libfoo");
}

TEST(DependentsText, takesThePackagesNameAsItIs)
{
    EXPECT_EQ(dependentsText("libc6:amd64", " tool:i386 depends on libc6:amd64.\n"),
              "libc6:amd64 is required by tool:i386");
    EXPECT_EQ(dependentsText("{} %s", " {} depends on x"), "{} %s is required by {}");
}

} // namespace
} // namespace slicewise
