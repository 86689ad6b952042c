// The application: everything that the first screen and its window need, put together and run.
//
// One for each process, on the GUI thread. Its parts are borrowed from each other, so it is never taken apart
// while the event loop runs.
#pragma once

#include "app/Appearance.h"
#include "app/DesktopIdleTimer.h"
#include "app/Options.h"
#include "app/SZAAppDelegate.h"
#include "app/Snapshot.h"
#include "app/SystemDeletion.h"
#include "platform/HostDevice.h"
#include "platform/Log.h"
#include "platform/Privileges.h"
#include "preview/Documents.h"
#include "preview/HostDocumentPresenter.h"
#include "ui/SZAViewController.h"
#include "ui/Timers.h"

#include <QColor>
#include <QQmlApplicationEngine>
#include <QTranslator>

#include <memory>
#include <optional>

namespace slicewise {

class Application {
public:
    /// The device has been opened, and there is a QGuiApplication. Log and privileges are borrowed.
    Application(const Options &options, std::unique_ptr<HostDevice> device, const Privileges &privileges,
                Log &log);
    Application(const Application &) = delete;
    Application &operator=(const Application &) = delete;
    ~Application();

    /// Shows the window. False where it can't be made; the log says why.
    [[nodiscard]] bool launch();
    /// Draws the window when the scan is done, and ends the event loop with the status to end with.
    void takeSnapshot(OutputFile file);
    /// Returns when nothing is being removed any more: half of a removal helps nobody.
    void waitForDeletion();

    [[nodiscard]] SZAAppDelegate &delegate() { return *m_delegate; }
    [[nodiscard]] Appearance &appearance() { return m_appearance; }

private:
    [[nodiscard]] BrowserServices services();
    [[nodiscard]] QWindow *makeWindow(SZANavigationController &navigation);
    [[nodiscard]] QColor barTint() const; ///< invalid: the bar has its own
    [[nodiscard]] QSize screenSize() const;
    void loadTranslation();

    Options m_options;
    std::unique_ptr<HostDevice> m_device;
    Log &m_log;
    std::unique_ptr<SystemDeletion> m_deletion; ///< null: nothing may be deleted
    UserInterfaceIdiom m_idiom;
    QTranslator m_translator;
    Appearance m_appearance;
    std::unique_ptr<Timers> m_timers = makeEventLoopTimers();
    HostDocumentPresenter m_presenter;
    Documents m_documents;
    std::unique_ptr<DesktopIdleTimer> m_idleTimer; ///< null: the buses are not to be trusted
    std::unique_ptr<SZAAppDelegate> m_delegate;
    QQmlApplicationEngine m_engine; ///< goes before what its windows show
    std::unique_ptr<Snapshot> m_snapshot;
};

} // namespace slicewise
