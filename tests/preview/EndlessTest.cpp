// Files so long that single precision, in which a window is drawn, can't tell their lines' places apart.
#include "tests/preview/SheetsFixture.h"

#include <filesystem>
#include <string>
#include <vector>

namespace slicewise {
namespace {

using testing::AllOf;
using testing::Each;
using testing::Ge;
using testing::Le;

/// From each line of a picture of a preview to the next one, by what stands at its beginning.
std::vector<int> distancesOfLines(const QImage &picture)
{
    constexpr int kBelowTheBar = 120;
    constexpr int kAboveTheBottom = 60;
    const auto isEmpty = [&](int y) {
        for (int x = 12; x < 90; ++x) {
            if (qGray(picture.pixel(x, y)) < 160) {
                return false;
            }
        }
        return true;
    };
    std::vector<int> distances;
    int before = 0;
    for (int y = kBelowTheBar; y < picture.height() - kAboveTheBottom; ++y) {
        if (isEmpty(y - 1) && !isEmpty(y)) {
            if (before > 0) {
                distances.push_back(y - before);
            }
            before = y;
        }
    }
    return distances;
}

class Endless : public Sheets {
protected:
    void presentItsEnd()
    {
        present("presentPreview", "/file");
        settle();
        view = find("content")->property("item").value<QQuickItem *>();
        QTest::keyClick(&window, Qt::Key_End);
    }

    QQuickItem *row(int index)
    {
        QQuickItem *item = nullptr;
        QMetaObject::invokeMethod(view, "itemAtIndex", Q_RETURN_ARG(QQuickItem *, item), Q_ARG(int, index));
        return item;
    }
    bool isRead(int index)
    {
        return row(index) != nullptr && !row(index)->property("pieceText").toString().isEmpty();
    }

    /// Scrolls to where the last row but one ends, so far from the top of the view.
    void showTheLastJoint(double fromTheTop)
    {
        const int last = document()->pieces()->rowCount() - 1;
        ASSERT_TRUE(eventually([&] {
            if (row(last) == nullptr) {
                QMetaObject::invokeMethod(view, "positionViewAtEnd");
                return false;
            }
            // What lies above it is read only now, and moves it.
            view->setProperty("contentY", row(last)->y() - fromTheTop);
            return isRead(last) && isRead(last - 1);
        }));
        settle();
    }

    void expectEqualDistances()
    {
        const std::vector<int> distances = distancesOfLines(window.grabWindow());
        ASSERT_GT(distances.size(), 10U);
        EXPECT_THAT(distances, Each(AllOf(Ge(distances.front() - 1), Le(distances.front() + 1))));
    }

    QQuickItem *view = nullptr;
};

TEST_F(Endless, textHasItsLinesAtEqualDistances)
{
    std::string lines;
    for (int i = 0; i < 6'000'000; ++i) {
        lines += "xy\n";
    }
    preview.directory.writeFile("file", lines);
    presentItsEnd();
    ASSERT_EQ(document()->view(), Document::View::Text);
    for (const double fromTheTop : {300.0, 301.0, 305.0, 310.0}) {
        showTheLastJoint(fromTheTop);
        EXPECT_GT(view->property("contentY").toDouble(), 5e7);
        expectEqualDistances();
    }
}

TEST_F(Endless, bytesHaveTheirLinesAtEqualDistances)
{
    preview.directory.writeFile("file", "");
    std::filesystem::resize_file(preview.directory.path() + "/file",
                                 std::uintmax_t{2'000'000'100}); // one hole
    presentItsEnd();
    ASSERT_EQ(document()->view(), Document::View::Bytes);
    for (const double fromTheTop : {150.0, 151.0, 155.0, 160.0}) {
        showTheLastJoint(fromTheTop);
        EXPECT_GT(view->property("contentY").toDouble(), 1e9);
        expectEqualDistances();
    }
}

} // namespace
} // namespace slicewise
