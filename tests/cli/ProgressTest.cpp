#include "cli/Progress.h"

#include "platform/UniqueFd.h"
#include "scan/SZANode.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <pty.h>
#include <unistd.h>

#include <array>
#include <optional>
#include <string>

namespace slicewise {
namespace {

using testing::EndsWith;

// Standard error is a terminal of the test's own while this lives.
class TerminalAsStandardError {
public:
    explicit TerminalAsStandardError(unsigned short columns) : m_saved(::dup(STDERR_FILENO))
    {
        int control = -1;
        int terminal = -1;
        winsize size{.ws_row = 24, .ws_col = columns, .ws_xpixel = 0, .ws_ypixel = 0};
        EXPECT_EQ(::openpty(&control, &terminal, nullptr, nullptr, &size), 0);
        m_control = UniqueFd(control);
        ::dup2(terminal, STDERR_FILENO);
        UniqueFd(terminal).reset();
    }
    TerminalAsStandardError(const TerminalAsStandardError &) = delete;
    TerminalAsStandardError &operator=(const TerminalAsStandardError &) = delete;
    ~TerminalAsStandardError() { ::dup2(m_saved.get(), STDERR_FILENO); }

    // Waits until something is shown that ends so.
    [[nodiscard]] std::string shownUntil(std::string_view end)
    {
        std::array<char, 1024> buffer{};
        while (!m_shown.ends_with(end)) {
            const ssize_t length = ::read(m_control.get(), buffer.data(), buffer.size());
            if (length <= 0) {
                break;
            }
            m_shown.append(buffer.data(), static_cast<std::size_t>(length));
        }
        return m_shown;
    }

private:
    UniqueFd m_saved;
    UniqueFd m_control;
    std::string m_shown;
};

void publishSome(ScanMonitor &monitor, SZANode &root)
{
    monitor.publish(root, [&] {
        root.setSize(3UL * 512 * 1024 * 1024);
        return ScanMonitor::Counts{.files = 1234, .directories = 5};
    });
}

TEST(Progress, showsTheRunningTotalAndTheFilesAndIsGoneAtTheEnd)
{
    ScanMonitor monitor;
    SZANode root;
    publishSome(monitor, root);
    TerminalAsStandardError terminal(80);
    std::optional<Progress> progress(std::in_place, monitor);
    EXPECT_EQ(terminal.shownUntil("files"), "\r\x1b[KScanning: 1.5 GB in 1234 files");
    progress.reset();
    EXPECT_THAT(terminal.shownUntil("\x1b[K"), EndsWith("\r\x1b[K"));
}

TEST(Progress, neverWrapsOnANarrowTerminal)
{
    ScanMonitor monitor;
    SZANode root;
    publishSome(monitor, root);
    TerminalAsStandardError terminal(22);
    const Progress progress(monitor);
    EXPECT_EQ(terminal.shownUntil("…"), "\r\x1b[KScanning: 1.5 GB in …");
}

TEST(Progress, aScanThatEndsAtOnceShowsNone)
{
    const ScanMonitor monitor;
    TerminalAsStandardError terminal(80);
    {
        const Progress progress(monitor);
    }
    ASSERT_EQ(::write(STDERR_FILENO, "end", 3), 3);
    EXPECT_EQ(terminal.shownUntil("end"), "end");
}

} // namespace
} // namespace slicewise
