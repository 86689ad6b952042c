// The log: single free-form lines, for whoever looks into what the system did; never shown to the user.
//
// A line goes to standard error as "2026-11-21 09:30:00.123 slicewise-cli[4711:4711] text" (local time,
// process id, thread id), or to a sink. A text with control characters, as a hostile file name may have,
// stays one line: they are written as \xNN. Lines from several threads never mix. There are no levels.
#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <string_view>

namespace slicewise {

class Log {
public:
    /// Receives each line's text without time stamp and newline. Called under the log's lock: it must not
    /// log itself.
    using Sink = std::function<void(std::string_view line)>;

    /// Writes to standard error under the program's name.
    explicit Log(std::string programName);
    /// Hands every line to the sink.
    explicit Log(Sink sink);
    Log(const Log &) = delete;
    Log &operator=(const Log &) = delete;
    ~Log() = default;

    /// Any thread.
    void line(std::string_view text);

    /// From now on lines go to the sink; an empty one means standard error again.
    void setSink(Sink sink);

private:
    void writeToStandardError(const std::string &text) const;

    std::mutex m_mutex;
    std::string m_programName;
    Sink m_sink;
};

} // namespace slicewise
