// The names of applications in both layouts, where their files go, and what is read on the way.
#include "scan/ApplicationClassifier.h"

#include "platform/HostDevice.h"
#include "platform/PropertyList.h"
#include "tests/scan/DirectoryAgreement.h"
#include "tests/scan/PropertyListText.h"
#include "tests/scan/TestSize.h"
#include "tests/support/DiskState.h"
#include "tests/support/TemporaryDirectory.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <stdexcept>

namespace slicewise {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

constexpr const char *kLegacy = "/private/var/mobile/Applications/";
constexpr const char *kContainers = "/private/var/mobile/Containers/";

/// Notes what is listed and opened.
class WatchedDevice final : public Device {
public:
    explicit WatchedDevice(const Device &wrapped) : m_wrapped(wrapped) {}

    [[nodiscard]] std::unique_ptr<DirectoryReader> makeReader() const override
    {
        return m_wrapped.makeReader();
    }
    [[nodiscard]] Result<FileStatus> status(std::string_view path) const override
    {
        return m_wrapped.status(path);
    }
    [[nodiscard]] Result<std::string> resolve(std::string_view path) const override
    {
        return m_wrapped.resolve(path);
    }
    [[nodiscard]] Result<FileSystem> fileSystem(std::string_view path) const override
    {
        return m_wrapped.fileSystem(path);
    }
    [[nodiscard]] std::vector<Mount> mounts() const override { return m_wrapped.mounts(); }
    [[nodiscard]] Result<std::unique_ptr<ReadableFile>> openFile(std::string_view path) const override
    {
        m_used.emplace_back(path);
        return m_wrapped.openFile(path);
    }
    [[nodiscard]] Result<std::vector<std::string>> entryNames(std::string_view path) const override
    {
        m_used.emplace_back(path);
        return m_wrapped.entryNames(path);
    }

    /// Since the last call.
    [[nodiscard]] std::vector<std::string> used() const { return std::exchange(m_used, {}); }

private:
    const Device &m_wrapped;
    mutable std::vector<std::string> m_used;
};

std::string displayName(const std::string &name)
{
    return xmlDictionary("CFBundleDisplayName", "<string>" + name + "</string>");
}
std::string itemName(const std::string &name)
{
    return xmlDictionary("itemName", "<string>" + name + "</string>");
}

class Applications : public ::testing::Test {
protected:
    Applications() { m_root.makeDirectory("private/var/mobile"); }

    void write(const std::string &devicePath, const std::string &content) const
    {
        m_root.writeFile(devicePath.substr(1), content);
    }
    /// An application's list of properties, in the older place or in a container.
    void writeLegacyBundle(const std::string &id, const std::string &bundle, const std::string &list) const
    {
        write(fmt::format("{}{}/{}/Info.plist", kLegacy, id, bundle), list);
    }
    void writeContainerBundle(const std::string &id, const std::string &bundle, const std::string &list) const
    {
        write(fmt::format("{}Bundle/Application/{}/{}/Info.plist", kContainers, id, bundle), list);
    }
    void writeLegacyStore(const std::string &id, const std::string &list) const
    {
        write(fmt::format("{}{}/iTunesMetadata.plist", kLegacy, id), list);
    }
    void writeContainerStore(const std::string &id, const std::string &list) const
    {
        write(fmt::format("{}Bundle/Application/{}/iTunesMetadata.plist", kContainers, id), list);
    }
    /// As one that nothing is known of yet would name it.
    [[nodiscard]] std::string nameOf(const std::string &id) const
    {
        return ApplicationNames(m_device).appDisplayNameForIdentifier(id);
    }

    std::optional<std::string> legacy(const std::string &inner)
    {
        return classifyLegacyApp(m_names, kLegacy + inner);
    }
    std::optional<std::string> container(const std::string &inner)
    {
        return classifyContainerApp(m_names, kContainers + inner);
    }

