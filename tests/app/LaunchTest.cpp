#include "app/Launch.h"

#include "app/SystemFont.h"
#include "tests/support/PlainUserIds.h"
#include "tests/support/ScopedVariable.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <optional>

namespace slicewise {
namespace {

TEST(Launch, rootDeletesFromItsOwnSystemOnlyWhenItIsTold)
{
    const PlainUserIds asRoot(0);
    const PlainUserIds asUser(501);
    const Privileges root = Privileges::afterEntry(&asRoot);
    const Privileges user = Privileges::afterEntry(&asUser);
    const Options plain;
    Options allowed;
    allowed.allowDelete = true;
    Options readOnly = allowed;
    readOnly.readOnly = true;
    EXPECT_FALSE(mayDelete(plain, root, true));
    EXPECT_TRUE(mayDelete(allowed, root, true));
    EXPECT_TRUE(mayDelete(plain, root, false));
    EXPECT_TRUE(mayDelete(plain, user, true));
    EXPECT_TRUE(mayDelete(plain, user, false));
    for (const Privileges &who : {root, user}) {
        EXPECT_FALSE(mayDelete(readOnly, who, true));
        EXPECT_FALSE(mayDelete(readOnly, who, false));
    }
}

TEST(Launch, onlyDeletingFromTheHostsOwnRootNeedsMoreThanTheUsersRights)
{
    Options options;
    EXPECT_TRUE(mayNeedRoot(options));
    options.readOnly = true;
    EXPECT_FALSE(mayNeedRoot(options));
    options = {};
    options.snapshot = "disk.png";
    EXPECT_FALSE(mayNeedRoot(options));
    options = {};
    options.root = "/mnt/phone";
    EXPECT_FALSE(mayNeedRoot(options));
    options.root = "//";
    EXPECT_FALSE(mayNeedRoot(options));
}

TEST(Launch, aScreenIsAPhonesWhenItsSmallerSideIs)
{
    EXPECT_EQ(idiomForScreen({390, 844}), UserInterfaceIdiom::Phone);
    EXPECT_EQ(idiomForScreen({844, 390}), UserInterfaceIdiom::Phone);
    EXPECT_EQ(idiomForScreen({599, 2000}), UserInterfaceIdiom::Phone);
    EXPECT_EQ(idiomForScreen({600, 600}), UserInterfaceIdiom::Pad);
    EXPECT_EQ(idiomForScreen({1920, 1080}), UserInterfaceIdiom::Pad);
}

TEST(Launch, theFirstWindowFillsAPhoneAndLeavesRoomOnADesktop)
{
    EXPECT_EQ(firstWindowSize({390, 844}, UserInterfaceIdiom::Phone), QSize(390, 844));
    EXPECT_EQ(firstWindowSize({390, 844}, UserInterfaceIdiom::Pad), QSize(390, 844));
    EXPECT_EQ(firstWindowSize({1920, 1080}, UserInterfaceIdiom::Pad), QSize(1024, 720));
    EXPECT_EQ(firstWindowSize({1920, 1080}, UserInterfaceIdiom::Phone), QSize(390, 844));
    EXPECT_EQ(firstWindowSize({820, 600}, UserInterfaceIdiom::Pad), QSize(820, 600));
}

TEST(Launch, aDisplayIsWhatTheEnvironmentNames)
{
    for (const char *named : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
        const ScopedVariable display("DISPLAY", std::nullopt);
        const ScopedVariable wayland("WAYLAND_DISPLAY", std::nullopt);
        const ScopedVariable platform("QT_QPA_PLATFORM", std::nullopt);
        EXPECT_FALSE(hasDisplay());
        const ScopedVariable set(named, "something");
        EXPECT_TRUE(hasDisplay()) << named;
        const ScopedVariable empty(named, "");
        EXPECT_FALSE(hasDisplay()) << named;
    }
}

TEST(Launch, saysWhyThereIsNoSnapshot)
{
    EXPECT_EQ(
        whyNoSnapshot("/nowhere/disk.png", ENOENT),
        "“/nowhere/disk.png” can't be written (No such file or directory). Give --snapshot another file.");
    EXPECT_EQ(whyNoSnapshot("a\nb", EACCES),
              "“a\\x0Ab” can't be written (Permission denied). Give --snapshot another file.");
}

TEST(SystemFont, isTheSystemsWhereItHasOne)
{
    EXPECT_EQ(familyInsteadOf("Cantarell", "Cantarell"), "");
    EXPECT_EQ(familyInsteadOf("Sans Serif", "Noto Sans"), "");
    EXPECT_EQ(familyInsteadOf("DejaVu Sans", "DejaVu Sans"), "") << "somebody wants it";
}

TEST(SystemFont, isABetterOneWhereThereIsOnlyTheLastResort)
{
    for (const char *any : {"Sans Serif", "Sans", "sans-serif", "system-ui", ""}) {
        EXPECT_EQ(familyInsteadOf(any, "DejaVu Sans"), "Inter") << any;
        EXPECT_EQ(familyInsteadOf(any, "Bitstream Vera Sans"), "Inter") << any;
    }
}

} // namespace
} // namespace slicewise
