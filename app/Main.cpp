// Entry point of slicewise.

#include "app/Launch.h"
#include "app/Options.h"
#include "app/Run.h"
#include "platform/Privileges.h"
#include "platform/StandardDescriptors.h"

#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <variant>

namespace {

int answer(const slicewise::OptionsAnswer &answer)
{
    std::FILE *const where = answer.status == 0 ? stdout : stderr;
    if (std::fputs(answer.text.c_str(), where) < 0 || std::fflush(where) != 0) {
        slicewise::tell("The output could not be written.");
        return EXIT_FAILURE;
    }
    return answer.status;
}

} // namespace

int main(int argc, char **argv)
{
    slicewise::Privileges privileges = slicewise::Privileges::dropAtEntry();
    slicewise::reserveStandardDescriptors();
    std::setlocale(LC_ALL, ""); // NOLINT(concurrency-mt-unsafe): there is one thread yet
    std::signal(SIGPIPE, SIG_IGN);

    const auto read = slicewise::readOptions(argc, argv);
    const auto *options = std::get_if<slicewise::Options>(&read);
    if (privileges.isSetUserId() && (options == nullptr || !slicewise::mayNeedRoot(*options))) {
        privileges.giveUpForGood();
    }
    if (options == nullptr) {
        return answer(std::get<slicewise::OptionsAnswer>(read));
    }
    try {
        return slicewise::runApplication(*options, privileges, argv[0]);
    } catch (const std::exception &exception) { // no memory, or no thread
        slicewise::tell(std::string("It could not be done: ").append(exception.what()).append("."));
        return EXIT_FAILURE;
    }
}
