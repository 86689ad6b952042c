// make-tree KIND COUNT DIR: makes a tree of regular files to measure on, the same one every time.
//
//   many-small     COUNT files in many small directories, 5 to 15 in each, about six levels deep
//   one-directory  COUNT files in DIR itself
//   containers     COUNT files of applications, as a device keeps them: a container for what was installed
//   and one
//                  for what was written, 500 files in each
//   chain          COUNT directories, each inside the one before it, with a file in each
//
// The files have sizes of up to 64 KiB and no content, but for the lists that name applications, so that a
// million of them fill no disk. DIR must not be there yet, or be empty. Says what it made in one line.
#include "platform/UniqueFd.h"

#include <fmt/format.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <optional>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace slicewise {

namespace {

constexpr std::uint64_t kSeed = 20240229;
constexpr std::uint64_t kFewestFiles = 5;
constexpr std::uint64_t kMostFiles = 15;
constexpr std::uint64_t kFilesOfContainer = 500;
constexpr double kLevels = 6;
constexpr unsigned kLargestSizeBits = 16;

[[noreturn]] void failAt(const std::string &what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

/// Names and sizes. The engine is the standard's, whose numbers are laid down; its distributions are not, and
/// would differ from library to library.
class Chance {
public:
    /// From 0 up to but not including the limit.
    std::uint64_t below(std::uint64_t limit) { return m_engine() % limit; }

    /// As long as names usually are, and no two of one number are alike.
    std::string name(std::uint64_t number)
    {
        static constexpr std::array<std::string_view, 16> kSyllables = {
            "ar", "be", "con", "dra", "el", "fi", "gor", "hu",
            "im", "lo", "men", "or",  "pa", "ri", "sta", "tu"};
        std::string name;
        for (std::uint64_t left = 2 + below(5); left > 0; --left) {
            name += kSyllables[below(kSyllables.size())];
        }
        return fmt::format("{}{:x}", name, number);
    }

    std::string fileName(std::uint64_t number)
    {
        static constexpr std::array<std::string_view, 8> kEndings = {"",     ".h",    ".txt",  ".png",
                                                                     ".cpp", ".json", ".html", ".so.1"};
        return name(number).append(kEndings[below(kEndings.size())]);
    }

    /// Small ones are more frequent than large ones, as on a real disk.
    off_t size()
    {
        const std::uint64_t bits = below(kLargestSizeBits + 1);
        return static_cast<off_t>(below(std::uint64_t{1} << bits));
    }

private:
    std::mt19937_64 m_engine{kSeed};
};

class TreeMaker {
public:
    explicit TreeMaker(const std::filesystem::path &root)
    {
        std::filesystem::create_directories(root);
        if (!std::filesystem::is_empty(root)) {
            errno = ENOTEMPTY;
            failAt(root.string());
        }
        m_root.reset(::open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (!m_root) {
            failAt(root.string());
        }
    }

    void makeManySmall(std::uint64_t files);
    void makeOneDirectory(std::uint64_t files) { makeFiles(m_root.get(), files); }
    void makeChain(std::uint64_t directories);
    void makeContainers(std::uint64_t files);

    [[nodiscard]] std::string summary() const
    {
        return fmt::format("{} files in {} directories, {} bytes, {} levels deep", m_files, m_directories,
                           m_bytes, m_deepestLevel);
    }

private:
    /// A directory of a tree that is to be made.
    struct Plan {
        std::uint64_t files = 0;
        std::vector<std::size_t> children;
    };

    void makeFiles(int directory, std::uint64_t count)
    {
        for (std::uint64_t number = 0; number < count; ++number) {
            // One after the other: compilers differ in the order in which they evaluate arguments.
            const std::string name = m_chance.fileName(number);
            makeFile(directory, name, m_chance.size());
        }
    }

    void makeFile(int directory, const std::string &name, off_t size);
    void makeStoreData(int directory, std::uint64_t number);
    UniqueFd makeDirectory(int parent, const std::string &name, std::uint64_t level);
    [[nodiscard]] std::vector<Plan> planManySmall(std::uint64_t files);
    void makePlanned(const std::vector<Plan> &plans, std::size_t index, int directory, std::uint64_t level);

    Chance m_chance;
    UniqueFd m_root;
    std::uint64_t m_files = 0;
    std::uint64_t m_directories = 1;
    std::uint64_t m_bytes = 0;
    std::uint64_t m_deepestLevel = 1;
};

void TreeMaker::makeFile(int directory, const std::string &name, off_t size)
{
    const UniqueFd file(::openat(directory, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
    if (!file || ::ftruncate(file.get(), size) != 0) {
        failAt(name);
    }
    ++m_files;
    m_bytes += static_cast<std::uint64_t>(size);
}

UniqueFd TreeMaker::makeDirectory(int parent, const std::string &name, std::uint64_t level)
{
    if (::mkdirat(parent, name.c_str(), 0755) != 0) {
        failAt(name);
    }
    UniqueFd directory(::openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!directory) {
        failAt(name);
    }
    ++m_directories;
    m_deepestLevel = std::max(m_deepestLevel, level);
    return directory;
}

void TreeMaker::makeChain(std::uint64_t directories)
{
    // One descriptor at a time, and never a path: these get longer than the kernel takes them.
    UniqueFd directory(::dup(m_root.get()));
    for (std::uint64_t made = 0; made < directories; ++made) {
        directory = makeDirectory(directory.get(), m_chance.name(made), made + 2);
        makeFiles(directory.get(), 1);
    }
}

// What the store says of an application: a property list with its name.
void TreeMaker::makeStoreData(int directory, std::uint64_t number)
{
    const std::string list =
        fmt::format("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
                    "<key>itemName</key><string>Application {}</string></dict></plist>\n",
                    number);
    const char *name = "iTunesMetadata.plist";
    const UniqueFd file(::openat(directory, name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
    if (!file || ::write(file.get(), list.data(), list.size()) != static_cast<ssize_t>(list.size())) {
        failAt(name);
    }
    ++m_files;
    m_bytes += list.size();
}

void TreeMaker::makeContainers(std::uint64_t files)
{
    std::uint64_t level = 1;
    UniqueFd place(::dup(m_root.get()));
    for (const char *name : {"private", "var", "mobile", "Containers"}) {
        place = makeDirectory(place.get(), name, ++level);
    }
    std::array<UniqueFd, 2> kinds;
    for (std::size_t kind = 0; kind < kinds.size(); ++kind) {
        const UniqueFd above = makeDirectory(place.get(), kind == 0 ? "Bundle" : "Data", level + 1);
        kinds.at(kind) = makeDirectory(above.get(), "Application", level + 2);
    }
    for (std::uint64_t number = 0; files > 0; ++number) {
        const std::size_t kind = number % kinds.size();
        std::uint64_t here = std::min(files, kFilesOfContainer);
        files -= here;
        const UniqueFd container = makeDirectory(
            kinds.at(kind).get(), fmt::format("{:08X}-0000-4000-8000-000000000000", number), level + 3);
        if (kind == 0) {
            makeStoreData(container.get(), number);
            --here;
        }
        const std::vector<Plan> plans = planManySmall(here);
        if (!plans.empty()) {
            const UniqueFd top =
                makeDirectory(container.get(), kind == 0 ? "Application.app" : "Library", level + 4);
            makePlanned(plans, 0, top.get(), level + 4);
        }
    }
}

std::vector<TreeMaker::Plan> TreeMaker::planManySmall(std::uint64_t files)
{
    std::vector<Plan> plans;
    for (std::uint64_t left = files; left > 0;) {
        const std::uint64_t here =
            std::min(left, kFewestFiles + m_chance.below(kMostFiles - kFewestFiles + 1));
        plans.push_back({.files = here, .children = {}});
        left -= here;
    }
    // Level by level, each directory with as many below it as make the tree of the depth that is wanted.
    const double width = std::pow(static_cast<double>(plans.size()), 1 / kLevels);
    const auto mostChildren = static_cast<std::uint64_t>(std::lround(2 * width)) - 1;
    std::size_t next = 1;
    for (Plan &plan : plans) {
        for (std::uint64_t left = 1 + m_chance.below(mostChildren); left > 0 && next < plans.size(); --left) {
            plan.children.push_back(next++);
        }
    }
    return plans;
}

void TreeMaker::makeManySmall(std::uint64_t files)
{
    const std::vector<Plan> plans = planManySmall(files);
    if (!plans.empty()) {
        makePlanned(plans, 0, m_root.get(), 1);
    }
}

// Branch by branch, as an archive is unpacked: the disk's layout is part of what is measured.
void TreeMaker::makePlanned(const std::vector<Plan> &plans, std::size_t index, int directory,
                            std::uint64_t level)
{
    makeFiles(directory, plans[index].files);
    for (const std::size_t child : plans[index].children) {
        const UniqueFd made = makeDirectory(directory, m_chance.name(child), level + 1);
        makePlanned(plans, child, made.get(), level + 1);
    }
}

int makeTree(std::span<char *> words)
{
    std::uint64_t count = 0;
    const std::string_view number = words.size() == 3 ? words[1] : "";
    const char *end = number.data() + number.size();
    const auto [rest, error] = std::from_chars(number.data(), end, count);
    const std::string_view kind = words.empty() ? "" : words[0];
    if (error != std::errc() || rest != end || count == 0 ||
        (kind != "many-small" && kind != "one-directory" && kind != "containers" && kind != "chain")) {
        fmt::print(stderr, "usage: make-tree many-small|one-directory|containers|chain COUNT DIR\n");
        return 2;
    }
    try {
        TreeMaker maker{std::filesystem::path(words[2])};
        if (kind == "many-small") {
            maker.makeManySmall(count);
        } else if (kind == "one-directory") {
            maker.makeOneDirectory(count);
        } else if (kind == "containers") {
            maker.makeContainers(count);
        } else {
            maker.makeChain(count);
        }
        fmt::print("{}: {}\n", words[2], maker.summary());
        return 0;
    } catch (const std::exception &failure) {
        fmt::print(stderr, "make-tree: {}\n", failure.what());
        return 1;
    }
}

} // namespace

} // namespace slicewise

int main(int argc, char **argv)
{
    return slicewise::makeTree(std::span(argv, static_cast<std::size_t>(argc)).subspan(1));
}
