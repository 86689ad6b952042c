#include "app/Options.h"

#include "SlicewiseVersion.h"
#include "ui/WholeArguments.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <charconv>
#include <string_view>
#include <system_error>
#include <utility>

namespace slicewise {

namespace {

constexpr const char *kFooter = R"(
Examples:
  slicewise                                    where the storage of this machine went
  slicewise --root /mnt/phone                  a device's tree, mounted or extracted
  slicewise --root /mnt/phone --read-only      the same, and nothing can be deleted
  slicewise --snapshot disk.png                a picture of the window; needs no display

Root deletes from "/" with --allow-delete only. On a terminal use slicewise-cli.

Exit status: 0 done, 1 could not do it, 2 wrong usage.)";

constexpr int kLeastSide = 200;
constexpr int kMostSide = 8192;

OptionsAnswer wrongUsage(std::string sentence)
{
    while (sentence.ends_with('\n') || sentence.ends_with('.')) {
        sentence.pop_back();
    }
    return {.text = fmt::format("slicewise: {}. See slicewise --help.\n", sentence), .status = 2};
}

/// The whole text as a side of a picture.
std::optional<int> side(std::string_view text)
{
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool isNumber = error == std::errc() && end == text.data() + text.size();
    return isNumber && value >= kLeastSide && value <= kMostSide ? std::optional<int>(value) : std::nullopt;
}

std::optional<QSize> sizeOf(std::string_view text)
{
    const std::size_t cross = text.find('x');
    if (cross == std::string_view::npos) {
        return std::nullopt;
    }
    const std::optional<int> width = side(text.substr(0, cross));
    const std::optional<int> height = side(text.substr(cross + 1));
    return width && height ? std::optional<QSize>(QSize(*width, *height)) : std::nullopt;
}

/// As they are typed, before they mean anything.
struct Typed {
    bool oneFileSystem = false;
    bool dark = false;
    bool light = false;
    std::string folder;
    std::string idiom;
    std::string snapshot;
    std::string size;
};

void addOptions(CLI::App &app, Options &options, Typed &typed)
{
    CLI::Option *root =
        app.add_option("--root", options.root, "The directory that is the device's \"/\"")->type_name("DIR");
    // What a file manager hands over.
    app.add_option("DIR", typed.folder, "The same as --root DIR")->type_name("")->excludes(root);
    app.add_flag("-x,--one-file-system", typed.oneFileSystem, "Stay on the root's own file system");
    app.add_flag("--read-only", options.readOnly, "Refuse to delete anything");
    app.add_flag("--allow-delete", options.allowDelete,
                 "Root is to delete from \"/\", which is read-only otherwise");
    app.add_flag("-q,--quiet", options.quiet, "No log");
    app.add_option("--idiom", typed.idiom, "Lay it out for a phone or a pad (default: by the screen's size)")
        ->type_name("phone|pad")
        ->check(CLI::IsMember({"phone", "pad"}).description(""));
    CLI::Option *dark = app.add_flag("--dark", typed.dark, "Light on dark, whatever the system has");
    app.add_flag("--light", typed.light, "Dark on light, whatever the system has")->excludes(dark);
    CLI::Option *snapshot =
        app.add_option("--snapshot", typed.snapshot, "Draw the window to FILE when the scan is done, and end")
            ->type_name("FILE.png");
    app.add_option("--size", typed.size, "Of the snapshot (default: 1024x720)")
        ->type_name("WxH")
        ->needs(snapshot);
}

} // namespace

std::variant<Options, OptionsAnswer> readOptions(int argc, const char *const *argv)
{
    CLI::App app("Shows where the storage of a device went, and lets its owner reclaim it.", "slicewise");
    app.footer(kFooter);
    app.set_version_flag("--version", "slicewise " SLICEWISE_VERSION, "Print the version");
    app.set_help_flag("-h,--help", "Print this help");
    app.get_formatter()->column_width(30);
    Options options;
    Typed typed;
    addOptions(app, options, typed);
    const std::string help = app.help();
    try {
        app.parse(keptWhole(argc, argv));
    } catch (const CLI::CallForHelp &) {
        return OptionsAnswer{.text = help, .status = 0};
    } catch (const CLI::CallForVersion &) {
        return OptionsAnswer{.text = "slicewise " SLICEWISE_VERSION "\n", .status = 0};
    } catch (const CLI::ParseError &error) {
        std::string sentence = error.what();
        asTypedWithin(sentence);
        return wrongUsage(std::move(sentence));
    }
    if (app.count("DIR") > 0) {
        options.root = std::move(typed.folder);
    }
    asTyped(options.root);
    asTyped(typed.snapshot);
    options.scope = typed.oneFileSystem ? FileSystemScope::RootOnly : FileSystemScope::AllLocal;
    if (!typed.idiom.empty()) {
        options.idiom = typed.idiom == "pad" ? UserInterfaceIdiom::Pad : UserInterfaceIdiom::Phone;
    }
    if (typed.dark || typed.light) {
        options.appearance = typed.dark ? AppearanceWish::Dark : AppearanceWish::Light;
    }
    if (app.count("--snapshot") > 0) {
        options.snapshot = std::move(typed.snapshot);
    }
    if (app.count("--size") > 0) {
        const std::optional<QSize> size = sizeOf(typed.size);
        if (!size) {
            return wrongUsage(
                fmt::format("--size takes two numbers from {} to {}, as in 1024x720", kLeastSide, kMostSide));
        }
        options.snapshotSize = *size;
    }
    return options;
}

} // namespace slicewise
