#include "preview/DecoderMessages.h"

#include <algorithm>
#include <array>
#include <utility>

namespace slicewise {

namespace {

constexpr std::size_t kNumberBytes = 4;
constexpr std::size_t kHeadBytes = 2 * kNumberBytes;
constexpr unsigned kByteBits = 8;

enum class RequestKind : std::uint32_t { Draw = 1, Play };
enum class AnswerKind : std::uint32_t { Opened = 101, Picture, Text, Playback, Failed };

constexpr std::array<std::string_view, 4> kTaskNames = {"image", "pdf", "property-list", "media"};

void appendNumber(std::string &bytes, std::uint32_t number)
{
    for (std::size_t i = 0; i < kNumberBytes; ++i) {
        bytes.push_back(static_cast<char>((number >> (kByteBits * i)) & 0xffU));
    }
}

std::uint32_t numberAt(std::string_view bytes, std::size_t index)
{
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < kNumberBytes; ++i) {
        number |= std::uint32_t{static_cast<unsigned char>(bytes.at(index * kNumberBytes + i))}
                  << (kByteBits * i);
    }
    return number;
}

template <typename Kind> std::string message(Kind kind, std::initializer_list<std::uint32_t> numbers)
{
    std::string bytes;
    appendNumber(bytes, static_cast<std::uint32_t>(kind));
    appendNumber(bytes, static_cast<std::uint32_t>(numbers.size() * kNumberBytes));
    for (const std::uint32_t number : numbers) {
        appendNumber(bytes, number);
    }
    return bytes;
}

struct EncodeRequest {
    std::string operator()(const DrawRequest &draw) const
    {
        return message(RequestKind::Draw, {draw.ticket, draw.page, draw.width, draw.height});
    }
    std::string operator()(const PlayRequest &play) const
    {
        return message(RequestKind::Play,
                       {static_cast<std::uint32_t>(play.what), play.positionMs, play.width, play.height});
    }
};

struct EncodeAnswer {
    std::string operator()(const OpenedAnswer &opened) const
    {
        std::string bytes;
        appendNumber(bytes, static_cast<std::uint32_t>(AnswerKind::Opened));
        appendNumber(bytes, static_cast<std::uint32_t>(opened.pages.size() * 2 * kNumberBytes));
        for (const PageSize &page : opened.pages) {
            appendNumber(bytes, page.width);
            appendNumber(bytes, page.height);
        }
        return bytes;
    }
    std::string operator()(const PictureAnswer &picture) const
    {
        return encodePictureHead(picture, picture.pixels.size()) + picture.pixels;
    }
    std::string operator()(const TextAnswer &text) const
    {
        std::string bytes;
        appendNumber(bytes, static_cast<std::uint32_t>(AnswerKind::Text));
        appendNumber(bytes, static_cast<std::uint32_t>(text.text.size()));
        return bytes + text.text;
    }
    std::string operator()(const PlaybackAnswer &playback) const
    {
        return message(AnswerKind::Playback, {playback.positionMs, playback.durationMs,
                                              playback.playing ? 1U : 0U, playback.hasVideo ? 1U : 0U});
    }
    std::string operator()(const FailedAnswer &failed) const
    {
        return message(AnswerKind::Failed, {static_cast<std::uint32_t>(failed.why), failed.ticket});
    }
};

constexpr std::size_t kRequestBytes = kHeadBytes + 4 * kNumberBytes;
constexpr std::size_t kPictureNumbersBytes = 3 * kNumberBytes;

} // namespace

std::string_view decoderTaskName(DecoderTask task)
{
    return kTaskNames.at(static_cast<std::size_t>(task));
}

std::optional<DecoderTask> decoderTaskNamed(std::string_view name)
{
    const auto *const found = std::find(kTaskNames.begin(), kTaskNames.end(), name);
    return found != kTaskNames.end() ? std::optional(static_cast<DecoderTask>(found - kTaskNames.begin()))
                                     : std::nullopt;
}

