// Deleting, by finger, from a disk that is another one than the scan has seen.
#include "tests/deleting_screens/Journey.h"
#include "tests/support/DiskState.h"

#include <gmock/gmock.h>

#include <cerrno>

namespace slicewise {
namespace {

using ::testing::ElementsAre;

/// With "/private/var/stuff" on it: the files one, two and, in a directory below, three.
class ChangedDisk : public SampleJourney {
protected:
    ChangedDisk()
    {
        m_folder.makeFile("private/var/stuff/one", 5'000'000);
        m_folder.makeFile("private/var/stuff/two", 3'000'000);
        m_folder.makeFile("private/var/stuff/below/three", 1'000'000);
    }
    /// To the screen with the row "stuff" on it.
    void goToStuff()
    {
        static_cast<void>(m_journey.goToRowOf("/private/var/stuff/one"));
        m_journey.stack.goBack();
        ASSERT_TRUE(m_journey.window().comesToRest());
    }
    /// What can be seen of the screen on top.
    [[nodiscard]] QStringList shown() { return ScreenWindow::textsIn(m_journey.window().browser()); }
    /// What the log says of removals.
    [[nodiscard]] Notes failures() const
    {
        Notes lines = m_journey.system.lines;
        std::erase_if(lines, [](const std::string &line) {
            return line.find("could not be removed") == std::string::npos;
        });
        return lines;
    }
};

TEST_F(ChangedDisk, aFileThatHasGoneIsAFailureAndNothingElseIsTouched)
{
    m_journey.scan();
    const std::string name = m_journey.goToRowOf("/private/var/stuff/one");
    m_folder.remove("private/var/stuff/one");
    const Journey::Names before = m_journey.rows();
    m_journey.deleteRow(name);
    ASSERT_TRUE(m_journey.fingers().isAlerted());
    ASSERT_TRUE(m_journey.fingers().closesTheAlert());
    EXPECT_EQ(m_journey.rows(), before);
    EXPECT_EQ(m_journey.window().inBar("subtitleLine").property("text").toString(), "8.6 MB");
    EXPECT_TRUE(m_journey.top().tableView()->isEditing());
    EXPECT_THAT(failures(),
                ElementsAre("“/private/var/stuff/one” could not be removed: No such file or directory"));
    m_journey.expectGone({"/private/var/stuff/one 5000000"});
}

TEST_F(ChangedDisk, whatCameIntoADirectoryStaysAndAllThatWasScannedGoes)
{
    m_journey.scan();
    goToStuff();
    m_folder.makeFile("private/var/stuff/new", 10);
    m_folder.makeFile("private/var/stuff/below/newer", 20);
    m_folder.makeFile("private/var/stuff/fresh/newest", 30);
    m_folder.makeLink("private/var/stuff/link", "below");
    m_folder.makeFile("private/var/stuff/two", 40); // it has shrunk
    m_journey.look();
    m_journey.deleteRow("stuff");
    EXPECT_FALSE(m_journey.fingers().isAlerted());
    EXPECT_EQ(rowNamed(*m_journey.top().tableView(), "stuff"), -1);
    EXPECT_THAT(failures(), ElementsAre());
    m_journey.expectGone({"/private/var/stuff/one 5000000", "/private/var/stuff/two 40",
                          "/private/var/stuff/below/three 1000000"});
}

TEST_F(ChangedDisk, anAttachmentsDirectoryGoesWithWhatCameIntoIt)
{
    const SampleFile file = fileOf("Message Attachments/IMG_0001.JPG");
    const std::string directory = file.path.substr(0, file.path.rfind('/'));
    m_journey.scan();
    m_journey.goTo({"Message Attachments"});
    m_folder.makeFile(directory.substr(1) + "/new", 10);
    m_journey.look();
    m_journey.deleteRow("IMG_0001.JPG");
    EXPECT_FALSE(m_journey.fingers().isAlerted());
    m_journey.expectGone({nameOnDisk(file), directory + "/new 10", directory});
}

TEST_F(ChangedDisk, aDiskThatCanOnlyBeReadNowLosesNothingAndTheScreenStaysAsItWas)
{
    m_journey.scan();
    goToStuff();
    DeletingFingers &fingers = m_journey.fingers();
    ASSERT_TRUE(fingers.edits());
    const QStringList before = shown();
    const std::map<std::string, std::string> disk = diskState(m_folder.path());
    m_journey.folder.calls.failEach(FailingSystemCalls::Function::UnlinkAt, EROFS);
    ASSERT_TRUE(fingers.deletes(rowNamed(*m_journey.top().tableView(), "stuff")));
    ASSERT_TRUE(fingers.alerts());
    EXPECT_EQ(ScreenWindow::textsIn(fingers.alert()),
              QStringList({"Delete failed", "Deletion failed for some or all of the files.", "Close"}));
    ASSERT_TRUE(fingers.closesTheAlert());
    EXPECT_EQ(diskState(m_folder.path()), disk);
    EXPECT_THAT(failures(),
                ElementsAre("“/private/var/stuff/one” could not be removed: Read-only file system",
                            "“/private/var/stuff/two” could not be removed: Read-only file system",
                            "“/private/var/stuff/below/three” could not be removed: Read-only file system"));
    EXPECT_TRUE(fingers.isClosed());
    EXPECT_TRUE(comesTrue([&] { return shown() == before; }));
    EXPECT_TRUE(m_journey.top().tableView()->isEditing());
    m_journey.expectTrue();

    m_journey.folder.calls.heal();
    ASSERT_TRUE(fingers.deletes(rowNamed(*m_journey.top().tableView(), "stuff")));
    EXPECT_FALSE(fingers.isAlerted()) << "whoever makes it writable may try again";
    m_journey.expectTrue();
}

} // namespace
} // namespace slicewise
