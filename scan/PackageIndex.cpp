#include "scan/PackageIndex.h"

#include "platform/SplitPath.h"
#include "platform/TextMap.h"
#include "scan/Utf8.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <span>
#include <utility>

namespace slicewise {

namespace {

constexpr const char *kTool = "dpkg";

// What one call is asked for at most. An argument vector may be 128 KiB on the smallest systems, and what is
// held back until a call has ended well should stay small.
constexpr std::size_t kMostPackagesAtOnce = 1024;
constexpr std::size_t kMostNameBytesAtOnce = std::size_t{32} * 1024;
constexpr std::size_t kMostBytesHeldBack = std::size_t{32} << 20U;
// Into how many calls one is divided whose answer can't be used.
constexpr std::size_t kPartsOfFailedCall = 8;
// No package tool lists more; a listing that does is garbage.
constexpr std::size_t kMostPackages = 200'000;
constexpr std::size_t kMostListingBytes = std::size_t{32} << 20U;
// What all file lists together may come to, each line with what remembering it costs; ten times what a
// machine full of packages has. A tool that never stops writing must not fill the memory.
constexpr std::size_t kMostFileListBytes = std::size_t{512} << 20U;
constexpr std::size_t kBytesToRememberALine = 64;

struct ListedPackage {
    std::string name;
    std::string line; ///< of the list, for the log
};

/// What one line of a file list comes to.
struct Entry {
    std::size_t package = 0; ///< index among those of the call
    std::string path;        ///< resolved; empty where `log` has something to say
    std::string log;
};

/// Entries, packed: there are a hundred thousand before it is known whether they count.
class HeldBack {
public:
    /// The bytes that it takes.
    std::size_t add(Entry entry)
    {
        auto *bytes = m_texts.allocate<char>(entry.path.size());
        std::copy(entry.path.begin(), entry.path.end(), bytes);
        std::uint32_t logLine = kNoLine;
        const std::size_t size = sizeof(Packed) + entry.path.size() + entry.log.size();
        if (!entry.log.empty()) {
            logLine = static_cast<std::uint32_t>(m_logLines.size());
            m_logLines.push_back(std::move(entry.log));
        }
        m_entries.push_back({.path = bytes,
                             .length = static_cast<std::uint32_t>(entry.path.size()),
                             .package = static_cast<std::uint32_t>(entry.package),
                             .logLine = logLine});
        return size;
    }

    template <typename Visit> void forEach(const Visit &visit) const
    {
        for (const Packed &entry : m_entries) {
            visit(entry.package, std::string_view(entry.path, entry.length),
                  entry.logLine == kNoLine ? nullptr : &m_logLines[entry.logLine]);
        }
    }

private:
    static constexpr std::uint32_t kNoLine = ~std::uint32_t{0};
    struct Packed {
        const char *path = nullptr;
        std::uint32_t length = 0;
        std::uint32_t package = 0;
        std::uint32_t logLine = kNoLine;
    };

    Arena m_texts;
    std::vector<Packed> m_entries;
    std::vector<std::string> m_logLines;
};

// The tool's messages come in one stream with its lists, but not in step with them: in the middle of a line,
// or in the list of another package.
bool isWarning(std::string_view line)
{
    return line.find(": warning: ") != std::string_view::npos;
}

class IndexLoader {
public:
    IndexLoader(const Device &device, Log &log, const PackageTool &tool)
        : m_log(log), m_tool(tool), m_resolver(device.makeResolver()), m_front(packageQueryFor(device))
    {}

    PackageIndex load()
    {
        if (!m_front.empty()) {
            const std::vector<ListedPackage> packages = listPackages();
            std::span<const ListedPackage> rest = packages;
            while (!rest.empty() && !m_ended) {
                const std::size_t count = howManyAtOnce(rest);
                listFilesOf(rest.first(count));
                rest = rest.subspan(count);
            }
        }
        return std::move(m_index);
    }

private:
    [[nodiscard]] ArgumentVector argumentsFor(const char *action) const
    {
        ArgumentVector arguments = m_front;
        arguments.emplace_back(action);
        return arguments;
    }

    std::vector<ListedPackage> listPackages()
    {
        std::vector<ListedPackage> packages;
        package_listing::PackageLines lines;
        std::size_t bytes = 0;
        bool garbage = false;
        const LinesEnd end = m_tool(argumentsFor("-l"), [&](std::string_view line) {
            bytes += line.size();
            if (std::optional<std::string> name = lines.nameIn(line)) {
                packages.push_back({.name = std::move(*name), .line = std::string(line)});
            } else if (isWarning(line)) {
                m_usualWarnings.emplace(line);
            }
            garbage = packages.size() > kMostPackages || bytes > kMostListingBytes;
            return !garbage;
        });
        m_ended = garbage || !end.complete;
        return packages;
    }

