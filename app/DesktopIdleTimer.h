// Keeps a desktop from falling asleep by itself, by asking the first of its services that agrees.
//
// GUI thread. Nothing is waited for, and where there is no service nothing happens. The buses forget what was
// asked when the process ends.
#pragma once

#include "app/MessageBus.h"
#include "ui/SystemServices.h"

#include <QDBusConnection>
#include <QDBusUnixFileDescriptor>
#include <QObject>

#include <cstddef>
#include <optional>

class QDBusMessage;

namespace slicewise {

class DesktopIdleTimer final : public QObject, public IdleTimer {
    Q_OBJECT

public:
    /// The screen saver and the power manager are on the session's bus, the login manager on the system's.
    explicit DesktopIdleTimer(const BusAddress &session = {.bus = BusAddress::Bus::Session},
                              const BusAddress &system = {.bus = BusAddress::Bus::System});

    void setIdleTimerDisabled(bool disabled) override;
    /// Whether a service keeps it awake.
    [[nodiscard]] bool isHeldAwake() const { return m_agreed.has_value(); }

Q_SIGNALS:
    void settled(); ///< a service has agreed, or none is left to ask, or it is not wanted any more

private:
    void ask(std::size_t service);
    void askOn(const std::optional<QDBusConnection> &bus, std::size_t service);
    void answered(const QDBusMessage &answer, std::size_t service);
    void letGo();

    BusAddress m_sessionAddress;
    BusAddress m_systemAddress;
    std::optional<QDBusConnection> m_session;
    std::optional<QDBusConnection> m_system;
    bool m_wanted = false;
    bool m_asking = false;
    std::optional<std::size_t> m_agreed; ///< the service that has
    unsigned m_cookie = 0;               ///< to take it back with, from a service on the session's bus
    QDBusUnixFileDescriptor m_lock;      ///< the login manager's counts as long as it is open
};

} // namespace slicewise
