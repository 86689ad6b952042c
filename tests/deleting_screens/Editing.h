// A screen whose rows can be edited, in a window, with nothing real to delete.
#pragma once

#include "tests/deleting_screens/DeletingFingers.h"
#include "tests/ui_screens/BrowsedTree.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace slicewise {

/// "Message Attachments": six that may be deleted, and "Previews", which may not, in their middle.
inline HandMadeTree::Files attachments()
{
    return {{"Message Attachments/a.jpg", 700}, {"Message Attachments/b.jpg", 600},
            {"Message Attachments/c.jpg", 500}, {"Message Attachments/Previews/p.jpg", 450},
            {"Message Attachments/d.jpg", 400}, {"Message Attachments/e.jpg", 300}};
}

struct Editing {
    explicit Editing(const HandMadeTree::Files &files = attachments(),
                     const std::vector<std::string> &path = {"Message Attachments"},
                     const ScreenWindow::Look &look = {})
        : browsed(files, path), window(browsed.stack, look), fingers(window)
    {
        EXPECT_TRUE(window.comesToRest());
        EXPECT_TRUE(comesTrue([this] { return window.list().hasActiveFocus(); }));
    }
    [[nodiscard]] NodeTable &table() { return *browsed.top().tableView(); }
    [[nodiscard]] std::vector<std::string> calls() const { return browsed.system.standIn.calls(); }

    BrowsedTree browsed;
    ScreenWindow window;
    DeletingFingers fingers;
};

inline QRectF inScene(const QQuickItem &item)
{
    return item.mapRectToScene(QRectF(0, 0, item.width(), item.height()));
}

} // namespace slicewise
