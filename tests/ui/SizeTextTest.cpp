#include "ui/SizeText.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace slicewise {
namespace {

constexpr std::uint64_t kKilo = 1024;
constexpr std::uint64_t kMega = kKilo * 1024;
constexpr std::uint64_t kGiga = kMega * 1024;

TEST(SizeText, countsBelow1024AreBytesWithNothingBeforeTheB)
{
    EXPECT_EQ(sizeTextForBytes(0), "0 B");
    EXPECT_EQ(sizeTextForBytes(512), "512 B");
    EXPECT_EQ(sizeTextForBytes(1023), "1023 B");
    EXPECT_EQ(sizeTextForBytes(512).size(), 5U); // no NUL hides where the unit's letter would stand
}

TEST(SizeText, stepsAreOf1024AndTheKIsLowerCase)
{
    EXPECT_EQ(sizeTextForBytes(1024), "1 kB");
    EXPECT_EQ(sizeTextForBytes(1536), "1.5 kB");
    EXPECT_EQ(sizeTextForBytes(1048576), "1 MB");
    EXPECT_EQ(sizeTextForBytes(5 * kGiga), "5 GB");
    EXPECT_EQ(sizeTextForBytes(3 * kGiga * 1024), "3 TB");
    EXPECT_EQ(sizeTextForBytes(7 * kGiga * kMega), "7 PB");
}

TEST(SizeText, thereIsAtMostOneFractionDigitAndHalvesGoToTheEvenOne)
{
    const std::vector<std::pair<std::uint64_t, std::string>> examples = {
        {kKilo + 256, "1.2 kB"},       // 1.25
        {kKilo + 768, "1.8 kB"},       // 1.75
        {10 * kKilo + 256, "10.2 kB"}, // 10.25
        {2 * kKilo, "2 kB"},           {2 * kKilo + 1, "2 kB"},
        {2 * kKilo + 52, "2.1 kB"},    {2 * kKilo + 51, "2 kB"},
    };
    for (const auto &[bytes, text] : examples) {
        EXPECT_EQ(sizeTextForBytes(bytes), text) << bytes;
    }
}

TEST(SizeText, whatRoundsUpTo1024StaysInItsUnit)
{
    EXPECT_EQ(sizeTextForBytes(1048575), "1024 kB");
    EXPECT_EQ(sizeTextForBytes(kGiga - 1), "1024 MB");
    EXPECT_EQ(sizeTextForBytes(1047500), "1022.9 kB"); // below 1023.95 nothing is rounded up
}

TEST(SizeText, theLargestCountIs16EB)
{
    EXPECT_EQ(sizeTextForBytes(std::numeric_limits<std::uint64_t>::max()), "16 EB");
}

TEST(SizeText, theDecimalSeparatorIsTheLocales)
{
    // A bare machine has no locale but C, so one is made.
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("slicewise-locale-" + std::to_string(::getpid()));
    std::filesystem::create_directory(folder);
    const std::string make =
        "localedef --no-archive -i de_DE -f UTF-8 '" + (folder / "de_DE.UTF-8").string() + "' 2>&1";
    ASSERT_EQ(std::system(make.c_str()), 0); // NOLINT(cert-env33-c,concurrency-mt-unsafe)
    ::setenv("LOCPATH", folder.c_str(), 1);
    ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
    EXPECT_EQ(sizeTextForBytes(1536), "1,5 kB");
    EXPECT_EQ(sizeTextForBytes(2048), "2 kB");
    EXPECT_EQ(sizeTextForBytes(1023 * kGiga), "1023 GB"); // no grouping
    std::setlocale(LC_ALL, "C");
    EXPECT_EQ(sizeTextForBytes(1536), "1.5 kB");
    ::unsetenv("LOCPATH");
    std::filesystem::remove_all(folder);
}

} // namespace
} // namespace slicewise
