#include "delete/DependentsText.h"

#include <algorithm>
#include <vector>

namespace slicewise {

namespace {

constexpr std::string_view kDependsOn = " depends on ";
constexpr std::string_view kOthers = "other packages";
constexpr std::size_t kMostNames = 4;
constexpr std::string_view kBlanks = " \t\n\v\f\r";

/// The first word of a line that is not blank.
std::string_view firstWord(std::string_view line)
{
    line.remove_prefix(line.find_first_not_of(kBlanks));
    line = line.substr(0, line.find_last_not_of(kBlanks) + 1);
    return line.substr(0, line.find(' '));
}

std::vector<std::string_view> dependents(std::string_view output)
{
    std::vector<std::string_view> names;
    while (!output.empty()) {
        const std::string_view line = output.substr(0, output.find('\n'));
        output.remove_prefix(std::min(line.size() + 1, output.size()));
        if (line.find(kDependsOn) == std::string_view::npos) {
            continue;
        }
        if (names.size() == kMostNames) {
            names.push_back(kOthers);
            break;
        }
        names.push_back(firstWord(line));
    }
    return names;
}

} // namespace

std::string dependentsText(std::string_view package, std::string_view output)
{
    std::string text(package);
    text.append(" is required by ");
    const std::vector<std::string_view> names = dependents(output);
    for (std::size_t number = 1; number <= names.size(); ++number) {
        text.append(names[number - 1]);
        if (number < names.size()) {
            text.append(number + 1 == names.size() ? " and " : ", ");
        }
    }
    return text;
}

} // namespace slicewise
