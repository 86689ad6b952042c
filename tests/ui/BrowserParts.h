// What the tests of the screens stand on: time that is moved by hand, a system that notes what it is asked,
// trees made by hand and screens on them.
#pragma once

#include "tests/support/MemoryDevice.h"
#include "tests/ui/StandInDeletion.h"
#include "ui/SZANavigationController.h"
#include "ui/SZAViewController.h"

#include <QCoreApplication>
#include <QEventLoop>

#include <algorithm>
#include <functional>
#include <list>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace slicewise {

using Notes = std::vector<std::string>;

class SteppedTimers final : public Timers {
public:
    std::unique_ptr<RunningTimer> schedule(double seconds, Repeats repeats,
                                           std::function<void()> fire) override
    {
        m_entries.push_back(std::make_shared<Entry>(
            Entry{.due = m_now + seconds, .seconds = seconds, .repeats = repeats, .fire = std::move(fire)}));
        return std::make_unique<Handle>(m_entries.back());
    }

    /// Lets time pass; what becomes due fires in its order.
    void pass(double seconds)
    {
        const double end = m_now + seconds;
        for (auto next = nextBefore(end); next != nullptr; next = nextBefore(end)) {
            m_now = next->due;
            if (next->repeats == Repeats::Yes) {
                next->due += next->seconds;
            } else {
                next->stopped = true;
            }
            next->fire();
        }
        m_now = end;
    }
    /// The periods of those that run.
    [[nodiscard]] std::vector<double> running() const
    {
        std::vector<double> periods;
        for (const auto &entry : m_entries) {
            if (!entry->stopped) {
                periods.push_back(entry->seconds);
            }
        }
        return periods;
    }

private:
    struct Entry {
        double due = 0;
        double seconds = 0;
        Repeats repeats = Repeats::No;
        std::function<void()> fire;
        bool stopped = false;
    };
    class Handle final : public RunningTimer {
    public:
        explicit Handle(std::shared_ptr<Entry> entry) : m_entry(std::move(entry)) {}
        Handle(const Handle &) = delete;
        Handle &operator=(const Handle &) = delete;
        ~Handle() override { m_entry->stopped = true; }

    private:
        std::shared_ptr<Entry> m_entry;
    };

    [[nodiscard]] std::shared_ptr<Entry> nextBefore(double end) const
    {
        std::shared_ptr<Entry> next;
        for (const auto &entry : m_entries) {
            if (!entry->stopped && entry->due <= end && (next == nullptr || entry->due < next->due)) {
                next = entry;
            }
        }
        return next;
    }

    double m_now = 0;
    std::list<std::shared_ptr<Entry>> m_entries;
};

class NotingIdleTimer final : public IdleTimer {
public:
    explicit NotingIdleTimer(Notes &notes) : m_notes(notes) {}
    void setIdleTimerDisabled(bool disabled) override
    {
        m_notes.emplace_back(disabled ? "stays awake" : "may sleep");
    }

private:
    Notes &m_notes;
};

class NotingBackgroundTasks final : public BackgroundTasks {
public:
    explicit NotingBackgroundTasks(Notes &notes) : m_notes(notes) {}
    Identifier beginBackgroundTaskWithExpirationHandler(std::function<void()> expirationHandler) override
    {
        m_notes.emplace_back("background begins");
        expire = std::move(expirationHandler);
        return kIdentifier;
    }
    void endBackgroundTask(Identifier task) override
    {
        m_notes.push_back("background ends " + std::to_string(task));
    }

    static constexpr Identifier kIdentifier = 4711;
    std::function<void()> expire;

private:
    Notes &m_notes;
};

/// Can present what it is told to, and notes what it is asked.
class NotingPresenter final : public DocumentPresenter {
public:
    bool canPresent(DocumentPresentation presentation, const std::string &filename) override
    {
        asked.emplace_back(presentation, filename);
        return can.contains(presentation);
    }
    std::set<DocumentPresentation> can = {DocumentPresentation::Preview};
    std::vector<std::pair<DocumentPresentation, std::string>> asked;
};

struct System {
    System()
        : log([this](std::string_view line) { lines.emplace_back(line); }),
          idleTimer(notes),
          backgroundTasks(notes)
    {}

    [[nodiscard]] BrowserServices services(const Device &device)
    {
        return {.device = &device,
                .log = &log,
                .timers = &timers,
                .documents = &presenter,
                .idleTimer = &idleTimer,
                .backgroundTasks = &backgroundTasks,
                .idiom = idiom,
                .systemVersion = {},
                .scan = scan,
                .deletion = deletion};
    }

    Notes notes;
    Notes lines; ///< of the log
    Log log;
    SteppedTimers timers;
    NotingIdleTimer idleTimer;
    NotingBackgroundTasks backgroundTasks;
    NotingPresenter presenter;
    UserInterfaceIdiom idiom = UserInterfaceIdiom::Phone;
    ScanOptions scan;
    StandInDeletion standIn;
    DeletionService *deletion = &standIn; ///< null: read-only
};

