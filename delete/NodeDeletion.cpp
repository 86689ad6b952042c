#include "delete/NodeDeletion.h"

#include "platform/Database.h"
#include "platform/PropertyList.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <optional>
#include <semaphore>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace slicewise {

namespace {

// ---- files

/// Where it fails, nothing may go on: what would be removed is not what was meant.
void endUnless(bool holds, std::string_view assertion, std::string_view function, Log &log)
{
    if (!holds) {
        log.line(fmt::format("Assertion failed: ({}), function {}, file SZANode.", assertion, function));
        std::abort();
    }
}

/// Removes paths one after the other, each with root's rights and nothing else with them.
class Removal {
public:
    explicit Removal(Deletion &deletion) : m_deletion(deletion), m_remover(deletion.device.makeRemover()) {}

    bool remove(std::string_view path)
    {
        const Result<std::uint64_t> removed = removeAsRoot(path);
        if (!removed) {
            m_deletion.log.line(fmt::format("“{}” could not be removed: {}", path,
                                            std::generic_category().message(removed.error())));
        }
        return removed.ok();
    }

private:
    Result<std::uint64_t> removeAsRoot(std::string_view path)
    {
        const Privileges::AsRoot root(m_deletion.privileges);
        return m_remover->remove(path);
    }

    Deletion &m_deletion;
    std::unique_ptr<Remover> m_remover;
};

std::string_view withoutLastComponent(std::string_view path)
{
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? std::string_view()
                                           : path.substr(0, std::max<std::size_t>(slash, 1));
}

// ---- photos

constexpr const char *kPhotoDatabase = "/private/var/mobile/Media/PhotoData/Photos.sqlite";
constexpr std::string_view kQueryForText =
    "SELECT ZUUID FROM ZGENERICASSET WHERE ZDIRECTORY || '/' || ZFILENAME = '{}'";
constexpr std::string_view kQueryForBytes =
    "SELECT HEX(ZUUID) FROM ZGENERICASSET WHERE ZDIRECTORY || '/' || ZFILENAME = '{}'";

std::string withQuotesDoubled(std::string_view text)
{
    std::string doubled;
    for (const char c : text) {
        doubled.append(c == '\'' ? 2 : 1, c);
    }
    return doubled;
}

/// Absent where the library does not know the file. Of several rows the last one counts.
std::optional<std::string> identifierOfAsset(std::string_view relativePath, const Deletion &deletion)
{
    const bool asText = deletion.deviceVersion.number >= SystemVersion::kWithTextIdentifiers;
    const std::string query =
        fmt::format(fmt::runtime(asText ? kQueryForText : kQueryForBytes), withQuotesDoubled(relativePath));
    std::optional<std::string> identifier;
    Database database(deletion.device, kPhotoDatabase);
    // A database that can't be read, or not to its end, knows nothing more than it has told.
    static_cast<void>(database.forEachRow(query, [&](Database::Row row) {
        identifier = row[0] != nullptr ? std::optional<std::string>(row[0]) : std::nullopt;
    }));
    return identifier;
}

/// Hexadecimal digits in the groups in which an identifier is written as text: 8, 4, 4, 4 and the rest.
/// Absent where there are too few of them for that.
std::optional<std::string> grouped(std::string_view digits)
{
    constexpr std::size_t kBeforeLastGroup = 20;
    if (digits.size() < kBeforeLastGroup) {
        return std::nullopt;
    }
    return fmt::format("{}-{}-{}-{}-{}", digits.substr(0, 8), digits.substr(8, 4), digits.substr(12, 4),
                       digits.substr(16, 4), digits.substr(kBeforeLastGroup));
}

bool deleteAsset(std::string_view identifier, Deletion &deletion)
{
    // Shared with the handler, which may still be at its end when we go on.
    struct Answer {
        std::binary_semaphore given{0};
        bool success = false;
    };
    const auto answer = std::make_shared<Answer>();
    Log &log = deletion.log;
    deletion.photoLibrary.deleteAssetWithURLHandler(fmt::format("assets-library://asset/?id={}", identifier),
                                                    [answer, &log](bool success, const std::string &error) {
                                                        log.line(error);
                                                        answer->success = success;
                                                        answer->given.release();
                                                    });
    answer->given.acquire();
    return answer->success;
}

// ---- applications

/// The first of the node's children, as they are listed, that is an application's bundle.
const SZANode *bundleAmong(const SZANode &node)
{
    const std::vector<SZANode *> children = node.getNodes();
    const auto found = std::find_if(children.begin(), children.end(),
                                    [](const SZANode *child) { return child->name().ends_with(".app"); });
    return found != children.end() ? *found : nullptr;
}

std::optional<std::string> bundleIdentifierIn(const SZANode &info, const Device &device)
{
    const std::optional<std::string> path = info.filename();
    if (!path) {
        return std::nullopt;
    }
    const Result<std::string> content = readFile(device, *path, PropertyList::kMostBytes);
    if (!content) {
        return std::nullopt;
    }
    const std::optional<PropertyList> list = PropertyList::parse(*content);
    if (!list || !list->root().isDictionary()) {
        return std::nullopt;
    }
    const auto value = list->root().value("CFBundleIdentifier");
    return value ? value->text() : std::nullopt;
}

bool uninstall(const std::string &bundleIdentifier, Deletion &deletion)
{
    if (!deletion.cachedUninstall) {
        deletion.log.line("Searching iOS7 Method");
        deletion.cachedUninstall = deletion.installer.mobileInstallationUninstall();
    }
    if (deletion.cachedUninstall) {
        deletion.log.line("Found iOS7 Method");
        return deletion.cachedUninstall(bundleIdentifier) == 0;
    }
    deletion.log.line("Searching iOS8 Class");
    const ApplicationInstaller::WorkspaceUninstall workspace = deletion.installer.applicationWorkspace();
    if (!workspace) {
        return false;
    }
    deletion.log.line("Found iOS8 Class");
    return workspace(bundleIdentifier);
}

} // namespace

