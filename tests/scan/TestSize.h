// How heavy the heavy tests are: 1 takes a few seconds in all, 10 what a night has time for.
#pragma once

#include <cstdlib>

namespace slicewise {

/// The environment variable SLICEWISE_TEST_SIZE; 1 where it is not set to a number.
inline unsigned testSize()
{
    const char *text = std::getenv("SLICEWISE_TEST_SIZE"); // NOLINT(concurrency-mt-unsafe): nobody sets it
    const unsigned long size = text != nullptr ? std::strtoul(text, nullptr, 10) : 1;
    return size == 0 ? 1 : static_cast<unsigned>(size);
}

} // namespace slicewise
