// Packages that the real tool removes from a folder, by finger.
#include "platform/HostDevice.h"
#include "tests/delete/PackageFixture.h"
#include "tests/deleting_screens/DeletingFingers.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <set>

namespace slicewise {
namespace {

using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

class DeletingPackageJourney : public PackageFolder {
protected:
    void show()
    {
        m_device = std::move(HostDevice::open(m_root.path())).value();
        m_tree = std::make_shared<SZANode>(m_device.get());
        m_tree->setName("Disk");
        for (const char *name : {"bar", "tool"}) {
            m_tree->addNodeForFile(std::string("Cydia Packages/") + name + "/usr/" + name,
                                   std::string("/usr/") + name);
        }
        m_service.emplace(Deletion{.device = *m_device,
                                   .log = m_system.log,
                                   .privileges = m_privileges,
                                   .photoLibrary = *m_photoLibrary,
                                   .installer = *m_installer,
                                   .deviceVersion = {}});
        m_system.deletion = &*m_service;
        push({m_tree.get()});
        push({m_tree.get(), m_tree->childNamed("Cydia Packages")});
        m_window.emplace(m_stack, ScreenWindow::Look{});
        m_fingers.emplace(*m_window);
        ASSERT_TRUE(m_window->comesToRest());
        m_before = files();
    }
    void push(const std::vector<SZANode *> &path)
    {
        BrowserServices services = m_system.services(*m_device);
        services.timers = m_timers.get();
        auto made = SZAViewController::controller(services);
        made->setRoot(m_tree);
        made->setDoneScan(true);
        made->setCurrentPath(path);
        m_stack.pushViewController(std::move(made));
    }
    void askForRow(const std::string &name)
    {
        ASSERT_TRUE(m_fingers->edits());
        ASSERT_TRUE(m_fingers->deletes(rowNamed(screen(), name)));
        EXPECT_EQ(screen().actionSheet()->title().toStdString(), "Uninstall " + name + "?");
    }
    /// All that is no record of the package tool's.
    [[nodiscard]] std::set<std::string> files() const
    {
        std::set<std::string> names;
        for (const auto &entry : std::filesystem::recursive_directory_iterator(m_root.path())) {
            const std::string name = entry.path().string().substr(m_root.path().size());
            if (!name.starts_with("/var/lib/dpkg/") && !name.starts_with("/var/log")) {
                names.insert(name);
            }
        }
        return names;
    }
    [[nodiscard]] SZAViewController &screen() const { return *m_stack.topViewController(); }
    [[nodiscard]] std::vector<std::string> rows() const { return rowTexts(*screen().tableView()); }

    System m_system;
    std::unique_ptr<HostDevice> m_device;
    std::shared_ptr<SZANode> m_tree;
    Privileges m_privileges = Privileges::dropAtEntry();
    std::unique_ptr<PhotoLibrary> m_photoLibrary = refusingPhotoLibrary(m_system.log);
    std::unique_ptr<ApplicationInstaller> m_installer = refusingApplicationInstaller(m_system.log);
    std::optional<DeviceDeletion> m_service;
    std::unique_ptr<Timers> m_timers = makeEventLoopTimers();
    SZANavigationController m_stack;
    std::optional<ScreenWindow> m_window;
    std::optional<DeletingFingers> m_fingers;
    std::set<std::string> m_before;
};

TEST_F(DeletingPackageJourney, onePackageGoesAndLeavesNothingButItsConfiguration)
{
    install({.name = "bar", .files = {"/usr/bar", "/etc/bar.conf"}, .conffile = "/etc/bar.conf"});
    install({.name = "tool", .files = {"/usr/tool"}});
    show();
    askForRow("bar");
    ASSERT_TRUE(m_fingers->answers("action0"));
    EXPECT_FALSE(m_fingers->isAlerted());
    EXPECT_THAT(rows(), ElementsAre("tool"));
    std::set<std::string> expected = m_before;
    EXPECT_EQ(expected.erase("/usr/bar"), 1U);
    EXPECT_EQ(files(), expected);
    EXPECT_EQ(stateOf("bar"), "deinstall ok config-files");
    EXPECT_EQ(stateOf("tool"), "install ok installed");
    EXPECT_EQ(m_tree->size(), 4U);
}

TEST_F(DeletingPackageJourney, oneThatOthersNeedStaysAndTheAlertSaysWhose)
{
    install({.name = "bar", .files = {"/usr/bar"}});
    install({.name = "tool", .files = {"/usr/tool"}, .control = "Depends: bar\n"});
    show();
    askForRow("bar");
    ASSERT_TRUE(m_fingers->answers("action0"));
    ASSERT_TRUE(m_fingers->alerts());
    EXPECT_EQ(ScreenWindow::textsIn(m_fingers->alert()),
              QStringList({"Delete failed", "bar is required by tool", "Close"}));
    ASSERT_TRUE(m_fingers->closesTheAlert());
    EXPECT_THAT(rows(), UnorderedElementsAre("bar", "tool"));
    EXPECT_EQ(files(), m_before);
    EXPECT_EQ(stateOf("bar"), "install ok installed");
}

TEST_F(DeletingPackageJourney, whoeverCancelsKeepsThePackage)
{
    install({.name = "bar", .files = {"/usr/bar"}});
    install({.name = "tool", .files = {"/usr/tool"}});
    show();
    askForRow("bar");
    ASSERT_TRUE(m_fingers->answers("cancel"));
    EXPECT_FALSE(m_fingers->isAlerted());
    EXPECT_THAT(rows(), UnorderedElementsAre("bar", "tool"));
    EXPECT_EQ(files(), m_before);
    EXPECT_EQ(changingCalls(), "");
}

TEST_F(DeletingPackageJourney, oneOnItsOwnScreenGoesByTheBarAndTheScreenWithIt)
{
    install({.name = "bar", .files = {"/usr/bar"}});
    install({.name = "tool", .files = {"/usr/tool"}});
    show();
    SZANode *const packages = m_tree->childNamed("Cydia Packages");
    push({m_tree.get(), packages, packages->childNamed("bar")});
    ASSERT_TRUE(m_window->comesToRest());
    m_fingers->tapBarButton();
    ASSERT_TRUE(DeletingFingers::isOver(screen()));
    ASSERT_TRUE(m_fingers->asks());
    m_window->tap(*ScreenWindow::itemNamed(m_fingers->question(), QStringLiteral("action0")));
    ASSERT_TRUE(comesTrue([this] { return m_stack.count() == 2 && !m_stack.isDeleting(); }));
    ASSERT_TRUE(m_window->comesToRest());
    EXPECT_THAT(rows(), ElementsAre("tool"));
    EXPECT_EQ(stateOf("bar"), "unknown");
    EXPECT_FALSE(exists("usr/bar"));
    EXPECT_EQ(m_window->warnings(), QStringList());
}

} // namespace
} // namespace slicewise
