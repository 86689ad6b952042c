// What the tests of the drawn screens look at: finished trees and scans that are held, on a stack, with the
// event loop's own timers.
#pragma once

#include "tests/support/FailingDevice.h"
#include "tests/ui/ScanScreenFixture.h"
#include "tests/ui_screens/ScreenWindow.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace slicewise {

/// The screens of a path in a finished tree, one on the other.
class BrowsedTree {
public:
    explicit BrowsedTree(const HandMadeTree::Files &files, const std::vector<std::string> &path = {},
                         UserInterfaceIdiom idiom = UserInterfaceIdiom::Phone)
        : tree(files)
    {
        system.idiom = idiom;
        for (std::size_t length = 0; length <= path.size(); ++length) {
            push({path.begin(), path.begin() + static_cast<std::ptrdiff_t>(length)});
        }
    }
    void push(const std::vector<std::string> &path)
    {
        BrowserServices services = system.services(tree.device);
        services.timers = timers.get();
        stack.pushViewController(finishedScreen(services, tree.root, tree.path(path)));
    }
    [[nodiscard]] SZAViewController &top() { return *stack.topViewController(); }

    System system;
    std::unique_ptr<Timers> timers = makeEventLoopTimers();
    HandMadeTree tree;
    SZANavigationController stack;
};

/// A first screen whose scan has found nothing yet or, after tick(), all but what lies behind the gate.
class HeldScan {
public:
    explicit HeldScan(UserInterfaceIdiom idiom = UserInterfaceIdiom::Phone)
    {
        system.idiom = idiom;
        system.scan.chain = &chain;
        held.memory.addFile("/small/a", 10'000'000);
        held.memory.addFile("/large/b", 700'000'000);
        held.memory.addFile("/middle/c", 300'000'000);
        // As it is on the stack; the timers are stepped, so that no tick comes by itself.
        stack.pushViewController(SZAViewController::controller(system.services(failing)));
    }
    HeldScan(const HeldScan &) = delete;
    HeldScan &operator=(const HeldScan &) = delete;
    ~HeldScan() { gate.letGo(); }

    /// Until the rows are there.
    void tick()
    {
        do {
            std::this_thread::yield();
            screen().updateCurrentSize();
        } while (screen().root()->size() < 1'010'000'000);
    }
    [[nodiscard]] bool finishes()
    {
        gate.letGo();
        return comesTrue([this] { return screen().doneScan(); });
    }
    [[nodiscard]] SZAViewController &screen() { return *stack.topViewController(); }

    System system;
    ClassifierChain chain = byDirectory();
    DeviceWithGate held{"small"};
    FailingDevice failing{static_cast<const Device &>(held.memory)};
    Gate gate{failing, "/gate"};
    SZANavigationController stack;
};

} // namespace slicewise
