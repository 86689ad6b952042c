// The stack of screens: the overview at the bottom, the screen that is shown on top.
//
// An application that is about to end while something is being deleted stays, without a window, until
// isDeleting() is false: a stack that goes away earlier makes the GUI thread wait.
//
// GUI thread. Owns its screens. What draws them follows the signals; a screen that was popped lives until
// whoever draws it says that it is gone.
#pragma once

#include "ui/InteractionGate.h"

#include <QObject>
#include <QtQmlIntegration>

#include <memory>
#include <vector>

namespace slicewise {

class SZAViewController;

class SZANavigationController : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The application has one")
    Q_MOC_INCLUDE("ui/SZAViewController.h")
    Q_PROPERTY(int count READ count NOTIFY viewControllersChanged)
    Q_PROPERTY(
        slicewise::SZAViewController *topViewController READ topViewController NOTIFY viewControllersChanged)
    Q_PROPERTY(bool navigationBarUserInteractionEnabled READ isNavigationBarUserInteractionEnabled NOTIFY
                   navigationBarUserInteractionEnabledChanged)
    Q_PROPERTY(bool ignoringInteractionEvents READ isIgnoringInteractionEvents NOTIFY
                   ignoringInteractionEventsChanged)

public:
    SZANavigationController();
    SZANavigationController(const SZANavigationController &) = delete;
    SZANavigationController &operator=(const SZANavigationController &) = delete;
    ~SZANavigationController() override;

    [[nodiscard]] int count() const { return static_cast<int>(m_viewControllers.size()); }
    /// Null where there is none.
    [[nodiscard]] SZAViewController *topViewController() const;
    /// The bottom one first.
    [[nodiscard]] std::vector<SZAViewController *> viewControllers() const;
    /// From the bottom, 0; null where there is none.
    [[nodiscard]] Q_INVOKABLE slicewise::SZAViewController *viewControllerAt(int index) const;

    /// Its view is loaded by whoever follows viewControllerPushed(), or else right after that.
    void pushViewController(std::unique_ptr<SZAViewController> viewController);
    /// Takes the top one off; the bottom one stays.
    void popViewController();
    /// The back button: as popViewController(), unless the bar can't be touched now, or the screen on top
    /// hides the button or asks something.
    Q_INVOKABLE void goBack();
    /// Nothing shows that popped screen any more: it goes.
    Q_INVOKABLE void release(slicewise::SZAViewController *viewController);

    [[nodiscard]] bool isNavigationBarUserInteractionEnabled() const { return m_barEnabled; }
    void setNavigationBarUserInteractionEnabled(bool enabled);

    /// Of the application: what all screens of the stack heed and may close.
    [[nodiscard]] const std::shared_ptr<InteractionGate> &interactionGate() const { return m_gate; }
    /// While true, the window takes no touch, key or click at all.
    [[nodiscard]] bool isIgnoringInteractionEvents() const { return m_gate->isIgnoringInteractionEvents(); }
    /// Whether a screen deletes now; until its result has been shown.
    [[nodiscard]] bool isDeleting() const;

Q_SIGNALS:
    void viewControllersChanged();
    void viewControllerPushed(slicewise::SZAViewController *viewController);
    void viewControllerPopped(slicewise::SZAViewController *viewController);
    void navigationBarUserInteractionEnabledChanged();
    void ignoringInteractionEventsChanged();
    void deletingChanged();

private:
    std::shared_ptr<InteractionGate> m_gate = std::make_shared<InteractionGate>();
    std::vector<std::unique_ptr<SZAViewController>> m_viewControllers;
    std::vector<std::unique_ptr<SZAViewController>> m_popped; ///< still drawn
    bool m_barEnabled = true;
};

} // namespace slicewise
