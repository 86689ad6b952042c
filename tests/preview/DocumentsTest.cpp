// What can be done with a file besides looking at it.
#include "platform/Desktop.h"
#include "tests/preview/PreviewFixture.h"
#include "tests/support/FailingDevice.h"
#include "tests/support/InChild.h"
#include "tests/support/RunProgram.h"

#include <QClipboard>
#include <QGuiApplication>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <future>
#include <iterator>
#include <string>
#include <utility>

namespace slicewise {

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;

TEST(Options, copyThePathOfTheDeviceSoThatItCanBeTyped)
{
    Preview preview;
    preview.documents.copyPath("/private/var/na\xc3\xafve");
    EXPECT_EQ(QGuiApplication::clipboard()->text().toStdString(), "/private/var/naïve");
    preview.documents.copyPath("/a\xff\n");
    EXPECT_EQ(QGuiApplication::clipboard()->text().toStdString(), "/a\\xFF\\x0A");
}

TEST(Options, openTheFileOnTheHostByItsWholePath)
{
    Preview preview;
    preview.directory.writeFile("-rf; x", "x");
    preview.documents.openWithApplication("/-rf; x");
    preview.documents.finishHandingOn();
    EXPECT_THAT(preview.opened, ElementsAre(Pair("/usr/bin/opener", preview.directory.path() + "/-rf; x")));
    EXPECT_THAT(preview.lines, IsEmpty());
}

TEST(Options, showTheFileInTheFileManagerOrElseItsFolder)
{
    Preview preview;
    preview.directory.writeFile("folder/file", "x");
    preview.documents.showInFolder("/folder/file");
    preview.documents.finishHandingOn();
    EXPECT_THAT(preview.shown, ElementsAre(preview.directory.path() + "/folder/file"));
    EXPECT_THAT(preview.opened, IsEmpty());
    preview.hasFileManager = false;
    preview.documents.showInFolder("/folder/file");
    preview.documents.finishHandingOn();
    EXPECT_THAT(preview.opened, ElementsAre(Pair("/usr/bin/opener", preview.directory.path() + "/folder")));
    preview.directory.writeFile("file", "x");
    preview.documents.showInFolder("/file");
    preview.documents.finishHandingOn();
    EXPECT_EQ(preview.opened.back().second, preview.directory.path());
}

TEST(Options, thatComeToNothingAreLogged)
{
    Preview preview;
    preview.hasFileManager = false;
    preview.documents.openWithApplication("/gone");
    preview.documents.showInFolder("/gone/too");
    preview.documents.finishHandingOn();
    EXPECT_THAT(preview.opened, IsEmpty());
    EXPECT_THAT(preview.lines, ElementsAre("could not be opened with an application: /gone",
                                           "could not be shown in its folder: /gone/too"));
    preview.directory.writeFile("file", "x");
    preview.opener.reset();
    preview.documents.openWithApplication("/file");
    preview.documents.finishHandingOn();
    EXPECT_THAT(preview.lines.back(), EndsWith("/file"));
    EXPECT_FALSE(preview.documents.canOpen());
}

TEST(DocumentsOfQml, areOursAndGoWithTheirPreview)
{
    Preview preview;
    preview.directory.writeFile("a", "x");
    QPointer<Document> document = preview.documents.open("/a", "a");
    ASSERT_NE(document, nullptr);
    preview.documents.close(document);
    preview.documents.close(nullptr);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(document, nullptr);
}

/// A device with a file that can't be read before the gate is opened.
struct HangingDisk {
    HangingDisk()
    {
        preview.directory.writeFile("hanging", "text that comes late");
        preview.directory.writeFile("file", "text");
        device.runBeforeReadAt("/hanging", [this](const std::string &) {
            if (!hasBegun.exchange(true)) {
                begun.set_value();
            }
            gate.wait();
        });
    }
    ~HangingDisk()
    {
        if (!isLetGo) {
            letGo.set_value();
        }
    }
    Preview preview;
    FailingDevice device{*preview.device};
    std::atomic<bool> hasBegun = false;
    std::promise<void> begun;
    std::promise<void> letGo;
    std::shared_future<void> gate = letGo.get_future().share();
    bool isLetGo = false;
};

TEST(DocumentsOfQml, thatAreReadFromADiskThatHangsAreClosedAllTheSame)
{
    HangingDisk disk;
    auto services = disk.preview.services(SLICEWISE_PREVIEW);
    services.device = &disk.device;
    Documents documents(services);
    QPointer<Document> hanging = documents.open("/hanging", "n");
    disk.begun.get_future().wait();
    documents.close(hanging);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(hanging, nullptr);

    Document *other = documents.open("/file", "n");
    EXPECT_TRUE(eventually([&] { return other->view() == Document::View::Text; }));
    EXPECT_EQ(rowOf(*other, 0), "text");
    disk.isLetGo = true;
    disk.letGo.set_value();
    // What has been read for nobody reaches nobody, whether or not there still are documents.
    documents.close(other);
    QCoreApplication::processEvents();
}

TEST(EndingThreadsTest, areForgottenOnceTheyHaveEnded)
{
    EndingThreads ending;
    std::promise<void> gate;
    std::promise<void> begun;
    auto hanging = std::make_unique<ReadingThread>();
    hanging->ask([&] {
        begun.set_value();
        gate.get_future().wait();
    });
    begun.get_future().wait();
    bool wasDone = false;
    hanging->ask([&] { wasDone = true; });
    const ReadingThread &watched = *hanging;
    ending.take(std::move(hanging));
    EXPECT_FALSE(watched.hasEnded());
    ending.take(std::make_unique<ReadingThread>());
    EXPECT_EQ(ending.count(), 2U) << "one of them hangs";
    gate.set_value();
    EXPECT_TRUE(eventually([&] { return watched.hasEnded(); }));
    EXPECT_FALSE(wasDone) << "what waited is forgotten";
    ending.take(std::make_unique<ReadingThread>());
    EXPECT_LE(ending.count(), 2U);
}

TEST(Desktop, isThereOnlyInASession)
{
    inChild([] {
        ::unsetenv("DISPLAY");
        ::unsetenv("WAYLAND_DISPLAY");
        EXPECT_EQ(desktopOpener(), std::nullopt);
        ::setenv("DISPLAY", "", 1);
        EXPECT_EQ(desktopOpener(), std::nullopt);
        // A program of that name on the caller's PATH is nobody's choice of an application.
        const TemporaryDirectory directory;
        directory.writeFile("xdg-open", "#!/bin/sh\n");
        directory.setMode("xdg-open", 0755);
        ::setenv("PATH", directory.path().c_str(), 1);
        ::setenv("DISPLAY", ":0", 1);
        EXPECT_NE(desktopOpener().value_or(""), directory.pathOf("xdg-open"));
    });
}

/// A script that says who runs it, in a folder that everybody may write to.
std::string opener(const TemporaryDirectory &directory)
{
    directory.makeDirectory("out");
    directory.setMode("out", 0777);
    directory.writeFile("opener", "#!/bin/sh\n"
                                  "grep -E '^(Uid|PPid):' /proc/self/status > \"$1.new\"\n"
                                  "echo \"$# $1\" >> \"$1.new\"\n"
                                  "mv \"$1.new\" \"$1.done\"\n");
    directory.setMode("opener", 0755);
    return directory.pathOf("opener");
}

std::string fileThatComes(const std::string &path)
{
    std::string content;
    EXPECT_TRUE(eventually([&] {
        std::ifstream stream(path);
        content.assign(std::istreambuf_iterator<char>(stream), {});
        return !content.empty();
    }));
    return content;
}

TEST(Desktop, isHandedAPathAsOneArgumentByNobodysChild)
{
    const TemporaryDirectory directory;
    const std::string program = opener(directory);
    const std::string path = directory.pathOf("out") + "/a b; $(x) 'y'";
    ASSERT_TRUE(openOnDesktop(program, path));
    EXPECT_THAT(fileThatComes(path + ".done"), HasSubstr("\n1 " + path + "\n"));
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "there is no child to wait for";
}

TEST(Desktop, isHandedNothingThatMightBeAnOption)
{
    EXPECT_FALSE(openOnDesktop("/bin/true", "--help"));
    EXPECT_FALSE(openOnDesktop("/bin/true", ""));
    EXPECT_FALSE(openOnDesktop("/bin/true", std::string("/a\0b", 4)));
}

TEST(Desktop, getsNoRightsOfASetUserIdProgram)
{
    if (::getuid() != 0) {
        GTEST_SKIP() << "only root can become a set-user-id process's likeness";
    }
    const TemporaryDirectory directory;
    const std::string program = opener(directory);
    const std::string path = directory.pathOf("out") + "/x";
    inChild([&] {
        ASSERT_EQ(::setresuid(kOrdinaryUser, kOrdinaryUser, 0), 0);
        EXPECT_TRUE(openOnDesktop(program, path));
    });
    EXPECT_THAT(fileThatComes(path + ".done"), HasSubstr("Uid:\t65534\t65534\t65534\t65534\n"));
}

TEST(DecoderProgram, isLookedForBesideOurOwnAndNowhereElse)
{
    const std::string own = directoryOfOurProgram().value();
    EXPECT_THAT(own, EndsWith("/tests/preview"));
    EXPECT_EQ(decoderProgram(), "") << "there is none beside the tests";
}

} // namespace

} // namespace slicewise