    TemporaryDirectory m_root;
    std::unique_ptr<HostDevice> m_host = HostDevice::open(m_root.path()).value();
    WatchedDevice m_device{*m_host};
    ApplicationNames m_names{m_device};
};

} // namespace

// ---- the older layout

TEST_F(Applications, areReportedByNameWithWhatWasInstalledApartFromWhatTheyWrote)
{
    writeLegacyBundle("1F-2", "Maps.app", displayName("Maps"));
    EXPECT_EQ(legacy("1F-2/Maps.app/Info.plist"), "Applications/Maps/Maps.app/Info.plist");
    EXPECT_EQ(legacy("1F-2/Documents/a.db"), "Application Data/Maps/Documents/a.db");
    EXPECT_EQ(legacy("1F-2/iTunesArtwork"), "Applications/Maps/iTunesArtwork");
    EXPECT_EQ(legacy("1F-2/iTunesMetadata.plist"), "Applications/Maps/iTunesMetadata.plist");
    EXPECT_EQ(legacy("1F-2/Other.app"), "Applications/Maps/Other.app");
    EXPECT_EQ(legacy("1F-2/Library/Maps.app/x"), "Application Data/Maps/Library/Maps.app/x");
}

TEST_F(Applications, countAsInstalledOnlyUnderTheExactNames)
{
    for (const std::string component : {"Maps.APP", "Maps.App", "Maps.apps", "app", "itunesartwork",
                                        "iTunesArtwork2", "iTunesMetadata.PLIST", "iTunesMetadata"}) {
        EXPECT_EQ(legacy("1/" + component), "Application Data/1/" + component);
    }
    EXPECT_EQ(legacy("1/iTunesArtwork/inside"), "Applications/1/iTunesArtwork/inside");
}

TEST_F(Applications, raiseForAFileThatLiesDirectlyInTheOlderPlace)
{
    EXPECT_THROW(static_cast<void>(legacy("file")), std::out_of_range);
    EXPECT_THROW(static_cast<void>(legacy("Maps.app")), std::out_of_range);
    EXPECT_THAT(m_device.used(), IsEmpty());
}

TEST_F(Applications, ofTheOlderLayoutDeclineEverythingElsewhere)
{
    for (const std::string path : {"/private/var/mobile/Applications", "/private/var/mobile/Application/1/a",
                                   "/private/var/mobile/applications/1/a", "/var/mobile/Applications/1/a",
                                   "/Applications/Maps.app/a", "/x/private/var/mobile/Applications/1/a"}) {
        EXPECT_EQ(classifyLegacyApp(m_names, path), std::nullopt) << path;
        EXPECT_EQ(classifyContainerApp(m_names, path), std::nullopt) << path;
    }
    EXPECT_EQ(classifyLegacyApp(m_names, std::string(kContainers) + "Bundle/Application/1/a"), std::nullopt);
    EXPECT_EQ(classifyContainerApp(m_names, std::string(kLegacy) + "1/2/3/4/a"), std::nullopt);
}

// ---- containers

TEST_F(Applications, inContainersAreInstalledInBundlesAndWriteElsewhere)
{
    writeContainerStore("7A", itemName("Chess"));
    EXPECT_EQ(container("Bundle/Application/7A/Chess.app/Info.plist"),
              "Applications/Chess/Chess.app/Info.plist");
    EXPECT_EQ(container("Bundle/Application/7A/iTunesMetadata.plist"),
              "Applications/Chess/iTunesMetadata.plist");
    EXPECT_EQ(container("Data/Application/7A/Documents/game"), "Application Data/Chess/Documents/game");
    EXPECT_EQ(container("bundle/Application/7A/x"), "Application Data/Chess/x");
    EXPECT_EQ(container("Anything/Else/7A/x/y"), "Application Data/Chess/x/y");
}

TEST_F(Applications, inSharedContainersAreDeclined)
{
    for (const std::string inner :
         {"Shared/AppGroup/1/a", "Shared/a", "Shared", "Shared/PluginKilPlugin/1/a"}) {
        EXPECT_EQ(container(inner), std::nullopt) << inner;
    }
    EXPECT_EQ(container("shared/AppGroup/1/a"), "Application Data/1/a");
}

