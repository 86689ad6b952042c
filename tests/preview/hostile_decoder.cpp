// Stands in for a decoder that a file has taken over. What it does stands in the file that it is started on.
#include "preview/DecoderMessages.h"

#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

namespace {

using namespace slicewise; // NOLINT(google-build-using-namespace): this file is the program

std::string fileContent()
{
    std::array<char, 4096> bytes{};
    const ssize_t length = ::pread(STDIN_FILENO, bytes.data(), bytes.size(), 0);
    return {bytes.data(), length > 0 ? static_cast<std::size_t>(length) : 0};
}

void say(const std::string &bytes)
{
    static_cast<void>(!::write(STDOUT_FILENO, bytes.data(), bytes.size()));
}

const OpenedAnswer kOnePage{.pages = {{.width = 40, .height = 30}}};

std::string status()
{
    std::ifstream stream("/proc/self/status");
    std::string text(std::istreambuf_iterator<char>(stream), {});
    text += "descriptors:";
    for (int descriptor = 0; descriptor < 64; ++descriptor) {
        // The stream above is closed only later.
        if (::lseek(descriptor, 0, SEEK_CUR) >= 0 || errno == ESPIPE) {
            text += " " + std::to_string(descriptor);
        }
    }
    for (const auto resource : {RLIMIT_FSIZE, RLIMIT_CORE, RLIMIT_CPU, RLIMIT_DATA}) {
        struct rlimit limit = {};
        ::getrlimit(resource, &limit);
        text +=
            "\nlimit " + std::to_string(static_cast<int>(resource)) + " " + std::to_string(limit.rlim_max);
    }
    for (char **variable = environ; *variable != nullptr; ++variable) {
        text += std::string("\nvariable ") + *variable;
    }
    return text;
}

/// Says of each request that steers a player which one it is, as a length, and where to, as a place.
void recite()
{
    say(encodeAnswer(PlaybackAnswer{}));
    RequestReader reader;
    std::array<char, 4096> bytes{};
    while (true) {
        const ssize_t length = ::read(STDOUT_FILENO, bytes.data(), bytes.size());
        if (length <= 0 || !reader.feed({bytes.data(), static_cast<std::size_t>(length)})) {
            return;
        }
        while (const auto request = reader.next()) {
            const auto &play = std::get<PlayRequest>(*request);
            say(encodeAnswer(PlaybackAnswer{.positionMs = play.positionMs,
                                            .durationMs = static_cast<std::uint32_t>(play.what)}));
        }
    }
}

void act(const std::string &deed)
{
    std::array<char, 64> request{};
    if (deed.ends_with("crash")) {
        std::abort();
    } else if (deed.ends_with("silence")) {
        while (true) {
            ::pause();
        }
    } else if (deed.ends_with("garbage")) {
        say(std::string(100'000, '\xa5'));
    } else if (deed.ends_with("status")) {
        say(encodeAnswer(TextAnswer{.text = status()}));
    } else if (deed.ends_with("crash later")) {
        say(encodeAnswer(kOnePage));
    } else if (deed.ends_with("large picture")) {
        say(encodeAnswer(kOnePage));
        static_cast<void>(!::read(STDOUT_FILENO, request.data(), request.size()));
        say(encodeAnswer(
            PictureAnswer{.ticket = 1, .width = 9000, .height = 1, .pixels = std::string(36000, 'x')}));
        ::pause();
    } else if (deed.ends_with("recite")) {
        recite();
    } else if (deed.ends_with("trickle")) {
        while (true) {
            say(std::string(1, '\x65')); // the beginning of a head, and never more than that
            ::pause();
        }
    }
}

} // namespace

int main()
{
    act(fileContent());
    return 0;
}
