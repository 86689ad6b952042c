#include "scan/ApplicationClassifier.h"

#include "platform/PropertyList.h"
#include "scan/PathText.h"

#include <fmt/format.h>

#include <algorithm>
#include <exception>
#include <iterator>
#include <stdexcept>
#include <utility>
#include <vector>

namespace slicewise {

namespace {

constexpr std::string_view kLegacyPlace = "/private/var/mobile/Applications/";
constexpr std::string_view kContainerPlace = "/private/var/mobile/Containers/";
constexpr std::string_view kContainerBundles = "/private/var/mobile/Containers/Bundle/Application/";
constexpr std::string_view kApplications = "Applications";
constexpr std::string_view kApplicationData = "Application Data";

std::string categoryPath(std::string_view category, std::string_view name, std::string_view inner)
{
    return fmt::format("{}/{}/{}", category, name, inner);
}

bool isBundle(std::string_view name)
{
    constexpr std::string_view kExtension = "app";
    const std::string_view extension = pathExtension(name);
    const auto same = [](char left, char right) {
        const char lower = left >= 'A' && left <= 'Z' ? static_cast<char>(left - 'A' + 'a') : left;
        return lower == right;
    };
    return std::equal(extension.begin(), extension.end(), kExtension.begin(), kExtension.end(), same);
}

// A text in a list's top level; absent where there is no such list, or it has another shape.
std::optional<std::string> textIn(const std::string &list, std::string_view key)
{
    const std::optional<PropertyList> parsed = PropertyList::parse(list);
    if (!parsed || !parsed->root().isDictionary()) {
        return std::nullopt;
    }
    const std::optional<PropertyList::Value> value = parsed->root().value(key);
    return value ? value->text() : std::nullopt;
}

// Empty where it can't be read.
std::string listAt(const Device &device, const std::string &path)
{
    Result<std::string> content = readFile(device, path, PropertyList::kMostBytes);
    return content ? std::move(content).value() : std::string();
}

/// A path below the containers, cut up.
struct ContainerPath {
    std::string_view kind;       ///< "Bundle", "Data", ...
    std::string_view identifier; ///< of the container
    std::string_view inner;      ///< what comes below it
};

// Absent for what is not an application's.
std::optional<ContainerPath> cutContainerPath(std::string_view rest)
{
    const std::vector<std::string_view> parts = splitAtSlashes(rest);
    if (parts.at(0) == "Shared") {
        return std::nullopt; // groups belong to several applications
    }
    // Misspelt from the beginning; spelt correctly, plug-ins would leave the application that they came with.
    if (parts.at(1) == "PluginKilPlugin") {
        return std::nullopt;
    }
    const std::size_t before = parts.at(0).size() + parts.at(1).size() + parts.at(2).size() + 3;
    static_cast<void>(parts.at(3));
    return ContainerPath{.kind = parts[0], .identifier = parts[2], .inner = rest.substr(before)};
}

std::string_view categoryOfContainer(std::string_view kind)
{
    return kind == "Bundle" ? kApplications : kApplicationData;
}

// What was installed with the application, rather than written by it.
bool isInstalled(std::string_view component)
{
    return component.ends_with(".app") || component == "iTunesArtwork" || component == "iTunesMetadata.plist";
}

DirectoryAnswer declines()
{
    return {.kind = DirectoryAnswer::Kind::Declines, .category = {}};
}

DirectoryAnswer askByFile()
{
    return {.kind = DirectoryAnswer::Kind::AskByFile, .category = {}};
}

DirectoryAnswer takes(std::string category)
{
    return {.kind = DirectoryAnswer::Kind::Takes, .category = std::move(category)};
}

} // namespace

std::string ApplicationNames::appDisplayNameForIdentifier(std::string_view identifier)
{
    if (const auto cached = m_appNameCache.find(identifier); cached != m_appNameCache.end()) {
        return cached->second;
    }
    if (m_lastIdentifier == identifier) {
        return m_lastName;
    }
    try {
        std::string name = bundleName(identifier);
        m_appNameCache.emplace(identifier, name);
        return name;
    } catch (const std::exception &) {
        m_lastName = storeName(identifier);
        m_lastIdentifier = identifier;
        return m_lastName;
    }
}

// Raises where no bundle tells the name. The containers are looked into only where the older place has one
// bundle without a name: an application that lives in a container alone goes by its name in the store.
std::string ApplicationNames::bundleName(std::string_view identifier)
{
    for (const std::string_view place : {kLegacyPlace, kContainerBundles}) {
        const std::string directory = fmt::format("{}{}", place, identifier);
        std::vector<std::string> bundles;
        if (Result<std::vector<std::string>> names = m_device.entryNames(directory)) {
            std::copy_if(names->begin(), names->end(), std::back_inserter(bundles), isBundle);
        }
        if (bundles.size() != 1) {
            throw std::runtime_error("Bundle not found");
        }
        const std::string list =
            listAt(m_device, fmt::format("{}/{}/Info.plist", directory, bundles.front()));
        if (std::optional<std::string> name = textIn(list, "CFBundleDisplayName")) {
            return std::move(*name);
        }
    }
    throw std::runtime_error("Invalid Name");
}

std::string ApplicationNames::storeName(std::string_view identifier) const
{
    std::string list = listAt(m_device, fmt::format("{}{}/iTunesMetadata.plist", kLegacyPlace, identifier));
    if (list.empty()) {
        list = listAt(m_device, fmt::format("{}{}/iTunesMetadata.plist", kContainerBundles, identifier));
    }
    return textIn(list, "itemName").value_or(std::string(identifier));
}

std::optional<std::string> classifyContainerApp(ApplicationNames &names, const std::string &path)
{
    if (!path.starts_with(kContainerPlace)) {
        return std::nullopt;
    }
    const auto parts = cutContainerPath(std::string_view(path).substr(kContainerPlace.size()));
    if (!parts) {
        return std::nullopt;
    }
    return categoryPath(categoryOfContainer(parts->kind),
                        names.appDisplayNameForIdentifier(parts->identifier), parts->inner);
}

std::optional<std::string> classifyLegacyApp(ApplicationNames &names, const std::string &path)
{
    if (!path.starts_with(kLegacyPlace)) {
        return std::nullopt;
    }
    const std::string_view rest = std::string_view(path).substr(kLegacyPlace.size());
    const std::vector<std::string_view> parts = splitAtSlashes(rest);
    const std::string_view category = isInstalled(parts.at(1)) ? kApplications : kApplicationData;
    return categoryPath(category, names.appDisplayNameForIdentifier(parts[0]),
                        rest.substr(parts[0].size() + 1));
}

DirectoryAnswer classifyContainerAppOfDirectory(ApplicationNames &names, const std::string &directory)
{
    const std::string front = directory.ends_with('/') ? directory : directory + "/";
    if (!front.starts_with(kContainerPlace)) {
        return declines();
    }
    const std::string_view rest = std::string_view(front).substr(kContainerPlace.size());
    constexpr std::ptrdiff_t kLevelsToIdentifier = 3;
    if (std::count(rest.begin(), rest.end(), '/') < kLevelsToIdentifier) {
        return askByFile(); // a file's own name decides, or is not deep enough
    }
    std::optional<std::string> category = classifyContainerApp(names, front);
    if (!category) {
        return declines();
    }
    category->pop_back(); // the "/" before the file's name
    return takes(std::move(*category));
}

DirectoryAnswer classifyLegacyAppOfDirectory(ApplicationNames &names, const std::string &directory)
{
    const std::string front = directory.ends_with('/') ? directory : directory + "/";
    if (!front.starts_with(kLegacyPlace)) {
        return declines();
    }
    const std::string_view rest = std::string_view(front).substr(kLegacyPlace.size());
    if (std::count(rest.begin(), rest.end(), '/') < 2) {
        return askByFile(); // right below the identifier a file's name decides
    }
    std::optional<std::string> category = classifyLegacyApp(names, front);
    category->pop_back(); // the "/" before the file's name
    return takes(std::move(*category));
}

} // namespace slicewise
