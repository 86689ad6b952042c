// Entry point of slicewise-cli.

#include "cli/Arguments.h"
#include "cli/Commands.h"
#include "cli/DeleteCommand.h"
#include "cli/Output.h"
#include "cli/Progress.h"
#include "platform/Privileges.h"
#include "platform/StandardDescriptors.h"

#include <unistd.h>

#include <clocale>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <string>
#include <variant>

namespace {

constexpr int kInterrupted = 130;

// A scan reads and writes nothing, and a deletion leaves nothing half done but what was asked for, so they
// may end at any moment; waiting for their threads could take as long as the disk does.
extern "C" void endOnInterrupt(int)
{
    slicewise::Progress::takeOffTerminal();
    ::_exit(kInterrupted);
}

int runCommand(const slicewise::Arguments &arguments, const slicewise::Privileges &privileges,
               slicewise::Output &output)
{
    if (const auto *answer = std::get_if<slicewise::ArgumentsAnswer>(&arguments)) {
        slicewise::Output standardError(STDERR_FILENO);
        slicewise::Output &where = answer->status == 0 ? output : standardError;
        where.write(answer->text);
        where.flush();
        return slicewise::statusAfterWriting(output, answer->status);
    }
    if (const auto *classify = std::get_if<slicewise::ClassifyArguments>(&arguments)) {
        return slicewise::runClassify(*classify, output);
    }
    if (const auto *deletion = std::get_if<slicewise::DeleteArguments>(&arguments)) {
        return slicewise::runDelete(*deletion, privileges, output);
    }
    return slicewise::runScan(std::get<slicewise::ScanArguments>(arguments), output);
}

// Nothing but a deletion from the host's own "/" has a use for more than the user's rights.
bool mayNeedRoot(const slicewise::Arguments &arguments)
{
    const auto *deletion = std::get_if<slicewise::DeleteArguments>(&arguments);
    return deletion != nullptr && deletion->scan.root == "/";
}

} // namespace

int main(int argc, char **argv)
{
    slicewise::Privileges privileges = slicewise::Privileges::dropAtEntry();
    const bool outputIsOpen = slicewise::reserveStandardDescriptors();
    std::setlocale(LC_ALL, ""); // NOLINT(concurrency-mt-unsafe): there is one thread yet
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGINT, endOnInterrupt);

    const slicewise::Arguments arguments = slicewise::readArguments(argc, argv);
    if (privileges.isSetUserId() && !mayNeedRoot(arguments)) {
        privileges.giveUpForGood();
    }
    if (!outputIsOpen) {
        slicewise::tell("Standard output is closed, so there is nowhere to write to.");
        return 1;
    }
    slicewise::Output output(STDOUT_FILENO);
    try {
        return runCommand(arguments, privileges, output);
    } catch (const std::exception &exception) { // no memory, or no thread
        slicewise::tell(std::string("It could not be done: ").append(exception.what()).append("."));
        return 1;
    }
}
