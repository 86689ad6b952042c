#include "cli/Commands.h"

#include "cli/JsonReport.h"
#include "cli/Numbers.h"
#include "cli/Progress.h"
#include "cli/Report.h"
#include "cli/Terminal.h"
#include "platform/HostDevice.h"
#include "platform/Log.h"
#include "scan/Classifier.h"
#include "scan/ScanEngine.h"
#include "scan/ScanTables.h"
#include "ui/NameText.h"

#include <fmt/format.h>

#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <memory>
#include <optional>
#include <utility>

namespace slicewise {

namespace {

std::string whyNoRoot(const std::string &root, int error)
{
    const std::string shown = typableText(root);
    switch (error) {
    case ENOENT:
        return fmt::format("There is no directory “{}”. Give --root one that exists.", shown);
    case ENOTDIR:
        return fmt::format(
            "“{}” is not a directory. Mount or extract an image, and give --root that directory.", shown);
    case EACCES:
    case EPERM:
        return fmt::format("“{}” may not be read by this user. Run it as root (with sudo).", shown);
    default:
        return fmt::format("“{}” could not be opened ({}). Give --root another directory.", shown,
                           errorText(error));
    }
}

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

} // namespace

void tell(std::string_view sentence)
{
    Output standardError(STDERR_FILENO);
    standardError.write(fmt::format("slicewise-cli: {}\n", sentence));
    standardError.flush();
}

const SZANode *nodeAtCategoryPath(const SZANode &root, std::string_view categoryPath)
{
    const SZANode *node = &root;
    while (node != nullptr && !categoryPath.empty()) {
        const std::size_t slash = categoryPath.find('/');
        node = node->childNamed(categoryPath.substr(0, slash));
        categoryPath.remove_prefix(slash == std::string_view::npos ? categoryPath.size() : slash + 1);
    }
    return node;
}

int statusAfterWriting(const Output &output, int status)
{
    if (output.error() != 0) {
        tell(fmt::format("The output could not be written ({}).", errorText(output.error())));
        return 1;
    }
    return status;
}

int runScan(const ScanArguments &arguments, Output &output)
{
    const std::unique_ptr<HostDevice> device = openDevice(arguments.root);
    if (!device) {
        return 1;
    }
    const std::unique_ptr<Log> log = makeLog(arguments.quiet);
    SZANode root(device.get());
    root.setName("Disk");
    root.setSort(false);

    ScanResult result;
    result.root = &root;
    result.asRoot = ::geteuid() == 0;
    ScanMonitor monitor;
    {
        std::optional<Progress> progress;
        if (!arguments.noProgress && !arguments.quiet && Terminal::of(STDERR_FILENO).isTerminal) {
            progress.emplace(monitor);
        }
        const auto start = std::chrono::steady_clock::now();
        ScanOptions options;
        options.scope = arguments.scope;
        options.monitor = &monitor;
        result.report = scanFileSystem(*device, "/", root, *log, options);
        result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }
    root.setSort(true);

    result.shown = nodeAtCategoryPath(root, bytesOfTyped(arguments.path));
    if (result.shown == nullptr) {
        tell(fmt::format("There is no category “{}”. Without --path it shows which there are.",
                         typableText(bytesOfTyped(arguments.path))));
        return 1;
    }
    if (arguments.json) {
        writeJson(result, arguments, output);
    } else {
        writeReport(result, arguments, Terminal::of(STDOUT_FILENO), output);
        if (arguments.errors) {
            writeErrors(result.report, output);
        }
    }
    output.flush();
    return statusAfterWriting(output, 0);
}

int runClassify(const ClassifyArguments &arguments, Output &output)
{
    const std::unique_ptr<HostDevice> device = openDevice(arguments.root);
    if (!device) {
        return 1;
    }
    const std::unique_ptr<Log> log = makeLog(false);
    ScanTables tables(*device, *log, nullptr);
    const ClassifierChain chain = makeClassifierChain(tables);
    int status = 0;
    for (const std::string &path : arguments.paths) {
        if (!path.starts_with('/')) {
            tell(fmt::format("“{}” is not a full path on the device. Let it begin with “/”.",
                             typableText(path)));
            status = 1;
            continue;
        }
        if (const std::optional<std::string> category = classifyFile(chain, path, *log)) {
            output.write(fmt::format("{}\t{}\n", typableText(path), typableText(*category)));
        }
    }
    output.flush();
    return statusAfterWriting(output, status);
}

} // namespace slicewise
