#include "tests/support/TreeText.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <vector>

namespace slicewise {

namespace {

void appendLine(std::string &text, std::size_t depth, std::string_view name, std::uint64_t sizeBytes,
                std::uint64_t index, const std::optional<std::string> &filename)
{
    auto out = std::back_inserter(text);
    fmt::format_to(out, "{:{}}\"{}\" {} #{}", "", depth * 2, asciiText(name), sizeBytes, index);
    if (filename) {
        fmt::format_to(out, " \"{}\"", asciiText(*filename));
    }
    text.push_back('\n');
}

} // namespace

std::string asciiText(std::string_view text)
{
    std::string shown;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte < 0x20 || byte > 0x7e || byte == '"' || byte == '\\') {
            fmt::format_to(std::back_inserter(shown), "\\x{:02X}", byte);
        } else {
            shown.push_back(character);
        }
    }
    return shown;
}

std::string treeText(const SZANode &root)
{
    struct Place {
        const SZANode *node;
        std::size_t depth;
    };
    std::string text = fmt::format("{} bytes\n", root.size());
    std::vector<Place> open;
    const auto pushChildren = [&open](const SZANode &node, std::size_t depth) {
        std::vector<SZANode *> children = node.getNodes();
        std::reverse(children.begin(), children.end());
        for (SZANode *child : children) {
            open.push_back({child, depth});
        }
    };
    pushChildren(root, 0);
    while (!open.empty()) {
        const Place place = open.back();
        open.pop_back();
        appendLine(text, place.depth, place.node->name(), place.node->size(), place.node->index(),
                   place.node->filename());
        pushChildren(*place.node, place.depth + 1);
    }
    return text;
}

} // namespace slicewise
