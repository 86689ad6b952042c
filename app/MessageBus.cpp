#include "app/MessageBus.h"

#include <QCoreApplication>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QThread>

#include <atomic>
#include <memory>
#include <optional>
#include <utility>

namespace slicewise {

namespace {

QDBusConnection connectionTo(const BusAddress &address)
{
    // A name of its own for each: a name stands for one connection in the whole process.
    static std::atomic<int> count = 0;
    const QString name = QStringLiteral("slicewise-%1").arg(++count);
    switch (address.bus) {
    case BusAddress::Bus::Session:
        return QDBusConnection::connectToBus(QDBusConnection::SessionBus, name);
    case BusAddress::Bus::System:
        return QDBusConnection::connectToBus(QDBusConnection::SystemBus, name);
    case BusAddress::Bus::Named:
        break;
    }
    return QDBusConnection::connectToBus(address.address, name);
}

} // namespace

void connectToBus(const BusAddress &address, QObject &receiver,
                  std::function<void(const std::optional<QDBusConnection> &)> answered)
{
    const auto made = std::make_shared<std::optional<QDBusConnection>>();
    QThread *const thread = QThread::create([address, made] { *made = connectionTo(address); });
    thread->setParent(QCoreApplication::instance());
    QObject::connect(thread, &QThread::finished, &receiver, [made, answered = std::move(answered)] {
        answered(made->has_value() && (*made)->isConnected() ? *made : std::nullopt);
    });
    QObject::connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    thread->start();
}

void callLater(const QDBusConnection &bus, const QDBusMessage &call, QObject &receiver,
               std::function<void(const QDBusMessage &)> answered)
{
    auto watcher = std::make_unique<QDBusPendingCallWatcher>(bus.asyncCall(call), &receiver);
    QObject::connect(watcher.release(), &QDBusPendingCallWatcher::finished, &receiver,
                     [answered = std::move(answered)](QDBusPendingCallWatcher *finished) {
                         finished->deleteLater();
                         answered(finished->reply());
                     });
}

} // namespace slicewise
