#include "tests/support/SampleList.h"
#include "tests/support/SampleParts.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace slicewise {

namespace {

const std::string kOlder = "/private/var/mobile/Applications/";
const std::string kContainers = "/private/var/mobile/Containers/";

struct Title {
    std::string_view shown;
    std::string_view bundle; ///< what its bundle is called, without ".app"
};

constexpr std::array kTitles = {
    Title{"Notebook", "Notebook"},
    Title{"Übersicht", "Uebersicht"},
    Title{"Tide Tables", "TideTables"},
    Title{"天気予報", "Weather"},
    Title{"Café Finder", "CafeFinder"},
    Title{"Chess Clock", "ChessClock"},
    Title{"Éditeur de photos", "PhotoEditor"},
    Title{"The Complete and Unabridged Travelling Companion for Trains, Ferries and Cable Cars", "Companion"},
    Title{"Παζλ", "Pazl"},
    Title{"Metronome", "Metronome"},
    Title{"Star Map", "StarMap"},
    Title{"Rocket Garden", "RocketGarden"},
    Title{"Πλοία & Λιμάνια", "Ships"},
    Title{"Grocery List", "Groceries"},
    Title{"Маршрут", "Marshrut"},
    Title{"Pinball 1972", "Pinball"},
    Title{"Sleep Diary", "SleepDiary"},
    Title{"Bird Songs 🐦", "BirdSongs"},
    Title{"Unit Converter", "Converter"},
    Title{"Ledger", "Ledger"},
    Title{"Dungeon of the Clockmaker", "Clockmaker"},
    Title{"Scanner", "Scanner"},
    Title{"Wörterbuch", "Woerterbuch"},
    Title{"Radio Nord", "RadioNord"},
};

/// How an application is described. In the older layout they take turns, each once before the plain ones.
enum class Shape : std::uint8_t {
    TwoBundles,    ///< so that neither of them names it
    NoDisplayName, ///< in its bundle's list
    NoLists,       ///< nothing names it
    UpperCase,     ///< its bundle ends in ".APP"
    NoItemName,    ///< neither a display name nor an item name
    NoMetadata,    ///< only its bundle names it
    Plain,
};

struct Application {
    std::string id;
    std::string bundle; ///< with its ending
    std::string shown;  ///< what its bundle would be called
    std::string item;   ///< what the store calls it
    std::string identifier;
    Shape shape = Shape::Plain;
    SampleList::Form form = SampleList::Form::Binary;
    bool isLarge = false;
};

Application applicationOf(std::uint64_t number, Shape shape, Dice &dice)
{
    const Title &title = kTitles[number % kTitles.size()];
    const std::uint64_t round = number / kTitles.size();
    Application application;
    application.id = dice.uuid();
    application.shown = title.shown;
    application.bundle = title.bundle;
    if (round > 0) {
        application.shown += fmt::format(" {}", round + 1);
        application.bundle += std::to_string(round + 1);
    }
    application.identifier = "com.example." + application.bundle;
    application.bundle += shape == Shape::UpperCase ? ".APP" : ".app";
    application.item = application.shown + " – every day";
    application.shape = shape;
    application.form = number % 2 == 0 ? SampleList::Form::Binary : SampleList::Form::Xml;
    application.isLarge = number % 6 == 5;
    return application;
}

std::string bundleList(const Application &application)
{
    SampleList list({{"CFBundleExecutable", application.bundle.substr(0, application.bundle.size() - 4)},
                     {"CFBundleIdentifier", application.identifier},
                     {"CFBundleShortVersionString", "2.1"},
                     {"CFBundleSupportedPlatforms", std::vector<std::string>{"iPhoneOS"}},
                     {"MinimumOSVersion", "7.0"}});
    if (application.shape != Shape::NoDisplayName && application.shape != Shape::NoItemName) {
        list.set("CFBundleDisplayName", application.shown);
    }
    return list.bytes(application.form);
}

std::string metadataList(const Application &application)
{
    SampleList list({{"artistName", "Example Software"},
                     {"bundleVersion", "2.1"},
                     {"genre", "Utilities"},
                     {"itemId", std::uint64_t{480'000'000 + application.item.size()}},
                     {"softwareVersionBundleId", application.identifier}});
    if (application.shape != Shape::NoItemName) {
        list.set("itemName", application.item);
    }
    return list.bytes(application.form);
}

/// What an application is called in the older layout.
std::string nameOfOlder(const Application &application)
{
    switch (application.shape) {
    case Shape::TwoBundles:
    case Shape::NoDisplayName:
        return application.item;
    case Shape::NoLists:
    case Shape::NoItemName:
        return application.id;
    case Shape::UpperCase:
    case Shape::NoMetadata:
    case Shape::Plain:
        break;
    }
    return application.shown;
}

/// A directory, and the category of what is in it.
struct Place {
    std::string path;
    std::string category;

    [[nodiscard]] Place below(std::string_view name) const
    {
        return {.path = fmt::format("{}/{}", path, name), .category = fmt::format("{}/{}", category, name)};
    }
};

class Writer {
public:
    Writer(SampleBuilder &builder, Dice &dice) : m_builder(builder), m_dice(dice) {}

    void file(const Place &place, std::uint64_t leastBytes, std::uint64_t mostBytes)
    {
        const std::uint64_t sizeBytes = m_dice.between(leastBytes, mostBytes);
        m_builder.file(place.path, sizeBytes, place.category);
    }
    void list(const Place &place, std::string_view bytes)
    {
        m_builder.write(place.path, bytes, place.category);
    }

