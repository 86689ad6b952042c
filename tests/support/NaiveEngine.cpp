#include "tests/support/NaiveEngine.h"

#include "tests/support/TreeText.h"

#include <fmt/format.h>

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <exception>
#include <utility>

namespace slicewise {

// ---- the tree

std::uint64_t naiveAdd(NaiveNode &node, const std::string &categoryPath, const std::string &file,
                       std::uint64_t sizeBytes)
{
    const std::size_t slash = categoryPath.find('/');
    const std::string head = categoryPath.substr(0, slash);
    const std::string rest = slash == std::string::npos ? "" : categoryPath.substr(slash + 1);

    if (!node.children.contains(head)) {
        auto made = std::make_shared<NaiveNode>();
        made->index = node.children.size();
        node.children[head] = made;
    }
    NaiveNode &child = *node.children[head];
    if (!rest.empty()) {
        const std::uint64_t added = naiveAdd(child, rest, file, sizeBytes);
        node.sizeBytes += added;
        return added;
    }
    node.sizeBytes += sizeBytes;
    child.sizeBytes = sizeBytes;
    child.filename = file;
    return sizeBytes;
}

bool naiveRemove(NaiveNode &node, const NaiveNode *child, std::span<NaiveNode *const> affected)
{
    std::vector<std::string> keys;
    for (const auto &[key, stored] : node.children) {
        if (stored.get() == child) {
            keys.push_back(key);
        }
    }
    if (keys.size() != 1) {
        return false;
    }
    const std::uint64_t sizeBytes = child->sizeBytes;
    node.children.erase(keys.front());
    for (NaiveNode *one : affected) {
        one->sizeBytes -= sizeBytes;
    }
    return true;
}

std::vector<std::string> naiveOrderByIndex(const NaiveNode &node)
{
    std::vector<std::string> names;
    for (const auto &[name, child] : node.children) {
        names.push_back(name); // a map has them by name already
    }
    std::stable_sort(names.begin(), names.end(), [&](const std::string &left, const std::string &right) {
        return node.children.at(left)->index < node.children.at(right)->index;
    });
    return names;
}

std::vector<std::string> naiveOrderBySize(const NaiveNode &node)
{
    std::vector<std::string> names = naiveOrderByIndex(node);
    std::stable_sort(names.begin(), names.end(), [&](const std::string &left, const std::string &right) {
        return node.children.at(left)->sizeBytes > node.children.at(right)->sizeBytes;
    });
    return names;
}

// ---- the scan

namespace {

std::string joined(const std::string &directory, const std::string &name)
{
    return directory == "/" ? "/" + name : directory + "/" + name;
}

std::optional<std::string> classifyByAll(const ClassifierChain &chain, const std::string &file, Log &log)
{
    for (std::size_t i = 0; i < chain.size(); ++i) {
        try {
            if (const std::optional<std::string> category = chain[i].classify(file)) {
                return category;
            }
        } catch (const std::exception &exception) {
            log.line(
                fmt::format("{} raised for file {} while using classifier {}", exception.what(), file, i));
        }
    }
    log.line("Failed to get node for (null)!");
    return std::nullopt;
}

std::uint64_t sizeOfFile(const std::string &hostPath)
{
    struct stat status = {};
    return ::stat(hostPath.c_str(), &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

unsigned char typeOf(const dirent &entry, const std::string &hostPath)
{
    if (entry.d_type != DT_UNKNOWN) {
        return entry.d_type;
    }
    struct stat status = {};
    if (::lstat(hostPath.c_str(), &status) != 0) {
        return DT_UNKNOWN;
    }
    return S_ISREG(status.st_mode) ? DT_REG : S_ISDIR(status.st_mode) ? DT_DIR : DT_LNK;
}

} // namespace

NaiveScan naiveScan(const std::string &hostRoot, const std::string &rootPath, const ClassifierChain &chain,
                    Log &log)
{
    NaiveScan scan;
    std::vector<std::string> stack = {rootPath};
    while (!stack.empty()) {
        const std::string directory = stack.back();
        stack.pop_back();
        DIR *stream = ::opendir((hostRoot + directory).c_str());
        if (stream == nullptr) {
            continue;
        }
        ++scan.directories;
        scan.directoriesInOrder.push_back(directory);
        while (const dirent *entry = ::readdir(stream)) { // NOLINT(concurrency-mt-unsafe): one thread's own
            const std::string name = entry->d_name;
            const std::string path = joined(directory, name);
            if (name == "." || name == ".." || path == "/.file") {
                continue;
            }
            const unsigned char type = typeOf(*entry, hostRoot + path);
            if (type == DT_DIR) {
                stack.push_back(path);
            }
            if (type != DT_REG) {
                continue;
            }
            if (const std::optional<std::string> category = classifyByAll(chain, path, log)) {
                naiveAdd(scan.root, *category, path, sizeOfFile(hostRoot + path));
                ++scan.filesInTree;
            } else {
                log.line("A file can't be added under an absent category path raised while adding file " +
                         path);
            }
        }
        ::closedir(stream);
    }
    return scan;
}

// ---- the comparison

namespace {

std::vector<std::string> namesShown(SZANode &node, bool bySize)
{
    const bool before = node.sort();
    node.setSort(bySize);
    std::vector<std::string> names;
    for (const SZANode *child : node.getNodes()) {
        names.emplace_back(child->name());
    }
    node.setSort(before);
    return names;
}

std::string listed(const std::vector<std::string> &names)
{
    std::string text;
    for (const std::string &name : names) {
        text += " \"" + asciiText(name) + "\"";
    }
    return text;
}

std::optional<std::string> differenceOfNode(const NaiveNode &naive, SZANode &fast)
{
    if (naive.sizeBytes != fast.size()) {
        return fmt::format("size {} instead of {}", fast.size(), naive.sizeBytes);
    }
    if (naive.index != fast.index()) {
        return fmt::format("index {} instead of {}", fast.index(), naive.index);
    }
    if (naive.filename != fast.filename()) {
        return fmt::format("file name {} instead of {}", asciiText(fast.filename().value_or("(absent)")),
                           asciiText(naive.filename.value_or("(absent)")));
    }
    if (naive.children.size() != fast.childCount()) {
        return fmt::format("{} children instead of {}", fast.childCount(), naive.children.size());
    }
    if (const auto names = namesShown(fast, true); names != naiveOrderBySize(naive)) {
        return fmt::format("by size{} instead of{}", listed(names), listed(naiveOrderBySize(naive)));
    }
    if (const auto names = namesShown(fast, false); names != naiveOrderByIndex(naive)) {
        return fmt::format("by insertion{} instead of{}", listed(names), listed(naiveOrderByIndex(naive)));
    }
    return std::nullopt;
}

} // namespace

std::optional<std::string> differenceBetween(const NaiveNode &naive, SZANode &fast)
{
    struct Pair {
        const NaiveNode *naive;
        SZANode *fast;
        std::string place;
    };
    std::vector<Pair> open = {{&naive, &fast, ""}};
    while (!open.empty()) {
        const Pair pair = std::move(open.back());
        open.pop_back();
        if (const auto difference = differenceOfNode(*pair.naive, *pair.fast)) {
            return fmt::format("\"{}\" has {}", asciiText(pair.place), *difference);
        }
        for (const auto &[name, child] : pair.naive->children) {
            SZANode *other = pair.fast->childNamed(name);
            if (other == nullptr || other->name() != name) {
                return fmt::format(R"("{}" does not find its child "{}")", asciiText(pair.place),
                                   asciiText(name));
            }
            open.push_back({child.get(), other, pair.place + "/" + name});
        }
    }
    return std::nullopt;
}

} // namespace slicewise
