#include "preview/OnThread.h"

#include <utility>

namespace slicewise {

void callOnThreadOf(QObject &receiver, std::function<void()> call)
{
    QMetaObject::invokeMethod(&receiver, std::move(call), Qt::QueuedConnection);
}

} // namespace slicewise
