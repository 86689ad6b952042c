#include "cli/Report.h"

#include "cli/Numbers.h"
#include "cli/Table.h"
#include "ui/NameText.h"
#include "ui/SizeText.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

namespace slicewise {

namespace {

constexpr std::size_t kBetweenFields = 2;
constexpr std::size_t kShortestName = 12; // columns; with less the size goes on a line of its own

std::string emphasized(std::string_view text, const Terminal &terminal)
{
    return terminal.colors == Colors::None ? std::string(text) : fmt::format("\x1b[1m{}\x1b[0m", text);
}

// Breaks at blanks, so that a narrow terminal does not break words.
void writeParagraph(std::string_view text, const Terminal &terminal, Output &output)
{
    std::string line;
    while (!text.empty()) {
        const std::string_view word = text.substr(0, text.find(' '));
        text.remove_prefix(std::min(text.size(), word.size() + 1));
        if (!line.empty() && columnsOf(line) + 1 + columnsOf(word) > terminal.columns) {
            output.write(line.append("\n"));
            line.clear();
        }
        line.append(line.empty() ? "" : " ").append(word);
    }
    output.write(line.append("\n"));
}

void writeHeadline(const ScanResult &result, const ScanArguments &arguments, const Terminal &terminal,
                   Output &output)
{
    const SZANode &shown = *result.shown.back();
    std::string name = shownText(shown.name());
    std::string size = sizeTextForBytes(shown.size());
    if (result.shown.size() == 1) {
        size = fmt::format("{} used out of {}", size, sizeTextForBytes(result.report.diskSizeBytes()));
    } else {
        name = shownText(bytesOfTyped(arguments.path));
    }
    const std::size_t needed = columnsOf(size) + kBetweenFields;
    if (terminal.columns >= needed + std::min(columnsOf(name), kShortestName)) {
        output.write(fmt::format("{}  {}\n\n",
                                 emphasized(cutToColumns(name, terminal.columns - needed), terminal), size));
    } else {
        output.write(emphasized(cutToColumns(name, terminal.columns), terminal).append("\n"));
        writeParagraph(size, terminal, output);
        output.write("\n");
    }
}

std::size_t countOf(const ScanReport &report, ScanFailure::Of what)
{
    return static_cast<std::size_t>(
        std::count_if(report.failures.begin(), report.failures.end(),
                      [&](const ScanFailure &failure) { return failure.of == what; }));
}

void writeClosing(const ScanResult &result, const ScanArguments &arguments, const Terminal &terminal,
                  Output &output)
{
    const ScanReport &report = result.report;
    writeParagraph(fmt::format("{} in {}, {:.{}f} s", counted(report.files, "file", "files"),
                               counted(report.directories, "directory", "directories"), result.seconds,
                               result.seconds < 10 ? 2 : 0),
                   terminal, output);
    const std::string_view toSee = arguments.errors ? "" : " --errors lists them.";
    if (const std::size_t count = countOf(report, ScanFailure::Of::Directory); count > 0) {
        const std::string_view help =
            result.asRoot ? "" : " Run it as root (with sudo) to count what they hold.";
        writeParagraph(
            fmt::format("{} could not be read.{}{}", counted(count, "directory", "directories"), help, toSee),
            terminal, output);
    }
    if (const std::size_t count = countOf(report, ScanFailure::Of::File); count > 0) {
        writeParagraph(fmt::format("{} could not be asked for the size and {} as 0 bytes.{}",
                                   counted(count, "file", "files"), count == 1 ? "counts" : "count", toSee),
                       terminal, output);
    }
}

std::string_view reason(NotEntered::Why why)
{
    switch (why) {
    case NotEntered::Why::OtherFileSystem:
        return "lies on another file system";
    case NotEntered::Why::NoStorage:
        return "holds no storage";
    case NotEntered::Why::Memory:
        return "lies in main memory";
    case NotEntered::Why::Network:
        return "lies elsewhere, not on this device";
    case NotEntered::Why::View:
        return "shows files that are counted where they lie";
    case NotEntered::Why::SeenBefore:
        return "is counted under another path already";
    }
    return "";
}

} // namespace

void writeReport(const ScanResult &result, const ScanArguments &arguments, const Terminal &terminal,
                 Output &output)
{
    writeHeadline(result, arguments, terminal, output);
    const TableContent content = writeTable(result.shown, arguments, terminal, output);
    if (!content.anyRows && arguments.depth.value_or(1) > 0) {
        const std::optional<std::string> file = result.shown.back()->filename();
        writeParagraph(file ? fmt::format("The file {}", shownText(*file)) : "Nothing here.", terminal,
                       output);
    }
    if (!arguments.quiet) {
        output.write("\n");
        if (content.anyDeletable) {
            writeParagraph(fmt::format("{} may be deleted: slicewise-cli delete CATEGORY", kDeletableMark),
                           terminal, output);
        }
        writeClosing(result, arguments, terminal, output);
    }
}

void writeErrors(const ScanReport &report, Output &output)
{
    if (!report.failures.empty()) {
        output.write("\nCould not be read:\n");
        for (const ScanFailure &failure : report.failures) {
            output.write(fmt::format("  {}: {}\n", typableText(failure.path), errorText(failure.error)));
        }
    }
    if (!report.notEntered.empty()) {
        output.write("\nNot entered:\n");
        for (const NotEntered &entry : report.notEntered) {
            const std::string type =
                entry.fileSystemType.empty() ? "" : " (" + shownText(entry.fileSystemType) + ")";
            output.write(fmt::format("  {}: {}{}\n", typableText(entry.path), reason(entry.why), type));
        }
    }
    if (report.failures.empty()) {
        output.write("\nEverything could be read.\n");
    }
}

} // namespace slicewise