    static std::size_t howManyAtOnce(std::span<const ListedPackage> packages)
    {
        std::size_t count = 0;
        std::size_t bytes = 0;
        while (count < std::min(packages.size(), kMostPackagesAtOnce) && bytes < kMostNameBytesAtOnce) {
            bytes += packages[count].name.size() + 1;
            ++count;
        }
        return count;
    }

    void listFilesOf(std::span<const ListedPackage> packages)
    {
        if (packages.size() == 1) {
            // Entered as they come, however many they are and however it ends.
            const LinesEnd end = run(packages, [&](std::string_view line) {
                const Entry entry = entryFor(packages, 0, line);
                enter(packages[0], entry.path, entry.log.empty() ? nullptr : &entry.log);
                return true;
            });
            m_ended = m_ended || !end.complete;
            return;
        }
        if (listTogether(packages) || m_ended) {
            return;
        }
        const std::size_t part = (packages.size() + kPartsOfFailedCall - 1) / kPartsOfFailedCall;
        while (!packages.empty() && !m_ended) {
            const std::size_t count = std::min(part, packages.size());
            listFilesOf(packages.first(count));
            packages = packages.subspan(count);
        }
    }

    // The lists of several packages come with an empty line between them. True where they could be told
    // apart.
    bool listTogether(std::span<const ListedPackage> packages)
    {
        HeldBack held;
        std::size_t bytes = 0;
        std::size_t at = 0;
        bool left = false;
        const auto note = [&](std::string_view line) { bytes += held.add(entryFor(packages, at, line)); };
        // A warning that comes with every call, for instance about the whole database, comes once for all
        // packages of this one, in front. Alone, each of them would have it.
        std::vector<std::string> inFront;
        bool isInFront = true;
        const LinesEnd end = run(packages, [&](std::string_view line) {
            const bool warning = isWarning(line);
            isInFront = isInFront && warning && m_usualWarnings.contains(line);
            if (isInFront) {
                inFront.emplace_back(line);
            }
            if (line.empty() && ++at < packages.size()) {
                std::for_each(inFront.begin(), inFront.end(), note);
            } else if (!line.empty()) {
                note(line);
            }
            left = at == packages.size() || bytes >= kMostBytesHeldBack || (warning && !isInFront);
            return !left;
        });
        m_ended = m_ended || (!end.complete && !left);
        if (left || !end.complete || end.waitStatus != 0 || at + 1 != packages.size()) {
            return false;
        }
        held.forEach([&](std::uint32_t package, std::string_view path, const std::string *logLine) {
            enter(packages[package], path, logLine);
        });
        return true;
    }

    LinesEnd run(std::span<const ListedPackage> packages, const std::function<bool(std::string_view)> &line)
    {
        ArgumentVector arguments = argumentsFor("-L");
        for (const ListedPackage &package : packages) {
            arguments.push_back(package.name);
        }
        return m_tool(arguments, [&](std::string_view text) {
            m_fileListBytes += text.size() + kBytesToRememberALine;
            m_ended = m_fileListBytes > kMostFileListBytes;
            return !m_ended && line(text);
        });
    }

    Entry entryFor(std::span<const ListedPackage> packages, std::size_t package, std::string_view line)
    {
        Entry entry{.package = package, .path = {}, .log = {}};
        Result<std::string> resolved = m_resolver->resolve(line);
        if (!resolved) {
            entry.log = fmt::format("Failed resolving {}", line);
        } else if (!isUtf8(*resolved) || !isUtf8(packages[package].name)) {
            entry.log = fmt::format("Exception while parsing dpkg. ({}, {})", packages[package].line, line);
        } else {
            entry.path = std::move(resolved).value();
        }
        return entry;
    }

    void enter(const ListedPackage &package, std::string_view path, const std::string *logLine)
    {
        if (logLine != nullptr) {
            m_log.line(*logLine);
        } else if (!path.empty()) {
            m_index.assign(path, package.name);
        }
    }

