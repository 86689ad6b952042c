// What whole journeys of deletion share: a device in a folder, its screens in a window, fingers on them, and
// a look at what has gone from the disk.
#pragma once

#include "tests/deleting_screens/DeletingFingers.h"
#include "tests/support/SampleDevice.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/ui/FolderDeletion.h"

#include <gtest/gtest.h>

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace slicewise {

class Journey {
public:
    using Names = std::vector<std::string>;

    /// The folder is borrowed. Names that begin with one of `unwatched` are nobody's business.
    explicit Journey(std::string folder, Names unwatched = {});
    Journey(const Journey &) = delete;
    Journey &operator=(const Journey &) = delete;
    ~Journey() = default;

    [[nodiscard]] BrowserServices services();
    /// The screens that have been pushed, in a window.
    void show();
    /// The first screen, in a window, when it has scanned the folder.
    void scan();
    /// Down from the screen on top, tap by tap.
    void goTo(const Names &names);
    /// To the screen that has the file's row on it, of a scanned folder; the row's name.
    [[nodiscard]] std::string goToRowOf(const std::string &filename);
    /// In edit mode, by its minus and its "Delete"; until that is over.
    void deleteRow(const std::string &name);

    /// Takes what is on the disk now for what was there before.
    void look();
    /// Exactly these have gone since: "/path 12" of files, with their sizes, "/path" of all else.
    void expectGone(const std::set<std::string> &gone) const;
    /// Another scan finds what the screens show.
    void expectTrue();

    [[nodiscard]] SZAViewController &top() const { return *stack.topViewController(); }
    [[nodiscard]] const SZANode &root() const { return *stack.viewControllerAt(0)->root(); }
    [[nodiscard]] std::vector<std::string> rows() const { return rowTexts(*top().tableView()); }
    [[nodiscard]] ScreenWindow &window() { return m_window.value(); }
    [[nodiscard]] DeletingFingers &fingers() { return m_fingers.value(); }

    System system;
    FolderDeletion folder;
    SZANavigationController stack;

private:
    [[nodiscard]] std::set<std::string> namesOnDisk() const;

    std::string m_path;
    Names m_unwatched;
    std::set<std::string> m_before;
    std::unique_ptr<Timers> m_timers = makeEventLoopTimers();
    std::optional<ScreenWindow> m_window;
    std::optional<DeletingFingers> m_fingers;
};

/// On a small device with something of everything.
class SampleJourney : public testing::Test {
protected:
    /// Of the sample's files the first that is filed there.
    [[nodiscard]] const SampleFile &fileOf(std::string_view category) const;

    TemporaryDirectory m_folder;
    SampleDevicePlan m_plan = makeSampleDevice(m_folder.path(), {.seed = 1, .scale = 0.02});
    Journey m_journey{m_folder.path()};
};

/// As Journey::expectGone() wants it.
[[nodiscard]] std::string nameOnDisk(const SampleFile &file);

} // namespace slicewise
