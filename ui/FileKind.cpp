#include "ui/FileKind.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

namespace slicewise {

namespace {

using Extension = std::pair<std::string_view, FileKind>;

// By extension, in alphabetical order. Property lists are often binary, but shown as the text that they stand
// for.
constexpr std::array kExtensions = {
    Extension{"aac", FileKind::Audio},    Extension{"aif", FileKind::Audio},
    Extension{"aiff", FileKind::Audio},   Extension{"avi", FileKind::Video},
    Extension{"bmp", FileKind::Image},    Extension{"c", FileKind::Text},
    Extension{"caf", FileKind::Audio},    Extension{"cfg", FileKind::Text},
    Extension{"conf", FileKind::Text},    Extension{"cpp", FileKind::Text},
    Extension{"crash", FileKind::Text},   Extension{"css", FileKind::Text},
    Extension{"csv", FileKind::Text},     Extension{"flac", FileKind::Audio},
    Extension{"gif", FileKind::Image},    Extension{"h", FileKind::Text},
    Extension{"html", FileKind::Text},    Extension{"ico", FileKind::Image},
    Extension{"ini", FileKind::Text},     Extension{"ips", FileKind::Text},
    Extension{"jpeg", FileKind::Image},   Extension{"jpg", FileKind::Image},
    Extension{"js", FileKind::Text},      Extension{"json", FileKind::Text},
    Extension{"log", FileKind::Text},     Extension{"m", FileKind::Text},
    Extension{"m4a", FileKind::Audio},    Extension{"m4r", FileKind::Audio},
    Extension{"m4v", FileKind::Video},    Extension{"md", FileKind::Text},
    Extension{"mkv", FileKind::Video},    Extension{"mov", FileKind::Video},
    Extension{"mp3", FileKind::Audio},    Extension{"mp4", FileKind::Video},
    Extension{"ogg", FileKind::Audio},    Extension{"pdf", FileKind::Pdf},
    Extension{"plist", FileKind::Text},   Extension{"png", FileKind::Image},
    Extension{"py", FileKind::Text},      Extension{"sh", FileKind::Text},
    Extension{"strings", FileKind::Text}, Extension{"tif", FileKind::Image},
    Extension{"tiff", FileKind::Image},   Extension{"txt", FileKind::Text},
    Extension{"vcf", FileKind::Text},     Extension{"wav", FileKind::Audio},
    Extension{"webm", FileKind::Video},   Extension{"webp", FileKind::Image},
    Extension{"xml", FileKind::Text},     Extension{"yaml", FileKind::Text},
    Extension{"yml", FileKind::Text},
};

constexpr bool isBefore(const Extension &left, const Extension &right)
{
    return left.first < right.first;
}
static_assert(std::is_sorted(kExtensions.begin(), kExtensions.end(), isBefore));

char lowered(char character)
{
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

} // namespace

FileKind fileKindOf(std::string_view path)
{
    const std::string_view name = path.substr(path.rfind('/') + 1);
    const std::size_t dot = name.rfind('.');
    // A name that only begins with a dot is hidden and has no extension.
    if (dot == std::string_view::npos || dot == 0) {
        return FileKind::Other;
    }
    std::string extension(name.substr(dot + 1));
    std::transform(extension.begin(), extension.end(), extension.begin(), lowered);
    const auto *const found = std::lower_bound(kExtensions.begin(), kExtensions.end(),
                                               Extension(extension, FileKind::Other), isBefore);
    return found != kExtensions.end() && found->first == extension ? found->second : FileKind::Other;
}

} // namespace slicewise
