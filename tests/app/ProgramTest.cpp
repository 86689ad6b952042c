// The program itself, run as a process.
#include "tests/support/InChild.h"
#include "tests/support/RunProgram.h"
#include "tests/support/TemporaryDirectory.h"

#include <QColor>
#include <QImage>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace slicewise {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class Program : public ::testing::Test {
protected:
    Program()
    {
        m_root.makeFile("usr/bin/tool", 3'000'000);
        m_root.makeFile("home/me/film.mkv", 500'000);
    }

    /// Without a display.
    [[nodiscard]] static ProgramRun program(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), SLICEWISE);
        return {.arguments = std::move(arguments),
                .environment = {{"LC_ALL", "C"}},
                .withoutEnvironment = {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}};
    }
    [[nodiscard]] std::string file() const { return m_folder.pathOf("disk.png"); }
    [[nodiscard]] ProgramRun snapshot(std::vector<std::string> more = {}) const
    {
        std::vector<std::string> arguments = {"--root", m_root.path(), "--snapshot", file()};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return program(std::move(arguments));
    }
    [[nodiscard]] QImage picture(std::vector<std::string> more = {}) const
    {
        const ProgramResult result = runProgram(snapshot(std::move(more)));
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_EQ(result.standardOutput + result.standardError, "");
        return QImage(QString::fromStdString(file()), "PNG");
    }
    [[nodiscard]] const TemporaryDirectory &root() const { return m_root; }
    [[nodiscard]] const TemporaryDirectory &folder() const { return m_folder; }

private:
    TemporaryDirectory m_root;
    TemporaryDirectory m_folder;
};

std::set<QRgb> coloursOf(const QImage &image)
{
    std::set<QRgb> colours;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            colours.insert(image.pixel(x, y));
        }
    }
    return colours;
}

TEST_F(Program, saysItsVersionAndItsOptionsOnStandardOutput)
{
    const ProgramResult version = runProgram(program({"--version"}));
    EXPECT_EQ(version.exitStatus, 0);
    EXPECT_THAT(version.standardOutput, StartsWith("slicewise "));
    EXPECT_EQ(version.standardError, "");
    const ProgramResult help = runProgram(program({"--help"}));
    EXPECT_EQ(help.exitStatus, 0);
    EXPECT_THAT(help.standardOutput, HasSubstr("--snapshot FILE.png"));
    EXPECT_EQ(help.standardError, "");
}

TEST_F(Program, saysWhereItsOutputCantBeWritten)
{
    const ProgramResult result =
        runProgram({.arguments = {"sh", "-c", std::string(SLICEWISE) + " --help >/dev/full"}});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardError, "slicewise: The output could not be written.\n");
}

TEST_F(Program, refusesWhatItDoesNotKnowOnStandardError)
{
    const ProgramResult result = runProgram(program({"--wrong"}));
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_EQ(result.standardError,
              "slicewise: The following argument was not expected: --wrong. See slicewise --help.\n");
}

TEST_F(Program, withoutADisplaySaysWhatToDo)
{
    const ProgramResult result = runProgram(program({"--root", root().path()}));
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_EQ(
        result.standardError,
        "slicewise: There is no display to show a window on. Start it on a desktop, use slicewise-cli on a "
        "terminal, or add --snapshot FILE.png for a picture.\n");
}

TEST_F(Program, onADisplayThatDoesNotAnswerSaysTheSame)
{
    ProgramRun run = program({"--root", root().path()});
    run.environment.emplace_back("DISPLAY", ":65000");
    const ProgramResult result = runProgram(run);
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardError, runProgram(program({"--root", root().path()})).standardError);
}

TEST_F(Program, saysWhyARootIsNone)
{
    const ProgramResult missing = runProgram(program({"--root", root().pathOf("nowhere")}));
    EXPECT_EQ(missing.exitStatus, 1);
    EXPECT_EQ(missing.standardError, "slicewise: There is no directory “" + root().pathOf("nowhere") +
                                         "”. Give --root one that exists.\n");
    const ProgramResult file = runProgram(program({"--root", root().pathOf("usr/bin/tool")}));
    EXPECT_EQ(file.exitStatus, 1);
    EXPECT_THAT(file.standardError, HasSubstr("is not a directory. Mount or extract an image"));
}

