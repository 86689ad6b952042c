#include "cli/Arguments.h"

#include "SlicewiseVersion.h"
#include "ui/WholeArguments.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <initializer_list>
#include <utility>

namespace slicewise {

namespace {

constexpr const char *kFooter = R"(
A category path has the names of the levels with "/" between them, as in
"Others/usr/lib". In names, \xNN stands for the byte with that hexadecimal number.

Examples:
  slicewise-cli                                where the storage of this machine went
  slicewise-cli --path "Operating System" --depth 2 --top 10
  slicewise-cli --root /mnt/phone              a device's tree, mounted or extracted
  slicewise-cli --json > disk.json             the whole tree, for other programs
  slicewise-cli classify /usr/bin/env          the category of a file
  slicewise-cli delete --dry-run "Others/home/me/old"    what would go
  slicewise-cli delete --help                  the options of delete

Exit status: 0 done, 1 could not do it, 2 wrong usage, 130 interrupted.)";

ArgumentsAnswer wrongUsage(std::string sentence)
{
    while (sentence.ends_with('\n') || sentence.ends_with('.')) {
        sentence.pop_back();
    }
    return {.text = fmt::format("slicewise-cli: {}. See slicewise-cli --help.\n", sentence), .status = 2};
}

const CLI::Option *firstGiven(std::initializer_list<const std::vector<CLI::Option *> *> groups)
{
    for (const std::vector<CLI::Option *> *group : groups) {
        for (const CLI::Option *option : *group) {
            if (option->count() > 0) {
                return option;
            }
        }
    }
    return nullptr;
}

} // namespace

Arguments readArguments(int argc, const char *const *argv)
{
    CLI::App app("Shows where the storage of a device went.", "slicewise-cli");
    app.footer(kFooter);
    app.set_version_flag("--version", "slicewise-cli " SLICEWISE_VERSION, "Print the version");
    app.set_help_flag("-h,--help", "Print this help");
    app.get_formatter()->column_width(30);
    app.require_subcommand(0, 1);

    ScanArguments scan;
    ClassifyArguments classify;
    DeleteArguments deletion;
    bool oneFileSystem = false;
    app.add_option("--root", scan.root, "The directory that is the device's \"/\"")->type_name("DIR");
    app.add_flag("--read-only", deletion.readOnly, "Refuse to delete anything");
    const std::vector<CLI::Option *> ofWalk = {
        app.add_flag("-x,--one-file-system", oneFileSystem, "Stay on the root's own file system"),
        app.add_flag("--no-progress", scan.noProgress, "Show no progress while it runs"),
        app.add_flag("-q,--quiet", scan.quiet, "No progress, no log, no closing lines"),
    };
    const std::vector<CLI::Option *> ofReport = {
        app.add_option("--path", scan.path, "The category to show (default: all)")->type_name("CATEGORY"),
        app.add_option("--depth", scan.depth, "How many levels to show")
            ->type_name("N")
            ->check(CLI::NonNegativeNumber),
        app.add_option("--top", scan.top, "How many rows a level to show")
            ->type_name("N")
            ->check(CLI::NonNegativeNumber),
        app.add_flag("--json", scan.json, "Print the tree as JSON"),
        app.add_flag("--errors", scan.errors, "List what could not be read, and why"),
    };
    CLI::App *scanCommand = app.add_subcommand("scan", "Scan and report (what happens without a command)");
    CLI::App *classifyCommand = app.add_subcommand("classify", "Print the category path of each device path");
    classifyCommand->add_option("PATH", classify.paths, "A full path on the device")->required();
    CLI::App *deleteCommand = app.add_subcommand("delete", "Delete what each category stands for");
    deleteCommand->add_option("CATEGORY", deletion.categories, "A category path that the report marks")
        ->required();
    deleteCommand->add_flag("--dry-run", deletion.dryRun, "Only say what would go");
    deleteCommand->add_flag("--yes", deletion.yes, "Do not ask");
    deleteCommand->add_flag("--allow-delete", deletion.allowDelete,
                            "Root is to delete from \"/\", which is read-only otherwise");
    for (CLI::App *command : {scanCommand, classifyCommand, deleteCommand}) {
        command->fallthrough();
    }

    // Taken before parsing: afterwards it would be that of the command that was named, without the options.
    const std::string help = app.help();
    const std::string helpOfDelete = deleteCommand->help("slicewise-cli");
    try {
        app.parse(keptWhole(argc, argv));
    } catch (const CLI::CallForHelp &) {
        return ArgumentsAnswer{.text = deleteCommand->parsed() ? helpOfDelete : help, .status = 0};
    } catch (const CLI::CallForVersion &) {
        return ArgumentsAnswer{.text = "slicewise-cli " SLICEWISE_VERSION "\n", .status = 0};
    } catch (const CLI::ParseError &error) {
        std::string sentence = error.what();
        asTypedWithin(sentence);
        return wrongUsage(std::move(sentence));
    }
    for (std::string *typed : {&scan.root, &scan.path}) {
        asTyped(*typed);
    }
    asTyped(classify.paths);
    asTyped(deletion.categories);

    scan.scope = oneFileSystem ? FileSystemScope::RootOnly : FileSystemScope::AllLocal;
    if (classifyCommand->parsed()) {
        if (const CLI::Option *option = firstGiven({&ofWalk, &ofReport})) {
            return wrongUsage(fmt::format("{} goes with a scan, not with classify", option->get_name()));
        }
        classify.root = std::move(scan.root);
        return classify;
    }
    if (deleteCommand->parsed()) {
        if (const CLI::Option *option = firstGiven({&ofReport})) {
            return wrongUsage(fmt::format("{} goes with a scan, not with delete", option->get_name()));
        }
        deletion.scan = std::move(scan);
        return deletion;
    }
    if (scan.json && scan.top) {
        return wrongUsage("--top cuts the report and can't be given with --json, whose levels are complete");
    }
    return scan;
}

} // namespace slicewise
