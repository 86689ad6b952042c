// Whole journeys by finger on a device in a folder: from the scan to what is gone from the disk, and to what
// another scan says.
#include "platform/HostDevice.h"
#include "tests/deleting_screens/DeletingFingers.h"
#include "tests/scan/TestSize.h"
#include "tests/support/SampleDevice.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/ui_screens/BrowsedTree.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <set>

namespace slicewise {
namespace {

using ::testing::Contains;
using ::testing::Not;

using Names = std::vector<std::string>;

/// Every name below a folder, files with their sizes.
std::set<std::string> namesBelow(const std::string &folder)
{
    std::set<std::string> names;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(folder)) {
        const std::string name = entry.path().string().substr(folder.size());
        const bool isFile = entry.is_regular_file() && !entry.is_symlink();
        names.insert(isFile ? fmt::format("{} {}", name, entry.file_size()) : name);
    }
    return names;
}

/// All sizes of a tree that are not 0, by the names that lead there.
void collectSizes(const SZANode &node, const std::string &path, std::map<std::string, std::uint64_t> &sizes)
{
    if (node.size() > 0) {
        sizes[path] = node.size();
    }
    for (const SZANode *const child : node.getNodes()) {
        collectSizes(*child, path + "/" + std::string(child->name()), sizes);
    }
}

std::map<std::string, std::uint64_t> sizesOf(const SZANode &root)
{
    std::map<std::string, std::uint64_t> sizes;
    collectSizes(root, "", sizes);
    return sizes;
}

/// The names that lead to a file; empty where the tree has none of that name.
Names wayTo(const SZANode &node, const std::string &filename)
{
    for (const SZANode *const child : node.getNodes()) {
        if (child->filename() == filename) {
            return {std::string(child->name())};
        }
        Names rest = wayTo(*child, filename);
        if (!rest.empty()) {
            rest.insert(rest.begin(), std::string(child->name()));
            return rest;
        }
    }
    return {};
}

class DeletingJourney : public testing::Test {
protected:
    /// The scan of the folder as it is now, in a window.
    void begin()
    {
        m_before = namesBelow(m_folder.path());
        m_device = std::move(HostDevice::open(m_folder.path())).value();
        m_service.emplace(Deletion{.device = *m_device,
                                   .log = m_system.log,
                                   .privileges = m_privileges,
                                   .photoLibrary = *m_photoLibrary,
                                   .installer = *m_installer,
                                   .deviceVersion = {}});
        m_system.deletion = &*m_service;
        m_stack.pushViewController(SZAViewController::controller(services()));
        m_window.emplace(m_stack, ScreenWindow::Look{});
        m_fingers.emplace(*m_window);
        ASSERT_TRUE(comesTrue([this] { return top().doneScan(); }));
        ASSERT_TRUE(m_window->comesToRest());
    }
    /// Down from the first screen, tap by tap.
    void goTo(const Names &names)
    {
        for (const std::string &name : names) {
            const int row = rowNamed(top(), name);
            ASSERT_GE(row, 0) << name;
            m_window->scrollTo(row);
            ASSERT_TRUE(comesTrue([&] { return m_window->row(row) != nullptr; }));
            const int count = m_stack.count();
            m_window->tap(*m_window->row(row));
            ASSERT_TRUE(comesTrue([&] { return m_stack.count() == count + 1; })) << name;
            ASSERT_TRUE(m_window->comesToRest());
        }
    }
    void deleteRow(const std::string &name)
    {
        ASSERT_GE(rowNamed(top(), name), 0) << name;
        ASSERT_TRUE(m_fingers->edits());
        ASSERT_TRUE(m_fingers->deletes(rowNamed(top(), name)));
    }
    /// Exactly these have gone from the disk: files with their sizes, directories.
    void expectGone(const std::set<std::string> &gone)
    {
        std::set<std::string> expected = m_before;
        for (const std::string &name : gone) {
            EXPECT_EQ(expected.erase(name), 1U) << name;
        }
        const std::set<std::string> now = namesBelow(m_folder.path());
        EXPECT_EQ(now.size(), expected.size());
        EXPECT_TRUE(now == expected);
    }
    /// Another scan finds what the screens show.
    void expectTrue()
    {
        const std::map<std::string, std::uint64_t> shown = sizesOf(*m_stack.viewControllerAt(0)->root());
        const auto again = SZAViewController::controller(services());
        again->loadViewIfNeeded();
        ASSERT_TRUE(comesTrue([&] { return again->doneScan(); }));
        EXPECT_EQ(sizesOf(*again->root()), shown);
        EXPECT_EQ(m_window->warnings(), QStringList());
    }
    [[nodiscard]] SZAViewController &top() const { return *m_stack.topViewController(); }
    [[nodiscard]] const SZANode &root() const { return *m_stack.viewControllerAt(0)->root(); }
    [[nodiscard]] std::string nameOnDisk(const SampleFile &file) const
    {
        return fmt::format("{} {}", file.path, file.sizeBytes);
    }
    /// Of the sample's files the first that is filed there.
    [[nodiscard]] const SampleFile &fileOf(std::string_view category) const
    {
        const auto found = std::ranges::find_if(
            m_plan.files, [&](const SampleFile &file) { return file.category.starts_with(category); });
        if (found == m_plan.files.end()) {
            throw std::logic_error("no file of that category");
        }
        return *found;
    }
    [[nodiscard]] BrowserServices services()
    {
        BrowserServices all = m_system.services(*m_device);
        all.timers = m_timers.get();
        return all;
    }

