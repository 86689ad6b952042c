#include "cli/Table.h"

#include "cli/Numbers.h"
#include "delete/DeletionPolicy.h"
#include "ui/NameText.h"
#include "ui/Palette.h"
#include "ui/SizeText.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace slicewise {

namespace {

constexpr std::size_t kMargin = 2;     // columns before a row, and between its fields
constexpr std::size_t kIndent = 2;     // columns for each level
constexpr std::size_t kShareWidth = 7; // "100.0 %"
constexpr std::size_t kMarkMargin = 1;
constexpr std::size_t kShortestBar = 8;
constexpr std::size_t kLongestBar = 60;
constexpr std::size_t kShortestName = 12;
constexpr std::size_t kLongestName = 60;

/// A row of the table, before it is known how wide the columns are.
struct Row {
    std::string name;
    std::string size;
    std::string share;
    double fraction = 0; ///< of the shown node
    PaletteColor color;
    std::size_t level = 0;
    bool deletable = false;
};

/// How wide each column is; 0 where there is no room for it.
struct Widths {
    std::size_t swatch = 0;
    std::size_t name = 0;
    std::size_t bar = 0;
    std::size_t size = 0;
    std::size_t share = 0;
    std::size_t mark = 0;
};

double fractionOf(std::uint64_t part, std::uint64_t whole)
{
    return whole == 0 ? 0 : static_cast<double>(part) / static_cast<double>(whole);
}

std::string shareText(std::uint64_t part, std::uint64_t whole)
{
    const double percent = fractionOf(part, whole) * 100;
    if (part > 0 && percent < 0.05) {
        return "<0.1 %";
    }
    return fmt::format("{:.1f} %", percent);
}

class RowCollector {
public:
    RowCollector(const std::vector<SZANode *> &path, const ScanArguments &arguments)
        : m_path(path), m_shown(*path.back()), m_depth(arguments.depth.value_or(1)), m_top(arguments.top)
    {}

    std::vector<Row> collect()
    {
        // An explicit stack: a tree may be deeper than the call stack.
        struct Level {
            std::vector<SZANode *> nodes;
            std::size_t next = 0;
        };
        std::vector<Level> levels;
        if (m_depth > 0) {
            levels.push_back({m_shown.getNodes()});
        }
        while (!levels.empty()) {
            Level &level = levels.back();
            const std::size_t depth = levels.size() - 1;
            const std::size_t rows = std::min(m_top.value_or(level.nodes.size()), level.nodes.size());
            if (level.next == rows) {
                addRest(level.nodes, rows, depth);
                levels.pop_back();
                m_path.pop_back();
                continue;
            }
            const std::size_t rank = level.next++;
            SZANode &node = *level.nodes[rank];
            if (depth == 0) {
                m_color = colorOfRow(rank);
            }
            add(shownText(node.name()), node.size(), m_color, depth);
            m_path.push_back(&node);
            m_rows.back().deletable = SZADeleteTypeForNodePath(m_path) != SZADeleteTypeNone;
            if (depth + 1 < m_depth) {
                levels.push_back({node.getNodes()});
            } else {
                m_path.pop_back();
            }
        }
        return std::move(m_rows);
    }

private:
    void add(std::string name, std::uint64_t sizeBytes, PaletteColor color, std::size_t depth)
    {
        m_rows.push_back({.name = std::move(name),
                          .size = sizeTextForBytes(sizeBytes),
                          .share = shareText(sizeBytes, m_shown.size()),
                          .fraction = fractionOf(sizeBytes, m_shown.size()),
                          .color = color,
                          .level = depth});
    }

    // What --top leaves out is one row, so that the rows still add up.
    void addRest(const std::vector<SZANode *> &nodes, std::size_t from, std::size_t depth)
    {
        if (from == nodes.size()) {
            return;
        }
        std::uint64_t sizeBytes = 0;
        for (std::size_t i = from; i < nodes.size(); ++i) {
            sizeBytes += nodes[i]->size();
        }
        add(fmt::format("({} more)", grouped(nodes.size() - from)), sizeBytes,
            depth == 0 ? kNeutralGrey : m_color, depth);
    }

