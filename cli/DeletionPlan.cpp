#include "cli/DeletionPlan.h"

#include "cli/Numbers.h"
#include "ui/NameText.h"
#include "ui/SizeText.h"

#include <fmt/format.h>

#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace slicewise {

namespace {

std::uint64_t filesBelow(const SZANode &top)
{
    std::uint64_t files = 0;
    std::vector<const SZANode *> left = {&top};
    while (!left.empty()) {
        const SZANode &node = *left.back();
        left.pop_back();
        files += node.filename() ? 1U : 0U;
        const std::vector<SZANode *> children = node.getNodes();
        left.insert(left.end(), children.begin(), children.end());
    }
    return files;
}

/// Adds up what is in a directory. Asked of the device and not of the tree, where it would mean going through
/// all of it: files of one directory may stand in several categories.
void countDirectory(const Device &device, const std::string &top, DeletionPlan &plan)
{
    const std::unique_ptr<DirectoryReader> reader = device.makeReader();
    EntryChunk chunk;
    std::vector<std::string> left = {top};
    while (!left.empty()) {
        const std::string directory = std::move(left.back());
        left.pop_back();
        bool more = reader->open(directory).ok();
        while (more) {
            const Result<DirectoryReader::Progress> progress = reader->next(chunk);
            for (const EntryChunk::Entry &entry : chunk.entries()) {
                if (entry.type == EntryType::Directory) {
                    left.push_back(directory + std::string(chunk.name(entry)) + "/");
                } else {
                    ++plan.files;
                    plan.bytes += entry.sizeBytes;
                }
            }
            more = progress.ok() && *progress == DirectoryReader::Progress::More;
        }
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

DeletionPlan planDeletion(const Device &device, const SZANode &node, SZADeleteType type)
{
    DeletionPlan plan{.type = type, .how = howText(node, type)};
    if (const std::optional<std::string> file = node.filename(); type == SZADeleteTypeParent && file) {
        countDirectory(device, directoryOf(*file), plan);
    } else {
        plan.files = filesBelow(node);
        plan.bytes = node.size();
    }
    return plan;
}

std::string planText(const std::string &categoryPath, const DeletionPlan &plan)
{
    return fmt::format("{}: {}, {}; {}", shownText(categoryPath), counted(plan.files, "file", "files"),
                       sizeTextForBytes(plan.bytes), plan.how);
}

} // namespace slicewise
