#include "preview/DecoderThread.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <span>
#include <string_view>
#include <utility>

namespace slicewise {

namespace {

constexpr std::uint64_t kMostDataBytes = std::uint64_t{1} << 30U;
constexpr std::uint64_t kMostSeconds = 120;
constexpr std::uint64_t kMostSecondsOfMedia = std::uint64_t{6} * 3600; // it works for as long as it plays

Confinement confinementFor(DecoderTask task)
{
    if (task == DecoderTask::Media) {
        // Where the user's sound server listens.
        return {.mostDataBytes = kMostDataBytes,
                .mostSeconds = kMostSecondsOfMedia,
                .keptVariables = {"XDG_RUNTIME_DIR", "PULSE_SERVER"}};
    }
    return {.mostDataBytes = kMostDataBytes, .mostSeconds = kMostSeconds};
}

bool isPlayRequest(const Request &request, PlayRequest::What what)
{
    const auto *play = std::get_if<PlayRequest>(&request);
    return play != nullptr && play->what == what;
}

bool isSeek(const Request &request)
{
    return isPlayRequest(request, PlayRequest::What::Seek);
}

bool isFrameRequest(const Request &request)
{
    return isPlayRequest(request, PlayRequest::What::NextFrame);
}

bool needsAnswer(const Request &request)
{
    return std::holds_alternative<DrawRequest>(request) || isFrameRequest(request);
}

} // namespace

DecoderThread::DecoderThread(DecoderStart start, Receiver receiver)
    : m_start(std::move(start)), m_receiver(std::move(receiver)), m_askedAt(std::chrono::steady_clock::now())
{
    m_thread = std::thread([this] { run(); });
}

DecoderThread::~DecoderThread()
{
    DecoderThread::end();
    m_thread.join();
}

void DecoderThread::end()
{
    const std::lock_guard lock(m_mutex);
    m_ending = true;
    if (m_decoder != nullptr) {
        m_decoder->wake();
    }
}

bool DecoderThread::hasEnded() const
{
    const std::lock_guard lock(m_mutex);
    return m_hasEnded;
}

void DecoderThread::ask(const Request &request)
{
    const std::lock_guard lock(m_mutex);
    if (isSeek(request)) {
        std::erase_if(m_waiting, isSeek); // a finger that goes on leaves places behind that nobody looks at
    }
    m_waiting.push_back(request);
    if (m_decoder != nullptr) {
        m_decoder->wake();
    }
}

void DecoderThread::forget(std::uint32_t ticket)
{
    const std::lock_guard lock(m_mutex);
    std::erase_if(m_waiting, [ticket](const Request &request) {
        const auto *draw = std::get_if<DrawRequest>(&request);
        return draw != nullptr && draw->ticket == ticket;
    });
}

std::optional<::pid_t> DecoderThread::process() const
{
    const std::lock_guard lock(m_mutex);
    return m_decoder != nullptr ? std::optional(m_decoder->process()) : std::nullopt;
}

void DecoderThread::run()
{
    work();
    const std::lock_guard lock(m_mutex);
    m_hasEnded = true;
}

void DecoderThread::work()
{
    const auto decoder = ConfinedProcess::start(m_start.program, {std::string(decoderTaskName(m_start.task))},
                                                m_start.file.get(), confinementFor(m_start.task));
    m_start.file.reset();
    if (decoder != nullptr) {
        {
            const std::lock_guard lock(m_mutex);
            m_decoder = decoder.get();
        }
        while (exchange(*decoder)) {
        }
    }
    bool wanted = false;
    {
        const std::lock_guard lock(m_mutex);
        m_decoder = nullptr;
        wanted = !m_ending;
    }
    if (wanted) {
        m_receiver(std::nullopt);
    }
}

/// A sound that is playing has nothing to say, and may be silent for long.
std::optional<std::chrono::milliseconds> DecoderThread::patience() const
{
    if (m_hasOpened && (m_reader.outstanding() == 0 || m_start.task == DecoderTask::Media)) {
        return std::nullopt;
    }
    const auto passed =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - m_askedAt);
    return std::max(std::chrono::milliseconds(0), m_start.mostPatience - passed);
}

bool DecoderThread::exchange(ConfinedProcess &decoder)
{
    if (!sendWhatWaits(decoder)) {
        return false;
    }
    std::array<std::byte, std::size_t{64} * 1024> bytes{};
    const auto most = patience();
    const ConfinedProcess::Received received = decoder.receive(bytes, most);
    switch (received.event) {
    case ConfinedProcess::Event::Woken:
        return true;
    case ConfinedProcess::Event::TimedOut:
    case ConfinedProcess::Event::Ended:
        return false;
    case ConfinedProcess::Event::Bytes:
        break;
    }
    const auto *text = reinterpret_cast<const char *>(bytes.data());
    const bool makesSense = m_reader.feed(std::string_view(text, received.length));
    // One that sends a byte now and then does not gain time by it.
    const bool inTime = !most || *most > std::chrono::milliseconds(0);
    return handOutAnswers() && makesSense && inTime;
}

std::optional<Request> DecoderThread::takeNext()
{
    if (!m_hasOpened) {
        return std::nullopt;
    }
    auto found = std::find_if_not(m_waiting.begin(), m_waiting.end(), needsAnswer);
    if (found == m_waiting.end()) {
        if (m_waiting.empty() || m_reader.outstanding() > 0) {
            return std::nullopt;
        }
        found = std::prev(m_waiting.end());
    }
    Request request = *found;
    m_waiting.erase(found);
    return request;
}

bool DecoderThread::sendWhatWaits(ConfinedProcess &decoder)
{
    while (true) {
        std::optional<Request> request;
        {
            const std::lock_guard lock(m_mutex);
            if (m_ending) {
                return false;
            }
            request = takeNext();
        }
        if (!request) {
            return true;
        }
        if (const auto *draw = std::get_if<DrawRequest>(&*request)) {
            m_reader.expectPicture(*draw);
            m_askedAt = std::chrono::steady_clock::now();
        } else if (isFrameRequest(*request)) {
            const auto &play = std::get<PlayRequest>(*request);
            m_reader.expectFrame(play.width, play.height);
        }
        const std::string bytes = encodeRequest(*request);
        if (!decoder.send(std::as_bytes(std::span(bytes)))) {
            return false;
        }
    }
}

bool DecoderThread::handOutAnswers()
{
    for (std::optional<Answer> answer = m_reader.next(); answer; answer = m_reader.next()) {
        const auto *failed = std::get_if<FailedAnswer>(&*answer);
        const bool isEnd = failed != nullptr && failed->ticket == 0;
        m_hasOpened = true;
        m_receiver(std::move(answer));
        if (isEnd) {
            return false;
        }
    }
    return true;
}

} // namespace slicewise
