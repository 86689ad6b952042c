#include "tests/support/MadeDevice.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace slicewise {

std::map<std::string, std::string> MadeDevice::filedUnder(std::string_view category) const
{
    std::map<std::string, std::string> found;
    for (const SampleFile &file : plan.files) {
        if (file.category.starts_with(category)) {
            found.emplace(file.path, file.category);
        }
    }
    return found;
}

const MadeDevice &smallDevice()
{
    static const MadeDevice kMade({.seed = 1, .scale = kSmallScale});
    return kMade;
}

std::string contentOf(const std::string &hostPath)
{
    std::ifstream file(hostPath, std::ios::binary);
    std::string content{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    EXPECT_TRUE(file) << hostPath;
    return content;
}

} // namespace slicewise
