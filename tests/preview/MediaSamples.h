// Sounds and films that are short and known to the last number.
#pragma once

#include "tests/preview/PreviewFixture.h"

#include <QColor>
#include <QImage>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace slicewise {

/// As many bytes, the least first.
inline std::string number(std::uint32_t value, std::size_t bytes)
{
    std::string text;
    for (std::size_t i = 0; i < bytes; ++i) {
        text += static_cast<char>((value >> (8 * i)) & 0xffU);
    }
    return text;
}

/// Two seconds of nothing, sixteen bits, one channel.
inline std::string silence()
{
    constexpr std::uint32_t kRate = 22'050;
    const std::string samples(std::size_t{kRate} * 2 * 2, '\0');
    const auto length = static_cast<std::uint32_t>(samples.size());
    return "RIFF" + number(36 + length, 4) + "WAVEfmt " + number(16, 4) + number(1, 2) + number(1, 2) +
           number(kRate, 4) + number(kRate * 2, 4) + number(2, 2) + number(16, 2) + "data" +
           number(length, 4) + samples;
}

/// A part of a file that consists of parts.
inline std::string part(const std::string &name, const std::string &content)
{
    const std::string filler(content.size() % 2, '\0');
    return name + number(static_cast<std::uint32_t>(content.size()), 4) + content + filler;
}

/// Three seconds, ten pictures each, every one of them a JPEG of its own: red for the first half, then blue.
inline std::string film()
{
    constexpr std::uint32_t kFrames = 30;
    constexpr std::uint32_t kWidth = 64;
    constexpr std::uint32_t kHeight = 48;
    std::string frames;
    std::string index;
    for (std::uint32_t i = 0; i < kFrames; ++i) {
        QImage image(kWidth, kHeight, QImage::Format_RGB32);
        image.fill(i < kFrames / 2 ? Qt::red : Qt::blue);
        const std::string jpeg = encoded(image, "JPG");
        index += "00dc" + number(0x10, 4) + number(static_cast<std::uint32_t>(frames.size()) + 4, 4) +
                 number(static_cast<std::uint32_t>(jpeg.size()), 4);
        frames += part("00dc", jpeg);
    }
    const std::string none4 = number(0, 4);
    const std::string header = number(100'000, 4) + number(100'000, 4) + none4 + number(0x10, 4) +
                               number(kFrames, 4) + none4 + number(1, 4) + number(20'000, 4) +
                               number(kWidth, 4) + number(kHeight, 4) + none4 + none4 + none4 + none4;
    const std::string stream = "vidsMJPG" + none4 + none4 + none4 + number(1, 4) + number(10, 4) + none4 +
                               number(kFrames, 4) + number(20'000, 4) + number(0xffff'ffffU, 4) + none4 +
                               none4 + number(kWidth, 2) + number(kHeight, 2);
    const std::string format = number(40, 4) + number(kWidth, 4) + number(kHeight, 4) + number(1, 2) +
                               number(24, 2) + "MJPG" + number(kWidth * kHeight * 3, 4) + none4 + none4 +
                               none4 + none4;
    const std::string streams = part("LIST", "strl" + part("strh", stream) + part("strf", format));
    return part("RIFF", "AVI " + part("LIST", "hdrl" + part("avih", header) + streams) +
                            part("LIST", "movi" + frames) + part("idx1", index));
}

} // namespace slicewise
