// Rows of any bytes for the media library and the message attachments, these against the slow way to name
// them; and any path for the three classifiers of media, by file and by directory.
#include "scan/MediaClassifier.h"
#include "scan/Utf8.h"
#include "tests/fuzz/Require.h"
#include "tests/support/AttachmentModel.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace slicewise {
namespace {

constexpr const char *kPlaces = "/private/var/mobile/";

using Column = std::optional<std::string>;

Column columnFrom(FuzzedDataProvider &input)
{
    if (input.ConsumeIntegralInRange(0, 15) == 15) {
        return std::nullopt;
    }
    const std::string bytes = input.ConsumeRandomLengthString(40);
    return bytes.substr(0, bytes.find('\0')); // as SQLite hands a text out
}

const char *pointerTo(const Column &column)
{
    return column ? column->c_str() : nullptr;
}

bool isText(const Column &column)
{
    return column && isUtf8(*column);
}

std::string outcome(const std::function<std::optional<std::string>()> &ask)
{
    try {
        const auto category = ask();
        return category ? "takes " + *category : "declines";
    } catch (const std::exception &exception) {
        return std::string("raises ") + exception.what();
    }
}

template <typename ByFile, typename ByDirectory, typename Table>
void askAboutFile(ByFile byFile, ByDirectory byDirectory, const Table &table, const std::string &path)
{
    const std::string alone = outcome([&] { return byFile(table, path); });
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos || slash + 1 == path.size()) {
        return; // not the path of a file
    }
    const std::string directory = slash == 0 ? "/" : path.substr(0, slash);
    if (slash != 0 && directory.ends_with('/')) {
        return; // a walk makes none of these
    }
    const DirectoryAnswer answer = byDirectory(table, directory);
    require(answer.kind != DirectoryAnswer::Kind::Takes, "no directory of media goes anywhere as a whole");
    if (answer.kind == DirectoryAnswer::Kind::Declines) {
        require(alone == "declines", "what declines a directory declines its files");
    }
}

const std::vector<std::optional<PropertyList>> &ringtoneLists()
{
    const auto parse = [](const std::string &content) {
        return PropertyList::parse(R"(<?xml version="1.0" encoding="UTF-8"?><plist version="1.0">)" +
                                   content + "</plist>");
    };
    const auto make = [&] {
        std::vector<std::optional<PropertyList>> lists;
        lists.emplace_back();
        lists.push_back(parse("<array/>"));
        lists.push_back(parse("<dict><key>Ringtones</key><string>x</string></dict>"));
        lists.push_back(
            parse("<dict><key>Ringtones</key><dict><key>a</key><string>x</string><key>b</key><dict/>"
                  "<key>c</key><dict><key>Name</key><string>Bell</string></dict></dict></dict>"));
        return lists;
    };
    static const std::vector<std::optional<PropertyList>> lists = make();
    return lists;
}

void enterMediaRow(MediaIndex &index, FuzzedDataProvider &input)
{
    const Column location = columnFrom(input);
    const Column title = columnFrom(input);
    const Column base = columnFrom(input);
    std::size_t lines = 0;
    Log log([&](std::string_view line) {
        ++lines;
        require(line.starts_with("Unreasonable DB entry ("), "a row that can't be used is logged as one");
    });
    mediaLibraryRowCallback(index, log, std::array{pointerTo(location), pointerTo(title), pointerTo(base)});
    const bool usable =
        isText(location) && isText(title) && isText(base) && base->find('/') != std::string::npos;
    require(lines == (usable ? 0U : 1U), "a row is either entered or logged");
    if (usable) {
        const std::string behind = base->substr(base->find('/') + 1);
        const std::string kind = behind.substr(0, behind.find('/'));
        require(index.at(*location).title == *title && index.at(*location).kind == kind,
                "the last row of a location has it");
        if (location->starts_with("iTunes_Control/")) {
            require(classifyMediaItem(index, std::string(kPlaces) + "Media/" + *location) ==
                        "iTunes/" + kind + "/" + *title,
                    "an item is found under its title");
        }
    }
}

std::string onDevice(const std::string &filename)
{
    if (filename.starts_with("~")) {
        return "/private/var/mobile" + filename.substr(1);
    }
    return (filename.starts_with("/var") ? "/private" : "") + filename;
}

std::string withoutSlashesAtEnd(std::string path)
{
    while (path.size() > 1 && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

std::string directoryOf(const std::string &path)
{
    const std::string whole = withoutSlashesAtEnd(path);
    const std::size_t slash = whole.rfind('/');
    return slash == std::string::npos ? "" : withoutSlashesAtEnd(whole.substr(0, slash + 1));
}

std::string lastOf(const std::string &path)
{
    const std::string whole = withoutSlashesAtEnd(path);
    return whole == "/" ? whole : whole.substr(whole.rfind('/') + 1);
}

void enterAttachmentRow(MessageAttachmentIndex &index, AttachmentModel &model, FuzzedDataProvider &input)
{
    const Column filename = columnFrom(input);
    const Column transferName = columnFrom(input);
    messageAttachmentRowCallback(index, std::array{pointerTo(filename), pointerTo(transferName)});
    if (isText(filename)) {
        const std::string path = onDevice(*filename);
        model.assign(path, directoryOf(path), isText(transferName) ? *transferName : lastOf(*filename));
    }
}

void run(FuzzedDataProvider &input)
{
    const auto &list = ringtoneLists().at(input.ConsumeIntegralInRange<std::size_t>(0, 3));
    MediaIndex media;
    MessageAttachmentIndex attachments;
    AttachmentModel model;
    for (int rows = 0; rows < 200 && input.remaining_bytes() > 0; ++rows) {
        switch (input.ConsumeIntegralInRange(0, 3)) {
        case 0:
            enterMediaRow(media, input);
            break;
        case 1: {
            const std::string path = kPlaces + input.ConsumeRandomLengthString(60);
            askAboutFile(classifyRingtone, classifyRingtoneOfDirectory, list, path);
            askAboutFile(classifyMediaItem, classifyMediaItemOfDirectory, media, path);
            askAboutFile(classifyMessageAttachment, classifyMessageAttachmentOfDirectory, attachments, path);
            break;
        }
        default:
            enterAttachmentRow(attachments, model, input);
        }
    }
    require(attachments.size() == model.names().size(), "each path and each directory of one has a name");
    for (const auto &[path, name] : model.names()) {
        require(attachments.nameOf(path) == name, "attachments are named as the slow way names them");
        askAboutFile(classifyMessageAttachment, classifyMessageAttachmentOfDirectory, attachments, path);
    }
}

} // namespace
} // namespace slicewise

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    slicewise::run(input);
    return 0;
}
