#include "app/Options.h"

#include "SlicewiseVersion.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <string>
#include <variant>
#include <vector>

namespace slicewise {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

std::variant<Options, OptionsAnswer> read(std::initializer_list<const char *> arguments)
{
    std::vector<const char *> all = {"slicewise"};
    all.insert(all.end(), arguments);
    return readOptions(static_cast<int>(all.size()), all.data());
}

Options accepted(std::initializer_list<const char *> arguments)
{
    const auto result = read(arguments);
    if (const auto *answer = std::get_if<OptionsAnswer>(&result)) {
        ADD_FAILURE() << answer->text;
        return {};
    }
    return std::get<Options>(result);
}

OptionsAnswer answer(std::initializer_list<const char *> arguments)
{
    const auto result = read(arguments);
    if (std::holds_alternative<Options>(result)) {
        ADD_FAILURE() << "accepted";
        return {};
    }
    return std::get<OptionsAnswer>(result);
}

std::string usageError(std::initializer_list<const char *> arguments)
{
    const OptionsAnswer said = answer(arguments);
    EXPECT_EQ(said.status, 2);
    EXPECT_THAT(said.text, StartsWith("slicewise: "));
    EXPECT_THAT(said.text, EndsWith(". See slicewise --help.\n"));
    EXPECT_EQ(std::count(said.text.begin(), said.text.end(), '\n'), 1) << said.text;
    return said.text;
}

TEST(Options, withoutAnyItLooksAtTheMachinesOwnDisk)
{
    const Options options = accepted({});
    EXPECT_EQ(options.root, "/");
    EXPECT_EQ(options.scope, FileSystemScope::AllLocal);
    EXPECT_FALSE(options.readOnly || options.allowDelete || options.quiet);
    EXPECT_FALSE(options.idiom.has_value());
    EXPECT_EQ(options.appearance, AppearanceWish::AsSystem);
    EXPECT_FALSE(options.snapshot.has_value());
}

TEST(Options, areTakenAsTheCommandLineHasThem)
{
    const Options options = accepted({"--root", "/mnt/phone", "-x", "--read-only", "--allow-delete", "-q"});
    EXPECT_EQ(options.root, "/mnt/phone");
    EXPECT_EQ(options.scope, FileSystemScope::RootOnly);
    EXPECT_TRUE(options.readOnly);
    EXPECT_TRUE(options.allowDelete);
    EXPECT_TRUE(options.quiet);
    EXPECT_EQ(accepted({"--one-file-system"}).scope, FileSystemScope::RootOnly);
    EXPECT_TRUE(accepted({"--quiet"}).quiet);
}

TEST(Options, takeAFolderAsAFileManagerHandsItOver)
{
    EXPECT_EQ(accepted({"/mnt/phone"}).root, "/mnt/phone");
    EXPECT_EQ(accepted({"--read-only", "phone"}).root, "phone");
    EXPECT_EQ(accepted({"[a,b]"}).root, "[a,b]");
    EXPECT_EQ(accepted({"--", "-x"}).root, "-x");
    EXPECT_EQ(accepted({""}).root, accepted({"--root", ""}).root);
}

TEST(Options, takeOneFolderOnly)
{
    EXPECT_THAT(usageError({"--root", "/mnt/phone", "/mnt/tablet"}), HasSubstr("excludes"));
    EXPECT_THAT(usageError({"/mnt/phone", "/mnt/tablet"}), HasSubstr("expected: /mnt/tablet"));
}

TEST(Options, nameTheIdiom)
{
    EXPECT_EQ(accepted({"--idiom", "phone"}).idiom, UserInterfaceIdiom::Phone);
    EXPECT_EQ(accepted({"--idiom", "pad"}).idiom, UserInterfaceIdiom::Pad);
    EXPECT_THAT(usageError({"--idiom", "watch"}), HasSubstr("watch not in {phone,pad}"));
    EXPECT_THAT(usageError({"--idiom"}), HasSubstr("--idiom: 1 required phone|pad missing"));
}

TEST(Options, nameTheAppearanceButNotTwo)
{
    EXPECT_EQ(accepted({"--dark"}).appearance, AppearanceWish::Dark);
    EXPECT_EQ(accepted({"--light"}).appearance, AppearanceWish::Light);
    EXPECT_THAT(usageError({"--dark", "--light"}), HasSubstr("excludes --"));
}

TEST(Options, takeASnapshotOfASize)
{
    const Options usual = accepted({"--snapshot", "disk.png"});
    EXPECT_EQ(usual.snapshot, "disk.png");
    EXPECT_EQ(usual.snapshotSize, QSize(1024, 720));
    EXPECT_EQ(accepted({"--snapshot", "a", "--size", "320x480"}).snapshotSize, QSize(320, 480));
    EXPECT_EQ(accepted({"--snapshot", "a", "--size", "200x8192"}).snapshotSize, QSize(200, 8192));
}

TEST(Options, refuseWhatIsNoSize)
{
    for (const char *size : {"320", "x", "320x", "x480", "320x480x5", "199x480", "320x8193", "-320x480",
                             "320 x480", "+320x480", "99999999999x480", ""}) {
        EXPECT_EQ(
            usageError({"--snapshot", "a", "--size", size}),
            "slicewise: --size takes two numbers from 200 to 8192, as in 1024x720. See slicewise --help.\n")
            << size;
    }
    EXPECT_THAT(usageError({"--size", "320x480"}), HasSubstr("--size requires --snapshot"));
}

TEST(Options, refuseWhatTheyDoNotKnow)
{
    EXPECT_THAT(usageError({"--wrong"}), HasSubstr("The following argument was not expected: --wrong"));
    EXPECT_THAT(usageError({"--root"}), HasSubstr("--root: 1 required DIR missing"));
    // Qt's own are ours to refuse: it never sees them.
    EXPECT_THAT(usageError({"-platform", "offscreen"}), HasSubstr("not expected"));
}

TEST(Options, leaveNamesInBracketsWhole)
{
    EXPECT_EQ(accepted({"--root", "[a,b]"}).root, "[a,b]");
    EXPECT_EQ(accepted({"--snapshot", "[a,b]"}).snapshot, "[a,b]");
    EXPECT_THAT(usageError({"a", "[a,b]"}), HasSubstr("expected: [a,b]"));
}

TEST(Options, sayTheVersion)
{
    const OptionsAnswer said = answer({"--version"});
    EXPECT_EQ(said.status, 0);
    EXPECT_EQ(said.text, "slicewise " SLICEWISE_VERSION "\n");
}

TEST(Options, explainEveryOption)
{
    for (const char *option : {"-h", "--help"}) {
        const OptionsAnswer said = answer({option});
        EXPECT_EQ(said.status, 0);
        for (const char *named :
             {"slicewise [OPTIONS] [DIR]", "The same as --root DIR", "--root DIR", "-x,--one-file-system",
              "--read-only", "--allow-delete", "-q,--quiet", "--idiom phone|pad", "--dark", "--light",
              "--snapshot FILE.png", "--size WxH", "--help", "--version",
              "Exit status: 0 done, 1 could not do it, 2 wrong usage."}) {
            EXPECT_THAT(said.text, HasSubstr(named));
        }
    }
}

} // namespace
} // namespace slicewise
