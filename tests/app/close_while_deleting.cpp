// The application, closed as a user would while it deletes "Others/old".
//
// Usage: close-while-deleting ROOT, with a platform that needs no display. The removal of the first file is
// held until the event loop has ended and the application handles events all the same; the removal of each
// other one until it has handled another. Prints how far it came.
#include "tests/app/ShownWindow.h"
#include "ui/SZAViewController.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QPointer>
#include <QQuickWindow>
#include <QTimer>

#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <future>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace {

/// The removal's thread and the GUI thread.
struct Gate {
    QPointer<QQuickWindow> window;
    bool isReached = false; ///< the removal's thread alone
    std::promise<void> stillThere;
};

Gate &gate()
{
    static Gate instance;
    return instance;
}

void say(const char *line)
{
    std::fputs(line, stdout);
    std::fflush(stdout);
}

/// In the removal's thread, before each file.
void passGate()
{
    if (std::exchange(gate().isReached, true)) {
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), [] {}, Qt::BlockingQueuedConnection);
        return;
    }
    QMetaObject::invokeMethod(
        QCoreApplication::instance(),
        [] {
            say("closed while it deletes\n");
            gate().window->close();
        },
        Qt::QueuedConnection);
    gate().stillThere.get_future().wait();
}

/// Sent when the event loop has ended, this arrives only if something goes on handling events.
void askWhetherItIsStillThere()
{
    QMetaObject::invokeMethod(
        QCoreApplication::instance(),
        [] {
            say("still there\n");
            gate().stillThere.set_value();
        },
        Qt::QueuedConnection);
}

slicewise::SZANode *childNamed(const slicewise::SZANode &node, std::string_view name)
{
    const std::vector<slicewise::SZANode *> children = node.getNodes();
    const auto found =
        std::ranges::find_if(children, [name](const auto *child) { return child->name() == name; });
    return found != children.end() ? *found : nullptr;
}

void deleteFrom(slicewise::SZAViewController &screen)
{
    slicewise::SZANode *const root = screen.root().get();
    slicewise::SZANode *const others = childNamed(*root, "Others");
    slicewise::SZANode *const old = others != nullptr ? childNamed(*others, "old") : nullptr;
    if (old == nullptr) {
        say("there is nothing to delete\n");
        QCoreApplication::exit(1);
        return;
    }
    screen.deleteNodeAtPathInIndexWithConfirmation({root, others, old}, std::nullopt,
                                                   slicewise::Confirmation::Yes);
}

void begin(QQuickWindow &window)
{
    gate().window = &window;
    slicewise::SZAViewController &screen = slicewise::firstScreenOf(window);
    if (screen.doneScan()) {
        deleteFrom(screen);
    } else {
        QObject::connect(
            &screen, &slicewise::SZAViewController::doneScanChanged, &window,
            [&screen] { deleteFrom(screen); }, Qt::SingleShotConnection);
    }
}

void whenStarted()
{
    QObject::connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, askWhetherItIsStillThere);
    QTimer::singleShot(0, [] { slicewise::whenWindowIsShown(begin); });
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(whenStarted)

/// In the C library's place.
extern "C" int unlinkat(int directory, const char *path, int flags) noexcept
{
    passGate();
    return static_cast<int>(::syscall(SYS_unlinkat, directory, path, flags));
}

int main(int argc, char **argv)
{
    return slicewise::runOnRoot(argc, argv);
}
