#include "cli/Terminal.h"

#include "cli/Numbers.h"
#include "platform/UniqueFd.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <pty.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace slicewise {
namespace {

// One thread, and the variables are put back by whoever runs the next test: each sets all that it needs.
class TerminalOf : public testing::Test {
protected:
    TerminalOf()
    {
        ::unsetenv("NO_COLOR");
        ::unsetenv("COLORTERM");
        ::unsetenv("COLUMNS");
        ::setenv("TERM", "xterm-256color", 1);
    }

    UniqueFd m_control;
    UniqueFd m_terminal;

    void openTerminal(unsigned short columns)
    {
        int control = -1;
        int terminal = -1;
        winsize size{.ws_row = 24, .ws_col = columns, .ws_xpixel = 0, .ws_ypixel = 0};
        ASSERT_EQ(::openpty(&control, &terminal, nullptr, nullptr, &size), 0);
        m_control = UniqueFd(control);
        m_terminal = UniqueFd(terminal);
    }
};

TEST_F(TerminalOf, aTerminalTellsItsWidthAndHasColours)
{
    openTerminal(132);
    const Terminal terminal = Terminal::of(m_terminal.get());
    EXPECT_TRUE(terminal.isTerminal);
    EXPECT_EQ(terminal.columns, 132U);
    EXPECT_EQ(terminal.colors, Colors::Indexed);
    ::setenv("COLORTERM", "truecolor", 1);
    EXPECT_EQ(Terminal::of(m_terminal.get()).colors, Colors::True);
}

TEST_F(TerminalOf, aTerminalThatDoesNotKnowItsWidthTakesItFromTheEnvironmentOrHas80)
{
    openTerminal(0);
    EXPECT_EQ(Terminal::of(m_terminal.get()).columns, 80U);
    ::setenv("COLUMNS", "100", 1);
    EXPECT_EQ(Terminal::of(m_terminal.get()).columns, 100U);
    ::setenv("COLUMNS", "wide", 1);
    EXPECT_EQ(Terminal::of(m_terminal.get()).columns, 80U);
}

TEST_F(TerminalOf, anythingElseHasNoColours)
{
    const UniqueFd file(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    ::setenv("COLORTERM", "truecolor", 1);
    const Terminal terminal = Terminal::of(file.get());
    EXPECT_FALSE(terminal.isTerminal);
    EXPECT_EQ(terminal.colors, Colors::None);
    EXPECT_EQ(terminal.columns, 80U);
}

TEST_F(TerminalOf, whoWantsNoColoursGetsNone)
{
    openTerminal(80);
    ::setenv("NO_COLOR", "1", 1);
    EXPECT_EQ(Terminal::of(m_terminal.get()).colors, Colors::None);
    ::unsetenv("NO_COLOR");
    ::setenv("TERM", "dumb", 1);
    EXPECT_EQ(Terminal::of(m_terminal.get()).colors, Colors::None);
}

TEST_F(TerminalOf, noWidthIsTakenThatNothingCouldBeShownIn)
{
    openTerminal(3);
    EXPECT_EQ(Terminal::of(m_terminal.get()).columns, 20U);
}

TEST(Numbers, countsHaveTheRightNoun)
{
    EXPECT_EQ(counted(0, "file", "files"), "0 files");
    EXPECT_EQ(counted(1, "file", "files"), "1 file");
    EXPECT_EQ(counted(1234567, "file", "files"), "1234567 files"); // no separator in the C locale
    EXPECT_EQ(errorText(ENOENT), "No such file or directory");
}

} // namespace
} // namespace slicewise
