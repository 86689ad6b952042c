#include "app/SZAAppDelegate.h"

#include "app/ExtensionItemPatch.h"

#include <memory>
#include <utility>

namespace slicewise {

namespace {

bool isInBackground(Qt::ApplicationState state)
{
    return state == Qt::ApplicationHidden || state == Qt::ApplicationSuspended;
}

} // namespace

SZAAppDelegate::SZAAppDelegate(const BrowserServices &services, MakeWindow makeWindow)
    : m_services(services), m_makeWindow(std::move(makeWindow))
{}

bool SZAAppDelegate::applicationDidFinishLaunchingWithOptions()
{
    std::unique_ptr<SZAViewController> root = SZAViewController::controller(m_services);
    setRootNodeController(root.get());
    m_navigationController.pushViewController(std::move(root));
    if (m_services.systemVersion.number < kWithBarTintColor) {
        m_navigationBarTintColor = kNavigationBarTint;
    }
    setWindow(m_makeWindow(m_navigationController));
    if (m_window == nullptr) {
        return false;
    }
    m_window->setVisible(true);
    m_window->requestActivate();
    patchExtensionItems(*m_services.log);
    return true;
}

void SZAAppDelegate::applicationWillEnterForeground()
{
    QVPieChart *chart = m_rootNodeController != nullptr ? m_rootNodeController->chart() : nullptr;
    if (chart != nullptr) {
        chart->reloadData();
    }
}

void SZAAppDelegate::applicationStateChanged(Qt::ApplicationState state)
{
    const Qt::ApplicationState before = std::exchange(m_state, state);
    if (isInBackground(state)) {
        if (!isInBackground(before)) {
            applicationDidEnterBackground();
        }
        return;
    }
    if (isInBackground(before)) {
        applicationWillEnterForeground();
    }
    if (state == Qt::ApplicationActive && before != Qt::ApplicationActive) {
        applicationDidBecomeActive();
    } else if (state == Qt::ApplicationInactive && before == Qt::ApplicationActive) {
        applicationWillResignActive();
    }
}

void SZAAppDelegate::generateLizards()
{
    m_services.log->line("Generating Lizards...");
}

} // namespace slicewise
