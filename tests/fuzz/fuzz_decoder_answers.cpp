// What a decoder may answer: whatever it sends, what is taken from it was asked for and is as large as it says.

#include "preview/DecoderMessages.h"
#include "tests/fuzz/Require.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace {

using namespace slicewise; // NOLINT(google-build-using-namespace): this file is the program

constexpr DrawRequest kFirst{.ticket = 1, .page = 0, .width = 8, .height = 4};
constexpr DrawRequest kSecond{.ticket = 2, .page = 0, .width = 3, .height = 5};

void check(const PictureAnswer &picture, std::size_t number)
{
    const DrawRequest &asked = number == 0 ? kFirst : kSecond;
    require(number < 2 && picture.ticket == asked.ticket, "only pictures that were asked for, in their order");
    require(picture.width <= asked.width && picture.height <= asked.height, "no picture is larger than asked");
    require(picture.pixels.size() == std::size_t{picture.width} * picture.height * 4, "all pixels are there");
}

/// All answers again as bytes; the checks on the way.
std::string answersOf(std::string_view bytes, std::size_t step)
{
    AnswerReader reader;
    reader.expectPicture(kFirst);
    reader.expectPicture(kSecond);
    std::string all;
    std::size_t drawn = 0;
    for (bool goesOn = true; goesOn && !bytes.empty();) {
        goesOn = reader.feed(bytes.substr(0, step));
        bytes.remove_prefix(std::min(step, bytes.size()));
        while (const auto answer = reader.next()) {
            if (const auto *picture = std::get_if<PictureAnswer>(&*answer)) {
                check(*picture, drawn);
                ++drawn;
            } else if (const auto *failed = std::get_if<FailedAnswer>(&*answer)) {
                drawn += failed->ticket != 0 ? 1 : 0;
            } else if (const auto *opened = std::get_if<OpenedAnswer>(&*answer)) {
                require(!opened->pages.empty() && opened->pages.size() <= AnswerLimits::kMostPages, "some pages");
            }
            all += encodeAnswer(*answer);
        }
        require(goesOn || !reader.feed("x"), "nonsense is the end");
    }
    return all;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string_view bytes(reinterpret_cast<const char *>(data), size);
    const std::string whole = answersOf(bytes, size + 1);
    require(whole == answersOf(bytes, 1), "how the bytes arrive does not matter");
    RequestReader requests;
    if (requests.feed(bytes)) {
        while (const auto request = requests.next()) {
            const auto *draw = std::get_if<DrawRequest>(&*request);
            require(draw == nullptr || isDrawable(draw->width, draw->height), "what is asked for can be drawn");
        }
    }
    return 0;
}
