#include "platform/HostDevice.h"
#include "tests/support/MadeDevice.h"
#include "tests/support/RunProgram.h"
#include "tests/support/SampleDevice.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <plist/plist.h>
#include <sqlite3.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace slicewise {
namespace {

using testing::AllOf;
using testing::Ge;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSubsetOf;
using testing::Le;
using testing::SizeIs;

namespace fs = std::filesystem;

const std::string kDpkg = "/private/var/lib/dpkg";
const std::string kMessages = "/private/var/mobile/Library/SMS/sms.db";
const std::string kMediaLibrary = "/private/var/mobile/Media/iTunes_Control/iTunes/MediaLibrary.sqlitedb";

std::vector<std::string> linesOf(const std::string &text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

// What dpkg has to say about the device; nothing may be wrong.
std::vector<std::string> dpkg(const std::vector<std::string> &arguments)
{
    std::vector<std::string> words = {"dpkg"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    const ProgramResult result =
        runProgram({.arguments = words, .environment = {{"LC_ALL", "C"}}, .withoutEnvironment = {"COLUMNS"}});
    EXPECT_EQ(result.exitStatus, 0) << words.back();
    EXPECT_EQ(result.standardError, "") << words.back();
    return linesOf(result.standardOutput);
}

// The third of the fields that single spaces part, of each line about a package.
std::vector<std::string> packageNames(const std::vector<std::string> &listing)
{
    std::vector<std::string> names;
    for (const std::string &line : listing) {
        if (line.starts_with("ii ") || line.starts_with("rc ")) {
            const std::size_t begin = line.find(' ', line.find(' ') + 1) + 1;
            names.push_back(line.substr(begin, line.find(' ', begin) - begin));
        }
    }
    return names;
}

using Rows = std::vector<std::vector<std::string>>; ///< "" for NULL

struct DatabaseCloser {
    void operator()(sqlite3 *database) const { ::sqlite3_close(database); }
};

Rows query(const std::string &hostPath, const std::string &text)
{
    sqlite3 *opened = nullptr;
    EXPECT_EQ(::sqlite3_open_v2(hostPath.c_str(), &opened, SQLITE_OPEN_READWRITE, nullptr), SQLITE_OK);
    const std::unique_ptr<sqlite3, DatabaseCloser> database(opened);
    Rows rows;
    const auto addRow = [](void *into, int columns, char **values, char **) {
        std::vector<std::string> row;
        for (int column = 0; column < columns; ++column) {
            row.emplace_back(values[column] == nullptr ? "" : values[column]);
        }
        static_cast<Rows *>(into)->push_back(std::move(row));
        return 0;
    };
    EXPECT_EQ(::sqlite3_exec(database.get(), text.c_str(), addRow, &rows, nullptr), SQLITE_OK)
        << ::sqlite3_errmsg(database.get());
    return rows;
}

enum class WithLog : bool { No, Yes };

// On a copy: SQLite changes what it opens, if only the index of the log.
Rows queryCopy(const std::string &path, WithLog withLog, const std::string &text)
{
    const TemporaryDirectory scratch;
    const std::string original = smallDevice().root() + path;
    fs::copy_file(original, scratch.pathOf("copy"));
    if (withLog == WithLog::Yes) {
        fs::copy_file(original + "-wal", scratch.pathOf("copy-wal"));
    }
    return query(scratch.pathOf("copy"), text);
}

// By hand, from what dpkg says: in the order in which it lists the packages, the last owner has a file.
std::map<std::string, std::string> categoriesByDpkg(const MadeDevice &made)
{
    const std::string admin = "--admindir=" + made.root() + kDpkg;
    const Result<std::unique_ptr<HostDevice>> device = HostDevice::open(made.root());
    EXPECT_TRUE(device);
    std::map<std::string, std::string> categories;
    for (const std::string &package : packageNames(dpkg({admin, "-l"}))) {
        const std::vector<std::string> files = dpkg({admin, "-L", package});
        EXPECT_THAT(files, testing::Not(IsEmpty())) << package;
        for (const std::string &listed : files) {
            const Result<std::string> path = (*device)->resolve(listed);
            if (path && (*device)->status(*path)->type == FileType::RegularFile) {
                categories[*path] = "Cydia Packages/" + package + *path;
            }
        }
    }
    return categories;
}

TEST(SampleDevice, isWhatDpkgSaysItIs)
{
    EXPECT_EQ(categoriesByDpkg(smallDevice()), smallDevice().filedUnder("Cydia Packages/"));
}

TEST(SampleDevice, hasPackagesThatDpkgListsInOrderWithAForeignAndARemovedOne)
{
    const std::vector<std::string> listing = dpkg({"--root=" + smallDevice().root(), "-l"});
    EXPECT_EQ(listing, dpkg({"--admindir=" + smallDevice().root() + kDpkg, "-l"}));
    const std::vector<std::string> names = packageNames(listing);
    EXPECT_THAT(names, SizeIs(AllOf(Ge(38U), Le(48U))));
    EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
    EXPECT_THAT(names, testing::Contains("ident-signer:iphoneos-arm"));
    const std::string status = contentOf(smallDevice().root() + kDpkg + "/status");
    EXPECT_THAT(status, HasSubstr("Status: deinstall ok config-files\n"));
    EXPECT_THAT(status, HasSubstr("\nDepends: "));
}

// Every special case of a package's list, each at least once.
TEST(SampleDevice, hasPackagesWithLinksWithGoneFilesAndWithSharedOnes)
{
    const std::string root = smallDevice().root();
    std::map<std::string, int> owners;
    int links = 0;
    int gone = 0;
    int throughLinks = 0;
    for (const fs::directory_entry &entry : fs::directory_iterator(root + kDpkg + "/info")) {
        if (entry.path().extension() != ".list") {
            continue;
        }
        for (const std::string &path : linesOf(contentOf(entry.path().string()))) {
            const bool isBelowLink = path.starts_with("/var/") || path.starts_with("/etc/");
            throughLinks += isBelowLink ? 1 : 0;
            // A path that leads through an absolute link would lead out of the device here.
            if (path.starts_with("/usr/include")) {
                continue;
            }
            const fs::file_status status = fs::symlink_status(root + path);
            links += status.type() == fs::file_type::symlink && path.ends_with(".dylib") ? 1 : 0;
            gone += status.type() == fs::file_type::not_found ? 1 : 0;
            owners[path] += status.type() == fs::file_type::regular ? 1 : 0;
        }
    }
    EXPECT_GE(links, 1);
    EXPECT_EQ(gone, 1);
    EXPECT_GE(throughLinks, 10);
    EXPECT_EQ(owners["/usr/bin/which"], 2);
}

TEST(SampleDevice, hasMessagesWhoseLastRowsAreOnlyInTheLog)
{
    const std::string last = "SELECT max(ROWID) FROM attachment;";
    const Rows withLog = queryCopy(kMessages, WithLog::Yes, last);
    const Rows without = queryCopy(kMessages, WithLog::No, last);
    ASSERT_THAT(withLog, SizeIs(1));
    ASSERT_THAT(without, SizeIs(1));
    EXPECT_GT(std::stoi(withLog[0][0]), std::stoi(without[0][0]));
    for (const WithLog log : {WithLog::No, WithLog::Yes}) {
        EXPECT_EQ(queryCopy(kMessages, log, "PRAGMA integrity_check;"), (Rows{{"ok"}}));
    }
}

// By hand, from what the table says.
TEST(SampleDevice, namesAttachmentsAsTheirTableDoes)
{
    const MadeDevice &made = smallDevice();
    std::map<std::string, std::string> expected;
    std::set<std::string> directories;
    std::set<std::string> names;
    int gone = 0;
    int withoutName = 0;
    int absolute = 0;
    for (const std::vector<std::string> &row :
         queryCopy(kMessages, WithLog::Yes, "SELECT filename, transfer_name FROM attachment;")) {
        std::string path = row[0];
        if (path.starts_with("~")) {
            path = "/private/var/mobile" + path.substr(1);
        } else {
            ++absolute;
            ASSERT_TRUE(path.starts_with("/var/mobile/Library/SMS/")) << path;
            path = "/private" + path;
        }
        const std::string name = row[1].empty() ? path.substr(path.rfind('/') + 1) : row[1];
        withoutName += row[1].empty() ? 1 : 0;
        std::string unique = name;
        for (int number = 2; !names.insert(unique).second; ++number) {
            unique = name + " " + std::to_string(number);
        }
        directories.insert(path.substr(0, path.rfind('/')));
        if (fs::exists(made.root() + path)) {
            expected[path] = "Message Attachments/" + unique;
        } else {
            ++gone;
        }
    }
    EXPECT_GE(gone, 2);
    EXPECT_GE(withoutName, 4);
    EXPECT_GE(absolute, 4);
    int previews = 0;
    for (const SampleFile &file : made.plan.files) {
        const std::string directory = file.path.substr(0, file.path.rfind('/'));
        if (directories.contains(directory) && !expected.contains(file.path)) {
            ++previews;
            expected[file.path] =
                "Message Attachments/Previews/" + file.path.substr(file.path.rfind('/') + 1);
        }
    }
    EXPECT_GE(previews, 4);
    EXPECT_EQ(made.filedUnder("Message Attachments/"), expected);
}

TEST(SampleDevice, titlesMediaAsTheirLibraryDoes)
{
    const MadeDevice &made = smallDevice();
    EXPECT_EQ(queryCopy(kMediaLibrary, WithLog::No, "PRAGMA integrity_check;"), (Rows{{"ok"}}));
    std::map<std::string, std::string> expected;
    int gone = 0;
    std::map<std::string, int> times;
    for (const std::vector<std::string> &row :
         queryCopy(kMediaLibrary, WithLog::No,
                   "SELECT path||'/'||location, title, path from item JOIN item_extra ON "
                   "item.item_pid = item_extra.item_pid JOIN base_location ON "
                   "base_location.base_location_id = item.base_location_id;")) {
        const std::string path = "/private/var/mobile/Media/" + row[0];
        const std::string afterControl = row[2].substr(row[2].find('/') + 1);
        const std::string kind = afterControl.substr(0, afterControl.find('/'));
        if (fs::exists(made.root() + path)) {
            expected[path] = "iTunes/" + kind + "/" + row[1];
            ++times[expected[path]];
        } else {
            ++gone;
        }
    }
    EXPECT_THAT(expected, SizeIs(Ge(40U)));
    EXPECT_GE(gone, 2);
    EXPECT_GE(times["iTunes/Music/Music, twice"], 2);
    EXPECT_THAT(expected, IsSubsetOf(made.filedUnder("iTunes/")));
    // What it does not list is there too, filed by its place.
    EXPECT_THAT(made.filedUnder("iTunes/Music/F00/ZZZZZ.mp3"), SizeIs(1));
}

struct ListFreer {
    void operator()(void *node) const { ::plist_free(node); }
};
using List = std::unique_ptr<void, ListFreer>;

List parseList(const std::string &bytes)
{
    ::plist_t root = nullptr;
    ::plist_from_memory(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &root);
    return List(root);
}

std::string textIn(const List &list, const std::vector<std::string> &keys)
{
    ::plist_t node = list.get();
    for (const std::string &key : keys) {
        node = node == nullptr ? nullptr : ::plist_dict_get_item(node, key.c_str());
    }
    const char *text = node == nullptr ? nullptr : ::plist_get_string_ptr(node, nullptr);
    return text == nullptr ? "" : text;
}

TEST(SampleDevice, hasPropertyListsOfBothFormsThatCanBeRead)
{
    std::map<std::string, int> forms;
    for (const SampleFile &file : smallDevice().plan.files) {
        if (!file.path.ends_with(".plist")) {
            continue;
        }
        const std::string bytes = contentOf(smallDevice().root() + file.path);
        const List list = parseList(bytes);
        ASSERT_NE(list, nullptr) << file.path;
        EXPECT_EQ(::plist_get_node_type(list.get()), PLIST_DICT) << file.path;
        ++forms[file.path.substr(file.path.rfind('/') + 1) + " " + bytes.substr(0, 5)];
    }
    for (const char *form : {"Info.plist bplis", "Info.plist <?xml", "iTunesMetadata.plist bplis",
                             "iTunesMetadata.plist <?xml"}) {
        EXPECT_GE(forms[form], 1) << form;
    }
    const List version =
        parseList(contentOf(smallDevice().root() + "/System/Library/CoreServices/SystemVersion.plist"));
    EXPECT_EQ(textIn(version, {"ProductVersion"}), "9.0.2");
    EXPECT_EQ(textIn(version, {"ProductName"}), "iPhone OS");
    EXPECT_NE(textIn(version, {"ProductBuildVersion"}), "");
}

TEST(SampleDevice, namesRingtonesAsTheirListDoes)
{
    const std::string control = "/private/var/mobile/Media/iTunes_Control/";
    const List list = parseList(contentOf(smallDevice().root() + control + "iTunes/Ringtones.plist"));
    int named = 0;
    int unlisted = 0;
    for (const SampleFile &file : smallDevice().plan.files) {
        if (!file.path.starts_with(control + "Ringtones/")) {
            continue;
        }
        const std::string name = file.path.substr(file.path.rfind('/') + 1);
        const std::string title = textIn(list, {"Ringtones", name, "Name"});
        EXPECT_EQ(file.category, "iTunes/Ringtones/" + (title.empty() ? name : title));
        ++(title.empty() ? unlisted : named);
    }
    EXPECT_GE(named, 6);
    EXPECT_EQ(unlisted, 1);
}

std::vector<std::string> namesIn(const std::string &hostDirectory)
{
    std::vector<std::string> names;
    if (fs::exists(hostDirectory)) {
        for (const fs::directory_entry &entry : fs::directory_iterator(hostDirectory)) {
            names.push_back(entry.path().filename().string());
        }
    }
    return names;
}

std::string textInFile(const std::string &hostPath, const std::string &key)
{
    return fs::exists(hostPath) ? textIn(parseList(contentOf(hostPath)), {key}) : "";
}

// By hand, from the lists of an application.
std::string nameOf(const std::string &root, const std::string &id)
{
    const std::string mobile = root + "/private/var/mobile";
    const std::string older = mobile + "/Applications/" + id;
    const std::string contained = mobile + "/Containers/Bundle/Application/" + id;
    std::vector<std::string> bundles;
    for (const std::string &name : namesIn(older)) {
        if (name.ends_with(".app") || name.ends_with(".APP")) {
            bundles.push_back(name);
        }
    }
    if (bundles.size() == 1) {
        const std::string shown = textInFile(older + "/" + bundles[0] + "/Info.plist", "CFBundleDisplayName");
        if (!shown.empty()) {
            return shown;
        }
    }
    for (const std::string &place : {older, contained}) {
        const std::string item = textInFile(place + "/iTunesMetadata.plist", "itemName");
        if (!item.empty()) {
            return item;
        }
    }
    return id;
}

std::string categoryOfOlder(const std::string &root, const std::string &idAndRest)
{
    const std::size_t slash = idAndRest.find('/');
    const std::string rest = idAndRest.substr(slash + 1);
    const std::string first = rest.substr(0, rest.find('/'));
    const bool isProgram =
        first.ends_with(".app") || first == "iTunesArtwork" || first == "iTunesMetadata.plist";
    return (isProgram ? "Applications/" : "Application Data/") + nameOf(root, idAndRest.substr(0, slash)) +
           "/" + rest;
}

// Of "Bundle/Application/ID/rest".
std::string categoryOfContained(const std::string &root, const std::string &below)
{
    const std::size_t idAt = below.find('/', below.find('/') + 1) + 1;
    const std::size_t idEnd = below.find('/', idAt);
    return (below.starts_with("Bundle/") ? "Applications/" : "Application Data/") +
           nameOf(root, below.substr(idAt, idEnd - idAt)) + below.substr(idEnd);
}

TEST(SampleDevice, namesApplicationsAsTheirListsDo)
{
    const std::string root = smallDevice().root();
    const std::string older = "/private/var/mobile/Applications/";
    const std::string contained = "/private/var/mobile/Containers/";
    std::map<std::string, std::string> expected;
    for (const SampleFile &file : smallDevice().plan.files) {
        if (file.path.starts_with(older)) {
            expected[file.path] = categoryOfOlder(root, file.path.substr(older.size()));
        } else if (file.path.starts_with(contained) && !file.path.starts_with(contained + "Shared/")) {
            expected[file.path] = categoryOfContained(root, file.path.substr(contained.size()));
        }
    }
    EXPECT_EQ(smallDevice().filedUnder("Application"), expected);
}

TEST(SampleDevice, hasApplicationsOfEveryKind)
{
    const std::string root = smallDevice().root();
    const std::string older = root + "/private/var/mobile/Applications";
    std::map<std::string, int> kinds;
    for (const std::string &id : namesIn(older)) {
        const std::vector<std::string> names = namesIn(older + "/" + id);
        const auto ending = [&](std::string_view end) {
            return std::count_if(names.begin(), names.end(),
                                 [&](const std::string &name) { return name.ends_with(end); });
        };
        const std::string name = nameOf(root, id);
        ++kinds[ending(".app") == 2 ? "two bundles" : ending(".APP") == 1 ? "upper case" : "one bundle"];
        kinds["shown by its identifier"] += name == id ? 1 : 0;
        kinds["without metadata"] += ending("iTunesMetadata.plist") == 0 && name != id ? 1 : 0;
        kinds["long"] += name.size() > 60 ? 1 : 0;
        const auto isNoAscii = [](char byte) { return static_cast<unsigned char>(byte) >= 0x80; };
        kinds["with letters beyond ASCII"] += std::any_of(name.begin(), name.end(), isNoAscii) ? 1 : 0;
    }
    EXPECT_EQ(kinds["two bundles"], 1);
    EXPECT_EQ(kinds["upper case"], 1);
    EXPECT_EQ(kinds["shown by its identifier"], 2);
    EXPECT_EQ(kinds["without metadata"], 1);
    EXPECT_GE(kinds["one bundle"], 4);
    EXPECT_GE(kinds["long"], 1);
    EXPECT_GE(kinds["with letters beyond ASCII"], 2);
}

} // namespace
} // namespace slicewise
