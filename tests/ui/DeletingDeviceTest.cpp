// Real files: what is gone from a folder after a row or a screen has been deleted, and what is not.
#include "tests/delete/DeletionFixture.h"
#include "tests/support/DiskState.h"
#include "tests/ui/BrowserParts.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <cerrno>
#include <set>

namespace slicewise {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class DeletingDeviceTest : public DeletionFixture {
protected:
    DeletingDeviceTest() { system.deletion = &service; }

    /// A screen of a device that is scanned, as its user would come there.
    void scanAndGoTo(const std::vector<std::string> &names)
    {
        auto first = SZAViewController::controller(system.services(device()));
        SZAViewController *const overview = first.get();
        stack.pushViewController(std::move(first));
        waitUntilDone(*overview);
        EXPECT_FALSE(overview->navigationItem()->hasRightButton());
        for (const std::string &name : names) {
            pick(name);
        }
    }
    void pick(const std::string &name)
    {
        const int count = stack.count();
        table().tapRow(rowNamed(table(), name));
        system.timers.pass(0.25);
        ASSERT_EQ(stack.count(), count + 1) << name;
    }
    [[nodiscard]] SZAViewController &top() const { return *stack.topViewController(); }
    [[nodiscard]] NodeTable &table() const { return *top().tableView(); }
    void deleteRow(const std::string &name) { slicewise::deleteRow(top(), rowNamed(table(), name)); }
    /// Names of regular files and directories in the folder, without the folder itself.
    [[nodiscard]] std::set<std::string> onDisk() const
    {
        std::set<std::string> names;
        for (const auto &[name, state] : diskState(folder().path())) {
            names.insert(name.starts_with(folder().path()) ? name.substr(folder().path().size()) : name);
        }
        return names;
    }