TEST_F(Program, drawsAWindowOfTheSizeThatIsAskedFor)
{
    EXPECT_EQ(picture().size(), QSize(1024, 720));
    const QImage small = picture({"--size", "320x480"});
    EXPECT_EQ(small.size(), QSize(320, 480));
    EXPECT_GT(coloursOf(small).size(), 10U) << "there is writing on it";
}

TEST_F(Program, laysItOutForThePadOrThePhoneThatItIsToldOf)
{
    const QImage pad = picture({"--idiom", "pad"});
    const QImage phone = picture({"--idiom", "phone"});
    EXPECT_EQ(phone.size(), pad.size());
    EXPECT_NE(phone, pad);
    EXPECT_EQ(picture(), pad) << "by its size";
    EXPECT_EQ(picture({"--size", "320x480"}), picture({"--size", "320x480", "--idiom", "phone"}));
}

TEST_F(Program, drawsItDarkOrLight)
{
    const auto ground = [&](const char *appearance) {
        const QImage image = picture({"--size", "320x480", appearance});
        return image.pixelColor(image.width() - 1, image.height() - 1).lightness();
    };
    EXPECT_LT(ground("--dark"), 64);
    EXPECT_GT(ground("--light"), 192);
}

TEST_F(Program, drawsEvenWhatIsEmpty)
{
    const TemporaryDirectory nothing;
    ProgramRun run = program({"--root", nothing.path(), "--snapshot", file()});
    EXPECT_EQ(runProgram(run).exitStatus, 0);
    EXPECT_EQ(QImage(QString::fromStdString(file())).size(), QSize(1024, 720));
}

TEST_F(Program, drawsInTheUsersLanguage)
{
    ProgramRun run = snapshot();
    run.environment = {{"LC_ALL", "C.UTF-8"}, {"LANGUAGE", ""}};
    EXPECT_EQ(runProgram(run).exitStatus, 0);
    const QImage english(QString::fromStdString(file()));
    run.environment = {{"LC_ALL", "de_DE.UTF-8"}, {"LANGUAGE", ""}};
    EXPECT_EQ(runProgram(run).exitStatus, 0);
    const QImage german(QString::fromStdString(file()));
    EXPECT_EQ(german.size(), english.size());
    EXPECT_NE(german, english);
}

TEST_F(Program, saysBeforeTheScanThatASnapshotCantBeWritten)
{
    const std::string nowhere = folder().pathOf("nowhere/disk.png");
    const ProgramResult result = runProgram(program({"--root", root().path(), "--snapshot", nowhere}));
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardError,
              "slicewise: “" + nowhere +
                  "” can't be written (No such file or directory). Give --snapshot another "
                  "file.\n");
}

TEST_F(Program, saysAfterItThatTheDiskIsFull)
{
    const ProgramResult result = runProgram(program({"--root", root().path(), "--snapshot", "/dev/full"}));
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(
        result.standardError,
        "slicewise: “/dev/full” can't be written (No space left on device). Give --snapshot another file.\n");
}

TEST_F(Program, leavesNothingBehindInTheUsersHome)
{
    const TemporaryDirectory home;
    home.setMode(".", 0777);
    folder().setMode(".", 0777);
    ProgramRun run = snapshot();
    run.environment.emplace_back("HOME", home.path());
    run.withoutEnvironment.insert(run.withoutEnvironment.end(),
                                  {"XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME"});
    if (::geteuid() == 0) {
        run.user = kOrdinaryUser;
        run.group = kOrdinaryUser;
    }
    const ProgramResult result = runProgram(run);
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    std::vector<std::string> left;
    for (const auto &entry : std::filesystem::directory_iterator(home.path())) {
        left.push_back(entry.path().filename());
    }
    EXPECT_THAT(left, IsEmpty());
}

} // namespace
} // namespace slicewise
