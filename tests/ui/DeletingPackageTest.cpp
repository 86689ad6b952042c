// Real packages: removed from a folder by the real tool, from a screen.
#include "tests/delete/PackageFixture.h"
#include "tests/ui/BrowserParts.h"
#include "tests/ui/FolderDeletion.h"

#include <gmock/gmock.h>

namespace slicewise {

namespace {

using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

class DeletingPackageTest : public PackageFolder {
protected:
    void show()
    {
        for (const char *name : {"bar", "tool"}) {
            tree->addNodeForFile(std::string("Cydia Packages/") + name + "/usr/" + name,
                                 std::string("/usr/") + name);
        }
        system.deletion = &folder.service;
        stack.pushViewController(finishedScreen(system.services(folder.device()), tree,
                                                {tree.get(), tree->childNamed("Cydia Packages")}));
        screen = stack.topViewController();
    }
    void uninstall(const std::string &name)
    {
        deleteRow(*screen, rowNamed(*screen->tableView(), name));
        EXPECT_TRUE(screen->actionSheet()->isVisible());
        screen->actionSheetClickedButtonAtIndex(UIActionSheet::destructiveButtonIndex());
        waitForDeletion(*screen);
    }

    System system;
    FolderDeletion folder{m_root.path(), system.log};
    std::shared_ptr<SZANode> tree = std::make_shared<SZANode>(&folder.device());
    SZANavigationController stack;
    SZAViewController *screen = nullptr;
};

TEST_F(DeletingPackageTest, isRemovedByThePackageToolAfterTheQuestion)
{
    install({.name = "bar", .files = {"/usr/bar", "/etc/bar.conf"}, .conffile = "/etc/bar.conf"});
    install({.name = "tool", .files = {"/usr/tool"}});
    show();
    uninstall("bar");
    EXPECT_FALSE(screen->alertView()->isVisible());
    EXPECT_FALSE(exists("usr/bar"));
    EXPECT_TRUE(exists("etc/bar.conf"));
    EXPECT_TRUE(exists("usr/tool"));
    EXPECT_EQ(stateOf("bar"), "deinstall ok config-files");
    EXPECT_EQ(changingCalls(), call("--dry-run|-r|bar|") + call("-r|bar|"));
    EXPECT_THAT(rowTexts(*screen->tableView()), ElementsAre("tool"));
}

TEST_F(DeletingPackageTest, thatOthersNeedStaysAndTheUserLearnsWhose)
{
    install({.name = "bar", .files = {"/usr/bar"}});
    install({.name = "tool", .files = {"/usr/tool"}, .control = "Depends: bar\n"});
    show();
    uninstall("bar");
    EXPECT_TRUE(screen->alertView()->isVisible());
    EXPECT_EQ(screen->alertView()->title(), QStringLiteral("Delete failed"));
    EXPECT_EQ(screen->alertView()->message(), QStringLiteral("bar is required by tool"));
    EXPECT_TRUE(exists("usr/bar"));
    EXPECT_EQ(stateOf("bar"), "install ok installed");
    EXPECT_THAT(rowTexts(*screen->tableView()), UnorderedElementsAre("bar", "tool"));
}

} // namespace

} // namespace slicewise
