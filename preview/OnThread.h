// Calls from one thread to another.
#pragma once

#include <QObject>

#include <functional>
#include <mutex>

namespace slicewise {

/// Where other threads leave calls for an object that goes when it likes. Shared by it and by them.
class Mailbox {
public:
    explicit Mailbox(QObject &receiver) : m_receiver(&receiver) {}

    /// The receiver's event loop makes the call, unless the receiver goes before that; nothing once the
    /// mailbox is closed. Any thread.
    void post(std::function<void()> call);
    /// The receiver's destructor does it.
    void close();

private:
    std::mutex m_mutex;
    QObject *m_receiver; ///< null: closed
};

} // namespace slicewise
