// What is said between a preview and the program that decodes for it.
//
// Messages go both ways over one stream: a head of two numbers (what it is, how many bytes follow), then
// these bytes. Numbers are 32 bits, the lowest byte first. The decoder reads what may have been made to take
// it over, so nothing that it answers is believed: AnswerReader accepts what was asked for, in the sizes that
// were allowed, and nothing else.
//
// Values; any thread, one at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace slicewise {

/// What a decoder is started for: its only argument.
enum class DecoderTask : std::uint8_t { Image, Pdf, PropertyList, Media };
[[nodiscard]] std::string_view decoderTaskName(DecoderTask task);
[[nodiscard]] std::optional<DecoderTask> decoderTaskNamed(std::string_view name);

// ---- requests

/// A page (0 for the only one) drawn into a rectangle of that many pixels, its proportions kept.
struct DrawRequest {
    std::uint32_t ticket = 0; ///< comes back in the answer
    std::uint32_t page = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;

    friend bool operator==(const DrawRequest &, const DrawRequest &) = default;
};
/// Of sound and film.
struct PlayRequest {
    enum class What : std::uint32_t { Pause, Play, Seek, NextFrame };
    What what = What::Pause;
    std::uint32_t positionMs = 0; ///< for Seek
    // The largest frame, for NextFrame. Each is sent only when it is asked for, so that a slow page gets few.
    std::uint32_t width = 0;
    std::uint32_t height = 0;

    friend bool operator==(const PlayRequest &, const PlayRequest &) = default;
};
using Request = std::variant<DrawRequest, PlayRequest>;

[[nodiscard]] std::string encodeRequest(const Request &request);

/// Cuts requests out of a stream of bytes.
class RequestReader {
public:
    /// False where the bytes are no requests; then there is no way on.
    [[nodiscard]] bool feed(std::string_view bytes);
    [[nodiscard]] std::optional<Request> next();

private:
    std::string m_bytes;
    std::deque<Request> m_ready;
};

// ---- answers

struct PageSize {
    std::uint32_t width = 0; ///< pixels; of a PDF, points
    std::uint32_t height = 0;

    friend bool operator==(const PageSize &, const PageSize &) = default;
};
/// The file can be decoded: the sizes of its pages, at least one. Of a file with more than
/// AnswerLimits::mostPages only the first ones.
struct OpenedAnswer {
    std::vector<PageSize> pages;
};
/// Four bytes a pixel (red, green, blue, alpha, the first three multiplied by it), rows from the top.
struct PictureAnswer {
    std::uint32_t ticket = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::string pixels;
};
/// All of what the file reads as. UTF-8 by intention; not checked.
struct TextAnswer {
    std::string text;
};
struct PlaybackAnswer {
    std::uint32_t positionMs = 0;
    std::uint32_t durationMs = 0;
    bool playing = false;
    bool hasVideo = false;
};
struct FailedAnswer {
    enum class Why : std::uint32_t { Unreadable, TooLarge, NotInstalled, Locked };
    Why why = Why::Unreadable;
    std::uint32_t ticket = 0; ///< 0: nothing at all can be had
};
using Answer = std::variant<OpenedAnswer, PictureAnswer, TextAnswer, PlaybackAnswer, FailedAnswer>;

[[nodiscard]] std::string encodeAnswer(const Answer &answer);
/// What goes before the pixels of a picture, which then need not be copied.
[[nodiscard]] std::string encodePictureHead(const PictureAnswer &pictureWithoutPixels,
                                            std::size_t pixelBytes);

struct AnswerLimits {
    static constexpr std::uint32_t kMostPages = 10'000;
    static constexpr std::uint32_t kMostSide = 8'192;                         ///< pixels
    static constexpr std::size_t kMostPixels = std::size_t{16} * 1024 * 1024; ///< of one picture
    static constexpr std::size_t kMostTextBytes = std::size_t{64} << 20U;
};

/// Cuts answers out of a stream of bytes, and refuses what is none, or larger than allowed.
class AnswerReader {
public:
    /// A picture that was asked for; only as many come, and none is larger.
    void expectPicture(const DrawRequest &request);
    /// Frames are asked for without tickets; they come with the number 0.
    void expectFrame(std::uint32_t width, std::uint32_t height);

    /// False where the bytes are no answer; from then on always.
    [[nodiscard]] bool feed(std::string_view bytes);
    [[nodiscard]] std::optional<Answer> next();
    /// What was asked for and has not come.
    [[nodiscard]] std::size_t outstanding() const { return m_expected.size(); }

private:
    [[nodiscard]] bool readHead();
    [[nodiscard]] bool readBody();
    [[nodiscard]] bool readPicture();
    [[nodiscard]] bool readOpened();
    [[nodiscard]] bool readFailed();

    std::deque<DrawRequest> m_expected;
    std::string m_bytes; ///< of the answer that has begun, head included
    std::optional<std::uint32_t> m_kind;
    std::size_t m_bodyBytes = 0;
    std::deque<Answer> m_ready;
    bool m_broken = false;
    bool m_opened = false;
};

/// Whether a size may be asked for and answered.
[[nodiscard]] bool isDrawable(std::uint32_t width, std::uint32_t height);

} // namespace slicewise
