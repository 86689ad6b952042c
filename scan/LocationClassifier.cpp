#include "scan/LocationClassifier.h"

#include <array>
#include <cstddef>
#include <string_view>

namespace slicewise {

namespace {

struct Rule {
    std::string_view prefix;
    std::string_view category; ///< what stands before the rest of the path
    std::size_t from;          ///< where in the path the rest begins
};

// The first that matches decides, so the special places in mobile's library come before the library.
// Two kinds of places keep what lies below /private/var/ rather than below their own prefix: without it the
// package tool's two directories, and the two of logs, would fall together.
constexpr std::array kRules = {
    Rule{"/bin/", "Operating System", 0},
    Rule{"/boot/", "Operating System", 0},
    Rule{"/lib/", "Operating System", 0},
    Rule{"/sbin/", "Operating System", 0},
    Rule{"/System/", "Operating System", 0},
    Rule{"/usr/", "Operating System", 0},
    Rule{"/Library/", "Operating System", 0},
    Rule{"/private/var/stash/", "Operating System", 0},
    Rule{"/private/var/mobile/Library/Caches/", "Temporary Data", 0},
    Rule{"/private/var/tmp/", "Temporary Data", 0},
    Rule{"/private/var/mobile/Library/SMS/", "Messages/", 32},
    Rule{"/Developer/", "Developer Partition/", 11},
    Rule{"/private/var/lib/", "Cydia Data/", 13},
    Rule{"/private/var/cache/apt/", "Cydia Data/", 13},
    Rule{"/private/var/logs/", "Logs/", 13},
    Rule{"/private/var/mobile/Library/Logs/", "Logs/", 13},
    Rule{"/private/var/mobile/Library/", "User Library/", 28},
    Rule{"/private/var/mobile/Media/Books/", "Books/", 32},
    Rule{"/private/var/mobile/Media/DCIM/", "Photos/", 31},
    Rule{"/private/var/mobile/Media/Downloads/", "Downloads/", 36},
    Rule{"/private/var/mobile/Media/PhotoData/", "Photos/Meta Data/", 36},
    Rule{"/private/var/mobile/Media/PhotoStreamsData/", "Photos/Streams/", 43},
    Rule{"/private/var/mobile/Media/ROMs/", "ROMs/", 31},
    Rule{"/private/var/mobile/Media/Recordings/", "Recordings/", 37},
    Rule{"/private/var/mobile/Media/iTunes_Control/", "iTunes/", 41},
};

const Rule *ruleFor(std::string_view path)
{
    for (const Rule &rule : kRules) {
        if (path.starts_with(rule.prefix)) {
            return &rule;
        }
    }
    return nullptr;
}

std::string fill(std::string_view category, std::string_view rest)
{
    std::string text;
    text.reserve(category.size() + rest.size());
    text.append(category).append(rest);
    return text;
}

// A directory's own path as the front of its files': "/usr" is "/usr/", "/" stays.
std::string frontOfFiles(const std::string &directory)
{
    return directory.ends_with('/') ? directory : directory + "/";
}

DirectoryAnswer takes(std::string category)
{
    category.pop_back(); // the "/" between directory and file name
    return {.kind = DirectoryAnswer::Kind::Takes, .category = std::move(category)};
}

} // namespace

std::optional<std::string> classifyLocation(const std::string &path)
{
    const Rule *rule = ruleFor(path);
    if (rule == nullptr) {
        return std::nullopt;
    }
    return fill(rule->category, std::string_view(path).substr(rule->from));
}

std::optional<std::string> classifyOther(const std::string &path)
{
    return fill("Others", path);
}

DirectoryAnswer classifyLocationOfDirectory(const std::string &directory)
{
    std::optional<std::string> category = classifyLocation(frontOfFiles(directory));
    if (!category) {
        return {.kind = DirectoryAnswer::Kind::Declines, .category = {}};
    }
    return takes(std::move(*category));
}

DirectoryAnswer classifyOtherOfDirectory(const std::string &directory)
{
    return takes(*classifyOther(frontOfFiles(directory)));
}

} // namespace slicewise