    void addBundle(const Place &bundle, const Application &application);
    void addData(const Place &home);
    void directory(const Place &place) { m_builder.directory(place.path); }
    std::uint64_t between(std::uint64_t least, std::uint64_t most) { return m_dice.between(least, most); }

private:
    SampleBuilder &m_builder;
    Dice &m_dice;
};

void Writer::addBundle(const Place &bundle, const Application &application)
{
    if (application.shape != Shape::NoLists) {
        list(bundle.below("Info.plist"), bundleList(application));
    }
    const std::string executable = application.bundle.substr(0, application.bundle.size() - 4);
    file(bundle.below(executable), 3'000'000, 40'000'000);
    file(bundle.below("Assets.car"), 1'000'000, 50'000'000);
    file(bundle.below("_CodeSignature/CodeResources"), 4'000, 90'000);
    file(bundle.below("en.lproj/Localizable.strings"), 1'000, 60'000);
    file(bundle.below("de.lproj/Localizable.strings"), 1'000, 60'000);
    const std::uint64_t pictures = between(4, 16);
    for (std::uint64_t number = 0; number < pictures; ++number) {
        file(bundle.below(fmt::format("Image{:02}@2x.png", number)), 20'000, 2'500'000);
    }
    if (application.isLarge) {
        file(bundle.below("Data/levels.pak"), 300'000'000, 900'000'000);
    }
}

void Writer::addData(const Place &home)
{
    const std::uint64_t documents = between(1, 5);
    for (std::uint64_t number = 0; number < documents; ++number) {
        file(home.below(fmt::format("Documents/Dokument {}.dat", number + 1)), 10'000, 24'000'000);
    }
    const std::uint64_t caches = between(1, 4);
    for (std::uint64_t number = 0; number < caches; ++number) {
        file(home.below(fmt::format("Library/Caches/entry{}.cache", number)), 5'000, 9'000'000);
    }
    list(home.below("Library/Preferences/settings.plist"),
         SampleList({{"launches", caches}, {"language", "de"}}).bytes(SampleList::Form::Binary));
    directory(home.below("tmp"));
}

void addOlder(Writer &writer, const Application &application)
{
    const std::string name = nameOfOlder(application);
    const std::string home = kOlder + application.id;
    const Place program{.path = home, .category = "Applications/" + name};
    const Place data{.path = home, .category = "Application Data/" + name};
    // Only in lower case the ending says that it is a program.
    const Place &aroundBundle = application.shape == Shape::UpperCase ? data : program;
    writer.addBundle(aroundBundle.below(application.bundle), application);
    if (application.shape == Shape::TwoBundles) {
        writer.addBundle(program.below("Helper " + application.bundle), application);
    }
    if (application.shape != Shape::NoLists && application.shape != Shape::NoMetadata) {
        writer.list(program.below("iTunesMetadata.plist"), metadataList(application));
    }
    writer.file(program.below("iTunesArtwork"), 30'000, 300'000);
    writer.addData(data);
}

void addOlderLayout(SampleBuilder &builder)
{
    Dice dice = builder.dice("older applications");
    Writer writer(builder, dice);
    constexpr auto kShapes = static_cast<std::uint64_t>(Shape::Plain);
    const std::uint64_t count = builder.count(24, kShapes + 2);
    for (std::uint64_t number = 0; number < count; ++number) {
        const auto shape = static_cast<Shape>(std::min(number, kShapes));
        addOlder(writer, applicationOf(number, shape, dice));
    }
}

// Bundle and data have identifiers of their own, and nothing that is read leads from one to the other.
void addContained(Writer &writer, const Application &application, const std::string &dataId)
{
    const bool isNamed = application.shape != Shape::NoLists && application.shape != Shape::NoItemName;
    const Place program{.path = kContainers + "Bundle/Application/" + application.id,
                        .category = "Applications/" + (isNamed ? application.item : application.id)};
    writer.addBundle(program.below(application.bundle), application);
    if (application.shape != Shape::NoLists) {
        writer.list(program.below("iTunesMetadata.plist"), metadataList(application));
    }
    writer.file(program.below("iTunesArtwork"), 30'000, 300'000);

    const Place data{.path = kContainers + "Data/Application/" + dataId,
                     .category = "Application Data/" + dataId};
    writer.list(data.below(".com.apple.mobile_container_manager.metadata.plist"),
                SampleList({{"MCMMetadataIdentifier", application.identifier}}).bytes(application.form));
    writer.addData(data);
}

void addContainerLayout(SampleBuilder &builder)
{
    Dice dice = builder.dice("contained applications");
    Writer writer(builder, dice);
    const std::uint64_t count = builder.count(28, 4);
    for (std::uint64_t number = 0; number < count; ++number) {
        const Shape shape = number == 1 ? Shape::NoLists : number == 2 ? Shape::NoItemName : Shape::Plain;
        // Other titles than the older ones have, as long as there are enough of them.
        const Application application = applicationOf(number + kTitles.size() / 2, shape, dice);
        addContained(writer, application, dice.uuid());
    }

    const std::uint64_t others = builder.count(14, 2);
    for (std::uint64_t number = 0; number < others; ++number) {
        const std::string plugin = dice.uuid();
        writer.addData({.path = kContainers + "Data/PluginKitPlugin/" + plugin,
                        .category = "Application Data/" + plugin});
        // What applications share is nobody's data.
        const std::string shared = kContainers + "Shared/AppGroup/" + dice.uuid();
        writer.file(
            {.path = shared + "/Library/shared.dat", .category = "Others" + shared + "/Library/shared.dat"},
            20'000, 6'000'000);
    }
}

} // namespace

void addSampleApplications(SampleBuilder &builder)
{
    addOlderLayout(builder);
    addContainerLayout(builder);
}

} // namespace slicewise
