// How quick the application's window is: the whole application, on a directory, with a watch on its event
// loop.
//
// Usage: browser-bench start|scan|level DIR   without a display it draws for nobody, in software
//   start  from the start of the process to the first frame
//   scan   the longest time that the event loop was away while the directory was scanned, and the peak memory
//   level  from the tap on the last row that leads to the largest level to the first frame of its page
#include "app/Launch.h"
#include "app/Options.h"
#include "app/Run.h"
#include "platform/Privileges.h"
#include "ui/NodeTable.h"
#include "ui/SZANavigationController.h"
#include "ui/SZAViewController.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QQuickWindow>
#include <QTimer>
#include <QVariant>
#include <fmt/format.h>

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace slicewise {
namespace {

using Clock = std::chrono::steady_clock; // one for all processes of the machine
constexpr double kFrameMilliseconds = 1000.0 / 60;
constexpr double kStartAimMilliseconds = 500;
constexpr double kLevelAimMilliseconds = 150;
constexpr const char *kStartedVariable = "BROWSER_BENCH_STARTED";

double millisecondsFrom(Clock::time_point begin, Clock::time_point end)
{
    return std::chrono::duration<double, std::milli>(end - begin).count();
}

void report(std::string_view what, double milliseconds, double aim)
{
    fmt::print("- {}: {:.1f} ms, aim {:.1f}: {}\n", what, milliseconds, aim,
               milliseconds <= aim ? "met" : "missed");
}

double peakMebibytes()
{
    ::rusage usage = {};
    ::getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024;
}

/// Watches the application from within its event loop.
class Watch : public QObject {
public:
    explicit Watch(std::string_view what) : m_what(what) {}

    void begin()
    {
        m_beat.setInterval(0);
        connect(&m_beat, &QTimer::timeout, this, [this] { beat(); });
        m_last = Clock::now();
        m_beat.start();
    }

private:
    void beat()
    {
        if (m_window == nullptr) {
            findWindow();
        } else if (m_frames > 0) {
            m_longestAway = std::max(m_longestAway, millisecondsFrom(m_last, Clock::now()));
        }
        m_last = Clock::now();
        if (m_window != nullptr && m_frames > 0) {
            step();
        }
    }

    void findWindow()
    {
        for (QWindow *window : QGuiApplication::topLevelWindows()) {
            m_window = qobject_cast<QQuickWindow *>(window);
            if (m_window != nullptr) {
                m_navigation = m_window->property("navigation").value<SZANavigationController *>();
                connect(m_window, &QQuickWindow::frameSwapped, this, [this] {
                    ++m_frames;
                    m_lastFrame = Clock::now();
                });
                m_window->update();
            }
        }
    }

    void step()
    {
        SZAViewController &top = *m_navigation->topViewController();
        if (m_what == "start") {
            const Clock::time_point started{
                Clock::duration(std::atoll(qgetenv(kStartedVariable).constData()))};
            report("start to the first frame", millisecondsFrom(started, m_lastFrame), kStartAimMilliseconds);
            end();
        } else if (top.doneScan() && m_what == "scan") {
            report("longest time away during the scan", m_longestAway, kFrameMilliseconds);
            fmt::print("- peak memory of the window: {:.1f} MiB\n", peakMebibytes());
            end();
        } else if (top.doneScan()) {
            goDown(top);
        }
    }

    /// Row by row where there is the most, until the largest level is there.
    void goDown(SZAViewController &top)
    {
        if (m_tappedOn == &top) {
            return; // it takes a moment until the next one is pushed
        }
        const bool isNew = m_tappedOn != nullptr;
        if (isNew && m_pushed == Clock::time_point()) {
            m_pushed = Clock::now();
            m_framesAtPush = m_frames;
        }
        if (isNew && m_frames == m_framesAtPush) {
            return;
        }
        if (isNew && top.currentNodes().size() >= kLargeLevel) {
            report(fmt::format("a level of {} rows, from its push to its first frame",
                               top.currentNodes().size()),
                   millisecondsFrom(m_pushed, m_lastFrame), kLevelAimMilliseconds);
            fmt::print("- the tap was {:.1f} ms before that frame, the pause that shows it included\n",
                       millisecondsFrom(m_tapped, m_lastFrame));
            fmt::print("- longest time away: {:.1f} ms\n", m_longestAway);
            end();
            return;
        }
        m_tappedOn = &top;
        m_pushed = {};
        m_longestAway = 0;
        m_tapped = Clock::now();
        top.tableView()->tapRow(0);
    }

    void end()
    {
        m_beat.stop();
        std::fflush(stdout);
        m_window->close();
    }

    static constexpr std::size_t kLargeLevel = 50'000;

    std::string_view m_what;
    QTimer m_beat;
    QQuickWindow *m_window = nullptr;
    SZANavigationController *m_navigation = nullptr;
    Clock::time_point m_last;
    Clock::time_point m_lastFrame;
    Clock::time_point m_tapped;
    Clock::time_point m_pushed;
    double m_longestAway = 0;
    int m_frames = 0;
    int m_framesAtPush = 0;
    const SZAViewController *m_tappedOn = nullptr;
};

std::string_view whatIsMeasured; // NOLINT(readability-identifier-naming): not a constant

void whenStarted()
{
    static Watch watch(whatIsMeasured);
    static QTimer begin;
    begin.setSingleShot(true);
    QObject::connect(&begin, &QTimer::timeout, &watch, [] { watch.begin(); });
    begin.start(0);
}

Q_COREAPP_STARTUP_FUNCTION(whenStarted)

int run(char **argv)
{
    whatIsMeasured = argv[1];
    if (whatIsMeasured == "start" && !qEnvironmentVariableIsSet(kStartedVariable)) {
        qputenv(kStartedVariable, std::to_string(Clock::now().time_since_epoch().count()).c_str());
        ::execv("/proc/self/exe", argv);
        return EXIT_FAILURE;
    }
    if (!hasDisplay()) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        qputenv("QT_QUICK_BACKEND", "software");
    }
    Options options;
    options.root = argv[2];
    options.scope = FileSystemScope::RootOnly;
    options.readOnly = true;
    Privileges privileges = Privileges::dropAtEntry();
    return runApplication(options, privileges, argv[0]);
}

} // namespace
} // namespace slicewise

int main(int argc, char **argv)
{
    const std::string_view what = argc == 3 ? argv[1] : "";
    if (what != "start" && what != "scan" && what != "level") {
        fmt::print(stderr, "Usage: browser-bench start|scan|level DIR\n");
        return 2;
    }
    return slicewise::run(argv);
}
