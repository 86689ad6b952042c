// A program that works on one open file and is trusted with nothing else.
//
// What it reads may have been made to harm whoever reads it, so it has the file as its standard input, a
// connection to us as its standard output, and nothing beside: no other descriptor, no environment but a
// fixed one, no saved user id, limits on what it may use up. It is killed when its object goes, and when the
// thread that started it ends.
//
// One thread uses it, the one that started it; wake() is for any other.
#pragma once

#include "platform/ChildProcess.h"
#include "platform/UniqueFd.h"

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace slicewise {

class ConfinedProcess {
public:
    /// The program is an absolute path, the file any descriptor. Null where it could not be started.
    [[nodiscard]] static std::unique_ptr<ConfinedProcess> start(const std::string &program,
                                                                const std::vector<std::string> &arguments,
                                                                int file, const Confinement &confinement);
    ConfinedProcess(const ConfinedProcess &) = delete;
    ConfinedProcess &operator=(const ConfinedProcess &) = delete;
    /// Kills it and waits for its end, which is a matter of moments.
    ~ConfinedProcess();

    /// False where it does not take the bytes: it has ended, or does not read.
    [[nodiscard]] bool send(std::span<const std::byte> bytes);

    enum class Event : std::uint8_t {
        Bytes,    ///< some have come
        Woken,    ///< by wake()
        TimedOut, ///< nothing has happened for so long
        Ended,    ///< it has closed its side, or a failure
    };
    struct Received {
        Event event = Event::Ended;
        std::size_t length = 0; ///< of what was put into the buffer
    };
    /// Waits for something to come; absent: for ever.
    [[nodiscard]] Received receive(std::span<std::byte> into, std::optional<std::chrono::milliseconds> most);

    [[nodiscard]] ::pid_t process() const { return m_process; }

    /// Ends the waiting of receive(), the present one or the next. Any thread, as long as the object is
    /// there.
    void wake() const;

private:
    ConfinedProcess() = default;

    UniqueFd m_connection;
    Pipe m_alarm;
    ::pid_t m_process = -1;
};

} // namespace slicewise
