#include "platform/Log.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <ctime>
#include <utility>

#if defined(__linux__)
#include <sys/syscall.h>
#endif

namespace slicewise {

namespace {

std::string onOneLine(std::string_view text)
{
    std::string line;
    line.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const auto next = i + 1 < text.size() ? static_cast<unsigned char>(text[i + 1]) : 0U;
        if (byte < 0x20 || byte == 0x7f) {
            fmt::format_to(std::back_inserter(line), "\\x{:02X}", byte);
        } else if (byte == 0xc2 && next >= 0x80 && next < 0xa0) {
            // The second set of control characters, as UTF-8 has them.
            fmt::format_to(std::back_inserter(line), "\\x{:02X}\\x{:02X}", byte, next);
            ++i;
        } else {
            line.push_back(text[i]);
        }
    }
    return line;
}

long threadId()
{
#if defined(__linux__)
    return ::syscall(SYS_gettid);
#else
    return static_cast<long>(::getpid());
#endif
}

} // namespace

Log::Log(std::string programName) : m_programName(std::move(programName)) {}

Log::Log(Sink sink) : m_sink(std::move(sink)) {}

void Log::setSink(Sink sink)
{
    const std::lock_guard lock(m_mutex);
    m_sink = std::move(sink);
}

void Log::line(std::string_view text)
{
    const std::string single = onOneLine(text);
    const std::lock_guard lock(m_mutex);
    if (m_sink) {
        m_sink(single);
    } else {
        writeToStandardError(single);
    }
}

void Log::writeToStandardError(const std::string &text) const
{
    const auto now = std::chrono::system_clock::now();
    const auto sinceEpoch = std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch());
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    std::tm local{};
    ::localtime_r(&seconds, &local);
    const std::string line =
        fmt::format("{:%Y-%m-%d %H:%M:%S}.{:03d} {}[{}:{}] {}\n", local, sinceEpoch.count() % 1000,
                    m_programName, ::getpid(), threadId(), text);
    // One write for a line, so that lines of several processes on one terminal do not mix either.
    std::string_view rest = line;
    while (!rest.empty()) {
        const ssize_t written = ::write(STDERR_FILENO, rest.data(), rest.size());
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return; // a log that can't be written is not worth failing for
        }
        rest.remove_prefix(static_cast<std::size_t>(written));
    }
}

} // namespace slicewise
