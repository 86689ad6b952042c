#include "ui/WholeArguments.h"

#include <algorithm>
#include <string_view>

namespace slicewise {

namespace {

constexpr char kWhole = '\1'; ///< in front of such an argument, while the parser has it

bool looksLikeList(std::string_view argument)
{
    argument.remove_prefix(std::min(argument.find_first_not_of(kWhole), argument.size()));
    return argument.starts_with('[') && argument.ends_with(']');
}

} // namespace

std::vector<std::string> keptWhole(int argc, const char *const *argv)
{
    std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
    std::reverse(arguments.begin(), arguments.end());
    for (std::string &argument : arguments) {
        if (looksLikeList(argument)) {
            argument.insert(argument.begin(), kWhole);
        }
    }
    return arguments;
}

void asTyped(std::string &argument)
{
    if (argument.starts_with(kWhole) && looksLikeList(argument)) {
        argument.erase(0, 1);
    }
}

void asTyped(std::vector<std::string> &arguments)
{
    for (std::string &argument : arguments) {
        asTyped(argument);
    }
}

void asTypedWithin(std::string &sentence)
{
    std::erase(sentence, kWhole);
}

} // namespace slicewise
