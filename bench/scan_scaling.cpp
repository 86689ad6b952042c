// How the engine's time and memory grow with the number of files: scans devices that exist in memory alone,
// from ten thousand files to ten million, and prints the cost of a file and of a node for each.
//
// Usage: scan-scaling [LARGEST]   the largest number of files (default 10000000)
//
// Both should stay flat: what rises with the size of the tree would be felt on a large disk.

#include "platform/Log.h"
#include "scan/ScanEngine.h"
#include "tests/support/GeneratedDevice.h"

#include <fmt/format.h>

#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <vector>

namespace slicewise {
namespace {

std::size_t allocatedBytes()
{
    const struct mallinfo2 info = ::mallinfo2();
    return info.uordblks + info.hblkhd;
}

std::uint64_t nodesBelow(const SZANode &top)
{
    std::uint64_t count = 0;
    std::vector<const SZANode *> waiting = {&top};
    while (!waiting.empty()) {
        const SZANode *node = waiting.back();
        waiting.pop_back();
        ++count;
        for (const SZANode *child : node->getNodes()) {
            waiting.push_back(child);
        }
    }
    return count;
}

void measure(std::uint64_t files)
{
    const GeneratedDevice device({.files = files});
    Log log([](std::string_view) {});
    const std::size_t before = allocatedBytes();
    SZANode root(&device);
    const auto start = std::chrono::steady_clock::now();
    const ScanReport report = scanFileSystem(device, "/", root, log);
    const std::chrono::duration<double, std::nano> time = std::chrono::steady_clock::now() - start;
    const std::size_t tree = allocatedBytes() - before;
    struct rusage usage = {};
    ::getrusage(RUSAGE_SELF, &usage);
    const std::uint64_t nodes = nodesBelow(root);
    fmt::print("{:>10} {:>12} {:>10.3f} {:>12.0f} {:>14.1f} {:>12.0f}\n", report.files, report.directories,
               time.count() / 1e9, time.count() / static_cast<double>(files),
               static_cast<double>(tree) / static_cast<double>(nodes),
               static_cast<double>(usage.ru_maxrss) / 1024);
    std::fflush(stdout);
}

} // namespace
} // namespace slicewise

int main(int argc, char **argv)
{
    const std::uint64_t largest = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 10'000'000;
    fmt::print("{:>10} {:>12} {:>10} {:>12} {:>14} {:>12}\n", "files", "directories", "seconds", "ns a file",
               "bytes a node", "peak MiB");
    std::fflush(stdout);
    for (std::uint64_t files = 10'000; files <= largest; files *= 10) {
        // Each in a process of its own, so that no peak hides another's.
        const ::pid_t child = ::fork();
        if (child == 0) {
            slicewise::measure(files);
            ::_exit(0); // the tree goes with the process
        }
        int status = 0;
        if (child < 0 || ::waitpid(child, &status, 0) != child || status != 0) {
            fmt::print(stderr, "scan-scaling: the scan of {} files failed.\n", files);
            return 1;
        }
    }
    return 0;
}
