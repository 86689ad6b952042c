// The browser and the previews in one window.
#include "app/Application.h"
#include "app/Options.h"
#include "tests/support/TemporaryDirectory.h"

#include <QCoreApplication>
#include <QQuickItem>
#include <QQuickWindow>
#include <QtTest>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

namespace slicewise {
namespace {

bool comesTrue(const std::function<bool()> &condition)
{
    constexpr int kMostMs = 10'000;
    return QTest::qWaitFor(condition, kMostMs);
}

/// Shows a device with one folder of two texts.
class WindowTest : public ::testing::Test {
protected:
    WindowTest()
    {
        root.writeFile("private/var/mobile/Media/Downloads/first.txt", std::string(200, 'a'));
        root.writeFile("private/var/mobile/Media/Downloads/second.txt", std::string(100, 'b'));
        Options options;
        options.root = root.path();
        options.readOnly = true;
        options.idiom = UserInterfaceIdiom::Phone;
        auto device = HostDevice::open(root.path());
        application = std::make_unique<Application>(options, std::move(device).value(), privileges, log);
        EXPECT_TRUE(application->launch());
        window = qobject_cast<QQuickWindow *>(application->delegate().window());
        window->requestActivate();
        EXPECT_TRUE(QTest::qWaitForWindowActive(window));
        EXPECT_TRUE(comesTrue([this] { return top().doneScan(); }));
        // The table is back where it was once its rows are there.
        QCoreApplication::processEvents();
    }
    ~WindowTest() override { application.reset(); }

    [[nodiscard]] SZANavigationController &navigation() const
    {
        return application->delegate().navigationController();
    }
    [[nodiscard]] SZAViewController &top() const { return *navigation().topViewController(); }
    [[nodiscard]] QQuickItem *childOfType(const char *type) const
    {
        for (QQuickItem *item : window->contentItem()->childItems()) {
            if (QString(item->metaObject()->className()).startsWith(QLatin1String(type))) {
                return item;
            }
        }
        return nullptr;
    }
    [[nodiscard]] bool previewIsOpen() const { return sheets().property("active").toBool(); }
    [[nodiscard]] QQuickItem &sheets() const { return *childOfType("DocumentSheets"); }
    [[nodiscard]] QQuickItem &browser() const { return *childOfType("Browser"); }
    [[nodiscard]] bool isBelow(const QQuickItem *item, const QQuickItem &above) const
    {
        return item != nullptr && (item == &above || above.isAncestorOf(item));
    }
    void key(Qt::Key key) { QTest::keyClick(window, key); }

    void openFolder()
    {
        key(Qt::Key_Down);
        key(Qt::Key_Return);
        ASSERT_TRUE(comesTrue([this] { return navigation().count() == 2; }));
        const auto *screens = browser().findChild<QQuickItem *>("screens");
        ASSERT_NE(screens, nullptr);
        ASSERT_TRUE(comesTrue([screens] { return !screens->property("moving").toBool(); }));
    }

    TemporaryDirectory root;
    Privileges privileges = Privileges::afterEntry();
    Log log{[](std::string_view) {}};
    std::unique_ptr<Application> application;
    QQuickWindow *window = nullptr;
};

TEST_F(WindowTest, hasTheKeysWhereTheyWereWhenAPreviewIsClosed)
{
    openFolder();
    key(Qt::Key_Down);
    key(Qt::Key_Return);
    ASSERT_TRUE(comesTrue([this] { return previewIsOpen(); }));
    EXPECT_EQ(top().lastPath()->row, 0U);
    key(Qt::Key_Escape);
    ASSERT_TRUE(comesTrue([this] { return !previewIsOpen(); }));
    EXPECT_TRUE(isBelow(window->activeFocusItem(), browser()));
    key(Qt::Key_Down);
    key(Qt::Key_Return);
    ASSERT_TRUE(comesTrue([this] { return previewIsOpen(); }));
    EXPECT_EQ(top().lastPath()->row, 1U) << "the row below the one that was shown";
    EXPECT_EQ(navigation().count(), 2);
}

TEST_F(WindowTest, letsTabReachNothingBelowAPreview)
{
    openFolder();
    key(Qt::Key_Down);
    key(Qt::Key_Return);
    ASSERT_TRUE(comesTrue([this] { return previewIsOpen(); }));
    for (int i = 0; i < 12; ++i) {
        key(i < 6 ? Qt::Key_Tab : Qt::Key_Backtab);
        EXPECT_TRUE(isBelow(window->activeFocusItem(), sheets())) << i;
    }
}

TEST_F(WindowTest, goesNoFurtherBackThanTheFirstScreen)
{
    openFolder();
    key(Qt::Key_Escape);
    ASSERT_TRUE(comesTrue([this] { return navigation().count() == 1; }));
    for (int i = 0; i < 5; ++i) {
        key(Qt::Key_Escape);
        key(Qt::Key_Backspace);
    }
    EXPECT_EQ(navigation().count(), 1);
    EXPECT_TRUE(window->isVisible());
}

} // namespace
} // namespace slicewise
