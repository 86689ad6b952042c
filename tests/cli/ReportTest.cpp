#include "tests/cli/CliFixture.h"
#include "ui/NameText.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <vector>

namespace slicewise {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

constexpr std::uint64_t kMega = 1024UL * 1024;

class Report : public CliFixture {
protected:
    Report()
    {
        folder().makeFile("usr/lib/libz.so", 6 * kMega);
        folder().makeFile("home/me/film.mkv", 3 * kMega);
        folder().makeFile("home/me/song.ogg", kMega / 2);
        folder().makeFile("home/you/notes", 100);
        folder().makeFile("private/var/mobile/Library/SMS/sms.db", kMega);
    }

    // The names of a report's rows, in order, indentation kept.
    [[nodiscard]] static std::vector<std::string> rowNames(const std::string &report)
    {
        std::vector<std::string> names;
        const std::vector<std::string> lines = linesOf(report);
        for (std::size_t i = 2; i < lines.size() && !lines[i].empty(); ++i) {
            const std::string row = lines[i].substr(2);
            const std::size_t start = row.find_first_not_of(' ');
            names.push_back(row.substr(0, row.find("  ", start)));
        }
        return names;
    }

    // A report on a terminal, and whether it stays within its width.
    [[nodiscard]] std::string onTerminal(
        std::vector<std::string> arguments, unsigned short columns,
        std::vector<std::pair<std::string, std::string>> environment = {}) const
    {
        ProgramRun run = onFolder(std::move(arguments));
        std::erase_if(run.environment, [](const auto &variable) { return variable.first == "COLUMNS"; });
        for (auto &variable : environment) {
            run.environment.push_back(std::move(variable));
        }
        run.arguments.emplace_back("--no-progress");
        const ProgramResult result = runProgramOnTerminal(run, {.columns = columns, .lines = 24});
        EXPECT_EQ(result.exitStatus, 0);
        return result.standardOutput;
    }

    [[nodiscard]] static std::string withoutColors(const std::string &text)
    {
        std::string plain;
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (text.compare(i, 2, "\x1b[") == 0) {
                i = text.find('m', i);
            } else if (text[i] != '\r') {
                plain.push_back(text[i]);
            }
        }
        return plain;
    }
};

TEST_F(Report, hasAHeadlineARowForEachChildTheLargestFirstAndAClosingLine)
{
    const std::string report = outputOf({});
    const std::vector<std::string> lines = linesOf(report);
    EXPECT_THAT(lines.front(), MatchesRegex("Disk  10\\.5 MB used out of [0-9.]+ [kMGTP]B"));
    EXPECT_THAT(rowNames(report), ElementsAre("Operating System", "Others", "Messages"));
    EXPECT_THAT(lines[2], EndsWith("    6 MB   57.1 %"));
    EXPECT_THAT(lines[3], EndsWith("  3.5 MB   33.3 %"));
    EXPECT_THAT(lines[4], EndsWith("    1 MB    9.5 %"));
    EXPECT_THAT(lines.back(), MatchesRegex("5 files in 11 directories, 0\\.[0-9][0-9] s"));
}

TEST_F(Report, theBarsAreAsLongAsTheSizesAreLarge)
{
    const std::vector<std::string> lines = linesOf(outputOf({}));
    const auto blocks = [](const std::string &line) {
        std::size_t count = 0;
        for (std::size_t at = 0; (at = line.find("█", at)) != std::string::npos; ++at) {
            ++count;
        }
        return count;
    };
    ASSERT_GT(blocks(lines[2]), 20U);
    EXPECT_NEAR(static_cast<double>(blocks(lines[3])), static_cast<double>(blocks(lines[2])) * 3.5 / 6, 1);
    EXPECT_NEAR(static_cast<double>(blocks(lines[4])), static_cast<double>(blocks(lines[2])) / 6, 1);
}

TEST_F(Report, pathShowsAnotherLevelUnderItsName)
{
    const std::string report = outputOf({"--path", "Others/home"});
    EXPECT_EQ(linesOf(report).front(), "Others/home  3.5 MB");
    EXPECT_THAT(rowNames(report), ElementsAre("me", "you"));
    EXPECT_EQ(rowNames(outputOf({"--path", "Others/home/"})), rowNames(report));
}

