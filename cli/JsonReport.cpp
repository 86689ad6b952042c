#include "cli/JsonReport.h"

#include "cli/Numbers.h"
#include "delete/DeletionPolicy.h"
#include "scan/Utf8.h"
#include "ui/NameText.h"

#include <rapidjson/writer.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace slicewise {

namespace {

using Writer = rapidjson::Writer<Output>;

void writeText(Writer &writer, std::string_view text)
{
    writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

// A member whose value is a name: where it is not UTF-8, the spelling that means it stands beside it.
void writeName(Writer &writer, std::string_view key, std::string_view bytes)
{
    writeText(writer, key);
    if (isUtf8(bytes)) {
        writeText(writer, bytes);
        return;
    }
    writeText(writer, utf8Text(bytes));
    writeText(writer, std::string(key) + "Escaped");
    writeText(writer, typableText(bytes));
}

void writeNumber(Writer &writer, std::string_view key, std::uint64_t number)
{
    writeText(writer, key);
    writer.Uint64(number);
}

/// `path` leads to the node.
void beginNode(Writer &writer, const std::vector<SZANode *> &path)
{
    const SZANode &node = *path.back();
    writer.StartObject();
    writeName(writer, "name", node.name());
    writeNumber(writer, "size", node.size());
    writeNumber(writer, "index", node.index());
    writeNumber(writer, "deleteType", static_cast<std::uint64_t>(SZADeleteTypeForNodePath(path)));
    if (const auto filename = node.filename()) {
        writeName(writer, "filename", *filename);
    }
}

void writeTree(Writer &writer, std::vector<SZANode *> path, std::size_t depth, const Output &output)
{
    // An explicit stack: a tree may be deeper than the call stack.
    struct Level {
        std::vector<SZANode *> nodes;
        std::size_t next = 0;
    };
    std::vector<Level> levels;
    const auto enter = [&](SZANode &node) {
        path.push_back(&node);
        beginNode(writer, path);
        if (node.childCount() > 0 && levels.size() < depth) {
            writeText(writer, "children");
            writer.StartArray();
            levels.push_back({node.getNodes()});
        } else {
            writer.EndObject();
            path.pop_back();
        }
    };
    SZANode &top = *path.back();
    path.pop_back();
    enter(top);
    while (!levels.empty() && !output.closed()) {
        Level &level = levels.back();
        if (level.next == level.nodes.size()) {
            levels.pop_back();
            path.pop_back();
            writer.EndArray();
            writer.EndObject();
        } else {
            enter(*level.nodes[level.next++]);
        }
    }
}

void writeErrorList(Writer &writer, const ScanReport &report)
{
    writeText(writer, "errors");
    writer.StartArray();
    for (const ScanFailure &failure : report.failures) {
        writer.StartObject();
        writeName(writer, "path", failure.path);
        writeText(writer, "kind");
        writeText(writer, failure.of == ScanFailure::Of::Directory ? "directory" : "file");
        writeText(writer, "reason");
        writeText(writer, utf8Text(errorText(failure.error)));
        writer.EndObject();
    }
    writer.EndArray();
}

} // namespace

void writeJson(const ScanResult &result, const ScanArguments &arguments, Output &output)
{
    Writer writer(output);
    writer.StartObject();
    writeText(writer, "format");
    writeText(writer, "slicewise-tree");
    writeNumber(writer, "version", 1);
    writeName(writer, "root", arguments.root);
    writeNumber(writer, "diskSize", result.report.diskSizeBytes());
    writeNumber(writer, "files", result.report.files);
    writeNumber(writer, "directories", result.report.directories);
    writeNumber(writer, "unreadable", result.report.failures.size());
    if (arguments.errors) {
        writeErrorList(writer, result.report);
    }
    writeText(writer, "tree");
    writeTree(writer, result.shown, arguments.depth.value_or(std::numeric_limits<std::size_t>::max()),
              output);
    if (!output.closed()) {
        writer.EndObject();
        output.Put('\n');
    }
}

} // namespace slicewise
