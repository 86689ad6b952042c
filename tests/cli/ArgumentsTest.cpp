#include "cli/Arguments.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <variant>
#include <vector>

namespace slicewise {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

Arguments read(std::initializer_list<const char *> arguments)
{
    std::vector<const char *> all = {"slicewise-cli"};
    all.insert(all.end(), arguments);
    return readArguments(static_cast<int>(all.size()), all.data());
}

ScanArguments readScan(std::initializer_list<const char *> arguments)
{
    const Arguments result = read(arguments);
    EXPECT_TRUE(std::holds_alternative<ScanArguments>(result));
    return std::holds_alternative<ScanArguments>(result) ? std::get<ScanArguments>(result) : ScanArguments{};
}

std::string usageError(std::initializer_list<const char *> arguments)
{
    const Arguments result = read(arguments);
    if (!std::holds_alternative<ArgumentsAnswer>(result)) {
        ADD_FAILURE() << "accepted";
        return "";
    }
    const auto &answer = std::get<ArgumentsAnswer>(result);
    EXPECT_EQ(answer.status, 2);
    EXPECT_THAT(answer.text, StartsWith("slicewise-cli: "));
    EXPECT_THAT(answer.text, EndsWith(". See slicewise-cli --help.\n"));
    EXPECT_EQ(std::count(answer.text.begin(), answer.text.end(), '\n'), 1) << answer.text;
    return answer.text;
}

TEST(Arguments, withoutAnyItScansTheMachinesOwnDisk)
{
    const ScanArguments arguments = readScan({});
    EXPECT_EQ(arguments.root, "/");
    EXPECT_EQ(arguments.scope, FileSystemScope::AllLocal);
    EXPECT_EQ(arguments.path, "");
    EXPECT_FALSE(arguments.depth.has_value());
    EXPECT_FALSE(arguments.top.has_value());
    EXPECT_FALSE(arguments.json || arguments.errors || arguments.noProgress || arguments.quiet);
}

TEST(Arguments, scanIsTheCommandThatMayBeLeftOut)
{
    for (const auto &arguments : {readScan({"--root", "/mnt", "-x", "--path", "A/B", "--depth", "3", "--top",
                                            "4", "--errors", "--no-progress", "--quiet"}),
                                  readScan({"scan", "--root", "/mnt", "--one-file-system", "--path", "A/B",
                                            "--depth=3", "--top=4", "--errors", "--no-progress", "-q"})}) {
        EXPECT_EQ(arguments.root, "/mnt");
        EXPECT_EQ(arguments.scope, FileSystemScope::RootOnly);
        EXPECT_EQ(arguments.path, "A/B");
        EXPECT_EQ(arguments.depth, 3U);
        EXPECT_EQ(arguments.top, 4U);
        EXPECT_TRUE(arguments.errors && arguments.noProgress && arguments.quiet);
    }
    EXPECT_TRUE(readScan({"--json"}).json);
    EXPECT_TRUE(readScan({"scan", "--json", "--depth", "0"}).json);
}

TEST(Arguments, classifyTakesARootBeforeOrBehindAndManyPaths)
{
    for (const Arguments &result : {read({"classify", "--root", "/mnt", "/a", "/b"}),
                                    read({"--root", "/mnt", "classify", "/a", "/b"})}) {
        ASSERT_TRUE(std::holds_alternative<ClassifyArguments>(result));
        EXPECT_EQ(std::get<ClassifyArguments>(result).root, "/mnt");
        EXPECT_THAT(std::get<ClassifyArguments>(result).paths, ElementsAre("/a", "/b"));
    }
}

TEST(Arguments, deleteTakesCategoriesAndWhatConcernsTheWalk)
{
    const Arguments result =
        read({"-x", "delete", "--root", "/mnt", "Others/a", "--dry-run", "-q", "Logs/b"});
    ASSERT_TRUE(std::holds_alternative<DeleteArguments>(result));
    const auto &arguments = std::get<DeleteArguments>(result);
    EXPECT_THAT(arguments.categories, ElementsAre("Others/a", "Logs/b"));
    EXPECT_EQ(arguments.scan.root, "/mnt");
    EXPECT_EQ(arguments.scan.scope, FileSystemScope::RootOnly);
    EXPECT_TRUE(arguments.scan.quiet);
    EXPECT_TRUE(arguments.dryRun);
    EXPECT_FALSE(arguments.yes || arguments.readOnly || arguments.allowDelete);

    const Arguments other = read({"delete", "--yes", "--allow-delete", "--read-only", "x"});
    ASSERT_TRUE(std::holds_alternative<DeleteArguments>(other));
    EXPECT_EQ(std::get<DeleteArguments>(other).scan.root, "/");
    EXPECT_TRUE(std::get<DeleteArguments>(other).yes);
    EXPECT_TRUE(std::get<DeleteArguments>(other).allowDelete);
    EXPECT_TRUE(std::get<DeleteArguments>(other).readOnly);
}

TEST(Arguments, anArgumentInBracketsIsOnePathAndNoList)
{
    for (const char *path : {"[Others/a,Others/b]", "[]", "[Others/a]", "{}", "%%", "\1[x]"}) {
        const Arguments deletion = read({"delete", path, "Logs/b"});
        ASSERT_TRUE(std::holds_alternative<DeleteArguments>(deletion)) << path;
        EXPECT_THAT(std::get<DeleteArguments>(deletion).categories, ElementsAre(path, "Logs/b"));
        const Arguments classify = read({"classify", path});
        ASSERT_TRUE(std::holds_alternative<ClassifyArguments>(classify)) << path;
        EXPECT_THAT(std::get<ClassifyArguments>(classify).paths, ElementsAre(path));
    }
    EXPECT_EQ(readScan({"--root", "[x]", "--path", "[a,b]"}).root, "[x]");
    EXPECT_EQ(readScan({"--root", "[x]", "--path", "[a,b]"}).path, "[a,b]");
    EXPECT_THAT(usageError({"--depth", "[x]"}), HasSubstr(" [x]"));
}

TEST(Arguments, deleteNeedsACategoryAndItsOwnOptionsGoWithNothingElse)
{
    static_cast<void>(usageError({"delete"}));
    static_cast<void>(usageError({"delete", "--yes"}));
    static_cast<void>(usageError({"--yes"}));
    static_cast<void>(usageError({"scan", "--dry-run"}));
    static_cast<void>(usageError({"classify", "--allow-delete", "/x"}));
    EXPECT_EQ(usageError({"delete", "--top", "3", "x"}),
              "slicewise-cli: --top goes with a scan, not with delete. See slicewise-cli --help.\n");
    EXPECT_EQ(usageError({"--json", "delete", "x"}),
              "slicewise-cli: --json goes with a scan, not with delete. See slicewise-cli --help.\n");
}

TEST(Arguments, deleteHasAHelpOfItsOwn)
{
    const Arguments result = read({"delete", "--help"});
    ASSERT_TRUE(std::holds_alternative<ArgumentsAnswer>(result));
    const auto &answer = std::get<ArgumentsAnswer>(result);
    EXPECT_EQ(answer.status, 0);
    for (const char *option : {"--dry-run", "--yes", "--allow-delete", "CATEGORY"}) {
        EXPECT_THAT(answer.text, HasSubstr(option));
    }
}

TEST(Arguments, theTreeOfAllLevelsCanNotBeCutToItsTopRows)
{
    EXPECT_THAT(usageError({"--json", "--top", "3"}), HasSubstr("--top"));
}

TEST(Arguments, whatIsWrongIsSaidInOneSentenceWithWhereHelpIs)
{
    EXPECT_THAT(usageError({"--nonsense"}), HasSubstr("--nonsense"));
    EXPECT_THAT(usageError({"nonsense"}), HasSubstr("nonsense"));
    EXPECT_THAT(usageError({"--depth", "-1"}), HasSubstr("--depth"));
    EXPECT_THAT(usageError({"--depth", "many"}), HasSubstr("--depth"));
    EXPECT_THAT(usageError({"--top", "1.5"}), HasSubstr("--top"));
    EXPECT_THAT(usageError({"--root"}), HasSubstr("--root"));
    EXPECT_THAT(usageError({"classify"}), HasSubstr("PATH"));
    EXPECT_THAT(usageError({"classify", "--json", "/a"}), HasSubstr("--json"));
    EXPECT_THAT(usageError({"classify", "-x", "/a"}), HasSubstr("--one-file-system"));
}

TEST(Arguments, helpNamesEveryOptionAndTheExitStatuses)
{
    for (const auto &arguments : {read({"--help"}), read({"-h"}), read({"scan", "--help"})}) {
        ASSERT_TRUE(std::holds_alternative<ArgumentsAnswer>(arguments));
        const auto &help = std::get<ArgumentsAnswer>(arguments);
        EXPECT_EQ(help.status, 0);
        for (const char *word : {"--root DIR", "-x,--one-file-system", "--path CATEGORY", "--depth N",
                                 "--top N", "--json", "--errors", "--no-progress", "--quiet", "--help",
                                 "--version", "classify", "scan", "delete --help", "Exit status"}) {
            EXPECT_THAT(help.text, HasSubstr(word));
        }
    }
}

TEST(Arguments, versionIsTheProgramsNameAndAVersion)
{
    const Arguments result = read({"--version"});
    ASSERT_TRUE(std::holds_alternative<ArgumentsAnswer>(result));
    EXPECT_THAT(std::get<ArgumentsAnswer>(result).text,
                testing::MatchesRegex("slicewise-cli [0-9]+\\.[0-9]+\\.[0-9]+\n"));
    EXPECT_EQ(std::get<ArgumentsAnswer>(result).status, 0);
}

} // namespace
} // namespace slicewise
