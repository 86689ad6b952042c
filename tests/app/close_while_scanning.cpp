// The application, closed as a user would when its first picture is there.
//
// Usage: close-while-scanning ROOT, with a platform that needs no display. Prints how far the scan was.

#include "tests/app/ShownWindow.h"
#include "ui/SZAViewController.h"

#include <QCoreApplication>
#include <QQuickWindow>
#include <QTimer>

#include <cstdio>

namespace {

void closeWindow(QQuickWindow &window)
{
    const bool done = slicewise::firstScreenOf(window).doneScan();
    std::fputs(done ? "closed after the scan\n" : "closed while it scans\n", stdout);
    std::fflush(stdout);
    window.close();
}

void whenStarted()
{
    QTimer::singleShot(0, [] { slicewise::whenWindowIsShown(closeWindow); });
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(whenStarted)

int main(int argc, char **argv)
{
    return slicewise::runOnRoot(argc, argv);
}
