#include "cli/Scanning.h"

#include "cli/Commands.h"
#include "cli/Progress.h"
#include "cli/Terminal.h"
#include "scan/ScanEngine.h"
#include "ui/RootText.h"

#include <unistd.h>

#include <chrono>
#include <optional>
#include <system_error>
#include <utility>

namespace slicewise {

std::unique_ptr<HostDevice> openDevice(const std::string &root)
{
    Result<std::unique_ptr<HostDevice>> device = HostDevice::open(root);
    if (!device) {
        tell(whyNoRoot(root, device.error()));
        return nullptr;
    }
    return std::move(device).value();
}

std::unique_ptr<Log> makeLog(bool quiet)
{
    if (quiet) {
        return std::make_unique<Log>([](std::string_view) {});
    }
    const auto standardError = std::make_shared<Log>("slicewise-cli");
    return std::make_unique<Log>([standardError](std::string_view line) {
        Progress::takeOffTerminal();
        standardError->line(line);
    });
}

Scanned scanDevice(const HostDevice &device, const ScanArguments &arguments, Log &log)
{
    Scanned scanned;
    scanned.root = std::make_unique<SZANode>(&device);
    scanned.root->setName("Disk");
    scanned.root->setSort(false);
    ScanMonitor monitor;
    {
        std::optional<Progress> progress;
        if (!arguments.noProgress && !arguments.quiet && Terminal::of(STDERR_FILENO).isTerminal) {
            try {
                progress.emplace(monitor);
            } catch (const std::system_error &) {
                // No thread is to be had for it; the scan needs none.
            }
        }
        const auto start = std::chrono::steady_clock::now();
        ScanOptions options;
        options.scope = arguments.scope;
        options.monitor = &monitor;
        scanned.report = scanFileSystem(device, "/", *scanned.root, log, options);
        scanned.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }
    scanned.root->setSort(true);
    return scanned;
}

std::vector<SZANode *> nodePathAt(SZANode &root, std::string_view categoryPath)
{
    std::vector<SZANode *> path = {&root};
    while (!categoryPath.empty()) {
        const std::size_t slash = categoryPath.find('/');
        SZANode *child = path.back()->childNamed(categoryPath.substr(0, slash));
        if (child == nullptr) {
            return {};
        }
        path.push_back(child);
        categoryPath.remove_prefix(slash == std::string_view::npos ? categoryPath.size() : slash + 1);
    }
    return path;
}

} // namespace slicewise
