// A message bus of the tests' own, with stand-ins for a desktop's services on it.
#pragma once

#include "app/MessageBus.h"
#include "tests/support/TemporaryDirectory.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusUnixFileDescriptor>
#include <QDBusVariant>
#include <QObject>
#include <QProcess>
#include <QString>

#include <optional>

namespace slicewise {

/// Runs as long as it lives. A bus that can't be started throws std::runtime_error.
class PrivateBus {
public:
    PrivateBus();
    PrivateBus(const PrivateBus &) = delete;
    PrivateBus &operator=(const PrivateBus &) = delete;
    ~PrivateBus();

    [[nodiscard]] BusAddress address() const;
    /// The services' own connection, on which they have no names yet.
    [[nodiscard]] QDBusConnection services() const { return *m_services; }

private:
    TemporaryDirectory m_folder;
    QProcess m_daemon;
    QString m_name;
    std::optional<QDBusConnection> m_services;
};

/// Two services with the same calls: the screen saver and the power manager.
class ScreenSaver : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.ScreenSaver")

public:
    QStringList calls;
    bool refuses = false;

public Q_SLOTS:
    unsigned Inhibit(const QString &program, const QString &reason); // NOLINT(readability-identifier-naming)
    void UnInhibit(unsigned cookie);                                 // NOLINT(readability-identifier-naming)

Q_SIGNALS:
    void called();
};

class PowerManager : public ScreenSaver {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.PowerManagement.Inhibit")
};

class LoginManager : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.login1.Manager")

public:
    /// Whether somebody still holds what was handed out last.
    [[nodiscard]] bool isHeld();

    QStringList calls;

public Q_SLOTS:
    QDBusUnixFileDescriptor Inhibit(const QString &what,
                                    const QString &who, // NOLINT(readability-identifier-naming)
                                    const QString &why, const QString &mode);

private:
    UniqueFd m_reading;
};

class Portal : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public:
    std::optional<unsigned> scheme; ///< absent: it knows no such setting

public Q_SLOTS:
    QDBusVariant Read(const QString &group, const QString &key); // NOLINT(readability-identifier-naming)

Q_SIGNALS:
    void SettingChanged(const QString &group, const QString &key, // NOLINT(readability-identifier-naming)
                        const QDBusVariant &value);
};

} // namespace slicewise
