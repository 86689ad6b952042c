#include "ui/NameText.h"

#include "scan/Utf8.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <string>
#include <string_view>

namespace slicewise {
namespace {

constexpr std::string_view kReplaced = "\uFFFD";

std::string randomBytes(std::mt19937 &random)
{
    // Pieces that are awkward next to one another, and plain bytes between them.
    static constexpr std::array<std::string_view, 18> kPieces = {
        "\\x",     "\\",   "41",       "\\x41",  "\xff", "\xe2\x82", "\u20ac", "\n",         "\x1b",
        "e\u0301", "日本", "\xc0\xaf", "\u202e", "/",    "\x7f",     "abc",    "\U0001F600", "\xed\xa0\x80"};
    std::string bytes;
    for (unsigned i = random() % 8; i > 0; --i) {
        bytes.append(random() % 4 == 0 ? std::string(1, static_cast<char>(random() % 255 + 1))
                                       : std::string(kPieces.at(random() % kPieces.size())));
    }
    return bytes;
}

TEST(NameText, tellsUtf8FromOtherBytes)
{
    for (const std::string_view text : {"", "abc", "日本語", "e\u0301", "\U0001F600", "\n\x1b"}) {
        EXPECT_TRUE(isUtf8(text)) << text;
    }
    // A lone byte, a cut sequence, an overlong "/", a surrogate, beyond U+10FFFF.
    for (const std::string_view bytes :
         {"\xff", "a\xe2\x82", "\xc0\xaf", "\xed\xa0\x80", "\xf4\x90\x80\x80"}) {
        EXPECT_FALSE(isUtf8(bytes));
    }
}

TEST(NameText, eachByteThatIsNotUtf8IsShownAsAReplacementCharacter)
{
    EXPECT_EQ(utf8Text("a\xff\xfe"
                       "b"),
              "a" + std::string(kReplaced) + std::string(kReplaced) + "b");
    EXPECT_EQ(utf8Text("plain \n text"), "plain \n text");
    EXPECT_EQ(shownText("a\xff"), "a" + std::string(kReplaced));
}

TEST(NameText, nothingThatSteersATerminalOrTurnsTheReadingDirectionIsShownRaw)
{
    EXPECT_EQ(shownText("a\x1b[31mb"), "a\\x1B[31mb");
    EXPECT_EQ(shownText("two\nlines\r\t"), "two\\x0Alines\\x0D\\x09");
    EXPECT_EQ(shownText("\x7f"), "\\x7F");
    EXPECT_EQ(shownText("\u009b"), "\\xC2\\x9B"); // the one-character form of escape and bracket
    EXPECT_EQ(shownText("\u202egnp.exe"), "\\xE2\\x80\\xAEgnp.exe");
    EXPECT_EQ(shownText("\u2028\u2066"), "\\xE2\\x80\\xA8\\xE2\\x81\\xA6");
    EXPECT_EQ(shownText("\u061c\u200e\ufeff"), "\\xD8\\x9C\\xE2\\x80\\x8E\\xEF\\xBB\\xBF");
    EXPECT_EQ(shownText("é 日本語 \u00a0"), "é 日本語 \u00a0");
}

TEST(NameText, whatCanBeTypedSpellsEachByteThatIsNotUtf8)
{
    EXPECT_EQ(typableText("a\xff\xfe"
                          "b"),
              "a\\xFF\\xFEb");
    EXPECT_EQ(typableText("a\nb"), "a\\x0Ab");
}

TEST(NameText, aBackslashIsSpelledOnlyWhereItWouldBeTakenForASpelling)
{
    EXPECT_EQ(typableText("C:\\dir\\x"), "C:\\dir\\x");
    EXPECT_EQ(typableText("\\x41"), "\\x5Cx41");
    EXPECT_EQ(bytesOfTyped("\\x5Cx41"), "\\x41");
}

TEST(NameText, aSpelledByteIsReadInEitherCaseAndEverythingElseAsItself)
{
    EXPECT_EQ(bytesOfTyped("\\xff\\xFE\\x0a"), "\xff\xfe\n");
    EXPECT_EQ(bytesOfTyped("\\xg1\\x4"), "\\xg1\\x4");
    EXPECT_EQ(bytesOfTyped("\\"), "\\");
    EXPECT_EQ(bytesOfTyped(""), "");
}

TEST(NameText, whatIsTypedFromTheSpellingMeansTheName)
{
    std::mt19937 random(20261121); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same every time
    for (int i = 0; i < 20'000; ++i) {
        const std::string bytes = randomBytes(random);
        const std::string typable = typableText(bytes);
        EXPECT_EQ(bytesOfTyped(typable), bytes);
        EXPECT_TRUE(isUtf8(typable));
        EXPECT_TRUE(isUtf8(shownText(bytes)));
        EXPECT_EQ(typable.find('\n'), std::string::npos);
        EXPECT_EQ(shownText(bytes).find('\x1b'), std::string::npos);
    }
}

TEST(NameText, wideCharactersTakeTwoColumnsAndCombiningOnesNone)
{
    EXPECT_EQ(columnsOf("abc"), 3U);
    EXPECT_EQ(columnsOf("日本語"), 6U);
    EXPECT_EQ(columnsOf("e\u0301e\u0301"), 2U);
    EXPECT_EQ(columnsOf(kReplaced), 1U);
    EXPECT_EQ(columnsOf(""), 0U);
}

TEST(NameText, aTextIsCutOnlyWhereItDoesNotFit)
{
    EXPECT_EQ(cutToColumns("abcdef", 6), "abcdef");
    EXPECT_EQ(cutToColumns("abcdef", 5), "abcd…");
    EXPECT_EQ(cutToColumns("abcdef", 1), "…");
    EXPECT_EQ(cutToColumns("abcdef", 0), "");
    EXPECT_EQ(cutToColumns("", 0), "");
}

TEST(NameText, cuttingNeitherSplitsAWideCharacterNorLosesAnAccent)
{
    EXPECT_EQ(cutToColumns("日本語", 6), "日本語");
    EXPECT_EQ(cutToColumns("日本語", 5), "日本…");
    EXPECT_EQ(cutToColumns("日本語", 4), "日…");
    EXPECT_EQ(cutToColumns("e\u0301e\u0301e\u0301", 3), "e\u0301e\u0301e\u0301");
    EXPECT_EQ(cutToColumns("e\u0301e\u0301e\u0301", 2), "e\u0301…");
}

TEST(NameText, aCutTextNeverTakesMoreThanItsColumns)
{
    std::mt19937 random(7); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same every time
    for (int i = 0; i < 5'000; ++i) {
        const std::string text = shownText(randomBytes(random) + randomBytes(random));
        for (std::size_t columns = 0; columns < 12; ++columns) {
            const std::string cut = cutToColumns(text, columns);
            EXPECT_LE(columnsOf(cut), columns) << text;
            EXPECT_EQ(cut == text, columnsOf(text) <= columns) << text;
        }
    }
}

} // namespace
} // namespace slicewise