/// A tree as a scan leaves it, of files with these category paths and sizes.
class HandMadeTree {
public:
    using Files = std::vector<std::pair<std::string, std::uint64_t>>;

    explicit HandMadeTree(const Files &files)
    {
        root->setName("Disk");
        for (const auto &[categoryPath, sizeBytes] : files) {
            add(categoryPath, sizeBytes, "/file-" + std::to_string(m_count++));
        }
    }
    void add(const std::string &categoryPath, std::uint64_t sizeBytes, const std::string &file)
    {
        device.addFile(file, sizeBytes);
        root->addNodeForFile(categoryPath, file);
    }
    /// From the root down.
    [[nodiscard]] std::vector<SZANode *> path(const std::vector<std::string> &names) const
    {
        std::vector<SZANode *> nodes = {root.get()};
        for (const std::string &name : names) {
            nodes.push_back(nodes.back()->childNamed(name));
        }
        return nodes;
    }

    MemoryDevice device;
    std::shared_ptr<SZANode> root = std::make_shared<SZANode>(&device);

private:
    std::size_t m_count = 0;
};

/// A screen for the node at the end of a path from the root of a finished tree.
inline std::unique_ptr<SZAViewController> finishedScreen(const BrowserServices &services,
                                                         std::shared_ptr<SZANode> root,
                                                         std::vector<SZANode *> path)
{
    auto made = SZAViewController::controller(services);
    made->setRoot(std::move(root));
    made->setDoneScan(true);
    made->setCurrentPath(std::move(path));
    return made;
}

/// A screen that shows a node of a finished tree, on a stack and with a chart.
struct Shown {
    Shown(const HandMadeTree &tree, const std::vector<std::string> &names, System &system)
    {
        auto made = finishedScreen(system.services(tree.device), tree.root, tree.path(names));
        made->setChart(&chart);
        screen = made.get();
        stack.pushViewController(std::move(made));
    }

    [[nodiscard]] bool isOut(std::size_t slice) const { return chart.sliceLayers().at(slice)->isSelected(); }

    QVPieChart chart{QRectF(0, 0, 200, 100)};
    SZANavigationController stack;
    SZAViewController *screen = nullptr;
};

/// n children of the category "Others", the first the largest: "child 0" of n * 10 bytes, "child 1" of 10
/// less, ...
inline HandMadeTree::Files manyChildren(std::size_t count)
{
    HandMadeTree::Files files;
    for (std::size_t i = 0; i < count; ++i) {
        files.emplace_back("Others/child " + std::to_string(i) + "/leaf", (count - i) * 10);
    }
    return files;
}

inline std::vector<std::string> namesOf(const std::vector<SZANode *> &nodes)
{
    std::vector<std::string> names;
    for (const SZANode *node : nodes) {
        names.emplace_back(node->name());
    }
    return names;
}

inline std::string rowText(NodeTable &table, int row, int role = NodeTable::NameRole)
{
    return table.data(table.index(row), role).toString().toStdString();
}

inline std::vector<std::string> rowTexts(NodeTable &table, int role = NodeTable::NameRole)
{
    std::vector<std::string> texts;
    for (int row = 0; row < table.rowCount(); ++row) {
        texts.push_back(rowText(table, row, role));
    }
    return texts;
}

/// The number of the row of that name; -1 where there is none.
inline int rowNamed(NodeTable &table, const std::string &name)
{
    const std::vector<std::string> names = rowTexts(table);
    const auto found = std::find(names.begin(), names.end(), name);
    return found == names.end() ? -1 : static_cast<int>(found - names.begin());
}

inline std::string subtitleOf(SZAViewController &screen)
{
    TitleLabel *const label = screen.navigationItem()->titleView();
    return label != nullptr ? label->subtitleLine().toStdString() : "(none)";
}

/// Lets the event loop work until nothing is being deleted any more, and what came of it is shown.
inline void waitForDeletion(const SZAViewController &screen)
{
    while (screen.isDeleting()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

/// In edit mode, which begins if need be: the row's minus, then its "Delete".
inline void tapDelete(SZAViewController &screen, int row)
{
    NodeTable &table = *screen.tableView();
    if (!table.isEditing()) {
        screen.rightBarButtonTapped();
    }
    table.toggleDeleteConfirmation(row);
    table.commitDelete(row);
}

/// The same, until what came of it is shown.
inline void deleteRow(SZAViewController &screen, int row)
{
    tapDelete(screen, row);
    waitForDeletion(screen);
}

/// Lets the event loop work, waiting for what other threads send, until the scan has been completed.
inline void waitUntilDone(const SZAViewController &screen)
{
    while (!screen.doneScan()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

} // namespace slicewise
