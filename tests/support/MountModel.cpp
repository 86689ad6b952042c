#include "tests/support/MountModel.h"

#include <array>
#include <cstdio>

namespace slicewise {

namespace {

// The mount that lies directly on another one at a place; null where none does.
const MountLine *mountOn(const std::vector<MountLine> &all, std::uint64_t parent, std::string_view place)
{
    for (const MountLine &line : all) {
        if (line.parent == parent && line.path == place) {
            return &line;
        }
    }
    return nullptr;
}

std::string escaped(std::string_view path)
{
    std::string text;
    for (const char byte : path) {
        if (byte == ' ' || byte == '\t' || byte == '\n' || byte == '\\') {
            std::array<char, 5> code{};
            std::snprintf(code.data(), code.size(), "\\%03o", static_cast<unsigned char>(byte));
            text += code.data();
        } else {
            text += byte;
        }
    }
    return text;
}

} // namespace

std::uint64_t mountReached(const std::vector<MountLine> &all, std::uint64_t bottom, std::string_view path)
{
    std::uint64_t on = bottom;
    for (std::size_t end = 1; path.size() > 1 && end <= path.size(); ++end) {
        if (end > 1 && (end == path.size() || path[end] == '/')) {
            while (const MountLine *next = mountOn(all, on, path.substr(0, end))) {
                on = next->id;
            }
        }
    }
    return on;
}

std::string mountTableLine(const MountLine &line)
{
    return std::to_string(line.id) + " " + std::to_string(line.parent) + " " +
           std::to_string(line.deviceMajor) + ":" + std::to_string(line.deviceMinor) + " / " +
           escaped(line.path) + " rw - " + line.type + " none rw\n";
}

} // namespace slicewise
