#include "scan/MediaClassifier.h"

#include "scan/PathText.h"
#include "scan/Utf8.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <exception>
#include <stdexcept>
#include <utility>
#include <vector>

namespace slicewise {

namespace {

constexpr std::string_view kMediaPlace = "/private/var/mobile/Media/iTunes_Control/";
constexpr std::size_t kMediaRelativeFrom = 26; // what lies before "iTunes_Control/"
constexpr std::string_view kRingtonesPlace = "/private/var/mobile/Media/iTunes_Control/Ringtones/";
constexpr std::string_view kMessagesPlace =
    "/private/var/mobile/Library/SMS"; // whatever comes right behind it
constexpr std::string_view kHome = "/private/var/mobile";

DirectoryAnswer askByFileIf(bool condition)
{
    return {.kind = condition ? DirectoryAnswer::Kind::AskByFile : DirectoryAnswer::Kind::Declines,
            .category = {}};
}

// A directory's own path as the front of its files'.
std::string frontOfFiles(const std::string &directory)
{
    return directory.ends_with('/') ? directory : directory + "/";
}

const char *column(Database::Row row, std::size_t number)
{
    return number < row.size() ? row[number] : nullptr;
}

const char *orNull(const char *text)
{
    return text != nullptr ? text : "(null)";
}

std::string textOf(const char *column, const char *what)
{
    if (column == nullptr) {
        throw std::invalid_argument(fmt::format("the {} is NULL", what));
    }
    if (!isUtf8(column)) {
        throw std::invalid_argument(fmt::format("the {} is not UTF-8", what));
    }
    return column;
}

/// A name that ends in a space and a number as uniqueName() writes them.
struct Numbered {
    std::string_view name;
    std::uint64_t number = 0;
};
std::optional<Numbered> asNumbered(std::string_view name)
{
    const std::size_t space = name.rfind(' ');
    if (space == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view digits = name.substr(space + 1);
    Numbered result{.name = name.substr(0, space), .number = 0};
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), result.number);
    if (error != std::errc() || end != digits.data() + digits.size() || digits.starts_with('0')) {
        return std::nullopt;
    }
    return result;
}

std::string numbered(std::string_view name, std::uint64_t number)
{
    return fmt::format("{} {}", name, number);
}

} // namespace

// ---- filling the indices

void mediaLibraryRowCallback(MediaIndex &mediaIndex, Log &log, Database::Row row)
{
    const char *location = column(row, 0);
    const char *title = column(row, 1);
    const char *path = column(row, 2);
    try {
        MediaItem item{.title = textOf(title, "title"), .kind = {}};
        const std::string base = textOf(path, "base path");
        item.kind = splitAtSlashes(base).at(1);
        mediaIndex[textOf(location, "location")] = std::move(item);
    } catch (const std::exception &exception) {
        log.line(
            fmt::format("Unreasonable DB entry ({}): path||'/'||location = '{}', title = '{}', path = '{}'",
                        exception.what(), orNull(location), orNull(title), orNull(path)));
    }
}

std::string_view MessageAttachmentIndex::keep(std::string_view text)
{
    auto *bytes = m_texts.allocate<char>(text.size());
    std::copy(text.begin(), text.end(), bytes);
    return {bytes, text.size()};
}

void MessageAttachmentIndex::assign(std::string_view path, std::string_view wanted)
{
    const std::string text = uniqueName(wanted);
    auto name = m_names.find(text);
    if (name == m_names.end()) {
        const std::string_view kept = keep(text);
        name = m_names.emplace(kept, static_cast<std::uint32_t>(m_used.size())).first;
        m_used.push_back({.text = kept, .paths = 0});
    }
    const std::uint32_t number = name->second;
    store(path, number);
    store(withoutLastPathComponent(path), number);
}

std::optional<std::string_view> MessageAttachmentIndex::nameOf(std::string_view path) const
{
    const auto found = m_paths.find(path);
    return found == m_paths.end() ? std::nullopt : std::optional(m_used[found->second].text);
}

bool MessageAttachmentIndex::isTaken(std::string_view name) const
{
    const auto found = m_names.find(name);
    return found != m_names.end() && m_used[found->second].paths > 0;
}

std::string MessageAttachmentIndex::uniqueName(std::string_view wanted)
{
    if (!isTaken(wanted)) {
        return std::string(wanted);
    }
    // From 2 on, but without trying again and again those that are known to be taken.
    Numbers &numbers = m_numbers[wanted];
    while (!numbers.freed.empty()) {
        std::string name = numbered(wanted, *numbers.freed.begin());
        if (!isTaken(name)) {
            return name; // once it is taken the next search drops it
        }
        numbers.freed.erase(numbers.freed.begin());
    }
    while (true) {
        std::string name = numbered(wanted, numbers.next);
        if (!isTaken(name)) {
            return name;
        }
        ++numbers.next;
    }
}