    std::vector<SZANode *> m_path; ///< to the level that is being collected
    const SZANode &m_shown;
    std::size_t m_depth;
    std::optional<std::size_t> m_top;
    PaletteColor m_color;
    std::vector<Row> m_rows;
};

Widths fit(const std::vector<Row> &rows, const Terminal &terminal)
{
    Widths widths;
    std::size_t longestName = 0;
    for (const Row &row : rows) {
        longestName = std::max(longestName, columnsOf(row.name) + row.level * kIndent);
        widths.size = std::max(widths.size, columnsOf(row.size));
        widths.mark = std::max(widths.mark, row.deletable ? columnsOf(kDeletableMark) : 0);
    }
    widths.swatch = terminal.colors == Colors::None ? 0 : 2;
    const std::size_t forMark = widths.mark == 0 ? 0 : kMarkMargin + widths.mark;
    const std::size_t fixed = kMargin + widths.swatch + kMargin + widths.size + forMark;
    std::size_t left = terminal.columns > fixed ? terminal.columns - fixed : 0;
    if (left >= kShortestName + kMargin + kShareWidth) {
        widths.share = kShareWidth;
        left -= kMargin + kShareWidth;
    }
    const std::size_t withBar = left > kMargin ? (left - kMargin) * 11 / 20 : 0;
    widths.name = std::min({longestName, std::max(withBar, kShortestName), kLongestName});
    if (left >= widths.name + kMargin + kShortestBar) {
        widths.bar = std::min(left - widths.name - kMargin, kLongestBar);
    } else {
        widths.name = std::min(longestName, left);
    }
    return widths;
}

std::string padded(std::string_view text, std::size_t columns)
{
    std::string cut = cutToColumns(text, columns);
    cut.append(columns - std::min(columns, columnsOf(cut)), ' ');
    return cut;
}

std::string rightAligned(std::string_view text, std::size_t columns)
{
    return std::string(columns - std::min(columns, columnsOf(text)), ' ').append(text);
}

// A bar in eighths of a column, so that a thousandth more is seen.
std::string bar(double fraction, std::size_t columns)
{
    constexpr std::string_view kFull = "\xE2\x96\x88"; // U+2588; U+2589 is seven eighths, and so on
    const double clamped = std::clamp(fraction, 0.0, 1.0);
    const auto eighths = static_cast<std::size_t>(std::lround(clamped * static_cast<double>(columns) * 8));
    std::string text;
    for (std::size_t i = 0; i < eighths / 8; ++i) {
        text.append(kFull);
    }
    std::size_t used = eighths / 8;
    if (eighths % 8 != 0) {
        text.append("\xE2\x96").push_back(static_cast<char>(0x88 + (8 - eighths % 8)));
        ++used;
    }
    text.append(columns - used, ' ');
    return text;
}

// The nearest of the 6 x 6 x 6 colours and 24 greys that a 256-colour terminal has from 16 on.
unsigned indexedColor(PaletteColor color)
{
    const auto level = [](unsigned value) { return value < 48 ? 0U : value < 115 ? 1U : (value - 35) / 40; };
    if (color.red == color.green && color.green == color.blue) {
        return color.red > 238 ? 255U : 232U + (color.red < 8 ? 0U : (color.red - 8U) / 10U);
    }
    return 16 + 36 * level(color.red) + 6 * level(color.green) + level(color.blue);
}

std::string colored(std::string_view text, PaletteColor color, Colors colors)
{
    switch (colors) {
    case Colors::None:
        return std::string(text);
    case Colors::Indexed:
        return fmt::format("\x1b[38;5;{}m{}\x1b[0m", indexedColor(color), text);
    case Colors::True:
        return fmt::format("\x1b[38;2;{};{};{}m{}\x1b[0m", color.red, color.green, color.blue, text);
    }
    return std::string(text);
}

void writeRow(const Row &row, double largest, const Widths &widths, const Terminal &terminal, Output &output)
{
    std::string line(kMargin, ' ');
    if (widths.swatch > 0) {
        line.append(row.level == 0 ? colored("\xE2\x96\xA0", row.color, terminal.colors) : " ").append(" ");
    }
    line.append(padded(std::string(row.level * kIndent, ' ') + row.name, widths.name)).append(kMargin, ' ');
    if (widths.bar > 0) {
        const double length = largest > 0 ? row.fraction / largest : 0;
        line.append(colored(bar(length, widths.bar), row.color, terminal.colors)).append(kMargin, ' ');
    }
    line.append(rightAligned(row.size, widths.size));
    if (widths.share > 0) {
        line.append(kMargin, ' ').append(rightAligned(row.share, widths.share));
    }
    if (row.deletable) {
        line.append(kMarkMargin, ' ').append(kDeletableMark);
    }
    output.write(line.append("\n"));
}

} // namespace

TableContent writeTable(const std::vector<SZANode *> &path, const ScanArguments &arguments,
                        const Terminal &terminal, Output &output)
{
    const std::vector<Row> rows = RowCollector(path, arguments).collect();
    double largest = 0;
    TableContent content{.anyRows = !rows.empty()};
    for (const Row &row : rows) {
        largest = std::max(largest, row.fraction);
        content.anyDeletable = content.anyDeletable || row.deletable;
    }
    const Widths widths = fit(rows, terminal);
    for (const Row &row : rows) {
        if (output.closed()) {
            break;
        }
        writeRow(row, largest, widths, terminal, output);
    }
    return content;
}

} // namespace slicewise
