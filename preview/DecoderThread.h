// The thread that a decoder belongs to: starts it, asks it, believes nothing of what it answers, and ends it.
//
// Answers are handed out on that thread. Once it is ended it kills the decoder, whatever that is doing, and
// waits until it is gone: a matter of moments, unless the decoder waits for a disk that hangs.
#pragma once

#include "platform/ConfinedProcess.h"
#include "platform/UniqueFd.h"
#include "preview/DecoderMessages.h"
#include "preview/EndingThreads.h"

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

class DecoderThread final : public EndingThread {
public:
    /// Whatever comes; absent, once and last: the decoder is gone or has talked nonsense.
    using Receiver = std::function<void(std::optional<Answer> answer)>;

    DecoderThread(DecoderStart start, Receiver receiver);
    DecoderThread(const DecoderThread &) = delete;
    DecoderThread &operator=(const DecoderThread &) = delete;
    ~DecoderThread() override;

    /// One picture at a time is with the decoder, and of those that wait the last one goes first: what is on
    /// the screen now was asked for last. What steers a player goes ahead of them, in the order in which it
    /// was asked; of places to go to that still wait, only the last.
    void ask(const Request &request);
    /// Takes back a drawing that has not begun; where it has, its answer comes all the same.
    void forget(std::uint32_t ticket);

    /// Has the decoder killed. What it has said until then may still be handed out.
    void end() override;
    [[nodiscard]] bool hasEnded() const override;

    /// Of the decoder; absent while there is none.
    [[nodiscard]] std::optional<::pid_t> process() const;

private:
    void run();
    void work();
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
    bool m_hasEnded = false;

    std::thread m_thread;
};

} // namespace slicewise