    Log &m_log;
    const PackageTool &m_tool;
    std::unique_ptr<PathResolver> m_resolver;
    ArgumentVector
        m_front;          ///< the tool and what comes before its action; empty where there is nothing to ask
    bool m_ended = false; ///< stopped, or the tool has stalled and would again, or writes without end
    TextSet m_usualWarnings; ///< that came with the list of packages
    std::size_t m_fileListBytes = 0;
    PackageIndex m_index;
};

} // namespace

// ---- the index

std::string_view PackageIndex::keep(std::string_view text)
{
    auto *bytes = m_texts.allocate<char>(text.size());
    std::copy(text.begin(), text.end(), bytes);
    return {bytes, text.size()};
}

std::uint32_t PackageIndex::numberOf(std::string_view package)
{
    if (!m_packages.empty() && m_packages.back() == package) {
        return static_cast<std::uint32_t>(m_packages.size() - 1);
    }
    if (const auto known = m_numbers.find(package); known != m_numbers.end()) {
        return known->second;
    }
    const auto number = static_cast<std::uint32_t>(m_packages.size());
    m_packages.push_back(keep(package));
    m_numbers.emplace(m_packages.back(), number);
    return number;
}

void PackageIndex::assign(std::string_view path, std::string_view package)
{
    const auto [directory, name] = splitPath(path);
    auto names = m_directories.find(directory);
    if (names == m_directories.end()) {
        names = m_directories.emplace(keep(directory), Names()).first;
    }
    const std::uint32_t number = numberOf(package);
    if (const auto known = names->second.find(name); known != names->second.end()) {
        known->second = number;
    } else {
        names->second.emplace(keep(name), number);
    }
}

std::optional<std::string_view> PackageIndex::packageOf(std::string_view path) const
{
    const auto [directory, name] = splitPath(path);
    const auto names = m_directories.find(directory);
    if (names == m_directories.end()) {
        return std::nullopt;
    }
    const auto found = names->second.find(name);
    return found == names->second.end() ? std::nullopt : std::optional(m_packages[found->second]);
}

bool PackageIndex::hasAnyIn(std::string_view directory) const
{
    return m_directories.contains(directory == "/" ? std::string_view() : directory);
}

std::size_t PackageIndex::pathCount() const
{
    std::size_t count = 0;
    for (const auto &[directory, names] : m_directories) {
        count += names.size();
    }
    return count;
}

void PackageIndex::forEach(
    const std::function<void(const std::string &path, std::string_view package)> &visit) const
{
    for (const auto &[directory, names] : m_directories) {
        for (const auto &[name, number] : names) {
            visit(fmt::format("{}/{}", directory, name), m_packages[number]);
        }
    }
}

// ---- loading it

PackageTool packageToolOnPath(const std::atomic<bool> *stop)
{
    return [stop](const ArgumentVector &arguments, const std::function<bool(std::string_view)> &line) {
        LineLimits limits;
        limits.stop = stop;
        return forEachOutputLine(arguments.front(), arguments, line, limits);
    };
}

ArgumentVector packageQueryFor(const Device &device)
{
    const Result<std::string> root = device.hostPath("/");
    if (!root) {
        return {}; // it is on no host, so no program can look into it
    }
    if (*root == "/") {
        return {kTool};
    }
    // The resolved path: below a root that is not its own the tool would follow the device's absolute links
    // on the host, and see no packages, or somebody else's.
    const Result<std::string> database = device.hostPath("/var/lib/dpkg");
    return database ? ArgumentVector{kTool, "--admindir=" + *database} : ArgumentVector{};
}

PackageIndex loadPackageIndex(const Device &device, Log &log, const PackageTool &tool)
{
    return IndexLoader(device, log, tool).load();
}

namespace package_listing {

std::optional<std::string> PackageLines::nameIn(std::string_view line)
{
    if (m_inHead) {
        m_inHead = !line.starts_with('+');
        return std::nullopt;
    }
    // The third of the fields between single spaces: two spaces follow the letters of the state.
    for (int field = 0; field < 2; ++field) {
        const std::size_t space = line.find(' ');
        if (space == std::string_view::npos) {
            return std::nullopt;
        }
        line.remove_prefix(space + 1);
    }
    const std::string_view name = line.substr(0, line.find(' '));
    // With "-" it would be taken for an option.
    if (name.empty() || name.starts_with('-')) {
        return std::nullopt;
    }
    return std::string(name);
}

} // namespace package_listing

// ---- the classifier

std::optional<std::string> classifyPackage(const PackageIndex &packageIndex, const std::string &path)
{
    const std::optional<std::string_view> package = packageIndex.packageOf(path);
    if (!package) {
        return std::nullopt;
    }
    constexpr std::string_view kFront = "Cydia Packages/";
    std::string category;
    category.reserve(kFront.size() + package->size() + path.size());
    return category.append(kFront).append(*package).append(path);
}

DirectoryAnswer classifyPackageOfDirectory(const PackageIndex &packageIndex, const std::string &directory)
{
    const auto kind =
        packageIndex.hasAnyIn(directory) ? DirectoryAnswer::Kind::AskByFile : DirectoryAnswer::Kind::Declines;
    return {.kind = kind, .category = {}};
}

} // namespace slicewise
