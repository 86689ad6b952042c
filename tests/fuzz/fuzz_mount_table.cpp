// Reads texts of any bytes as a list of mounts, and lists that come about as on a real system.
#include "tests/fuzz/Require.h"
#include "tests/support/MountModel.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace slicewise {
namespace {

void readAnything(const std::string &text)
{
    std::set<std::uint64_t> ids;
    std::set<std::pair<std::uint64_t, std::string>> places;
    for (const MountLine &line : parseMountTable(text)) {
        require(line.path.starts_with('/'), "a mount point is an absolute path");
        require(!line.type.empty(), "a mount has a type");
        require(ids.insert(line.id).second, "a mount is there once");
        // Not by the path alone: a text of any bytes may tell of several trees of mounts, the kernel's never
        // does.
        require(places.insert({line.parent, line.path}).second, "one mount is on top at one place");
        static_cast<void>(kindOfFileSystemNamed(line.type));
    }
}

std::string anyPath(FuzzedDataProvider &input)
{
    constexpr std::array kNames = {"/a", "/b", "/ab", "/ ", "/\\", "/\n", "/a\\040b", "/\xff"};
    std::string path;
    for (int depth = input.ConsumeIntegralInRange(1, 4); depth > 0; --depth) {
        path += input.PickValueInArray(kNames);
    }
    return path;
}

// Mounts one after the other on what is on top at the time, then lists them in any order.
void readWhatMountingLeaves(FuzzedDataProvider &input)
{
    constexpr std::uint64_t kBottom = 10;
    std::vector<MountLine> lines = {
        {.id = kBottom, .parent = 1, .deviceMajor = 8, .deviceMinor = 1, .path = "/", .type = "ext4"}};
    for (std::uint64_t id = kBottom + 1; input.remaining_bytes() > 2 && lines.size() < 16; ++id) {
        const std::string path = anyPath(input);
        const std::uint64_t parent = mountReached(lines, kBottom, path);
        lines.push_back({.id = id,
                         .parent = parent,
                         .deviceMajor = 0,
                         .deviceMinor = static_cast<std::uint32_t>(id),
                         .path = path,
                         .type = "tmpfs"});
        const auto place = input.ConsumeIntegralInRange<std::size_t>(0, lines.size() - 1);
        std::swap(lines[place], lines.back());
    }
    std::string text;
    std::vector<std::uint64_t> expected;
    for (const MountLine &line : lines) {
        text += mountTableLine(line);
        if (mountReached(lines, kBottom, line.path) == line.id) {
            expected.push_back(line.id);
        }
    }
    std::vector<std::uint64_t> found;
    for (const MountLine &line : parseMountTable(text)) {
        found.push_back(line.id);
    }
    require(found == expected,
            "what is listed is what a walk to each mount point reaches, in the text's order");
}

} // namespace
} // namespace slicewise

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    if (size > 0 && data[size - 1] == 0xff) { // a byte that no text of the kernel ends in
        slicewise::readWhatMountingLeaves(input);
    } else {
        slicewise::readAnything(input.ConsumeRemainingBytesAsString());
    }
    return 0;
}
