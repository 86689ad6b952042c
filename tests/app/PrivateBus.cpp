#include "tests/app/PrivateBus.h"

#include <QDBusError>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

namespace slicewise {

namespace {

constexpr const char *kConfiguration =
    R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-BUS Bus Configuration 1.0//EN"
 "busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path=PLACE</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

} // namespace

PrivateBus::PrivateBus()
{
    std::string configuration = kConfiguration;
    configuration.replace(configuration.find("PLACE"), 5, m_folder.pathOf("bus"));
    m_folder.writeFile("bus.conf", configuration);
    m_daemon.start(QStringLiteral("dbus-daemon"),
                   {QStringLiteral("--nofork"), QStringLiteral("--print-address"),
                    QStringLiteral("--config-file=") + QString::fromStdString(m_folder.pathOf("bus.conf"))});
    // It tells its address when it can be talked to.
    if (!m_daemon.waitForStarted() || !m_daemon.waitForReadyRead()) {
        throw std::runtime_error("dbus-daemon does not run: " +
                                 m_daemon.readAllStandardError().toStdString());
    }
    m_name = QString::fromStdString(m_folder.path());
    m_services = QDBusConnection::connectToBus(address().address, m_name);
    if (!m_services->isConnected()) {
        throw std::runtime_error("dbus-daemon does not answer: " +
                                 m_services->lastError().message().toStdString());
    }
}

PrivateBus::~PrivateBus()
{
    QDBusConnection::disconnectFromBus(m_name);
    m_services.reset();
    m_daemon.kill();
    m_daemon.waitForFinished();
}

BusAddress PrivateBus::address() const
{
    return {.bus = BusAddress::Bus::Named,
            .address = QString::fromStdString("unix:path=" + m_folder.pathOf("bus"))};
}

unsigned ScreenSaver::Inhibit(const QString &program, const QString &reason)
{
    calls.append(QStringLiteral("Inhibit(%1, %2)").arg(program, reason));
    Q_EMIT called();
    if (refuses) {
        sendErrorReply(QDBusError::AccessDenied, QStringLiteral("No"));
        return 0;
    }
    constexpr unsigned kCookie = 4711;
    return kCookie;
}

void ScreenSaver::UnInhibit(unsigned cookie)
{
    calls.append(QStringLiteral("UnInhibit(%1)").arg(cookie));
    Q_EMIT called();
}

bool LoginManager::isHeld()
{
    // The other end of a pipe: when nobody has that open any more, this one hangs up.
    ::pollfd state = {.fd = m_reading.get(), .events = 0, .revents = 0};
    return ::poll(&state, 1, 0) == 0;
}

QDBusUnixFileDescriptor LoginManager::Inhibit(const QString &what, const QString &who, const QString &why,
                                              const QString &mode)
{
    calls.append(QStringLiteral("Inhibit(%1, %2, %3, %4)").arg(what, who, why, mode));
    int ends[2] = {-1, -1};
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        return {};
    }
    m_reading.reset(ends[0]);
    const UniqueFd writing(ends[1]);
    return QDBusUnixFileDescriptor(writing.get()); // a copy of its own
}

QDBusVariant Portal::Read(const QString &group, const QString &key)
{
    if (group != QLatin1String("org.freedesktop.appearance") || key != QLatin1String("color-scheme") ||
        !scheme) {
        sendErrorReply(QStringLiteral("org.freedesktop.portal.Error.NotFound"),
                       QStringLiteral("No such setting"));
        return {};
    }
    return QDBusVariant(QVariant::fromValue(QDBusVariant(*scheme)));
}

} // namespace slicewise