bool isDrawable(std::uint32_t width, std::uint32_t height)
{
    return width > 0 && height > 0 && width <= AnswerLimits::kMostSide && height <= AnswerLimits::kMostSide &&
           std::size_t{width} * height <= AnswerLimits::kMostPixels;
}

std::string encodeRequest(const Request &request)
{
    return std::visit(EncodeRequest(), request);
}

bool RequestReader::feed(std::string_view bytes)
{
    m_bytes.append(bytes);
    while (m_bytes.size() >= kRequestBytes) {
        const std::uint32_t kind = numberAt(m_bytes, 0);
        if (numberAt(m_bytes, 1) != kRequestBytes - kHeadBytes) {
            return false;
        }
        if (kind == static_cast<std::uint32_t>(RequestKind::Draw)) {
            const DrawRequest draw{.ticket = numberAt(m_bytes, 2),
                                   .page = numberAt(m_bytes, 3),
                                   .width = numberAt(m_bytes, 4),
                                   .height = numberAt(m_bytes, 5)};
            if (!isDrawable(draw.width, draw.height)) {
                return false;
            }
            m_ready.emplace_back(draw);
        } else if (kind == static_cast<std::uint32_t>(RequestKind::Play) &&
                   numberAt(m_bytes, 2) <= static_cast<std::uint32_t>(PlayRequest::What::NextFrame)) {
            m_ready.emplace_back(PlayRequest{.what = static_cast<PlayRequest::What>(numberAt(m_bytes, 2)),
                                             .positionMs = numberAt(m_bytes, 3),
                                             .width = numberAt(m_bytes, 4),
                                             .height = numberAt(m_bytes, 5)});
        } else {
            return false;
        }
        m_bytes.erase(0, kRequestBytes);
    }
    return true;
}

std::optional<Request> RequestReader::next()
{
    if (m_ready.empty()) {
        return std::nullopt;
    }
    Request request = m_ready.front();
    m_ready.pop_front();
    return request;
}

std::string encodeAnswer(const Answer &answer)
{
    return std::visit(EncodeAnswer(), answer);
}

std::string encodePictureHead(const PictureAnswer &pictureWithoutPixels, std::size_t pixelBytes)
{
    std::string bytes;
    appendNumber(bytes, static_cast<std::uint32_t>(AnswerKind::Picture));
    appendNumber(bytes, static_cast<std::uint32_t>(kPictureNumbersBytes + pixelBytes));
    appendNumber(bytes, pictureWithoutPixels.ticket);
    appendNumber(bytes, pictureWithoutPixels.width);
    appendNumber(bytes, pictureWithoutPixels.height);
    return bytes;
}

void AnswerReader::expectPicture(const DrawRequest &request)
{
    m_expected.push_back(request);
}

void AnswerReader::expectFrame(std::uint32_t width, std::uint32_t height)
{
    m_expected.push_back({.ticket = 0, .page = 0, .width = width, .height = height});
}

bool AnswerReader::feed(std::string_view bytes)
{
    while (!m_broken && !bytes.empty()) {
        const std::size_t wanted = kHeadBytes + (m_kind ? m_bodyBytes : 0);
        const std::string_view taken = bytes.substr(0, wanted - m_bytes.size());
        m_bytes.append(taken);
        bytes.remove_prefix(taken.size());
        if (m_bytes.size() == kHeadBytes && !m_kind) {
            m_broken = !readHead();
        }
        if (!m_broken && m_kind && m_bytes.size() == kHeadBytes + m_bodyBytes) {
            m_broken = !readBody();
            m_kind.reset();
            m_bytes.clear();
        }
    }
    return !m_broken;
}

std::optional<Answer> AnswerReader::next()
{
    if (m_ready.empty()) {
        return std::nullopt;
    }
    Answer answer = std::move(m_ready.front());
    m_ready.pop_front();
    return answer;
}