TEST_F(Report, aFileSaysWhereItLies)
{
    const std::string report = outputOf({"--path", "Messages/sms.db"});
    EXPECT_THAT(report, StartsWith("Messages/sms.db  1 MB\n\n"));
    EXPECT_THAT(report, HasSubstr("The file /private/var/mobile/Library/SMS/sms.db\n"));
}

TEST_F(Report, depthShowsMoreLevelsBelowTheirParents)
{
    const std::vector<std::string> names = rowNames(outputOf({"--path", "Others", "--depth", "3"}));
    EXPECT_THAT(names, ElementsAre("home", "  me", "    film.mkv", "    song.ogg", "  you", "    notes"));
    EXPECT_TRUE(rowNames(outputOf({"--depth", "0"})).empty());
}

TEST_F(Report, whatTopLeavesOutIsOneRowSoThatNothingIsMissing)
{
    const std::string report = outputOf({"--top", "1"});
    EXPECT_THAT(rowNames(report), ElementsAre("Operating System", "(2 more)"));
    EXPECT_THAT(linesOf(report)[3], EndsWith("4.5 MB   42.9 %"));
    EXPECT_THAT(rowNames(outputOf({"--top", "3"})), ElementsAre("Operating System", "Others", "Messages"));
    EXPECT_THAT(rowNames(outputOf({"--path", "Others", "--depth", "3", "--top", "1"})),
                ElementsAre("home", "  me", "    film.mkv", "    (1 more)", "  (1 more)"));
}

