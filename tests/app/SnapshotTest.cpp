#include "app/Snapshot.h"

#include "tests/support/TemporaryDirectory.h"
#include "tests/ui/ScanScreenFixture.h"

#include <QImage>
#include <QQuickWindow>
#include <QSignalSpy>
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <filesystem>

namespace slicewise {
namespace {

class SnapshotTest : public ScanScreenTest {
protected:
    SnapshotTest()
    {
        window.resize(100, 80);
        window.setColor(Qt::red);
        window.show();
    }
    [[nodiscard]] OutputFile open(const std::string &path) const { return OutputFile::open(path).value(); }

    TemporaryDirectory folder;
    QQuickWindow window;
};

TEST_F(SnapshotTest, isTakenWhenTheScanIsDoneAndNotBefore)
{
    loadHeld();
    Snapshot snapshot(window, *screen, open(folder.pathOf("disk.png")));
    QSignalSpy taken(&snapshot, &Snapshot::taken);
    QCoreApplication::processEvents();
    EXPECT_EQ(taken.count(), 0);
    gate.letGo();
    ASSERT_TRUE(taken.wait());
    EXPECT_TRUE(screen->doneScan());
    EXPECT_EQ(taken.at(0).at(0).toInt(), 0);
    const QImage picture(QString::fromStdString(folder.pathOf("disk.png")));
    EXPECT_EQ(picture.size(), QSize(100, 80));
    EXPECT_EQ(picture.pixelColor(50, 40), QColor(Qt::red));
}

TEST_F(SnapshotTest, isTakenOfAWindowThatNeverStandsStill)
{
    load(memory);
    waitUntilDone(*screen);
    QObject::connect(&window, &QQuickWindow::frameSwapped, &window, &QQuickWindow::update);
    window.update();
    Snapshot snapshot(window, *screen, open(folder.pathOf("disk.png")), std::chrono::milliseconds(100));
    QSignalSpy taken(&snapshot, &Snapshot::taken);
    ASSERT_TRUE(taken.wait());
    EXPECT_EQ(QImage(QString::fromStdString(folder.pathOf("disk.png"))).size(), QSize(100, 80));
}

TEST_F(SnapshotTest, isTakenOnceOfAScanThatIsDoneAlready)
{
    load(memory);
    waitUntilDone(*screen);
    Snapshot snapshot(window, *screen, open("/dev/full"));
    QSignalSpy taken(&snapshot, &Snapshot::taken);
    ASSERT_TRUE(taken.wait());
    EXPECT_EQ(taken.count(), 1);
    EXPECT_EQ(taken.at(0).at(0).toInt(), ENOSPC);
}

} // namespace
} // namespace slicewise