TEST_F(Applications, declinePlugInsUnderTheOldMisspellingOnly)
{
    EXPECT_EQ(container("Data/PluginKilPlugin/1/a"), std::nullopt);
    EXPECT_EQ(container("Bundle/PluginKilPlugin/1/a"), std::nullopt);
    EXPECT_EQ(container("Bundle/PluginKilPlugin"), std::nullopt);
    EXPECT_EQ(container("Data/PluginKitPlugin/1/a"), "Application Data/1/a");
    EXPECT_EQ(container("PluginKilPlugin/Application/1/a"), "Application Data/1/a");
}

TEST_F(Applications, inContainersRaiseWithFewerThanFourComponents)
{
    for (const std::string inner :
         {"a", "Bundle", "Bundle/a", "Bundle/Application/a", "Data/PluginKitPlugin/a"}) {
        EXPECT_THROW(static_cast<void>(container(inner)), std::out_of_range) << inner;
    }
    EXPECT_THAT(m_device.used(), IsEmpty());
}

// ---- names

TEST_F(Applications, areNamedByTheirBundleAndItIsLookedUpOnce)
{
    writeLegacyBundle("1", "Maps.app", displayName("Karten"));
    writeLegacyBundle("2", "Chess.app", displayName("Chess"));
    EXPECT_EQ(legacy("1/Documents/a"), "Application Data/Karten/Documents/a");
    EXPECT_THAT(m_device.used(),
                ElementsAre(std::string(kLegacy) + "1", std::string(kLegacy) + "1/Maps.app/Info.plist"));
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(legacy(fmt::format("1/Documents/{}", i)),
                  fmt::format("Application Data/Karten/Documents/{}", i));
        EXPECT_EQ(container(fmt::format("Data/Application/1/{}", i)),
                  fmt::format("Application Data/Karten/{}", i));
    }
    EXPECT_THAT(m_device.used(), IsEmpty());
    EXPECT_EQ(legacy("2/a"), "Application Data/Chess/a");
    static_cast<void>(m_device.used());
    EXPECT_EQ(legacy("1/a"), "Application Data/Karten/a");
    EXPECT_EQ(legacy("2/a"), "Application Data/Chess/a");
    EXPECT_THAT(m_device.used(), IsEmpty());
    EXPECT_THAT(m_names.appNameCache(), UnorderedElementsAre(Pair("1", "Karten"), Pair("2", "Chess")));
}

TEST_F(Applications, areNamedByABundleInWhateverCaseItsExtensionIs)
{
    for (const std::string extension : {"app", "APP", "App", "aPP"}) {
        writeLegacyBundle(extension, "Maps." + extension, displayName("Maps"));
        EXPECT_EQ(nameOf(extension), "Maps");
    }
    for (const std::string bundle : {"Maps.apps", "Maps.ap", "app", ".app", "Maps.app.", "Maps.app~"}) {
        writeLegacyBundle("no" + bundle, bundle, displayName("Maps"));
        EXPECT_EQ(nameOf("no" + bundle), "no" + bundle);
    }
}

TEST_F(Applications, withTwoBundlesGoByTheStore)
{
    writeLegacyBundle("1", "Maps.app", displayName("Maps"));
    writeLegacyBundle("1", "Chess.APP", displayName("Chess"));
    writeLegacyStore("1", itemName("Both"));
    writeContainerBundle("1", "Maps.app", displayName("Not looked at"));
    EXPECT_EQ(nameOf("1"), "Both");
}

TEST_F(Applications, withoutABundleGoByTheStore)
{
    writeLegacyStore("1", itemName("From the store"));
    writeContainerBundle("1", "Maps.app", displayName("Not looked at"));
    EXPECT_EQ(nameOf("1"), "From the store");
    EXPECT_THAT(m_device.used(),
                ElementsAre(std::string(kLegacy) + "1", std::string(kLegacy) + "1/iTunesMetadata.plist"));
}

