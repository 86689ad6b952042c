#include "ui/SZANavigationController.h"

#include "ui/SZAViewController.h"

#include <QQmlEngine>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace slicewise {

SZANavigationController::SZANavigationController()
{
    connect(m_gate.get(), &InteractionGate::ignoringInteractionEventsChanged, this,
            &SZANavigationController::ignoringInteractionEventsChanged);
}

SZANavigationController::~SZANavigationController()
{
    // A screen may tell the bar on its way out.
    m_popped.clear();
    while (!m_viewControllers.empty()) {
        const std::unique_ptr<SZAViewController> last = std::move(m_viewControllers.back());
        m_viewControllers.pop_back();
    }
}

SZAViewController *SZANavigationController::topViewController() const
{
    return m_viewControllers.empty() ? nullptr : m_viewControllers.back().get();
}

std::vector<SZAViewController *> SZANavigationController::viewControllers() const
{
    std::vector<SZAViewController *> all;
    all.reserve(m_viewControllers.size());
    for (const auto &each : m_viewControllers) {
        all.push_back(each.get());
    }
    return all;
}

SZAViewController *SZANavigationController::viewControllerAt(int index) const
{
    return index >= 0 && index < count() ? m_viewControllers[static_cast<std::size_t>(index)].get() : nullptr;
}

void SZANavigationController::pushViewController(std::unique_ptr<SZAViewController> viewController)
{
    SZAViewController *const pushed = viewController.get();
    pushed->setNavigationController(this);
    connect(pushed, &SZAViewController::deletingChanged, this, &SZANavigationController::deletingChanged);
    // Or a script that is handed it takes it for its own.
    QQmlEngine::setObjectOwnership(pushed, QQmlEngine::CppOwnership);
    m_viewControllers.push_back(std::move(viewController));
    Q_EMIT viewControllersChanged();
    Q_EMIT viewControllerPushed(pushed);
    pushed->loadViewIfNeeded();
}

void SZANavigationController::popViewController()
{
    if (m_viewControllers.size() < 2) {
        return;
    }
    m_popped.push_back(std::move(m_viewControllers.back()));
    m_viewControllers.pop_back();
    SZAViewController *const popped = m_popped.back().get();
    Q_EMIT viewControllersChanged();
    Q_EMIT viewControllerPopped(popped);
}

void SZANavigationController::goBack()
{
    SZAViewController *const top = topViewController();
    if (top != nullptr && m_barEnabled && !isIgnoringInteractionEvents() &&
        !top->navigationItem()->hidesBackButton() && !top->isAsking()) {
        popViewController();
    }
}

bool SZANavigationController::isDeleting() const
{
    const auto deletes = [](const auto &screen) { return screen->isDeleting(); };
    return std::any_of(m_viewControllers.begin(), m_viewControllers.end(), deletes) ||
           std::any_of(m_popped.begin(), m_popped.end(), deletes);
}

void SZANavigationController::release(SZAViewController *viewController)
{
    const auto found = std::find_if(m_popped.begin(), m_popped.end(),
                                    [&](const auto &each) { return each.get() == viewController; });
    if (found != m_popped.end()) {
        // It may be what asks for this.
        found->release()->deleteLater();
        m_popped.erase(found);
    }
}

void SZANavigationController::setNavigationBarUserInteractionEnabled(bool enabled)
{
    if (m_barEnabled != enabled) {
        m_barEnabled = enabled;
        Q_EMIT navigationBarUserInteractionEnabledChanged();
    }
}

} // namespace slicewise
