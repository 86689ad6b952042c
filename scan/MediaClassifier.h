// Names media files, ringtones and message attachments, which lie on a device under names that mean nothing.
//
// The indices are filled before the walk, from the device's own databases, and not changed during it; then
// any thread may ask.
#pragma once

#include "platform/Database.h"
#include "platform/Log.h"
#include "platform/PropertyList.h"
#include "platform/TextMap.h"
#include "scan/Arena.h"
#include "scan/Classifier.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace slicewise {

/// What the media library knows of a file.
struct MediaItem {
    std::string title;
    std::string kind; ///< "Music", "Podcasts", ...
};

/// By path from "iTunes_Control/" on.
using MediaIndex = TextMap<MediaItem>;

/// The path, the title and the base path ("iTunes_Control/Music/F12") of each item of the media library.
inline constexpr const char *kMediaLibraryPath =
    "/private/var/mobile/Media/iTunes_Control/iTunes/MediaLibrary.sqlitedb";
inline constexpr const char *kMediaLibraryQuery =
    "SELECT path||'/'||location, title, path from item JOIN item_extra ON item.item_pid = "
    "item_extra.item_pid "
    "JOIN base_location ON base_location.base_location_id = item.base_location_id;";

/// Enters one row of that query. One that can't be used (a NULL, a base path without "/", a text that is not
/// UTF-8) is logged: "Unreasonable DB entry (...)".
void mediaLibraryRowCallback(MediaIndex &mediaIndex, Log &log, Database::Row row);

/// The names of attachments by their paths, and by the directories that these lie in. No two attachments that
/// are in it have the same name.
class MessageAttachmentIndex {
public:
    /// Gives `path` and its directory a name made from `wanted`: that itself, if no path has it, else with
    /// the smallest number from 2 on that makes it one of its own ("IMG_0001.JPG 2"). What the two were
    /// called before is free again. In constant time, however many share a name.
    void assign(std::string_view path, std::string_view wanted);

    /// Valid as long as the index.
    [[nodiscard]] std::optional<std::string_view> nameOf(std::string_view path) const;
    [[nodiscard]] bool contains(std::string_view path) const { return m_paths.contains(path); }
    [[nodiscard]] bool empty() const { return m_paths.empty(); }
    [[nodiscard]] std::size_t size() const { return m_paths.size(); }

private:
    static constexpr std::uint64_t kFirstNumber = 2;

    struct Used {
        std::string_view text;
        std::uint32_t paths = 0; ///< how many have the name now
    };
    /// What is known of the numbers behind a name that has been wanted while it was taken.
    struct Numbers {
        std::uint64_t next = kFirstNumber; ///< those before it are taken, or in `freed`
        std::set<std::uint64_t> freed;     ///< some of these may be taken again
    };

    std::string_view keep(std::string_view text);
    [[nodiscard]] bool isTaken(std::string_view name) const;
    [[nodiscard]] std::string uniqueName(std::string_view wanted);
    void store(std::string_view path, std::uint32_t name);
    void noteFreed(std::string_view name);

    // There may be hundreds of thousands, so all texts lie in one place and names are numbers.
    Arena m_texts;
    std::vector<Used> m_used;           ///< by number
    TextViewMap<std::uint32_t> m_names; ///< the numbers of names
    TextViewMap<std::uint32_t> m_paths; ///< what each path is called
    TextMap<Numbers> m_numbers;         ///< by the name without its number
};

inline constexpr const char *kMessagesPath = "/private/var/mobile/Library/SMS/sms.db";
inline constexpr const char *kMessagesQuery = "SELECT filename, transfer_name FROM attachment;";

/// Enters one row of that query; one without a file name, or whose file name is not UTF-8, is passed by.
void messageAttachmentRowCallback(MessageAttachmentIndex &smsAttachmentIndex, Database::Row row);

inline constexpr const char *kRingtonesPath =
    "/private/var/mobile/Media/iTunes_Control/iTunes/Ringtones.plist";

/// A ringtone's title, from the list of ringtones (absent: there is none). Raises std::logic_error where the
/// list has another shape than a list of ringtones.
[[nodiscard]] std::optional<std::string> classifyRingtone(const std::optional<PropertyList> &ringtoneIndex,
                                                          const std::string &path);
/// A title below its kind. Items of one kind and title end on one leaf.
[[nodiscard]] std::optional<std::string> classifyMediaItem(const MediaIndex &mediaIndex,
                                                           const std::string &path);
/// An attachment's name; what lies beside an attachment is taken for its preview.
[[nodiscard]] std::optional<std::string> classifyMessageAttachment(
    const MessageAttachmentIndex &smsAttachmentIndex, const std::string &path);

[[nodiscard]] DirectoryAnswer classifyRingtoneOfDirectory(const std::optional<PropertyList> &ringtoneIndex,
                                                          const std::string &directory);
[[nodiscard]] DirectoryAnswer classifyMediaItemOfDirectory(const MediaIndex &mediaIndex,
                                                           const std::string &directory);
[[nodiscard]] DirectoryAnswer classifyMessageAttachmentOfDirectory(
    const MessageAttachmentIndex &smsAttachmentIndex, const std::string &directory);

} // namespace slicewise
