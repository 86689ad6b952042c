// Packages that the real tool removes from a folder, by finger.
#include "tests/delete/PackageFixture.h"
#include "tests/deleting_screens/Journey.h"

#include <gmock/gmock.h>

namespace slicewise {
namespace {

using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

class DeletingPackageJourney : public PackageFolder {
protected:
    void show()
    {
        m_tree->setName("Disk");
        for (const char *name : {"bar", "tool"}) {
            m_tree->addNodeForFile(std::string("Cydia Packages/") + name + "/usr/" + name,
                                   std::string("/usr/") + name);
        }
        push({m_tree.get()});
        push({m_tree.get(), m_tree->childNamed("Cydia Packages")});
        m_journey.show();
    }
    void push(std::vector<SZANode *> path)
    {
        m_journey.stack.pushViewController(finishedScreen(m_journey.services(), m_tree, std::move(path)));
    }
    void askForRow(const std::string &name)
    {
        m_journey.deleteRow(name);
        EXPECT_EQ(m_journey.top().actionSheet()->title().toStdString(), "Uninstall " + name + "?");
    }

    // Without the package tool's own records.
    Journey m_journey{m_root.path(), {"/var/lib/dpkg/", "/var/log"}};
    std::shared_ptr<SZANode> m_tree = std::make_shared<SZANode>(&m_journey.folder.device());
    DeletingFingers &fingers() { return m_journey.fingers(); }
};

TEST_F(DeletingPackageJourney, onePackageGoesAndLeavesNothingButItsConfiguration)
{
    install({.name = "bar", .files = {"/usr/bar", "/etc/bar.conf"}, .conffile = "/etc/bar.conf"});
    install({.name = "tool", .files = {"/usr/tool"}});
    show();
    askForRow("bar");
    ASSERT_TRUE(fingers().answers("action0"));
    EXPECT_FALSE(fingers().isAlerted());
    EXPECT_THAT(m_journey.rows(), ElementsAre("tool"));
    m_journey.expectGone({"/usr/bar 3"});
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
    ASSERT_TRUE(fingers().answers("action0"));
    ASSERT_TRUE(fingers().alerts());
    EXPECT_EQ(ScreenWindow::textsIn(fingers().alert()),
              QStringList({"Delete failed", "bar is required by tool", "Close"}));
    ASSERT_TRUE(fingers().closesTheAlert());
    EXPECT_THAT(m_journey.rows(), UnorderedElementsAre("bar", "tool"));
    m_journey.expectGone({});
    EXPECT_EQ(stateOf("bar"), "install ok installed");
}

TEST_F(DeletingPackageJourney, whoeverCancelsKeepsThePackage)
{
    install({.name = "bar", .files = {"/usr/bar"}});
    install({.name = "tool", .files = {"/usr/tool"}});
    show();
    askForRow("bar");
    ASSERT_TRUE(fingers().answers("cancel"));
    EXPECT_FALSE(fingers().isAlerted());
    EXPECT_THAT(m_journey.rows(), UnorderedElementsAre("bar", "tool"));
    m_journey.expectGone({});
    EXPECT_EQ(changingCalls(), "");
}

TEST_F(DeletingPackageJourney, oneOnItsOwnScreenGoesByTheBarAndTheScreenWithIt)
{
    install({.name = "bar", .files = {"/usr/bar"}});
    install({.name = "tool", .files = {"/usr/tool"}});
    show();
    SZANode *const packages = m_tree->childNamed("Cydia Packages");
    push({m_tree.get(), packages, packages->childNamed("bar")});
    ASSERT_TRUE(m_journey.window().comesToRest());
    fingers().tapBarButton();
    ASSERT_TRUE(DeletingFingers::isOver(m_journey.top()));
    ASSERT_TRUE(fingers().asks());
    m_journey.window().tap(*ScreenWindow::itemNamed(fingers().question(), QStringLiteral("action0")));
    ASSERT_TRUE(comesTrue([this] { return m_journey.stack.count() == 2 && !m_journey.stack.isDeleting(); }));
    ASSERT_TRUE(m_journey.window().comesToRest());
    EXPECT_THAT(m_journey.rows(), ElementsAre("tool"));
    EXPECT_EQ(stateOf("bar"), "unknown");
    EXPECT_FALSE(exists("usr/bar"));
    EXPECT_EQ(m_journey.window().warnings(), QStringList());
}

} // namespace
} // namespace slicewise
