#include "tests/support/SampleList.h"
#include "tests/support/SampleParts.h"

#include <fmt/format.h>

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace slicewise {

namespace {

/// Many files of one kind. In `below` each "*" is the number of the file, "#" that of its group, "%" a word
/// for its group, and "@" an identifier.
struct Bulk {
    std::string_view place;
    std::string_view category; ///< in place of `place`
    std::string_view below;
    double count; ///< at scale 1
    std::uint64_t perGroup;
    std::uint64_t leastKiB;
    std::uint64_t mostKiB;
};

constexpr std::string_view kMobile = "/private/var/mobile/Library/";

constexpr std::array kBulks = {
    // The operating system.
    Bulk{"/System/", "Operating System/System/", "Library/Caches/com.apple.dyld/shared_cache_armv7.*", 1, 1,
         300'000, 320'000},
    Bulk{"/System/", "Operating System/System/", "Library/Frameworks/%Kit.framework/Part*.nib", 180, 12, 2,
         900},
    Bulk{"/System/", "Operating System/System/", "Library/PrivateFrameworks/%Services.framework/res*@2x.png",
         160, 16, 2, 400},
    Bulk{"/System/", "Operating System/System/", "Library/Audio/UISounds/%/sound*.caf", 60, 20, 8, 300},
    Bulk{"/System/", "Operating System/System/", "Library/Fonts/Cache/%*.ttf", 70, 1, 200, 16'000},
    Bulk{"/System/", "Operating System/System/", "Library/CoreServices/%.app/item*.strings", 60, 15, 1, 60},
    Bulk{"/System/", "Operating System/System/", "Library/Linguistics/Data/lexicon*.dat", 24, 24, 500,
         30'000},
    Bulk{"/System/", "Operating System/System/", "Library/LaunchDaemons/com.system.%.*.plist", 40, 1, 1, 4},
    Bulk{"/usr/", "Operating System/usr/", "lib/system%*.dylib", 60, 1, 20, 4'000},
    Bulk{"/usr/", "Operating System/usr/", "libexec/%d*", 30, 1, 20, 900},
    Bulk{"/usr/", "Operating System/usr/", "share/%/data*.tab", 40, 10, 1, 400},
    Bulk{"/bin/", "Operating System/bin/", "tool*", 6, 6, 15, 200},
    Bulk{"/sbin/", "Operating System/sbin/", "mount_%*", 6, 1, 15, 120},
    Bulk{"/boot/", "Operating System/boot/", "kernel.*", 1, 1, 9'000, 12'000},
    Bulk{"/lib/", "Operating System/lib/", "%*.tbd", 3, 1, 1, 8},
    Bulk{"/Library/", "Operating System/Library/", "Wallpapers/%*.cpbitmap", 20, 1, 2'000, 12'000},
    Bulk{"/Library/", "Operating System/Library/", "Audio/%/tone*.aif", 16, 8, 100, 2'500},
    Bulk{"/private/var/stash/", "Operating System/private/var/stash/", "Ringtones/%*.m4r", 25, 1, 150, 700},
    Bulk{"/private/var/stash/", "Operating System/private/var/stash/", "include/%/part*.h", 20, 5, 1, 30},
    Bulk{"/Developer/", "Developer Partition/", "Library/Frameworks/%Testing.framework/part*", 24, 8, 10,
         900},
    Bulk{"/Developer/", "Developer Partition/", "usr/bin/%*", 14, 1, 30, 1'800},
    // What comes and goes.
    Bulk{"/private/var/mobile/Library/Caches/", "Temporary Data/private/var/mobile/Library/Caches/",
         "com.apple.%/fsCachedData/@", 240, 30, 1, 6'000},
    Bulk{"/private/var/mobile/Library/Caches/", "Temporary Data/private/var/mobile/Library/Caches/",
         "Snapshots/com.example.%/shot*@2x.jpg", 60, 4, 60, 700},
    Bulk{"/private/var/mobile/Library/Caches/", "Temporary Data/private/var/mobile/Library/Caches/",
         "Maps/Tiles/tile*.tiles", 12, 12, 2'000, 60'000},
    Bulk{"/private/var/tmp/", "Temporary Data/private/var/tmp/", "download-%/part*.tmp", 18, 3, 10, 30'000},
    Bulk{"/private/var/logs/", "Logs/logs/", "%/system.log.*", 20, 5, 4, 900},
    Bulk{"/private/var/mobile/Library/Logs/", "Logs/mobile/Library/Logs/", "CrashReporter/%_*.ips", 44, 1, 8,
         400},
    // What belongs to the user.
    Bulk{kMobile, "User Library/", "AddressBook/%/Image*.jpg", 20, 20, 20, 400},
    Bulk{kMobile, "User Library/", "Calendar/Attachments/@/item*.ics", 16, 1, 1, 40},
    Bulk{kMobile, "User Library/", "Mail/IMAP-%/Messages/*.emlx", 130, 45, 2, 3'000},
    Bulk{kMobile, "User Library/", "Safari/Thumbnails/@.png", 30, 1, 20, 300},
    Bulk{kMobile, "User Library/", "Preferences/com.apple.%.*.plist", 60, 1, 1, 20},
    Bulk{kMobile, "User Library/", "Voicemail/*.amr", 12, 12, 10, 300},
    Bulk{kMobile, "User Library/", "Keyboard/%-dynamic-*.dat", 6, 1, 30, 500},
    Bulk{"/private/var/mobile/Media/Books/", "Books/", "Purchases/%*.epub", 34, 1, 300, 24'000},
    Bulk{"/private/var/mobile/Media/Books/", "Books/", "Managed/Grundriß der %*.pdf", 6, 1, 2'000, 90'000},
    Bulk{"/private/var/mobile/Media/PhotoData/", "Photos/Meta Data/", "Thumbnails/V2/DCIM/100APPLE/T*.ithmb",
         100, 100, 20, 600},
    Bulk{"/private/var/mobile/Media/PhotoData/", "Photos/Meta Data/", "Metadata/DCIM/10#APPLE/IMG_*.aae", 50,
         25, 1, 6},
    Bulk{"/private/var/mobile/Media/PhotoStreamsData/", "Photos/Streams/", "1184267/10#APPLE/IMG_*.JPG", 60,
         30, 900, 3'500},
    Bulk{"/private/var/mobile/Media/Downloads/", "Downloads/", "%-*.zip", 14, 1, 500, 90'000},
    Bulk{"/private/var/mobile/Media/ROMs/", "ROMs/", "%/cartridge*.gba", 26, 7, 4'096, 32'768},
    Bulk{"/private/var/mobile/Media/Recordings/", "Recordings/", "20151008 0831*.m4a", 16, 16, 200, 24'000},
    // What the package manager keeps; its database is the packages' part.
    Bulk{"/private/var/cache/apt/", "Cydia Data/cache/apt/", "archives/com.example.%_1.*_iphoneos-arm.deb",
         22, 1, 12, 6'000},
    Bulk{"/private/var/cache/apt/", "Cydia Data/cache/apt/", "*pkgcache.bin", 2, 2, 4'000, 9'000},
    Bulk{"/private/var/lib/", "Cydia Data/lib/", "apt/lists/%_Packages*", 12, 1, 100, 4'000},
    Bulk{"/private/var/lib/", "Cydia Data/lib/", "cydia/%*.cache", 3, 1, 50, 900},
    // Filed nowhere in particular.
    Bulk{"/", "Others/", "private/etc/racoon/%*.conf", 8, 1, 1, 8},
    Bulk{"/", "Others/", "private/var/db/timezone/%/zone*", 50, 10, 1, 4},
    Bulk{"/", "Others/", "private/var/Keychains/%*.keys", 3, 1, 100, 900},
    Bulk{"/", "Others/", "private/var/root/Library/Lockdown/%*.pem", 6, 1, 1, 4},
    Bulk{"/", "Others/", "private/var/wireless/Library/Databases/%*.dat", 4, 1, 60, 500},
    Bulk{"/", "Others/", "private/var/mobile/Media/Safari/goog-%*.dat", 2, 1, 4'000, 9'000},
    Bulk{"/", "Others/", "Applications/Mobile%.app/asset*@2x.png", 90, 9, 2, 900},
};

std::string wordOf(std::uint64_t group)
{
    static constexpr std::array<std::string_view, 24> kWords = {
        "Amber",  "Birch",   "Cobalt",  "Dune",   "Ember", "Fjord",  "Garnet", "Harbor",
        "Indigo", "Juniper", "Kelp",    "Linden", "Maple", "Nimbus", "Onyx",   "Prairie",
        "Quartz", "Reed",    "Saffron", "Timber", "Umber", "Velvet", "Willow", "Zephyr"};
    const std::string word(kWords[group % kWords.size()]);
    return group < kWords.size() ? word : fmt::format("{}{}", word, group / kWords.size() + 1);
}

std::string fill(std::string_view pattern, std::uint64_t number, std::uint64_t group, Dice &dice)
{
    std::string filled;
    for (const char byte : pattern) {
        switch (byte) {
        case '*':
            filled += fmt::format("{:03}", number + 1);
            break;
        case '#':
            filled += std::to_string(group);
            break;
        case '%':
            filled += wordOf(group);
            break;
        case '@':
            filled += dice.uuid();
            break;
        default:
            filled += byte;
        }
    }
    return filled;
}

std::string anyList(std::uint64_t number, std::uint64_t value)
{
    return SampleList({{"Label", fmt::format("item {}", number)}, {"Value", value}})
        .bytes(number % 2 == 0 ? SampleList::Form::Binary : SampleList::Form::Xml);
}

void addBulk(SampleBuilder &builder, const Bulk &bulk)
{
    Dice dice = builder.dice(std::string(bulk.place) + std::string(bulk.below));
    const std::uint64_t count = builder.count(bulk.count);
    for (std::uint64_t number = 0; number < count; ++number) {
        const std::string below = fill(bulk.below, number, number / bulk.perGroup, dice);
        const std::uint64_t sizeBytes = dice.between(bulk.leastKiB * 1024, bulk.mostKiB * 1024);
        const std::string path = std::string(bulk.place) + below;
        const std::string category = std::string(bulk.category) + below;
        if (below.ends_with(".plist")) {
            builder.write(path, anyList(number, sizeBytes), category);
        } else {
            builder.file(path, sizeBytes, category);
        }
    }
}

// Numbered through, nine hundred and ninety-nine in a folder, as cameras do.
void addPictures(SampleBuilder &builder)
{
    constexpr std::uint64_t kInAFolder = 999;
    Dice dice = builder.dice("pictures");
    const std::uint64_t count = builder.count(860, 20);
    for (std::uint64_t number = 0; number < count; ++number) {
        const bool moves = number % 15 == 14;
        const bool edited = number % 20 == 3;
        const std::string folder = fmt::format("{}APPLE/", 100 + number / kInAFolder);
        const std::string stem = fmt::format("{}IMG_{:04}", folder, number % kInAFolder + 1);
        const auto add = [&](const std::string &name, std::uint64_t sizeBytes) {
            builder.file("/private/var/mobile/Media/DCIM/" + name, sizeBytes, "Photos/" + name);
        };
        if (moves) {
            add(stem + ".MOV", dice.between(12'000'000, 130'000'000));
        } else {
            add(stem + ".JPG", dice.between(1'400'000, 3'900'000));
        }
        if (edited) {
            add(stem + ".AAE", dice.between(400, 3'000));
        }
    }
}

void addLists(SampleBuilder &builder)
{
    builder.write("/System/Library/CoreServices/SystemVersion.plist",
                  SampleList({{"ProductBuildVersion", "13A452"},
                              {"ProductCopyright", "1983-2015"},
                              {"ProductName", "iPhone OS"},
                              {"ProductVersion", "9.0.2"}})
                      .bytes(SampleList::Form::Xml),
                  "Operating System/System/Library/CoreServices/SystemVersion.plist");
    builder.write("/private/var/mobile/Library/Preferences/com.apple.mobilephone.plist",
                  SampleList({{"LastVersion", "9.0.2"}, {"RecentsCount", std::uint64_t{12}}})
                      .bytes(SampleList::Form::Binary),
                  "User Library/Preferences/com.apple.mobilephone.plist");
}

// Texts of a few lines.
void addTexts(SampleBuilder &builder)
{
    builder.write("/private/etc/hosts", "127.0.0.1 localhost\n::1 localhost\n", "Others/private/etc/hosts");
    builder.write("/private/etc/fstab",
                  "/dev/disk0s1s1 / hfs rw 0 1\n/dev/disk0s1s2 /private/var hfs rw 0 2\n",
                  "Others/private/etc/fstab");
    builder.write("/private/etc/passwd",
                  "root:*:0:0:System Administrator:/var/root:/bin/sh\n"
                  "mobile:*:501:501:Mobile User:/var/mobile:/bin/sh\n",
                  "Others/private/etc/passwd");
    builder.write("/private/var/logs/empty.log", "", "Logs/logs/empty.log");
}

void addLinks(SampleBuilder &builder)
{
    builder.link("/var", "private/var");
    builder.link("/etc", "private/etc");
    builder.link("/tmp", "private/var/tmp");
    builder.link("/Library/Ringtones", "../private/var/stash/Ringtones");
    // From the device's "/", not from the host's; and by way of another link.
    builder.link("/usr/include", "/var/stash/include");
    builder.link("/private/var/mobile/Library/Logs/latest", "CrashReporter");
    builder.link("/private/var/mobile/Library/Caches/nowhere", "/private/var/mobile/gone");
    builder.directory("/mnt");
    builder.directory("/dev");
}

} // namespace

void addSamplePlaces(SampleBuilder &builder)
{
    for (const Bulk &bulk : kBulks) {
        addBulk(builder, bulk);
    }
    addPictures(builder);
    addLists(builder);
    addTexts(builder);
    addLinks(builder);
}

} // namespace slicewise
