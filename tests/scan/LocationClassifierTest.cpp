// The well-known places, and everything else.
#include "scan/LocationClassifier.h"

#include "tests/scan/TestSize.h"
#include "tests/support/TreeText.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <vector>

namespace slicewise {

namespace {

struct Example {
    std::string path;
    std::string category;
};

/// The rules once more, in the form in which one would tell them to somebody: any of the prefixes, a text
/// with a gap, and where in the path begins what fills the gap.
struct Told {
    std::vector<std::string> prefixes;
    std::string format;
    std::size_t from;
};

const std::vector<Told> &rulesAsTold()
{
    static const std::vector<Told> kRules = {
        {{"/bin/", "/boot/", "/lib/", "/sbin/", "/System/", "/usr/", "/Library/", "/private/var/stash/"},
         "Operating System%@",
         0},
        {{"/private/var/mobile/Library/Caches/", "/private/var/tmp/"}, "Temporary Data%@", 0},
        {{"/private/var/mobile/Library/SMS/"}, "Messages/%@", 32},
        {{"/Developer/"}, "Developer Partition/%@", 11},
        {{"/private/var/lib/", "/private/var/cache/apt/"}, "Cydia Data/%@", 13},
        {{"/private/var/logs/", "/private/var/mobile/Library/Logs/"}, "Logs/%@", 13},
        {{"/private/var/mobile/Library/"}, "User Library/%@", 28},
        {{"/private/var/mobile/Media/Books/"}, "Books/%@", 32},
        {{"/private/var/mobile/Media/DCIM/"}, "Photos/%@", 31},
        {{"/private/var/mobile/Media/Downloads/"}, "Downloads/%@", 36},
        {{"/private/var/mobile/Media/PhotoData/"}, "Photos/Meta Data/%@", 36},
        {{"/private/var/mobile/Media/PhotoStreamsData/"}, "Photos/Streams/%@", 43},
        {{"/private/var/mobile/Media/ROMs/"}, "ROMs/%@", 31},
        {{"/private/var/mobile/Media/Recordings/"}, "Recordings/%@", 37},
        {{"/private/var/mobile/Media/iTunes_Control/"}, "iTunes/%@", 41},
    };
    return kRules;
}

std::optional<std::string> classifyAsTold(const std::string &path)
{
    for (const Told &rule : rulesAsTold()) {
        for (const std::string &prefix : rule.prefixes) {
            if (path.compare(0, prefix.size(), prefix) == 0) {
                std::string category = rule.format;
                return category.replace(category.find("%@"), 2, path.substr(rule.from));
            }
        }
    }
    return std::nullopt;
}

class RandomPaths {
public:
    explicit RandomPaths(std::uint64_t seed) : m_random(seed)
    {
        for (const Told &rule : rulesAsTold()) {
            m_prefixes.insert(m_prefixes.end(), rule.prefixes.begin(), rule.prefixes.end());
        }
    }

    /// A directory: a place, something near one, or anything.
    std::string directory()
    {
        std::string path = m_prefixes.at(below(m_prefixes.size()));
        path.pop_back();
        switch (below(6)) {
        case 0:
            path = path.substr(0, path.rfind('/'));
            break;
        case 1:
            path.at(below(path.size() - 1) + 1) = 'L';
            break;
        case 2:
            path += "x";
            break;
        case 3:
            path = "/x" + path;
            break;
        default:
            break;
        }
        for (std::uint64_t more = below(4); more > 0; --more) {
            path += "/" + name();
        }
        return path.empty() ? "/" : path;
    }

    std::string name()
    {
        static const std::array<std::string, 9> kNames = {"Caches", "SMS",  "Logs", "a.png",  "apt",
                                                          "%@",     "\xff", "lib",  "Library"};
        return kNames.at(below(kNames.size()));
    }

private:
    std::uint64_t below(std::uint64_t end) { return m_random() % end; }

