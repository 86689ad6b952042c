#include "cli/DeletionPlan.h"

#include "cli/Numbers.h"
#include "ui/NameText.h"
#include "ui/SizeText.h"

#include <fmt/format.h>

#include <optional>
#include <string_view>
#include <vector>

namespace slicewise {

namespace {

/// Calls `visit` for each node from the given one down that has a file.
template <typename Visit> void forEachFile(const SZANode &top, const Visit &visit)
{
    std::vector<const SZANode *> left = {&top};
    while (!left.empty()) {
        const SZANode &node = *left.back();
        left.pop_back();
        if (const std::optional<std::string> file = node.filename()) {
            visit(node, *file);
        }
        const std::vector<SZANode *> children = node.getNodes();
        left.insert(left.end(), children.begin(), children.end());
    }
}

/// With the "/" at its end.
std::string directoryOf(const std::string &file)
{
    return file.substr(0, file.rfind('/') + 1);
}

std::string howText(const SZANode &node, SZADeleteType type)
{
    const std::string file = node.filename().value_or("");
    switch (type) {
    case SZADeleteTypeRegular:
        return file.empty() ? "removes its files" : "removes " + shownText(file);
    case SZADeleteTypeApp:
        return "uninstalls the application";
    case SZADeleteTypeParent:
        return fmt::format("removes {} with everything in it", shownText(directoryOf(file)));
    case SZADeleteTypePackage:
        return "removes the package with dpkg";
    case SZADeleteTypeAsset:
        return fmt::format("deletes the photo {} by the photo library", shownText(file));
    case SZADeleteTypeNone:
        break;
    }
    return "";
}

} // namespace

DeletionPlan planDeletion(const SZANode &root, const SZANode &node, SZADeleteType type)
{
    DeletionPlan plan{.type = type, .how = howText(node, type)};
    const std::optional<std::string> file = node.filename();
    if (type == SZADeleteTypeParent && file) {
        const std::string directory = directoryOf(*file);
        forEachFile(root, [&](const SZANode &found, const std::string &path) {
            if (path.starts_with(directory)) {
                ++plan.files;
                plan.bytes += found.childCount() == 0 ? found.size() : 0;
            }
        });
        return plan;
    }
    forEachFile(node, [&](const SZANode &, const std::string &) { ++plan.files; });
    plan.bytes = node.size();
    return plan;
}

std::string planText(const std::string &categoryPath, const DeletionPlan &plan)
{
    return fmt::format("{}: {}, {}; {}", shownText(categoryPath), counted(plan.files, "file", "files"),
                       sizeTextForBytes(plan.bytes), plan.how);
}

} // namespace slicewise
