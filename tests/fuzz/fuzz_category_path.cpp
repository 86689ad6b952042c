// Inserts files under category paths of any bytes in three ways: one by one, directory by directory, and into
// a plain map of maps. All three must come to the same tree.
#include "platform/Device.h"
#include "scan/PathTable.h"
#include "scan/SZANode.h"
#include "scan/TreeInserter.h"
#include "tests/fuzz/Require.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace slicewise {
namespace {

/// Every file has the size that was set last; there is nothing else to it.
class SizeDevice final : public Device {
public:
    void setSize(std::optional<std::uint64_t> sizeBytes) { m_size = sizeBytes; }

    [[nodiscard]] std::unique_ptr<DirectoryReader> makeReader() const override { return nullptr; }
    [[nodiscard]] Result<FileStatus> status(std::string_view) const override
    {
        if (!m_size) {
            return ErrorNumber{ENOENT};
        }
        return FileStatus{.type = FileType::RegularFile, .sizeBytes = *m_size, .identity = {}};
    }
    [[nodiscard]] Result<std::string> resolve(std::string_view) const override { return ErrorNumber{ENOENT}; }
    [[nodiscard]] Result<FileSystem> fileSystem(std::string_view) const override
    {
        return ErrorNumber{ENOENT};
    }
    [[nodiscard]] std::vector<Mount> mounts() const override { return {}; }

private:
    std::optional<std::uint64_t> m_size;
};

struct PlainNode {
    std::uint64_t size = 0;
    std::uint64_t index = 0;
    std::optional<std::string> filename;
    std::map<std::string, PlainNode> children;
};

// The names of a category path; a "/" at its end stands for nothing.
std::vector<std::string> namesOf(std::string path)
{
    if (path.ends_with('/')) {
        path.pop_back();
    }
    std::vector<std::string> names(1);
    for (const char byte : path) {
        if (byte == '/') {
            names.emplace_back();
        } else {
            names.back().push_back(byte);
        }
    }
    return names;
}

void insertPlainly(PlainNode &root, const std::string &category, const std::string &file, std::uint64_t size)
{
    PlainNode *node = &root;
    for (const std::string &name : namesOf(category)) {
        node->size += size;
        const std::uint64_t rank = node->children.size();
        const auto [child, isNew] = node->children.try_emplace(name);
        if (isNew) {
            child->second.index = rank;
        }
        node = &child->second;
    }
    node->size = size;
    node->filename = file;
}

void compare(const SZANode &node, const PlainNode &plain)
{
    require(node.size() == plain.size, "sizes are equal");
    require(node.index() == plain.index, "indices are equal");
    require(node.filename() == plain.filename, "file names are equal");
    require(node.childCount() == plain.children.size(), "as many children");
    for (const auto &[name, child] : plain.children) {
        const SZANode *other = node.childNamed(name);
        require(other != nullptr, "the same children");
        require(other->name() == name, "a child has the name that it is stored under");
        compare(*other, child);
    }
    const std::vector<SZANode *> shown = node.getNodes();
    require(shown.size() == plain.children.size(), "all children are shown");
    for (std::size_t i = 1; i < shown.size(); ++i) {
        const bool larger = shown[i - 1]->size() > shown[i]->size();
        const bool earlier =
            shown[i - 1]->size() == shown[i]->size() && shown[i - 1]->index() < shown[i]->index();
        require(larger || earlier, "the larger first, among equals the one inserted first");
    }
}

/// The three trees and what is inserted into each of them.
class Trees {
public:
    Trees() : m_oneByOne(&m_device), m_byDirectory(&m_device), m_inserter(m_byDirectory) {}

    void beginDirectory(const std::string &path, const std::string &category)
    {
        m_directory = path;
        m_category = category;
        m_inserter.beginDirectory(m_paths.add(nullptr, path), category);
    }

    void addHere(const std::string &name, std::uint64_t size)
    {
        m_inserter.addHere(name, size);
        addToTheOthers(m_category + "/" + name, name, size);
    }

    void addElsewhere(const std::string &category, const std::string &name, std::uint64_t size)
    {
        m_inserter.addElsewhere(category, name, size);
        addToTheOthers(category, name, size);
    }

    void addNowhere(const std::string &name)
    {
        require(throwsFor([&] { m_inserter.addElsewhere(std::nullopt, name, 7); }),
                "an absent category path is refused");
        require(throwsFor([&] { m_oneByOne.addNodeForFile(std::nullopt, pathOf(name)); }),
                "an absent category path is refused");
    }

    void check()
    {
        m_inserter.flush();
        compare(m_oneByOne, m_plain);
        compare(m_byDirectory, m_plain);
    }

private:
    template <typename Work> static bool throwsFor(Work work)
    {
        try {
            work();
        } catch (const std::invalid_argument &) {
            return true;
        }
        return false;
    }

    [[nodiscard]] std::string pathOf(const std::string &name) const
    {
        return (m_directory.ends_with('/') ? m_directory : m_directory + "/") + name;
    }

    void addToTheOthers(const std::string &category, const std::string &name, std::uint64_t size)
    {
        // What can't be asked counts nothing, as what is empty.
        m_device.setSize(size == 0 ? std::nullopt : std::optional(size));
        require(m_oneByOne.addNodeForFile(category, pathOf(name)) == size, "the size added is returned");
        insertPlainly(m_plain, category, pathOf(name), size);
    }

    SizeDevice m_device;
    SZANode m_oneByOne;
    SZANode m_byDirectory;
    PathTable &m_paths = m_byDirectory.newPathTable();
    TreeInserter m_inserter;
    PlainNode m_plain;
    std::string m_directory;
    std::string m_category;
};

// Few letters, so that paths meet; any byte, so that nothing is taken for granted.
std::string anyPath(FuzzedDataProvider &input)
{
    if (input.ConsumeProbability<float>() < 0.2F) {
        return input.ConsumeRandomLengthString(24);
    }
    std::string path;
    for (int length = input.ConsumeIntegralInRange(0, 9); length > 0; --length) {
        path.push_back("ab/"[input.ConsumeIntegralInRange<std::size_t>(0, 2)]);
    }
    return path;
}

std::string anyName(FuzzedDataProvider &input)
{
    std::string name = anyPath(input);
    std::erase(name, '/');
    return name.empty() ? "a" : name;
}

std::string anyCategoryOfDirectory(FuzzedDataProvider &input)
{
    std::string category = anyPath(input);
    while (category.ends_with('/')) {
        category.pop_back();
    }
    return category;
}

void insertAnything(FuzzedDataProvider &input)
{
    Trees trees;
    trees.beginDirectory("/", "Others");
    while (input.remaining_bytes() > 0) {
        const auto size = input.ConsumeIntegralInRange<std::uint64_t>(0, 1U << 20U);
        switch (input.ConsumeIntegralInRange(0, 7)) {
        case 0:
        case 1:
            trees.beginDirectory("/" + anyName(input), anyCategoryOfDirectory(input));
            break;
        case 2:
            trees.addElsewhere(anyPath(input), anyName(input), size);
            break;
        case 3:
            trees.addNowhere(anyName(input));
            break;
        case 4:
            trees.check();
            break;
        default:
            trees.addHere(anyName(input), size);
            break;
        }
    }
    trees.check();
}

} // namespace
} // namespace slicewise

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    slicewise::insertAnything(input);
    return 0;
}
