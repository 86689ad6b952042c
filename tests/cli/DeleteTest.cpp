#include "tests/cli/CliFixture.h"
#include "tests/support/SampleDatabase.h"

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace slicewise {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr std::uint64_t kMega = 1024UL * 1024;

class Delete : public CliFixture {
protected:
    Delete()
    {
        folder().makeFile("home/me/old/film.mkv", 3 * kMega);
        folder().makeFile("home/me/old/song.ogg", kMega / 2);
        folder().makeFile("home/me/new", 100);
    }

    [[nodiscard]] bool exists(const std::string &relative) const
    {
        struct stat status = {};
        return ::lstat(folder().pathOf(relative).c_str(), &status) == 0;
    }

    [[nodiscard]] ProgramResult deleting(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.begin(), "delete");
        return run(std::move(arguments));
    }

    [[nodiscard]] ProgramResult onTerminal(std::vector<std::string> arguments, const std::string &typed) const
    {
        arguments.insert(arguments.begin(), {"delete", "--no-progress"});
        ProgramRun run = onFolder(std::move(arguments));
        run.input = typed;
        return runProgramOnTerminal(run);
    }

    /// An installed package without files of its own but one, and another that needs it.
    void makePackages() const
    {
        folder().writeFile("var/lib/dpkg/status",
                           "Package: bar\nStatus: install ok installed\nArchitecture: all\n"
                           "Version: 1\nMaintainer: me\nDescription: bar\n\n"
                           "Package: foo\nStatus: install ok installed\nArchitecture: all\n"
                           "Version: 1\nDepends: bar\nMaintainer: me\nDescription: foo\n\n");
        folder().writeFile("var/lib/dpkg/info/bar.list", "/.\n/opt\n/opt/bar\n");
        folder().writeFile("var/lib/dpkg/info/foo.list", "/.\n/opt\n/opt/foo\n");
        folder().writeFile("var/lib/dpkg/available", "");
        folder().makeDirectory("var/lib/dpkg/updates");
        folder().makeFile("opt/bar", kMega);
        folder().makeFile("opt/foo", kMega);
    }
};

