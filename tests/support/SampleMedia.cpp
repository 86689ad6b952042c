#include "tests/support/SampleDatabase.h"
#include "tests/support/SampleList.h"
#include "tests/support/SampleParts.h"

#include <fmt/format.h>

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace slicewise {

namespace {

const std::string kMedia = "/private/var/mobile/Media/";
const std::string kControl = kMedia + "iTunes_Control/";

constexpr std::uint64_t kFolders = 50;

struct Kind {
    std::string_view name; ///< its folder, and its category below "iTunes"
    std::string_view extension;
    double count; ///< at scale 1
    std::uint64_t leastBytes;
    std::uint64_t mostBytes;
};

constexpr std::array kKinds = {
    Kind{"Music", "mp3", 700, 2'800'000, 9'500'000},
    Kind{"Music", "m4a", 220, 3'200'000, 11'000'000},
    Kind{"Videos", "m4v", 8, 350'000'000, 1'500'000'000},
    Kind{"Podcasts", "mp3", 45, 12'000'000, 70'000'000},
    Kind{"Audiobooks", "m4b", 9, 60'000'000, 260'000'000},
    Kind{"TV Shows", "m4v", 5, 180'000'000, 420'000'000},
};

// Four letters, each combination once before one comes again.
std::string fileStem(std::uint64_t number)
{
    constexpr std::uint64_t kCombinations = 26ULL * 26 * 26 * 26;
    std::uint64_t scattered = number * 176'401 % kCombinations; // no common factor
    std::string stem;
    for (std::size_t letter = 0; letter < 4; ++letter) {
        stem += static_cast<char>('A' + scattered % 26);
        scattered /= 26;
    }
    return stem;
}

std::string songTitle(std::uint64_t number, Dice &dice)
{
    static constexpr std::array<std::string_view, 16> kFirst = {
        "Silent", "Golden", "Électrique", "Paper", "Midnight", "Blue",    "Running", "Lost",
        "Über",   "Winter", "Electric",   "Slow",  "Broken",   "Crimson", "青い",    "Hollow"};
    static constexpr std::array<std::string_view, 16> kSecond = {
        "River",  "Machines",  "Avenue", "Señorita", "Lanterns", "Hours",   "Satellite", "Garden",
        "Wolves", "Postcards", "空",     "Anthem",   "Harbour",  "Mirrors", "Straße",    "Parade"};
    const std::string_view first = kFirst[dice.next() % kFirst.size()];
    const std::string_view second = kSecond[dice.next() % kSecond.size()];
    // Every eighth may have the title of another one.
    return number % 8 == 0 ? fmt::format("{} {}", first, second)
                           : fmt::format("{} {} No. {}", first, second, number);
}

constexpr std::string_view kLibrarySchema = R"(
    CREATE TABLE base_location (base_location_id INTEGER PRIMARY KEY, path TEXT NOT NULL);
    CREATE TABLE album (album_pid INTEGER PRIMARY KEY, album TEXT, year INTEGER);
    CREATE TABLE item (item_pid INTEGER PRIMARY KEY, media_type INTEGER NOT NULL DEFAULT 0,
        album_pid INTEGER NOT NULL DEFAULT 0, track_number INTEGER NOT NULL DEFAULT 0,
        base_location_id INTEGER NOT NULL DEFAULT 0, date_added INTEGER NOT NULL DEFAULT 0);
    CREATE TABLE item_extra (item_pid INTEGER PRIMARY KEY, title TEXT NOT NULL, total_time_ms REAL,
        location TEXT NOT NULL, file_size INTEGER NOT NULL DEFAULT 0, media_kind INTEGER NOT NULL DEFAULT 0);
    CREATE INDEX item_base_location ON item (base_location_id);
)";

class Library {
public:
    explicit Library(SampleBuilder &builder)
        : m_builder(builder), m_database(builder.hostPath(kPath), std::string(kLibrarySchema))
    {}

    void addKind(const Kind &kind, std::uint64_t kindNumber);
    /// What it lists but no longer has.
    void addGone();

    void finish()
    {
        m_database.close();
        m_builder.planFile(kPath, "iTunes/iTunes/MediaLibrary.sqlitedb");
    }

private:
    inline static const std::string kPath = kControl + "iTunes/MediaLibrary.sqlitedb";

    std::int64_t addFolder(const std::string &path);
    void addItem(std::int64_t folder, const std::string &file, const std::string &title,
                 std::uint64_t sizeBytes, std::uint64_t kindNumber);

    SampleBuilder &m_builder;
    SampleDatabase m_database;
    std::int64_t m_folders = 0;
    std::int64_t m_items = 0;
};

std::int64_t Library::addFolder(const std::string &path)
{
    m_database.insert("base_location", {++m_folders, path});
    return m_folders;
}

void Library::addItem(std::int64_t folder, const std::string &file, const std::string &title,
                      std::uint64_t sizeBytes, std::uint64_t kindNumber)
{
    // As persistent identifiers are: large, and in no order.
    const auto id = static_cast<std::int64_t>(static_cast<std::uint64_t>(++m_items) * 0x9e3779b97f4a7c15ULL);
    const std::int64_t album = 1 + m_items / 12;
    const auto kind = static_cast<std::int64_t>(kindNumber);
    const auto bytes = static_cast<std::int64_t>(sizeBytes);
    if (m_items % 12 == 0 || m_items == 1) {
        m_database.insert("album", {album, fmt::format("Album {}", album), 1970 + album % 45});
    }
    m_database.insert("item", {id, kind, album, 1 + m_items % 12, folder, 460'000'000 + m_items});
    m_database.insert("item_extra", {id, title, bytes / 32, file, bytes, kind});
}

void Library::addKind(const Kind &kind, std::uint64_t kindNumber)
{
    Dice dice = m_builder.dice(fmt::format("{}.{}", kind.name, kind.extension));
    const std::uint64_t count = m_builder.count(kind.count, 2);
    // A folder after the other, each with every fiftieth file.
    for (std::uint64_t folder = 0; folder < kFolders && folder < count; ++folder) {
        const std::string base = fmt::format("iTunes_Control/{}/F{:02}", kind.name, folder);
        const std::int64_t folderId = addFolder(base);
        for (std::uint64_t number = folder; number < count; number += kFolders) {
            const std::string file = fmt::format("{}.{}", fileStem(number), kind.extension);
            const std::uint64_t sizeBytes = dice.between(kind.leastBytes, kind.mostBytes);
            const std::string title =
                number < 2 ? fmt::format("{}, twice", kind.name) : songTitle(number, dice);
            addItem(folderId, file, title, sizeBytes, kindNumber);
            m_builder.file(fmt::format("{}{}/{}", kMedia, base, file), sizeBytes,
                           fmt::format("iTunes/{}/{}", kind.name, title));
        }
    }
}

void Library::addGone()
{
    const std::int64_t folder = addFolder("iTunes_Control/Music/F49");
    const std::uint64_t count = m_builder.count(6, 2);
    for (std::uint64_t number = 0; number < count; ++number) {
        addItem(folder, fmt::format("GONE{}.mp3", number), fmt::format("Gone {}", number), 5'000'000, 0);
    }
}

// Beside the library, and in none of its rows.
void addUnlisted(SampleBuilder &builder)
{
    Dice dice = builder.dice("artwork");
    const std::uint64_t artworks = builder.count(60, 2);
    for (std::uint64_t number = 0; number < artworks; ++number) {
        const std::string below =
            fmt::format("iTunes/Artwork/Originals/{:02x}/{}", number % 64, dice.hex(40));
        const std::uint64_t sizeBytes = dice.between(20'000, 400'000);
        builder.file(kControl + below, sizeBytes, "iTunes/" + below);
    }
    for (const char *below :
         {"iTunes/ArtworkDB", "iTunes/iTunesPrefs", "Music/F00/ZZZZZ.mp3", "Device/Trainer/trainer.dat"}) {
        const std::uint64_t sizeBytes = dice.between(10'000, 900'000);
        builder.file(kControl + below, sizeBytes, std::string("iTunes/") + below);
    }
}

void addRingtones(SampleBuilder &builder)
{
    static constexpr std::array<std::string_view, 6> kNames = {
        "Doorbell", "Glockenspiel in Fis", "Harp, rising", "Crickets", "Übung", "夜明け"};
    Dice dice = builder.dice("ringtones");
    SampleList ringtones;
    const std::uint64_t count = builder.count(14, kNames.size());
    for (std::uint64_t number = 0; number < count; ++number) {
        const std::string file = fileStem(number + 11) + ".m4r";
        const std::uint64_t sizeBytes = dice.between(200'000, 900'000);
        std::string name(kNames[number % kNames.size()]);
        if (number >= kNames.size()) {
            name += fmt::format(" {}", number / kNames.size() + 1);
        }
        ringtones.set(
            file, SampleList(
                      {{"GUID", dice.hex(16)}, {"Name", name}, {"Total Time", dice.between(5'000, 30'000)}}));
        builder.file(kControl + "Ringtones/" + file, sizeBytes, "iTunes/Ringtones/" + name);
    }
    ringtones.set(
        "GONE.m4r",
        SampleList({{"GUID", dice.hex(16)}, {"Name", "Gone"}, {"Total Time", std::uint64_t{9'000}}}));
    builder.file(kControl + "Ringtones/unlisted.m4r", 345'678, "iTunes/Ringtones/unlisted.m4r");
    SampleList list;
    list.set("Ringtones", std::move(ringtones));
    builder.write(kControl + "iTunes/Ringtones.plist", list.bytes(SampleList::Form::Binary),
                  "iTunes/iTunes/Ringtones.plist");
}

// Not read by anybody yet, but a database as it should be.
void addPhotoLibrary(SampleBuilder &builder)
{
    const std::string path = kMedia + "PhotoData/Photos.sqlite";
    SampleDatabase database(builder.hostPath(path), "CREATE TABLE ZGENERICASSET (Z_PK INTEGER PRIMARY KEY, "
                                                    "ZDIRECTORY TEXT, ZFILENAME TEXT, ZUUID TEXT);");
    for (std::int64_t number = 1; number <= 20; ++number) {
        database.insert("ZGENERICASSET", {number, "DCIM/100APPLE", fmt::format("IMG_{:04}.JPG", number),
                                          fmt::format("5A3B0C1D-0000-4000-8000-{:012}", number)});
    }
    database.close();
    builder.planFile(path, "Photos/Meta Data/Photos.sqlite");
}

} // namespace

void addSampleMedia(SampleBuilder &builder)
{
    Library library(builder);
    for (std::size_t kind = 0; kind < kKinds.size(); ++kind) {
        library.addKind(kKinds[kind], kind);
    }
    library.addGone();
    library.finish();
    addUnlisted(builder);
    addRingtones(builder);
    addPhotoLibrary(builder);
}

} // namespace slicewise
