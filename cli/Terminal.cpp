#include "cli/Terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <string_view>

namespace slicewise {

namespace {

constexpr std::size_t kFewestColumns = 20;
constexpr std::size_t kMostColumns = 1000;

// The environment is read before any thread is started.
std::string_view environment(const char *name)
{
    const char *value = std::getenv(name); // NOLINT(concurrency-mt-unsafe)
    return value == nullptr ? std::string_view() : std::string_view(value);
}

Colors colorsOfTerminal()
{
    const std::string_view type = environment("TERM");
    if (!environment("NO_COLOR").empty() || type.empty() || type == "dumb") {
        return Colors::None;
    }
    const std::string_view depth = environment("COLORTERM");
    return depth == "truecolor" || depth == "24bit" || type.ends_with("-direct") ? Colors::True
                                                                                 : Colors::Indexed;
}

} // namespace

Terminal Terminal::of(int descriptor)
{
    Terminal terminal;
    terminal.isTerminal = ::isatty(descriptor) == 1;
    winsize size{};
    const std::string_view told = environment("COLUMNS");
    if (terminal.isTerminal && ::ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
        terminal.columns = size.ws_col;
    } else {
        std::size_t columns = 0;
        if (std::from_chars(told.data(), told.data() + told.size(), columns).ec == std::errc() &&
            columns > 0) {
            terminal.columns = columns;
        }
    }
    terminal.columns = std::clamp(terminal.columns, kFewestColumns, kMostColumns);
    if (terminal.isTerminal) {
        terminal.colors = colorsOfTerminal();
    }
    return terminal;
}

} // namespace slicewise