TEST_F(Report, aCategoryThatDoesNotExistIsOneSentence)
{
    const ProgramResult result = run({"--path", "Others/nowhere\n"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_EQ(result.standardError,
              "slicewise-cli: There is no category “Others/nowhere\\x0A”. Without --path it "
              "shows which there are.\n");
}

TEST_F(Report, quietLeavesOnlyTheTable)
{
    const std::vector<std::string> lines = linesOf(outputOf({"--quiet"}));
    ASSERT_EQ(lines.size(), 5U);
    EXPECT_THAT(lines.back(), HasSubstr("Messages"));
}

TEST_F(Report, isInColourOnATerminalOnly)
{
    EXPECT_THAT(outputOf({}), Not(HasSubstr("\x1b")));
    EXPECT_THAT(onTerminal({}, 80),
                AllOf(HasSubstr("\x1b[38;5;27m■\x1b[0m Operating System"), HasSubstr("\x1b[1mDisk")));
    EXPECT_THAT(onTerminal({}, 80, {{"COLORTERM", "truecolor"}}),
                AllOf(HasSubstr("\x1b[38;2;1;85;255m■"), HasSubstr("\x1b[38;2;96;208;48m■"),
                      HasSubstr("\x1b[38;2;231;40;40m■")));
    EXPECT_THAT(onTerminal({}, 80, {{"NO_COLOR", "1"}}), Not(HasSubstr("\x1b")));
    EXPECT_THAT(onTerminal({}, 80, {{"TERM", "dumb"}}), Not(HasSubstr("\x1b")));
}

TEST_F(Report, rowsFromTheNinthOnAreGrey)
{
    for (int i = 0; i < 10; ++i) {
        folder().makeFile("many/" + std::to_string(i), static_cast<std::uint64_t>(100 - i));
    }
    const std::vector<std::string> lines =
        linesOf(onTerminal({"--path", "Others/many"}, 80, {{"COLORTERM", "truecolor"}}));
    EXPECT_THAT(lines[9], HasSubstr("\x1b[38;2;242;114;30m■\x1b[0m 7"));
    EXPECT_THAT(lines[10], HasSubstr("\x1b[38;2;240;240;240m■\x1b[0m 8"));
    EXPECT_THAT(lines[11], HasSubstr("\x1b[38;2;240;240;240m■\x1b[0m 9"));
}

TEST_F(Report, fitsEveryWidthAndKeepsItsColumnsStraight)
{
    folder().makeFile("n/日本語のとても長い名前のファイルですよ本当に長い", 5000);
    folder().makeFile("n/e\u0301e\u0301e\u0301 combining", 4000);
    folder().makeFile("n/" + std::string(250, 'x'), 3000);
    folder().makeFile("n/\x1b[31mred\nline", 2000);
    folder().makeFile("n/\xff\xfe", 1000);
    for (const unsigned short columns : std::initializer_list<unsigned short>{20, 40, 41, 60, 80, 120, 200}) {
        for (const char *path : {"", "Others/n"}) {
            const std::string report = withoutColors(onTerminal({"--path", path}, columns));
            std::vector<std::size_t> ends;
            for (const std::string &line : linesOf(report)) {
                EXPECT_LE(columnsOf(line), columns) << line;
                if (line.starts_with("  ")) {
                    ends.push_back(columnsOf(line));
                }
            }
            EXPECT_FALSE(ends.empty());
            EXPECT_EQ(std::count(ends.begin(), ends.end(), ends.front()), static_cast<long>(ends.size()))
                << report;
        }
    }
}

TEST_F(Report, namesNeverReachATerminalRaw)
{
    folder().makeFile("n/\x1b]0;title\x07\x1b[2J\u202efdp", 10);
    const std::string report = onTerminal({"--path", "Others/n"}, 200, {{"NO_COLOR", "1"}});
    EXPECT_THAT(report, Not(HasSubstr("\x1b")));
    EXPECT_THAT(report, Not(HasSubstr("\x07")));
    EXPECT_THAT(report, HasSubstr("\\x1B]0;title\\x07\\x1B[2J\\xE2\\x80\\xAEfdp"));
}

TEST_F(Report, aNameThatIsNotUtf8IsAddressedByItsSpelling)
{
    folder().makeFile("n/a\xff/x", 10);
    EXPECT_THAT(rowNames(outputOf({"--path", "Others/n"})), ElementsAre("a\uFFFD"));
    EXPECT_THAT(rowNames(outputOf({"--path", "Others/n/a\\xFF"})), ElementsAre("x"));
}

TEST_F(Report, twoScansOfOneTreePrintTheSameBytes)
{
    for (int i = 0; i < 300; ++i) {
        folder().makeFile("same/" + std::to_string(i % 17) + "/" + std::to_string(i), 7);
    }
    const auto table = [this] { return outputOf({"--quiet", "--depth", "99"}); };
    const std::string first = table();
    EXPECT_THAT(first, HasSubstr("299"));
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(table(), first);
        EXPECT_EQ(outputOf({"--json"}), outputOf({"--json"}));
    }
}

TEST_F(Report, saysHowManyDirectoriesCouldNotBeReadAndWhatWouldShowThem)
{
    folder().makeFile("home/secret/a", 10);
    folder().makeFile("home/hidden/b", 10);
    folder().setMode("home/secret", 0);
    folder().setMode("home/hidden", 0);
    ProgramRun ordinary = onFolder({});
    asOrdinaryUser(ordinary);
    EXPECT_THAT(runProgram(ordinary).standardOutput,
                EndsWith("2 directories could not be read. Run it as root (with sudo) to count what they\n"
                         "hold. --errors lists them.\n"));
    ordinary.arguments.emplace_back("--errors");
    const ProgramResult result = runProgram(ordinary);
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_THAT(result.standardOutput, HasSubstr("\nCould not be read:\n"));
    EXPECT_THAT(result.standardOutput, HasSubstr("  /home/secret: Permission denied\n"));
    EXPECT_THAT(result.standardOutput, HasSubstr("  /home/hidden: Permission denied\n"));
    EXPECT_THAT(result.standardOutput, Not(HasSubstr("--errors lists")));
}

TEST_F(Report, saysThatFilesCountNothingWhoseSizeCouldNotBeRead)
{
    folder().makeFile("home/listed/a", 10);
    folder().setMode("home/listed", 0744); // its names may be read, what they stand for may not
    ProgramRun ordinary = onFolder({"--errors"});
    asOrdinaryUser(ordinary);
    const std::string report = runProgram(ordinary).standardOutput;
    EXPECT_THAT(report, HasSubstr("\n1 file could not be asked for the size and counts as 0 bytes.\n"));
    EXPECT_THAT(report, HasSubstr("  /home/listed/a: Permission denied\n"));
}

TEST_F(Report, saysThatEverythingCouldBeRead)
{
    EXPECT_THAT(outputOf({"--errors"}), EndsWith("\nEverything could be read.\n"));
}

TEST_F(Report, anEmptyFolderSaysThatThereIsNothing)
{
    const TemporaryDirectory empty;
    const ProgramResult result = runProgram(program({"--root", empty.path()}));
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_THAT(result.standardOutput, StartsWith("Disk  0 B used out of "));
    EXPECT_THAT(result.standardOutput, HasSubstr("\nNothing here.\n"));
    EXPECT_THAT(result.standardOutput, HasSubstr("\n0 files in 1 directory, "));
}

} // namespace
} // namespace slicewise
