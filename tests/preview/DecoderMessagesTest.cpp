// What is believed of a decoder, and what is not.
#include "preview/DecoderMessages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace slicewise {

namespace {

constexpr DrawRequest kAsked{.ticket = 7, .page = 0, .width = 20, .height = 10};

std::string picture(std::uint32_t ticket, std::uint32_t width, std::uint32_t height, std::size_t bytes)
{
    return encodeAnswer(
        PictureAnswer{.ticket = ticket, .width = width, .height = height, .pixels = std::string(bytes, 'p')});
}

std::string number(std::uint32_t value)
{
    std::string bytes;
    for (unsigned i = 0; i < 4; ++i) {
        bytes += static_cast<char>((value >> (8 * i)) & 0xffU);
    }
    return bytes;
}

TEST(Requests, arriveAsTheyWereSentByteByByte)
{
    const DrawRequest draw{.ticket = 1, .page = 2, .width = 3, .height = 4};
    const PlayRequest play{.what = PlayRequest::What::Seek, .positionMs = 70'000, .width = 5, .height = 6};
    RequestReader reader;
    for (const char byte : encodeRequest(draw) + encodeRequest(play)) {
        ASSERT_TRUE(reader.feed(std::string(1, byte)));
    }
    EXPECT_EQ(std::get<DrawRequest>(reader.next().value()), draw);
    EXPECT_EQ(std::get<PlayRequest>(reader.next().value()), play);
    EXPECT_EQ(reader.next(), std::nullopt);
}

TEST(Requests, thatAreNoneAreRefused)
{
    EXPECT_FALSE(RequestReader().feed(std::string(24, '\xee')));
    EXPECT_FALSE(RequestReader().feed(encodeRequest(DrawRequest{.ticket = 1, .width = 0, .height = 5})));
    EXPECT_FALSE(
        RequestReader().feed(encodeRequest(DrawRequest{.ticket = 1, .width = 60'000, .height = 60'000})));
}

TEST(Answers, arriveAsTheyWereSentByteByByte)
{
    AnswerReader reader;
    reader.expectPicture(kAsked);
    const std::string bytes =
        encodeAnswer(OpenedAnswer{.pages = {{.width = 5, .height = 6}}}) + picture(7, 20, 10, 800) +
        encodeAnswer(PlaybackAnswer{.positionMs = 1, .durationMs = 2, .playing = true, .hasVideo = false}) +
        encodeAnswer(FailedAnswer{.why = FailedAnswer::Why::Locked, .ticket = 0});
    for (const char byte : bytes) {
        ASSERT_TRUE(reader.feed(std::string(1, byte)));
    }
    EXPECT_EQ(std::get<OpenedAnswer>(reader.next().value()).pages,
              (std::vector<PageSize>{{.width = 5, .height = 6}}));
    const auto drawn = std::get<PictureAnswer>(reader.next().value());
    EXPECT_EQ(drawn.width, 20U);
    EXPECT_EQ(drawn.pixels, std::string(800, 'p'));
    EXPECT_TRUE(std::get<PlaybackAnswer>(reader.next().value()).playing);
    EXPECT_EQ(std::get<FailedAnswer>(reader.next().value()).why, FailedAnswer::Why::Locked);
    EXPECT_EQ(reader.outstanding(), 0U);
}

TEST(Answers, withATextHaveAllOfIt)
{
    AnswerReader reader;
    ASSERT_TRUE(reader.feed(encodeAnswer(TextAnswer{.text = "<plist/>"})));
    EXPECT_EQ(std::get<TextAnswer>(reader.next().value()).text, "<plist/>");
}

TEST(Answers, areRefusedWhereNobodyAskedForAPicture)
{
    EXPECT_FALSE(AnswerReader().feed(picture(7, 20, 10, 800)));
}

TEST(Answers, areRefusedWhereAPictureIsNotTheOneThatWasAskedFor)
{
    for (const std::string &wrong :
         {picture(8, 20, 10, 800), picture(7, 21, 10, 840), picture(7, 10, 20, 800), picture(7, 20, 10, 799),
          picture(7, 0, 10, 4), picture(7, 20, 10, 804)}) {
        AnswerReader reader;
        reader.expectPicture(kAsked);
        EXPECT_FALSE(reader.feed(wrong));
        EXPECT_FALSE(reader.feed(picture(7, 20, 10, 800))) << "there is no way back";
        EXPECT_EQ(reader.next(), std::nullopt);
    }
}

TEST(Answers, thatWouldBeTooLongAreRefusedBeforeTheyCome)
{
    AnswerReader reader;
    reader.expectPicture(kAsked);
    EXPECT_FALSE(reader.feed(number(102) + number(0xffff'fff0)));
    EXPECT_FALSE(AnswerReader().feed(number(103) + number(0xffff'fff0)));
    EXPECT_FALSE(AnswerReader().feed(number(101) + number(8 * (AnswerLimits::kMostPages + 1))));
    EXPECT_FALSE(AnswerReader().feed(number(101) + number(0)));
    EXPECT_FALSE(AnswerReader().feed(number(101) + number(7)));
    EXPECT_FALSE(AnswerReader().feed(number(104) + number(15)));
    EXPECT_FALSE(AnswerReader().feed(number(999) + number(0)));
}

TEST(Answers, withPagesOfNoSizeAreRefused)
{
    EXPECT_FALSE(AnswerReader().feed(encodeAnswer(OpenedAnswer{.pages = {{.width = 0, .height = 6}}})));
}

TEST(Answers, openOnce)
{
    AnswerReader reader;
    const std::string opened = encodeAnswer(OpenedAnswer{.pages = {{.width = 5, .height = 6}}});
    EXPECT_TRUE(reader.feed(opened));
    EXPECT_FALSE(reader.feed(opened));
}

TEST(Answers, withAFailureNeedSomethingThatCouldFail)
{
    AnswerReader reader;
    reader.expectPicture(kAsked);
    EXPECT_TRUE(reader.feed(encodeAnswer(FailedAnswer{.why = FailedAnswer::Why::Unreadable, .ticket = 7})));
    EXPECT_EQ(reader.outstanding(), 0U);
    EXPECT_FALSE(reader.feed(encodeAnswer(FailedAnswer{.why = FailedAnswer::Why::Unreadable, .ticket = 7})));
    EXPECT_FALSE(AnswerReader().feed(number(105) + number(8) + number(99) + number(0)));
}

TEST(Sizes, thatMayBeAskedForAreLimited)
{
    EXPECT_TRUE(isDrawable(1, 1));
    EXPECT_TRUE(isDrawable(4096, 4096));
    EXPECT_FALSE(isDrawable(0, 1));
    EXPECT_FALSE(isDrawable(1, 0));
    EXPECT_FALSE(isDrawable(8193, 1));
    EXPECT_FALSE(isDrawable(8192, 8192));
}

TEST(Tasks, haveNames)
{
    for (const DecoderTask task :
         {DecoderTask::Image, DecoderTask::Pdf, DecoderTask::PropertyList, DecoderTask::Media}) {
        EXPECT_EQ(decoderTaskNamed(decoderTaskName(task)), task);
    }
    EXPECT_EQ(decoderTaskNamed("other"), std::nullopt);
}

} // namespace

} // namespace slicewise
