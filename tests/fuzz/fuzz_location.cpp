// Sorts paths of any bytes by the table of places, and by a slow copy of it that takes the longest prefix.
#include "scan/Classifier.h"
#include "scan/LocationClassifier.h"
#include "tests/fuzz/Require.h"
#include "tests/support/ChainOfScan.h"
#include "tests/support/MemoryDevice.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace slicewise {
namespace {

struct Place {
    std::string_view prefix;
    std::string_view category;
    std::string_view dropped; ///< what the category replaces of the path
};

constexpr std::array kPlaces = {
    Place{"/Developer/", "Developer Partition/", "/Developer/"},
    Place{"/Library/", "Operating System", ""},
    Place{"/System/", "Operating System", ""},
    Place{"/bin/", "Operating System", ""},
    Place{"/boot/", "Operating System", ""},
    Place{"/lib/", "Operating System", ""},
    Place{"/private/var/cache/apt/", "Cydia Data/", "/private/var/"},
    Place{"/private/var/lib/", "Cydia Data/", "/private/var/"},
    Place{"/private/var/logs/", "Logs/", "/private/var/"},
    Place{"/private/var/mobile/Library/", "User Library/", "/private/var/mobile/Library/"},
    Place{"/private/var/mobile/Library/Caches/", "Temporary Data", ""},
    Place{"/private/var/mobile/Library/Logs/", "Logs/", "/private/var/"},
    Place{"/private/var/mobile/Library/SMS/", "Messages/", "/private/var/mobile/Library/SMS/"},
    Place{"/private/var/mobile/Media/Books/", "Books/", "/private/var/mobile/Media/Books/"},
    Place{"/private/var/mobile/Media/DCIM/", "Photos/", "/private/var/mobile/Media/DCIM/"},
    Place{"/private/var/mobile/Media/Downloads/", "Downloads/", "/private/var/mobile/Media/Downloads/"},
    Place{"/private/var/mobile/Media/PhotoData/", "Photos/Meta Data/",
          "/private/var/mobile/Media/PhotoData/"},
    Place{"/private/var/mobile/Media/PhotoStreamsData/", "Photos/Streams/",
          "/private/var/mobile/Media/PhotoStreamsData/"},
    Place{"/private/var/mobile/Media/ROMs/", "ROMs/", "/private/var/mobile/Media/ROMs/"},
    Place{"/private/var/mobile/Media/Recordings/", "Recordings/", "/private/var/mobile/Media/Recordings/"},
    Place{"/private/var/mobile/Media/iTunes_Control/", "iTunes/",
          "/private/var/mobile/Media/iTunes_Control/"},
    Place{"/private/var/stash/", "Operating System", ""},
    Place{"/private/var/tmp/", "Temporary Data", ""},
    Place{"/sbin/", "Operating System", ""},
    Place{"/usr/", "Operating System", ""},
};

std::optional<std::string> slowLocation(const std::string &path)
{
    const Place *longest = nullptr;
    for (const Place &place : kPlaces) {
        if (path.compare(0, place.prefix.size(), place.prefix) == 0 &&
            (longest == nullptr || place.prefix.size() > longest->prefix.size())) {
            longest = &place;
        }
    }
    if (longest == nullptr) {
        return std::nullopt;
    }
    return std::string(longest->category) + path.substr(longest->dropped.size());
}

std::optional<std::string> byDirectory(const DirectoryAnswer &answer, const std::string &name,
                                       const std::optional<std::string> &byFile)
{
    switch (answer.kind) {
    case DirectoryAnswer::Kind::Declines:
        return std::nullopt;
    case DirectoryAnswer::Kind::Takes:
        return answer.category + "/" + name;
    case DirectoryAnswer::Kind::AskByFile:
        break;
    }
    return byFile;
}

// A path that has a good chance to lie in one of the places, or just beside one.
std::string anyPath(FuzzedDataProvider &input)
{
    const auto choice = input.ConsumeIntegralInRange<std::size_t>(0, kPlaces.size());
    std::string path;
    if (choice < kPlaces.size()) {
        path = kPlaces.at(choice).prefix;
        path.resize(path.size() - input.ConsumeIntegralInRange<std::size_t>(0, 2));
    }
    return path + input.ConsumeRemainingBytesAsString();
}

void sortPath(const std::string &path, Log &log)
{
    require(classifyLocation(path) == slowLocation(path), "the first rule that matches is the longest one");
    require(classifyOther(path) == "Others" + path, "what is left goes to the others with its whole path");

    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos || slash + 1 == path.size()) {
        return; // not the path of a file
    }
    const std::string name = path.substr(slash + 1);
    const std::string directory = slash == 0 ? "/" : path.substr(0, slash);
    if (slash != 0 && directory.ends_with('/')) {
        return; // a walk makes none of these
    }
    require(byDirectory(classifyLocationOfDirectory(directory), name, classifyLocation(path)) ==
                classifyLocation(path),
            "the table says the same of a directory as of its files");
    require(byDirectory(classifyOtherOfDirectory(directory), name, classifyOther(path)) ==
                classifyOther(path),
            "the last classifier says the same of a directory as of its files");
    static const MemoryDevice device;
    static const ChainOfScan own(device);
    const ClassifierChain &chain = own.chain();
    require(classifyFileByPlan(chain, planDirectory(chain, directory), path, name, log) ==
                classifyFile(chain, path, log),
            "a directory's plan gives what asking the chain for the file gives");
}

} // namespace
} // namespace slicewise

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    slicewise::Log log([](std::string_view) {});
    slicewise::sortPath(slicewise::anyPath(input), log);
    return 0;
}
