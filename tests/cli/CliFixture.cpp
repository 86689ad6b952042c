#include "tests/cli/CliFixture.h"

#include <unistd.h>

#include <sstream>
#include <utility>

namespace slicewise {

ProgramRun CliFixture::program(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), SLICEWISE_CLI);
    return {.arguments = std::move(arguments),
            .environment = {{"LC_ALL", "C"}, {"COLUMNS", "80"}, {"TERM", "xterm-256color"}},
            .withoutEnvironment = {"NO_COLOR", "COLORTERM"}};
}

ProgramRun CliFixture::onFolder(std::vector<std::string> arguments) const
{
    arguments.insert(arguments.begin(), {"--root", m_folder.path()});
    return program(std::move(arguments));
}

ProgramResult CliFixture::run(std::vector<std::string> arguments) const
{
    return runProgram(onFolder(std::move(arguments)));
}

std::string CliFixture::outputOf(std::vector<std::string> arguments) const
{
    const ProgramResult result = run(std::move(arguments));
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardError, "");
    return result.standardOutput;
}

void CliFixture::asOrdinaryUser(ProgramRun &run)
{
    if (::geteuid() == 0) {
        constexpr unsigned kNobody = 65534;
        run.user = kNobody;
        run.group = kNobody;
    }
}

std::vector<std::string> linesOf(const std::string &text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

} // namespace slicewise
