#include "delete/DeletionPolicy.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

namespace slicewise {

namespace {

/// Categories of plain files: anything below them may go.
constexpr std::array<std::string_view, 4> kOfPlainFiles = {"ROMs", "Others", "Temporary Data", "Logs"};

/// How the names of the folders end that a camera writes to: "100APPLE".
constexpr std::string_view kCameraFolder = "APPLE";

constexpr std::size_t kAtCategory = 1; ///< where on a node path a category stands

SZADeleteType typeOfChildOf(std::string_view category, std::string_view name)
{
    if (category == "Application Data") {
        return SZADeleteTypeRegular;
    }
    if (category == "Applications") {
        return SZADeleteTypeApp;
    }
    if (category == "Cydia Packages") {
        return SZADeleteTypePackage;
    }
    // Previews are no attachments: removing the directory that holds one would remove those of others.
    if (category == "Message Attachments" && name != "Previews") {
        return SZADeleteTypeParent;
    }
    return SZADeleteTypeNone;
}

} // namespace

SZADeleteType SZADeleteTypeForNodePath(NodePathView path)
{
    const std::size_t depth = path.size() - 1;
    if (path.empty() || depth < 2) {
        return SZADeleteTypeNone;
    }
    const std::string_view category = path[kAtCategory]->name();
    if (std::find(kOfPlainFiles.begin(), kOfPlainFiles.end(), category) != kOfPlainFiles.end()) {
        return SZADeleteTypeRegular;
    }
    if (depth == 2) {
        return typeOfChildOf(category, path[2]->name());
    }
    const std::string_view parent = path[path.size() - 2]->name();
    return category == "Photos" && parent.ends_with(kCameraFolder) ? SZADeleteTypeAsset : SZADeleteTypeNone;
}

bool pathHasDeletableChildren(NodePathView path)
{
    const SZANode child;
    std::vector<const SZANode *> pathOfChild(path.begin(), path.end());
    pathOfChild.push_back(&child);
    return SZADeleteTypeForNodePath(pathOfChild) != SZADeleteTypeNone;
}

} // namespace slicewise
