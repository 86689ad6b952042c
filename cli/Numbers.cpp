#include "cli/Numbers.h"

#include <fmt/format.h>

#include <clocale>
#include <system_error>

namespace slicewise {

std::string grouped(std::uint64_t number)
{
    std::string digits = fmt::format("{}", number);
    const std::lconv *locale = std::localeconv(); // NOLINT(concurrency-mt-unsafe): the locale is set at start
    const std::string_view separator = locale->thousands_sep;
    if (separator.empty()) {
        return digits;
    }
    for (std::size_t at = digits.size(); at > 3;) {
        at -= 3;
        digits.insert(at, separator);
    }
    return digits;
}

std::string counted(std::uint64_t number, std::string_view one, std::string_view many)
{
    return fmt::format("{} {}", grouped(number), number == 1 ? one : many);
}

std::string errorText(int error)
{
    return std::generic_category().message(error);
}

} // namespace slicewise