bool regularDelete(const SZANode &node, Deletion &deletion)
{
    Removal removal(deletion);
    bool allRemoved = true;
    // A stack of our own: a tree may be deeper than the call stack.
    std::vector<const SZANode *> toDelete = {&node};
    while (!toDelete.empty()) {
        const SZANode &next = *toDelete.back();
        toDelete.pop_back();
        if (const std::optional<std::string> file = next.filename()) {
            allRemoved = removal.remove(*file) && allRemoved;
        } else {
            const std::vector<SZANode *> children = next.getNodes();
            toDelete.insert(toDelete.end(), children.rbegin(), children.rend());
        }
    }
    return allRemoved;
}

bool parentDelete(const SZANode &node, Deletion &deletion)
{
    const std::optional<std::string> file = node.filename();
    endUnless(file.has_value(), "self.filename", "-[SZANode parentDelete]", deletion.log);
    return Removal(deletion).remove(withoutLastComponent(*file));
}

bool assetDelete(const SZANode &node, Deletion &deletion)
{
    const std::string file = node.filename().value_or("");
    endUnless(file.starts_with(kMediaDirectory), R"([self.filename hasPrefix:@"/private/var/mobile/Media/"])",
              "-[SZANode assetDelete]", deletion.log);
    return deletePhotoAssetAtMediaPath(std::string_view(file).substr(kMediaDirectory.size()), deletion);
}

bool deletePhotoAssetAtMediaPath(std::string_view relativePath, Deletion &deletion)
{
    std::optional<std::string> identifier = identifierOfAsset(relativePath, deletion);
    if (!identifier) {
        return Removal(deletion).remove(fmt::format("{}{}", kMediaDirectory, relativePath));
    }
    if (deletion.deviceVersion.number < SystemVersion::kWithTextIdentifiers) {
        identifier = grouped(*identifier);
    }
    if (!identifier) {
        deletion.log.line("The photo library's identifier of a photo is too short.");
        return false;
    }
    return deleteAsset(*identifier, deletion);
}

bool appDelete(const SZANode &node, Deletion &deletion)
{
    const SZANode *bundle = bundleAmong(node);
    deletion.log.line("Deleting app");
    if (bundle == nullptr) {
        return false;
    }
    deletion.log.line("Found node");
    const SZANode *info = bundle->childNamed("Info.plist");
    if (info == nullptr) {
        return false;
    }
    deletion.log.line("Found info node");
    const std::optional<std::string> bundleIdentifier = bundleIdentifierIn(*info, deletion.device);
    if (!bundleIdentifier) {
        return false;
    }
    deletion.log.line(fmt::format("Found name: {}", *bundleIdentifier));
    return uninstall(*bundleIdentifier, deletion);
}

} // namespace slicewise