void MessageAttachmentIndex::store(std::string_view path, std::uint32_t name)
{
    auto known = m_paths.find(path);
    if (known == m_paths.end()) {
        m_paths.emplace(keep(path), name);
        ++m_used[name].paths;
        return;
    }
    const std::uint32_t before = std::exchange(known->second, name);
    ++m_used[name].paths;
    if (--m_used[before].paths == 0) {
        noteFreed(m_used[before].text);
    }
}

// A number that the search has gone past can be found again.
void MessageAttachmentIndex::noteFreed(std::string_view name)
{
    const std::optional<Numbered> parts = asNumbered(name);
    if (!parts) {
        return;
    }
    const auto numbers = m_numbers.find(parts->name);
    if (numbers != m_numbers.end() && parts->number >= kFirstNumber && parts->number < numbers->second.next) {
        numbers->second.freed.insert(parts->number);
    }
}

void messageAttachmentRowCallback(MessageAttachmentIndex &smsAttachmentIndex, Database::Row row)
{
    const char *filename = column(row, 0);
    const char *transferName = column(row, 1);
    if (filename == nullptr || !isUtf8(filename)) {
        return;
    }
    std::string path = filename;
    if (path.starts_with('~')) {
        path = fmt::format("{}{}", kHome, std::string_view(path).substr(1));
    } else if (path.starts_with("/var")) {
        path = "/private" + path;
    }
    const std::string name = transferName != nullptr && isUtf8(transferName)
                                 ? transferName
                                 : std::string(lastPathComponent(filename));
    smsAttachmentIndex.assign(path, name);
}

// ---- the classifiers

std::optional<std::string> classifyRingtone(const std::optional<PropertyList> &ringtoneIndex,
                                            const std::string &path)
{
    if (!path.starts_with(kRingtonesPlace) || !ringtoneIndex) {
        return std::nullopt;
    }
    const std::optional<PropertyList::Value> ringtones = ringtoneIndex->root().value("Ringtones");
    if (!ringtones) {
        return std::nullopt;
    }
    const std::optional<PropertyList::Value> ringtone =
        ringtones->value(std::string_view(path).substr(kRingtonesPlace.size()));
    if (!ringtone) {
        return std::nullopt;
    }
    const std::optional<PropertyList::Value> name = ringtone->value("Name");
    // A ringtone that nobody has named reads so, and always has.
    return fmt::format("iTunes/Ringtones/{}", name ? name->text().value_or("(null)") : "(null)");
}

std::optional<std::string> classifyMediaItem(const MediaIndex &mediaIndex, const std::string &path)
{
    if (!path.starts_with(kMediaPlace)) {
        return std::nullopt;
    }
    const auto item = mediaIndex.find(std::string_view(path).substr(kMediaRelativeFrom));
    if (item == mediaIndex.end()) {
        return std::nullopt;
    }
    // Titles are not made unique: the songs of one title are one slice, under the size of the last of them.
    return fmt::format("iTunes/{}/{}", item->second.kind, item->second.title);
}

std::optional<std::string> classifyMessageAttachment(const MessageAttachmentIndex &smsAttachmentIndex,
                                                     const std::string &path)
{
    if (!path.starts_with(kMessagesPlace)) {
        return std::nullopt;
    }
    if (const std::optional<std::string_view> name = smsAttachmentIndex.nameOf(path)) {
        return fmt::format("Message Attachments/{}", *name);
    }
    if (smsAttachmentIndex.contains(withoutLastPathComponent(path))) {
        return fmt::format("Message Attachments/Previews/{}", lastPathComponent(path));
    }
    return std::nullopt;
}

DirectoryAnswer classifyRingtoneOfDirectory(const std::optional<PropertyList> &ringtoneIndex,
                                            const std::string &directory)
{
    return askByFileIf(ringtoneIndex && frontOfFiles(directory).starts_with(kRingtonesPlace));
}

DirectoryAnswer classifyMediaItemOfDirectory(const MediaIndex &mediaIndex, const std::string &directory)
{
    return askByFileIf(!mediaIndex.empty() && frontOfFiles(directory).starts_with(kMediaPlace));
}

DirectoryAnswer classifyMessageAttachmentOfDirectory(const MessageAttachmentIndex &smsAttachmentIndex,
                                                     const std::string &directory)
{
    // The place ends in the middle of a name: "SMS" and "SMS.old" lie in one directory.
    return askByFileIf(
        !smsAttachmentIndex.empty() &&
        (directory.starts_with(kMessagesPlace) || directory == withoutLastPathComponent(kMessagesPlace)));
}

} // namespace slicewise
