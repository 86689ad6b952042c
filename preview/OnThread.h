// Calls from one thread to another.
#pragma once

#include <QObject>

#include <functional>

namespace slicewise {

/// Calls the function from the event loop of the receiver's thread; never where the receiver goes before
/// that. Any thread.
void callOnThreadOf(QObject &receiver, std::function<void()> call);

} // namespace slicewise
