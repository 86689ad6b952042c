// What removing a tree costs: as one directory, or file by file as what was sorted into categories is
// removed, root's rights taken and given back around each file.
//
// Usage: removal tree DIR     removes DIR
//        removal files DIR    removes each file below DIR by its path, in the order of the tree
//
// The first line of the output is the time in seconds of the removal alone, without listing what is to go;
// the second one the peak memory of the process in KiB.
#include "platform/HostDevice.h"
#include "platform/Privileges.h"

#include <fmt/format.h>

#include <sys/resource.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace slicewise {
namespace {

std::vector<std::string> filesBelow(Device &device, const std::string &top)
{
    const auto reader = device.makeReader();
    std::vector<std::string> files;
    std::vector<std::string> left = {top};
    EntryChunk chunk;
    while (!left.empty()) {
        const std::string directory = std::move(left.back());
        left.pop_back();
        if (!reader->open(directory)) {
            throw std::runtime_error("can't open " + directory);
        }
        while (reader->next(chunk).value() == DirectoryReader::Progress::More) {
            for (const EntryChunk::Entry &entry : chunk.entries()) {
                const std::string path = directory + "/" + std::string(chunk.name(entry));
                (entry.type == EntryType::Directory ? left : files).push_back(path);
            }
        }
    }
    return files;
}

void removeOne(Remover &remover, const Privileges &privileges, const std::string &path)
{
    const Privileges::AsRoot asRoot(privileges);
    const Result<std::uint64_t> removed = remover.remove(path);
    if (!removed) {
        throw std::system_error(removed.error(), std::generic_category(), path);
    }
}

void removeAll(const Privileges &privileges, std::string_view what, const std::string &directory)
{
    const auto device = std::move(HostDevice::open("/")).value();
    const auto remover = device->makeRemover();
    std::vector<std::string> paths = {directory};
    if (what == "files") {
        paths = filesBelow(*device, directory);
    }
    const auto start = std::chrono::steady_clock::now();
    for (const std::string &path : paths) {
        removeOne(*remover, privileges, path);
    }
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    struct rusage usage = {};
    ::getrusage(RUSAGE_SELF, &usage);
    fmt::print("{:.4f}\n{}\n", seconds, usage.ru_maxrss);
}

} // namespace
} // namespace slicewise

int main(int argc, char **argv)
{
    const slicewise::Privileges privileges = slicewise::Privileges::dropAtEntry();
    const std::string_view what = argc == 3 ? argv[1] : "";
    if (what != "tree" && what != "files") {
        fmt::print(stderr, "Usage: removal tree|files DIR\n");
        return 2;
    }
    try {
        slicewise::removeAll(privileges, what, std::filesystem::canonical(argv[2]).string());
        return 0;
    } catch (const std::exception &failure) {
        fmt::print(stderr, "removal: {}\n", failure.what());
        return 1;
    }
}
