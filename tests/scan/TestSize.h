// How heavy the heavy tests are: 1 takes a few seconds in all, 10 what a night has time for.
#pragma once

#include <cstdint>
#include <cstdlib>

namespace slicewise {

/// The environment variable SLICEWISE_TEST_SIZE; 1 where it is not set to a number.
inline std::uint64_t testSize()
{
    const char *text = std::getenv("SLICEWISE_TEST_SIZE"); // NOLINT(concurrency-mt-unsafe): nobody sets it
    const unsigned long size = text != nullptr ? std::strtoul(text, nullptr, 10) : 1;
    return size == 0 ? 1 : size;
}

} // namespace slicewise
