#include "cli/Commands.h"

#include "cli/JsonReport.h"
#include "cli/Numbers.h"
#include "cli/Report.h"
#include "cli/Scanning.h"
#include "cli/Terminal.h"
#include "scan/Classifier.h"
#include "scan/ScanTables.h"
#include "ui/NameText.h"

#include <fmt/format.h>

#include <unistd.h>

#include <memory>
#include <optional>
#include <utility>

namespace slicewise {

void tell(std::string_view sentence)
{
    Output standardError(STDERR_FILENO);
    standardError.write(fmt::format("slicewise-cli: {}\n", sentence));
    standardError.flush();
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
    Scanned scanned = scanDevice(*device, arguments, *log);
    ScanResult result;
    result.shown = nodePathAt(*scanned.root, bytesOfTyped(arguments.path));
    result.report = std::move(scanned.report);
    result.seconds = scanned.seconds;
    result.asRoot = ::geteuid() == 0;
    if (result.shown.empty()) {
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
