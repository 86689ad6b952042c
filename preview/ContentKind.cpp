#include "preview/ContentKind.h"

#include "scan/Utf8.h"
#include "ui/FileKind.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

namespace slicewise {

namespace {

using namespace std::string_view_literals;

struct Signature {
    std::string_view bytes;
    ContentKind kind;
    std::size_t offset = 0;
};

// From the formats' own descriptions.
constexpr std::array kSignatures = {
    Signature{"\x89PNG\r\n\x1a\n"sv, ContentKind::Image},
    Signature{"\xff\xd8\xff"sv, ContentKind::Image},
    Signature{"GIF87a"sv, ContentKind::Image},
    Signature{"GIF89a"sv, ContentKind::Image},
    Signature{"II*\0"sv, ContentKind::Image},
    Signature{"MM\0*"sv, ContentKind::Image},
    Signature{"WEBP"sv, ContentKind::Image, 8},
    Signature{"ftypheic"sv, ContentKind::Image, 4},
    Signature{"ftypheix"sv, ContentKind::Image, 4},
    Signature{"ftypmif1"sv, ContentKind::Image, 4},
    Signature{"ftypavif"sv, ContentKind::Image, 4},
    Signature{"\0\0\1\0"sv, ContentKind::Image},
    Signature{"bplist00"sv, ContentKind::PropertyList},
    Signature{"ftypM4A "sv, ContentKind::Audio, 4},
    Signature{"ftypM4B "sv, ContentKind::Audio, 4},
    Signature{"ftyp"sv, ContentKind::Video, 4},
    Signature{"moov"sv, ContentKind::Video, 4},
    Signature{"\x1a\x45\xdf\xa3"sv, ContentKind::Video},
    Signature{"WAVE"sv, ContentKind::Audio, 8},
    Signature{"AVI "sv, ContentKind::Video, 8},
    Signature{"AIFF"sv, ContentKind::Audio, 8},
    Signature{"AIFC"sv, ContentKind::Audio, 8},
    Signature{"ID3"sv, ContentKind::Audio},
    Signature{"fLaC"sv, ContentKind::Audio},
    Signature{"OggS"sv, ContentKind::Audio},
    Signature{"caff"sv, ContentKind::Audio},
};

constexpr std::size_t kPdfHeadBytes = 1024; // in which a reader has to look for it

struct Mark {
    std::string_view bytes;
    TextForm form;
};

// One that begins like another is before it.
constexpr std::array kMarks = {
    Mark{"\xff\xfe\0\0"sv, TextForm::Utf32LittleEndian},
    Mark{"\0\0\xfe\xff"sv, TextForm::Utf32BigEndian},
    Mark{"\xff\xfe"sv, TextForm::Utf16LittleEndian},
    Mark{"\xfe\xff"sv, TextForm::Utf16BigEndian},
    Mark{"\xef\xbb\xbf"sv, TextForm::Utf8},
};

/// Null where the text begins with none.
const Mark *markOf(std::string_view head)
{
    const auto *const found = std::find_if(kMarks.begin(), kMarks.end(),
                                           [&](const Mark &mark) { return head.starts_with(mark.bytes); });
    return found != kMarks.end() ? found : nullptr;
}

bool isAt(std::string_view head, const Signature &signature)
{
    return head.size() >= signature.offset && head.substr(signature.offset).starts_with(signature.bytes);
}

/// "BM", the size, four bytes of nothing: two letters alone would make a bitmap of many a text.
bool isBitmap(std::string_view head)
{
    return head.size() >= 26 && head.starts_with("BM") && head.substr(6, 4) == "\0\0\0\0"sv;
}

/// A frame of MPEG sound, which may stand there without any head: eleven bits set, then a layer.
bool isMpegFrame(std::string_view head)
{
    constexpr unsigned kSync = 0xe0;
    constexpr unsigned kLayer = 0x06;
    return head.size() >= 4 && head[0] == '\xff' && (static_cast<unsigned char>(head[1]) & kSync) == kSync &&
           (static_cast<unsigned char>(head[1]) & kLayer) != 0 && head[2] != '\xff' && head[1] != '\xfe';
}

bool isXmlPropertyList(std::string_view head)
{
    const std::size_t start = std::min(head.find_first_not_of(" \t\r\n", markLengthOf(head)), head.size());
    const std::string_view text = head.substr(start, kPdfHeadBytes);
    return text.starts_with("<plist") || text.starts_with("<!DOCTYPE plist") ||
           (text.starts_with("<?xml") && (text.find("<!DOCTYPE plist") != std::string_view::npos ||
                                          text.find("<plist") != std::string_view::npos));
}

/// Control characters that no text has. Escape and its like are in many a log.
bool hasBinaryBytes(std::string_view head)
{
    std::size_t odd = 0;
    for (const char character : head) {
        const auto byte = static_cast<unsigned char>(character);
        const bool isUsual = byte >= ' ' || (byte >= '\a' && byte <= '\r') || byte == 0x1b;
        if (byte == 0) {
            return true;
        }
        odd += isUsual ? 0U : 1U;
    }
    constexpr std::size_t kOneIn = 64;
    return odd * kOneIn > head.size();
}

/// All but the character that the end of the head may have cut.
bool isUtf8UpToTheCut(std::string_view head)
{
    for (std::size_t cut = 0; cut <= 3 && cut <= head.size(); ++cut) {
        if (isUtf8(head.substr(0, head.size() - cut))) {
            return head.size() < kHeadBytes ? cut == 0 : true;
        }
    }
    return false;
}

/// Of text in a Western script every other byte is nothing.
TextForm utf16WithoutMark(std::string_view head)
{
    std::array<std::size_t, 2> nulls = {0, 0};
    const std::size_t even = head.size() / 2 * 2;
    for (std::size_t i = 0; i < even; ++i) {
        nulls.at(i % 2) += head[i] == '\0' ? 1U : 0U;
        if (head[i] == '\0' && head[i ^ 1U] == '\0') {
            return TextForm::NoText;
        }
    }
    const std::size_t most = even / 2;
    if (head.size() >= 4 && nulls[1] * 10 > most * 7 && nulls[0] == 0) {
        return TextForm::Utf16LittleEndian;
    }
    if (head.size() >= 4 && nulls[0] * 10 > most * 7 && nulls[1] == 0) {
        return TextForm::Utf16BigEndian;
    }
    return TextForm::NoText;
}

ContentKind kindOfName(std::string_view path)
{
    switch (fileKindOf(path)) {
    case FileKind::Image:
        return ContentKind::Image;
    case FileKind::Audio:
        return ContentKind::Audio;
    case FileKind::Video:
        return ContentKind::Video;
    default:
        return ContentKind::Other;
    }
}

} // namespace

TextForm textFormOf(std::string_view head)
{
    if (const Mark *mark = markOf(head)) {
        return mark->form;
    }
    if (hasBinaryBytes(head)) {
        return utf16WithoutMark(head);
    }
    return isUtf8UpToTheCut(head) ? TextForm::Utf8 : TextForm::SomeOtherEncoding;
}

std::size_t markLengthOf(std::string_view head)
{
    const Mark *mark = markOf(head);
    return mark != nullptr ? mark->bytes.size() : 0;
}

ContentKind contentKindOf(std::string_view head, std::string_view path)
{
    if (head.empty()) {
        return ContentKind::Empty;
    }
    if (head.substr(0, kPdfHeadBytes).find("%PDF-") != std::string_view::npos) {
        return ContentKind::Pdf;
    }
    const auto *const signature = std::find_if(kSignatures.begin(), kSignatures.end(),
                                               [&](const Signature &known) { return isAt(head, known); });
    if (signature != kSignatures.end()) {
        return signature->kind;
    }
    if (isBitmap(head)) {
        return ContentKind::Image;
    }
    if (isXmlPropertyList(head)) {
        return ContentKind::PropertyList;
    }
    const TextForm form = textFormOf(head);
    if (form != TextForm::NoText && form != TextForm::SomeOtherEncoding) {
        return ContentKind::Text;
    }
    if (isMpegFrame(head)) {
        return ContentKind::Audio;
    }
    const ContentKind byName = kindOfName(path);
    return byName != ContentKind::Other          ? byName
           : form == TextForm::SomeOtherEncoding ? ContentKind::Text
                                                 : ContentKind::Other;
}

} // namespace slicewise