    std::mt19937_64 m_random;
    std::vector<std::string> m_prefixes;
};

std::string inside(const std::string &directory, const std::string &name)
{
    return directory == "/" ? "/" + name : directory + "/" + name;
}

/// What the answer for a directory says about one of its files.
std::optional<std::string> ofFile(const DirectoryAnswer &answer, const std::string &name)
{
    EXPECT_NE(answer.kind, DirectoryAnswer::Kind::AskByFile);
    if (answer.kind == DirectoryAnswer::Kind::Takes) {
        return answer.category + "/" + name;
    }
    return std::nullopt;
}

} // namespace

TEST(Location, knowsEveryPlace)
{
    const std::vector<Example> examples = {
        {"/bin/sh", "Operating System/bin/sh"},
        {"/boot/kernel", "Operating System/boot/kernel"},
        {"/lib/a", "Operating System/lib/a"},
        {"/sbin/mount", "Operating System/sbin/mount"},
        {"/System/Library/x", "Operating System/System/Library/x"},
        {"/usr/lib/libz.dylib", "Operating System/usr/lib/libz.dylib"},
        {"/Library/Fonts/a.ttf", "Operating System/Library/Fonts/a.ttf"},
        {"/private/var/stash/a/b", "Operating System/private/var/stash/a/b"},
        {"/private/var/mobile/Library/Caches/com.x/y",
         "Temporary Data/private/var/mobile/Library/Caches/com.x/y"},
        {"/private/var/tmp/a", "Temporary Data/private/var/tmp/a"},
        {"/private/var/mobile/Library/SMS/sms.db", "Messages/sms.db"},
        {"/Developer/usr/bin/x", "Developer Partition/usr/bin/x"},
        {"/private/var/lib/dpkg/status", "Cydia Data/lib/dpkg/status"},
        {"/private/var/cache/apt/pkgcache.bin", "Cydia Data/cache/apt/pkgcache.bin"},
        {"/private/var/logs/AppleSupport/a", "Logs/logs/AppleSupport/a"},
        {"/private/var/mobile/Library/Logs/CrashReporter/a.ips",
         "Logs/mobile/Library/Logs/CrashReporter/a.ips"},
        {"/private/var/mobile/Library/Mail/a", "User Library/Mail/a"},
        {"/private/var/mobile/Media/Books/a.epub", "Books/a.epub"},
        {"/private/var/mobile/Media/DCIM/100APPLE/IMG_0001.JPG", "Photos/100APPLE/IMG_0001.JPG"},
        {"/private/var/mobile/Media/Downloads/a.zip", "Downloads/a.zip"},
        {"/private/var/mobile/Media/PhotoData/Photos.sqlite", "Photos/Meta Data/Photos.sqlite"},
        {"/private/var/mobile/Media/PhotoStreamsData/1/a", "Photos/Streams/1/a"},
        {"/private/var/mobile/Media/ROMs/a.gba", "ROMs/a.gba"},
        {"/private/var/mobile/Media/Recordings/a.m4a", "Recordings/a.m4a"},
        {"/private/var/mobile/Media/iTunes_Control/Music/F00/A.mp3", "iTunes/Music/F00/A.mp3"},
    };
    for (const Example &example : examples) {
        EXPECT_EQ(classifyLocation(example.path), example.category);
    }
}

TEST(Location, declinesWhatOnlyLooksLikeAPlace)
{
    for (const std::string path : {"/Library",
                                   "/usr",
                                   "/usrx/a",
                                   "/bin",
                                   "/developer/a",
                                   "/USR/a",
                                   "/system/a",
                                   "/var/mobile/x",
                                   "/var/lib/dpkg/status",
                                   "/private/var/mobile/Library",
                                   "/private/var/mobile/Media/a",
                                   "/private/var/mobile/Media/Books",
                                   "/private/var/mobile/Media/Book/a",
                                   "/private/var/cache/aptitude/a",
                                   "/private/var/cache/a",
                                   "/private/var/log/a",
                                   "/private/var/root/x",
                                   "/private/var/a",
                                   "/x/usr/lib/a",
                                   "//usr/lib/a",
                                   "usr/lib/a",
                                   "/etc/passwd",
                                   "/a",
                                   "/",
                                   ""}) {
        EXPECT_EQ(classifyLocation(path), std::nullopt) << path;
    }
}

TEST(Location, triesTheSpecialPlacesOfALibraryBeforeTheLibrary)
{
    const std::string library = "/private/var/mobile/Library/";
    EXPECT_EQ(classifyLocation(library + "Caches/a"), "Temporary Data" + library + "Caches/a");
    EXPECT_EQ(classifyLocation(library + "SMS/a"), "Messages/a");
    EXPECT_EQ(classifyLocation(library + "Logs/a"), "Logs/mobile/Library/Logs/a");
    // Without the "/" behind it they are files of the library, whatever they are called.
    EXPECT_EQ(classifyLocation(library + "Caches"), "User Library/Caches");
    EXPECT_EQ(classifyLocation(library + "SMS"), "User Library/SMS");
    EXPECT_EQ(classifyLocation(library + "LogsX/a"), "User Library/LogsX/a");
}

TEST(Location, keepsHostileBytesAsTheyAre)
{
    EXPECT_EQ(classifyLocation("/usr/%@\n\xff//"), "Operating System/usr/%@\n\xff//");
    EXPECT_EQ(classifyLocation("/Developer/%@"), "Developer Partition/%@");
}

TEST(Location, agreesWithTheRulesAsTheyAreToldOnRandomPaths)
{
    RandomPaths paths(1);
    unsigned matches = 0;
    for (std::uint64_t i = 0; i < 20'000 * testSize(); ++i) {
        const std::string path = inside(paths.directory(), paths.name());
        const std::optional<std::string> category = classifyLocation(path);
        matches += category ? 1U : 0U;
        ASSERT_EQ(category, classifyAsTold(path)) << asciiText(path);
    }
    EXPECT_GT(matches, 1000U); // or the paths prove nothing
}

TEST(Location, answersForADirectoryWhatItAnswersForEachOfItsFiles)
{
    RandomPaths paths(2);
    for (std::uint64_t i = 0; i < 20'000 * testSize(); ++i) {
        const std::string directory = paths.directory();
        const std::string name = paths.name();
        const std::string path = inside(directory, name);
        ASSERT_EQ(ofFile(classifyLocationOfDirectory(directory), name), classifyLocation(path))
            << asciiText(path);
        ASSERT_EQ(ofFile(classifyOtherOfDirectory(directory), name), classifyOther(path)) << asciiText(path);
    }
}

TEST(Location, answersForTheRootAndForThePlacesThemselves)
{
    EXPECT_EQ(ofFile(classifyLocationOfDirectory("/"), "usr"), std::nullopt);
    EXPECT_EQ(ofFile(classifyOtherOfDirectory("/"), "usr"), "Others/usr");
    EXPECT_EQ(ofFile(classifyLocationOfDirectory("/usr"), "a"), "Operating System/usr/a");
    EXPECT_EQ(ofFile(classifyLocationOfDirectory("/Developer"), "a"), "Developer Partition/a");
    EXPECT_EQ(ofFile(classifyLocationOfDirectory("/private/var/mobile/Media/PhotoData"), "a"),
              "Photos/Meta Data/a");
    EXPECT_EQ(ofFile(classifyLocationOfDirectory("/private/var/lib"), "a"), "Cydia Data/lib/a");
}

TEST(Other, takesEverythingUnderItsWholePath)
{
    EXPECT_EQ(classifyOther("/private/var/root/x"), "Others/private/var/root/x");
    EXPECT_EQ(classifyOther("/usr/lib/a"), "Others/usr/lib/a");
    EXPECT_EQ(classifyOther("/a"), "Others/a");
    EXPECT_EQ(classifyOther(""), "Others");
}

} // namespace slicewise
