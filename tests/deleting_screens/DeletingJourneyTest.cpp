// Whole journeys by finger on a device in a folder: from the scan to what is gone from the disk, and to what
// another scan says.
#include "tests/deleting_screens/Journey.h"
#include "tests/scan/TestSize.h"

#include <fmt/format.h>

#include <atomic>
#include <chrono>
#include <future>

namespace slicewise {
namespace {

using DeletingJourney = SampleJourney;
using Names = Journey::Names;

TEST_F(DeletingJourney, aFileGoesByItsRowAndTheScreensBelowKnow)
{
    m_folder.makeFile("private/var/stuff/one", 5'000'000);
    m_folder.makeFile("private/var/stuff/two", 3'000'000);
    m_journey.scan();
    const std::string name = m_journey.goToRowOf("/private/var/stuff/one");
    m_journey.deleteRow(name);
    EXPECT_FALSE(m_journey.fingers().isAlerted());
    EXPECT_EQ(rowNamed(*m_journey.top().tableView(), name), -1);
    EXPECT_EQ(m_journey.window().inBar("subtitleLine").property("text").toString(), "2.9 MB");
    m_journey.expectGone({"/private/var/stuff/one 5000000"});
    m_journey.expectTrue();
    m_journey.fingers().tapBarButton();
    m_journey.window().key(Qt::Key_Escape);
    ASSERT_TRUE(m_journey.window().comesToRest());
    NodeTable &table = *m_journey.top().tableView();
    EXPECT_EQ(rowText(table, rowNamed(table, "stuff"), NodeTable::SizeTextRole), "2.9 MB");
}

/// Holds the n-th removal from now on, until somebody has seen what was to be seen meanwhile.
class HeldRemoval {
public:
    HeldRemoval(FailingSystemCalls &calls, std::uint64_t n) : m_left(n)
    {
        calls.runBefore(FailingSystemCalls::Function::UnlinkAt, [this](const FailingSystemCalls::Call &) {
            if (--m_left == 0) {
                m_letGo.get_future().wait_for(std::chrono::minutes(1));
            }
        });
    }
    void letGo() { m_letGo.set_value(); }
    [[nodiscard]] bool isReached() const { return m_left == 0; }

private:
    std::atomic<std::uint64_t> m_left;
    std::promise<void> m_letGo;
};

TEST_F(DeletingJourney, aDirectoryOfTenThousandFilesLosesThemAllAndKeepsItsDirectoriesWhileTheSpinnerTurns)
{
    const std::uint64_t files = 10'000 * testSize();
    std::set<std::string> gone;
    for (std::uint64_t i = 0; i < files; ++i) {
        const std::string file = fmt::format("private/var/heap/sub{}/file{}", i % 100, i);
        m_folder.makeFile(file, i);
        gone.insert(fmt::format("/{} {}", file, i));
    }
    m_journey.scan();
    static_cast<void>(m_journey.goToRowOf("/private/var/heap/sub1/file1"));
    m_journey.stack.goBack();
    m_journey.stack.goBack();
    ASSERT_TRUE(m_journey.window().comesToRest());

    // However fast the disk is.
    HeldRemoval last(m_journey.folder.calls, files);
    SZAViewController &screen = m_journey.top();
    DeletingFingers &fingers = m_journey.fingers();
    ASSERT_TRUE(fingers.edits());
    const int heap = rowNamed(*screen.tableView(), "heap");
    ASSERT_TRUE(fingers.opens(heap));
    m_journey.window().tap(*fingers.deleteButton(heap));
    const QQuickItem &spinner = *ScreenWindow::itemsOfType(fingers.overlay(), "ActivityIndicator").at(0);
    for (int turn = 0; turn < 3; ++turn) {
        const int before = spinner.property("brightest").toInt();
        EXPECT_TRUE(comesTrue([&] { return spinner.property("brightest").toInt() != before; }));
    }
    EXPECT_TRUE(screen.isDeleting());
    last.letGo();
    ASSERT_TRUE(DeletingFingers::isOver(screen));
    EXPECT_TRUE(last.isReached());
    EXPECT_FALSE(fingers.isAlerted());
    m_journey.expectGone(gone);
    m_journey.expectTrue();
}

TEST_F(DeletingJourney, aScreenGoesByTheButtonOfItsBar)
{
    m_journey.scan();
    const std::string category = fileOf("Application Data/").category;
    const Names names = {"Application Data", category.substr(17, category.find('/', 17) - 17)};
    m_journey.goTo(names);
    std::set<std::string> gone;
    for (const SampleFile &file : m_plan.files) {
        if (file.category.starts_with(fmt::format("Application Data/{}/", names[1]))) {
            gone.insert(nameOnDisk(file));
        }
    }
    ScreenWindow &window = m_journey.window();
    ASSERT_EQ(window.inBar("rightButton").property("text").toString(), "Delete");
    const SZAViewController &screen = m_journey.top();
    m_journey.fingers().tapBarButton();
    EXPECT_TRUE(screen.isDeleting()) << "without a question";
    ASSERT_TRUE(comesTrue([&] { return m_journey.stack.count() == 2 && !m_journey.stack.isDeleting(); }));
    ASSERT_TRUE(window.comesToRest());
    EXPECT_EQ(window.inBar("titleLine").property("text").toString(), "Application Data");
    EXPECT_EQ(rowNamed(*m_journey.top().tableView(), names[1]), -1);
    m_journey.expectGone(gone);
    m_journey.expectTrue();
}

TEST_F(DeletingJourney, anAttachmentGoesWithItsDirectory)
{
    const SampleFile file = fileOf("Message Attachments/IMG_0001.JPG");
    m_journey.scan();
    m_journey.goTo({"Message Attachments"});
    m_journey.deleteRow("IMG_0001.JPG");
    EXPECT_FALSE(m_journey.fingers().isAlerted());
    m_journey.expectGone({nameOnDisk(file), file.path.substr(0, file.path.rfind('/'))});
    m_journey.expectTrue();
}

TEST_F(DeletingJourney, aPhotoThatTheLibraryDoesNotKnowGoesAsAFile)
{
    m_folder.makeFile("private/var/mobile/Media/DCIM/100APPLE/STRAY.JPG", 4'000'000);
    m_journey.scan();
    m_journey.deleteRow(m_journey.goToRowOf("/private/var/mobile/Media/DCIM/100APPLE/STRAY.JPG"));
    EXPECT_EQ(m_journey.stack.viewControllerAt(1)->navigationItem()->title(), "Photos");
    EXPECT_FALSE(m_journey.fingers().isAlerted());
    m_journey.expectGone({"/private/var/mobile/Media/DCIM/100APPLE/STRAY.JPG 4000000"});
    m_journey.expectTrue();
}

TEST_F(DeletingJourney, anApplicationThatNothingCanUninstallStaysAndTheUserIsTold)
{
    m_journey.scan();
    m_journey.goTo({"Applications"});
    const std::string name = m_journey.rows().front();
    const std::string subtitle = subtitleOf(m_journey.top());
    m_journey.deleteRow(name);
    EXPECT_EQ(m_journey.top().actionSheet()->title().toStdString(), "Uninstall " + name + "?");
    DeletingFingers &fingers = m_journey.fingers();
    ASSERT_TRUE(fingers.answers("action0"));
    ASSERT_TRUE(comesTrue([&] { return fingers.isAlerted(); }));
    EXPECT_EQ(ScreenWindow::textsIn(fingers.alert()),
              QStringList({"Delete failed", "Deletion failed for some or all of the files.", "Close"}));
    ASSERT_TRUE(fingers.closesTheAlert());
    EXPECT_EQ(m_journey.rows().front(), name);
    EXPECT_EQ(subtitleOf(m_journey.top()), subtitle);
    m_journey.expectGone({});
    m_journey.expectTrue();
}

TEST_F(DeletingJourney, whoeverCancelsKeepsEverything)
{
    m_journey.scan();
    m_journey.goTo({"Applications"});
    const Names before = m_journey.rows();
    m_journey.deleteRow(before.front());
    ASSERT_TRUE(m_journey.fingers().answers("cancel"));
    EXPECT_FALSE(m_journey.fingers().isAlerted());
    EXPECT_EQ(m_journey.rows(), before);
    EXPECT_EQ(m_journey.top().deletePath(), std::nullopt);
    EXPECT_EQ(m_journey.top().deleteIndexPath(), std::nullopt);
    m_journey.expectGone({});
    m_journey.expectTrue();
}

} // namespace
} // namespace slicewise
