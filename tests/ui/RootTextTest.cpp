#include "ui/RootText.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace slicewise {
namespace {

TEST(RootText, saysWhatToDoAboutEachKindOfFailure)
{
    EXPECT_EQ(whyNoRoot("/gone", ENOENT), "There is no directory “/gone”. Give --root one that exists.");
    EXPECT_EQ(whyNoRoot("/file", ENOTDIR),
              "“/file” is not a directory. Mount or extract an image, and give --root that directory.");
    for (const int denied : {EACCES, EPERM}) {
        EXPECT_EQ(whyNoRoot("/locked", denied),
                  "“/locked” may not be read by this user. Run it as root (with sudo).");
    }
    EXPECT_EQ(whyNoRoot("/broken", EIO),
              "“/broken” could not be opened (Input/output error). Give --root another directory.");
}

TEST(RootText, showsANameThatCouldBeTyped)
{
    EXPECT_EQ(whyNoRoot("a\nb", ENOENT), "There is no directory “a\\x0Ab”. Give --root one that exists.");
}

} // namespace
} // namespace slicewise
