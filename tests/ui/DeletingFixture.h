// Screens of a device on a stack, as if its user had gone that way, and what can be deleted there.
#pragma once

#include "tests/ui/BrowserParts.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace slicewise {

class DeletingTest : public ::testing::Test {
protected:
    /// A stack of screens from the root down, as if the user had gone that way.
    void goTo(const std::vector<std::string> &names)
    {
        for (std::size_t depth = 0; depth <= names.size(); ++depth) {
            stack.pushViewController(finishedScreen(
                system.services(tree.device), tree.root,
                tree.path({names.begin(), names.begin() + static_cast<std::ptrdiff_t>(depth)})));
        }
        top().setChart(&chart);
    }
    [[nodiscard]] SZAViewController &top() const { return *stack.topViewController(); }
    [[nodiscard]] NodeTable &table() const { return *top().tableView(); }
    /// What a screen shows: "name size", the subtitle in front.
    static std::vector<std::string> shownOn(SZAViewController &screen)
    {
        std::vector<std::string> texts = {subtitleOf(screen)};
        const std::vector<std::string> names = rowTexts(*screen.tableView());
        const std::vector<std::string> sizes = rowTexts(*screen.tableView(), NodeTable::SizeTextRole);
        for (std::size_t row = 0; row < names.size(); ++row) {
            texts.push_back(names[row] + " " + sizes[row]);
        }
        return texts;
    }

    System system;
    HandMadeTree tree{{{"Others/a/x", 400},
                       {"Others/a/y", 30},
                       {"Others/a/z", 2},
                       {"Others/b", 50},
                       {"Logs/l", 1000},
                       {"Message Attachments/photo.jpg", 7},
                       {"Photos/DCIM/100APPLE/i.jpg", 8},
                       {"Application Data/app/f", 9},
                       {"Applications/App/App.app/Info.plist", 3},
                       {"Cydia Packages/pkg/usr/f", 5}}};
    QVPieChart chart{QRectF(0, 0, 200, 100)};
    SZANavigationController stack;
};

} // namespace slicewise