    DeviceDeletion service{deletion()};
    System system;
    SZANavigationController stack;
};

TEST_F(DeletingDeviceTest, oneFileGoesAndNothingElse)
{
    folder().makeFile("stuff/one", 100);
    folder().makeFile("stuff/two", 50);
    folder().makeFile("else/three", 25);
    std::set<std::string> expected = onDisk();
    scanAndGoTo({"Others", "stuff"});
    deleteRow("one");
    EXPECT_EQ(expected.erase("/stuff/one") + expected.erase("stuff/one"), 1U);
    EXPECT_EQ(onDisk(), expected);
    EXPECT_THAT(rowTexts(table()), ElementsAre("two"));
    EXPECT_EQ(subtitleOf(top()), "50 B");
    EXPECT_EQ(removalsWithoutRights(), 0U);
    EXPECT_EQ(ids().timesRaised(), 1U);
    EXPECT_FALSE(ids().isRoot()) << "rights are given back";
    top().rightBarButtonTapped();
    stack.goBack();
    EXPECT_THAT(rowTexts(table()), ElementsAre("stuff", "else"));
    EXPECT_THAT(rowTexts(table(), NodeTable::SizeTextRole), ElementsAre("50 B", "25 B"));
    stack.goBack();
    EXPECT_EQ(top().root()->size(), 75U);
}

TEST_F(DeletingDeviceTest, aDirectoryOfHundredsLosesItsFilesAndKeepsItsDirectories)
{
    for (int i = 0; i < 300; ++i) {
        folder().makeFile(fmt::format("many/sub{}/file{}", i % 10, i), 10);
    }
    folder().makeFile("kept/file", 7);
    scanAndGoTo({"Others"});
    EXPECT_THAT(rowTexts(table()), ElementsAre("many", "kept"));
    deleteRow("many");
    EXPECT_THAT(rowTexts(table()), ElementsAre("kept"));
    EXPECT_EQ(subtitleOf(top()), "7 B");
    EXPECT_FALSE(top().alertView()->isVisible());
    for (int i = 0; i < 300; ++i) {
        EXPECT_FALSE(exists(fmt::format("many/sub{}/file{}", i % 10, i))) << i;
    }
    EXPECT_TRUE(exists("many/sub0"));
    EXPECT_TRUE(exists("kept/file"));
    EXPECT_EQ(top().root()->size(), 7U);
}

TEST_F(DeletingDeviceTest, afterwardsAFreshScanSeesTheSameSizes)
{
    folder().makeFile("stuff/one", 100);
    folder().makeFile("stuff/deep/two", 50);
    folder().makeFile("stuff/deep/three", 5);
    scanAndGoTo({"Others", "stuff"});
    deleteRow("one");
    top().rightBarButtonTapped();
    pick("deep");
    deleteRow("three");
    const auto again = SZAViewController::controller(system.services(device()));
    again->loadViewIfNeeded();
    waitUntilDone(*again);
    EXPECT_EQ(again->root()->size(), top().root()->size());
    EXPECT_EQ(again->root()->size(), 50U);
}

TEST_F(DeletingDeviceTest, aFailurePartWayIsToldAndLeavesTheScreensAsTheyAre)
{
    for (const char *name : {"a", "b", "c"}) {
        folder().makeFile(fmt::format("stuff/{}", name), 10);
    }
    scanAndGoTo({"Others"});
    calls().failWhere(
        FailingSystemCalls::Function::UnlinkAt,
        [](const FailingSystemCalls::Call &call) { return call.path == "b"; }, EACCES);
    deleteRow("stuff");
    EXPECT_TRUE(top().alertView()->isVisible());
    EXPECT_EQ(top().alertView()->title(), QStringLiteral("Delete failed"));
    EXPECT_EQ(top().alertView()->message(), QStringLiteral("Deletion failed for some or all of the files."));
    EXPECT_FALSE(exists("stuff/a"));
    EXPECT_TRUE(exists("stuff/b"));
    EXPECT_FALSE(exists("stuff/c"));
    EXPECT_THAT(rowTexts(table()), ElementsAre("stuff"));
    EXPECT_EQ(subtitleOf(top()), "30 B");
    EXPECT_EQ(top().root()->size(), 30U);
    EXPECT_THAT(logged(), ElementsAre("“/stuff/b” could not be removed: Permission denied"));
}

TEST_F(DeletingDeviceTest, aFileThatHasGoneSinceTheScanIsAFailure)
{
    folder().makeFile("stuff/one", 100);
    folder().makeFile("stuff/two", 50);
    scanAndGoTo({"Others", "stuff"});
    folder().remove("stuff/one");
    deleteRow("one");
    EXPECT_TRUE(top().alertView()->isVisible());
    EXPECT_THAT(logged(), ElementsAre("“/stuff/one” could not be removed: No such file or directory"));
    EXPECT_THAT(rowTexts(table()), ElementsAre("one", "two"));
    EXPECT_EQ(subtitleOf(top()), "150 B");
}

/// Screens of a tree that needs no scan: its categories come from databases that this device has not.
class DeletingKnownFilesTest : public DeletingDeviceTest {
protected:
    void show(const std::vector<std::string> &names)
    {
        for (std::size_t depth = names.size() - 1; depth <= names.size(); ++depth) {
            std::vector<SZANode *> path = {&tree()};
            for (std::size_t i = 0; i < depth; ++i) {
                path.push_back(path.back()->childNamed(names[i]));
            }
            // Not its owner: the fixture is.
            const std::shared_ptr<SZANode> root(std::shared_ptr<SZANode>(), &tree());
            stack.pushViewController(finishedScreen(system.services(device()), root, path));
        }
    }
    void deleteScreen()
    {
        SZAViewController &screen = top();
        screen.rightBarButtonTapped();
        waitForDeletion(screen);
    }
    void uninstallAfterTheQuestion()
    {
        SZAViewController &screen = top();
        screen.actionSheetClickedButtonAtIndex(UIActionSheet::destructiveButtonIndex());
        waitForDeletion(screen);
    }
    /// An application whose bundle says who it is.
    void addApplication(const std::string &name)
    {
        const std::string list = fmt::format("/apps/{0}/{0}.app/Info.plist", name);
        folder().writeFile(
            list.substr(1),
            fmt::format("<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>CFBundleIdentifier</key>"
                        "<string>com.example.{}</string></dict></plist>",
                        name));
        addFile(fmt::format("Applications/{0}/{0}.app/Info.plist", name), list);
    }
};

TEST_F(DeletingKnownFilesTest, anAttachmentGoesWithItsDirectory)
{
    addFile("Message Attachments/a.jpg", "/sms/GUID/a.jpg", 30);
    addFile("Message Attachments/b.jpg", "/sms/OTHER/b.jpg", 20);
    folder().makeFile("sms/GUID/beside", 1);
    show({"Message Attachments"});
    deleteRow("a.jpg");
    EXPECT_FALSE(exists("sms/GUID"));
    EXPECT_TRUE(exists("sms/OTHER/b.jpg"));
    EXPECT_THAT(rowTexts(table()), ElementsAre("b.jpg"));
    top().rightBarButtonTapped();
    show({"Message Attachments", "b.jpg"});
    const int count = stack.count();
    deleteScreen();
    EXPECT_FALSE(exists("sms/OTHER"));
    EXPECT_TRUE(exists("sms"));
    EXPECT_EQ(stack.count(), count - 1);
    EXPECT_THAT(rowTexts(table()), IsEmpty());
}

TEST_F(DeletingKnownFilesTest, aPhotoThatNoLibraryKnowsGoesAsAFile)
{
    addFile("Photos/DCIM/100APPLE/i.jpg", "/private/var/mobile/Media/DCIM/100APPLE/i.jpg", 9);
    show({"Photos", "DCIM", "100APPLE"});
    deleteRow("i.jpg");
    EXPECT_FALSE(exists("private/var/mobile/Media/DCIM/100APPLE/i.jpg"));
    EXPECT_TRUE(exists("private/var/mobile/Media/DCIM/100APPLE"));
    EXPECT_THAT(rowTexts(table()), IsEmpty());
    EXPECT_THAT(photoLibrary().urls(), IsEmpty());
}

TEST_F(DeletingKnownFilesTest, anApplicationIsUninstalledByTheSystem)
{
    addApplication("App");
    addApplication("Other");
    installer().workspaceAnswers = true;
    show({"Applications", "App"});
    deleteScreen();
    EXPECT_THAT(installer().asked, IsEmpty()) << "first the user";
    EXPECT_EQ(top().actionSheet()->title(), QStringLiteral("Uninstall App?"));
    uninstallAfterTheQuestion();
    EXPECT_THAT(installer().asked, ElementsAre("find function", "find class", "call class com.example.App"));
    EXPECT_TRUE(exists("apps/App/App.app/Info.plist")) << "removing the files is the installer's";
    EXPECT_THAT(rowTexts(table()), ElementsAre("Other"));
    EXPECT_EQ(ids().timesRaised(), 0U);
}

TEST_F(DeletingKnownFilesTest, theWayToUninstallIsFoundOnceForAll)
{
    addApplication("App");
    addApplication("Other");
    installer().functionAnswers = 0;
    show({"Applications"});
    for (const char *name : {"App", "Other"}) {
        deleteRow(name);
        uninstallAfterTheQuestion();
    }
    EXPECT_THAT(installer().asked, ElementsAre("find function", "call function com.example.App",
                                               "call function com.example.Other"));
    EXPECT_THAT(rowTexts(table()), IsEmpty());
}

TEST_F(DeletingKnownFilesTest, withoutAServiceThatUninstallsTheUserIsTold)
{
    addApplication("App");
    show({"Applications"});
    deleteRow("App");
    uninstallAfterTheQuestion();
    EXPECT_TRUE(top().alertView()->isVisible());
    EXPECT_EQ(top().alertView()->message(), QStringLiteral("Deletion failed for some or all of the files."));
    EXPECT_THAT(rowTexts(table()), ElementsAre("App"));
    EXPECT_TRUE(exists("apps/App/App.app/Info.plist"));
    EXPECT_EQ(logged().back(), "Searching iOS8 Class");
}

TEST_F(DeletingKnownFilesTest, anAttachmentsNameWithoutAFileIsAFailureAndNotTheEnd)
{
    addFile("Message Attachments/a/b.jpg", "/sms/GUID/b.jpg", 30);
    show({"Message Attachments"});
    deleteRow("a");
    EXPECT_TRUE(top().alertView()->isVisible());
    EXPECT_TRUE(exists("sms/GUID/b.jpg"));
}

} // namespace

} // namespace slicewise
