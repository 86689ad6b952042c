// A line on the terminal that tells how far a scan is, a few times a second, and goes when it ends.
#pragma once

#include "scan/ScanMonitor.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace slicewise {

class Progress {
public:
    /// Begins at once on standard error; the monitor is borrowed.
    explicit Progress(const ScanMonitor &monitor);
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;
    /// Takes the line off the terminal.
    ~Progress();

    /// Takes the line off the terminal, if there is one, before something else is written there; the next one
    /// comes back. Any thread, and signal handlers.
    static void takeOffTerminal();

private:
    void run();
    void show(const ScanSnapshot &snapshot);

    const ScanMonitor &m_monitor;
    std::mutex m_mutex;
    std::condition_variable m_ended;
    bool m_ending = false;
    std::thread m_thread;
};

} // namespace slicewise