    TemporaryDirectory m_folder;
    SampleDevicePlan m_plan = makeSampleDevice(m_folder.path(), {.seed = 1, .scale = 0.02});
    std::set<std::string> m_before;
    System m_system;
    std::unique_ptr<HostDevice> m_device;
    Privileges m_privileges = Privileges::dropAtEntry();
    std::unique_ptr<PhotoLibrary> m_photoLibrary = refusingPhotoLibrary(m_system.log);
    std::unique_ptr<ApplicationInstaller> m_installer = refusingApplicationInstaller(m_system.log);
    std::optional<DeviceDeletion> m_service;
    std::unique_ptr<Timers> m_timers = makeEventLoopTimers();
    SZANavigationController m_stack;
    std::optional<ScreenWindow> m_window;
    std::optional<DeletingFingers> m_fingers;
};

TEST_F(DeletingJourney, aFileGoesByItsRowAndTheScreensBelowKnow)
{
    m_folder.makeFile("private/var/stuff/one", 5'000'000);
    m_folder.makeFile("private/var/stuff/two", 3'000'000);
    begin();
    Names way = wayTo(root(), "/private/var/stuff/one");
    ASSERT_FALSE(way.empty());
    const std::string name = way.back();
    way.pop_back();
    goTo(way);
    deleteRow(name);
    EXPECT_FALSE(m_fingers->isAlerted());
    EXPECT_EQ(rowNamed(top(), name), -1);
    EXPECT_EQ(m_window->inBar("subtitleLine").property("text").toString(), "2.9 MB");
    expectGone({"/private/var/stuff/one 5000000"});
    expectTrue();
    m_fingers->tapBarButton();
    m_window->key(Qt::Key_Escape);
    ASSERT_TRUE(m_window->comesToRest());
    const int row = rowNamed(top(), "stuff");
    EXPECT_EQ(rowText(*top().tableView(), row, NodeTable::SizeTextRole), "2.9 MB");
}

TEST_F(DeletingJourney, aDirectoryOfTenThousandFilesLosesThemAllAndKeepsItsDirectories)
{
    const std::uint64_t files = 10'000 * testSize();
    std::set<std::string> gone;
    for (std::uint64_t i = 0; i < files; ++i) {
        const std::string file = fmt::format("private/var/heap/sub{}/file{}", i % 100, i);
        m_folder.makeFile(file, i);
        gone.insert(fmt::format("/{} {}", file, i));
    }
    begin();
    Names way = wayTo(root(), "/private/var/heap/sub1/file1");
    ASSERT_GE(way.size(), 3U);
    way.resize(way.size() - 3);
    goTo(way);
    deleteRow("heap");
    EXPECT_FALSE(m_fingers->isAlerted());
    expectGone(gone);
    expectTrue();
}

TEST_F(DeletingJourney, aScreenGoesByTheButtonOfItsBar)
{
    begin();
    const std::string category = fileOf("Application Data/").category;
    const Names names = {"Application Data", category.substr(17, category.find('/', 17) - 17)};
    goTo(names);
    std::set<std::string> gone;
    for (const SampleFile &file : m_plan.files) {
        if (file.category.starts_with(fmt::format("Application Data/{}/", names[1]))) {
            gone.insert(nameOnDisk(file));
        }
    }
    ASSERT_EQ(m_window->inBar("rightButton").property("text").toString(), "Delete");
    SZAViewController &screen = top();
    m_fingers->tapBarButton();
    EXPECT_TRUE(screen.isDeleting()) << "without a question";
    ASSERT_TRUE(comesTrue([&] { return m_stack.count() == 2 && !m_stack.isDeleting(); }));
    ASSERT_TRUE(m_window->comesToRest());
    EXPECT_EQ(m_window->inBar("titleLine").property("text").toString(), "Application Data");
    EXPECT_EQ(rowNamed(top(), names[1]), -1);
    expectGone(gone);
    expectTrue();
}

TEST_F(DeletingJourney, anAttachmentGoesWithItsDirectory)
{
    const SampleFile file = fileOf("Message Attachments/IMG_0001.JPG");
    begin();
    goTo({"Message Attachments"});
    deleteRow("IMG_0001.JPG");
    EXPECT_FALSE(m_fingers->isAlerted());
    expectGone({nameOnDisk(file), file.path.substr(0, file.path.rfind('/'))});
    expectTrue();
}

TEST_F(DeletingJourney, aPhotoThatTheLibraryDoesNotKnowGoesAsAFile)
{
    m_folder.makeFile("private/var/mobile/Media/DCIM/100APPLE/STRAY.JPG", 4'000'000);
    begin();
    Names way = wayTo(root(), "/private/var/mobile/Media/DCIM/100APPLE/STRAY.JPG");
    ASSERT_FALSE(way.empty());
    EXPECT_EQ(way.front(), "Photos");
    way.pop_back();
    goTo(way);
    deleteRow("STRAY.JPG");
    EXPECT_FALSE(m_fingers->isAlerted());
    expectGone({"/private/var/mobile/Media/DCIM/100APPLE/STRAY.JPG 4000000"});
    expectTrue();
}

TEST_F(DeletingJourney, anApplicationThatNothingCanUninstallStaysAndTheUserIsTold)
{
    begin();
    goTo({"Applications"});
    const std::string name = rowText(*top().tableView(), 0);
    const std::string subtitle = subtitleOf(top());
    deleteRow(name);
    EXPECT_EQ(top().actionSheet()->title().toStdString(), "Uninstall " + name + "?");
    ASSERT_TRUE(m_fingers->answers("action0"));
    ASSERT_TRUE(comesTrue([this] { return m_fingers->isAlerted(); }));
    EXPECT_EQ(ScreenWindow::textsIn(m_fingers->alert()),
              QStringList({"Delete failed", "Deletion failed for some or all of the files.", "Close"}));
    ASSERT_TRUE(m_fingers->closesTheAlert());
    EXPECT_EQ(rowText(*top().tableView(), 0), name);
    EXPECT_EQ(subtitleOf(top()), subtitle);
    expectGone({});
    expectTrue();
}

TEST_F(DeletingJourney, whoeverCancelsKeepsEverything)
{
    begin();
    goTo({"Applications"});
    const Names before = rowTexts(*top().tableView());
    deleteRow(before.front());
    ASSERT_TRUE(m_fingers->answers("cancel"));
    EXPECT_FALSE(m_fingers->isAlerted());
    EXPECT_EQ(rowTexts(*top().tableView()), before);
    EXPECT_EQ(top().deletePath(), std::nullopt);
    EXPECT_EQ(top().deleteIndexPath(), std::nullopt);
    expectGone({});
    expectTrue();
}

TEST_F(DeletingJourney, aFileThatHasGoneSinceTheScanIsAFailureAndNothingElseIsTouched)
{
    m_folder.makeFile("private/var/stuff/one", 5'000'000);
    m_folder.makeFile("private/var/stuff/two", 3'000'000);
    begin();
    Names way = wayTo(root(), "/private/var/stuff/one");
    ASSERT_FALSE(way.empty());
    way.pop_back();
    goTo(way);
    m_folder.remove("private/var/stuff/one");
    const Names before = rowTexts(*top().tableView());
    deleteRow("one");
    ASSERT_TRUE(m_fingers->isAlerted());
    ASSERT_TRUE(m_fingers->closesTheAlert());
    EXPECT_EQ(rowTexts(*top().tableView()), before);
    EXPECT_EQ(m_window->inBar("subtitleLine").property("text").toString(), "7.6 MB");
    EXPECT_TRUE(top().tableView()->isEditing());
    expectGone({"/private/var/stuff/one 5000000"});
}

} // namespace
} // namespace slicewise
