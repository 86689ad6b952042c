// What the user is told of a package that others need: the same as by the rule written down step by step.

#include "delete/DependentsText.h"
#include "tests/fuzz/Require.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace {

std::vector<std::string> splitAt(const std::string &text, char separator)
{
    std::vector<std::string> pieces(1);
    for (const char character : text) {
        if (character == separator) {
            pieces.emplace_back();
        } else {
            pieces.back().push_back(character);
        }
    }
    return pieces;
}

std::string trimmed(const std::string &text)
{
    constexpr const char *kBlanks = " \t\n\v\f\r";
    const std::size_t start = text.find_first_not_of(kBlanks);
    const std::size_t end = text.find_last_not_of(kBlanks);
    return start == std::string::npos ? "" : text.substr(start, end - start + 1);
}

std::string model(const std::string &package, const std::string &output)
{
    std::vector<std::string> names;
    for (const std::string &line : splitAt(output, '\n')) {
        if (line.find(" depends on ") != std::string::npos && names.size() < 5) {
            names.push_back(names.size() == 4 ? "other packages" : splitAt(trimmed(line), ' ').front());
        }
    }
    std::string text = package + " is required by ";
    for (std::size_t i = 0; i < names.size(); ++i) {
        const std::size_t left = names.size() - 1 - i;
        text += names[i] + (left == 0 ? "" : left == 1 ? " and " : ", ");
    }
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string bytes(reinterpret_cast<const char *>(data), size);
    const std::string package = bytes.substr(0, bytes.find('\n'));
    const std::string output = bytes.substr(package.size() < size ? package.size() + 1 : size);
    slicewise::require(slicewise::dependentsText(package, output) == model(package, output),
                       "the text names up to four packages, and that there are others");
    return 0;
}
