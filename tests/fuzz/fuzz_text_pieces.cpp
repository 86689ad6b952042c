// Texts in pieces: whatever the bytes, the pieces together are the text, each is short, and each is found by
// itself.

#include "platform/Device.h"
#include "preview/ContentKind.h"
#include "preview/TextPieces.h"
#include "tests/fuzz/Require.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace {

using namespace slicewise; // NOLINT(google-build-using-namespace): this file is the program

class Bytes final : public ReadableFile {
public:
    explicit Bytes(std::string_view bytes) : m_bytes(bytes) {}
    Result<std::size_t> readAt(std::uint64_t offset, std::span<std::byte> into) override
    {
        const std::size_t begin = std::min<std::size_t>(offset, m_bytes.size());
        const std::size_t length = std::min(into.size(), m_bytes.size() - begin);
        std::transform(m_bytes.begin() + static_cast<std::ptrdiff_t>(begin),
                       m_bytes.begin() + static_cast<std::ptrdiff_t>(begin + length), into.begin(),
                       [](char character) { return static_cast<std::byte>(character); });
        return length;
    }
    Result<std::uint64_t> sizeBytes() const override { return std::uint64_t{m_bytes.size()}; }
    Result<bool> lockShared(std::uint64_t /*offset*/, std::uint64_t /*length*/) override { return true; }
    void unlock(std::uint64_t /*offset*/, std::uint64_t /*length*/) override {}

private:
    std::string_view m_bytes;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0) {
        return 0;
    }
    // The first byte says how often the rest is repeated: pieces are longer than what is tried here.
    const std::string_view pattern(reinterpret_cast<const char *>(data) + 1, size - 1);
    std::string text;
    for (unsigned i = 0; i <= data[0] && text.size() < 5 * TextPieces::kStretchBytes; ++i) {
        text += pattern;
    }
    static_cast<void>(contentKindOf(text, "/x.txt"));
    for (const TextForm form : {textFormOf(text), TextForm::Utf8, TextForm::Utf16LittleEndian,
                                TextForm::Utf16BigEndian, TextForm::Utf32LittleEndian}) {
        Bytes file(text);
        const TextPieces pieces(text.size(), 0, form);
        std::size_t at = 0;
        for (std::uint64_t i = 0; i < pieces.count(); ++i) {
            const std::string piece = pieces.bytesOf(i, file);
            require(piece.size() <= TextPieces::kMostPieceBytes, "a piece is short");
            // Between two pieces at most the end of a line is left out, four bytes long.
            std::size_t skipped = 0;
            while (skipped < 4 && text.compare(at + skipped, piece.size(), piece) != 0) {
                ++skipped;
            }
            const bool isFound = at + skipped <= text.size() && text.compare(at + skipped, piece.size(), piece) == 0;
            require(isFound, "the pieces are the text");
            at += skipped + piece.size();
        }
        require(at <= text.size() && text.size() - at <= 4 * (pieces.count() + 1), "nothing is lost");
    }
    return 0;
}
