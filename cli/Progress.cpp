#include "cli/Progress.h"

#include "cli/Numbers.h"
#include "cli/Terminal.h"
#include "ui/NameText.h"
#include "ui/SizeText.h"

#include <fmt/format.h>

#include <unistd.h>

#include <chrono>
#include <string_view>

namespace slicewise {

namespace {

constexpr std::chrono::milliseconds kBetweenLines(200);
constexpr std::string_view kClearLine = "\r\x1b[K";

std::atomic<bool> lineIsShown = false;

void writeToTerminal(std::string_view text)
{
    // A terminal that takes nothing is not worth failing for.
    static_cast<void>(::write(STDERR_FILENO, text.data(), text.size()) < 0);
}

} // namespace

Progress::Progress(const ScanMonitor &monitor) : m_monitor(monitor), m_thread([this] { run(); }) {}

Progress::~Progress()
{
    {
        const std::lock_guard lock(m_mutex);
        m_ending = true;
    }
    m_ended.notify_one();
    m_thread.join();
    takeOffTerminal();
}

void Progress::takeOffTerminal()
{
    if (lineIsShown.exchange(false)) {
        writeToTerminal(kClearLine);
    }
}

void Progress::run()
{
    std::unique_lock lock(m_mutex);
    while (!m_ended.wait_for(lock, kBetweenLines, [this] { return m_ending; })) {
        show(m_monitor.snapshot());
    }
}

void Progress::show(const ScanSnapshot &snapshot)
{
    const std::string text = fmt::format("Scanning: {} in {}", sizeTextForBytes(snapshot.sizeBytes),
                                         counted(snapshot.files, "file", "files"));
    // One column less than there are, so that no terminal wraps the line.
    const std::size_t columns = Terminal::of(STDERR_FILENO).columns - 1;
    lineIsShown = true;
    writeToTerminal(std::string(kClearLine).append(cutToColumns(text, columns)));
}

} // namespace slicewise
