#include "platform/SystemVersion.h"

#include "platform/HostDevice.h"
#include "platform/PropertyList.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace slicewise {

namespace {

constexpr std::string_view kVersionList = "/System/Library/CoreServices/SystemVersion.plist";

bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}

// The number that a text begins with, whatever the locale writes for a decimal point. By hand, because the
// library's own reading without a locale takes "inf" and "nan" for numbers, and not every library has it.
std::optional<float> leadingNumber(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
    if (text.starts_with('+')) {
        text.remove_prefix(1);
    }
    double number = 0;
    double unit = 1; // of the digit that was read last, behind the point
    bool behindPoint = false;
    bool anyDigit = false;
    for (const char character : text) {
        if (isDigit(character)) {
            anyDigit = true;
            number = number * 10 + (character - '0');
            unit *= behindPoint ? 10 : 1;
        } else if (character == '.' && !behindPoint) {
            behindPoint = true;
        } else {
            break;
        }
    }
    const double value = number / unit;
    // Digits without end give an infinite number, or none at all; neither is below the limit.
    const bool fits = value <= static_cast<double>(std::numeric_limits<float>::max());
    return anyDigit && fits ? std::optional(static_cast<float>(value)) : std::nullopt;
}

std::optional<std::string> productVersion(const Device &device)
{
    const Result<std::string> bytes = readFile(device, kVersionList, PropertyList::kMostBytes);
    const auto list = bytes ? PropertyList::parse(*bytes) : std::nullopt;
    if (!list || !list->root().isDictionary()) {
        return std::nullopt;
    }
    const std::optional<PropertyList::Value> value = list->root().value("ProductVersion");
    return value ? value->text() : std::nullopt;
}

} // namespace

SystemVersion systemVersionOf(const Device &device)
{
    const std::optional<std::string> text = productVersion(device);
    const std::optional<float> number = text ? leadingNumber(*text) : std::nullopt;
    return number ? SystemVersion{*number} : SystemVersion();
}

SystemVersion systemVersionOfHost()
{
    const Result<std::unique_ptr<HostDevice>> host = HostDevice::open("/");
    return host ? systemVersionOf(**host) : SystemVersion();
}

} // namespace slicewise
