// Real packages: removed from a folder by the real tool, from a screen.
#include "platform/HostDevice.h"
#include "tests/delete/PackageFixture.h"
#include "tests/ui/BrowserParts.h"

#include <gmock/gmock.h>

namespace slicewise {

namespace {

using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

class DeletingPackageTest : public PackageFolder {
protected:
    void show()
    {
        m_device = std::move(HostDevice::open(m_root.path())).value();
        tree = std::make_shared<SZANode>(m_device.get());
        for (const char *name : {"bar", "tool"}) {
            tree->addNodeForFile(std::string("Cydia Packages/") + name + "/usr/" + name,
                                 std::string("/usr/") + name);
        }
        m_service = std::make_unique<DeviceDeletion>(Deletion{.device = *m_device,
                                                              .log = system.log,
                                                              .privileges = m_privileges,
                                                              .photoLibrary = *m_photoLibrary,
                                                              .installer = *m_installer,
                                                              .deviceVersion = {}});
        system.deletion = m_service.get();
        auto made = SZAViewController::controller(system.services(*m_device));
        made->setRoot(tree);
        made->setDoneScan(true);
        made->setCurrentPath(std::vector{tree.get(), tree->childNamed("Cydia Packages")});
        screen = made.get();
        stack.pushViewController(std::move(made));
        screen->rightBarButtonTapped();
    }
    void uninstall(const std::string &name)
    {
        const std::vector<std::string> names = rowTexts(*screen->tableView());
        const int row = static_cast<int>(std::find(names.begin(), names.end(), name) - names.begin());
        screen->tableView()->toggleDeleteConfirmation(row);
        screen->tableView()->commitDelete(row);
        waitForDeletion(*screen);
        EXPECT_TRUE(screen->actionSheet()->isVisible());
        screen->actionSheetClickedButtonAtIndex(UIActionSheet::destructiveButtonIndex());
        waitForDeletion(*screen);
    }

    System system;
    std::shared_ptr<SZANode> tree;
    SZAViewController *screen = nullptr;

private:
    std::unique_ptr<HostDevice> m_device;
    Privileges m_privileges = Privileges::dropAtEntry();
    std::unique_ptr<PhotoLibrary> m_photoLibrary = refusingPhotoLibrary(system.log);
    std::unique_ptr<ApplicationInstaller> m_installer = refusingApplicationInstaller(system.log);
    std::unique_ptr<DeviceDeletion> m_service;

protected:
    SZANavigationController stack;
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
