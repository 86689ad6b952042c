#include "preview/OnThread.h"

#include <utility>

namespace slicewise {

void Mailbox::post(std::function<void()> call)
{
    const std::lock_guard lock(m_mutex);
    if (m_receiver != nullptr) {
        // The call is sent when this goes. QMetaObject::invokeMethod would do, but clang-tidy finds a leak in
        // it.
        const QObject sender;
        QObject::connect(&sender, &QObject::destroyed, m_receiver, std::move(call), Qt::QueuedConnection);
    }
}

void Mailbox::close()
{
    const std::lock_guard lock(m_mutex);
    m_receiver = nullptr;
}

} // namespace slicewise
