#include "app/SZAAppDelegate.h"

#include "tests/ui/BrowserParts.h"

#include <QQuickWindow>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

namespace slicewise {
namespace {

using testing::Contains;
using testing::ElementsAre;

/// The chart of a screen, which counts how often it is reloaded from then on.
class CountedChart final : public QVPieChartDataSource {
public:
    explicit CountedChart(SZAViewController &screen)
    {
        screen.setChart(&chart);
        chart.setDataSource(this);
    }
    unsigned numberOfSlicesInPieChart(QVPieChart & /*chart*/) override
    {
        ++reloads;
        return 0;
    }
    double pieChartValueForSliceAtIndex(QVPieChart & /*chart*/, unsigned /*index*/) override { return 0; }

    QVPieChart chart{QRectF(0, 0, 200, 100)};
    int reloads = 0;
};

class SZAAppDelegateTest : public ::testing::Test {
protected:
    SZAAppDelegateTest() { memory.addFile("/a", 10); }

    SZAAppDelegate &launch(float systemVersion = 8.0F)
    {
        BrowserServices services = system.services(memory);
        services.systemVersion = {systemVersion};
        delegate = std::make_unique<SZAAppDelegate>(services, [this](SZANavigationController &navigation) {
            shown = &navigation;
            visibleWhenMade = window.isVisible();
            return &window;
        });
        EXPECT_TRUE(delegate->applicationDidFinishLaunchingWithOptions());
        waitUntilDone(*delegate->rootNodeController());
        return *delegate;
    }

    System system;
    MemoryDevice memory;
    QQuickWindow window;
    SZANavigationController *shown = nullptr;
    bool visibleWhenMade = true;
    std::unique_ptr<SZAAppDelegate> delegate;
};

TEST_F(SZAAppDelegateTest, showsTheScreenThatScansAsTheFirstOfAStackInAWindow)
{
    SZAAppDelegate &app = launch();
    SZAViewController *const root = app.rootNodeController();
    EXPECT_THAT(app.navigationController().viewControllers(), ElementsAre(root));
    EXPECT_EQ(shown, &app.navigationController());
    EXPECT_EQ(app.window(), &window);
    EXPECT_FALSE(visibleWhenMade);
    EXPECT_TRUE(window.isVisible());
    EXPECT_EQ(root->root()->size(), 10U) << "it has scanned by itself";
}

TEST_F(SZAAppDelegateTest, hasNothingBeforeTheLaunch)
{
    const SZAAppDelegate app(system.services(memory), [](SZANavigationController &) { return nullptr; });
    EXPECT_EQ(app.window(), nullptr);
    EXPECT_EQ(app.rootNodeController(), nullptr);
    EXPECT_FALSE(app.navigationBarTintColor().has_value());
}

TEST_F(SZAAppDelegateTest, saysThatThereIsNoWindow)
{
    SZAAppDelegate app(system.services(memory), [](SZANavigationController &) { return nullptr; });
    EXPECT_FALSE(app.applicationDidFinishLaunchingWithOptions());
}

TEST_F(SZAAppDelegateTest, forgetsAWindowThatIsGone)
{
    SZAAppDelegate app(system.services(memory), [](SZANavigationController &) { return nullptr; });
    {
        QQuickWindow other;
        app.setWindow(&other);
        EXPECT_EQ(app.window(), &other);
    }
    EXPECT_EQ(app.window(), nullptr);
}

TEST_F(SZAAppDelegateTest, tintsTheBarOfSystemsBeforeSeven)
{
    EXPECT_EQ(
        launch(6.1F).navigationBarTintColor(),
        (UIColor{
            .red = 0.501960813999176, .green = 0.5647059082984924, .blue = 0.6901960968971252, .alpha = 1}));
}

TEST_F(SZAAppDelegateTest, leavesTheBarOfNewerSystemsAsItIs)
{
    EXPECT_FALSE(launch(7.0F).navigationBarTintColor().has_value());
    EXPECT_FALSE(launch(10.3F).navigationBarTintColor().has_value());
}

TEST_F(SZAAppDelegateTest, backInTheForegroundTheFirstScreensChartAloneIsReloaded)
{
    SZAAppDelegate &app = launch();
    std::unique_ptr<SZAViewController> deeper =
        app.rootNodeController()->controllerWithNode(*app.rootNodeController()->currentNodes().front());
    SZAViewController &top = *deeper;
    app.navigationController().pushViewController(std::move(deeper));
    const CountedChart first(*app.rootNodeController());
    const CountedChart second(top);
    app.applicationWillEnterForeground();
    EXPECT_EQ(first.reloads, 1);
    EXPECT_EQ(second.reloads, 0);
}

TEST_F(SZAAppDelegateTest, withoutAChartThereIsNothingToReload)
{
    SZAAppDelegate &app = launch();
    app.applicationWillEnterForeground();
    SZAViewController *const root = app.rootNodeController();
    app.setRootNodeController(nullptr);
    app.applicationWillEnterForeground();
    EXPECT_EQ(app.rootNodeController(), nullptr);
    app.setRootNodeController(root);
    EXPECT_EQ(app.rootNodeController(), root);
}

TEST_F(SZAAppDelegateTest, comesToTheForegroundFromTheBackgroundOnly)
{
    SZAAppDelegate &app = launch();
    CountedChart chart(*app.rootNodeController());
    const auto reloadsAfter = [&](Qt::ApplicationState state) {
        chart.reloads = 0;
        app.applicationStateChanged(state);
        return chart.reloads;
    };
    EXPECT_EQ(reloadsAfter(Qt::ApplicationInactive), 0);
    EXPECT_EQ(reloadsAfter(Qt::ApplicationActive), 0) << "it could be seen all the time";
    EXPECT_EQ(reloadsAfter(Qt::ApplicationHidden), 0);
    EXPECT_EQ(reloadsAfter(Qt::ApplicationSuspended), 0);
    EXPECT_EQ(reloadsAfter(Qt::ApplicationActive), 1);
    EXPECT_EQ(reloadsAfter(Qt::ApplicationActive), 0);
    EXPECT_EQ(reloadsAfter(Qt::ApplicationSuspended), 0);
    EXPECT_EQ(reloadsAfter(Qt::ApplicationInactive), 1);
    EXPECT_EQ(reloadsAfter(Qt::ApplicationActive), 0);
}

TEST_F(SZAAppDelegateTest, generatesLizardsInTheLogAlone)
{
    SZAAppDelegate &app = launch();
    system.lines.clear();
    app.generateLizards();
    EXPECT_THAT(system.lines, ElementsAre("Generating Lizards..."));
    EXPECT_EQ(app.navigationController().count(), 1);
}

} // namespace
} // namespace slicewise