TEST_F(Delete, saysWhatGoesDeletesItAndSaysWhatWasFreed)
{
    const ProgramResult result = deleting({"--yes", "Others/home/me/old"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardError, "");
    EXPECT_EQ(result.standardOutput,
              "Others/home/me/old: 2 files, 3.5 MB; removes its files\nFreed 3.5 MB.\n");
    EXPECT_FALSE(exists("home/me/old/film.mkv"));
    EXPECT_FALSE(exists("home/me/old/song.ogg"));
    EXPECT_TRUE(exists("home/me/old")) << "emptied directories stay";
    EXPECT_TRUE(exists("home/me/new"));
}

TEST_F(Delete, ofASingleFileItSaysWhereItLies)
{
    EXPECT_EQ(deleting({"--yes", "Others/home/me/new"}).standardOutput,
              "Others/home/me/new: 1 file, 100 B; removes /home/me/new\nFreed 100 B.\n");
    EXPECT_FALSE(exists("home/me/new"));
}

TEST_F(Delete, aDryRunOnlySaysWhatWouldGo)
{
    const ProgramResult result = deleting({"--dry-run", "Others/home/me/old", "Others/home/me/new"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardOutput, "Others/home/me/old: 2 files, 3.5 MB; removes its files\n"
                                     "Others/home/me/new: 1 file, 100 B; removes /home/me/new\n");
    EXPECT_TRUE(exists("home/me/old/film.mkv"));
    EXPECT_TRUE(exists("home/me/new"));
    EXPECT_EQ(deleting({"--dry-run", "--yes", "Others/home/me/new"}).exitStatus, 0);
    EXPECT_TRUE(exists("home/me/new"));
    EXPECT_EQ(deleting({"--dry-run", "Others"}).exitStatus, 1);
}

TEST_F(Delete, withoutATerminalAndWithoutYesNothingIsDone)
{
    const ProgramResult result = deleting({"Others/home/me/old"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_EQ(result.standardError,
              "slicewise-cli: Nothing was deleted: there is no terminal to ask on. Add --yes "
              "to delete without asking.\n");
    EXPECT_TRUE(exists("home/me/old/film.mkv"));
}

TEST_F(Delete, onATerminalItAsksAndNothingButYesMeansYes)
{
    for (const std::string answer : {"\n", "n\n", "no\n", "yeah\n", "x\n", " y\n", "\x04"}) {
        const ProgramResult result = onTerminal({"Others/home/me/old"}, answer);
        EXPECT_EQ(result.exitStatus, 0) << answer;
        EXPECT_THAT(result.standardOutput, HasSubstr("Delete Others/home/me/old? [y/N] "));
        EXPECT_THAT(result.standardOutput, EndsWith("Kept.\r\n"));
        EXPECT_TRUE(exists("home/me/old/film.mkv"));
    }
    for (const std::string answer : {"y\n", "Y\n", "yes\n", "YES\n"}) {
        folder().makeFile("home/me/old/film.mkv", 3 * kMega);
        EXPECT_THAT(onTerminal({"Others/home/me/old"}, answer).standardOutput, EndsWith("MB.\r\n")) << answer;
        EXPECT_FALSE(exists("home/me/old/film.mkv"));
    }
}

TEST_F(Delete, aYesThatIsCutOffBeforeItsLineEndsMeansNo)
{
    const ProgramResult result = onTerminal({"Others/home/me/old"}, "y\x04\x04");
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_THAT(result.standardOutput, EndsWith("Kept.\r\n"));
    EXPECT_TRUE(exists("home/me/old/film.mkv"));
}

#if defined(__SANITIZE_THREAD__)
constexpr unsigned kThreadsOfTheSanitizer = 1;
#else
constexpr unsigned kThreadsOfTheSanitizer = 0;
#endif

/// As a user who has this many processes and threads at most, and none but the program's: so each test needs
/// a user of its own, since two of them may run at once.
void withProcesses(ProgramRun &run, unsigned user, unsigned most)
{
    most += kThreadsOfTheSanitizer;
    run.user = user;
    run.group = user;
    run.environment.emplace_back("ASAN_OPTIONS", "detect_leaks=0"); // it would want a process
    run.arguments.insert(run.arguments.begin(), {"prlimit", "--nproc=" + std::to_string(most), "--"});
}

TEST_F(Delete, aUserWhoCanHaveFewThreadsIsServedByThose)
{
    if (::geteuid() != 0) {
        GTEST_SKIP() << "It takes root to be a user without other processes.";
    }
    folder().setMode("home/me/old", 0777);
    // One queue beside the program's first thread is the least that a scan needs.
    ProgramRun run = onFolder({"delete", "--yes", "Others/home/me/old"});
    withProcesses(run, 65533, 2);
    const ProgramResult result = runProgram(run);
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    EXPECT_FALSE(exists("home/me/old/film.mkv"));
}

TEST_F(Delete, aUserWhoCanHaveNoThreadIsToldSo)
{
    if (::geteuid() != 0) {
        GTEST_SKIP() << "It takes root to be a user without other processes.";
    }
    folder().setMode("home/me/old", 0777);
    ProgramRun run = onFolder({"delete", "--yes", "Others/home/me/old"});
    withProcesses(run, 65532, 1);
    const ProgramResult result = runProgram(run);
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.standardError, EndsWith("slicewise-cli: It could not be done: Resource temporarily "
                                               "unavailable.\n"));
    EXPECT_TRUE(exists("home/me/old/film.mkv"));
}

TEST_F(Delete, eachArgumentIsAskedForInItsTurn)
{
    const ProgramResult result = onTerminal({"Others/home/me/old", "Others/home/me/new"}, "n\ny\n");
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_TRUE(exists("home/me/old/film.mkv"));
    EXPECT_FALSE(exists("home/me/new"));
}

TEST_F(Delete, readOnlyRefusesEverything)
{
    for (const auto &arguments : {std::vector<std::string>{"--read-only", "--yes", "Others/home/me/old"},
                                  {"--read-only", "--yes", "--allow-delete", "Others/home/me/old"}}) {
        const ProgramResult result = deleting(arguments);
        EXPECT_EQ(result.exitStatus, 1);
        EXPECT_EQ(result.standardError,
                  "slicewise-cli: Nothing was deleted: --read-only refuses it. Leave that out "
                  "to delete.\n");
    }
    EXPECT_EQ(run({"--read-only", "delete", "--yes", "Others/home/me/old"}).exitStatus, 1);
    EXPECT_TRUE(exists("home/me/old/film.mkv"));
    EXPECT_EQ(run({"--read-only"}).exitStatus, 0) << "looking is no deletion";
}

TEST_F(Delete, whatMayNotBeDeletedIsNotAndTheOthersAreStillDone)
{
    folder().makeFile("usr/lib/libz.so", kMega);
    const ProgramResult result =
        deleting({"--yes", "Others", "Operating System/usr", "Others/nowhere", "", "Others/home/me/new"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardError,
              "slicewise-cli: “Others” can't be deleted. The report marks what can be.\n"
              "slicewise-cli: “Operating System/usr” can't be deleted. The report marks what can be.\n"
              "slicewise-cli: There is no category “Others/nowhere”. The report shows which there are.\n"
              "slicewise-cli: “” can't be deleted. The report marks what can be.\n");
    EXPECT_EQ(result.standardOutput,
              "Others/home/me/new: 1 file, 100 B; removes /home/me/new\nFreed 100 B.\n");
    EXPECT_TRUE(exists("usr/lib/libz.so"));
    EXPECT_TRUE(exists("home/me/old/film.mkv"));
    EXPECT_FALSE(exists("home/me/new"));
}

TEST_F(Delete, whatIsNamedTwiceIsDeletedOnce)
{
    const ProgramResult result = deleting({"--yes", "Others/home/me/old/", "Others/home/me/old",
                                           "Others/home/me/old/film.mkv", "Others/home/me/new"});
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    EXPECT_EQ(result.standardOutput, "Others/home/me/old: 2 files, 3.5 MB; removes its files\nFreed 3.5 MB.\n"
                                     "Others/home/me/new: 1 file, 100 B; removes /home/me/new\nFreed 100 B.\n"
                                     "Freed 3.5 MB in all.\n");
}

TEST_F(Delete, namesAreSpelledAsTheReportSpellsThem)
{
    folder().makeFile("home/a\nb\xff", 1);
    const ProgramResult result = deleting({"--yes", "Others/home/a\\x0ab\\xFF"});
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    EXPECT_FALSE(exists("home/a\nb\xff"));
    EXPECT_THAT(result.standardOutput, Not(HasSubstr("a\nb")));
}

TEST_F(Delete, aFailureIsASentenceAndTheReasonALineInTheLog)
{
    folder().setMode("home/me/old", 0555);
    folder().setMode("home/me", 0755);
    ProgramRun run = onFolder({"delete", "--yes", "Others/home/me/old"});
    asOrdinaryUser(run);
    const ProgramResult result = runProgram(run);
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(
        result.standardError,
        AllOf(
            HasSubstr("“/home/me/old/film.mkv” could not be removed: Permission denied\n"),
            EndsWith("slicewise-cli: Others/home/me/old: Deletion failed for some or all of the files.\n")));
    EXPECT_THAT(result.standardOutput, Not(HasSubstr("Freed")));
    EXPECT_TRUE(exists("home/me/old/film.mkv"));

    run.arguments.emplace_back("--quiet");
    EXPECT_EQ(runProgram(run).standardError,
              "slicewise-cli: Others/home/me/old: Deletion failed for some or all of the files.\n");
}

TEST_F(Delete, aPackageIsAskedForByItsName)
{
    makePackages();
    const ProgramResult result = onTerminal({"Cydia Packages/bar"}, "\n");
    EXPECT_THAT(result.standardOutput,
                AllOf(HasSubstr("Cydia Packages/bar: 1 file, 1 MB; removes the package with dpkg\r\n"),
                      HasSubstr("Uninstall bar? [y/N] "), EndsWith("Kept.\r\n")));
    EXPECT_TRUE(exists("opt/bar"));
}

TEST_F(Delete, aPackageThatOthersNeedStaysAndTheUserIsToldWhoDoes)
{
    makePackages();
    const ProgramResult result = deleting({"--yes", "--quiet", "Cydia Packages/bar"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardError, "slicewise-cli: Cydia Packages/bar: bar is required by foo\n");
    EXPECT_TRUE(exists("opt/bar"));
}

TEST_F(Delete, aPackageGoesByThePackageTool)
{
    if (::geteuid() != 0) {
        GTEST_SKIP() << "The package tool removes for root only.";
    }
    makePackages();
    const ProgramResult result = deleting({"--yes", "--quiet", "Cydia Packages/foo", "Cydia Packages/bar"});
    EXPECT_EQ(result.exitStatus, 0) << result.standardError << result.standardOutput;
    EXPECT_FALSE(exists("opt/foo"));
    EXPECT_FALSE(exists("opt/bar"));
    EXPECT_FALSE(exists("var/lib/dpkg/info/bar.list"));
}

TEST_F(Delete, ofAnAttachmentItSaysWhatElseGoes)
{
    const std::string directory = "private/var/mobile/Library/SMS/Attachments/0a/10/GUID/";
    folder().makeFile(directory + "cat.jpg", kMega);
    folder().makeFile(directory + "cat-preview.jpg", kMega / 2);
    SampleDatabase database(
        folder().pathOf("private/var/mobile/Library/SMS/sms.db"),
        "CREATE TABLE attachment (ROWID INTEGER PRIMARY KEY, filename TEXT, transfer_name TEXT);");
    database.insert(
        "attachment",
        {std::int64_t{1}, "/private/var/mobile/Library/SMS/Attachments/0a/10/GUID/cat.jpg", "cat.jpg"});
    database.close();
    const std::string level = outputOf({"--path", "Message Attachments"});
    ASSERT_THAT(level, HasSubstr("cat.jpg"));
    const ProgramResult result = deleting({"--yes", "Message Attachments/cat.jpg"});
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    EXPECT_EQ(result.standardOutput,
              "Message Attachments/cat.jpg: 2 files, 1.5 MB; removes "
              "/private/var/mobile/Library/SMS/Attachments/0a/10/GUID/ with everything in it\n"
              "Freed 1.5 MB.\n");
    EXPECT_FALSE(exists(directory));
    EXPECT_TRUE(exists("private/var/mobile/Library/SMS/Attachments/0a/10"));
}

TEST_F(Delete, anAttachmentWhoseNameMakesALevelIsAFailureAndNotTheEnd)
{
    folder().makeFile("private/var/mobile/Library/SMS/Attachments/0a/10/GUID/b.jpg", kMega);
    SampleDatabase database(
        folder().pathOf("private/var/mobile/Library/SMS/sms.db"),
        "CREATE TABLE attachment (ROWID INTEGER PRIMARY KEY, filename TEXT, transfer_name TEXT);");
    database.insert(
        "attachment",
        {std::int64_t{1}, "/private/var/mobile/Library/SMS/Attachments/0a/10/GUID/b.jpg", "a/b.jpg"});
    database.close();
    const ProgramResult result = deleting({"--yes", "Message Attachments/a"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.standardError, HasSubstr("Deletion failed for some or all of the files."));
    EXPECT_TRUE(exists("private/var/mobile/Library/SMS/Attachments/0a/10/GUID/b.jpg"));
}

TEST_F(Delete, applicationsAndPhotosOfTheLibraryAreLeftToServicesThatOnlyTheDeviceHas)
{
    const std::string media = "private/var/mobile/Media/";
    folder().makeFile(media + "DCIM/100APPLE/IMG_0001.JPG", kMega);
    folder().makeFile(media + "DCIM/100APPLE/IMG_0002.JPG", kMega);
    folder().makeDirectory(media + "PhotoData");
    SampleDatabase database(folder().pathOf(media + "PhotoData/Photos.sqlite"),
                            "CREATE TABLE ZGENERICASSET (ZDIRECTORY TEXT, ZFILENAME TEXT, ZUUID TEXT);");
    database.insert("ZGENERICASSET",
                    {"DCIM/100APPLE", "IMG_0001.JPG", "01234567-89AB-CDEF-0123-456789ABCDEF"});
    database.close();
    const ProgramResult result =
        deleting({"--yes", "Photos/100APPLE/IMG_0001.JPG", "Photos/100APPLE/IMG_0002.JPG"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_TRUE(exists(media + "DCIM/100APPLE/IMG_0001.JPG"));
    EXPECT_FALSE(exists(media + "DCIM/100APPLE/IMG_0002.JPG")) << "the library does not know it";
    EXPECT_THAT(result.standardError,
                HasSubstr("Photos/100APPLE/IMG_0001.JPG: Deletion failed for some or all "
                          "of the files.\n"));
}

TEST_F(Delete, rootDeletesFromTheSystemItRunsOnOnlyWhereThatIsAllowed)
{
    if (::getuid() != 0) {
        GTEST_SKIP() << "It takes root to be told so.";
    }
    for (const std::string root : {"/", "/proc/self/root", "//", "/usr/.."}) {
        const ProgramResult result =
            runProgram(program({"--root", root, "delete", "--yes", "Others/nowhere"}));
        EXPECT_EQ(result.exitStatus, 1);
        EXPECT_EQ(result.standardError, "slicewise-cli: Nothing was deleted: “/” is read-only for root. Add "
                                        "--allow-delete to delete from it.\n")
            << root;
    }
}

TEST_F(Delete, whereThatIsAllowedRootDeletesFromTheSystemItRunsOn)
{
    if (::getuid() != 0) {
        GTEST_SKIP() << "It takes root to be allowed it.";
    }
    const TemporaryDirectory onDisk(TemporaryDirectory::Lies::OnDisk);
    onDisk.makeFile("goes", 100);
    onDisk.makeFile("stays", 100);
    const std::string line =
        linesOf(runProgram(program({"classify", onDisk.pathOf("goes")})).standardOutput).at(0);
    const ProgramResult result = runProgram(
        program({"delete", "--yes", "--allow-delete", "--quiet", line.substr(line.find('\t') + 1)}));
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    EXPECT_THAT(result.standardOutput, EndsWith("Freed 100 B.\n"));
    struct stat status = {};
    EXPECT_NE(::lstat(onDisk.pathOf("goes").c_str(), &status), 0);
    EXPECT_EQ(::lstat(onDisk.pathOf("stays").c_str(), &status), 0);
}

TEST_F(Delete, theReportMarksWhatMayBeDeleted)
{
    folder().makeFile("usr/lib/libz.so", kMega);
    EXPECT_THAT(outputOf({}), Not(HasSubstr("×")));
    EXPECT_THAT(outputOf({"--path", "Operating System"}), Not(HasSubstr("×")));
    const std::vector<std::string> lines = linesOf(outputOf({"--path", "Others/home/me"}));
    EXPECT_THAT(lines[2], AllOf(StartsWith("  old "), EndsWith(" % ×")));
    EXPECT_THAT(lines[3], AllOf(StartsWith("  new "), EndsWith(" % ×")));
    EXPECT_EQ(lines[5], "× may be deleted: slicewise-cli delete CATEGORY");
    EXPECT_THAT(outputOf({"--depth", "2"}), HasSubstr(" % ×\n"));
    EXPECT_THAT(outputOf({"--path", "Others", "--top", "0"}), Not(HasSubstr("×")));
}

} // namespace
} // namespace slicewise
