#include "tests/scan/Scanned.h"

#include "tests/support/TreeText.h"

#include <fmt/format.h>

#include <cstring>

namespace slicewise {

namespace {

const char *nameOf(NotEntered::Why why)
{
    switch (why) {
    case NotEntered::Why::OtherFileSystem:
        return "other file system";
    case NotEntered::Why::NoStorage:
        return "no storage";
    case NotEntered::Why::Memory:
        return "memory";
    case NotEntered::Why::Network:
        return "network";
    case NotEntered::Why::View:
        return "view";
    case NotEntered::Why::SeenBefore:
        return "seen before";
    }
    return "?";
}

const char *nameOf(int error)
{
    const char *name = ::strerrorname_np(error);
    return name != nullptr ? name : "?";
}

} // namespace

Scanned scan(const Device &device, const ScanOptions &options, const std::string &rootPath)
{
    Scanned scanned;
    scanned.root = std::make_unique<SZANode>(&device);
    Log log([&scanned](std::string_view line) {
        const bool adding = line.find(" raised while adding file ") != std::string_view::npos;
        (adding ? scanned.addingLines : scanned.classifierLines).emplace_back(line);
    });
    scanned.report = scanFileSystem(device, rootPath, *scanned.root, log, options);
    return scanned;
}

std::string Scanned::text() const
{
    return treeText(*root) + reportText(report);
}

std::vector<std::string> notEntered(const ScanReport &report)
{
    std::vector<std::string> lines;
    for (const NotEntered &one : report.notEntered) {
        lines.push_back(fmt::format("{} {}{}", nameOf(one.why), asciiText(one.path),
                                    one.fileSystemType.empty() ? "" : " (" + one.fileSystemType + ")"));
    }
    return lines;
}

std::vector<std::string> failures(const ScanReport &report)
{
    std::vector<std::string> lines;
    for (const ScanFailure &failure : report.failures) {
        lines.push_back(fmt::format("{} {}: {}",
                                    failure.of == ScanFailure::Of::Directory ? "directory" : "file",
                                    asciiText(failure.path), nameOf(failure.error)));
    }
    return lines;
}

std::string reportText(const ScanReport &report)
{
    std::string text = fmt::format("{} files, {} directories{}\n", report.files, report.directories,
                                   report.stopped ? ", stopped" : "");
    for (const std::string &line : failures(report)) {
        text += line + "\n";
    }
    for (const std::string &line : notEntered(report)) {
        text += line + "\n";
    }
    for (const FileSystem &fileSystem : report.fileSystems) {
        text += fmt::format("file system {} of {} bytes\n", fileSystem.identity, fileSystem.capacityBytes);
    }
    return text;
}

std::vector<std::string> filesInTree(SZANode &root)
{
    std::vector<std::string> files;
    std::vector<SZANode *> open = {&root};
    while (!open.empty()) {
        SZANode *node = open.back();
        open.pop_back();
        if (const auto filename = node->filename()) {
            files.push_back(*filename);
        }
        const bool before = node->sort();
        node->setSort(false);
        const std::vector<SZANode *> children = node->getNodes();
        node->setSort(before);
        open.insert(open.end(), children.rbegin(), children.rend());
    }
    return files;
}

} // namespace slicewise
