// The thread that a decoder belongs to: starts it, asks it, believes nothing of what it answers, and ends it.
//
// Answers are handed out on that thread. The destructor kills the decoder, whatever it is doing, and waits
// for the thread, which then has nothing left to wait for.
#pragma once

#include "platform/ConfinedProcess.h"
#include "platform/UniqueFd.h"
#include "preview/DecoderMessages.h"

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace slicewise {

struct DecoderStart {
    std::string program; ///< absolute
    DecoderTask task = DecoderTask::Image;
    UniqueFd file;
    std::chrono::milliseconds mostPatience{20'000}; ///< for one answer; then it counts as an endless loop
};

class DecoderThread {
public:
    /// Whatever comes; absent, once and last: the decoder is gone or has talked nonsense.
    using Receiver = std::function<void(std::optional<Answer> answer)>;

    DecoderThread(DecoderStart start, Receiver receiver);
    DecoderThread(const DecoderThread &) = delete;
    DecoderThread &operator=(const DecoderThread &) = delete;
    ~DecoderThread();

    /// One picture at a time is with the decoder, and of those that wait the last one goes first: what is on
    /// the screen now was asked for last. What steers a player goes ahead of them, in the order in which it
    /// was asked; of places to go to that still wait, only the last.
    void ask(const Request &request);
    /// Takes back a drawing that has not begun; where it has, its answer comes all the same.
    void forget(std::uint32_t ticket);

    /// Of the decoder; absent while there is none.
    [[nodiscard]] std::optional<::pid_t> process() const;

private:
    void run();
    [[nodiscard]] bool exchange(ConfinedProcess &decoder);
    [[nodiscard]] bool sendWhatWaits(ConfinedProcess &decoder);
    /// Of what waits, what can be sent now. The mutex is held.
    [[nodiscard]] std::optional<Request> takeNext();
    [[nodiscard]] bool handOutAnswers();
    [[nodiscard]] std::optional<std::chrono::milliseconds> patience() const;

    DecoderStart m_start;
    Receiver m_receiver;
    AnswerReader m_reader;
    bool m_hasOpened = false;
    std::chrono::steady_clock::time_point m_askedAt; ///< what is outstanding

    mutable std::mutex m_mutex; ///< for what follows
    std::vector<Request> m_waiting;
    ConfinedProcess *m_decoder = nullptr; ///< while it can be woken
    bool m_ending = false;

    std::thread m_thread;
};

} // namespace slicewise
