// What happens when the application starts, and when it comes back to the foreground.
//
// One for each process. GUI thread. Services and log are borrowed and have to live as long as the process.
#pragma once

#include "chart/UIColor.h"
#include "ui/SZANavigationController.h"
#include "ui/SZAViewController.h"

#include <QPointer>
#include <QWindow>

#include <functional>
#include <optional>

namespace slicewise {

class SZAAppDelegate {
public:
    /// Makes the window that shows the stack of screens; not visible yet. Null where it can't be made. The
    /// window belongs to whoever made it.
    using MakeWindow = std::function<QWindow *(SZANavigationController &)>;

    SZAAppDelegate(const BrowserServices &services, MakeWindow makeWindow);

    /// Makes the first screen and the window, and shows it. True; false where there is no window.
    [[nodiscard]] bool applicationDidFinishLaunchingWithOptions();
    /// What the first screen's chart shows is brought up to date, whichever screen is on top.
    void applicationWillEnterForeground();
    void applicationWillResignActive() {}
    void applicationDidEnterBackground() {}
    void applicationDidBecomeActive() {}
    void applicationWillTerminate() {}
    /// Calls the above as the application becomes visible, hidden or stopped.
    void applicationStateChanged(Qt::ApplicationState state);

    void generateLizards();

    [[nodiscard]] QWindow *window() const { return m_window; }
    void setWindow(QWindow *window) { m_window = window; }
    /// Null before the launch, and when the screen is gone.
    [[nodiscard]] SZAViewController *rootNodeController() const { return m_rootNodeController; }
    void setRootNodeController(SZAViewController *controller) { m_rootNodeController = controller; }
    [[nodiscard]] SZANavigationController &navigationController() { return m_navigationController; }
    /// Of the bar on systems before 7, which know of one tint alone; absent: the bar stays as it is.
    [[nodiscard]] const std::optional<UIColor> &navigationBarTintColor() const
    {
        return m_navigationBarTintColor;
    }

    static constexpr UIColor kNavigationBarTint = {
        .red = 0.501960813999176, .green = 0.5647059082984924, .blue = 0.6901960968971252, .alpha = 1.0};
    /// From here on the bar has a tint of its own.
    static constexpr float kWithBarTintColor = 7.0F;

private:
    BrowserServices m_services;
    MakeWindow m_makeWindow;
    SZANavigationController m_navigationController;
    QPointer<SZAViewController> m_rootNodeController;
    QPointer<QWindow> m_window;
    std::optional<UIColor> m_navigationBarTintColor;
    Qt::ApplicationState m_state = Qt::ApplicationActive;
};

} // namespace slicewise
