// What a file is by its beginning.
#include "preview/ContentKind.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace slicewise {

namespace {

using namespace std::string_view_literals;

TEST(ContentKind, isThatOfTheBeginningWhateverTheName)
{
    const std::vector<std::pair<std::string_view, ContentKind>> beginnings = {
        {"\x89PNG\r\n\x1a\n"sv, ContentKind::Image},
        {"\xff\xd8\xff\xe0...."sv, ContentKind::Image},
        {"GIF87a......"sv, ContentKind::Image},
        {"GIF89a......"sv, ContentKind::Image},
        {"II*\0\x08\0\0\0"sv, ContentKind::Image},
        {"MM\0*\0\0\0\x08"sv, ContentKind::Image},
        {"\0\0\1\0\1\0"sv, ContentKind::Image},
        {"RIFF\x24\0\0\0WEBPVP8 "sv, ContentKind::Image},
        {"RIFF\x24\0\0\0WAVEfmt "sv, ContentKind::Audio},
        {"RIFF\x24\0\0\0AVI LIST"sv, ContentKind::Video},
        {"BM\x36\0\0\0\0\0\0\0\x36\0\0\0(\0\0\0\1\0\0\0\1\0\0\0"sv, ContentKind::Image},
        {"%PDF-1.7\n"sv, ContentKind::Pdf},
        {"rubbish before\n%PDF-1.7\n"sv, ContentKind::Pdf},
        {"bplist00\xd0"sv, ContentKind::PropertyList},
        {"<?xml version=\"1.0\"?>\n<!DOCTYPE plist PUBLIC>\n<plist>"sv, ContentKind::PropertyList},
        {"\xef\xbb\xbf<plist version=\"1.0\">"sv, ContentKind::PropertyList},
        {"\0\0\0\x20"
         "ftypM4A "sv,
         ContentKind::Audio},
        {"\0\0\0\x20"
         "ftypM4B "sv,
         ContentKind::Audio},
        {"\0\0\0\x20"
         "ftypqt  "sv,
         ContentKind::Video},
        {"\0\0\0\x20"
         "moov"sv,
         ContentKind::Video},
        {"\0\0\0\x20"
         "ftypheic"sv,
         ContentKind::Image},
        {"\0\0\0\x20"
         "ftypheix"sv,
         ContentKind::Image},
        {"\0\0\0\x20"
         "ftypmif1"sv,
         ContentKind::Image},
        {"\0\0\0\x20"
         "ftypavif"sv,
         ContentKind::Image},
        {"\x1a\x45\xdf\xa3...."sv, ContentKind::Video},
        {"ID3\x03"sv, ContentKind::Audio},
        {"\xff\xfb\x90\x64"sv, ContentKind::Audio},
        {"fLaC"sv, ContentKind::Audio},
        {"OggS"sv, ContentKind::Audio},
        {"FORM\0\0\0\0AIFF"sv, ContentKind::Audio},
        {"FORM\0\0\0\0AIFC"sv, ContentKind::Audio},
        {"caff\0\1"sv, ContentKind::Audio},
        {"<html><img src=x></html>"sv, ContentKind::Text},
        {"<?xml version=\"1.0\"?><other/>"sv, ContentKind::Text},
        {"#EXTM3U\n"sv, ContentKind::Text},
        {"plain words"sv, ContentKind::Text},
        {"\xff\xfeH\0i\0"sv, ContentKind::Text},
        {""sv, ContentKind::Empty},
    };
    for (const auto &[head, kind] : beginnings) {
        for (const char *path : {"/a/x", "/a/x.txt", "/a/x.png", "/a/x.mp4", "/a/x.pdf"}) {
            EXPECT_EQ(contentKindOf(head, path), kind) << head << " " << path;
        }
    }
}

TEST(ContentKind, isThatOfTheNameWhereTheBeginningSaysNothing)
{
    const std::string_view bytes = "\x01\x02\x00\x03\x80\x90\xfa\xfb"sv;
    EXPECT_EQ(contentKindOf(bytes, "/a/x.mp3"), ContentKind::Audio);
    EXPECT_EQ(contentKindOf(bytes, "/a/x.MOV"), ContentKind::Video);
    EXPECT_EQ(contentKindOf(bytes, "/a/x.ico"), ContentKind::Image);
    EXPECT_EQ(contentKindOf(bytes, "/a/x.dat"), ContentKind::Other);
    EXPECT_EQ(contentKindOf("SQLite format 3\0"sv, "/a/x"), ContentKind::Other);
    EXPECT_EQ(contentKindOf(bytes, "/a/x.txt"), ContentKind::Other) << "whatever it is, it is no text";
}

TEST(ContentKind, ofTwoLettersAloneIsNoBitmap)
{
    EXPECT_EQ(contentKindOf("BM is short for bitmap, and for much else.", "/x"), ContentKind::Text);
}

TEST(TextForm, isThatOfTheMark)
{
    EXPECT_EQ(textFormOf("\xef\xbb\xbfx"), TextForm::Utf8);
    EXPECT_EQ(textFormOf("\xff\xfex\0"sv), TextForm::Utf16LittleEndian);
    EXPECT_EQ(textFormOf("\xfe\xff\0x"sv), TextForm::Utf16BigEndian);
    EXPECT_EQ(textFormOf("\xff\xfe\0\0x\0\0\0"sv), TextForm::Utf32LittleEndian);
    EXPECT_EQ(textFormOf("\0\0\xfe\xff\0\0\0x"sv), TextForm::Utf32BigEndian);
    EXPECT_EQ(markLengthOf("\xef\xbb\xbfx"), 3U);
    EXPECT_EQ(markLengthOf("\xff\xfex\0"sv), 2U);
    EXPECT_EQ(markLengthOf("\xfe\xff\0x"sv), 2U);
    EXPECT_EQ(markLengthOf("\xff\xfe\0\0x\0\0\0"sv), 4U);
    EXPECT_EQ(markLengthOf("\0\0\xfe\xff\0\0\0x"sv), 4U);
    EXPECT_EQ(markLengthOf("x"), 0U);
}

TEST(TextForm, isSeenWithoutAMark)
{
    EXPECT_EQ(textFormOf("H\0e\0l\0l\0o\0"sv), TextForm::Utf16LittleEndian);
    EXPECT_EQ(textFormOf("\0H\0e\0l\0l\0o"sv), TextForm::Utf16BigEndian);
    EXPECT_EQ(textFormOf("na\xc3\xafve"), TextForm::Utf8);
    EXPECT_EQ(textFormOf("na\xefve"), TextForm::SomeOtherEncoding);
    EXPECT_EQ(textFormOf("\x1b[31mred\x1b[0m\n"), TextForm::Utf8) << "as in many a log";
    EXPECT_EQ(textFormOf("a\0\0\0\0b"sv), TextForm::NoText);
    EXPECT_EQ(textFormOf("\x01\x02\x03\x04\x05\x06"), TextForm::NoText);
}

TEST(TextForm, doesNotMindThatTheHeadCutsACharacter)
{
    std::string head(kHeadBytes - 1, 'x');
    head += '\xc3';
    EXPECT_EQ(textFormOf(head), TextForm::Utf8);
    EXPECT_EQ(textFormOf("short \xc3"), TextForm::SomeOtherEncoding) << "nothing was cut there";
}

} // namespace

} // namespace slicewise