TEST_F(Applications, thatLiveInAContainerAloneGoByTheStore)
{
    writeContainerBundle("1", "Maps.app", displayName("Not looked at"));
    EXPECT_EQ(nameOf("1"), "1");
    writeContainerStore("1", itemName("From the store"));
    EXPECT_EQ(nameOf("1"), "From the store");
}

TEST_F(Applications, haveTheirContainerLookedAtWhereTheOneBundleInTheOlderPlaceHasNoName)
{
    writeContainerBundle("1", "Any.app", displayName("From the container"));
    for (const std::string &list :
         {xmlDictionary("Other", "<string>x</string>"), xmlList("<dict/>"), xmlList("<array/>"),
          xmlDictionary("CFBundleDisplayName", "<dict/>"), xmlDictionary("CFBundleDisplayName", "<array/>"),
          std::string(), std::string("garbage"), displayName("Maps").substr(0, 60), std::string("bplist00"),
          std::string("bplist00\xff\xff\xff\xff", 12)}) {
        writeLegacyBundle("1", "Maps.app", list);
        EXPECT_EQ(nameOf("1"), "From the container") << list;
    }
    const std::string binary = binaryList(displayName("Maps"));
    for (std::size_t length = 0; length < binary.size(); ++length) {
        writeLegacyBundle("1", "Maps.app", binary.substr(0, length));
        EXPECT_EQ(nameOf("1"), "From the container") << length;
    }
    m_root.remove("private/var/mobile/Applications/1/Maps.app/Info.plist");
    EXPECT_EQ(nameOf("1"), "From the container");
    m_root.makeDirectory("private/var/mobile/Applications/1/Maps.app/Info.plist");
    EXPECT_EQ(nameOf("1"), "From the container");
    EXPECT_EQ(m_names.appDisplayNameForIdentifier("1"), "From the container");
    EXPECT_THAT(m_names.appNameCache(), ElementsAre(Pair("1", "From the container")));
}

TEST_F(Applications, goByTheStoreWhereNeitherBundleHasAName)
{
    writeLegacyBundle("1", "Maps.app", xmlList("<dict/>"));
    writeContainerBundle("1", "Maps.app", xmlList("<array/>"));
    writeLegacyStore("1", itemName("From the store"));
    EXPECT_EQ(nameOf("1"), "From the store");
    writeLegacyBundle("2", "Maps.app", xmlList("<dict/>"));
    writeContainerBundle("2", "Maps.app", displayName("One of two"));
    writeContainerBundle("2", "Chess.app", displayName("The other"));
    EXPECT_EQ(nameOf("2"), "2");
}

TEST_F(Applications, readTheStoresDataInAContainerOnlyWhereTheOlderPlaceHasNone)
{
    writeContainerStore("1", itemName("From the container"));
    EXPECT_EQ(nameOf("1"), "From the container");
    writeLegacyStore("1", "");
    EXPECT_EQ(nameOf("1"), "From the container");
    writeLegacyStore("1", "garbage");
    EXPECT_EQ(nameOf("1"), "1");
    writeLegacyStore("1", xmlList("<dict/>"));
    EXPECT_EQ(nameOf("1"), "1");
    writeLegacyStore("1", itemName("From the older place"));
    EXPECT_EQ(nameOf("1"), "From the older place");
}

TEST_F(Applications, namedByTheStoreAreNotCachedButLookedUpOnceInARow)
{
    writeLegacyStore("1", itemName("Maps"));
    EXPECT_EQ(legacy("1/a"), "Application Data/Maps/a");
    EXPECT_THAT(m_device.used(),
                ElementsAre(std::string(kLegacy) + "1", std::string(kLegacy) + "1/iTunesMetadata.plist"));
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(legacy(fmt::format("1/{}", i)), fmt::format("Application Data/Maps/{}", i));
    }
    EXPECT_THAT(m_device.used(), IsEmpty());
    EXPECT_EQ(legacy("unknown/a"), "Application Data/unknown/a");
    static_cast<void>(m_device.used());
    EXPECT_EQ(legacy("unknown/b"), "Application Data/unknown/b");
    EXPECT_THAT(m_device.used(), IsEmpty());
    EXPECT_EQ(legacy("1/a"), "Application Data/Maps/a");
    EXPECT_THAT(m_device.used(),
                ElementsAre(std::string(kLegacy) + "1", std::string(kLegacy) + "1/iTunesMetadata.plist"));
    EXPECT_THAT(m_names.appNameCache(), IsEmpty());
}