// How long the body may be is known before a byte of it is taken.
bool AnswerReader::readHead()
{
    m_kind = numberAt(m_bytes, 0);
    m_bodyBytes = numberAt(m_bytes, 1);
    switch (static_cast<AnswerKind>(*m_kind)) {
    case AnswerKind::Opened:
        return !m_opened && m_bodyBytes > 0 && m_bodyBytes % (2 * kNumberBytes) == 0 &&
               m_bodyBytes <= std::size_t{AnswerLimits::kMostPages} * 2 * kNumberBytes;
    case AnswerKind::Picture:
        if (m_expected.empty()) {
            return false;
        }
        return m_bodyBytes > kPictureNumbersBytes &&
               m_bodyBytes <= kPictureNumbersBytes +
                                  std::size_t{m_expected.front().width} * m_expected.front().height * 4;
    case AnswerKind::Text:
        return !m_opened && m_bodyBytes <= AnswerLimits::kMostTextBytes;
    case AnswerKind::Playback:
        return m_bodyBytes == 4 * kNumberBytes;
    case AnswerKind::Failed:
        return m_bodyBytes == 2 * kNumberBytes;
    }
    return false;
}

bool AnswerReader::readBody()
{
    switch (static_cast<AnswerKind>(*m_kind)) {
    case AnswerKind::Opened:
        return readOpened();
    case AnswerKind::Picture:
        return readPicture();
    case AnswerKind::Text:
        m_opened = true;
        m_ready.emplace_back(TextAnswer{.text = m_bytes.substr(kHeadBytes)});
        return true;
    case AnswerKind::Playback:
        m_ready.emplace_back(PlaybackAnswer{.positionMs = numberAt(m_bytes, 2),
                                            .durationMs = numberAt(m_bytes, 3),
                                            .playing = numberAt(m_bytes, 4) != 0,
                                            .hasVideo = numberAt(m_bytes, 5) != 0});
        return true;
    case AnswerKind::Failed:
        return readFailed();
    }
    return false;
}

bool AnswerReader::readOpened()
{
    OpenedAnswer opened;
    for (std::size_t at = 2; at * kNumberBytes < m_bytes.size(); at += 2) {
        const PageSize size{.width = numberAt(m_bytes, at), .height = numberAt(m_bytes, at + 1)};
        if (size.width == 0 || size.height == 0) {
            return false;
        }
        opened.pages.push_back(size);
    }
    m_opened = true;
    m_ready.emplace_back(std::move(opened));
    return true;
}

bool AnswerReader::readPicture()
{
    const DrawRequest expected = m_expected.front();
    m_expected.pop_front();
    PictureAnswer picture{.ticket = numberAt(m_bytes, 2),
                          .width = numberAt(m_bytes, 3),
                          .height = numberAt(m_bytes, 4),
                          .pixels = {}};
    const std::size_t pixelBytes = m_bodyBytes - kPictureNumbersBytes;
    if (picture.ticket != expected.ticket || picture.width == 0 || picture.height == 0 ||
        picture.width > expected.width || picture.height > expected.height ||
        pixelBytes != std::size_t{picture.width} * picture.height * 4) {
        return false;
    }
    picture.pixels = m_bytes.substr(kHeadBytes + kPictureNumbersBytes);
    m_ready.emplace_back(std::move(picture));
    return true;
}

bool AnswerReader::readFailed()
{
    const std::uint32_t why = numberAt(m_bytes, 2);
    const std::uint32_t ticket = numberAt(m_bytes, 3);
    if (why > static_cast<std::uint32_t>(FailedAnswer::Why::Locked)) {
        return false;
    }
    if (ticket != 0) {
        if (m_expected.empty() || m_expected.front().ticket != ticket) {
            return false;
        }
        m_expected.pop_front();
    }
    m_ready.emplace_back(FailedAnswer{.why = static_cast<FailedAnswer::Why>(why), .ticket = ticket});
    return true;
}

} // namespace slicewise
