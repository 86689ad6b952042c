#include "app/DesktopIdleTimer.h"

#include <QDBusMessage>
#include <QString>
#include <QVariant>

#include <array>
#include <utility>

namespace slicewise {

namespace {

constexpr const char *kProgram = "Slicewise";
constexpr const char *kReason = "Scanning";

enum class Takes : bool { ProgramAndReason, LoginManagersArguments };

struct Service {
    const char *name;
    const char *path;
    const char *interface;
    Takes takes;
};

// The one that most desktops have first; the last one is there without a desktop too.
constexpr std::array<Service, 3> kServices = {{
    {"org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver", "org.freedesktop.ScreenSaver",
     Takes::ProgramAndReason},
    {"org.freedesktop.PowerManagement", "/org/freedesktop/PowerManagement/Inhibit",
     "org.freedesktop.PowerManagement.Inhibit", Takes::ProgramAndReason},
    {"org.freedesktop.login1", "/org/freedesktop/login1", "org.freedesktop.login1.Manager",
     Takes::LoginManagersArguments},
}};

bool isOnSystemBus(std::size_t service)
{
    return kServices.at(service).takes == Takes::LoginManagersArguments;
}

QDBusMessage callOf(std::size_t service, const char *method)
{
    const Service &called = kServices.at(service);
    return QDBusMessage::createMethodCall(QString::fromLatin1(called.name), QString::fromLatin1(called.path),
                                          QString::fromLatin1(called.interface), QString::fromLatin1(method));
}

QDBusMessage inhibitCall(std::size_t service)
{
    QDBusMessage call = callOf(service, "Inhibit");
    const QString program = QString::fromLatin1(kProgram);
    const QString reason = QString::fromLatin1(kReason);
    if (isOnSystemBus(service)) {
        call.setArguments({QStringLiteral("idle"), program, reason, QStringLiteral("block")});
    } else {
        call.setArguments({program, reason});
    }
    return call;
}

} // namespace

DesktopIdleTimer::DesktopIdleTimer(const BusAddress &session, const BusAddress &system)
    : m_sessionAddress(session), m_systemAddress(system)
{}

void DesktopIdleTimer::setIdleTimerDisabled(bool disabled)
{
    m_wanted = disabled;
    if (m_asking) {
        return; // what was asked is taken back when it is answered
    }
    if (m_wanted && !m_agreed) {
        m_asking = true;
        ask(0);
    } else if (!m_wanted && m_agreed) {
        letGo();
    }
}

void DesktopIdleTimer::ask(std::size_t service)
{
    if (!m_wanted || service == kServices.size()) {
        m_asking = false;
        Q_EMIT settled();
        return;
    }
    std::optional<QDBusConnection> &bus = isOnSystemBus(service) ? m_system : m_session;
    if (bus) {
        askOn(bus, service);
        return;
    }
    connectToBus(isOnSystemBus(service) ? m_systemAddress : m_sessionAddress, *this,
                 [this, &bus, service](const std::optional<QDBusConnection> &connected) {
                     bus = connected;
                     askOn(connected, service);
                 });
}

void DesktopIdleTimer::askOn(const std::optional<QDBusConnection> &bus, std::size_t service)
{
    if (!bus || !m_wanted) {
        ask(service + 1);
        return;
    }
    callLater(*bus, inhibitCall(service), *this,
              [this, service](const QDBusMessage &answer) { answered(answer, service); });
}

void DesktopIdleTimer::answered(const QDBusMessage &answer, std::size_t service)
{
    const QVariant first = answer.arguments().value(0);
    const bool hasLock = first.canConvert<QDBusUnixFileDescriptor>();
    const bool hasCookie = first.metaType() == QMetaType::fromType<unsigned>();
    if (answer.type() != QDBusMessage::ReplyMessage || !(isOnSystemBus(service) ? hasLock : hasCookie)) {
        ask(service + 1);
        return;
    }
    m_agreed = service;
    m_cookie = first.toUInt();
    m_lock = first.value<QDBusUnixFileDescriptor>();
    m_asking = false;
    if (!m_wanted) {
        letGo();
    }
    Q_EMIT settled();
}

void DesktopIdleTimer::letGo()
{
    const std::size_t service = *std::exchange(m_agreed, std::nullopt);
    m_lock = QDBusUnixFileDescriptor();
    if (!isOnSystemBus(service)) {
        QDBusMessage call = callOf(service, "UnInhibit");
        call.setArguments({m_cookie});
        m_session->send(call);
    }
}

} // namespace slicewise