TEST_F(Applications, areReadFromBinaryListsToo)
{
    writeLegacyBundle("1", "Maps.app", binaryList(displayName("Karten f\xc3\xbcr alle")));
    EXPECT_EQ(nameOf("1"), "Karten f\xc3\xbcr alle");
    writeLegacyStore("2", binaryList(itemName("\xe5\x9c\xb0\xe5\x9b\xb3")));
    EXPECT_EQ(nameOf("2"), "\xe5\x9c\xb0\xe5\x9b\xb3");
}

TEST_F(Applications, haveANumberForANameInItsDigits)
{
    for (const bool binary : {false, true}) {
        const std::string list = xmlDictionary("CFBundleDisplayName", "<integer>2048</integer>");
        writeLegacyBundle("1", "2048.app", binary ? binaryList(list) : list);
        EXPECT_EQ(nameOf("1"), "2048");
    }
    writeLegacyStore("2", xmlDictionary("itemName", "<integer>7</integer>"));
    EXPECT_EQ(nameOf("2"), "7");
    writeLegacyStore("3", xmlDictionary("itemName", "<dict/>"));
    EXPECT_EQ(nameOf("3"), "3");
}

TEST_F(Applications, keepTheirNamesAsTheyAre)
{
    writeLegacyBundle("1", "a.app", displayName("Either/Or"));
    EXPECT_EQ(legacy("1/a.app/x"), "Applications/Either/Or/a.app/x");
    writeLegacyBundle("2", "a.app", displayName("two\nlines"));
    EXPECT_EQ(legacy("2/a.app/x"), "Applications/two\nlines/a.app/x");
    const std::string longName(10'000, 'n');
    writeLegacyBundle("3", "a.app", displayName(longName));
    EXPECT_EQ(legacy("3/a.app/x"), "Applications/" + longName + "/a.app/x");
    writeLegacyBundle("4", "a.app", displayName(""));
    EXPECT_EQ(legacy("4/a.app/x"), "Applications//a.app/x");
    writeLegacyBundle("5", "a.app", displayName("  spaces "));
    EXPECT_EQ(legacy("5/a.app/x"), "Applications/  spaces /a.app/x");
}

TEST_F(Applications, withAListThatIsHugeGoByTheirIdentifier)
{
    writeLegacyBundle("1", "Maps.app", displayName(std::string(PropertyList::kMostBytes, 'n')));
    EXPECT_EQ(nameOf("1"), "1");
    m_root.makeFile("private/var/mobile/Applications/2/Maps.app/Info.plist", std::uint64_t{1} << 40U);
    EXPECT_EQ(nameOf("2"), "2");
}

TEST_F(Applications, areReadThroughLinksOnTheDeviceAndChangeNothing)
{
    write("/private/stash/Maps.app/Info.plist", displayName("Maps"));
    m_root.makeLink("private/var/mobile/Applications/1/Maps.app", "/private/stash/Maps.app");
    writeLegacyStore("2", itemName("Chess"));
    const auto before = diskState(m_root.path());
    EXPECT_EQ(nameOf("1"), "Maps");
    EXPECT_EQ(nameOf("2"), "Chess");
    EXPECT_EQ(nameOf("3"), "3");
    EXPECT_EQ(diskState(m_root.path()), before);
}

// ---- whole directories

TEST_F(Applications, saysTheSameOfADirectoryAsOfItsFilesAndWhatTheyRaise)
{
    writeLegacyBundle("1", "a.app", displayName("Either/Or"));
    writeLegacyBundle("2", "a.app", displayName(""));
    writeLegacyStore("3", itemName("Store"));
    writeContainerStore("4", itemName("Container/"));
    ApplicationNames byFileNames(m_device);
    ApplicationNames byDirectoryNames(m_device);
    const auto classifierOf = [](ApplicationNames &names, auto byFile, auto byDirectory) {
        return Classifier{
            .classify = [&names, byFile](const std::string &path) { return byFile(names, path); },
            .classifyDirectory = [&names,
                                  byDirectory](const std::string &path) { return byDirectory(names, path); }};
    };
    const std::array<std::pair<Classifier, Classifier>, 2> classifiers = {
        std::pair(classifierOf(byFileNames, classifyContainerApp, classifyContainerAppOfDirectory),
                  classifierOf(byDirectoryNames, classifyContainerApp, classifyContainerAppOfDirectory)),
        std::pair(classifierOf(byFileNames, classifyLegacyApp, classifyLegacyAppOfDirectory),
                  classifierOf(byDirectoryNames, classifyLegacyApp, classifyLegacyAppOfDirectory))};
    static const std::array<std::string, 14> kNames = {"1",
                                                       "2",
                                                       "3",
                                                       "4",
                                                       "a.app",
                                                       "iTunesArtwork",
                                                       "Documents",
                                                       "Bundle",
                                                       "Data",
                                                       "Shared",
                                                       "Application",
                                                       "PluginKilPlugin",
                                                       "PluginKitPlugin",
                                                       "iTunesMetadata.plist"};
    static const std::array<std::string, 5> kPlaces = {
        "", "/private/var/mobile", "/private/var/mobile/Applications", "/private/var/mobile/Containers",
        "/private/var/mobile/Containers/Bundle/Application"};
    std::mt19937_64 random(1);
    for (std::uint64_t i = 0; i < 5000 * testSize(); ++i) {
        std::string directory = kPlaces.at(random() % kPlaces.size());
        for (std::size_t level = random() % 6; level > 0; --level) {
            directory += "/" + kNames.at(random() % kNames.size());
        }
        directory = directory.empty() ? "/" : directory;
        const std::string &name = kNames.at(random() % kNames.size());
        for (const auto &[byFile, byDirectory] : classifiers) {
            ASSERT_EQ(outcomeByDirectory(byDirectory, directory, name),
                      outcomeByFile(byFile, directory, name))
                << directory << " " << name;
        }
    }
}

TEST_F(Applications, answersForADirectoryAsAWholeWhereNoFilesNameMatters)
{
    const auto kindOf = [&](const std::string &directory) {
        return classifyLegacyAppOfDirectory(m_names, directory).kind;
    };
    EXPECT_EQ(kindOf("/private/var/mobile"), DirectoryAnswer::Kind::Declines);
    EXPECT_EQ(kindOf("/private/var/mobile/Applications"), DirectoryAnswer::Kind::AskByFile);
    EXPECT_EQ(kindOf("/private/var/mobile/Applications/1"), DirectoryAnswer::Kind::AskByFile);
    EXPECT_EQ(kindOf("/private/var/mobile/Applications/1/Documents"), DirectoryAnswer::Kind::Takes);
    const auto containerKindOf = [&](const std::string &directory) {
        return classifyContainerAppOfDirectory(m_names, directory).kind;
    };
    EXPECT_EQ(containerKindOf("/private/var/mobile"), DirectoryAnswer::Kind::Declines);
    EXPECT_EQ(containerKindOf("/private/var/mobile/Containers/Data/Application"),
              DirectoryAnswer::Kind::AskByFile);
    EXPECT_EQ(containerKindOf("/private/var/mobile/Containers/Data/Application/1"),
              DirectoryAnswer::Kind::Takes);
    EXPECT_EQ(containerKindOf("/private/var/mobile/Containers/Shared/AppGroup/1"),
              DirectoryAnswer::Kind::Declines);
}

} // namespace slicewise
