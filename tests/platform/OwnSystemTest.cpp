#include "platform/OwnSystem.h"

#include "tests/support/PlainUserIds.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace slicewise {
namespace {

bool isOwn(const std::string &root)
{
    return isOwnSystem(*HostDevice::open(root).value());
}

TEST(OwnSystem, isTheHostsRootUnderWhateverName)
{
    const TemporaryDirectory folder;
    folder.makeLink("slash", "/");
    EXPECT_TRUE(isOwn("/"));
    EXPECT_TRUE(isOwn("/usr/.."));
    EXPECT_TRUE(isOwn(folder.pathOf("slash")));
}

TEST(OwnSystem, isNoOtherDirectory)
{
    const TemporaryDirectory folder;
    EXPECT_FALSE(isOwn(folder.path()));
    EXPECT_FALSE(isOwn("/usr"));
}

TEST(OwnSystem, aloneIsReadOnlyAndForRootAlone)
{
    const PlainUserIds asRoot(0);
    const PlainUserIds asUser(501);
    EXPECT_TRUE(isReadOnlyForRoot(Privileges::afterEntry(&asRoot), true));
    EXPECT_FALSE(isReadOnlyForRoot(Privileges::afterEntry(&asRoot), false));
    EXPECT_FALSE(isReadOnlyForRoot(Privileges::afterEntry(&asUser), true));
}

} // namespace
} // namespace slicewise
