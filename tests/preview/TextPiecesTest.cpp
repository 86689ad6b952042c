// Texts in pieces: nothing is lost, nothing twice, and no more is read than a piece.
#include "preview/TextPieces.h"

#include "tests/support/MemoryDevice.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace slicewise {

namespace {

constexpr std::size_t kStretch = TextPieces::kStretchBytes;

/// Notes how much was read at a time.
class CountingFile final : public ReadableFile {
public:
    explicit CountingFile(std::string content) : m_content(std::move(content)) {}
    Result<std::size_t> readAt(std::uint64_t offset, std::span<std::byte> into) override
    {
        most = std::max(most, into.size());
        const std::size_t begin = std::min<std::size_t>(offset, m_content.size());
        const std::size_t length = std::min(into.size(), m_content.size() - begin);
        std::copy_n(reinterpret_cast<const std::byte *>(m_content.data()) + begin, length, into.begin());
        return length;
    }
    Result<std::uint64_t> sizeBytes() const override { return std::uint64_t{m_content.size()}; }
    Result<bool> lockShared(std::uint64_t /*offset*/, std::uint64_t /*length*/) override { return true; }
    void unlock(std::uint64_t /*offset*/, std::uint64_t /*length*/) override {}
    void shrinkTo(std::size_t size) { m_content.resize(size); }

    std::size_t most = 0;

private:
    std::string m_content;
};

std::vector<std::string> piecesOf(const std::string &text, TextForm form = TextForm::Utf8,
                                  std::size_t mark = 0)
{
    CountingFile file(text);
    const TextPieces pieces(text.size(), mark, form);
    std::vector<std::string> all;
    for (std::uint64_t i = 0; i < pieces.count(); ++i) {
        all.push_back(pieces.bytesOf(i, file));
    }
    EXPECT_LE(file.most, 3 * kStretch);
    return all;
}

/// The text again, given that each piece but the last one lost the end of its line, where it ended in one.
void expectWhole(const std::vector<std::string> &pieces, const std::string &text, std::size_t from = 0)
{
    std::size_t at = from;
    for (const std::string &piece : pieces) {
        ASSERT_EQ(text.compare(at, piece.size(), piece), 0) << "at " << at;
        at += piece.size();
        if (at < text.size() && text[at] == '\n' && !piece.empty()) {
            ++at;
        } else if (piece.empty() && at < text.size() && text[at] == '\n') {
            ++at; // a line with nothing in it
        }
    }
    EXPECT_EQ(at, text.size());
}

std::string logOf(std::size_t lines)
{
    std::string text;
    for (std::size_t i = 0; i < lines; ++i) {
        text += "line " + std::to_string(i) + std::string(i % 90, '.') + "\n";
    }
    return text;
}

TEST(TextPieces, ofAShortTextAreOne)
{
    EXPECT_EQ(piecesOf("one\ntwo\n"), std::vector<std::string>{"one\ntwo"});
    EXPECT_EQ(piecesOf(""), std::vector<std::string>{});
}

TEST(TextPieces, beginWithLinesWhereTheseAreShort)
{
    const std::string text = logOf(2'000);
    const auto pieces = piecesOf(text);
    EXPECT_EQ(pieces.size(), (text.size() + kStretch - 1) / kStretch);
    for (const std::string &piece : pieces) {
        EXPECT_EQ(piece.substr(0, 5), "line ");
    }
    expectWhole(pieces, text);
}

TEST(TextPieces, ofOneLongLineAreCutAndNothingIsLost)
{
    const std::string text(10 * kStretch + 17, 'x');
    const auto pieces = piecesOf(text);
    EXPECT_EQ(pieces.size(), 11U);
    expectWhole(pieces, text);
    for (const std::string &piece : pieces) {
        EXPECT_LE(piece.size(), TextPieces::kMostPieceBytes);
    }
}

TEST(TextPieces, areNotCutInACharacter)
{
    std::string text = "x";
    while (text.size() < 5 * kStretch) {
        text += "\xe2\x82\xac"; // three bytes, so that most borders are in the middle of one
    }
    const auto pieces = piecesOf(text);
    expectWhole(pieces, text);
    for (const std::string &piece : pieces) {
        EXPECT_TRUE(piece.empty() || (static_cast<unsigned char>(piece[0]) & 0xc0U) != 0x80U);
    }
}

TEST(TextPieces, ofRandomTextsAreTheTextAgain)
{
    std::mt19937 random(1); // NOLINT(cert-msc51-cpp): the same each time
    for (int round = 0; round < 60; ++round) {
        std::string text;
        const std::size_t size = random() % (6 * kStretch);
        const unsigned longest = 1U << (random() % 14);
        while (text.size() < size) {
            text += std::string(random() % longest, 'a' + static_cast<char>(random() % 26)) + "\n";
        }
        expectWhole(piecesOf(text), text);
    }
}

TEST(TextPieces, ofWideCharactersAreCutBetweenThem)
{
    std::string text = "\xff\xfe";
    for (int i = 0; i < 6'000; ++i) {
        text += i % 50 == 49 ? std::string("\n\0", 2) : std::string("\x3d\xd8\x00\xde", 4);
    }
    const auto pieces = piecesOf(text, TextForm::Utf16LittleEndian, 2);
    for (const std::string &piece : pieces) {
        EXPECT_EQ(piece.size() % 2, 0U);
        ASSERT_GE(piece.size(), 2U);
        EXPECT_EQ(piece.at(1), '\xd8') << "not the second half of a pair";
    }
}

TEST(TextPieces, ofBytesThatOnlyContinueEndAllTheSame)
{
    const std::string text(3 * kStretch, '\x80');
    std::size_t total = 0;
    for (const std::string &piece : piecesOf(text)) {
        total += piece.size();
    }
    EXPECT_EQ(total, text.size());
}

TEST(TextPieces, ofAFileThatShrinksAreEmpty)
{
    const std::string text = logOf(1'000);
    CountingFile file(text);
    const TextPieces pieces(text.size(), 0, TextForm::Utf8);
    file.shrinkTo(kStretch / 2);
    EXPECT_EQ(pieces.bytesOf(0, file).size(), kStretch / 2);
    for (std::uint64_t i = 1; i < pieces.count() + 5; ++i) {
        EXPECT_EQ(pieces.bytesOf(i, file), "");
    }
}

} // namespace

} // namespace slicewise
