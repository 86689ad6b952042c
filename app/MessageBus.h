// Connections to the buses of a desktop, made without waiting for them.
//
// GUI thread.
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>

#include <functional>
#include <optional>

namespace slicewise {

struct BusAddress {
    enum class Bus : unsigned char { Session, System, Named };
    Bus bus = Bus::Session;
    QString address = {}; ///< of a named one
};

/// Says hello to a bus on a thread of its own, because one that hangs would hold up whoever waits for its
/// answer. Then calls the function on the receiver's thread, with nothing where there is no such bus; never
/// from inside this call, and not once the receiver is gone. The thread goes on without the receiver. It is a
/// child of the application object, and whoever takes that apart has to wait for its threads first.
void connectToBus(const BusAddress &address, QObject &receiver,
                  std::function<void(const std::optional<QDBusConnection> &)> answered);

/// Sends a call, and hands its answer or its error to the function on the receiver's thread, unless the
/// receiver is gone by then.
void callLater(const QDBusConnection &bus, const QDBusMessage &call, QObject &receiver,
               std::function<void(const QDBusMessage &)> answered);

} // namespace slicewise
